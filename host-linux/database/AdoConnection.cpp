#include "host-linux/database/AdoConnection.h"

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

constexpr Long kModeRead = 1;

// Calls `action`; a ProviderFailure of it is kept in `errors` and raised.
template <typename Action>
auto RaisingInto(AdoErrors& errors, Action action) {
  try {
    return action();
  } catch (const ProviderFailure& failure) {
    const varnel::host::ProviderError& error = failure.Error();
    errors.Set(failure.Errors());
    varnel::ErrInfo info;
    info.Number = error.Number;
    info.Source = error.Source;
    info.Description = error.Description;
    throw varnel::Error(info);
  }
}

// What fails while a script reads on is raised like what fails while it opens.
class RaisingReader : public IRowReader {
 public:
  RaisingReader(std::unique_ptr<IRowReader> reader, std::shared_ptr<AdoErrors> errors)
      : m_reader(std::move(reader)), m_errors(std::move(errors)) {}

  bool HasMore() const override { return m_reader->HasMore(); }
  RowStore Read(std::size_t held) override {
    return RaisingInto(*m_errors, [&] { return m_reader->Read(held); });
  }
  std::optional<RowCount> Count() override {
    return RaisingInto(*m_errors, [&] { return m_reader->Count(); });
  }

 private:
  std::unique_ptr<IRowReader> m_reader;
  std::shared_ptr<AdoErrors> m_errors;
};

}  // namespace

AdoConnection::AdoConnection(std::shared_ptr<AdoDatabase> database)
    : m_database(std::move(database)), m_errors(std::make_shared<AdoErrors>()) {}

const ClassInfo& AdoConnection::Class() const {
  using C = AdoConnection;
  static const ClassInfo info{
      u"Connection",
      {
          Property<&C::ConnectionTimeout, &C::SetConnectionTimeout>(u"ConnectionTimeout"),
          Property<&C::CommandTimeout, &C::SetCommandTimeout>(u"CommandTimeout"),
          Property<&C::CursorLocation, &C::SetCursorLocation>(u"CursorLocation"),
          Property<&C::IsolationLevel, &C::SetIsolationLevel>(u"IsolationLevel"),
          Property<&C::Mode, &C::SetMode>(u"Mode"),
          Property<&C::ConnectionText, &C::SetConnectionText>(u"ConnectionString"),
          ReadOnly<&C::State>(u"State"),
          Method<&C::Open>(u"Open", {String(), String(), String(), Long{-1}}),
          Method<&C::ExecuteText>(u"Execute", {Missing(), Long{-1}}),
          Method<&C::Close>(u"Close"),
          Method<&C::BeginTrans>(u"BeginTrans"),
          Method<&C::CommitTrans>(u"CommitTrans"),
          Method<&C::RollbackTrans>(u"RollbackTrans"),
          ReadOnly<&C::ErrorCollection>(u"Errors"),
      }};
  return info;
}

template <typename Action>
auto AdoConnection::Guarded(Action action) {
  return RaisingInto(*m_errors, action);
}

void AdoConnection::SetConnectionText(const String& text) {
  if (IsOpen()) RaiseAdo(AdoFailure::IsOpen, u"Connection");
  m_connectionString = text;
}

void AdoConnection::Open(const String& connectionString, const String&, const String&, Long) {
  if (IsOpen()) RaiseAdo(AdoFailure::IsOpen, u"Connection");
  const String& text = connectionString.empty() ? m_connectionString : connectionString;
  m_lease = Guarded([&] { return m_database->Lease(text, m_mode == kModeRead, m_connectionTimeout); });
  m_connectionString = text;
}

std::shared_ptr<varnel::host::IRecordset> AdoConnection::Execute(const String& sql, Long) {
  Long affected = 0;
  return RunCommand(sql, {}, m_commandTimeout, affected);
}

std::shared_ptr<varnel::host::IRecordset> AdoConnection::ExecuteCounting(const String& sql, Long& o_affected,
                                                                         Long) {
  return RunCommand(sql, {}, m_commandTimeout, o_affected);
}

std::shared_ptr<AdoRecordset> AdoConnection::ExecuteText(const String& sql, Variant& affected, Long) {
  Long count = 0;
  std::shared_ptr<AdoRecordset> recordset = RunCommand(sql, {}, m_commandTimeout, count);
  affected = Variant(count);
  return recordset;
}

std::shared_ptr<AdoRecordset> AdoConnection::RunCommand(const String& sql,
                                                        const StatementParameters& parameters,
                                                        Long timeoutSeconds, Long& o_affected) {
  StatementResult result = RunWithin(sql, parameters, timeoutSeconds, {0, kBatchRows});
  o_affected = result.affected;
  auto recordset = std::make_shared<AdoRecordset>(m_database);
  recordset->SetCursorLocation(m_cursorLocation);
  recordset->SetParameters(parameters);
  recordset->TakeResult(sql, std::move(result), SharedFrom(*this));
  return recordset;
}

void AdoConnection::Close() {
  if (!IsOpen()) RaiseAdo(AdoFailure::IsClosed, u"Connection");
  m_lease = nullptr;
}

Long AdoConnection::BeginTrans() {
  Guarded([&] { Session().Begin(); });
  return 1;
}

void AdoConnection::CommitTrans() {
  Guarded([&] { Session().Commit(); });
}

void AdoConnection::RollbackTrans() {
  Guarded([&] { Session().Rollback(); });
}

bool AdoConnection::KeepsTexts() const {
  return IsOpen() && !m_database->IsTraced() && m_lease->Session().KeepsTexts();
}

const String* AdoConnection::KeptText(const String& key) {
  return KeepsTexts() ? m_lease->Session().KeptText(key) : nullptr;
}

void AdoConnection::KeepText(const String& key, const String& text) {
  if (KeepsTexts()) m_lease->Session().KeepText(key, text);
}

StatementResult AdoConnection::Run(const String& sql, const StatementParameters& parameters,
                                   const StatementOptions& options) {
  return RunWithin(sql, parameters, m_commandTimeout, options);
}

StatementResult AdoConnection::RunWithin(const String& sql, const StatementParameters& parameters,
                                         Long timeoutSeconds, const StatementOptions& options) {
  ISession& session = Session();
  StatementResult result =
      Guarded([&] { return m_database->Run(session, sql, parameters, timeoutSeconds, options); });
  if (result.rest != nullptr) result.rest = std::make_unique<RaisingReader>(std::move(result.rest), m_errors);
  return result;
}

StatementResult AdoConnection::Look(const String& sql, const StatementParameters& parameters,
                                    Long timeoutSeconds) {
  StatementLimits limits;
  limits.timeout = std::chrono::seconds(timeoutSeconds);
  return Session().Run(sql, parameters, limits);
}

ISession& AdoConnection::Session() {
  if (!IsOpen()) RaiseAdo(AdoFailure::IsClosed, u"Connection");
  return m_lease->Session();
}

}  // namespace hostlinux
