#include "dbms/string_table.h"

#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "dbms/option_table.h"
#include "dbms/row_uses.h"

namespace qxdbsqlengine {
namespace {

std::string Load(int id) {
    RegisterSqlStrings();
    return ResourceLoader::LoadString(id);
}

std::vector<StringRow> AllRows() {
    std::vector<StringRow> rows;
    for (const StringRows& part : {GetCommonStrings(), GetDB2Strings()})
        rows.insert(rows.end(), part.rows, part.rows + part.count);
    return rows;
}

// Rows that are parts of a statement are tested where the whole statement is sent.
TEST(StringTableTest, RowsHaveTheirTexts) {
    const std::string from =
        ", S.VALUE FROM SYS.V_$STATNAME N, SYS.V_$MYSTAT S WHERE N.STATISTIC#=S.STATISTIC# AND NAME IN (";
    const std::string end = ") ORDER BY N.NAME";
    const std::string io =
        "'recursive calls','db block gets','consistent gets','consistent changes','physical reads',"
        "'physical writes','redo size'";
    const std::string index =
        "'index fast full scans (direct read)','index fast full scans (full)',"
        "'index fast full scans (rowid ranges)'";
    const std::string parse =
        "'parse count (hard)','parse count (total)','parse time cpu','parse time elapsed'";
    const std::map<int, std::string> expected = {
        {135, "SET FMTONLY %s"},
        {136, "SELECT N.NAME \"I/O Activity\"" + from + io + ",'user calls'" + end},
        {137, "SELECT N.NAME \"I/O Activity\"" + from + io + end},
        {138, "set rowcount %d"},
        {139, "SELECT N.NAME" + from + index + ",'index fetch by key'" + end},
        {140, "SELECT N.NAME \"Index Activity\"" + from + index + end},
        {141, "SELECT N.NAME \"Parse Activity\"" + from + parse + ",'parse count (failures)'" + end},
        {142, "SELECT N.NAME \"Parse Activity\"" + from + parse + end},
        {143, "SELECT N.NAME \"Table Activity\"" + from +
                  "'table scans (direct read)','table scans (cache partitions)','table scans (long tables)',"
                  "'table scans (rowid ranges)','table scans (short tables)'" +
                  end},
        {144, "SELECT N.NAME \"OS Activity\"" + from +
                  "'OS Page faults','OS Swaps','OS System time used','OS User time used'" + end},
        {145, "SELECT N.NAME \"Wait Activity\"" + from +
                  "'application wait time','cluster wait time','concurrency wait time','enqueue waits',"
                  "'redo log space wait time','user I/O wait time'" +
                  end},
        {133, "DBMS_OUTPUT Results Batch "},
        {148, "SET SHOWPLAN,NOEXEC %s"},
        {149, "SET SHOWPLAN,NOEXEC %s"},
        {2654, "SET TRANSACTION ISOLATION LEVEL READ COMMITTED"},
        {2655, "SET TRANSACTION ISOLATION LEVEL READ UNCOMMITTED"},
        {2656, "SET TRANSACTION ISOLATION LEVEL REPEATABLE READ"},
        {2657, "SET TRANSACTION ISOLATION LEVEL SERIALIZABLE"},
        {2664, "SET SHOWPLAN %s"},
        {2684, "SET SHOWPLAN_ALL %s"},
        {2776, "SET ANSI_DEFAULTS %s"},
        {2802, "dbcc traceon (%s)"},
        {2803, "dbcc traceoff (%s)"},
        {2638, "SELECT COUNT(*) FROM %s WHERE 1 = 0"},
        {2639, "EXPLAIN PLAN SET STATEMENT_ID='%s' INTO %s FOR "},
        {2689, "SELECT COST FROM %s WHERE 1 = 0"},
        {2690, "DROP TABLE %s.%s"},
        {2760, "SELECT DISTINCT USER FROM DUAL"},
        {2761, "DROP TABLE \"%s\".%s"},
        {2790, "SELECT 'Before' \"Execution Information\", SYSDATE \"VALUE\" FROM DUAL"},
        {2791, "SELECT N.NAME \"Execution Information\"" + from + "'CPU used by this session'" + end},
        {2792, "SELECT 'After' \"Execution Information\", SYSDATE \"VALUE\" FROM DUAL"},
        {2642, "SET ARITHABORT ARITH_OVERFLOW %s"},
        {2643, "SET ARITHABORT NUMERIC_TRUNCATION %s"},
        {2644, "SET ANSINULL %s"},
        {2645, "SET ANSI_NULLS %s"},
        {2646, "SET ARITHABORT %s"},
        {2647, "SET ARITHIGNORE %s"},
        {2648, "SET CHAINED %s"},
        {2651, "SET FORCEPLAN %s"},
        {2652, "SET ARITHIGNORE ARITH_OVERFLOW %s"},
        {2653, "SET TRANSACTION ISOLATION LEVEL %d"},
        {2658, "SET NOCOUNT %s"},
        {2659, "SET NOEXEC %s"},
        {2660, "SET PARSEONLY %s"},
        {2661, "SET PREFETCH %s"},
        {2662, "SET QUOTED_IDENTIFIER %s"},
        {2665, "SET STATISTICS IO %s"},
        {2666, "SET STATISTICS SUBQUERYCACHE %s"},
        {2667, "SET STATISTICS TIME %s"},
        {2668, "SET TABLE COUNT %d"},
        {2778, "SET ANSI_NULL_DFLT_ON %s"},
        {2779, "SET ANSI_PADDING %s"},
        {2780, "SET ANSI_WARNINGS %s"},
        {2781, "SET CURSOR_CLOSE_ON_COMMIT %s"},
        {2782, "SET IMPLICIT_TRANSACTIONS %s"},
        {2783,
         "SELECT N.NAME \"Network Activity\", S.VALUE FROM SYS.V_$STATNAME N, SYS.V_$MYSTAT S WHERE "
         "N.STATISTIC#=S.STATISTIC# AND NAME IN ('bytes sent via SQL*Net to client','bytes received via "
         "SQL*Net from client', 'SQL*Net roundtrips to/from client') ORDER BY N.NAME"},
        {2785,
         "SELECT N.NAME \"Sort Activity\", S.VALUE FROM SYS.V_$STATNAME N, SYS.V_$MYSTAT S WHERE "
         "N.STATISTIC#=S.STATISTIC# AND NAME IN ('table fetch continued row','sorts (memory)','sorts "
         "(disk)','sorts(rows)','rows processed') ORDER BY N.NAME"},
        {2819, "set interactive_timeout=%d"},
        {2820, "set sql_big_selects=%s"},
        {2821, "set sql_log_off=%s"},
        {2822, "set sql_select_limit=%s"},
        {2823, "set sql_warnings=%s"},
        {2824, "set sql_safe_updates=%s"},
        {2825, "set sql_log_update=%s"},
        {2826, "set sql_low_priority_updates=%s"},
        {2827, "set sql_buffer_result=%s"},
        {2828, "set sql_log_bin=%s"},
        {2829, "set sql_quote_show_create=%s"},
        {2830, "set sql_max_join_size=%d"},
        {2831, "set transaction isolation level %s"},
        {2832, "set sql_auto_is_null=%s"},
        {2833, "set unique_checks=%s"},
        {2834, "set autocommit=%s"},
        {2835, "set big_tables=%s"},
        {2836, "set query_cache_type=%s"},
        {2837, "set insert_id=%d"},
        {2838, "set last_insert_id=%d"},
        {2839, "set character_set_client=%s"},
        {2840, "set sql_big_tables=%s"},
        {19547, "SET CONCAT_NULL_YIELDS_NULL %s"},
    };
    for (const auto& row : expected)
        EXPECT_EQ(Load(row.first), row.second) << row.first;
}

TEST(StringTableTest, RowsAreSortedAndNotEmpty) {
    for (const StringRows& part : {GetCommonStrings(), GetDB2Strings()}) {
        EXPECT_TRUE(AreRowsSorted(part.rows, part.count));
        for (std::size_t i = 0; i < part.count; ++i)
            EXPECT_STRNE(part.rows[i].text, "") << part.rows[i].id;
    }
}

TEST(StringTableTest, NoNumberStandsInTwoParts) {
    std::set<int> numbers;
    for (const StringRow& row : AllRows())
        EXPECT_TRUE(numbers.insert(row.id).second) << row.id;
}

// Rows that no handler asks for: trace flags are not switched off, and there is no option for autocommit.
const std::set<int> rowsOfNobody = {2803, 2834};

// The places of a format, in order: 's' and 'd'.
std::string PlacesOf(const std::string& format) {
    std::string places;
    for (std::size_t i = 0; i < format.size(); ++i) {
        if (format[i] != '%')
            continue;
        ++i;
        if (format.compare(i, 1, "%") == 0)
            continue;
        if (format.compare(i, 1, "-") == 0)
            ++i;
        places += i < format.size() ? format[i] : '?';
    }
    return places;
}

// Sent texts end up in one statement: an argument more or less than the places would change it.
TEST(StringTableTest, EveryRowThatIsAskedForTakesTheArgumentsOfItsCaller) {
    for (const RowUse& use : GetRowUses()) {
        const std::string text = Load(use.row);
        EXPECT_NE(text, "") << use.row;
        const std::string places = PlacesOf(text);
        EXPECT_EQ(places.size(), static_cast<std::size_t>(use.arguments)) << use.row << " " << text;
        EXPECT_EQ(places.find_first_not_of("sd"), std::string::npos) << use.row << " " << text;
    }
}

TEST(StringTableTest, EveryRowIsAskedForBySomebody) {
    std::set<int> used = rowsOfNobody;
    for (const RowUse& use : GetRowUses())
        used.insert(use.row);
    for (const StringRow& row : AllRows())
        EXPECT_EQ(used.count(row.id), 1u) << row.id;
}

TEST(StringTableTest, OneCallerAsksInOneWay) {
    std::map<int, int> arguments;
    for (const RowUse& use : GetRowUses()) {
        const auto known = arguments.emplace(use.row, use.arguments).first;
        EXPECT_EQ(known->second, use.arguments) << use.row;
    }
}

TEST(StringTableTest, PlacesOfOptionsAreOfTheirKind) {
    for (std::size_t i = 0; i < GetOptionRowCount(); ++i) {
        const OptionRow& entry = GetOptionRows()[i];
        const std::string places = PlacesOf(Load(entry.row));
        if (entry.server == qxdb::DBTYPE_ORACLE) {
            EXPECT_EQ(places, "") << entry.option;
            EXPECT_EQ(entry.kind, OptionKind::Flag) << entry.option;
        } else {
            EXPECT_EQ(places, entry.kind == OptionKind::Number ? "d" : "s") << entry.option;
        }
    }
}

TEST(StringTableTest, MissingRowsAreEmpty) {
    EXPECT_EQ(Load(-1), "");
    EXPECT_EQ(Load(0), "");
    EXPECT_EQ(Load(2649), "");
    EXPECT_EQ(Load(99999), "");
    std::string text = "old";
    EXPECT_FALSE(ResourceLoader::LoadString(text, 2649));
    EXPECT_EQ(text, "");
    EXPECT_TRUE(ResourceLoader::LoadString(text, 138));
    EXPECT_EQ(text, "set rowcount %d");
}

TEST(StringTableTest, MessagesStayBesideTheSqlRows) {
    EXPECT_EQ(Load(121), "Unknown Error");
    EXPECT_EQ(Load(146),
              "Datasource has not responded to the cancel request. Connection has been discarded.");
}

TEST(StringTableTest, ChoiceIsARowBehindAnother) {
    RegisterSqlStrings();
    EXPECT_EQ(GetChoiceText(2654, 0), "SET TRANSACTION ISOLATION LEVEL READ COMMITTED");
    EXPECT_EQ(GetChoiceText(2654, 3), "SET TRANSACTION ISOLATION LEVEL SERIALIZABLE");
    EXPECT_EQ(GetChoiceText(2654, 4), "");   // has a place
    EXPECT_EQ(GetChoiceText(2655, -1), "");  // a row, but ahead
    EXPECT_EQ(GetChoiceText(2649, 0), "");   // no row
    EXPECT_EQ(GetChoiceText(-1, 0), "");
    EXPECT_EQ(GetChoiceText(std::numeric_limits<int>::max(), 1), "");
    EXPECT_EQ(GetChoiceText(1, std::numeric_limits<int>::max()), "");
}

TEST(StringTableTest, RegisteringAgainChangesNothing) {
    for (int i = 0; i < 20; ++i)
        RegisterSqlStrings();
    EXPECT_EQ(Load(135), "SET FMTONLY %s");
}

struct FormatCase {
    const char* format;
    std::initializer_list<SqlArgument> arguments;
    const char* expected;
};

TEST(FormatSqlTest, FillsPlacesAndRefusesWhatDoesNotFit) {
    const FormatCase cases[] = {
        {"set x=%s", {"ON"}, "set x=ON"},
        {"set x=%d", {5}, "set x=5"},
        {"set x=%d", {std::numeric_limits<int>::min()}, "set x=-2147483648"},
        // numbers go where text stands, as text
        {"set x=%s", {5}, "set x=5"},
        // texts go where a number stands, if they are one
        {"set x=%d", {"120"}, "set x=120"},
        {"set x=%d", {"-1"}, "set x=-1"},
        {"set x=%d", {"+1"}, "set x=+1"},
        {"set x=%d", {"1; drop table t"}, ""},
        {"set x=%d", {"ON"}, ""},
        {"set x=%d", {"-"}, ""},
        {"set x=%d", {""}, ""},
        // several places
        {"DROP TABLE %s.%s", {"a", "b"}, "DROP TABLE a.b"},
        {"%s%s", {"a", "b"}, "ab"},
        {"DROP TABLE %s.%s", {"a"}, ""},
        {"a %s b %d c", {"x", 3}, "a x b 3 c"},
        // more arguments than places
        {"SELECT 1", {"ON"}, "SELECT 1"},
        {"SELECT %s", {"1", "2"}, "SELECT 1"},
        {"SELECT 1", {}, "SELECT 1"},
        {"SELECT %s", {}, ""},
        // an argument is not read as a format
        {"%s", {"%s%d%n"}, "%s%d%n"},
        {"like '%%x%%' and %s", {"y"}, "like '%x%' and y"},
        {"%-s.t", {"s"}, "s.t"},
        {"%-d", {7}, "7"},
        // places that are none of ours
        {"%n", {"x"}, ""},
        {"%5d", {1}, ""},
        {"%x", {1}, ""},
        {"%", {1}, ""},
        {"%-", {1}, ""},
        {"", {"x"}, ""},
    };
    for (const FormatCase& one : cases)
        EXPECT_EQ(FormatSql(one.format, one.arguments), one.expected) << one.format;
}

TEST(FormatSqlTest, KeepsBytesOfArguments) {
    const std::string text("a\0b", 3);
    EXPECT_EQ(FormatSql("<%s>", {text}), std::string("<a\0b>", 5));
}

}  // namespace
}  // namespace qxdbsqlengine
