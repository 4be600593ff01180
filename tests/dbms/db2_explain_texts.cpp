#include "db2_explain_texts.h"

namespace qxtest {

namespace {

// The tables as lists of columns, which tell the versions apart.
struct Column {
    const char* text;
    double from = 0.0;     // first version that has it
    double below = 100.0;  // first version that has it no more
};
using Columns = std::vector<Column>;

const Columns statementColumns = {
    {"EXPLAIN_LEVEL CHAR(1) NOT NULL"}, {"STMTNO INTEGER NOT NULL"}, {"SECTNO INTEGER NOT NULL"}};
const Columns sourceColumns = {{"EXPLAIN_REQUESTER VARCHAR(128) NOT NULL"},
                               {"EXPLAIN_TIME TIMESTAMP NOT NULL"},
                               {"SOURCE_NAME VARCHAR(128) NOT NULL"},
                               {"SOURCE_SCHEMA VARCHAR(128) NOT NULL"},
                               {"SOURCE_VERSION VARCHAR(64) NOT NULL", 8.0}};
const Columns advisedColumns = {{"EXPLAIN_REQUESTER VARCHAR(128) NOT NULL WITH DEFAULT ''"},
                                {"EXPLAIN_TIME TIMESTAMP NOT NULL WITH DEFAULT CURRENT TIMESTAMP"},
                                {"SOURCE_NAME VARCHAR(128) NOT NULL WITH DEFAULT ''"},
                                {"SOURCE_SCHEMA VARCHAR(128) NOT NULL WITH DEFAULT ''"},
                                {"SOURCE_VERSION VARCHAR(64) NOT NULL WITH DEFAULT ''", 8.0},
                                {"EXPLAIN_LEVEL CHAR(1) NOT NULL WITH DEFAULT ''"},
                                {"STMTNO INTEGER NOT NULL WITH DEFAULT 0"},
                                {"SECTNO INTEGER NOT NULL WITH DEFAULT 0"}};
const Columns advisedQuery = {{"QUERYNO INTEGER NOT NULL WITH DEFAULT 0"},
                              {"QUERYTAG CHAR(20) NOT NULL WITH DEFAULT ''"}};

const Columns instanceColumns = {{"EXPLAIN_OPTION CHAR(1) NOT NULL"},
                                 {"SNAPSHOT_TAKEN CHAR(1) NOT NULL"},
                                 {"DB2_VERSION CHAR(7) NOT NULL"},
                                 {"SQL_TYPE CHAR(1) NOT NULL"},
                                 {"QUERYOPT INTEGER NOT NULL"},
                                 {"BLOCK CHAR(1) NOT NULL"},
                                 {"ISOLATION CHAR(2) NOT NULL"},
                                 {"BUFFPAGE INTEGER NOT NULL"},
                                 {"AVG_APPLS INTEGER NOT NULL"},
                                 {"SORTHEAP INTEGER NOT NULL"},
                                 {"LOCKLIST INTEGER NOT NULL"},
                                 {"MAXLOCKS SMALLINT NOT NULL"},
                                 {"LOCKS_AVAIL INTEGER NOT NULL"},
                                 {"CPU_SPEED DOUBLE NOT NULL"},
                                 {"REMARKS VARCHAR(254)"},
                                 {"DBHEAP INTEGER NOT NULL"},
                                 {"COMM_SPEED DOUBLE NOT NULL"},
                                 {"PARALLELISM CHAR(2) NOT NULL"},
                                 {"DATAJOINER CHAR(1) NOT NULL"}};
const Columns statementTextColumns = {{"QUERYNO INTEGER NOT NULL"},
                                      {"QUERYTAG CHAR(20) NOT NULL"},
                                      {"STATEMENT_TYPE CHAR(2) NOT NULL"},
                                      {"UPDATABLE CHAR(1) NOT NULL"},
                                      {"DELETABLE CHAR(1) NOT NULL"},
                                      {"TOTAL_COST DOUBLE NOT NULL"},
                                      {"STATEMENT_TEXT CLOB(1M) NOT NULL NOT LOGGED", 0, 8.0},
                                      {"STATEMENT_TEXT CLOB(2M) NOT NULL NOT LOGGED", 8.0},
                                      {"SNAPSHOT BLOB(10M) NOT LOGGED"},
                                      {"QUERY_DEGREE INTEGER NOT NULL"}};
const Columns argumentColumns = {{"OPERATOR_ID INTEGER NOT NULL"},
                                 {"ARGUMENT_TYPE CHAR(8) NOT NULL"},
                                 {"ARGUMENT_VALUE VARCHAR(1024)"},
                                 {"LONG_ARGUMENT_VALUE CLOB(1M) NOT LOGGED", 0, 8.0},
                                 {"LONG_ARGUMENT_VALUE CLOB(2M) NOT LOGGED", 8.0}};
const Columns objectColumns = {{"OBJECT_SCHEMA VARCHAR(128) NOT NULL"},
                               {"OBJECT_NAME VARCHAR(128) NOT NULL"},
                               {"OBJECT_TYPE CHAR(2) NOT NULL"},
                               {"CREATE_TIME TIMESTAMP"},
                               {"STATISTICS_TIME TIMESTAMP"},
                               {"COLUMN_COUNT SMALLINT NOT NULL"},
                               {"ROW_COUNT INTEGER NOT NULL", 0, 8.0},
                               {"ROW_COUNT BIGINT NOT NULL", 8.0},
                               {"WIDTH INTEGER NOT NULL"},
                               {"PAGES INTEGER NOT NULL"},
                               {"DISTINCT CHAR(1) NOT NULL"},
                               {"TABLESPACE_NAME VARCHAR(128)"},
                               {"OVERHEAD DOUBLE NOT NULL"},
                               {"TRANSFER_RATE DOUBLE NOT NULL"},
                               {"PREFETCHSIZE INTEGER NOT NULL"},
                               {"EXTENTSIZE INTEGER NOT NULL"},
                               {"CLUSTER DOUBLE NOT NULL"},
                               {"NLEAF INTEGER NOT NULL"},
                               {"NLEVELS INTEGER NOT NULL"},
                               {"FULLKEYCARD BIGINT NOT NULL"},
                               {"OVERFLOW INTEGER NOT NULL"},
                               {"FIRSTKEYCARD BIGINT NOT NULL"},
                               {"FIRST2KEYCARD BIGINT NOT NULL"},
                               {"FIRST3KEYCARD BIGINT NOT NULL"},
                               {"FIRST4KEYCARD BIGINT NOT NULL"},
                               {"SEQUENTIAL_PAGES INTEGER NOT NULL"},
                               {"DENSITY INTEGER NOT NULL"},
                               {"STATS_SRC CHAR(1) NOT NULL", 8.0},
                               {"AVERAGE_SEQUENCE_GAP DOUBLE NOT NULL", 8.0},
                               {"AVERAGE_SEQUENCE_FETCH_GAP DOUBLE NOT NULL", 8.0},
                               {"AVERAGE_SEQUENCE_PAGES DOUBLE NOT NULL", 8.0},
                               {"AVERAGE_SEQUENCE_FETCH_PAGES DOUBLE NOT NULL", 8.0},
                               {"AVERAGE_RANDOM_PAGES DOUBLE NOT NULL", 8.0},
                               {"AVERAGE_RANDOM_FETCH_PAGES DOUBLE NOT NULL", 8.0},
                               {"NUMRIDS BIGINT NOT NULL", 8.0},
                               {"NUMRIDS_DELETED BIGINT NOT NULL", 8.0},
                               {"NUM_EMPTY_LEAFS BIGINT NOT NULL", 8.0},
                               {"ACTIVE_BLOCKS BIGINT NOT NULL", 8.0},
                               {"NUM_DATA_PARTS INTEGER NOT NULL", 9.0}};
const Columns operatorColumns = {{"OPERATOR_ID INTEGER NOT NULL"},      {"OPERATOR_TYPE CHAR(6) NOT NULL"},
                                 {"TOTAL_COST DOUBLE NOT NULL"},        {"IO_COST DOUBLE NOT NULL"},
                                 {"CPU_COST DOUBLE NOT NULL"},          {"FIRST_ROW_COST DOUBLE NOT NULL"},
                                 {"RE_TOTAL_COST DOUBLE NOT NULL"},     {"RE_IO_COST DOUBLE NOT NULL"},
                                 {"RE_CPU_COST DOUBLE NOT NULL"},       {"COMM_COST DOUBLE NOT NULL"},
                                 {"FIRST_COMM_COST DOUBLE NOT NULL"},   {"BUFFERS DOUBLE NOT NULL"},
                                 {"REMOTE_TOTAL_COST DOUBLE NOT NULL"}, {"REMOTE_COMM_COST DOUBLE NOT NULL"}};
const Columns predicateColumns = {{"OPERATOR_ID INTEGER NOT NULL"},
                                  {"PREDICATE_ID INTEGER NOT NULL"},
                                  {"HOW_APPLIED CHAR(5) NOT NULL"},
                                  {"WHEN_EVALUATED CHAR(3) NOT NULL"},
                                  {"RELOP_TYPE CHAR(2) NOT NULL"},
                                  {"SUBQUERY CHAR(1) NOT NULL"},
                                  {"FILTER_FACTOR DOUBLE NOT NULL"},
                                  {"PREDICATE_TEXT CLOB(1M) NOT LOGGED", 0, 8.0},
                                  {"PREDICATE_TEXT CLOB(2M) NOT LOGGED", 8.0},
                                  {"RANGE_NUM INTEGER", 9.0}};
const Columns streamColumns = {{"STREAM_ID INTEGER NOT NULL"},
                               {"SOURCE_TYPE CHAR(1) NOT NULL"},
                               {"SOURCE_ID INTEGER NOT NULL"},
                               {"TARGET_TYPE CHAR(1) NOT NULL"},
                               {"TARGET_ID INTEGER NOT NULL"},
                               {"OBJECT_SCHEMA VARCHAR(128)"},
                               {"OBJECT_NAME VARCHAR(128)"},
                               {"STREAM_COUNT DOUBLE NOT NULL"},
                               {"COLUMN_COUNT SMALLINT NOT NULL"},
                               {"PREDICATE_ID INTEGER NOT NULL"},
                               {"COLUMN_NAMES CLOB(1M) NOT LOGGED", 0, 8.0},
                               {"COLUMN_NAMES CLOB(2M) NOT LOGGED", 8.0},
                               {"PMID SMALLINT NOT NULL"},
                               {"SINGLE_NODE CHAR(5)"},
                               {"PARTITION_COLUMNS CLOB(64K) NOT LOGGED", 0, 8.0},
                               {"PARTITION_COLUMNS CLOB(2M) NOT LOGGED", 8.0},
                               {"SEQUENCE_SIZES CLOB(2M) NOT LOGGED", 9.0}};

const Columns adviseInstanceColumns = {{"START_TIME TIMESTAMP NOT NULL WITH DEFAULT CURRENT TIMESTAMP"},
                                       {"END_TIME TIMESTAMP NOT NULL WITH DEFAULT CURRENT TIMESTAMP"},
                                       {"MODE VARCHAR(4) NOT NULL WITH DEFAULT ''"},
                                       {"WKLD_COMPRESSION CHAR(4) NOT NULL WITH DEFAULT 'NONE'"},
                                       {"STATUS CHAR(9) NOT NULL WITH DEFAULT ''"}};
const Columns adviseIndexColumns = {{"NAME VARCHAR(128) NOT NULL"},
                                    {"CREATOR VARCHAR(128) NOT NULL WITH DEFAULT ''"},
                                    {"TBNAME VARCHAR(128) NOT NULL"},
                                    {"TBCREATOR VARCHAR(128) NOT NULL WITH DEFAULT ''"},
                                    {"COLNAMES CLOB(64K) NOT NULL NOT LOGGED", 0, 8.0},
                                    {"COLNAMES CLOB(2M) NOT NULL NOT LOGGED", 8.0},
                                    {"UNIQUERULE CHAR(1) NOT NULL WITH DEFAULT ''"},
                                    {"COLCOUNT SMALLINT NOT NULL WITH DEFAULT 0"},
                                    {"IID SMALLINT NOT NULL WITH DEFAULT 0"},
                                    {"NLEAF INTEGER NOT NULL WITH DEFAULT 0"},
                                    {"NLEVELS SMALLINT NOT NULL WITH DEFAULT 0"},
                                    {"FIRSTKEYCARD BIGINT NOT NULL WITH DEFAULT 0"},
                                    {"FULLKEYCARD BIGINT NOT NULL WITH DEFAULT 0"},
                                    {"CLUSTERRATIO SMALLINT NOT NULL WITH DEFAULT 0"},
                                    {"CLUSTERFACTOR DOUBLE NOT NULL WITH DEFAULT 0"},
                                    {"USERDEFINED SMALLINT NOT NULL WITH DEFAULT 0"},
                                    {"SYSTEM_REQUIRED SMALLINT NOT NULL WITH DEFAULT 0"},
                                    {"CREATE_TIME TIMESTAMP NOT NULL WITH DEFAULT CURRENT TIMESTAMP"},
                                    {"STATS_TIME TIMESTAMP WITH DEFAULT CURRENT TIMESTAMP"},
                                    {"PAGE_FETCH_PAIRS VARCHAR(254) NOT NULL WITH DEFAULT ''", 0, 9.0},
                                    {"PAGE_FETCH_PAIRS VARCHAR(520) NOT NULL WITH DEFAULT ''", 9.0},
                                    {"REMARKS VARCHAR(254) WITH DEFAULT ''"},
                                    {"DEFINER VARCHAR(128) NOT NULL WITH DEFAULT ''"},
                                    {"CONVERTED CHAR(1) NOT NULL WITH DEFAULT ''"},
                                    {"SEQUENTIAL_PAGES INTEGER NOT NULL WITH DEFAULT 0"},
                                    {"DENSITY INTEGER NOT NULL WITH DEFAULT 0"},
                                    {"FIRST2KEYCARD BIGINT NOT NULL WITH DEFAULT 0"},
                                    {"FIRST3KEYCARD BIGINT NOT NULL WITH DEFAULT 0"},
                                    {"FIRST4KEYCARD BIGINT NOT NULL WITH DEFAULT 0"},
                                    {"PCTFREE SMALLINT NOT NULL WITH DEFAULT -1"},
                                    {"UNIQUE_COLCOUNT SMALLINT NOT NULL WITH DEFAULT -1"},
                                    {"MINPCTUSED SMALLINT NOT NULL WITH DEFAULT 0"},
                                    {"REVERSE_SCANS CHAR(1) NOT NULL WITH DEFAULT 'N'"},
                                    {"USE_INDEX CHAR(1)"},
                                    {"CREATION_TEXT CLOB(1M) NOT NULL NOT LOGGED WITH DEFAULT ''", 0, 8.0},
                                    {"CREATION_TEXT CLOB(2M) NOT NULL NOT LOGGED WITH DEFAULT ''", 8.0},
                                    {"PACKED_DESC BLOB(20M) NOT LOGGED", 0, 8.0},
                                    {"PACKED_DESC BLOB(1M) NOT LOGGED", 8.0},
                                    {"RUN_ID TIMESTAMP", 8.0},
                                    {"INDEXTYPE VARCHAR(4) NOT NULL WITH DEFAULT ''", 8.0},
                                    {"EXISTS CHAR(1) NOT NULL WITH DEFAULT 'N'", 8.0},
                                    {"RIDTOBLOCK CHAR(1) NOT NULL WITH DEFAULT 'N'", 8.0}};
const Columns adviseWorkloadColumns = {{"WORKLOAD_NAME CHAR(128) NOT NULL WITH DEFAULT 'WK0'"},
                                       {"STATEMENT_NO INTEGER NOT NULL WITH DEFAULT 1"},
                                       {"STATEMENT_TEXT CLOB(1M) NOT NULL NOT LOGGED"},
                                       {"STATEMENT_TAG VARCHAR(256) NOT NULL WITH DEFAULT ''"},
                                       {"FREQUENCY INTEGER NOT NULL WITH DEFAULT 1"},
                                       {"IMPORTANCE DOUBLE NOT NULL WITH DEFAULT 1"},
                                       {"WEIGHT DOUBLE NOT NULL WITH DEFAULT 1"},
                                       {"COST_BEFORE DOUBLE"},
                                       {"COST_AFTER DOUBLE"},
                                       {"COMPILABLE CHAR(17)"}};
const Columns adviseMqtColumns = {{"NAME VARCHAR(128) NOT NULL"},
                                  {"CREATOR VARCHAR(128) NOT NULL WITH DEFAULT ''"},
                                  {"IID SMALLINT NOT NULL WITH DEFAULT 0"},
                                  {"CREATE_TIME TIMESTAMP NOT NULL WITH DEFAULT CURRENT TIMESTAMP"},
                                  {"STATS_TIME TIMESTAMP"},
                                  {"NUMROWS DOUBLE NOT NULL WITH DEFAULT 0"},
                                  {"NUMCOLS SMALLINT NOT NULL WITH DEFAULT 0"},
                                  {"ROWSIZE DOUBLE NOT NULL WITH DEFAULT 0"},
                                  {"BENEFIT DOUBLE NOT NULL WITH DEFAULT 0"},
                                  {"USE_MQT CHAR(1)"},
                                  {"MQT_SOURCE CHAR(1)"},
                                  {"QUERY_TEXT CLOB(2M) NOT NULL NOT LOGGED WITH DEFAULT ''"},
                                  {"CREATION_TEXT CLOB(2M) NOT NULL NOT LOGGED WITH DEFAULT ''"},
                                  {"SAMPLE_TEXT CLOB(2M) NOT NULL NOT LOGGED WITH DEFAULT ''"},
                                  {"COLSTATS CLOB(2M) NOT NULL NOT LOGGED WITH DEFAULT ''"},
                                  {"EXTRA_INFO BLOB(2M) NOT NULL NOT LOGGED WITH DEFAULT"},
                                  {"TBSPACE VARCHAR(128) NOT NULL WITH DEFAULT ''"},
                                  {"RUN_ID TIMESTAMP"},
                                  {"REFRESH_TYPE CHAR(1) NOT NULL WITH DEFAULT ''"},
                                  {"EXISTS CHAR(1) NOT NULL WITH DEFAULT 'N'"}};
const Columns advisePartitionColumns = {{"TBNAME VARCHAR(128) NOT NULL"},
                                        {"TBCREATOR VARCHAR(128) NOT NULL WITH DEFAULT ''"},
                                        {"PMID SMALLINT NOT NULL"},
                                        {"TBSPACE VARCHAR(128) NOT NULL WITH DEFAULT ''"},
                                        {"COLNAMES CLOB(2M) NOT NULL NOT LOGGED WITH DEFAULT ''"},
                                        {"COLCOUNT SMALLINT NOT NULL WITH DEFAULT 0"},
                                        {"REPLICATE CHAR(1) NOT NULL WITH DEFAULT 'N'"},
                                        {"COST DOUBLE NOT NULL"},
                                        {"USEIT CHAR(1)"},
                                        {"RUN_ID TIMESTAMP"}};
const Columns adviseTableColumns = {{"RUN_ID TIMESTAMP"},
                                    {"TABLE_NAME VARCHAR(128) NOT NULL"},
                                    {"TABLE_SCHEMA VARCHAR(128) NOT NULL WITH DEFAULT ''"},
                                    {"TABLESPACE VARCHAR(128) NOT NULL WITH DEFAULT ''"},
                                    {"SELECTION_FLAG VARCHAR(8) NOT NULL WITH DEFAULT ''"},
                                    {"TABLE_EXISTS CHAR(1) NOT NULL WITH DEFAULT ''"},
                                    {"USE_TABLE CHAR(1) NOT NULL WITH DEFAULT ''"},
                                    {"GEN_COLUMNS CLOB(2M) NOT NULL NOT LOGGED WITH DEFAULT ''"},
                                    {"ORGANIZE_BY CLOB(2M) NOT NULL NOT LOGGED WITH DEFAULT ''"},
                                    {"CREATION_TEXT CLOB(2M) NOT NULL NOT LOGGED WITH DEFAULT ''"},
                                    {"ALTER_COMMAND CLOB(2M) NOT NULL NOT LOGGED WITH DEFAULT ''"},
                                    {"DISKUSE DOUBLE NOT NULL WITH DEFAULT 0"}};

std::string Join(const std::vector<Columns>& parts, double version) {
    std::string list;
    for (const Columns& columns : parts) {
        for (const Column& column : columns) {
            if (version >= column.from && version < column.below)
                list += (list.empty() ? "" : ", ") + std::string(column.text);
        }
    }
    return list;
}

struct Table {
    const char* name;
    std::vector<Columns> columns;
    const char* primaryKey;  // behind the version of the source
    const char* parent;
    const char* index;
    bool newIn8;
};
const std::vector<Table>& Tables() {
    static const std::vector<Table> tables = {
        {"EXPLAIN_INSTANCE", {sourceColumns, instanceColumns}, "", nullptr, nullptr, false},
        {"EXPLAIN_STATEMENT",
         {sourceColumns, statementColumns, statementTextColumns},
         ", EXPLAIN_LEVEL, STMTNO, SECTNO",
         "EXPLAIN_INSTANCE",
         "STMT_I1",
         false},
        {"EXPLAIN_ARGUMENT",
         {sourceColumns, statementColumns, argumentColumns},
         nullptr,
         "EXPLAIN_STATEMENT",
         "ARG_I1",
         false},
        {"EXPLAIN_OBJECT",
         {sourceColumns, statementColumns, objectColumns},
         nullptr,
         "EXPLAIN_STATEMENT",
         "OBJ_I1",
         false},
        {"EXPLAIN_OPERATOR",
         {sourceColumns, statementColumns, operatorColumns},
         nullptr,
         "EXPLAIN_STATEMENT",
         "OPR_I1",
         false},
        {"EXPLAIN_PREDICATE",
         {sourceColumns, statementColumns, predicateColumns},
         nullptr,
         "EXPLAIN_STATEMENT",
         "PRD_I1",
         false},
        {"EXPLAIN_STREAM",
         {sourceColumns, statementColumns, streamColumns},
         nullptr,
         "EXPLAIN_STATEMENT",
         "STM_I1",
         false},
        {"ADVISE_INSTANCE", {adviseInstanceColumns}, nullptr, nullptr, nullptr, true},
        {"ADVISE_INDEX",
         {advisedColumns, advisedQuery, adviseIndexColumns},
         nullptr,
         "ADVISE_INSTANCE",
         nullptr,
         false},
        {"ADVISE_WORKLOAD", {adviseWorkloadColumns}, nullptr, nullptr, nullptr, false},
        {"ADVISE_MQT", {advisedColumns, adviseMqtColumns}, nullptr, "ADVISE_INSTANCE", nullptr, true},
        {"ADVISE_PARTITION",
         {advisedColumns, advisedQuery, advisePartitionColumns},
         nullptr,
         "ADVISE_INSTANCE",
         nullptr,
         true},
        {"ADVISE_TABLE", {adviseTableColumns}, nullptr, "ADVISE_INSTANCE", nullptr, true},
    };
    return tables;
}

std::string KeysOf(const Table& table, double version, const std::string& schema) {
    const std::string instance = std::string("EXPLAIN_REQUESTER, EXPLAIN_TIME, SOURCE_NAME, SOURCE_SCHEMA") +
                                 (version >= 8.0 ? ", SOURCE_VERSION" : "");
    const std::string name = table.name;
    std::string keys;
    if (name == "ADVISE_INSTANCE")
        keys = ", PRIMARY KEY (START_TIME)";
    if (table.primaryKey != nullptr)
        keys = ", PRIMARY KEY (" + instance + table.primaryKey + ")";
    if (table.parent == nullptr)
        return keys;
    const std::string parent = table.parent;
    if (parent == "ADVISE_INSTANCE") {
        if (version < 8.0)
            return keys;
        return ", FOREIGN KEY (RUN_ID) REFERENCES " + schema +
               ".ADVISE_INSTANCE (START_TIME) ON DELETE CASCADE";
    }
    return keys + ", FOREIGN KEY (" + instance +
           (parent == "EXPLAIN_STATEMENT" ? ", EXPLAIN_LEVEL, STMTNO, SECTNO" : "") + ") REFERENCES " +
           schema + "." + parent + " ON DELETE CASCADE";
}

}  // namespace

const char* const explainTables[13] = {
    "EXPLAIN_INSTANCE",  "EXPLAIN_STATEMENT", "EXPLAIN_ARGUMENT", "EXPLAIN_OBJECT", "EXPLAIN_OPERATOR",
    "EXPLAIN_PREDICATE", "EXPLAIN_STREAM",    "ADVISE_INSTANCE",  "ADVISE_INDEX",   "ADVISE_WORKLOAD",
    "ADVISE_MQT",        "ADVISE_PARTITION",  "ADVISE_TABLE"};

std::vector<std::string> CreateTexts(const std::string& table, double version, const std::string& schema) {
    std::vector<std::string> texts;
    for (const Table& one : Tables()) {
        if (one.name != table || (one.newIn8 && version < 8.0))
            continue;
        texts.push_back("CREATE TABLE " + schema + "." + table + " (" + Join(one.columns, version) +
                        KeysOf(one, version, schema) + ")");
        if (one.index != nullptr) {
            texts.push_back("CREATE INDEX " + schema + "." + one.index + " on " + schema + "." + table +
                            "(EXPLAIN_TIME, EXPLAIN_LEVEL, STMTNO, SECTNO)");
        }
    }
    return texts;
}

std::vector<std::string> EraseTexts(double version, const std::string& schema) {
    const std::string explained =
        " IN ( SELECT EXPLAIN_TIME FROM " + schema + ".EXPLAIN_STATEMENT WHERE QUERYTAG='VELLOMARK' )";
    std::vector<std::string> texts;
    for (const char* const table : {"EXPLAIN_INSTANCE", "EXPLAIN_ARGUMENT", "EXPLAIN_OBJECT",
                                    "EXPLAIN_OPERATOR", "EXPLAIN_PREDICATE", "EXPLAIN_STREAM"})
        texts.push_back("DELETE FROM " + schema + "." + table + " WHERE EXPLAIN_TIME" + explained);
    if (version > 8.0) {
        texts.push_back("DELETE FROM " + schema + ".ADVISE_INSTANCE WHERE START_TIME" + explained);
        for (const char* const table : {"ADVISE_INDEX", "ADVISE_MQT", "ADVISE_PARTITION"})
            texts.push_back("DELETE FROM " + schema + "." + table + " WHERE EXPLAIN_TIME" + explained);
        texts.push_back("DELETE FROM " + schema + ".ADVISE_TABLE WHERE RUN_ID" + explained);
    }
    texts.push_back("DELETE FROM " + schema + ".EXPLAIN_STATEMENT WHERE QUERYTAG = 'VELLOMARK'");
    return texts;
}

std::string PlanQuery(const std::string& schema) {
    const auto statement = [&schema](const std::string& number, const std::string& level) {
        return "SELECT 1," + number + " AS TAR,'','','','','','',TOTAL_COST,TOTAL_COST,STATEMENT_TEXT FROM " +
               schema + ".EXPLAIN_STATEMENT WHERE EXPLAIN_LEVEL = '" + level +
               "' AND QUERYTAG = 'VELLOMARK' UNION ALL ";
    };
    const auto join = [&schema](const std::string& kind, const std::string& table, const std::string& alias) {
        std::string text = kind + " JOIN " + schema + "." + table + " " + alias + " ON ";
        for (const char* const key : {"EXPLAIN_REQUESTER", "EXPLAIN_TIME", "SOURCE_NAME", "SOURCE_SCHEMA",
                                      "EXPLAIN_LEVEL", "STMTNO", "SECTNO"})
            text += alias + "." + key + " = R." + key + " AND ";
        return text;
    };
    return statement("-1", "O") + statement("0", "P") +
           "SELECT DISTINCT R.SOURCE_ID,R.TARGET_ID AS TAR,O.OPERATOR_TYPE,A.ARGUMENT_TYPE, RTRIM( CHAR( "
           "A.ARGUMENT_VALUE , 254 ) ) "
           ",R.OBJECT_SCHEMA,R.OBJECT_NAME,B.OBJECT_TYPE,O.TOTAL_COST,S.TOTAL_COST,'' "
           "FROM " +
           schema + ".EXPLAIN_STREAM R " + join("INNER", "EXPLAIN_STATEMENT", "S") +
           "S.EXPLAIN_LEVEL = 'P' AND S.QUERYTAG = 'VELLOMARK' " + join("LEFT OUTER", "EXPLAIN_OBJECT", "B") +
           "B.OBJECT_SCHEMA = R.OBJECT_SCHEMA AND B.OBJECT_NAME = R.OBJECT_NAME " +
           join("LEFT OUTER", "EXPLAIN_OPERATOR", "O") + "O.OPERATOR_ID = R.SOURCE_ID " +
           join("LEFT OUTER", "EXPLAIN_ARGUMENT", "A") + "A.OPERATOR_ID = R.SOURCE_ID ORDER BY TAR";
}

}  // namespace qxtest
