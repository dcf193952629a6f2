#include "host-linux/database/AdoRecordset.h"

#include <algorithm>
#include <limits>

#include "host-linux/database/AdoCommand.h"
#include "host-linux/database/AdoFailure.h"
#include "varnel/automation/Convert.h"
#include "varnel/automation/Members.h"

namespace hostlinux {

using varnel::ClassInfo;
using varnel::Integer;
using varnel::Long;
using varnel::Method;
using varnel::Missing;
using varnel::Property;
using varnel::ReadOnly;
using varnel::String;
using varnel::Variant;
namespace ado = varnel::host::ado;

namespace {

constexpr varnel::StringView kClass = u"Recordset";
constexpr Long kOpenKeyset = 1;

Long Magnitude(Long count) {
  return count < 0 ? (count == std::numeric_limits<Long>::min() ? std::numeric_limits<Long>::max() : -count)
                   : count;
}

}  // namespace

AdoRecordset::AdoRecordset(std::shared_ptr<AdoDatabase> database) : m_database(std::move(database)) {
  Replace(Rowset());
}

const ClassInfo& AdoRecordset::Class() const {
  using R = AdoRecordset;
  static const ClassInfo info{
      u"Recordset",
      {
          Property<&R::CursorType, &R::SetCursorType>(u"CursorType"),
          Property<&R::CursorLocation, &R::SetCursorLocation>(u"CursorLocation"),
          Property<&R::LockType, &R::SetLockType>(u"LockType"),
          Property<&R::MaxRecords, &R::SetMaxRecords>(u"MaxRecords"),
          Property<&R::CacheSize, &R::SetCacheSize>(u"CacheSize"),
          Property<&R::ActiveConnection, &R::SetActiveConnection>(u"ActiveConnection"),
          ReadOnly<&R::State>(u"State"),
          Method<&R::OpenWith>(u"Open", {Missing(), Missing(), Long{-1}, Long{-1}, Long{-1}}),
          ReadOnly<&R::IsEOF>(u"EOF"),
          ReadOnly<&R::IsBOF>(u"BOF"),
          ReadOnly<&R::Fields>(u"Fields"),
          ReadOnly<&R::Item>(u"Item").AsDefault(),
          Method<&R::GetRowArrays>(u"GetRows", {Long{-1}}),
          Method<&R::MoveNext>(u"MoveNext"),
          Method<&R::MovePrevious>(u"MovePrevious"),
          Method<&R::MoveFirst>(u"MoveFirst"),
          Method<&R::MoveLast>(u"MoveLast"),
          ReadOnly<&R::RecordCount>(u"RecordCount"),
          Method<&R::Close>(u"Close"),
          Method<&R::AddNew>(u"AddNew"),
          Method<&R::Update>(u"Update"),
      }};
  return info;
}

void AdoRecordset::Replace(Rowset rowset) {
  if (m_rowset != nullptr) m_rowset->EndReading();
  m_rowset = std::make_shared<Rowset>(std::move(rowset));
  m_fields = nullptr;
}

void AdoRecordset::LetGo() noexcept {
  m_rowset->LetGo();
  m_fields = nullptr;
  m_connection = nullptr;
}

std::shared_ptr<AdoFields> AdoRecordset::Fields() {
  if (m_fields == nullptr) m_fields = std::make_shared<AdoFields>(m_rowset);
  return m_fields;
}

void AdoRecordset::Require(bool open) const {
  if (m_rowset->IsOpen() != open) RaiseAdo(open ? AdoFailure::IsClosed : AdoFailure::IsOpen, kClass);
}

void AdoRecordset::RequireCurrent() const {
  Require(true);
  if (!m_rowset->HasCurrent()) RaiseAdo(AdoFailure::NoCurrentRecord, kClass);
}

void AdoRecordset::RequireMade() const {
  Require(true);
  if (!m_rowset->IsMade()) RaiseAdo(AdoFailure::ReadOnly, kClass);
}

void AdoRecordset::SetMaxRecords(Long count) { m_maxRecords = Magnitude(count); }
void AdoRecordset::SetCacheSize(Long count) { m_cacheSize = std::max(Magnitude(count), Long{1}); }

std::shared_ptr<AdoConnection> AdoRecordset::OpenConnection(
    const std::shared_ptr<varnel::host::IConnection>& connection) {
  auto own = std::dynamic_pointer_cast<AdoConnection>(connection);
  if (own == nullptr || !own->IsOpen()) RaiseAdo(AdoFailure::NoConnection, kClass);
  return own;
}

void AdoRecordset::Open(const String& sql, const std::shared_ptr<varnel::host::IConnection>& connection,
                        Long cursorType, Long lockType, Long) {
  Require(false);
  const auto own = OpenConnection(connection);
  if (cursorType != ado::kUnspecified) m_cursorType = cursorType;
  if (lockType != ado::kUnspecified) m_lockType = lockType;
  m_source = sql;
  TakeResult(sql, RunSource(*own), own);
}

void AdoRecordset::OpenPage(const String& sql, const varnel::host::PageSpec& page,
                            const std::shared_ptr<varnel::host::IConnection>& connection) {
  Require(false);
  const auto own = OpenConnection(connection);
  m_source = sql;
  TakeResult(sql, RunSource(*own, &page), own);
}

Long AdoRecordset::CountRows(const String& sql,
                             const std::shared_ptr<varnel::host::IConnection>& connection) {
  Require(false);
  StatementOptions options;
  options.countsOnly = true;
  return varnel::ToLong(OpenConnection(connection)->Run(sql, m_parameters, options).rows.Value(0, 0));
}

std::optional<Long> AdoRecordset::EstimateRows(const String& sql,
                                               const std::shared_ptr<varnel::host::IConnection>& connection) {
  Require(false);
  StatementOptions options;
  options.estimatesOnly = true;
  const StatementResult result = OpenConnection(connection)->Run(sql, m_parameters, options);
  if (result.rows.Rows() == 0) return std::nullopt;
  return varnel::ToLong(result.rows.Value(0, 0));
}

StatementResult AdoRecordset::RunSource(AdoConnection& connection, const varnel::host::PageSpec* page) const {
  const bool atOnce = m_cursorLocation == ado::kUseClient && m_maxRecords != 0;
  return connection.Run(m_source, m_parameters,
                        {m_maxRecords, atOnce ? AdoConnection::kAllRows : AdoConnection::kBatchRows, page});
}

void AdoRecordset::OpenWith(const Variant& source, const Variant& connection, Long cursorType, Long lockType,
                            Long options) {
  Require(false);
  if (!connection.IsMissing()) SetActiveConnection(connection);
  if (const auto command = varnel::CastObject<AdoCommand>(source)) {
    if (connection.IsMissing()) SetActiveConnection(command->ActiveConnection());
    m_source = command->Statement();
    m_parameters = command->Values();
  } else if (!source.IsMissing()) {
    m_source = ToText(source);
    m_parameters = {};
  }
  if (m_connection == nullptr && source.IsMissing() && !m_rowset->Columns().empty())
    return m_rowset->OpenMade();
  Open(m_source, m_connection, cursorType, lockType, options);
}

void AdoRecordset::TakeResult(const String& sql, StatementResult result,
                              std::shared_ptr<AdoConnection> connection) {
  if (m_cursorLocation == ado::kUseClient) m_cursorType = ado::kOpenStatic;
  m_source = sql;
  Replace(Rowset::OfResult(std::move(result), IsForwardOnly() ? PassedRows::LetGo : PassedRows::Kept));
  m_connection = std::move(connection);
}

Variant AdoRecordset::ActiveConnection() { return varnel::ObjectPtr(m_connection); }

void AdoRecordset::SetActiveConnection(const Variant& connection) {
  std::shared_ptr<AdoConnection> next = ConnectionFrom(connection);
  if (next != m_connection) m_rowset->ReadAll();
  m_connection = std::move(next);
}

void AdoRecordset::DetachConnection() {
  if (IsCounted()) m_rowset->Count();
  m_connection = nullptr;
}

std::shared_ptr<AdoConnection> AdoRecordset::ConnectionFrom(const Variant& value) {
  if (value.IsText()) {
    auto connection = std::make_shared<AdoConnection>(m_database);
    connection->Open(ToText(value), {}, {}, ado::kUnspecified);
    return connection;
  }
  const varnel::ObjectPtr object = varnel::ToObject(value);
  const auto connection = varnel::CastObject<AdoConnection>(object);
  if (object != nullptr && connection == nullptr) RaiseAdo(AdoFailure::InvalidArgument, kClass);
  return connection;
}

bool AdoRecordset::IsEOF() const {
  Require(true);
  return m_rowset->IsEOF();
}

bool AdoRecordset::IsBOF() {
  Require(true);
  return m_rowset->IsBOF();
}

Long AdoRecordset::FieldCount() const { return static_cast<Long>(m_rowset->Columns().size()); }

const ResultColumn& AdoRecordset::Column(Long position) const {
  if (position < 0 || position >= FieldCount()) RaiseAdo(AdoFailure::NoSuchItem, u"Fields");
  return m_rowset->Columns()[static_cast<std::size_t>(position)];
}

String AdoRecordset::FieldName(Long position) const { return Column(position).name; }
Integer AdoRecordset::FieldType(Long position) const { return Column(position).type; }

Variant AdoRecordset::FieldValue(Long position) const {
  Column(position);
  RequireCurrent();
  return m_rowset->Value(static_cast<std::size_t>(position));
}

varnel::host::RowBlock AdoRecordset::GetRows() {
  RequireCurrent();
  const std::size_t first = m_rowset->Position();
  m_rowset->ReadAll();
  varnel::host::RowBlock block(m_rowset->Columns().size(), m_rowset->Rows() - first);
  for (std::size_t row = 0; row < block.Rows(); ++row) {
    for (std::size_t column = 0; column < block.Columns(); ++column) {
      block.At(column, row) = m_rowset->ValueAt(column, first + row);
    }
  }
  m_rowset->MoveTo(m_rowset->Rows());
  return block;
}

Variant AdoRecordset::GetRowArrays(Long count) {
  RequireCurrent();
  const std::size_t first = m_rowset->Position();
  if (count < 0) {
    m_rowset->ReadAll();
  } else {
    m_rowset->ReadThrough(first + static_cast<std::size_t>(count));
  }
  const std::size_t left = m_rowset->Rows() - first;
  const std::size_t rows = count < 0 ? left : std::min(left, static_cast<std::size_t>(count));
  const auto columns = std::make_shared<varnel::Array>();
  for (std::size_t column = 0; column < m_rowset->Columns().size(); ++column) {
    const auto values = std::make_shared<varnel::Array>();
    for (std::size_t row = 0; row < rows; ++row)
      values->items.push_back(m_rowset->ValueAt(column, first + row));
    columns->items.push_back(Variant(values));
  }
  m_rowset->MoveTo(first + rows);
  return Variant(columns);
}

void AdoRecordset::MoveNext() {
  Require(true);
  if (m_rowset->IsEOF()) RaiseAdo(AdoFailure::NoCurrentRecord, kClass);
  m_rowset->MoveTo(m_rowset->IsBOF() ? 0 : m_rowset->Position() + 1);
}

void AdoRecordset::MovePrevious() {
  Require(true);
  if (m_rowset->IsBOF()) RaiseAdo(AdoFailure::NoCurrentRecord, kClass);
  if (IsForwardOnly()) RaiseAdo(AdoFailure::NotAllowed, kClass);
  if (m_rowset->Position() == 0) return m_rowset->MoveBeforeFirst();
  m_rowset->MoveTo(m_rowset->Position() - 1);
}

void AdoRecordset::MoveFirst() {
  Require(true);
  if (m_rowset->Rows() == 0) RaiseAdo(AdoFailure::NoCurrentRecord, kClass);
  if (m_rowset->HasLetGo()) return RunAgain();
  m_rowset->MoveTo(0);
}

// The fields that a script holds show the new rows too.
void AdoRecordset::RunAgain() {
  if (m_connection == nullptr || !m_connection->IsOpen()) RaiseAdo(AdoFailure::NotAllowed, kClass);
  Rowset again = Rowset::OfResult(RunSource(*m_connection), PassedRows::LetGo);
  if (again.Columns().size() != m_rowset->Columns().size()) RaiseAdo(AdoFailure::NotAllowed, kClass);
  *m_rowset = std::move(again);
}

void AdoRecordset::MoveLast() {
  Require(true);
  if (m_rowset->Rows() == 0) RaiseAdo(AdoFailure::NoCurrentRecord, kClass);
  m_rowset->MoveToLast();
}

bool AdoRecordset::IsForwardOnly() const {
  return !m_rowset->IsMade() && m_cursorType == ado::kOpenForwardOnly;
}

bool AdoRecordset::IsCounted() const {
  return m_rowset->IsMade() || m_cursorLocation == ado::kUseClient || m_cursorType == kOpenKeyset ||
         m_cursorType == ado::kOpenStatic;
}

Long AdoRecordset::RecordCount() const {
  Require(true);
  return IsCounted() ? static_cast<Long>(m_rowset->Count()) : -1;
}

void AdoRecordset::Close() {
  Require(true);
  Replace(Rowset());
}

void AdoRecordset::AddNew() {
  RequireMade();
  m_rowset->AddRow();
}

void AdoRecordset::Update() { RequireMade(); }

}  // namespace hostlinux
