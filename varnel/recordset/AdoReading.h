// What a recordset asks of the database: a read that leaves the connection free, and the count of a query.
#pragma once

#include <memory>

#include "varnel/automation/Error.h"
#include "varnel/host/Paging.h"

namespace varnel {

using ConnectionPtr = std::shared_ptr<host::IConnection>;

// Runs `iSql` into the client's memory and detaches `ioRecordset` from the connection. Raises 91 without a
// connection, and the database's failure with the SQL text and the provider's errors in its description.
// `iPage`: the read as data, which a host may take in place of the text; null for a text that is no page's.
void OpenDisconnected(const ConnectionPtr& iConnection, host::IRecordset& ioRecordset, const String& iSql,
                      const host::PageSpec* iPage = nullptr);

// All rows of an open recordset. Raises as `OpenDisconnected`.
host::RowBlock ReadAllRows(const ConnectionPtr& iConnection, host::IRecordset& ioRecordset);

// Raises `iError` again with `iMessage` and the connection's provider errors in its description.
[[noreturn]] void RaiseAdoError(const ConnectionPtr& iConnection, const ErrInfo& iError,
                                const String& iMessage);

// The number of rows of one union branch: by a count query, or, with DISTINCT or GROUP BY, of the branch's own
// rows, which are all read where the host can't count them. `ioRecordset` is closed afterwards and has the
// properties that it had. Raises -1 where the count query doesn't give one number.
Long CountRecords(const ConnectionPtr& iConnection, host::IRecordset& ioRecordset, const String& iSql);

}  // namespace varnel
