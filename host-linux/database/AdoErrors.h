// ADODB.Error and the collection of a connection's errors.
#pragma once

#include <memory>
#include <vector>

#include "varnel/automation/Object.h"
#include "varnel/host/Ado.h"

namespace hostlinux {

class AdoError : public varnel::Object {
 public:
  explicit AdoError(varnel::host::ProviderError error) : m_error(std::move(error)) {}
  const varnel::ClassInfo& Class() const override;

  varnel::Long Number() { return m_error.Number; }
  varnel::String Source() { return m_error.Source; }
  varnel::String Description() { return m_error.Description; }
  varnel::Long NativeError() { return m_error.NativeError; }
  varnel::String SQLState() { return m_error.SQLState; }
  varnel::String HelpFile() { return {}; }
  varnel::Long HelpContext() { return 0; }

 private:
  varnel::host::ProviderError m_error;
};

// The errors of the last operation that failed. Positions from 0.
class AdoErrors : public varnel::Object {
 public:
  const varnel::ClassInfo& Class() const override;
  std::unique_ptr<varnel::Enumeration> Enumerate() override;

  varnel::Long Count() { return static_cast<varnel::Long>(m_errors.size()); }
  // Raises 3265 outside the collection.
  std::shared_ptr<AdoError> Item(varnel::Long position);
  void Clear() { m_errors.clear(); }

  const std::vector<varnel::host::ProviderError>& All() const { return m_errors; }
  void Set(std::vector<varnel::host::ProviderError> errors) { m_errors = std::move(errors); }

 private:
  std::vector<varnel::host::ProviderError> m_errors;
};

}  // namespace hostlinux
