#include "host-linux/database/odbc/OdbcConnection.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <future>
#include <new>
#include <thread>

#include "host-linux/database/odbc/OdbcErrors.h"

namespace hostlinux {
namespace {

constexpr std::size_t kLongText = 4000;  // characters, from which on a value is of a long type
constexpr std::size_t kLongestName = 512;

// Threads that open connections to hosts of which there are others. With more of them that are silent no host is asked.
constexpr int kMostOpenings = 100;
std::atomic<int> g_openings = 0;

[[noreturn]] void RaiseSilence() {
  RaiseOdbc(provider_error::kFail, u"The database server does not answer: Login timeout expired", u"HYT01");
}

SQLPOINTER Number(std::uintptr_t value) { return reinterpret_cast<SQLPOINTER>(value); }

SQLWCHAR* Wide(std::u16string& text) { return reinterpret_cast<SQLWCHAR*>(text.data()); }
SQLCHAR* Narrow(std::string& text) { return reinterpret_cast<SQLCHAR*>(text.data()); }

// One of the two forms of a function that takes a text.
template <typename WideCall, typename NarrowCall>
SQLRETURN CallWith(std::string text, bool isNarrow, WideCall wideCall, NarrowCall narrowCall) {
  if (isNarrow) return narrowCall(Narrow(text), static_cast<SQLINTEGER>(text.size()));
  std::u16string wide = varnel::FromUtf8(text);
  return wideCall(Wide(wide), static_cast<SQLINTEGER>(wide.size()));
}

// The driver manager's environment is told before anything else which behaviour is meant.
SQLHANDLE WithVersion(const OdbcHandle& environment) {
  SQLSetEnvAttr(environment.Get(), SQL_ATTR_ODBC_VERSION, Number(SQL_OV_ODBC3), 0);
  return environment.Get();
}

// Drivers hold those who open a connection as long as a server that hangs lets them: another thread waits with them.
void OpenWithin(const std::shared_ptr<OdbcLink>& link, const OdbcConnection::Options& options) {
  const bool hasPlace = ++g_openings <= kMostOpenings;
  std::shared_ptr<void> place(nullptr, [](void*) { --g_openings; });
  if (!hasPlace) RaiseSilence();
  std::packaged_task<void()> open([link, options, place] { link->Open(options.text, options.isNarrow); });
  std::future<void> isOpen = open.get_future();
  std::thread(std::move(open)).detach();
  if (isOpen.wait_for(options.patience) != std::future_status::ready) RaiseSilence();
  isOpen.get();
}

}  // namespace

OdbcHandle::OdbcHandle(SQLSMALLINT kind, SQLSMALLINT parentKind, SQLHANDLE parent) : m_kind(kind) {
  if (SQL_SUCCEEDED(SQLAllocHandle(kind, parent, &m_handle))) return;
  if (parent == SQL_NULL_HANDLE) throw std::bad_alloc();
  RaiseOdbc(parentKind, parent);
}

// --- the connection

OdbcLink::OdbcLink()
    : m_environment(SQL_HANDLE_ENV, SQL_HANDLE_ENV, SQL_NULL_HANDLE),
      m_handle(SQL_HANDLE_DBC, SQL_HANDLE_ENV, WithVersion(m_environment)) {}

OdbcLink::~OdbcLink() {
  if (m_isOpen) SQLDisconnect(Get());
}

void OdbcLink::Open(const std::u16string& text, bool isNarrow) {
  const SQLRETURN result = CallWith(
      varnel::ToUtf8(text), isNarrow,
      [&](SQLWCHAR* wide, SQLINTEGER length) {
        return SQLDriverConnectW(Get(), nullptr, wide, static_cast<SQLSMALLINT>(length), nullptr, 0, nullptr,
                                 SQL_DRIVER_NOPROMPT);
      },
      [&](SQLCHAR* narrow, SQLINTEGER length) {
        return SQLDriverConnect(Get(), nullptr, narrow, static_cast<SQLSMALLINT>(length), nullptr, 0, nullptr,
                                SQL_DRIVER_NOPROMPT);
      });
  if (!SQL_SUCCEEDED(result)) RaiseOdbc(SQL_HANDLE_DBC, Get());
  m_isOpen = true;
}

OdbcConnection::OdbcConnection(const Options& options)
    : m_link(std::make_shared<OdbcLink>()), m_isNarrow(options.isNarrow) {
  Deadline end = options.deadline;
  if (options.patience.count() > 0) end = Clock::now() + options.patience;
  if (end) {
    const auto left = std::chrono::ceil<std::chrono::seconds>(*end - Clock::now()).count();
    SQLSetConnectAttrW(Get(), SQL_ATTR_LOGIN_TIMEOUT,
                       Number(static_cast<std::uintptr_t>(std::max<std::int64_t>(left, 1))), SQL_IS_UINTEGER);
  }
  if (options.readsOnly)
    SQLSetConnectAttrW(Get(), SQL_ATTR_ACCESS_MODE, Number(SQL_MODE_READ_ONLY), SQL_IS_UINTEGER);
  if (options.patience.count() > 0)
    OpenWithin(m_link, options);
  else
    m_link->Open(options.text, options.isNarrow);
  SetDeadline(options.deadline);
}

std::u16string OdbcConnection::Info(SQLUSMALLINT what) const {
  std::array<SQLWCHAR, 256> text{};
  SQLSMALLINT length = 0;
  if (!SQL_SUCCEEDED(SQLGetInfoW(Get(), what, text.data(), sizeof text, &length))) return {};
  return reinterpret_cast<const char16_t*>(text.data());
}

void OdbcConnection::RaiseCancelled() {
  m_wasCancelled = true;
  RaiseOdbcTimeout();
}

template <typename Action>
SQLRETURN OdbcConnection::Within(const std::shared_ptr<OdbcCall>& call, Action action) {
  if (m_timeLimit.IsOver()) RaiseOdbcTimeout();
  m_timeLimit.Watch(call->Get(), call);
  const SQLRETURN result = action();
  const bool isCancelled = m_timeLimit.Unwatch();
  if (isCancelled) RaiseCancelled();
  if (!SQL_SUCCEEDED(result) && result != SQL_NO_DATA) RaiseOdbc(SQL_HANDLE_STMT, call->Get());
  return result;
}

void OdbcConnection::Execute(const std::string& sql) {
  const std::shared_ptr<OdbcCall> call = NewCall();
  SQLHSTMT handle = call->Get();
  SQLSetStmtAttrW(handle, SQL_ATTR_NOSCAN, Number(SQL_NOSCAN_ON), SQL_IS_UINTEGER);
  Within(call, [&] {
    return CallWith(
        sql, m_isNarrow,
        [&](SQLWCHAR* text, SQLINTEGER length) { return SQLExecDirectW(handle, text, length); },
        [&](SQLCHAR* text, SQLINTEGER length) { return SQLExecDirect(handle, text, length); });
  });
  // A driver that runs a statement row by row hasn't begun yet with one that has rows.
  SQLSMALLINT columns = 0;
  if (SQL_SUCCEEDED(SQLNumResultCols(handle, &columns)) && columns > 0)
    Within(call, [&] { return SQLFetch(handle); });
}

void OdbcConnection::SetAutoCommit(bool isOn) {
  const auto mode = static_cast<std::uintptr_t>(isOn ? SQL_AUTOCOMMIT_ON : SQL_AUTOCOMMIT_OFF);
  if (!SQL_SUCCEEDED(SQLSetConnectAttrW(Get(), SQL_ATTR_AUTOCOMMIT, Number(mode), SQL_IS_UINTEGER)))
    RaiseOdbc(SQL_HANDLE_DBC, Get());
}

void OdbcConnection::End(bool keeps) {
  if (!SQL_SUCCEEDED(SQLEndTran(SQL_HANDLE_DBC, Get(), keeps ? SQL_COMMIT : SQL_ROLLBACK)))
    RaiseOdbc(SQL_HANDLE_DBC, Get());
}

bool OdbcConnection::IsAlive() const {
  SQLUINTEGER isDead = SQL_CD_FALSE;
  const SQLRETURN result =
      SQLGetConnectAttrW(Get(), SQL_ATTR_CONNECTION_DEAD, &isDead, SQL_IS_UINTEGER, nullptr);
  return !SQL_SUCCEEDED(result) || isDead == SQL_CD_FALSE;
}

// --- a statement

OdbcStatement::OdbcStatement(OdbcConnection& connection, const std::string& sql)
    : m_connection(connection), m_call(connection.NewCall()) {
  // The text is the server's as it stands: no driver looks for escapes in it.
  SQLSetStmtAttrW(m_call->Get(), SQL_ATTR_NOSCAN, Number(SQL_NOSCAN_ON), SQL_IS_UINTEGER);
  connection.Within(m_call, [&] {
    return CallWith(
        sql, connection.IsNarrow(),
        [&](SQLWCHAR* text, SQLINTEGER length) { return SQLPrepareW(m_call->Get(), text, length); },
        [&](SQLCHAR* text, SQLINTEGER length) { return SQLPrepare(m_call->Get(), text, length); });
  });
  try {
    Describe();
  } catch (const ProviderFailure&) {
    Close();
    throw;
  }
}

void OdbcStatement::Describe() {
  SQLSMALLINT count = 0;
  m_connection.Within(m_call, [&] { return SQLNumResultCols(m_call->Get(), &count); });
  for (SQLSMALLINT i = 1; i <= count; ++i) m_columns.push_back(ColumnAt(static_cast<SQLUSMALLINT>(i)));
}

OdbcColumn OdbcStatement::ColumnAt(SQLUSMALLINT position) {
  SQLHSTMT handle = m_call->Get();
  OdbcColumn column;
  column.isNarrow = m_connection.IsNarrow();
  SQLSMALLINT length = 0;
  SQLSMALLINT digits = 0;
  SQLSMALLINT nullable = SQL_NULLABLE_UNKNOWN;
  const auto describe = [&](auto call, auto& name) {
    m_connection.Within(m_call, [&] {
      return call(handle, position, name.data(), static_cast<SQLSMALLINT>(name.size()), &length, &column.type,
                  &column.size, &digits, &nullable);
    });
  };
  if (column.isNarrow) {
    std::array<SQLCHAR, kLongestName> name{};
    describe(SQLDescribeCol, name);
    column.name = varnel::FromUtf8(reinterpret_cast<const char*>(name.data()));
  } else {
    std::array<SQLWCHAR, kLongestName> name{};
    describe(SQLDescribeColW, name);
    column.name = reinterpret_cast<const char16_t*>(name.data());
  }
  column.mayBeNull = nullable != SQL_NO_NULLS;
  SQLLEN isUnsigned = SQL_FALSE;
  SQLColAttributeW(handle, position, SQL_DESC_UNSIGNED, nullptr, 0, nullptr, &isUnsigned);
  column.isUnsigned = isUnsigned == SQL_TRUE;
  return column;
}

std::u16string OdbcStatement::TableOf(std::size_t column) const {
  const auto position = static_cast<SQLUSMALLINT>(column + 1);
  SQLSMALLINT length = 0;
  if (m_connection.IsNarrow()) {
    std::array<char, kLongestName> name{};
    const SQLRETURN result = SQLColAttribute(m_call->Get(), position, SQL_DESC_BASE_TABLE_NAME, name.data(),
                                             sizeof name, &length, nullptr);
    return SQL_SUCCEEDED(result) ? varnel::FromUtf8(name.data()) : std::u16string();
  }
  std::array<SQLWCHAR, kLongestName> name{};
  const SQLRETURN result = SQLColAttributeW(m_call->Get(), position, SQL_DESC_BASE_TABLE_NAME, name.data(),
                                            sizeof name, &length, nullptr);
  return SQL_SUCCEEDED(result) ? reinterpret_cast<const char16_t*>(name.data()) : std::u16string();
}

void OdbcStatement::Execute(const std::vector<BoundValue>& values) {
  SQLHSTMT handle = m_call->Get();
  const bool isNarrow = m_connection.IsNarrow();
  m_values = values;
  m_texts.assign(values.size(), {});
  m_lengths.assign(values.size(), 0);
  for (std::size_t i = 0; i < m_values.size(); ++i) {
    BoundValue& value = m_values[i];
    const auto position = static_cast<SQLUSMALLINT>(i + 1);
    const auto bind = [&](SQLSMALLINT from, SQLSMALLINT to, std::size_t size, void* data, SQLLEN length) {
      m_lengths[i] = length;
      const SQLRETURN result = SQLBindParameter(handle, position, SQL_PARAM_INPUT, from, to,
                                                std::max<SQLULEN>(size, 1), 0, data, length, &m_lengths[i]);
      if (!SQL_SUCCEEDED(result)) RaiseOdbc(SQL_HANDLE_STMT, handle);
    };
    if (auto* whole = std::get_if<std::int64_t>(&value)) {
      bind(SQL_C_SBIGINT, SQL_BIGINT, 0, whole, sizeof *whole);
    } else if (auto* real = std::get_if<double>(&value)) {
      bind(SQL_C_DOUBLE, SQL_DOUBLE, 0, real, sizeof *real);
    } else if (auto* blob = std::get_if<BoundBytes>(&value)) {
      bind(SQL_C_BINARY, SQL_LONGVARBINARY, blob->bytes.size(), blob->bytes.data(),
           static_cast<SQLLEN>(blob->bytes.size()));
    } else if (auto* text = std::get_if<std::string>(&value); text != nullptr && isNarrow) {
      bind(SQL_C_CHAR, text->size() > kLongText ? SQL_LONGVARCHAR : SQL_VARCHAR, text->size(), text->data(),
           static_cast<SQLLEN>(text->size()));
    } else if (text != nullptr) {
      std::u16string& wide = m_texts[i] = varnel::FromUtf8(*text);
      bind(SQL_C_WCHAR, wide.size() > kLongText ? SQL_WLONGVARCHAR : SQL_WVARCHAR, wide.size(), wide.data(),
           static_cast<SQLLEN>(wide.size() * sizeof(char16_t)));
    } else {
      bind(isNarrow ? SQL_C_CHAR : SQL_C_WCHAR, isNarrow ? SQL_VARCHAR : SQL_WVARCHAR, 0, nullptr,
           SQL_NULL_DATA);
    }
  }
  m_connection.Within(m_call, [&] { return SQLExecute(handle); });
}

bool OdbcStatement::HasItsColumns() {
  SQLSMALLINT count = 0;
  return SQL_SUCCEEDED(SQLNumResultCols(m_call->Get(), &count)) &&
         static_cast<std::size_t>(count) == m_columns.size();
}

bool OdbcStatement::Fetch() {
  return m_connection.Within(m_call, [&] { return SQLFetch(m_call->Get()); }) != SQL_NO_DATA;
}

void OdbcStatement::AddRow(RowStore& rows, const std::vector<OdbcKind>& kinds, std::size_t mostOfValue) {
  try {
    for (std::size_t i = 0; i < kinds.size(); ++i)
      AddValue(rows, m_call->Get(), static_cast<SQLUSMALLINT>(i + 1), kinds[i], mostOfValue);
  } catch (const ProviderFailure&) {
    rows.DropUnfinishedRow();
    throw;
  }
}

SQLLEN OdbcStatement::Affected() {
  SQLLEN rows = 0;
  return SQL_SUCCEEDED(SQLRowCount(m_call->Get(), &rows)) ? rows : 0;
}

}  // namespace hostlinux
