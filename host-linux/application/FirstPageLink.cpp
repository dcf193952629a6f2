#include "host-linux/application/FirstPageLink.h"

#include "host-linux/intrinsics/Server.h"
#include "host-linux/script/SourceMap.h"

namespace hostlinux {

namespace {

// "L1-at" and its like: all that a visitor has chosen of a list goes, since any of it may be what was refused.
bool IsOfList(varnel::StringView name) {
  std::size_t digits = 1;
  while (digits < name.size() && name[digits] >= u'0' && name[digits] <= u'9') ++digits;
  return varnel::EqualsNoCase(name.substr(0, 1), u"L") && digits > 1 && name.substr(digits).starts_with(u'-');
}

bool CarriesPosition(const std::string& name) {
  const varnel::String text = varnel::FromUtf8(name);
  if (IsOfList(text)) return true;
  return varnel::EqualsNoCase(text.substr(0, 2), u"R_") || varnel::EqualsNoCase(text, u"CHOWC") ||
         varnel::EqualsNoCase(text, u"CTATEC");
}

std::string Encoded(const std::string& text) { return varnel::ToUtf8(UrlEncodeText(varnel::FromUtf8(text))); }

}  // namespace

std::string FirstPageLink(std::string_view path, const std::vector<FormField>& query) {
  std::string link = UrlOfPath(std::string(path));
  char separator = '?';
  for (const FormField& field : query) {
    if (CarriesPosition(field.name)) continue;
    link += separator + Encoded(field.name) + "=" + Encoded(field.value);
    separator = '&';
  }
  return link;
}

}  // namespace hostlinux
