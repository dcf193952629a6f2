#include "host-linux/nls/LocaleCalls.h"

#include <algorithm>
#include <chrono>

#include "host-linux/nls/ByteText.h"
#include "host-linux/nls/LocaleTable.h"
#include "varnel/automation/Convert.h"

namespace hostlinux {

using varnel::LocaleFacts;
using varnel::Long;
using varnel::String;
using varnel::StringView;
using varnel::host::LocaleBuffer;
using varnel::host::NumberFormat;
using varnel::host::SystemTime;

namespace {

constexpr int kFirstYear = 1601;
constexpr int kLastYear = 30827;
constexpr std::size_t kMaxSeparator = 3;
constexpr Long kMaxDigits = 9;

// The facts that answer for `lcid`; null for an unknown one.
const LocaleFacts* FactsFor(Long lcid, std::uint32_t flags) {
  const Long meant = MeantLocale(lcid);
  const LocaleFacts* facts = CachedLocale(meant);
  const bool ownSettings = (flags & varnel::host::kLocaleNoUserOverride) == 0;
  const LocaleFacts& user = varnel::UserLocale();
  return facts != nullptr && ownSettings && meant == user.lcid ? &user : facts;
}

// Writes `text` and its NUL, where there is room for both.
int Fill(LocaleBuffer buffer, StringView text) {
  if (text.size() >= buffer.size()) return 0;
  *std::copy(text.begin(), text.end(), buffer.begin()) = u'\0';
  return static_cast<int>(text.size()) + 1;
}

std::optional<String> ValueOf(const LocaleFacts& facts, Long code) {
  namespace locale_code = varnel::host::locale_code;
  switch (code) {
    case locale_code::kDecimal:
      return facts.decimal;
    case locale_code::kThousand:
      return facts.thousand;
    case locale_code::kGrouping:
      return facts.grouping;
    case locale_code::kDigits:
      return varnel::DecimalText(facts.digits);
    case locale_code::kLeadingZero:
      return varnel::DecimalText(facts.leadingZero);
    case locale_code::kCurrency:
      return facts.currency;
    case locale_code::kDate:
      return facts.dateSeparator;
    case locale_code::kDateOrder:
      return varnel::DecimalText(static_cast<int>(facts.dateOrder));
    default:
      return std::nullopt;
  }
}

NumberShape ShapeOf(const LocaleFacts& facts) {
  NumberShape shape;
  shape.digits = facts.digits;
  shape.leadingZero = facts.leadingZero != 0;
  SetGroupsByText(shape, facts.grouping);
  shape.decimal = facts.decimal;
  shape.thousand = facts.thousand;
  shape.negativeOrder = facts.negativeOrder;
  return shape;
}

bool IsSeparator(const std::optional<String>& text) { return text && text->size() <= kMaxSeparator; }

// Empty for a format that the platform doesn't take.
std::optional<NumberShape> ShapeOf(const NumberFormat& format) {
  const auto within = [](Long value, Long last) { return value >= 0 && value <= last; };
  if (!within(format.NumDigits, kMaxDigits) || !within(format.LeadingZero, 1)) return std::nullopt;
  if (!within(format.NegativeOrder, 4) || format.Grouping < 0) return std::nullopt;
  if (!IsSeparator(format.lpDecimalSep) || !IsSeparator(format.lpThousandSep)) return std::nullopt;
  NumberShape shape;
  shape.digits = format.NumDigits;
  shape.leadingZero = format.LeadingZero == 1;
  SetGroupsByNumber(shape, format.Grouping);
  shape.decimal = *format.lpDecimalSep;
  shape.thousand = *format.lpThousandSep;
  shape.negativeOrder = format.NegativeOrder;
  return shape;
}

bool IsTimeOfDay(const SystemTime& time) {
  const auto below = [](int value, int limit) { return value >= 0 && value < limit; };
  return below(time.wHour, 24) && below(time.wMinute, 60) && below(time.wSecond, 60);
}

// A day of the Gregorian calendar in the years that the platform counts.
bool IsDay(const SystemTime& time) {
  if (time.wYear < kFirstYear || time.wYear > kLastYear || time.wMonth < 1 || time.wMonth > 12) return false;
  const std::chrono::year_month_day_last last(
      std::chrono::year(time.wYear),
      std::chrono::month_day_last(std::chrono::month(static_cast<unsigned>(time.wMonth))));
  return time.wDay >= 1 && time.wDay <= static_cast<int>(static_cast<unsigned>(last.day()));
}

varnel::DateParts PartsOf(const SystemTime& time) {
  return {time.wYear, time.wMonth, time.wDay, time.wHour, time.wMinute, time.wSecond};
}

}  // namespace

int LocaleCalls::GetLocaleInfoW(Long lcid, Long code, LocaleBuffer buffer) {
  const LocaleFacts* facts = FactsFor(lcid, 0);
  const auto value = facts == nullptr ? std::nullopt : ValueOf(*facts, code);
  return value ? Fill(buffer, *value) : 0;
}

Long LocaleCalls::GetUserDefaultLCID() { return varnel::UserLocale().lcid; }

std::optional<std::string> LocaleCalls::NumberFormatBytes(Long lcid, std::uint32_t flags, StringView value,
                                                          const NumberFormat* format) const {
  const LocaleFacts* facts = FactsFor(lcid, flags);
  if (facts == nullptr) return std::nullopt;
  const auto shape = format == nullptr ? ShapeOf(*facts) : ShapeOf(*format);
  const auto text = shape ? ShapeNumber(value, *shape) : std::nullopt;
  if (!text) return std::nullopt;
  const bool siteCodePage = format != nullptr || facts->ansiCodePage == 0;
  return ToCodePage(*text, siteCodePage ? m_codePage : facts->ansiCodePage);
}

int LocaleCalls::GetNumberFormatA(Long lcid, std::uint32_t flags, StringView value,
                                  const NumberFormat* format, LocaleBuffer buffer) {
  const auto bytes = NumberFormatBytes(lcid, flags, value, format);
  // The call counts bytes.
  return bytes && bytes->size() < buffer.size() ? Fill(buffer, FromCodePage(*bytes, m_codePage)) : 0;
}

int LocaleCalls::GetDateFormatW(Long lcid, std::uint32_t flags, const SystemTime& time, LocaleBuffer buffer) {
  const LocaleFacts* facts = FactsFor(lcid, flags);
  if (facts == nullptr || !IsDay(time)) return 0;
  varnel::DateParts parts = PartsOf(time);
  parts.year += facts->yearOffset;
  return Fill(buffer, varnel::FormatDatePattern(facts->shortDate, parts, facts->am, facts->pm));
}

int LocaleCalls::GetTimeFormatW(Long lcid, std::uint32_t flags, const SystemTime& time, LocaleBuffer buffer) {
  const LocaleFacts* facts = FactsFor(lcid, flags);
  if (facts == nullptr || !IsTimeOfDay(time)) return 0;
  return Fill(buffer, varnel::FormatDatePattern(facts->timeFormat, PartsOf(time), facts->am, facts->pm));
}

}  // namespace hostlinux
