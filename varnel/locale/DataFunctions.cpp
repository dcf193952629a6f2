#include "varnel/locale/DataFunctions.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <exception>

#include "varnel/automation/Error.h"
#include "varnel/automation/Members.h"
#include "varnel/host/Platform.h"
#include "varnel/locale/FormatFunctions.h"

namespace varnel {

namespace {

namespace locale_code = host::locale_code;

constexpr Long kChinesePeoplesRepublic = 2052;
constexpr StringView kEuro = u"\u20AC";
constexpr StringView kWideYen = u"\uFFE5";

// These answer with the euro, whatever the platform's data say.
constexpr std::array<Long, 18> kEuroLocales{1027, 1031, 1032, 1034, 1035, 1036, 1040, 1043, 1069,
                                            2060, 2067, 2070, 2077, 3079, 3082, 4103, 5132, 6153};

// What `operation` gives, or `otherwise` if it fails in any way.
template <typename F>
Variant ResultOr(const Variant& otherwise, F&& operation) {
  try {
    return operation();
  } catch (const std::exception&) {
    return otherwise;
  }
}

// The first characters of a buffer. A count below 0, which a failed call leads to, is an error.
String Left(const FormatBuffer& buffer, int count) {
  if (count < 0) RaiseRuntimeError(runtime_error::kInvalidArgument);
  return String(buffer.data(), std::min(static_cast<std::size_t>(count), buffer.size()));
}

// The number's text on the platform: without the place for a plus.
String TextOf(double value) { return TrimLeft(SignedNumberText(value)); }

host::SystemTime DayOf(const DateParts& parts) {
  host::SystemTime time;
  time.wYear = parts.year;
  time.wMonth = parts.month;
  time.wDay = parts.day;
  return time;
}

bool IsLeapYear(Long year) { return year % 100 == 0 ? year % 400 == 0 : year % 4 == 0; }

Long LastDayOf(Long month, Long year) {
  if (month == 2) return IsLeapYear(year) ? 29 : 28;
  return month == 4 || month == 6 || month == 9 || month == 11 ? 30 : 31;
}

// Takes the values in 16 bits. Years of one or two digits lie in 1930 to 2029; raises 6 outside 100 to 9999.
Date DateFromParts(Long year, Long month, Long day) {
  DateParts parts{
      static_cast<Integer>(year), static_cast<Integer>(month), static_cast<Integer>(day), 0, 0, 0};
  if (parts.year >= 0 && parts.year < 100) parts.year += parts.year < 30 ? 2000 : 1900;
  if (parts.year < 100 || parts.year > 9999) RaiseRuntimeError(runtime_error::kOverflow);
  return MakeDate(parts);
}

// The first three texts between the separators: nobody looks at the others. Raises 9 if there are fewer.
std::array<StringView, 3> FirstThree(StringView text, StringView separator) {
  std::array<StringView, 3> parts;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    const auto end = separator.empty() ? StringView::npos : text.find(separator);
    parts[i] = text.substr(0, end);
    if (i + 1 == parts.size()) break;
    if (end == StringView::npos) RaiseRuntimeError(runtime_error::kSubscript);
    text.remove_prefix(end + separator.size());
  }
  return parts;
}

struct DayNumbers {
  Long year;
  Long month;
  Long day;
};

Long NumberIn(StringView text) { return RoundToLong(ParseNumber(text)); }

// The numbers in one of the platform's short orders. Raises 5 for another order.
DayNumbers ReadDay(const std::array<StringView, 3>& parts, Long order) {
  switch (order) {
    case 0:
      return {NumberIn(parts[2]), NumberIn(parts[0]), NumberIn(parts[1])};
    case 1:
      return {NumberIn(parts[2]), NumberIn(parts[1]), NumberIn(parts[0])};
    case 2:
      return {NumberIn(parts[0]), NumberIn(parts[1]), NumberIn(parts[2])};
    default:
      RaiseRuntimeError(runtime_error::kInvalidArgument);
  }
}

bool IsWholeNumberValue(const Variant& value) {
  return value.Is<Integer>() || value.Is<Long>() || value.Is<Byte>();
}

bool IsNumberValue(const Variant& value) { return IsWholeNumberValue(value) || value.Is<double>(); }

// What isn't finite lies in no range, not even in one without bounds: raises 6.
double ToFinite(const Variant& value) {
  const double number = ToDouble(value);
  if (!std::isfinite(number)) RaiseRuntimeError(runtime_error::kOverflow);
  return number;
}

// A value of the type may hold what is no day: raises 6.
Date ToDay(const Variant& value) {
  const Date date = ToDate(value);
  SplitDate(date);
  return date;
}

// Both bounds belong to the range. The lower one is converted and looked at first.
template <typename F>
bool IsWithin(const Variant& value, const Variant& lowest, const Variant& highest, F&& convert) {
  const auto converted = convert(value);
  if (!lowest.IsMissing() && converted < convert(lowest)) return false;
  return highest.IsMissing() || !(converted > convert(highest));
}

// True if the value is of a type that `accepts` takes, and each bound too that was given.
template <typename F>
bool AreAll(F&& accepts, const Variant& value, const Variant& lowest, const Variant& highest) {
  const auto boundFits = [&](const Variant& bound) { return bound.IsMissing() || accepts(bound); };
  return accepts(value) && boundFits(lowest) && boundFits(highest);
}

}  // namespace

const ClassInfo& DataFunctions::Class() const {
  using D = DataFunctions;
  static const ClassInfo info{
      u"DataFunctions",
      {Method<&D::ConvertDateString>(u"ConvertDateString").Taking(u"i_vDateString, i_vLocaleID"),
       Method<&D::ConvertFloatString>(u"ConvertFloatString").Taking(u"i_vDoubleString, i_vLocaleID"),
       Method<&D::ConvertNumberString>(u"ConvertNumberString").Taking(u"i_vLongString, i_vLocaleID"),
       Method<&D::DateTime>(u"DateTime", {false}).Taking(u"i_dDateValue, i_vLocaleID, i_bWithTime"),
       Method<&D::DateFromJava>(u"DateFromJava").Taking(u"i_lYear, i_lMonth, i_lDay, i_vLocaleID"),
       Method<&D::Float>(u"Float").Taking(u"i_fDoubleValue, i_vLocaleID"),
       Method<&D::FloatEx>(u"FloatEx", {Missing()}).Taking(u"i_fDoubleValue, i_vLocaleID, i_vNumDecimals"),
       Method<&D::Number>(u"Number").Taking(u"i_lLongValue, i_vLocaleID"),
       Method<&D::ValidateDateTime>(u"ValidateDateTime", {Missing(), Missing()})
           .Taking(u"i_vDateValue, i_vMinDateValue, i_vMaxDateValue"),
       Method<&D::ValidateFloat>(u"ValidateFloat", {Missing(), Missing()})
           .Taking(u"i_vDoubleValue, i_vMinDoubleValue, i_vMaxDoubleValue"),
       Method<&D::ValidateNumber>(u"ValidateNumber", {Missing(), Missing()})
           .Taking(u"i_vLongValue, i_vMinLongValue, i_vMaxLongValue"),
       Method<&D::GetCurrencySymbol>(u"GetCurrencySymbol").Taking(u"i_lLocaleID"),
       Method<&D::GetEuroSymbol>(u"GetEuroSymbol"),
       Method<&D::GetDateSeparator>(u"GetDateSeparator").Taking(u"i_lLocaleID"),
       Method<&D::GetShortDateFormatOrdering>(u"GetShortDateFormatOrdering").Taking(u"i_lLocaleID"),
       Method<&D::GetThousandSeparator>(u"GetThousandSeparator").Taking(u"i_lLocaleID"),
       Method<&D::GetDecimalSeparator>(u"GetDecimalSeparator").Taking(u"i_lLocaleID")}};
  return info;
}

Variant DataFunctions::ConvertDateString(const Variant& i_vDateString, const Variant& i_vLocaleID) {
  return ResultOr(Null(), [&]() -> Variant {
    const String separator = GetDateSeparator(ToLong(i_vLocaleID));
    const String text = ToText(i_vDateString);
    if (text.find(separator) == String::npos) return Null();
    const DayNumbers day =
        ReadDay(FirstThree(text, separator), GetShortDateFormatOrdering(ToLong(i_vLocaleID)));
    if (day.month < 1 || day.month > 12) return Null();
    if (day.day > LastDayOf(day.month, day.year)) return Null();
    return DateFromParts(day.year, day.month, day.day);
  });
}

Variant DataFunctions::ConvertFloatString(const Variant& i_vDoubleString, const Variant& i_vLocaleID) {
  return ResultOr(Null(), [&]() -> Variant {
    String text = Trim(ToText(i_vDoubleString));
    text = Replace(text, GetThousandSeparator(ToLong(i_vLocaleID)), u"");
    const Long user = host::Platform().Locale().GetUserDefaultLCID();
    text = Replace(text, GetDecimalSeparator(ToLong(i_vLocaleID)), GetDecimalSeparator(user));
    return ParseNumber(text);
  });
}

Variant DataFunctions::ConvertNumberString(const Variant& i_vLongString, const Variant& i_vLocaleID) {
  return ResultOr(Null(), [&]() -> Variant {
    return RoundToLong(ToDouble(ConvertFloatString(i_vLongString, i_vLocaleID)));
  });
}

Variant DataFunctions::DateTime(const Variant& i_dDateValue, const Variant& i_vLocaleID,
                                const Variant& i_bWithTime) {
  return ResultOr(Null(), [&]() -> Variant {
    const DateParts parts = SplitDate(ToDate(i_dDateValue));
    const bool withTime = ToBoolean(i_bWithTime);
    host::ILocale& locale = host::Platform().Locale();
    host::SystemTime time = DayOf(parts);
    FormatBuffer date{};
    locale.GetDateFormatW(ToLong(i_vLocaleID), host::kDateShortDate, time, date);
    String text = Replace(CutAtNull({date.data(), date.size()}), u" ", u"");
    if (!withTime) return text;
    time.wHour = parts.hour;
    time.wMinute = parts.minute;
    time.wSecond = parts.second;
    FormatBuffer clock{};
    locale.GetTimeFormatW(ToLong(i_vLocaleID), host::kLocaleNoUserOverride, time, clock);
    return text + u" " + CutAtNull({clock.data(), clock.size()});
  });
}

Variant DataFunctions::DateFromJava(const Variant& i_lYear, const Variant& i_lMonth, const Variant& i_lDay,
                                    const Variant& i_vLocaleID) {
  return ResultOr(Null(), [&]() -> Variant {
    const auto month = static_cast<Long>(static_cast<std::uint32_t>(ToLong(i_lMonth)) + 1U);
    return DateTime(DateFromParts(ToLong(i_lYear), month, ToLong(i_lDay)), i_vLocaleID);
  });
}

Variant DataFunctions::Float(const Variant& i_fDoubleValue, const Variant& i_vLocaleID) {
  return ResultOr(Null(), [&]() -> Variant {
    FormatBuffer buffer{};
    const String text = TextOf(ToDouble(i_fDoubleValue));
    const int length =
        host::Platform().Locale().GetNumberFormatA(ToLong(i_vLocaleID), 0, text, nullptr, buffer);
    return Left(buffer, length - 1);
  });
}

Variant DataFunctions::FloatEx(const Variant& i_fDoubleValue, const Variant& i_vLocaleID,
                               const Variant& i_vNumDecimals) {
  return ResultOr(Null(), [&]() -> Variant {
    const host::NumberFormat format = FormatOf(ToLong(i_vLocaleID), i_vNumDecimals);
    FormatBuffer buffer{};
    const String text = TextOf(ToDouble(i_fDoubleValue));
    // All of the locale's influence comes through the format.
    const int length = host::Platform().Locale().GetNumberFormatA(0, 0, text, &format, buffer);
    return Left(buffer, length - 1);
  });
}

Variant DataFunctions::Number(const Variant& i_lLongValue, const Variant& i_vLocaleID) {
  return ResultOr(Null(), [&]() -> Variant {
    FormatBuffer buffer{};
    const String text = DecimalText(ToLong(i_lLongValue));
    const int length =
        host::Platform().Locale().GetNumberFormatA(ToLong(i_vLocaleID), 0, text, nullptr, buffer);
    // The NUL, and what should be the separator and two decimals.
    return Left(buffer, length - 4);
  });
}

Variant DataFunctions::ValidateDateTime(const Variant& i_vDateValue, const Variant& i_vMinDateValue,
                                        const Variant& i_vMaxDateValue) {
  return ResultOr(
      false, [&]() -> Variant { return IsWithin(i_vDateValue, i_vMinDateValue, i_vMaxDateValue, ToDay); });
}

Variant DataFunctions::ValidateFloat(const Variant& i_vDoubleValue, const Variant& i_vMinDoubleValue,
                                     const Variant& i_vMaxDoubleValue) {
  return ResultOr(false, [&]() -> Variant {
    return AreAll(IsNumberValue, i_vDoubleValue, i_vMinDoubleValue, i_vMaxDoubleValue) &&
           IsWithin(i_vDoubleValue, i_vMinDoubleValue, i_vMaxDoubleValue, ToFinite);
  });
}

Variant DataFunctions::ValidateNumber(const Variant& i_vLongValue, const Variant& i_vMinLongValue,
                                      const Variant& i_vMaxLongValue) {
  return ResultOr(false, [&]() -> Variant {
    return AreAll(IsWholeNumberValue, i_vLongValue, i_vMinLongValue, i_vMaxLongValue) &&
           IsWithin(i_vLongValue, i_vMinLongValue, i_vMaxLongValue, ToLong);
  });
}

String DataFunctions::GetCurrencySymbol(Long i_lLocaleID) {
  if (std::binary_search(kEuroLocales.begin(), kEuroLocales.end(), i_lLocaleID)) return GetEuroSymbol();
  if (i_lLocaleID == kChinesePeoplesRepublic) return String(kWideYen);
  return GetLocaleValue(i_lLocaleID, locale_code::kCurrency);
}

String DataFunctions::GetEuroSymbol() { return String(kEuro); }

String DataFunctions::GetDateSeparator(Long i_lLocaleID) {
  return GetLocaleValue(i_lLocaleID, locale_code::kDate);
}

Long DataFunctions::GetShortDateFormatOrdering(Long i_lLocaleID) {
  return NumberIn(GetLocaleValue(i_lLocaleID, locale_code::kDateOrder));
}

String DataFunctions::GetThousandSeparator(Long i_lLocaleID) {
  return GetLocaleValue(i_lLocaleID, locale_code::kThousand);
}

String DataFunctions::GetDecimalSeparator(Long i_lLocaleID) {
  const Long lcid = i_lLocaleID == 0 ? host::Platform().Locale().GetUserDefaultLCID() : i_lLocaleID;
  return GetLocaleValue(lcid, locale_code::kDecimal);
}

Long DataFunctions::GetNumberGrouping(Long i_lLocaleID) {
  return NumberIn(GetLocaleValue(i_lLocaleID, locale_code::kGrouping).substr(0, 1));
}

Long DataFunctions::GetNumberLeadingZero(Long i_lLocaleID) {
  return NumberIn(GetLocaleValue(i_lLocaleID, locale_code::kLeadingZero));
}

// Reads the leading zero, not the negative order: a minus sign where there is one, brackets where there is
// none.
Long DataFunctions::GetNumberNegativeOrder(Long i_lLocaleID) {
  return NumberIn(GetLocaleValue(i_lLocaleID, locale_code::kLeadingZero));
}

Long DataFunctions::GetNumberDigits(Long i_lLocaleID) {
  return NumberIn(GetLocaleValue(i_lLocaleID, locale_code::kDigits));
}

host::NumberFormat DataFunctions::FormatOf(Long i_lLocaleID, const Variant& i_vNumDecimals) {
  host::NumberFormat format;
  format.NumDigits = i_vNumDecimals.IsMissing() ? GetNumberDigits(i_lLocaleID) : ToLong(i_vNumDecimals);
  format.LeadingZero = GetNumberLeadingZero(i_lLocaleID);
  format.Grouping = GetNumberGrouping(i_lLocaleID);
  format.lpDecimalSep = GetDecimalSeparator(i_lLocaleID);
  format.lpThousandSep = GetThousandSeparator(i_lLocaleID);
  format.NegativeOrder = GetNumberNegativeOrder(i_lLocaleID);
  return format;
}

ObjectPtr MakeDataFunctions() { return std::make_shared<DataFunctions>(); }

}  // namespace varnel
