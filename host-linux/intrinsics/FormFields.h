// Reading a query string or an application/x-www-form-urlencoded body.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace hostlinux {

struct FormField {
  std::string name;
  std::string value;

  friend bool operator==(const FormField&, const FormField&) = default;
};

struct FormFields {
  std::vector<FormField> fields;  // in the order they stand; a name that occurs twice stands twice
  std::string error;              // a sentence for the client; empty when all is well
};

// More fields than this are refused: each costs memory many times its text.
inline constexpr std::size_t kMaxFormFields = 20000;

// Takes `text` apart at "&" and the first "=" of each piece; "+" is a blank, %XX a byte. A piece without "="
// is a name with an empty value; an empty piece is nothing. Refused, with `error` set and no fields: a bad
// escape, ill-formed UTF-8, more than kMaxFormFields fields.
FormFields ParseForm(std::string_view text);

}  // namespace hostlinux
