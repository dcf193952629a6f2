// What a recordset asks of the database: a read that leaves the connection free, and the count of a query.
#pragma once

#include <memory>

#include "varnel/automation/Error.h"
#include "varnel/host/Ado.h"

namespace varnel {

using ConnectionPtr = std::shared_ptr<host::IConnection>;

// Runs `iSql` into the client's memory and detaches `ioRecordset` from the connection. Raises 91 without a
// connection, and the database's failure with the SQL text and the provider's errors in its description.
void OpenDisconnected(const ConnectionPtr& iConnection, host::IRecordset& ioRecordset, const String& iSql);

// All rows of an open recordset. Raises as `OpenDisconnected`.
host::RowBlock ReadAllRows(const ConnectionPtr& iConnection, host::IRecordset& ioRecordset);

// Raises `iError` again with `iMessage` and the connection's provider errors in its description.
[[noreturn]] void RaiseAdoError(const ConnectionPtr& iConnection, const ErrInfo& iError,
                                const String& iMessage);

// The number of rows of one union branch: by a count query, or, with DISTINCT or GROUP BY, by reading them
// all and counting. `ioRecordset` is closed afterwards and has the properties that it had. Raises -1 where
// the count query doesn't give one number.
Long CountRecords(const ConnectionPtr& iConnection, host::IRecordset& ioRecordset, const String& iSql);

}  // namespace varnel
