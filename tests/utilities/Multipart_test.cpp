// Bodies that no browser sends: a result or an error, in a time that grows with the body.
#include "varnel/utilities/Multipart.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <set>

#include "host-fake/ErrorOf.h"
#include "host-fake/FakeFiles.h"
#include "tests/utilities/Body.h"
#include "varnel/automation/Convert.h"
#include "varnel/utilities/ByteSearch.h"

namespace varnel {
namespace {

using hostfake::NumberOf;
using test::BytesOf;

// Enough that a quadratic time would be hours.
constexpr std::size_t kLarge = 2 << 20;

std::shared_ptr<Collection> Parse(const Bytes& body) {
  hostfake::FakeCodePages pages;
  return ParseMultipart(body, 1033, pages);
}

// How many fields a body has; the negated number of the error where it fails.
Long FieldsOf(std::string_view body) {
  Long count = 0;
  const Long error = NumberOf([&] { count = Parse(BytesOf(body))->Count(); });
  return error == 0 ? count : -error;
}

std::string Repeated(std::string_view piece, std::size_t size) {
  std::string text;
  while (text.size() < size) text += piece;
  return text;
}

// The scan as its steps tell it, each search anew from its place.

class PlainScan {
 public:
  explicit PlainScan(std::string body) : m_body(std::move(body)) {}

  // What the fields hold, in one text.
  std::string Run() {
    const Long lineEnd = Find(1, "\r");
    if (lineEnd <= 1) return m_told;
    m_boundary = m_body.substr(0, At(lineEnd - 1));
    Long partStart = Find(1, m_boundary);
    for (Long next = Find(partStart + 1, m_boundary); next != 0; next = Find(partStart + 1, m_boundary)) {
      ReadPart(partStart);
      partStart = next;
    }
    return m_told;
  }

 private:
  static std::size_t At(Long position) { return static_cast<std::size_t>(position); }

  Long Find(Long from, const std::string& pattern) const {
    if (from < 1) RaiseRuntimeError(runtime_error::kInvalidArgument);
    const std::size_t found = m_body.find(pattern, At(from - 1));
    return found == std::string::npos ? 0 : static_cast<Long>(found + 1);
  }

  std::string Part(Long start, Long length) const {
    if (length < 0) RaiseRuntimeError(runtime_error::kInvalidArgument);
    return At(start - 1) < m_body.size() ? m_body.substr(At(start - 1), At(length)) : "";
  }

  void ReadPart(Long partStart) {
    const Long name = Find(Find(partStart, "Content-Disposition"), "name=");
    const Long nameStart = name + 6;
    const Long nameEnd = Find(nameStart, "\"");
    const std::string key = Part(nameStart, nameEnd - nameStart);
    const Long fileName = Find(partStart, "filename=");
    const Long end = Find(nameEnd, m_boundary);
    if (fileName == 0 || fileName >= end) {
      const Long start = Find(name, "\r") + 4;
      m_told += Part(start, Find(start, m_boundary) - 2 - start);
    } else {
      ReadFile(fileName);
    }
    m_told += "\n";
    if (!m_keys.insert(ToLower(hostfake::FakeCodePages().Decode(BytesOf(key), 1033))).second)
      RaiseRuntimeError(runtime_error::kKeyTaken);
  }

  void ReadFile(Long fileName) {
    const Long nameStart = fileName + 10;
    const Long nameEnd = Find(nameStart, "\"");
    m_told += Part(nameStart, nameEnd - nameStart) + "; ";
    const Long typeStart = Find(nameEnd, "Content-Type:") + 14;
    const Long typeEnd = Find(typeStart, "\r");
    m_told += Part(typeStart, typeEnd - typeStart) + "; ";
    const Long start = typeEnd + 4;
    m_told += Part(start, Find(start, m_boundary) - 2 - start);
  }

  std::string m_body;
  std::string m_boundary;
  std::string m_told;
  std::set<String> m_keys;
};

// The fields by the real scan, told in the same way.
std::string Told(std::string_view body) {
  const auto bytesOf = [](const String& text) {
    const Bytes bytes = hostfake::FakeCodePages().Encode(text);
    return std::string(bytes.begin(), bytes.end());
  };
  std::string told;
  const auto fields = Parse(BytesOf(body));
  for (Long i = 1; i <= fields->Count(); ++i) {
    const auto field = CastObject<Collection>(fields->Item(i));
    told += bytesOf(ToText(field->Item(u"Value")));
    if (field->Count() == 3) {
      const Bytes& content = **field->Item(u"Content").As<BytesPtr>();
      told += "; " + bytesOf(ToText(field->Item(u"ContentType"))) + "; " +
              std::string(content.begin(), content.end());
    }
    told += "\n";
  }
  return told;
}

TEST(Multipart, HundredThousandPartsAreRead) {
  std::string body;
  for (int i = 0; i < 100'000; ++i)
    body += "--b\r\nContent-Disposition: form-data; name=\"f" + std::to_string(i) + "\"\r\n\r\n" +
            std::to_string(i) + "\r\n";
  body += "--b--\r\n";
  const auto fields = Parse(BytesOf(body));
  EXPECT_EQ(fields->Count(), 100'000);
  EXPECT_EQ(CastObject<Collection>(fields->Item(u"f99999"))->Item(u"Value"), Variant(u"99999"));
}

TEST(Multipart, BoundariesAloneFailAtOnce) {
  EXPECT_EQ(FieldsOf(Repeated("-", 20) + "\r\n" + Repeated("-", kLarge)), -5);
  EXPECT_EQ(FieldsOf("-\r" + Repeated("-", kLarge)), -5);
}

TEST(Multipart, OneDispositionForAllPartsIsARepeatedName) {
  EXPECT_EQ(FieldsOf("-\r" + Repeated("-", kLarge) + "Content-Disposition: name=\"a\"\r\n\r\n1\r\n-"), -457);
}

// Every part's name would reach to the one quotation mark far behind, and hold all the others.
TEST(Multipart, PartsThatOverlapEndInAnError) {
  EXPECT_EQ(FieldsOf("#\r" + Repeated("Content-Disposition name= #", kLarge) + "\"\r\n\r\n1\r\n#"), -7);
}

TEST(Multipart, WordsWithoutEndAreLookedForOnce) {
  // Plain parts, none with a file: the word is missed once, not once for each part.
  std::string parts;
  for (int i = 0; parts.size() < kLarge; ++i)
    parts += "#\r\nContent-Disposition name=\"" + std::to_string(i) + "\"\r\n\r\nv\r\n";
  EXPECT_GT(FieldsOf(parts + "#"), 40'000);
  // A quotation mark far away, and the boundary behind it still further.
  const std::string head = "-\r" + Repeated("-", kLarge / 8) + "Content-Disposition name=";
  EXPECT_EQ(FieldsOf(head + std::string(kLarge, 'x') + "\"\r\n\r\n1\r\n-"), -457);
}

TEST(Multipart, FirstLineOfAMegabyteIsABoundaryToo) {
  const std::string line(kLarge / 2, '-');
  EXPECT_EQ(FieldsOf(line + "\r\n" + line + "--"), -5);
  EXPECT_EQ(FieldsOf(line + "\r\n" + line.substr(1)), 0);
}

TEST(Multipart, RandomBytesGiveAResultOrAnError) {
  std::mt19937 random(11);
  const std::string_view words[] = {"--b",        "\r\n", "\r",    "\"",  "Content-Disposition: form-data; ",
                                    "name=\"",    "a",    "b\"",   "x",   "filename=\"",
                                    "name=\"q\"", "\n",   "--b--", "\0y", "Content-Type: a/b\r\n\r\n"};
  int read = 0;
  for (int round = 0; round < 5'000; ++round) {
    std::string body = "--b\r\n";
    for (std::size_t i = random() % 30; i > 0; --i) body += words[random() % std::size(words)];
    for (std::size_t i = random() % 4; i > 0; --i) body[random() % body.size()] = static_cast<char>(random());
    const Long fields = FieldsOf(body);
    EXPECT_TRUE(fields >= 0 || fields == -5 || fields == -7 || fields == -457) << fields << ": " << body;
    if (fields > 0) ++read;
  }
  EXPECT_GT(read, 0);
}

TEST(Multipart, SearchesFindWhatTheirStepsFind) {
  std::mt19937 random(5);
  const std::string_view words[] = {"--b",
                                    "--b\r\n",
                                    "\r\n",
                                    "\r\n\r\n",
                                    "\"",
                                    "\"\r\n\r\n",
                                    "\r\n--b\r\nContent-Disposition: form-data; name=\"",
                                    "Content-Disposition",
                                    "name=\"q\"",
                                    "; filename=\"",
                                    "\r\nContent-Type: a/b\r\n\r\n",
                                    "x",
                                    "y1",
                                    "z22",
                                    "w"};
  int same = 0;
  for (int round = 0; round < 20'000; ++round) {
    std::string body = random() % 2 == 0 ? "--b\r\n" : "-\r\n";
    for (std::size_t i = random() % 25; i > 0; --i) body += words[random() % std::size(words)];
    body += "\r\n--b--\r\n";
    std::string told;
    const Long error = NumberOf([&] { told = Told(body); });
    if (error == 7) continue;
    std::string expected;
    EXPECT_EQ(error, NumberOf([&] { expected = PlainScan(body).Run(); })) << body;
    EXPECT_EQ(told, error == 0 ? expected : "") << body;
    if (!told.empty()) ++same;
  }
  EXPECT_GT(same, 100);
}

TEST(Multipart, EveryCutGivesAResultOrAnError) {
  const std::string body =
      test::Field("a", "1") + test::File("f", "x.txt", "data") + test::Field("b", "2") + test::End();
  for (std::size_t size = 0; size <= body.size(); ++size) {
    const Long fields = FieldsOf(body.substr(0, size));
    EXPECT_TRUE(fields >= 0 && fields <= 3) << size;
  }
}

TEST(ByteSearch, FindsAtOrBehindAPosition) {
  const Bytes text = BytesOf("abcabc");
  ByteSearch search(text, BytesOf("bc"));
  EXPECT_EQ(search.From(1), 2);
  EXPECT_EQ(search.From(2), 2);
  EXPECT_EQ(search.From(3), 5);
  EXPECT_EQ(search.From(6), 0);
  EXPECT_EQ(search.From(7), 0);
  EXPECT_EQ(search.From(1000), 0);
}

TEST(ByteSearch, FindsWhatLiesBeforeTheLastSearch) {
  const Bytes text = BytesOf("abcabc");
  ByteSearch search(text, BytesOf("a"));
  EXPECT_EQ(search.From(5), 0);
  EXPECT_EQ(search.From(2), 4);
  EXPECT_EQ(search.From(1), 1);
}

TEST(ByteSearch, IsExact) {
  const Bytes text = BytesOf("aBab");
  EXPECT_EQ(ByteSearch(text, BytesOf("ab")).From(1), 3);
  EXPECT_EQ(ByteSearch(text, BytesOf("abc")).From(1), 0);
}

TEST(ByteSearch, FromBeforeTheFirstByteFails) {
  const Bytes text = BytesOf("a");
  ByteSearch search(text, BytesOf("a"));
  EXPECT_EQ(NumberOf([&] { search.From(0); }), 5);
  EXPECT_EQ(NumberOf([&] { search.From(-3); }), 5);
}

}  // namespace
}  // namespace varnel
