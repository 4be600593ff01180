// Formats, rows and names by the words of the command line.

#include "tools/qxsql/file_formats.h"

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>

#include "tools/qxsql/row_ranges.h"
#include "tools/qxsql/sql_names.h"

namespace qxsql {
namespace {

using namespace qxdbsqlengine;

TEST(FileFormats, OutputByFormatThenByExtension) {
    const struct {
        const char* format;
        const char* file;
        ResultFileType type;
    } cases[] = {
        {"", "a.csv", ResultFileComma},
        {"", "a.CSV", ResultFileComma},
        {"", "a.psv", ResultFilePipe},
        {"", "a.pipe", ResultFilePipe},
        {"", "a.html", ResultFileHtml},
        {"", "a.HTM", ResultFileHtml},
        {"", "a.xls", ResultFileExcel},
        {"", "a.xml", ResultFileXml},
        {"", "a.sql", ResultFileInsert},
        {"", "a.txt", ResultFileTab},
        {"", "a.html.txt", ResultFileTab},
        {"", "a", ResultFileTab},
        {"", "", ResultFileTab},
        {"tab", "a.csv", ResultFileTab},
        {"comma", "a.txt", ResultFileComma},
        {"pipe", "a.csv", ResultFilePipe},
        {"delimited", "a.csv", ResultFileDelimited},
        {"html", "a.csv", ResultFileHtml},
        {"excel", "a.csv", ResultFileExcel},
        {"excelxml", "a.xml", ResultFileSpreadsheetXml},
        {"xml", "a.csv", ResultFileXml},
        {"insert", "a.csv", ResultFileInsert},
    };
    for (const auto& one : cases) {
        CommandLine line;
        line.format = one.format;
        line.outputFile = one.file;
        EXPECT_EQ(one.type, OutputType(line)) << one.format << " " << one.file;
    }
    CommandLine line;
    line.delimiter = ';';
    line.outputFile = "a.csv";
    EXPECT_EQ(ResultFileDelimited, OutputType(line));
}

TEST(FileFormats, InputByItsFormatThenByDelimiterThenByExtension) {
    const struct {
        const char* readFormat;
        const char* delimiter;
        const char* file;
        ResultFileType type;
    } cases[] = {
        {"", "", "a.csv", ResultFileComma},
        {"", "", "a.pipe", ResultFilePipe},
        {"", "", "a.XML", ResultFileXml},
        {"", "", "a.dat", ResultFileTab},
        {"", ";", "a.csv", ResultFileDelimited},
        {"xml", "", "a.csv", ResultFileXml},
        {"xml", ";", "a.csv", ResultFileXml},
        {"tab", "", "a.html", ResultFileTab},
        {"comma", "", "a", ResultFileComma},
        {"pipe", "", "a", ResultFilePipe},
        {"delimited", "", "a.csv", ResultFileDelimited},
    };
    for (const auto& one : cases) {
        CommandLine line;
        line.readFile = one.file;
        line.readFormat = one.readFormat;
        if (*one.delimiter != '\0')
            line.delimiter = *one.delimiter;
        line.format = "html";
        EXPECT_EQ(one.type, InputType(line)) << one.readFormat << " " << one.file;
    }
    for (const char* const file : {"a.html", "a.htm", "a.xls", "a.sql"}) {
        CommandLine line;
        line.readFile = file;
        EXPECT_THROW(InputType(line), std::invalid_argument) << file;
    }
}

// The delimiter of a file that is read is not that of what is written from it.
TEST(FileFormats, DelimiterOfReadingIsNotThatOfWriting) {
    CommandLine line;
    line.readFile = "a.txt";
    line.delimiter = ';';
    line.outputFile = "a.csv";
    EXPECT_EQ(ResultFileDelimited, InputType(line));
    EXPECT_EQ(ResultFileComma, OutputType(line));
}

TEST(FileFormats, Names) {
    EXPECT_EQ("tab, comma, pipe, delimited, html, excel, excelxml, xml, insert", OutputFormatNames());
    EXPECT_EQ("tab, comma, pipe, delimited, xml", InputFormatNames());
    EXPECT_TRUE(IsOutputFormat("excelxml"));
    EXPECT_FALSE(IsOutputFormat(""));
    EXPECT_FALSE(IsInputFormat("html"));
    for (const ResultFileType type :
         {ResultFileHtml, ResultFileExcel, ResultFileSpreadsheetXml, ResultFileXml})
        EXPECT_TRUE(IsDocument(type)) << type;
    for (const ResultFileType type : {ResultFileTab, ResultFileComma, ResultFileInsert, ResultFileDelimited})
        EXPECT_FALSE(IsDocument(type)) << type;
}

TEST(RowRanges, OfAResult) {
    const struct {
        const char* text;
        int count;
        std::vector<int> rows;
    } cases[] = {
        {"0-2", 10, {0, 1, 2}},
        {"8-", 10, {8, 9}},
        {"7", 10, {7}},
        {"10", 10, {}},
        {"3,0-1,3", 4, {3, 0, 1, 3}},
        {"0-99", 2, {0, 1}},
        {"5-", 5, {}},
        {"0-", 0, {}},
        {"2147483647", 5, {}},
        {"2147483646-2147483647,1", 5, {1}},
    };
    for (const auto& one : cases)
        EXPECT_EQ(one.rows, RowsOf(ParseRows(one.text), one.count)) << one.text;
    for (const char* const text : {"", "a", "1-a", "-1", "1--2", "2-1", "1,", "1 ", "99999999999"})
        EXPECT_THROW(ParseRows(text), std::invalid_argument) << text;
}

TEST(RowRanges, MoreThanAnIntCounts) {
    const int most = std::numeric_limits<int>::max();
    EXPECT_THROW(RowsOf(ParseRows("0-,0-"), most), std::invalid_argument);
}

TEST(SqlNames, OneTableAndNothingElse) {
    const struct {
        const char* text;
        const char* name;
    } cases[] = {
        {"emp", "emp"},
        {"emp ", "emp"},
        {" scott.emp\n", "scott.emp"},
        {"db..emp", "db..emp"},
        {"#temp", "#temp"},
        {"\"a b\".\"c\"\"d\"", "\"a b\".\"c\"\"d\""},
        {"[a b].c", "[a b].c"},
        {"`a;b`", "`a;b`"},
        {"t\xC3\xA4glich", "t\xC3\xA4glich"},
        {"", ""},
        {" ", ""},
        {"emp e", ""},
        {"emp where a = 1", ""},
        {"emp join dept", ""},
        {"emp.", ""},
        {".emp", ""},
        {"\"A", ""},
        {"\"\"", ""},
        {"[a", ""},
        {"5emp", ""},
        {"(select", ""},
        {"f(1)", ""},
        {"emp;", ""},
        {"emp--", ""},
    };
    for (const auto& one : cases)
        EXPECT_EQ(one.name, TableNameOf(one.text)) << one.text;
    EXPECT_EQ("", TableNameOf(std::string("a\0b", 3)));
}

TEST(SqlNames, ColumnsInQuotesByNeed) {
    const struct {
        const char* label;
        qxdb::DBTYPE server;
        const char* name;
    } cases[] = {
        {"name", qxdb::DBTYPE_OTHER, "name"},
        {"NAME_2", qxdb::DBTYPE_ORACLE, "NAME_2"},
        {"_a", qxdb::DBTYPE_OTHER, "_a"},
        {"unit price", qxdb::DBTYPE_OTHER, "\"unit price\""},
        {"unit price", qxdb::DBTYPE_ORACLE, "\"unit price\""},
        {"unit price", qxdb::DBTYPE_SQLSERVER, "[unit price]"},
        {"unit price", qxdb::DBTYPE_SYBASE, "[unit price]"},
        {"unit price", qxdb::DBTYPE_MYSQL, "`unit price`"},
        {"a\"b", qxdb::DBTYPE_OTHER, "\"a\"\"b\""},
        {"a]b", qxdb::DBTYPE_SQLSERVER, "[a]]b]"},
        {"a`b", qxdb::DBTYPE_MYSQL, "`a``b`"},
        {"Order", qxdb::DBTYPE_OTHER, "\"Order\""},
        {"group", qxdb::DBTYPE_MYSQL, "`group`"},
        {"1", qxdb::DBTYPE_OTHER, "\"1\""},
        {"gr\xC3\xB6\xC3\x9F"
         "e",
         qxdb::DBTYPE_OTHER,
         "\"gr\xC3\xB6\xC3\x9F"
         "e\""},
        {"COUNT(*)", qxdb::DBTYPE_OTHER, "COUNT"},
        {"price (EUR)", qxdb::DBTYPE_OTHER, "price"},
        {"unit price (EUR)", qxdb::DBTYPE_OTHER, "\"unit price\""},
        {"(no name)", qxdb::DBTYPE_OTHER, ""},
        {"", qxdb::DBTYPE_OTHER, ""},
    };
    for (const auto& one : cases)
        EXPECT_EQ(one.name, ColumnNameOf(one.label, one.server)) << one.label << " " << one.server;
}

}  // namespace
}  // namespace qxsql
