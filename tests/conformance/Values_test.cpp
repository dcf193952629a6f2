// What every engine gives back of what was written: types, NULLs, dates, texts, numbers of rows, errors.
#include "host-fake/ErrorOf.h"
#include "tests/conformance/EngineUnderTest.h"

namespace {

using hostfake::NumberOf;
using varnel::Long;
using varnel::String;
using varnel::Variant;
namespace provider_error = hostlinux::provider_error;
namespace ado_type = hostlinux::ado_type;

class Values : public EveryEngine {
 protected:
  void SetUp() override {
    EveryEngine::SetUp();
    if (IsSkipped()) return;
    Run(String(u"CREATE TABLE item (id INT NOT NULL PRIMARY KEY, name VARCHAR(40), big BIGINT, price DOUBLE "
               u"PRECISION,"
               u" amount NUMERIC(12,2), made TIMESTAMP, day DATE, flag ") +
        (IsMariadb() ? u"BIT" : u"BOOLEAN") + u", note " + (IsMariadb() ? u"LONGTEXT" : u"TEXT") +
        u", picture " + (IsPostgresql(GetParam()) ? u"BYTEA" : u"BLOB") + u")");
  }

  bool IsMariadb() const { return GetParam() == EngineKind::Mariadb; }
  // A truth value as a literal of the engine's own.
  String Flag(bool value) const {
    const String digit = value ? u"1" : u"0";
    return IsMariadb() ? digit : u"'" + digit + u"'";
  }

  Variant Value(const String& sql) { return m_database->Query(sql)->FieldValue(0); }
};

TEST_P(Values, TypesAreThoseThatScriptsKnow) {
  const auto rows = m_database->Query(u"SELECT * FROM item");
  const Long types[] = {ado_type::kInteger,      ado_type::kVarWChar, ado_type::kBigInt,
                        ado_type::kDouble,       ado_type::kDouble,   ado_type::kTimeStamp,
                        ado_type::kTimeStamp,    ado_type::kBoolean,  ado_type::kLongVarWChar,
                        ado_type::kLongVarBinary};
  ASSERT_EQ(static_cast<Long>(std::size(types)), rows->FieldCount());
  for (Long i = 0; i < rows->FieldCount(); ++i) EXPECT_EQ(types[i], rows->FieldType(i)) << i;
}

TEST_P(Values, WhatWasWrittenIsRead) {
  Run(String(u"INSERT INTO item (id, name, big, price, amount, made, day, flag, note) VALUES (7, 'O''Neill', "
             u"5000000000, 0.1, 12.50,"
             u" '2024-02-29 23:59:58', '1999-12-31', ") +
      Flag(true) + u", 'x')");
  EXPECT_EQ("7,O'Neill,5000000000,0.1,12.5,2/29/2024 11:59:58 PM,12/31/1999,True,x,-",
            Rows(u"SELECT * FROM item"));
}

TEST_P(Values, NothingIsNull) {
  Run(u"INSERT INTO item (id) VALUES (1)");
  EXPECT_EQ("1,-,-,-,-,-,-,-,-,-", Rows(u"SELECT * FROM item"));
  EXPECT_EQ("1", Rows(u"SELECT id FROM item WHERE name IS NULL"));
}

TEST_P(Values, NamesAreSpelledAsTheTextSpellsThem) {
  const auto rows =
      m_database->Query(u"SELECT Id, item.NAME, price AS \"The Price\", amount AS Sum FROM item");
  const bool asInText = Has(Feature::SpellingOfTheText);
  EXPECT_EQ(asInText ? u"Id" : u"id", rows->FieldName(0));
  EXPECT_EQ(asInText ? u"NAME" : u"name", rows->FieldName(1));
  EXPECT_EQ(u"The Price", rows->FieldName(2));
  EXPECT_EQ(u"Sum", rows->FieldName(3));
}

TEST_P(Values, TextsOfAllLanguagesAndLengths) {
  Run(u"INSERT INTO item (id, note) VALUES (1, N'Grüße, Ελλάδα, 日本, 😀')");
  EXPECT_EQ("Grüße, Ελλάδα, 日本, 😀", Rows(u"SELECT note FROM item"));
  const String text(300'000, u'ß');
  Run(u"UPDATE item SET note = '" + text + u"'");
  EXPECT_EQ(text, varnel::ToText(Value(u"SELECT note FROM item")));
}

TEST_P(Values, ABackslashInATextIsItself) {
  Run(u"INSERT INTO item (id, name) VALUES (1, 'a\\'), (2, '\\''x')");
  EXPECT_EQ("1,a\\;2,\\'x", Rows(u"SELECT id, name FROM item ORDER BY id"));
}

TEST_P(Values, KeysAreTextsWhateverTheirColumn) {
  Run(u"INSERT INTO item (id, name, big, price, amount, made, flag) VALUES (5, '7', 50, 2.5, 1.25, "
      u"'2001-03-05 "
      u"14:07:09', " +
      Flag(true) + u")");
  for (const String condition :
       {u"id = '5'", u"id > '4'", u"big <= '50'", u"price = '2.5'", u"amount >= '1.25'",
        u"made = '20010305 14:07:09'", u"made > {ts '2001-03-05 14:07:08'}", u"made < {d '2001-03-06'}",
        u"flag = 'True'", u"flag = 1", u"note IS NULL", u"name = 7", u"id + 1 = '6'", u"id + 1 > '5'"}) {
    EXPECT_EQ("5", Rows(u"SELECT id FROM item WHERE " + condition)) << varnel::ToUtf8(condition);
  }
}

TEST_P(Values, ADoubleThatPrintsAsTheKeyIsTheKey) {
  Run(u"INSERT INTO item (id, price) VALUES (1, 0.30000000000000004)");
  EXPECT_EQ("1", Rows(u"SELECT id FROM item WHERE price = '0.3'"));
  EXPECT_EQ("", Rows(u"SELECT id FROM item WHERE price > '0.3'"));
}

TEST_P(Values, TopIsTheFirstRows) {
  Run(u"INSERT INTO item (id, name) VALUES (1, 'c'), (2, 'b'), (3, 'a')");
  EXPECT_EQ("3;2", Rows(u"SELECT TOP 2 id FROM item ORDER BY name"));
  EXPECT_EQ("2;1", Rows(u"SELECT id FROM (SELECT TOP 2 id FROM item ORDER BY id) x ORDER BY id DESC"));
}

TEST_P(Values, NullsSortBelowEveryValue) {
  Run(u"INSERT INTO item (id, name) VALUES (1, 'b'), (2, NULL), (3, 'a')");
  EXPECT_EQ("2;3;1", Rows(u"SELECT id FROM item ORDER BY name"));
  EXPECT_EQ("1;3;2", Rows(u"SELECT id FROM item ORDER BY name DESC"));
  EXPECT_EQ("1;3;2", Rows(u"SELECT id FROM (SELECT TOP 9 id, name AS n FROM item ORDER BY n DESC) x"));
}

TEST_P(Values, PatternsKnowSignsInBracketsAndNoBackslash) {
  Run(u"INSERT INTO item (id, name) VALUES (1, 'a%b'), (2, 'axb'), (3, 'a\\b'), (4, 'bxb'), (5, 'a]b')");
  EXPECT_EQ("1", Rows(u"SELECT id FROM item WHERE name LIKE 'a[%]b'"));
  EXPECT_EQ("3", Rows(u"SELECT id FROM item WHERE name LIKE 'a\\b'"));
  EXPECT_EQ("1", Rows(u"SELECT id FROM item WHERE name LIKE 'a!%b' ESCAPE '!'"));
}

TEST_P(Values, PatternsKnowClasses) {
  Run(u"INSERT INTO item (id, name) VALUES (1, 'a%b'), (2, 'axb'), (3, 'a\\b'), (4, 'bxb'), (5, 'a]b')");
  if (!Has(Feature::PatternClasses)) {
    EXPECT_EQ(provider_error::kSyntax,
              NumberOf([&] { Rows(u"SELECT id FROM item WHERE name LIKE '[a-c]x_' ORDER BY id"); }));
    return;
  }
  EXPECT_EQ("2;4", Rows(u"SELECT id FROM item WHERE name LIKE '[a-c]x_' ORDER BY id"));
  EXPECT_EQ("1;3;5", Rows(u"SELECT id FROM item WHERE name NOT LIKE '[a-c][x]_' ORDER BY id"));
}

TEST_P(Values, UnionsAreSortedAsAWhole) {
  Run(u"INSERT INTO item (id, name) VALUES (1, 'b'), (2, NULL), (3, 'a'), (4, 'd')");
  EXPECT_EQ("2,-;3,a;1,b;4,d", Rows(u"SELECT id, name FROM item WHERE id < 3 UNION SELECT id, name FROM item "
                                    u"WHERE id > 2 ORDER BY name"));
  EXPECT_EQ("2,-;3,a",
            Rows(u"(SELECT TOP 1 id, name FROM item WHERE id < 3) UNION (SELECT TOP 1 id, name FROM item"
                 u" WHERE id > 2) ORDER BY name ASC"));
}

// --- numbers of rows

TEST_P(Values, TheNumberOfRowsIsExact) {
  Run(u"INSERT INTO item (id) VALUES (1), (2), (3)");
  EXPECT_EQ(3, m_database->Query(u"SELECT id FROM item")->RecordCount());
  EXPECT_EQ(0, m_database->Query(u"SELECT id FROM item WHERE id > 3")->RecordCount());
}

TEST_P(Values, MaxRecordsCutsTheWhole) {
  Run(u"INSERT INTO item (id) VALUES (1), (2), (3)");
  auto rows = m_database->NewRecordset();
  rows->SetMaxRecords(2);
  rows->Open(u"SELECT id FROM item UNION SELECT id + 10 FROM item ORDER BY id DESC", m_database->Connection(),
             3, 1, -1);
  EXPECT_EQ("13;12", DatabaseUnderTest::RowsOf(*rows));
  EXPECT_EQ(2, rows->RecordCount());
}

TEST_P(Values, ManyRowsComeInBatches) {
  String values;
  for (int i = 0; i < 2000; ++i) {
    const std::string number = std::to_string(i);
    values += (i == 0 ? u"(" : u",(") + String(number.begin(), number.end()) + u")";
  }
  Run(u"INSERT INTO item (id) VALUES " + values);
  const auto rows = m_database->Query(u"SELECT id FROM item ORDER BY id");
  rows->MoveNext();
  // The same connection is used while the first result is half read.
  EXPECT_EQ("2000", Rows(u"SELECT COUNT(*) FROM item"));
  Long last = 0;
  for (; !rows->IsEOF(); rows->MoveNext()) last = varnel::ToLong(rows->FieldValue(0));
  EXPECT_EQ(1999, last);
  EXPECT_EQ(2000, rows->RecordCount());
}

// --- errors

TEST_P(Values, ErrorsHaveTheNumbersOfProviders) {
  Run(u"INSERT INTO item (id) VALUES (1)");
  const auto fails = [&](const String& sql) { return NumberOf([&] { Run(sql); }); };
  EXPECT_EQ(provider_error::kNoTable, fails(u"SELECT * FROM none"));
  EXPECT_EQ(provider_error::kSyntax, fails(u"SELECT none FROM item"));
  EXPECT_EQ(provider_error::kSyntax, fails(u"SELEC"));
  EXPECT_EQ(provider_error::kIntegrity, fails(u"INSERT INTO item (id) VALUES (1)"));
  EXPECT_EQ(provider_error::kIntegrity, fails(u"INSERT INTO item (name) VALUES ('x')"));
  EXPECT_EQ(provider_error::kNoValue, fails(u"SELECT * FROM item WHERE id = ?"));
  EXPECT_EQ("1", Rows(u"SELECT id FROM item"));
}

TEST_P(Values, OneCallIsOneStatement) {
  Run(u"INSERT INTO item (id) VALUES (1)");
  // The others hide the second one where engines end literals, names and comments in ways of their own.
  for (const String sql :
       {u"SELECT 1; DELETE FROM item", u"SELECT E'\\''; DELETE FROM item; --'",
        u"SELECT $$'$$; DELETE FROM item; --'", u"SELECT $a$'$a$; DELETE FROM item; --'",
        u"SELECT 1 /* /* */ '*/; DELETE FROM item; --'", u"SELECT 1 -- \r; DELETE FROM item",
        u"SELECT ARRAY[']']; DELETE FROM item; --'", u"SELECT $a('); DELETE FROM item; --')",
        u"CREATE TABLE other (a INT) /* /* */ '*/; DELETE FROM item; --'"}) {
    NumberOf([&] { Run(sql); });
    EXPECT_EQ("1", Rows(u"SELECT id FROM item")) << varnel::ToUtf8(sql);
  }
  EXPECT_NE(0, NumberOf([&] { Run(u"SELECT 1; DELETE FROM item"); }));
  EXPECT_EQ("1", Rows(u"SELECT id FROM item"));
}

TEST_P(Values, AReaderChangesNothing) {
  const auto reader = m_database->Connect(u"Mode=Read");
  for (const String sql : {u"INSERT INTO item (id) VALUES (1)", u"DELETE FROM item", u"DROP TABLE item"})
    EXPECT_EQ(provider_error::kPermission, NumberOf([&] { reader->Execute(sql, -1); }))
        << varnel::ToUtf8(sql);
}

// --- transactions

TEST_P(Values, ATransactionIsTakenBackOrKept) {
  Run(u"INSERT INTO item (id) VALUES (1)");
  DatabaseUnderTest::BeginTrans(m_database->Connection());
  Run(u"DELETE FROM item");
  DatabaseUnderTest::RollbackTrans(m_database->Connection());
  EXPECT_EQ("1", Rows(u"SELECT id FROM item"));
  DatabaseUnderTest::BeginTrans(m_database->Connection());
  Run(u"DELETE FROM item");
  DatabaseUnderTest::CommitTrans(m_database->Connection());
  EXPECT_EQ("", Rows(u"SELECT id FROM item"));
}

TEST_P(Values, AFailedStatementEndsNoTransaction) {
  DatabaseUnderTest::BeginTrans(m_database->Connection());
  Run(u"INSERT INTO item (id) VALUES (1)");
  EXPECT_EQ(provider_error::kIntegrity, NumberOf([&] { Run(u"INSERT INTO item (id) VALUES (1)"); }));
  Run(u"INSERT INTO item (id) VALUES (2)");
  DatabaseUnderTest::CommitTrans(m_database->Connection());
  EXPECT_EQ("1;2", Rows(u"SELECT id FROM item ORDER BY id"));
}

// --- parameters

TEST_P(Values, ParametersTakeTheTypeOfTheirPlace) {
  Run(u"INSERT INTO item (id, name, price, flag) VALUES (1, 'a', 1.5, " + Flag(true) + u"), (2, 'b', 2.5, " +
      Flag(false) + u")");
  const auto rowsWith = [&](const String& sql, const Variant& value) {
    auto rows = m_database->NewRecordset();
    varnel::host::StatementParameters parameters;
    parameters.values.push_back({u"p", value});
    rows->SetParameters(parameters);
    rows->Open(sql, m_database->Connection(), 3, 1, -1);
    return DatabaseUnderTest::RowsOf(*rows);
  };
  EXPECT_EQ("2", rowsWith(u"SELECT id FROM item WHERE id > :p", Long{1}));
  EXPECT_EQ("2", rowsWith(u"SELECT id FROM item WHERE id > :p", String(u"1")));
  EXPECT_EQ("2", rowsWith(u"SELECT id FROM item WHERE price > :p", 1.75));
  EXPECT_EQ("2", rowsWith(u"SELECT id FROM item WHERE id > :p", 1.5));
  EXPECT_EQ("1", rowsWith(u"SELECT id FROM item WHERE name = :p", String(u"a")));
  EXPECT_EQ("", rowsWith(u"SELECT id FROM item WHERE name = :p", String(u"a' OR 'a' = 'a")));
  if (Has(Feature::PatternClasses)) {
    EXPECT_EQ("1", rowsWith(u"SELECT id FROM item WHERE name LIKE :p", String(u"[a]%")));
  }
  EXPECT_EQ("1;2", rowsWith(u"SELECT id FROM item WHERE name LIKE :p ORDER BY id", String(u"_%")));
  EXPECT_EQ("", rowsWith(u"SELECT id FROM item WHERE name LIKE :p", String(u"\\a")));
  EXPECT_EQ("1;2", rowsWith(u"SELECT id FROM item WHERE :p = '' OR name = :p ORDER BY id", String()));
  EXPECT_EQ("1", rowsWith(u"SELECT id FROM item WHERE flag = :p", true));
}

INSTANTIATE_TEST_SUITE_P(Engines, Values, kEveryKind, [](const auto& info) { return NameOf(info.param); });

}  // namespace
