#include "tools/qxsql/call_parameters.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace qxsql {
namespace {

using qxdb::Column;
using qxdb::DataType;
using qxdbsqlengine::Parameter;
using qxdbsqlengine::ParameterList;

constexpr DataType::Direction In = DataType::DirectionIn;
constexpr DataType::Direction Out = DataType::DirectionOut;
constexpr DataType::Direction InOut = DataType::DirectionInOut;

struct Described {
    const char* name;
    Column::BindType type;
    DataType::Direction direction;
};

qxdb::Schema SchemaOf(const std::vector<Described>& parameters) {
    qxdb::Schema::Columns columns;
    for (const Described& one : parameters) {
        auto column = std::make_shared<qxdb::ColumnRecord>();
        column->name = one.name;
        column->type = one.type;
        column->direction = one.direction;
        columns.push_back(std::move(column));
    }
    return qxdb::Schema(std::move(columns));
}

ParameterWord Value(const char* text, const char* type = "") {
    return {type, text, false};
}

ParameterWord Output(const char* name) {
    return {"", name, true};
}

// "a=5 c:out b:null d:default", in the order of the list; a "*" in front where the list binds by name.
std::string Text(const ParameterList& list) {
    std::string text = list.GetBindMethod() == ParameterList::BindByName ? "*" : "";
    for (const Parameter& one : list) {
        text += (text.empty() || text == "*" ? "" : " ") + one.GetName();
        if (one.GetDirection() == Out)
            text += ":out";
        else if (one.IsDefault())
            text += ":default";
        else if (one.IsNull())
            text += ":null";
        else
            text += "=" + one.AsString();
    }
    return text;
}

const std::vector<Described> mixed{
    {"a", Column::BindInt, In}, {"b", Column::BindString, InOut}, {"c", Column::BindDecimal, Out}};
const std::vector<Described> outputFirst{{"a", Column::BindInt, Out}, {"b", Column::BindInt, In}};
// A driver shows an output at the first place once more at the end.
const std::vector<Described> shownTwice{
    {"a", Column::BindInt, In}, {"b", Column::BindInt, In}, {"a", Column::BindInt, Out}};
const std::vector<Described> function{{"x", Column::BindInt, In}, {"RETURN_VALUE", Column::BindString, Out}};
const std::vector<Described> returnsFirst{{"RETURN_VALUE", Column::BindString, Out},
                                          {"x", Column::BindInt, In}};
const std::vector<Described> unnamed{
    {"", Column::BindInt, In}, {"", Column::BindString, In}, {"RETURN_VALUE", Column::BindString, Out}};
const std::vector<Described> signs{{"@From", Column::BindInt, In}, {"@To", Column::BindInt, Out}};

TEST(CallParameters, WordsFindTheirParameters) {
    const struct {
        const std::vector<Described>& described;
        std::vector<ParameterWord> words;
        const char* list;
    } cases[] = {
        {mixed, {Value("5"), Value("x")}, "*a=5 b=x c:out"},
        {mixed, {Value("5"), Value("x"), Output("?")}, "*a=5 b=x c:out"},
        {mixed, {Value("b=x"), Value("a=5")}, "*a=5 b=x c:out"},
        {mixed, {Value("b=x"), Value("a=5"), Output("c")}, "*a=5 b=x c:out"},
        {mixed, {Value("B=x=y"), Value(":A=5")}, "*a=5 b=x=y c:out"},
        {mixed, {Value("5")}, "*a=5 b:default c:out"},
        {mixed, {Value("b=")}, "*a:default b= c:out"},
        {mixed, {}, "*a:default b:default c:out"},
        {mixed, {Value("a=1"), Output("b")}, "*a=1 b:null c:out"},
        {mixed, {Value("1"), Output("?"), Output("?")}, "*a=1 b:null c:out"},
        {mixed, {Value("", "null"), Value("", "default")}, "*a:null b:default c:out"},
        {outputFirst, {Value("7")}, "*a:out b=7"},
        {outputFirst, {Output("?"), Value("7")}, "*a:out b=7"},
        {outputFirst, {Value("b=7"), Output("a")}, "*a:out b=7"},
        {shownTwice, {Value("1"), Value("2")}, "*a=1 b=2"},
        {shownTwice, {Value("b=2"), Value("a=1")}, "*a=1 b=2"},
        {function, {Value("1")}, "*x=1 RETURN_VALUE:out"},
        {returnsFirst, {Value("1")}, "*RETURN_VALUE:out x=1"},
        {unnamed, {Value("1"), Value("t")}, "=1 =t"},
        {signs, {Value("from=1"), Output("to")}, "*@From=1 @To:out"},
        {signs, {Value("@From=1")}, "*@From=1 @To:out"},
        {{}, {}, "*"},
    };
    for (const auto& one : cases)
        EXPECT_EQ(one.list, Text(MatchCallParameters(one.words, SchemaOf(one.described))));
}

TEST(CallParameters, ValuesTakeTheTypesOfTheirParameters) {
    const struct {
        Column::BindType described;
        ParameterWord word;
        Column::BindType type;
        const char* value;
    } cases[] = {
        {Column::BindShort, Value("-5"), Column::BindShort, "-5"},
        {Column::BindShort, Value("true"), Column::BindShort, "1"},
        {Column::BindShort, Value("false"), Column::BindShort, "0"},
        {Column::BindInt, Value("5"), Column::BindInt, "5"},
        {Column::BindLong, Value("5"), Column::BindLong, "5"},
        {Column::BindInt64, Value("9223372036854775807"), Column::BindInt64, "9223372036854775807"},
        {Column::BindFloat, Value("1.5"), Column::BindFloat, "1.5"},
        {Column::BindDouble, Value("1e3"), Column::BindDouble, "1000"},
        {Column::BindDecimal, Value("1.50"), Column::BindDecimal, "1.50"},
        {Column::BindBinary, Value("00ff"), Column::BindBinary, "00FF"},
        {Column::BindTimestamp, Value("2024-02-29"), Column::BindTimestamp, "2024-02-29 00:00:00.000"},
        {Column::BindTimestamp, Value("29.02.2024"), Column::BindString, "29.02.2024"},
        {Column::BindString, Value("5"), Column::BindString, "5"},
        {Column::BindLob, Value("5"), Column::BindString, "5"},
        // A type that is given holds.
        {Column::BindInt, Value("5", "string"), Column::BindString, "5"},
        {Column::BindString, Value("5", "int"), Column::BindInt, "5"},
        {Column::BindShort, Value("true", "string"), Column::BindString, "true"},
    };
    for (const auto& one : cases) {
        const ParameterList list = MatchCallParameters({one.word}, SchemaOf({{"p", one.described, InOut}}));
        ASSERT_EQ(1U, list.GetParameterCount());
        EXPECT_EQ(one.type, list[0].GetType()) << one.word.text;
        EXPECT_EQ(one.value, list[0].AsString());
        EXPECT_EQ(InOut, list[0].GetDirection());
    }
}

TEST(CallParameters, Refusals) {
    const std::vector<Described> alike{{"a", Column::BindInt, In}, {"A", Column::BindInt, In}};
    const std::vector<Described> hidden{{"", Column::BindInt, Out}, {"", Column::BindInt, In}};
    const struct {
        const std::vector<Described>& described;
        std::vector<ParameterWord> words;
        const char* message;
    } cases[] = {
        {mixed,
         {Value("1"), Value("2"), Value("3")},
         "--param: there are more than the call has parameters: a, b, c"},
        {mixed,
         {Value("1"), Value("2"), Output("?"), Output("?")},
         "--param: there are more than the call has parameters: a, b, c"},
        {mixed, {Value("z=1")}, "--param: there is no parameter \"z\"; the call has a, b, c"},
        {mixed, {Output("z")}, "--param: there is no parameter \"z\"; the call has a, b, c"},
        {mixed, {Value("a=1"), Value("A=1")}, "--param: the name \"A\" is given twice"},
        {mixed, {Value("c=1")}, "--param: \"c\" is an output and takes no value (--param-out)"},
        {mixed, {Output("a")}, "--param-out: \"a\" is an input, and needs a value (--param)"},
        {mixed, {Output("?")}, "--param-out: parameter 1 is an input, and needs a value (--param)"},
        {mixed,
         {Value("1"), Output("c")},
         "--param: some have a name and others have none (a value that contains \"=\" is written with a "
         "\"=\" in front)"},
        {mixed, {Value("x")}, "--param: \"x\" is not a whole number from -2147483648 to 2147483647"},
        {mixed,
         {Value("1", "number")},
         "--param-type: \"number\" is none of string, short, int, long, bigint, float, double, decimal, "
         "binary, timestamp, null, default"},
        {alike, {Value("b=1")}, "--param: there is no parameter \"b\"; the call has a, A"},
        {hidden, {Value("1")}, "--param: this call has a parameter without a name behind an output"},
        {{}, {Value("1")}, "--param: the server knows no such call, or one without parameters"},
    };
    for (const auto& one : cases) {
        try {
            MatchCallParameters(one.words, SchemaOf(one.described));
            ADD_FAILURE() << one.message;
        } catch (const std::invalid_argument& refusal) {
            EXPECT_STREQ(one.message, refusal.what());
        }
    }
}

// A name in another case is one only where it can be one parameter.
TEST(CallParameters, NamesThatDifferInTheirCase) {
    const std::vector<Described> alike{{"a", Column::BindInt, In}, {"A", Column::BindInt, In}};
    EXPECT_EQ("*a:default A=1", Text(MatchCallParameters({Value("A=1")}, SchemaOf(alike))));
    const std::vector<Described> three{{"aB", Column::BindInt, In}, {"Ab", Column::BindInt, In}};
    try {
        MatchCallParameters({Value("ab=1")}, SchemaOf(three));
        ADD_FAILURE();
    } catch (const std::invalid_argument& refusal) {
        EXPECT_STREQ("--param: \"ab\" can be several parameters: aB, Ab", refusal.what());
    }
}

}  // namespace
}  // namespace qxsql
