// Values on their way into a statement: every type of field and parameter, by ordinal, by name and by
// storage.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "request/binding_fixture.h"

namespace qxtest {
namespace {

const char* const WrongType = "!Wrong Type Exception";
const char* const BadCast = "!Unable to perform lexical cast.";
const char* const Nothing = "nothing";

class BindingValuesTest : public BindingTest {
  protected:
    // What the only parameter of a statement is bound to; "!" and the text when that fails, which it does
    // before the statement is executed.
    std::string Bind(const Parameter& parameter, const qxdb::ColumnRecord& column,
                     SQLRequest::RequestType type = SQLRequest::RequestSQL, bool byName = false) {
        const std::string sql = "item " + std::to_string(++items);
        server.Expect(sql).Parameters({column}).NeverExecuted();
        server.AcceptOthers();
        const std::size_t errors = calls.LinesOf("OnError").size();
        const std::size_t executed = server.Executed().size();
        const bool ran = Run(byName ? Named({parameter}) : List({parameter}), sql, type, qxdb::DBTYPE_SYBASE);
        if (ran) {
            EXPECT_EQ(server.Executed().size(), executed + 1) << sql;
            EXPECT_EQ(calls.LinesOf("OnError").size(), errors) << sql;
            return server.Bound().at(0);
        }
        EXPECT_EQ(server.Executed().size(), executed) << sql;
        EXPECT_EQ(calls.LinesOf("OnError").size(), errors + 1) << sql;
        EXPECT_EQ(calls.AllLines().back(), "OnBatchItemEnd 0 0");
        return "!" + LastError();
    }

    int items = 0;
};

struct FieldCase {
    Column::BindType field;
    std::vector<std::string> bound;  // for each of ParameterTypes
};

TEST_F(BindingValuesTest, ByOrdinalAValueIsReadAsTheTypeOfItsField) {
    const std::string noTimestamp =
        "!\"7\" is not a timestamp of the format \"" + std::string("yyyy-MM-dd HH:mm:ss.fff") + "\"";
    const std::vector<std::string> texts = {
        "string '7'",   "string '7'",    "string '7'", "string '7'",    "string '7.5'",
        "string '7.5'", "string '7.50'", "string '7'", "string '07AB'", "string '2006-12-31 10:20:30'",
        "string '7'"};
    const std::vector<std::string> nothing(11, Nothing);
    const auto whole = [](const std::string& kind) {
        std::vector<std::string> all(11, kind + " 7");
        all[8] = all[9] = WrongType;
        return all;
    };
    const auto floating = [&whole](const std::string& kind) {
        std::vector<std::string> all = whole(kind);
        all[4] = all[5] = all[6] = kind + " 7.5";
        return all;
    };
    std::vector<std::string> decimals = floating("decimal");
    decimals[6] = "decimal 7.50";
    std::vector<std::string> bytes(11, WrongType);
    bytes[8] = "bytes 07AB";
    std::vector<std::string> times(11, WrongType);
    times[0] = times[10] = noTimestamp;
    times[9] = "timestamp 2006-12-31 10:20:30";

    // A field of no type takes the value as it is.
    const std::vector<std::string> own = {
        "string '7'", "int 7",        "long 7",  "short 7",    "float 7.5",
        "double 7.5", "decimal 7.50", "int64 7", "bytes 07AB", "timestamp 2006-12-31 10:20:30",
        "string '7'"};
    const FieldCase cases[] = {{Column::BindUnknown, own},
                               {Column::BindString, texts},
                               {Column::BindInt, whole("int")},
                               {Column::BindLong, whole("long")},
                               {Column::BindShort, whole("short")},
                               {Column::BindFloat, floating("float")},
                               {Column::BindDouble, floating("double")},
                               {Column::BindDecimal, decimals},
                               {Column::BindLob, nothing},
                               {Column::BindInt64, whole("int64")},
                               {Column::BindBinary, bytes},
                               {Column::BindTimestamp, times},
                               {Column::BindCursor, nothing},
                               {Column::BindOtherCursor, nothing},
                               {Column::BindOtherString, texts}};
    for (const FieldCase& one : cases) {
        std::size_t i = 0;
        for (const Column::BindType type : ParameterTypes) {
            EXPECT_EQ(Bind(Sample("a", type), MakeParameter("a", one.field)), one.bound[i])
                << "field " << one.field << ", parameter " << type;
            ++i;
        }
    }
}

TEST_F(BindingValuesTest, ByNameAValueGoesAsTheTypeOfItsParameter) {
    const char* const bound[] = {
        "string '7'", "int 7",        "long 7",  "short 7",    "float 7.5",
        "double 7.5", "decimal 7.50", "int64 7", "bytes 07AB", "timestamp 2006-12-31 10:20:30",
        "string '7'"};
    for (int field = Column::BindUnknown; field <= Column::BindOtherString; ++field) {
        std::size_t i = 0;
        for (const Column::BindType type : ParameterTypes) {
            EXPECT_EQ(Bind(Sample("a", type), MakeParameter("a", static_cast<Column::BindType>(field)),
                           SQLRequest::RequestProcedure, true),
                      bound[i])
                << "field " << field << ", parameter " << type;
            ++i;
        }
    }
}

TEST_F(BindingValuesTest, TextsThatCanNotBeReadEndTheItem) {
    const Column::BindType numbers[] = {Column::BindInt,   Column::BindLong,   Column::BindShort,
                                        Column::BindFloat, Column::BindDouble, Column::BindInt64};
    for (const Column::BindType field : numbers) {
        for (const char* const text : {"", "x", "12x", "1 2"})
            EXPECT_EQ(Bind(Text("a", text), MakeParameter("a", field)), BadCast) << field << " " << text;
    }
    EXPECT_EQ(Bind(Text("a", "70000"), MakeParameter("a", Column::BindShort)), BadCast);
    EXPECT_EQ(Bind(Text("a", "12x"), MakeParameter("a", Column::BindDecimal)),
              "!\"12x\" is not a decimal number");
    EXPECT_EQ(Bind(Text("a", "31.12.2006"), MakeParameter("a", Column::BindTimestamp)),
              "!\"31.12.2006\" is not a timestamp of the format \"yyyy-MM-dd HH:mm:ss.fff\"");
    Parameter formatted = Text("a", "31.12.2006");
    formatted.SetDateTimeFormat("dd.MM.yyyy");
    EXPECT_EQ(Bind(formatted, MakeParameter("a", Column::BindTimestamp)), "timestamp 31.12.2006");
}

TEST_F(BindingValuesTest, WiderNumbersAreCutAsParametersDo) {
    EXPECT_EQ(Bind(Number("a", 65537), MakeParameter("a", Column::BindShort)), "short 1");
    EXPECT_EQ(Bind(Value("a", Column::BindInt64, static_cast<__int64>(4294967298LL)),
                   MakeParameter("a", Column::BindInt)),
              "int 2");
    EXPECT_EQ(Bind(Value("a", Column::BindDouble, -7.9), MakeParameter("a", Column::BindInt64)), "int64 -7");
}

TEST_F(BindingValuesTest, NullAndDefault) {
    for (int type = Column::BindUnknown; type <= Column::BindOtherString; ++type) {
        const qxdb::ColumnRecord column = MakeParameter("a", static_cast<Column::BindType>(type));
        EXPECT_EQ(Bind(NullOf("a", Column::BindInt), column), "null") << type;
        EXPECT_EQ(Bind(DefaultOf("a"), column), Nothing) << type;
        EXPECT_EQ(Bind(NullOf("a", Column::BindInt), column, SQLRequest::RequestProcedure, true), "null");
    }
    EXPECT_EQ(LogOf("set 0 null").size(), 30u);
}

TEST_F(BindingValuesTest, ADefaultThatIsNotExcludedLeavesItsFieldAlone) {
    server.SetCapabilities(NoCapabilities);
    const qxdb::ColumnRecord column = MakeParameter("a", Column::BindInt);
    EXPECT_EQ(Bind(DefaultOf("a"), column, SQLRequest::RequestProcedure, true), Nothing);
    EXPECT_EQ(Bind(DefaultOf("a"), column, SQLRequest::RequestProcedure, false), Nothing);
    EXPECT_EQ(LogOf("set"), Lines());
}

TEST_F(BindingValuesTest, ABinaryFieldIsEmptiedBeforeItsBufferIsAssigned) {
    EXPECT_EQ(Bind(Sample("a", Column::BindBinary), MakeParameter("a", Column::BindBinary)), "bytes 07AB");
    EXPECT_EQ(LogOf("set"), (Lines{"set 0 string ''"}));
    EXPECT_EQ(Bind(Value("a", Column::BindBinary, Bytes("")), MakeParameter("a", Column::BindBinary)),
              "bytes ");
    EXPECT_EQ(LogOf("set"), (Lines{"set 0 string ''", "set 0 string ''"}));
    // A value that can't be read leaves the field as it is.
    EXPECT_EQ(Bind(Number("a", 1), MakeParameter("a", Column::BindBinary)), WrongType);
    EXPECT_EQ(LogOf("set").size(), 2u);
}

TEST_F(BindingValuesTest, BoundAsStringsEveryFieldTakesTexts) {
    request.SetBindAsStrings(true);
    for (const Column::BindType type : {Column::BindInt, Column::BindBinary, Column::BindTimestamp}) {
        const qxdb::ColumnRecord column = MakeParameter("a", type);
        EXPECT_EQ(Bind(Number("a", 7), column), "string '7'") << type;
        EXPECT_EQ(Bind(Number("a", 7), column, SQLRequest::RequestProcedure), "string '7'") << type;
        EXPECT_EQ(Bind(Sample("a", Column::BindTimestamp), column), "string '2006-12-31 10:20:30'") << type;
    }
}

TEST_F(BindingValuesTest, LobParametersAreTexts) {
    const Parameter lob = Value("a", Column::BindLob, std::string("long text"));
    EXPECT_EQ(Bind(lob, MakeParameter("a", Column::BindString)), "string 'long text'");
    EXPECT_EQ(Bind(lob, MakeParameter("a", Column::BindLob)), Nothing);
    EXPECT_EQ(Bind(lob, MakeParameter("a", Column::BindLob), SQLRequest::RequestProcedure, true),
              "string 'long text'");
}

class StorageBindingTest : public BindingTest {
  protected:
    // A statement with one parameter of each type, all of one direction; the last tells that there is an
    // output at all.
    void RunAllTypes(DataType::Direction direction, const std::function<void(Step&)>& script) {
        std::vector<qxdb::ColumnRecord> columns;
        ParameterList list;
        for (const Column::BindType type : ParameterTypes) {
            columns.push_back(MakeParameter("p" + std::to_string(type), type, direction));
            list.PushBack(Sample("p" + std::to_string(type), type, direction));
        }
        columns.push_back(MakeParameter("out", Column::BindInt, DataType::DirectionOut));
        list.PushBack(Number("out", 0, DataType::DirectionOut));
        script(server.Expect("begin").Parameters(columns));
        ASSERT_TRUE(Run(list, "begin"));
    }
};

TEST_F(StorageBindingTest, InputsOfEveryType) {
    RunAllTypes(DataType::DirectionIn, [](Step&) {});
    EXPECT_EQ(server.Bound(), (Lines{"in string '7'", "in int 7", "in long 7", "in short 7", "in float 7.5",
                                     "in double 7.5", "in decimal 7.50", "in int64 7", "in bytes 07AB",
                                     "in timestamp 2006-12-31 10:20:30", "in string '7'", "out int 0"}));
    // Without indicators, at the next free ordinals, and through no field.
    EXPECT_EQ(LogOf("bind").size(), 12u);
    EXPECT_EQ(LogOf("bind").front(), "bind 1 in string '7'");
    EXPECT_EQ(LogOf("bind").back(), "bind 12 out int 0");
    EXPECT_EQ(LogOf("set"), Lines());
}

TEST_F(StorageBindingTest, OutputsAndInOutsAreBoundOutAndWrittenBack) {
    for (const DataType::Direction direction : {DataType::DirectionOut, DataType::DirectionInOut}) {
        RunAllTypes(direction, [](Step& step) {
            step.Output(0, "text")
                .Output(1, 1)
                .Output(2, 2L)
                .Output(3, static_cast<short>(3))
                .Output(4, 4.5F)
                .Output(5, 5.25)
                .Output(6, qxdb::Decimal(std::string("6.125")))
                .Output(7, static_cast<__int64>(1) << 40)
                .Output(8, Bytes("\xFF"))
                .Output(9, Moment("2001-02-03 04:05:06"))
                .Output(10, "other")
                .Output(11, 12);
        });
        EXPECT_EQ(server.Bound().front(), "out string '7'");
        EXPECT_EQ(server.Bound()[8], "out bytes 07AB");
        const ParameterList back = request.GetParameters();
        Lines texts;
        for (const Parameter& parameter : back)
            texts.push_back(parameter.AsString());
        EXPECT_EQ(texts, (Lines{"text", "1", "2", "3", "4.5", "5.25", "6.125", "1099511627776", "FF",
                                "2001-02-03 04:05:06", "other", "12"}));
        // These values are the caller's own storage: they make no output parameters and no result set.
        EXPECT_EQ(outputs.items.back().GetParameterCount(), 0u);
    }
    EXPECT_EQ(Sets(), (Lines{"2:1", "2:1"}));
}

TEST_F(StorageBindingTest, NullAndDefaultGoAsTheValueUnderneath) {
    server.Expect("x").Parameters({MakeParameter("a", Column::BindInt),
                                   MakeParameter("b", Column::BindString),
                                   MakeParameter("c", Column::BindInt, DataType::DirectionOut)});
    ASSERT_TRUE(Run(List({NullOf("a", Column::BindInt), DefaultOf("b"),
                          NullOf("c", Column::BindInt, DataType::DirectionOut)}),
                    "x"));
    EXPECT_EQ(server.Bound(), (Lines{"in int 0", "in string ''", "out int 0"}));
}

TEST_F(StorageBindingTest, MoreParametersThanTheStatementHasFail) {
    server.Expect("x").Parameters({MakeParameter("a", Column::BindInt)}).NeverExecuted();
    EXPECT_FALSE(Run(List({Number("a", 1), Number("b", 2, DataType::DirectionOut)}), "x"));
    EXPECT_EQ(LastError(), "There is no parameter 2");
    EXPECT_EQ(server.Executed(), Lines());
}

TEST_F(StorageBindingTest, ParametersSetMeanwhileLeaveTheBoundStorageAlone) {
    server.Expect("x")
        .Parameters({MakeParameter("a", Column::BindString, DataType::DirectionOut)})
        .Does([&] { request.SetParameters(List({Text("b", "later")})); })
        .Output(0, "written");
    ASSERT_TRUE(Run(List({Text("a", std::string(100, 'x'), DataType::DirectionOut)}), "x"));
    EXPECT_EQ(request.GetParameters().GetParameterCount(), 1u);
    EXPECT_EQ(request.GetParameters()[0].AsString(), "later");
}

TEST_F(StorageBindingTest, StatementsWithOutputs) {
    struct Case {
        SQLRequest::RequestType type;
        std::vector<DataType::Direction> directions;
        bool expected;
    };
    const auto in = DataType::DirectionIn;
    const auto out = DataType::DirectionOut;
    const auto inOut = DataType::DirectionInOut;
    const Case cases[] = {
        {SQLRequest::RequestSQL, {}, false},           {SQLRequest::RequestSQL, {in, in}, false},
        {SQLRequest::RequestSQL, {in, out}, true},     {SQLRequest::RequestSQL, {inOut, in}, true},
        {SQLRequest::RequestScript, {out}, true},      {SQLRequest::RequestProcedure, {out}, false},
        {SQLRequest::RequestFunction, {inOut}, false},
    };
    for (const Case& one : cases) {
        ParameterList list;
        for (const DataType::Direction direction : one.directions)
            list.PushBack(Number("", 1, direction));
        request.SetParameters(list);
        request.SetSQL("x", one.type, false, false);
        EXPECT_EQ(request.IsStatementWithOutputParameter(), one.expected)
            << one.type << " " << one.directions.size();
    }
}

}  // namespace
}  // namespace qxtest
