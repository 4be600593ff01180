#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "dbms/string_table.h"
#include "handler_fixture.h"
#include "platform/qxutils/qx_exception.h"

namespace qxtest {
namespace {

using qxdbsqlengine::FormatSql;
using qxdbsqlengine::ResourceLoader;

enum Condition { Always, From, Below };

struct OptionCase {
    unsigned int option;
    unsigned int row;
    Condition condition;
    double version;
};

const OptionCase optionCases[] = {
    {50287, 2783, Always, 0},    {50289, 2785, Always, 0},    {50450, 143, Always, 0},
    {50288, 136, From, 10.0},    {50288, 137, Below, 10.0},   {50448, 139, From, 10.0},
    {50448, 140, Below, 10.0},   {50449, 141, From, 10.0},    {50449, 142, Below, 10.0},
    {50451, 144, From, 10.0},    {50452, 145, From, 10.0},

    {50403, 2820, Always, 0},    {50404, 2821, Always, 0},    {50405, 2822, Always, 0},
    {50423, 2840, Always, 0},    {50406, 2823, From, 3.2211}, {50407, 2824, From, 3.2223},
    {50408, 2825, From, 3.225},  {50409, 2826, From, 3.225},  {50410, 2827, From, 3.2313},
    {50411, 2828, From, 3.2316}, {50412, 2829, From, 3.2326}, {50413, 2830, From, 3.235},
    {50414, 2831, From, 3.235},  {50415, 2832, From, 3.2352}, {50416, 2833, From, 3.2352},
    {50402, 2819, From, 3.237},  {50418, 2835, From, 4.0},    {50419, 2836, From, 4.01},
    {50420, 2837, From, 4.03},   {50421, 2838, From, 4.03},   {50422, 2839, From, 4.11},

    {50120, 2658, Always, 0},    {50121, 2659, Always, 0},    {50122, 2665, Always, 0},
    {50123, 2667, Always, 0},    {50124, 2660, Always, 0},    {50125, 2651, Always, 0},
    {50126, 138, Always, 0},     {50127, 2645, Always, 0},    {50128, 2662, Always, 0},
    {50129, 2647, Always, 0},    {50130, 2646, Always, 0},    {50298, 2778, Always, 0},
    {50299, 2779, Always, 0},    {50300, 2780, Always, 0},    {50301, 2781, Always, 0},
    {50302, 2782, Always, 0},    {50462, 135, Always, 0},     {50481, 19547, Always, 0},

    {50101, 2658, Always, 0},    {50102, 2659, Always, 0},    {50105, 2666, Always, 0},
    {50107, 2661, Always, 0},    {50108, 2660, Always, 0},    {50109, 138, Always, 0},
    {50110, 2668, Always, 0},    {50111, 2648, Always, 0},    {50112, 2653, Always, 0},
    {50113, 2652, Always, 0},    {50114, 2642, Always, 0},    {50115, 2643, Always, 0},
    {50116, 2644, Always, 0},    {50118, 2662, Always, 0},
};

class SessionOptionsTest : public HandlerTest {
  protected:
    void UseVersion(double version) {
        server.SetVersion(version);
        handler.SetOptionsIDSMap(Connection());
    }
    // 0 when the option has none.
    unsigned int RowOf(unsigned int option) {
        const auto found = handler.optionRows.find(option);
        return found == handler.optionRows.end() ? 0 : found->second;
    }
    // The row that an option has on a version, by the table above.
    static unsigned int ExpectedRow(unsigned int option, double version) {
        unsigned int row = 0;
        for (const OptionCase& one : optionCases) {
            const bool holds = one.condition == Always || (one.condition == From && version >= one.version) ||
                               (one.condition == Below && version < one.version);
            if (one.option == option && holds)
                row = one.row;
        }
        return row;
    }
};

TEST_F(SessionOptionsTest, EveryOptionHasItsRowBelowAtAndAboveItsVersion) {
    for (const OptionCase& one : optionCases) {
        const double infinity = std::numeric_limits<double>::infinity();
        for (const double version :
             {std::nextafter(one.version, -infinity), one.version, std::nextafter(one.version, infinity)}) {
            UseVersion(version);
            EXPECT_EQ(RowOf(one.option), ExpectedRow(one.option, version)) << one.option << " on " << version;
        }
    }
}

TEST_F(SessionOptionsTest, NoOptionBeyondTheTableHasARow) {
    UseVersion(100.0);
    for (const auto& entry : handler.optionRows)
        EXPECT_EQ(entry.second, ExpectedRow(entry.first, 100.0)) << entry.first;
    EXPECT_EQ(RowOf(50147), 0u);
    EXPECT_EQ(RowOf(50385), 0u);
    for (const auto& entry : handler.optionRows)
        EXPECT_NE(entry.second, 2834u) << entry.first;
    UseVersion(1.0);  // nothing of the newer server is left
    EXPECT_EQ(RowOf(50422), 0u);
    EXPECT_EQ(RowOf(50288), 137u);
}

TEST_F(SessionOptionsTest, EveryRowOfTheMapExistsAndTakesItsArguments) {
    for (const double version : {1.0, 100.0}) {
        UseVersion(version);
        for (const auto& entry : handler.optionRows) {
            const unsigned int option = entry.first;
            const std::string format = ResourceLoader::LoadString(static_cast<int>(entry.second));
            ASSERT_NE(format, "") << option;
            // A number fits every row; a flag every row that has no number in it.
            const OptionMap number = {{option, _variant_t(12L)}};
            EXPECT_EQ(handler.GetQueryString(static_cast<int>(option), number), FormatSql(format, {12}));
            EXPECT_NE(handler.GetQueryString(static_cast<int>(option), number), "") << option;
            const OptionMap flag = {{option, _variant_t(true)}};
            const bool takesNumber = format.find("%d") != std::string::npos;
            EXPECT_EQ(handler.GetQueryString(static_cast<int>(option), flag).empty(), takesNumber) << option;
        }
    }
}

TEST_F(SessionOptionsTest, QueryStringGoesByTheTypeOfTheValue) {
    UseVersion(4.11);
    const OptionMap options = {
        {50403, _variant_t(true)},        // %s
        {50404, _variant_t(false)},       // %s
        {50413, _variant_t(1000L)},       // VT_I4 into %d
        {50402, _variant_t(-5, VT_INT)},  // VT_INT into %d
        {50405, _variant_t(100L)},        // a number into %s
        {50414, _variant_t("repeatable read")},
        {50126, _variant_t("250")},   // a number as text into %d
        {50109, _variant_t("many")},  // no number into %d
        {50110, _variant_t(true)},    // a flag into %d
        {50120, _variant_t(2.5)},     // VT_R8
        {50121, _variant_t()},        // VT_EMPTY
        {50122, _variant_t("")},      // an empty text
        {50287, _variant_t(true)},    // a row without a place
        {60000, _variant_t(true)},    // no row
    };
    const struct {
        int option;
        const char* expected;
    } cases[] = {
        {50403, "set sql_big_selects=ON"},
        {50404, "set sql_log_off=OFF"},
        {50413, "set sql_max_join_size=1000"},
        {50402, "set interactive_timeout=-5"},
        {50405, "set sql_select_limit=100"},
        {50414, "set transaction isolation level repeatable read"},
        {50126, "set rowcount 250"},
        {50109, ""},
        {50110, ""},
        {50120, ""},
        {50121, ""},
        {50122, "SET STATISTICS IO "},
        {60000, ""},
        {50123, ""},  // has a row, is not among the options
        {-1, ""},
    };
    for (const auto& one : cases)
        EXPECT_EQ(handler.GetQueryString(one.option, options), one.expected) << one.option;
    EXPECT_EQ(handler.GetQueryString(50287, options), ResourceLoader::LoadString(2783));
}

TEST_F(SessionOptionsTest, TextsOfSingleOptions) {
    EXPECT_EQ(handler.GetResultsFromBoolOption(true, 2658), "SET NOCOUNT ON");
    EXPECT_EQ(handler.GetResultsFromBoolOption(false, 2658), "SET NOCOUNT OFF");
    EXPECT_EQ(handler.GetResultsFromBoolOption(true, 138), "");
    EXPECT_EQ(handler.GetResultsFromBoolOption(true, -1), "");
    EXPECT_EQ(handler.GetResultsFromIntOption(std::numeric_limits<int>::max(), 138),
              "set rowcount 2147483647");
    EXPECT_EQ(handler.GetResultsFromIntOption(0, 2653), "SET TRANSACTION ISOLATION LEVEL 0");
    EXPECT_EQ(handler.GetResultsFromIntOption(1, 4711), "");
    EXPECT_EQ(handler.GetResultsFromStrOption(2839, "utf8", ""), "set character_set_client=utf8");
    EXPECT_EQ(handler.GetResultsFromStrOption(2839, "utf8", "unused"), "set character_set_client=utf8");
    EXPECT_EQ(handler.GetResultsFromStrOption(4711, "utf8", ""), "");
}

TEST_F(SessionOptionsTest, SecondTextIsAnArgumentUnlessEmpty) {
    static const qxdbsqlengine::StringRow rows[] = {{88001, "DROP TABLE %s.%s"}};
    ResourceLoader::AddTable(rows, 1);
    EXPECT_EQ(handler.GetResultsFromStrOption(88001, "a", "b"), "DROP TABLE a.b");
    EXPECT_EQ(handler.GetResultsFromStrOption(88001, "a", ""), "");
}

TEST_F(SessionOptionsTest, ExecuteOptionsRunsTheTextsInOrderOfTheIds) {
    UseVersion(3.0);
    server.Expect("set rowcount 5");
    server.Expect("SET NOCOUNT ON");
    server.Expect("set sql_big_selects=OFF");
    handler.ExecuteOptions(Connection(), {{50403, _variant_t(false)},
                                          {50120, _variant_t(true)},
                                          {50109, _variant_t(5L)},
                                          {50422, _variant_t("utf8")},  // not on this version
                                          {50147, _variant_t(1L)},      // no session option
                                          {50121, _variant_t(0.5)}});   // no type of an option
    server.Verify();
}

TEST_F(SessionOptionsTest, OptionWithoutARowOnTheVersionStaysSilent) {
    UseVersion(9.2);
    handler.ExecuteOptions(Connection(), {{50451, _variant_t(true)}});
    EXPECT_TRUE(server.Executed().empty());
    UseVersion(10.0);
    server.Expect(ResourceLoader::LoadString(144));
    handler.ExecuteOptions(Connection(), {{50451, _variant_t(true)}});
    server.Verify();
}

TEST_F(SessionOptionsTest, FailureOfAnOptionStopsTheRest) {
    UseVersion(1.0);
    server.Expect("SET NOCOUNT ON").Fails(MakeErrors("refused"));
    EXPECT_THROW(handler.ExecuteOptions(Connection(), {{50120, _variant_t(true)}, {50121, _variant_t(true)}}),
                 Errors);
    server.Verify();
}

TEST_F(SessionOptionsTest, SetOptionsRunsTheCurrentOptionsAndNotTheDefaults) {
    UseVersion(1.0);
    request.SetMaxRowCount(7);
    request.SetMaxErrorCount(3);
    server.Expect("SET NOCOUNT ON");
    handler.SetOptions(Connection(), {{50121, _variant_t(true)}}, {{50120, _variant_t(true)}});
    server.Verify();
    EXPECT_EQ(request.GetMaxRowCount(), 7);
    EXPECT_EQ(request.GetMaxErrorCount(), 3);
    EXPECT_TRUE(request.GetUseGenericParser());
}

TEST_F(SessionOptionsTest, EmptyOptionsApplyTheDefaultsAndTakeTheLimitsAway) {
    UseVersion(1.0);
    request.SetMaxRowCount(7);
    request.SetMaxErrorCount(3);
    server.Expect("SET NOEXEC OFF");
    handler.SetOptions(Connection(), {{50121, _variant_t(false)}}, {});
    server.Verify();
    EXPECT_EQ(request.GetMaxRowCount(), 0);
    EXPECT_EQ(request.GetMaxErrorCount(), 0);
}

TEST_F(SessionOptionsTest, ResetOptionsRunsTheDefaultsAndTakesTheLimitsAway) {
    UseVersion(1.0);
    request.SetMaxRowCount(7);
    request.SetMaxErrorCount(3);
    server.Expect("SET NOCOUNT OFF");
    handler.ResetOptions(Connection(), {{50120, _variant_t(false)}});
    server.Verify();
    EXPECT_EQ(request.GetMaxRowCount(), 0);
    EXPECT_EQ(request.GetMaxErrorCount(), 0);
}

TEST_F(SessionOptionsTest, DuringExplainNoOptionReachesTheServer) {
    UseVersion(1.0);
    request.SetDoExplainPlan(true);
    request.SetMaxRowCount(7);
    request.SetMaxErrorCount(3);
    const OptionMap options = {{50120, _variant_t(true)}, {50147, _variant_t(9L)}, {50385, _variant_t(true)}};
    handler.SetOptions(Connection(), options, options);
    handler.SetOptions(Connection(), options, {});
    EXPECT_TRUE(server.Executed().empty());
    EXPECT_EQ(request.GetMaxRowCount(), 7);
    EXPECT_EQ(request.GetMaxErrorCount(), 3);
    EXPECT_TRUE(request.GetUseGenericParser());
}

TEST_F(SessionOptionsTest, SettingsOfTheRequestTravelAmongTheOptions) {
    UseVersion(1.0);
    handler.SetOptions(Connection(), {}, {{50147, _variant_t(12L)}, {50385, _variant_t(true)}});
    EXPECT_EQ(request.GetMaxErrorCount(), 12);
    EXPECT_FALSE(request.GetUseGenericParser());
    handler.SetOptions(Connection(), {}, {{50147, _variant_t("4")}, {50385, _variant_t(false)}});
    EXPECT_EQ(request.GetMaxErrorCount(), 4);
    EXPECT_TRUE(request.GetUseGenericParser());
    EXPECT_TRUE(server.Executed().empty());
}

TEST_F(SessionOptionsTest, SettingOfAWrongTypeIsNamed) {
    UseVersion(1.0);
    try {
        handler.SetOptions(Connection(), {}, {{50147, _variant_t("a few")}});
        FAIL() << "no exception";
    } catch (const qxutils::QXException& failure) {
        EXPECT_STREQ(failure.what(), "Query option 50147 has a value of a wrong type");
    }
}

TEST_F(SessionOptionsTest, ConstantsOfBooleanOptions) {
    EXPECT_STREQ(qxdbsqlengine::DBMSHandler::SQL_OPTION_ON, "ON");
    EXPECT_STREQ(qxdbsqlengine::DBMSHandler::SQL_OPTION_OFF, "OFF");
}

}  // namespace
}  // namespace qxtest
