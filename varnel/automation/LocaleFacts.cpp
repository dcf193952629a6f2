#include "varnel/automation/LocaleFacts.h"

#include <utility>

namespace varnel {

namespace {

LocaleFacts& Current() {
  static LocaleFacts facts;
  return facts;
}

}  // namespace

void SetUserLocale(LocaleFacts facts) { Current() = std::move(facts); }

const LocaleFacts& UserLocale() { return Current(); }

}  // namespace varnel
