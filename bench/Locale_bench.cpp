// A number and a date in a visitor's locale, against the C library's printf and strftime; and in all locales
// in turn.
#include <cstdio>
#include <ctime>

#include "bench/Ratio.h"
#include "host-fake/FakeHost.h"
#include "host-linux/nls/LocaleCalls.h"
#include "host-linux/nls/LocaleTable.h"
#include "varnel/locale/DataFunctions.h"

namespace {

using varnel::Long;

constexpr int kRuns = 20000;

}  // namespace

int main() {
  hostfake::FakeHost host;
  host.UseLocale(std::make_shared<hostlinux::LocaleCalls>(1252));
  varnel::DataFunctions functions;
  const varnel::Variant number(-1234567.891);
  const varnel::Variant day(varnel::MakeDate({2024, 3, 5, 17, 8, 9}));
  const varnel::Variant two(Long{2});

  const auto print = [] {
    char text[64];
    volatile double value = -1234567.891;
    bench::Keep(std::snprintf(text, sizeof text, "%.2f", value));
  };
  const auto printTime = [] {
    char text[64];
    std::tm time{};
    time.tm_year = 124;
    time.tm_mon = 2;
    time.tm_mday = 5;
    time.tm_hour = 17;
    bench::Keep(std::strftime(text, sizeof text, "%d.%m.%Y %H:%M:%S", &time));
  };

  for (const Long lcid : {1033, 1031, 1036, 1081}) {
    const varnel::Variant locale(lcid);
    std::printf("Locale %d:\n", lcid);
    bench::PrintRatio(
        "Float", "printf(\"%.2f\")", kRuns, [&] { bench::Keep(functions.Float(number, locale)); }, print);
    bench::PrintRatio(
        "FloatEx", "printf(\"%.2f\")", kRuns, [&] { bench::Keep(functions.FloatEx(number, locale, two)); },
        print);
    bench::PrintRatio(
        "DateTime, the day", "strftime", kRuns, [&] { bench::Keep(functions.DateTime(day, locale)); },
        printTime);
    bench::PrintRatio(
        "DateTime, with the time", "strftime", kRuns,
        [&] { bench::Keep(functions.DateTime(day, locale, true)); }, printTime);
  }

  const auto ids = hostlinux::LocaleIDs();
  std::size_t turn = 0;
  const auto next = [&] { return varnel::Variant(ids[++turn % ids.size()]); };
  std::printf("%zu locales in turn:\n", ids.size());
  bench::PrintRatio(
      "FloatEx", "printf(\"%.2f\")", kRuns, [&] { bench::Keep(functions.FloatEx(number, next(), two)); },
      print);
  bench::PrintRatio(
      "DateTime, with the time", "strftime", kRuns,
      [&] { bench::Keep(functions.DateTime(day, next(), true)); }, printTime);
}
