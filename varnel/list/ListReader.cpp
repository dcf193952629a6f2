#include "varnel/list/ListReader.h"

#include <algorithm>

#include "varnel/automation/Convert.h"
#include "varnel/host/Platform.h"
#include "varnel/list/ListColumn.h"
#include "varnel/list/ListQuery.h"
#include "varnel/recordset/PageQuery.h"
#include "varnel/recordset/Required.h"

namespace varnel {

namespace {

using Move = ListPosition::Move;

constexpr Long kNoSuchField = 3265;

Integer NavTypeOf(Move move) {
  switch (move) {
    case Move::Next:
      return nav_type::kNext;
    case Move::Previous:
      return nav_type::kPrevious;
    case Move::Last:
      return nav_type::kLast;
    default:
      return nav_type::kFirst;
  }
}

// A value that its column can't take is what a forged key leads to.
bool IsDataFault(const ConnectionPtr& connection) {
  const auto errors = Required(connection).Errors();
  return std::any_of(errors.begin(), errors.end(), [](const host::ProviderError& error) {
    return StringView(error.SQLState).starts_with(u"22");
  });
}

void TakeColumns(const host::IRecordset& recordset, ListPage& o_page) {
  const Long count = recordset.FieldCount();
  for (Long i = 0; i < count; ++i) {
    o_page.names.push_back(recordset.FieldName(i));
    o_page.types.push_back(recordset.FieldType(i));
  }
}

void TurnAround(host::RowBlock& io_rows) {
  const std::size_t rows = io_rows.Rows();
  for (std::size_t row = 0; row < rows / 2; ++row) {
    for (std::size_t column = 0; column < io_rows.Columns(); ++column)
      std::swap(io_rows.At(column, row), io_rows.At(column, rows - 1 - row));
  }
}

// Of a last page, so that the pages stay aligned with the first one.
Long RowsOfLastPage(const ListTotal& total, Long pageSize) {
  if (!total.IsExact() || total.rows == 0) return pageSize;
  const Long rest = total.rows % pageSize;
  return rest == 0 ? pageSize : rest;
}

// The rows at `position` and one more, in the list's order.
ListPage ReadRows(const ListSource& source, const ListPosition& position, Long pageSize,
                  const ListRefusal& refuse) {
  PersistedState state;
  state.NavType = NavTypeOf(position.move);
  state.KeyValues = position.keys;
  std::vector<SortField> fields = source.fields;
  if (position.IsBackward()) ReverseSort(fields);
  PageTop top{static_cast<Integer>(pageSize + 1)};
  top.nested = position.skipped > 0;
  if (top.nested) top.rows = (position.skipped + 1) * pageSize + 1;
  std::vector<String> branches = source.branches;
  const PageQuery query = BuildRead(branches, state, fields, top);

  const auto recordset = NewListRecordset(source, pageSize + 1);
  try {
    OpenDisconnected(source.connection, *recordset, query.text, &query.page);
  } catch (const Error&) {
    if (position.HasAnchor() && IsDataFault(source.connection)) refuse(u"a key that its column can't take");
    throw;
  }
  ListPage page;
  TakeColumns(*recordset, page);
  if (!recordset->IsEOF()) page.rows = ReadAllRows(source.connection, *recordset);
  recordset->Close();
  // The outer select of a nested read has turned the rows around already.
  if (position.IsBackward() != top.nested) TurnAround(page.rows);
  return page;
}

// Which of the rows are shown, and what lies beside them.
void ShowRows(const ListPosition& position, Long pageSize, ListPage& io_page) {
  const std::size_t read = io_page.rows.Rows();
  const auto size = static_cast<std::size_t>(pageSize);
  const bool isMore = read > size;
  io_page.count = std::min(read, size);
  if (position.IsBackward()) {
    io_page.first = read - io_page.count;
    io_page.hasPrevious = isMore;
    io_page.hasNext = position.move == Move::Previous;
  } else {
    io_page.hasPrevious = position.move == Move::Next;
    io_page.hasNext = isMore;
  }
}

// Exactly one number.
Long CountOf(const ListSource& source, const String& query) {
  const auto recordset = NewListRecordset(source, 1);
  OpenDisconnected(source.connection, *recordset, query);
  const Long count = recordset->IsEOF() ? 0 : ToLong(recordset->FieldValue(0));
  recordset->Close();
  return count;
}

ListTotal CountCapped(const ListSource& source, Integer most) {
  Long rows = 0;
  for (const String& branch : source.branches) {
    rows += CountOf(source, CappedCountQuery(branch, static_cast<Integer>(most + 1)));
    if (rows > most) return {most, true};
  }
  return {rows};
}

// The engine's notes, where it has some for each branch.
ListTotal Estimate(const ListSource& source, Integer most) {
  std::int64_t rows = 0;
  for (const String& branch : source.branches) {
    const auto recordset = NewListRecordset(source, 1);
    auto* const pages = dynamic_cast<host::IPageRecordset*>(recordset.get());
    const auto estimate = pages == nullptr ? std::nullopt : pages->EstimateRows(branch, source.connection);
    if (!estimate) return CountCapped(source, most);
    rows += *estimate;
  }
  return {RoundToLong(static_cast<double>(rows)), false, true};
}

ListTotal CountBy(const ListSource& source, const ListCounting& counting) {
  switch (counting.kind) {
    case ListCounting::Kind::Exact:
      return {CountListRows(source)};
    case ListCounting::Kind::Capped:
      return CountCapped(source, counting.most);
    case ListCounting::Kind::Estimated:
      return Estimate(source, counting.most);
    default:
      return {};
  }
}

// The numbers of a page as they are now: rows may have come and gone since its link was made.
void NumberRows(const ListPosition& position, Long pageSize, ListPage& io_page) {
  const auto count = static_cast<Long>(io_page.count);
  if (position.move == Move::First) io_page.firstRecord = 1;
  if (position.move == Move::Last && io_page.total.IsExact())
    io_page.firstRecord = std::max<Long>(io_page.total.rows - count + 1, 1);
  if (position.IsBackward() && !io_page.hasPrevious) io_page.firstRecord = 1;
  if (position.IsBackward() && io_page.hasPrevious && io_page.firstRecord != 0)
    io_page.firstRecord = std::max(io_page.firstRecord, pageSize + 1);
  if (io_page.firstRecord == 0 || count == 0) return;
  const Long last = io_page.firstRecord + count - 1;
  if (!io_page.hasNext) {
    io_page.total = {last};
  } else if (io_page.total.IsKnown() && io_page.total.rows <= last) {
    io_page.total.rows = last + 1;
  }
}

bool EndsWithIt(const ListPage& page, const ListPosition& position) {
  return position.move == Move::First && !page.hasNext;
}

}  // namespace

int ListPage::ColumnNamed(StringView name) const {
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (EqualsNoCase(names[i], name)) return static_cast<int>(i);
  }
  return -1;
}

std::shared_ptr<host::IRecordset> NewListRecordset(const ListSource& source, Long rows) {
  auto recordset = host::Platform().CreateRecordset();
  recordset->SetCursorType(host::ado::kOpenForwardOnly);
  recordset->SetCursorLocation(host::ado::kUseServer);
  recordset->SetLockType(host::ado::kLockReadOnly);
  recordset->SetMaxRecords(rows);
  recordset->SetCacheSize(rows);
  recordset->SetParameters(source.parameters);
  return recordset;
}

Long CountListRows(const ListSource& source) {
  std::int64_t rows = 0;
  for (const String& branch : source.branches) {
    const auto recordset = NewListRecordset(source, 1);
    rows += CountRecords(source.connection, *recordset, branch);
  }
  return RoundToLong(static_cast<double>(rows));
}

ListPage ReadListPage(const ListSource& source, const ListPosition& position, Long pageSize,
                      const ListCounting& counting, const ListRefusal& refuse) {
  ListTotal total = position.total;
  if (position.move == Move::Last && !total.IsExact()) total = CountBy(source, counting);
  const Long rows = position.move == Move::Last ? RowsOfLastPage(total, pageSize) : pageSize;
  ListPage page = ReadRows(source, position, rows, refuse);
  ShowRows(position, rows, page);
  // Rows before it have gone: the first page is a whole one.
  if (position.move == Move::Previous && page.count < static_cast<std::size_t>(pageSize))
    return ReadListPage(source, {}, pageSize, counting, refuse);
  page.firstRecord = position.move == Move::Last ? 0 : position.firstRecord;
  page.total = total;
  if (!page.total.IsKnown() && !EndsWithIt(page, position)) page.total = CountBy(source, counting);
  NumberRows(position, pageSize, page);
  if (page.count == 0 && position.move == Move::First) page.total = {0};
  return page;
}

std::vector<Variant> KeysOfRow(const ListSource& source, const ListPage& page, std::size_t row) {
  std::vector<Variant> keys;
  for (const SortField& field : source.fields) {
    const int column = page.ColumnNamed(FieldOfName(field.Name));
    if (column < 0)
      throw Error(
          {kNoSuchField, u"Varnel.List",
           u"The query's select list lacks the column '" + field.Name + u"', by which the list is sorted.",
           u"", 0});
    const auto at = static_cast<std::size_t>(column);
    keys.push_back(KeyValueToText(page.At(at, row), page.types[at]));
  }
  return keys;
}

}  // namespace varnel
