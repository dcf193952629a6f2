#include "host-linux/database/dialect/ServerWords.h"

#include <algorithm>

#include "host-linux/database/dialect/SqlShape.h"

namespace hostlinux {

bool IsReadLevel(const std::vector<SqlToken>& tokens) {
  return tokens.size() > 4 && IsWord(tokens[0], u"SET") && IsWord(tokens[1], u"TRANSACTION") &&
         IsWord(tokens[2], u"ISOLATION") && IsWord(tokens[3], u"LEVEL") && IsWord(tokens[4], u"READ");
}

void RewriteEscape(SqlToken& io_escape, SqlToken& io_next) {
  const bool isTime = UpperAscii(io_escape.text.substr(0, io_escape.text.find(u'\''))).find_last_of(u"DS") ==
                      std::u16string::npos;
  io_escape.text = (isTime ? u"TIME " : u"TIMESTAMP ") + TextLiteral(ValueOf(io_escape.kind, io_escape.text));
  if (io_next.gap.empty() && io_next.kind != SqlTokenKind::End) io_next.gap = u" ";
}

std::u16string QuotedName(std::u16string_view name) {
  std::u16string quoted = u"\"";
  for (const char16_t c : name) quoted.append(c == u'"' ? 2 : 1, c);
  return quoted + u"\"";
}

std::u16string NameInQuotes(const SqlToken& token) {
  return token.text.substr(1, token.text.size() - std::min<std::size_t>(token.text.size(), 2));
}

}  // namespace hostlinux
