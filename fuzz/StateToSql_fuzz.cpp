// Whatever a visitor writes into a state text, a list that takes columns only runs statements of a shape that
// its page could have asked for: with plain columns of the query or with a sort that the page declared.
// Anything else ends the page before a statement runs. The real recordset, guard, dialect and engine do the
// work; a table that no query names is refused by the engine, which nothing here may ever see.
#include <sqlite3.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <set>

#include "host-fake/FakeHost.h"
#include "host-linux/database/AdoConnection.h"
#include "host-linux/database/AdoRecordset.h"
#include "host-linux/database/dialect/SqlLexer.h"
#include "host-linux/database/sqlite/SqliteEngine.h"
#include "host-linux/guard/ListGuard.h"
#include "varnel/automation/Convert.h"
#include "varnel/automation/Error.h"
#include "varnel/recordset/DRecordset.h"
#include "varnel/recordset/StateText.h"
#include "varnel/recordset/UnionBranches.h"

namespace {

using namespace varnel;

constexpr char kSchema[] =
    "CREATE TABLE maker (id INTEGER PRIMARY KEY, name TEXT, city TEXT);"
    "CREATE TABLE product (id INTEGER PRIMARY KEY, name TEXT, [list price] NUMERIC, added DATETIME, maker "
    "INTEGER,"
    " buyprice NUMERIC, code TEXT, active BIT);"
    "CREATE TABLE vault (id INTEGER PRIMARY KEY, secret TEXT);"
    "INSERT INTO maker VALUES (1, 'Acme', 'Bonn'), (2, 'O''Hara', NULL), (3, NULL, 'Cork');"
    "INSERT INTO product VALUES (1, 'n1', 1.5, '2024-03-05 00:00:00', 1, 9, 'c1', 1), (2, 'n2', 2, NULL, 1, "
    "8, 'c2', 1),"
    " (3, 'n2', NULL, '2024-03-06 10:00:00', 2, 7, 'c3', 1), (4, NULL, 4, NULL, 2, 6, NULL, 0),"
    " (5, 'n5', 5, NULL, 3, 5, 'c5', 1), (6, 'n6', 6, NULL, 3, 4, 'c6', 1), (7, 'n7', 7, NULL, 1, 3, 'c7', "
    "1);"
    "INSERT INTO vault VALUES (1, 'xyzzy');";

// A column that a list shows: its qualifier in the query, if it has one, and its name.
struct Shown {
  String qualifier;
  String name;
};

struct List {
  String query;
  String key;  // by which it is sorted at first
  std::vector<Shown> columns;
  bool anyName = false;  // has a star: any name is tried, but must be one of the columns in the end
  String declared;       // a sort that is no column of it
};

const std::vector<List>& Lists() {
  static const std::vector<List> lists = {
      {u"SELECT id, name, code nr FROM product",
       u"id",
       {{u"", u"id"}, {u"", u"name"}},
       false,
       u"code AS nr DESC"},
      {u"SELECT P.id, P.name AS name, M.city FROM product P, maker M WHERE P.maker = M.id AND active = 1",
       u"P.id",
       {{u"P", u"id"}, {u"P", u"name"}, {u"M", u"city"}},
       false,
       u"P.name, M.city DESC"},
      {u"SELECT DISTINCT P.id, P.[list price], P.added, upper(P.code) AS code FROM product P INNER JOIN "
       u"maker M ON "
       u"M.id = P.maker WHERE (P.name <> N'a') ",
       u"P.id",
       {{u"P", u"id"}, {u"P", u"list price"}, {u"P", u"added"}},
       false,
       u"upper(P.code) AS code"},
      {u"SELECT maker, COUNT(*) AS n FROM product WHERE added IS NULL OR added < {d '2030-01-01'} GROUP BY "
       u"maker",
       u"maker",
       {{u"", u"maker"}},
       false,
       u"maker DESC"},
      {u"SELECT id, name FROM product WHERE id < 5 UNION (SELECT id, name FROM maker)",
       u"id",
       {{u"", u"id"}, {u"", u"name"}},
       false,
       u"name DESC"},
      {u"SELECT * FROM maker WHERE id > 0 ORDER BY name",
       u"id",
       {{u"", u"id"}, {u"", u"name"}, {u"", u"city"}},
       true,
       u"lower(city) AS city"},
      {u"SELECT M.*, P.id product, lower(P.name) AS buyprice FROM maker M, product P WHERE P.maker = M.id",
       u"product",
       {{u"M", u"id"}, {u"M", u"name"}, {u"M", u"city"}},
       true,
       u"P.id AS product"},
  };
  return lists;
}

[[noreturn]] void Fail(const char* what, const String& text) {
  std::fprintf(stderr, "%s: %s\n", what, ToUtf8(text).c_str());
  std::abort();
}

// --- The database

// A file for this process, which goes with it; the statements that reached it, as the library wrote them.
class Database {
 public:
  Database() {
    std::string pattern = (std::filesystem::temp_directory_path() / "varnel-fuzz-XXXXXX").string();
    m_folder = mkdtemp(pattern.data());
    sqlite3* handle = nullptr;
    sqlite3_open((m_folder / "fuzz.db").c_str(), &handle);
    sqlite3_exec(handle, kSchema, nullptr, nullptr, nullptr);
    sqlite3_close(handle);
    hostlinux::AdoOptions options;
    options.engines = {std::make_shared<hostlinux::SqliteEngine>()};
    options.folder = m_folder;
    options.onStatement = [this](const hostlinux::SqlTraceEntry& entry) { statements.push_back(entry.sql); };
    ado = hostlinux::AdoDatabase::Make(std::move(options));
  }
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;
  ~Database() {
    std::error_code ignored;
    std::filesystem::remove_all(m_folder, ignored);
  }

  std::vector<String> statements;
  std::shared_ptr<hostlinux::AdoDatabase> ado;

 private:
  std::filesystem::path m_folder;
};

Database& TheDatabase() {
  static Database database;
  return database;
}

class Host : public hostfake::FakeHost {
 public:
  std::shared_ptr<host::IConnection> CreateConnection() override {
    return std::make_shared<hostlinux::AdoConnection>(TheDatabase().ado);
  }
  std::shared_ptr<host::IRecordset> CreateRecordset() override {
    return std::make_shared<hostlinux::AdoRecordset>(TheDatabase().ado);
  }
};

// --- What the input says

enum class Road { Link, State, PageState, Button };

struct Visit {
  std::size_t list = 0;
  Road road = Road::Link;
  bool jumps = false;
  bool counts = false;
  Integer pageSize = 2;
  Long position = 0;
  String state;
};

Long NextNumber(StringView& line) {
  const StringView word = line.substr(0, line.find(u' '));
  line.remove_prefix(std::min(line.size(), word.size() + 1));
  const std::string digits = ToUtf8(word);
  Long value = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), value);
  return value;
}

// A line of numbers (read, total, first record, reversed, page, left, right, jump), a line with the sort, and
// one for each key; "~" is Null.
String WrittenState(StringView text) {
  const std::vector<String> lines = Split(text, u"\n");
  if (lines.empty()) return {};
  StringView numbers = lines[0];
  PersistedState state;
  state.NavType = static_cast<Integer>(NextNumber(numbers));
  state.TotalRecords = NextNumber(numbers);
  state.FirstRecord = NextNumber(numbers);
  state.SortReversed = NextNumber(numbers) != 0;
  state.DisplayPage = NextNumber(numbers);
  state.LeftPage = NextNumber(numbers);
  state.RightPage = NextNumber(numbers);
  const Long jump = NextNumber(numbers);
  if (lines.size() > 1) state.SortFields = lines[1];
  for (std::size_t i = 2; i < lines.size(); ++i)
    state.KeyValues.push_back(lines[i] == u"~" ? Null() : Variant(lines[i]));
  return SerializeState(state) + (jump == 0 ? String() : EncodeNumber(DecimalText(jump)));
}

// Three bytes of choices in front of the state, which is written out or described.
Visit ReadVisit(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t kChoices = 3;
  Visit visit;
  if (size < kChoices) return visit;
  visit.list = data[0] % Lists().size();
  visit.road = static_cast<Road>(data[1] & 3);
  visit.jumps = (data[1] & 4) != 0;
  visit.counts = (data[1] & 8) != 0;
  visit.pageSize = (data[1] & 16) != 0 ? 20000 : 2;
  visit.position = static_cast<std::int8_t>(data[2]);
  const bool written = (data[1] & 32) != 0;
  const String text = FromUtf8({reinterpret_cast<const char*>(data) + kChoices, size - kChoices});
  visit.state = written ? text : WrittenState(text);
  return visit;
}

// --- What a plain column is, in a few words of our own

bool IsLetter(char16_t c) { return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || c == u'_'; }
bool IsLetterOrDigit(char16_t c) { return IsLetter(c) || (c >= u'0' && c <= u'9'); }

// The name without its brackets; empty for what is none.
String NameOf(const String& part) {
  const bool inBrackets = part.size() > 2 && part.front() == u'[' && part.back() == u']';
  const String name = inBrackets ? part.substr(1, part.size() - 2) : part;
  const bool begins = inBrackets || (!name.empty() && IsLetter(name.front()));
  const bool isName = begins && std::all_of(name.begin(), name.end(), [&](char16_t c) {
                        return IsLetterOrDigit(c) || (inBrackets && c == u' ');
                      });
  return isName ? name : String();
}

struct Entry {
  SortField field;
  Shown column;  // empty for what is no plain name
};

Entry ReadEntry(StringView text) {
  Entry entry;
  String column = TrimRight(text);
  const String end = column.size() < 5 ? String() : column.substr(column.size() - 5);
  const bool down = EqualsNoCase(end, u" DESC");
  const bool up = !down && column.size() >= 4 && EqualsNoCase(column.substr(column.size() - 4), u" ASC");
  column = Trim(column.substr(0, column.size() - (down ? 5 : up ? 4 : 0)));
  entry.field = {column, column, !down};
  if (FindNoCase(column, u" AS ") != String::npos) return entry;
  const std::vector<String> parts = Split(column, u".");
  for (const String& part : parts) {
    if (NameOf(part).empty()) return entry;
  }
  if (parts.empty()) return entry;
  entry.column = {parts.size() > 1 ? NameOf(parts[parts.size() - 2]) : String(), NameOf(parts.back())};
  return entry;
}

bool IsShown(const List& list, const Shown& column) {
  return std::any_of(list.columns.begin(), list.columns.end(), [&](const Shown& shown) {
    const bool sameTable = shown.qualifier.empty() || column.qualifier.empty() ||
                           EqualsNoCase(shown.qualifier, column.qualifier);
    return sameTable && EqualsNoCase(shown.name, column.name);
  });
}

std::vector<Entry> ReadSort(const String& sort) {
  std::vector<Entry> entries;
  if (Trim(sort).empty()) return entries;
  for (const String& entry : Split(sort, u",")) entries.push_back(ReadEntry(entry));
  return entries;
}

bool MayBeTried(const List& list, const Entry& entry) {
  return !entry.column.name.empty() && (list.anyName || IsShown(list, entry.column));
}

// --- Shapes

String ShapeOf(const String& sql) {
  String shape;
  bool behindTop = false;
  for (const hostlinux::SqlToken& token : hostlinux::LexSql(sql)) {
    const bool isText = hostlinux::IsLiteral(token.kind) && token.kind != hostlinux::SqlTokenKind::Number;
    const bool isTop = behindTop && token.kind == hostlinux::SqlTokenKind::Number;
    shape += isText || isTop ? u"?" : token.text;
    shape += u'\n';
    behindTop = hostlinux::IsWord(token, u"TOP");
  }
  return shape;
}

// The sort columns of a read of kind `navType`, for entries that name plain columns.
std::vector<SortField> FieldsOf(const List& list, const std::vector<Entry>& entries, bool backward) {
  std::vector<SortField> fields;
  fields.reserve(entries.size() + 1);
  for (const Entry& entry : entries) fields.push_back(entry.field);
  const bool namesKey = std::any_of(fields.begin(), fields.end(), [&](const SortField& field) {
    return EqualsNoCase(field.Name, list.key);
  });
  if (!namesKey) fields.push_back({list.key, {}, true});
  if (backward) ReverseSort(fields);
  return fields;
}

using Shapes = std::set<String>;

void AddShapes(Shapes& shapes, const List& list, PersistedState state, const std::vector<Entry>& entries,
               bool isDeclared) {
  for (const Integer navType : {state.NavType, nav_type::kFirst, nav_type::kLast}) {
    state.NavType = navType;
    const bool backward = (navType >= nav_type::kPrevious) != state.SortReversed;
    const auto fields = isDeclared ? ParseSortFields(state, list.key) : FieldsOf(list, entries, backward);
    if (state.HasKeys() && state.KeyValues.size() != fields.size()) continue;
    for (const bool nested : {false, true}) {
      std::vector<String> branches = SplitUnionBranches(list.query);
      shapes.insert(ShapeOf(BuildReadQuery(branches, state, fields, {2, nested, 2})));
    }
  }
}

// --- The visit

class Visitor {
 public:
  explicit Visitor(const Visit& visit) : m_visit(visit), m_list(Lists()[visit.list]), m_guard(Options()) {
    m_host.Request().Variables().Set(u"URL", u"/shop/list.asp");
    m_host.Request().Variables().Set(u"REQUEST_METHOD", u"POST");
    m_page = std::make_shared<Page>();
    if (visit.road == Road::Button) m_page->SetDGridViaPost();
    m_connection = m_host.CreateConnection();
    m_connection->Open(u"Provider=SQLite;Data Source=fuzz.db;Mode=Read;Tables=product,maker", u"", u"", -1);
    m_host.UseStateGuard(&m_guard);
    TheDatabase().statements.clear();
  }
  ~Visitor() { m_host.UseStateGuard(nullptr); }

  void Run() {
    auto recordset = New();
    try {
      Give(*recordset);
      recordset->OpenRS(m_list.query, m_list.key);
    } catch (const PageEnded&) {
      return CheckStatements();
    } catch (const Error& error) {
      if (!m_visit.state.empty()) Fail("a failure by a state", error.Info().Description);
      throw;
    }
    CheckStatements();
    CheckColumns();
    CheckLinks(*recordset);
    GoOn(recordset->GetStateNext());
  }

 private:
  static hostlinux::ListGuard::Options Options() {
    hostlinux::ListGuard::Options options;
    options.root = "/shop";
    options.defaultPage = "index.asp";
    options.file = "list.asp";
    return options;
  }

  std::shared_ptr<DRecordset> New() {
    auto recordset = std::make_shared<DRecordset>();
    recordset->Initialize(m_page, 1, m_connection);
    recordset->SetPageSize(m_visit.pageSize);
    recordset->DeclareSort(m_list.declared);
    recordset->SetDefaultSortFields(m_list.key);
    if (m_visit.counts) recordset->SetRecCountON();
    bool jumps = m_visit.jumps;
    Integer width = kWidth;
    recordset->SetPageJump(jumps, width);
    return recordset;
  }

  void Give(DRecordset& recordset) {
    switch (m_visit.road) {
      case Road::Link:
        m_host.Request().Query().Set(u"R_1", m_visit.state);
        break;
      case Road::State:
        recordset.SetState(m_visit.state);
        break;
      case Road::PageState:
        recordset.SetPageState(m_visit.state, m_visit.position);
        break;
      case Road::Button:
        m_host.Request().Fields().Set(u"R_12.x", u"1");
        m_host.Request().Fields().Set(u"R_12d", m_visit.state);
        break;
    }
  }

  // What was run is what the page could have asked for.
  void CheckStatements() const {
    const Shapes shapes = AllowedShapes();
    for (const String& sql : TheDatabase().statements) {
      if (shapes.count(ShapeOf(sql)) == 0) Fail("a statement of another shape", sql);
    }
  }

  Shapes AllowedShapes() const {
    Shapes shapes = ShapesWithoutState();
    if (m_visit.state.empty()) return shapes;
    PersistedState state;
    try {
      state = ParseState(m_visit.state, m_visit.road == Road::Link);
    } catch (const Error&) {
      return {};
    }
    if (state.SortFields.empty()) {
      state.SortFields = m_list.key;
      state.SortReversed = false;
    }
    const bool isDeclared = state.SortFields == m_list.declared;
    const std::vector<Entry> entries = ReadSort(state.SortFields);
    const bool isPlain =
        std::all_of(entries.begin(), entries.end(), [&](const Entry& e) { return MayBeTried(m_list, e); });
    // A text without a kind of read leaves it to the request.
    if (!isDeclared && !isPlain) return state.NavType == nav_type::kNone ? shapes : Shapes();
    AddShapes(shapes, m_list, state, entries, isDeclared);
    return shapes;
  }

  // Of a first visit: its read and its counts.
  const Shapes& ShapesWithoutState() const {
    static std::vector<std::optional<Shapes>> known(Lists().size());
    std::optional<Shapes>& shapes = known[m_visit.list];
    if (shapes) return *shapes;
    shapes.emplace();
    PersistedState state;
    state.NavType = nav_type::kFirst;
    AddShapes(*shapes, m_list, state, ReadSort(m_list.key), false);
    for (const String& branch : SplitUnionBranches(m_list.query)) {
      shapes->insert(ShapeOf(branch));
      const auto tail = branch.find(u" FROM ");
      shapes->insert(ShapeOf(u"SELECT COUNT(*)" + branch.substr(tail, branch.find(u" ORDER BY ") - tail)));
    }
    return *shapes;
  }

  // Behind a star any name is tried, and only shown ones show rows.
  void CheckColumns() const {
    if (m_visit.state.empty()) return;
    const PersistedState state = ParseState(m_visit.state, false);
    if (state.NavType == nav_type::kNone || state.SortFields == m_list.declared) return;
    for (const Entry& entry : ReadSort(state.SortFields)) {
      if (!IsShown(m_list, entry.column)) Fail("sorted by a column that isn't shown", entry.field.Name);
    }
  }

  void CheckLinks(DRecordset& recordset) const {
    const std::int64_t width = std::int64_t{recordset.m_rightPageNumber} - recordset.m_leftPageNumber;
    if (m_visit.jumps && width > kWidth + 1) Fail("a window of too many pages", m_visit.state);
    for (Long page : {-1, 1, 7}) recordset.GetUrlForPage(page);
    recordset.GetUrlPrev();
    recordset.GetUrlLast();
    recordset.GetUrlSorted(u"name");
  }

  // The library's own text leads on, where its names mean the same in a condition as in an order: of two
  // tables one may be ambiguous, and a qualifier may be none of the query's.
  void GoOn(const String& next) {
    if (next.empty() || m_list.query.find(u"maker M") != String::npos) return;
    if (ParseState(next, false).SortFields.find(u'.') != String::npos) return;
    try {
      auto recordset = New();
      recordset->SetState(next);
      recordset->OpenRS(m_list.query, m_list.key);
    } catch (const PageEnded&) {
      Fail("a link of the page is refused", next + u", " + FromUtf8(m_guard.Refusal().value_or("")));
    }
  }

  static constexpr Integer kWidth = 10;

  Visit m_visit;
  const List& m_list;
  Host m_host;
  hostlinux::ListGuard m_guard;
  std::shared_ptr<Page> m_page;
  std::shared_ptr<host::IConnection> m_connection;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Visitor(ReadVisit(data, size)).Run();
  return 0;
}
