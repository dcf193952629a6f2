#include "varnel/locale/FormatFunctions.h"

#include <exception>

#include "varnel/host/Platform.h"

namespace varnel {

String GetLocaleValue(Long iLocaleID, Long iCode) {
  try {
    FormatBuffer buffer{};
    if (host::Platform().Locale().GetLocaleInfoW(iLocaleID, iCode, buffer) == 0) return {};
    return CutAtNull({buffer.data(), buffer.size()});
  } catch (const std::exception&) {
    return {};
  }
}

String CutAtNull(StringView iBuffer) { return String(iBuffer.substr(0, iBuffer.find(u'\0'))); }

}  // namespace varnel
