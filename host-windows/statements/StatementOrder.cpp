#include "host-windows/statements/StatementOrder.h"

#include <algorithm>

#include "varnel/automation/Error.h"

namespace hostwindows {

using varnel::String;
using varnel::StringView;
namespace host = varnel::host;

namespace {

constexpr auto kNoValueGiven = static_cast<varnel::Long>(0x80040E10);

bool IsOfName(char16_t c) {
  return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9') || c == u'_';
}

// The position behind `end`, looked for from `from` on; the text's own end where there is none.
std::size_t Behind(StringView sql, StringView end, std::size_t from) {
  const std::size_t found = sql.find(end, from);
  return found == StringView::npos ? sql.size() : found + end.size();
}

// The position behind the text, quoted name or comment that begins at `at`; `at` where none does. A doubled quote ends
// one text and begins the next.
std::size_t BehindQuoted(StringView sql, std::size_t at) {
  switch (sql[at]) {
    case u'\'':
      return Behind(sql, u"'", at + 1);
    case u'"':
      return Behind(sql, u"\"", at + 1);
    case u'[':
      return Behind(sql, u"]", at + 1);
    default:
      break;
  }
  if (sql.substr(at, 2) == u"--") return Behind(sql, u"\n", at + 2);
  if (sql.substr(at, 2) == u"/*") return Behind(sql, u"*/", at + 2);
  return at;
}

const host::StatementParameter& Named(const host::StatementParameters& parameters, StringView name) {
  const auto found = std::find_if(
      parameters.values.begin(), parameters.values.end(),
      [&](const host::StatementParameter& known) { return varnel::EqualsNoCase(known.Name, name); });
  if (found == parameters.values.end())
    throw varnel::Error(
        {kNoValueGiven, u"Varnel", u"Parameter ':" + String(name) + u"' has no value.", u"", 0});
  return *found;
}

}  // namespace

OrderedStatement InOrder(const String& sql, const host::StatementParameters& parameters) {
  OrderedStatement statement;
  const StringView text = sql;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t behind = BehindQuoted(text, at);
    if (behind != at) {
      statement.text += text.substr(at, behind - at);
      at = behind;
      continue;
    }
    const auto* end = std::find_if_not(text.begin() + at + 1, text.end(), IsOfName);
    const StringView name = text.substr(at + 1, static_cast<std::size_t>(end - text.begin()) - at - 1);
    // "::" is an operator.
    const bool follows = at > 0 && text[at - 1] == u':';
    if (text[at] != u':' || name.empty() || follows) {
      statement.text += text[at++];
      continue;
    }
    statement.values.push_back(Named(parameters, name));
    statement.text += u'?';
    at += 1 + name.size();
  }
  return statement;
}

}  // namespace hostwindows
