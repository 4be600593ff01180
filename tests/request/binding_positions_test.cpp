// Which parameter belongs to which position: name maps, input and excluded positions, and the arguments of
// calls out of scripts.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/qxutils/qx_exception.h"
#include "request/binding_fixture.h"

namespace qxtest {
namespace {

using Positions = std::map<unsigned int, unsigned int>;

qxdb::ColumnRecord In(const std::string& name) {
    return MakeParameter(name, Column::BindInt);
}
qxdb::ColumnRecord Out(const std::string& name) {
    return MakeParameter(name, Column::BindInt, DataType::DirectionOut);
}
qxdb::ColumnRecord InOut(const std::string& name) {
    return MakeParameter(name, Column::BindInt, DataType::DirectionInOut);
}
Positions At(const std::vector<unsigned int>& positions) {
    Positions map;
    for (const unsigned int position : positions)
        map.emplace(position, position);
    return map;
}

class PositionsTest : public BindingTest {
  protected:
    // The fields of a prepared statement with these parameters.
    std::unique_ptr<qxdb::Fields> MakeFields(const std::vector<qxdb::ColumnRecord>& columns) {
        server.Expect("fields").Parameters(columns).NeverExecuted();
        qxdb::Statement statement = server.Connect().CreateStatement(qxdb::CursorDefault, 1);
        statement.Prepare("fields", qxdb::Statement::PrepareSQL);
        qxdb::BindValue binding = statement.Bind();
        return std::make_unique<qxdb::Fields>(binding, false, qxdb::ExclusionIndex(), false, nullptr);
    }
    Positions Excluded() {
        Positions exclude;
        request.BuildExcludeIndex(exclude);
        return exclude;
    }
    std::string ThrownBy(const std::function<void()>& action) {
        try {
            action();
        } catch (const qxutils::QXException& failure) {
            return failure.what();
        }
        return "nothing thrown";
    }
};

TEST_F(PositionsTest, NamesOfASchemaKeepTheirFirstPosition) {
    const qxdb::Schema schema = MakeSchema({In("a"), In("b"), In("a"), In(""), In("B"), In("")});
    request.SetSchema(schema);
    request.BuildNameMap(schema);
    EXPECT_EQ(request.GetParameterIndexByName("a"), 0);
    EXPECT_EQ(request.GetParameterIndexByName("b"), 1);
    EXPECT_EQ(request.GetParameterIndexByName(""), 3);
    EXPECT_EQ(request.GetParameterIndexByName("B"), 4);
    EXPECT_EQ(request.GetParameterIndexByName("c"), -1);
    request.BuildNameMap(MakeSchema({In("c")}));
    EXPECT_EQ(request.GetParameterIndexByName("a"), -1);
    EXPECT_EQ(request.GetParameterIndexByName("c"), 0);
}

TEST_F(PositionsTest, NamesOfFieldsKeepTheirFirstPosition) {
    request.SetSchema(MakeSchema({}));
    std::unique_ptr<qxdb::Fields> fields = MakeFields({In("x"), In("y"), In("x"), In("z")});
    request.BuildNameMap(fields);
    EXPECT_EQ(request.GetParameterIndexByName("x"), 0);
    EXPECT_EQ(request.GetParameterIndexByName("y"), 1);
    EXPECT_EQ(request.GetParameterIndexByName("z"), 3);
    fields.reset();
    request.BuildNameMap(fields);
    EXPECT_EQ(request.GetParameterIndexByName("x"), -1);
}

TEST_F(PositionsTest, NamesAreUnknownBeforeAPrepare) {
    EXPECT_EQ(ThrownBy([&] { request.GetParameterIndexByName("a"); }),
              "Prepare before calling GetParameterIndexByName");
    request.BuildNameMap(MakeSchema({In("a")}));
    EXPECT_EQ(ThrownBy([&] { request.GetParameterIndexByName("a"); }),
              "Prepare before calling GetParameterIndexByName");
    request.SetSchema(MakeSchema({In("a")}));
    EXPECT_EQ(request.GetParameterIndexByName("a"), 0);
}

TEST_F(PositionsTest, InputPositions) {
    std::vector<unsigned int> positions;
    request.GetInputIndex(positions);
    EXPECT_EQ(positions, std::vector<unsigned int>());
    request.SetSchema(MakeSchema({Out("a"), In("b"), InOut("c"), Out("d"), In("e")}));
    request.GetInputIndex(positions);
    EXPECT_EQ(positions, (std::vector<unsigned int>{1, 2, 4}));
}

TEST_F(PositionsTest, InputsOnly) {
    const auto inputsOnly = [&](const std::vector<DataType::Direction>& directions) {
        ParameterList list;
        for (const DataType::Direction direction : directions)
            list.PushBack(Number("", 1, direction));
        request.SetParameters(list);
        return request.IncludeInputParameterOnly();
    };
    EXPECT_TRUE(inputsOnly({}));
    EXPECT_TRUE(inputsOnly({DataType::DirectionIn, DataType::DirectionInOut}));
    EXPECT_FALSE(inputsOnly({DataType::DirectionIn, DataType::DirectionOut}));
}

TEST_F(PositionsTest, PositionsThatParametersName) {
    const qxdb::Schema schema = MakeSchema({In("a"), In("b"), In("c")});
    request.SetParameters(Named({Number("c", 1), Number("a", 2)}));
    Positions provided;
    EXPECT_EQ(ThrownBy([&] { request.GetProvidedNamedInputIndex(provided); }),
              "Prepare before calling GetParameterIndexByName");
    request.SetSchema(schema);
    request.BuildNameMap(schema);
    request.GetProvidedNamedInputIndex(provided);
    EXPECT_EQ(provided, At({0, 2}));
    request.SetParameters(Named({Number("c", 1), Number("d", 2)}));
    EXPECT_EQ(ThrownBy([&] { request.GetProvidedNamedInputIndex(provided); }), "Unknown parameter : d");
}

TEST_F(PositionsTest, ExcludedByOrdinal) {
    struct Case {
        std::vector<qxdb::ColumnRecord> columns;
        std::vector<Parameter> parameters;
        Positions excluded;
    };
    const Parameter value = Number("", 1);
    const Parameter left = DefaultOf("");
    const Case cases[] = {
        {{}, {value}, {}},
        {{Out("o"), Out("p")}, {value, left}, {}},
        {{In("a"), In("b"), In("c")}, {value, value, value}, {}},
        {{In("a"), In("b"), In("c")}, {value, left, value}, At({1})},
        {{In("a"), In("b"), In("c")}, {left, left, left}, At({0, 1, 2})},
        {{In("a"), InOut("b"), In("c")}, {value, left, left}, At({2})},
        {{In("a"), Out("o"), In("c")}, {value, left, value}, {}},
        // What the list does not reach is left to the server too.
        {{In("a"), In("b"), In("c")}, {value}, At({1, 2})},
        {{In("a"), Out("o"), In("c"), Out("p")}, {}, At({0, 2})},
        {{In("a")}, {value, left, value}, {}},
    };
    Become(qxdb::DBTYPE_DB2, SQLRequest::RequestProcedure);
    for (const Case& one : cases) {
        request.SetSchema(MakeSchema(one.columns));
        request.SetParameters(List(one.parameters));
        EXPECT_EQ(Excluded(), one.excluded) << (&one - cases);
    }
}

TEST_F(PositionsTest, ExcludedByName) {
    struct Case {
        std::vector<Parameter> parameters;
        Positions excluded;
    };
    const Case cases[] = {
        {{Number("a", 1), Number("b", 1), Number("c", 1)}, {}},
        {{Number("c", 1), Number("a", 1)}, At({1})},
        {{}, At({0, 1, 3})},
        {{Number("a", 1), DefaultOf("b"), Number("c", 1)}, At({1})},
        // A default belongs to the column of its name, wherever it stands in the list.
        {{DefaultOf("c"), Number("b", 1), Number("a", 1)}, At({3})},
        {{Number("o", 1), DefaultOf("io")}, At({0, 1, 3})},
    };
    const qxdb::Schema schema = MakeSchema({In("a"), In("b"), Out("o"), In("c"), InOut("io")});
    request.SetSchema(schema);
    request.BuildNameMap(schema);
    for (const Case& one : cases) {
        request.SetParameters(Named(one.parameters));
        EXPECT_EQ(Excluded(), one.excluded) << (&one - cases);
    }
    request.SetParameters(Named({Number("a", 1), Number("x", 1)}));
    EXPECT_EQ(ThrownBy([&] { Excluded(); }), "Unknown parameter : x");
    // Where nothing takes a value, names are not looked at.
    request.SetSchema(MakeSchema({Out("o")}));
    EXPECT_EQ(Excluded(), Positions());
}

TEST_F(PositionsTest, TheParameterOfAField) {
    const std::unique_ptr<qxdb::Fields> fields = MakeFields({In("a"), In("b"), In("c"), In("d")});
    const auto parameterOf = [&](unsigned int field, bool inputOnly) {
        return request.ConvertFieldIndexToParameterIndex((*fields)[field], field, inputOnly);
    };
    request.SetParameters(List({DefaultOf("b"), Number("c", 1), DefaultOf("x"), Number("a", 1)}));
    // A statement: position by position.
    request.SetSQL("x", SQLRequest::RequestSQL, false, false);
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(parameterOf(static_cast<unsigned int>(i), true), i);
        EXPECT_EQ(parameterOf(static_cast<unsigned int>(i), false), i);
    }
    for (const auto type : {SQLRequest::RequestProcedure, SQLRequest::RequestFunction}) {
        request.SetSQL("p", type, false, false);
        // With outputs by name.
        EXPECT_EQ(parameterOf(0, false), 3);
        EXPECT_EQ(parameterOf(1, false), 0);
        EXPECT_EQ(parameterOf(2, false), 1);
        EXPECT_EQ(parameterOf(3, false), -1);
        // Inputs only: the n-th that is not left to its default.
        EXPECT_EQ(parameterOf(0, true), 1);
        EXPECT_EQ(parameterOf(1, true), 3);
        EXPECT_EQ(parameterOf(2, true), -1);
    }
}

TEST_F(PositionsTest, ParametersOfCallsTakeNamesAndDirections) {
    request.GenerateParameterList({"1", "2", "3"});
    request.SyncParametersWithSchema(MakeSchema({In("a"), InOut("b")}));
    const ParameterList list = request.GetParameters();
    EXPECT_EQ(list[0].GetName(), "a");
    EXPECT_EQ(list[0].GetDirection(), DataType::DirectionIn);
    EXPECT_EQ(list[1].GetName(), "b");
    EXPECT_EQ(list[1].GetDirection(), DataType::DirectionInOut);
    EXPECT_EQ(list[2].GetName(), "");
    EXPECT_EQ(list[0].AsString(), "1");
    // The smaller number of both; nothing with none.
    request.SyncParametersWithSchema(MakeSchema({In("x"), In("y"), In("z"), In("more")}));
    EXPECT_EQ(request.GetParameters()[2].GetName(), "z");
    request.SyncParametersWithSchema(MakeSchema({}));
    EXPECT_EQ(request.GetParameters()[0].GetName(), "x");
    request.SetParameters(ParameterList());
    request.SyncParametersWithSchema(MakeSchema({In("a")}));
    EXPECT_EQ(request.GetParameters().GetParameterCount(), 0u);
}

TEST_F(PositionsTest, TimestampFormatOfDB2IsFoundByTheSeparator) {
    struct Case {
        const char* text;
        const char* format;
    };
    const char* const slashes = "MM/dd/yyyy HH:mm:ss.fff";
    const char* const dashes = "MM-dd-yyyy HH:mm:ss.fff";
    const char* const dots = "dd.MM.yyyy HH:mm:ss.fff";
    const char* const plain = "yyyy-MM-dd HH:mm:ss.fff";
    const Case cases[] = {
        {"12/31/2006 10:00:00", slashes},
        {"1/2/2006", slashes},
        {"12-31-2006", dashes},
        {"1-2-2006", dashes},
        {"31.12.2006", dots},
        {"1.2.2006", dots},
        {"2006-12-31 10:00:00", plain},
        {"", plain},
        {"1", plain},
        {"/2/2006", slashes},
        {"///", slashes},
        {"123/1", plain},
        {"1-2/2006", dashes},
        {"1/-2006", slashes},
        {"1.-2006", dashes},
        {"/1", plain},
    };
    qxdb::ColumnRecord column = MakeParameter("t", Column::BindTimestamp);
    column.dateTimeFormat = "yyyy";
    for (const qxdb::DBTYPE type : {qxdb::DBTYPE_DB2, qxdb::DBTYPE_DB2OS390}) {
        Become(type, SQLRequest::RequestProcedure);
        for (const Case& one : cases) {
            request.SetParameters(List({Text("", one.text)}));
            request.SyncParametersWithSchema(MakeSchema({column}));
            EXPECT_EQ(request.GetParameters()[0].GetDateTimeFormat(), one.format) << one.text;
        }
    }
}

TEST_F(PositionsTest, OtherServersTellTheirTimestampFormat) {
    qxdb::ColumnRecord time = MakeParameter("t", Column::BindTimestamp);
    time.dateTimeFormat = "dd MMMM";
    qxdb::ColumnRecord text = MakeParameter("s", Column::BindString);
    text.dateTimeFormat = "ignored";
    for (const qxdb::DBTYPE type : {qxdb::DBTYPE_SYBASE, qxdb::DBTYPE_SQLSERVER, qxdb::DBTYPE_ORACLE,
                                    qxdb::DBTYPE_MYSQL, qxdb::DBTYPE_OTHER}) {
        Become(type, SQLRequest::RequestProcedure);
        request.SetParameters(List({Text("", "1/2/2006"), Text("", "1/2/2006")}));
        request.SyncParametersWithSchema(MakeSchema({time, text}));
        EXPECT_EQ(request.GetParameters()[0].GetDateTimeFormat(), "dd MMMM") << type;
        EXPECT_EQ(request.GetParameters()[1].GetDateTimeFormat(), "") << type;
    }
}

TEST_F(PositionsTest, ArgumentsOfACall) {
    const std::vector<std::string> texts = {"?",   " ?\t", "NULL", " null\n", "nUlL",  "12",
                                            " x ", "",     "'?'",  "? ?",     "'null'"};
    request.GenerateParameterList(texts);
    const ParameterList list = request.GetParameters();
    ASSERT_EQ(list.GetParameterCount(), texts.size());
    Lines shown;
    for (const Parameter& parameter : list) {
        EXPECT_EQ(parameter.GetType(), Column::BindString);
        EXPECT_EQ(parameter.GetName(), "");
        EXPECT_FALSE(parameter.IsDefault());
        shown.push_back(std::to_string(parameter.GetDirection()) +
                        (parameter.IsNull() ? " null" : " " + parameter.AsString()));
    }
    EXPECT_EQ(shown, (Lines{"1 null", "1 null", "0 null", "0 null", "0 null", "0 12", "0 x", "0 ", "0 '?'",
                            "0 ? ?", "0 'null'"}));
    // They come behind what is there.
    request.GenerateParameterList({"more"});
    EXPECT_EQ(request.GetParameters().GetParameterCount(), texts.size() + 1);
}

TEST_F(PositionsTest, ArgumentsOfACallNeedNoNames) {
    request.SetParameters(Named({Number("a", 1)}));
    request.GenerateParameterList({"1", "2"});
    EXPECT_EQ(request.GetParameters().GetParameterCount(), 3u);
    EXPECT_EQ(request.GetParameters().GetBindMethod(), ParameterList::BindByOrdinal);
}

TEST_F(PositionsTest, AnOutputTakesTheTimestampFormatOfItsParameter) {
    Parameter input("t", Column::BindTimestamp, DataType::DirectionIn, 0, 0);
    input.SetDateTimeFormat("dd.MM.yyyy");
    Parameter text("s", Column::BindString, DataType::DirectionIn, 0, 0);
    text.SetDateTimeFormat("HH:mm");
    request.SetParameters(List({text, input}));
    const auto formatOf = [&](const std::string& name, Column::BindType type) {
        Parameter output(name, type, DataType::DirectionOut, 0, 0);
        output.SetDateTimeFormat("before");
        request.LookupParameter(output);
        return output.GetDateTimeFormat();
    };
    EXPECT_EQ(formatOf("t", Column::BindTimestamp), "dd.MM.yyyy");
    EXPECT_EQ(formatOf("t", Column::BindString), "dd.MM.yyyy");
    EXPECT_EQ(formatOf("s", Column::BindTimestamp), "before");
    EXPECT_EQ(formatOf("T", Column::BindTimestamp), "before");
}

}  // namespace
}  // namespace qxtest
