#include "dbms/string_table.h"

#include <iterator>

namespace qxdbsqlengine {

namespace {

// The statistics of the running session: the values of the named counters under a heading.
#define SESSION_STATISTICS(COLUMN, NAMES)                                                    \
    "SELECT " COLUMN                                                                         \
    ", S.VALUE FROM SYS.V_$STATNAME N, SYS.V_$MYSTAT S WHERE N.STATISTIC#=S.STATISTIC# AND " \
    "NAME IN (" NAMES ") ORDER BY N.NAME"

#define IO_COUNTERS                                                                              \
    "'recursive calls','db block gets','consistent gets','consistent changes','physical reads'," \
    "'physical writes','redo size'"
#define INDEX_COUNTERS                                                                                    \
    "'index fast full scans (direct read)','index fast full scans (full)','index fast full scans (rowid " \
    "ranges)'"
#define PARSE_COUNTERS "'parse count (hard)','parse count (total)','parse time cpu','parse time elapsed'"

// Oracle's plan table by release; the statement begins in row 2636.
#define PLAN_COLUMNS                                                                                \
    "optimizer VARCHAR2(255),search_columns NUMERIC,id NUMERIC,parent_id NUMERIC,position NUMERIC," \
    "cost NUMBER NULL,cardinality NUMBER NULL,bytes NUMBER NULL,other_tag VARCHAR2(255) NULL,"      \
    "partition_start VARCHAR2(255),partition_stop VARCHAR2(255),partition_id NUMERIC,other LONG"
#define PLAN_COLUMNS_9                                                                \
    PLAN_COLUMNS                                                                      \
    ",distribution varchar2(30),cpu_cost numeric,io_cost numeric,temp_space numeric," \
    "access_predicates varchar2(4000),filter_predicates varchar2(4000)"
#define PLAN_COLUMNS_10 \
    PLAN_COLUMNS_9 ",projection varchar2(4000),time numeric,qblock_name varchar2(30),other_xml clob"
#define PLAN_QUERY(COLUMNS)                                                                                 \
    "SELECT OPERATION,OPTIONS,OBJECT_OWNER,OBJECT_NAME,OBJECT_TYPE,OBJECT_INSTANCE,ID,PARENT_ID,POSITION, " \
    "COST, CARDINALITY, BYTES" COLUMNS " FROM %s WHERE STATEMENT_ID='%s' ORDER BY id"

// Texts stay as they are, spellings and the missing heading of row 139 included.
constexpr StringRow SqlRows[] = {
    {133, "DBMS_OUTPUT Results Batch "},
    {135, "SET FMTONLY %s"},
    {136, SESSION_STATISTICS("N.NAME \"I/O Activity\"", IO_COUNTERS ",'user calls'")},
    {137, SESSION_STATISTICS("N.NAME \"I/O Activity\"", IO_COUNTERS)},
    {138, "set rowcount %d"},
    {139, SESSION_STATISTICS("N.NAME", INDEX_COUNTERS ",'index fetch by key'")},
    {140, SESSION_STATISTICS("N.NAME \"Index Activity\"", INDEX_COUNTERS)},
    {141, SESSION_STATISTICS("N.NAME \"Parse Activity\"", PARSE_COUNTERS ",'parse count (failures)'")},
    {142, SESSION_STATISTICS("N.NAME \"Parse Activity\"", PARSE_COUNTERS)},
    {143, SESSION_STATISTICS("N.NAME \"Table Activity\"",
                             "'table scans (direct read)','table scans (cache partitions)',"
                             "'table scans (long tables)','table scans (rowid ranges)',"
                             "'table scans (short tables)'")},
    {144, SESSION_STATISTICS("N.NAME \"OS Activity\"",
                             "'OS Page faults','OS Swaps','OS System time used','OS User time used'")},
    {145, SESSION_STATISTICS("N.NAME \"Wait Activity\"",
                             "'application wait time','cluster wait time','concurrency wait time',"
                             "'enqueue waits','redo log space wait time','user I/O wait time'")},
    {148, "SET SHOWPLAN,NOEXEC %s"},
    {149, "SET SHOWPLAN,NOEXEC %s"},
    {2636,
     "CREATE TABLE %s(statement_id VARCHAR2(30),timestamp DATE,remarks VARCHAR2(80),operation VARCHAR2(30),"
     "options VARCHAR2(30),object_node VARCHAR2(128),object_owner VARCHAR2(30),object_name VARCHAR2(30),"
     "object_instance NUMERIC ,object_type VARCHAR2(30),"},
    {2637, PLAN_COLUMNS ")"},
    {2638, "SELECT COUNT(*) FROM %s WHERE 1 = 0"},
    {2639, "EXPLAIN PLAN SET STATEMENT_ID='%s' INTO %s FOR "},
    {2641, PLAN_QUERY(", PARTITION_START, PARTITION_STOP, STATEMENT_ID")},
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
    {2654, "SET TRANSACTION ISOLATION LEVEL READ COMMITTED"},
    {2655, "SET TRANSACTION ISOLATION LEVEL READ UNCOMMITTED"},
    {2656, "SET TRANSACTION ISOLATION LEVEL REPEATABLE READ"},
    {2657, "SET TRANSACTION ISOLATION LEVEL SERIALIZABLE"},
    {2658, "SET NOCOUNT %s"},
    {2659, "SET NOEXEC %s"},
    {2660, "SET PARSEONLY %s"},
    {2661, "SET PREFETCH %s"},
    {2662, "SET QUOTED_IDENTIFIER %s"},
    {2664, "SET SHOWPLAN %s"},
    {2665, "SET STATISTICS IO %s"},
    {2666, "SET STATISTICS SUBQUERYCACHE %s"},
    {2667, "SET STATISTICS TIME %s"},
    {2668, "SET TABLE COUNT %d"},
    {2684, "SET SHOWPLAN_ALL %s"},
    {2689, "SELECT COST FROM %s WHERE 1 = 0"},
    {2690, "DROP TABLE %s.%s"},
    {2760, "SELECT DISTINCT USER FROM DUAL"},
    {2761, "DROP TABLE \"%s\".%s"},
    {2776, "SET ANSI_DEFAULTS %s"},
    {2778, "SET ANSI_NULL_DFLT_ON %s"},
    {2779, "SET ANSI_PADDING %s"},
    {2780, "SET ANSI_WARNINGS %s"},
    {2781, "SET CURSOR_CLOSE_ON_COMMIT %s"},
    {2782, "SET IMPLICIT_TRANSACTIONS %s"},
    {2783, SESSION_STATISTICS("N.NAME \"Network Activity\"",
                              "'bytes sent via SQL*Net to client','bytes received via SQL*Net from client', "
                              "'SQL*Net roundtrips to/from client'")},
    {2785, SESSION_STATISTICS("N.NAME \"Sort Activity\"",
                              "'table fetch continued row','sorts (memory)','sorts (disk)','sorts(rows)',"
                              "'rows processed'")},
    {2790, "SELECT 'Before' \"Execution Information\", SYSDATE \"VALUE\" FROM DUAL"},
    {2791, SESSION_STATISTICS("N.NAME \"Execution Information\"", "'CPU used by this session'")},
    {2792, "SELECT 'After' \"Execution Information\", SYSDATE \"VALUE\" FROM DUAL"},
    {2802, "dbcc traceon (%s)"},
    {2803, "dbcc traceoff (%s)"},  // nobody switches off
    {2812, PLAN_QUERY("")},
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
    {2834, "set autocommit=%s"},  // no option leads here
    {2835, "set big_tables=%s"},
    {2836, "set query_cache_type=%s"},
    {2837, "set insert_id=%d"},
    {2838, "set last_insert_id=%d"},
    {2839, "set character_set_client=%s"},
    {2840, "set sql_big_tables=%s"},
    {2940, PLAN_COLUMNS_9 ")"},
    {2941, PLAN_COLUMNS_10 ")"},
    {19547, "SET CONCAT_NULL_YIELDS_NULL %s"},
};

#undef SESSION_STATISTICS
#undef IO_COUNTERS
#undef INDEX_COUNTERS
#undef PARSE_COUNTERS
#undef PLAN_COLUMNS
#undef PLAN_COLUMNS_9
#undef PLAN_COLUMNS_10
#undef PLAN_QUERY

static_assert(AreRowsSorted(SqlRows, std::size(SqlRows)));

bool IsDecimalNumber(const std::string& text) {
    std::size_t start = !text.empty() && (text[0] == '-' || text[0] == '+') ? 1 : 0;
    return text.size() > start && text.find_first_not_of("0123456789", start) == std::string::npos;
}

}  // namespace

void RegisterSqlStrings() {
    for (const StringRows& part : {GetCommonStrings(), GetDB2Strings()})
        ResourceLoader::AddTable(part.rows, part.count);
}

StringRows GetCommonStrings() {
    return {SqlRows, std::size(SqlRows)};
}

std::string GetChoiceText(int baseRow, int index) {
    const long long row = static_cast<long long>(baseRow) + index;
    // Rows ahead belong to others.
    if (index < 0 || row != static_cast<int>(row))
        return std::string();
    return FormatSql(ResourceLoader::LoadString(static_cast<int>(row)), {});
}

SqlArgument::SqlArgument(int value) : text(std::to_string(value)), isNumber(true) {}

SqlArgument::SqlArgument(const std::string& value) : text(value), isNumber(false) {}

SqlArgument::SqlArgument(const char* value) : text(value), isNumber(false) {}

// Places are filled here and not by printf: which type a value has is the caller's choice, and a value that
// does not fit its place must not be read as something else.
std::string FormatSql(const std::string& format, std::initializer_list<SqlArgument> arguments) {
    std::size_t length = format.size();
    for (const SqlArgument& argument : arguments)
        length += argument.GetText().size();
    std::string text;
    text.reserve(length);

    const SqlArgument* next = arguments.begin();
    for (std::size_t i = 0; i < format.size(); ++i) {
        if (format[i] != '%') {
            text += format[i];
            continue;
        }
        ++i;
        if (i < format.size() && format[i] == '%') {
            text += '%';
            continue;
        }
        if (i < format.size() && format[i] == '-')
            ++i;
        const char place = i < format.size() ? format[i] : '\0';
        if ((place != 's' && place != 'd') || next == arguments.end())
            return std::string();
        if (place == 'd' && !next->IsNumber() && !IsDecimalNumber(next->GetText()))
            return std::string();
        text += next->GetText();
        ++next;
    }
    return text;
}

}  // namespace qxdbsqlengine
