// A text that was made of what a connection read is kept as long as the same reads surely give the same rows.
#include "host-fake/ErrorOf.h"
#include "tests/database/TestDatabase.h"

namespace {

using varnel::String;

constexpr const char16_t* kFile = u"Provider=SQLite;Data Source=test.db";

class KeptTexts : public TestDatabase {
 protected:
  KeptTexts() {
    Run(u"CREATE TABLE t (id INT NOT NULL PRIMARY KEY, name VARCHAR(20))");
    Run(u"INSERT INTO t VALUES (1, 'a'), (2, 'b')");
  }

  bool IsKept(const String& key = u"key") { return m_connection->KeptText(key) != nullptr; }
  void RunElsewhere(const String& sql) { Connect(kFile)->Execute(sql, -1); }
  // Makes the text "made" of these reads.
  void Make(std::initializer_list<const char16_t*> reads, const String& key = u"key") {
    EXPECT_FALSE(IsKept(key));
    for (const char16_t* sql : reads) Query(sql);
    m_connection->KeepText(key, u"made");
  }
};

constexpr const char16_t* kRead = u"SELECT id, name FROM t ORDER BY id";

TEST_F(KeptTexts, ATextIsFoundByItsKeyAlone) {
  Make({kRead});
  ASSERT_TRUE(IsKept());
  EXPECT_EQ(u"made", *m_connection->KeptText(u"key"));
  EXPECT_FALSE(IsKept(u"Key"));
}

TEST_F(KeptTexts, OneOfACountAndAViewAsWell) {
  Run(u"CREATE VIEW v AS SELECT * FROM t");
  Query(kRead);  // the schema is learned anew
  Make({u"SELECT COUNT(*) FROM v", kRead, u"SELECT id FROM v WHERE LOWER(name) LIKE '%a%'"});
  EXPECT_TRUE(IsKept());
  Make({u"SELECT COUNT(*) FROM v"}, u"of a kept count");
  EXPECT_TRUE(IsKept(u"of a kept count"));
}

TEST_F(KeptTexts, OwnChangesEndIt) {
  Make({kRead});
  Run(u"UPDATE t SET name = 'c' WHERE id = 1");
  EXPECT_FALSE(IsKept());
}

TEST_F(KeptTexts, ChangesOfOthersEndIt) {
  Make({kRead});
  RunElsewhere(u"INSERT INTO t VALUES (3, 'c')");
  EXPECT_FALSE(IsKept());
}

TEST_F(KeptTexts, AChangeWhileItIsMadeEndsIt) {
  EXPECT_FALSE(IsKept());
  Query(kRead);
  RunElsewhere(u"INSERT INTO t VALUES (3, 'c')");
  m_connection->KeepText(u"key", u"made");
  EXPECT_FALSE(IsKept());
}

TEST_F(KeptTexts, AnotherSchemaEndsIt) {
  Make({kRead});
  Run(u"CREATE TABLE u (id INT)");
  EXPECT_FALSE(IsKept());
}

TEST_F(KeptTexts, OneOfAClockOrOfChanceIsNotKept) {
  for (const char16_t* sql :
       {u"SELECT RANDOM() FROM t", u"SELECT id FROM t WHERE DATE('now') > '2000'",
        u"SELECT CURRENT_TIMESTAMP FROM t", u"SELECT COUNT(*) FROM t WHERE RANDOM() > 0"}) {
    for (int i = 0; i < 2; ++i) {  // prepared, and found prepared
      Make({kRead, sql});
      EXPECT_FALSE(IsKept()) << varnel::ToUtf8(sql);
    }
  }
}

TEST_F(KeptTexts, NothingIsKeptOrFoundInATransaction) {
  Make({kRead}, u"before");
  m_connection->BeginTrans();
  EXPECT_FALSE(IsKept(u"before"));
  Query(kRead);
  m_connection->KeepText(u"within", u"made");
  m_connection->CommitTrans();
  EXPECT_FALSE(IsKept(u"within"));
  EXPECT_TRUE(IsKept(u"before"));
}

TEST_F(KeptTexts, NorWhereTheConnectionHasSomethingOfItsOwn) {
  Make({kRead});
  Run(u"CREATE TEMP TABLE t (id INT, name VARCHAR(20))");
  EXPECT_FALSE(IsKept());
  Query(kRead);
  m_connection->KeepText(u"key", u"made");
  EXPECT_FALSE(IsKept());
}

TEST_F(KeptTexts, NorWithoutALookForIt) {
  Query(kRead);
  m_connection->KeepText(u"key", u"made");
  EXPECT_FALSE(IsKept());
}

TEST_F(KeptTexts, ALongOneIsNotKept) {
  EXPECT_FALSE(IsKept());
  m_connection->KeepText(u"key", String(20000, u'x'));
  EXPECT_FALSE(IsKept());
}

TEST_F(KeptTexts, TheLastOnesAreKept) {
  for (int i = 0; i < 150; ++i) Make({}, varnel::DecimalText(i));
  EXPECT_TRUE(IsKept(u"149"));
  EXPECT_FALSE(IsKept(u"0"));
}

TEST_F(KeptTexts, TheConnectionStringSaysHowMany) {
  const auto connection = std::make_shared<hostlinux::AdoConnection>(m_database);
  const auto isKept = [&](const String& keptLists) {
    connection->Open(String(kFile) + u";KeptLists=" + keptLists, u"", u"", -1);
    connection->KeptText(u"key");
    connection->KeepText(u"key", u"made");
    const bool isThere = connection->KeptText(u"key") != nullptr;
    connection->Close();
    return isThere;
  };
  EXPECT_FALSE(isKept(u"0"));
  EXPECT_TRUE(isKept(u"1"));
  for (const char16_t* wrong : {u"no", u"-1", u"1.5", u"99999999999999999999"})
    EXPECT_EQ(hostlinux::provider_error::kFail, hostfake::NumberOf([&] { isKept(wrong); }));
}

TEST_F(KeptTexts, AClosedConnectionHasNone) {
  Make({kRead});
  m_connection->Close();
  EXPECT_FALSE(IsKept());
  m_connection->KeepText(u"key", u"made");
}

TEST_F(KeptTexts, WhoeverWatchesTheStatementsSeesThemAll) {
  hostlinux::AdoOptions options;
  options.onStatement = [](const hostlinux::SqlTraceEntry&) {};
  MakeDatabase(std::move(options));
  EXPECT_FALSE(IsKept());
  m_connection->KeepText(u"key", u"made");
  EXPECT_FALSE(IsKept());
}

}  // namespace
