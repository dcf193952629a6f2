#include "host-linux/database/dialect/ParameterValue.h"

#include <cmath>

#include "host-linux/database/dialect/LikePattern.h"
#include "host-linux/database/dialect/SqliteDialect.h"
#include "varnel/automation/Error.h"

namespace hostlinux {
namespace {

using varnel::String;
using varnel::Variant;

// Above, not every whole number is a double.
constexpr double kMostWhole = 9007199254740992.0;

BoundValue NumberOf(double value) {
  if (value == std::trunc(value) && std::abs(value) < kMostWhole) return static_cast<std::int64_t>(value);
  return value;
}

void Add(String& text, int number, std::size_t width) {
  const std::string digits = std::to_string(number);
  text.append(width - std::min(width, digits.size()), u'0');
  text.append(digits.begin(), digits.end());
}

// As dates are stored.
String DateTextOf(varnel::Date date) {
  const varnel::DateParts parts = varnel::SplitDate(date);
  String text;
  Add(text, parts.year, 4);
  Add(text += u'-', parts.month, 2);
  Add(text += u'-', parts.day, 2);
  Add(text += u' ', parts.hour, 2);
  Add(text += u':', parts.minute, 2);
  Add(text += u':', parts.second, 2);
  return text;
}

bool IsDate(varnel::Date date) {
  if (std::isnan(date.days)) return false;
  try {
    varnel::SplitDate(date);
    return true;
  } catch (const varnel::Error&) {
    return false;
  }
}

BoundValue TextValueOf(const String& text, LiteralForm form, char16_t escape) {
  if (escape != 0) {
    const String pattern = PatternWithoutEscape(text, escape);
    return form == LiteralForm::Regex ? LiteralValue(pattern, form) : varnel::ToUtf8(pattern);
  }
  return LiteralValue(text, form);
}

}  // namespace

ParameterFacts FactsOf(const Variant& value) {
  ParameterFacts facts;
  if (const auto* date = value.As<varnel::Date>()) {
    facts.isText = true;
    facts.traits = TraitsOf(DateTextOf(*date));
  } else if (const auto* number = value.As<double>()) {
    facts.isFraction = std::holds_alternative<double>(NumberOf(*number));
  } else if (const auto* text = value.As<String>()) {
    facts.isText = true;
    facts.traits = TraitsOf(*text);
    facts.isPattern = HasPatternClass(*text) || text->size() > kLongestLikePattern ||
                      varnel::ToUtf8(*text).size() > kLongestLikePattern;
  }
  return facts;
}

bool CanBeBound(const Variant& value) {
  if (const auto* number = value.As<double>()) return !std::isnan(*number);
  if (const auto* date = value.As<varnel::Date>()) return IsDate(*date);
  if (const auto* bytes = value.As<varnel::BytesPtr>()) return *bytes != nullptr;
  return !value.IsEmpty() && !value.IsMissing() && !value.IsObject() && !value.Is<varnel::ArrayPtr>();
}

BoundValue ParameterValue(const Variant& value, LiteralForm form, char16_t escape) {
  if (const auto* text = value.As<String>()) return TextValueOf(*text, form, escape);
  if (const auto* number = value.As<varnel::Long>()) return std::int64_t{*number};
  if (const auto* number = value.As<double>()) return NumberOf(*number);
  if (const auto* number = value.As<varnel::Integer>()) return std::int64_t{*number};
  if (const auto* number = value.As<varnel::Byte>()) return std::int64_t{*number};
  if (const auto* flag = value.As<bool>()) return std::int64_t{*flag ? 1 : 0};
  if (const auto* date = value.As<varnel::Date>()) return LiteralValue(DateTextOf(*date), form);
  if (const auto* bytes = value.As<varnel::BytesPtr>()) {
    return BoundBytes{std::string((*bytes)->begin(), (*bytes)->end())};
  }
  return std::monostate();
}

}  // namespace hostlinux
