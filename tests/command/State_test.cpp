// A state text, field by field.

#include <gmock/gmock.h>

#include "tests/command/Program.h"

namespace {

using hosttest::Ran;
using hosttest::RunVarnel;

TEST(StateCommandTest, FirstPage) {
  const Ran ran = RunVarnel({"state", "0xz1x1x  00x1x0x0x"});
  EXPECT_EQ(ran.out,
            "NavType         0 (first page)\n"
            "TotalRecords    -1 (unknown)\n"
            "FirstRecord     1\n"
            "SortFields      \"\"\n"
            "SortReversed    False\n"
            "DisplayPage     1\n"
            "LeftPage        0\n"
            "RightPage       0\n"
            "JumpPage        0 (none)\n");
  EXPECT_EQ(ran.status, 0);
}

TEST(StateCommandTest, NextPage) {
  EXPECT_EQ(RunVarnel({"state", "1x57x21x 14110+97+109+1010x1x 1883+109+105+116+104  552+501x0x0x"}).out,
            "NavType         1 (next page)\n"
            "TotalRecords    57\n"
            "FirstRecord     21\n"
            "SortFields      \"name\"\n"
            "SortReversed    False\n"
            "KeyValues(0)    \"Smith\"\n"
            "KeyValues(1)    \"42\"\n"
            "DisplayPage     1\n"
            "LeftPage        0\n"
            "RightPage       0\n"
            "JumpPage        0 (none)\n");
}

TEST(StateCommandTest, PreviousPageWithoutAFirstKeyAndAPageToJumpTo) {
  EXPECT_EQ(RunVarnel({"state", "2x57x1x 29110+97+109+101+32+68+69+83+67z1x1x z1  2553x1x6x7x"}).out,
            "NavType         2 (previous page)\n"
            "TotalRecords    57\n"
            "FirstRecord     1\n"
            "SortFields      \"name DESC\"\n"
            "SortReversed    True\n"
            "KeyValues(0)    Null\n"
            "KeyValues(1)    \"7\"\n"
            "DisplayPage     3\n"
            "LeftPage        1\n"
            "RightPage       6\n"
            "JumpPage        7\n");
}

TEST(StateCommandTest, DamagedTextIsRefused) {
  const Ran ran = RunVarnel({"state", "1x57"});
  EXPECT_EQ(ran.out, "");
  EXPECT_THAT(ran.err, testing::StartsWith("varnel: this is no state text: "));
  EXPECT_EQ(ran.status, 1);
}

TEST(StateCommandTest, ProgramWithoutACommandTellsItsCommands) {
  EXPECT_NE(RunVarnel({}).status, 0);
  const Ran help = RunVarnel({"--help"});
  EXPECT_EQ(help.status, 0);
  for (const char* command : {"serve", "run", "state"}) EXPECT_THAT(help.out, testing::HasSubstr(command));
}

}  // namespace
