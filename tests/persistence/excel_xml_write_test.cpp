// The bytes of SpreadsheetML.
#include "persistence/excel_xml_persistence.h"

#include "persistence_support.h"

namespace qxdbsqlengine {
namespace {

const std::string kHead =
    "<?xml version=\"1.0\" encoding=\"ISO-8859-1\" ?>\n"
    "<?mso-application progid=\"Excel.Sheet\"?>\n"
    "<Workbook xmlns=\"urn:schemas-microsoft-com:office:spreadsheet\"\n"
    " xmlns:v=\"urn:schemas-microsoft-com:vml\"\n"
    " xmlns:o=\"urn:schemas-microsoft-com:office:office\"\n"
    " xmlns:x=\"urn:schemas-microsoft-com:office:excel\"\n"
    " xmlns:ss=\"urn:schemas-microsoft-com:office:spreadsheet\"\n"
    " xmlns:html=\"http://www.w3.org/TR/REC-html40\">\n"
    " <Styles>\n"
    "  <Style ss:ID=\"Default\" ss:Name=\"Normal\">\n"
    "   <Alignment ss:Vertical=\"Bottom\" />\n"
    "  </Style>\n"
    "  <Style ss:ID=\"s62\">\n"
    "   <Alignment ss:Horizontal=\"Left\" ss:Vertical=\"Center\" />\n"
    "   <Font ss:Bold=\"1\"/>\n"
    "  </Style>\n"
    "  <Style ss:ID=\"s63\">\n"
    "   <Alignment ss:Horizontal=\"Right\" ss:Vertical=\"Center\" />\n"
    "   <Font ss:Bold=\"1\"/>\n"
    "  </Style>\n"
    "  <Style ss:ID=\"s64\">\n"
    R"(   <NumberFormat ss:Format="m/d/yyyy\ h:mm\ AM/PM" />)"
    "\n"
    "  </Style>\n"
    "  <Style ss:ID=\"s65\">\n"
    "   <Alignment ss:Horizontal=\"Center\" ss:Vertical=\"Center\" />\n"
    "   <Font ss:Bold=\"1\"/>\n"
    "  </Style>\n"
    " </Styles>\n"
    " <Worksheet ss:Name=\"Sheet1\">\n"
    "  <Table>\n";
const std::string kFoot = "  </Table>\n </Worksheet>\n</Workbook>\n";
const std::string kRow = "   <Row>\n";
const std::string kRowEnd = "   </Row>\n";

std::string Text(const std::string& text) {
    return "    <Cell><Data ss:Type=\"String\">" + text + "</Data></Cell>\n";
}
std::string Number(const std::string& text) {
    return "    <Cell><Data ss:Type=\"Number\">" + text + "</Data></Cell>\n";
}
std::string Time(const std::string& text) {
    return "    <Cell ss:StyleID=\"s64\"><Data ss:Type=\"DateTime\">" + text + "</Data></Cell>\n";
}
std::string Head(const std::string& style, const std::string& label) {
    return "    <Cell ss:StyleID=\"" + style + "\"><Data ss:Type=\"String\">" + label + "</Data></Cell>\n";
}

using ExcelXmlWriteTest = PersistenceTest;

TEST_F(ExcelXmlWriteTest, TheWholeFile) {
    UseOddStore().hints = {{2, 2}, {3, 7}};
    AddTypedResultSet(*store,
                      {Column("N", DataTypeInt), Column("<S>", DataTypeString), Column("C", DataTypeString),
                       Column("D", DataTypeString)},
                      {{"1", "a", "b", "c"}, {Cell(), Cell(), Cell(), Cell()}});
    EXPECT_EQ(WriteAll(ResultFileSpreadsheetXml), kHead + kRow + Head("s63", "N") + Head("s62", "&lt;S&gt;") +
                                                      Head("s65", "C") + Head("s62", "D") + kRowEnd + kRow +
                                                      Number("1") + Text("a") + Text("b") + Text("c") +
                                                      kRowEnd + kRow + Text("[NULL]") + Text("[NULL]") +
                                                      Text("[NULL]") + Text("[NULL]") + kRowEnd + kFoot);
}

TEST_F(ExcelXmlWriteTest, EveryType) {
    AddTypedResultSet(
        *store,
        {Column("0", DataTypeString), Column("1", DataTypeShort), Column("2", DataTypeInt),
         Column("3", DataTypeLong), Column("4", DataTypeInt64), Column("5", DataTypeFloat),
         Column("6", DataTypeDouble), Column("7", DataTypeDecimal, "", 2), Column("8", DataTypeBinary),
         Column("9", DataTypeTimestamp, "yyyy"), Column("10", DataTypeLob), Column("11", DataTypeNamedType)},
        {{"&", "-5", "6", "7", "9223372036854775807", "1.5", "-0.25", "12345678901234567890.12", "BEEF",
          "2004", "<lob>", "<o>"},
         {Cell(), Cell(), Cell(), Cell(), Cell(), Cell(), Cell(), Cell(), Cell(), Cell(), Cell(), Cell()}});
    std::string nulls;
    for (int i = 0; i < 12; ++i)
        nulls += Text("[NULL]");
    EXPECT_EQ(WriteAll(ResultFileSpreadsheetXml, [](Persistence& p) { p.SetIncludeHeaders(false); }),
              kHead + kRow + Text("&amp;") + Number("-5") + Number("6") + Number("7") +
                  Number("9223372036854775807") + Number("1.5") + Number("-0.25") +
                  Number("12345678901234567890.12") + Text(store->AsString(0, 0, 8, std::locale::classic())) +
                  Time("2004-00-00T00:00:00.000") + Text("&lt;lob&gt;") + Text("&lt;o&gt;") + kRowEnd + kRow +
                  nulls + kRowEnd + kFoot);
}

TEST_F(ExcelXmlWriteTest, TimestampsInTheFormatOfTheFile) {
    store->AddResultSet({Column("T", DataTypeTimestamp, "dd.MM.yy")}, ResultSetNormal);
    store->InsertTimestamp(0, 0, qxdbsqlengine::Time(2004, 12, 31, 23, 59, 58, 123999999));
    EXPECT_EQ(WriteAll(ResultFileSpreadsheetXml, [](Persistence& p) { p.SetIncludeHeaders(false); }),
              kHead + kRow + Time("2004-12-31T23:59:58.123") + kRowEnd + kFoot);
}

TEST_F(ExcelXmlWriteTest, LineBreaksInTexts) {
    AddTextResultSet(*store, {"A"}, {{"a\nb"}, {"a\r\nb"}, {"a\rb"}, {"&#10;\"'\t  "}});
    EXPECT_EQ(WriteAll(ResultFileSpreadsheetXml, [](Persistence& p) { p.SetIncludeHeaders(false); }),
              kHead + kRow + Text("a&#10;b") + kRowEnd + kRow + Text("a&#10;b") + kRowEnd + kRow +
                  Text("a&#13;b") + kRowEnd + kRow + Text("&amp;#10;\"'\t  ") + kRowEnd + kFoot);
}

TEST_F(ExcelXmlWriteTest, TwoResultSetsOnOneSheetWithAnEmptyRowBetween) {
    AddTextResultSet(*store, {"A"}, {{"a"}});
    AddTextResultSet(*store, {"B"}, {{"b"}});
    EXPECT_EQ(WriteAll(ResultFileSpreadsheetXml),
              kHead + kRow + Head("s62", "A") + kRowEnd + kRow + Text("a") + kRowEnd + kRow + kRowEnd + kRow +
                  Head("s62", "B") + kRowEnd + kRow + Text("b") + kRowEnd + kFoot);
}

// Kept for callers who put such pieces together.
TEST_F(ExcelXmlWriteTest, AResultSetBehindTheFirstHasNoHead) {
    AddTextResultSet(*store, {"A"}, {});
    AddTextResultSet(*store, {"B"}, {});
    const std::string second = kRow + kRowEnd + kRow + Head("s62", "B") + kRowEnd;
    Persistence persistence(ResultFileSpreadsheetXml, cancel, &callback, store);
    persistence.SetFileName(file.c_str());
    EXPECT_TRUE(persistence.WriteResultSet(1, true));
    EXPECT_EQ(ReadWholeFile(file), second + kFoot);
    EXPECT_TRUE(persistence.WriteResultSets({1}));
    EXPECT_EQ(ReadWholeFile(file), second + kFoot);
    EXPECT_TRUE(persistence.WriteResultSet(0, true));
    EXPECT_EQ(ReadWholeFile(file), kHead + kRow + Head("s62", "A") + kRowEnd + kFoot);
    EXPECT_TRUE(persistence.WriteResultSets({1, 0}));
    EXPECT_EQ(ReadWholeFile(file), second + kRow + Head("s62", "A") + kRowEnd + kFoot);
}

TEST_F(ExcelXmlWriteTest, BytesPassWhateverTheFileDeclares) {
    const std::string bytes = "\xF0\x9F\x98\x80\x80\xFF\x01";
    AddTextResultSet(*store, {"A"}, {{bytes}});
    EXPECT_EQ(WriteAll(ResultFileSpreadsheetXml, [](Persistence& p) { p.SetIncludeHeaders(false); }),
              kHead + kRow + Text(bytes) + kRowEnd + kFoot);
}

TEST_F(ExcelXmlWriteTest, NoRowsAndNoColumns) {
    AddTextResultSet(*store, {"A"}, {{"a"}});
    EXPECT_EQ(WriteAll(ResultFileSpreadsheetXml, [](Persistence& p) { p.SetColumnList({1}); }),
              kHead + kRow + kRowEnd + kRow + kRowEnd + kFoot);
    store = NewStore();
    EXPECT_EQ(WriteAll(ResultFileSpreadsheetXml), "");
}

class OneCell : public ExcelXMLPersistence {
  public:
    using ExcelXMLPersistence::ExcelXMLPersistence;
    void WriteRow(int row) override {
        for (int column : SelectedColumns())
            WriteDataCell(row, column);
    }
};

TEST_F(ExcelXmlWriteTest, ASingleCellIsWrittenAsInItsRow) {
    AddTypedResultSet(
        *store,
        {Column("T", DataTypeTimestamp, "yyyy-MM-dd"), Column("S", DataTypeString), Column("N", DataTypeInt)},
        {{"2004-12-31", "<", "5"}, {Cell(), Cell(), Cell()}});
    OneCell persistence(cancel);
    persistence.SetDataStorage(store);
    persistence.SetFileName(file.c_str());
    persistence.SetIncludeHeaders(false);
    EXPECT_TRUE(persistence.WriteResultSet(0, false));
    EXPECT_EQ(ReadWholeFile(file), Time("2004-12-31T00:00:00.000") + Text("&lt;") + Number("5") +
                                       Text("[NULL]") + Text("[NULL]") + Text("[NULL]"));
}

}  // namespace
}  // namespace qxdbsqlengine
