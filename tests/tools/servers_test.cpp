// The qxsql binary on MariaDB and PostgreSQL through their ODBC drivers.

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <string>

#include "tools/run_tool.h"
#include "tools/servers_fixture.h"

namespace qxtest {
namespace {

using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

std::string SleepOf(const NamedServer& server, int seconds) {
    const bool isMariaDB = server.words == OnMariaDB;
    return (isMariaDB ? "SELECT SLEEP(" : "SELECT pg_sleep(") + std::to_string(seconds) + ")";
}

TEST_F(QxsqlServers, ResultsAsOfAnyServer) {
    for (const NamedServer& server : allServers) {
        const std::string sql = "SELECT 2 AS n, 'ü€😀' AS t, NULL AS e UNION SELECT 1, 'a,\"b\"', 'x'";
        EXPECT_EQ("n\tt\te\r\n1\ta,\"b\"\tx\r\n2\tü€😀\t\r\n", Run(server.words({sql, "--sort", "n"})))
            << server.name;
        const std::string csv = directory.File("out.csv");
        EXPECT_EQ("", Run(server.words({sql, "--sort", "n", "-o", csv})));
        EXPECT_EQ("n,t,e\r\n1,\"a,\"\"b\"\"\",x\r\n2,ü€😀,\r\n", ReadFile(csv)) << server.name;
        EXPECT_EQ("n\r\n2\r\n", Run(server.words({"SELECT 2 AS n UNION SELECT 1 ORDER BY n DESC",
                                                  "--max-rows", "1", "--quiet", "--as-strings"})))
            << server.name;
    }
}

// Behind texts of unlimited length stand large objects here.
TEST_F(QxsqlServers, LargeObjectsAreWhole) {
    const std::string text(300000, 'x');
    EXPECT_EQ("j\tb\tt\te\tn\r\n{\"a\":1}\t00FF\t" + text + "ü\t\t\r\n",
              Run(OnMariaDB({"SELECT CAST('{\"a\":1}' AS CHAR(99999999)) AS j, "
                             "CAST(x'00FF' AS BINARY(2)) AS b, CONCAT(REPEAT('x', 300000), 'ü') AS t, "
                             "LEFT(CONCAT(REPEAT('x', 300000), 'ü'), 0) AS e, NULL AS n"})));
    Run(OnMariaDB(
        {"--quiet", "-f",
         Script("CREATE OR REPLACE TABLE qx_lobs (id INT PRIMARY KEY, t LONGTEXT, b LONGBLOB, j JSON);\n"
                "INSERT INTO qx_lobs VALUES (1, CONCAT(REPEAT('x', 300000), 'ü'), x'00FF', '{}'),"
                " (2, NULL, NULL, NULL), (3, '', '', '[]');\n")}));
    EXPECT_EQ("id\tt\tb\tj\r\n1\t" + text + "ü\t00FF\t{}\r\n2\t\t\t\r\n3\t\t\t[]\r\n",
              Run(OnMariaDB({"SELECT * FROM qx_lobs ORDER BY id"})));
    const std::string csv = directory.File("out.csv");
    Run(OnMariaDB({"SELECT * FROM qx_lobs", "-o", csv, "--sort", "id:desc"}));
    EXPECT_EQ("id,t,b,j\r\n3,,,[]\r\n2,,,\r\n1," + text + "ü,00FF,{}\r\n", ReadFile(csv));
    EXPECT_EQ("t\r\n" + text + text + text + text + "\r\n",
              Run(OnPostgres({"SELECT repeat('x', 1200000) AS t"})));
}

TEST_F(QxsqlServers, ErrorsOfTheServer) {
    const ToolResult maria = Qxsql(OnMariaDB({"SELECT * FROM qx_nowhere"}));
    EXPECT_EQ(1, maria.exitCode);
    EXPECT_EQ("Error 1146 [42S02]: Table 'qx.qx_nowhere' doesn't exist\n", maria.err);
    const ToolResult postgres = Qxsql(OnPostgres({"SELECT 1\nFORM x y"}));
    EXPECT_EQ(1, postgres.exitCode);
    EXPECT_EQ(0U, postgres.err.find("Error 1 [42601] at line 2, position ")) << postgres.err;
}

TEST_F(QxsqlServers, UserAndPassword) {
    const std::string password = TestServers().Get("QX_SERVERS_PASSWORD");
    for (const char* source : {"odbc:qxmariadb", "odbc:qxpostgres"}) {
        const Words words{QXSQL_PATH, source, "--user", "qx", "SELECT 1 AS a"};
        const ToolResult known = RunTool(words, "", {{"QXSQL_PASSWORD", password}});
        EXPECT_EQ(0, known.exitCode) << known.err;
        EXPECT_EQ("a\r\n1\r\n", known.out);
        const ToolResult wrong = RunTool(words, "", {{"QXSQL_PASSWORD", "no" + password}});
        EXPECT_EQ(3, wrong.exitCode);
        EXPECT_EQ(0U, wrong.err.find("Error ")) << wrong.err;
        EXPECT_EQ(std::string::npos, wrong.err.find(password)) << wrong.err;

        // The user may stand in the connection, or in the data source.
        const ToolResult named =
            RunTool({QXSQL_PATH, "odbc:DSN=" + std::string(source).substr(5) + ";UID=qx", "SELECT 1 AS a"},
                    "", {{"QXSQL_PASSWORD", password}});
        EXPECT_EQ("a\r\n1\r\n", named.out) << named.err;

        unsetenv("QXSQL_PASSWORD");
        TerminalTool typed(words);
        ASSERT_TRUE(typed.WaitFor("Password of qx: "));
        typed.Type(password + "\n");
        const ToolResult result = typed.Finish();
        EXPECT_EQ(0, result.exitCode) << result.out;
        EXPECT_NE(std::string::npos, result.out.find("(1 row)")) << result.out;
        EXPECT_EQ(std::string::npos, result.out.find(password));
        EXPECT_TRUE(typed.Echoes());
    }
}

TEST_F(QxsqlServers, NoServerThere) {
    for (const char* text :
         {"odbc:Driver=MariaDB;SOCKET=/nowhere.sock", "odbc:Driver=PostgreSQL;Servername=/nowhere",
          "odbc:Driver=NoSuchDriver;x=y", "odbc:nosuchsource", "odbc:Driver={open"}) {
        const ToolResult result = Qxsql({text, "SELECT 1"});
        EXPECT_EQ(3, result.exitCode) << text;
        EXPECT_EQ(0U, result.err.find("Error ")) << result.err;
    }
}

TEST_F(QxsqlServers, DriversAndSourcesAreListed) {
    TestServers();  // the configuration of the driver manager
    EXPECT_EQ(
        "odbc:Driver=MariaDB;...     ODBC driver\n"
        "odbc:Driver=PostgreSQL;...  ODBC driver\n"
        "odbc:qxmariadb              ODBC data source (MariaDB)\n"
        "odbc:qxpostgres             ODBC data source (PostgreSQL)\n"
        "sqlite:FILE                 SQLite, built in\n",
        Run({"--drivers"}));
    const ToolResult none = RunTool(
        {QXSQL_PATH, "--drivers"}, "",
        {{"ODBCSYSINI", directory.Path()}, {"ODBCINI", directory.File("none")}, {"HOME", directory.Path()}});
    EXPECT_EQ(0, none.exitCode);
    EXPECT_EQ(
        "odbc:...     no ODBC driver is installed\n"
        "sqlite:FILE  SQLite, built in\n",
        none.out);
}

TEST_F(QxsqlServers, ParametersOfEveryType) {
    const struct {
        const char* type;
        const char* value;
        const char* mariaDB;
        const char* postgres;
    } cases[] = {
        {"string", "it's", "it's", "it's"},
        {"short", "-7", "-7", "-7"},
        {"int", "2147483647", "2147483647", "2147483647"},
        {"bigint", "-9223372036854775808", "-9223372036854775808", "-9223372036854775808"},
        {"double", "0.1", "0.1", "0.1"},
        {"decimal", "12345678901234567890.125", "12345678901234567890.125", "12345678901234567890.125"},
        {"binary", "00FF", "00FF", "00FF"},
        {"timestamp", "2024-02-29 23:59:59.125", "2024-02-29 23:59:59.125", "2024-02-29 23:59:59.125"},
        {"null", "", "", ""},
    };
    for (const auto& one : cases) {
        const Words options{"--no-headers", "--param-type", one.type, "--param", one.value};
        const auto with = [&](const std::string& sql) {
            Words words = options;
            words.insert(words.begin(), sql);
            return words;
        };
        const std::string type = one.type;
        const std::string marker = type == "binary" ? "HEX(?)" : "?";
        EXPECT_EQ(std::string(one.mariaDB) + "\r\n",
                  Run(OnMariaDB(with("SELECT CONCAT(" + marker + ", '') AS v"))).substr(0, 26) + "")
            << type;
        const std::string cast = type == "binary"      ? "upper(encode(?, 'hex'))"
                                 : type == "timestamp" ? "to_char(?::timestamp, 'YYYY-MM-DD HH24:MI:SS.MS')"
                                 : type == "null"      ? "?::text"
                                 : type == "double"    ? "(?::float8)::text"
                                                       : "(?)::text";
        EXPECT_EQ(std::string(one.postgres) + "\r\n", Run(OnPostgres(with("SELECT " + cast + " AS v"))))
            << type;
    }
}

TEST_F(QxsqlServers, ParametersWithoutATypeFitWhereTheyStand) {
    for (const NamedServer& server : allServers) {
        EXPECT_EQ("n\tt\r\n6\tabc\r\n",
                  Run(server.words({"SELECT 1 + ? AS n, ? AS t", "--param", "5", "--param", "abc"})))
            << server.name;
        const ToolResult named = Qxsql(server.words({"SELECT ? AS a", "--param", "a=1"}));
        EXPECT_EQ(2, named.exitCode) << server.name;
        const ToolResult few = Qxsql(server.words({"SELECT ? AS a, ? AS b", "--param", "1"}));
        EXPECT_EQ("--param: the statement has 2 parameter(s), and 1 are given\n", few.err) << server.name;
        EXPECT_EQ(2, few.exitCode);
    }
}

TEST_F(QxsqlServers, ScriptsInTheDialectOfTheServer) {
    const std::string maria =
        "DROP TABLE IF EXISTS qx_tool;\n"
        "CREATE TABLE qx_tool (a INT, t VARCHAR(20));\n"
        "DELIMITER //\n"
        "CREATE TRIGGER qx_trigger BEFORE INSERT ON qx_tool FOR EACH ROW BEGIN\n"
        "  SET NEW.t = CONCAT(NEW.t, ';');\n"
        "END//\n"
        "DELIMITER ;\n"
        "INSERT INTO qx_tool VALUES (1, 'it\\'s; x'), (2, 'y');  # two\n"
        "SELECT nothing FROM qx_tool;\n"
        "SELECT a, t FROM qx_tool ORDER BY a;\n"
        "DROP TABLE qx_tool;\n";
    const ToolResult onMaria = Qxsql(OnMariaDB({"-f", Script(maria)}));
    EXPECT_EQ(1, onMaria.exitCode);
    EXPECT_EQ("a\tt\r\n1\tit's; x;\r\n2\ty;\r\n", onMaria.out);
    EXPECT_NE(std::string::npos, onMaria.err.find(directory.File("script.sql") +
                                                  ":9: Error 1054 [42S22]: Unknown column 'nothing' in "))
        << onMaria.err;
    EXPECT_NE(std::string::npos,
              onMaria.err.find("Items run: 7, failed: 1, skipped: 2. Rows fetched: 2, affected: 2. "))
        << onMaria.err;

    const std::string postgres =
        "DROP TABLE IF EXISTS qx_tool;\n"
        "CREATE TABLE qx_tool (a INT, t VARCHAR(20));\n"
        "CREATE OR REPLACE FUNCTION qx_mark() RETURNS trigger LANGUAGE plpgsql AS $body$\n"
        "BEGIN NEW.t := NEW.t || ';'; RETURN NEW; END;\n"
        "$body$;\n"
        "CREATE TRIGGER qx_trigger BEFORE INSERT ON qx_tool FOR EACH ROW EXECUTE FUNCTION qx_mark();\n"
        "INSERT INTO qx_tool VALUES (1, 'it''s; x'), (2, 'y');  -- two\n"
        "SELECT nothing FROM qx_tool;\n"
        "SELECT a, t FROM qx_tool ORDER BY a;\n"
        "DROP TABLE qx_tool;\n";
    const ToolResult onPostgres = Qxsql(OnPostgres({"-f", Script(postgres), "--quiet"}));
    EXPECT_EQ(1, onPostgres.exitCode);
    EXPECT_EQ("a\tt\r\n1\tit's; x;\r\n2\ty;\r\n", onPostgres.out);
    EXPECT_NE(std::string::npos, onPostgres.err.find(directory.File("script.sql") + ":8: Error 1 [42703]"))
        << onPostgres.err;
}

// Statements of all lengths one after the other, so that each stands where a longer one stood: nothing of
// that may follow it to the server.
TEST_F(QxsqlServers, StatementsEndWhereTheyEnd) {
    for (const NamedServer& server : allServers) {
        std::string script;
        std::string expected;
        for (int i = 40; i > 0; --i) {
            std::string text;
            for (int j = 0; j < i * i; ++j)
                text += "ØÙÚÛ é日😀\u00d7\u00ff";
            script += "SELECT '" + text + "' AS a;\n";
            expected += (i == 40 ? "a\r\n" : "\r\na\r\n") + text + "\r\n";
        }
        const ToolResult result = Qxsql(server.words({"--quiet", "-f", Script(script)}));
        EXPECT_EQ(0, result.exitCode) << server.name << result.err.substr(0, 500);
        EXPECT_TRUE(expected == result.out) << server.name;
    }
}

TEST_F(QxsqlServers, DefinitionsOfStoredPrograms) {
    const std::string bodies[] = {
        "CREATE OR REPLACE PROCEDURE qx_program(IN a INT) BEGIN DECLARE n INT; SET n = a; SELECT n; END",
        "CREATE OR REPLACE FUNCTION qx_program_of(a INT) RETURNS INT DETERMINISTIC BEGIN SET a = 1; RETURN "
        "a; "
        "END",
        "CREATE OR REPLACE DEFINER=CURRENT_USER FUNCTION qx_program_of(a INT) RETURNS INT DETERMINISTIC\n"
        "BEGIN SET a = 1; RETURN a; END",
        "CREATE OR REPLACE TRIGGER qx_trigger1 BEFORE INSERT ON qx_programs FOR EACH ROW\n"
        "BEGIN SET NEW.a = 1; SET NEW.b = 2; END",
        "CREATE OR REPLACE EVENT qx_event ON SCHEDULE EVERY 1 YEAR DO BEGIN SET @a = 1; SET @b = 2; END",
        "ALTER EVENT qx_event DO BEGIN SET @a = 2; SET @b = 3; END",
        "/* x */ CREATE TRIGGER qx_trigger2 BEFORE UPDATE ON qx_programs FOR EACH ROW\n"
        "BEGIN SET NEW.a = 1; SET NEW.b = 2; END",
        "DROP EVENT qx_event",
    };
    std::string script =
        "CREATE OR REPLACE TABLE qx_programs (a INT, b INT);\nDROP PROCEDURE IF EXISTS "
        "qx_program;\nDELIMITER //\n";
    for (const std::string& body : bodies) {
        script += body + "//\n";
    }
    script +=
        "INSERT INTO qx_programs VALUES (0, 0)//\nSELECT * FROM qx_programs//\nDROP TABLE qx_programs//\n";
    const ToolResult result = Qxsql(OnMariaDB({"-f", Script(script)}));
    EXPECT_EQ(0, result.exitCode) << result.err;
    EXPECT_EQ("a\tb\r\n1\t2\r\n", result.out);
    EXPECT_NE(std::string::npos, result.err.find("Items run: 13, failed: 0, ")) << result.err;
    // As one text, too, and with a file of its own.
    EXPECT_EQ(0, Qxsql(OnMariaDB({bodies[0]})).exitCode);
    EXPECT_EQ("n\r\n7\r\n", Run(OnMariaDB({"--procedure", "qx_program", "--param", "7"})));
}

TEST_F(QxsqlServers, MaxErrorsEndsAScript) {
    for (const NamedServer& server : allServers) {
        const ToolResult result = Qxsql(server.words(
            {"-f", Script("SELECT 1 AS a;\nSELECT * FROM qx_no1;\nSELECT 3 AS c;\n"), "--max-errors", "1"}));
        EXPECT_EQ(1, result.exitCode);
        EXPECT_EQ("a\r\n1\r\n", result.out) << server.name;
        EXPECT_NE(std::string::npos, result.err.find(":2: --max-errors 1 reached")) << result.err;
    }
}

TEST_F(QxsqlServers, TimeoutCancelsOnTheServer) {
    for (const NamedServer& server : allServers) {
        const Clock::time_point start = Clock::now();
        const ToolResult result = Qxsql(server.words({SleepOf(server, 60), "--timeout", "0.5"}));
        EXPECT_EQ(5, result.exitCode) << server.name << result.err;
        EXPECT_EQ("Timed out after 0.5 s (--timeout)\n", result.err);
        EXPECT_LT(SecondsSince(start), 10.0) << server.name;
    }
}

TEST_F(QxsqlServers, InterruptKeepsWhatHasArrived) {
    for (const NamedServer& server : allServers) {
        const std::string script =
            Script("SELECT 'first' AS a;\n" + SleepOf(server, 60) + ";\nSELECT 3 AS c;\n");
        Words words = server.words({"-f", script});
        words.insert(words.begin(), QXSQL_PATH);
        RunningTool tool(words);
        ASSERT_TRUE(tool.WaitForOutput("first")) << server.name;
        const Clock::time_point start = Clock::now();
        tool.Signal(SIGINT);
        const ToolResult result = tool.Finish();
        EXPECT_LT(SecondsSince(start), 10.0) << server.name;
        EXPECT_EQ(130, result.exitCode) << result.err;
        EXPECT_EQ(0U, result.out.find("a\r\nfirst\r\n")) << result.out;
        EXPECT_EQ(std::string::npos, result.out.find("c\r\n")) << result.out;
        EXPECT_NE(std::string::npos, result.err.find("Rows fetched: 1, ")) << result.err;
    }
}

TEST_F(QxsqlServers, MessagesOfTheServer) {
    const ToolResult notice = Qxsql(OnPostgres({"DO $$ BEGIN RAISE NOTICE 'hello there'; END $$"}));
    EXPECT_EQ(0, notice.exitCode) << notice.err;
    EXPECT_NE(std::string::npos, notice.err.find("NOTICE: hello there\n")) << notice.err;
    const ToolResult warning = Qxsql(OnMariaDB({"DROP TABLE IF EXISTS qx_missing"}));
    EXPECT_EQ(0, warning.exitCode) << warning.err;
    EXPECT_NE(std::string::npos, warning.err.find("Message 1051 ")) << warning.err;
}

TEST_F(QxsqlServers, Plans) {
    const std::string plan = Run(OnMariaDB({"--explain", "SELECT 1 AS a"}));
    EXPECT_EQ(0U, plan.find("id\tselect_type\ttable\t")) << plan;
    const std::string script =
        Run(OnMariaDB({"--explain", "--quiet", "-f", Script("SELECT 1;\nSELECT 2;\n")}));
    EXPECT_NE(script.find("select_type"), script.rfind("select_type")) << script;
    const ToolResult none = Qxsql(OnPostgres({"--explain", "SELECT 1 AS a"}));
    EXPECT_EQ(2, none.exitCode);
    EXPECT_EQ("", none.out);
    EXPECT_EQ("--explain is not available for this server; its own EXPLAIN statement may be\n", none.err);
    EXPECT_EQ(2, Qxsql({"sqlite::memory:", "--explain", "SELECT 1"}).exitCode);
}

TEST_F(QxsqlServers, OptionsReachTheSession) {
    const struct {
        Words options;
        const char* expression;
        const char* value;
    } cases[] = {
        {{"--option", "50403=off"}, "@@sql_big_selects", "0"},
        {{"--option", "50403=on"}, "@@sql_big_selects", "1"},
        {{"--option", "50402=77"}, "@@interactive_timeout", "77"},
        {{"--option", "50405=1000"}, "@@sql_select_limit", "1000"},
        {{"--option", "50424=set @a=5;set @b='x y'"}, "concat(@a, @b)", "5x y"},
        {{"--option", "50402=78", "--option", "50407=on"},
         "@@interactive_timeout + @@sql_safe_updates",
         "79"},
    };
    for (const auto& one : cases) {
        Words words = one.options;
        words.insert(words.begin(), "SELECT " + std::string(one.expression) + " AS v");
        EXPECT_EQ("v\r\n" + std::string(one.value) + "\r\n", Run(OnMariaDB(words))) << one.expression;
    }
    const ToolResult wrong = Qxsql(OnMariaDB({"--option", "50402=soon", "SELECT 1"}));
    EXPECT_EQ(2, wrong.exitCode);
    EXPECT_EQ("--option 50402: \"soon\" is not a whole number\n", wrong.err);
    const ToolResult unknown = Qxsql(OnPostgres({"--option", "50403=on", "SELECT 1"}));
    EXPECT_EQ(2, unknown.exitCode);
    EXPECT_EQ("--option 50403: this server has no such option (--options lists those that it has)\n",
              unknown.err);
    EXPECT_EQ("v\r\n1\r\n", Run(OnMariaDB({"SELECT 1 AS v UNION SELECT 2", "--option", "50463=1"})));
}

TEST_F(QxsqlServers, ListOfOptions) {
    const std::string maria = Run(OnMariaDB({"--options"}));
    EXPECT_NE(std::string::npos, maria.find("\n50403  flag    set sql_big_selects=%s\n")) << maria;
    const std::string postgres = Run(OnPostgres({"--options"}));
    EXPECT_EQ(postgres, Run({"sqlite::memory:", "--options"}));
    EXPECT_NE(
        std::string::npos,
        Run(OnPostgres({"--options", "--dbtype", "oracle"})).find("\n50149  flag    show the server's"));
}

TEST_F(QxsqlServers, WhatTheServerDoesNotHave) {
    for (const NamedServer& server : allServers) {
        for (const char* option : {"--statistics", "--server-output"}) {
            const ToolResult result = Qxsql(server.words({"SELECT 1", option}));
            EXPECT_EQ(2, result.exitCode) << server.name;
            EXPECT_EQ(std::string(option) + " is not available for this server\n", result.err);
        }
    }
}

// The family decides about scripts, plans and options, whatever the server says of itself.
TEST_F(QxsqlServers, FamilyOfTheUser) {
    EXPECT_NE(std::string::npos,
              Run(OnPostgres({"--dbtype", "mysql", "--explain", "SELECT 1 AS a"})).find("Result"));
    EXPECT_EQ("a\r\n1\r\n\r\nb\r\n2\r\n",
              Run(OnPostgres({"--dbtype", "sybase", "--quiet", "-f",
                              Script("SELECT 1 AS a\ngo\nSELECT 2 AS b\ngo\n")})));
    const ToolResult oracle =
        Qxsql(OnPostgres({"--dbtype", "oracle", "--server-output", "20000", "SELECT 1"}));
    EXPECT_EQ(1, oracle.exitCode);
    EXPECT_NE(std::string::npos, oracle.err.find("\"DBMS_OUTPUT\"")) << oracle.err;
}

TEST_F(QxsqlServers, ALongResultNeedsLittleMemory) {
    for (const NamedServer& server : allServers) {
        const std::string sql = server.words == OnMariaDB
                                    ? "SELECT seq AS n, repeat('x', 100) AS t FROM seq_1_to_300000"
                                    : "SELECT n, repeat('x', 100) AS t FROM generate_series(1, 300000) n";
        const ToolResult result = Qxsql(server.words({sql, "-o", directory.File("out.csv"), "--timing"}));
        EXPECT_EQ(0, result.exitCode) << result.err;
        EXPECT_NE(std::string::npos, result.err.find("Rows          300,000\n")) << result.err;
        const std::string text = ReadFile(directory.File("out.csv"));
        EXPECT_EQ("\r\n300000," + std::string(100, 'x') + "\r\n", text.substr(text.size() - 111))
            << server.name;
    }
}

}  // namespace
}  // namespace qxtest
