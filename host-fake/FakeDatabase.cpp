#include "host-fake/FakeDatabase.h"

#include <algorithm>

#include "varnel/automation/Members.h"

namespace hostfake {

using varnel::ClassInfo;
using varnel::DecimalText;
using varnel::Integer;
using varnel::Long;
using varnel::Method;
using varnel::ReadOnly;
using varnel::String;
using varnel::StringView;
using varnel::Variant;
using varnel::host::ProviderError;
using varnel::host::RowBlock;
namespace ado = varnel::host::ado;

namespace {

constexpr Long kStatementFailed = static_cast<Long>(0x80040E14);
constexpr Long AdoNumber(std::uint32_t code) { return static_cast<Long>(0x800A0000U + code); }
constexpr Long kNoCurrentRow = AdoNumber(3021);
constexpr Long kNoSuchField = AdoNumber(3265);
constexpr Long kClosed = AdoNumber(3704);
constexpr Long kOpen = AdoNumber(3705);
constexpr Long kConnectionClosed = AdoNumber(3709);

[[noreturn]] void Raise(Long number, StringView description) {
  throw varnel::Error(Failure(number, description));
}

}  // namespace

void FakeDatabase::Answer(StringView sql, FakeAnswer answer) { m_answers[String(sql)] = std::move(answer); }

void FakeDatabase::AnswerWith(std::function<std::optional<FakeAnswer>(const String&)> function) {
  AnswerStatementsWith(
      [function = std::move(function)](const FakeStatement& statement) { return function(statement.sql); });
}

void FakeDatabase::AnswerStatementsWith(
    std::function<std::optional<FakeAnswer>(const FakeStatement&)> function) {
  m_functions.push_back(std::move(function));
}

void FakeDatabase::FailOpen(varnel::ErrInfo failure, std::vector<ProviderError> errors) {
  m_open = {std::move(failure), std::move(errors)};
}

void FakeDatabase::FailExecute(varnel::ErrInfo failure, std::vector<ProviderError> errors) {
  m_execute = {std::move(failure), std::move(errors)};
}

void FakeDatabase::FailGetRows(varnel::ErrInfo failure, std::vector<ProviderError> errors) {
  m_getRows = {std::move(failure), std::move(errors)};
}

void FakeDatabase::ClearFaults() {
  m_open = m_execute = m_getRows = {};
  m_mostRows.reset();
}

std::vector<std::string> FakeDatabase::Lines() const {
  std::vector<std::string> lines;
  for (const std::string& line : m_trace->Lines()) {
    if (line.starts_with("Connection ") || line.starts_with("Recordset ")) lines.push_back(line);
  }
  return lines;
}

FakeAnswer FakeDatabase::AnswerTo(const FakeStatement& statement) const {
  const String& sql = statement.sql;
  const auto exact = m_answers.find(sql);
  if (exact != m_answers.end()) return exact->second;
  for (const auto& function : m_functions) {
    if (auto answer = function(statement)) return *std::move(answer);
  }
  if (sql.starts_with(u"set TRANSACTION ISOLATION LEVEL ")) return {};
  FakeAnswer answer;
  answer.error = Failure(kStatementFailed, u"No answer is laid out for: " + sql);
  return answer;
}

FakeConnection::FakeConnection(FakeDatabasePtr database)
    : m_database(std::move(database)), m_name(u"Connection " + DecimalText(++m_database->m_connections)) {
  ++m_database->m_liveConnections;
}

FakeConnection::~FakeConnection() { --m_database->m_liveConnections; }

const ClassInfo& FakeConnection::Class() const {
  static const ClassInfo info{u"Connection",
                              {
                                  Method<&FakeConnection::OpenByName>(u"Open"),
                                  Method<&FakeConnection::ExecuteByName>(u"Execute"),
                                  Method<&FakeConnection::CloseByName>(u"Close"),
                                  Method<&FakeConnection::BeginTrans>(u"BeginTrans"),
                                  Method<&FakeConnection::CommitTrans>(u"CommitTrans"),
                                  Method<&FakeConnection::RollbackTrans>(u"RollbackTrans"),
                              }};
  return info;
}

void FakeConnection::Tell(const String& what) const { m_database->m_trace->Add(m_name, what); }

void FakeConnection::SetConnectionTimeout(Long seconds) {
  Tell(u"ConnectionTimeout " + DecimalText(seconds));
}
void FakeConnection::SetCommandTimeout(Long seconds) { Tell(u"CommandTimeout " + DecimalText(seconds)); }
void FakeConnection::SetCursorLocation(Long location) { Tell(u"CursorLocation " + DecimalText(location)); }
void FakeConnection::SetIsolationLevel(Long level) { Tell(u"IsolationLevel " + DecimalText(level)); }

const String* FakeConnection::KeptText(const String& key) {
  const auto found = m_database->m_texts.find(key);
  return found == m_database->m_texts.end() ? nullptr : &found->second;
}

void FakeConnection::KeepText(const String& key, const String& text) { m_database->m_texts[key] = text; }

void FakeConnection::Fail(const Fault& fault, const std::vector<ProviderError>& errors) {
  if (!fault) return;
  m_errors = errors;
  throw varnel::Error(*fault);
}

void FakeConnection::Open(const String& connectionString, const String& user, const String& password,
                          Long options) {
  Tell(u"Open \"" + connectionString + u"\", \"" + user + u"\", \"" + password + u"\", " +
       DecimalText(options));
  if (m_open) Raise(kOpen, u"The connection is open already");
  if (m_database->onOpen) m_database->onOpen(connectionString);
  Fail(m_database->m_open.fault, m_database->m_open.errors);
  m_connectionString = connectionString;
  m_open = true;
}

FakeAnswer FakeConnection::Run(const String& sql, const varnel::host::StatementParameters& parameters) {
  m_database->m_statements.push_back(sql);
  if (m_database->onRun) m_database->onRun(sql);
  Fail(m_database->m_execute.fault, m_database->m_execute.errors);
  FakeAnswer answer = m_database->AnswerTo({sql, parameters, m_connectionString});
  Fail(answer.error, answer.providerErrors);
  return answer;
}

std::shared_ptr<varnel::host::IRecordset> FakeConnection::Execute(const String& sql, Long options) {
  Long affected = 0;
  return ExecuteCounting(sql, affected, options);
}

std::shared_ptr<varnel::host::IRecordset> FakeConnection::ExecuteCounting(const String& sql, Long& o_affected,
                                                                          Long options) {
  Tell(u"Execute " + sql + u" (" + DecimalText(options) + u")");
  if (!m_open) Raise(kClosed, u"The connection is closed");
  FakeAnswer answer = Run(sql, {});
  o_affected = answer.affected;
  const auto recordset = std::make_shared<FakeRecordset>(m_database);
  recordset->m_connection = varnel::SharedFrom(*this);
  recordset->Take(std::move(answer));
  return recordset;
}

void FakeConnection::Close() {
  Tell(u"Close");
  if (!m_open) Raise(kClosed, u"The connection is closed");
  m_open = false;
}

void FakeConnection::Step(FakeTransaction step, const String& name) {
  Tell(name);
  if (!m_open) Raise(kClosed, u"The connection is closed");
  if (m_database->onTransaction) m_database->onTransaction(step);
}

Long FakeConnection::BeginTrans() {
  Step(FakeTransaction::Begin, u"BeginTrans");
  return 1;
}
void FakeConnection::CommitTrans() { Step(FakeTransaction::Commit, u"CommitTrans"); }
void FakeConnection::RollbackTrans() { Step(FakeTransaction::Rollback, u"RollbackTrans"); }

void FakeConnection::OpenByName(const String& connectionString) {
  Open(connectionString, u"", u"", ado::kUnspecified);
}

varnel::ObjectPtr FakeConnection::ExecuteByName(const String& sql) {
  return std::dynamic_pointer_cast<varnel::Object>(Execute(sql, ado::kUnspecified));
}

FakeRecordset::FakeRecordset(FakeDatabasePtr database)
    : m_database(std::move(database)), m_name(u"Recordset " + DecimalText(++m_database->m_recordsets)) {
  ++m_database->m_liveRecordsets;
}

FakeRecordset::~FakeRecordset() { --m_database->m_liveRecordsets; }

const ClassInfo& FakeRecordset::Class() const {
  static const ClassInfo info{u"Recordset",
                              {
                                  ReadOnly<&FakeRecordset::FieldByName>(u"Value").AsDefault(),
                                  ReadOnly<&FakeRecordset::IsEOF>(u"EOF"),
                                  ReadOnly<&FakeRecordset::RecordCount>(u"RecordCount"),
                                  Method<&FakeRecordset::MoveNext>(u"MoveNext"),
                                  Method<&FakeRecordset::Close>(u"Close"),
                              }};
  return info;
}

void FakeRecordset::Tell(const String& what) const { m_database->m_trace->Add(m_name, what); }

void FakeRecordset::SetProperty(StringView name, Long& property, Long value) {
  Tell(String(name) + u" " + DecimalText(value));
  if (m_open) Raise(kOpen, u"The recordset is open");
  property = value;
}

void FakeRecordset::SetCursorType(Long type) { SetProperty(u"CursorType", m_cursorType, type); }
void FakeRecordset::SetCursorLocation(Long location) {
  SetProperty(u"CursorLocation", m_cursorLocation, location);
}
void FakeRecordset::SetLockType(Long type) { SetProperty(u"LockType", m_lockType, type); }
void FakeRecordset::SetMaxRecords(Long count) { SetProperty(u"MaxRecords", m_maxRecords, count); }
void FakeRecordset::SetCacheSize(Long count) { SetProperty(u"CacheSize", m_cacheSize, count); }

void FakeRecordset::SetParameters(const varnel::host::StatementParameters& parameters) {
  for (const varnel::host::StatementParameter& parameter : parameters.values) {
    Tell(u"Parameter " + parameter.Name + u" " + varnel::TypeName(parameter.Value));
  }
  m_parameters = parameters;
}

void FakeRecordset::Open(const String& sql, const std::shared_ptr<varnel::host::IConnection>& connection,
                         Long cursorType, Long lockType, Long options) {
  Tell(u"Open " + sql + u" (" + DecimalText(cursorType) + u", " + DecimalText(lockType) + u", " +
       DecimalText(options) + u")");
  if (m_open) Raise(kOpen, u"The recordset is open");
  const auto own = std::dynamic_pointer_cast<FakeConnection>(connection);
  if (own == nullptr || !own->IsOpen()) {
    Raise(kConnectionClosed, u"The connection can't be used: it is closed or none at all");
  }
  if (cursorType != ado::kUnspecified) m_cursorType = cursorType;
  if (lockType != ado::kUnspecified) m_lockType = lockType;
  Take(own->Run(sql, m_parameters));
  if (m_cursorLocation == ado::kUseClient) m_cursorType = ado::kOpenStatic;
  m_connection = own;
}

// Keeps the rows that the limit and the switches leave.
void FakeRecordset::Take(FakeAnswer answer) {
  m_answer = std::move(answer);
  m_row = 0;
  m_open = !m_answer.columns.empty();
  auto& rows = m_answer.rows;
  const auto limit = static_cast<std::size_t>(std::abs(static_cast<std::int64_t>(m_maxRecords)));
  if (limit != 0 && rows.size() > limit) rows.resize(limit);
  if (m_database->m_mostRows && rows.size() > *m_database->m_mostRows) rows.resize(*m_database->m_mostRows);
  for (auto& row : rows) row.resize(m_answer.columns.size(), varnel::Null());
}

std::shared_ptr<varnel::host::IConnection> FakeRecordset::GetActiveConnection() const {
  Tell(u"ActiveConnection");
  return m_connection;
}

void FakeRecordset::DetachConnection() {
  Tell(u"ActiveConnection Nothing");
  m_connection = nullptr;
}

void FakeRecordset::RequireOpen() const {
  if (!m_open) Raise(kClosed, u"The recordset is closed");
}

void FakeRecordset::RequireRow() const {
  RequireOpen();
  if (m_row >= m_answer.rows.size()) Raise(kNoCurrentRow, u"There is no current row");
}

bool FakeRecordset::IsEOF() const {
  RequireOpen();
  return m_row >= m_answer.rows.size();
}

Long FakeRecordset::FieldCount() const { return m_open ? static_cast<Long>(m_answer.columns.size()) : 0; }

const FakeColumn& FakeRecordset::ColumnAt(Long position) const {
  if (position < 0 || position >= FieldCount()) Raise(kNoSuchField, u"There is no such field");
  return m_answer.columns[static_cast<std::size_t>(position)];
}

String FakeRecordset::FieldName(Long position) const { return ColumnAt(position).name; }

Integer FakeRecordset::FieldType(Long position) const { return ColumnAt(position).type; }

Variant FakeRecordset::FieldValue(Long position) const {
  ColumnAt(position);
  RequireRow();
  return m_answer.rows[m_row][static_cast<std::size_t>(position)];
}

Variant FakeRecordset::FieldByName(const Variant& nameOrPosition) {
  if (!nameOrPosition.IsText()) return FieldValue(varnel::ToLong(nameOrPosition));
  const String name = varnel::ToText(nameOrPosition);
  for (Long position = 0; position < FieldCount(); ++position) {
    if (varnel::EqualsNoCase(FieldName(position), name)) return FieldValue(position);
  }
  Raise(kNoSuchField, u"There is no field " + name);
}

RowBlock FakeRecordset::GetRows() {
  Tell(u"GetRows");
  if (m_connection != nullptr) {
    m_connection->Fail(m_database->m_getRows.fault, m_database->m_getRows.errors);
  }
  RaiseIf(m_database->m_getRows.fault);
  RequireRow();
  RowBlock block(m_answer.columns.size(), m_answer.rows.size() - m_row);
  for (std::size_t row = 0; row < block.Rows(); ++row) {
    for (std::size_t column = 0; column < block.Columns(); ++column) {
      block.At(column, row) = m_answer.rows[m_row + row][column];
    }
  }
  if (m_database->onGetRows) m_database->onGetRows(block);
  m_row = m_answer.rows.size();
  return block;
}

void FakeRecordset::MoveNext() {
  Tell(u"MoveNext");
  RequireRow();
  ++m_row;
}

// A client-side recordset is always static.
Long FakeRecordset::RecordCount() const {
  RequireOpen();
  const bool counted = m_cursorLocation == ado::kUseClient || m_cursorType == ado::kOpenStatic ||
                       m_cursorType == ado::kOpenKeyset;
  return counted ? static_cast<Long>(m_answer.rows.size()) : -1;
}

void FakeRecordset::Close() {
  Tell(u"Close");
  RequireOpen();
  m_open = false;
  m_connection = nullptr;
}

}  // namespace hostfake
