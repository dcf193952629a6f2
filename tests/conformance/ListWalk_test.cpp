// Lists of random tables on every engine, walked by their links: forward and back every row comes once and in order,
// with search, filters and several sort columns, and while another connection inserts and deletes.
// VARNEL_SEEDS=1000 in the environment makes a long run of it.
#include <algorithm>
#include <cstdlib>
#include <random>
#include <set>

#include <gmock/gmock.h>

#include "tests/conformance/EngineUnderTest.h"
#include "tests/conformance/LiveHost.h"
#include "varnel/list/List.h"

namespace {

using varnel::List;
using varnel::Long;
using varnel::Page;
using varnel::String;
using varnel::StringView;
using varnel::Variant;

unsigned Seeds() {
  const char* text = std::getenv("VARNEL_SEEDS");
  return text == nullptr ? 15 : static_cast<unsigned>(std::atoi(text));
}

String Digits(std::size_t number) { return varnel::DecimalText(static_cast<std::int64_t>(number)); }

// What one page shows.
struct Shown {
  std::vector<Long> ids;
  std::string next;
  std::string previous;
  std::string last;
  std::string counter;
};

std::string Between(const std::string& html, const std::string& begin, char end) {
  const auto at = html.find(begin);
  if (at == std::string::npos) return {};
  const auto start = at + begin.size();
  std::string text = html.substr(start, html.find(end, start) - start);
  for (auto amp = text.find("&amp;"); amp != std::string::npos; amp = text.find("&amp;"))
    text.erase(amp + 1, 4);
  return text;
}

String Decoded(const std::string& text) {
  std::string bytes;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%') {
      bytes += static_cast<char>(std::strtol(text.substr(i + 1, 2).c_str(), nullptr, 16));
      i += 2;
    } else {
      bytes += text[i] == '+' ? ' ' : text[i];
    }
  }
  return varnel::FromUtf8(bytes);
}

class ListWalk : public EveryEngine {
 protected:
  std::size_t Below(std::size_t limit) {
    return std::uniform_int_distribution<std::size_t>(0, limit - 1)(m_random);
  }
  bool OneIn(std::size_t count) { return Below(count) == 0; }

  String ValueOf(const String& type) {
    if (OneIn(4)) return u"NULL";
    if (type == u"INT") return Digits(Below(6));
    if (type == u"DOUBLE PRECISION") return Digits(Below(5)) + u".1";
    if (type == u"TIMESTAMP")
      return u"'2001-03-0" + Digits(1 + Below(4)) + u" 1" + Digits(Below(3)) + u":00:05'";
    const String texts[] = {u"''", u"'a'", u"'B'", u"'ab'", u"'\u00fc'", u"'it''s'", u"'a\\b'", u"'50%_'"};
    return texts[Below(std::size(texts))];
  }

  void Insert(std::size_t id) {
    String values = Digits(id) + u", '" + (id % 3 == 0 ? u"x" : u"y") + u"', 'Word " + Digits(id % 7) + u"'";
    for (const String& type : m_types) values += u", " + ValueOf(type);
    Run(u"INSERT INTO " + m_table + u" VALUES (" + values + u")");
  }

  void MakeTable(unsigned seed) {
    m_random.seed(seed);
    m_table = u"w" + Digits(seed);
    m_types.clear();
    const String types[] = {u"INT", u"VARCHAR(20)", u"TIMESTAMP", u"DOUBLE PRECISION", u"VARCHAR(20)"};
    String create =
        u"CREATE TABLE " + m_table + u" (id INT NOT NULL PRIMARY KEY, kind VARCHAR(5), name VARCHAR(20)";
    for (std::size_t i = 0; i < 1 + Below(3); ++i) {
      m_types.push_back(types[Below(std::size(types))]);
      create += u", c" + Digits(i) + u" " + m_types.back();
    }
    Run(create + u")");
    if (OneIn(2)) Run(u"CREATE INDEX i" + m_table + u" ON " + m_table + u" (c0, id)");
    m_rows = OneIn(6) ? Below(4) : Below(70);
    for (std::size_t id = 0; id < m_rows; ++id) Insert(id * 10);
    m_size = static_cast<Long>(1 + Below(9));
    m_query.clear();
    String sort;
    for (std::size_t i = 0; i < m_types.size(); ++i) {
      if (!OneIn(3)) sort += (sort.empty() ? u"" : u",") + String(OneIn(2) ? u"-" : u"") + u"c" + Digits(i);
    }
    if (OneIn(4)) sort += (sort.empty() ? u"-id" : u",-id");
    if (!sort.empty()) m_query.emplace_back(u"L1-sort", sort);
    if (OneIn(3)) m_query.emplace_back(u"L1-f-kind", u"x");
    if (OneIn(4)) m_query.emplace_back(u"L1-q", u"WORD 3");
  }

  Shown ShowQuery(const std::vector<std::pair<String, String>>& query) {
    LiveHost host(*m_database);
    host.Application().Set(u"Live_ConnectionString", Variant(m_database->Text(u"Mode=Read")));
    for (const auto& [name, value] : query) host.Request().Query().Set(name, value);
    const auto page = host.Create<Page>(u"Varnel.Page");
    page->OpenDatabaseConnection(u"Live");
    String select = u"SELECT id, kind, name";
    for (std::size_t i = 0; i < m_types.size(); ++i) select += u", c" + Digits(i);
    const auto list = varnel::CastObject<List>(page->List(u"Walk", select + u" FROM " + m_table, u"id"));
    list->Column(u"id", Variant(u"id"))->Align(u"start");
    for (std::size_t i = 0; i < m_types.size(); ++i) list->Column(u"c" + Digits(i), varnel::Missing());
    list->MostSorts(5);
    Variant searched(u"name");
    list->Search(varnel::Arguments(&searched, 1));
    list->Filter(u"kind", varnel::Missing(), varnel::Missing());
    Variant size(m_size);
    list->PageSizes(varnel::Arguments(&size, 1));
    list->Total(m_total, varnel::Missing());
    page->Add(Variant(list));
    return Read(varnel::ToUtf8(host.Response().Text()));
  }

  Shown Follow(const std::string& url) {
    std::vector<std::pair<String, String>> query;
    const std::string text = url.substr(url.find('?') + 1);
    for (std::size_t begin = 0; begin < text.size() && url.find('?') != std::string::npos;) {
      const auto end = std::min(text.find('&', begin), text.size());
      const std::string pair = text.substr(begin, end - begin);
      query.emplace_back(Decoded(pair.substr(0, pair.find('='))), Decoded(pair.substr(pair.find('=') + 1)));
      begin = end + 1;
    }
    return ShowQuery(query);
  }

  static Shown Read(const std::string& html) {
    Shown shown;
    const std::string cell = "<tr><td data-label=\"id\">";
    for (auto at = html.find(cell); at != std::string::npos; at = html.find(cell, at + 1))
      shown.ids.push_back(static_cast<Long>(std::atol(html.c_str() + at + cell.size())));
    shown.next = Between(html, "rel=\"next\" href=\"", '"');
    shown.previous = Between(html, "rel=\"prev\" href=\"", '"');
    shown.last = Between(html, "rel=\"last\" href=\"", '"');
    shown.counter = Between(html, "<span class=\"vl-count\">", '<');
    return shown;
  }

  // All rows of the list in one read of the engine's own.
  std::vector<Long> AllIds() {
    String where;
    String order;
    for (const auto& [name, value] : m_query) {
      if (name == u"L1-f-kind") where += (where.empty() ? u" WHERE " : u" AND ") + String(u"kind = 'x'");
      if (name == u"L1-q") where += (where.empty() ? u" WHERE " : u" AND ") + String(u"name = 'Word 3'");
      if (name != u"L1-sort") continue;
      for (const String& entry : varnel::Split(value, u",")) {
        order += order.empty() ? u" ORDER BY " : u", ";
        order += entry.starts_with(u'-') ? entry.substr(1) + u" DESC" : entry;
      }
    }
    if (order.find(u"id DESC") == String::npos) order += order.empty() ? u" ORDER BY id" : u", id";
    const auto rows = m_database->Query(u"SELECT id FROM " + m_table + where + order);
    std::vector<Long> ids;
    for (; !rows->IsEOF(); rows->MoveNext()) ids.push_back(varnel::ToLong(rows->FieldValue(0)));
    return ids;
  }

  void ExpectSlice(const Shown& shown, const std::vector<Long>& all, std::size_t begin) {
    const std::size_t end = std::min(begin + static_cast<std::size_t>(m_size), all.size());
    ASSERT_EQ(shown.ids, std::vector<Long>(all.begin() + static_cast<std::ptrdiff_t>(begin),
                                           all.begin() + static_cast<std::ptrdiff_t>(end)));
    if (m_total == u"exact" && !all.empty()) {
      EXPECT_EQ(shown.counter, std::to_string(begin + 1) + " - " + std::to_string(end) + " of " +
                                   std::to_string(all.size()));
    }
    EXPECT_EQ(shown.previous.empty(), begin == 0);
    EXPECT_EQ(shown.next.empty(), end == all.size());
    ++m_pages;
  }

  void WalkBothWays() {
    const std::vector<Long> all = AllIds();
    Shown shown = ShowQuery(m_query);
    ASSERT_NO_FATAL_FAILURE(ExpectSlice(shown, all, 0));
    std::size_t begin = 0;
    const std::string last = shown.last;
    while (!shown.next.empty()) {
      shown = Follow(shown.next);
      begin += static_cast<std::size_t>(m_size);
      ASSERT_NO_FATAL_FAILURE(ExpectSlice(shown, all, begin));
    }
    if (!last.empty() && m_total == u"exact") {
      ASSERT_NO_FATAL_FAILURE(ExpectSlice(Follow(last), all, begin));
    }
    while (!shown.previous.empty()) {
      shown = Follow(shown.previous);
      begin -= static_cast<std::size_t>(m_size);
      ASSERT_NO_FATAL_FAILURE(ExpectSlice(shown, all, begin));
    }
    EXPECT_EQ(begin, 0U);
  }

  // Rows with numbers that are no tens come and go; the tens that stay throughout are `stayed` afterwards.
  void Disturb(std::set<Long>& io_stayed) {
    for (std::size_t i = 0; i < 1 + Below(3); ++i) {
      if (OneIn(2)) {
        Insert(m_rows * 10 + 1 + m_inserted++);
      } else {
        const auto id = static_cast<Long>(Below(m_rows + 1) * 10);
        Run(u"DELETE FROM " + m_table + u" WHERE id = " + varnel::DecimalText(id));
        io_stayed.erase(id);
      }
    }
  }

  void WalkAmongWriters() {
    const std::vector<Long> before = AllIds();
    std::set<Long> stayed(before.begin(), before.end());
    std::set<Long> seen;
    Shown shown = ShowQuery(m_query);
    for (int page = 0; page < 300; ++page) {
      for (const Long id : shown.ids) ASSERT_TRUE(seen.insert(id).second) << id << " came twice";
      ++m_pages;
      if (shown.next.empty()) break;
      Disturb(stayed);
      shown = Follow(shown.next);
    }
    for (const Long id : stayed)
      EXPECT_TRUE(seen.contains(id)) << id << " was there throughout and never came";
  }

  template <typename Walk>
  void WalkTables(Walk walk) {
    const char* const totals[] = {"exact", "none", "capped", "exact"};
    for (unsigned seed = 0; seed < Seeds(); ++seed) {
      MakeTable(seed);
      m_total = varnel::FromUtf8(totals[seed % 4]);
      ASSERT_NO_FATAL_FAILURE(walk()) << "seed " << seed;
      if (HasFailure()) FAIL() << "seed " << seed;
      Run(u"DROP TABLE " + m_table);
    }
    RecordProperty("pages", m_pages);
    std::printf("%d pages of %u tables\n", m_pages, Seeds());
    EXPECT_GT(m_pages, static_cast<int>(Seeds()));
  }

  std::mt19937 m_random;
  String m_table;
  std::vector<String> m_types;
  std::vector<std::pair<String, String>> m_query;
  std::size_t m_rows = 0;
  std::size_t m_inserted = 0;
  Long m_size = 10;
  String m_total = u"exact";
  int m_pages = 0;
};

TEST_P(ListWalk, EveryPageIsASliceOfTheSortedRows) {
  WalkTables([this] { WalkBothWays(); });
}

TEST_P(ListWalk, AmongWritersNoRowComesTwiceAndNoneIsMissed) {
  WalkTables([this] { WalkAmongWriters(); });
}

TEST_P(ListWalk, AnEstimateIsTheEnginesOwnAndSaidToBeOne) {
  m_table = u"e";
  m_types = {u"INT"};
  Run(u"CREATE TABLE e (id INT NOT NULL PRIMARY KEY, kind VARCHAR(5), name VARCHAR(20), c0 INT)");
  for (std::size_t id = 0; id < 60; ++id) Insert(id);
  const bool estimates = Has(Feature::EstimatesOfRows);
  if (estimates) Run(u"ANALYZE");
  m_total = u"estimated";
  EXPECT_EQ(ShowQuery({}).counter, estimates ? "1 - 10 of about 60" : "1 - 10 of 60");
  EXPECT_THAT(ShowQuery({{u"L1-f-kind", u"x"}}).counter,
              testing::StartsWith(estimates ? "1 - 10 of about " : "1 - 10 of 20"));
}

INSTANTIATE_TEST_SUITE_P(Engines, ListWalk, kEveryKind, [](const auto& info) { return NameOf(info.param); });

}  // namespace
