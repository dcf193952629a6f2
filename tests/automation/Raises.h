// What a call raises, by number, and the user's locale for one scope.
#pragma once

#include <utility>

#include "host-fake/ErrorOf.h"
#include "varnel/automation/LocaleFacts.h"

namespace varnel::test {

using hostfake::NumberOf;

class UserLocaleIs {
 public:
  explicit UserLocaleIs(LocaleFacts facts) { SetUserLocale(std::move(facts)); }
  ~UserLocaleIs() { SetUserLocale({}); }
  UserLocaleIs(const UserLocaleIs&) = delete;
  UserLocaleIs& operator=(const UserLocaleIs&) = delete;
};

// A locale with decimal comma, points for thousands and the day first.
inline LocaleFacts German() {
  LocaleFacts facts;
  facts.lcid = 1031;
  facts.decimal = u",";
  facts.thousand = u".";
  facts.currency = u"\u20AC";
  facts.dateSeparator = u".";
  facts.shortDate = u"dd.MM.yyyy";
  facts.timeFormat = u"HH:mm:ss";
  facts.dateOrder = LocaleFacts::DateOrder::DayMonthYear;
  return facts;
}

}  // namespace varnel::test
