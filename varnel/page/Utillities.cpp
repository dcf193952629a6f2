#include "varnel/page/Utillities.h"

#include "varnel/automation/Convert.h"

namespace varnel {

void Util_Raise(Long iNumber, const String& iSource, const String& iDescription, const String& iHelpFile,
                Long iHelpContext) {
  throw Error(ErrInfo{iNumber, iSource, iDescription, iHelpFile, iHelpContext});
}

ErrInfo Util_SaveErr() { return CurrentError(); }

namespace {

// The value as a component of one kind; a mismatch of type means that it isn't one, any other failure is
// raised.
template <typename T>
std::shared_ptr<T> CastComponent(const Variant& iValue) {
  if (iValue.IsEmpty()) return nullptr;
  try {
    return CastObject<T>(ToObject(iValue));
  } catch (const Error&) {
    const ErrInfo e = Util_SaveErr();
    if (e.Number == runtime_error::kTypeMismatch) return nullptr;
    Util_Raise(e.Number, e.Source,
               u"Varnel.Utilities: Parameter error: Unable to perform type cast. Object '" +
                   TypeName(iValue) + u"'. " + e.Description,
               e.HelpFile, e.HelpContext);
  }
}

}  // namespace

std::shared_ptr<ITable> Util_CastTable(const Variant& iValue) { return CastComponent<ITable>(iValue); }

std::shared_ptr<IDGrid> Util_CastDGrid(const Variant& iValue) { return CastComponent<IDGrid>(iValue); }

bool Util_IsTrue(Long iValue) { return iValue == -1; }

bool Util_IsEmptyString(const String& iValue) { return iValue.empty(); }

}  // namespace varnel
