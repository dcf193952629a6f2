// What connections and recordsets promise on every engine, and what the fake host promises with them: where they stand, how many
// rows they give, what they refuse, and where an error is found.
#include "host-fake/ErrorOf.h"
#include "tests/conformance/EngineUnderTest.h"

namespace {

using hostfake::NumberOf;
using varnel::Long;
using varnel::String;
using varnel::Variant;
namespace ado = varnel::host::ado;
namespace provider_error = hostlinux::provider_error;

constexpr Long AdoNumber(std::uint32_t code) { return static_cast<Long>(0x800A0000U + code); }
constexpr Long kNoCurrentRow = AdoNumber(3021);
constexpr Long kNoSuchField = AdoNumber(3265);
constexpr Long kClosed = AdoNumber(3704);
constexpr Long kOpen = AdoNumber(3705);
constexpr Long kNoConnection = AdoNumber(3709);

const String kAll = u"SELECT id, name FROM t ORDER BY id";

class Recordsets : public EveryEngine {
 protected:
  void SetUp() override {
    EveryEngine::SetUp();
    if (IsSkipped()) return;
    Run(u"CREATE TABLE t (id INT NOT NULL PRIMARY KEY, name VARCHAR(20))");
    Run(u"INSERT INTO t (id, name) VALUES (1, 'a'), (2, NULL), (3, 'c')");
    m_rows = m_database->NewRecordset();
  }

  void Open(const String& sql = kAll, Long cursorType = ado::kOpenForwardOnly) {
    m_rows->Open(sql, m_database->Connection(), cursorType, ado::kLockReadOnly, ado::kCommandText);
  }

  DatabaseUnderTest::RecordsetPtr m_rows;
};

TEST_P(Recordsets, AreReadRowByRow) {
  Open();
  EXPECT_EQ(m_rows->FieldCount(), 2);
  EXPECT_EQ(m_rows->FieldName(1), u"name");
  EXPECT_EQ(m_rows->FieldValue(0), Variant(Long{1}));
  EXPECT_EQ(m_rows->FieldValue(1), Variant(u"a"));
  m_rows->MoveNext();
  EXPECT_TRUE(m_rows->FieldValue(1).IsNull());
  m_rows->MoveNext();
  EXPECT_FALSE(m_rows->IsEOF());
  m_rows->MoveNext();
  EXPECT_TRUE(m_rows->IsEOF());
  EXPECT_EQ(NumberOf([&] { m_rows->MoveNext(); }), kNoCurrentRow);
  EXPECT_EQ(NumberOf([&] { m_rows->FieldValue(0); }), kNoCurrentRow);
}

TEST_P(Recordsets, WithoutRowsAreAtTheirEnd) {
  Open(u"SELECT id FROM t WHERE id > 3");
  EXPECT_TRUE(m_rows->IsEOF());
  EXPECT_EQ(m_rows->FieldCount(), 1);
  EXPECT_EQ(NumberOf([&] { m_rows->GetRows(); }), kNoCurrentRow);
  EXPECT_EQ(NumberOf([&] { m_rows->MoveNext(); }), kNoCurrentRow);
}

TEST_P(Recordsets, GiveTheirRestInABlock) {
  Open();
  m_rows->MoveNext();
  const varnel::host::RowBlock block = m_rows->GetRows();
  ASSERT_EQ(block.Columns(), 2U);
  ASSERT_EQ(block.Rows(), 2U);
  EXPECT_EQ(block.At(0, 0), Variant(Long{2}));
  EXPECT_TRUE(block.At(1, 0).IsNull());
  EXPECT_EQ(block.At(0, 1), Variant(Long{3}));
  EXPECT_EQ(block.At(1, 1), Variant(u"c"));
  EXPECT_TRUE(m_rows->IsEOF());
  EXPECT_EQ(NumberOf([&] { m_rows->GetRows(); }), kNoCurrentRow);
}

TEST_P(Recordsets, HaveTheFieldsOfTheirStatement) {
  Open();
  EXPECT_EQ(NumberOf([&] { m_rows->FieldName(-1); }), kNoSuchField);
  EXPECT_EQ(NumberOf([&] { m_rows->FieldName(2); }), kNoSuchField);
  EXPECT_EQ(NumberOf([&] { m_rows->FieldType(2); }), kNoSuchField);
  EXPECT_EQ(NumberOf([&] { m_rows->FieldValue(2); }), kNoSuchField);
}

TEST_P(Recordsets, RefuseWhatTheirStateForbids) {
  EXPECT_EQ(m_rows->FieldCount(), 0);
  EXPECT_EQ(NumberOf([&] { m_rows->IsEOF(); }), kClosed);
  EXPECT_EQ(NumberOf([&] { m_rows->MoveNext(); }), kClosed);
  EXPECT_EQ(NumberOf([&] { m_rows->GetRows(); }), kClosed);
  EXPECT_EQ(NumberOf([&] { m_rows->RecordCount(); }), kClosed);
  EXPECT_EQ(NumberOf([&] { m_rows->Close(); }), kClosed);
  Open();
  EXPECT_EQ(NumberOf([&] { Open(); }), kOpen);
  EXPECT_EQ(m_rows->FieldValue(0), Variant(Long{1}));
  m_rows->Close();
  EXPECT_EQ(m_rows->FieldCount(), 0);
  EXPECT_EQ(NumberOf([&] { m_rows->IsEOF(); }), kClosed);
  Open();
  EXPECT_EQ(m_rows->FieldValue(0), Variant(Long{1}));
}

TEST_P(Recordsets, NeedAnOpenConnection) {
  EXPECT_EQ(NumberOf([&] { m_rows->Open(kAll, nullptr, -1, -1, -1); }), kNoConnection);
  EXPECT_EQ(NumberOf([&] { m_rows->Open(kAll, m_database->NewConnection(), -1, -1, -1); }), kNoConnection);
  const auto connection = m_database->Connect();
  connection->Close();
  EXPECT_EQ(NumberOf([&] { m_rows->Open(kAll, connection, -1, -1, -1); }), kNoConnection);
}

TEST_P(Recordsets, AreCutToTheMostRecords) {
  const auto rowsWith = [&](Long most) {
    const auto rows = m_database->NewRecordset();
    rows->SetMaxRecords(most);
    rows->Open(kAll, m_database->Connection(), ado::kOpenStatic, ado::kLockReadOnly, -1);
    EXPECT_EQ(rows->RecordCount(), static_cast<Long>(rows->GetRows().Rows())) << most;
    return rows->RecordCount();
  };
  EXPECT_EQ(rowsWith(0), 3);
  EXPECT_EQ(rowsWith(1), 1);
  EXPECT_EQ(rowsWith(2), 2);
  EXPECT_EQ(rowsWith(3), 3);
  EXPECT_EQ(rowsWith(9), 3);
  EXPECT_EQ(rowsWith(-2), 2);  // a sum of 16 bits may have become negative
}

TEST_P(Recordsets, AreCountedUnlessTheyOnlyGoForward) {
  const auto countOf = [&](Long location, Long cursorType) {
    const auto rows = m_database->NewRecordset();
    rows->SetCursorLocation(location);
    rows->Open(kAll, m_database->Connection(), cursorType, ado::kLockReadOnly, -1);
    return rows->RecordCount();
  };
  EXPECT_EQ(countOf(ado::kUseServer, ado::kOpenForwardOnly), -1);
  EXPECT_EQ(countOf(ado::kUseServer, ado::kOpenKeyset), 3);
  EXPECT_EQ(countOf(ado::kUseServer, ado::kOpenStatic), 3);
  EXPECT_EQ(countOf(ado::kUseClient, ado::kOpenForwardOnly), 3);
}

TEST_P(Recordsets, OnTheClientsSideAreStatic) {
  m_rows->SetCursorType(ado::kOpenForwardOnly);
  EXPECT_EQ(m_rows->CursorType(), ado::kOpenForwardOnly);
  m_rows->SetCursorLocation(ado::kUseClient);
  m_rows->Open(kAll, m_database->Connection(), ado::kUnspecified, ado::kUnspecified, ado::kUnspecified);
  EXPECT_EQ(m_rows->CursorType(), ado::kOpenStatic);
}

TEST_P(Recordsets, KeepTheirRowsWithoutTheirConnection) {
  EXPECT_EQ(m_rows->GetActiveConnection(), nullptr);
  auto connection = m_database->Connect();
  m_rows->SetCursorLocation(ado::kUseClient);
  m_rows->Open(kAll, connection, ado::kUnspecified, ado::kUnspecified, ado::kUnspecified);
  EXPECT_EQ(m_rows->GetActiveConnection(), connection);
  m_rows->DetachConnection();
  EXPECT_EQ(m_rows->GetActiveConnection(), nullptr);
  connection->Close();
  connection = nullptr;
  EXPECT_EQ(m_rows->RecordCount(), 3);
  EXPECT_EQ(DatabaseUnderTest::RowsOf(*m_rows), "1,a;2,-;3,c");
}

TEST_P(Recordsets, SeveralStandOnOneConnection) {
  Open();
  const auto other = m_database->Query(u"SELECT name FROM t ORDER BY id DESC");
  EXPECT_EQ(m_rows->FieldValue(0), Variant(Long{1}));
  EXPECT_EQ(other->FieldValue(0), Variant(u"c"));
  m_rows->MoveNext();
  other->Close();
  EXPECT_EQ(DatabaseUnderTest::RowsOf(*m_rows), "2,-;3,c");
}

TEST_P(Recordsets, OfAStatementWithoutRowsAreClosed) {
  Open(u"DELETE FROM t WHERE id = 3");
  EXPECT_EQ(NumberOf([&] { m_rows->IsEOF(); }), kClosed);
  EXPECT_EQ(m_rows->FieldCount(), 0);
  const auto executed = m_database->Connection()->Execute(u"DELETE FROM t WHERE id = 2", -1);
  ASSERT_NE(executed, nullptr);
  EXPECT_EQ(NumberOf([&] { executed->IsEOF(); }), kClosed);
  EXPECT_EQ(Rows(kAll), "1,a");
}

TEST_P(Recordsets, StayClosedWhereTheirStatementFails) {
  EXPECT_EQ(NumberOf([&] { Open(u"SELECT id FROM none"); }), provider_error::kNoTable);
  EXPECT_EQ(NumberOf([&] { m_rows->IsEOF(); }), kClosed);
  EXPECT_EQ(m_rows->GetActiveConnection(), nullptr);
  Open();
  EXPECT_EQ(DatabaseUnderTest::RowsOf(*m_rows), "1,a;2,-;3,c");
}

TEST_P(Recordsets, OfExecuteStandOnTheirFirstRow) {
  const auto executed = m_database->Connection()->Execute(kAll, ado::kCommandText);
  EXPECT_EQ(executed->RecordCount(), -1);
  EXPECT_EQ(DatabaseUnderTest::RowsOf(*executed), "1,a;2,-;3,c");
}

// --- connections

class Connections : public Recordsets {};

TEST_P(Connections, AreOpenOrClosed) {
  const auto connection = m_database->NewConnection();
  EXPECT_EQ(NumberOf([&] { connection->Execute(kAll, -1); }), kClosed);
  EXPECT_EQ(NumberOf([&] { connection->Close(); }), kClosed);
  connection->Open(m_database->Text(), u"", u"", -1);
  EXPECT_EQ(NumberOf([&] { connection->Open(m_database->Text(), u"", u"", -1); }), kOpen);
  connection->Execute(kAll, -1);
  connection->Close();
  EXPECT_EQ(NumberOf([&] { connection->Execute(kAll, -1); }), kClosed);
  EXPECT_EQ(NumberOf([&] { DatabaseUnderTest::BeginTrans(connection); }), kClosed);
}

TEST_P(Connections, TellHowManyRowsChanged) {
  Long affected = 7;
  const auto change = [&](const String& sql) {
    m_database->Connection()->ExecuteCounting(sql, affected, -1);
    return affected;
  };
  EXPECT_EQ(change(u"INSERT INTO t (id, name) VALUES (4, 'd'), (5, 'e')"), 2);
  EXPECT_EQ(change(u"UPDATE t SET name = 'x' WHERE id > 1"), 4);
  EXPECT_EQ(change(u"DELETE FROM t WHERE id > 99"), 0);
  EXPECT_EQ(change(u"DELETE FROM t"), 5);
  EXPECT_EQ(change(kAll), -1);
  affected = 7;
  EXPECT_NE(NumberOf([&] { change(u"DELETE FROM none"); }), 0);
  EXPECT_EQ(affected, 7);
}

TEST_P(Connections, KeepTheErrorsOfWhatFailed) {
  const auto connection = m_database->Connect();
  EXPECT_TRUE(connection->Errors().empty());
  const auto error = hostfake::ErrorOf([&] { connection->Execute(u"INSERT INTO t (id) VALUES (1)", -1); });
  EXPECT_EQ(error.Number, provider_error::kIntegrity);
  EXPECT_FALSE(error.Source.empty());
  ASSERT_FALSE(connection->Errors().empty());
  const varnel::host::ProviderError first = connection->Errors().front();
  EXPECT_EQ(first.Number, error.Number);
  EXPECT_EQ(first.Source, error.Source);
  EXPECT_EQ(first.Description, error.Description);
  EXPECT_EQ(first.NativeError != 0, Has(Feature::NumbersOfErrors)) << first.NativeError;
  EXPECT_TRUE(first.SQLState.starts_with(u"23")) << varnel::ToUtf8(first.SQLState);
  // Of the last one that failed, whatever has succeeded since.
  connection->Execute(kAll, -1);
  EXPECT_FALSE(connection->Errors().empty());
  EXPECT_NE(NumberOf([&] { connection->Execute(u"SELECT id FROM none", -1); }), 0);
  EXPECT_EQ(connection->Errors().front().Number, provider_error::kNoTable);
}

TEST_P(Connections, AStatementThatFailsHalfwayChangesNothing) {
  EXPECT_EQ(NumberOf([&] { Run(u"INSERT INTO t (id) VALUES (8), (9), (1)"); }), provider_error::kIntegrity);
  EXPECT_EQ(Rows(kAll), "1,a;2,-;3,c");
}

TEST_P(Connections, TheLibrarysIsolationIsTaken) {
  const auto connection = m_database->Connect();
  connection->SetIsolationLevel(ado::kReadCommitted);
  connection->Execute(u"set TRANSACTION ISOLATION LEVEL READ COMMITTED", -1);
  EXPECT_EQ(DatabaseUnderTest::RowsOf(*connection->Execute(kAll, -1)), "1,a;2,-;3,c");
}

INSTANTIATE_TEST_SUITE_P(Engines, Recordsets, kEveryKind,
                         [](const auto& info) { return NameOf(info.param); });
INSTANTIATE_TEST_SUITE_P(Engines, Connections, kEveryKind,
                         [](const auto& info) { return NameOf(info.param); });

}  // namespace
