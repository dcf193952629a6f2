#include "host-linux/intrinsics/PageRequest.h"

#include <algorithm>

#include "host-linux/base/Ascii.h"
#include "varnel/automation/String.h"

namespace hostlinux {

namespace {

bool IsRefused(const std::string& name, const std::vector<std::string>& refused) {
  const varnel::String text = varnel::FromUtf8(name);
  return std::any_of(refused.begin(), refused.end(), [&](const std::string& word) {
    return varnel::EqualsNoCase(text, varnel::FromUtf8(word));
  });
}

std::string ReadFields(std::string_view text, const std::vector<std::string>& refused,
                       std::vector<FormField>& fields) {
  FormFields form = ParseForm(text);
  if (!form.error.empty()) return std::move(form.error);
  for (const FormField& field : form.fields) {
    if (IsRefused(field.name, refused)) return "A parameter may not be named \"" + field.name + "\" here.";
  }
  fields = std::move(form.fields);
  return {};
}

}  // namespace

bool IsFormBody(const HttpRequest& http) {
  const std::string* type = http.headers.Find("Content-Type");
  if (!type) return false;
  std::string_view media(*type);
  media = media.substr(0, media.find_first_of("; \t"));
  return EqualsIgnoreCase(media, "application/x-www-form-urlencoded");
}

std::string ReadPageRequest(HttpRequest http, const std::vector<std::string>& refused, PageRequest& page) {
  page.http = std::move(http);
  page.hasForm = IsFormBody(page.http);
  std::string problem = ReadFields(page.http.rawQuery, refused, page.query);
  if (problem.empty() && page.hasForm) problem = ReadFields(page.http.body, refused, page.form);
  return problem;
}

}  // namespace hostlinux
