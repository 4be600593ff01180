#include "tools/qxsql/statement_parameters.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace qxsql {
namespace {

using qxdbsqlengine::ParameterList;

// What is wrong with the words; empty when nothing is.
std::string Refusal(const std::vector<ParameterWord>& words) {
    try {
        ReadParameters(words);
    } catch (const std::invalid_argument& error) {
        return error.what();
    }
    return "";
}

TEST(StatementParameters, EveryTypeHoldsItsValue) {
    using qxdb::Column;
    const struct {
        const char* type;
        const char* text;
        Column::BindType bindType;
        const char* value;
    } cases[] = {
        {"", "a b", Column::BindString, "a b"},
        {"", "", Column::BindString, ""},
        {"string", "5", Column::BindString, "5"},
        {"short", "-32768", Column::BindShort, "-32768"},
        {"short", "32767", Column::BindShort, "32767"},
        {"int", "-2147483648", Column::BindInt, "-2147483648"},
        {"int", "2147483647", Column::BindInt, "2147483647"},
        {"long", "2147483647", Column::BindLong, "2147483647"},
        {"bigint", "-9223372036854775808", Column::BindInt64, "-9223372036854775808"},
        {"bigint", "9223372036854775807", Column::BindInt64, "9223372036854775807"},
        {"float", "1.5", Column::BindFloat, "1.5"},
        {"double", "-2.5e3", Column::BindDouble, "-2500"},
        {"decimal", "123456789012345678901234567890.10", Column::BindDecimal,
         "123456789012345678901234567890.10"},
        {"binary", "00ff1A", Column::BindBinary, "00FF1A"},
        {"binary", "0xBEEF", Column::BindBinary, "BEEF"},
        {"binary", "", Column::BindBinary, ""},
        {"timestamp", "2024-02-29 23:59:59.125", Column::BindTimestamp, "2024-02-29 23:59:59.125"},
        {"timestamp", "2024-02-29", Column::BindTimestamp, "2024-02-29 00:00:00.000"},
        {"timestamp", "2024-02-29T01:02", Column::BindTimestamp, "2024-02-29 01:02:00.000"},
    };
    for (const auto& one : cases) {
        const ParameterList list = ReadParameters({{one.type, one.text}});
        ASSERT_EQ(1U, list.GetParameterCount());
        EXPECT_EQ(one.bindType, list[0].GetType()) << one.type;
        EXPECT_EQ(one.value, list[0].AsString()) << one.type;
        EXPECT_EQ(qxdb::DataType::DirectionIn, list[0].GetDirection());
        EXPECT_FALSE(list[0].IsNull());
        EXPECT_FALSE(list[0].IsDefault());
    }
}

TEST(StatementParameters, NullAndDefault) {
    const ParameterList list = ReadParameters({{"null", ""}, {"default", ""}, {"", ""}});
    ASSERT_EQ(3U, list.GetParameterCount());
    EXPECT_TRUE(list[0].IsNull());
    EXPECT_TRUE(list[1].IsDefault());
    EXPECT_FALSE(list[2].IsNull());
    const ParameterList named = ReadParameters({{"null", "a="}, {"default", "b="}});
    EXPECT_EQ("a", named[0].GetName());
    EXPECT_TRUE(named[0].IsNull());
    EXPECT_TRUE(named[1].IsDefault());
}

TEST(StatementParameters, WrongValuesAreNamed) {
    const struct {
        const char* type;
        const char* text;
        const char* refusal;
    } cases[] = {
        {"int", "abc", "--param: \"abc\" is not a whole number from -2147483648 to 2147483647"},
        {"int", "", "--param: \"\" is not a whole number from -2147483648 to 2147483647"},
        {"int", "5 ", "--param: \"5 \" is not a whole number from -2147483648 to 2147483647"},
        {"int", "1.5", "--param: \"1.5\" is not a whole number from -2147483648 to 2147483647"},
        {"int", "2147483648", "--param: \"2147483648\" is not a whole number from -2147483648 to 2147483647"},
        {"short", "32768", "--param: \"32768\" is not a whole number from -32768 to 32767"},
        {"bigint", "9223372036854775808",
         "--param: \"9223372036854775808\" is not a whole number from -9223372036854775808 to "
         "9223372036854775807"},
        {"double", "1,5", "--param: \"1,5\" is not a number"},
        {"double", "nan", "--param: \"nan\" is not a number"},
        {"double", "inf", "--param: \"inf\" is not a number"},
        {"double", "1e999", "--param: \"1e999\" is beyond the range of a double"},
        {"float", "1e39", "--param: \"1e39\" is beyond the range of a float"},
        {"decimal", "1.2.3", "--param: \"1.2.3\" is not a decimal number"},
        {"binary", "abc", "--param: \"abc\" is not made of pairs of hexadecimal digits"},
        {"binary", "zz", "--param: \"zz\" is not made of pairs of hexadecimal digits"},
        {"timestamp", "31.12.2024", "--param: \"31.12.2024\" is not a time such as 2024-12-31 23:59:59.999"},
        {"timestamp", "2023-02-29", "--param: \"2023-02-29\" is not a time such as 2024-12-31 23:59:59.999"},
        {"null", "5", "--param: \"5\" stands where a parameter of type null takes no value"},
        {"default", "5", "--param: \"5\" stands where a parameter of type default takes no value"},
        {"number", "5",
         "--param-type: \"number\" is none of string, short, int, long, bigint, float, double, decimal, "
         "binary, timestamp, null, default"},
    };
    for (const auto& one : cases)
        EXPECT_EQ(one.refusal, Refusal({{one.type, one.text}}));
}

TEST(StatementParameters, NamesStandInFrontOfTheFirstEquals) {
    const struct {
        const char* text;
        const char* name;
        const char* value;
    } cases[] = {
        {"a=1", "a", "1"},         {":a=1", "a", "1"},
        {"@a=1", "@a", "1"},       {"a_1.b=x=y", "a_1.b", "x=y"},
        {"größe=1", "größe", "1"}, {"a=", "a", ""},
        {"=a=b", "", "a=b"},       {"=", "", ""},
        {":=b", "", ":=b"},        {"1a=b", "", "1a=b"},
        {"a b=c", "", "a b=c"},    {"https://x?y=1", "", "https://x?y=1"},
        {"abc", "", "abc"},
    };
    for (const auto& one : cases) {
        const ParameterList list = ReadParameters({{"", one.text}});
        EXPECT_EQ(one.name, list[0].GetName()) << one.text;
        EXPECT_EQ(one.value, list[0].AsString()) << one.text;
        EXPECT_EQ(*one.name != '\0' ? ParameterList::BindByName : ParameterList::BindByOrdinal,
                  list.GetBindMethod())
            << one.text;
    }
}

TEST(StatementParameters, NamesForAllOrForNone) {
    EXPECT_EQ("", Refusal({{"", "a=1"}, {"", "A=2"}}));
    EXPECT_EQ("--param: the name \"a\" is given twice", Refusal({{"", "a=1"}, {"", "a=2"}}));
    EXPECT_EQ(0U, Refusal({{"", "a=1"}, {"", "2"}}).find("--param: \"2\" has no name, but"));
    EXPECT_EQ(0U, Refusal({{"", "a=1"}, {"", "=b=2"}}).find("--param: \"=b=2\" has no name, but"));
    EXPECT_EQ(0U, Refusal({{"", "1"}, {"", "a=2"}}).find("--param: \"a=2\" has a name, but"));
    EXPECT_EQ(0U, ReadParameters({}).GetParameterCount());
}

qxdb::Schema Wanted(const std::vector<std::string>& names) {
    qxdb::Schema::Columns columns;
    for (const std::string& name : names) {
        auto column = std::make_shared<qxdb::ColumnRecord>();
        column->name = name;
        columns.push_back(column);
    }
    return qxdb::Schema(columns);
}

// The values in their order, or what is wrong.
std::string Ordered(const std::vector<ParameterWord>& words, const std::vector<std::string>& wanted) {
    try {
        const ParameterList list = OrderParameters(ReadParameters(words), Wanted(wanted));
        EXPECT_EQ(ParameterList::BindByOrdinal, list.GetBindMethod());
        std::string values;
        for (unsigned int i = 0; i < list.GetParameterCount(); ++i)
            values += list[i].AsString();
        return values;
    } catch (const std::invalid_argument& error) {
        return error.what();
    }
}

TEST(StatementParameters, OrderIsThatOfTheStatement) {
    EXPECT_EQ("12", Ordered({{"", "1"}, {"", "2"}}, {"", ""}));
    EXPECT_EQ("12", Ordered({{"", "1"}, {"", "2"}}, {"b", "a"}));
    EXPECT_EQ("21", Ordered({{"", "a=1"}, {"", "b=2"}}, {"b", "a"}));
    EXPECT_EQ("121", Ordered({{"", "a=1"}, {"", "b=2"}}, {"a", "b", "a"}));
    EXPECT_EQ("--param: the statement has 1 parameter(s), and 2 are given",
              Ordered({{"", "1"}, {"", "2"}}, {""}));
    EXPECT_EQ("--param: the statement has no parameter \"A\"; it has a", Ordered({{"", "A=1"}}, {"a"}));
    EXPECT_EQ("--param: the statement has parameters without names, which can only be given without names",
              Ordered({{"", "a=1"}}, {"", "a"}));
    EXPECT_EQ("--param: the statement has no parameter \"a\"; it has none", Ordered({{"", "a=1"}}, {}));
    EXPECT_EQ("--param: nothing is given for the parameter \"b\" of the statement",
              Ordered({{"", "a=1"}}, {"a", "b"}));
}

TEST(StatementParameters, DescriptionFollowsTheList) {
    const qxdb::Schema schema = DescribeParameters(ReadParameters({{"int", "a=1"}, {"null", "b="}}));
    ASSERT_EQ(2U, schema.GetNumberColumns());
    EXPECT_EQ("a", schema[0].GetName());
    EXPECT_EQ(qxdb::Column::BindInt, schema[0].GetType());
    EXPECT_EQ("b", schema[1].GetName());
    EXPECT_EQ(qxdb::Column::BindString, schema[1].GetType());
}

}  // namespace
}  // namespace qxsql
