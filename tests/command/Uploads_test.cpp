// Uploads to the server as a real client sends them.

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

#include "tests/application/TestSite.h"
#include "tests/command/Program.h"
#include "tests/web/TestClient.h"

namespace {

using hosttest::ServingProgram;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

class CurlTest : public testing::Test {
 protected:
  CurlTest() {
    m_site.Write(
        "site.toml",
        "[site]\nroot = \"/shop\"\nmode = \"development\"\n[server]\nthreads = 1\nmax_body = 30000000\n"
        "[files]\nroots = [\"up\"]\n[log]\nfile = \"site.log\"\n");
    m_site.WritePage("u.asp",
                     "<% var u = Server.CreateObject('Varnel.Upload');"
                     " for (var f of ['a', 'f', 'g']) { var b = u.GetFileBinary(f); %>"
                     "<%= u.GetFormVar(f) %>;<%= u.GetFileContentType(f) %>;<%= b.length %>"
                     "<% if (b.length > 0) u.WriteFileToFileSystem(f, 'up'); %>|<% } %>");
  }

  // What curl prints, in the site's folder. `form` are its own arguments.
  std::string Curl(const std::string& form) {
    if (!m_program) m_program = std::make_unique<ServingProgram>(m_site.Folder());
    const std::string command = "cd '" + m_site.Folder().string() + "' && curl -sS --max-time 60 " + form +
                                " http://127.0.0.1:" + std::to_string(m_program->Port()) + "/shop/u.asp 2>&1";
    FILE* pipe = ::popen(command.c_str(), "r");
    std::string out;
    char bytes[4096];
    while (const std::size_t count = std::fread(bytes, 1, sizeof bytes, pipe)) out.append(bytes, count);
    ::pclose(pipe);
    return out;
  }

  hosttest::TestSite m_site;
  std::unique_ptr<ServingProgram> m_program;
};

TEST_F(CurlTest, SendsTwoFieldsWithAFileEach) {
  m_site.Write("one.csv", "1;2\r\n");
  m_site.Write("two.bin", std::string("\0\r\n--\xFF", 6));
  EXPECT_EQ(Curl("-F 'a=plain text' -F 'f=@one.csv;type=text/csv' -F 'g=@two.bin'"),
            "plain text;;0|one.csv;text/csv;5|two.bin;application/octet-stream;6|");
  EXPECT_EQ(m_site.Read("up/one.csv"), m_site.Read("one.csv"));
  EXPECT_EQ(m_site.Read("up/two.bin"), m_site.Read("two.bin"));
}

TEST_F(CurlTest, SendsAnEmptyFileInput) {
  m_site.Write("empty", "");
  EXPECT_EQ(Curl("-F a= -F 'f=@empty;filename=' -F 'g=@empty'"),
            ";;0|;application/octet-stream;0|empty;application/octet-stream;0|");
  EXPECT_FALSE(std::filesystem::exists(m_site.Folder() / "up"));
}

// The name's bytes are UTF-8; the session's code page knows each as a character.
TEST_F(CurlTest, SendsANameInUtf8) {
  m_site.Write("x", "data");
  EXPECT_EQ(Curl("-F 'a=ä' -F 'f=@x;filename=Größe.txt'"), "Ã¤;;0|GrÃ¶ÃŸe.txt;text/plain;4|;;0|");
  EXPECT_EQ(m_site.Read("up/GrÃ¶ÃŸe.txt"), "data");
}

TEST_F(CurlTest, SendsTwentyMegabytes) {
  std::string large(20 << 20, '\0');
  unsigned state = 3;
  for (char& byte : large) byte = static_cast<char>((state = state * 1664525 + 1013904223) >> 24);
  m_site.Write("large", large);
  EXPECT_EQ(Curl("-F 'f=@large'"), ";;0|large;application/octet-stream;20971520|;;0|");
  EXPECT_TRUE(m_site.Read("up/large") == large);
}

TEST_F(CurlTest, ClientPathIsDropped) {
  m_site.Write("x", "data");
  EXPECT_THAT(Curl("-F 'f=@x;filename=../../evil'"), StartsWith(";;0|../../evil;"));
  EXPECT_EQ(m_site.Read("up/evil"), "data");
  EXPECT_FALSE(std::filesystem::exists(m_site.Folder().parent_path() / "evil"));
}

TEST_F(CurlTest, BodyThatIsTooLongIsRefusedBeforeItIsRead) {
  m_program = std::make_unique<ServingProgram>(m_site.Folder());
  hosttest::TestClient client(m_program->Port());
  client.Send(
      "POST /shop/u.asp HTTP/1.1\r\nHost: localhost\r\nContent-Type: multipart/form-data\r\n"
      "Content-Length: 30000001\r\n\r\n--b\r\n");
  EXPECT_EQ(client.ReadAnswer().status, 413);
}

TEST_F(CurlTest, ClaimedLengthThatNeverArrivesIsNoUpload) {
  m_site.Write("site.toml", "[site]\nroot = \"/shop\"\n[server]\nthreads = 1\nbody_timeout = \"300ms\"\n");
  m_program = std::make_unique<ServingProgram>(m_site.Folder());
  hosttest::TestClient client(m_program->Port());
  client.Send(
      "POST /shop/u.asp HTTP/1.1\r\nHost: localhost\r\nContent-Type: multipart/form-data\r\n"
      "Content-Length: 1000\r\n\r\n--b\r\n");
  EXPECT_EQ(client.ReadAnswer().status, 408);
}

// A disk of its own on the folder for files, in a mount namespace that ends with the command.
class DiskTest : public testing::Test {
 protected:
  DiskTest() {
    m_site.Write("site.toml",
                 "[site]\nroot = \"/shop\"\n[files]\nroots = [\"up\"]\n[log]\nfile = \"site.log\"\n");
    m_site.WritePage("u.asp",
                     "<% var u = Server.CreateObject('Varnel.Upload');"
                     " try { u.WriteFileToFileSystem('f', 'up'); } catch (e) { %><%= e.number %> <%= "
                     "e.description %><% } %>");
    std::filesystem::create_directory(m_site.Folder() / "up");
  }

  void SetUp() override {
    if (InNamespace("true").find("mounted") == std::string::npos)
      GTEST_SKIP() << "This user may mount nothing here: " << InNamespace("true");
  }

  // What the commands print in the site's folder, "up" being an empty disk of 64 KB.
  std::string InNamespace(const std::string& commands) const {
    const std::string user = ::geteuid() == 0 ? "" : "--map-root-user ";
    const std::string line = "cd '" + m_site.Folder().string() + "' && unshare --mount " + user +
                             "sh -c 'mount -t tmpfs -o size=64k none up && echo mounted && " + commands +
                             "' 2>&1";
    FILE* pipe = ::popen(line.c_str(), "r");
    std::string out;
    char bytes[4096];
    while (const std::size_t count = std::fread(bytes, 1, sizeof bytes, pipe)) out.append(bytes, count);
    ::pclose(pipe);
    return out;
  }

  // The command that has the page write a file of `size` bytes, named x.bin.
  std::string Sending(std::size_t size) const {
    m_site.Write("body",
                 "--b\r\nContent-Disposition: form-data; name=\"f\"; filename=\"x.bin\"\r\n"
                 "Content-Type: application/octet-stream\r\n\r\n" +
                     std::string(size, 'x') + "\r\n--b--\r\n");
    return "\"" VARNEL_PROGRAM
           "\" run . u.asp --method POST --body body --content-type \"multipart/form-data\"";
  }

  hosttest::TestSite m_site;
};

constexpr char kNamesOfFiles[] = "; echo \"[$(ls -A up)]\"";

TEST_F(DiskTest, SmallFileFitsOnIt) {
  EXPECT_EQ(InNamespace(Sending(4) + kNamesOfFiles), "mounted\n[x.bin]\n");
}

TEST_F(DiskTest, FullDiskLeavesNoPartOfAFile) {
  EXPECT_THAT(InNamespace(Sending(200'000) + kNamesOfFiles),
              AllOf(StartsWith("mounted\n61 "), HasSubstr("The disk is full: up/x.bin"), EndsWith("[]\n")));
}

TEST_F(DiskTest, FullDiskLeavesAnOlderFileAsItWas) {
  EXPECT_THAT(InNamespace("echo old > up/x.bin && " + Sending(200'000) + kNamesOfFiles + " && cat up/x.bin"),
              AllOf(StartsWith("mounted\n61 "), EndsWith("[x.bin]\nold\n")));
}

// Root too can't write there.
TEST_F(DiskTest, ReadOnlyFolderIsLeftAlone) {
  EXPECT_THAT(
      InNamespace("mount -o remount,bind,ro up && " + Sending(4) + kNamesOfFiles),
      AllOf(StartsWith("mounted\n70 "), HasSubstr("The disk is read-only: up/x.bin"), EndsWith("[]\n")));
}

}  // namespace
