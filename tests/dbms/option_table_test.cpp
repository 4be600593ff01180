#include "dbms/option_table.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "dbms/option_values.h"
#include "platform/qxutils/qx_exception.h"

namespace qxdbsqlengine {
namespace {

using Ids = std::vector<unsigned int>;

Ids IdsOf(qxdb::DBTYPE server, double version) {
    Ids ids;
    for (const OptionInfo& info : DescribeOptions(server, version)) {
        EXPECT_NE(info.text, "") << info.option;
        ids.push_back(info.option);
    }
    return ids;
}

TEST(OptionTableTest, EachServerHasItsOptionsInOrder) {
    EXPECT_EQ(IdsOf(qxdb::DBTYPE_OTHER, 1.0), (Ids{50147, 50385}));
    EXPECT_EQ(IdsOf(qxdb::DBTYPE_MYSQL, 3.0), (Ids{50147, 50385, 50403, 50404, 50405, 50423, 50424, 50463}));
    EXPECT_EQ(IdsOf(qxdb::DBTYPE_MYSQL, 5.0),
              (Ids{50147, 50385, 50402, 50403, 50404, 50405, 50406, 50407, 50408, 50409, 50410, 50411, 50412,
                   50413, 50414, 50415, 50416, 50418, 50419, 50420, 50421, 50422, 50423, 50424, 50463}));
    EXPECT_EQ(IdsOf(qxdb::DBTYPE_ORACLE, 9.2),
              (Ids{50147, 50149, 50206, 50287, 50288, 50289, 50306, 50313, 50331, 50448, 50449, 50450}));
    EXPECT_EQ(IdsOf(qxdb::DBTYPE_ORACLE, 10.0), (Ids{50147, 50149, 50206, 50287, 50288, 50289, 50306, 50313,
                                                     50331, 50448, 50449, 50450, 50451, 50452}));
    EXPECT_EQ(IdsOf(qxdb::DBTYPE_DB2, 9.0), (Ids{50147, 50252, 50314, 50385, 50470, 50472, 50473}));
    EXPECT_EQ(IdsOf(qxdb::DBTYPE_DB2OS390, 7.0), (Ids{50147, 50252, 50314, 50385}));
    EXPECT_EQ(IdsOf(qxdb::DBTYPE_SQLSERVER, 8.0),
              (Ids{50120, 50121, 50122, 50123, 50124, 50125, 50126, 50127, 50128, 50129, 50130, 50131,
                   50147, 50252, 50286, 50298, 50299, 50300, 50301, 50302, 50385, 50462, 50481}));
    EXPECT_EQ(IdsOf(qxdb::DBTYPE_SYBASE, 12.5),
              (Ids{50100, 50101, 50102, 50103, 50104, 50105, 50106, 50107, 50108, 50109, 50110, 50111, 50112,
                   50113, 50114, 50115, 50116, 50118, 50147, 50252, 50357, 50358, 50359, 50360, 50385}));
}

TEST(OptionTableTest, TextsAndKinds) {
    const std::vector<OptionInfo> mysql = DescribeOptions(qxdb::DBTYPE_MYSQL, 5.0);
    std::map<unsigned int, OptionInfo> byId;
    for (const OptionInfo& info : mysql)
        byId[info.option] = info;
    EXPECT_EQ(byId[50403].text, "set sql_big_selects=%s");
    EXPECT_EQ(byId[50403].kind, OptionKind::Flag);
    EXPECT_EQ(byId[50402].kind, OptionKind::Number);
    EXPECT_EQ(byId[50414].kind, OptionKind::Text);
    EXPECT_EQ(byId[50424].kind, OptionKind::Text);
    EXPECT_EQ(byId[50424].text, "commands run before the first statement, separated by ;");
}

TEST(OptionTableTest, TextsOfOptionsWithAPlaceOfTheirOwn) {
    const auto find = [](qxdb::DBTYPE server, unsigned int option) {
        for (const OptionInfo& info : DescribeOptions(server, 12.0)) {
            if (info.option == option)
                return info;
        }
        return OptionInfo{0, OptionKind::Number, ""};
    };
    const struct {
        qxdb::DBTYPE server;
        unsigned int option;
        const char* text;
    } cases[] = {
        {qxdb::DBTYPE_SQLSERVER, 50286, "SET ANSI_DEFAULTS %s"},
        {qxdb::DBTYPE_SYBASE, 50100, "SET SHOWPLAN %s"},
        {qxdb::DBTYPE_SYBASE, 50103, "SET STATISTICS IO %s"},
        {qxdb::DBTYPE_SYBASE, 50104, "SET STATISTICS TIME %s"},
        {qxdb::DBTYPE_SYBASE, 50106, "SET FORCEPLAN %s"},
        {qxdb::DBTYPE_SYBASE, 50359, "trace flag 3604"},
        {qxdb::DBTYPE_SYBASE, 50360, "trace flag 3605"},
        {qxdb::DBTYPE_SYBASE, 50357, "trace flag 302"},
        {qxdb::DBTYPE_SYBASE, 50358, "trace flag 310"},
    };
    for (const auto& one : cases) {
        const OptionInfo info = find(one.server, one.option);
        EXPECT_EQ(info.text, one.text) << one.option;
        EXPECT_EQ(info.kind, OptionKind::Flag) << one.option;
    }
    EXPECT_EQ(find(qxdb::DBTYPE_SQLSERVER, 50131).kind, OptionKind::Number);
    EXPECT_EQ(find(qxdb::DBTYPE_SQLSERVER, 50131).text,
              "isolation: 0 READ COMMITTED, 1 READ UNCOMMITTED, 2 REPEATABLE READ, 3 SERIALIZABLE");
}

TEST(OptionTableTest, NoOptionIsNamedTwice) {
    for (const qxdb::DBTYPE server : {qxdb::DBTYPE_SYBASE, qxdb::DBTYPE_SQLSERVER, qxdb::DBTYPE_DB2,
                                      qxdb::DBTYPE_ORACLE, qxdb::DBTYPE_DB2OS390, qxdb::DBTYPE_MYSQL}) {
        const Ids ids = IdsOf(server, 100.0);
        for (std::size_t i = 1; i < ids.size(); ++i)
            EXPECT_LT(ids[i - 1], ids[i]) << server;
    }
}

// Values.

const OptionMap values = {{1, _variant_t(5L)},        {2, _variant_t(7)},     {3, _variant_t("12")},
                          {4, _variant_t(true)},      {5, _variant_t(false)}, {6, _variant_t("text")},
                          {7, _variant_t()},          {8, _variant_t(2.0)},   {9, _variant_t("")},
                          {10, _variant_t(L"\u00e4")}};

TEST(OptionValuesTest, NumbersAndFlagsConvert) {
    EXPECT_EQ(FindIntOption(values, 1), 5);
    EXPECT_EQ(FindIntOption(values, 2), 7);
    EXPECT_EQ(FindIntOption(values, 3), 12);
    EXPECT_EQ(FindIntOption(values, 7), 0);
    EXPECT_EQ(FindIntOption(values, 8), 2);
    EXPECT_EQ(FindIntOption(values, 99), std::nullopt);
    EXPECT_EQ(FindBoolOption(values, 4), true);
    EXPECT_EQ(FindBoolOption(values, 5), false);
    EXPECT_EQ(FindBoolOption(values, 1), true);
    EXPECT_EQ(FindBoolOption(values, 7), false);
    EXPECT_EQ(FindBoolOption(values, 99), std::nullopt);
}

TEST(OptionValuesTest, TextsDoNot) {
    EXPECT_EQ(FindTextOption(values, 6), "text");
    EXPECT_EQ(FindTextOption(values, 7), "");
    EXPECT_EQ(FindTextOption(values, 9), "");
    EXPECT_EQ(FindTextOption(values, 10), "\xC3\xA4");
    EXPECT_EQ(FindTextOption(values, 99), std::nullopt);
    for (const unsigned int option : {1u, 4u, 8u})
        EXPECT_THROW(FindTextOption(values, option), qxutils::QXException) << option;
}

TEST(OptionValuesTest, ValueThatDoesNotConvertIsNamed) {
    try {
        FindIntOption(values, 6);
        FAIL() << "no exception";
    } catch (const qxutils::QXException& failure) {
        EXPECT_STREQ(failure.what(), "Query option 6 has a value of a wrong type");
    }
    EXPECT_THROW(FindBoolOption(values, 6), qxutils::QXException);
}

TEST(OptionValuesTest, CurrentValuesComeBeforeDefaults) {
    const OptionMap defaults = {{1, _variant_t(1L)}, {2, _variant_t(2L)}};
    const OptionMap options = {{2, _variant_t(20L)}};
    EXPECT_EQ(ReadIntOption(defaults, options, 1, -1), 1);
    EXPECT_EQ(ReadIntOption(defaults, options, 2, -1), 20);
    EXPECT_EQ(ReadIntOption(defaults, options, 3, -1), -1);
}

TEST(OptionValuesTest, OnlyATrueFlagIsOn) {
    for (const auto& value : values)
        EXPECT_EQ(IsOptionOn(values, value.first), value.first == 4) << value.first;
    EXPECT_FALSE(IsOptionOn(values, 99));
}

}  // namespace
}  // namespace qxdbsqlengine
