#include "host-linux/database/dialect/FromTables.h"

#include <algorithm>
#include <array>

namespace hostlinux {
namespace {

using Tokens = std::vector<SqlToken>;

// From the words LEFT OUTER JOIN to the table's name.
constexpr size_t kLongestJoin = 3;

bool IsName(const SqlToken& token) {
  return token.kind == SqlTokenKind::Word || token.kind == SqlTokenKind::QuotedName;
}

// A table or what takes the place of one comes next.
bool OpensTable(const SqlToken& token) {
  return IsWord(token, u"FROM") || IsWord(token, u"JOIN") || token.kind == SqlTokenKind::Comma;
}

bool BelongsToJoin(const SqlToken& token) {
  static constexpr std::array<std::u16string_view, 9> kWords = {
      u"INNER", u"LEFT", u"RIGHT", u"FULL", u"OUTER", u"CROSS", u"JOIN", u"ON", u"NOT"};
  return std::any_of(kWords.begin(), kWords.end(),
                     [&](std::u16string_view word) { return IsWord(token, word); });
}

std::u16string CalledAt(const Tokens& tokens, size_t name, size_t end) {
  size_t alias = name + 1;
  if (alias < end && IsWord(tokens[alias], u"AS")) ++alias;
  const bool hasAlias = alias < end && IsName(tokens[alias]) && !BelongsToJoin(tokens[alias]);
  return tokens[hasAlias ? alias : name].text;
}

bool IsLeftJoined(const Tokens& tokens, size_t name, size_t begin) {
  for (size_t i = name; i-- > begin && i + kLongestJoin >= name;) {
    if (IsWord(tokens[i], u"LEFT")) return true;
  }
  return false;
}

}  // namespace

FromTables ReadFromTables(const Tokens& tokens, const SqlStructure& structure, SqlSpan from) {
  FromTables found;
  bool hidesAll = false;  // RIGHT and FULL fill what stands before them, too
  for (size_t i = from.begin + 1; i < from.end; ++i) {
    hidesAll = hidesAll || IsWord(tokens[i], u"RIGHT") || IsWord(tokens[i], u"FULL");
    const bool isTable = OpensTable(tokens[i - 1]);
    if (tokens[i].kind == SqlTokenKind::Open && structure.partner[i] != SqlStructure::kNone) {
      found.hasOthers = found.hasOthers || isTable;
      i = structure.partner[i];
    } else if (isTable && IsName(tokens[i]) && tokens[i + 1].kind != SqlTokenKind::Dot) {
      found.tables.push_back({i, CalledAt(tokens, i, from.end), IsLeftJoined(tokens, i, from.begin)});
    } else if (isTable) {
      found.hasOthers = true;
    }
  }
  for (FromTable& table : found.tables) table.mayBeNull = table.mayBeNull || hidesAll;
  return found;
}

}  // namespace hostlinux
