// How failures are raised, formatted, logged and passed on, and how components are made.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host-fake/ErrorOf.h"
#include "tests/page/FakeComponents.h"
#include "varnel/page/Lib_ErrorHandling.h"
#include "varnel/page/Lib_General.h"
#include "varnel/page/Utillities.h"

namespace varnel::test {
namespace {

using hostfake::ErrorOf;
using hostfake::Failure;
using hostfake::LogEntry;
using testing::ElementsAre;

constexpr Long kStatementFailed = static_cast<Long>(0x80040E14);

// A procedure with a handler: what `body` raises is reported under the name `method`.
template <typename F>
void WithHandler(const String& method, F&& body, const Variant& info = Missing()) {
  try {
    body();
  } catch (...) {
    Err_ReportAndRaise(method, info);
  }
}

TEST(ErrFormatText, IsALineEachForNumberMethodAndDescription) {
  EXPECT_EQ(Err_FormatText(u"D", kStatementFailed, u"M"),
            u"\r\nERROR 0x80040E14\r\n METHOD: M\r\n DESC: D.\r\n");
}

TEST(ErrFormatText, HasAnInfoLineOnlyIfInfoWasPassed) {
  EXPECT_EQ(Err_FormatText(u"D", 1, u"M", u""), u"\r\nERROR 0x1\r\n METHOD: M\r\n DESC: D.\r\n INFO: .\r\n");
  EXPECT_EQ(Err_FormatText(u"D", 1, u"M", Long{5}),
            u"\r\nERROR 0x1\r\n METHOD: M\r\n DESC: D.\r\n INFO: 5.\r\n");
  EXPECT_EQ(Err_FormatText(u"D", 1, u"M", Variant()),
            u"\r\nERROR 0x1\r\n METHOD: M\r\n DESC: D.\r\n INFO: .\r\n");
}

TEST(ErrFormatText, ShowsNumbersAsUpperCaseHexadecimalWithoutLeadingZeros) {
  EXPECT_EQ(Err_FormatText(u"", -1, u""), u"\r\nERROR 0xFFFFFFFF\r\n METHOD: \r\n DESC: .\r\n");
  EXPECT_EQ(Err_FormatText(u"", 0, u""), u"\r\nERROR 0x0\r\n METHOD: \r\n DESC: .\r\n");
  EXPECT_EQ(Err_FormatText(u"", 0xABC, u""), u"\r\nERROR 0xABC\r\n METHOD: \r\n DESC: .\r\n");
}

TEST(ErrCapture, FormatsTheDescriptionAndKeepsTheRest) {
  PageHost host;
  const ErrInfo error{-1, u"S", u"D", u"H", 3};
  ErrInfo captured;
  try {
    throw Error(error);
  } catch (const Error&) {
    captured = Err_Capture(u"M", u"I");
  }
  EXPECT_EQ(captured, (ErrInfo{-1, u"S", u"\r\nERROR 0xFFFFFFFF\r\n METHOD: M\r\n DESC: D.\r\n INFO: I.\r\n",
                               u"H", 3}));
}

TEST(ErrReportAndRaise, WithoutACurrentErrorDoesNothing) {
  PageHost host;
  EXPECT_EQ(ErrorOf([] { Err_ReportAndRaise(u"M"); }).Number, 0);
  EXPECT_EQ(host.Log().Entries().size(), 0U);
  EXPECT_THAT(host.Trace().Lines(), ElementsAre());
}

TEST(ErrReportAndRaise, RaisesTheFormattedErrorAndLogsItWithTheFormatTwice) {
  PageHost host;
  const String raised = u"\r\nERROR 0x80040E14\r\n METHOD: M\r\n DESC: D.\r\n";
  const String logged =
      u"\r\nERROR 0x80040E14\r\n METHOD: M\r\n DESC: \r\nERROR 0x80040E14\r\n METHOD: M\r\n DESC: "
      u"D.\r\n.\r\n";
  const auto error = ErrorOf([] {
    WithHandler(u"M", [] { throw Error({kStatementFailed, u"Provider", u"D", u"help", 9}); });
  });
  EXPECT_EQ(error, (ErrInfo{kStatementFailed, u"Provider", raised, u"help", 9}));
  EXPECT_THAT(host.Log().Entries(), ElementsAre(LogEntry{u"Provider", logged, 0, Variant()}));
}

TEST(ErrReportAndRaise, FormatsTheInfoTwiceInTheLogToo) {
  PageHost host;
  ErrorOf([] {
    WithHandler(
        u"M", [] { throw Error(Failure(-1, u"D", u"S")); }, u"I");
  });
  ASSERT_EQ(host.Log().Entries().size(), 1U);
  EXPECT_EQ(host.Log().Entries()[0].text,
            u"\r\nERROR 0xFFFFFFFF\r\n METHOD: M\r\n DESC: "
            u"\r\nERROR 0xFFFFFFFF\r\n METHOD: M\r\n DESC: D.\r\n INFO: I.\r\n"
            u".\r\n INFO: I.\r\n");
}

TEST(ErrReportAndRaise, EachHandlerOnTheWayLogsAndWrapsOnceMore) {
  PageHost host;
  const auto error = ErrorOf([] {
    WithHandler(u"Outer", [] { WithHandler(u"Inner", [] { throw Error(Failure(-1, u"D", u"S")); }); });
  });
  EXPECT_EQ(error.Description,
            u"\r\nERROR 0xFFFFFFFF\r\n METHOD: Outer\r\n DESC: "
            u"\r\nERROR 0xFFFFFFFF\r\n METHOD: Inner\r\n DESC: D.\r\n.\r\n");
  EXPECT_EQ(host.Log().Entries().size(), 2U);
  EXPECT_EQ(host.Asked("Context: CreateInstance Ostrand.Log"), 2);
}

TEST(ErrReportAndRaise, AFailingLogDoesNotChangeWhatTheCallerGets) {
  PageHost host;
  host.Log().Fail(Failure(-50, u"disk full"));
  const auto error = ErrorOf([] { WithHandler(u"M", [] { throw Error(Failure(-1, u"D", u"S")); }); });
  EXPECT_EQ(error, Failure(-1, u"\r\nERROR 0xFFFFFFFF\r\n METHOD: M\r\n DESC: D.\r\n", u"S"));
}

TEST(ErrReportAndRaise, ALogThatCannotBeMadeIsTriedOnceAndTheFirstErrorGoesOn) {
  PageHost host;
  host.FailCreation(u"Ostrand.Log", Failure(429, u"no log"));
  const auto error = ErrorOf([] { WithHandler(u"M", [] { throw Error(Failure(-1, u"D", u"S")); }); });
  EXPECT_EQ(error, Failure(-1, u"\r\nERROR 0xFFFFFFFF\r\n METHOD: M\r\n DESC: D.\r\n", u"S"));
  EXPECT_EQ(host.Log().Entries().size(), 0U);
  EXPECT_EQ(host.Asked("Context: CreateInstance Ostrand.Log"), 1);
}

TEST(ErrReportAndRaise, LogsAgainAfterALogThatCouldNotBeMade) {
  PageHost host;
  bool broken = true;
  auto& log = host.Log();
  host.Register(u"Ostrand.Log", [&]() -> ObjectPtr {
    if (broken) throw Error(Failure(429, u"no log"));
    return log.shared_from_this();
  });
  ErrorOf([] { WithHandler(u"M", [] { throw Error(Failure(-1, u"D")); }); });
  broken = false;
  ErrorOf([] { WithHandler(u"M", [] { throw Error(Failure(-2, u"D")); }); });
  EXPECT_EQ(log.Entries().size(), 1U);
}

TEST(ErrReportAndRaise, ALogThatReportsItsOwnFailureDoesNotComeBackToTheLog) {
  PageHost host;
  host.Log().onWriteEntry = [](const LogEntry&) {
    WithHandler(u"Log.WriteEntry", [] { throw Error(Failure(-60, u"disk full")); });
  };
  const auto error = ErrorOf([] { WithHandler(u"M", [] { throw Error(Failure(-1, u"D", u"S")); }); });
  EXPECT_EQ(error.Number, -1);
  EXPECT_EQ(host.Asked("Log: WriteEntry"), 1);
}

TEST(ErrLogCurrent, WritesTheCurrentErrorAtTheGivenLevel) {
  PageHost host;
  try {
    throw Error(Failure(-1, u"D", u"S"));
  } catch (const Error&) {
    Err_LogCurrent(1, u"M", u"I");
  }
  EXPECT_THAT(host.Log().Entries(),
              ElementsAre(LogEntry{u"S", u"\r\nERROR 0xFFFFFFFF\r\n METHOD: M\r\n DESC: D.\r\n INFO: I.\r\n",
                                   1, Variant()}));
}

TEST(ErrLogCurrent, WithoutAnErrorWritesANoteFromTheMethod) {
  PageHost host;
  Err_LogCurrent(0, u"M");
  EXPECT_THAT(host.Log().Entries(),
              ElementsAre(LogEntry{u"M", u"\r\nERROR 0x0\r\n METHOD: M\r\n DESC: Not an actual error.\r\n", 1,
                                   Variant()}));
}

TEST(ErrLogCurrent, WithoutAnErrorAndWithoutALogIsSilent) {
  PageHost host;
  host.FailCreation(u"Ostrand.Log", Failure(429, u"no log"));
  EXPECT_EQ(ErrorOf([] { Err_LogCurrent(0, u"M"); }).Number, 0);
}

TEST(GenGetComponent, MakesTheComponentInsideTheContext) {
  PageHost host;
  EXPECT_NE(CastObject<TableStandIn>(Gen_GetComponent(u"Varnel.Table")), nullptr);
  EXPECT_THAT(host.Trace().Lines(), ElementsAre("Context: CreateInstance Varnel.Table"));
}

TEST(GenGetComponent, WithoutAContextMakesTheSameKindOfObject) {
  PageHost host;
  host.SetHasContext(false);
  EXPECT_NE(CastObject<TableStandIn>(Gen_GetComponent(u"Varnel.Table")), nullptr);
  EXPECT_THAT(host.Trace().Lines(), ElementsAre("Platform: CreateObject Varnel.Table"));
}

TEST(GenGetComponent, ReportsAFailureInsideAContextWithItsNote) {
  PageHost host;
  host.FailCreation(u"Varnel.Table", Failure(429, u"D", u"S"));
  const String raised =
      u"\r\nERROR 0x1AD\r\n METHOD: Lib_General.Gen_GetComponent\r\n DESC: D.\r\n"
      u" INFO: CreateInstance(Varnel.Table) failed.\r\n"
      u"Note: Objects having 'Instancing=PublicNotCreatable' may only be instantiated with 'New', "
      u"not with Gen_GetComponent().\r\n";
  EXPECT_EQ(ErrorOf([] { Gen_GetComponent(u"Varnel.Table"); }), Failure(429, raised, u"S"));
  EXPECT_EQ(host.Log().Entries().size(), 1U);
}

TEST(GenGetComponent, ReportsAFailureWithoutAContextWithoutAFullStopOfItsOwn) {
  PageHost host;
  host.SetHasContext(false);
  host.FailCreation(u"Varnel.Table", Failure(429, u"D", u"S"));
  EXPECT_EQ(ErrorOf([] { Gen_GetComponent(u"Varnel.Table"); }).Description,
            u"\r\nERROR 0x1AD\r\n METHOD: Lib_General.Gen_GetComponent\r\n DESC: D.\r\n"
            u" INFO: CreateObject(Varnel.Table) failed.\r\n");
}

TEST(GenGetComponent, OfALogThatCannotBeMadeEnds) {
  PageHost host;
  host.FailCreation(u"Ostrand.Log", Failure(429, u"no log", u"S"));
  const auto error = ErrorOf([] { Gen_GetComponent(u"Ostrand.Log"); });
  EXPECT_EQ(error.Number, 429);
  EXPECT_EQ(host.Asked("Context: CreateInstance Ostrand.Log"), 2);
  EXPECT_EQ(host.Log().Entries().size(), 0U);
}

TEST(UtilRaise, RaisesAtOnceAndLogsNothing) {
  PageHost host;
  EXPECT_EQ(ErrorOf([] { Util_Raise(-1, u"Varnel.Table", u"D", u"H", 7); }),
            (ErrInfo{-1, u"Varnel.Table", u"D", u"H", 7}));
  EXPECT_EQ(host.Log().Entries().size(), 0U);
}

TEST(UtilSaveErr, IsTheCurrentErrorUnchanged) {
  const ErrInfo error{-9, u"S", u"D", u"H", 7};
  ErrInfo saved;
  try {
    throw Error(error);
  } catch (const Error&) {
    saved = Util_SaveErr();
  }
  EXPECT_EQ(saved, error);
  EXPECT_EQ(Util_SaveErr().Number, 0);
}

TEST(UtilCast, GivesATableOrAGridAndNothingForAllElse) {
  const auto table = std::make_shared<TableStandIn>();
  const auto grid = std::make_shared<GridStandIn>();
  EXPECT_EQ(Util_CastTable(table).get(), table.get());
  EXPECT_EQ(Util_CastDGrid(grid).get(), grid.get());
  EXPECT_EQ(Util_CastTable(grid), nullptr);
  EXPECT_EQ(Util_CastDGrid(table), nullptr);
  const Variant others[] = {Variant(),     Null(), Missing(),         nullptr,
                            Variant(u"t"), 1.5,    Variant(Long{13}), std::make_shared<Array>()};
  for (const Variant& other : others) {
    EXPECT_EQ(Util_CastTable(other), nullptr);
    EXPECT_EQ(Util_CastDGrid(other), nullptr);
  }
}

TEST(UtilTests, KnowTrueAndTheEmptyText) {
  EXPECT_TRUE(Util_IsTrue(-1));
  EXPECT_FALSE(Util_IsTrue(1));
  EXPECT_FALSE(Util_IsTrue(0));
  EXPECT_TRUE(Util_IsEmptyString(u""));
  EXPECT_FALSE(Util_IsEmptyString(u" "));
}

}  // namespace
}  // namespace varnel::test
