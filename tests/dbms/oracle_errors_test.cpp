// Errors of Oracle: compile errors of stored code, and positions in the text.
#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "engine/cancellation.h"
#include "oracle_fixture.h"

namespace qxtest {
namespace {

using qxdbsqlengine::CancelledException;

const std::string query = "SELECT LINE, POSITION, TEXT FROM ALL_ERRORS WHERE ";
const std::string order = "ORDER BY LINE, POSITION";

// "severity/code/line/position/text/state" of each record.
Lines Describe(const Errors& errors) {
    Lines lines;
    errors.Reset();
    while (errors.MoreErrors()) {
        const ErrorRecord& record = errors.GetNextError();
        std::string line;
        for (const int number :
             {record.GetSeverity(), record.GetErrorCode(), record.GetLineNumber(), record.GetErrorPosition()})
            line += std::to_string(number) + "/";
        lines.push_back(line + record.GetErrorDescription() + "/" + record.GetSQLState());
    }
    errors.Reset();
    return lines;
}

class OracleErrorsTest : public OracleTest {
  protected:
    static Result ErrorRows(std::vector<Row> rows) {
        return Rows({IntColumn("LINE"), IntColumn("POSITION"), TextColumn("TEXT")}, std::move(rows));
    }
    // Handles the failure of `sql` and gives what the caller is told.
    Lines Handle(const std::string& sql, const Errors& errors) {
        request.SetSQL(sql, SQLRequest::RequestSQL, false, false);
        qxdb::Connection connection = server.Connect();
        Errors handled(errors);
        calls.Clear();
        handler.HandleErrors(handled, connection);
        EXPECT_EQ(Describe(calls.LastErrors()), Describe(handled));
        return Describe(handled);
    }
};

// The text of the query.

TEST_F(OracleErrorsTest, LooksForTheErrorsOfTheObject) {
    const struct {
        const char* sql;
        const char* where;
    } cases[] = {
        {"create procedure p is", "NAME = 'P' AND TYPE = 'PROCEDURE' "},
        {"create procedure scott.p is", "OWNER = 'SCOTT' AND NAME = 'P' AND TYPE = 'PROCEDURE' "},
        {"CREATE OR REPLACE PACKAGE BODY scott.pkg AS ...",
         "OWNER = 'SCOTT' AND NAME = 'PKG' AND TYPE = 'PACKAGE BODY' "},
        {"create type \"My\".\"T\" as object", "OWNER = 'My' AND NAME = 'T' AND TYPE = 'TYPE' "},
        {"-- c\ncreate trigger t", "NAME = 'T' AND TYPE = 'TRIGGER' "},
        {"DECLARE x int; BEGIN NULL; END;", "TYPE = 'ANONYMOUS BLOCK' "},
        {"create procedure \"it's\" is", "NAME = 'it''s' AND TYPE = 'PROCEDURE' "},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.sql);
        server.Expect(query + one.where + order).Returns(ErrorRows({{3, 5, "PLS-00103"}}));
        EXPECT_EQ(Handle(one.sql, MakeErrors("compilation errors")), (Lines{"2/0/3/5/PLS-00103/"}));
        server.Verify();
    }
}

const std::string pQuery = query + "NAME = 'P' AND TYPE = 'PROCEDURE' " + order;

TEST_F(OracleErrorsTest, ErrorsOfTheObjectTakeThePlaceOfTheRecord) {
    server.Expect(pQuery).Returns(ErrorRows({{1, 2, "one"}, {3, 4, "two"}, {5, Null(), Null()}}));
    EXPECT_EQ(
        Handle("create procedure p is", MakeErrors({ErrorRecord(2, 942, 0, 7, "first", "42000", nullptr),
                                                    ErrorRecord(1, 0, 0, 9, "compile", "", nullptr),
                                                    ErrorRecord(2, 0, 0, 9, "zero again", "", nullptr),
                                                    ErrorRecord(2, 1403, 1, 9, "last", "02000", nullptr)})),
        (Lines{"2/942/1/8/first/42000", "2/0/1/2/one/", "2/0/3/4/two/", "2/0/5/0//", "2/0/0/9/zero again/",
               "2/1403/1/9/last/02000"}));
}

TEST_F(OracleErrorsTest, RecordStaysWhereTheObjectHasNoErrors) {
    const Errors errors = MakeErrors({ErrorRecord(1, 0, 6, 9, "compile", "99999", nullptr)});
    server.Expect(pQuery).Returns(ErrorRows({}));
    EXPECT_EQ(Handle("create procedure p is", errors), (Lines{"1/0/6/9/compile/99999"}));
    server.Expect(pQuery);
    EXPECT_EQ(Handle("create procedure p is", errors), (Lines{"1/0/6/9/compile/99999"}));
    server.Expect(pQuery).Returns(RowCount(0));
    EXPECT_EQ(Handle("create procedure p is", errors), (Lines{"1/0/6/9/compile/99999"}));
    server.Expect(pQuery).Returns(Rows({IntColumn("LINE"), IntColumn("POSITION")}, {{1, 2}}));
    EXPECT_EQ(Handle("create procedure p is", errors), (Lines{"1/0/6/9/compile/99999"}));
}

TEST_F(OracleErrorsTest, RecordStaysWhereTheErrorsCantBeRead) {
    const Errors errors = MakeErrors({ErrorRecord(1, 0, 6, 9, "compile", "99999", nullptr)});
    ExpectFailure(pQuery);
    EXPECT_EQ(Handle("create procedure p is", errors), (Lines{"1/0/6/9/compile/99999"}));
    server.Expect(pQuery).Returns(
        ErrorRows({{1, 2, "one"}, {3, 4, "two"}}).FailsAtRow(1, MakeErrors("gone")));
    EXPECT_EQ(Handle("create procedure p is", errors), (Lines{"1/0/6/9/compile/99999"}));
}

TEST_F(OracleErrorsTest, LaterResultsAreLookedAtWhereTheFirstHasNone) {
    server.Expect(pQuery).Returns(ErrorRows({})).Returns(ErrorRows({{1, 2, "one"}}));
    EXPECT_EQ(Handle("create procedure p is", MakeErrors("compile")), (Lines{"2/0/1/2/one/"}));
}

TEST_F(OracleErrorsTest, NumbersOfAnyKindAreRead) {
    const auto numbers = [](qxdb::Column::BindType type, const Cell& line, const Cell& position) {
        return Rows({MakeColumn("LINE", type), MakeColumn("POSITION", type), TextColumn("TEXT")},
                    {{line, position, "x"}});
    };
    const Result results[] = {
        numbers(qxdb::Column::BindDecimal, qxdb::Decimal("12"), qxdb::Decimal("34")),
        numbers(qxdb::Column::BindShort, static_cast<short>(12), static_cast<short>(34)),
        numbers(qxdb::Column::BindLong, 12L, 34L),
        numbers(qxdb::Column::BindInt64, __int64(12), __int64(34)),
        numbers(qxdb::Column::BindDouble, 12.0, 34.0),
        numbers(qxdb::Column::BindString, "12", "34"),
    };
    for (const Result& result : results) {
        server.Expect(pQuery).Returns(result);
        EXPECT_EQ(Handle("create procedure p is", MakeErrors("compile")), (Lines{"2/0/12/34/x/"}));
    }
}

TEST_F(OracleErrorsTest, CodesOfTheServerAreNeverLookedUp) {
    EXPECT_EQ(Handle("create procedure p is",
                     MakeErrors({ErrorRecord(2, 955, 0, 17, "name is used", "42000", nullptr)})),
              (Lines{"2/955/1/18/name is used/42000"}));
    EXPECT_TRUE(server.Executed().empty());
}

TEST_F(OracleErrorsTest, StatementsThatStoreNoCodeAreNotLookedUp) {
    EXPECT_EQ(Handle("CREATE TABLE t (\n  x foo)",
                     MakeErrors({ErrorRecord(2, 0, 0, 21, "invalid type", "42000", nullptr),
                                 ErrorRecord(2, 0, 0, 3, "again", "", nullptr)})),
              (Lines{"2/0/2/5/invalid type/42000", "2/0/1/4/again/"}));
    EXPECT_TRUE(server.Executed().empty());
}

TEST_F(OracleErrorsTest, BlockThatIsNotFoundKeepsItsRecord) {
    server.Expect(query + "TYPE = 'ANONYMOUS BLOCK' " + order).Returns(ErrorRows({}));
    EXPECT_EQ(Handle("DECLARE x int; BEGIN NULL; END;",
                     MakeErrors({ErrorRecord(2, 0, 0, 9, "broken", "", nullptr)})),
              (Lines{"2/0/0/9/broken/"}));
}

// Positions.

TEST_F(OracleErrorsTest, OffsetsBecomeLinesAndColumns) {
    const std::string sql = "select\nfoo\n\n  bar\r\nfrom t";
    const struct {
        int offset;
        const char* lineAndColumn;
    } cases[] = {
        {0, "1/1"},   {1, "1/2"},  {5, "1/6"},  {6, "1/7"},  // the line feed itself
        {7, "2/1"},   {9, "2/3"},  {10, "2/4"}, {11, "3/1"}, {12, "4/1"}, {14, "4/3"},
        {17, "4/6"},  {18, "4/7"}, {19, "5/1"}, {24, "5/6"}, {25, "5/7"},  // the end
        {30, "5/12"},                                                      // beyond it
    };
    for (const auto& one : cases) {
        EXPECT_EQ(Handle(sql, MakeErrors({ErrorRecord(2, 900, 77, one.offset, "x", "42000", nullptr)})),
                  (Lines{std::string("2/900/") + one.lineAndColumn + "/x/42000"}))
            << one.offset;
    }
}

TEST_F(OracleErrorsTest, OffsetsAtTheLimits) {
    const int most = std::numeric_limits<int>::max();
    EXPECT_EQ(Handle("x", MakeErrors({ErrorRecord(2, 1, 0, most, "x", "", nullptr)})),
              (Lines{"2/1/1/2147483647/x/"}));
    EXPECT_EQ(Handle("\nx", MakeErrors({ErrorRecord(2, 1, 0, most, "x", "", nullptr)})),
              (Lines{"2/1/2/2147483647/x/"}));
    EXPECT_EQ(Handle("", MakeErrors({ErrorRecord(2, 1, 0, 0, "x", "", nullptr)})), (Lines{"2/1/1/1/x/"}));
    EXPECT_EQ(Handle("", MakeErrors({ErrorRecord(2, 1, 0, 4, "x", "", nullptr)})), (Lines{"2/1/1/5/x/"}));
}

TEST_F(OracleErrorsTest, RecordWithoutAnOffsetStaysAsItIs) {
    int data = 0;
    request.SetSQL("\n\nx", SQLRequest::RequestSQL, false, false);
    qxdb::Connection connection = server.Connect();
    Errors errors =
        MakeErrors({ErrorRecord(2, 1, 44, -1, "x", "S", &data), ErrorRecord(2, 1, 44, 2, "y", "S", &data)});
    handler.HandleErrors(errors, connection);
    EXPECT_EQ(Describe(errors), (Lines{"2/1/44/-1/x/S", "2/1/3/1/y/S"}));
    errors.Reset();
    EXPECT_EQ(errors.GetNextError().GetUserData(), &data);
    EXPECT_EQ(errors.GetNextError().GetUserData(), nullptr);
}

TEST_F(OracleErrorsTest, EmptyListIsNothing) {
    Errors errors;
    qxdb::Connection connection = server.Connect();
    handler.HandleErrors(errors, connection);
    EXPECT_TRUE(calls.AllLines().empty());
    EXPECT_EQ(store->GetNumberOfResultSets(), 0);
}

TEST_F(OracleErrorsTest, ListIsReadFromItsStart) {
    request.SetSQL("x", SQLRequest::RequestSQL, false, false);
    qxdb::Connection connection = server.Connect();
    Errors errors =
        MakeErrors({ErrorRecord(2, 1, 0, 0, "a", "", nullptr), ErrorRecord(2, 2, 0, 0, "b", "", nullptr)});
    errors.GetNextError();
    handler.HandleErrors(errors, connection);
    EXPECT_EQ(calls.LinesOf("OnError"), (Lines{"OnError a | b"}));
    EXPECT_TRUE(errors.MoreErrors());
}

TEST_F(OracleErrorsTest, ErrorsWithoutAConnectionGoOutAsTheyAre) {
    request.SetSQL("create procedure p is", SQLRequest::RequestSQL, false, false);
    Errors errors = MakeErrors({ErrorRecord(2, 0, 1, 7, "x", "", nullptr)});
    handler.HandleErrors(errors);
    EXPECT_EQ(Describe(calls.LastErrors()), (Lines{"2/0/1/7/x/"}));
}

// In a run.

TEST_F(OracleErrorsTest, FailedStatementReportsTheErrorsOfItsObject) {
    server.Expect(Disable);
    server.Expect("create procedure p is").Fails(MakeErrors("compilation errors"));
    server.Expect(pQuery).Returns(ErrorRows({{1, 2, "one"}, {3, 4, "two"}}));
    EXPECT_TRUE(Run("create procedure p is"));
    EXPECT_EQ(calls.LinesOf("OnError"), (Lines{"OnError one | two"}));
    EXPECT_EQ(Describe(calls.LastErrors()), (Lines{"2/0/1/2/one/", "2/0/3/4/two/"}));
    EXPECT_EQ(Sets(), (Lines{"2:2"}));
    EXPECT_EQ(Column(0), (Lines{"one", "two"}));
}

TEST_F(OracleErrorsTest, CancelWhileTheErrorsAreReadEndsTheRun) {
    server.Expect(Disable);
    server.Expect("create procedure p is").Fails(MakeErrors("compilation errors"));
    server.Expect(pQuery).Returns(
        ErrorRows({{1, 2, "one"}, {3, 4, "two"}}).AtRow(1, [this] { request.Cancel(); }));
    EXPECT_THROW(Run("create procedure p is"), CancelledException);
    EXPECT_EQ(calls.LinesOf("OnError"), Lines());
}

TEST_F(OracleErrorsTest, CancelThatFailsTheQueryEndsTheRun) {
    server.Expect(Disable);
    server.Expect("create procedure p is").Fails(MakeErrors("compilation errors"));
    server.Expect(pQuery).Does([this] { request.Cancel(); }).Fails(MakeErrors("cancelled"));
    EXPECT_THROW(Run("create procedure p is"), CancelledException);
    EXPECT_EQ(calls.LinesOf("OnError"), Lines());
}

// A request that fetches the errors of an object.

TEST_F(OracleErrorsTest, FetchedObjectErrorsArriveAsErrors) {
    request.SetFetchObjectErrors(true);
    server.Expect(Disable);
    server.Expect("errors").Returns(ErrorRows({{1, 2, "one"}, {3, 4, "two"}}));
    EXPECT_TRUE(Run("errors"));
    EXPECT_EQ(Describe(calls.LastErrors()), (Lines{"2/0/1/2/one/", "2/0/3/4/two/"}));
    EXPECT_EQ(calls.LinesOf("OnError").size(), 1u);
    EXPECT_EQ(store->GetNumberOfResultSets(), 0);
}

TEST_F(OracleErrorsTest, FetchedObjectErrorsMayComeAsTexts) {
    request.SetFetchObjectErrors(true);
    request.SetBindAsStrings(true);
    server.Expect(Disable);
    server.Expect("errors").Returns(ErrorRows({{1, 2, "one"}}));
    EXPECT_TRUE(Run("errors"));
    EXPECT_EQ(Describe(calls.LastErrors()), (Lines{"2/0/1/2/one/"}));
}

TEST_F(OracleErrorsTest, ObjectWithoutErrorsTellsNothing) {
    request.SetFetchObjectErrors(true);
    for (const Result& result :
         {ErrorRows({}), Rows({IntColumn("A"), IntColumn("B")}, {{1, 2}}), RowCount(0)}) {
        server.Expect(Disable);
        server.Expect("errors").Returns(result);
        EXPECT_TRUE(Run("errors"));
    }
    EXPECT_EQ(calls.LinesOf("OnError"), Lines());
    EXPECT_EQ(store->GetNumberOfResultSets(), 0);
}

TEST_F(OracleErrorsTest, OrdinaryRowsAreStored) {
    server.Expect(Disable);
    server.Expect("errors").Returns(ErrorRows({{1, 2, "one"}}));
    EXPECT_TRUE(Run("errors"));
    EXPECT_EQ(Sets(), (Lines{"0:1"}));
    EXPECT_EQ(calls.LinesOf("OnError"), Lines());
}

TEST_F(OracleErrorsTest, CancelWhileObjectErrorsAreFetchedEndsTheRun) {
    request.SetFetchObjectErrors(true);
    server.Expect(Disable);
    server.Expect("errors").Returns(
        ErrorRows({{1, 2, "one"}, {3, 4, "two"}}).AtRow(1, [this] { request.Cancel(); }));
    EXPECT_THROW(Run("errors"), CancelledException);
    EXPECT_EQ(calls.LinesOf("OnError"), Lines());
}

}  // namespace
}  // namespace qxtest
