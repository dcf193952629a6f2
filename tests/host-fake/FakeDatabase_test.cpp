#include "host-fake/FakeDatabase.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host-fake/ErrorOf.h"
#include "host-fake/FakeHost.h"

namespace hostfake {
namespace {

using testing::ElementsAre;
using varnel::Long;
namespace ado = varnel::host::ado;

// As misuse is raised.
Long AdoNumber(std::uint32_t code) { return static_cast<Long>(0x800A0000U + code); }

FakeAnswer Numbers(Long count) {
  FakeAnswer answer;
  answer.columns = {{u"ID", kTypeLong}};
  for (Long i = 1; i <= count; ++i) answer.rows.push_back({Variant(i)});
  return answer;
}

class FakeDatabaseTest : public testing::Test {
 protected:
  FakeDatabaseTest() {
    connection = host.CreateConnection();
    connection->Open(u"fake", u"", u"", -1);
    recordset = host.CreateRecordset();
    host.Trace().Clear();
  }

  void Open(const String& sql) { recordset->Open(sql, connection, -1, -1, -1); }

  FakeHost host;
  FakeDatabase& database = host.Database();
  std::shared_ptr<varnel::host::IConnection> connection;
  std::shared_ptr<varnel::host::IRecordset> recordset;
};

TEST_F(FakeDatabaseTest, TellsEverythingInOrder) {
  database.Answer(u"SELECT ID FROM T", Numbers(1));
  connection->SetCommandTimeout(30);
  recordset->SetCursorType(0);
  recordset->SetMaxRecords(10);
  Open(u"SELECT ID FROM T");
  recordset->DetachConnection();
  recordset->GetRows();
  recordset->Close();
  connection->Close();
  EXPECT_THAT(database.Lines(),
              ElementsAre("Connection 1: CommandTimeout 30", "Recordset 1: CursorType 0",
                          "Recordset 1: MaxRecords 10", "Recordset 1: Open SELECT ID FROM T (-1, -1, -1)",
                          "Recordset 1: ActiveConnection Nothing", "Recordset 1: GetRows",
                          "Recordset 1: Close", "Connection 1: Close"));
}

TEST_F(FakeDatabaseTest, AnswersExactTextsBeforeFunctions) {
  database.AnswerWith([](const String& sql) -> std::optional<FakeAnswer> {
    if (sql.starts_with(u"SELECT")) return Numbers(3);
    return std::nullopt;
  });
  database.Answer(u"SELECT 1", Numbers(1));
  Open(u"SELECT 1");
  EXPECT_EQ(recordset->GetRows().Rows(), 1U);
  recordset->Close();
  Open(u"SELECT 2");
  EXPECT_EQ(recordset->GetRows().Rows(), 3U);
  EXPECT_THAT(database.Statements(), ElementsAre(u"SELECT 1", u"SELECT 2"));
}

TEST_F(FakeDatabaseTest, ATextWithoutAnAnswerFails) {
  const auto error = ErrorOf([&] { Open(u"SELECT x"); });
  EXPECT_EQ(error.Number, static_cast<Long>(0x80040E14));
  EXPECT_EQ(error.Description, u"No answer is laid out for: SELECT x");
}

TEST_F(FakeDatabaseTest, MaxRecordsCutsByItsAbsoluteValueAndZeroCutsNothing) {
  database.Answer(u"Q", Numbers(5));
  const auto rowsWith = [&](Long maxRecords) {
    recordset->SetMaxRecords(maxRecords);
    Open(u"Q");
    const auto rows = recordset->GetRows().Rows();
    recordset->Close();
    return rows;
  };
  EXPECT_EQ(rowsWith(0), 5U);
  EXPECT_EQ(rowsWith(2), 2U);
  EXPECT_EQ(rowsWith(-3), 3U);
  EXPECT_EQ(rowsWith(9), 5U);
}

TEST_F(FakeDatabaseTest, CountsStaticKeysetAndClientSideRecordsetsOnly) {
  database.Answer(u"Q", Numbers(5));
  const auto countWith = [&](Long location, Long type) {
    recordset->SetCursorLocation(location);
    recordset->SetCursorType(type);
    Open(u"Q");
    const Long count = recordset->RecordCount();
    recordset->Close();
    return count;
  };
  EXPECT_EQ(countWith(ado::kUseServer, ado::kOpenForwardOnly), -1);
  EXPECT_EQ(countWith(ado::kUseServer, 1), 5);
  EXPECT_EQ(countWith(ado::kUseServer, 2), -1);
  EXPECT_EQ(countWith(ado::kUseServer, ado::kOpenStatic), 5);
  EXPECT_EQ(countWith(ado::kUseClient, ado::kOpenForwardOnly), 5);
}

TEST_F(FakeDatabaseTest, WalksRowsAndNamesFields) {
  FakeAnswer answer;
  answer.columns = {{u"ID", kTypeLong}, {u"At", ado::kTypeTimeStamp}};
  answer.rows = {{Long{7}, varnel::Null()}, {Long{8}}};
  database.Answer(u"Q", answer);
  Open(u"Q");
  EXPECT_EQ(recordset->FieldCount(), 2);
  EXPECT_EQ(recordset->FieldName(1), u"At");
  EXPECT_EQ(recordset->FieldType(1), 135);
  EXPECT_EQ(recordset->FieldValue(0), Variant(Long{7}));
  recordset->MoveNext();
  EXPECT_EQ(recordset->FieldValue(0), Variant(Long{8}));
  EXPECT_TRUE(recordset->FieldValue(1).IsNull());
  EXPECT_FALSE(recordset->IsEOF());
  recordset->MoveNext();
  EXPECT_TRUE(recordset->IsEOF());
  EXPECT_EQ(ErrorOf([&] { recordset->FieldValue(0); }).Number, AdoNumber(3021));
  EXPECT_EQ(ErrorOf([&] { recordset->FieldName(2); }).Number, AdoNumber(3265));
}

TEST_F(FakeDatabaseTest, ReadsRowsFromTheCurrentOneToTheEnd) {
  database.Answer(u"Q", Numbers(3));
  Open(u"Q");
  recordset->MoveNext();
  const auto rows = recordset->GetRows();
  EXPECT_EQ(rows.Columns(), 1U);
  EXPECT_EQ(rows.Rows(), 2U);
  EXPECT_EQ(rows.At(0, 0), Variant(Long{2}));
  EXPECT_TRUE(recordset->IsEOF());
  EXPECT_EQ(ErrorOf([&] { recordset->GetRows(); }).Number, AdoNumber(3021));
}

TEST_F(FakeDatabaseTest, RefusesWhatAnOpenOrClosedObjectCannotDo) {
  database.Answer(u"Q", Numbers(1));
  EXPECT_EQ(ErrorOf([&] { recordset->GetRows(); }).Number, AdoNumber(3704));
  EXPECT_EQ(ErrorOf([&] { recordset->Close(); }).Number, AdoNumber(3704));
  EXPECT_EQ(recordset->FieldCount(), 0);
  Open(u"Q");
  EXPECT_EQ(ErrorOf([&] { Open(u"Q"); }).Number, AdoNumber(3705));
  EXPECT_EQ(ErrorOf([&] { recordset->SetMaxRecords(1); }).Number, AdoNumber(3705));
  EXPECT_EQ(ErrorOf([&] { connection->Open(u"", u"", u"", -1); }).Number, AdoNumber(3705));
  recordset->Close();
  connection->Close();
  EXPECT_EQ(ErrorOf([&] { Open(u"Q"); }).Number, AdoNumber(3709));
  EXPECT_EQ(ErrorOf([&] { connection->Execute(u"Q", -1); }).Number, AdoNumber(3704));
}

TEST_F(FakeDatabaseTest, FailsWithTheProvidersErrorsWhenToldTo) {
  database.Answer(u"Q", Numbers(1));
  database.FailExecute(Failure(-8, u"lost connection"), {{-9, u"Provider", u"gone", 42, u"08S01"}});
  EXPECT_EQ(ErrorOf([&] { Open(u"Q"); }).Number, -8);
  ASSERT_EQ(connection->Errors().size(), 1U);
  EXPECT_EQ(connection->Errors()[0].NativeError, 42);
  database.ClearFaults();
  Open(u"Q");
  database.FailGetRows(Failure(-10, u"short of memory"));
  EXPECT_EQ(ErrorOf([&] { recordset->GetRows(); }).Number, -10);
  database.FailOpen(Failure(-11, u"no server"));
  const auto other = host.CreateConnection();
  EXPECT_EQ(ErrorOf([&] { other->Open(u"x", u"", u"", -1); }).Number, -11);
}

TEST_F(FakeDatabaseTest, AnAnswerCanBeAnError) {
  FakeAnswer answer;
  answer.error = Failure(-12, u"no such table");
  answer.providerErrors = {{-12, u"Provider", u"no such table", 1, u"42S02"}};
  database.Answer(u"Q", answer);
  EXPECT_EQ(ErrorOf([&] { connection->Execute(u"Q", -1); }).Description, u"no such table");
  EXPECT_EQ(connection->Errors().at(0).SQLState, u"42S02");
}

TEST_F(FakeDatabaseTest, AReadComesBackShortOrChangedWhenToldTo) {
  database.Answer(u"Q", Numbers(5));
  database.CutReads(2);
  Open(u"Q");
  database.onGetRows = [](varnel::host::RowBlock& rows) { rows.At(0, 0) = Variant(u"changed"); };
  const auto rows = recordset->GetRows();
  EXPECT_EQ(rows.Rows(), 2U);
  EXPECT_EQ(rows.At(0, 0), Variant(u"changed"));
}

TEST_F(FakeDatabaseTest, ExecuteGivesRowsOrAClosedRecordset) {
  database.Answer(u"Q", Numbers(2));
  database.Answer(u"DELETE", {});
  EXPECT_EQ(connection->Execute(u"Q", -1)->RecordCount(), -1);
  const auto nothing = connection->Execute(u"DELETE", -1);
  EXPECT_EQ(ErrorOf([&] { nothing->IsEOF(); }).Number, AdoNumber(3704));
}

TEST_F(FakeDatabaseTest, ExecuteTellsHowManyRowsChanged) {
  database.Answer(u"DELETE", {{}, {}, {}, {}, 3});
  database.Answer(u"Q", Numbers(2));
  varnel::Long affected = 0;
  connection->ExecuteCounting(u"DELETE", affected, -1);
  EXPECT_EQ(affected, 3);
  connection->ExecuteCounting(u"Q", affected, -1);
  EXPECT_EQ(affected, -1);
}

TEST_F(FakeDatabaseTest, ARecordsetKnowsItsConnectionUntilItIsDetached) {
  database.Answer(u"Q", Numbers(2));
  EXPECT_EQ(recordset->GetActiveConnection(), nullptr);
  recordset->Open(u"Q", connection, -1, -1, -1);
  EXPECT_EQ(recordset->GetActiveConnection(), connection);
  recordset->DetachConnection();
  EXPECT_EQ(recordset->GetActiveConnection(), nullptr);
}

TEST_F(FakeDatabaseTest, OnTheClientsSideARecordsetIsStatic) {
  database.Answer(u"Q", Numbers(2));
  recordset->SetCursorLocation(ado::kUseClient);
  Open(u"Q");
  EXPECT_EQ(recordset->CursorType(), ado::kOpenStatic);
}

TEST_F(FakeDatabaseTest, AFailedOpenLeavesNoConnectionBehind) {
  EXPECT_NE(ErrorOf([&] { Open(u"unknown"); }).Number, 0);
  EXPECT_EQ(recordset->GetActiveConnection(), nullptr);
}

TEST_F(FakeDatabaseTest, AnAnswerMayDependOnWhatIsGivenBesideTheText) {
  std::vector<FakeStatement> seen;
  database.AnswerStatementsWith([&](const FakeStatement& statement) -> std::optional<FakeAnswer> {
    seen.push_back(statement);
    return Numbers(1);
  });
  varnel::host::StatementParameters parameters;
  parameters.values.push_back({u"p", Variant(Long{7})});
  recordset->SetParameters(parameters);
  Open(u"Q");
  connection->Execute(u"R", -1);
  ASSERT_EQ(seen.size(), 2U);
  EXPECT_EQ(seen[0].sql, u"Q");
  ASSERT_EQ(seen[0].parameters.values.size(), 1U);
  EXPECT_EQ(seen[0].parameters.values[0].Value, Variant(Long{7}));
  EXPECT_EQ(seen[0].connectionString, u"fake");
  EXPECT_TRUE(seen[1].parameters.values.empty());
}

TEST_F(FakeDatabaseTest, TellsOfTransactions) {
  std::vector<FakeTransaction> steps;
  database.onTransaction = [&](FakeTransaction step) { steps.push_back(step); };
  auto& script = dynamic_cast<varnel::Object&>(*connection);
  EXPECT_EQ(script.CallWith(u"BeginTrans"), Variant(Long{1}));
  script.CallWith(u"CommitTrans");
  script.CallWith(u"RollbackTrans");
  EXPECT_THAT(steps, ElementsAre(FakeTransaction::Begin, FakeTransaction::Commit, FakeTransaction::Rollback));
  EXPECT_THAT(database.Lines(), ElementsAre("Connection 1: BeginTrans", "Connection 1: CommitTrans",
                                            "Connection 1: RollbackTrans"));
  connection->Close();
  EXPECT_EQ(ErrorOf([&] { script.CallWith(u"BeginTrans"); }).Number, AdoNumber(3704));
}

TEST_F(FakeDatabaseTest, KnowsWhatIsStillHeld) {
  EXPECT_EQ(database.LiveConnections(), 1);
  EXPECT_EQ(database.LiveRecordsets(), 1);
  recordset = nullptr;
  EXPECT_EQ(database.LiveRecordsets(), 0);
}

}  // namespace
}  // namespace hostfake
