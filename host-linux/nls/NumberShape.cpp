#include "host-linux/nls/NumberShape.h"

#include <algorithm>
#include <string>

namespace hostlinux {

using varnel::Long;
using varnel::String;
using varnel::StringView;

namespace {

bool IsDigit(char16_t unit) { return unit >= u'0' && unit <= u'9'; }

// A number's text in its parts.
struct Decimal {
  bool negative = false;
  String whole;  // without leading zeros: empty below 1
  String fraction;
};

std::optional<Decimal> ReadDecimal(StringView text) {
  Decimal number;
  number.negative = text.starts_with(u'-');
  if (number.negative) text.remove_prefix(1);
  const auto point = std::min(text.find(u'.'), text.size());
  const StringView whole = text.substr(0, point);
  const StringView fraction = point < text.size() ? text.substr(point + 1) : StringView();
  if (!std::all_of(whole.begin(), whole.end(), IsDigit)) return std::nullopt;
  if (!std::all_of(fraction.begin(), fraction.end(), IsDigit)) return std::nullopt;
  number.whole = whole.substr(std::min(whole.find_first_not_of(u'0'), whole.size()));
  number.fraction = fraction;
  return number;
}

// Adds one to the last of `digits`; true if it went over the first one.
bool Increment(String& digits) {
  for (auto digit = digits.rbegin(); digit != digits.rend(); ++digit) {
    if (*digit != u'9') {
      ++*digit;
      return false;
    }
    *digit = u'0';
  }
  return true;
}

void Round(Decimal& number, std::size_t digits) {
  const bool up = number.fraction.size() > digits && number.fraction[digits] >= u'5';
  number.fraction.resize(digits, u'0');
  if (up && Increment(number.fraction) && Increment(number.whole)) number.whole.insert(0, 1, u'1');
}

// Where the separators stand among `length` digits, from the right to the left.
std::vector<std::size_t> CutsOf(std::size_t length, const NumberShape& shape) {
  std::vector<std::size_t> cuts;
  std::size_t group = 0;
  while (group < shape.groups.size()) {
    const auto size = static_cast<std::size_t>(shape.groups[group]);
    if (size == 0 || length <= size) break;
    cuts.push_back(length -= size);
    if (group + 1 < shape.groups.size() || !shape.repeats) ++group;
  }
  return cuts;
}

String Grouped(const String& whole, const NumberShape& shape) {
  const auto cuts = CutsOf(whole.size(), shape);
  String result;
  std::size_t from = 0;
  for (auto cut = cuts.rbegin(); cut != cuts.rend(); ++cut) {
    result.append(whole, from, *cut - from).append(shape.thousand);
    from = *cut;
  }
  return result.append(whole, from, String::npos);
}

String Signed(const String& digits, int order) {
  switch (order) {
    case 0:
      return u"(" + digits + u")";
    case 1:
      return u"-" + digits;
    case 2:
      return u"- " + digits;
    case 3:
      return digits + u"-";
    default:
      return digits + u" -";
  }
}

}  // namespace

void SetGroupsByText(NumberShape& shape, StringView grouping) {
  shape.groups.clear();
  for (const String& size : varnel::Split(grouping, u";")) {
    shape.groups.push_back(size.size() == 1 && IsDigit(size[0]) ? size[0] - u'0' : 0);
  }
  shape.repeats = !shape.groups.empty() && shape.groups.back() == 0;
  if (shape.repeats) shape.groups.pop_back();
}

void SetGroupsByNumber(NumberShape& shape, Long grouping) {
  shape.groups.clear();
  for (; grouping > 0; grouping /= 10) shape.groups.push_back(grouping % 10);
  std::reverse(shape.groups.begin(), shape.groups.end());
  shape.repeats = !shape.groups.empty() && shape.groups.back() != 0;
}

std::optional<String> ShapeNumber(StringView number, const NumberShape& shape) {
  auto decimal = ReadDecimal(number);
  if (!decimal) return std::nullopt;
  Round(*decimal, static_cast<std::size_t>(shape.digits));
  String text = Grouped(decimal->whole, shape);
  // A number without any digit would be nothing: it keeps its zero.
  if (text.empty() && (shape.leadingZero || shape.digits == 0)) text = u"0";
  if (shape.digits > 0) text.append(shape.decimal).append(decimal->fraction);
  return decimal->negative ? Signed(text, shape.negativeOrder) : text;
}

}  // namespace hostlinux
