// qxsql as its users run it: what it prints where, its exit codes, and that nothing stays behind.

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tools/qxsql_fixture.h"
#include "tools/run_tool.h"

namespace qxtest {
namespace {

TEST_F(QxsqlTool, TabDelimitedTextWhenStandardOutputIsNoTerminal) {
    const ToolResult result = Qxsql({"sqlite::memory:", "SELECT 1 AS a, 'x' AS b, NULL AS c"});
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("a\tb\tc\r\n1\tx\t\r\n", result.out);
    EXPECT_EQ("", result.err);
}

TEST_F(QxsqlTool, SqlFromFileAndStandardInput) {
    WriteFile(directory.File("q.sql"), "SELECT 7 AS n");
    EXPECT_EQ("n\r\n7\r\n", Qxsql({"sqlite::memory:", "-f", directory.File("q.sql")}).out);
    EXPECT_EQ("n\r\n8\r\n", Qxsql({"sqlite::memory:"}, "SELECT 8 AS n").out);
    EXPECT_EQ("n\r\n9\r\n", Qxsql({"sqlite::memory:", "-f", "-"}, "SELECT 9 AS n").out);
}

TEST_F(QxsqlTool, SeveralResultsAndOneOfThem) {
    const std::string sql = "SELECT 1 AS a; SELECT 2 AS b; SELECT 3 AS c";
    EXPECT_EQ("a\r\n1\r\n\r\nb\r\n2\r\n\r\nc\r\n3\r\n", Qxsql({"sqlite::memory:", sql}).out);
    EXPECT_EQ("b\r\n2\r\n", Qxsql({"sqlite::memory:", sql, "--result", "1"}).out);
    const ToolResult none = Qxsql({"sqlite::memory:", sql, "--result", "3"});
    EXPECT_EQ(2, none.exitCode);
    EXPECT_EQ("--result 3: there are 3 results, numbered from 0\n", none.err);
}

TEST_F(QxsqlTool, MessagesAndRowCountsGoToStandardError) {
    MakeShop();
    const ToolResult result = Qxsql({Database(), "UPDATE product SET price = price WHERE sku LIKE 'TEA%'"});
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("", result.out);
    EXPECT_EQ("2 row(s) affected.\n", result.err);
    EXPECT_EQ("", Qxsql({Database(), "--quiet", "UPDATE product SET price = price"}).err);
    const ToolResult ddl = Qxsql({Database(), "CREATE TABLE t (a INT)"});
    EXPECT_EQ("", ddl.out);
    EXPECT_EQ("The command completed with no results returned\n", ddl.err);
}

TEST_F(QxsqlTool, ErrorsShowCodeStateLineAndPosition) {
    const ToolResult result = Qxsql({"sqlite::memory:", "SELECT 1\nFORM x"});
    EXPECT_EQ(1, result.exitCode);
    EXPECT_EQ("", result.out);
    EXPECT_EQ(0U, result.err.find("Error 1 [")) << result.err;
    EXPECT_NE(std::string::npos, result.err.find("at line 2, position 15")) << result.err;
    EXPECT_NE(std::string::npos, result.err.find("near \"x\": syntax error\n")) << result.err;
    // Once, although the store holds it as a message too.
    EXPECT_EQ(result.err.find("syntax error"), result.err.rfind("syntax error"));
    const ToolResult quiet = Qxsql({"sqlite::memory:", "--quiet", "SELECT * FROM missing"});
    EXPECT_EQ(1, quiet.exitCode);
    EXPECT_NE(std::string::npos, quiet.err.find("no such table: missing"));
}

TEST_F(QxsqlTool, ResultsBeforeAnErrorAreShown) {
    const ToolResult result = Qxsql({"sqlite::memory:", "SELECT 5 AS five; SELECT * FROM missing"});
    EXPECT_EQ(1, result.exitCode);
    EXPECT_EQ("five\r\n5\r\n", result.out);
    EXPECT_NE(std::string::npos, result.err.find("no such table: missing"));
}

TEST_F(QxsqlTool, ExitCodes) {
    const struct {
        Words arguments;
        int exitCode;
        const char* message;
    } cases[] = {
        {{"--help"}, 0, ""},
        {{}, 2, "CONNECTION"},
        {{"sqlite::memory:", "SELECT 1", "--nonsense"}, 2, "--nonsense"},
        {{"noscheme", "SELECT 1"}, 2, "names no driver"},
        {{"nodriver:x", "SELECT 1"}, 3, "nodriver"},
        {{"sqlite:" + directory.File("missing.db"), "SELECT 1"}, 3, "missing.db"},
        {{"sqlite:" + directory.Path(), "SELECT 1"}, 3, ""},
        {{"sqlite::memory:", "-f", directory.File("missing.sql")}, 4, "missing.sql"},
        {{"--read", directory.File("missing.csv")}, 4, "missing.csv"},
        {{"sqlite::memory:", "SELECT 1", "-o", directory.File("no/such/dir.csv")}, 4, "dir.csv"},
        {{"sqlite::memory:", "SELECT 1", "-o", directory.Path()}, 4, ""},
        {{"sqlite::memory:", "SELECT 1 AS a", "--sort", "b"}, 2, "there is no column \"b\""},
        {{"sqlite::memory:", "SELECT 1 AS a", "--sort", "1"}, 2, "there is no column \"1\""},
    };
    for (const auto& one : cases) {
        const ToolResult result = Qxsql(one.arguments);
        EXPECT_EQ(one.exitCode, result.exitCode) << testing::PrintToString(one.arguments) << result.err;
        EXPECT_NE(std::string::npos, result.err.find(one.message)) << result.err;
    }
}

TEST_F(QxsqlTool, FullDiskUnderTheExport) {
    const ToolResult result =
        Qxsql({"sqlite::memory:",
               "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < "
               "200000) SELECT i, 'some text' FROM n",
               "-o", "/dev/full"});
    EXPECT_EQ(4, result.exitCode);
    EXPECT_NE(std::string::npos, result.err.find("No space left on device")) << result.err;
}

TEST_F(QxsqlTool, LockedDatabase) {
    MakeShop();
    sqlite3* other = nullptr;
    ASSERT_EQ(SQLITE_OK, sqlite3_open(directory.File("shop.db").c_str(), &other));
    ASSERT_EQ(SQLITE_OK, sqlite3_exec(other, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr));
    const ToolResult result = Qxsql({Database(), "SELECT * FROM customer"});
    EXPECT_EQ(1, result.exitCode);
    EXPECT_NE(std::string::npos, result.err.find("database is locked")) << result.err;
    sqlite3_close(other);
}

TEST_F(QxsqlTool, ValueThatDoesNotFitItsColumn) {
    const ToolResult result = Qxsql(
        {"sqlite::memory:", "CREATE TABLE t (a INT); INSERT INTO t VALUES (1), ('x y z'); SELECT a FROM t"});
    EXPECT_EQ(1, result.exitCode);
    EXPECT_EQ("a\r\n1\r\n", result.out.substr(0, 6));
    EXPECT_NE(std::string::npos, result.err.find("x y z")) << result.err;
    const ToolResult text =
        Qxsql({"sqlite::memory:", "--as-strings",
               "CREATE TABLE t (a INT); INSERT INTO t VALUES (1), ('x y z'); SELECT a FROM t"});
    EXPECT_EQ(0, text.exitCode) << text.err;
    EXPECT_EQ("a\r\n1\r\nx y z\r\n", text.out);
}

TEST_F(QxsqlTool, ExportFormatsAndOptions) {
    const std::string sql =
        "SELECT 1 AS id, 'a,\"b\"' AS t UNION ALL SELECT 2, 'x|y' UNION ALL SELECT 3, NULL";
    const struct {
        const char* file;
        Words options;
        const char* text;
    } cases[] = {
        {"a.csv", {}, "id,t\r\n1,\"a,\"\"b\"\"\"\r\n2,x|y\r\n3,\r\n"},
        {"a.psv", {}, "id|t\r\n1|a,\"b\"\r\n2|\"x|y\"\r\n3|\r\n"},
        {"a.txt", {}, "id\tt\r\n1\ta,\"b\"\r\n2\tx|y\r\n3\t\r\n"},
        {"b.txt", {"--format", "comma"}, "id,t\r\n1,\"a,\"\"b\"\"\"\r\n2,x|y\r\n3,\r\n"},
        {"c.txt", {"--format", "delimited"}, "id,t\r\n1,a,\"b\"\r\n2,x|y\r\n3,\r\n"},
        {"d.txt", {"--delimiter", ";"}, "id;t\r\n1;a,\"b\"\r\n2;x|y\r\n3;\r\n"},
        {"e.csv", {"--no-headers"}, "1,\"a,\"\"b\"\"\"\r\n2,x|y\r\n3,\r\n"},
        {"f.csv", {"--no-quoting"}, "id,t\r\n1,a \"b\"\r\n2,x|y\r\n3,\r\n"},
        {"g.csv", {"--columns", "1,0,7"}, "t,id\r\n\"a,\"\"b\"\"\",1\r\nx|y,2\r\n,3\r\n"},
        {"h.csv", {"--sort", "id:desc"}, "id,t\r\n3,\r\n2,x|y\r\n1,\"a,\"\"b\"\"\"\r\n"},
        {"i.csv", {"--sort", "1"}, "id,t\r\n3,\r\n1,\"a,\"\"b\"\"\"\r\n2,x|y\r\n"},
        {"j.csv", {"--max-rows", "1"}, "id,t\r\n1,\"a,\"\"b\"\"\"\r\n"},
    };
    for (const auto& one : cases) {
        Words arguments{"sqlite::memory:", sql, "--quiet", "-o", directory.File(one.file)};
        arguments.insert(arguments.end(), one.options.begin(), one.options.end());
        const ToolResult result = Qxsql(arguments);
        EXPECT_EQ(0, result.exitCode) << result.err;
        EXPECT_EQ("", result.out + result.err);
        EXPECT_EQ(one.text, ReadFile(directory.File(one.file))) << one.file;
    }
}

TEST_F(QxsqlTool, TabsInValues) {
    const std::string sql = "SELECT 'a' || char(9) || 'b' AS t";
    EXPECT_EQ("t\r\na    b\r\n", Qxsql({"sqlite::memory:", sql}).out);
    EXPECT_EQ("t\r\na\tb\r\n", Qxsql({"sqlite::memory:", sql, "--keep-tabs", "--format", "comma"}).out);
}

TEST_F(QxsqlTool, LimitsHoldWithoutAndWithOptions) {
    const std::string sql =
        "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 100) SELECT i FROM n";
    const ToolResult limited = Qxsql({"sqlite::memory:", sql, "--max-rows", "2"});
    EXPECT_EQ("i\r\n1\r\n2\r\n", limited.out);
    EXPECT_EQ("Stopped at 2 rows (--max-rows)\n", limited.err);
    EXPECT_EQ("", Qxsql({"sqlite::memory:", sql, "--max-rows", "101"}).err);
    EXPECT_EQ(
        "i\r\n1\r\n2\r\n",
        Qxsql({"sqlite::memory:", sql, "--max-rows", "2", "--max-errors", "1", "--option", "50385=off"}).out);
}

TEST_F(QxsqlTool, ReadsADelimitedFileBack) {
    MakeShop();
    const std::string csv = directory.File("c.csv");
    ASSERT_EQ(0, Qxsql({Database(), "SELECT id, name, email FROM customer", "-o", csv}).exitCode);
    const ToolResult all = Qxsql({"--read", csv, "--format", "comma", "-o", directory.File("again.csv")});
    EXPECT_EQ(0, all.exitCode) << all.err;
    EXPECT_EQ(ReadFile(csv), ReadFile(directory.File("again.csv")));
    const ToolResult sorted = Qxsql({"--read", csv, "--sort", "name", "--columns", "1"});
    EXPECT_EQ(0, sorted.exitCode) << sorted.err;
    EXPECT_EQ(0U, sorted.out.find("name\r\nŁukasz Żółć\r\nΕλένη Παπαδοπούλου\r\n山田 太郎\r\n"
                                  "Café \"Le Zinc\"\r\nfile9\r\nfile10\r\nO'Neill & Sons\r\nZoë Müller\r\n"))
        << sorted.out;
    const ToolResult empty = Qxsql({"--read", "/dev/null"});
    EXPECT_EQ(0, empty.exitCode) << empty.err;
    EXPECT_EQ("", empty.out);
}

TEST_F(QxsqlTool, TableOnATerminal) {
    const Words command{QXSQL_PATH, "sqlite::memory:",
                        "SELECT 1 AS n, 'Müller' AS name, NULL AS empty UNION ALL SELECT 1000, '日本', 'x'"};
    const ToolResult result = RunOnTerminal(command, 80);
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ(
        "   n  name    empty\n"
        "----  ------  ------\n"
        "   1  Müller  [NULL]\n"
        "1000  日本    x\n"
        "(2 rows)\n",
        result.out);
}

TEST_F(QxsqlTool, WideTextIsCutAtTheScreen) {
    const Words command{QXSQL_PATH, "--quiet", "sqlite::memory:",
                        "SELECT 'short' AS a, 'a long text that does not fit the screen at all' AS b"};
    const ToolResult result = RunOnTerminal(command, 30);
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ(
        "a      b\n"
        "-----  -----------------------\n"
        "short  a long text that does …\n",
        result.out);
}

TEST_F(QxsqlTool, ManyRowsOnATerminal) {
    const Words command{QXSQL_PATH, "sqlite::memory:",
                        "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 30000) "
                        "SELECT i FROM n"};
    const ToolResult result = RunOnTerminal(command, 80);
    EXPECT_EQ(0, result.exitCode);
    // Wider than any row of the sample that decides the widths, and yet whole: a number is never cut.
    EXPECT_NE(std::string::npos, result.out.find("29999\n30000\n(30,000 rows)\n"));
}

TEST_F(QxsqlTool, TimingTellsRowsAndMemory) {
    const ToolResult result = Qxsql({"sqlite::memory:", "--timing", "SELECT 1 AS a"});
    for (const char* word : {"First row", "Rows          1\n", "Fetched in", "Total", "Peak memory"})
        EXPECT_NE(std::string::npos, result.err.find(word)) << word << "\n" << result.err;
}

TEST_F(QxsqlTool, UnicodeAndExactValues) {
    MakeShop();
    const ToolResult result = Qxsql({Database(),
                                     "SELECT name, vat_rate FROM country WHERE code IN ('GR', 'US') "
                                     "ORDER BY code; SELECT name, price, picture FROM product "
                                     "WHERE sku = 'POT-001' OR sku = 'CUP-010' ORDER BY sku; "
                                     "SELECT placed, shipped FROM purchase WHERE id = 1002; "
                                     "SELECT born FROM customer WHERE id = 1"});
    EXPECT_EQ(0, result.exitCode) << result.err;
    EXPECT_EQ(
        "name\tvat_rate\r\nΕλλάδα\t24.00\r\nUnited States\t\r\n"
        "\r\nname\tprice\tpicture\r\nCup with handle\t12.00\tFFD8FFE0\r\nTeapot "
        "\"Grandmother\"\t1249.99\t\r\n"
        "\r\nplaced\tshipped\r\n2024-03-01 23:59:59.999\t2024-03-05 08:30:00.000\r\n"
        "\r\nborn\r\n1984-02-29\r\n",
        result.out);
}

// The engine thread may still be on its way out when the program ends; it must not meet what is gone.
TEST_F(QxsqlTool, EndsInOrderRightAfterARun) {
    for (int i = 0; i < 40; ++i) {
        const ToolResult result = Qxsql({"sqlite::memory:", "--quiet", "SELECT 1 AS a", "-o", "/dev/null"});
        ASSERT_EQ(0, result.exitCode);
        ASSERT_EQ("", result.err);
    }
}

TEST_F(QxsqlTool, InterruptEndsInOrderAndKeepsWhatHasArrived) {
    const std::string sql =
        "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) "
        "SELECT i, 'some text to fill pages ' || i FROM n";
    const ToolResult result =
        RunTool({"/usr/bin/timeout", "--foreground", "--preserve-status", "-s", "INT", "1", QXSQL_PATH,
                 "--quiet", "sqlite::memory:", sql, "-o", directory.File("out.csv"), "--columns", "0"},
                "", {{"TMPDIR", directory.Path()}});
    EXPECT_EQ(130, result.exitCode) << result.err;
    EXPECT_EQ("", result.err);
    const std::string out = ReadFile(directory.File("out.csv"));
    EXPECT_EQ("i\r\n1\r\n2\r\n3\r\n", out.substr(0, 12));
    std::filesystem::remove(directory.File("out.csv"));

    const ToolResult text = RunTool({"/usr/bin/timeout", "--foreground", "--preserve-status", "-s", "INT",
                                     "1", QXSQL_PATH, "--quiet", "sqlite::memory:", sql, "--columns", "0"},
                                    "", {{"TMPDIR", directory.Path()}});
    EXPECT_EQ(130, text.exitCode) << text.err;
    EXPECT_EQ("i\r\n1\r\n2\r\n3\r\n", text.out.substr(0, 12));
    EXPECT_TRUE(std::filesystem::is_empty(directory.Path()));
}

TEST_F(QxsqlTool, AReaderThatGoesAwayLeavesNoTemporaryFiles) {
    const std::string sql =
        "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 300000) "
        "SELECT i, 'some text to fill pages ' || i AS t FROM n";
    const ToolResult result = RunTool({"/bin/sh", "-c",
                                       std::string("{ ") + QXSQL_PATH + " sqlite::memory: \"" + sql +
                                           "\"; echo exit $? >&2; } | head -n 2"},
                                      "", {{"TMPDIR", directory.Path()}});
    EXPECT_EQ("i\tt\r\n1\tsome text to fill pages 1\r\n", result.out);
    EXPECT_EQ("exit 4\n", result.err);
    EXPECT_TRUE(std::filesystem::is_empty(directory.Path()));
}

TEST_F(QxsqlTool, LeavesNoTemporaryFiles) {
    const std::string sql =
        "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 300000) "
        "SELECT i, 'some text to fill pages ' || i FROM n";
    const ToolResult result = RunTool({QXSQL_PATH, "--quiet", "sqlite::memory:", sql, "-o", "/dev/null"}, "",
                                      {{"TMPDIR", directory.Path()}});
    EXPECT_EQ(0, result.exitCode) << result.err;
    EXPECT_TRUE(std::filesystem::is_empty(directory.Path()));
}

}  // namespace
}  // namespace qxtest
