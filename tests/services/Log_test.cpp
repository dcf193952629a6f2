#include "host-linux/services/Log.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace hostlinux {
namespace {

// What the log's file holds after `write` has written.
template <typename Write>
std::string LogOf(Write write) {
  SiteConfiguration site;
  site.folder = testing::TempDir();
  site.log.file = "varnel-log-test-" + std::to_string(::getpid()) + ".log";
  const auto path = site.folder / site.log.file;
  std::filesystem::remove(path);
  StartLog(site);
  write();
  StopLog();
  std::ifstream file(path);
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  std::filesystem::remove(path);
  return text;
}

TEST(Log, an_entry_stays_one_line_without_control_characters) {
  const std::string text =
      LogOf([] { WriteLog(LogLevel::Error, std::string_view("a\r\nb\0c\x1B[2Jd", 11)); });
  EXPECT_TRUE(text.ends_with(" error a\\r\\nb?c?[2Jd\n")) << text;
}

TEST(Log, what_a_terminal_takes_for_a_command_is_a_question_mark) {
  // DEL, U+0085, U+009B, and bytes of that value that are no character of their own.
  const std::string text = LogOf([] {
    WriteLog(LogLevel::Error,
             "a\x7F"
             "b\xC2\x85"
             "c\xC2\x9B"
             "2Jd\x9B"
             "e\xC3\x9F\x9F"
             "f");
  });
  EXPECT_TRUE(text.ends_with(" error a?b?c?2Jd?e\xC3\x9F?f\n")) << text;
}

TEST(Log, other_characters_stay) {
  // U+00A0, U+00DF, U+2019, U+1F600: their bytes may lie between 80 and 9F.
  const std::string words = "\xC2\xA0 \xC3\x9F \xE2\x80\x99 \xF0\x9F\x98\x80";
  const std::string text = LogOf([&] { WriteLog(LogLevel::Error, words); });
  EXPECT_TRUE(text.ends_with(" error " + words + "\n")) << text;
}

TEST(Log, lines_of_a_request_bear_its_id) {
  const std::string text = LogOf([] {
    const RequestLogScope scope("42");
    WriteLog(LogLevel::Info, "inside");
  });
  EXPECT_TRUE(text.ends_with(" info [42] inside\n")) << text;
}

TEST(Log, level_0_of_the_component_is_an_error_and_any_other_a_note) {
  const std::string text = LogOf([] {
    LogComponent log;
    varnel::String source = u"Varnel.Page";
    varnel::String words = u"told";
    varnel::Variant extra;
    for (varnel::Long level : {0, 1}) log.WriteEntry(source, words, level, extra);
  });
  EXPECT_NE(text.find(" error Varnel.Page: told\n"), std::string::npos) << text;
  EXPECT_NE(text.find(" info Varnel.Page: told\n"), std::string::npos) << text;
}

}  // namespace
}  // namespace hostlinux
