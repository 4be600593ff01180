// Output values of a prepared statement: where they begin, how each type is read, and what becomes of
// failures.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "platform/qxutils/qx_exception.h"
#include "request/binding_fixture.h"

namespace qxtest {
namespace {

constexpr auto ToProcedure = SQLRequest::RequestProcedure;
constexpr auto ToFunction = SQLRequest::RequestFunction;

qxdb::ColumnRecord Out(const std::string& name, Column::BindType type = Column::BindInt) {
    return MakeParameter(name, type, DataType::DirectionOut);
}

class OutputTest : public BindingTest {
  protected:
    // Runs the procedure "p" with one output per column, all of them from position 0 on.
    bool Call(const std::vector<qxdb::ColumnRecord>& columns, const std::vector<Cell>& values) {
        Step& step = server.Expect("p").Parameters(columns);
        for (unsigned int i = 0; i < values.size(); ++i)
            step.Output(i, values[i]);
        return Run(ParameterList(), "p", ToProcedure, qxdb::DBTYPE_DB2);
    }
    // The only output value.
    Parameter ValueOf(const qxdb::ColumnRecord& column, const Cell& cell) {
        EXPECT_TRUE(Call({column}, {cell}));
        const ParameterList list = outputs.items.back();
        EXPECT_EQ(list.GetParameterCount(), 1u);
        return list.GetParameterCount() == 1 ? list[0]
                                             : Parameter("", Column::BindString, DataType::DirectionIn, 0, 0);
    }
};

TEST_F(OutputTest, TheFirstFieldThatCanBeAnOutput) {
    struct Case {
        int type;
        unsigned int procedure;
        unsigned int function;
    };
    const Case cases[] = {{2, 0, 0},  {3, 1, 1},  {4, 0, 0},   {5, 1, 0},   {10, 0, 0},
                          {14, 1, 1}, {-1, 1, 1}, {100, 1, 1}, {101, 1, 1}, {13, 1, 1}};
    for (const Case& one : cases) {
        const auto type = static_cast<qxdb::DBTYPE>(one.type);
        Become(type, ToProcedure);
        EXPECT_EQ(request.GetStartOutputParamIndex(), one.procedure) << one.type;
        Become(type, SQLRequest::RequestSQL);
        EXPECT_EQ(request.GetStartOutputParamIndex(), one.procedure) << one.type;
        Become(type, ToFunction);
        EXPECT_EQ(request.GetStartOutputParamIndex(), one.function) << one.type;

        // The same in a run: a field before the first is never an output, even if it has a direction.
        for (const auto call : {ToProcedure, ToFunction}) {
            const unsigned int first = call == ToFunction ? one.function : one.procedure;
            server.Expect("p").Parameters({Out("ret"), Out("o")}).Output(0, 1).Output(1, 2);
            ASSERT_TRUE(Run(ParameterList(), "p", call, type));
            ASSERT_EQ(outputs.items.back().GetParameterCount(), 2 - first) << one.type;
            EXPECT_EQ(outputs.items.back()[0].GetName(), first == 0 ? "ret" : "o");
        }
    }
}

TEST_F(OutputTest, AFieldInFrontIsNeverReadEvenWhenItIsTheOnlyOne) {
    server.Expect("p").Parameters({Out("ret")}).Output(0, 5);
    ASSERT_TRUE(Run(ParameterList(), "p", ToProcedure, qxdb::DBTYPE_SQLSERVER));
    EXPECT_EQ(outputs.items.back().GetParameterCount(), 0u);
    EXPECT_EQ(Sets(), (Lines{"2:1"}));
    EXPECT_EQ(Column(0), (Lines{"The command completed with no results returned"}));
}

TEST_F(OutputTest, InputsGiveNoOutputs) {
    server.Expect("p").Parameters({MakeParameter("a", Column::BindInt), MakeParameter("b", Column::BindInt)});
    ASSERT_TRUE(Run(List({Number("a", 1), Number("b", 2)}), "p", ToProcedure, qxdb::DBTYPE_DB2));
    EXPECT_EQ(outputs.items.back().GetParameterCount(), 0u);
    EXPECT_EQ(Sets(), (Lines{"2:1"}));
    server.Expect("x").Parameters({MakeParameter("a", Column::BindInt)});
    ASSERT_TRUE(Run(List({Number("", 1)}), "x"));
    EXPECT_EQ(calls.LinesOf("OnPreResultSetBegin"),
              (Lines{"OnPreResultSetBegin 0 2", "OnPreResultSetBegin 1 2"}));
}

TEST_F(OutputTest, EveryType) {
    struct Case {
        Column::BindType type;
        Cell value;
        Column::BindType kept;
        std::string text;
    };
    const Case cases[] = {
        {Column::BindUnknown, "u", Column::BindString, "u"},
        {Column::BindString, "text", Column::BindString, "text"},
        {Column::BindInt, 2147483647, Column::BindInt, "2147483647"},
        {Column::BindLong, -3L, Column::BindLong, "-3"},
        {Column::BindShort, static_cast<short>(-32768), Column::BindShort, "-32768"},
        {Column::BindFloat, 4.5F, Column::BindFloat, "4.5"},
        {Column::BindDouble, 5.25, Column::BindDouble, "5.25"},
        {Column::BindDecimal, qxdb::Decimal(std::string("123456789012345678.125")), Column::BindDecimal,
         "123456789012345678.125"},
        {Column::BindInt64, static_cast<__int64>(1) << 40, Column::BindInt64, "1099511627776"},
        {Column::BindBinary, Bytes(std::string("\x00\xFF\x0A", 3)), Column::BindBinary, "00FF0A"},
        {Column::BindTimestamp, Moment(), Column::BindTimestamp, "2006-12-31 10:20:30"},
        {Column::BindOtherString, "other", Column::BindOtherString, "other"},
    };
    for (const Case& one : cases) {
        for (const DataType::Direction direction : {DataType::DirectionOut, DataType::DirectionInOut}) {
            const qxdb::ColumnRecord column = MakeParameter("o", one.type, direction);
            const Parameter value = ValueOf(column, one.value);
            EXPECT_EQ(value.GetName(), "o");
            EXPECT_EQ(value.GetType(), one.kept) << one.type;
            EXPECT_EQ(value.GetDirection(), direction);
            EXPECT_FALSE(value.IsNull());
            EXPECT_EQ(value.AsString(), one.text) << one.type;

            const Parameter null = ValueOf(column, Null());
            EXPECT_EQ(null.GetType(), one.kept) << one.type;
            EXPECT_TRUE(null.IsNull()) << one.type;
            EXPECT_FALSE(null.IsDefault());
        }
    }
    const Parameter lob = ValueOf(Out("o", Column::BindLob), Null());
    EXPECT_EQ(lob.GetType(), Column::BindString);
    EXPECT_TRUE(lob.IsNull());
}

TEST_F(OutputTest, ABinaryValueHasTheSizeOfItsField) {
    qxdb::DynBuffer bytes(16);
    bytes.SetLength(2);
    const Parameter value = ValueOf(Out("o", Column::BindBinary), bytes);
    EXPECT_GE(value.GetSize(), 2u);
    EXPECT_EQ(value.GetLength(), 2u);
    EXPECT_EQ(value.AsString(), "0000");
    const Parameter empty = ValueOf(Out("o", Column::BindBinary), qxdb::DynBuffer());
    EXPECT_EQ(empty.GetLength(), 0u);
    EXPECT_FALSE(empty.IsNull());
}

TEST_F(OutputTest, ATimestampIsWrittenInTheFormatOfTheParameterOfItsName) {
    Parameter bound("t", Column::BindTimestamp, DataType::DirectionOut, 0, 0);
    bound.SetDateTimeFormat("dd.MM.yyyy");
    server.Expect("p")
        .Parameters({Out("t", Column::BindTimestamp), Out("u", Column::BindTimestamp)})
        .Output(0, Moment())
        .Output(1, Moment());
    ASSERT_TRUE(Run(List({bound}), "p", ToProcedure, qxdb::DBTYPE_DB2));
    const ParameterList list = outputs.items.back();
    EXPECT_EQ(list[0].GetDateTimeFormat(), "dd.MM.yyyy");
    EXPECT_EQ(list[0].AsString(), "31.12.2006");
    EXPECT_EQ(list[1].GetDateTimeFormat(), "");
    EXPECT_EQ(list[1].AsString(), "2006-12-31 10:20:30");
    EXPECT_EQ(RowOf(0), (Lines{"31.12.2006", "2006-12-31 10:20:30.000"}));
}

TEST_F(OutputTest, ValuesComeWithTheEndOfTheirItem) {
    ASSERT_TRUE(Call({Out("a"), Out("b", Column::BindString)}, {1, "x"}));
    EXPECT_EQ(calls.LinesOf("OnBatchItemEnd"), (Lines{"OnBatchItemEnd 0 2"}));
    ASSERT_EQ(outputs.items.size(), 1u);
    EXPECT_EQ(outputs.items[0][0].AsInt(), 1);
    EXPECT_EQ(outputs.items[0][1].AsString(), "x");
    // The next item starts without.
    server.Expect("x");
    ASSERT_TRUE(Run(ParameterList(), "x"));
    ASSERT_EQ(outputs.items.size(), 2u);
    EXPECT_EQ(outputs.items[1].GetParameterCount(), 0u);
}

TEST_F(OutputTest, OutputsAreReadBehindTheResultsOfTheStatement) {
    server.Expect("p")
        .Parameters({Out("o")})
        .Returns(Rows({IntColumn("n")}, {{1}, {2}}))
        .Returns(RowCount(3))
        .Output(0, 7);
    ASSERT_TRUE(Run(ParameterList(), "p", ToProcedure, qxdb::DBTYPE_DB2));
    EXPECT_EQ(Sets(), (Lines{"0:2", "2:1", "3:1"}));
    EXPECT_EQ(RowOf(2), (Lines{"7"}));
}

TEST_F(OutputTest, ResultsThatFailLeaveTheOutputsUnread) {
    server.Expect("p")
        .Parameters({Out("o")})
        .Returns(Rows({IntColumn("n")}, {{1}}).FailsAtRow(1, MakeErrors("lost")))
        .Output(0, 7);
    EXPECT_TRUE(Run(ParameterList(), "p", ToProcedure, qxdb::DBTYPE_DB2));
    EXPECT_EQ(outputs.items.back().GetParameterCount(), 0u);
    EXPECT_EQ(Sets(), (Lines{"0:1"}));
}

TEST_F(OutputTest, AFailedStatementHasNoOutputs) {
    server.Expect("p").Parameters({Out("o")}).Output(0, 7).Fails(MakeErrors("refused"));
    EXPECT_TRUE(Run(ParameterList(), "p", ToProcedure, qxdb::DBTYPE_DB2));
    EXPECT_EQ(outputs.items.back().GetParameterCount(), 0u);
    EXPECT_EQ(calls.LinesOf("OnError"), (Lines{"OnError refused"}));
}

TEST_F(OutputTest, ExcludedInputsDoNotShiftTheOutputs) {
    qxdb::ColumnRecord lob = Out("b", Column::BindLob);
    lob.lobFlags = 1;
    request.SetLobPreviewSize(1);
    server.Expect("p")
        .Parameters({MakeParameter("x", Column::BindInt), Out("a", Column::BindLob), lob})
        .Output(1, LobCell{"A"})
        .Output(2, LobCell{"A"});
    ASSERT_TRUE(Run(List({DefaultOf("x")}), "p", ToProcedure, qxdb::DBTYPE_DB2));
    ASSERT_EQ(outputs.items.back().GetParameterCount(), 2u);
    EXPECT_EQ(outputs.items.back()[0].AsString(), "A");
    EXPECT_EQ(outputs.items.back()[1].AsString(), "410");
}

TEST_F(OutputTest, PreviewsOfLargeObjects) {
    struct Case {
        int size;
        std::string bytes;
        unsigned int flags;
        std::string preview;
    };
    const std::string mixed("\x0A\x00\xFF\x10", 4);
    const Case cases[] = {
        {0, "text", 0, ""},          {0, "text", 1, "0"},      {-5, "text", 0, ""},
        {-5, "text", 1, "0"},        {2, "text", 0, "te"},     {4, "text", 0, "text"},
        {5, "text", 0, "text"},      {100, "text", 0, "text"}, {3, "", 0, ""},
        {3, "", 1, "0000"},          {4, mixed, 0, "\n"},      {4, mixed, 1, "A0FF100"},
        {2, mixed, 1, "A00"},        {3, mixed, 1, "A0FF0"},   {6, mixed, 1, "A0FF10000"},
        {4, "text", 3, "746578740"}, {4, "text", 2, "text"},
    };
    for (const Case& one : cases) {
        request.SetLobPreviewSize(one.size);
        qxdb::ColumnRecord column = Out("o", Column::BindLob);
        column.lobFlags = one.flags;
        const Parameter value = ValueOf(column, LobCell{one.bytes});
        EXPECT_EQ(value.AsString(), one.preview) << one.size << " " << one.bytes << " " << one.flags;
        EXPECT_EQ(value.GetType(), Column::BindString);
    }
    request.SetLobPreviewSize(100000);
    EXPECT_EQ(ValueOf(Out("o", Column::BindLob), LobCell{std::string(100001, 'x')}).AsString(),
              std::string(100000, 'x'));
}

TEST_F(OutputTest, BoundAsStringsOutputsAreTexts) {
    request.SetBindAsStrings(true);
    const Parameter number = ValueOf(Out("o"), 5);
    EXPECT_EQ(number.GetType(), Column::BindString);
    EXPECT_EQ(number.AsString(), "5");
}

TEST_F(OutputTest, FailureOfAValueIsTheHandlersAndEndsTheOutputs) {
    request.handlerLog.clear();
    EXPECT_TRUE(Call({Out("a"), Out("b"), Out("c")}, {1, FailingCell{MakeErrors("unreadable")}, 3}));
    EXPECT_EQ(calls.LinesOf("OnError"), (Lines{"OnError unreadable"}));
    // What was read before goes with the item; there is no result set of it.
    ASSERT_EQ(outputs.items.back().GetParameterCount(), 1u);
    EXPECT_EQ(outputs.items.back()[0].AsInt(), 1);
    EXPECT_EQ(Sets(), (Lines{"2:1"}));
    EXPECT_EQ(request.handlerLog, (Lines{"PreExecute", "PreExecuteBatch", "PreExecuteStatement",
                                         "PostExecuteStatement", "PostExecuteBatch", "PostExecute"}));
    EXPECT_EQ(TextOf(calls.LastErrors()), "unreadable");
}

// Any failure but the server's own is told by its text.
TEST_F(OutputTest, OtherFailuresAreToldByTheirTexts) {
    struct Failing : OpenRequest {
        using OpenRequest::OpenRequest;
        void CreateParameterResultset() override { failure(); }
        std::function<void()> failure;
    };
    auto* const failing = new Failing(
        notifications,
        SmartPtr<qxdbsqlengine::ConnectionRequestCallback>(new CountingConnectionCallback(server)),
        NewStore(), nullptr, "");
    const qxdbsqlengine::RequestPtr keep(failing);
    failing->SetDoPrepare(true);
    failing->SetSQL("p", ToProcedure, false, false);
    const auto told = [&](const std::function<void()>& failure) {
        server.Expect("p").Parameters({Out("a")}).Output(0, 1);
        failing->failure = failure;
        EXPECT_TRUE(failing->Execute(Def(qxdb::DBTYPE_DB2)));
        return LastError();
    };
    EXPECT_EQ(told([] { throw std::runtime_error("broken"); }), "broken");
    EXPECT_EQ(told([] { throw qxutils::QXException("own"); }), "own");
    EXPECT_EQ(told([] { throw 5; }), "Unknown Error");
    EXPECT_EQ(told([] { throw MakeErrors("server"); }), "server");
    server.Expect("p").Parameters({Out("a")}).Output(0, 1);
    failing->failure = [&] {
        failing->Cancel();
        failing->SaveNotifyMessage("x");
    };
    EXPECT_THROW(failing->Execute(Def(qxdb::DBTYPE_DB2)), qxdbsqlengine::CancelledException);
}

TEST_F(OutputTest, ACancelBehindTheResultsLeavesTheOutputsUnread) {
    server.Expect("p").Parameters({Out("o")}).Output(0, 1);
    calls.OnLine([&](const std::string& line) {
        if (line == "OnExecuteEnd")
            request.Cancel();
    });
    EXPECT_THROW(Run(ParameterList(), "p", ToProcedure, qxdb::DBTYPE_DB2), qxdbsqlengine::CancelledException);
    EXPECT_EQ(outputs.items.back().GetParameterCount(), 0u);
    EXPECT_EQ(calls.LinesOf("OnError"), Lines());
}

}  // namespace
}  // namespace qxtest
