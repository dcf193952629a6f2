// The platform's answers, line by line. Those that ours differ from are listed in
// docs/decisions/0004-differences.md, and nothing else is.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>

#include "host-linux/nls/ByteText.h"
#include "host-linux/nls/LocaleCalls.h"
#include "varnel/automation/Convert.h"

namespace hostlinux {
namespace {

using varnel::Long;
using varnel::String;
using varnel::host::NumberFormat;
using varnel::host::SystemTime;

constexpr int kCodePage = 1252;

// A line of JSON, whose names are unique and whose texts hold no quote.
class Line {
 public:
  explicit Line(std::string text, std::string place = {})
      : m_text(std::move(text)), m_place(std::move(place)) {}

  const std::string& Whole() const { return m_text; }
  const std::string& Place() const { return m_place; }  // "datetime 12": the file and the number
  bool IsSuspect() const { return m_text.find("\"suspect\"") != std::string::npos; }
  bool IsNull(const std::string& name) const { return At(name).starts_with("null"); }
  Long Number(const std::string& name) const { return std::stoi(At(name)); }
  double Double(const std::string& name) const { return std::strtod(At(name).c_str(), nullptr); }
  std::string Text(const std::string& name) const {
    const std::string rest = At(name);
    EXPECT_TRUE(rest.starts_with('"')) << name << " in " << m_text;
    return rest.substr(1, rest.find('"', 1) - 1);
  }
  // The bytes of a text in hexadecimal.
  std::string Bytes(const std::string& name) const {
    const std::string digits = Text(name);
    std::string bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
      bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    }
    return bytes;
  }
  // A list of numbers as characters.
  String Units(const std::string& name) const {
    const std::string list = At(name);
    String units;
    for (std::size_t i = 1; i < list.find(']'); i = list.find_first_of(",]", i) + 1) {
      units += static_cast<char16_t>(std::stoi(list.substr(i)));
    }
    return units;
  }

 private:
  std::string At(const std::string& name) const {
    const auto found = m_text.find("\"" + name + "\": ");
    EXPECT_NE(found, std::string::npos) << name << " in " << m_text;
    return m_text.substr(found + name.size() + 4);
  }

  std::string m_text;
  std::string m_place;
};

std::vector<Line> LinesOf(const std::string& name) {
  std::ifstream file(VARNEL_SOURCE_DIR "/tests/nls/data/" + name + ".jsonl");
  std::vector<Line> lines;
  for (std::string line; std::getline(file, line);) {
    lines.emplace_back(line, name + " " + std::to_string(lines.size() + 1));
  }
  return lines;
}

// What a call gave: its result and what it wrote.
struct Answer {
  int ret = 0;
  std::string bytes;  // in the code page of the line, or in UTF-8
  bool operator==(const Answer&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const Answer& answer) {
  return stream << answer.ret << " '" << answer.bytes << "'";
}

// Why ours may differ where the platform's answer wasn't certain; empty where it must not.
std::string ReasonOf(const Line& line, bool hasFormat) {
  if (hasFormat && line.Number("NumDigits") > 9) return "More than nine digits behind the point";
  const auto beyond = [&](const char* name, Long last) { return hasFormat && line.Number(name) > last; };
  if (beyond("LeadingZero", 1) || beyond("NegativeOrder", 4)) return "No such leading zero or negative order";
  const auto tooLong = [&](const char* name) {
    return hasFormat && !line.IsNull(name) && line.Bytes(name).size() > 3;
  };
  if (tooLong("DecimalSep") || tooLong("ThousandSep")) return "A separator of more than three characters";
  if (hasFormat && line.Number("NumDigits") == 0 && line.Number("LeadingZero") == 0) return "No digit left";
  return {};
}

// The places of one data file where ours may differ, each with its reason: a heading of the list, and the
// lines of the table below it that begin with a place.
std::map<std::string, std::string> ListedDifferences(const std::string& name) {
  std::ifstream file(VARNEL_SOURCE_DIR "/docs/decisions/0004-differences.md");
  std::map<std::string, std::string> reasons;
  std::string reason;
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("## ")) reason = line.substr(3);
    if (line.starts_with("| " + name + " ")) reasons[line.substr(2, line.find(" |", 2) - 2)] = reason;
  }
  return reasons;
}

class Differences {
 public:
  void Compare(const Answer& ours, const Answer& theirs, const Line& line, const std::string& reason) {
    if (ours == theirs) return;
    if (line.IsSuspect() && !reason.empty()) {
      reasons[line.Place()] = reason;
    } else {
      ADD_FAILURE() << line.Whole() << "\n  ours: " << ours;
    }
  }

  std::map<std::string, std::string> reasons;  // by place
};

NumberFormat FormatOf(const Line& line) {
  NumberFormat format;
  format.NumDigits = line.Number("NumDigits");
  format.LeadingZero = line.Number("LeadingZero");
  format.Grouping = line.Number("Grouping");
  if (!line.IsNull("DecimalSep")) format.lpDecimalSep = FromCodePage(line.Bytes("DecimalSep"), kCodePage);
  if (!line.IsNull("ThousandSep")) format.lpThousandSep = FromCodePage(line.Bytes("ThousandSep"), kCodePage);
  format.NegativeOrder = line.Number("NegativeOrder");
  return format;
}

Answer NumberOf(const Line& line, const NumberFormat* format) {
  LocaleCalls calls(kCodePage);
  const String value = varnel::FromUtf8(line.Text("value"));
  const Long lcid = line.Number("lcid");
  std::vector<char16_t> buffer(static_cast<std::size_t>(line.Number("cch")));
  Answer answer;
  answer.ret = calls.GetNumberFormatA(lcid, 0, value, format, buffer);
  if (answer.ret > 0) answer.bytes = calls.NumberFormatBytes(lcid, 0, value, format).value();
  return answer;
}

Answer BytesOf(const Line& line) {
  return {line.Number("ret"), line.IsNull("hex") ? std::string() : line.Bytes("hex")};
}

TEST(ReferenceAnswers, NumbersInTheFormatOfTheLocale) {
  const auto lines = LinesOf("number_null_format");
  EXPECT_EQ(lines.size(), 734U);
  Differences differences;
  for (const Line& line : lines) {
    differences.Compare(NumberOf(line, nullptr), BytesOf(line), line, ReasonOf(line, false));
  }
  EXPECT_TRUE(differences.reasons.empty());
}

TEST(ReferenceAnswers, NumbersInAFormatOfTheCallers) {
  const auto lines = LinesOf("number_explicit_format");
  EXPECT_EQ(lines.size(), 1246U);
  Differences differences;
  for (const Line& line : lines) {
    const NumberFormat format = FormatOf(line);
    differences.Compare(NumberOf(line, &format), BytesOf(line), line, ReasonOf(line, true));
  }
  EXPECT_EQ(differences.reasons.size(), 161U);
  EXPECT_EQ(differences.reasons, ListedDifferences("number_explicit_format"));
}

SystemTime TimeOf(const Line& line) {
  SystemTime time;
  const std::string text = line.Text("systemtime");
  EXPECT_EQ(std::sscanf(text.c_str(), "%d-%d-%dT%d:%d:%d", &time.wYear, &time.wMonth, &time.wDay, &time.wHour,
                        &time.wMinute, &time.wSecond),
            6)
      << text;
  return time;
}

std::string DateReason(const Line& line) {
  if (line.Text("function") != "GetDateFormatW") return {};
  if (line.Number("lcid") == 1) return "The bare language 1";
  if (line.Text("systemtime").starts_with("2023-02-29")) return "A day that doesn't exist";
  return {};
}

TEST(ReferenceAnswers, DatesAndTimes) {
  const auto lines = LinesOf("datetime");
  EXPECT_EQ(lines.size(), 372U);
  LocaleCalls calls(kCodePage);
  Differences differences;
  for (const Line& line : lines) {
    std::vector<char16_t> buffer(static_cast<std::size_t>(line.Number("cch")));
    const bool isDate = line.Text("function") == "GetDateFormatW";
    const SystemTime time = TimeOf(line);
    const int ret =
        isDate ? calls.GetDateFormatW(line.Number("lcid"), varnel::host::kDateShortDate, time, buffer)
               : calls.GetTimeFormatW(line.Number("lcid"), varnel::host::kLocaleNoUserOverride, time, buffer);
    const Answer theirs{line.Number("ret"),
                        line.Number("ret") == 0 ? "" : varnel::ToUtf8(line.Units("utf16"))};
    differences.Compare({ret, varnel::ToUtf8(String(buffer.data()))}, theirs, line, DateReason(line));
  }
  EXPECT_EQ(differences.reasons.size(), 4U);
  EXPECT_EQ(differences.reasons, ListedDifferences("datetime"));
}

// A text of the data file, in which some characters stand as "\\u202F".
String Unescaped(const std::string& text) {
  String result;
  const String units = varnel::FromUtf8(text);
  for (std::size_t i = 0; i < units.size(); ++i) {
    const bool escaped = units.compare(i, 2, u"\\u") == 0;
    if (escaped)
      result += static_cast<char16_t>(std::stoi(varnel::ToUtf8(units.substr(i + 2, 4)), nullptr, 16));
    if (escaped) i += 5;
    if (!escaped) result += units[i];
  }
  return result;
}

// The table is made by the build: what the calls tell must be what stands in its file, whatever characters
// are in it.
TEST(ReferenceAnswers, FactsOfEveryLocale) {
  namespace locale_code = varnel::host::locale_code;
  const std::pair<const char*, Long> codes[] = {
      {"SDECIMAL", locale_code::kDecimal},   {"STHOUSAND", locale_code::kThousand},
      {"SGROUPING", locale_code::kGrouping}, {"IDIGITS", locale_code::kDigits},
      {"ILZERO", locale_code::kLeadingZero}, {"SCURRENCY", locale_code::kCurrency},
      {"SDATE", locale_code::kDate},         {"IDATE", locale_code::kDateOrder}};
  std::ifstream file(VARNEL_SOURCE_DIR "/host-linux/nls/locales.jsonl");
  LocaleCalls calls(kCodePage);
  int locales = 0;
  for (std::string text; std::getline(file, text);) {
    const Line line(text);
    if (text.find("\"answers_as\"") != std::string::npos) continue;
    ++locales;
    for (const auto& [name, code] : codes) {
      std::array<char16_t, 50> buffer{};
      const String expected = Unescaped(line.Text(name));
      EXPECT_EQ(calls.GetLocaleInfoW(line.Number("lcid"), code, buffer),
                static_cast<int>(expected.size()) + 1)
          << text;
      EXPECT_EQ(varnel::ToUtf8(String(buffer.data())), varnel::ToUtf8(expected)) << text;
    }
  }
  EXPECT_EQ(locales, 256);  // and the invariant one
}

TEST(ReferenceAnswers, TextsOfDoubles) {
  const auto lines = LinesOf("number_text");
  EXPECT_EQ(lines.size(), 30U);
  for (const Line& line : lines) {
    const String text = varnel::TrimLeft(varnel::SignedNumberText(line.Double("value")));
    EXPECT_EQ(varnel::ToUtf8(text), line.Text("text"));
  }
}

}  // namespace
}  // namespace hostlinux
