// Scripts on both servers.
#include "scriptparser/script_parser_component.h"
#include "servers/server_run.h"

namespace qxtest {
namespace {

using Lines = std::vector<std::string>;

class ServerScripts : public ::testing::Test {
  protected:
    ServerScripts() { qxscriptparser::RegisterScriptParser(); }
};

TEST_F(ServerScripts, ProceduresAndDelimitersOfMariaDB) {
    ServerRun run(true);
    run.Run(
        "CREATE OR REPLACE TABLE scripted(a INT, b VARCHAR(20));\n"
        "DELIMITER //\n"
        "CREATE OR REPLACE PROCEDURE fill_scripted(IN n INT)\n"
        "BEGIN\n"
        "  DECLARE i INT DEFAULT 1;\n"
        "  WHILE i <= n DO\n"
        "    INSERT INTO scripted VALUES(i, CONCAT('; ', i));\n"
        "    SET i = i + 1;\n"
        "  END WHILE;\n"
        "  SELECT 'filled' AS done;\n"
        "END//\n"
        "DELIMITER ;\n"
        "CALL fill_scripted(3); -- a comment; with semicolons;\n"
        "SELECT a, b FROM scripted WHERE b <> ';' ORDER BY a;\n"
        "DROP PROCEDURE fill_scripted;\n"
        "DROP TABLE scripted;\n",
        ServerRun::SQLRequest::RequestScript);
    EXPECT_EQ(run.Errors(), Lines());
    EXPECT_EQ(run.RowsOfStatements(), (Lines{"filled", "1|; 1", "2|; 2", "3|; 3"}));
    EXPECT_EQ(run.calls.LinesOf("OnBatchItemEnd").size(), 8u);  // DELIMITER is an item too
}

TEST_F(ServerScripts, FunctionsOfPostgres) {
    ServerRun run(false);
    run.Run(
        "CREATE OR REPLACE FUNCTION scripted(n integer) RETURNS text LANGUAGE plpgsql AS $body$\n"
        "BEGIN\n"
        "  RETURN 'n; ' || n;\n"
        "END;\n"
        "$body$;\n"
        "SELECT scripted(4);\n"
        "DROP FUNCTION scripted;\n",
        ServerRun::SQLRequest::RequestScript);
    EXPECT_EQ(run.Errors(), Lines());
    EXPECT_EQ(run.RowsOfStatements(), Lines{"n; 4"});
    EXPECT_EQ(run.calls.LinesOf("OnBatchItemEnd").size(), 3u);
}

TEST_F(ServerScripts, AnItemThatFailsIsToldAndTheRestRuns) {
    for (const bool mariadb : {true, false}) {
        ServerRun run(mariadb);
        run.Run("SELECT 1 AS a;\nSELECT * FROM no_such_table;\nSELECT 2 AS a;\n",
                ServerRun::SQLRequest::RequestScript);
        ASSERT_EQ(run.Errors().size(), 1u);
        EXPECT_NE(run.Errors()[0].find("no_such_table"), std::string::npos);
        EXPECT_EQ(run.Sets(), (Lines{"0:1", "2:1", "0:1"}));
        EXPECT_EQ(run.RowsOfStatements(), (Lines{"1", "2"}));
    }
}

}  // namespace
}  // namespace qxtest
