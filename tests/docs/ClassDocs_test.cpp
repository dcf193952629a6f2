#include "docs/classes/ClassDocs.h"
#include "docs/classes/TypeDocs.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace classdocs {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::string TextOf(const std::string& file) {
  std::ifstream stream(std::string(VARNEL_SOURCE_DIR "/") + file, std::ios::binary);
  std::ostringstream text;
  text << stream.rdbuf();
  return text.str();
}

Lines CommittedLines() { return ReadLines(TextOf("docs/classes/classes.tsv")); }

TEST(ClassDocs, HaveALineForEachOperation) {
  EXPECT_THAT(Mismatches(PublicClasses(), CommittedLines()), IsEmpty());
}

TEST(ClassDocs, AreWrittenFromTheTables) {
  EXPECT_EQ(TextOf("docs/classes.md"), WritePage(PublicClasses(), CommittedLines()))
      << "docs/classes/README.md tells how the page is made";
}

TEST(TypeDocs, AreWrittenFromTheTables) {
  EXPECT_EQ(TextOf("host-linux/command/new-site/varnel.d.ts"),
            WriteTypes(PublicClasses(), CommittedLines(), TextOf("docs/classes/globals.d.ts")))
      << "docs/classes/README.md tells how the file is made";
}

TEST(TypeDocs, TellArgumentsResultsAndHowAnObjectIsCalled) {
  const std::string types = WriteTypes(PublicClasses(), CommittedLines(), "declare const x: number;\n");
  for (const char* part :
       {"    Number(name: any): number | null;\n", "    Text(name: any, otherwise?: any): string;\n",
        "    (key: any): RequestValue;\n", "    readonly EOF: any;\n", "  interface ADODBConnection {\n",
        "declare const AlignRight: number;\n", "\ndeclare const x: number;\n"})
    EXPECT_NE(types.find(part), std::string::npos) << part;
}

TEST(ClassDocs, NameWhatDoesNotFit) {
  Lines lines = CommittedLines();
  lines.erase("Table.Cell");
  lines["Page.Add"].arguments.push_back("more");
  lines["Page.Gone"].text = "nothing";
  EXPECT_THAT(Mismatches(PublicClasses(), lines),
              ElementsAre("Page.Add has 1 arguments", "Table.Cell has no line", "there is no Page.Gone"));
}

TEST(ClassDocs, RefuseALineThatComesTwice) {
  EXPECT_THROW(ReadLines("A\tone\nA\ttwo\n"), std::runtime_error);
  EXPECT_THROW(ReadLines("A\n"), std::runtime_error);
}

TEST(ClassDocs, ShowDefaultsOptionalArgumentsAndKinds) {
  const std::string page = WritePage(PublicClasses(), CommittedLines());
  EXPECT_NE(page.find("| `DGrid(recordset, title, formBased = false, [table])` |  |"), std::string::npos);
  EXPECT_NE(page.find("| `SkipCell(count = 1)` |  |"), std::string::npos);
  EXPECT_NE(page.find("| `EOF` | property, to read |"), std::string::npos);
  EXPECT_NE(page.find("| `ScriptTimeout` | property |"), std::string::npos);
  EXPECT_NE(page.find("| `GetDefault(nameOrPosition)` | default |"), std::string::npos);
}

}  // namespace
}  // namespace classdocs
