// The rows of both DB2 families: their explain tables as the manuals of each release define them, and the
// statements that fill, read and empty them.
#include <iterator>

#include "dbms/string_table.h"

namespace qxdbsqlengine {

namespace {

#define NAME_COLUMN(NAME) NAME " VARCHAR(128) NOT NULL, "
#define EXPLAINED_BY                 \
    NAME_COLUMN("EXPLAIN_REQUESTER") \
    "EXPLAIN_TIME TIMESTAMP NOT NULL, " NAME_COLUMN("SOURCE_NAME") NAME_COLUMN("SOURCE_SCHEMA")
#define EXPLAINED_BY_8 EXPLAINED_BY "SOURCE_VERSION VARCHAR(64) NOT NULL, "
#define STATEMENT_NUMBERS "EXPLAIN_LEVEL CHAR(1) NOT NULL, STMTNO INTEGER NOT NULL, SECTNO INTEGER NOT NULL, "
#define INSTANCE_KEY "EXPLAIN_REQUESTER, EXPLAIN_TIME, SOURCE_NAME, SOURCE_SCHEMA"
#define INSTANCE_KEY_8 INSTANCE_KEY ", SOURCE_VERSION"
#define STATEMENT_KEY INSTANCE_KEY ", EXPLAIN_LEVEL, STMTNO, SECTNO"
#define STATEMENT_KEY_8 INSTANCE_KEY_8 ", EXPLAIN_LEVEL, STMTNO, SECTNO"
#define OF_INSTANCE(KEY) "FOREIGN KEY (" KEY ") REFERENCES %-s.EXPLAIN_INSTANCE ON DELETE CASCADE)"
#define OF_STATEMENT(KEY) "FOREIGN KEY (" KEY ") REFERENCES %-s.EXPLAIN_STATEMENT ON DELETE CASCADE)"

// The columns of one table behind those that all have.
#define INSTANCE_COLUMNS_1                                                                             \
    "EXPLAIN_OPTION CHAR(1) NOT NULL, SNAPSHOT_TAKEN CHAR(1) NOT NULL, DB2_VERSION CHAR(7) NOT NULL, " \
    "SQL_TYPE CHAR(1) NOT NULL, QUERYOPT INTEGER NOT NULL, BLOCK CHAR(1) NOT NULL, "                   \
    "ISOLATION CHAR(2) NOT NULL, BUFFPAGE INTEGER NOT NULL, AVG_APPLS INTEGER NOT NULL, "              \
    "SORTHEAP INTEGER NOT NULL, "
#define INSTANCE_COLUMNS_2                                                                  \
    "LOCKLIST INTEGER NOT NULL, MAXLOCKS SMALLINT NOT NULL, LOCKS_AVAIL INTEGER NOT NULL, " \
    "CPU_SPEED DOUBLE NOT NULL, REMARKS VARCHAR(254), DBHEAP INTEGER NOT NULL, "            \
    "COMM_SPEED DOUBLE NOT NULL, PARALLELISM CHAR(2) NOT NULL, DATAJOINER CHAR(1) NOT NULL, "
#define STATEMENT_COLUMNS_1                                                                   \
    "QUERYNO INTEGER NOT NULL, QUERYTAG CHAR(20) NOT NULL, STATEMENT_TYPE CHAR(2) NOT NULL, " \
    "UPDATABLE CHAR(1) NOT NULL, DELETABLE CHAR(1) NOT NULL, TOTAL_COST DOUBLE NOT NULL, "
#define STATEMENT_COLUMNS_2(TEXT_SIZE)                       \
    "STATEMENT_TEXT CLOB(" TEXT_SIZE                         \
    ") NOT NULL NOT LOGGED, SNAPSHOT BLOB(10M) NOT LOGGED, " \
    "QUERY_DEGREE INTEGER NOT NULL, "
#define ARGUMENT_COLUMNS(TEXT_SIZE)                                                                \
    "OPERATOR_ID INTEGER NOT NULL, ARGUMENT_TYPE CHAR(8) NOT NULL, ARGUMENT_VALUE VARCHAR(1024), " \
    "LONG_ARGUMENT_VALUE CLOB(" TEXT_SIZE ") NOT LOGGED, "
#define OBJECT_COLUMNS_1 \
    NAME_COLUMN("OBJECT_SCHEMA") NAME_COLUMN("OBJECT_NAME")                                    \
    "OBJECT_TYPE CHAR(2) NOT NULL, CREATE_TIME TIMESTAMP, STATISTICS_TIME TIMESTAMP, "         \
    "COLUMN_COUNT SMALLINT NOT NULL, "
#define OBJECT_COLUMNS_2(ROW_COUNT_TYPE)                                                  \
    "ROW_COUNT " ROW_COUNT_TYPE                                                           \
    " NOT NULL, WIDTH INTEGER NOT NULL, PAGES INTEGER NOT NULL, "                         \
    "DISTINCT CHAR(1) NOT NULL, TABLESPACE_NAME VARCHAR(128), OVERHEAD DOUBLE NOT NULL, " \
    "TRANSFER_RATE DOUBLE NOT NULL, PREFETCHSIZE INTEGER NOT NULL, EXTENTSIZE INTEGER NOT NULL, "
#define OBJECT_COLUMNS_3                                                                            \
    "CLUSTER DOUBLE NOT NULL, NLEAF INTEGER NOT NULL, NLEVELS INTEGER NOT NULL, "                   \
    "FULLKEYCARD BIGINT NOT NULL, OVERFLOW INTEGER NOT NULL, FIRSTKEYCARD BIGINT NOT NULL, "        \
    "FIRST2KEYCARD BIGINT NOT NULL, FIRST3KEYCARD BIGINT NOT NULL, FIRST4KEYCARD BIGINT NOT NULL, " \
    "SEQUENTIAL_PAGES INTEGER NOT NULL, DENSITY INTEGER NOT NULL, "
#define OBJECT_COLUMNS_8                                                                   \
    "STATS_SRC CHAR(1) NOT NULL, AVERAGE_SEQUENCE_GAP DOUBLE NOT NULL, "                   \
    "AVERAGE_SEQUENCE_FETCH_GAP DOUBLE NOT NULL, AVERAGE_SEQUENCE_PAGES DOUBLE NOT NULL, " \
    "AVERAGE_SEQUENCE_FETCH_PAGES DOUBLE NOT NULL, AVERAGE_RANDOM_PAGES DOUBLE NOT NULL, " \
    "AVERAGE_RANDOM_FETCH_PAGES DOUBLE NOT NULL, NUMRIDS BIGINT NOT NULL, "                \
    "NUMRIDS_DELETED BIGINT NOT NULL, NUM_EMPTY_LEAFS BIGINT NOT NULL, ACTIVE_BLOCKS BIGINT NOT NULL, "
#define OBJECT_COLUMNS_9 "NUM_DATA_PARTS INTEGER NOT NULL, "
#define OPERATOR_COLUMNS_1                                                                       \
    "OPERATOR_ID INTEGER NOT NULL, OPERATOR_TYPE CHAR(6) NOT NULL, TOTAL_COST DOUBLE NOT NULL, " \
    "IO_COST DOUBLE NOT NULL, CPU_COST DOUBLE NOT NULL, FIRST_ROW_COST DOUBLE NOT NULL, "
#define OPERATOR_COLUMNS_2                                                                     \
    "RE_TOTAL_COST DOUBLE NOT NULL, RE_IO_COST DOUBLE NOT NULL, RE_CPU_COST DOUBLE NOT NULL, " \
    "COMM_COST DOUBLE NOT NULL, FIRST_COMM_COST DOUBLE NOT NULL, BUFFERS DOUBLE NOT NULL, "    \
    "REMOTE_TOTAL_COST DOUBLE NOT NULL, REMOTE_COMM_COST DOUBLE NOT NULL, "
#define PREDICATE_COLUMNS_1 \
    "OPERATOR_ID INTEGER NOT NULL, PREDICATE_ID INTEGER NOT NULL, HOW_APPLIED CHAR(5) NOT NULL, "
#define PREDICATE_COLUMNS_2(TEXT_SIZE)                                                          \
    "WHEN_EVALUATED CHAR(3) NOT NULL, RELOP_TYPE CHAR(2) NOT NULL, SUBQUERY CHAR(1) NOT NULL, " \
    "FILTER_FACTOR DOUBLE NOT NULL, PREDICATE_TEXT CLOB(" TEXT_SIZE ") NOT LOGGED, "
#define PREDICATE_COLUMNS_9 "RANGE_NUM INTEGER, "
#define STREAM_COLUMNS_1                                                                     \
    "STREAM_ID INTEGER NOT NULL, SOURCE_TYPE CHAR(1) NOT NULL, SOURCE_ID INTEGER NOT NULL, " \
    "TARGET_TYPE CHAR(1) NOT NULL, TARGET_ID INTEGER NOT NULL, "
#define STREAM_COLUMNS_2                                                                   \
    "OBJECT_SCHEMA VARCHAR(128), OBJECT_NAME VARCHAR(128), STREAM_COUNT DOUBLE NOT NULL, " \
    "COLUMN_COUNT SMALLINT NOT NULL, PREDICATE_ID INTEGER NOT NULL, "
#define STREAM_COLUMNS_3(NAMES_SIZE, PARTITION_SIZE)              \
    "COLUMN_NAMES CLOB(" NAMES_SIZE                               \
    ") NOT LOGGED, PMID SMALLINT NOT NULL, SINGLE_NODE CHAR(5), " \
    "PARTITION_COLUMNS CLOB(" PARTITION_SIZE ") NOT LOGGED, "
#define STREAM_COLUMNS_9 "SEQUENCE_SIZES CLOB(2M) NOT LOGGED, "

// Rows of the advisor are written by tools as well, which leave columns to their defaults.
#define TEXT_DEFAULT(NAME, SIZE) NAME " VARCHAR(" SIZE ") NOT NULL WITH DEFAULT '', "
#define FLAG_DEFAULT(NAME, VALUE) NAME " CHAR(1) NOT NULL WITH DEFAULT '" VALUE "', "
#define NUMBER_DEFAULT(NAME, TYPE) NAME " " TYPE " NOT NULL WITH DEFAULT 0, "
#define TIME_DEFAULT(NAME) NAME " TIMESTAMP NOT NULL WITH DEFAULT CURRENT TIMESTAMP, "
#define CLOB_DEFAULT(NAME) NAME " CLOB(2M) NOT NULL NOT LOGGED WITH DEFAULT '', "
#define ADVISED_BY                           \
    TEXT_DEFAULT("EXPLAIN_REQUESTER", "128") \
    TIME_DEFAULT("EXPLAIN_TIME") TEXT_DEFAULT("SOURCE_NAME", "128") TEXT_DEFAULT("SOURCE_SCHEMA", "128")
#define ADVISED_BY_8 ADVISED_BY TEXT_DEFAULT("SOURCE_VERSION", "64")
#define ADVISED_NUMBERS                                                                                     \
    FLAG_DEFAULT("EXPLAIN_LEVEL", "") NUMBER_DEFAULT("STMTNO", "INTEGER") NUMBER_DEFAULT("SECTNO", "INTEGE" \
                                                                                                   "R")
#define ADVISED_QUERY NUMBER_DEFAULT("QUERYNO", "INTEGER") "QUERYTAG CHAR(20) NOT NULL WITH DEFAULT '', "
#define OF_ADVICE "FOREIGN KEY (RUN_ID) REFERENCES %-s.ADVISE_INSTANCE (START_TIME) ON DELETE CASCADE)"

#define ADVISED_INDEX_NAMES                      \
    "NAME VARCHAR(128) NOT NULL, " TEXT_DEFAULT( \
        "CREATOR", "128") "TBNAME VARCHAR(128) NOT NULL, " TEXT_DEFAULT("TBCREATOR", "128")
#define ADVISED_INDEX_KEY(NAMES_SIZE)                                                    \
    "COLNAMES CLOB(" NAMES_SIZE ") NOT NULL NOT LOGGED, " FLAG_DEFAULT("UNIQUERULE", "") \
        NUMBER_DEFAULT("COLCOUNT", "SMALLINT") NUMBER_DEFAULT("IID", "SMALLINT")
#define ADVISED_INDEX_SIZE                                                         \
    NUMBER_DEFAULT("NLEAF", "INTEGER")                                             \
    NUMBER_DEFAULT("NLEVELS", "SMALLINT") NUMBER_DEFAULT("FIRSTKEYCARD", "BIGINT") \
        NUMBER_DEFAULT("FULLKEYCARD", "BIGINT")
#define ADVISED_INDEX_ORDER                                                             \
    NUMBER_DEFAULT("CLUSTERRATIO", "SMALLINT")                                          \
    NUMBER_DEFAULT("CLUSTERFACTOR", "DOUBLE") NUMBER_DEFAULT("USERDEFINED", "SMALLINT") \
        NUMBER_DEFAULT("SYSTEM_REQUIRED", "SMALLINT")
#define ADVISED_INDEX_TIMES(PAIRS_SIZE) \
    TIME_DEFAULT("CREATE_TIME")         \
    "STATS_TIME TIMESTAMP WITH DEFAULT CURRENT TIMESTAMP, " TEXT_DEFAULT("PAGE_FETCH_PAIRS", PAIRS_SIZE)
#define ADVISED_INDEX_TEXTS \
    "REMARKS VARCHAR(254) WITH DEFAULT '', " TEXT_DEFAULT("DEFINER", "128") FLAG_DEFAULT("CONVERTED", "")
#define ADVISED_INDEX_CARDS                                                        \
    NUMBER_DEFAULT("SEQUENTIAL_PAGES", "INTEGER")                                  \
    NUMBER_DEFAULT("DENSITY", "INTEGER") NUMBER_DEFAULT("FIRST2KEYCARD", "BIGINT") \
        NUMBER_DEFAULT("FIRST3KEYCARD", "BIGINT") NUMBER_DEFAULT("FIRST4KEYCARD", "BIGINT")
#define ADVISED_INDEX_FREE                                                                       \
    "PCTFREE SMALLINT NOT NULL WITH DEFAULT -1, UNIQUE_COLCOUNT SMALLINT NOT NULL WITH DEFAULT " \
    "-1, " NUMBER_DEFAULT("MINPCTUSED", "SMALLINT") FLAG_DEFAULT("REVERSE_SCANS", "N")
#define ADVISED_INDEX_8(NAMES_SIZE, PAIRS_SIZE)       \
    ADVISED_INDEX_NAMES ADVISED_INDEX_KEY(NAMES_SIZE) \
    ADVISED_INDEX_SIZE ADVISED_INDEX_ORDER ADVISED_INDEX_TIMES(PAIRS_SIZE)
#define ADVISED_INDEX_END_8 \
    ADVISED_INDEX_TEXTS ADVISED_INDEX_CARDS ADVISED_INDEX_FREE                                          \
        "USE_INDEX CHAR(1), " CLOB_DEFAULT("CREATION_TEXT") "PACKED_DESC BLOB(1M) NOT LOGGED, "         \
        "RUN_ID TIMESTAMP, " TEXT_DEFAULT("INDEXTYPE", "4") FLAG_DEFAULT("EXISTS", "N")                 \
            FLAG_DEFAULT("RIDTOBLOCK", "N") OF_ADVICE

#define EXPLAIN_INDEX(INDEX, TABLE) \
    "CREATE INDEX %-s." INDEX " on %-s." TABLE "(EXPLAIN_TIME, EXPLAIN_LEVEL, STMTNO, SECTNO)"
#define DELETE_EXPLAINED(TABLE, TIME)                            \
    "DELETE FROM %s." TABLE " WHERE " TIME                       \
    " IN ( SELECT EXPLAIN_TIME FROM %s.EXPLAIN_STATEMENT WHERE " \
    "QUERYTAG='VELLOMARK' )"

// One row of the plan for the statement itself.
#define PLAN_STATEMENT(NUMBER, LEVEL)                                      \
    "SELECT 1," NUMBER                                                     \
    " AS TAR,'','','','','','',TOTAL_COST,TOTAL_COST,STATEMENT_TEXT FROM " \
    "%s.EXPLAIN_STATEMENT WHERE EXPLAIN_LEVEL = '" LEVEL "' AND QUERYTAG = 'VELLOMARK' UNION ALL "
// The rows of another explain table for the statement of a stream.
#define OF_STREAM(ALIAS)                                                                        \
    " " ALIAS " ON " ALIAS ".EXPLAIN_REQUESTER = R.EXPLAIN_REQUESTER AND " ALIAS                \
    ".EXPLAIN_TIME = R.EXPLAIN_TIME AND " ALIAS ".SOURCE_NAME = R.SOURCE_NAME AND " ALIAS       \
    ".SOURCE_SCHEMA = R.SOURCE_SCHEMA AND " ALIAS ".EXPLAIN_LEVEL = R.EXPLAIN_LEVEL AND " ALIAS \
    ".STMTNO = R.STMTNO AND " ALIAS ".SECTNO = R.SECTNO AND "

#define CHARS_DEFAULT(NAME, SIZE) NAME " CHAR(" SIZE ") NOT NULL WITH DEFAULT"
#define EXPLAINED_PROGRAM                                                                      \
    CHARS_DEFAULT("APPLNAME", "8")                                                             \
    ", " CHARS_DEFAULT("PROGNAME", "8") ", " CHARS_DEFAULT("COLLID", "18") ", " CHARS_DEFAULT( \
        "GROUP_MEMBER", "8") ", EXPLAIN_TIME TIMESTAMP NOT NULL WITH DEFAULT, "

constexpr StringRow
    Rows[] =
        {
            {2663, DELETE_EXPLAINED("EXPLAIN_INSTANCE", "EXPLAIN_TIME")},
            {2677, DELETE_EXPLAINED("EXPLAIN_ARGUMENT", "EXPLAIN_TIME")},
            {2680, DELETE_EXPLAINED("EXPLAIN_OBJECT", "EXPLAIN_TIME")},
            {2682, DELETE_EXPLAINED("EXPLAIN_OPERATOR", "EXPLAIN_TIME")},
            {2687, "EXPLAIN ALL SET QUERYTAG='VELLOMARK' FOR %s"},
            {2688, "EXPLAIN ALL SET QUERYNO=%s FOR %s"},
            {2692, "SELECT DISTINCT USER FROM SYSCAT.DBAUTH"},
            {2693, "SELECT COUNT(*) FROM SYSCAT.TABLES WHERE TABSCHEMA = '%s' AND TABNAME = '%s'"},
            {2695,
             "SELECT * FROM PLAN_TABLE A, DSN_STATEMNT_TABLE B WHERE A.QUERYNO = %-s AND A.QUERYNO = "
             "B.QUERYNO "
             "ORDER BY A.QBLOCKNO, A.PLANNO, A.MIXOPSEQ"},

            // below version 8.0
            {2696, "CREATE TABLE %-s.EXPLAIN_INSTANCE (" EXPLAINED_BY},
            {2697, INSTANCE_COLUMNS_1},
            {2698, INSTANCE_COLUMNS_2},
            {2699, "PRIMARY KEY (" INSTANCE_KEY "))"},
            {2700, "CREATE TABLE %-s.EXPLAIN_STATEMENT (" EXPLAINED_BY STATEMENT_NUMBERS},
            {2701, STATEMENT_COLUMNS_1},
            {2702, STATEMENT_COLUMNS_2("1M")},
            {2703, "PRIMARY KEY (" STATEMENT_KEY "), " OF_INSTANCE(INSTANCE_KEY)},
            {2704, "CREATE TABLE %-s.EXPLAIN_ARGUMENT (" EXPLAINED_BY STATEMENT_NUMBERS},
            {2705, ARGUMENT_COLUMNS("1M")},
            {2706, OF_STATEMENT(STATEMENT_KEY)},
            {2707, "CREATE TABLE %-s.EXPLAIN_OBJECT (" EXPLAINED_BY STATEMENT_NUMBERS},
            {2708, OBJECT_COLUMNS_1},
            {2709, OBJECT_COLUMNS_2("INTEGER")},
            {2710, OBJECT_COLUMNS_3},
            {2711, OF_STATEMENT(STATEMENT_KEY)},
            {2712, "CREATE TABLE %-s.EXPLAIN_OPERATOR (" EXPLAINED_BY STATEMENT_NUMBERS},
            {2713, OPERATOR_COLUMNS_1},
            {2714, OPERATOR_COLUMNS_2},
            {2715, OF_STATEMENT(STATEMENT_KEY)},
            {2716, "CREATE TABLE %-s.EXPLAIN_PREDICATE (" EXPLAINED_BY STATEMENT_NUMBERS},
            {2717, PREDICATE_COLUMNS_1},
            {2718, PREDICATE_COLUMNS_2("1M")},
            {2719, OF_STATEMENT(STATEMENT_KEY)},
            {2720, "CREATE TABLE %-s.EXPLAIN_STREAM (" EXPLAINED_BY STATEMENT_NUMBERS},
            {2721, STREAM_COLUMNS_1},
            {2722, STREAM_COLUMNS_2},
            {2723, STREAM_COLUMNS_3("1M", "64K")},
            {2724, OF_STATEMENT(STATEMENT_KEY)},
            {2725, "CREATE TABLE %-s.ADVISE_INDEX (" ADVISED_BY},
            {2726, ADVISED_NUMBERS ADVISED_QUERY},
            {2727, ADVISED_INDEX_NAMES},
            {2728, ADVISED_INDEX_KEY("64K")},
            {2729, ADVISED_INDEX_SIZE},
            {2730, ADVISED_INDEX_ORDER},
            {2731, ADVISED_INDEX_TIMES("254")},
            {2732, ADVISED_INDEX_TEXTS},
            {2733, ADVISED_INDEX_CARDS},
            {2734, ADVISED_INDEX_FREE},
            {2735, "USE_INDEX CHAR(1), CREATION_TEXT CLOB(1M) NOT NULL NOT LOGGED WITH DEFAULT '', "},
            {2736, "PACKED_DESC BLOB(20M) NOT LOGGED)"},

            // every version
            {2737,
             "CREATE TABLE %-s.ADVISE_WORKLOAD (WORKLOAD_NAME CHAR(128) NOT NULL WITH DEFAULT 'WK0', "
             "STATEMENT_NO INTEGER NOT NULL WITH DEFAULT 1, STATEMENT_TEXT CLOB(1M) NOT NULL NOT LOGGED, "},
            {2738,
             "STATEMENT_TAG VARCHAR(256) NOT NULL WITH DEFAULT '', FREQUENCY INTEGER NOT NULL WITH DEFAULT "
             "1, "
             "IMPORTANCE DOUBLE NOT NULL WITH DEFAULT 1, WEIGHT DOUBLE NOT NULL WITH DEFAULT 1, "
             "COST_BEFORE DOUBLE, COST_AFTER DOUBLE, COMPILABLE CHAR(17))"},
            {2739, EXPLAIN_INDEX("STMT_I1", "EXPLAIN_STATEMENT")},
            {2740, EXPLAIN_INDEX("ARG_I1", "EXPLAIN_ARGUMENT")},
            {2741, EXPLAIN_INDEX("PRD_I1", "EXPLAIN_PREDICATE")},
            {2742, EXPLAIN_INDEX("OPR_I1", "EXPLAIN_OPERATOR")},
            {2743, EXPLAIN_INDEX("STM_I1", "EXPLAIN_STREAM")},
            {2744, EXPLAIN_INDEX("OBJ_I1", "EXPLAIN_OBJECT")},

            // DB2 for OS/390
            {2746, "SELECT COUNT (*) FROM SYSIBM.SYSTABLES WHERE CREATOR = '%-s' AND NAME = '%-s'"},
            {2747,
             "CREATE TABLE %-s.PLAN_TABLE (QUERYNO INTEGER NOT NULL, QBLOCKNO SMALLINT NOT NULL, "
             "APPLNAME CHAR(8) NOT NULL, PROGNAME CHAR(8) NOT NULL, PLANNO SMALLINT NOT NULL, "
             "METHOD SMALLINT NOT NULL, "},
            {2748,
             "CREATOR CHAR(8) NOT NULL, TNAME CHAR(18) NOT NULL, TABNO SMALLINT NOT NULL, ACCESSTYPE CHAR(2) "
             "NOT "
             "NULL, MATCHCOLS SMALLINT NOT NULL, ACCESSCREATOR CHAR(8) NOT NULL, ACCESSNAME CHAR(18) NOT "
             "NULL, "
             "INDEXONLY CHAR(1) NOT NULL, "},
            {2749,
             "SORTN_UNIQ CHAR(1) NOT NULL, SORTN_JOIN CHAR(1) NOT NULL, SORTN_ORDERBY CHAR(1) NOT NULL, "
             "SORTN_GROUPBY CHAR(1) NOT NULL, SORTC_UNIQ CHAR(1) NOT NULL, SORTC_JOIN CHAR(1) NOT NULL, "
             "SORTC_ORDERBY CHAR(1) NOT NULL, SORTC_GROUPBY CHAR(1) NOT NULL, "},
            {2750,
             "TSLOCKMODE CHAR(3) NOT NULL, TIMESTAMP CHAR(16) NOT NULL, REMARKS VARCHAR(254) NOT "
             "NULL, " CHARS_DEFAULT("PREFETCH", "1") ", " CHARS_DEFAULT(
                 "COLUMN_FN_EVAL", "1") ", MIXOPSEQ SMALLINT NOT NULL WITH DEFAULT, "},
            {2751, "VERSION VARCHAR(64) NOT NULL WITH DEFAULT, " CHARS_DEFAULT(
                       "COLLID",
                       "18") ", ACCESS_DEGREE SMALLINT, ACCESS_PGROUP_ID SMALLINT, JOIN_DEGREE SMALLINT, "
                             "JOIN_PGROUP_ID SMALLINT, SORTC_PGROUP_ID SMALLINT, SORTN_PGROUP_ID SMALLINT, "},
            {2752,
             "PARALLELISM_MODE CHAR(1), MERGE_JOIN_COLS SMALLINT, CORRELATION_NAME CHAR(18), " CHARS_DEFAULT(
                 "PAGE_RANGE", "1") ", " CHARS_DEFAULT("JOIN_TYPE", "1") ", " CHARS_DEFAULT("GROUP_MEMBER",
                                                                                            "8") ", "},
            {2753, "IBM_SERVICE_DATA VARCHAR(254) NOT NULL WITH DEFAULT, " CHARS_DEFAULT(
                       "WHEN_OPTIMIZE",
                       "1") ", " CHARS_DEFAULT("QBLOCK_TYPE",
                                               "6") ", BIND_TIME TIMESTAMP NOT NULL WITH "
                                                    "DEFAULT, " CHARS_DEFAULT("OPTHINT",
                                                                              "8") ", " CHARS_DEFAULT("HINT_"
                                                                                                      "USED",
                                                                                                      "8") ","
                                                                                                           " " CHARS_DEFAULT("PRIMARY_ACCESSTYPE",
                                                                                                                             "1") ")"},
            {2754,
             "CREATE TABLE %-s.DSN_STATEMNT_TABLE (QUERYNO INTEGER NOT NULL WITH "
             "DEFAULT, " EXPLAINED_PROGRAM},
            {2755, CHARS_DEFAULT("STMT_TYPE", "6") ", " CHARS_DEFAULT(
                       "COST_CATEGORY", "1") ", PROCMS INTEGER NOT NULL "
                                             "WITH DEFAULT, PROCSU INTEGER NOT NULL WITH DEFAULT, REASON "
                                             "VARCHAR(254) NOT NULL WITH DEFAULT)"},
            {2756,
             "CREATE TABLE %-s.DSN_FUNCTION_TABLE (QUERYNO INTEGER NOT NULL WITH DEFAULT, QBLOCKNO INTEGER "
             "NOT NULL "
             "WITH DEFAULT, "},
            {2757, EXPLAINED_PROGRAM},
            {2758,
             CHARS_DEFAULT("SCHEMA_NAME", "8") ", " CHARS_DEFAULT("FUNCTION_NAME", "18") ", " CHARS_DEFAULT(
                 "SPEC_FUNC_NAME",
                 "18") ", " CHARS_DEFAULT("FUNCTION_TYPE",
                                          "2") ", " CHARS_DEFAULT("VIEW_CREATOR",
                                                                  "8") ", " CHARS_DEFAULT("VIEW_NAME",
                                                                                          "18") ", PATH "
                                                                                                "VARCHAR(254)"
                                                                                                " NOT NULL "
                                                                                                "WITH "
                                                                                                "DEFAULT, "
                                                                                                "FUNCTION_"
                                                                                                "TEXT "
                                                                                                "VARCHAR(254)"
                                                                                                " NOT NULL "
                                                                                                "WITH "
                                                                                                "DEFAULT)"},
            {2759, "SELECT * FROM PLAN_TABLE WHERE QUERYNO = %-s ORDER BY QBLOCKNO, PLANNO, MIXOPSEQ"},

            {2762, DELETE_EXPLAINED("EXPLAIN_PREDICATE", "EXPLAIN_TIME")},
            {2763, DELETE_EXPLAINED("EXPLAIN_STREAM", "EXPLAIN_TIME")},
            {2764, DELETE_EXPLAINED("ADVISE_INSTANCE", "START_TIME")},
            {2765, DELETE_EXPLAINED("ADVISE_INDEX", "EXPLAIN_TIME")},
            {2766, DELETE_EXPLAINED("ADVISE_MQT", "EXPLAIN_TIME")},
            {2767, DELETE_EXPLAINED("ADVISE_PARTITION", "EXPLAIN_TIME")},
            {2768, DELETE_EXPLAINED("ADVISE_TABLE", "RUN_ID")},
            {2769, "DELETE FROM %s.EXPLAIN_STATEMENT WHERE QUERYTAG = 'VELLOMARK'"},

            // the plan as a tree, of source and target
            {2794, PLAN_STATEMENT("-1", "O")},
            {2795, PLAN_STATEMENT("0", "P")},
            {2796,
             "SELECT DISTINCT R.SOURCE_ID,R.TARGET_ID AS TAR,O.OPERATOR_TYPE,A.ARGUMENT_TYPE, RTRIM( CHAR( "
             "A.ARGUMENT_VALUE , 254 ) ) "
             ",R.OBJECT_SCHEMA,R.OBJECT_NAME,B.OBJECT_TYPE,O.TOTAL_COST,S.TOTAL_COST,'' "
             "FROM %s.EXPLAIN_STREAM R "},
            {2797, "INNER JOIN %s.EXPLAIN_STATEMENT" OF_STREAM(
                       "S") "S.EXPLAIN_LEVEL = 'P' AND S.QUERYTAG = 'VELLOMARK' "},
            {2798, "LEFT OUTER JOIN %s.EXPLAIN_OBJECT" OF_STREAM("B") "B.OBJECT_SCHEMA = R.OBJECT_SCHEMA AND "
                                                                      "B.OBJECT_NAME = R.OBJECT_NAME "},
            {2799, "LEFT OUTER JOIN %s.EXPLAIN_OPERATOR" OF_STREAM("O") "O.OPERATOR_ID = R.SOURCE_ID "},
            {2800,
             "LEFT OUTER JOIN %s.EXPLAIN_ARGUMENT" OF_STREAM("A") "A.OPERATOR_ID = R.SOURCE_ID ORDER BY TAR"},

            {2801, "Following explain table(s) are missing:\n %-s"},

            // from version 8.0 on
            {2813,
             "CREATE TABLE %-s.EXPLAIN_STATEMENT (" EXPLAINED_BY_8 STATEMENT_NUMBERS STATEMENT_COLUMNS_1
                 STATEMENT_COLUMNS_2("2M") "PRIMARY KEY (" STATEMENT_KEY_8 "), " OF_INSTANCE(INSTANCE_KEY_8)},
            {2814, "CREATE TABLE %-s.EXPLAIN_ARGUMENT (" EXPLAINED_BY_8 STATEMENT_NUMBERS ARGUMENT_COLUMNS(
                       "2M") OF_STATEMENT(STATEMENT_KEY_8)},
            {2815,
             "CREATE TABLE %-s.EXPLAIN_OBJECT (" EXPLAINED_BY_8 STATEMENT_NUMBERS OBJECT_COLUMNS_1
                 OBJECT_COLUMNS_2("BIGINT") OBJECT_COLUMNS_3 OBJECT_COLUMNS_8 OF_STATEMENT(STATEMENT_KEY_8)},
            {2816, "CREATE TABLE %-s.EXPLAIN_OPERATOR (" EXPLAINED_BY_8 STATEMENT_NUMBERS OPERATOR_COLUMNS_1
                       OPERATOR_COLUMNS_2 OF_STATEMENT(STATEMENT_KEY_8)},
            {2817, "CREATE TABLE %-s.EXPLAIN_PREDICATE (" EXPLAINED_BY_8 STATEMENT_NUMBERS PREDICATE_COLUMNS_1
                       PREDICATE_COLUMNS_2("2M") OF_STATEMENT(STATEMENT_KEY_8)},
            {2818, "CREATE TABLE %-s.EXPLAIN_INSTANCE (" EXPLAINED_BY_8 INSTANCE_COLUMNS_1 INSTANCE_COLUMNS_2
                   "PRIMARY KEY (" INSTANCE_KEY_8 "))"},
            {2841, "CREATE TABLE %-s.EXPLAIN_OBJECT (" EXPLAINED_BY_8 STATEMENT_NUMBERS OBJECT_COLUMNS_1
                       OBJECT_COLUMNS_2("BIGINT")
                           OBJECT_COLUMNS_3 OBJECT_COLUMNS_8 OBJECT_COLUMNS_9 OF_STATEMENT(STATEMENT_KEY_8)},
            {2842, "CREATE TABLE %-s.EXPLAIN_PREDICATE (" EXPLAINED_BY_8 STATEMENT_NUMBERS PREDICATE_COLUMNS_1
                       PREDICATE_COLUMNS_2("2M") PREDICATE_COLUMNS_9 OF_STATEMENT(STATEMENT_KEY_8)},
            {2849, "CREATE TABLE %-s.EXPLAIN_STREAM (" EXPLAINED_BY_8 STATEMENT_NUMBERS STREAM_COLUMNS_1
                       STREAM_COLUMNS_2 STREAM_COLUMNS_3("2M", "2M") OF_STATEMENT(STATEMENT_KEY_8)},
            {2850,
             "CREATE TABLE %-s.ADVISE_INSTANCE (START_TIME TIMESTAMP NOT NULL WITH DEFAULT CURRENT "
             "TIMESTAMP, "
             "END_TIME TIMESTAMP NOT NULL WITH DEFAULT CURRENT TIMESTAMP, MODE VARCHAR(4) NOT NULL WITH "
             "DEFAULT '', "
             "WKLD_COMPRESSION CHAR(4) NOT NULL WITH DEFAULT 'NONE', STATUS CHAR(9) NOT NULL WITH DEFAULT "
             "'', "
             "PRIMARY KEY (START_TIME))"},
            {2851,
             "CREATE TABLE %-s.ADVISE_INDEX (" ADVISED_BY_8 ADVISED_NUMBERS ADVISED_QUERY ADVISED_INDEX_8(
                 "2M", "254")},
            {2852, ADVISED_INDEX_END_8},
            {2853,
             "CREATE TABLE %-s.ADVISE_MQT (" ADVISED_BY_8 ADVISED_NUMBERS
             "NAME VARCHAR(128) NOT NULL, " TEXT_DEFAULT("CREATOR", "128") NUMBER_DEFAULT("IID", "SMALLINT")
                 TIME_DEFAULT("CREATE_TIME") "STATS_TIME TIMESTAMP, " NUMBER_DEFAULT("NUMROWS", "DOUBLE")
                     NUMBER_DEFAULT("NUMCOLS", "SMALLINT") NUMBER_DEFAULT("ROWSIZE", "DOUBLE") NUMBER_DEFAULT(
                         "BENEFIT",
                         "DOUBLE") "USE_MQT CHAR(1), "
                                   "MQT_SOURCE CHAR(1), " CLOB_DEFAULT("QUERY_TEXT") CLOB_DEFAULT(
                                       "CREATION_TEXT") CLOB_DEFAULT("SAMPLE_TEXT")
                                       CLOB_DEFAULT("COLSTATS") "EXTRA_INFO BLOB(2M) NOT NULL NOT LOGGED "
                                                                "WITH DEFAULT, " TEXT_DEFAULT(
                                                                    "TBSPACE", "128") "RUN_ID "
                                                                                      "TIMESTAMP,"
                                                                                      " " FLAG_DEFAULT("REFRE"
                                                                                                       "SH_"
                                                                                                       "TYPE",
                                                                                                       "")
                                                                                          FLAG_DEFAULT(
                                                                                              "EXISTS", "N")
                                                                                              OF_ADVICE},
            {2854,
             "CREATE TABLE %-s.ADVISE_PARTITION (" ADVISED_BY_8 ADVISED_NUMBERS ADVISED_QUERY
             "TBNAME VARCHAR(128) NOT NULL, " TEXT_DEFAULT(
                 "TBCREATOR", "128") "PMID SMALLINT NOT NULL, " TEXT_DEFAULT("TBSPACE", "128")
                 CLOB_DEFAULT("COLNAMES") NUMBER_DEFAULT("COLCOUNT", "SMALLINT") FLAG_DEFAULT(
                     "REPLICATE", "N") "COST DOUBLE NOT NULL, USEIT CHAR(1), RUN_ID TIMESTAMP, " OF_ADVICE},
            {2855,
             "CREATE TABLE %-s.ADVISE_TABLE (RUN_ID TIMESTAMP, TABLE_NAME VARCHAR(128) NOT "
             "NULL, " TEXT_DEFAULT("TABLE_SCHEMA", "128") TEXT_DEFAULT("TABLESPACE", "128") TEXT_DEFAULT(
                 "SELECTION_FLAG", "8") FLAG_DEFAULT("TABLE_EXISTS", "") FLAG_DEFAULT("USE_TABLE", "")
                 CLOB_DEFAULT("GEN_COLUMNS") CLOB_DEFAULT("ORGANIZE_BY") CLOB_DEFAULT("CREATION_TEXT")
                     CLOB_DEFAULT("ALTER_COMMAND") NUMBER_DEFAULT("DISKUSE", "DOUBLE") OF_ADVICE},
            {2856,
             "CREATE TABLE %-s.ADVISE_INDEX (" ADVISED_BY_8 ADVISED_NUMBERS ADVISED_QUERY ADVISED_INDEX_8(
                 "2M", "520")},
            {2857, ADVISED_INDEX_END_8},
            {2858, "CREATE TABLE %-s.EXPLAIN_STREAM (" EXPLAINED_BY_8 STATEMENT_NUMBERS STREAM_COLUMNS_1
                       STREAM_COLUMNS_2 STREAM_COLUMNS_3("2M", "2M")
                           STREAM_COLUMNS_9 OF_STATEMENT(STATEMENT_KEY_8)},

            {19542, "SET CURRENT ISOLATION = RESET"},
            {19543, "SET CURRENT ISOLATION = UR"},
            {19544, "SET CURRENT ISOLATION = CS"},
            {19545, "SET CURRENT ISOLATION = RR"},
            {19546, "SET CURRENT ISOLATION = RS"},
};

static_assert(AreRowsSorted(Rows, std::size(Rows)));

}  // namespace

StringRows GetDB2Strings() {
    return {Rows, std::size(Rows)};
}

}  // namespace qxdbsqlengine
