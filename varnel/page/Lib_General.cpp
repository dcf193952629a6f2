#include "varnel/page/Lib_General.h"

#include "varnel/host/Platform.h"
#include "varnel/page/Lib_ErrorHandling.h"

namespace varnel {

ObjectPtr Gen_GetComponent(const String& iProgID) {
  try {
    const auto context = host::GetObjectContext();
    return context == nullptr ? host::Platform().CreateObject(iProgID) : context->CreateInstance(iProgID);
  } catch (...) {
    const bool inContext = host::GetObjectContext() != nullptr;
    const String info = inContext ? u"CreateInstance(" + iProgID +
                                        u") failed.\r\n"
                                        u"Note: Objects having 'Instancing=PublicNotCreatable' may only be "
                                        u"instantiated with 'New', not with Gen_GetComponent()"
                                  : u"CreateObject(" + iProgID + u") failed";
    Err_ReportAndRaise(u"Lib_General.Gen_GetComponent", info);
    return nullptr;  // an error of number 0 is none
  }
}

}  // namespace varnel
