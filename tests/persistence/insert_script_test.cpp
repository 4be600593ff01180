// INSERT statements of every server split into as many statements as there are rows.
#include "insert_script_support.h"

namespace qxdbsqlengine {
namespace {

struct ScriptCase {
    qxdb::DBTYPE server;
    const char* dialect;
    const char* separator;
};

class InsertScript : public PersistenceTest, public ::testing::WithParamInterface<ScriptCase> {};

INSTANTIATE_TEST_SUITE_P(Servers, InsertScript,
                         ::testing::Values(ScriptCase{qxdb::DBTYPE_SYBASE, "Sybase125", "go"},
                                           ScriptCase{qxdb::DBTYPE_SQLSERVER, "SQL2000", "go"},
                                           ScriptCase{qxdb::DBTYPE_DB2, "DB28", ";"},
                                           ScriptCase{qxdb::DBTYPE_DB2OS390, "DB2OS3907", ";"},
                                           ScriptCase{qxdb::DBTYPE_ORACLE, "Oracle92", "/"},
                                           ScriptCase{qxdb::DBTYPE_MYSQL, "MySQLGeneric:1", "go"}));

TEST_P(InsertScript, SplitsIntoOneStatementForEachRow) {
    std::vector<Row> rows;
    const std::vector<std::string> texts = OddTexts(GetParam().server != qxdb::DBTYPE_MYSQL);
    for (const std::string& text : texts)
        rows.push_back({std::to_string(rows.size()), text, "2004-12-31 01:02:03", "00FF", Cell()});
    AddTypedResultSet(*store,
                      {Column("N", DataTypeInt), Column("S", DataTypeString), Column("T", DataTypeTimestamp),
                       Column("B", DataTypeBinary), Column("L", DataTypeLob)},
                      rows);
    store->SetTableName(0, "T");
    const std::string script =
        WriteAll(ResultFileInsert, [](Persistence& p) { p.SetDBMSType(GetParam().server); });
    const std::vector<std::string> statements = SplitScript(script, GetParam().dialect, GetParam().separator);
    ASSERT_EQ(statements.size(), rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        std::string quoted;
        for (const char byte : texts[i])
            quoted += byte == '\'' ? "''" : std::string(1, byte);
        EXPECT_NE(statements[i].find("INSERT INTO T ( N, S, T, B, L ) \n        VALUES ( " +
                                     std::to_string(i) + ", '" + quoted + "', "),
                  std::string::npos)
            << statements[i];
        EXPECT_EQ(statements[i].substr(statements[i].size() - 16), ", 0x00FF, NULL )");
    }
}

}  // namespace
}  // namespace qxdbsqlengine
