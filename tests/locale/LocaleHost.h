// A fake host with the real locale calls, and a user whose locale a test chooses.
#pragma once

#include <gtest/gtest.h>

#include "host-fake/FakeHost.h"
#include "host-linux/nls/LocaleCalls.h"
#include "host-linux/nls/LocaleTable.h"
#include "varnel/automation/Convert.h"
#include "varnel/automation/LocaleFacts.h"
#include "varnel/locale/DataFunctions.h"

namespace localetest {

using varnel::Date;
using varnel::LocaleFacts;
using varnel::Long;
using varnel::MakeDate;
using varnel::Missing;
using varnel::Null;
using varnel::String;
using varnel::StringView;
using varnel::Variant;

// A result as text: "Null", or the value.
inline std::string Shown(const Variant& value) {
  return value.IsNull() ? "Null" : varnel::ToUtf8(varnel::ToText(value));
}

inline Date Day(int year, int month, int day) { return MakeDate({year, month, day, 0, 0, 0}); }

class LocaleTest : public ::testing::Test {
 protected:
  LocaleTest() { host.UseLocale(std::make_shared<hostlinux::LocaleCalls>(1252)); }
  ~LocaleTest() override { varnel::SetUserLocale({}); }

  static void SetUser(Long lcid) { varnel::SetUserLocale(hostlinux::FindLocale(lcid).value()); }
  // The user's own settings of locale 1033.
  static void SetUser(const LocaleFacts& facts) { varnel::SetUserLocale(facts); }

  std::string Float(double value, Long lcid) { return Shown(functions.Float(value, lcid)); }
  std::string FloatEx(double value, Long lcid, const Variant& decimals = Missing()) {
    return Shown(functions.FloatEx(value, lcid, decimals));
  }
  std::string Number(Long value, Long lcid) { return Shown(functions.Number(value, lcid)); }

  hostfake::FakeHost host;
  varnel::DataFunctions functions;
};

}  // namespace localetest
