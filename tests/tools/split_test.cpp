// qxsql --split: the items of a script as JSON lines.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tools/qxsql_fixture.h"
#include "tools/run_tool.h"

namespace qxtest {
namespace {

using namespace std::string_literals;

// The line of an item, whose text is given as JSON has it.
std::string Item(int line, const std::string& text, const std::string& flag = "") {
    const auto value = [&](const char* name) {
        return std::string(",\"") + name + "\":" + (flag == name ? "true" : "false");
    };
    return "{\"line\":" + std::to_string(line) + value("skip") + value("procedure") + value("datacopy") +
           ",\"text\":\"" + text + "\"}\n";
}

class QxsqlSplit : public QxsqlTool {
  protected:
    ToolResult Split(const std::string& dialect, const std::string& text, Words options = {}) {
        options.insert(options.begin(), {"--split", "-f", Script(text), "--dialect", dialect});
        return Qxsql(options);
    }
};

TEST_F(QxsqlSplit, OneObjectALine) {
    const ToolResult result = Split("oracle",
                                    "PROMPT hello\n"
                                    "SELECT 'a;\"b\\' FROM dual;\n"
                                    "BEGIN\n"
                                    "  NULL;\n"
                                    "END;\n"
                                    "/\n"
                                    "EXEC pack.proc(1, 'x', NULL)\n"
                                    "DATACOPY something;\n");
    EXPECT_EQ(0, result.exitCode) << result.err;
    EXPECT_EQ("", result.err);
    EXPECT_EQ(Item(1, "PROMPT hello", "skip") + Item(2, R"(SELECT 'a;\"b\\' FROM dual)") +
                  Item(3, R"(BEGIN\n  NULL;\nEND;)") + Item(7, "EXEC pack.proc(1, 'x', NULL)", "procedure") +
                  Item(8, "DATACOPY something", "datacopy"),
              result.out);
    // Byte by byte, once.
    EXPECT_EQ("{\"line\":1,\"skip\":true,\"procedure\":false,\"datacopy\":false,\"text\":\"PROMPT hello\"}\n",
              result.out.substr(0, result.out.find('\n') + 1));
}

TEST_F(QxsqlSplit, EveryDialectByItsName) {
    const struct {
        const char* dialect;
        const char* text;
        const char* second;
    } cases[] = {
        {"oracle", "SELECT q'[a;b]' FROM dual;\nSELECT 2 FROM dual\n/\n", "SELECT 2 FROM dual"},
        {"db2", "--#SET TERMINATOR @\nSELECT 1; FROM t@\nSELECT 2 FROM t@\n", "SELECT 2 FROM t"},
        {"db2zos", "SELECT 1 FROM t;\nSELECT 2 FROM t;\n", "SELECT 2 FROM t"},
        {"sqlserver", "SELECT 1; SELECT '\ngo\n'\nGO\nSELECT 2\nGO\n", "SELECT 2"},
        {"sybase", "select 1\ngo\nselect 2\ngo\n", "select 2"},
        {"mysql", "SELECT 'a\\';b';\nSELECT 2;\n", "SELECT 2"},
        {"other", "SELECT $$a;b$$;\nSELECT 2;\n", "SELECT 2"},
    };
    for (const auto& one : cases) {
        const ToolResult result = Split(one.dialect, one.text);
        EXPECT_EQ(0, result.exitCode) << one.dialect << result.err;
        const std::string end = ",\"text\":\"" + std::string(one.second) + "\"}\n";
        ASSERT_GT(result.out.size(), end.size()) << one.dialect;
        EXPECT_EQ(end, result.out.substr(result.out.size() - end.size())) << one.dialect << result.out;
    }
}

TEST_F(QxsqlSplit, SeparatorOfTheUser) {
    const ToolResult result = Split("sqlserver", "SELECT 1\n$$\nSELECT 2\n$$\n", {"--separator", "$$"});
    EXPECT_EQ(0, result.exitCode) << result.err;
    EXPECT_EQ(R"({"line":1,"skip":false,"procedure":false,"datacopy":false,"text":"SELECT 1"})"
              "\n"
              R"({"line":3,"skip":false,"procedure":false,"datacopy":false,"text":"SELECT 2"})"
              "\n",
              result.out);
}

TEST_F(QxsqlSplit, ASeparatorOfTheUserLeavesTheDialect) {
    const std::string script = "PROMPT it's\nBEGIN p; END;\n@\nSELECT 1 FROM dual@\nEXEC q(a)\n";
    const ToolResult result = Split("oracle", script, {"--separator", "@"});
    EXPECT_EQ(0, result.exitCode) << result.err;
    EXPECT_EQ(Item(1, "PROMPT it's", "skip") + Item(2, "BEGIN p; END;") + Item(4, "SELECT 1 FROM dual") +
                  Item(5, "BEGIN q(a); END;"),
              result.out);
}

TEST_F(QxsqlSplit, TextOfAllEncodingsComesAsUtf8) {
    const std::string expected = Item(1, R"(SELECT 'ü€😀\u0001')");
    EXPECT_EQ(expected, Split("other", "SELECT 'ü€😀\x01';").out);
    std::string wide = "\xFF\xFE";
    for (const char16_t unit : std::u16string(u"SELECT 'ü€\U0001F600\x01';"))
        wide += {static_cast<char>(unit & 0xFF), static_cast<char>(unit >> 8U)};
    EXPECT_EQ(expected, Split("other", wide).out);
    // Half a pair has no UTF-8; its escape keeps it.
    std::string half = "\xFF\xFE";
    for (const char16_t unit : {char16_t('x'), char16_t(0xD83D), char16_t(';')})
        half += {static_cast<char>(unit & 0xFF), static_cast<char>(unit >> 8U)};
    EXPECT_NE(std::string::npos, Split("other", half).out.find(R"("text":"x\ud83d"})"));
}

TEST_F(QxsqlSplit, NothingToSplit) {
    for (const char* text : {"", "\n \n", ";;"}) {
        const ToolResult result = Split("other", text);
        EXPECT_EQ(0, result.exitCode) << result.err;
        EXPECT_EQ("", result.out + result.err) << text;
    }
    const ToolResult comment = Split("other", "-- nothing\n");
    EXPECT_EQ(Item(1, "-- nothing", "skip"), comment.out);
}

TEST_F(QxsqlSplit, StandardInputIsReadAsItComes) {
    RunningTool tool({QXSQL_PATH, "--split", "--dialect", "mysql"});
    tool.Write("SELECT 1;\nSELECT 2;\n");
    EXPECT_TRUE(tool.WaitForOutput("SELECT 1"));
    tool.Write("SELECT 3;\n");
    const ToolResult result = tool.Finish();
    EXPECT_EQ(0, result.exitCode) << result.err;
    EXPECT_NE(std::string::npos, result.out.find("\"line\":3,")) << result.out;
    EXPECT_EQ(Qxsql({"--split", "--dialect", "mysql", "-f", "-"}, "SELECT 1;\nSELECT 2;\nSELECT 3;\n").out,
              result.out);
}

TEST_F(QxsqlSplit, FilesThatCannotBeRead) {
    const std::string missing = directory.File("missing.sql");
    const ToolResult none = Qxsql({"--split", "-f", missing, "--dialect", "db2"});
    EXPECT_EQ(4, none.exitCode);
    EXPECT_EQ("Cannot read " + missing + ": No such file or directory\n", none.err);
    const ToolResult folder = Qxsql({"--split", "-f", directory.Path(), "--dialect", "db2"});
    EXPECT_EQ(4, folder.exitCode);
    EXPECT_EQ("Cannot read " + directory.Path() + ": Is a directory\n", folder.err);
    const ToolResult binary = Split("db2", "SELECT 1;\nSELECT \0 2;\n"s);
    EXPECT_EQ(4, binary.exitCode);
    EXPECT_EQ(Item(1, "SELECT 1"), binary.out);
    EXPECT_EQ(directory.File("script.sql") +
                  ": the script was not read to its end: The script is not text: the byte at offset 17, in "
                  "line 2, is zero.\n",
              binary.err);
}

TEST_F(QxsqlSplit, OutputThatCannotBeWritten) {
    std::string text;
    for (int i = 0; i < 50000; ++i)
        text += "SELECT 'some text that is long enough' FROM t;\n";
    const std::string file = Script(text);
    const auto shell = [&](const std::string& command) {
        return RunTool({"/bin/sh", "-c", command}, "", {{"TOOL", QXSQL_PATH}, {"SCRIPT", file}});
    };
    const ToolResult full = shell("\"$TOOL\" --split -f \"$SCRIPT\" --dialect other > /dev/full");
    EXPECT_EQ(4, full.exitCode);
    EXPECT_EQ("Cannot write to standard output: No space left on device\n", full.err);
    const ToolResult closed =
        shell("{ \"$TOOL\" --split -f \"$SCRIPT\" --dialect other; echo exit $? >&2; } | head -n 1");
    EXPECT_EQ(Item(1, "SELECT 'some text that is long enough' FROM t"), closed.out);
    EXPECT_EQ("exit 4\n", closed.err);
}

// Long items pass a buffer of bounded size.
TEST_F(QxsqlSplit, LongItemsAreWhole) {
    const std::string value(3000000, 'x');
    const ToolResult result = Split("other", "SELECT '" + value + "';\nSELECT 2;\n");
    EXPECT_EQ(0, result.exitCode) << result.err;
    EXPECT_EQ(Item(1, "SELECT '" + value + "'") + Item(2, "SELECT 2"), result.out);
}

TEST_F(QxsqlSplit, Usage) {
    const std::string file = Script("SELECT 1;");
    const struct {
        Words arguments;
        const char* message;
    } cases[] = {
        {{"--split", "-f", file},
         "--split needs --dialect, one of oracle, db2, db2zos, sqlserver, sybase, mysql, other"},
        {{"--split", "-f", file, "--dialect", "ansi"},
         "--dialect: \"ansi\" is none of oracle, db2, db2zos, sqlserver, sybase, mysql, other"},
        {{"--split", "sqlite::memory:", "-f", file, "--dialect", "db2"},
         "--split connects to nothing: it takes the script by -f and no CONNECTION"},
        {{"--split", "-f", file, "--dialect", "db2", "--param", "1"},
         "--split runs nothing: it takes no --read and no --param"},
        {{"sqlite::memory:", "-f", file, "--dialect", "db2"},
         "--dialect goes with --split and with INSERT statements; a run takes the dialect of its server"},
    };
    for (const auto& one : cases) {
        const ToolResult result = Qxsql(one.arguments);
        EXPECT_EQ(2, result.exitCode);
        EXPECT_EQ(std::string(one.message) + "\nRun with --help for more information.\n", result.err);
        EXPECT_EQ("", result.out);
    }
}

}  // namespace
}  // namespace qxtest
