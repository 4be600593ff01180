// Large objects of a result to files and back, with the qxsql binary.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <string>

#include "tools/qxsql_fixture.h"
#include "tools/run_tool.h"

namespace qxtest {
namespace {

class QxsqlLob : public QxsqlTool {
  protected:
    void SetUp() override {
        Run({"--create", database, "--quiet",
             "CREATE TABLE docs (id INTEGER PRIMARY KEY, name VARCHAR(20), body TEXT, pic BLOB, n INT);"
             "INSERT INTO docs VALUES (1, 'one', 'first text', X'000102', 5), (2, 'two', 'second text', "
             "zeroblob(300000), 6), (3, 'three', NULL, NULL, 7)"});
    }
    std::string Run(const Words& words) const {
        const ToolResult result = Qxsql(words);
        EXPECT_EQ(0, result.exitCode) << testing::PrintToString(words) << result.err;
        return result.out;
    }
    ToolResult OnDocs(Words words, const std::string& sql = "SELECT * FROM docs") const {
        words.insert(words.begin(), {database, sql});
        return Qxsql(words);
    }
    std::string Value(const std::string& expression, int id) const {
        return Run({database, "--no-headers",
                    "SELECT " + expression + " FROM docs WHERE id = " + std::to_string(id)});
    }
    std::string File(const std::string& name) const { return directory.File(name); }

    const std::string database = "sqlite:" + directory.File("lob.db");
};

TEST_F(QxsqlLob, ExportsTheBytesOfACell) {
    const ToolResult result = OnDocs({"--lob-export", "0:pic", File("a.bin")});
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("", result.out);
    EXPECT_EQ("Exported 3 bytes to " + File("a.bin") + "\n", result.err);
    EXPECT_EQ(std::string("\x00\x01\x02", 3), ReadFile(File("a.bin")));
    // By number, in the order of the sort, several in one run, in front of all else.
    const ToolResult both = Qxsql({"--lob-export", "2:3", File("b.bin"), database, "SELECT * FROM docs",
                                   "--lob-export", "1:BODY", File("c.txt"), "--sort", "id:desc"});
    EXPECT_EQ(0, both.exitCode) << both.err;
    EXPECT_EQ("Exported 3 bytes to " + File("b.bin") + "\nExported 11 bytes to " + File("c.txt") + "\n",
              both.err);
    EXPECT_EQ(std::string("\x00\x01\x02", 3), ReadFile(File("b.bin")));
    EXPECT_EQ("second text", ReadFile(File("c.txt")));
}

TEST_F(QxsqlLob, WhatIsThereIsReplacedAndOnlyThen) {
    WriteFile(File("a.bin"), "old content, longer than the new");
    EXPECT_EQ(0, OnDocs({"--lob-export", "0:pic", File("a.bin"), "--quiet"}).exitCode);
    EXPECT_EQ(3U, ReadFile(File("a.bin")).size());
    EXPECT_EQ(2, OnDocs({"--lob-export", "2:pic", File("a.bin"), "--quiet"}).exitCode);
    EXPECT_EQ(3U, ReadFile(File("a.bin")).size());
}

TEST_F(QxsqlLob, ImportsAFileIntoACell) {
    std::string bytes;
    for (int i = 0; i < 200000; ++i)
        bytes += static_cast<char>(i * 31);
    WriteFile(File("in.bin"), bytes);
    const ToolResult result = OnDocs({"--lob-import", "0:pic", File("in.bin")});
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("", result.out);
    EXPECT_EQ("Imported 200,000 bytes from " + File("in.bin") + "\n", result.err);
    EXPECT_EQ("200000\tblob\r\n", Value("length(pic), typeof(pic)", 1));
    EXPECT_EQ(0, OnDocs({"--lob-export", "0:pic", File("out.bin"), "--quiet"}).exitCode);
    EXPECT_TRUE(bytes == ReadFile(File("out.bin")));
    // A NULL is a place for a value, too.
    WriteFile(File("in.txt"), "Zoë ' \" \\");
    const ToolResult text = OnDocs({"--lob-import", "0:body", File("in.txt"), "--quiet"},
                                   "SELECT id, body FROM docs WHERE id = 3");
    EXPECT_EQ(0, text.exitCode) << text.err;
    EXPECT_EQ("", text.err);
    EXPECT_EQ("Zoë ' \" \\\ttext\r\n", Value("body, typeof(body)", 3));
    // What was imported is what is exported behind it.
    EXPECT_EQ(0, OnDocs({"--lob-import", "0:body", File("in.txt"), "--lob-export", "0:body", File("back.txt"),
                         "--quiet"})
                     .exitCode);
    EXPECT_EQ("Zoë ' \" \\", ReadFile(File("back.txt")));
    EXPECT_EQ("second text\t300000\r\n", Value("body, length(pic)", 2));
}

TEST_F(QxsqlLob, PlacesThatAreNone) {
    const struct {
        const char* place;
        const char* message;
    } cases[] = {
        {"3:pic", "the result has 3 rows, numbered from 0"},
        {"0:nothing", "there is no column \"nothing\""},
        {"0:5", "there is no column \"5\""},
        {"0:-1", "there is no column \"-1\""},
        {"0:name", "\"name\" is no column of large objects"},
        {"0:n", "\"n\" is no column of large objects"},
        {"2:pic", "the value is NULL"},
    };
    for (const auto& one : cases) {
        // The first would do, and is not done either.
        const ToolResult result =
            OnDocs({"--lob-export", "0:pic", File("never"), "--lob-export", one.place, File("neither")});
        EXPECT_EQ(2, result.exitCode) << one.place;
        EXPECT_EQ(std::string("--lob-export ") + one.place + ": " + one.message + "\n", result.err);
        EXPECT_FALSE(std::filesystem::exists(File("never"))) << one.place;
    }
    EXPECT_EQ(2, OnDocs({"--lob-import", "0:name", SHOP_SQL}).exitCode);
    const ToolResult none = OnDocs({"--lob-export", "0:pic", File("never")}, "UPDATE docs SET n = n");
    EXPECT_EQ(2, none.exitCode);
    EXPECT_NE(std::string::npos, none.err.find("--lob-export 0:pic: there is no result\n")) << none.err;
    EXPECT_EQ(2, OnDocs({"--lob-export", "0:pic", File("never"), "--result", "1"}).exitCode);
    EXPECT_EQ(0, OnDocs({"--lob-export", "0:pic", File("one"), "--result", "1", "--quiet"},
                        "SELECT 1 AS pic; SELECT * FROM docs")
                     .exitCode);
    EXPECT_EQ(3U, ReadFile(File("one")).size());
}

TEST_F(QxsqlLob, WhatTheServerRefuses) {
    WriteFile(File("in"), "new");
    const struct {
        const char* sql;
        const char* option;
        const char* message;
    } cases[] = {
        {"SELECT * FROM docs; DELETE FROM docs WHERE id = 1", "--lob-export", "row"},
        {"SELECT pic FROM docs", "--lob-export", "has no column in the result to find the row by"},
        {"SELECT name, pic FROM docs WHERE id > 1", "--lob-import", "read-only"},
    };
    for (const auto& one : cases) {
        const ToolResult result = OnDocs({one.option, "0:pic", File("in"), "--quiet"}, one.sql);
        EXPECT_EQ(1, result.exitCode) << one.sql << result.err;
        EXPECT_EQ(0U, result.err.find("Error ")) << result.err;
        EXPECT_NE(std::string::npos, result.err.find(one.message)) << result.err;
        EXPECT_EQ("new", ReadFile(File("in"))) << one.sql;
    }
    EXPECT_EQ("300000\r\n", Value("length(pic)", 2));
    const ToolResult failed = OnDocs({"--lob-export", "0:pic", File("never")}, "SELECT * FROM missing");
    EXPECT_EQ(1, failed.exitCode);
    EXPECT_FALSE(std::filesystem::exists(File("never")));
}

TEST_F(QxsqlLob, FilesThatStandInTheWay) {
    const struct {
        const char* option;
        std::string file;
        const char* message;
    } cases[] = {
        {"--lob-export", File("no/such/directory"), "can't be written: No such file or directory"},
        {"--lob-export", directory.Path(), "can't be written: Is a directory"},
        {"--lob-export", "/dev/full", "can't be written: No space left on device"},
        {"--lob-import", File("missing"), "can't be read: No such file or directory"},
        {"--lob-import", directory.Path(), "can't be read: Is a directory"},
    };
    for (const auto& one : cases) {
        const ToolResult result = OnDocs({one.option, "1:pic", one.file});
        EXPECT_EQ(4, result.exitCode) << one.option << one.file;
        EXPECT_EQ("Error [58030]: \"" + one.file + "\" " + one.message + "\n", result.err);
    }
    EXPECT_EQ("300000\r\n", Value("length(pic)", 2));
}

TEST_F(QxsqlLob, PreviewsAreTheBeginnings) {
    EXPECT_EQ("id\tbody\tpic\r\n1\tfirs\t000102\r\n2\tseco\t00000000\r\n3\t\t\r\n",
              Run({database, "--lob-preview", "4", "SELECT id, body, pic FROM docs"}));
    EXPECT_EQ("name\tpic\r\none\t\r\ntwo\t\r\nthree\t\r\n",
              Run({database, "--lob-preview", "0", "SELECT name, pic FROM docs"}));
    const std::string whole = Run({database, "--no-headers", "SELECT pic FROM docs WHERE id = 2"});
    EXPECT_EQ(600002U, whole.size());
    // Into files, too.
    Run({database, "--lob-preview", "2", "SELECT id, body FROM docs", "-o", File("a.csv")});
    EXPECT_EQ("id,body\r\n1,fi\r\n2,se\r\n3,\r\n", ReadFile(File("a.csv")));
    // What is shown is cut, what is transferred is not.
    EXPECT_EQ(0, OnDocs({"--lob-export", "1:pic", File("whole"), "--lob-preview", "1", "--quiet"}).exitCode);
    EXPECT_EQ(300000U, ReadFile(File("whole")).size());
}

TEST_F(QxsqlLob, TimesOfTransfers) {
    const ToolResult result = OnDocs({"--lob-export", "1:pic", File("a"), "--timing", "--quiet"});
    EXPECT_EQ(0, result.exitCode);
    EXPECT_NE(std::string::npos, result.err.find("Transfer      0.")) << result.err;
    EXPECT_NE(std::string::npos, result.err.find(" MB/s\n")) << result.err;
}

TEST_F(QxsqlLob, OptionsThatDoNotGoTogether) {
    const std::vector<Words> cases{
        {"--lob-export", "0:pic"},
        {"--lob-export", "pic", "x"},
        {"--lob-export", "0:", "x"},
        {"--lob-export", "-1:pic", "x"},
        {"--lob-export", "x:pic", "x"},
        {"--lob-export", "0:pic", ""},
        {"--lob-export", "0:pic", "x", "-o", "y"},
        {"--lob-import", "0:pic", "x", "--format", "xml"},
        {"--lob-export", "0:pic", "x", "--aligned"},
        {"--lob-export", "0:pic", "x", "--as-strings"},
        {"--lob-export", "0:pic", "x", "--explain"},
        {"--lob-preview", "-1"},
        {"--lob-preview", "x"},
    };
    for (const Words& words : cases) {
        const ToolResult result = OnDocs(words);
        EXPECT_EQ(2, result.exitCode) << testing::PrintToString(words);
        EXPECT_NE("", result.err);
    }
    EXPECT_EQ(2, Qxsql({"--read", "a.csv", "--lob-preview", "1"}).exitCode);
}

// A transfer goes on to its end; the run is told as interrupted all the same.
TEST_F(QxsqlLob, InterruptInATransfer) {
    const std::string pipe = File("pipe");
    ASSERT_EQ(0, mkfifo(pipe.c_str(), 0600));
    RunningTool tool({QXSQL_PATH, database, "SELECT * FROM docs", "--lob-export", "1:pic", pipe,
                      "--lob-export", "0:pic", File("never")});
    const int reader = open(pipe.c_str(), O_RDONLY);
    char block[65536];
    ssize_t total = read(reader, block, 1000);
    EXPECT_GT(total, 0);
    tool.Signal(SIGINT);
    usleep(100 * 1000);
    for (ssize_t count = 1; count > 0; total += count)
        count = read(reader, block, sizeof block);
    close(reader);
    const ToolResult result = tool.Finish();
    EXPECT_EQ(130, result.exitCode) << result.err;
    EXPECT_FALSE(result.signalled);
    EXPECT_EQ(300000, total);
    EXPECT_FALSE(std::filesystem::exists(File("never")));
}

}  // namespace
}  // namespace qxtest
