#include "varnel/list/ListQuery.h"

#include "varnel/recordset/CountTail.h"
#include "varnel/recordset/PageQuery.h"
#include "varnel/recordset/QueryClauses.h"
#include "varnel/recordset/UnionBranches.h"

namespace varnel {

namespace {

constexpr std::size_t kMostWords = 8;

std::vector<String> WordsIn(StringView search) {
  std::vector<String> words;
  while (words.size() + 1 < kMostWords) {
    const auto blank = search.find(u' ');
    if (blank == StringView::npos) break;
    if (blank > 0) words.emplace_back(search.substr(0, blank));
    search.remove_prefix(blank + 1);
  }
  String rest = Trim(search);
  if (!rest.empty()) words.push_back(std::move(rest));
  return words;
}

String And(String left, StringView right) {
  return left.empty() ? String(right) : left.append(u" AND ").append(right);
}

bool IsAscii(StringView text) {
  for (const char16_t c : text) {
    if (c >= 0x80) return false;
  }
  return true;
}

String NameOf(StringView kind, std::size_t number) {
  return String(kListParameter).append(kind) + DecimalText(static_cast<std::int64_t>(number + 1));
}

// An engine may know the lower case of ASCII letters only, and LIKE may tell upper from lower case: a word beyond ASCII
// is also looked for as it was typed.
String HasWord(const std::vector<String>& expressions, const String& word, std::size_t number,
               ListCondition& io_condition) {
  const String lower = NameOf(u"W", number);
  const String typed = NameOf(u"T", number);
  const bool isAscii = IsAscii(word);
  io_condition.parameters.push_back({lower, ContainsPattern(ToLower(word))});
  if (!isAscii) io_condition.parameters.push_back({typed, ContainsPattern(word)});
  String text;
  for (const String& expression : expressions) {
    text += text.empty() ? u"(" : u" OR ";
    text += u"LOWER(" + expression + u") LIKE :" + lower;
    if (!isAscii) text += u" OR " + expression + u" LIKE :" + typed;
  }
  return text + u")";
}

}  // namespace

String ContainsPattern(StringView text) {
  String pattern = u"%";
  for (const char16_t c : text) {
    if (c == u'%' || c == u'_' || c == u'[') {
      pattern.append({u'[', c, u']'});
    } else {
      pattern += c;
    }
  }
  return pattern + u"%";
}

ListCondition ConditionOf(const ListDeclared& declared, const ListChoice& choice) {
  ListCondition condition;
  const std::vector<String> words = WordsIn(choice.search);
  for (std::size_t i = 0; i < words.size(); ++i) {
    const String hasWord = HasWord(declared.searched, words[i], i, condition);
    condition.text = And(std::move(condition.text), hasWord);
  }
  for (std::size_t i = 0; i < choice.filters.size(); ++i) {
    if (choice.filters[i].empty()) continue;
    const String name = NameOf(u"F", i);
    condition.parameters.push_back({name, choice.filters[i]});
    condition.text = And(std::move(condition.text), declared.filters[i].expression + u" = :" + name);
  }
  return condition;
}

String OneLine(StringView query) {
  String line(query);
  char16_t quote = 0;
  for (char16_t& c : line) {
    if (quote != 0) {
      if (c == quote) quote = 0;
    } else if (c == u'\'' || c == u'"') {
      quote = c;
    } else if (c == u'\r' || c == u'\n' || c == u'\t') {
      c = u' ';
    }
  }
  return Trim(line);
}

std::vector<String> BranchesWith(const String& query, const String& condition) {
  std::vector<String> branches = SplitUnionBranches(query);
  if (condition.empty()) return branches;
  for (String& branch : branches) {
    const QueryClauses clauses = SplitQueryClauses(branch);
    const String own = Trim(clauses.where);
    String text = Trim(clauses.select) + u" WHERE ";
    if (!own.empty()) text += u"(" + own + u") AND ";
    branch = text + condition + clauses.groupBy + clauses.compute;
  }
  return branches;
}

String DistinctQuery(const String& branch, const String& field, Integer most) {
  const CountTail tail = CutCountTail(branch);
  if (tail.grouped || tail.tail.empty()) return {};
  PersistedState state;
  state.NavType = nav_type::kFirst;
  std::vector<String> branches{u"SELECT DISTINCT " + field + tail.tail};
  return BuildReadQuery(branches, state, {{field, field, true}}, {most});
}

String CappedCountQuery(const String& branch, Integer most) {
  PersistedState state;
  state.NavType = nav_type::kFirst;
  const CountTail tail = CutCountTail(branch);
  String rows = tail.CountsByItself() ? u"SELECT 1 AS ONE" + tail.tail : branch;
  return u"SELECT COUNT(*) FROM (" + BuildPageQuery(rows, state, {}, {most}) + u") AS LISTED";
}

}  // namespace varnel
