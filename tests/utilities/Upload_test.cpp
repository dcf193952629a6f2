#include "varnel/utilities/Upload.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host-fake/ErrorOf.h"
#include "host-fake/FakeHost.h"
#include "tests/automation/Holder.h"
#include "tests/utilities/Body.h"
#include "varnel/automation/Convert.h"

namespace varnel {
namespace {

using hostfake::ErrorOf;
using hostfake::Failure;
using hostfake::NumberOf;
using test::BytesOf;
using test::End;
using test::Field;
using test::File;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

// A form that was sent as multipart/form-data.
class UploadTest : public testing::Test {
 protected:
  UploadTest() { SetType(u"multipart/form-data; boundary=----boundary17"); }

  void SetType(StringView type) { m_host.Request().Variables().Set(u"HTTP_CONTENT_TYPE", type); }

  Upload& Sent(const std::string& body) {
    m_host.Request().SetBody(BytesOf(body));
    m_upload = m_host.Create<Upload>(u"Varnel.Upload");
    return *m_upload;
  }

  std::string Value(const String& field) { return ToUtf8(m_upload->GetFormVar(field)); }
  std::string Type(const String& field) { return ToUtf8(m_upload->GetFileContentType(field)); }
  std::string Text(const String& field) { return ToUtf8(m_upload->GetFileAsString(field)); }
  std::string Content(const Variant& field) {
    const BytesPtr bytes = m_upload->GetFileBinary(field);
    return std::string(bytes->begin(), bytes->end());
  }
  Long FailureOfReading() {
    return NumberOf([&] { m_upload->GetFormVar(u"a"); });
  }

  ErrInfo FailureOfWriting(const String& field, const String& folder = u"in") {
    return ErrorOf([&] { m_upload->WriteFileToFileSystem(field, folder); });
  }

  hostfake::FakeHost m_host;
  std::shared_ptr<Upload> m_upload;
};

TEST_F(UploadTest, ReadsFieldsAndFiles) {
  Sent(Field("a", "one") + File("f", "x.txt", "content", "text/csv") + Field("b", "two\r\nlines") + End());
  EXPECT_EQ(Value(u"a"), "one");
  EXPECT_EQ(Value(u"b"), "two\r\nlines");
  EXPECT_EQ(Value(u"f"), "x.txt");
  EXPECT_EQ(Type(u"f"), "text/csv");
  EXPECT_EQ(Content(u"f"), "content");
  EXPECT_EQ(Text(u"f"), "content");
}

TEST_F(UploadTest, FieldsIgnoreCase) {
  Sent(Field("Name", "n") + File("pic", "p", "x") + End());
  EXPECT_EQ(Value(u"NAME"), "n");
  EXPECT_EQ(Value(u"name"), "n");
  EXPECT_EQ(Content(u"PIC"), "x");
}

TEST_F(UploadTest, FileIsFoundByItsPositionToo) {
  Sent(File("f", "x", "first") + Field("a", "1") + File("g", "y", "third") + End());
  EXPECT_EQ(Content(Long{1}), "first");
  EXPECT_EQ(Content(2.0), "");
  EXPECT_EQ(Content(Long{3}), "third");
  EXPECT_EQ(Content(Long{4}), "");
  EXPECT_EQ(Content(Long{0}), "");
  EXPECT_EQ(Content(std::make_shared<test::Holder>(u"g")), "third");
}

TEST_F(UploadTest, BytesArriveAsTheyWereSent) {
  std::string all;
  for (int i = 0; i < 1024; ++i) all += static_cast<char>(i);
  Sent(File("f", "x.bin", all, "application/octet-stream") + End());
  EXPECT_EQ(Content(u"f"), all);
}

TEST_F(UploadTest, EmptyFileInputIsAFileWithoutNameAndContent) {
  Sent(File("f", "", "", "application/octet-stream") + End());
  EXPECT_EQ(Value(u"f"), "");
  EXPECT_EQ(Content(u"f"), "");
  EXPECT_EQ(Text(u"f"), "");
  EXPECT_EQ(Type(u"f"), "application/octet-stream");
  EXPECT_THAT(ToUtf8(FailureOfWriting(u"f").Description),
              testing::HasSubstr("Source file is zero length or non-existent"));
}

TEST_F(UploadTest, PlainFieldMayBeEmpty) {
  Sent(Field("a", "") + Field("b", "2") + End());
  EXPECT_EQ(Value(u"a"), "");
  EXPECT_EQ(Value(u"b"), "2");
}

TEST_F(UploadTest, MissingFieldAndItemAreEmpty) {
  Sent(Field("a", "1") + File("f", "x", "y") + End());
  EXPECT_EQ(Value(u"none"), "");
  EXPECT_EQ(Type(u"a"), "");
  EXPECT_EQ(Text(u"a"), "");
  EXPECT_EQ(Content(u"a"), "");
  EXPECT_EQ(Content(u"none"), "");
  EXPECT_EQ(Content(Null()), "");
  EXPECT_EQ(Content(nullptr), "");
  EXPECT_THAT(m_host.Log().Entries(), IsEmpty());
}

// The word is found by its bytes, wherever it stands: the rest comes from what follows it.
TEST_F(UploadTest, ValueWithTheWordFilenameIsTakenForAFile) {
  Sent(Field("a", "see filename=\"z\" here") + File("f", "x.txt", "data", "text/css") + End());
  EXPECT_EQ(Value(u"a"), "z");
  EXPECT_EQ(Type(u"a"), "text/css");
  EXPECT_EQ(Content(u"a"), "data");
}

TEST_F(UploadTest, FileNameInFrontOfTheNameIsTakenForIt) {
  Sent(
      "--b\r\nContent-Disposition: form-data; filename=\"x.txt\"; name=\"f\"\r\nContent-Type: "
      "a/b\r\n\r\ncc\r\n"
      "--b--\r\n");
  EXPECT_EQ(Value(u"x.txt"), "x.txt");
  EXPECT_EQ(Content(u"x.txt"), "cc");
  EXPECT_EQ(Value(u"f"), "");
}

TEST_F(UploadTest, HeaderWordsAreMatchedByCase) {
  Sent("--b\r\ncontent-disposition: form-data; name=\"a\"\r\n\r\n1\r\n--b--\r\n");
  EXPECT_EQ(FailureOfReading(), 5);
}

TEST_F(UploadTest, OtherHeadersStandBeforeTheContentType) {
  Sent(
      "--b\r\nContent-Disposition: form-data; name=\"f\"; filename=\"x\"\r\nContent-ID: 7\r\nContent-Type: "
      "a/b\r\n"
      "\r\ncc\r\n--b--\r\n");
  EXPECT_EQ(Content(u"f"), "cc");
  Sent(
      "--b\r\nContent-Disposition: form-data; name=\"f\"; filename=\"x\"\r\nContent-Type: a/b\r\nContent-ID: "
      "7\r\n"
      "\r\ncc\r\n--b--\r\n");
  EXPECT_EQ(Content(u"f"), "ntent-ID: 7\r\n\r\ncc");
}

TEST_F(UploadTest, BoundaryIsTheFirstLineOfTheBody) {
  SetType(u"multipart/form-data; boundary=another");
  Sent(Field("a", "1") + End());
  EXPECT_EQ(Value(u"a"), "1");
  SetType(u"multipart/form-data");
  Sent(Field("a", "2") + End());
  EXPECT_EQ(Value(u"a"), "2");
}

TEST_F(UploadTest, DataIsCutAtTheBoundary) {
  Sent(File("f", "x", std::string("left\r\n--") + std::string(test::kBoundary) + "right") + End());
  // What follows is one more part, without a disposition of its own.
  EXPECT_EQ(FailureOfReading(), 5);
  Sent(
      "--b\r\nContent-Disposition: form-data; name=\"f\"; filename=\"x\"\r\nContent-Type: "
      "a/b\r\n\r\nleft--bright\r\n"
      "--b\r\nContent-Disposition: form-data; name=\"g\"\r\n\r\n1\r\n--b--\r\n");
  EXPECT_EQ(FailureOfReading(), 457);
  Sent(
      "--b\r\nContent-Disposition: form-data; name=\"f\"; filename=\"x\"\r\nContent-Type: "
      "a/b\r\n\r\nleft\r\n--b\r\n"
      "Content-Disposition: form-data; name=\"g\"\r\n\r\n1\r\nright\r\n--b--\r\n");
  EXPECT_EQ(Content(u"f"), "left");
  EXPECT_EQ(Value(u"g"), "1\r\nright");
}

TEST_F(UploadTest, BodyWithoutAFirstLineHasNoFields) {
  for (const char* body : {"\r\n--b\r\nContent-Disposition", "", "no line end", "\r", "--b--\r\n"}) {
    Sent(body);
    EXPECT_EQ(Value(u"a"), "") << body;
    EXPECT_EQ(Content(Long{1}), "") << body;
  }
}

TEST_F(UploadTest, RepeatedNameFailsInEveryOperation) {
  const std::string body = Field("a", "1") + Field("A", "2") + End();
  Sent(body);
  EXPECT_EQ(FailureOfReading(), 457);
  Sent(body);
  EXPECT_EQ(NumberOf([&] { Content(u"a"); }), 457);
  Sent(body);
  EXPECT_EQ(NumberOf([&] { Text(u"a"); }), 457);
  Sent(body);
  EXPECT_EQ(NumberOf([&] { Type(u"a"); }), 457);
}

TEST_F(UploadTest, PartWithoutDispositionOrNameFails) {
  Sent("--b\r\nContent-Type: a/b\r\n\r\n1\r\n--b--\r\n");
  EXPECT_EQ(FailureOfReading(), 5);
  Sent("--b\r\nContent-Disposition: form-data\r\n\r\n1\r\n--b--\r\n");
  EXPECT_EQ(FailureOfReading(), 5);
}

TEST_F(UploadTest, PartWithoutABoundaryBehindItIsLeftOut) {
  const std::string whole = Field("a", "1") + File("f", "x.txt", "data") + End();
  const std::size_t second = Field("a", "1").size();
  Sent(whole.substr(0, second));
  EXPECT_EQ(Value(u"a"), "");
  for (const std::size_t cut : {second + 16, second + 40, second + 90, whole.size() - End().size()}) {
    Sent(whole.substr(0, cut));
    EXPECT_EQ(Value(u"a"), "1") << cut;
    EXPECT_EQ(Value(u"f"), "") << cut;
  }
}

// Two boundaries with nothing of a part between them.
TEST_F(UploadTest, CutPartWithoutADispositionFails) {
  Sent(Field("a", "1") + "--" + std::string(test::kBoundary) + "\r\n" + End());
  EXPECT_EQ(FailureOfReading(), 5);
}

TEST_F(UploadTest, PartWhoseHeadIsCutTakesThatOfTheNextAndFails) {
  Sent("--b\r\n--b\r\nContent-Disposition: form-data; name=\"a\"\r\n\r\n1\r\n--b--\r\n");
  EXPECT_EQ(FailureOfReading(), 457);
}

TEST_F(UploadTest, FailedParseIsNotReportedAndReadAgain) {
  Sent(Field("a", "1") + Field("a", "2") + End());
  EXPECT_EQ(FailureOfReading(), 457);
  EXPECT_THAT(m_host.Log().Entries(), IsEmpty());
  m_host.Request().SetBody(BytesOf(Field("a", "3") + End()));
  EXPECT_EQ(Value(u"a"), "3");
}

TEST_F(UploadTest, BodyIsReadOnce) {
  Sent(Field("a", "1") + End());
  EXPECT_EQ(Value(u"a"), "1");
  m_host.Request().SetBody(BytesOf(Field("a", "2") + End()));
  EXPECT_EQ(Value(u"a"), "1");
}

TEST_F(UploadTest, TextsAreReadByTheSessionsLocale) {
  m_host.Session().SetLCID(1049);
  m_host.Pages().SetCharacter(1049, 0xC4, u'Д');
  m_host.Pages().SetCharacter(0, 0xC4, u'X');
  Sent(Field("\xC4", "v\xC4") + File("f", "n\xC4", "c\xC4", "t\xC4") + End());
  EXPECT_EQ(Value(u"д"), "vД");
  EXPECT_EQ(Value(u"f"), "nД");
  EXPECT_EQ(Type(u"f"), "tД");
  EXPECT_EQ(Text(u"f"), "cX");
}

TEST_F(UploadTest, LocaleThatThePlatformDoesNotKnowFails) {
  m_host.Session().SetLCID(99);
  m_host.Pages().Forget(99);
  Sent(Field("a", "1") + End());
  EXPECT_EQ(FailureOfReading(), 5);
}

TEST_F(UploadTest, FileBehindTheMarkOfUtf16IsReadAsSuch) {
  const std::string text(
      "\xFF\xFE"
      "a\0\xE4\0\x3D\xD8\x00\xDE",
      10);
  Sent(File("f", "x", text) + End());
  EXPECT_EQ(m_upload->GetFileAsString(u"f"), u"aä\U0001F600");
  Sent(File("f", "x", text + "b") + End());
  EXPECT_EQ(m_upload->GetFileAsString(u"f"), u"aä\U0001F600");
  Sent(File("f", "x", "\xFF\xFE") + End());
  EXPECT_EQ(m_upload->GetFileAsString(u"f"), u"");
}

TEST_F(UploadTest, OtherMarksAreCharactersLikeAnyOther) {
  Sent(File("f", "x",
            "\xEF\xBB\xBF"
            "a") +
       End());
  EXPECT_EQ(Text(u"f"), "ï»¿a");
  Sent(File("f", "x",
            "\xFE\xFF"
            "a") +
       End());
  EXPECT_EQ(Text(u"f"), "þÿa");
  Sent(File("f", "x", "\xFF") + End());
  EXPECT_EQ(Text(u"f"), "ÿ");
}

TEST_F(UploadTest, OtherRequestsHaveTheHostsFormAndNoFiles) {
  for (const StringView type : {u"application/x-www-form-urlencoded", u"Multipart/Form-Data",
                                u"multipart/form", u" multipart/form-data", u""}) {
    SetType(type);
    m_host.Request().Fields().Set(u"a", u"1");
    Sent("");
    EXPECT_EQ(Value(u"A"), "1") << ToUtf8(type);
    EXPECT_EQ(Value(u"none"), "");
    EXPECT_EQ(Content(u"a"), "");
    EXPECT_EQ(Text(u"a"), "");
    EXPECT_EQ(Type(u"a"), "");
    EXPECT_EQ(FailureOfWriting(u"a").Number, 0);
  }
  EXPECT_THAT(m_host.Files().Files(), IsEmpty());
}

TEST_F(UploadTest, KindOfTheRequestIsFixedAtActivation) {
  Sent(Field("a", "1") + End());
  SetType(u"text/plain");
  EXPECT_EQ(Value(u"a"), "1");
  m_upload->Deactivate();
  EXPECT_EQ(FailureOfReading(), 91);
  m_upload->Activate();
  EXPECT_EQ(Value(u"a"), "");
}

TEST_F(UploadTest, FailedActivationIsReported) {
  const auto upload = std::make_shared<Upload>();
  m_host.SetHasContext(false);
  const ErrInfo error = ErrorOf([&] { upload->Activate(); });
  EXPECT_EQ(error.Number, 91);
  EXPECT_THAT(ToUtf8(error.Description),
              testing::StartsWith("\r\nERROR 0x5B\r\n METHOD: Varnel.Upload.IObjectControl_Activate\r\n"));
  EXPECT_EQ(m_host.Log().Entries().size(), 1U);
}

TEST_F(UploadTest, HasItsOperationsInTheirOrder) {
  std::vector<std::string> names;
  for (const Member& member : std::make_shared<Upload>()->Class().members)
    names.push_back(ToUtf8(member.name));
  EXPECT_THAT(names, ElementsAre("GetFileBinary", "GetFileAsString", "WriteFileToFileSystem",
                                 "GetFileContentType", "GetFormVar"));
}

// --- Writing ---

TEST_F(UploadTest, WritesAFileUnderItsName) {
  m_host.Files().AddFolder(u"in");
  Sent(File("f", "x.txt", "data") + End());
  m_upload->WriteFileToFileSystem(u"F", u"in");
  EXPECT_THAT(m_host.Files().Files(), ElementsAre(Pair(u"in/x.txt", BytesOf("data"))));
  EXPECT_THAT(m_host.Trace().Lines(), testing::Not(testing::Contains("Files: CreateFolder in")));
}

TEST_F(UploadTest, WritesUnderTheLastComponentOnly) {
  const std::pair<const char*, StringView> kNames[] = {{"C:\\photos\\a.b.jpg", u"in/a.b.jpg"},
                                                       {"/home/me/x", u"in/x"},
                                                       {"..\\..\\x", u"in/x"},
                                                       {"a/../../b", u"in/b"},
                                                       {"/etc/passwd", u"in/passwd"},
                                                       {"a\\b/c.d", u"in/c.d"},
                                                       {".profile", u"in/.profile"},
                                                       {"noext.", u"in/noext"},
                                                       {"blank. ", u"in/blank"},
                                                       {"x.t t", u"in/x.t t"}};
  for (const auto& [sent, written] : kNames) {
    hostfake::FakeHost& host = m_host;
    host.Files().AddFolder(u"in");
    Sent(File("f", sent, "data") + End());
    EXPECT_EQ(FailureOfWriting(u"f").Number, 0) << sent;
    EXPECT_TRUE(host.Files().Files().contains(String(written))) << sent;
  }
  EXPECT_EQ(m_host.Files().Files().size(), 9U);
}

TEST_F(UploadTest, MakesTheLastLevelOfTheFolder) {
  m_host.Files().AddFolder(u"in");
  Sent(File("f", "x", "data") + End());
  m_upload->WriteFileToFileSystem(u"f", u"in/new");
  EXPECT_TRUE(m_host.Files().FolderExists(u"in/new"));
  EXPECT_EQ(FailureOfWriting(u"f", u"out/new").Number, 76);
  EXPECT_FALSE(m_host.Files().FolderExists(u"out/new"));
}

TEST_F(UploadTest, LeavesTheTailOfALongerFile) {
  m_host.Files().AddFolder(u"in");
  m_host.Files().SetFile(u"in/x", BytesOf("0123456789"));
  Sent(File("f", "x", "abc") + End());
  m_upload->WriteFileToFileSystem(u"f", u"in");
  EXPECT_EQ(m_host.Files().Files().at(u"in/x"), BytesOf("abc3456789"));
}

TEST_F(UploadTest, NothingToWriteFails) {
  m_host.Files().AddFolder(u"in");
  Sent(Field("a", "1") + End());
  for (const StringView field : {u"a", u"none"}) {
    m_host.Log().Clear();
    const ErrInfo error = FailureOfWriting(String(field));
    EXPECT_EQ(error.Number, -2147221503);
    EXPECT_EQ(error.Source, u"Varnel.Upload.WriteFileToFileSystem");
    EXPECT_EQ(
        ToUtf8(error.Description),
        "\r\nERROR 0x80040001\r\n METHOD: Varnel.Upload.WriteFileToFileSystem\r\n DESC: Source file is zero "
        "length or non-existent.\r\n");
    EXPECT_EQ(m_host.Log().Entries().size(), 1U);
  }
  EXPECT_THAT(m_host.Trace().Lines(), testing::Not(testing::Contains(testing::HasSubstr("Files:"))));
}

TEST_F(UploadTest, NameThatCannotBeUsedFails) {
  m_host.Files().AddFolder(u"in");
  for (const char* name : {"", "..", ".", "...", "dir/", "dir\\", "a/.."}) {
    Sent(File("f", name, "data") + End());
    EXPECT_EQ(FailureOfWriting(u"f").Number, 52) << name;
  }
  EXPECT_THAT(m_host.Files().Files(), IsEmpty());
}

TEST_F(UploadTest, EveryFailureOfWritingIsReported) {
  Sent(File("f", "x", "data") + End());
  m_host.Files().AddFolder(u"in");
  m_host.Files().FailWrites(Failure(61, u"The disk is full"));
  EXPECT_EQ(FailureOfWriting(u"f").Number, 61);
  m_host.Files().FailFolders(Failure(70, u"Permission denied"));
  EXPECT_EQ(FailureOfWriting(u"f", u"new").Number, 70);
  EXPECT_EQ(m_host.Log().Entries().size(), 2U);
  for (const auto& entry : m_host.Log().Entries())
    EXPECT_THAT(ToUtf8(entry.text), testing::HasSubstr(" METHOD: Varnel.Upload.WriteFileToFileSystem\r\n"));
}

TEST_F(UploadTest, FailedParseIsReportedWhereAFileIsToBeWritten) {
  Sent(Field("a", "1") + Field("a", "2") + End());
  EXPECT_EQ(FailureOfWriting(u"a").Number, 457);
  EXPECT_EQ(m_host.Log().Entries().size(), 1U);
}

}  // namespace
}  // namespace varnel
