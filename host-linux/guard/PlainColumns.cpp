#include "host-linux/guard/PlainColumns.h"

#include <algorithm>
#include <optional>

#include "host-linux/database/dialect/SelectNames.h"

namespace hostlinux {

namespace {

using Tokens = std::vector<SqlToken>;
using Path =
    std::vector<std::u16string>;  // qualifiers and the name, in upper case; the name is "*" for a star

bool IsDigit(char16_t unit) { return unit >= u'0' && unit <= u'9'; }

bool IsLetterOrDigit(char16_t unit) {
  return IsDigit(unit) || (unit >= u'a' && unit <= u'z') || (unit >= u'A' && unit <= u'Z') || unit == u'_';
}

// Between brackets, blanks too. Double quotes are no brackets: some engines take an unknown name in them for
// a text.
bool IsPlainWord(const SqlToken& token) {
  std::u16string_view name = token.text;
  if (token.kind == SqlTokenKind::QuotedName) {
    if (name.size() < 3 || name.front() != u'[' || name.back() != u']') return false;
    name = name.substr(1, name.size() - 2);
    return std::all_of(name.begin(), name.end(), [](char16_t c) { return IsLetterOrDigit(c) || c == u' '; });
  }
  return token.kind == SqlTokenKind::Word && !name.empty() && !IsDigit(name.front()) &&
         std::all_of(name.begin(), name.end(), IsLetterOrDigit);
}

bool IsName(const SqlToken& token) {
  return token.kind == SqlTokenKind::Word || token.kind == SqlTokenKind::QuotedName;
}

bool IsStar(const SqlToken& token) { return token.kind == SqlTokenKind::Operator && token.text == u"*"; }

// The dotted names from `i` on, which moves behind them; nothing where there are none.
std::optional<Path> ReadPath(const Tokens& tokens, std::size_t& i, std::size_t end) {
  Path path;
  while (i < end && (IsName(tokens[i]) || IsStar(tokens[i]))) {
    path.push_back(PlainName(tokens[i++]));
    if (path.back() == u"*" || i >= end || tokens[i].kind != SqlTokenKind::Dot) return path;
    ++i;
  }
  return std::nullopt;
}

// An entry of a sort: nothing but a name, without a blank that isn't in brackets. The word AS between blanks
// cuts an entry in two, in brackets too.
std::optional<Path> ReadEntry(varnel::StringView column) {
  if (varnel::FindNoCase(column, u" AS ") != varnel::String::npos) return std::nullopt;
  const Tokens tokens = LexSql(column);
  const std::size_t end = tokens.size() - 1;  // the last one is the end
  for (std::size_t i = 0; i <= end; ++i) {
    if (!tokens[i].gap.empty()) return std::nullopt;
    const bool isPart = i == end || tokens[i].kind == SqlTokenKind::Dot || IsPlainWord(tokens[i]);
    if (!isPart) return std::nullopt;
  }
  std::size_t i = 0;
  auto path = ReadPath(tokens, i, end);
  return i == end ? path : std::nullopt;
}

// An item of a select list that is a plain column under its own name, or a star.
std::optional<Path> ReadItem(const Tokens& tokens, SqlSpan item) {
  std::size_t i = item.begin;
  auto path = ReadPath(tokens, i, item.end);
  if (!path || i == item.end) return path;
  if (IsWord(tokens[i], u"AS")) ++i;
  const bool namesItself = i + 1 == item.end && IsName(tokens[i]) && PlainName(tokens[i]) == path->back();
  return namesItself ? path : std::nullopt;
}

Tokens WithoutComments(varnel::StringView branch) {
  Tokens tokens = LexSql(branch);
  std::erase_if(tokens, [](const SqlToken& token) { return token.kind == SqlTokenKind::Comment; });
  return tokens;
}

// Behind SELECT, DISTINCT and TOP; the end of the text where it is no SELECT.
std::size_t BeginOfList(const Tokens& tokens) {
  if (!IsWord(tokens[0], u"SELECT")) return tokens.size() - 1;
  std::size_t i = 1;
  if (IsWord(tokens[i], u"DISTINCT") || IsWord(tokens[i], u"ALL")) ++i;
  if (IsWord(tokens[i], u"TOP") && tokens[i + 1].kind == SqlTokenKind::Number) i += 2;
  return i;
}

// A union that wasn't cut into branches: a condition behind it looks at its last SELECT.
bool IsCompound(const Tokens& tokens) {
  return std::any_of(tokens.begin(), tokens.end(), [](const SqlToken& token) {
    return IsWord(token, u"UNION") || IsWord(token, u"EXCEPT") || IsWord(token, u"INTERSECT");
  });
}

struct Items {
  std::vector<Path> plain;
  std::vector<std::u16string> named;  // the last words of all others: their names, where they have one
};

void AddItem(Items& items, const Tokens& tokens, SqlSpan item) {
  if (auto path = ReadItem(tokens, item)) {
    items.plain.push_back(std::move(*path));
  } else if (item.begin < item.end && IsName(tokens[item.end - 1])) {
    items.named.push_back(PlainName(tokens[item.end - 1]));
  }
}

Items ReadList(varnel::StringView branch) {
  const Tokens tokens = WithoutComments(branch);
  Items items;
  if (IsCompound(tokens)) return items;
  std::size_t begin = BeginOfList(tokens);
  int depth = 0;
  for (std::size_t i = begin; i < tokens.size(); ++i) {
    if (tokens[i].kind == SqlTokenKind::Open) ++depth;
    if (tokens[i].kind == SqlTokenKind::Close) --depth;
    const bool ends = IsWord(tokens[i], u"FROM") || tokens[i].kind == SqlTokenKind::End;
    if (depth != 0 || (!ends && tokens[i].kind != SqlTokenKind::Comma)) continue;
    AddItem(items, tokens, {begin, i});
    if (ends) break;
    begin = i + 1;
  }
  return items;
}

// As far as both have qualifiers, from the right, they are the same.
bool QualifiersAgree(const Path& left, const Path& right) {
  const std::size_t common = std::min(left.size(), right.size()) - 1;
  return std::equal(left.end() - 1 - static_cast<std::ptrdiff_t>(common), left.end() - 1,
                    right.end() - 1 - static_cast<std::ptrdiff_t>(common));
}

bool Shows(const Path& item, const Path& entry) {
  const bool sameName = item.back() == u"*" || item.back() == entry.back();
  return sameName && QualifiersAgree(item, entry);
}

// Behind p.* a name without qualifier may be another table's: it isn't seen in the result, unless another
// item bears its name.
bool MayHide(const Path& item, const Path& entry, const Items& items) {
  const bool isOfAnyTable = item.back() == u"*" && item.size() > 1 && entry.size() == 1;
  return isOfAnyTable && std::find(items.named.begin(), items.named.end(), entry.back()) != items.named.end();
}

}  // namespace

bool IsPlainColumn(varnel::StringView column, const std::vector<varnel::String>& branches) {
  const auto entry = ReadEntry(column);
  if (!entry) return false;
  return std::all_of(branches.begin(), branches.end(), [&](const varnel::String& branch) {
    const Items items = ReadList(branch);
    return std::any_of(items.plain.begin(), items.plain.end(), [&](const Path& item) {
      return Shows(item, *entry) && !MayHide(item, *entry, items);
    });
  });
}

}  // namespace hostlinux
