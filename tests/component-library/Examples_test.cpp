// The examples in C and Python page through a real file.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "tests/Sanitizers.h"

namespace {

using testing::HasSubstr;
using testing::StartsWith;

// What has to be loaded before a program that was built without sanitizers takes a library that has them.
#if !defined(VARNEL_HAS_ADDRESS_SANITIZER)
constexpr char kSanitizers[] = "";
#elif defined(__clang__)
constexpr char kSanitizers[] =
    "LD_PRELOAD=\"$(" COMPILER " -print-file-name=libclang_rt.asan-$(uname -m).so)\" ";
#else
constexpr char kSanitizers[] = "LD_PRELOAD=\"$(" COMPILER " -print-file-name=libasan.so) $(" COMPILER
                               " -print-file-name=libubsan.so)\" ";
#endif

const std::string kNewSite = VARNEL_SOURCE_DIR "/host-linux/command/new-site";

std::string TextOf(const std::string& file) {
  std::ifstream stream(file, std::ios::binary);
  std::ostringstream text;
  text << stream.rdbuf();
  return text.str();
}

class ComponentExamples : public testing::Test {
 protected:
  ComponentExamples()
      : m_database(testing::TempDir() + "varnel-component-" + std::to_string(::getpid()) + ".db") {
    sqlite3* database = nullptr;
    EXPECT_EQ(sqlite3_open(m_database.c_str(), &database), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(database, TextOf(kNewSite + "/elements.sql").c_str(), nullptr, nullptr, nullptr),
              SQLITE_OK);
    sqlite3_close(database);
  }
  ~ComponentExamples() override { std::filesystem::remove(m_database); }

  static std::string Output(const std::string& command) {
    FILE* pipe = ::popen(command.c_str(), "r");
    std::string output;
    std::array<char, 4096> part;
    for (std::size_t n = 0; (n = std::fread(part.data(), 1, part.size(), pipe)) > 0;)
      output.append(part.data(), n);
    EXPECT_EQ(::pclose(pipe), 0) << output;
    return output;
  }

  std::string m_database;
};

TEST_F(ComponentExamples, InCPagesThroughAllElements) {
  const std::string output = Output(ELEMENTS_PROGRAM " '" + m_database + "'");
  EXPECT_THAT(output, StartsWith("-- from 1 of 92\n1 H Hydrogen\n2 He Helium\n3 Li Lithium\n"));
  EXPECT_THAT(output, HasSubstr("25 Mn Manganese\n-- from 26 of 92\n26 Fe Iron\n"));
  EXPECT_THAT(output, HasSubstr("-- from 76 of 92\n"));
  EXPECT_TRUE(output.ends_with("92 U Uranium\n"));
}

TEST_F(ComponentExamples, InPythonWritesGridsOfAllElements) {
  if (std::string(PYTHON).empty()) GTEST_SKIP() << "there is no Python here";
  // Python itself lets memory go at its end.
  std::string command = "ASAN_OPTIONS=detect_leaks=0 ";
  command += kSanitizers;
  command += PYTHON " " VARNEL_SOURCE_DIR "/examples/component/elements.py '" COMPONENT_LIBRARY "' '" +
             m_database + "' '" + kNewSite + "/messages'";
  const std::string output = Output("PYTHONDONTWRITEBYTECODE=1 " + command);
  // Sorted by name, as a visitor sees it first.
  EXPECT_THAT(output, StartsWith("Records 1-25 of 92: Actinium, Aluminium, Antimony, Argon, Arsenic, "));
  EXPECT_THAT(output, HasSubstr("\nRecords 26-50 of 92: "));
  EXPECT_THAT(output, HasSubstr("\nRecords 76-92 of 92: "));
  EXPECT_THAT(output, HasSubstr(", Zinc, Zirconium\n"));
}

}  // namespace
