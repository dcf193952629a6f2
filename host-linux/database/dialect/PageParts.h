// The parts of a page's read: its branches and its sort keys, as far as they can be put together anew.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "host-linux/database/dialect/ColumnFacts.h"
#include "host-linux/database/dialect/FromTables.h"
#include "host-linux/database/dialect/SelectNames.h"
#include "host-linux/database/dialect/TokenSpans.h"
#include "varnel/host/Paging.h"

namespace hostlinux {

// A page's texts as tokens, closed by one of kind End.
struct PageTokens {
  std::vector<SqlTokens> branches;  // SELECT ... FROM ..., and WHERE ( ... ) where it has a condition
  SqlTokens anchors;                // the literal of each key; of kind End for NULL. None without an anchor
};

struct PageBranch {
  SqlTokens tokens;
  std::size_t end = 0;  // of the text
  SqlStructure structure;
  SqlSpan list;
  SqlSpan from;
  bool hasWhere = false;
  std::vector<SelectItem> items;

  const SqlScope& Scope() const { return structure.scopes.front(); }
};

struct PageSortKey {
  SqlTokens expression;
  OrderTerm term;  // in the tokens of the order
  bool ascending = true;
  bool isNull = false;
  SqlToken anchor;
};

bool IsPlainColumn(const PageSortKey& key);
// A * without a table's name.
bool IsBareStar(const SelectItem& item);
// FROM and a name, perhaps with another one behind it.
bool IsOneTable(const PageBranch& branch);

class PageParts {
 public:
  // Nothing where statements made of the parts wouldn't surely give the rows of the page's text: for what is grouped or
  // aggregated, and for an order by a name that isn't the column of its condition. `page` and `facts` outlive it.
  static std::optional<PageParts> Read(const varnel::host::PageSpec& page, PageTokens tokens,
                                       IColumnFacts& facts);

  bool IsUnion() const { return m_page.branches.size() > 1; }
  bool IsJump() const { return m_page.way != -1; }
  const std::vector<PageBranch>& Branches() const { return m_branches; }
  const PageBranch& First() const { return m_branches.front(); }
  const std::vector<PageSortKey>& Keys() const { return m_keys; }
  // Of a union, of each key: its number in the result, from 1.
  const std::vector<std::size_t>& Positions() const { return m_positions; }

  // The tokens of ORDER BY and its terms. `OrderSpan` is all of them, or those from a key on.
  const SqlTokens& Order() const { return m_order; }
  SqlSpan OrderSpan() const;
  SqlSpan OrderSpan(std::size_t key) const;
  // The same with other directions: of each key, true for upward.
  std::u16string OrderText(const std::vector<bool>& ways) const;

  // What the engine says of the key's column.
  std::optional<std::vector<ColumnFact>> FactsOf(const PageBranch& branch, const PageSortKey& key) const;
  // True where the key surely has a value in every row, also where a table is joined by an outer join.
  bool IsNeverNull(const PageBranch& branch, const PageSortKey& key) const;
  // The table whose column the key is, as PlainName; empty where it is none.
  std::u16string TableOf(const PageSortKey& key) const;
  // False where the key's name says that it is another table's column than this one's.
  bool IsNamedAs(const FromTable& table, const PageSortKey& key) const;

 private:
  PageParts(const varnel::host::PageSpec& page, IColumnFacts& facts) : m_page(page), m_facts(facts) {}

  bool ReadBranches(std::vector<SqlTokens> texts);
  bool ReadKeys(const SqlTokens& anchors);
  bool ReadKey(std::size_t i, const OrderTerm& term);
  bool ReadPositions();
  bool OrderIsOfKeys() const;
  bool OrderIsOf(const PageSortKey& key) const;
  bool KeepsColumns();
  bool HoldsIfDistinct(const PageBranch& branch, const PageSortKey& key) const;
  bool IsItemOf(const PageBranch& branch, const SelectItem& item, const PageSortKey& key) const;
  bool IsColumnOf(const PageBranch& branch, const FromTable& table, const PageSortKey& key) const;
  std::optional<std::size_t> PositionOf(const PageBranch& branch, const std::vector<ColumnFact>& columns,
                                        const PageSortKey& key) const;
  std::u16string SelectOf(const PageBranch& branch) const;
  std::u16string NameOf(const PageSortKey& key) const;

  const varnel::host::PageSpec& m_page;
  IColumnFacts& m_facts;
  std::vector<PageBranch> m_branches;
  SqlTokens m_order;
  std::vector<PageSortKey> m_keys;
  std::vector<std::size_t> m_positions;
};

}  // namespace hostlinux
