// Forms with files, request strings, sorted arrays and absolute links, as pages use them.

#include <gmock/gmock.h>

#include "tests/application/ServedSite.h"
#include "tests/utilities/Body.h"

namespace {

using testing::HasSubstr;
using varnel::test::End;
using varnel::test::Field;
using varnel::test::File;

class UploadsTest : public hosttest::PageTest {
 protected:
  UploadsTest() {
    site.Write("site.toml",
               "[site]\nroot = \"/shop\"\nmode = \"development\"\ncodepage = 1251\n[server]\nthreads = 1\n"
               "max_body = 4000000\n[files]\nroots = [\"up\"]\n[log]\nfile = \"site.log\"\n");
  }

  // What a page writes with `u` as the upload of `body`.
  std::string Upload(const std::string& script, const std::string& body) {
    site.WritePage("u.asp", "<% var u = Server.CreateObject('Varnel.Upload'); %>" + script);
    const hosttest::Answer answer = Post("/shop/u.asp", body, "multipart/form-data; boundary=--boundary17");
    EXPECT_EQ(answer.status, 200) << answer.body;
    return answer.body;
  }

  // The number and description of what a script raises.
  std::string Raised(const std::string& script, const std::string& body) {
    return Upload("<% try { " + script + " } catch (e) { %><%= e.number %> <%= e.description %><% } %>",
                  body);
  }
};

TEST_F(UploadsTest, FieldsAndFilesAreRead) {
  EXPECT_EQ(
      Upload("<%= u.GetFormVar('A') %>|<%= u.GetFormVar('f') %>|<%= u.GetFileContentType('f') %>|"
             "<%= u.GetFileAsString('f') %>|<%= u.GetFileBinary('f').length %>|<%= u.GetFileBinary(2)[0] %>|"
             "<%= u.GetFormVar('none') %>",
             Field("a", "1") + File("f", "x.txt", "data") + End()),
      "1|x.txt|text/plain|data|4|100|");
}

// Names and values are read by the session's locale, the text of a file by the system's page.
TEST_F(UploadsTest, CodePagesAreThoseOfTheSessionAndTheSystem) {
  const std::string body = Field("a", "\xE4") + File("f", "\xE4", "\xE4") + End();
  EXPECT_EQ(Upload("<%= u.GetFormVar('a') %> <%= u.GetFileAsString('f') %>", body), "ä д");
  EXPECT_EQ(Upload("<% Session.LCID = 1032; %><%= u.GetFormVar('a') %> <%= u.GetFormVar('f') %>", body),
            "δ δ");
  EXPECT_EQ(Upload("<%= u.GetFormVar('a') %>", Field("a", "ü") + End()), "Ã¼");
}

TEST_F(UploadsTest, EveryByteArrivesInTheScript) {
  std::string all;
  for (int i = 0; i < 256; ++i) all += static_cast<char>(i);
  EXPECT_EQ(Upload("<% var b = u.GetFileBinary('f'), good = b.length === 256;"
                   " for (var i = 0; i < 256; ++i) good = good && b[i] === i; %><%= good %>",
                   File("f", "x", all) + End()),
            "True");
}

TEST_F(UploadsTest, FileIsWrittenBelowARoot) {
  EXPECT_EQ(Upload("<% u.WriteFileToFileSystem('f', 'up'); u.WriteFileToFileSystem('f', 'up/in'); %>done",
                   File("f", "..\\..\\x.txt", "data") + End()),
            "done");
  EXPECT_EQ(site.Read("up/x.txt"), "data");
  EXPECT_EQ(site.Read("up/in/x.txt"), "data");
}

TEST_F(UploadsTest, NothingIsWrittenElsewhere) {
  const std::string body = File("f", "x.txt", "data") + End();
  EXPECT_THAT(
      Raised("u.WriteFileToFileSystem('f', 'up/../pages');", body),
      testing::AllOf(testing::StartsWith("70 "), HasSubstr("The path lies in no folder of [files] roots")));
  EXPECT_THAT(Raised("u.WriteFileToFileSystem('f', '/tmp');", body), testing::StartsWith("70 "));
  EXPECT_THAT(Raised("u.WriteFileToFileSystem('f', 'up/a/b');", body), testing::StartsWith("76 "));
  EXPECT_FALSE(std::filesystem::exists(site.Folder() / "pages/x.txt"));
}

TEST_F(UploadsTest, NameThatCannotBeUsedIsRefused) {
  EXPECT_THAT(Raised("u.WriteFileToFileSystem('f', 'up');", File("f", "..", "data") + End()),
              testing::AllOf(testing::StartsWith("52 "), HasSubstr("Bad file name: '.'")));
  EXPECT_THAT(
      Raised("u.WriteFileToFileSystem('f', 'up');", File("f", std::string("a\0b", 3), "data") + End()),
      testing::StartsWith("52 "));
}

// Whatever the client calls the file, it stands in the folder that the page names.
TEST_F(UploadsTest, ClientPathsLeadNowhere) {
  const auto isBeside = [this](const std::string& name) {
    return std::filesystem::exists(site.Folder() / name) ||
           std::filesystem::exists(site.Folder().parent_path() / name);
  };
  const std::pair<std::string, std::string> kNames[] = {
      {"..\\..\\x", "x"}, {"/etc/varnel-y", "varnel-y"}, {"C:\\boot\\z.ini", "z.ini"}, {"a/../../b", "b"}};
  std::filesystem::create_directory(site.Folder() / "up");
  for (const auto& [sent, written] : kNames) {
    EXPECT_EQ(Upload("<% u.WriteFileToFileSystem('f', 'up/in'); %>done", File("f", sent, sent) + End()),
              "done");
    EXPECT_EQ(site.Read("up/in/" + written), sent);
    EXPECT_FALSE(isBeside(written) || std::filesystem::exists(site.Folder() / "up" / written));
  }
  EXPECT_FALSE(std::filesystem::exists("/etc/varnel-y"));
}

TEST_F(UploadsTest, LinksInTheFolderAreNotFollowed) {
  site.Write("secret/x.txt", "old");
  std::filesystem::create_directory(site.Folder() / "up");
  std::filesystem::create_symlink("../secret/x.txt", site.Folder() / "up/x.txt");
  std::filesystem::create_symlink(site.Folder() / "secret/new.txt", site.Folder() / "up/new.txt");
  std::filesystem::create_directory_symlink("../secret", site.Folder() / "up/link");
  const auto isRefused = testing::AllOf(testing::StartsWith("70 "), HasSubstr("A link is not followed: up/"));
  for (const std::string name : {"x.txt", "new.txt"})
    EXPECT_THAT(Raised("u.WriteFileToFileSystem('f', 'up');", File("f", name, "data") + End()), isRefused);
  for (const std::string folder : {"up/link", "up/link/deeper"})
    EXPECT_THAT(Raised("u.WriteFileToFileSystem('f', '" + folder + "');", File("f", "y", "data") + End()),
                isRefused);
  EXPECT_EQ(site.Read("secret/x.txt"), "old");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(site.Folder() / "secret"), {}), 1);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(site.Folder() / "up"), {}), 3);
}

TEST_F(UploadsTest, EmptyFileIsNotWritten) {
  EXPECT_THAT(Raised("u.WriteFileToFileSystem('f', 'up');", File("f", "", "") + End()),
              testing::AllOf(testing::StartsWith("-2147221503 "),
                             HasSubstr("Source file is zero length or non-existent")));
}

TEST_F(UploadsTest, BadBodyRaises) {
  EXPECT_THAT(Raised("u.GetFormVar('a');", Field("a", "1") + Field("A", "2") + End()),
              testing::StartsWith("457 "));
  EXPECT_THAT(Raised("u.GetFormVar('a');", "--b\r\n--b\r\n"), testing::StartsWith("5 "));
  // The host gives no byte of a body twice.
  EXPECT_EQ(Upload("<% try { u.GetFormVar('a'); } catch (e) {} %>[<%= u.GetFormVar('a') %>]",
                   Field("a", "1") + Field("A", "2") + End()),
            "[]");
}

TEST_F(UploadsTest, PlainFormIsReadThroughTheHost) {
  site.WritePage(
      "u.asp",
      "<% var u = Server.CreateObject('Varnel.Upload'); u.WriteFileToFileSystem('a', 'nowhere'); %>"
      "<%= u.GetFormVar('a') %> <%= u.GetFileBinary('a').length %>");
  EXPECT_EQ(Post("/shop/u.asp", "a=1+2").body, "1 2 0");
}

TEST_F(UploadsTest, BodyReadByThePageItselfIsGone) {
  EXPECT_EQ(Upload("<% Request.BinaryRead(Request.TotalBytes); %>[<%= u.GetFormVar('a') %>]"
                   " <%= Request.TotalBytes %> <%= Request.BinaryRead(9).length %>"
                   " <%= Request.ServerVariables('CONTENT_LENGTH') %>",
                   "0123456789"),
            "[] 10 0 10");
}

TEST_F(UploadsTest, ScriptsArrayIsSortedInPlace) {
  EXPECT_EQ(Output("<% var a = ['b', 3, 'A', -1.5, 'c']; Utilities.QuickSort(a); %><%= a.join(' ') %>"),
            "-1.5 3 A b c");
  EXPECT_EQ(Output("<% var a = [3, 2, 1]; Utilities.QuickSort(new ByRef(a)); %><%= a.join(' ') %>"), "1 2 3");
  EXPECT_EQ(Output("<% var a = [4, 3, 2, 1]; Utilities.QuickSortPart(a, 1, 2); %><%= a.join(' ') %>"),
            "4 2 3 1");
}

TEST_F(UploadsTest, FailedSortLeavesTheArrayAsFarAsItGot) {
  EXPECT_EQ(Output("<% var a = [5, 9, null, 3, 1]; try { Utilities.QuickSort(a); } catch (e) { %><%= "
                   "e.number %> <% } %>"
                   "<%= a.map(String).join(' ') %>"),
            "94 null 1 3 5 9");
}

TEST_F(UploadsTest, SortedArrayOf30000IsNoDanger) {
  Client().SetPatience(120'000);  // as long as the page's own time; it works for twenty seconds alone
  EXPECT_EQ(Output("<% Server.ScriptTimeout = 120; var a = []; for (var i = 0; i < 30000; ++i) a.push(i);"
                   " Utilities.QuickSort(a); %>"
                   "<%= a.every(function (v, i) { return v === i; }) %>"),
            "True");
}

TEST_F(UploadsTest, RequestStringIsReadByReference) {
  EXPECT_EQ(Output("<% var v = new ByRef(''); var found = Utilities.RetrieveElementFromRequestFormCollection("
                   "'a=1&b=%E4+x', 'B=', v); %><%= found %> <%= v.value %>"),
            "True д x");
}

TEST_F(UploadsTest, BadRequestStringLeavesTheTextNotYetDecoded) {
  EXPECT_EQ(Output("<% var v = new ByRef(''); try { Utilities.RetrieveElementFromRequestFormCollection("
                   "'a=1&b=%zz', 'b=', v); } catch (e) { %><%= e.number %> <%= v.value %><% } %>"),
            "13 %zz");
}

TEST_F(UploadsTest, LinksTakeAnyNumberOfArguments) {
  site.Write("site.toml",
             "[site]\nroot = \"/shop\"\n[server]\nthreads = 1\n[application]\nNONSECUREHOSTNAME = "
             "\"plain.example\"\n"
             "SECUREHOSTNAME = \"secure.example\"\nAPPLICATIONDIRECTORY = \"shop\"\n");
  const std::string util = "Server.CreateObject('Varnel.PageUtil')";
  EXPECT_EQ(Value(util + ".URL('a.asp')"), "http://plain.example/shop/a.asp");
  EXPECT_EQ(Value(util + ".SURL('a.asp', 'a b', 1, 'c', null, 'd', undefined, 'e', 1.5, 'f', 'ä')"),
            "https://secure.example/shop/a.asp?a+b=1&c=&d=&e=1%2E5&f=%C3%A4");
  EXPECT_EQ(Output("<% try { " + util + ".URL('a.asp', 'x'); } catch (e) { %><%= e.number %><% } %>"), "9");
  EXPECT_EQ(Output("<% try { " + util + ".URL(); } catch (e) { %><%= e.number %><% } %>"), "450");
}

TEST_F(UploadsTest, DirectTableStandsWhereThePageWritesIt) {
  const std::string page = Output(
      "before<% var page = Server.CreateObject('Varnel.Page'), t = page.Table();"
      " t.Deprecated_TableCellBegin(); %>mine<% t.Deprecated_TableCellEnd(); t.NewRow(); page.Add(t); "
      "%>after");
  EXPECT_THAT(
      page, testing::MatchesRegex(
                "before\r\n<!-- DirectMode: DirectMode Begin -->\r\n(.|\r|\n)*<!-- DirectMode: Row Begin "
                "-->\r\n<tr>\r\n<!-- DirectMode: Cell Begin -->\r\n<td>\nmine\r\n<!-- DirectMode: Cell End "
                "-->\r\n</td>\r\n<!-- DirectMode: Row End -->\r\n</tr>\r\n</table>.*\r\n<!--End Varnel.Table "
                "Object -->\r\nafter"));
}

}  // namespace
