// Values of any kind and name for the parameters of statements: whatever they say, the text that the engine gets is
// the one that a harmless value of the same kind gives, nothing of the table is changed or of another one read, and
// what fails fails as an error of the database.
#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "host-linux/database/AdoCommand.h"
#include "host-linux/database/AdoFailure.h"
#include "host-linux/database/AdoRecordset.h"
#include "host-linux/database/dialect/SqliteDialect.h"
#include "host-linux/database/sqlite/SqliteEngine.h"
#include "varnel/automation/Convert.h"
#include "varnel/automation/Error.h"

namespace {

using namespace varnel;
using host::StatementParameters;

constexpr std::size_t kLarge = 8 << 20;

constexpr char kSchema[] =
    "CREATE TABLE t (id INT PRIMARY KEY, name VARCHAR(50), price REAL, day DATETIME, born DATE, active BIT, "
    "data "
    "BLOB, any_); CREATE TABLE vault (secret TEXT); INSERT INTO vault VALUES ('xyzzy');"
    "INSERT INTO t VALUES (1, 'Ann', 0.5, '2024-03-05 00:00:00', '2024-03-05', 1, NULL, 5), (2, 'Bob', 2, "
    "NULL, NULL, "
    "0, x'00', 'x');";

const std::vector<String>& Texts() {
  static const std::vector<String> texts = {
      u"SELECT id FROM t WHERE name = :a AND id <> :b OR price > :c",
      u"SELECT id FROM t WHERE day >= :a AND born < :b AND active = :c",
      u"SELECT id FROM t WHERE name LIKE :a OR name LIKE :b ESCAPE '!' OR NOT name LIKE :c ESCAPE :a",
      u"SELECT :a, :b || :c FROM t WHERE any_ = :a AND data <> :b AND price * :c > :a",
      u"SELECT TOP 2 id, name FROM t WHERE (name <> :a AND any_ > :b) AND (name > 'A' or (name = 'A' and id "
      u"> '0')) "
      u"ORDER BY name ASC,id ASC",
      u"(SELECT TOP 2 id FROM t WHERE id > :a) UNION (SELECT TOP 2 id FROM t WHERE name = :b) ORDER BY id "
      u"DESC",
      u"SELECT CASE WHEN name = :a THEN :b ELSE 'x' END FROM t WHERE id IN (:a, :b, :c) OR day BETWEEN :a "
      u"AND :b",
      u"SELECT id FROM t WHERE name = ? AND id > ? AND day < ?",
      u"SELECT COUNT(*) FROM t WHERE :a = name COLLATE NOCASE AND (:b) < id LIMIT :c",
      u"WITH w AS (SELECT id FROM t WHERE id > :a) SELECT id FROM w WHERE EXISTS (SELECT 1 FROM t WHERE name "
      u"= :b)",
  };
  return texts;
}

[[noreturn]] void Fail(const char* what, std::string_view text) {
  std::fprintf(stderr, "%s: %.*s\n", what, static_cast<int>(text.size()), text.data());
  std::abort();
}

// --- What the input says

class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : m_data(data), m_left(size) {}

  std::uint8_t Byte() {
    if (m_left == 0) return 0;
    --m_left;
    return *m_data++;
  }

  std::string Bytes(std::size_t most) {
    std::string bytes;
    for (std::size_t length = Byte() % (most + 1); bytes.size() < length && m_left > 0;)
      bytes += static_cast<char>(Byte());
    return bytes;
  }

  // Of every kind that scripts have, and a few that can't be bound.
  Variant Value() {
    switch (Byte() % 16) {
      case 0:
        return Null();
      case 1:
        return Byte() % 2 == 0;
      case 2:
        return static_cast<Long>(Word());
      case 3:
        return Double();
      case 4:
        return Date{Double()};
      case 5:
        return BytesPtr(std::make_shared<varnel::Bytes>(ByteText()));
      case 6:
        return Variant();
      case 7:
        return std::make_shared<Array>();
      case 8:
        return Byte() == 0 ? Variant(LargeText()) : Variant(u"x");
      case 9:
        return static_cast<varnel::Byte>(Byte());
      case 10:
        return static_cast<Integer>(Word());
      case 11:
        return String(FromUtf8(Bytes(200)));
      default:
        return String(FromUtf8(Bytes(40)));
    }
  }

 private:
  std::uint32_t Word() {
    std::uint32_t word = 0;
    for (int i = 0; i < 4; ++i) word = word << 8 | Byte();
    return word;
  }
  double Double() {
    const std::uint64_t bits = std::uint64_t{Word()} << 32 | Word();
    double value = 0;
    static_assert(sizeof value == sizeof bits);
    std::memcpy(&value, &bits, sizeof value);
    return Byte() % 2 == 0 ? value : static_cast<double>(static_cast<std::int32_t>(bits)) / 8;
  }
  // The order of arguments is the compiler's: one byte a statement.
  String LargeText() {
    const std::size_t length = kLarge - Byte();
    return String(length, static_cast<char16_t>(Byte()));
  }
  varnel::Bytes ByteText() {
    const std::string bytes = Bytes(40);
    return varnel::Bytes(bytes.begin(), bytes.end());
  }

  const std::uint8_t* m_data;
  std::size_t m_left;
};

// --- The text that the engine gets

class Facts : public hostlinux::IColumnFacts {
 public:
  std::optional<std::vector<hostlinux::ColumnFact>> Describe(const std::u16string& select) override {
    static const char16_t* const kTypes[] = {u"INT", u"REAL",       u"DATETIME", u"DATE",
                                             u"BIT", u"VARCHAR(9)", u""};
    if (select.find(u',') != std::u16string::npos)
      return std::vector<hostlinux::ColumnFact>{{u"id", u"INT"}, {u"name", u"VARCHAR(9)"}};
    return std::vector<hostlinux::ColumnFact>{{u"a", kTypes[select.size() % 7]}};
  }
  std::optional<hostlinux::SortWork> SortsFor(const std::u16string&) override {
    return hostlinux::SortWork::Nothing;
  }
  bool HasPartialIndex() override { return false; }
};

// A harmless value of which the form of a statement depends in the same way.
Variant Harmless(const Variant& value) {
  static const std::vector<String> texts = [] {
    std::vector<String> bank;
    for (const char16_t* text : {u"",
                                 u"x",
                                 u"12",
                                 u"1.5",
                                 u"+12",
                                 u".5",
                                 u"0",
                                 u"0.0",
                                 u"1234567890123456",
                                 u"123456789012345.6",
                                 u"1e5",
                                 u"1e999",
                                 u"1e-999",
                                 u"20240305",
                                 u"2024-03-05",
                                 u"2024-03-05 00:00:00",
                                 u"2024-03-05 10:00:00",
                                 u"20240305 10:00:00",
                                 u"20240305 00:00:00",
                                 u"True",
                                 u"False",
                                 u" 12",
                                 u"0012",
                                 u"2024-3-5 1:2:3"}) {
      bank.emplace_back(text);
      bank.push_back(text + String(70, u' '));
    }
    bank.emplace_back(u"[");
    return bank;
  }();
  const hostlinux::ParameterFacts facts = hostlinux::FactsOf(value);
  if (!facts.isText) return Long{1};
  const auto key = [](const hostlinux::ParameterFacts& f) {
    const hostlinux::LiteralTraits& t = f.traits;
    return std::array{f.isPattern,  t.isNumeral, t.isInteger, t.hasSpread, t.isDate,
                      t.isMidnight, t.isStored,  t.isTrue,    t.isFalse};
  };
  for (const String& text : texts) {
    if (key(hostlinux::FactsOf(text)) == key(facts)) return text;
  }
  Fail("no harmless text of that kind", ToUtf8(ToText(value)));
}

void CheckText(const String& sql, const StatementParameters& parameters) {
  Facts facts;
  hostlinux::SqliteDialect dialect(facts);
  const hostlinux::EngineStatement statement = dialect.Translate(sql, parameters);
  if (!statement.unbound.empty()) return;
  StatementParameters harmless = parameters;
  for (host::StatementParameter& parameter : harmless.values) {
    if (hostlinux::CanBeBound(parameter.Value)) parameter.Value = Harmless(parameter.Value);
  }
  hostlinux::SqliteDialect other(facts);
  const hostlinux::EngineStatement expected = other.Translate(sql, harmless);
  if (statement.sql != expected.sql) Fail("the text depends on the value", statement.sql);
  if (statement.values.size() != expected.values.size()) Fail("another number of values", statement.sql);
  if (dialect.Translate(sql, parameters).values != statement.values) Fail("another value", statement.sql);
}

// --- The engine

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
    ado = hostlinux::AdoDatabase::Make(std::move(options));
    connection = std::make_shared<hostlinux::AdoConnection>(ado);
    connection->Open(u"Provider=SQLite;Data Source=fuzz.db;Mode=ReadWrite;Tables=t", u"", u"", -1);
  }
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;
  ~Database() {
    connection = nullptr;
    std::error_code ignored;
    std::filesystem::remove_all(m_folder, ignored);
  }

  std::shared_ptr<hostlinux::AdoDatabase> ado;
  std::shared_ptr<hostlinux::AdoConnection> connection;

 private:
  std::filesystem::path m_folder;
};

Database& TheDatabase() {
  static Database database;
  return database;
}

bool IsOfDatabase(Long number) { return (static_cast<std::uint32_t>(number) & 0xFFFF0000u) == 0x80040000u; }

bool IsLarge(const host::StatementParameter& parameter) {
  return parameter.Value.IsText() && parameter.Value.As<String>()->size() > kLarge / 2;
}

// What goes beyond a row's limit is told by another number than a mistake in a statement.
bool MayFailBy(Long number, const StatementParameters& parameters) {
  const auto& values = parameters.values;
  return IsOfDatabase(number) ||
         (number == hostlinux::provider_error::kFail && std::any_of(values.begin(), values.end(), IsLarge));
}

// A value of text or bytes that goes in comes out as it was.
void CheckRoundTrip(const host::StatementParameter& parameter) {
  if (!parameter.Value.IsText() || parameter.Value.As<String>()->size() > 1000) return;
  const String& text = *parameter.Value.As<String>();
  if (FromUtf8(ToUtf8(text)) != text) return;  // half of a character
  Long affected = 0;
  const auto rows =
      TheDatabase().connection->RunCommand(u"SELECT :a", {{{u"a", parameter.Value}}, false}, 5, affected);
  if (!(rows->FieldValue(0) == parameter.Value)) Fail("another text came back", ToUtf8(text));
}

void Run(const String& sql, const StatementParameters& parameters) {
  const auto& connection = TheDatabase().connection;
  Long affected = 0;
  try {
    const auto rows = connection->RunCommand(sql, parameters, 5, affected);
    while (!rows->IsEOF()) rows->MoveNext();
  } catch (const Error& error) {
    if (!MayFailBy(error.Info().Number, parameters))
      Fail("a failure of another kind", ToUtf8(error.Info().Description));
    if (error.Info().Description.find(u"vault") != String::npos) Fail("another table", ToUtf8(sql));
  }
}

// The same values in a command, with types that convert them.
void RunTyped(const String& sql, const StatementParameters& parameters, Input& input) {
  const auto command = std::make_shared<hostlinux::AdoCommand>(TheDatabase().ado);
  command->SetActiveConnection(Variant(TheDatabase().connection));
  command->SetCommandText(sql);
  static constexpr Long kTypes[] = {0, 3, 5, 7, 8, 11, 12, 20, 133, 135, 202, 203, 204, 205};
  try {
    for (const host::StatementParameter& parameter : parameters.values) {
      const Long type = kTypes[input.Byte() % std::size(kTypes)];
      command->Parameters()->Append(
          command->CreateParameter(parameter.Name, type, 1, Long{input.Byte()} * 100, parameter.Value));
    }
    Variant affected;
    command->Execute(affected, Missing(), -1);
  } catch (const Error&) {
    // A type that the value isn't of, a name that comes twice.
  }
}

void CheckTable() {
  Long affected = 0;
  const auto rows = TheDatabase().connection->RunCommand(
      u"SELECT COUNT(*) FROM t WHERE id IN (1, 2) AND name IN ('Ann', 'Bob')", {}, 5, affected);
  if (ToLong(rows->FieldValue(0)) != 2) Fail("the table has changed", "");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  const String& sql = Texts()[input.Byte() % Texts().size()];
  StatementParameters parameters;
  parameters.byOrder = input.Byte() % 2 == 0;
  static const std::vector<String> names = {u"a", u"b", u"c", u"A", u"", u"a'b", u"c\0"};
  for (std::size_t count = input.Byte() % 6; count > 0; --count) {
    const std::uint8_t choice = input.Byte();
    const String name = choice < 200 ? names[choice % names.size()] : FromUtf8(input.Bytes(20));
    parameters.values.push_back({name, input.Value()});
  }
  CheckText(sql, parameters);
  Run(sql, parameters);
  for (const host::StatementParameter& parameter : parameters.values) CheckRoundTrip(parameter);
  RunTyped(sql, parameters, input);
  CheckTable();
  return 0;
}
