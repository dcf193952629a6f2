#include "host-linux/application/FirstPageLink.h"

#include "host-linux/intrinsics/Server.h"
#include "host-linux/script/SourceMap.h"

namespace hostlinux {

namespace {

bool CarriesPosition(const std::string& name) {
  const varnel::String text = varnel::FromUtf8(name);
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
