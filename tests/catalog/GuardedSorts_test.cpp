// Sorts of all sorts at the shop's own queries, by a host that takes columns only: one is admitted exactly
// where a rule of a few words says that it names what the list shows.
#include <gtest/gtest.h>

#include <fstream>
#include <random>
#include <regex>
#include <sstream>

#include "host-linux/guard/ListGuard.h"
#include "varnel/automation/Error.h"
#include "varnel/catalog/QueryTexts.h"
#include "varnel/recordset/SortFields.h"
#include "varnel/recordset/UnionBranches.h"

namespace varnel {
namespace {

const std::string kOfProduct =
    "P.PRODUCTID P.PROPERTYGROUPID P.MANUFACTURERID P.PARTNUMBER P.PRODUCTDESCRIPTION P.PRODUCTREMARK "
    "P.IMAGEFILENAME P.TECHNICALIMAGE P.URL P.UNITCODE P.CONFIGURABLE P.COMMODITYCODE P.CONTRACTCODE "
    "P.NUMBER "
    "P.BUSINESSPARTNERID P.USERID P.PRODUCTEFFECTIVITYDATE P.PRODUCTEXPIRYDATE P.CLASSCODE P.SERVICEITEM ";

struct ShopList {
  String query;
  std::string shown;  // with their qualifiers; "*" for any name
};

// The query of the pages, put together from the texts in their script.
String QueryOfPages() {
  std::ifstream file(VARNEL_SOURCE_DIR "/site/pages/includes/products.inc");
  std::stringstream content;
  content << file.rdbuf();
  const std::string text = content.str();
  const auto begin = text.find("return \"SELECT");
  const std::string expression = text.substr(begin, text.find(';', begin) - begin);
  std::string query;
  const std::regex literal("\"([^\"]*)\"");
  for (std::sregex_iterator it(expression.begin(), expression.end(), literal); it != std::sregex_iterator();
       ++it)
    query += (*it)[1];
  return FromUtf8(query);
}

std::vector<ShopList> ShopLists() {
  using namespace catalog_text;
  const String day = u"{d '2024-03-05'}";
  return {{QueryOfPages(),
           "PRODUCTID PARTNUMBER PRODUCTDESCRIPTION P.MANUFACTURERID MANUFACTURERNAME CLASSIFICATION"},
          {CatalogProducts(u"7", u"demo", day), kOfProduct + "FAVORITES.PRESENT PBC.SEQUENCE"},
          {QuickOrderProducts(day, u"8086*", u"1,2"), kOfProduct},
          {SupplierProducts(u"12", u"PARTNUMBER", u"8*"), "*"},
          {FavoriteProducts(u"demo", day, u"", u"-1", -1), kOfProduct + "F.PRESENT"},
          {ProductPropertyValues(u"5"), "*"}};
}

// --- The rule

std::string Upper(std::string text) {
  for (char& c : text) c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
  return text;
}

std::string WithoutBrackets(const std::string& part) {
  return part.starts_with("[") ? part.substr(1, part.size() - 2) : part;
}

bool IsShown(const std::string& shown, const std::string& qualifier, const std::string& name) {
  std::istringstream columns(shown);
  for (std::string column; columns >> column;) {
    const auto dot = column.find('.');
    const std::string table = dot == std::string::npos ? "" : column.substr(0, dot);
    const std::string shownName = dot == std::string::npos ? column : column.substr(dot + 1);
    if (shownName != "*" && shownName != name) continue;
    if (table.empty() || qualifier.empty() || table == qualifier) return true;
  }
  return false;
}

bool IsPlain(const std::string& shown, const std::string& entry) {
  static const std::regex kName(
      R"((?:(?:[A-Z_]\w*|\[[\w ]+\])\.)*?(?:([A-Z_]\w*|\[[\w ]+\])\.)?([A-Z_]\w*|\[[\w ]+\]))");
  static const std::regex kDirection(R"(^ *(.*?) *( ASC| DESC)? *$)");
  std::smatch cut;
  const std::string upper = Upper(entry);
  if (!std::regex_match(upper, cut, kDirection)) return false;
  const std::string column = cut[1];
  std::smatch parts;
  if (column.find(" AS ") != std::string::npos || !std::regex_match(column, parts, kName)) return false;
  return IsShown(shown, WithoutBrackets(parts[1]), WithoutBrackets(parts[2]));
}

bool IsPlainSort(const std::string& shown, const std::string& sort) {
  if (sort.find_first_not_of(' ') == std::string::npos) return true;
  std::istringstream entries(sort + ",");
  for (std::string entry; std::getline(entries, entry, ',');) {
    if (!IsPlain(shown, entry)) return false;
  }
  return true;
}

// --- The sorts

class Sorts {
 public:
  explicit Sorts(const std::string& shown) {
    std::istringstream columns(shown);
    for (std::string column; columns >> column;) {
      if (column.find('*') == std::string::npos) m_columns.push_back(column);
    }
    m_columns.insert(m_columns.end(),
                     {"PRODUCTID", "P.PARTNUMBER", "PRODUCTPROPVALUE.PROPERTYID", "PARTNUMBER"});
  }

  // One to three entries, each a column that is changed a little or not at all, or a few fragments.
  std::string Next() {
    std::string sort = Entry();
    for (int more = Below(3); more > 0; --more) sort += (Below(2) == 0 ? ", " : ",") + Entry();
    return sort;
  }

 private:
  int Below(int end) { return static_cast<int>(m_random() % static_cast<unsigned>(end)); }

  std::string Entry() {
    if (Below(4) == 0) return Fragments();
    std::string entry = m_columns[static_cast<std::size_t>(Below(static_cast<int>(m_columns.size())))];
    if (Below(3) == 0) entry = entry.substr(entry.find('.') + 1);
    if (Below(6) == 0) entry = "M." + entry;
    if (Below(6) == 0) entry = "P." + entry.substr(entry.find('.') + 1);
    if (Below(5) == 0) entry = "[" + entry + "]";
    if (Below(8) == 0)
      entry = entry.substr(0, entry.rfind('.') + 1) + "[" + entry.substr(entry.rfind('.') + 1) + "]";
    if (Below(5) == 0) entry[static_cast<std::size_t>(Below(static_cast<int>(entry.size())))] |= 0x20;
    if (Below(10) == 0)
      entry.insert(static_cast<std::size_t>(Below(static_cast<int>(entry.size()) + 1)), Fragment());
    static const std::vector<std::string> ends = {"",      "",       "",          " DESC", " ASC",
                                                  " desc", "  Asc ", " DESC ASC", " "};
    return entry + ends[static_cast<std::size_t>(Below(static_cast<int>(ends.size())))];
  }

  std::string Fragments() {
    std::string text;
    for (int count = 1 + Below(4); count > 0; --count) text += Fragment();
    return text;
  }

  std::string Fragment() {
    static const std::vector<std::string> fragments = {"PARTNUMBER",
                                                       "BUYFROMPARTNUMBER",
                                                       "DISABLED",
                                                       "P.",
                                                       "M.",
                                                       "PBC.",
                                                       "[",
                                                       "]",
                                                       "[P]",
                                                       "'",
                                                       "\"",
                                                       "`",
                                                       ".",
                                                       " ",
                                                       "\t",
                                                       "\n",
                                                       " AS ",
                                                       "AS",
                                                       " as x",
                                                       "SELECT",
                                                       " UNION ",
                                                       "FROM",
                                                       "*",
                                                       "(",
                                                       ")",
                                                       "--",
                                                       "/*",
                                                       "*/",
                                                       ";",
                                                       "0",
                                                       "1",
                                                       "+",
                                                       "||",
                                                       "upper(",
                                                       "CASE",
                                                       "NULL",
                                                       "rowid",
                                                       "N'",
                                                       "{d '",
                                                       "?1",
                                                       "@a",
                                                       ":a",
                                                       "#",
                                                       "$",
                                                       "\\",
                                                       "%",
                                                       " COLLATE NOCASE",
                                                       "DESC",
                                                       "ASC",
                                                       "_",
                                                       "VAULT",
                                                       "SECRET",
                                                       "FAVORITES.USERID",
                                                       "NUMBER",
                                                       "URL"};
    return fragments[static_cast<std::size_t>(Below(static_cast<int>(fragments.size())))];
  }

  std::mt19937 m_random{20010305};
  std::vector<std::string> m_columns;
};

bool Admits(const ShopList& list, const String& sort) {
  hostlinux::ListGuard guard({});
  const std::vector<String> columns = SortColumns(sort);
  const std::vector<String> branches = SplitUnionBranches(list.query);
  try {
    guard.Admit({u"a state", u"R_1", sort, columns, branches, false});
    return true;
  } catch (const PageEnded&) {
    return false;
  }
}

TEST(GuardedSorts, AreAdmittedExactlyWhereTheyNameWhatTheListShows) {
  constexpr int kTries = 1000;
  for (const ShopList& list : ShopLists()) {
    Sorts sorts(list.shown);
    int admitted = 0;
    for (int i = 0; i < kTries; ++i) {
      const std::string sort = sorts.Next();
      const bool isPlain = IsPlainSort(list.shown, sort);
      admitted += isPlain ? 1 : 0;
      ASSERT_EQ(Admits(list, FromUtf8(sort)), isPlain) << sort << "\nof " << ToUtf8(list.query);
    }
    EXPECT_GT(admitted, kTries / 50) << ToUtf8(list.query);
    EXPECT_LT(admitted, kTries - kTries / 50) << ToUtf8(list.query);
  }
}

}  // namespace
}  // namespace varnel
