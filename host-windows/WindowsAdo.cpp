#include "host-windows/WindowsAdo.h"

#include "host-windows/LateBound.h"
#include "host-windows/statements/StatementOrder.h"
#include "varnel/automation/Convert.h"
#include "varnel/automation/Error.h"
#include "varnel/component/AutomationValues.h"
#include "varnel/component/ObjectWrappers.h"

namespace hostwindows {

using varnel::Long;
using varnel::Missing;
using varnel::ObjectPtr;
using varnel::String;
using varnel::Variant;
namespace com = varnel::com;
namespace host = varnel::host;

namespace {

constexpr Long kMostErrors = 1000;

ObjectPtr RequireObject(const Variant& value) {
  ObjectPtr object = varnel::ToObject(value);
  if (object == nullptr) varnel::RaiseRuntimeError(varnel::runtime_error::kObjectNotSet);
  return object;
}

host::ProviderError ErrorOf(varnel::Object& error) {
  host::ProviderError told;
  told.Number = varnel::ToLong(error.Get(u"Number"));
  told.Source = varnel::ToText(error.Get(u"Source"));
  told.Description = varnel::ToText(error.Get(u"Description"));
  told.NativeError = varnel::ToLong(error.Get(u"NativeError"));
  told.SQLState = varnel::ToText(error.Get(u"SQLState"));
  return told;
}

// Rows as ADO gives them: an array of fields by rows, the values of one row beside each other.
host::RowBlock BlockOf(const VARIANT& rows) {
  if (rows.vt != (VT_ARRAY | VT_VARIANT) || rows.parray == nullptr || ::SafeArrayGetDim(rows.parray) != 2)
    varnel::RaiseRuntimeError(varnel::runtime_error::kTypeMismatch, u"GetRows");
  const std::size_t count = rows.parray->rgsabound[0].cElements;
  const std::size_t fields = rows.parray->rgsabound[1].cElements;
  host::RowBlock block(fields, count);
  void* data = nullptr;
  if (FAILED(::SafeArrayAccessData(rows.parray, &data)))
    varnel::RaiseRuntimeError(varnel::runtime_error::kTypeMismatch);
  try {
    const auto* values = static_cast<const VARIANT*>(data);
    for (std::size_t row = 0; row < count; ++row) {
      for (std::size_t field = 0; field < fields; ++field)
        block.At(field, row) = com::FromAutomation(values[row * fields + field]);
    }
  } catch (...) {
    ::SafeArrayUnaccessData(rows.parray);
    throw;
  }
  ::SafeArrayUnaccessData(rows.parray);
  return block;
}

// ADO's numbers of types, for values that StatementParameter may hold.
Long TypeOf(const Variant& value) {
  constexpr Long kInteger = 2;
  constexpr Long kLong = 3;
  constexpr Long kDouble = 5;
  constexpr Long kDate = 7;
  constexpr Long kBoolean = 11;
  constexpr Long kByte = 17;
  constexpr Long kText = 202;
  if (value.As<varnel::Integer>() != nullptr) return kInteger;
  if (value.As<Long>() != nullptr) return kLong;
  if (value.As<double>() != nullptr) return kDouble;
  if (value.As<varnel::Date>() != nullptr) return kDate;
  if (value.As<bool>() != nullptr) return kBoolean;
  if (value.As<varnel::Byte>() != nullptr) return kByte;
  return kText;
}

// In characters; types of a fixed size ignore it, and a text's may not be 0.
Long SizeOf(const Variant& value) {
  const String* text = value.As<String>();
  return text == nullptr || text->empty() ? 1 : static_cast<Long>(text->size());
}

void AppendParameter(varnel::Object& command, const host::StatementParameter& parameter) {
  constexpr Long kInput = 1;
  const Variant made = command.CallWith(u"CreateParameter", parameter.Name, TypeOf(parameter.Value), kInput,
                                        SizeOf(parameter.Value), parameter.Value);
  RequireObject(command.Get(u"Parameters"))->CallWith(u"Append", made);
}

}  // namespace

void WindowsConnection::SetConnectionTimeout(Long seconds) { Put(u"ConnectionTimeout", seconds); }
void WindowsConnection::SetCommandTimeout(Long seconds) { Put(u"CommandTimeout", seconds); }
void WindowsConnection::SetCursorLocation(Long location) { Put(u"CursorLocation", location); }
void WindowsConnection::SetIsolationLevel(Long level) { Put(u"IsolationLevel", level); }

void WindowsConnection::Open(const String& connectionString, const String& user, const String& password,
                             Long options) {
  CallWith(u"Open", connectionString, user, password, options);
}

std::shared_ptr<host::IRecordset> WindowsConnection::Execute(const String& sql, Long options) {
  return varnel::CastObject<host::IRecordset>(CallWith(u"Execute", sql, Missing(), options));
}

std::shared_ptr<host::IRecordset> WindowsConnection::ExecuteCounting(const String& sql, Long& o_affected,
                                                                     Long options) {
  com::OwnedVariant statement;
  com::ToAutomation(sql, statement.Get());
  com::OwnedVariant affected;
  VARIANT arguments[3] = {};
  com::ToAutomation(options, arguments[0]);
  arguments[1].vt = VT_BYREF | VT_VARIANT;
  arguments[1].pvarVal = &affected.Get();
  arguments[2] = statement.Get();
  const Variant recordset = Invoke(u"Execute", arguments);
  o_affected = varnel::ToLong(com::FromAutomation(affected.Get()));
  return varnel::CastObject<host::IRecordset>(recordset);
}

void WindowsConnection::Close() { CallWith(u"Close"); }

std::vector<host::ProviderError> WindowsConnection::Errors() const {
  std::vector<host::ProviderError> errors;
  auto& self = const_cast<WindowsConnection&>(*this);
  const ObjectPtr list = RequireObject(self.Get(u"Errors"));
  const Long count = std::min(varnel::ToLong(list->Get(u"Count")), kMostErrors);
  for (Long i = 0; i < count; ++i) errors.push_back(ErrorOf(*RequireObject(list->CallWith(u"Item", i))));
  return errors;
}

Variant WindowsRecordset::Ask(varnel::StringView name) const {
  return const_cast<WindowsRecordset&>(*this).Get(name);
}

void WindowsRecordset::SetCursorType(Long type) { Put(u"CursorType", type); }
Long WindowsRecordset::CursorType() const { return varnel::ToLong(Ask(u"CursorType")); }
void WindowsRecordset::SetCursorLocation(Long location) { Put(u"CursorLocation", location); }
void WindowsRecordset::SetLockType(Long type) { Put(u"LockType", type); }
void WindowsRecordset::SetMaxRecords(Long count) { Put(u"MaxRecords", count); }
Long WindowsRecordset::MaxRecords() const { return varnel::ToLong(Ask(u"MaxRecords")); }
void WindowsRecordset::SetCacheSize(Long count) { Put(u"CacheSize", count); }

void WindowsRecordset::Open(const String& sql, const std::shared_ptr<host::IConnection>& connection,
                            Long cursorType, Long lockType, Long options) {
  const auto on = std::dynamic_pointer_cast<varnel::Object>(connection);
  if (!m_parameters.values.empty()) return OpenCommand(sql, on, cursorType, lockType);
  CallWith(u"Open", sql, on, cursorType, lockType, options);
}

// The values travel in a command, which brings its connection along.
void WindowsRecordset::OpenCommand(const String& sql, const ObjectPtr& connection, Long cursorType,
                                   Long lockType) {
  const OrderedStatement statement = InOrder(sql, m_parameters);
  const ObjectPtr command = com::UnwrapObject(CreateByName(u"ADODB.Command").Get());
  command->Put(u"ActiveConnection", connection);
  command->Put(u"CommandText", statement.text);
  command->Put(u"CommandType", host::ado::kCommandText);
  for (const host::StatementParameter& parameter : statement.values) AppendParameter(*command, parameter);
  CallWith(u"Open", command, Missing(), cursorType, lockType, host::ado::kUnspecified);
}

std::shared_ptr<host::IConnection> WindowsRecordset::GetActiveConnection() const {
  return varnel::CastObject<host::IConnection>(Ask(u"ActiveConnection"));
}

void WindowsRecordset::DetachConnection() { Put(u"ActiveConnection", nullptr); }
bool WindowsRecordset::IsEOF() const { return varnel::ToBoolean(Ask(u"EOF")); }

Long WindowsRecordset::FieldCount() const {
  return varnel::ToLong(RequireObject(Ask(u"Fields"))->Get(u"Count"));
}

ObjectPtr WindowsRecordset::Field(Long position) const {
  return RequireObject(RequireObject(Ask(u"Fields"))->CallWith(u"Item", position));
}

String WindowsRecordset::FieldName(Long position) const {
  return varnel::ToText(Field(position)->Get(u"Name"));
}

varnel::Integer WindowsRecordset::FieldType(Long position) const {
  return varnel::ToInteger(Field(position)->Get(u"Type"));
}

Variant WindowsRecordset::FieldValue(Long position) const { return Field(position)->Get(u"Value"); }

host::RowBlock WindowsRecordset::GetRows() {
  com::OwnedVariant rows;
  InvokeInto(u"GetRows", {}, rows);
  return BlockOf(rows.Get());
}

void WindowsRecordset::MoveNext() { CallWith(u"MoveNext"); }
Long WindowsRecordset::RecordCount() const { return varnel::ToLong(Ask(u"RecordCount")); }
void WindowsRecordset::Close() { CallWith(u"Close"); }

}  // namespace hostwindows
