// How statements and procedures are prepared: the order of the calls, the schema, and who is told of it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "engine/director.h"
#include "request/binding_fixture.h"

namespace qxtest {
namespace {

qxdb::ColumnRecord In(const std::string& name, Column::BindType type = Column::BindInt) {
    return MakeParameter(name, type);
}
qxdb::ColumnRecord Out(const std::string& name, Column::BindType type = Column::BindInt) {
    return MakeParameter(name, type, DataType::DirectionOut);
}

TEST_F(BindingTest, AStatementIsPreparedAndItsFieldsAreSet) {
    server.Expect("select ?, ?").Parameters({In("a"), In("b", Column::BindString)}).Returns(RowCount(1));
    ASSERT_TRUE(Run(List({Number("", 1), Text("", "x")}), "select ?, ?"));
    EXPECT_EQ(Steps(), (Lines{"prepare 0 select ?, ?", "get hint", "set 0 int 1", "set 1 string 'x'",
                              "execute select ?, ?"}));
    EXPECT_EQ(server.Bound(), (Lines{"int 1", "string 'x'"}));
    EXPECT_EQ(schemas.told, (Lines{"a b 2"}));
    EXPECT_EQ(calls.Lines(), (Lines{"OnBatchItemBegin 0 0", "OnExecuteBegin", "OnExecuteEnd",
                                    "OnPreResultSetBegin 0 2", "OnResultSetBegin 0 2", "OnBatchItemEnd 0 0",
                                    "OnResultSetUpdate 0 1", "OnResultSetEnd 0"}));
    EXPECT_EQ(Column(0), (Lines{"1 row(s) affected."}));
}

TEST_F(BindingTest, WithoutPrepareParametersAreNotLookedAt) {
    request.SetDoPrepare(false);
    server.Expect("x").Parameters({In("a")});
    ASSERT_TRUE(Run(List({Number("a", 1), Number("b", 2, DataType::DirectionOut)}), "x"));
    EXPECT_EQ(Steps(), (Lines{"execute x"}));
    EXPECT_EQ(schemas.told, Lines());
}

TEST_F(BindingTest, AStatementWithoutParametersIgnoresThoseItIsGiven) {
    server.Expect("x");
    ASSERT_TRUE(Run(List({Number("a", 1)}), "x"));
    EXPECT_EQ(Steps(), (Lines{"prepare 0 x", "execute x"}));
    server.Expect("x");
    ASSERT_TRUE(Run(List({Number("a", 1, DataType::DirectionOut)}), "x"));
    EXPECT_EQ(LogOf("bind"), Lines());
    EXPECT_EQ(schemas.told, Lines());
    EXPECT_EQ(server.Bound(), Lines());
}

TEST_F(BindingTest, ASchemaThatWasGivenIsTheHint) {
    request.SetSQL("x", SQLRequest::RequestSQL, false, false);
    request.SetSchema(MakeSchema({In("p", Column::BindShort), In("q", Column::BindString)}));
    request.SetParameters(List({Text("", "12"), Number("", 5)}));
    server.Expect("x");
    ASSERT_TRUE(request.Execute(Def()));
    EXPECT_EQ(Steps(), (Lines{"hint p q", "prepare 0 x", "set 0 short 12", "set 1 string '5'", "execute x"}));
    EXPECT_EQ(schemas.told, (Lines{"p q 2"}));
}

TEST_F(BindingTest, TheDescriptionThatWasTakenIsTheHintOfTheNextRun) {
    server.Expect("x").Parameters({In("a")});
    server.Expect("x").Parameters({In("a")});
    ASSERT_TRUE(Run(List({Number("", 1)}), "x"));
    ASSERT_TRUE(request.Execute(Def()));
    EXPECT_EQ(Steps(), (Lines{"prepare 0 x", "get hint", "set 0 int 1", "execute x", "hint a", "prepare 0 x",
                              "set 0 int 1", "execute x"}));
}

TEST_F(BindingTest, AnotherTextOrDatabaseForgetsTheSchema) {
    for (int i = 0; i < 3; ++i)
        server.Expect("x").Parameters({In("a")});
    request.SetSchema(MakeSchema({In("p")}));
    ASSERT_TRUE(Run(List({Number("", 1)}), "x"));  // sets the text
    request.SetSchema(MakeSchema({In("p")}));
    request.SetDatabase("pubs");
    ASSERT_TRUE(request.Execute(Def()));
    EXPECT_EQ(LogOf("hint"), Lines());
    EXPECT_EQ(LogOf("get hint").size(), 2u);
    request.SetSchema(MakeSchema({In("p")}));
    ASSERT_TRUE(request.Execute(Def()));
    EXPECT_EQ(LogOf("hint"), (Lines{"hint p"}));
}

TEST_F(BindingTest, AProcedureIsPreparedTwice) {
    server.Expect("p").Parameters({In("a"), In("b"), In("c")});
    ASSERT_TRUE(Run(List({Number("", 1), DefaultOf(""), Number("", 3)}), "p", SQLRequest::RequestProcedure));
    EXPECT_EQ(Steps(), (Lines{"procparamcount 3", "prepare 1 p", "get hint", "exclusion 1", "prepare 1 p",
                              "set 0 int 1", "set 2 int 3", "execute p"}));
    EXPECT_EQ(server.Bound(), (Lines{"int 1", "nothing", "int 3"}));
    EXPECT_EQ(schemas.told, (Lines{"a b c 3"}));
}

TEST_F(BindingTest, AFunctionIsPreparedAsSuch) {
    server.Expect("f").Parameters({Out("ret"), In("a")}).Output(0, 5);
    ASSERT_TRUE(Run(List({Number("ret", 0, DataType::DirectionOut), Number("a", 1)}), "f",
                    SQLRequest::RequestFunction));
    EXPECT_EQ(Steps(), (Lines{"procparamcount 2", "prepare 2 f", "get hint", "exclusion", "prepare 2 f",
                              "set 1 int 1", "execute f"}));
}

TEST_F(BindingTest, OnlySupportedPropertiesAreUsed) {
    struct Case {
        unsigned int capabilities;
        Lines steps;
    };
    const Case cases[] = {
        {NoCapabilities, {"prepare 1 p", "get hint", "prepare 1 p", "execute p"}},
        {ExclusionOnly, {"prepare 1 p", "get hint", "exclusion 0", "prepare 1 p", "execute p"}},
        {CountOnly, {"procparamcount 1", "prepare 1 p", "get hint", "prepare 1 p", "execute p"}},
    };
    for (const Case& one : cases) {
        const std::size_t before = Steps().size();
        server.SetCapabilities(one.capabilities);
        server.Expect("p").Parameters({In("a")});
        ASSERT_TRUE(Run(List({DefaultOf("a")}), "p", SQLRequest::RequestProcedure));
        const Lines all = Steps();
        EXPECT_EQ(Lines(all.begin() + static_cast<std::ptrdiff_t>(before), all.end()), one.steps);
    }
    // A statement asks for neither.
    server.SetCapabilities(~0U);
    server.Expect("x").Parameters({In("a")});
    ASSERT_TRUE(Run(List({DefaultOf("a")}), "x"));
    EXPECT_EQ(LogOf("procparamcount").size(), 1u);
    EXPECT_EQ(LogOf("exclusion").size(), 1u);
}

TEST_F(BindingTest, PropertiesOfTheCallerComeBeforeThePrepare) {
    qxdbsqlengine::RequestStatementProperties properties;
    properties.SetTimeout(7);
    properties.SetProcParamCount(9);
    request.SetStatementProperties(properties);
    server.Expect("p").Parameters({In("a")});
    ASSERT_TRUE(Run(List({Number("a", 1)}), "p", SQLRequest::RequestProcedure));
    const Lines steps = Steps();
    EXPECT_EQ(Lines(steps.begin(), steps.begin() + 4),
              (Lines{"timeout 7", "procparamcount 9", "procparamcount 1", "prepare 1 p"}));
}

TEST_F(BindingTest, ACallWithInputsOnlyLinesUpWithTheFieldsThatAreLeft) {
    // The second of three is left to its default: the first and the third go to the first and second field.
    server.SetCapabilities(ExclusionOnly);
    server.Expect("p").Parameters({In("a"), In("b"), In("c")});
    ASSERT_TRUE(
        Run(List({Number("x", 1), DefaultOf("y"), Number("z", 3)}), "p", SQLRequest::RequestProcedure));
    EXPECT_EQ(LogOf("exclusion"), (Lines{"exclusion 1"}));
    EXPECT_EQ(server.Bound(), (Lines{"int 1", "nothing", "int 3"}));
}

TEST_F(BindingTest, WhereDefaultsAreNotExcludedEveryParameterHasItsOwnField) {
    server.SetCapabilities(NoCapabilities);
    server.Expect("p").Parameters({In("a"), In("b"), In("c")});
    ASSERT_TRUE(
        Run(List({Number("x", 1), DefaultOf("y"), Number("z", 3)}), "p", SQLRequest::RequestProcedure));
    EXPECT_EQ(server.Bound(), (Lines{"int 1", "nothing", "int 3"}));
}

TEST_F(BindingTest, ADefaultThatTakesAValueBackKeepsItsField) {
    server.Expect("p").Parameters(
        {MakeParameter("a", Column::BindInt, DataType::DirectionInOut), In("b"), In("c")});
    server.AcceptOthers();
    ASSERT_TRUE(
        Run(List({DefaultOf("x"), Number("y", 2), Number("z", 3)}), "p", SQLRequest::RequestProcedure));
    EXPECT_EQ(LogOf("exclusion"), (Lines{"exclusion"}));
    EXPECT_EQ(server.Bound(), (Lines{"nothing", "int 2", "int 3"}));
}

TEST_F(BindingTest, ACallWithOutputsGoesByTheNamesOfItsFields) {
    server.Expect("p").Parameters({In("a"), Out("o"), In("b")}).Output(1, 9);
    ASSERT_TRUE(Run(List({Number("b", 2), Number("o", 0, DataType::DirectionOut), Number("a", 1)}), "p",
                    SQLRequest::RequestProcedure, qxdb::DBTYPE_DB2));
    EXPECT_EQ(server.Bound(), (Lines{"int 1", "nothing", "int 2"}));
}

TEST_F(BindingTest, AFieldWithoutAParameterOfItsNameEndsTheBinding) {
    server.Expect("p").Parameters({In("a"), In("strange"), In("b"), Out("o")}).Output(3, 9);
    ASSERT_TRUE(Run(List({Number("a", 1), Number("b", 2), Number("o", 0, DataType::DirectionOut)}), "p",
                    SQLRequest::RequestProcedure, qxdb::DBTYPE_DB2));
    EXPECT_EQ(server.Bound(), (Lines{"int 1", "nothing", "nothing", "nothing"}));
}

// The server describes the return value in front of the arguments; a call without it begins behind it.
TEST_F(BindingTest, TheReturnValueTakesNoParameterUnlessThereIsOneForIt) {
    struct Case {
        qxdb::DBTYPE type;
        SQLRequest::RequestType call;
        std::vector<int> values;
        Lines bound;
    };
    const auto procedure = SQLRequest::RequestProcedure;
    const auto function = SQLRequest::RequestFunction;
    const Case cases[] = {
        {qxdb::DBTYPE_SQLSERVER, procedure, {1, 2}, {"nothing", "int 1", "int 2"}},
        {qxdb::DBTYPE_SQLSERVER, procedure, {1}, {"nothing", "int 1", "nothing"}},
        {qxdb::DBTYPE_SQLSERVER, procedure, {0, 1, 2}, {"nothing", "int 1", "int 2"}},
        {qxdb::DBTYPE_ORACLE, function, {1, 2}, {"nothing", "int 1", "int 2"}},
        {qxdb::DBTYPE_DB2, function, {0, 1, 2}, {"nothing", "int 1", "int 2"}},
        // No return value here: the first column is an output like any other.
        {qxdb::DBTYPE_DB2, procedure, {0, 1}, {"nothing", "int 1", "nothing"}},
    };
    for (const Case& one : cases) {
        server.SetCapabilities(ExclusionOnly);
        server.Expect("p").Parameters({Out("ret"), In("a"), In("b")}).Output(0, 0);
        ParameterList list;
        for (const int value : one.values)
            list.PushBack(Number("", value));
        ASSERT_TRUE(Run(list, "p", one.call, one.type));
        EXPECT_EQ(server.Bound(), one.bound) << one.type << " " << one.values.size();
    }
    EXPECT_EQ(LogOf("exclusion"),
              (Lines{"exclusion", "exclusion 2", "exclusion", "exclusion", "exclusion", "exclusion 2"}));
}

TEST_F(BindingTest, ParametersLeftOverAreIgnoredByOrdinalAndBoundByName) {
    server.Expect("x").Parameters({In("a")});
    ASSERT_TRUE(Run(List({Number("a", 1), Number("b", 2)}), "x"));
    EXPECT_EQ(server.Bound(), (Lines{"int 1"}));
    server.Expect("p").Parameters({In("a")});
    ASSERT_TRUE(Run(List({Number("a", 1), Number("b", 2)}), "p", SQLRequest::RequestProcedure));
    EXPECT_EQ(server.Bound(), (Lines{"int 1"}));
    // By name all of them are bound, and a name too many is an error.
    server.Expect("p").Parameters({In("a"), In("b")});
    ASSERT_TRUE(Run(Named({Number("b", 2), Number("a", 1)}), "p", SQLRequest::RequestProcedure));
    EXPECT_EQ(server.Bound(), (Lines{"int 1", "int 2"}));
}

TEST_F(BindingTest, FieldsLeftOverAreNotBound) {
    server.Expect("x").Parameters({In("a"), In("b")});
    ASSERT_TRUE(Run(List({Number("", 1)}), "x"));
    EXPECT_EQ(server.Bound(), (Lines{"int 1", "nothing"}));
    server.Expect("x").Parameters({In("a"), In("b")});
    ASSERT_TRUE(Run(ParameterList(), "x"));
    EXPECT_EQ(server.Bound(), (Lines{"nothing", "nothing"}));
}

TEST_F(BindingTest, OutputFieldsOfAStatementTakeTheirPlaceAndNoValue) {
    server.Expect("x").Parameters({In("a"), Out("o"), In("b")}).Output(1, 5);
    ASSERT_TRUE(Run(List({Number("", 1), Number("", 2), Number("", 3)}), "x"));
    EXPECT_EQ(server.Bound(), (Lines{"int 1", "nothing", "int 3"}));
}

TEST_F(BindingTest, ByNameWithUnknownNameEndsTheItemBeforeExecution) {
    struct Case {
        const char* sql;
        unsigned int capabilities;
        std::size_t prepares;  // with exclusions it comes out before the second
    };
    for (const Case& one : {Case{"p", NoCapabilities, 2}, Case{"q", ExclusionOnly, 1}}) {
        calls.Clear();
        const std::size_t prepared = LogOf("prepare").size();
        server.SetCapabilities(one.capabilities);
        server.Expect(one.sql).Parameters({In("a")}).NeverExecuted();
        EXPECT_FALSE(Run(Named({Number("a", 1), Number("A", 2)}), one.sql, SQLRequest::RequestProcedure));
        EXPECT_EQ(calls.Lines(),
                  (Lines{"OnBatchItemBegin 0 0", "OnError Unknown parameter : A", "OnBatchItemEnd 0 0"}));
        EXPECT_EQ(server.Executed(), Lines());
        EXPECT_EQ(LogOf("prepare").size() - prepared, one.prepares);
    }
}

TEST_F(BindingTest, AStatementOfNamedParametersIsBoundByName) {
    server.Expect("x").Parameters({In("b", Column::BindString), In("a"), In("b"), In("c")});
    ASSERT_TRUE(Run(Named({Number("a", 1), Number("b", 2)}), "x"));
    // A name in several places goes to all of them, as the type of the parameter.
    EXPECT_EQ(server.Bound(), (Lines{"int 2", "int 1", "int 2", "nothing"}));
    server.Expect("x").Parameters({In("a")});
    ASSERT_TRUE(Run(Named({DefaultOf("a")}), "x"));
    EXPECT_EQ(server.Bound(), (Lines{"nothing"}));
    server.Expect("y").Parameters({In("a")}).NeverExecuted();
    EXPECT_FALSE(Run(Named({Number("a", 1), Number("A", 2)}), "y"));
    EXPECT_EQ(LastError(), "Unknown parameter : A");
    EXPECT_EQ(server.Executed(), (Lines{"x", "x"}));
}

TEST_F(BindingTest, AMarkerWithoutANameMeansBindingByPosition) {
    server.Expect("x").Parameters({In("b"), In("")});
    ASSERT_TRUE(Run(Named({Number("a", 1), Number("b", 2)}), "x"));
    EXPECT_EQ(server.Bound(), (Lines{"int 1", "int 2"}));
}

TEST_F(BindingTest, AnUnknownDefaultIsUnknownAllTheSame) {
    server.Expect("p").Parameters({In("a")}).NeverExecuted();
    EXPECT_FALSE(Run(Named({Number("a", 1), DefaultOf("b")}), "p", SQLRequest::RequestProcedure));
    EXPECT_EQ(LastError(), "Unknown parameter : b");
}

TEST_F(BindingTest, ByNameDefaultsAndWhatIsNotNamedAreExcluded) {
    server.Expect("p").Parameters({In("a"), In("b"), In("c"), Out("o"), In("d")}).Output(3, 1);
    ASSERT_TRUE(
        Run(Named({Number("d", 4), DefaultOf("b"), Number("a", 1)}), "p", SQLRequest::RequestProcedure));
    EXPECT_EQ(LogOf("exclusion"), (Lines{"exclusion 1 2"}));
    EXPECT_EQ(server.Bound(), (Lines{"int 1", "nothing", "nothing", "nothing", "int 4"}));
}

TEST_F(BindingTest, AProcedureWithoutParametersHasNothingToBind) {
    server.Expect("p");
    ASSERT_TRUE(Run(List({Number("", 1)}), "p", SQLRequest::RequestProcedure));
    server.Expect("p");
    ASSERT_TRUE(Run(ParameterList(), "p", SQLRequest::RequestProcedure));
    EXPECT_EQ(LogOf("set"), Lines());
    EXPECT_EQ(schemas.told, (Lines{"1", "0"}));
}

TEST_F(BindingTest, FailureOfThePrepareIsTheHandlersAndEndsTheItem) {
    const std::pair<std::string, SQLRequest::RequestType> cases[] = {{"x", SQLRequest::RequestSQL},
                                                                     {"p", SQLRequest::RequestProcedure}};
    for (const auto& one : cases) {
        calls.Clear();
        request.handlerLog.clear();
        server.Expect(one.first).FailsOnPrepare(MakeErrors("no such table")).NeverExecuted();
        EXPECT_FALSE(Run(List({Number("", 1)}), one.first, one.second));
        EXPECT_EQ(calls.LinesOf("OnError"), (Lines{"OnError no such table"}));
        EXPECT_EQ(calls.LinesOf("OnBatchItemEnd"), (Lines{"OnBatchItemEnd 0 0"}));
        EXPECT_EQ(request.handlerLog,
                  (Lines{"PreExecute", "PreExecuteBatch", "HandleErrors", "PostExecute"}));
        EXPECT_EQ(request.GetStatement(), nullptr);
    }
}

TEST_F(BindingTest, ACancelBeforeThePrepareReachesNoServer) {
    request.handlerActions["PreExecuteBatch"] = [&] { request.Cancel(); };
    EXPECT_THROW(Run(List({Number("", 1)}), "x"), qxdbsqlengine::CancelledException);
    EXPECT_EQ(Steps(), Lines());
}

TEST_F(BindingTest, WhoIsToldOfTheSchemaMayChangeIt) {
    schemas.change = [](qxdb::Schema& schema, ParameterList& parameters) {
        parameters[0].Set(std::string("changed"));
        parameters.PushBack(Number("", 2));
        schema = MakeSchema({In("other"), In("names")});
    };
    server.Expect("x").Parameters({In("a", Column::BindString), In("b")});
    server.Expect("x").Parameters({In("a", Column::BindString), In("b")});
    ASSERT_TRUE(Run(List({Text("", "first")}), "x"));
    EXPECT_EQ(server.Bound(), (Lines{"string 'changed'", "int 2"}));
    schemas.change = nullptr;
    ASSERT_TRUE(request.Execute(Def()));
    EXPECT_EQ(LogOf("hint"), (Lines{"hint other names"}));
    EXPECT_EQ(schemas.told, (Lines{"a b 1", "other names 2"}));
}

TEST_F(BindingTest, ParametersMadeOutputsByTheReceiverAreBoundByStorage) {
    schemas.change = [](qxdb::Schema&, ParameterList& parameters) {
        parameters[0].SetDirection(DataType::DirectionOut);
    };
    server.Expect("x").Parameters({In("a")});
    ASSERT_TRUE(Run(List({Number("", 1)}), "x"));
    EXPECT_EQ(server.Bound(), (Lines{"out int 1"}));
}

TEST_F(BindingTest, NobodyIsToldOfAStatementWithOutputs) {
    server.Expect("x").Parameters({In("a")});
    ASSERT_TRUE(Run(List({Number("", 1, DataType::DirectionInOut)}), "x"));
    EXPECT_EQ(schemas.told, Lines());
    EXPECT_EQ(LogOf("get hint"), Lines());
}

TEST_F(BindingTest, WithoutAReceiverNothingElseChanges) {
    OpenRequest* const plain = new OpenRequest(
        notifications,
        SmartPtr<qxdbsqlengine::ConnectionRequestCallback>(new CountingConnectionCallback(server)),
        NewStore(), nullptr, "");
    const qxdbsqlengine::RequestPtr keep(plain);
    plain->SetDoPrepare(true);
    plain->SetParameters(List({Number("", 1)}));
    for (const auto type : {SQLRequest::RequestSQL, SQLRequest::RequestProcedure}) {
        plain->SetSQL("x", type, false, false);
        server.Expect("x").Parameters({In("a")});
        EXPECT_TRUE(plain->Execute(Def()));
        EXPECT_EQ(server.Bound(), (Lines{"int 1"}));
    }
}

class ForcedBindingTest : public BindingTest {
  protected:
    // Puts the flag into the list of the request itself, where a copy would not bring it.
    ForcedBindingTest() {
        schemas.change = [](qxdb::Schema&, ParameterList& parameters) {
            parameters.SetForceBindByOrdinal(true);
        };
        server.Expect("first");
        EXPECT_TRUE(Run(ParameterList(), "first", SQLRequest::RequestProcedure));
        schemas.change = nullptr;
    }
};

TEST_F(ForcedBindingTest, AListThatIsSetDoesNotChangeIt) {
    request.SetParameters(List({Number("", 1)}));
    server.Expect("p").Parameters({In("a"), In("b")});
    request.SetSQL("p", SQLRequest::RequestProcedure, false, false);
    ASSERT_TRUE(request.Execute(Def()));
    EXPECT_EQ(request.GetParameters()[0].GetName(), "a");
    // A clone starts without.
    EXPECT_FALSE(request.GetParameters().GetForceBindByOrdinal());
}

TEST_F(ForcedBindingTest, ParametersTakeNamesAndDirectionsOfTheServerAndKeepTheirPlaces) {
    server.Expect("p")
        .Parameters({In("a"), Out("o", Column::BindString), In("c", Column::BindString)})
        .Output(1, "back");
    request.GenerateParameterList({"1", "?", "x"});
    request.SetSQL("p", SQLRequest::RequestProcedure, false, false);
    ASSERT_TRUE(request.Execute(Def(qxdb::DBTYPE_DB2)));
    EXPECT_EQ(server.Bound(), (Lines{"int 1", "nothing", "string 'x'"}));
    const ParameterList after = request.GetParameters();
    EXPECT_EQ(after[0].GetName(), "a");
    EXPECT_EQ(after[1].GetName(), "o");
    EXPECT_EQ(after[1].GetDirection(), DataType::DirectionOut);
    EXPECT_EQ(after[2].GetName(), "c");
    ASSERT_EQ(outputs.items.back().GetParameterCount(), 1u);
    EXPECT_EQ(outputs.items.back()[0].AsString(), "back");
}

TEST_F(ForcedBindingTest, ItWinsOverBindingByName) {
    server.Expect("p").Parameters({In("a"), In("b")});
    ASSERT_TRUE(Run(Named({Number("x", 1), DefaultOf("y")}), "p", SQLRequest::RequestProcedure));
    EXPECT_EQ(server.Bound(), (Lines{"int 1", "nothing"}));
    EXPECT_EQ(LogOf("exclusion").back(), "exclusion 1");
}

TEST_F(ForcedBindingTest, ACallThatDoesNotNameTheReturnValueBeginsBehindIt) {
    server.Expect("p").Parameters({Out("ret"), In("a"), In("b")});
    request.GenerateParameterList({"1", "2"});
    request.SetSQL("p", SQLRequest::RequestProcedure, false, false);
    ASSERT_TRUE(request.Execute(Def(qxdb::DBTYPE_SQLSERVER)));
    EXPECT_EQ(server.Bound(), (Lines{"nothing", "int 1", "int 2"}));
    EXPECT_EQ(request.GetParameters()[0].GetName(), "a");
    EXPECT_EQ(request.GetParameters()[0].GetDirection(), DataType::DirectionIn);
}

TEST_F(ForcedBindingTest, TextsOfTimestampsAreReadInTheFormatThatWasFound) {
    server.Expect("p").Parameters({In("t", Column::BindTimestamp), In("u", Column::BindTimestamp)});
    request.GenerateParameterList({"12/31/2006 10:00:00", "1/2/2006"});
    request.SetSQL("p", SQLRequest::RequestProcedure, false, false);
    ASSERT_TRUE(request.Execute(Def(qxdb::DBTYPE_DB2)));
    EXPECT_EQ(server.Bound(),
              (Lines{"timestamp 12/31/2006 10:00:00.000", "timestamp 01/02/2006 00:00:00.000"}));
}

TEST_F(BindingTest, TheCloneOfADirectorTellsWhoTheFirstRequestTold) {
    server.Expect("x").Parameters({In("a")});
    server.Expect("x").Parameters({In("a")});
    qxdbsqlengine::CSingleRequestDirector director(
        Def(), SmartPtr<qxdbsqlengine::ConnectionRequestCallback>(new CountingConnectionCallback(server)),
        &schemas, "", true);
    director.SetDoPrepare(true);
    director.SetParameters(List({Number("", 1)}));
    director.Execute("x", SQLRequest::RequestSQL, false, false);
    WaitUntil([&] { return !director.IsExecuting(); });
    // By now the director's own slot for a receiver is taken over by the run.
    const std::unique_ptr<qxdbsqlengine::CSingleRequestDirector> clone(director.CloneDirector());
    clone->Execute("x", SQLRequest::RequestSQL, false, false);
    WaitUntil([&] { return !clone->IsExecuting(); });
    EXPECT_EQ(server.Executed(), (Lines{"x", "x"}));
    EXPECT_EQ(schemas.told, (Lines{"a 1", "a 1"}));
    EXPECT_EQ(server.Bound(), (Lines{"int 1"}));
}

TEST_F(BindingTest, ACloneHasCopiesOfTheParameters) {
    const ParameterList list = List({Text("a", "x", DataType::DirectionOut)});
    request.SetParameters(list);
    const std::unique_ptr<SQLRequest> clone = request.CloneRequest();
    request.SetParameters(ParameterList());
    EXPECT_EQ(clone->GetParameters().GetParameterCount(), 1u);
    EXPECT_EQ(clone->GetParameters()[0].AsString(), "x");
    EXPECT_EQ(request.GetParameters().GetParameterCount(), 0u);
}

// Settings of another thread while a statement runs: it keeps its own, the next one takes the new ones.
TEST_F(BindingTest, SettingsMadeDuringARunServeTheNextStatement) {
    server.Expect("x").Parameters({In("a")}).Hangs(false);
    request.SetSQL("x", SQLRequest::RequestSQL, false, false);
    request.SetParameters(List({Number("", 1)}));
    std::thread runner([&] { EXPECT_TRUE(request.Execute(Def())); });
    ASSERT_TRUE(server.WaitForHang());
    request.SetParameters(List({Text("", "2")}));
    request.SetSchema(MakeSchema({In("other", Column::BindString)}));
    const std::unique_ptr<SQLRequest> clone = request.CloneRequest();
    server.Release();
    runner.join();
    server.Expect("x");
    ASSERT_TRUE(request.Execute(Def()));
    EXPECT_EQ(server.Bound(), (Lines{"string '2'"}));
    EXPECT_EQ(LogOf("hint"), (Lines{"hint other"}));
    EXPECT_EQ(clone->GetParameters()[0].AsString(), "2");
}

}  // namespace
}  // namespace qxtest
