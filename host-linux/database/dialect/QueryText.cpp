#include "host-linux/database/dialect/QueryText.h"

#include <algorithm>
#include <bit>

#include "host-linux/database/dialect/SqlStructure.h"
#include "varnel/automation/String.h"

namespace hostlinux {

bool IsAnyWord(const SqlToken& token, std::initializer_list<std::u16string_view> words) {
  return std::any_of(words.begin(), words.end(),
                     [&](std::u16string_view word) { return IsWord(token, word); });
}

bool IsCount(std::u16string_view sql) {
  constexpr std::u16string_view kCount = u"SELECT COUNT(*)";
  return varnel::EqualsNoCase(sql.substr(0, kCount.size()), kCount);
}

bool IsQuery(const std::string& sql) {
  const std::vector<SqlToken> tokens = LexSql(varnel::FromUtf8(sql));
  return IsAnyWord(tokens.front(), {u"SELECT", u"VALUES", u"TABLE"}) ||
         tokens.front().kind == SqlTokenKind::Open;
}

bool IsScript(const std::vector<SqlToken>& tokens) {
  const auto isEnd = [](const SqlToken& token) { return token.kind == SqlTokenKind::Semicolon; };
  const auto end = std::find_if(tokens.begin(), tokens.end(), isEnd);
  return std::any_of(end, tokens.end(), [&](const SqlToken& token) {
    return !isEnd(token) && token.kind != SqlTokenKind::Comment && token.kind != SqlTokenKind::End;
  });
}

std::u16string WithoutOrder(std::u16string_view sql) {
  std::vector<SqlToken> tokens = LexSql(sql);
  tokens.resize(tokens.size() + 4);
  const SqlStructure structure = ReadStructure(tokens);
  SqlSpan order;
  if (!structure.compounds.empty()) {
    order = structure.compounds.front().order;
  } else if (!structure.scopes.empty() && structure.scopes.front().Clause(SqlClause::Limit).IsEmpty() &&
             !IsWord(tokens[structure.scopes.front().begin + 1], u"TOP") &&
             !IsWord(tokens[structure.scopes.front().begin + 2], u"TOP")) {
    order = structure.scopes.front().Clause(SqlClause::Order);
  }
  for (std::size_t i = order.begin; i < order.end; ++i) tokens[i].dropped = true;
  return PrintSql(tokens, 0, tokens.size());
}

// A line of its own closes the query, behind a comment too.
std::string CountingText(const std::string& sql) {
  return "SELECT COUNT(*) FROM (" + sql + "\n) AS \"counted rows\"";
}

std::string KeyOf(const EngineStatement& statement) {
  std::string key = statement.sql;
  for (const BoundValue& value : statement.values) {
    std::string plain;
    if (const auto* text = std::get_if<std::string>(&value)) plain = *text;
    if (const auto* blob = std::get_if<BoundBytes>(&value)) plain = blob->bytes;
    if (const auto* number = std::get_if<std::int64_t>(&value)) plain = std::to_string(*number);
    if (const auto* real = std::get_if<double>(&value))
      plain = std::to_string(std::bit_cast<std::uint64_t>(*real));
    key += '\0' + std::to_string(value.index()) + ' ' + std::to_string(plain.size()) + ' ' + plain;
  }
  return key;
}

}  // namespace hostlinux
