// How runs of the qxsql binary are stopped: by time, by Ctrl-C, and with a server that does not answer.

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <map>
#include <string>

#include "tools/qxsql_fixture.h"
#include "tools/run_tool.h"

namespace qxtest {
namespace {

using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

class QxsqlStop : public QxsqlTool {
  protected:
    std::map<std::string, std::string> Environment() const { return {{"TMPDIR", temporary.Path()}}; }
    // Nothing may stay behind of what spilled.
    void ExpectNoTemporaryFiles() const { EXPECT_TRUE(std::filesystem::is_empty(temporary.Path())); }
    TemporaryDirectory temporary;
};

TEST_F(QxsqlStop, TimeoutEndsASearchWithoutAnEnd) {
    const Clock::time_point start = Clock::now();
    const ToolResult result = Qxsql({"sqlite::memory:", EndlessSearch(), "--timeout", "0.5"});
    EXPECT_EQ(5, result.exitCode);
    EXPECT_EQ("Timed out after 0.5 s (--timeout)\n", result.err);
    EXPECT_GE(SecondsSince(start), 0.5);
    EXPECT_LT(SecondsSince(start), 2.0);
}

TEST_F(QxsqlStop, TimeoutKeepsWhatHasArrived) {
    const ToolResult shown =
        RunTool({QXSQL_PATH, "sqlite::memory:", EndlessQuery(), "--timeout", "0.5"}, "", Environment());
    EXPECT_EQ(5, shown.exitCode);
    EXPECT_EQ("i\r\n1\r\n2\r\n", shown.out.substr(0, 9));
    EXPECT_EQ("\r\n", shown.out.substr(shown.out.size() - 2));
    const std::string csv = directory.File("out.csv");
    const ToolResult exported = RunTool(
        {QXSQL_PATH, "sqlite::memory:", EndlessQuery(), "--timeout", "0.5", "-o", csv}, "", Environment());
    EXPECT_EQ(5, exported.exitCode);
    EXPECT_EQ("i\r\n1\r\n2\r\n", ReadFile(csv).substr(0, 9));
    ExpectNoTemporaryFiles();
}

TEST_F(QxsqlStop, TimeoutEndsAScriptInTheMiddle) {
    const std::string text = "SELECT 1 AS a;\n" + EndlessSearch() + ";\nSELECT 3 AS c;\n";
    const ToolResult result = Qxsql({"sqlite::memory:", "-f", Script(text), "--timeout", "0.5"});
    EXPECT_EQ(5, result.exitCode);
    EXPECT_EQ("a\r\n1\r\n", result.out.substr(0, 6));
    EXPECT_EQ(std::string::npos, result.out.find("c\r\n")) << result.out;
    EXPECT_EQ(0U, result.err.find("Timed out after 0.5 s (--timeout)\nItems run: 2, failed: 0, "))
        << result.err;
}

TEST_F(QxsqlStop, TimeoutThatIsNotReached) {
    const ToolResult result = Qxsql({"sqlite::memory:", "SELECT 1 AS a", "--timeout", "30"});
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("a\r\n1\r\n", result.out);
    EXPECT_EQ("", result.err);
}

TEST_F(QxsqlStop, InterruptEndsAScriptInTheMiddle) {
    const std::string text = "SELECT 'first' AS a;\n" + EndlessSearch() + ";\nSELECT 3 AS c;\n";
    RunningTool tool({QXSQL_PATH, "sqlite::memory:", "-f", Script(text)}, Environment());
    ASSERT_TRUE(tool.WaitForOutput("first"));
    const Clock::time_point start = Clock::now();
    tool.Signal(SIGINT);
    const ToolResult result = tool.Finish();
    EXPECT_LT(SecondsSince(start), 2.0);
    EXPECT_EQ(130, result.exitCode);
    EXPECT_FALSE(result.signalled);
    EXPECT_EQ("a\r\nfirst\r\n", result.out.substr(0, 10));
    EXPECT_EQ(std::string::npos, result.out.find("c\r\n")) << result.out;
    // The second item may not have been sent yet.
    EXPECT_EQ(0U, result.err.find("Items run: ")) << result.err;
    EXPECT_NE(std::string::npos, result.err.find(", failed: 0, ")) << result.err;
    EXPECT_NE(std::string::npos, result.err.find(". Rows fetched: 1, ")) << result.err;
    ExpectNoTemporaryFiles();
}

// The server of qxsql_stuck gives 20,000 rows and never comes back, also not from a cancel.
TEST_F(QxsqlStop, ServerThatNeverAnswersIsGivenUp) {
    const std::string csv = directory.File("out.csv");
    const Clock::time_point start = Clock::now();
    const ToolResult result =
        RunTool({QXSQL_STUCK_PATH, "stuck:", "rows", "--timeout", "0.2", "-o", csv}, "", Environment());
    EXPECT_EQ(6, result.exitCode);
    EXPECT_EQ(
        "Timed out after 0.2 s (--timeout)\n"
        "Error: Datasource has not responded to the cancel request. Connection has been discarded.\n",
        result.err);
    EXPECT_LT(SecondsSince(start), 20.0);
    const std::string exported = ReadFile(csv);
    EXPECT_EQ("id,t\r\n0,some text", exported.substr(0, 17));
    EXPECT_EQ(20001, std::count(exported.begin(), exported.end(), '\n'));
    ExpectNoTemporaryFiles();
}

TEST_F(QxsqlStop, ServerThatNeverAnswersInAScript) {
    const ToolResult result = RunTool({QXSQL_STUCK_PATH, "stuck:", "-f", Script("\nrows;\n"), "--timeout",
                                       "0.2", "--no-headers", "--columns", "0"},
                                      "", Environment());
    EXPECT_EQ(6, result.exitCode);
    EXPECT_EQ("0\r\n1\r\n", result.out.substr(0, 6));
    EXPECT_EQ(0U, result.err.find("Timed out after 0.2 s (--timeout)\n" + directory.File("script.sql") +
                                  ":2: Error: Datasource has not responded to the cancel request. Connection "
                                  "has been discarded.\nItems run: "))
        << result.err;
    ExpectNoTemporaryFiles();
}

TEST_F(QxsqlStop, SecondInterruptEndsTheProcessAtOnce) {
    std::map<std::string, std::string> environment = Environment();
    environment["QXSQL_STUCK_TALKS"] = "yes";
    environment["QXSQL_STUCK_PATIENCE"] = "yes";
    RunningTool tool({QXSQL_STUCK_PATH, "stuck:", "rows"}, environment);
    ASSERT_TRUE(tool.WaitForError("stuck\n"));
    tool.Signal(SIGINT);
    // The driver says when the cancel has reached it.
    ASSERT_TRUE(tool.WaitForError("cancel\n"));
    const Clock::time_point start = Clock::now();
    tool.Signal(SIGINT);
    const ToolResult result = tool.Finish();
    EXPECT_TRUE(result.signalled);
    EXPECT_EQ(128 + SIGINT, result.exitCode);
    EXPECT_LT(SecondsSince(start), 1.0);
}

}  // namespace
}  // namespace qxtest
