// How the procedures of CatalogQuery end.
#pragma once

#include "varnel/page/Lib_ErrorHandling.h"

namespace varnel {

// What `action` returns. Its failure is logged and raised again under "Varnel.CatalogQuery" and `tag`; an
// error of number 0 is none, and gives `failed` instead.
template <typename Action, typename Result>
auto Reporting(const String& tag, Result failed, Action action) -> decltype(action()) {
  try {
    return action();
  } catch (...) {
    Err_ReportAndRaise(u"Varnel.CatalogQuery" + tag);
    return failed;
  }
}

}  // namespace varnel
