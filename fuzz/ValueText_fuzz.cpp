// Reads any text as a number and as a date, in locales of every shape: only errors 6 and 13 come out, and
// what was read becomes a text that is read to the same value.
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>

#include "host-linux/nls/LocaleTable.h"
#include "varnel/automation/Convert.h"
#include "varnel/automation/Error.h"

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

// What `read` gives, if it gives anything.
template <typename F>
auto ReadOrRefuse(F&& read) -> std::optional<decltype(read())> {
  try {
    return read();
  } catch (const varnel::Error& error) {
    Require(error.Info().Number == 6 || error.Info().Number == 13);
    return std::nullopt;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const std::vector<varnel::Long> ids = hostlinux::LocaleIDs();
  if (size == 0) return 0;
  varnel::SetUserLocale(hostlinux::FindLocale(ids[data[0] % ids.size()]).value());
  const varnel::String text = varnel::FromUtf8({reinterpret_cast<const char*>(data) + 1, size - 1});

  if (const auto date = ReadOrRefuse([&] { return varnel::ParseDate(text); })) {
    const varnel::DateParts parts = varnel::SplitDate(*date);
    Require(varnel::IsValid(parts));
    Require(varnel::MakeDate(parts) == *date);
    varnel::DateText(*date);
  }
  varnel::SetUserLocale({});
  if (const auto number = ReadOrRefuse([&] { return varnel::ParseNumber(text); })) {
    const double again = varnel::ParseNumber(varnel::NumberText(*number));
    Require(std::fabs(again - *number) <= std::fabs(*number) * 1e-14);
  }
  return 0;
}
