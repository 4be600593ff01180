// INSERT statements and XML that the qxsql binary writes, run and read back.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <string>
#include <thread>

#include "tools/qxsql_fixture.h"
#include "tools/run_tool.h"

namespace qxtest {
namespace {

class QxsqlBack : public QxsqlTool {
  protected:
    static std::string Out(const Words& words) {
        const ToolResult result = Qxsql(words);
        EXPECT_EQ(0, result.exitCode) << testing::PrintToString(words) << result.err;
        return result.out;
    }
    static std::string Head() { return "--\n-- TABLE INSERT STATEMENTS\n--\n"; }
};

TEST_F(QxsqlBack, InsertsOfEveryFamily) {
    const struct {
        const char* family;
        const char* text;
    } cases[] = {
        {"oracle",
         "INSERT INTO t ( n, \"the name\", at, b ) \n        VALUES ( 1, 'a\\''b', "
         "TO_DATE( '12-31-2024 23:59:58', 'MM-DD-YYYY HH24:MI:SS' ), 0x00FF )\n/\n"},
        {"db2",
         "INSERT INTO t ( n, \"the name\", at, b ) \n        VALUES ( 1, 'a\\''b', "
         "'2024-12-31 23:59:58.000', 0x00FF )\n;\n"},
        {"db2zos",
         "INSERT INTO t ( n, \"the name\", at, b ) \n        VALUES ( 1, 'a\\''b', "
         "'2024-12-31 23:59:58.000', 0x00FF )\n;\n"},
        {"sqlserver",
         "INSERT INTO t ( n, [the name], at, b ) \n        VALUES ( 1, 'a\\''b', "
         "'2024-12-31 23:59:58.000', 0x00FF )\ngo\n"},
        {"sybase",
         "INSERT INTO t ( n, [the name], at, b ) \n        VALUES ( 1, 'a\\''b', "
         "'2024-12-31 23:59:58.000', 0x00FF )\ngo\n"},
        {"mysql",
         "INSERT INTO t ( n, `the name`, at, b ) \n        VALUES ( 1, 'a\\\\''b', "
         "'2024-12-31 23:59:58.000', 0x00FF )\ngo\n"},
        {"other",
         "INSERT INTO t ( n, \"the name\", at, b ) \n        VALUES ( 1, 'a\\''b', "
         "'2024-12-31 23:59:58.000', X'00FF' )\n;\n"},
    };
    const std::string xml = directory.File("t.xml");
    const std::string database = "sqlite:" + directory.File("t.db");
    Out({"--create", database, "--quiet",
         "CREATE TABLE t (n INT, \"the name\" TEXT, at TIMESTAMP, b BLOB);"
         "INSERT INTO t VALUES (1, 'a\\''b', '2024-12-31 23:59:58', X'00FF')"});
    Out({database, "SELECT * FROM t", "-o", xml});
    for (const auto& one : cases) {
        EXPECT_EQ(Head() + one.text,
                  Out({"--read", xml, "--format", "insert", "--table", "t", "--dbtype", one.family}))
            << one.family;
        EXPECT_EQ(Head() + one.text,
                  Out({database, "SELECT * FROM t", "--format", "insert", "--dialect", one.family}))
            << one.family;
    }
    // The connection's own, and without one: those of standard SQL.
    EXPECT_EQ(Head() + cases[6].text, Out({database, "SELECT * FROM t", "--format", "insert"}));
    EXPECT_EQ(Head() + cases[6].text, Out({"--read", xml, "--format", "insert", "--table", "t"}));
}

TEST_F(QxsqlBack, TheTableOfInserts) {
    const std::string make = "CREATE TABLE emp (a INT); INSERT INTO emp VALUES (1);";
    const std::string database = "sqlite:" + directory.File("t.db");
    Out({"--create", database, "--quiet", make});
    const auto statement = [](const std::string& table) {
        return Head() + "INSERT INTO " + table + " ( a ) \n        VALUES ( 1 )\n;\n";
    };
    EXPECT_EQ(statement("emp"), Out({database, "SELECT a FROM emp WHERE a = 1", "--format", "insert"}));
    EXPECT_EQ(statement("main.emp"), Out({database, "SELECT a FROM main.emp", "--format", "insert"}));
    EXPECT_EQ(statement("other.t"),
              Out({database, "SELECT a FROM emp", "--format", "insert", "--table", "other.t"}));
    EXPECT_EQ(statement("t"), Out({database, "SELECT 1 AS a", "--format", "insert", "--table", "t"}));
    // Neither an alias nor a condition is taken for a part of the name.
    for (const char* const sql :
         {"SELECT 1 AS a", "SELECT a FROM emp e", "SELECT a FROM emp WHERE a = 1;",
          "SELECT e.a FROM emp e, emp f", "SELECT e.a FROM emp e JOIN emp f ON e.a = f.a"}) {
        const ToolResult unnamed = Qxsql({database, sql, "-o", directory.File("never.sql")});
        EXPECT_EQ(2, unnamed.exitCode) << sql;
        EXPECT_EQ(
            "INSERT statements need the name of a table, and the statement does not tell it: --table NAME\n",
            unnamed.err);
        EXPECT_EQ("", ReadFile(directory.File("never.sql"))) << sql;
        EXPECT_EQ(2, Qxsql({database, sql, "--format", "insert"}).exitCode) << sql;
        EXPECT_EQ(0, Qxsql({database, sql, "--format", "insert", "--table", "t"}).exitCode) << sql;
    }
    // Only results that are written need one.
    const std::string script = Script("SELECT 1 AS a;\nSELECT a FROM emp;\n");
    EXPECT_EQ(statement("emp"),
              Out({database, "-f", script, "--quiet", "--format", "insert", "--result", "1"}));
}

TEST_F(QxsqlBack, InsertsRunBackGiveAnEqualTable) {
    MakeShop();
    const std::string copy = "sqlite:" + directory.File("copy.db");
    const std::string script = directory.File("rows.sql");
    for (const char* const table : {"country", "customer", "product", "purchase", "purchase_item"}) {
        const std::string select = std::string("SELECT * FROM ") + table;
        const std::string create =
            Out({Database(), "--no-headers",
                 std::string("SELECT sql FROM sqlite_master WHERE name = '") + table + "'"});
        Out({"--create", copy, "--quiet", create});
        Out({Database(), select, "-o", script});
        const ToolResult run = Qxsql({copy, "-f", script});
        EXPECT_EQ(0, run.exitCode) << table << run.err;
        const std::string before = Out({Database(), select});
        EXPECT_EQ(before, Out({copy, select})) << table;
        EXPECT_GT(std::count(before.begin(), before.end(), '\n'), 2) << table;
    }
    EXPECT_EQ(Out({Database(), "SELECT sku, typeof(picture), hex(picture) FROM product"}),
              Out({copy, "SELECT sku, typeof(picture), hex(picture) FROM product"}));
}

TEST_F(QxsqlBack, TextsAndNamesThatWouldEndTheirStatement) {
    const std::string database = "sqlite:" + directory.File("odd.db");
    const std::string texts = "x'; DROP TABLE t; --|;\n;|\ngo\n|a\\|';|\"|--|/*|$$|]]>|E|'";
    std::string make = "CREATE TABLE t (\"order\" INT, \"a \"\"b\"\"\" TEXT, [c;d] BLOB);";
    std::string::size_type from = 0;
    for (int i = 0; from <= texts.size(); ++i) {
        const std::string::size_type end = std::min(texts.find('|', from), texts.size());
        std::string text = texts.substr(from, end - from);
        for (std::string::size_type at = text.find('\''); at != std::string::npos;
             at = text.find('\'', at + 2))
            text.insert(at, "'");
        make += "INSERT INTO t VALUES (" + std::to_string(i) + ", '" + text + "', X'');";
        from = end + 1;
    }
    Out({"--create", database, "--quiet", make});
    const std::string script = directory.File("rows.sql");
    Out({database, "SELECT * FROM t", "-o", script});
    const std::string before = Out({database, "SELECT * FROM t"});
    Out({database, "--quiet", "DELETE FROM t"});
    const ToolResult run = Qxsql({database, "-f", script});
    EXPECT_EQ(0, run.exitCode) << run.err;
    EXPECT_EQ(before, Out({database, "SELECT * FROM t"}));
    EXPECT_NE(std::string::npos, before.find("DROP TABLE")) << before;
    EXPECT_EQ("n\r\n0\r\n", Out({database, "SELECT count(*) AS n FROM t WHERE typeof([c;d]) <> 'blob'"}));
}

TEST_F(QxsqlBack, XmlReadBackIsTheSameText) {
    MakeShop();
    const std::string xml = directory.File("all.xml");
    const Words tables{"SELECT * FROM customer; SELECT * FROM product; SELECT * FROM purchase"};
    const std::string before = Out({Database(), tables[0]});
    Out({Database(), tables[0], "-o", xml});
    EXPECT_EQ(before, Out({"--read", xml}));
    EXPECT_EQ(Out({Database(), tables[0], "--result", "1", "--sort", "price:desc", "--columns", "1,2"}),
              Out({"--read", xml, "--result", "1", "--sort", "price:desc", "--columns", "1,2"}));
    // Under another name it is told what it is.
    const std::string other = directory.File("all.dat");
    WriteFile(other, ReadFile(xml));
    EXPECT_EQ(before, Out({"--read", other, "--read-format", "xml"}));
    // And on to another format.
    const std::string again = directory.File("again.xml");
    Out({"--read", xml, "-o", again});
    EXPECT_EQ(ReadFile(xml), ReadFile(again));
}

TEST_F(QxsqlBack, NamesAndTextsThatXmlWouldTakeForItsOwn) {
    const std::string sql = "SELECT 'a]]>b]]>' AS \"x<&\"\"y\", ']]' AS t, ']]>' AS u, 1 AS [&amp;]";
    const std::string xml = directory.File("odd.xml");
    Out({"sqlite::memory:", sql, "-o", xml});
    EXPECT_EQ("x<&\"y\tt\tu\t&amp;\r\na]]>b]]>\t]]\t]]>\t1\r\n", Out({"--read", xml}));
    // The columns that are written are those that are named.
    Out({"sqlite::memory:", sql, "-o", xml, "--columns", "3,1"});
    EXPECT_EQ("&amp;\tt\r\n1\t]]\r\n", Out({"--read", xml}));
}

// XML has no place for them; a file that nobody can read would be worse.
TEST_F(QxsqlBack, ControlCharactersAreLostAndTold) {
    const std::string labelled =
        "SELECT 'a' || char(1) || 'b' AS [x\x02"
        "y], 1 AS n";
    const std::string xml = directory.File("c.xml");
    const ToolResult out = Qxsql({"sqlite::memory:", labelled, "-o", xml});
    EXPECT_EQ(0, out.exitCode);
    EXPECT_EQ(xml + ": control characters, which XML has no place for, were written as ?\n", out.err);
    EXPECT_EQ("x y\tn\r\na?b\t1\r\n", Out({"--read", xml}));
    const ToolResult sheet = Qxsql({"sqlite::memory:", labelled, "--format", "excelxml"});
    EXPECT_EQ("standard output: control characters, which XML has no place for, were written as ?\n",
              sheet.err);
    EXPECT_NE(std::string::npos, sheet.out.find(">x y<")) << sheet.out;
    EXPECT_NE(std::string::npos, sheet.out.find(">a?b<")) << sheet.out;
    EXPECT_EQ("", Qxsql({"sqlite::memory:", "SELECT 'a' || char(10) || 'b' AS t", "-o", xml}).err);
    EXPECT_EQ("", Qxsql({"sqlite::memory:", labelled, "--format", "html"}).err);
}

TEST_F(QxsqlBack, XmlThatIsNone) {
    const std::string head = "<?xml version=\"1.0\"?>\n<resultset><rowset><row>\n";
    const std::string cell = "<column id=\"1\" name=\"a\">";
    const struct {
        const char* what;
        std::string text;
        const char* message;
    } cases[] = {
        {"empty", "", "no element found (line 1, column 1)"},
        {"text", "a\tb\r\n1\t2\r\n", "syntax error (line 1, column 1)"},
        {"cut", head + cell + "x", "no element found (line 3, column 26)"},
        {"crossed", head + cell + "x</row></column></rowset></resultset>",
         "mismatched tag (line 3, column 28)"},
        {"another document", "<html></html>", "The file has no element resultset"},
        {"external entity",
         "<!DOCTYPE a [<!ENTITY x SYSTEM \"file:///etc/passwd\">]>\n" + head.substr(22) + cell +
             "&x;</column></row></rowset></resultset>",
         "External entities are refused (line 1, column 52)"},
        {"document type outside", "<!DOCTYPE a SYSTEM \"http://localhost/a.dtd\">\n<resultset/>",
         "A document type outside the file is refused"},
    };
    const std::string file = directory.File("a.xml");
    for (const auto& one : cases) {
        WriteFile(file, one.text);
        const ToolResult result = Qxsql({"--read", file});
        EXPECT_EQ(4, result.exitCode) << one.what;
        EXPECT_EQ("", result.out) << one.what;
        EXPECT_EQ(0U, result.err.find(file + " -- " + one.message)) << one.what << result.err;
        EXPECT_EQ(1, std::count(result.err.begin(), result.err.end(), '\n')) << one.what << result.err;
    }
    std::string laughs = "<!DOCTYPE r [<!ENTITY a0 \"ha\">";
    for (int i = 1; i < 40; ++i)
        laughs += "<!ENTITY a" + std::to_string(i) + " \"&a" + std::to_string(i - 1) + ";&a" +
                  std::to_string(i - 1) + ";\">";
    WriteFile(file,
              laughs + "]><resultset><rowset><row>" + cell + "&a39;</column></row></rowset></resultset>");
    EXPECT_EQ(4, Qxsql({"--read", file}).exitCode);
    EXPECT_EQ(4, Qxsql({"--read", directory.File("missing.xml")}).exitCode);
    EXPECT_EQ(4, Qxsql({"--read", directory.Path(), "--read-format", "xml"}).exitCode);
}

// A pipe that is filled slowly.
class SlowXml {
  public:
    explicit SlowXml(const std::string& name) {
        std::signal(SIGPIPE, SIG_IGN);
        mkfifo(name.c_str(), 0600);
    }
    ~SlowXml() { close(file); }
    void Open(const std::string& name) {
        file = open(name.c_str(), O_WRONLY);
        Write("<?xml version=\"1.0\" encoding=\"ISO-8859-1\" ?>\n<resultset>\n<rowset>\n");
    }
    // Some hundred kilobytes: more than is read at once.
    void WriteRows(int count) {
        std::string text;
        for (; count > 0; --count)
            text += "<row><column id=\"1\" name=\"i\" type=\"Int\">" + std::to_string(++row) +
                    "</column></row>\n" + std::string(50, ' ');
        Write(text);
    }
    void Write(const std::string& text) const {
        std::string::size_type at = 0;
        while (at < text.size()) {
            const ssize_t count = write(file, text.data() + at, text.size() - at);
            if (count <= 0)
                return;
            at += static_cast<std::string::size_type>(count);
        }
    }
    void Close() {
        close(file);
        file = -1;
    }

  private:
    int file = -1;
    int row = 0;
};

TEST_F(QxsqlBack, XmlIsReadWithItsRowsCountedAndCanBeCut) {
    for (const bool cut : {false, true}) {
        const std::string pipe = directory.File(cut ? "cut" : "whole");
        SlowXml xml(pipe);
        RunningTool tool({QXSQL_PATH, "--read", pipe, "--read-format", "xml", "--progress"});
        xml.Open(pipe);
        xml.WriteRows(10000);
        std::this_thread::sleep_for(std::chrono::milliseconds(700));
        xml.WriteRows(10000);
        ASSERT_TRUE(tool.WaitForError(" rows/s\n"));
        if (cut)
            tool.Signal(SIGINT);
        xml.WriteRows(10000);
        xml.Write("</rowset>\n</resultset>\n");
        xml.Close();
        const ToolResult result = tool.Finish();
        EXPECT_EQ(cut ? 130 : 0, result.exitCode) << result.err;
        EXPECT_FALSE(result.signalled);
        EXPECT_EQ("i\r\n1\r\n2\r\n", result.out.substr(0, 9));
        const long lines = std::count(result.out.begin(), result.out.end(), '\n');
        EXPECT_TRUE(cut ? lines > 4096 && lines < 30001 : lines == 30001) << lines;
    }
}

TEST_F(QxsqlBack, ReadingAndWritingHaveFormatsOfTheirOwn) {
    WriteFile(directory.File("a.txt"), "a;b\n1;x,y\n");
    const std::string csv = directory.File("a.csv");
    EXPECT_EQ("", Out({"--read", directory.File("a.txt"), "--delimiter", ";", "-o", csv}));
    EXPECT_EQ("a,b\r\n1,\"x,y\"\r\n", ReadFile(csv));
    EXPECT_EQ("a|b\r\n1|x,y\r\n", Out({"--read", csv, "--format", "pipe"}));
    EXPECT_EQ("a\tb\r\n1\tx,y\r\n", Out({"--read", csv}));
    WriteFile(directory.File("b.txt"), "a|b\n1|2\n");
    EXPECT_EQ("a,b\r\n1,2\r\n",
              Out({"--read", directory.File("b.txt"), "--read-format", "pipe", "--format", "comma"}));
    const ToolResult refused = Qxsql({"--read", directory.File("a.html")});
    EXPECT_EQ(2, refused.exitCode);
    EXPECT_NE(std::string::npos, refused.err.find("html is not read back")) << refused.err;
}

}  // namespace
}  // namespace qxtest
