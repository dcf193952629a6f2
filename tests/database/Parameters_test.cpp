// Statements whose values travel beside the text: what a value may be, how it is compared, and that it never becomes
// a part of a text.
#include <gmock/gmock.h>

#include "host-fake/ErrorOf.h"
#include "host-linux/database/AdoCommand.h"
#include "host-linux/database/dialect/SqliteDialect.h"
#include "tests/database/FakeFacts.h"
#include "tests/database/TestDatabase.h"

namespace hostlinux {
namespace {

using hostfake::NumberOf;
using testing::HasSubstr;
using varnel::Long;
using varnel::Null;
using varnel::String;
using varnel::Variant;
using varnel::host::StatementParameters;

// --- The text that the engine gets

const std::vector<String> kForged = {
    u"x' OR '1'='1",
    u"'; DROP TABLE customer; --",
    u"\" OR 1=1 --",
    u":name",
    u"?1",
    u"') UNION SELECT secret FROM vault --",
    u"\\' OR 1=1 --",
    String(u"a") + u'\0' + u"' OR 1=1",
    u"%' OR name LIKE '[a-z]%",
    u"{d '2024-03-05'}",
    u"42 OR 1=1",
    u"\xD800'",
};

class ParameterText : public testing::Test {
 protected:
  ParameterText() {
    m_facts.types = {{u"id", u"INT"}, {u"name", u"VARCHAR(50)"}, {u"price", u"REAL"}, {u"day", u"DATETIME"}};
  }

  EngineStatement Translate(std::u16string_view sql, const Variant& value) {
    return m_dialect.Translate(sql, StatementParameters{{{u"v", value}}, false});
  }
  std::string Text(std::u16string_view sql, const Variant& value) { return Translate(sql, value).sql; }

  FakeFacts m_facts;
  SqliteDialect m_dialect{m_facts};
};

TEST_F(ParameterText, AValueIsAParameterWhereverItStands) {
  EXPECT_EQ("SELECT ?1, 'a' || ?1 FROM t WHERE name = ?1 AND f(?1) AND id IN (?1, 2)",
            Text(u"SELECT :v, 'a' || :v FROM t WHERE name = :v AND f(:V) AND id IN (:v, 2)", u"x"));
  EXPECT_EQ("INSERT INTO t VALUES (?1)", Text(u"INSERT INTO t VALUES (:v)", u"x"));
  EXPECT_EQ("UPDATE t SET name = ?1 WHERE id = ?2", Text(u"UPDATE t SET name = :v WHERE id = 3", u"x"));
}

TEST_F(ParameterText, AForgedValueIsNoPartOfAnyText) {
  for (const std::u16string_view sql :
       {u"SELECT * FROM t WHERE name = :v", u"SELECT * FROM t WHERE name LIKE :v", u"SELECT :v FROM t",
        u"SELECT * FROM t WHERE name LIKE :v ESCAPE '!'", u"SELECT * FROM t WHERE id > :v AND day < :v",
        u"SELECT * FROM t WHERE CASE WHEN name = :v THEN 1 ELSE 0 END = 1",
        u"SELECT TOP 3 id FROM t WHERE (name <> :v) AND (name > 'a' or (name = 'a' and id > '4')) ORDER BY "
        u"name ASC,"
        u"id ASC"}) {
    for (const String& value : kForged) {
      const EngineStatement statement = Translate(sql, value);
      EXPECT_EQ(u"", statement.unbound);
      const std::string text = statement.sql;
      if (value != u"?1") {
        EXPECT_EQ(std::string::npos, text.find(varnel::ToUtf8(value))) << text;
      }
      for (const char* part : {"DROP", "UNION SELECT", "vault", "OR 1", "'1'", ":name"})
        EXPECT_EQ(std::string::npos, text.find(part)) << text;
    }
  }
}

TEST_F(ParameterText, TheTextDependsOnTheKindOfTheValueOnly) {
  const std::u16string_view sql =
      u"SELECT * FROM t WHERE id = :v AND price + 0 > :v AND day < :v AND name LIKE :v";
  EXPECT_EQ(Text(sql, u"x"), Text(sql, u"it's' OR 1=1 --"));
  EXPECT_EQ(Text(sql, u"12"), Text(sql, u"77"));
  EXPECT_NE(Text(sql, u"12"), Text(sql, u"x"));
  EXPECT_EQ(Text(sql, Long{12}), Text(sql, 1.5));
}

TEST_F(ParameterText, WhatNobodyBoundIsSaid) {
  EXPECT_EQ(
      u"Nobody gave the parameter :w a value. SetParameter of a DRecordset does, or a Parameter of an "
      u"ADODB.Command.",
      Translate(u"SELECT :w", u"x").unbound);
  EXPECT_EQ(
      u"Nobody gave the parameter :makr a value. SetParameter of a DRecordset does, or a Parameter of an "
      u"ADODB.Command. Did you mean 'maker'?",
      m_dialect.Translate(u"SELECT :makr", StatementParameters{{{u"maker", u"x"}}, false}).unbound);
  EXPECT_EQ(
      u"Nobody gave the parameter ? a value. A Parameter of an ADODB.Command does; the text of a DRecordset "
      u"names "
      u"its parameters, as in :name.",
      Translate(u"SELECT ?", u"x").unbound);
  EXPECT_EQ(u"The parameter ?1 has a number: write ? or :name.", Translate(u"SELECT ?1", u"x").unbound);
}

TEST_F(ParameterText, QuestionMarksAreCounted) {
  const StatementParameters two{{{u"a", u"x"}, {u"b", u"y"}}, true};
  EXPECT_EQ(u"", m_dialect.Translate(u"SELECT ?, ?", two).unbound);
  EXPECT_EQ(u"The text has 1 question mark, but the number of values for them is 2.",
            m_dialect.Translate(u"SELECT ?", two).unbound);
  EXPECT_EQ(u"The text has 3 question marks, but the number of values for them is 2.",
            m_dialect.Translate(u"SELECT ?, ?, ?", two).unbound);
  EXPECT_EQ(u"The text has parameters of both kinds, ? and :name. Use one of them.",
            m_dialect.Translate(u"SELECT ?, ?, :a", two).unbound);
}

TEST_F(ParameterText, InQuotesAndCommentsNothingIsAParameter) {
  EXPECT_EQ("SELECT ':w?' AS \":w\", [:w] -- :w?\n, ?1",
            Text(u"SELECT ':w?' AS \":w\", [:w] -- :w?\n, :v", u"x"));
}

// --- Commands on the engine

class Parameters : public TestDatabase {
 protected:
  Parameters() {
    Run(u"CREATE TABLE t (id INT PRIMARY KEY, name VARCHAR(50), price REAL, day DATETIME, born DATE, active "
        u"BIT, "
        u"data BLOB)");
    Run(u"INSERT INTO t VALUES (1, 'Ann', 0.3, '2024-03-05 00:00:00', '2024-03-05', 1, NULL), (2, "
        u"'O''Brien', 12.5, "
        u"'2024-03-06 10:30:00', '2024-03-06', 0, NULL), (3, '100% [wool]', 7, NULL, NULL, 1, NULL)");
  }

  std::shared_ptr<AdoCommand> Command(const String& sql) {
    auto command = std::make_shared<AdoCommand>(m_database);
    command->SetActiveConnection(Variant(m_connection));
    command->SetCommandText(sql);
    return command;
  }

  // The first column of the rows that the statement gives with this value, which is its `v`.
  std::string With(const String& sql, const Variant& value, Long type = 0) {
    const auto command = Command(sql);
    command->Parameters()->Append(command->CreateParameter(u"v", type, 1, 0, value));
    return Column(*command);
  }

  static std::string Column(AdoCommand& command) {
    Variant affected;
    const auto recordset = command.Execute(affected, varnel::Missing(), -1);
    std::string text;
    if (recordset->State() == 0) return text;
    for (; !recordset->IsEOF(); recordset->MoveNext()) {
      const Variant value = recordset->FieldValue(0);
      text += (text.empty() ? "" : ",") + (value.IsNull() ? "-" : varnel::ToUtf8(varnel::ToText(value)));
    }
    return text;
  }

  static String DescriptionOf(const std::function<void()>& action) {
    try {
      action();
    } catch (const varnel::Error& error) {
      return error.Info().Description;
    }
    return u"no error";
  }
};

constexpr Long AdoNumber(unsigned number) { return static_cast<Long>(0x800A0000u + number); }

TEST_F(Parameters, QuestionMarksTakeTheValuesInTheirOrder) {
  const auto command = Command(u"SELECT id FROM t WHERE name = ? OR id = ? ORDER BY id");
  command->Parameters()->Append(command->CreateParameter(u"", 202, 1, 50, u"O'Brien"));
  command->Parameters()->Append(command->CreateParameter(u"", 3, 1, 0, Long{3}));
  EXPECT_EQ("2,3", Column(*command));
}

TEST_F(Parameters, NamesTakeTheValueOfTheirName) {
  const auto command = Command(u"SELECT id FROM t WHERE name = :name OR :NAME = id");
  command->Parameters()->Append(command->CreateParameter(u"other", 0, 1, 0, u"x"));
  command->Parameters()->Append(command->CreateParameter(u"Name", 0, 1, 0, u"Ann"));
  EXPECT_EQ("1", Column(*command));
}

TEST_F(Parameters, ForgedValuesAreOnlyValues) {
  for (const String& value : kForged) {
    EXPECT_EQ("", With(u"SELECT id FROM t WHERE name = :v", value));
    EXPECT_EQ(varnel::ToUtf8(value), With(u"SELECT :v", value));
    With(u"SELECT id FROM t WHERE name LIKE :v", value);
    With(u"INSERT INTO t (id, name) SELECT MAX(id) + 1, :v FROM t", value);
  }
  EXPECT_EQ(std::to_string(3 + kForged.size()), Rows(u"SELECT COUNT(*) FROM t"));
}

TEST_F(Parameters, ATextIsComparedAsItsColumnIs) {
  EXPECT_EQ("2", With(u"SELECT id FROM t WHERE id = :v", u"2"));
  EXPECT_EQ("1", With(u"SELECT id FROM t WHERE price = :v", u"0.3"));
  EXPECT_EQ("2", With(u"SELECT id FROM t WHERE price + 0 > :v", u"7.5"));
  EXPECT_EQ("1,2", With(u"SELECT id FROM t WHERE day >= :v", u"20240305"));
  EXPECT_EQ("1,2", With(u"SELECT id FROM t WHERE born >= :v", u"2024-03-05"));
  EXPECT_EQ("1,3", With(u"SELECT id FROM t WHERE active = :v", u"True"));
}

TEST_F(Parameters, NumbersDatesAndBooleansAreThemselves) {
  const varnel::Date fifth = varnel::MakeDate({2024, 3, 5, 0, 0, 0});
  EXPECT_EQ("2", With(u"SELECT id FROM t WHERE id = :v", Long{2}));
  EXPECT_EQ("2", With(u"SELECT id FROM t WHERE id = :v", 2.0));
  EXPECT_EQ("2", With(u"SELECT id FROM t WHERE price > :v", 7.25));
  EXPECT_EQ("1", With(u"SELECT id FROM t WHERE day = :v", fifth));
  EXPECT_EQ("1", With(u"SELECT id FROM t WHERE born = :v", fifth));
  EXPECT_EQ("1,2", With(u"SELECT id FROM t WHERE born >= :v", fifth));
  EXPECT_EQ("1,3", With(u"SELECT id FROM t WHERE active = :v", true));
  EXPECT_EQ("integer", With(u"SELECT typeof(:v)", 4294967296.0));
  EXPECT_EQ("real", With(u"SELECT typeof(:v)", 1e300));
}

TEST_F(Parameters, NullIsNull) {
  EXPECT_EQ("-", With(u"SELECT :v", Null()));
  EXPECT_EQ("", With(u"SELECT id FROM t WHERE day = :v", Null()));
  EXPECT_EQ("3", With(u"SELECT id FROM t WHERE day IS :v", Null()));
  EXPECT_EQ("-", With(u"SELECT :v", Null(), 3));
}

TEST_F(Parameters, BytesComeBackAsTheyWere) {
  const auto bytes = std::make_shared<varnel::Bytes>(varnel::Bytes{0, 39, 255, 0});
  With(u"UPDATE t SET data = :v WHERE id = 1", varnel::BytesPtr(bytes), 205);
  With(u"UPDATE t SET data = :v WHERE id = 2", varnel::BytesPtr(std::make_shared<varnel::Bytes>()));
  EXPECT_EQ("0027FF00,,-", [&] {
    const auto rows = Query(u"SELECT hex(data), data IS NULL FROM t ORDER BY id");
    std::string text;
    for (; !rows->IsEOF(); rows->MoveNext()) {
      const bool isNull = varnel::ToLong(rows->FieldValue(1)) == 1;
      text +=
          (text.empty() ? "" : ",") + (isNull ? "-" : varnel::ToUtf8(varnel::ToText(rows->FieldValue(0))));
    }
    return text;
  }());
}

TEST_F(Parameters, PatternsAreReadAsLiteralOnesAre) {
  EXPECT_EQ("2", With(u"SELECT id FROM t WHERE name LIKE :v", u"o'b%"));
  EXPECT_EQ("1", With(u"SELECT id FROM t WHERE name LIKE :v", u"[a-b]nn"));
  EXPECT_EQ("3", With(u"SELECT id FROM t WHERE name LIKE :v", u"100[%] [[]wool]"));
  EXPECT_EQ("3", With(u"SELECT id FROM t WHERE name LIKE :v ESCAPE '!'", u"100!% ![w%"));
  EXPECT_EQ("1,2", With(u"SELECT id FROM t WHERE name NOT LIKE :v ORDER BY id", u"100[%]%"));
  // Longer than what the engine's own LIKE takes.
  EXPECT_EQ("1", With(u"SELECT id FROM t WHERE name LIKE :v", String(u"Ann") + String(100, u'%')));
  EXPECT_EQ("", With(u"SELECT id FROM t WHERE name LIKE :v ESCAPE '!'", String(u"A!nn") + String(100, u'_')));
}

TEST_F(Parameters, MegabytesFitAndMoreIsSaid) {
  const String large((8 << 20) - 1000, u'x');
  EXPECT_EQ(std::to_string(large.size()), With(u"SELECT LENGTH(:v)", large));
  EXPECT_EQ("", With(u"SELECT id FROM t WHERE name = :v", large));
  EXPECT_EQ("", With(u"SELECT id FROM t WHERE id = :v", String(1 << 20, u'9')));
  EXPECT_EQ(provider_error::kFail, NumberOf([&] { With(u"SELECT LENGTH(:v)", String(9 << 20, u'x')); }));
}

TEST_F(Parameters, AStatementOfChangesTellsHowManyRows) {
  const auto command = Command(u"UPDATE t SET price = price * ? WHERE id >= ?");
  Variant affected;
  const auto values = std::make_shared<varnel::Array>(varnel::Array{{2.0, Long{2}}});
  command->Execute(affected, Variant(values), -1);
  EXPECT_EQ(Variant(Long{2}), affected);
  EXPECT_EQ("0.3,25,14", [&] {
    std::string text;
    for (const auto rows = Query(u"SELECT price FROM t ORDER BY id"); !rows->IsEOF(); rows->MoveNext())
      text += (text.empty() ? "" : ",") + varnel::ToUtf8(varnel::ToText(rows->FieldValue(0)));
    return text;
  }());
}

TEST_F(Parameters, TypesConvertAndRefuse) {
  EXPECT_EQ("2", With(u"SELECT id FROM t WHERE id = :v", u" 2 ", 3));
  EXPECT_EQ("text", With(u"SELECT typeof(:v)", Long{5}, 202));
  EXPECT_EQ("integer", With(u"SELECT typeof(:v)", u"5", 20));
  EXPECT_EQ("real", With(u"SELECT typeof(:v)", u"5.5", 5));
  EXPECT_EQ("2024-03-05", With(u"SELECT :v", varnel::MakeDate({2024, 3, 5, 10, 0, 0}), 133));
  EXPECT_EQ("2024-03-05 10:00:00", With(u"SELECT :v", varnel::MakeDate({2024, 3, 5, 10, 0, 0}), 135));
  EXPECT_EQ(AdoNumber(3421), NumberOf([&] { With(u"SELECT :v", u"x' OR 1=1", 3); }));
  EXPECT_THAT(varnel::ToUtf8(DescriptionOf([&] { With(u"SELECT :v", u"abc", 3); })),
              HasSubstr("The parameter 'v' is of type 3 and can't take 'abc'."));
  EXPECT_EQ(AdoNumber(3421), NumberOf([&] { With(u"SELECT :v", u"text", 205); }));
  EXPECT_EQ(AdoNumber(3001), NumberOf([&] { With(u"SELECT :v", u"x", 9); }));
}

TEST_F(Parameters, WhatIsNoValueIsRefused) {
  const auto array = std::make_shared<varnel::Array>();
  EXPECT_EQ(5, NumberOf([&] { With(u"SELECT :v", Variant()); }));
  EXPECT_EQ(5, NumberOf([&] { With(u"SELECT :v", Variant(array)); }));
  EXPECT_EQ(AdoNumber(3421), NumberOf([&] { With(u"SELECT :v", varnel::Missing()); }));
  const double notANumber = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(provider_error::kNoValue, NumberOf([&] { With(u"SELECT :v", notANumber); }));
  EXPECT_EQ(provider_error::kNoValue, NumberOf([&] { With(u"SELECT :v", varnel::Date{notANumber}); }));
  EXPECT_EQ(provider_error::kNoValue, NumberOf([&] { With(u"SELECT :v", varnel::Date{1e300}); }));
}

TEST_F(Parameters, ATextLongerThanItsSizeIsRefused) {
  const auto command = Command(u"SELECT :v");
  command->Parameters()->Append(command->CreateParameter(u"v", 202, 1, 3, u"four"));
  EXPECT_THAT(varnel::ToUtf8(DescriptionOf([&] { Column(*command); })),
              HasSubstr("The parameter 'v' has a size of 3, and its value is 4 long."));
}

TEST_F(Parameters, OfOneTypeOnlyTheDirectionInward) {
  const auto command = Command(u"SELECT 1");
  EXPECT_EQ(AdoNumber(3219), NumberOf([&] { command->CreateParameter(u"v", 3, 2, 0, varnel::Missing()); }));
  EXPECT_EQ(AdoNumber(3001), NumberOf([&] { command->SetCommandType(4); }));
}

TEST_F(Parameters, TheCollectionIsAskedByNameAndPosition) {
  AdoParameters parameters;
  for (const char16_t* name : {u"maker", u"price", u""}) {
    auto parameter = std::make_shared<AdoParameter>();
    parameter->SetName(name);
    parameters.Append(parameter);
  }
  EXPECT_EQ(3, parameters.Count());
  EXPECT_EQ(u"price", parameters.Item(Long{1})->Name());
  EXPECT_EQ(u"maker", parameters.Item(u"MAKER")->Name());
  EXPECT_EQ(AdoNumber(3265), NumberOf([&] { parameters.Item(Long{3}); }));
  EXPECT_THAT(varnel::ToUtf8(DescriptionOf([&] { parameters.Item(u"prize"); })),
              HasSubstr("There is no parameter 'prize'. Did you mean 'price'?"));
  EXPECT_EQ(AdoNumber(3367), NumberOf([&] { parameters.Append(parameters.Item(u"price")); }));
  EXPECT_EQ(AdoNumber(3001), NumberOf([&] { parameters.Append(nullptr); }));
  parameters.Delete(u"maker");
  EXPECT_EQ(2, parameters.Count());
  EXPECT_EQ(u"price", parameters.Item(Long{0})->Name());
}

TEST_F(Parameters, AParameterThatNobodyBoundFindsNoRowsButAnError) {
  for (const char16_t* sql : {u"SELECT id FROM t WHERE id = :id", u"SELECT id FROM t WHERE id = ?",
                              u"SELECT id FROM t WHERE id = @id", u"SELECT id FROM t WHERE id = $id",
                              u"DELETE FROM t WHERE id <> ?1"}) {
    EXPECT_EQ(provider_error::kNoValue, NumberOf([&] { Run(sql); }));
    EXPECT_EQ(provider_error::kNoValue, NumberOf([&] { Query(sql); }));
  }
  EXPECT_THAT(varnel::ToUtf8(DescriptionOf([&] { Run(u"SELECT id FROM t WHERE id = @id"); })),
              HasSubstr("Nobody gave the parameter @id a value. Write it as :name or as ?."));
  EXPECT_EQ("3", Rows(u"SELECT COUNT(*) FROM t"));
}

TEST_F(Parameters, ARecordsetOpensACommandAndRunsItAgain) {
  for (int i = 4; i <= 600; ++i) Run(u"INSERT INTO t (id) VALUES (" + varnel::DecimalText(i) + u")");
  const auto command = Command(u"SELECT id FROM t WHERE id > ? ORDER BY id");
  command->Parameters()->Append(command->CreateParameter(u"", 0, 1, 0, Long{1}));
  auto shared = std::make_shared<AdoRecordset>(m_database);
  shared->OpenWith(Variant(command), varnel::Missing(), 0, -1, -1);
  for (int i = 0; i < 500; ++i) shared->MoveNext();
  shared->MoveFirst();  // it has let go of its first rows
  EXPECT_EQ(Variant(Long{2}), shared->FieldValue(0));
}

TEST_F(Parameters, RowsAreCountedWithTheirParameters) {
  for (int i = 4; i <= 600; ++i) Run(u"INSERT INTO t (id) VALUES (" + varnel::DecimalText(i) + u")");
  const auto command = Command(u"SELECT id FROM t WHERE id > :least");
  command->Parameters()->Append(command->CreateParameter(u"least", 0, 1, 0, Long{100}));
  m_connection->SetCursorLocation(3);
  Variant affected;
  EXPECT_EQ(500, command->Execute(affected, varnel::Missing(), -1)->RecordCount());
}

TEST_F(Parameters, ACommandMayNameATable) {
  const auto command = Command(u"t");
  command->SetCommandType(2);
  EXPECT_EQ("1,2,3", Column(*command));
  command->SetCommandText(u"t; DROP TABLE t");
  EXPECT_EQ(provider_error::kNoTable, NumberOf([&] { Column(*command); }));
}

TEST_F(Parameters, ACommandNeedsAnOpenConnection) {
  AdoCommand command(m_database);
  command.SetCommandText(u"SELECT 1");
  Variant affected;
  EXPECT_EQ(AdoNumber(3709), NumberOf([&] { command.Execute(affected, varnel::Missing(), -1); }));
  command.SetActiveConnection(u"Provider=SQLite;Data Source=test.db");
  EXPECT_EQ("1", Column(command));
  EXPECT_EQ(AdoNumber(3001), NumberOf([&] { command.SetActiveConnection(Variant(command.Parameters())); }));
}

TEST_F(Parameters, AnIndexServesThem) {
  Run(u"CREATE INDEX ix_name ON t (name)");
  const auto command = Command(u"EXPLAIN QUERY PLAN SELECT id FROM t WHERE name = :v");
  command->Parameters()->Append(command->CreateParameter(u"v", 0, 1, 0, u"Ann"));
  Variant affected;
  const auto plan = command->Execute(affected, varnel::Missing(), -1);
  EXPECT_THAT(varnel::ToUtf8(varnel::ToText(plan->FieldValue(3))), HasSubstr("SEARCH t USING"));
}

}  // namespace
}  // namespace hostlinux
