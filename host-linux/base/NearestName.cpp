#include "host-linux/base/NearestName.h"

#include <algorithm>

namespace hostlinux {
namespace {

using varnel::String;
using varnel::StringView;

constexpr std::size_t kLongest = 100;
constexpr std::size_t kLettersForOneSlip = 3;

char16_t Upper(char16_t c) { return c >= u'a' && c <= u'z' ? static_cast<char16_t>(c - 32) : c; }

bool Same(char16_t a, char16_t b) { return Upper(a) == Upper(b); }

// The number of slips from one text to the other.
std::size_t Slips(StringView a, StringView b) {
  std::vector<std::size_t> beforeLast(b.size() + 1);
  std::vector<std::size_t> last(b.size() + 1);
  std::vector<std::size_t> now(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) last[j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    now[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t changed = last[j - 1] + (Same(a[i - 1], b[j - 1]) ? 0 : 1);
      now[j] = std::min({changed, last[j] + 1, now[j - 1] + 1});
      const bool swapped = i > 1 && j > 1 && Same(a[i - 1], b[j - 2]) && Same(a[i - 2], b[j - 1]);
      if (swapped) now[j] = std::min(now[j], beforeLast[j - 2] + 1);
    }
    std::swap(beforeLast, last);
    std::swap(last, now);
  }
  return last[b.size()];
}

}  // namespace

String NearestName(StringView wanted, const std::vector<String>& known) {
  if (wanted.size() > kLongest) return {};
  std::size_t fewest = std::max<std::size_t>(wanted.size() / kLettersForOneSlip, 1) + 1;
  String nearest;
  for (const String& name : known) {
    const std::size_t length = std::max(name.size(), wanted.size());
    if (name.empty() || length - std::min(name.size(), wanted.size()) >= fewest) continue;
    const std::size_t slips = Slips(wanted, name);
    // Of two letters, one slip leaves hardly anything.
    if (slips >= fewest || slips >= length) continue;
    fewest = slips;
    nearest = name;
  }
  return nearest;
}

String DidYouMean(StringView wanted, const std::vector<String>& known) {
  const String nearest = NearestName(wanted, known);
  return nearest.empty() ? String() : u" Did you mean '" + nearest + u"'?";
}

}  // namespace hostlinux
