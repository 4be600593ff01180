// What becomes of XML results files in a store.
#include <cerrno>
#include <cstring>

#include "persistence_support.h"

namespace qxdbsqlengine {
namespace {

using Table = std::vector<std::vector<std::string>>;

class XmlReadTest : public PersistenceTest {
  protected:
    bool Read(const std::string& document) { return ReadBytes(document, ResultFileXml); }
    // A document of one rowset.
    bool ReadRows(const std::string& rows) {
        return Read("<?xml version=\"1.0\" encoding=\"ISO-8859-1\" ?><resultset><rowset>" + rows +
                    "</rowset></resultset>");
    }
    // All cells as texts, NULL as "NULL".
    Table Texts(int resultSet = 0) {
        Table rows(store->GetNumberOfRows(resultSet));
        for (int row = 0; row < static_cast<int>(rows.size()); ++row)
            for (int column = 0; column < store->GetNumberOfColumns(resultSet); ++column)
                rows[row].push_back(store->IsNull(resultSet, row, column)
                                        ? "NULL"
                                        : store->AsString(resultSet, row, column, std::locale::classic()));
        return rows;
    }
    void ExpectRecord(std::size_t number, int severity, int line, const std::string& text) {
        ASSERT_GT(callback.records.size(), number);
        const ErrorRecord& record = callback.records[number];
        EXPECT_EQ(record.GetSeverity(), severity);
        EXPECT_EQ(record.GetLineNumber(), line);
        EXPECT_EQ(record.GetErrorDescription(), file + " -- " + text);
        EXPECT_EQ(record.GetSQLState(), "");
        EXPECT_EQ(record.GetUserData(), nullptr);
    }
};

TEST_F(XmlReadTest, TypesNamesFormatsPrecisionsAndNulls) {
    EXPECT_TRUE(
        ReadRows("<row id=\"1\"><column id=\"1\" name=\"S\">text</column>"
                 "<column id=\"2\" name=\"A\" type=\"Short\">-5</column>"
                 "<column id=\"3\" name=\"B\" type=\"Int\">6</column>"
                 "<column id=\"4\" name=\"C\" type=\"Long\">7</column>"
                 "<column id=\"5\" name=\"D\" type=\"BigInt\">9223372036854775807</column>"
                 "<column id=\"6\" name=\"E\" type=\"Float\" precision=\"3\">1.5</column>"
                 "<column id=\"7\" name=\"F\" type=\"Double\">-0.25</column>"
                 "<column id=\"8\" name=\"G\" type=\"Decimal\" precision=\"2\">12.3</column>"
                 "<column id=\"9\" name=\"H\" type=\"Binary\">00FF</column>"
                 "<column id=\"10\" name=\"I\" type=\"Timestamp\" format=\"dd.MM.yyyy\">31.12.2004</column>"
                 "<column id=\"11\" name=\"J\" type=\"Timestamp\">2004-12-31 23:59:58.123</column></row>"
                 "<row id=\"2\">" +
                 [] {
                     std::string nulls;
                     for (int i = 1; i <= 11; ++i)
                         nulls += "<column id=\"" + std::to_string(i) + "\" null=\"true\" />";
                     return nulls;
                 }() +
                 "</row>"));
    ASSERT_EQ(store->GetNumberOfResultSets(), 1);
    EXPECT_EQ(store->GetResultSetType(0), ResultSetNormal);
    EXPECT_EQ(Labels(*store, 0),
              (std::vector<std::string>{"S", "A", "B", "C", "D", "E", "F", "G", "H", "I", "J"}));
    for (int column = 0; column < 11; ++column)
        EXPECT_EQ(store->GetDataType(0, column), column == 10 ? DataTypeTimestamp : column);
    EXPECT_EQ(store->GetPrecision(0, 5), 3);
    EXPECT_EQ(store->GetPrecision(0, 7), 2);
    EXPECT_STREQ(store->GetDataTimeFormat(0, 9), "dd.MM.yyyy");
    EXPECT_EQ(store->GetDataTimeFormat(0, 10), nullptr);
    EXPECT_EQ(Texts(), (Table{{"text", "-5", "6", "7", "9223372036854775807", "1.5", "-0.25", "12.30", "00FF",
                               "31.12.2004", "2004-12-31 23:59:58.123"},
                              std::vector<std::string>(11, "NULL")}));
    EXPECT_TRUE(callback.records.empty());
}

TEST_F(XmlReadTest, UnknownAndAbsentTypesAreTexts) {
    EXPECT_TRUE(
        ReadRows("<row><column type=\"int\">1</column><column type=\"\">2</column><column "
                 "type=\"Lob\" format=\"f\">3</column><column>4</column></row>"));
    for (int column = 0; column < 4; ++column)
        EXPECT_EQ(store->GetDataType(0, column), DataTypeString);
    EXPECT_EQ(Texts(), (Table{{"1", "2", "3", "4"}}));
    EXPECT_EQ(Labels(*store, 0), std::vector<std::string>(4, ""));
}

TEST_F(XmlReadTest, OnlyTheWordTrueIsNull) {
    EXPECT_TRUE(
        ReadRows("<row><column null=\"TRUE\">a</column><column null=\"1\">b</column><column "
                 "null=\"true\">c</column><column null=\"false\"/></row>"));
    EXPECT_EQ(Texts(), (Table{{"a", "b", "NULL", ""}}));
}

TEST_F(XmlReadTest, GapsInTheFirstRowAreFilledUp) {
    EXPECT_TRUE(ReadRows(
        "<row><column id=\"4\" name=\"D\" type=\"Int\">1</column><column id=\"6\" name=\"F\" "
        "null=\"true\"/></row>"
        "<row><column id=\"6\">f</column><column id=\"4\">2</column><column id=\"1\">a</column></row>"));
    EXPECT_EQ(Labels(*store, 0), (std::vector<std::string>{"", "", "", "D", "", "F"}));
    EXPECT_EQ(store->GetDataType(0, 3), DataTypeInt);
    EXPECT_EQ(store->GetDataType(0, 4), DataTypeString);
    EXPECT_EQ(Texts(), (Table{{"", "", "", "1", "", "NULL"}, {"a", "", "", "2", "", "f"}}));
}

TEST_F(XmlReadTest, ColumnsOfTheFirstRowStandInTheirOrder) {
    EXPECT_TRUE(
        ReadRows("<row><column id=\"2\" name=\"B\">b</column><column id=\"1\" name=\"A\">a</column>"
                 "<column id=\"0\" name=\"X\">x</column><column id=\"-7\" name=\"Y\">y</column>"
                 "<column id=\"no\" name=\"Z\">z</column></row>"));
    EXPECT_EQ(Labels(*store, 0), (std::vector<std::string>{"", "B", "A", "X", "Y", "Z"}));
    EXPECT_EQ(Texts(), (Table{{"", "b", "a", "x", "y", "z"}}));
}

TEST_F(XmlReadTest, LaterRowsWithoutNumbersAreCounted) {
    EXPECT_TRUE(
        ReadRows("<row><column/><column/><column/></row>"
                 "<row><column>a</column><column>b</column><column>c</column></row>"
                 "<row><column id=\"2\">b</column><column>c</column></row>"));
    EXPECT_EQ(Texts(), (Table{{"", "", ""}, {"a", "b", "c"}, {"", "b", "c"}}));
}

TEST_F(XmlReadTest, AMissingColumnIsEmptyAndNotNull) {
    EXPECT_TRUE(
        ReadRows("<row><column name=\"S\" null=\"true\"/><column type=\"Int\" null=\"true\"/>"
                 "<column type=\"Timestamp\" null=\"true\"/><column type=\"Decimal\" precision=\"1\" "
                 "null=\"true\"/><column type=\"Binary\" null=\"true\"/></row><row/>"));
    EXPECT_EQ(Texts(), (Table{{"NULL", "NULL", "NULL", "NULL", "NULL"},
                              {"", "0", "0000-00-00 00:00:00.000", "0.0", ""}}));
    EXPECT_TRUE(callback.records.empty());
}

TEST_F(XmlReadTest, ColumnsBeyondTheFirstRowAreIgnoredAndTold) {
    EXPECT_TRUE(
        ReadRows("<row><column>a</column></row>\n"
                 "<row><column id=\"3\" null=\"true\">x</column><column id=\"1\">b</column></row>\n"
                 "<row><column>c</column><column>y</column></row>\n"
                 "<row><column id=\"0\">z</column></row>"));
    EXPECT_EQ(Texts(), (Table{{"a"}, {"b"}, {"c"}, {""}}));
    ASSERT_EQ(callback.records.size(), 3u);
    ExpectRecord(0, 2, 2, "Column 3 in line 2 is none of the 1 columns of the first row; it is left out");
    ExpectRecord(1, 2, 3, "Column 2 in line 3 is none of the 1 columns of the first row; it is left out");
    ExpectRecord(2, 2, 4, "Column 0 in line 4 is none of the 1 columns of the first row; it is left out");
}

TEST_F(XmlReadTest, ManyOddColumnsAreCounted) {
    std::string rows = "<row><column>a</column></row>";
    for (int i = 0; i < 150; ++i)
        rows += "<row><column id=\"2\"/></row>";
    EXPECT_TRUE(ReadRows(rows));
    ASSERT_EQ(callback.records.size(), 101u);
    ExpectRecord(100, 2, 0, "50 more columns are not those of the first row");
    EXPECT_EQ(store->GetNumberOfRows(0), 151);
}

TEST_F(XmlReadTest, ColumnNumbersHaveALimit) {
    EXPECT_FALSE(ReadRows("<row><column id=\"32768\"/></row>"));
    ASSERT_EQ(callback.records.size(), 1u);
    ExpectRecord(0, 2, 1, "A row has more than 32767 columns");
    EXPECT_EQ(store->GetNumberOfResultSets(), 0);
    EXPECT_FALSE(ReadRows("<row><column id=\"99999999999999999999\"/></row>"));
    EXPECT_TRUE(ReadRows("<row><column id=\"32767\">x</column></row>"));
    EXPECT_EQ(store->GetNumberOfColumns(0), 32767);
}

TEST_F(XmlReadTest, ElementsOutOfTheirOrderAreDropped) {
    // A column before its row, a row before its rowset, a rowset before the document element.
    EXPECT_TRUE(
        Read("<resultset><row><column>1</column></row><column>2</column><rowset><column>3</column>"
             "<row><column>4</column></row></rowset></resultset>"));
    EXPECT_EQ(store->GetNumberOfResultSets(), 1);
    EXPECT_EQ(Texts(), (Table{{"4"}}));
    EXPECT_FALSE(Read("<rowset><row><column>1</column></row></rowset>"));
    ExpectRecord(0, 2, 0, "The file has no element resultset");
    EXPECT_EQ(store->GetNumberOfResultSets(), 1);
}

TEST_F(XmlReadTest, UnknownElementsDoNotMoveTheGuard) {
    EXPECT_TRUE(
        Read("<foo><resultset><foo/><rowset><foo>x</foo><row><foo/><column>1</column><bar/><column>2"
             "</column></row><foo a=\"b\"><bar/></foo><row><foo/><column>3</column><foo/></row></rowset>"
             "<foo/></resultset></foo>"));
    EXPECT_EQ(Texts(), (Table{{"1", "2"}, {"3", ""}}));
    EXPECT_TRUE(callback.records.empty());
}

TEST_F(XmlReadTest, AColumnInAColumnIsDropped) {
    EXPECT_TRUE(ReadRows("<row><column>a<column>b</column></column><column>c</column></row>"));
    EXPECT_EQ(Texts(), (Table{{"b", "c"}}));
}

TEST_F(XmlReadTest, ANewRowsetInARowBeginsAnew) {
    EXPECT_TRUE(
        ReadRows("<row><column>a</column><rowset><row><column>b</column></row></rowset></row>"
                 "<row><column>c</column></row>"));
    EXPECT_EQ(Texts(), (Table{{"b"}}));
}

TEST_F(XmlReadTest, TextOutsideOfColumnsGoesToTheLastOne) {
    EXPECT_TRUE(ReadRows("none<row>none<column>a</column>b</row>none<row>none<column>c</column>d</row>none"));
    EXPECT_EQ(Texts(), (Table{{"b"}, {"d"}}));
}

TEST_F(XmlReadTest, TheLastPieceOfAnInterruptedTextRemains) {
    EXPECT_TRUE(ReadRows("<row><column>a<foo>b</foo>c</column></row><row><column>d<foo/>  </column></row>"));
    EXPECT_EQ(Texts(), (Table{{"c"}, {"d"}}));
}

TEST_F(XmlReadTest, ValuesAreJoinedOverEntitiesLinesAndSections) {
    EXPECT_TRUE(
        ReadRows("<row><column>a &amp; b\r\nc&#33;<![CDATA[<d>]]>&lt;e</column></row>"
                 "<row><column><![CDATA[x]]]]><![CDATA[>y]]></column></row>"));
    EXPECT_EQ(Texts(), (Table{{"a & b\nc!<d><e"}, {"x]]>y"}}));
}

TEST_F(XmlReadTest, WhiteSpaceAloneIsEmpty) {
    EXPECT_TRUE(
        ReadRows("<row><column>  </column><column><![CDATA[\t\n]]></column><column> x </column></row>"));
    EXPECT_EQ(Texts(), (Table{{"", "", " x "}}));
}

TEST_F(XmlReadTest, LongValuesAreCutAndTold) {
    const std::string most(799, 'x');
    EXPECT_TRUE(ReadRows("<row><column>" + most + "</column></row>\n<row><column><![CDATA[" + most +
                         "y]]></column></row>"));
    EXPECT_EQ(Texts(), (Table{{most}, {most}}));
    ASSERT_EQ(callback.records.size(), 1u);
    ExpectRecord(0, 1, 2,
                 "The value that ends in line 2 is longer than 799 characters; the rest is left out");
    std::string many = "<row><column>a</column></row>";
    for (int i = 0; i < 103; ++i)
        many += "<row><column>" + most + "z</column></row>";
    callback.records.clear();
    EXPECT_TRUE(ReadRows(many));
    ASSERT_EQ(callback.records.size(), 101u);
    ExpectRecord(100, 1, 0, "3 more values are longer than 799 characters");
}

TEST_F(XmlReadTest, SeveralRowsetsAndThoseWithoutRows) {
    EXPECT_TRUE(
        Read("<resultset><rowset id=\"1\"/><rowset id=\"2\"><row><column name=\"A\">a</column></row></rowset>"
             "<rowset id=\"3\"><row/><row></row></rowset><rowset id=\"4\"><row/><row><column "
             "name=\"B\">b</column></row></rowset></resultset>"));
    ASSERT_EQ(store->GetNumberOfResultSets(), 2);
    EXPECT_EQ(Texts(0), (Table{{"a"}}));
    EXPECT_EQ(Texts(1), (Table{{"b"}}));
    EXPECT_EQ(Labels(*store, 1), (std::vector<std::string>{"B"}));
}

TEST_F(XmlReadTest, ReadResultSetsAreAddedBehindThoseOfTheStore) {
    AddTextResultSet(*store, {"OLD"}, {{"old"}});
    EXPECT_TRUE(ReadRows("<row><column name=\"NEW\">new</column></row>"));
    EXPECT_EQ(Texts(0), (Table{{"old"}}));
    EXPECT_EQ(Texts(1), (Table{{"new"}}));
    InsertTextRow(*store, 1, {"more"});  // the row lock is free
}

TEST_F(XmlReadTest, ADocumentWithoutRowsIsASuccess) {
    EXPECT_TRUE(Read("<resultset/>"));
    EXPECT_TRUE(Read("<a><resultset/></a>"));
    EXPECT_EQ(store->GetNumberOfResultSets(), 0);
    EXPECT_TRUE(callback.records.empty());
}

TEST_F(XmlReadTest, ProgressIsASawtooth) {
    std::string rows;
    for (int i = 0; i < 250; ++i)
        rows += "<row><column>a</column></row>";
    EXPECT_TRUE(ReadRows(rows));
    ASSERT_EQ(callback.progress.size(), 250u);
    for (int i = 0; i < 250; ++i)
        EXPECT_EQ(callback.progress[i], static_cast<float>((i + 1) % 100) / 100.0f);
}

TEST_F(XmlReadTest, ACancelledReadKeepsTheRowsSoFarAndIsASuccess) {
    callback.onProgress = [this] { cancel = callback.progress.size() == 2; };
    EXPECT_TRUE(
        ReadRows("<row><column>1</column></row><row><column>2</column></row><row><column>3</column>"
                 "</row><broken"));
    EXPECT_EQ(Texts(), (Table{{"1"}, {"2"}}));
    EXPECT_TRUE(callback.records.empty());
    callback.onProgress = nullptr;
    store = NewStore();
    EXPECT_TRUE(ReadRows("<row><column>1</column></row>"));  // set from the start
    EXPECT_EQ(store->GetNumberOfResultSets(), 0);
}

TEST_F(XmlReadTest, AMalformedFileIsReportedWithItsPlace) {
    EXPECT_FALSE(Read("<resultset>\n<rowset>\n<row><column>1</column></row>\n<row><column>2</row>"));
    ASSERT_EQ(callback.records.size(), 1u);
    ExpectRecord(0, 2, 4, "mismatched tag");
    EXPECT_EQ(callback.records[0].GetErrorCode(), 7);
    EXPECT_EQ(callback.records[0].GetErrorPosition(), 17);
    EXPECT_EQ(Texts(), (Table{{"1"}}));
}

TEST_F(XmlReadTest, EveryTruncationIsAnError) {
    const std::string document =
        "<?xml version=\"1.0\" encoding=\"ISO-8859-1\" ?>\n<resultset>\n    <rowset id=\"1\">\n        <row "
        "id=\"1\">\n            <column id=\"1\" name=\"A\"><![CDATA[a&b]]></column>\n        </row>\n    "
        "</rowset>\n</resultset>\n";
    const std::size_t end = document.rfind('>') + 1;
    for (std::size_t length = 0; length < document.size(); ++length) {
        store = NewStore();
        callback.records.clear();
        EXPECT_EQ(Read(document.substr(0, length)), length >= end) << length;
        EXPECT_EQ(callback.records.size(), length >= end ? 0u : 1u) << length;
    }
}

TEST_F(XmlReadTest, DocumentsThatReachOutsideOrBlowUpAreRefused) {
    EXPECT_FALSE(
        Read("<!DOCTYPE resultset [<!ENTITY e SYSTEM \"file:///etc/hostname\">]><resultset><rowset><row>"
             "<column>&e;</column></row></rowset></resultset>"));
    EXPECT_EQ(store->GetNumberOfResultSets(), 0);
    ASSERT_EQ(callback.records.size(), 1u);
    EXPECT_EQ(callback.records[0].GetErrorDescription(), file + " -- External entities are refused");
}

TEST_F(XmlReadTest, AValueThatItsColumnDoesNotTakeEndsTheRead) {
    EXPECT_FALSE(
        ReadRows("<row><column>a</column><column type=\"Timestamp\">2004-12-31</column><column>b</column>"
                 "</row>\n<row><column>c</column><column>soon</column><column>d</column></row>\n"
                 "<row><column>e</column><column/><column>f</column></row>"));
    EXPECT_EQ(Texts(), (Table{{"a", "2004-12-31 00:00:00.000", "b"}, {"c", "NULL", "d"}}));
    ASSERT_EQ(callback.records.size(), 1u);
    ExpectRecord(
        0, 2, 2, "Column 2: " + [] {
            try {
                qxdb::Timestamp("soon");
            } catch (const std::exception& e) {
                return std::string(e.what());
            }
            return std::string();
        }());
    InsertTextRow(*store, 0, {"g", "2005-01-01", "h"});  // the columns still have as many rows
    EXPECT_EQ(Texts().back(), (std::vector<std::string>{"g", "2005-01-01 00:00:00.000", "h"}));
}

TEST_F(XmlReadTest, FilesThatCannotBeRead) {
    Persistence persistence(ResultFileXml, cancel, &callback, store);
    const std::string missing = folder.Path("missing.xml");
    persistence.SetFileName(missing.c_str());
    EXPECT_FALSE(persistence.ReadAllResultSets());
    persistence.SetFileName("");
    EXPECT_FALSE(persistence.ReadAllResultSets());
    const std::string directory = folder.Path("directory");
    std::filesystem::create_directory(directory);
    persistence.SetFileName(directory.c_str());
    EXPECT_FALSE(persistence.ReadAllResultSets());
    ASSERT_EQ(callback.records.size(), 3u);
    EXPECT_EQ(callback.records[0].GetErrorDescription(), missing + " -- " + std::strerror(ENOENT));
    EXPECT_EQ(callback.records[0].GetErrorCode(), ENOENT);
    EXPECT_EQ(callback.records[1].GetErrorDescription(), std::strerror(ENOENT));
    EXPECT_EQ(callback.records[2].GetErrorDescription(), directory + " -- " + std::strerror(EISDIR));
    EXPECT_FALSE(Read(""));  // no document is none
    ASSERT_EQ(callback.records.size(), 4u);
    ExpectRecord(3, 2, 1, "no element found");
}

TEST_F(XmlReadTest, WithoutCallback) {
    callback.onProgress = nullptr;
    WriteWholeFile(file, "<resultset><rowset><row><column>a</column></row><row><column id=\"5\"/></row>");
    Persistence persistence(ResultFileXml, cancel, nullptr, store);
    persistence.SetFileName(file.c_str());
    EXPECT_FALSE(persistence.ReadAllResultSets());
    EXPECT_EQ(Texts(), (Table{{"a"}, {""}}));
}

TEST_F(XmlReadTest, AnExceptionOfTheCallbackClosesTheInput) {
    callback.onProgress = [] { throw std::runtime_error("stop"); };
    const std::string document =
        "<resultset><rowset><row><column>a</column></row><row/></rowset></resultset>";
    WriteWholeFile(file, document);
    Persistence persistence(ResultFileXml, cancel, &callback, store);
    persistence.SetFileName(file.c_str());
    EXPECT_THROW(persistence.ReadAllResultSets(), std::runtime_error);
    EXPECT_EQ(Texts(), (Table{{"a"}}));
    callback.onProgress = nullptr;
    EXPECT_TRUE(persistence.ReadAllResultSets());
    EXPECT_EQ(Texts(1), (Table{{"a"}, {""}}));
    InsertTextRow(*store, 0, {"b"});
}

}  // namespace
}  // namespace qxdbsqlengine
