#include "host-linux/nls/LocaleTable.h"

#include <algorithm>
#include <iterator>
#include <unordered_map>
#include <utility>

namespace hostlinux {

using varnel::LocaleFacts;
using varnel::Long;

namespace {

constexpr Long kInvariant = 127;
constexpr Long kFirstWithCountry = 1024;  // below, an id names a language alone

struct Row {
  Long lcid;
  const char16_t* name;
  const char16_t* decimal;
  const char16_t* thousand;
  const char16_t* grouping;
  const char16_t* negativeSign;
  const char16_t* currency;
  const char16_t* dateSeparator;
  const char16_t* timeSeparator;
  const char16_t* shortDate;
  const char16_t* timeFormat;
  const char16_t* am;
  const char16_t* pm;
  int digits;
  int leadingZero;
  int negativeOrder;
  int dateOrder;
  int ansiCodePage;
  int yearOffset;
};

// An id without a line of its own, and the short date by which alone it may differ.
struct Alias {
  Long lcid;
  Long answersAs;
  const char16_t* shortDate;
};

#include "LocaleTable.inc"

// The alias of that id; null where it answers for itself.
const Alias* FindAlias(Long lcid) {
  const auto found = std::find_if(std::begin(kAliases), std::end(kAliases),
                                  [&](const Alias& alias) { return alias.lcid == lcid; });
  return found == std::end(kAliases) ? nullptr : found;
}

constexpr Long kDefaultLocales[] = {0, 1024, 2048, 3072, 4096};

// A language alone is the one of its first country.
Long FirstCountryOf(Long lcid) {
  const bool languageAlone = lcid > 0 && lcid < kFirstWithCountry && lcid != kInvariant;
  return languageAlone ? lcid + kFirstWithCountry : lcid;
}

LocaleFacts FactsOf(const Row& row) {
  LocaleFacts facts;
  facts.lcid = row.lcid;
  facts.name = row.name;
  facts.decimal = row.decimal;
  facts.thousand = row.thousand;
  facts.grouping = row.grouping;
  facts.digits = row.digits;
  facts.leadingZero = row.leadingZero;
  facts.negativeOrder = row.negativeOrder;
  facts.negativeSign = row.negativeSign;
  facts.currency = row.currency;
  facts.dateSeparator = row.dateSeparator;
  facts.timeSeparator = row.timeSeparator;
  facts.shortDate = row.shortDate;
  facts.timeFormat = row.timeFormat;
  facts.dateOrder = static_cast<LocaleFacts::DateOrder>(row.dateOrder);
  facts.am = row.am;
  facts.pm = row.pm;
  facts.ansiCodePage = row.ansiCodePage;
  facts.yearOffset = row.yearOffset;
  return facts;
}

}  // namespace

std::optional<LocaleFacts> FindLocale(Long lcid) {
  const Alias* alias = FindAlias(lcid);
  const Long wanted = alias == nullptr ? FirstCountryOf(lcid) : alias->answersAs;
  const Row* found = std::lower_bound(std::begin(kRows), std::end(kRows), wanted,
                                      [](const Row& row, Long id) { return row.lcid < id; });
  if (found == std::end(kRows) || found->lcid != wanted) return std::nullopt;
  LocaleFacts facts = FactsOf(*found);
  if (alias != nullptr && *alias->shortDate != u'\0') facts.shortDate = alias->shortDate;
  return facts;
}

Long MeantLocale(Long lcid) {
  const bool isDefault =
      std::find(std::begin(kDefaultLocales), std::end(kDefaultLocales), lcid) != std::end(kDefaultLocales);
  return isDefault ? varnel::UserLocale().lcid : lcid;
}

const LocaleFacts* CachedLocale(Long lcid) {
  // Unknown ids aren't kept: there are too many of them.
  thread_local std::unordered_map<Long, const LocaleFacts> known;
  thread_local std::pair<Long, const LocaleFacts*> last{0, nullptr};
  if (last.second != nullptr && last.first == lcid) return last.second;
  auto found = known.find(lcid);
  if (found == known.end()) {
    auto facts = FindLocale(lcid);
    if (!facts) return nullptr;
    found = known.emplace(lcid, *std::move(facts)).first;
  }
  last = {lcid, &found->second};
  return last.second;
}

std::vector<Long> LocaleIDs() {
  std::vector<Long> ids;
  for (const Row& row : kRows) {
    if (row.lcid != kInvariant) ids.push_back(row.lcid);
  }
  return ids;
}

}  // namespace hostlinux
