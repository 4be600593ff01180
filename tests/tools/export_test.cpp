// Every export format of the qxsql binary: its bytes, what can be chosen, and what is read back.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>

#include "tools/qxsql_fixture.h"
#include "tools/run_tool.h"

namespace qxtest {
namespace {

class QxsqlExport : public QxsqlTool {
  protected:
    // Two rows of the types that formats treat differently.
    const std::string sql =
        "CREATE TABLE t (n INT, s TEXT, at TIMESTAMP);"
        "INSERT INTO t VALUES (1, 'a<b', '2024-12-31 23:59:58'), (NULL, 'it''s', NULL);"
        "SELECT * FROM t";

    static std::string Html(const std::string& title) {
        return "<!DOCTYPE html PUBLIC \"-//IETF//DTD HTML//EN\">\r\n<html>\r\n<head>\r\n<title>" + title +
               "</title></head>\r\n<body bgcolor=#ffffff><FONT FACE=\"arial\", SIZE=\"2\">\r\n"
               "    <table width=\"100%\" border=\"1\">        <tr bgcolor=\"#ccccff\">\r\n"
               "            <th align=\"right\">n</th>\r\n"
               "            <th>s</th>\r\n"
               "            <th>at</th>\r\n"
               "        </tr>\r\n"
               "        <tr bgcolor=\"lemonchiffon\">\r\n"
               "            <td align=\"right\">1</td>\r\n"
               "            <td>a&lt;b</td>\r\n"
               "            <td>2024-12-31 23:59:58.000</td>\r\n"
               "        </tr>\r\n"
               "        <tr bgcolor=\"lemonchiffon\">\r\n"
               "            <td align=\"right\">[NULL]</td>\r\n"
               "            <td>it's</td>\r\n"
               "            <td>[NULL]</td>\r\n"
               "        </tr>\r\n"
               "    </table>\r\n</body>\r\n</html>";
    }
    static std::string Xml() {
        return "<?xml version=\"1.0\" encoding=\"ISO-8859-1\" ?>\n<resultset>\n    <rowset id=\"1\">\n"
               "        <row id=\"1\">\n"
               "            <column id=\"1\" name=\"n\" type=\"BigInt\">1</column>\n"
               "            <column id=\"2\" name=\"s\"><![CDATA[a<b]]></column>\n"
               "            <column id=\"3\" name=\"at\" type=\"Timestamp\" "
               "format=\"yyyy-MM-dd HH:mm:ss.fff\">2024-12-31 23:59:58.000</column>\n"
               "        </row>\n"
               "        <row id=\"2\">\n"
               "            <column id=\"1\" name=\"n\" type=\"BigInt\" null=\"true\" />\n"
               "            <column id=\"2\" name=\"s\"><![CDATA[it's]]></column>\n"
               "            <column id=\"3\" name=\"at\" type=\"Timestamp\" "
               "format=\"yyyy-MM-dd HH:mm:ss.fff\" null=\"true\" />\n"
               "        </row>\n"
               "    </rowset>\n</resultset>\n";
    }
    static std::string ExcelRows() {
        return "    <table>\r\n        <tr>\r\n"
               "            <th align=\"right\">n</th>\r\n            <th>s</th>\r\n            "
               "<th>at</th>\r\n"
               "        </tr>\r\n        <tr>\r\n"
               "            <td align=\"right\">1</td>\r\n"
               "            <td class=xl30>a&lt;b</td>\r\n"
               "            <td class=x129>12/31/2024 11:59:58 PM</td>\r\n"
               "        </tr>\r\n        <tr>\r\n"
               "            <td align=\"right\">[NULL]</td>\r\n"
               "            <td class=xl30>it's</td>\r\n"
               "            <td>[NULL]</td>\r\n"
               "        </tr>\r\n    </table>\r\n</body>\r\n</html>";
    }
    static std::string SpreadsheetRows() {
        return " <Worksheet ss:Name=\"Sheet1\">\n  <Table>\n   <Row>\n"
               "    <Cell ss:StyleID=\"s63\"><Data ss:Type=\"String\">n</Data></Cell>\n"
               "    <Cell ss:StyleID=\"s62\"><Data ss:Type=\"String\">s</Data></Cell>\n"
               "    <Cell ss:StyleID=\"s62\"><Data ss:Type=\"String\">at</Data></Cell>\n"
               "   </Row>\n   <Row>\n"
               "    <Cell><Data ss:Type=\"Number\">1</Data></Cell>\n"
               "    <Cell><Data ss:Type=\"String\">a&lt;b</Data></Cell>\n"
               "    <Cell ss:StyleID=\"s64\"><Data "
               "ss:Type=\"DateTime\">2024-12-31T23:59:58.000</Data></Cell>\n"
               "   </Row>\n   <Row>\n"
               "    <Cell><Data ss:Type=\"String\">[NULL]</Data></Cell>\n"
               "    <Cell><Data ss:Type=\"String\">it's</Data></Cell>\n"
               "    <Cell><Data ss:Type=\"String\">[NULL]</Data></Cell>\n"
               "   </Row>\n  </Table>\n </Worksheet>\n</Workbook>\n";
    }
    static bool EndsWith(const std::string& text, const std::string& end) {
        return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
    }
    static std::size_t Count(const std::string& text, const std::string& what) {
        std::size_t count = 0;
        for (std::size_t at = text.find(what); at != std::string::npos;
             at = text.find(what, at + what.size()))
            ++count;
        return count;
    }
    // Standard output of a run that must go well.
    static std::string Out(const Words& words, const std::string& input = "") {
        const ToolResult result = Qxsql(words, input);
        EXPECT_EQ(0, result.exitCode) << testing::PrintToString(words) << result.err;
        return result.out;
    }
    // The file that a run of `sql` exports to.
    std::string File(const std::string& name, Words options = {}) {
        options.insert(options.begin(), {"sqlite::memory:", "--quiet", sql, "-o", directory.File(name)});
        EXPECT_EQ("", Out(options));
        return ReadFile(directory.File(name));
    }
};

TEST_F(QxsqlExport, Html) {
    EXPECT_EQ(Html("standard output"), Out({"sqlite::memory:", sql, "--format", "html"}));
    EXPECT_EQ(Html(directory.File("a.html")), File("a.html"));
    EXPECT_EQ(Html(directory.File("b.htm")), File("b.htm"));
    EXPECT_EQ(Html(directory.File("c.txt")), File("c.txt", {"--format", "html"}));
}

TEST_F(QxsqlExport, Excel) {
    const std::string out = Out({"sqlite::memory:", sql, "--format", "excel"});
    EXPECT_EQ(0U, out.find("<html xmlns:o=\"urn:schemas-microsoft-com:office:office\"\r\n"));
    EXPECT_TRUE(EndsWith(out, "</head>\r\n<body>\r\n" + ExcelRows())) << out;
    EXPECT_EQ(out, File("a.xls"));
    EXPECT_EQ(out, File("b.csv", {"--format", "excel"}));
}

TEST_F(QxsqlExport, SpreadsheetXmlByItsNameAlone) {
    const std::string out = Out({"sqlite::memory:", sql, "--format", "excelxml"});
    EXPECT_EQ(0U, out.find("<?xml version=\"1.0\" encoding=\"ISO-8859-1\" ?>\n"
                           "<?mso-application progid=\"Excel.Sheet\"?>\n<Workbook "));
    EXPECT_TRUE(EndsWith(out, " </Styles>\n" + SpreadsheetRows())) << out;
    EXPECT_EQ(out, File("a.xml", {"--format", "excelxml"}));
}

TEST_F(QxsqlExport, Xml) {
    EXPECT_EQ(Xml(), Out({"sqlite::memory:", sql, "--format", "xml"}));
    EXPECT_EQ(Xml(), File("a.xml"));
    EXPECT_EQ(Xml(), File("b.dat", {"--format", "xml"}));
}

TEST_F(QxsqlExport, HeadersAreLeftOutWhereThereAreSome) {
    EXPECT_EQ(std::string::npos,
              Out({"sqlite::memory:", sql, "--format", "html", "--no-headers"}).find("<th"));
    EXPECT_EQ(3U, Count(Out({"sqlite::memory:", sql, "--format", "excelxml"}), "<Row>"));
    EXPECT_EQ(2U, Count(Out({"sqlite::memory:", sql, "--format", "excelxml", "--no-headers"}), "<Row>"));
    EXPECT_EQ(Xml(), Out({"sqlite::memory:", sql, "--format", "xml", "--no-headers"}));
}

// One head and one foot, on standard output too; what a script tells in between has no place in the file.
TEST_F(QxsqlExport, SeveralResultsAreOneDocument) {
    const std::string script = Script(
        "CREATE TABLE t (a INT);\nSELECT 1 AS a;\nINSERT INTO t VALUES (1);\n"
        "SELECT 2 AS b;\nSELECT 3 AS c WHERE 1 = 0;\n");
    const struct {
        const char* format;
        const char* head;
        const char* foot;
        const char* part;
        std::size_t count;
    } cases[] = {{"html", "<!DOCTYPE html ", "</body>\r\n</html>", "<table", 3},
                 {"excel", "<html ", "</body>\r\n</html>", "    <table>", 3},
                 {"excelxml", "<?xml ", "</Workbook>\n", "   <Row>\n   </Row>\n", 2},
                 {"xml", "<?xml ", "</resultset>\n", "<rowset", 3}};
    for (const auto& one : cases) {
        const std::string out = Out({"sqlite::memory:", "-f", script, "--quiet", "--format", one.format});
        EXPECT_EQ(0U, out.find(one.head)) << out;
        EXPECT_EQ(1U, Count(out, one.head)) << out;
        EXPECT_TRUE(EndsWith(out, one.foot)) << out;
        EXPECT_EQ(1U, Count(out, one.foot)) << out;
        EXPECT_EQ(one.count, Count(out, one.part)) << out;
        const std::string file = directory.File("out");
        Out({"sqlite::memory:", "-f", script, "--quiet", "--format", one.format, "-o", file});
        std::string exported = ReadFile(file);
        if (std::string(one.format) == "html")
            exported.replace(exported.find(file), file.size(), "standard output");
        EXPECT_EQ(out, exported);
    }
    EXPECT_EQ("a\r\n1\r\n\r\nb\r\n2\r\n\r\nc\r\n", Out({"sqlite::memory:", "-f", script, "--quiet"}));
}

// Behind messages a result has another number in the store than on the command line.
TEST_F(QxsqlExport, OneOfSeveralResultsIsADocumentOfItsOwn) {
    const std::string many = "SELECT 1 AS a; SELECT 2 AS b; SELECT 3 AS c";
    EXPECT_EQ(
        "<?xml version=\"1.0\" encoding=\"ISO-8859-1\" ?>\n<resultset>\n    <rowset id=\"1\">\n"
        "        <row id=\"1\">\n            <column id=\"1\" name=\"b\" type=\"BigInt\">2</column>\n"
        "        </row>\n    </rowset>\n</resultset>\n",
        Out({"sqlite::memory:", many, "--format", "xml", "--result", "1"}));
    const std::string sheet = Out({"sqlite::memory:", many, "--format", "excelxml", "--result", "2"});
    EXPECT_EQ(0U, sheet.find("<?xml "));
    EXPECT_NE(std::string::npos,
              sheet.find("  <Table>\n   <Row>\n    <Cell ss:StyleID=\"s63\"><Data ss:Type=\"String\">c<"));
}

TEST_F(QxsqlExport, NoResultsAreNoDocument) {
    for (const char* const format : {"html", "excel", "excelxml", "xml", "insert"}) {
        EXPECT_EQ("", Out({"sqlite::memory:", "CREATE TABLE t (a)", "--format", format})) << format;
        const std::string file = directory.File("none");
        EXPECT_EQ("", Out({"sqlite::memory:", "CREATE TABLE t (a)", "--format", format, "-o", file}));
        EXPECT_EQ("", ReadFile(file)) << format;
        const ToolResult failed = Qxsql(
            {"sqlite::memory:", "SELECT * FROM missing", "--format", format, "-o", directory.File("failed")});
        EXPECT_EQ(1, failed.exitCode);
        EXPECT_FALSE(std::filesystem::exists(directory.File("failed"))) << format;
    }
}

TEST_F(QxsqlExport, SortedRowsAndColumnsOfEveryFormat) {
    const std::string table =
        "CREATE TABLE p (id INT, name TEXT, price DECIMAL(8,2));"
        "INSERT INTO p VALUES (1, 'tea', 4.5), (2, 'cup', 12), (3, 'pot', 30), (4, 'can', 1);"
        "SELECT * FROM p";
    const std::string script = Script(table);
    const auto run = [&](const char* format) {
        return Out({"sqlite::memory:", "-f", script, "--quiet", "--format", format, "--sort", "price:desc",
                    "--columns", "2,9,1", "--rows", "2-9,0"});
    };
    EXPECT_EQ("price,name\r\n4.50,tea\r\n1.00,can\r\n30.00,pot\r\n", run("comma"));
    EXPECT_EQ(
        "--\n-- TABLE INSERT STATEMENTS\n--\n"
        "INSERT INTO p ( price, name ) \n        VALUES ( 4.50, 'tea' )\n;\n"
        "INSERT INTO p ( price, name ) \n        VALUES ( 1.00, 'can' )\n;\n"
        "INSERT INTO p ( price, name ) \n        VALUES ( 30.00, 'pot' )\n;\n",
        run("insert"));
    const std::string xml = run("xml");
    EXPECT_NE(
        std::string::npos,
        xml.find(
            "        <row id=\"1\">\n"
            "            <column id=\"1\" name=\"price\" type=\"Decimal\" precision=\"2\">4.50</column>\n"
            "            <column id=\"2\" name=\"name\"><![CDATA[tea]]></column>\n        </row>\n"))
        << xml;
    EXPECT_EQ(3U, Count(xml, "<row "));
    const std::string html = run("html");
    EXPECT_NE(std::string::npos,
              html.find("<th align=\"right\">price</th>\r\n            <th>name</th>\r\n"));
    EXPECT_LT(html.find("tea"), html.find("can"));
    EXPECT_LT(html.find("can"), html.find("pot"));
    EXPECT_EQ(std::string::npos, html.find("cup"));
    EXPECT_EQ(4U, Count(run("excelxml"), "<Row>"));
    EXPECT_EQ(4U, Count(run("excel"), "<tr>"));
}

TEST_F(QxsqlExport, RowsOfEachResultAndOfTables) {
    const std::string many = "SELECT 1 AS a UNION ALL SELECT 2; SELECT 3 AS b UNION ALL SELECT 4";
    EXPECT_EQ("a\r\n2\r\n\r\nb\r\n4\r\n", Out({"sqlite::memory:", many, "--rows", "1"}));
    const std::string file = directory.File("a.csv");
    Out({"sqlite::memory:", many, "--rows", "1-5", "-o", file});
    EXPECT_EQ("a\r\n2\r\n\r\nb\r\n4\r\n", ReadFile(file));
    const ToolResult table = Qxsql({"sqlite::memory:", many, "--rows", "1,0,1", "--aligned"});
    EXPECT_EQ("a\n-\n2\n1\n2\nb\n-\n4\n3\n4\n", table.out);
    EXPECT_EQ("(3 rows)\n(3 rows)\n", table.err);
    EXPECT_EQ("a\r\n\r\nb\r\n", Out({"sqlite::memory:", many, "--rows", "7-"}));
}

// Many rows, so that sorted ones are read in blocks.
TEST_F(QxsqlExport, RowsOutOfManySortedOnes) {
    const std::string out =
        Out({"sqlite::memory:",
             "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 5000) "
             "SELECT i * 7919 % 5003 AS k, 'x' || i AS t FROM n",
             "--sort", "0", "--rows", "10-4500", "--no-headers"});
    EXPECT_EQ(4491U, Count(out, "\r\n"));
    int previous = 0;
    std::istringstream lines(out);
    for (std::string line; std::getline(lines, line);) {
        const int key = std::stoi(line);
        ASSERT_GT(key, previous);
        ASSERT_EQ(key, std::stoi(line.substr(line.find('x') + 1)) * 7919 % 5003);
        previous = key;
    }
}

TEST_F(QxsqlExport, AFullDiskAndFilesThatCannotBe) {
    const std::string readOnly = directory.File("read-only");
    WriteFile(readOnly, "kept");
    std::filesystem::permissions(readOnly, std::filesystem::perms::owner_read);
    const bool isRoot = std::ofstream(readOnly, std::ios::app).good();
    for (const char* const format : {"html", "excel", "excelxml", "xml", "insert", "tab"}) {
        const Words words{"sqlite::memory:", "-f", Script(sql), "--quiet", "--format", format, "-o"};
        const auto to = [&words](const std::string& file) {
            Words all = words;
            all.push_back(file);
            return Qxsql(all);
        };
        const ToolResult full = to("/dev/full");
        EXPECT_EQ(4, full.exitCode) << format;
        EXPECT_EQ("/dev/full -- No space left on device\n", full.err) << format;
        const ToolResult folder = to(directory.Path());
        EXPECT_EQ(4, folder.exitCode) << format;
        EXPECT_EQ(directory.Path() + " -- Is a directory\n", folder.err) << format;
        if (isRoot)
            continue;
        EXPECT_EQ(4, to(readOnly).exitCode) << format;
        EXPECT_EQ("kept", ReadFile(readOnly)) << format;
    }
}

TEST_F(QxsqlExport, StandardOutputThatIsFull) {
    for (const char* const format : {"html", "xml", "insert", "tab"}) {
        const ToolResult result = RunTool({"/bin/sh", "-c",
                                           std::string(QXSQL_PATH) + " sqlite::memory: --quiet --format " +
                                               format + " 'SELECT name FROM sqlite_master' > /dev/full"});
        EXPECT_EQ(4, result.exitCode) << format;
        EXPECT_EQ("standard output -- No space left on device\n", result.err) << format;
    }
}

// Output goes into a pipe that is read slowly, so that the export is under way for as long as it takes.
class SlowReader {
  public:
    explicit SlowReader(const std::string& name) {
        mkfifo(name.c_str(), 0600);
        file = open(name.c_str(), O_RDONLY | O_NONBLOCK);
    }
    ~SlowReader() {
        if (reader.joinable())
            reader.join();
        close(file);
    }
    // Until the first bytes have come; half a minute at most.
    bool Begin() {
        pollfd ready{file, POLLIN, 0};
        return poll(&ready, 1, 30000) == 1;
    }
    void TakeTheRest() {
        reader = std::thread([this] {
            char block[65536];
            fcntl(file, F_SETFL, 0);
            for (ssize_t count = read(file, block, sizeof block); count > 0;
                 count = read(file, block, sizeof block))
                text.append(block, static_cast<std::size_t>(count));
        });
    }
    const std::string& Text() {
        reader.join();
        return text;
    }

  private:
    int file = -1;
    std::string text;
    std::thread reader;
};

TEST_F(QxsqlExport, InterruptInTheMiddleLeavesAWholeDocument) {
    const struct {
        const char* format;
        const char* foot;
        const char* lastRow;
    } cases[] = {{"xml", "        </row>\n    </rowset>\n</resultset>\n", "<row id=\"300000\">"},
                 {"html", "        </tr>\r\n    </table>\r\n</body>\r\n</html>", ">300000<"},
                 {"excelxml", "   </Row>\n  </Table>\n </Worksheet>\n</Workbook>\n", ">300000<"},
                 {"insert", " )\n;\n", "( 300000 )"}};
    for (const auto& one : cases) {
        const std::string pipe = directory.File(std::string("pipe.") + one.format);
        SlowReader reader(pipe);
        Words words{QXSQL_PATH,
                    "sqlite::memory:",
                    "--quiet",
                    "--format",
                    one.format,
                    "-o",
                    pipe,
                    "WITH RECURSIVE c(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM c WHERE i < 300000) "
                    "SELECT i FROM c"};
        if (std::string(one.format) == "insert")
            words.insert(words.end(), {"--table", "t"});
        RunningTool tool(words);
        ASSERT_TRUE(reader.Begin()) << one.format;
        tool.Signal(SIGINT);
        reader.TakeTheRest();
        const ToolResult result = tool.Finish();
        EXPECT_EQ(130, result.exitCode) << one.format << result.err;
        EXPECT_FALSE(result.signalled) << one.format;
        const std::string& text = reader.Text();
        EXPECT_TRUE(EndsWith(text, one.foot)) << one.format << text.substr(text.size() - 100);
        EXPECT_EQ(std::string::npos, text.find(one.lastRow)) << one.format;
    }
}

TEST_F(QxsqlExport, ARunThatIsCutIsAWholeDocument) {
    const ToolResult result =
        Qxsql({"sqlite::memory:", EndlessQuery(), "--timeout", "0.3", "--quiet", "--format", "xml"});
    EXPECT_EQ(5, result.exitCode);
    EXPECT_EQ(0U, result.out.find("<?xml "));
    EXPECT_TRUE(EndsWith(result.out, "        </row>\n    </rowset>\n</resultset>\n"));
    EXPECT_GT(Count(result.out, "<row "), 1U);
}

TEST_F(QxsqlExport, ProgressInPercent) {
    const std::string pipe = directory.File("pipe");
    SlowReader reader(pipe);
    RunningTool tool({QXSQL_PATH, "sqlite::memory:", "--progress", "--format", "html", "-o", pipe,
                      "WITH RECURSIVE c(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM c WHERE i < 200000) "
                      "SELECT i FROM c"});
    ASSERT_TRUE(reader.Begin());
    std::this_thread::sleep_for(std::chrono::milliseconds(700));
    reader.TakeTheRest();
    const ToolResult result = tool.Finish();
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ(0U, result.err.find("Exporting ")) << result.err;
    EXPECT_NE(std::string::npos, result.err.find(" %\n")) << result.err;
    EXPECT_TRUE(EndsWith(reader.Text(), "</html>"));
}

}  // namespace
}  // namespace qxtest
