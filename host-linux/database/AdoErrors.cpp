#include "host-linux/database/AdoErrors.h"

#include "host-linux/base/ListWalk.h"
#include "host-linux/database/AdoFailure.h"
#include "varnel/automation/Members.h"

namespace hostlinux {

using varnel::ClassInfo;
using varnel::Method;
using varnel::ReadOnly;

const ClassInfo& AdoError::Class() const {
  static const ClassInfo info{u"Error",
                              {
                                  ReadOnly<&AdoError::Number>(u"Number"),
                                  ReadOnly<&AdoError::Source>(u"Source"),
                                  ReadOnly<&AdoError::Description>(u"Description").AsDefault(),
                                  ReadOnly<&AdoError::NativeError>(u"NativeError"),
                                  ReadOnly<&AdoError::SQLState>(u"SQLState"),
                                  ReadOnly<&AdoError::HelpFile>(u"HelpFile"),
                                  ReadOnly<&AdoError::HelpContext>(u"HelpContext"),
                              }};
  return info;
}

const ClassInfo& AdoErrors::Class() const {
  static const ClassInfo info{u"Errors",
                              {
                                  ReadOnly<&AdoErrors::Count>(u"Count"),
                                  ReadOnly<&AdoErrors::Item>(u"Item").AsDefault(),
                                  Method<&AdoErrors::Clear>(u"Clear"),
                              }};
  return info;
}

std::unique_ptr<varnel::Enumeration> AdoErrors::Enumerate() {
  std::vector<varnel::ObjectPtr> errors;
  errors.reserve(m_errors.size());
  for (const varnel::host::ProviderError& error : m_errors)
    errors.push_back(std::make_shared<AdoError>(error));
  return std::make_unique<ListWalk<varnel::ObjectPtr>>(std::move(errors));
}

std::shared_ptr<AdoError> AdoErrors::Item(varnel::Long position) {
  if (position < 0 || position >= Count()) RaiseAdo(AdoFailure::NoSuchItem, u"Errors");
  return std::make_shared<AdoError>(m_errors[static_cast<std::size_t>(position)]);
}

}  // namespace hostlinux
