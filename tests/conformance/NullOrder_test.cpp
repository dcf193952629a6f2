// Pages among rows whose sort column is NULL, of a list that goes both ways: PostgreSQL is sent what an index gives in order.
#include "tests/conformance/EngineUnderTest.h"
#include "varnel/recordset/PageQuery.h"

namespace {

using varnel::String;

class NullOrder : public testing::TestWithParam<EngineKind> {
 protected:
  void SetUp() override {
    if (const std::string missing = WhatIsMissing(GetParam()); !missing.empty()) GTEST_SKIP() << missing;
    hostlinux::AdoOptions options;
    options.onStatement = [this](const hostlinux::SqlTraceEntry& entry) { m_sent = entry.sent; };
    m_database = std::make_unique<EngineDatabase>(GetParam(), std::move(options));
    m_database->Run(u"CREATE TABLE item (id INT NOT NULL PRIMARY KEY, name VARCHAR(20))");
    m_database->Run(
        u"INSERT INTO item SELECT i, CASE WHEN i % 10 = 0 THEN 'Item ' || i END FROM generate_series(1, "
        u"20000) i");
  }

  // The page behind row 10,001 by name, descending, and then by id: that row has no name, and neither have those behind it.
  std::string PageAmongNulls() {
    m_database->Run(u"ANALYZE item");
    varnel::PersistedState state;
    state.NavType = varnel::nav_type::kNext;
    state.SortFields = u"name DESC";
    state.KeyValues = {varnel::Null(), String(u"10001")};
    std::vector<String> branches = {u"SELECT id FROM item"};
    const varnel::PageQuery query =
        varnel::BuildRead(branches, state, varnel::ParseSortFields(state, u"id"), varnel::PageTop{3});
    hostlinux::AdoRecordset rows(m_database->Services());
    rows.SetCursorLocation(varnel::host::ado::kUseClient);
    rows.SetMaxRecords(3);
    rows.OpenPage(query.text, query.page, m_database->Connection());
    return EngineDatabase::RowsOf(rows);
  }

  std::unique_ptr<EngineDatabase> m_database;
  String m_sent;
};

TEST_P(NullOrder, TheUsualIndexIsReadTheOtherWay) {
  m_database->Run(u"CREATE INDEX item_name ON item (name NULLS FIRST, id)");
  EXPECT_EQ("10002;10003;10004", PageAmongNulls());
  EXPECT_NE(String::npos, m_sent.find(u"ORDER BY name ASC NULLS FIRST,id ASC LIMIT 3"))
      << varnel::ToUtf8(m_sent);
}

TEST_P(NullOrder, AnIndexOfTheListsOwnDirectionsIsReadAsItStands) {
  m_database->Run(u"CREATE INDEX item_name ON item (name DESC NULLS LAST, id)");
  EXPECT_EQ("10002;10003;10004", PageAmongNulls());
  EXPECT_NE(String::npos, m_sent.find(u"ORDER BY name DESC NULLS LAST,id ASC LIMIT 3"))
      << varnel::ToUtf8(m_sent);
}

INSTANTIATE_TEST_SUITE_P(Engines, NullOrder,
                         testing::Values(EngineKind::Postgresql, EngineKind::PostgresqlByOdbc),
                         [](const auto& info) { return NameOf(info.param); });

}  // namespace
