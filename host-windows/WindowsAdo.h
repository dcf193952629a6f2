// Connections and recordsets of the platform's ADO, by the names that it publishes.
#pragma once

#include "varnel/component/ForeignObject.h"
#include "varnel/host/Ado.h"

namespace hostwindows {

class WindowsConnection : public varnel::com::ForeignObject, public varnel::host::IConnection {
 public:
  using ForeignObject::ForeignObject;

  void SetConnectionTimeout(varnel::Long seconds) override;
  void SetCommandTimeout(varnel::Long seconds) override;
  void SetCursorLocation(varnel::Long location) override;
  void SetIsolationLevel(varnel::Long level) override;
  void Open(const varnel::String& connectionString, const varnel::String& user,
            const varnel::String& password, varnel::Long options) override;
  std::shared_ptr<varnel::host::IRecordset> Execute(const varnel::String& sql, varnel::Long options) override;
  std::shared_ptr<varnel::host::IRecordset> ExecuteCounting(const varnel::String& sql,
                                                            varnel::Long& o_affected,
                                                            varnel::Long options) override;
  void Close() override;
  std::vector<varnel::host::ProviderError> Errors() const override;
};

class WindowsRecordset : public varnel::com::ForeignObject, public varnel::host::IRecordset {
 public:
  using ForeignObject::ForeignObject;

  void SetCursorType(varnel::Long type) override;
  varnel::Long CursorType() const override;
  void SetCursorLocation(varnel::Long location) override;
  void SetLockType(varnel::Long type) override;
  void SetMaxRecords(varnel::Long count) override;
  varnel::Long MaxRecords() const override;
  void SetCacheSize(varnel::Long count) override;
  void SetParameters(const varnel::host::StatementParameters& parameters) override {
    m_parameters = parameters;
  }
  void Open(const varnel::String& sql, const std::shared_ptr<varnel::host::IConnection>& connection,
            varnel::Long cursorType, varnel::Long lockType, varnel::Long options) override;
  std::shared_ptr<varnel::host::IConnection> GetActiveConnection() const override;
  void DetachConnection() override;
  bool IsEOF() const override;
  varnel::Long FieldCount() const override;
  varnel::String FieldName(varnel::Long position) const override;
  varnel::Integer FieldType(varnel::Long position) const override;
  varnel::Variant FieldValue(varnel::Long position) const override;
  varnel::host::RowBlock GetRows() override;
  void MoveNext() override;
  varnel::Long RecordCount() const override;
  void Close() override;

 private:
  varnel::Variant Ask(varnel::StringView name) const;
  void OpenCommand(const varnel::String& sql, const varnel::ObjectPtr& connection, varnel::Long cursorType,
                   varnel::Long lockType);
  varnel::ObjectPtr Field(varnel::Long position) const;

  varnel::host::StatementParameters m_parameters;
};

}  // namespace hostwindows
