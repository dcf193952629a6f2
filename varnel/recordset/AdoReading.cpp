#include "varnel/recordset/AdoReading.h"

#include <optional>

#include "varnel/automation/Convert.h"
#include "varnel/page/Utillities.h"
#include "varnel/recordset/CountTail.h"
#include "varnel/recordset/Required.h"

namespace varnel {

namespace {

constexpr StringView kSource = u"Varnel.DRecordset";

String ProviderErrorText(const host::ProviderError& error, std::size_t number) {
  return u" Provider error " + DecimalText(static_cast<std::int64_t>(number)) + u": NativeError: " +
         DecimalText(error.NativeError) + u". SQLState: " + error.SQLState + u". Number: " +
         HexText(error.Number) + u". Source: " + error.Source + u". Description: " + error.Description;
}

// The one number of a count query's result; none where the result is anything else.
std::optional<Long> SingleCount(host::IRecordset& recordset) {
  if (recordset.IsEOF() || recordset.FieldCount() != 1) return std::nullopt;
  Long count = 0;
  try {
    count = ToLong(recordset.FieldValue(0));
  } catch (const Error&) {
    return std::nullopt;
  }
  recordset.MoveNext();
  if (!recordset.IsEOF()) return std::nullopt;
  return count;
}

Long CountByQuery(const ConnectionPtr& connection, host::IRecordset& recordset, const String& query) {
  OpenDisconnected(connection, recordset, query);
  const std::optional<Long> count = SingleCount(recordset);
  if (!count) {
    Util_Raise(-1, String(kSource),
               u"Parameter error: Incorect number of fields and/or records from executing the SQL query: " +
                   query + u".",
               u"", 0);
  }
  recordset.Close();
  return *count;
}

// Calls `open`; what it fails with is raised as the failure of `sql`.
template <typename Open>
auto Executing(const ConnectionPtr& connection, const String& sql, Open open) {
  Required(connection);
  try {
    return open();
  } catch (const std::exception&) {
    RaiseAdoError(connection, Util_SaveErr(),
                  u"Parameter error: Unable to execute the SQL query: \"" + sql + u"\".");
  }
}

// Of every row of the query.
Long CountByReading(const ConnectionPtr& connection, host::IRecordset& recordset, const String& query) {
  if (auto* pages = dynamic_cast<host::IPageRecordset*>(&recordset)) {
    return Executing(connection, query, [&] { return pages->CountRows(query, connection); });
  }
  const Long cursorType = recordset.CursorType();
  const Long maxRecords = recordset.MaxRecords();
  recordset.SetCursorType(host::ado::kOpenStatic);
  recordset.SetMaxRecords(0);
  OpenDisconnected(connection, recordset, query);
  const Long count = recordset.RecordCount();
  recordset.Close();
  recordset.SetCursorType(cursorType);
  recordset.SetMaxRecords(maxRecords);
  return count;
}

}  // namespace

void RaiseAdoError(const ConnectionPtr& iConnection, const ErrInfo& iError, const String& iMessage) {
  String description = String(kSource) + u": " + iMessage + u" ADO Error: " + HexText(iError.Number) + u": " +
                       iError.Description;
  std::size_t number = 0;
  for (const host::ProviderError& error : Required(iConnection).Errors()) {
    description += ProviderErrorText(error, ++number);
  }
  Util_Raise(iError.Number, iError.Source, description, iError.HelpFile, iError.HelpContext);
}

void OpenDisconnected(const ConnectionPtr& iConnection, host::IRecordset& ioRecordset, const String& iSql,
                      const host::PageSpec* iPage) {
  Executing(iConnection, iSql, [&] {
    using namespace host::ado;
    ioRecordset.SetCursorLocation(kUseClient);
    auto* pages = iPage == nullptr ? nullptr : dynamic_cast<host::IPageRecordset*>(&ioRecordset);
    if (pages != nullptr) {
      pages->OpenPage(iSql, *iPage, iConnection);
    } else {
      ioRecordset.Open(iSql, iConnection, kUnspecified, kUnspecified, kUnspecified);
    }
    ioRecordset.DetachConnection();
  });
}

host::RowBlock ReadAllRows(const ConnectionPtr& iConnection, host::IRecordset& ioRecordset) {
  try {
    return ioRecordset.GetRows();
  } catch (const std::exception&) {
    RaiseAdoError(iConnection, Util_SaveErr(),
                  u"Parameter error: Unable to call GetRows() on the ADO recordset.");
  }
}

Long CountRecords(const ConnectionPtr& iConnection, host::IRecordset& ioRecordset, const String& iSql) {
  const CountTail tail = CutCountTail(iSql);
  if (!tail.CountsByItself()) return CountByReading(iConnection, ioRecordset, iSql);
  return CountByQuery(iConnection, ioRecordset, u"SELECT COUNT(*)" + tail.tail);
}

}  // namespace varnel
