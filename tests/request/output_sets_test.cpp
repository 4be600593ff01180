// Result sets of output values: the one row of the values, and the cursors among them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "request/binding_fixture.h"

namespace qxtest {
namespace {

constexpr auto ToProcedure = SQLRequest::RequestProcedure;

qxdb::ColumnRecord Out(const std::string& name, Column::BindType type = Column::BindInt) {
    return MakeParameter(name, type, DataType::DirectionOut);
}

class OutputSetsTest : public BindingTest {
  protected:
    bool Call() { return Run(ParameterList(), "p", ToProcedure, qxdb::DBTYPE_DB2); }
    // The definitions of the result set that began last: label, data type, precision.
    Lines Definitions() {
        Lines columns;
        for (const qxdbsqlengine::ColumnDefinition& column : request.GetColumnDefinition()) {
            columns.push_back(column.columnLabel + " " + std::to_string(column.dataType) + " " +
                              std::to_string(column.precision));
        }
        return columns;
    }
};

TEST_F(OutputSetsTest, OneRowWithAColumnForEachValue) {
    server.Expect("p")
        .Parameters({Out("s", Column::BindString), Out("i", Column::BindInt), Out("l", Column::BindLong),
                     Out("h", Column::BindShort), Out("f", Column::BindFloat), Out("d", Column::BindDouble),
                     Out("c", Column::BindDecimal), Out("b", Column::BindLob), Out("n", Column::BindInt64),
                     Out("x", Column::BindBinary), Out("t", Column::BindTimestamp),
                     Out("u", Column::BindUnknown), Out("o", Column::BindOtherString)})
        .Output(0, "text")
        .Output(1, 1)
        .Output(2, 2L)
        .Output(3, static_cast<short>(3))
        .Output(4, 4.5F)
        .Output(5, 5.25)
        .Output(6, qxdb::Decimal(std::string("6.125")))
        .Output(7, LobCell{"large"})
        .Output(8, static_cast<__int64>(8))
        .Output(9, Bytes("\xAB"))
        .Output(10, Moment())
        .Output(11, "unknown")
        .Output(12, "other");
    request.SetLobPreviewSize(3);
    ASSERT_TRUE(Call());
    EXPECT_EQ(Sets(), (Lines{"3:1"}));
    EXPECT_EQ(Definitions(), (Lines{"s 0 -1", "i 2 -1", "l 3 -1", "h 1 -1", "f 5 -1", "d 6 -1", "c 7 -1",
                                    "b 0 -1", "n 4 -1", "x 8 -1", "t 9 -1", "u 0 -1", "o 0 -1"}));
    // The last has a type of text that is not shown.
    EXPECT_EQ(RowOf(0), (Lines{"text", "1", "2", "3", "4.5", "5.25", "6.125", "lar", "8", "AB",
                               "2006-12-31 10:20:30.000", "unknown", ""}));
    EXPECT_EQ(calls.Lines(), (Lines{"OnBatchItemBegin 0 0", "OnExecuteBegin", "OnExecuteEnd",
                                    "OnPreResultSetBegin 0 3", "OnResultSetBegin 0 3",
                                    "OnResultSetUpdate 0 1", "OnResultSetEnd 0", "OnBatchItemEnd 0 13"}));
    EXPECT_EQ(request.updates, (std::vector<std::pair<int, bool>>{{1, false}, {1, true}}));
    EXPECT_EQ(store->GetTagName(0), "");
    EXPECT_EQ(store->GetTableName(0), "");
}

TEST_F(OutputSetsTest, ColumnsHaveNamesWhateverTheSettingOfLabels) {
    request.SetColumnLabels(false);
    server.Expect("p").Parameters({Out("a")}).Output(0, 1);
    ASSERT_TRUE(Call());
    EXPECT_EQ(Definitions(), (Lines{"a 2 -1"}));
}

TEST_F(OutputSetsTest, NullsAreNullCells) {
    const Column::BindType types[] = {Column::BindString,  Column::BindInt,       Column::BindLong,
                                      Column::BindShort,   Column::BindFloat,     Column::BindDouble,
                                      Column::BindDecimal, Column::BindLob,       Column::BindInt64,
                                      Column::BindBinary,  Column::BindTimestamp, Column::BindOtherString};
    std::vector<qxdb::ColumnRecord> columns;
    for (const Column::BindType type : types)
        columns.push_back(Out("n" + std::to_string(type), type));
    columns.push_back(Out("last"));
    Step& step = server.Expect("p").Parameters(columns);
    for (unsigned int i = 0; i < 12; ++i)
        step.Output(i, Null());
    step.Output(12, 5);
    ASSERT_TRUE(Call());
    ASSERT_EQ(Sets(), (Lines{"3:1"}));
    for (int i = 0; i < 12; ++i)
        EXPECT_TRUE(store->IsNull(0, 0, i)) << types[i];
    EXPECT_FALSE(store->IsNull(0, 0, 12));
}

TEST_F(OutputSetsTest, AValueThatIsNotShownKeepsTheRowComplete) {
    server.Expect("p")
        .Parameters({Out("o", Column::BindOtherString), Out("a")})
        .Output(0, "other")
        .Output(1, 1);
    ASSERT_TRUE(Call());
    EXPECT_EQ(Sets(), (Lines{"3:1"}));
    EXPECT_EQ(RowOf(0), (Lines{"", "1"}));
    EXPECT_FALSE(store->IsNull(0, 0, 0));
}

TEST_F(OutputSetsTest, PrecisionLimits) {
    struct Case {
        int minimum;
        int maximum;
        int ofDecimal;  // which has 3 digits behind the point
        int ofNumber;
    };
    const Case cases[] = {{-1, -1, -1, -1}, {-1, 0, 3, 0}, {-1, 2, 2, 0},   {-1, 3, 3, 0}, {-1, 5, 3, 0},
                          {2, -1, -1, 2},   {2, 0, 3, 2},  {4, 1, 4, 4},    {3, 0, 3, 3},  {0, 0, 3, 0},
                          {0, -1, -1, -1},  {0, 2, 2, 0},  {-7, -7, -7, -7}};
    for (const Case& one : cases) {
        request.ClearStorage();
        request.SetPrecisionLimits(one.minimum, one.maximum);
        server.Expect("p")
            .Parameters({Out("d", Column::BindDecimal), Out("n", Column::BindDecimal), Out("i")})
            .Output(0, qxdb::Decimal(std::string("6.125")))
            .Output(1, Null())
            .Output(2, 1);
        ASSERT_TRUE(Call());
        EXPECT_EQ(Definitions(),
                  (Lines{"d 7 " + std::to_string(one.ofDecimal), "n 7 " + std::to_string(one.ofNumber),
                         "i 2 " + std::to_string(one.ofNumber)}))
            << one.minimum << " " << one.maximum;
    }
}

TEST_F(OutputSetsTest, TimestampsBringTheirFormat) {
    Parameter bound("t", Column::BindTimestamp, DataType::DirectionOut, 0, 0);
    bound.SetDateTimeFormat("HH:mm");
    server.Expect("p")
        .Parameters({Out("t", Column::BindTimestamp), Out("u", Column::BindTimestamp)})
        .Output(0, Moment())
        .Output(1, Null());
    ASSERT_TRUE(Run(List({bound}), "p", ToProcedure, qxdb::DBTYPE_DB2));
    EXPECT_STREQ(store->GetDataTimeFormat(0, 0), "HH:mm");
    EXPECT_EQ(RowOf(0)[0], "10:20");
}

TEST_F(OutputSetsTest, WithoutValuesThereIsNone) {
    request.CreateParameterResultset();
    EXPECT_EQ(Sets(), Lines());
    EXPECT_EQ(calls.Lines(), Lines());
}

TEST_F(OutputSetsTest, ItClosesWhatIsOpen) {
    server.Expect("p").Parameters({Out("a")}).Message(Info("before")).Output(0, 1);
    ASSERT_TRUE(Call());
    EXPECT_EQ(Sets(), (Lines{"2:1", "3:1"}));
    EXPECT_EQ(calls.LinesOf("OnResultSetEnd"), (Lines{"OnResultSetEnd 0", "OnResultSetEnd 1"}));
}

// What leaves a callback while the result set is open is a failure like any other.
TEST_F(OutputSetsTest, AFailureWhileItIsOpenClosesIt) {
    server.Expect("p").Parameters({Out("a")}).Output(0, 1);
    calls.OnLine([](const std::string& line) {
        if (line == "OnResultSetBegin 0 3")
            throw std::runtime_error("the viewer is gone");
    });
    EXPECT_TRUE(Call());
    EXPECT_EQ(calls.Lines(),
              (Lines{"OnBatchItemBegin 0 0", "OnExecuteBegin", "OnExecuteEnd", "OnPreResultSetBegin 0 3",
                     "OnResultSetBegin 0 3", "OnResultSetUpdate 0 0", "OnResultSetEnd 0",
                     "OnError the viewer is gone", "OnBatchItemEnd 0 1"}));
    EXPECT_EQ(Sets(), (Lines{"3:0"}));
}

TEST_F(OutputSetsTest, AFailureInARunKeepsTheRowAndIsTold) {
    struct Failing : OpenRequest {
        using OpenRequest::OpenRequest;
        void NotifyResultSetUpdate(int rows, bool force) override {
            if (armed && !force) {
                armed = false;
                failure();
            }
            OpenRequest::NotifyResultSetUpdate(rows, force);
        }
        bool armed = true;
        std::function<void()> failure;
    };
    const std::pair<std::function<void()>, std::string> failures[] = {
        {[] { throw std::runtime_error("broken"); }, "broken"},
        {[] { throw MakeErrors("lost"); }, "lost"},
        {[] { throw 5; }, "Unknown Error"},
    };
    for (const auto& one : failures) {
        const SmartPtr<DataStorage> ownStore = NewStore();
        auto* const failing = new Failing(
            notifications,
            SmartPtr<qxdbsqlengine::ConnectionRequestCallback>(new CountingConnectionCallback(server)),
            ownStore, nullptr, "");
        const qxdbsqlengine::RequestPtr keep(failing);
        failing->failure = one.first;
        failing->SetDoPrepare(true);
        failing->SetSQL("p", ToProcedure, false, false);
        server.Expect("p").Parameters({Out("a"), Out("b")}).Output(0, 1).Output(1, 2);
        calls.Clear();
        EXPECT_TRUE(failing->Execute(Def(qxdb::DBTYPE_DB2)));
        EXPECT_EQ(LastError(), one.second);
        const Lines lines = calls.Lines();
        const auto end = std::find(lines.begin(), lines.end(), "OnResultSetEnd 0");
        const auto error = std::find(lines.begin(), lines.end(), "OnError " + one.second);
        EXPECT_LT(end - lines.begin(), error - lines.begin()) << one.second;
        EXPECT_EQ(ownStore->GetNumberOfRows(0), 1);
        EXPECT_EQ(ownStore->GetInt(0, 0, 1), 2);
        EXPECT_EQ(outputs.items.back().GetParameterCount(), 2u);
    }
}

TEST_F(OutputSetsTest, ACancelWhileItIsOpenClosesItAndEndsTheRun) {
    server.Expect("p").Parameters({Out("a"), Out("c", Column::BindCursor)}).Output(0, 1);
    calls.OnLine([](const std::string& line) {
        if (line == "OnResultSetBegin 0 3")
            throw qxdbsqlengine::CancelledException();
    });
    EXPECT_THROW(Call(), qxdbsqlengine::CancelledException);
    EXPECT_EQ(calls.LinesOf("OnResultSetEnd"), (Lines{"OnResultSetEnd 0"}));
    EXPECT_EQ(calls.LinesOf("OnError"), Lines());
    EXPECT_EQ(calls.AllLines().back(), "OnBatchItemEnd 0 1");
}

TEST_F(OutputSetsTest, CursorsBecomeResultSetsOfTheirOwn) {
    server.Expect("p")
        .Parameters({Out("first", Column::BindCursor), Out("a"), Out("other", Column::BindOtherCursor),
                     Out("second", Column::BindCursor), MakeParameter("in", Column::BindCursor)})
        .Output(1, 7)
        .OutputCursor(0, Rows({IntColumn("n")}, {{1}, {2}, {3}}))
        .OutputCursor(3, Rows({TextColumn("t")}, {{"x"}}));
    ASSERT_TRUE(Call());
    // The values come first; a cursor of the other kind is passed over.
    EXPECT_EQ(Sets(), (Lines{"3:1", "4:3", "4:1"}));
    EXPECT_EQ(store->GetColumnLabel(0, 0), "a");
    EXPECT_EQ(RowOf(0), (Lines{"7"}));
    EXPECT_EQ(store->GetTagName(1), "first");
    EXPECT_EQ(store->GetTagName(2), "second");
    EXPECT_EQ(store->GetTableName(1), "");
    EXPECT_EQ(Column(1), (Lines{"1", "2", "3"}));
    EXPECT_EQ(Column(2), (Lines{"x"}));
    EXPECT_EQ(outputs.items.back().GetParameterCount(), 1u);
    EXPECT_EQ(
        calls.Lines(),
        (Lines{"OnBatchItemBegin 0 0", "OnExecuteBegin", "OnExecuteEnd", "OnPreResultSetBegin 0 3",
               "OnResultSetBegin 0 3", "OnResultSetUpdate 0 1", "OnResultSetEnd 0", "OnPreResultSetBegin 1 4",
               "OnResultSetBegin 1 4", "OnResultSetUpdate 1 3", "OnResultSetEnd 1", "OnPreResultSetBegin 2 4",
               "OnResultSetBegin 2 4", "OnResultSetUpdate 2 1", "OnResultSetEnd 2", "OnBatchItemEnd 0 1"}));
}

TEST_F(OutputSetsTest, ACursorHasNoTableNameEvenBehindASelect) {
    server.Expect("select * from emp")
        .Parameters({Out("ret"), Out("c", Column::BindCursor)})
        .OutputCursor(1, Rows({IntColumn("n")}, {{1}}));
    ASSERT_TRUE(Run(List({Number("", 1)}), "select * from emp"));
    EXPECT_EQ(Sets(), (Lines{"4:1"}));
    EXPECT_EQ(store->GetTableName(0), "");
    EXPECT_EQ(store->GetTagName(0), "c");
}

TEST_F(OutputSetsTest, CursorsAloneMakeNoRowOfValues) {
    server.Expect("p").Parameters({Out("c", Column::BindCursor)}).OutputCursor(0, Rows({IntColumn("n")}, {}));
    ASSERT_TRUE(Call());
    EXPECT_EQ(Sets(), (Lines{"4:0"}));
    server.Expect("p").Parameters({Out("o", Column::BindOtherCursor)});
    request.ClearStorage();
    ASSERT_TRUE(Call());
    EXPECT_EQ(Sets(), (Lines{"2:1"}));
}

TEST_F(OutputSetsTest, CursorsBeginWhereOutputsBegin) {
    server.Expect("p")
        .Parameters({Out("ret", Column::BindCursor), Out("c", Column::BindCursor)})
        .OutputCursor(0, Rows({IntColumn("n")}, {{1}}))
        .OutputCursor(1, Rows({IntColumn("n")}, {{2}}));
    ASSERT_TRUE(Run(ParameterList(), "p", ToProcedure, qxdb::DBTYPE_ORACLE));
    EXPECT_EQ(Sets(), (Lines{"4:1"}));
    EXPECT_EQ(Column(0), (Lines{"2"}));
    server.Expect("p")
        .Parameters({Out("ret", Column::BindCursor)})
        .OutputCursor(0, Rows({IntColumn("n")}, {{1}}));
    request.ClearStorage();
    ASSERT_TRUE(Run(ParameterList(), "p", SQLRequest::RequestFunction, qxdb::DBTYPE_ORACLE));
    EXPECT_EQ(Sets(), (Lines{"4:1"}));
}

TEST_F(OutputSetsTest, ACursorWithoutColumnsIsARowCount) {
    server.Expect("p")
        .Parameters({Out("c", Column::BindCursor), Out("d", Column::BindCursor)})
        .OutputCursor(0, RowCount(4))
        .OutputCursor(1, RowCount(0));
    ASSERT_TRUE(Call());
    EXPECT_EQ(Column(0), (Lines{"4 row(s) affected."}));
}

TEST_F(OutputSetsTest, ACursorThatFailsEndsTheCursors) {
    server.Expect("p")
        .Parameters({Out("c", Column::BindCursor), Out("d", Column::BindCursor), Out("a")})
        .Output(2, 5)
        .OutputCursor(0, Rows({IntColumn("n")}, {{1}, {2}}).FailsAtRow(1, MakeErrors("lost")))
        .OutputCursor(1, Rows({IntColumn("n")}, {{1}}));
    EXPECT_TRUE(Call());
    EXPECT_EQ(Sets(), (Lines{"3:1", "4:1"}));
    EXPECT_EQ(calls.LinesOf("OnError"), (Lines{"OnError lost"}));
    EXPECT_EQ(outputs.items.back().GetParameterCount(), 1u);
}

TEST_F(OutputSetsTest, ACursorThatCanNotBeOpenedIsTheHandlers) {
    server.Expect("p").Parameters({Out("c", Column::BindCursor)});
    EXPECT_TRUE(Call());
    EXPECT_EQ(calls.LinesOf("OnError"), (Lines{"OnError The script has no cursor for \"c\""}));
}

TEST_F(OutputSetsTest, ACancelBetweenCursorsEndsTheRun) {
    server.Expect("p")
        .Parameters({Out("c", Column::BindCursor), Out("d", Column::BindCursor)})
        .OutputCursor(0, Rows({IntColumn("n")}, {{1}}))
        .OutputCursor(1, Rows({IntColumn("n")}, {{1}}));
    calls.OnLine([&](const std::string& line) {
        if (line == "OnResultSetEnd 0")
            request.Cancel();
    });
    EXPECT_THROW(Call(), qxdbsqlengine::CancelledException);
    EXPECT_EQ(Sets(), (Lines{"4:1"}));
    EXPECT_EQ(calls.LinesOf("OnBatchItemEnd"), (Lines{"OnBatchItemEnd 0 0"}));
}

}  // namespace
}  // namespace qxtest
