// Scripts run by the qxsql binary.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <string>

#include "tools/qxsql_fixture.h"
#include "tools/run_tool.h"

namespace qxtest {
namespace {

using namespace std::string_literals;

// A summary without its time.
std::string WithoutTime(const std::string& text) {
    const std::string::size_type end = text.rfind(". ", text.size());
    const std::string::size_type time = end == std::string::npos ? end : text.find_last_of('.', end);
    return time == std::string::npos ? text : text.substr(0, time + 1);
}

std::string Summary(int run, int failed, int skipped, int fetched, int affected) {
    return "Items run: " + std::to_string(run) + ", failed: " + std::to_string(failed) +
           ", skipped: " + std::to_string(skipped) + ". Rows fetched: " + std::to_string(fetched) +
           ", affected: " + std::to_string(affected) + ". ";
}

// The part of the messages that comes before the summary.
std::string BeforeSummary(const std::string& text) {
    return text.substr(0, text.find("Items run: "));
}

class QxsqlScript : public QxsqlTool {
  protected:
    ToolResult Run(const std::string& text, Words options = {}) {
        options.insert(options.begin(), {"sqlite::memory:", "-f", Script(text)});
        return Qxsql(options);
    }
    // Where messages place a line of the script.
    std::string At(int line) const {
        return directory.File("script.sql") + ":" + std::to_string(line) + ": ";
    }
};

TEST_F(QxsqlScript, ResultsOfAllItemsInTheirOrder) {
    const ToolResult result =
        Run("CREATE TABLE t (a INT);\n"
            "INSERT INTO t VALUES (1), (2);\n"
            "SELECT a FROM t;\n"
            "UPDATE t SET a = a + 10;\n"
            "SELECT max(a) AS m FROM t\n");
    EXPECT_EQ(0, result.exitCode) << result.err;
    EXPECT_EQ("a\r\n1\r\n2\r\n\r\nm\r\n12\r\n", result.out);
    EXPECT_EQ(0U, result.err.find(Summary(5, 0, 0, 3, 4))) << result.err;
}

TEST_F(QxsqlScript, ExportHoldsAllResults) {
    const std::string csv = directory.File("out.csv");
    EXPECT_EQ(0, Run("SELECT 1 AS a; SELECT 'x' AS b, 2 AS c;", {"-o", csv}).exitCode);
    EXPECT_EQ("a\r\n1\r\n\r\nb,c\r\nx,2\r\n", ReadFile(csv));
    EXPECT_EQ(0, Run("SELECT 1 AS a; SELECT 'x' AS b, 2 AS c;", {"-o", csv, "--result", "1"}).exitCode);
    EXPECT_EQ("b,c\r\nx,2\r\n", ReadFile(csv));
}

TEST_F(QxsqlScript, ErrorsNameFileAndLine) {
    const ToolResult result =
        Run("-- a comment\n"
            "SELECT 1 AS a;\n"
            "\n"
            "SELECT 2 AS b\n"
            "  FROM nowhere;\n"
            "SELECT 3\n"
            "  FORM x;\n"
            "SELECT 4 AS d;\n");
    EXPECT_EQ(1, result.exitCode);
    EXPECT_EQ("a\r\n1\r\n\r\nd\r\n4\r\n", result.out);
    const std::string errors = BeforeSummary(result.err);
    EXPECT_EQ(0U, errors.find(At(4) + "Error 1 [42S02] at position 1: no such table: nowhere\n")) << errors;
    EXPECT_NE(std::string::npos,
              errors.find("\n" + At(7) + "Error 1 [42000] at position 17: near \"x\": syntax error\n"))
        << errors;
    EXPECT_EQ(Summary(4, 2, 0, 2, 0), WithoutTime(result.err.substr(errors.size())) + " ") << result.err;
}

TEST_F(QxsqlScript, MaxErrorsEndsTheRun) {
    const std::string text = "SELECT * FROM a;\nSELECT * FROM b;\nSELECT 3 AS c;\nSELECT * FROM d;\n";
    const ToolResult all = Run(text);
    EXPECT_EQ(1, all.exitCode);
    EXPECT_EQ("c\r\n3\r\n", all.out);
    EXPECT_NE(std::string::npos, all.err.find(Summary(4, 3, 0, 1, 0))) << all.err;

    const ToolResult first = Run(text, {"--max-errors", "1"});
    EXPECT_EQ(1, first.exitCode);
    EXPECT_EQ("", first.out);
    EXPECT_NE(std::string::npos,
              first.err.find("\n" + At(1) + "--max-errors 1 reached, nothing behind this item was run\n"))
        << first.err;
    EXPECT_NE(std::string::npos, first.err.find(Summary(1, 1, 0, 0, 0))) << first.err;

    const ToolResult two = Run(text, {"--max-errors", "2"});
    EXPECT_EQ(1, two.exitCode);
    EXPECT_EQ("", two.out);
    EXPECT_NE(std::string::npos, two.err.find(At(2) + "--max-errors 2 reached")) << two.err;

    const ToolResult four = Run(text, {"--max-errors", "4"});
    EXPECT_EQ("c\r\n3\r\n", four.out);
    EXPECT_EQ(std::string::npos, four.err.find("--max-errors")) << four.err;
}

TEST_F(QxsqlScript, RowCountsOfItemsAreToldWithVerbose) {
    const std::string text = "CREATE TABLE t (a INT);\nINSERT INTO t VALUES (1), (2);\nDELETE FROM t;\n";
    EXPECT_EQ("", BeforeSummary(Run(text).err));
    EXPECT_EQ(At(1) + "The command completed with no results returned\n" + At(2) + "2 row(s) affected.\n" +
                  At(3) + "2 row(s) affected.\n",
              BeforeSummary(Run(text, {"--verbose"}).err));
    EXPECT_EQ("", Run(text, {"--quiet"}).err);
}

TEST_F(QxsqlScript, SkippedItemsAreCounted) {
    const ToolResult result =
        Run(".mode csv\n"
            "SELECT 1 AS a;\n"
            "/* nothing */;\n"
            "SELECT 2 AS b;\n");
    EXPECT_EQ(0, result.exitCode) << result.err;
    EXPECT_EQ("a\r\n1\r\n\r\nb\r\n2\r\n", result.out);
    EXPECT_EQ(0U, result.err.find(Summary(2, 0, 2, 2, 0))) << result.err;
    const ToolResult verbose = Run(".mode csv\nSELECT 1 AS a;\n", {"--verbose"});
    EXPECT_EQ(At(1) + "skipped, nothing for the server\n", BeforeSummary(verbose.err));
}

TEST_F(QxsqlScript, ScriptsWithNothingToRun) {
    for (const char* text : {"", "\n\n", "-- a comment\n", "/* a\ncomment */\n", ";;\n"}) {
        const ToolResult result = Run(text);
        EXPECT_EQ(0, result.exitCode) << text << result.err;
        EXPECT_EQ("", result.out) << text;
        EXPECT_EQ(0U, result.err.find("Items run: 0, failed: 0, skipped: ")) << text << result.err;
    }
    EXPECT_EQ(0, Qxsql({"sqlite::memory:"}, "").exitCode);
    EXPECT_EQ(0, Qxsql({"sqlite::memory:", "-f", "/dev/null"}).exitCode);
}

TEST_F(QxsqlScript, TriggersAndQuotesStayWhole) {
    const ToolResult result =
        Run("CREATE TABLE t (a TEXT);\n"
            "CREATE TABLE log (line TEXT);\n"
            "CREATE TRIGGER tr AFTER INSERT ON t BEGIN\n"
            "  INSERT INTO log VALUES ('new; ' || NEW.a);\n"
            "  INSERT INTO log VALUES ('done');\n"
            "END;\n"
            "INSERT INTO t VALUES ('it''s; -- no comment');\n"
            "SELECT line FROM log;\n");
    EXPECT_EQ(0, result.exitCode) << result.err;
    EXPECT_EQ("line\r\nnew; it's; -- no comment\r\ndone\r\n", result.out);
}

TEST_F(QxsqlScript, SeparatorOfTheUser) {
    const ToolResult result = Run("SELECT 1 AS a\nGO\nSELECT 2 AS b\ngo\n", {"--separator", "go"});
    EXPECT_EQ(0, result.exitCode) << result.err;
    EXPECT_EQ("a\r\n1\r\n\r\nb\r\n2\r\n", result.out);
}

TEST_F(QxsqlScript, EncodingsOfScripts) {
    const std::string expected = "a\r\nMüller €\r\n";
    EXPECT_EQ(expected, Run("SELECT 'Müller €' AS a;\n").out);
    EXPECT_EQ(expected, Run("\xEF\xBB\xBFSELECT 'Müller €' AS a;\n").out);
    std::string little = "\xFF\xFE";
    std::string big = "\xFE\xFF";
    for (const char16_t unit : std::u16string(u"SELECT 'Müller €' AS a;\n")) {
        const auto low = static_cast<char>(unit & 0xFF);
        const auto high = static_cast<char>(unit >> 8U);
        little += {low, high};
        big += {high, low};
    }
    EXPECT_EQ(expected, Run(little).out);
    EXPECT_EQ(expected, Run(big).out);
}

TEST_F(QxsqlScript, LineEndsOfAllSystems) {
    for (const char* lineEnd : {"\n", "\r\n", "\r"}) {
        const std::string end = lineEnd;
        const ToolResult result =
            Run("SELECT 1 AS a;" + end + end + "SELECT 2" + end + "FROM nowhere;" + end);
        EXPECT_EQ(1, result.exitCode);
        EXPECT_EQ("a\r\n1\r\n", result.out);
        EXPECT_EQ(0U, result.err.find(At(3))) << result.err;
    }
}

TEST_F(QxsqlScript, StandardInput) {
    const std::string text = "SELECT 1 AS a;\nSELECT 2 FROM nowhere;\nSELECT 3 AS c;\n";
    for (const Words& words : {Words{"sqlite::memory:"}, Words{"sqlite::memory:", "-f", "-"}}) {
        const ToolResult result = Qxsql(words, text);
        EXPECT_EQ(1, result.exitCode);
        EXPECT_EQ("a\r\n1\r\n\r\nc\r\n3\r\n", result.out);
        EXPECT_EQ(0U, result.err.find("standard input:2: Error 1 ")) << result.err;
        EXPECT_NE(std::string::npos, result.err.find(Summary(3, 1, 0, 2, 0))) << result.err;
    }
    // From a file on disk it need not be copied; from its middle it must be.
    const std::string file = Script(text);
    const auto shell = [&](const std::string& command) {
        return RunTool({"/bin/sh", "-c", command}, "", {{"TOOL", QXSQL_PATH}, {"SCRIPT", file}});
    };
    EXPECT_EQ("a\r\n1\r\n\r\nc\r\n3\r\n", shell("\"$TOOL\" sqlite::memory: < \"$SCRIPT\"").out);
    EXPECT_EQ("c\r\n3\r\n", shell("{ read line; \"$TOOL\" sqlite::memory:; } < \"$SCRIPT\"").out);
    EXPECT_EQ("a\r\n1\r\n\r\nc\r\n3\r\n", shell("cat \"$SCRIPT\" | \"$TOOL\" sqlite::memory:").out);
}

TEST_F(QxsqlScript, NothingStaysBehindOfStandardInput) {
    const TemporaryDirectory temporary;
    std::string text;
    for (int i = 0; i < 20000; ++i)
        text += "SELECT " + std::to_string(i) + ", 'some text that fills the pages of the store' AS a;\n";
    const ToolResult result = RunTool({QXSQL_PATH, "--quiet", "sqlite::memory:", "-o", "/dev/null"}, text,
                                      {{"TMPDIR", temporary.Path()}});
    EXPECT_EQ(0, result.exitCode) << result.err;
    EXPECT_TRUE(std::filesystem::is_empty(temporary.Path()));
}

TEST_F(QxsqlScript, ScriptsThatCannotBeRead) {
    const std::string missing = directory.File("missing.sql");
    const ToolResult none = Qxsql({"sqlite::memory:", "-f", missing});
    EXPECT_EQ(4, none.exitCode);
    EXPECT_EQ("Cannot read " + missing + ": No such file or directory\n", none.err);
    const ToolResult folder = Qxsql({"sqlite::memory:", "-f", directory.Path()});
    EXPECT_EQ(4, folder.exitCode);
    EXPECT_EQ("Cannot read " + directory.Path() + ": Is a directory\n", folder.err);
}

// The items in front of the place run; the end of the script does not pass for its end.
TEST_F(QxsqlScript, BinaryFilesEndTheRunWithTheirPlace) {
    const ToolResult result = Run("SELECT 1 AS a;\nSELECT '\0\0\x01' AS b;\nSELECT 3 AS c;\n"s);
    EXPECT_EQ(4, result.exitCode);
    EXPECT_EQ("a\r\n1\r\n", result.out);
    EXPECT_EQ(directory.File("script.sql") +
                  ": the script was not read to its end: The script is not text: the byte at offset 23, in "
                  "line 2, is zero.\n",
              BeforeSummary(result.err));
    EXPECT_NE(std::string::npos, result.err.find(Summary(1, 0, 0, 1, 0))) << result.err;
}

// What was read by then runs, and its end does not pass for the script's.
TEST_F(QxsqlScript, FilesThatAreCutWhileTheyAreRead) {
    std::string text = "SELECT * FROM first;\n";
    for (int i = 0; i < 2000000; ++i)
        text += "/* a comment that is skipped */;\n";
    const std::string file = Script(text);
    RunningTool tool({QXSQL_PATH, "sqlite::memory:", "-f", file});
    ASSERT_TRUE(tool.WaitForError(":1: Error"));
    std::filesystem::resize_file(file, 100);
    const ToolResult result = tool.Finish();
    EXPECT_EQ(4, result.exitCode) << result.err;
    EXPECT_NE(std::string::npos,
              result.err.find("\n" + file +
                              ": the script was not read to its end: The file was cut while it was "
                              "read.\nItems run: 1, failed: 1, "))
        << result.err;
}

// A file without a name any more is read to its end.
TEST_F(QxsqlScript, FilesThatAreDeletedWhileTheyAreRead) {
    std::string text = "SELECT * FROM first;\n";
    for (int i = 0; i < 20000; ++i)
        text += "/* a comment that is skipped */;\n";
    const std::string file = Script(text + "SELECT 'last' AS a;\n");
    RunningTool tool({QXSQL_PATH, "sqlite::memory:", "-f", file});
    ASSERT_TRUE(tool.WaitForError(":1: Error"));
    std::filesystem::remove(file);
    const ToolResult result = tool.Finish();
    EXPECT_EQ(1, result.exitCode) << result.err;
    EXPECT_EQ("a\r\nlast\r\n", result.out);
}

TEST_F(QxsqlScript, FilesThatMayNotBeRead) {
    const std::string file = Script("SELECT 1;\n");
    std::filesystem::permissions(file, std::filesystem::perms::none);
    if (access(file.c_str(), R_OK) == 0)
        GTEST_SKIP() << "this user may read everything";
    const ToolResult result = Qxsql({"sqlite::memory:", "-f", file});
    EXPECT_EQ(4, result.exitCode);
    EXPECT_EQ("Cannot read " + file + ": Permission denied\n", result.err);
}

TEST_F(QxsqlScript, StandardStreamsThatAreClosed) {
    const auto shell = [&](const std::string& command) {
        return RunTool({"/bin/sh", "-c", command}, "", {{"TOOL", QXSQL_PATH}});
    };
    const ToolResult in = shell("\"$TOOL\" sqlite::memory: <&-");
    EXPECT_EQ(4, in.exitCode);
    EXPECT_EQ("Cannot read standard input: Bad file descriptor\n", in.err);
    EXPECT_EQ(4, shell("\"$TOOL\" sqlite::memory: 'SELECT 1' >&-").exitCode);
    EXPECT_EQ(1, shell("\"$TOOL\" sqlite::memory: 'SELECT x' 2>&-").exitCode);
}

TEST_F(QxsqlScript, QuotesAndBlocksThatNeverEnd) {
    const struct {
        const char* text;
        int exitCode;
    } cases[] = {{"SELECT 1 AS a;\nSELECT 'open;\nSELECT 2;\n", 1},
                 {"SELECT 1 AS a;\nSELECT \"open;\nSELECT 2;\n", 1},
                 {"SELECT 1 AS a;\nCREATE TRIGGER t AFTER INSERT ON x BEGIN SELECT 1;\n", 1},
                 {"SELECT 1 AS a;\n/* open\nSELECT 2;\n", 0}};
    for (const auto& one : cases) {
        const ToolResult result = Run(one.text);
        EXPECT_EQ(one.exitCode, result.exitCode) << one.text << result.err;
        EXPECT_EQ("a\r\n1\r\n", result.out) << one.text;
        EXPECT_EQ(one.exitCode != 0, result.err.find(At(2)) == 0) << result.err;
    }
}

TEST_F(QxsqlScript, PipesCanBeScripts) {
    const std::string pipe = directory.File("pipe");
    ASSERT_EQ(0, mkfifo(pipe.c_str(), 0600));
    std::thread writer([&] { WriteFile(pipe, "SELECT 1 AS a;\nSELECT 2 AS b;\n"); });
    const ToolResult result = Qxsql({"sqlite::memory:", "-f", pipe});
    writer.join();
    EXPECT_EQ(0, result.exitCode) << result.err;
    EXPECT_EQ("a\r\n1\r\n\r\nb\r\n2\r\n", result.out);
}

TEST_F(QxsqlScript, DataCopiesSayThatThereIsNoLibraryForThem) {
    const ToolResult result = Run("SELECT 1 AS a;\nDATACOPY t FROM x;\nSELECT 2 AS b;\n");
    EXPECT_EQ(1, result.exitCode);
    EXPECT_EQ("a\r\n1\r\n\r\nb\r\n2\r\n", result.out);
    EXPECT_EQ(At(2) + "Error: Data copy is not possible: no data-operations library is registered.\n",
              BeforeSummary(result.err));
    EXPECT_NE(std::string::npos, result.err.find(Summary(3, 1, 0, 2, 0))) << result.err;
}

// The statement "rows" of qxsql_stuck takes as long as it may.
TEST_F(QxsqlScript, ProgressTellsItemsAndBytes) {
    const std::string file = Script("/* 1 */;\n/* 2 */;\nrows;\n");
    const Words command{QXSQL_STUCK_PATH, "stuck:", "-f", file, "--timeout", "1", "-o", "/dev/null"};
    const ToolResult quiet = RunTool(command);
    EXPECT_EQ(0U, quiet.err.find("Timed out")) << quiet.err;
    Words progress = command;
    progress.push_back("--progress");
    const ToolResult told = RunTool(progress);
    EXPECT_EQ(0U, told.err.find("2 items, 17 of 24 bytes (70 %)\nTimed out")) << told.err;
}

TEST_F(QxsqlScript, ProgressOnATerminal) {
    const std::string file = Script("/* 1 */;\n/* 2 */;\nrows;\n");
    const Words command{QXSQL_STUCK_PATH, "stuck:", "-f", file, "--timeout", "1", "-o", "/dev/null"};
    const ToolResult result = RunOnTerminal(command, 80);
    EXPECT_EQ(6, result.exitCode);
    const std::string::size_type shown = result.out.find("2 items, 17 of 24 bytes (70 %)\x1b[K");
    ASSERT_NE(std::string::npos, shown) << result.out;
    // Gone before anything else is written.
    for (const char* text : {"Timed out after 1 s", "Items run: "}) {
        const std::string::size_type told = result.out.find(text);
        ASSERT_NE(std::string::npos, told) << result.out;
        const std::string before = result.out.substr(0, told);
        EXPECT_GT(before.size(), before.rfind("\x1b[K")) << text;
        EXPECT_EQ(std::string::npos, before.substr(before.rfind("\x1b[K")).find("items")) << text;
    }
}

TEST_F(QxsqlScript, TimingGoesWithTheSummary) {
    const ToolResult result = Run("SELECT 1 AS a;\n", {"--timing"});
    EXPECT_NE(std::string::npos, result.err.find(Summary(1, 0, 0, 1, 0))) << result.err;
    EXPECT_NE(std::string::npos, result.err.find("Total  ")) << result.err;
}

TEST_F(QxsqlScript, ManyItems) {
    std::string text = "CREATE TABLE t (a INT);\nBEGIN;\n";
    for (int i = 0; i < 20000; ++i)
        text += "INSERT INTO t VALUES (" + std::to_string(i) + ");\n";
    text += "COMMIT;\nSELECT count(*) AS n, sum(a) AS s FROM t;\nSELECT nothing;\n";
    const ToolResult result = Run(text);
    EXPECT_EQ(1, result.exitCode);
    EXPECT_EQ("n\ts\r\n20000\t199990000\r\n", result.out);
    EXPECT_EQ(0U, result.err.find(At(20005))) << result.err;
    EXPECT_NE(
        std::string::npos,
        result.err.find("Items run: 20,005, failed: 1, skipped: 0. Rows fetched: 1, affected: 20,000. "))
        << result.err;
}

}  // namespace
}  // namespace qxtest
