// Large objects and INSERT scripts of MariaDB and PostgreSQL, with the qxsql binary.

#include <gtest/gtest.h>

#include <string>

#include "tools/run_tool.h"
#include "tools/servers_fixture.h"

namespace qxtest {
namespace {

class QxsqlServersExport : public QxsqlServers {
  protected:
    // `table`: of this test alone, for others run at the same time on the same servers.
    void MakeTable(const NamedServer& server, const std::string& table) {
        const bool isMariaDB = server.words == OnMariaDB;
        Run(server.words(
            {"--quiet", "-f",
             Script("DROP TABLE IF EXISTS " + table + ";\nCREATE TABLE " + table +
                    " (id INT PRIMARY KEY, t " + (isMariaDB ? "LONGTEXT, b LONGBLOB" : "TEXT, b BYTEA") +
                    ");\nINSERT INTO " + table + " VALUES (1, 'first', " +
                    (isMariaDB ? "x'00FF01'" : "'\\x00FF01'") + "), (2, 'second', NULL);\n")}));
    }
    std::string File(const std::string& name) const { return directory.File(name); }
};

TEST_F(QxsqlServersExport, ToFilesAndBack) {
    std::string bytes;
    for (int i = 0; i < 3000000; ++i)
        bytes += static_cast<char>(i * 31 + i / 256);
    WriteFile(File("in.bin"), bytes);
    for (const NamedServer& server : allServers) {
        MakeTable(server, "qxsql_docs");
        const std::string all = "SELECT * FROM qxsql_docs ORDER BY id";
        const ToolResult out =
            Qxsql(server.words({all, "--lob-export", "0:b", File("b"), "--lob-export", "0:t", File("t")}));
        EXPECT_EQ(0, out.exitCode) << server.name << out.err;
        EXPECT_EQ("Exported 3 bytes to " + File("b") + "\nExported 5 bytes to " + File("t") + "\n", out.err);
        EXPECT_EQ(std::string("\x00\xFF\x01", 3), ReadFile(File("b"))) << server.name;
        EXPECT_EQ("first", ReadFile(File("t"))) << server.name;

        EXPECT_EQ(
            "",
            Run(server.words({all, "--sort", "id:desc", "--lob-import", "1:b", File("in.bin"), "--quiet"})));
        EXPECT_EQ("", Run(server.words({all, "--lob-export", "0:b", File("back"), "--quiet"})));
        EXPECT_TRUE(bytes == ReadFile(File("back"))) << server.name;
        EXPECT_EQ("n\r\n3000000\r\n",
                  Run(server.words({"SELECT LENGTH(b) AS n FROM qxsql_docs WHERE id = 1"})))
            << server.name;
    }
}

TEST_F(QxsqlServersExport, PreviewsAndRefusals) {
    for (const NamedServer& server : allServers) {
        MakeTable(server, "qxsql_previews");
        EXPECT_EQ("id\tt\tb\r\n1\tfi\t00FF\r\n2\tse\t\r\n",
                  Run(server.words({"SELECT * FROM qxsql_previews ORDER BY id", "--lob-preview", "2"})))
            << server.name;
        const std::string all = "SELECT id, b FROM qxsql_previews ORDER BY id";
        EXPECT_EQ(2, Qxsql(server.words({all, "--lob-export", "1:b", File("never")})).exitCode)
            << server.name;
        EXPECT_EQ(2, Qxsql(server.words({all, "--lob-export", "0:id", File("never")})).exitCode)
            << server.name;
        EXPECT_EQ(4, Qxsql(server.words({all, "--lob-export", "0:b", "/dev/full"})).exitCode) << server.name;
        EXPECT_EQ(4, Qxsql(server.words({all, "--lob-import", "0:b", File("missing")})).exitCode)
            << server.name;
        EXPECT_EQ(
            1,
            Qxsql(server.words({"SELECT b FROM qxsql_previews ORDER BY id", "--lob-import", "0:b", SHOP_SQL}))
                .exitCode)
            << server.name;
    }
}

TEST_F(QxsqlServersExport, InsertScriptsRunBackGiveEqualTables) {
    const struct {
        NamedServer server;
        const char* types;
        const char* backslash;
        const char* bytes;
        Words run;
    } cases[] = {{allServers[0],
                  "(id INT PRIMARY KEY, `a b` LONGTEXT, at DATETIME(3), p DECIMAL(9,3), doc LONGBLOB, raw "
                  "VARBINARY(9))",
                  "\\\\",
                  "x'00FF5C27'",
                  {"--separator", "go"}},
                 {allServers[1],
                  "(id INT PRIMARY KEY, \"a b\" TEXT, at TIMESTAMP(3), p DECIMAL(9,3), doc BYTEA, raw BYTEA)",
                  "\\",
                  "'\\x00FF5C27'",
                  {}}};
    for (const auto& one : cases) {
        const std::string slash = one.backslash;
        Run(one.server.words(
            {"--quiet", "-f",
             Script(
                 std::string("DROP TABLE IF EXISTS qxsql_rows;\nCREATE TABLE qxsql_rows ") + one.types +
                 ";\nINSERT INTO qxsql_rows VALUES (1, 'it''s ü \"x\" ;', '2024-12-31 23:59:58.123', 1.5, " +
                 one.bytes + ", " + one.bytes +
                 ");\n"
                 "INSERT INTO qxsql_rows VALUES (2, 'a" +
                 slash +
                 "', NULL, -0.001, '', '');\n"
                 "INSERT INTO qxsql_rows VALUES (3, '" +
                 slash + slash + "''" + slash +
                 "n', '1970-01-01', NULL, NULL, NULL);\n"
                 "INSERT INTO qxsql_rows VALUES (4, 'x\n;\ngo\n-- y', NULL, 0, NULL, NULL);\n")}));
        const std::string all = "SELECT * FROM qxsql_rows";
        const std::string before = Run(one.server.words({all, "--sort", "id", "--no-quoting"}));
        EXPECT_NE(std::string::npos, before.find("3\t\\\\'\\n\t")) << one.server.name << before;
        EXPECT_NE(std::string::npos, before.find("\t00FF5C27\t00FF5C27\r\n")) << one.server.name << before;
        Run(one.server.words({all, "-o", File("rows.sql")}));
        Run(one.server.words({"--quiet", "DELETE FROM qxsql_rows"}));
        Words run = one.server.words({"-f", File("rows.sql"), "--quiet"});
        run.insert(run.end(), one.run.begin(), one.run.end());
        Run(run);
        EXPECT_EQ(before, Run(one.server.words({all, "--sort", "id", "--no-quoting"}))) << one.server.name;
    }
}

}  // namespace
}  // namespace qxtest
