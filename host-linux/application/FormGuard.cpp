#include "host-linux/application/FormGuard.h"

#include <algorithm>

#include "host-linux/base/Ascii.h"
#include "varnel/automation/Convert.h"
#include "varnel/utilities/Multipart.h"

namespace hostlinux {

namespace {

constexpr varnel::Long kAnyLocale = 1033;  // the token is plain digits and letters in each

bool IsMultipart(const HttpRequest& http) {
  constexpr std::string_view kType = "multipart/form-data";
  const std::string* type = http.headers.Find("Content-Type");
  return type != nullptr && EqualsIgnoreCase(std::string_view(*type).substr(0, kType.size()), kType);
}

// The field of a form with files; empty where there is none, and for a body that is none.
std::string FieldOfMultipart(const std::string& body, varnel::host::ICodePages& codePages) {
  try {
    const std::span bytes(reinterpret_cast<const varnel::Byte*>(body.data()), body.size());
    const auto fields = varnel::ParseMultipart(bytes, kAnyLocale, codePages);
    const auto field =
        varnel::CastObject<varnel::Collection>(fields->ItemOf(varnel::FromUtf8(kFormTokenField)));
    return field == nullptr ? "" : varnel::ToUtf8(varnel::ToText(field->ItemOf(u"Value")));
  } catch (const std::exception&) {
    return {};
  }
}

}  // namespace

bool BearsFormToken(const PageRequest& request, Session* session, varnel::host::ICodePages& codePages) {
  if (session == nullptr || !session->HasBegun()) return false;
  if (session->IsFormToken(request.http.headers.Joined(kFormTokenHeader))) return true;
  const auto bears = [&](const FormField& field) {
    return EqualsIgnoreCase(field.name, kFormTokenField) && session->IsFormToken(field.value);
  };
  if (std::any_of(request.form.begin(), request.form.end(), bears)) return true;
  return IsMultipart(request.http) && session->IsFormToken(FieldOfMultipart(request.http.body, codePages));
}

varnel::String FormTokenField(varnel::StringView token) {
  return u"<input type=\"hidden\" name=\"" + varnel::FromUtf8(kFormTokenField) + u"\" value=\"" +
         varnel::String(token) + u"\">";
}

}  // namespace hostlinux
