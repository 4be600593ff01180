// How the qxsql binary comes by a password, and how it leaves the terminal. The server of qxsql_stuck takes
// every user.

#include <gtest/gtest.h>
#include <stdlib.h>

#include <csignal>
#include <string>

#include "tools/qxsql_fixture.h"
#include "tools/run_tool.h"

namespace qxtest {
namespace {

class QxsqlPassword : public QxsqlTool {
  protected:
    QxsqlPassword() { unsetenv("QXSQL_PASSWORD"); }

    // A connection that fails once there is a password.
    Words Command() const { return {QXSQL_PATH, "odbc:no such source", "--user", "me", "SELECT 1"}; }
};

TEST_F(QxsqlPassword, TypedUnseen) {
    TerminalTool tool(Command());
    ASSERT_TRUE(tool.WaitFor("Password of me: "));
    EXPECT_FALSE(tool.Echoes());
    tool.Type("secret\n");
    const ToolResult result = tool.Finish();
    EXPECT_EQ(3, result.exitCode);
    EXPECT_TRUE(tool.Echoes());
    EXPECT_EQ(0U, result.out.find("Password of me: \nError ")) << result.out;
    EXPECT_EQ(std::string::npos, result.out.find("secret")) << result.out;
}

TEST_F(QxsqlPassword, NotAskedForWithoutAUser) {
    TerminalTool tool({QXSQL_PATH, "odbc:no such source", "SELECT 1"});
    const ToolResult result = tool.Finish();
    EXPECT_EQ(3, result.exitCode);
    EXPECT_EQ(0U, result.out.find("Error ")) << result.out;
}

TEST_F(QxsqlPassword, NotAskedForWithTheVariable) {
    for (const char* value : {"secret", ""}) {
        TerminalTool tool(Command(), {{"QXSQL_PASSWORD", value}});
        const ToolResult result = tool.Finish();
        EXPECT_EQ(3, result.exitCode);
        EXPECT_EQ(0U, result.out.find("Error ")) << result.out;
        EXPECT_EQ(std::string::npos, result.out.find("secret")) << result.out;
    }
}

// Standard input is the script then; the terminal is asked all the same. Without one nobody is.
TEST_F(QxsqlPassword, WhereverTheScriptComesFrom) {
    TerminalTool tool({"/bin/sh", "-c",
                       std::string("echo 'SELECT 1;' | ") + QXSQL_PATH + " 'odbc:no such source' --user me"});
    ASSERT_TRUE(tool.WaitFor("Password of me: "));
    tool.Type("secret\n");
    EXPECT_EQ(3, tool.Finish().exitCode);

    const ToolResult nobody =
        RunTool({"/usr/bin/setsid", "--wait", QXSQL_PATH, "odbc:no such source", "--user", "me", "SELECT 1"});
    EXPECT_EQ(3, nobody.exitCode);
    EXPECT_EQ(0U, nobody.err.find("Error ")) << nobody.err;
}

TEST_F(QxsqlPassword, InterruptedByCtrlC) {
    TerminalTool tool(Command());
    ASSERT_TRUE(tool.WaitFor("Password of me: "));
    tool.Type("sec\x03");
    const ToolResult result = tool.Finish();
    EXPECT_EQ(130, result.exitCode);
    EXPECT_FALSE(result.signalled);
    EXPECT_TRUE(tool.Echoes());
    EXPECT_EQ(std::string::npos, result.out.find("sec")) << result.out;
    EXPECT_NE(std::string::npos, result.out.find("\nInterrupted\n")) << result.out;
}

TEST_F(QxsqlPassword, EndedByCtrlD) {
    TerminalTool tool(Command());
    ASSERT_TRUE(tool.WaitFor("Password of me: "));
    tool.Type("\x04");
    const ToolResult result = tool.Finish();
    EXPECT_EQ(130, result.exitCode);
    EXPECT_TRUE(tool.Echoes());
    EXPECT_NE(std::string::npos, result.out.find("\nNo password was given\n")) << result.out;
}

TEST_F(QxsqlPassword, SignalsEndTheProcessWithTheTerminalAsItWas) {
    for (const int number : {SIGTERM, SIGHUP}) {
        TerminalTool tool(Command());
        ASSERT_TRUE(tool.WaitFor("Password of me: "));
        EXPECT_FALSE(tool.Echoes());
        tool.Signal(number);
        const ToolResult result = tool.Finish();
        EXPECT_TRUE(result.signalled) << number;
        EXPECT_EQ(128 + number, result.exitCode);
        EXPECT_TRUE(tool.Echoes()) << number;
    }
}

TEST_F(QxsqlPassword, StoppedAndAskedAgain) {
    TerminalTool tool(Command());
    ASSERT_TRUE(tool.WaitFor("Password of me: "));
    // Not as a key: the terminal's own stop is without effect where no shell waits for it.
    tool.Signal(SIGSTOP);
    ASSERT_TRUE(tool.WaitForStop());
    tool.Signal(SIGCONT);
    // What a shell's Ctrl-Z sends. Nobody could continue this process, so that it is not stopped, and asks.
    tool.Signal(SIGTSTP);
    ASSERT_TRUE(tool.WaitFor("Password of me: \nPassword of me: "));
    EXPECT_FALSE(tool.Echoes());
    tool.Type("secret\n");
    EXPECT_EQ(3, tool.Finish().exitCode);
    EXPECT_TRUE(tool.Echoes());
}

}  // namespace
}  // namespace qxtest
