// What a list's page has declared, what its visitor has chosen of that, and the addresses that say so.
#pragma once

#include <memory>
#include <vector>

#include "varnel/host/Intrinsics.h"
#include "varnel/list/ListColumn.h"
#include "varnel/recordset/SortFields.h"

namespace varnel {

struct ListOption {
  String value;
  String label;
};

struct ListFilter {
  String field;       // as its parameter names it
  String expression;  // in a condition
  String label;
  bool isGiven = false;                  // the options are the page's, and no other value will do
  std::vector<ListOption> options = {};  // the page's, or those that the rows have
};

struct ListDeclared {
  String name;  // "L1": begins the names of the list's parameters
  std::vector<std::shared_ptr<ListColumn>> columns;
  std::vector<SortField> defaultSort;
  std::vector<String> searched;  // expressions
  std::vector<ListFilter> filters;
  std::vector<Long> pageSizes{10};  // the first one where the visitor chose none
  std::size_t mostSorts = 3;
  std::vector<String> keys;      // the columns that tell a row
  std::size_t mostSelected = 0;  // rows that a visitor may select; 0: none can be

  // The position, from 0, of the column of that name; -1 if there is none.
  int ColumnNamed(StringView columnName) const;
};

struct ListSort {
  std::size_t column = 0;
  bool ascending = true;
  bool operator==(const ListSort&) const = default;
};

// Everything a visitor can choose but the position.
struct ListChoice {
  std::vector<ListSort> sorts;  // empty: the default
  String search;
  std::vector<String> filters;  // one for each that is declared; empty: any value
  Long pageSize = 0;
  std::vector<String> selected;  // rows, by the texts of their keys (ListState.h)

  bool IsSelected(StringView row) const;
  bool IsNarrowed() const;  // there is a search or a filter
  bool operator==(const ListChoice&) const = default;
};

inline constexpr std::size_t kMostSearchUnits = 200;
inline constexpr std::size_t kMostFilterUnits = 400;

// The names of the parameters behind "L1-".
namespace list_parameter {
inline constexpr StringView kSort = u"sort";  // "TITLE,-PRICE"
inline constexpr StringView kSearch = u"q";
inline constexpr StringView kFilter = u"f-";  // "f-CATEGORY"
inline constexpr StringView kPageSize = u"size";
inline constexpr StringView kPosition = u"at";
inline constexpr StringView kGoTo =
    u"to";  // a position that goes before that one: what a pressed button brings
inline constexpr StringView kSelected = u"s";  // rows, with "," between them
inline constexpr StringView kAs = u"as";       // "csv": the list as something else than a page
}  // namespace list_parameter

// Reads the choice of `query`. Gives why it is refused: a sort, a filter, a size that nobody declared, a text that is
// too long; empty where it is good.
String ReadChoice(const ListDeclared& declared, const host::IRequestCollection& query, ListChoice& o_choice);

// The columns that a choice sorts by.
std::vector<SortField> SortOf(const ListDeclared& declared, const ListChoice& choice);

// The choice after a press on the head of `column`: up, down, and then no more; a second head is added behind the first.
ListChoice AfterPress(const ListDeclared& declared, const ListChoice& choice, std::size_t column);

// A name and a value of the request.
struct ListPair {
  String name;
  String value;
};

// The choice as pairs, without what is as it would be anyway.
std::vector<ListPair> PairsOf(const ListDeclared& declared, const ListChoice& choice);

// As part of an address: letters, digits and "-._~," stay, a blank becomes "+".
String UrlText(StringView text);
void AppendUrlText(String& out, StringView text);

// The running page's addresses.
class ListAddress {
 public:
  // `query`'s parameters that aren't the list's own are carried on.
  ListAddress(String name, String path, const host::IRequestCollection& query);

  const String& Path() const { return m_path; }
  const std::vector<ListPair>& Others() const { return m_others; }
  // With these parameters of the list; not encoded for HTML.
  String Url(const std::vector<ListPair>& pairs) const;

 private:
  String m_name;
  String m_path;
  std::vector<ListPair> m_others;
  String m_base;
};

}  // namespace varnel
