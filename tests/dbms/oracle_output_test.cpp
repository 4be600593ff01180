// The server's output on Oracle.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "engine/cancellation.h"
#include "oracle_fixture.h"

namespace qxtest {
namespace {

using qxdbsqlengine::CancelledException;

const char* const Nothing = "The command completed with no results returned";

class OracleOutputTest : public OracleTest {
  protected:
    // A run of "x" that shows the server's output, up to the statement.
    Step& ExpectX() {
        server.Expect(Enable);
        return server.Expect("x");
    }
    bool RunX() { return Run("x", {}, showOutput); }
    std::string LabelOf(int resultSet) { return store->GetColumnLabel(resultSet, 0); }
    int CountLog(const std::string& line) {
        const Lines log = server.Log();
        return static_cast<int>(std::count(log.begin(), log.end(), line));
    }
};

TEST_F(OracleOutputTest, NoLineMakesNoResultSet) {
    ExpectX();
    ExpectNoLine();
    EXPECT_TRUE(RunX());
    EXPECT_EQ(calls.LinesOf("OnPreResultSetBegin"), (Lines{"OnPreResultSetBegin 0 2"}));
    EXPECT_EQ(Sets(), (Lines{"2:1"}));
    EXPECT_EQ(Column(0), (Lines{Nothing}));
    EXPECT_EQ(LabelOf(0), "");
}

TEST_F(OracleOutputTest, NoLineBehindRowsMakesNoResultSet) {
    ExpectX().Returns(Rows({IntColumn("A")}, {{1}}));
    ExpectNoLine();
    EXPECT_TRUE(RunX());
    EXPECT_EQ(Sets(), (Lines{"0:1"}));
    EXPECT_EQ(calls.LinesOf("OnPreResultSetBegin"), (Lines{"OnPreResultSetBegin 0 0"}));
}

TEST_F(OracleOutputTest, OneLine) {
    ExpectX();
    ExpectLine("hello");
    ExpectNoLine();
    EXPECT_TRUE(RunX());
    EXPECT_EQ(Sets(), (Lines{"2:1"}));
    EXPECT_EQ(Column(0), (Lines{"hello"}));
    EXPECT_EQ(store->GetNumberOfColumns(0), 1);
    EXPECT_EQ(LabelOf(0), "DBMS_OUTPUT Results Batch 1");
    EXPECT_EQ(calls.Lines(), (Lines{"OnBatchItemBegin 0 0", "OnExecuteBegin", "OnExecuteEnd",
                                    "OnPreResultSetBegin 0 2", "OnResultSetBegin 0 2",
                                    "OnResultSetUpdate 0 1", "OnResultSetEnd 0", "OnBatchItemEnd 0 0"}));
}

TEST_F(OracleOutputTest, ManyLinesComeOneByOneInOrder) {
    ExpectX();
    Lines lines;
    for (int i = 0; i < 300; ++i) {
        lines.push_back(i % 7 == 0 ? "" : "line " + std::to_string(i));
        ExpectLine(lines.back());
    }
    ExpectNoLine();
    EXPECT_TRUE(RunX());
    EXPECT_EQ(Sets(), (Lines{"2:300"}));
    EXPECT_EQ(Column(0), lines);
    // one statement, prepared once
    EXPECT_EQ(CountLog("prepare 0 " + std::string(GetLine)), 1);
    EXPECT_EQ(CountLog("bind 1 out string '' of at most 255"), 1);
    EXPECT_EQ(CountLog("bind 2 out int 1"), 1);
}

TEST_F(OracleOutputTest, LinesStayAsTheyAre) {
    const std::string line = "  a\tb\n c " + std::string(250, 'x');
    ExpectX();
    ExpectLine(line);
    ExpectNoLine();
    EXPECT_TRUE(RunX());
    EXPECT_EQ(Column(0), (Lines{line}));
}

TEST_F(OracleOutputTest, BufferIsEmptyAheadOfEachLook) {
    ExpectX();
    ExpectLine("first");
    ExpectLook("left over", 1).Does([this] {
        EXPECT_EQ(server.Bound(), (Lines{"out string ''", "out int 1"}));
    });
    EXPECT_TRUE(RunX());
    EXPECT_EQ(Column(0), (Lines{"first"}));
}

TEST_F(OracleOutputTest, AnyStatusButZeroEndsTheLines) {
    for (const int status : {1, 2, -1}) {
        request.ClearStorage();
        ExpectX().Returns(Rows({IntColumn("A")}, {}));
        ExpectLook("not read", status);
        EXPECT_TRUE(RunX());
        EXPECT_EQ(Sets(), (Lines{"0:0"}));
    }
}

TEST_F(OracleOutputTest, OutputFollowsRowsAndMessages) {
    ExpectX().Returns(Rows({IntColumn("A")}, {{1}, {2}})).Returns(RowCount(3));
    ExpectLine("a");
    ExpectLine("b");
    ExpectNoLine();
    EXPECT_TRUE(RunX());
    EXPECT_EQ(Sets(), (Lines{"0:2", "2:1", "2:2"}));
    EXPECT_EQ(Column(1), (Lines{"3 row(s) affected."}));
    EXPECT_EQ(Column(2), (Lines{"a", "b"}));
}

TEST_F(OracleOutputTest, OutputOfAFailedStatementIsShown) {
    ExpectX().Fails(MakeErrors({ErrorRecord(2, 1476, 0, 0, "divisor is zero", "", nullptr)}));
    ExpectLine("before it failed");
    ExpectNoLine();
    EXPECT_TRUE(RunX());
    EXPECT_EQ(Sets(), (Lines{"2:1", "2:1"}));
    EXPECT_EQ(Column(0), (Lines{"divisor is zero"}));
    EXPECT_EQ(Column(1), (Lines{"before it failed"}));
}

TEST_F(OracleOutputTest, LabelCountsTheItems) {
    request.SetSQL("p;", SQLRequest::RequestSQL, false, false);
    for (int run = 0; run < 2; ++run) {
        request.ClearStorage();
        ExpectX();
        ExpectLine("a");
        ExpectNoLine();
        EXPECT_TRUE(RunX());
        EXPECT_EQ(LabelOf(0), "DBMS_OUTPUT Results Batch 1");  // each run counts anew
    }
}

TEST_F(OracleOutputTest, NothingIsLookedForUnlessItIsShown) {
    server.Expect(Disable);
    server.Expect("x");
    EXPECT_TRUE(Run("x", showOutput));  // of no meaning among the current options
}

TEST_F(OracleOutputTest, NothingIsLookedForWhereObjectErrorsAreFetched) {
    request.SetFetchObjectErrors(true);
    ExpectX();
    EXPECT_TRUE(RunX());
}

TEST_F(OracleOutputTest, FailureOfTheFirstLookIsReported) {
    ExpectX().Returns(Rows({IntColumn("A")}, {{1}}));
    ExpectLook("", 1).Fails(MakeErrors({ErrorRecord(2, 6502, 0, -1, "buffer too small", "", nullptr)}));
    EXPECT_FALSE(RunX());
    EXPECT_EQ(calls.LinesOf("OnError"), (Lines{"OnError buffer too small"}));
    EXPECT_EQ(Sets(), (Lines{"0:1", "2:1"}));
}

TEST_F(OracleOutputTest, FailureBetweenLinesKeepsTheLinesBeforeIt) {
    ExpectX();
    ExpectLine("a");
    ExpectLine("b");
    ExpectLook("", 1).Fails(MakeErrors({ErrorRecord(2, 6502, 0, -1, "buffer too small", "", nullptr)}));
    EXPECT_FALSE(RunX());
    EXPECT_EQ(Sets(), (Lines{"2:2", "2:1"}));
    EXPECT_EQ(Column(0), (Lines{"a", "b"}));
    EXPECT_EQ(Column(1), (Lines{"buffer too small"}));
    EXPECT_EQ(calls.LinesOf("OnResultSetEnd"), (Lines{"OnResultSetEnd 0", "OnResultSetEnd 1"}));
}

TEST_F(OracleOutputTest, CancelBetweenLinesEndsTheResultSet) {
    ExpectX();
    ExpectLine("a");
    ExpectLine("b").Does([this] { request.Cancel(); });
    EXPECT_THROW(RunX(), CancelledException);
    EXPECT_EQ(Column(0), (Lines{"a", "b"}));
    EXPECT_EQ(calls.LinesOf("OnResultSetEnd"), (Lines{"OnResultSetEnd 0"}));
}

TEST_F(OracleOutputTest, CancelledRequestLooksForNoLine) {
    ExpectX().Returns(Rows({IntColumn("A")}, {{1}}).AtRow(1, [this] { request.Cancel(); }));
    EXPECT_THROW(RunX(), CancelledException);
    EXPECT_EQ(server.Executed(), (Lines{Enable, "x"}));
}

}  // namespace
}  // namespace qxtest
