// The platform's locale calls. Every buffer holds 16-bit characters and gets a NUL behind its text; a call
// that fails (an unknown locale, an invalid field, a text that doesn't fit) gives 0 and leaves the buffer as
// it was.
#pragma once

#include <optional>
#include <span>

#include "varnel/automation/String.h"

namespace varnel::host {

using LocaleBuffer = std::span<char16_t>;

// What a locale is asked for.
namespace locale_code {
inline constexpr Long kDecimal = 14;      // LOCALE_SDECIMAL
inline constexpr Long kThousand = 15;     // LOCALE_STHOUSAND
inline constexpr Long kGrouping = 16;     // LOCALE_SGROUPING
inline constexpr Long kDigits = 17;       // LOCALE_IDIGITS
inline constexpr Long kLeadingZero = 18;  // LOCALE_ILZERO
inline constexpr Long kCurrency = 20;     // LOCALE_SCURRENCY
inline constexpr Long kDate = 29;         // LOCALE_SDATE
inline constexpr Long kDateOrder = 33;    // LOCALE_IDATE
}  // namespace locale_code

// Flags of the date and the time call.
inline constexpr std::uint32_t kDateShortDate = 1;
inline constexpr std::uint32_t kLocaleNoUserOverride = 0x80000000;

struct SystemTime {
  int wYear = 0;
  int wMonth = 0;
  int wDayOfWeek = 0;
  int wDay = 0;
  int wHour = 0;
  int wMinute = 0;
  int wSecond = 0;
};

struct NumberFormat {
  Long NumDigits = 0;                   // 0 to 9
  Long LeadingZero = 0;                 // 0 or 1
  Long Grouping = 0;                    // the sizes as decimal digits: 3, 32
  std::optional<String> lpDecimalSep;   // up to 3 characters; the call fails without one
  std::optional<String> lpThousandSep;  // the same
  Long NegativeOrder = 0;               // 0 "(1)", 1 "-1", 2 "- 1", 3 "1-", 4 "1 -"
};

class ILocale {
 public:
  virtual ~ILocale() = default;
  // The value of that code; gives the number of characters with the NUL.
  virtual int GetLocaleInfoW(Long lcid, Long code, LocaleBuffer buffer) = 0;
  virtual Long GetUserDefaultLCID() = 0;
  // `value` (an optional minus sign, digits, a point, digits) as the locale writes it, or as `format` says
  // where there is one. The text comes through the locale's single-byte code page. Gives the number of
  // characters with the NUL.
  virtual int GetNumberFormatA(Long lcid, std::uint32_t flags, StringView value, const NumberFormat* format,
                               LocaleBuffer buffer) = 0;
  // The day in the locale's short date. The user's own settings count unless the flags say otherwise.
  virtual int GetDateFormatW(Long lcid, std::uint32_t flags, const SystemTime& time, LocaleBuffer buffer) = 0;
  virtual int GetTimeFormatW(Long lcid, std::uint32_t flags, const SystemTime& time, LocaleBuffer buffer) = 0;
};

}  // namespace varnel::host
