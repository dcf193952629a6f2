#include "host-linux/intrinsics/FormFields.h"

#include <algorithm>

#include "host-linux/base/Percent.h"
#include "host-linux/base/Utf8.h"
#include "host-linux/web/UrlPath.h"

namespace hostlinux {

namespace {

// Decodes one side of a pair; gives a sentence where it can't.
std::string_view DecodePart(std::string_view part, std::string& decoded) {
  if (!PercentDecode(part, true, decoded)) {
    return "A parameter contains a \"%\" without two hexadecimal digits behind it.";
  }
  if (!IsUtf8(decoded)) return "A parameter is not UTF-8.";
  return {};
}

std::string_view DecodePair(std::string_view pair, FormField& field) {
  const std::size_t equals = std::min(pair.find('='), pair.size());
  const std::string_view problem = DecodePart(pair.substr(0, equals), field.name);
  if (!problem.empty() || equals == pair.size()) return problem;
  return DecodePart(pair.substr(equals + 1), field.value);
}

}  // namespace

FormFields ParseForm(std::string_view text) {
  FormFields form;
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find('&', begin), text.size());
    const std::string_view pair = text.substr(begin, end - begin);
    begin = end + 1;
    if (pair.empty()) continue;
    if (form.fields.size() == kMaxFormFields) return {{}, "The request has too many parameters."};
    FormField field;
    const std::string_view problem = DecodePair(pair, field);
    if (!problem.empty()) return {{}, std::string(problem)};
    form.fields.push_back(std::move(field));
  }
  return form;
}

}  // namespace hostlinux
