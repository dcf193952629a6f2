#include "host-linux/database/AdoFailure.h"

namespace hostlinux {
namespace {

varnel::StringView TextOf(AdoFailure failure) {
  switch (failure) {
    case AdoFailure::InvalidArgument:
      return u"The arguments are of the wrong type, out of range or in conflict.";
    case AdoFailure::NoCurrentRecord:
      return u"There is no current record: the recordset stands at its beginning or end.";
    case AdoFailure::NotAllowed:
      return u"The operation is not allowed in this context.";
    case AdoFailure::ReadOnly:
      return u"The recordset can't be changed.";
    case AdoFailure::NoSuchItem:
      return u"The item is not in the collection.";
    case AdoFailure::AlreadyPresent:
      return u"The item is in the collection already.";
    case AdoFailure::WrongType:
      return u"The value is of a type that can't be used here.";
    case AdoFailure::IsClosed:
      return u"The operation is not allowed when the object is closed.";
    case AdoFailure::IsOpen:
      return u"The operation is not allowed when the object is open.";
    case AdoFailure::NoConnection:
      return u"The operation needs an open connection.";
  }
  return {};
}

}  // namespace

void RaiseAdo(AdoFailure failure, varnel::StringView className) { RaiseAdo(failure, className, {}); }

void RaiseAdo(AdoFailure failure, varnel::StringView className, varnel::StringView sentence) {
  varnel::ErrInfo info;
  info.Number = static_cast<varnel::Long>(0x800A0000 + static_cast<std::uint32_t>(failure));
  info.Source = u"ADODB." + varnel::String(className);
  info.Description = varnel::String(TextOf(failure));
  if (!sentence.empty()) info.Description.append(u" ").append(sentence);
  throw varnel::Error(info);
}

}  // namespace hostlinux
