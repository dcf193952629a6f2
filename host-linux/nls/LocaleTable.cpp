#include "host-linux/nls/LocaleTable.h"

#include <algorithm>
#include <array>
#include <iterator>

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
  int digits;
  int leadingZero;
  int negativeOrder;
  const char16_t* negativeSign;
  const char16_t* currency;
  const char16_t* dateSeparator;
  const char16_t* timeSeparator;
  const char16_t* shortDate;
  int dateOrder;
  const char16_t* timeFormat;
  const char16_t* am;
  const char16_t* pm;
  int ansiCodePage;
  int yearOffset;
};

constexpr Row kRows[] = {
#include "host-linux/nls/LocaleTable.inc"
};

struct Alias {
  Long lcid;
  Long answersAs;
};

// 4 is Chinese, whose first country by number isn't the one that it stands for; 66567 sorts as phone books
// do.
constexpr std::array kAliases{Alias{0, 1033},    Alias{1024, 1033}, Alias{2048, 1033}, Alias{3072, 1033},
                              Alias{4096, 1033}, Alias{4, 2052},    Alias{66567, 1031}};

// The id that answers for `lcid`.
Long Resolve(Long lcid) {
  const auto alias =
      std::find_if(kAliases.begin(), kAliases.end(), [&](const Alias& each) { return each.lcid == lcid; });
  if (alias != kAliases.end()) return alias->answersAs;
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
  const Long wanted = Resolve(lcid);
  const Row* found = std::lower_bound(std::begin(kRows), std::end(kRows), wanted,
                                      [](const Row& row, Long id) { return row.lcid < id; });
  if (found == std::end(kRows) || found->lcid != wanted) return std::nullopt;
  return FactsOf(*found);
}

std::vector<Long> LocaleIDs() {
  std::vector<Long> ids;
  for (const Row& row : kRows) {
    if (row.lcid != kInvariant) ids.push_back(row.lcid);
  }
  return ids;
}

}  // namespace hostlinux
