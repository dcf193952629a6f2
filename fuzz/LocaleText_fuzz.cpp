// Reads any text as a number and as a date of any locale, for a user of any other: a value or Null comes out,
// never an error, and what was read can be written. The text is also taken as a value to write and to
// validate, and its first bytes as the bits of a number and of a date.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "host-fake/FakeHost.h"
#include "host-linux/nls/ByteText.h"
#include "host-linux/nls/LocaleCalls.h"
#include "host-linux/nls/LocaleTable.h"
#include "varnel/locale/DataFunctions.h"

namespace {

using varnel::Variant;

void Require(bool holds) {
  if (!holds) std::abort();
}

void RequireTextOrNull(const Variant& value) { Require(value.IsNull() || value.IsText()); }

void CheckNumber(varnel::DataFunctions& functions, const Variant& text, const Variant& locale) {
  const Variant number = functions.ConvertFloatString(text, locale);
  Require(number.IsNull() || number.Is<double>());
  Require(functions.ValidateFloat(number) == Variant(!number.IsNull()));
  const Variant whole = functions.ConvertNumberString(text, locale);
  Require(whole.IsNull() || (whole.Is<varnel::Long>() && !number.IsNull()));
  Require(functions.ValidateNumber(whole) == Variant(!whole.IsNull()));
  for (const Variant& value : {number, whole, text}) {
    RequireTextOrNull(functions.Float(value, locale));
    RequireTextOrNull(functions.FloatEx(value, locale, varnel::Long{2}));
    RequireTextOrNull(functions.Number(value, locale));
  }
}

void CheckDate(varnel::DataFunctions& functions, const Variant& text, const Variant& locale) {
  const Variant date = functions.ConvertDateString(text, locale);
  Require(date.IsNull() || date.Is<varnel::Date>());
  Require(functions.ValidateDateTime(date) == Variant(!date.IsNull()));
  Require(functions.DateTime(date, locale, true).IsText() == !date.IsNull());
  RequireTextOrNull(functions.DateTime(text, locale));
  RequireTextOrNull(functions.DateFromJava(text, varnel::Long{1}, text, locale));
}

// Any bits may be a number: also no number, infinities, and days that no calendar has.
void CheckBits(varnel::DataFunctions& functions, const std::string& bytes, const Variant& locale) {
  double number = 0;
  std::memcpy(&number, bytes.data(), std::min(sizeof number, bytes.size()));
  RequireTextOrNull(functions.Float(number, locale));
  RequireTextOrNull(functions.FloatEx(number, locale, varnel::Long{2}));
  RequireTextOrNull(functions.Number(number, locale));
  Require(functions.ValidateFloat(number) == Variant(std::isfinite(number)));
  Require(functions.ValidateNumber(number) == Variant(false));
  for (const Variant& day : {Variant(number), Variant(varnel::Date{number})}) {
    const bool isDay = functions.ValidateDateTime(day) == Variant(true);
    Require(functions.DateTime(day, varnel::Long{1033}, true).IsText() == isDay);
    RequireTextOrNull(functions.DateTime(day, locale, true));
  }
}

}  // namespace

// The first byte is the locale, the second the user's.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const std::vector<varnel::Long> ids = hostlinux::LocaleIDs();
  static hostfake::FakeHost host;
  static const bool used = (host.UseLocale(std::make_shared<hostlinux::LocaleCalls>(1252)), true);
  if (!used || size < 2) return 0;
  varnel::SetUserLocale(hostlinux::FindLocale(ids[data[1] % ids.size()]).value());
  const std::string bytes(reinterpret_cast<const char*>(data) + 2, size - 2);
  const varnel::String text = varnel::FromUtf8(bytes);
  varnel::DataFunctions functions;
  for (const Variant& locale : {Variant(ids[data[0] % ids.size()]), Variant(text)}) {
    CheckNumber(functions, text, locale);
    CheckDate(functions, text, locale);
    CheckBits(functions, bytes, locale);
  }
  for (const int codePage : {874, 932, 936, 949, 950, 1250, 1252, 1255, 1258, 65001}) {
    hostlinux::ToCodePage(text, codePage);
    hostlinux::FromCodePage(bytes, codePage);
  }
  return 0;
}
