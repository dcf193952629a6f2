// The platform's answers, line by line.
#include <gtest/gtest.h>

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
  explicit Line(std::string text) : m_text(std::move(text)) {}

  const std::string& Whole() const { return m_text; }
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
};

std::vector<Line> LinesOf(const std::string& name) {
  std::ifstream file(VARNEL_SOURCE_DIR "/tests/nls/data/" + name);
  std::vector<Line> lines;
  for (std::string line; std::getline(file, line);) lines.emplace_back(line);
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
  if (hasFormat && line.Number("NumDigits") > 9) return "more than nine digits behind the point";
  const auto beyond = [&](const char* name, Long last) { return hasFormat && line.Number(name) > last; };
  if (beyond("LeadingZero", 1) || beyond("NegativeOrder", 4)) return "no such leading zero or negative order";
  const auto tooLong = [&](const char* name) {
    return hasFormat && !line.IsNull(name) && line.Bytes(name).size() > 3;
  };
  if (tooLong("DecimalSep") || tooLong("ThousandSep")) return "a separator of more than three characters";
  if (hasFormat && line.Number("NumDigits") == 0 && line.Number("LeadingZero") == 0) return "no digit left";
  return {};
}

class Differences {
 public:
  void Compare(const Answer& ours, const Answer& theirs, const Line& line, const std::string& reason) {
    if (ours == theirs) return;
    if (line.IsSuspect() && !reason.empty()) {
      ++counts[reason];
    } else {
      ADD_FAILURE() << line.Whole() << "\n  ours: " << ours;
    }
  }

  std::map<std::string, int> counts;
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
  const auto lines = LinesOf("number_null_format.jsonl");
  EXPECT_EQ(lines.size(), 734U);
  Differences differences;
  for (const Line& line : lines) {
    differences.Compare(NumberOf(line, nullptr), BytesOf(line), line, ReasonOf(line, false));
  }
  EXPECT_TRUE(differences.counts.empty());
}

TEST(ReferenceAnswers, NumbersInAFormatOfTheCallers) {
  const auto lines = LinesOf("number_explicit_format.jsonl");
  EXPECT_EQ(lines.size(), 1246U);
  Differences differences;
  for (const Line& line : lines) {
    const NumberFormat format = FormatOf(line);
    differences.Compare(NumberOf(line, &format), BytesOf(line), line, ReasonOf(line, true));
  }
  const std::map<std::string, int> counted{{"more than nine digits behind the point", 105},
                                           {"no such leading zero or negative order", 4},
                                           {"a separator of more than three characters", 33},
                                           {"no digit left", 19}};
  EXPECT_EQ(differences.counts, counted);
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
  if (line.Number("lcid") == 1) return "the bare language 1";
  if (line.Text("systemtime").starts_with("2023-02-29")) return "a day that doesn't exist";
  return {};
}

TEST(ReferenceAnswers, DatesAndTimes) {
  const auto lines = LinesOf("datetime.jsonl");
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
  const std::map<std::string, int> counted{{"the bare language 1", 3}, {"a day that doesn't exist", 1}};
  EXPECT_EQ(differences.counts, counted);
}

TEST(ReferenceAnswers, TextsOfDoubles) {
  const auto lines = LinesOf("number_text.jsonl");
  EXPECT_EQ(lines.size(), 30U);
  for (const Line& line : lines) {
    const String text = varnel::TrimLeft(varnel::SignedNumberText(line.Double("value")));
    EXPECT_EQ(varnel::ToUtf8(text), line.Text("text"));
  }
}

}  // namespace
}  // namespace hostlinux
