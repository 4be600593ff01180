// Stored procedures and functions, called by the qxsql binary on real servers.

#include <gtest/gtest.h>

#include <string>

#include "tools/run_tool.h"
#include "tools/servers_fixture.h"

namespace qxtest {
namespace {

// Of one call: what goes to standard output, or with an exit code above 0 to standard error.
struct CallCase {
    Words words;
    int exitCode;
    const char* text;
};

class QxsqlCalls : public QxsqlServers {
  protected:
    void Install(const NamedServer& server, const std::string& script) {
        const ToolResult made = Qxsql(server.words({"--quiet", "-f", Script(script)}));
        ASSERT_EQ(0, made.exitCode) << made.err;
    }
    static void Expect(const NamedServer& server, const CallCase& one) {
        const ToolResult result = Qxsql(server.words(one.words));
        const std::string call = testing::PrintToString(one.words);
        EXPECT_EQ(one.exitCode, result.exitCode) << call << result.err;
        if (one.exitCode == 0)
            EXPECT_EQ(one.text, result.out) << call;
        else
            EXPECT_NE(std::string::npos, result.err.find(one.text)) << call << result.err;
    }
};

TEST_F(QxsqlCalls, MariaDB) {
    const NamedServer server{"MariaDB", OnMariaDB};
    Install(server,
            "DROP PROCEDURE IF EXISTS QX_MIXED;\n"
            "DROP PROCEDURE IF EXISTS qx_first;\n"
            "DROP PROCEDURE IF EXISTS qx_both;\n"
            "DROP PROCEDURE IF EXISTS qx_two;\n"
            "DROP PROCEDURE IF EXISTS qx_plain;\n"
            "DROP FUNCTION IF EXISTS qx_join;\n"
            "DELIMITER //\n"
            "CREATE PROCEDURE QX_MIXED(IN a INT, INOUT b VARCHAR(40), OUT c INT, OUT d VARCHAR(10)) BEGIN\n"
            "  SELECT a AS given, b AS text;\n"
            "  SET b = CONCAT(b, '!'), c = a + 1;\n"
            "END//\n"
            "CREATE PROCEDURE qx_first(OUT a INT, IN b INT) BEGIN SET a = b + 1; END//\n"
            "CREATE PROCEDURE qx_both(INOUT a INT, IN b INT) BEGIN SET a = a + b; END//\n"
            "CREATE PROCEDURE qx_two() BEGIN SELECT 1 AS a; SELECT 2 AS b; END//\n"
            "CREATE PROCEDURE qx_plain(IN t VARCHAR(40)) BEGIN SELECT t AS t; END//\n"
            "CREATE FUNCTION qx_join(a INT, d DATE) RETURNS VARCHAR(50) DETERMINISTIC\n"
            "  RETURN CONCAT(a, ' ', d)//\n"
            "DELIMITER ;\n");
    const char* const mixed = "given\ttext\r\n5\tx=y\r\n\r\nOutput values:\nb = x=y!\nc = 6\nd is NULL\n";
    const CallCase cases[] = {
        {{"--procedure", "QX_MIXED", "--param", "5", "--param", "=x=y"}, 0, mixed},
        {{"--procedure", "QX_MIXED", "--param", "5", "--param", "=x=y", "--param-out", "?", "--param-out",
          "?"},
         0,
         mixed},
        {{"--procedure", "QX_MIXED", "--param", "b=x=y", "--param", "A=5"}, 0, mixed},
        {{"--procedure", "QX_MIXED", "--param", "a=5", "--param", "b=x=y", "--param-out", "d"}, 0, mixed},
        {{"--procedure", "qx.QX_MIXED", "--param-type", "string", "--param", "5", "--param", "=x=y"},
         0,
         mixed},
        {{"--procedure", "qx_first", "--param", "4"}, 0, "Output values:\na = 5\n"},
        {{"--procedure", "qx_first", "--param-out", "?", "--param", "4"}, 0, "Output values:\na = 5\n"},
        {{"--procedure", "qx_both", "--param", "4", "--param", "5"}, 0, "Output values:\na = 9\n"},
        {{"--procedure", "qx_both", "--param", "b=4", "--param", "a=5"}, 0, "Output values:\na = 9\n"},
        {{"--procedure", "qx_both", "--param-type", "null", "--param", "", "--param", "5"},
         0,
         "Output values:\na is NULL\n"},
        {{"--procedure", "qx_two"}, 0, "a\r\n1\r\n\r\nb\r\n2\r\n"},
        {{"--procedure", "qx_two", "--result", "1"}, 0, "b\r\n2\r\n"},
        {{"--procedure", "qx_plain", "--param", "ü;'\"--"}, 0, "t\r\nü;'\"--\r\n"},
        {{"--function", "qx_join", "--param", "1", "--param", "2024-02-29"},
         0,
         "Output values:\nRETURN_VALUE = 1 2024-02-29\n"},
        {{"--function", "qx_join", "--param", "d=2024-02-29", "--param", "a=1"},
         0,
         "Output values:\nRETURN_VALUE = 1 2024-02-29\n"},
        {{"--function", "qx_join", "--param", "1"}, 1, "expected 2, got 1"},
        {{"--procedure", "qx_nosuch"}, 1, "PROCEDURE qx.qx_nosuch does not exist"},
        {{"--procedure", "qx_nosuch", "--param", "1"}, 2, "the server knows no such call"},
        {{"--procedure", "qx_both", "--param", "x", "--param", "1"}, 2, "\"x\" is not a whole number"},
        {{"--procedure", "qx_both", "--param", "z=1"}, 2, "there is no parameter \"z\"; the call has a, b"},
    };
    for (const CallCase& one : cases)
        Expect(server, one);
}

TEST_F(QxsqlCalls, PostgreSQL) {
    const NamedServer server{"PostgreSQL", OnPostgres};
    Install(
        server,
        "CREATE OR REPLACE PROCEDURE qx_mixed(a int, INOUT b text, OUT c numeric) LANGUAGE plpgsql AS $$\n"
        "BEGIN b := b || '!'; c := a + 1.5; END $$;\n"
        "CREATE OR REPLACE FUNCTION qx_join(a int, d date DEFAULT '2020-01-01') RETURNS text LANGUAGE sql\n"
        "AS $$ SELECT a || ' ' || d $$;\n"
        "CREATE OR REPLACE FUNCTION qx_outs(a int, OUT x int, OUT y text) LANGUAGE sql\n"
        "AS $$ SELECT a + 1, 'y' || a $$;\n"
        "CREATE OR REPLACE FUNCTION qx_nameless(int, text) RETURNS text LANGUAGE sql\n"
        "AS $$ SELECT $1 || $2 $$;\n"
        "CREATE OR REPLACE FUNCTION qx_rows(n int) RETURNS SETOF int LANGUAGE sql\n"
        "AS $$ SELECT generate_series(1, n) $$;\n"
        "CREATE OR REPLACE FUNCTION qx_types(t timestamp, n numeric, z bytea, b boolean, u uuid)\n"
        "RETURNS text LANGUAGE sql\n"
        "AS $$ SELECT t || '|' || n || '|' || encode(z, 'hex') || '|' || b || '|' || u $$;\n"
        "CREATE OR REPLACE FUNCTION \"qx_Case\"(a int) RETURNS int LANGUAGE sql AS $$ SELECT a $$;\n");
    const CallCase cases[] = {
        {{"--procedure", "qx_mixed", "--param", "5", "--param", "hi"},
         0,
         "Output values:\nb = hi!\nc = 6.5\n"},
        {{"--procedure", "qx_mixed", "--param", "b=hi", "--param", "a=5", "--param-out", "c"},
         0,
         "Output values:\nb = hi!\nc = 6.5\n"},
        {{"--function", "qx_join", "--param", "4"}, 0, "Output values:\nRETURN_VALUE = 4 2020-01-01\n"},
        {{"--function", "qx_join", "--param", "4", "--param", "2024-02-29"},
         0,
         "Output values:\nRETURN_VALUE = 4 2024-02-29\n"},
        {{"--function", "qx_join", "--param-type", "default", "--param", "d=", "--param", "a=4"},
         0,
         "Output values:\nRETURN_VALUE = 4 2020-01-01\n"},
        {{"--function", "qx_outs", "--param", "4"}, 0, "Output values:\nx = 5\ny = y4\n"},
        {{"--function", "qx_outs", "--param", "4", "--param-out", "?"}, 0, "Output values:\nx = 5\ny = y4\n"},
        {{"--function", "qx_nameless", "--param", "4", "--param", "z"},
         0,
         "Output values:\nRETURN_VALUE = 4z\n"},
        {{"--function", "qx_rows", "--param", "2", "--no-headers"}, 0, "1\r\n2\r\n"},
        {{"--function", "qx_types", "--param", "2024-01-02 03:04:05.678901", "--param", "1.50", "--param",
          "00ff", "--param", "true", "--param", "6ba7b810-9dad-11d1-80b4-00c04fd430c8"},
         0,
         "Output values:\nRETURN_VALUE = 2024-01-02 "
         "03:04:05.678901|1.50|00ff|true|6ba7b810-9dad-11d1-80b4-00c04fd430c8\n"},
        {{"--function", "\"qx_Case\"", "--param", "4"}, 0, "Output values:\nRETURN_VALUE = 4\n"},
        {{"--function", "public.qx_rows", "--param", "1"}, 0, "qx_rows\r\n1\r\n"},
        {{"--function", "qx_Case", "--param", "4"}, 2, "the server knows no such call"},
        {{"--function", "qx_nosuch"}, 1, "function qx_nosuch() does not exist"},
    };
    for (const CallCase& one : cases)
        Expect(server, one);
}

// A file holds results and nothing else.
TEST_F(QxsqlCalls, OutputValuesStayOutOfTheFile) {
    Install({"MariaDB", OnMariaDB},
            "DROP PROCEDURE IF EXISTS qx_file;\n"
            "CREATE PROCEDURE qx_file(OUT a INT) BEGIN SELECT 1 AS r; SET a = 2; END;\n");
    const std::string csv = directory.File("out.csv");
    EXPECT_EQ("Output values:\na = 2\n", Run(OnMariaDB({"--procedure", "qx_file", "-o", csv})));
    EXPECT_EQ("r\r\n1\r\n", ReadFile(csv));
}

// Calls of scripts come to the driver in capitals.
TEST_F(QxsqlCalls, CallsInScripts) {
    Install(
        {"MariaDB", OnMariaDB},
        "DROP PROCEDURE IF EXISTS qx_scripted;\n"
        "CREATE PROCEDURE qx_scripted(IN a INT, IN t VARCHAR(20), OUT b INT) BEGIN SELECT t; SET b = a * 2; "
        "END;\n"
        "DROP PROCEDURE IF EXISTS qx_straße;\n"
        "CREATE PROCEDURE qx_straße(IN a INT) BEGIN SELECT a; END;\n");
    const ToolResult maria = Qxsql(OnMariaDB({"-f", Script("CALL qx_scripted(21, 'it''s', ?);\n"
                                                           "call Qx_Scripted(1, NULL, ?);\n"
                                                           "CALL qx_straße(5);\n")}));
    EXPECT_EQ(0, maria.exitCode) << maria.err;
    EXPECT_EQ(
        "t\r\nit's\r\n\r\nOutput values:\nb = 42\n\r\nt\r\n\r\n\r\nOutput values:\nb = 2\n\r\na\r\n5\r\n",
        maria.out);

    Install({"PostgreSQL", OnPostgres},
            "CREATE OR REPLACE PROCEDURE qx_scripted(a int, t text, OUT b int) LANGUAGE plpgsql\n"
            "AS $$ BEGIN b := a * 2; END $$;\n"
            "CREATE OR REPLACE PROCEDURE \"qx_Scripted\"(a int, OUT b text) LANGUAGE plpgsql\n"
            "AS $$ BEGIN b := 'other'; END $$;\n");
    const ToolResult postgres = Qxsql(OnPostgres({"-f", Script("CALL qx_scripted(21, 'it''s', ?);\n"
                                                               "CALL \"qx_Scripted\"(1, ?);\n")}));
    EXPECT_EQ(0, postgres.exitCode) << postgres.err;
    EXPECT_EQ("Output values:\nb = 42\n\r\nOutput values:\nb = other\n", postgres.out);
}

// The names of databases differ by their case, and calls of scripts come in capitals.
TEST_F(QxsqlCalls, CallsInScriptsNameADatabase) {
    Install({"MariaDB", OnMariaDB},
            "CREATE DATABASE IF NOT EXISTS qx_Calls;\n"
            "CREATE OR REPLACE PROCEDURE qx_Calls.qx_there(IN a INT, OUT b INT) BEGIN SET b = a + 1; END;\n"
            "CREATE DATABASE IF NOT EXISTS qx_twins;\n"
            "CREATE DATABASE IF NOT EXISTS QX_Twins;\n"
            "CREATE OR REPLACE PROCEDURE qx_twins.qx_there(IN a INT, OUT b INT) BEGIN SET b = a + 1; END;\n");
    const ToolResult found = Qxsql(OnMariaDB({"-f", Script("CALL qx_Calls.qx_there(1, ?);\n"
                                                           "call qx_calls.QX_THERE(2, ?);\n")}));
    EXPECT_EQ(0, found.exitCode) << found.err;
    EXPECT_EQ("Output values:\nb = 2\n\r\nOutput values:\nb = 3\n", found.out);

    const ToolResult twins = Qxsql(OnMariaDB({"-f", Script("CALL qx_twins.qx_there(1, ?);\n")}));
    EXPECT_EQ(1, twins.exitCode);
    EXPECT_NE(std::string::npos, twins.err.find("QX_TWINS")) << twins.err;
    Install({"MariaDB", OnMariaDB},
            "DROP DATABASE qx_Calls;\nDROP DATABASE qx_twins;\nDROP DATABASE QX_Twins;\n");
}

// A procedure and a function may share a name, and the one without parameters is known to no list of them.
TEST_F(QxsqlCalls, ProcedureAndFunctionOfOneName) {
    Install({"MariaDB", OnMariaDB},
            "CREATE OR REPLACE PROCEDURE qx_both(IN a INT, OUT b INT) BEGIN SET b = a + 1; END;\n"
            "CREATE OR REPLACE FUNCTION qx_both(a INT) RETURNS INT RETURN a + 10;\n"
            "CREATE OR REPLACE PROCEDURE qx_bare() BEGIN SELECT 'procedure' AS kind; END;\n"
            "CREATE OR REPLACE FUNCTION qx_bare() RETURNS INT RETURN 7;\n");
    const ToolResult procedure = Qxsql(OnMariaDB({"--procedure", "qx_both", "--param", "1"}));
    EXPECT_EQ(0, procedure.exitCode) << procedure.err;
    EXPECT_EQ("Output values:\nb = 2\n", procedure.out);
    const ToolResult function = Qxsql(OnMariaDB({"--function", "qx_both", "--param", "1"}));
    EXPECT_EQ(0, function.exitCode) << function.err;
    EXPECT_NE(std::string::npos, function.out.find(" = 11\n")) << function.out;
    const ToolResult bareProcedure = Qxsql(OnMariaDB({"--procedure", "qx_bare"}));
    EXPECT_EQ("kind\r\nprocedure\r\n", bareProcedure.out) << bareProcedure.err;
    const ToolResult bareFunction = Qxsql(OnMariaDB({"--function", "qx_bare"}));
    EXPECT_NE(std::string::npos, bareFunction.out.find(" = 7\n")) << bareFunction.out;
}

TEST_F(QxsqlCalls, OnAScreen) {
    Install({"MariaDB", OnMariaDB},
            "DROP PROCEDURE IF EXISTS qx_screen;\n"
            "CREATE PROCEDURE qx_screen(OUT a VARCHAR(20)) BEGIN SELECT 1 AS r; SET a = 'x\\n\\ty'; END;\n");
    Words words = OnMariaDB({"--procedure", "qx_screen"});
    words.insert(words.begin(), QXSQL_PATH);
    EXPECT_EQ("r\n-\n1\n(1 row)\n\nOutput values:\na = x↵ y\n", RunOnTerminal(words, 80).out);
}

}  // namespace
}  // namespace qxtest
