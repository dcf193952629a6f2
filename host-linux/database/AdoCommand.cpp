#include "host-linux/database/AdoCommand.h"

#include <algorithm>

#include "host-linux/database/AdoFailure.h"
#include "host-linux/database/AdoRecordset.h"
#include "varnel/automation/Members.h"

namespace hostlinux {

using varnel::ClassInfo;
using varnel::Long;
using varnel::Method;
using varnel::Missing;
using varnel::Property;
using varnel::ReadOnly;
using varnel::String;
using varnel::Variant;
using varnel::host::StatementParameters;

namespace {

constexpr varnel::StringView kClass = u"Command";
constexpr Long kTable = 2;
constexpr Long kUnknown = 8;

String QuotedName(const String& name) {
  String quoted = u"\"";
  for (const char16_t c : name) quoted.append(c == u'"' ? 2 : 1, c);
  return quoted + u"\"";
}

std::vector<Variant> ListOf(const Variant& values) {
  if (values.IsMissing() || values.IsNull()) return {};
  const varnel::ArrayPtr* array = values.As<varnel::ArrayPtr>();
  if (array == nullptr) return {values};
  return *array == nullptr ? std::vector<Variant>() : (*array)->items;
}

}  // namespace

AdoCommand::AdoCommand(std::shared_ptr<AdoDatabase> database) : m_database(std::move(database)) {}

const ClassInfo& AdoCommand::Class() const {
  using C = AdoCommand;
  static const ClassInfo info{
      u"Command",
      {
          Property<&C::ActiveConnection, &C::SetActiveConnection>(u"ActiveConnection"),
          Property<&C::CommandText, &C::SetCommandText>(u"CommandText"),
          Property<&C::CommandType, &C::SetCommandType>(u"CommandType"),
          Property<&C::CommandTimeout, &C::SetCommandTimeout>(u"CommandTimeout"),
          Property<&C::Prepared, &C::SetPrepared>(u"Prepared"),
          ReadOnly<&C::Parameters>(u"Parameters"),
          Method<&C::CreateParameter>(u"CreateParameter", {String(), Long{0}, Long{1}, Long{0}, Missing()}),
          Method<&C::Execute>(u"Execute", {Missing(), Missing(), Long{-1}}),
      }};
  return info;
}

void AdoCommand::LetGo() noexcept {
  m_connection = nullptr;
  m_parameters->LetGo();
}

void AdoCommand::SetActiveConnection(const Variant& connection) {
  if (connection.IsText()) {
    auto own = std::make_shared<AdoConnection>(m_database);
    own->Open(*connection.As<String>(), {}, {}, varnel::host::ado::kUnspecified);
    m_connection = std::move(own);
    return;
  }
  const varnel::ObjectPtr object = varnel::ToObject(connection);
  auto given = varnel::CastObject<AdoConnection>(object);
  if (object != nullptr && given == nullptr) RaiseAdo(AdoFailure::InvalidArgument, kClass);
  m_connection = std::move(given);
}

void AdoCommand::SetCommandType(Long type) {
  if (type != varnel::host::ado::kCommandText && type != kTable && type != kUnknown) {
    RaiseAdo(AdoFailure::InvalidArgument, kClass,
             u"A command is a statement (1, 8) or the name of a table (2): there are no stored procedures.");
  }
  m_type = type;
}

std::shared_ptr<AdoParameter> AdoCommand::CreateParameter(const String& name, Long type, Long direction,
                                                          Long size, const Variant& value) {
  auto parameter = std::make_shared<AdoParameter>();
  parameter->SetName(name);
  parameter->SetType(type);
  parameter->SetDirection(direction);
  parameter->SetSize(size);
  if (!value.IsMissing()) parameter->SetValue(value);
  return parameter;
}

std::shared_ptr<AdoRecordset> AdoCommand::Execute(Variant& affected, const Variant& values, Long) {
  // Conversions may run a script, which may set the command anew.
  const StatementParameters parameters = ValuesWith(values);
  const std::shared_ptr<AdoConnection> connection = m_connection;
  if (connection == nullptr || !connection->IsOpen()) RaiseAdo(AdoFailure::NoConnection, kClass);
  Long count = 0;
  auto recordset = connection->RunCommand(Statement(), parameters, m_timeout, count);
  affected = Variant(count);
  return recordset;
}

String AdoCommand::Statement() const {
  return m_type == kTable ? u"SELECT * FROM " + QuotedName(m_text) : m_text;
}

StatementParameters AdoCommand::Values() const { return ValuesWith(Missing()); }

StatementParameters AdoCommand::ValuesWith(const Variant& values) const {
  StatementParameters parameters;
  parameters.byOrder = true;
  const std::vector<std::shared_ptr<AdoParameter>> own = m_parameters->All();
  const std::vector<Variant> given = ListOf(values);
  for (std::size_t i = 0; i < std::max(own.size(), given.size()); ++i) {
    const Variant value = i < given.size() ? varnel::host::ToParameterValue(given[i]) : own[i]->Value();
    if (i < own.size()) {
      parameters.values.push_back({own[i]->Name(), own[i]->Converted(value)});
    } else {
      parameters.values.push_back({String(), value});
    }
  }
  return parameters;
}

}  // namespace hostlinux
