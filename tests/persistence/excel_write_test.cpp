// The bytes of the HTML that spreadsheets open.
#include "persistence/excel_persistence.h"

#include "persistence_support.h"

namespace qxdbsqlengine {
namespace {

const std::string kHead =
    "<html xmlns:o=\"urn:schemas-microsoft-com:office:office\"\r\n"
    "xmlns:x=\"urn:schemas-microsoft-com:office:excel\"\r\n"
    "xmlns=\"http://www.w3.org/TR/REC-html40\">\r\n"
    "<head>\r\n"
    "<meta http-equiv=Content-Type content=\"text/html; charset=us-ascii\">\r\n"
    "<meta name=ProgId content=Excel.Sheet>\r\n"
    "<meta name=Generator content=\"Quillhaven Excel Export\">\r\n"
    "<style>\r\n"
    "<!--table\r\n"
    "  br\r\n    {mso-data-placement:same-cell;}\r\n"
    "  .xl29\r\n    {mso-style-parent:style0;\r\n"
    R"(    mso-number-format:"m\/d\/yyyy\\ h\:mm\:ss\\ AM\/PM";)"
    "\r\n    white-space:normal;}\r\n"
    "  .xl30\r\n    {mso-style-parent:style0;\r\n"
    R"(    mso-number-format:"\@";)"
    "\r\n    white-space:normal;}\r\n"
    "-->\r\n"
    "</style>\r\n"
    "<!--[if gte mso 9]><xml>\r\n"
    " <x:ExcelWorkbook>\r\n"
    "  <x:ExcelWorksheets>\r\n"
    "   <x:ExcelWorksheet>\r\n"
    "    <x:Name>Sheet1</x:Name>\r\n"
    "    <x:WorksheetOptions>\r\n"
    "     <x:Selected/>\r\n"
    "    </x:WorksheetOptions>\r\n"
    "   </x:ExcelWorksheet>\r\n"
    "  </x:ExcelWorksheets>\r\n"
    " </x:ExcelWorkbook>\r\n"
    "</xml><![endif]-->\r\n"
    "</head>\r\n<body>\r\n";
const std::string kFoot = "</body>\r\n</html>";
const std::string kTable = "    <table>\r\n";
const std::string kTableEnd = "    </table>\r\n";
const std::string kRow = "        <tr>\r\n";
const std::string kRowEnd = "        </tr>\r\n";

using ExcelWriteTest = PersistenceTest;

TEST_F(ExcelWriteTest, TheWholeFile) {
    AddTypedResultSet(*store, {Column("N", DataTypeInt), Column("S", DataTypeString)}, {{"1", "a"}});
    EXPECT_EQ(WriteAll(ResultFileExcel), kHead + kTable + kRow +
                                             "            <th align=\"right\">N</th>\r\n"
                                             "            <th>S</th>\r\n" +
                                             kRowEnd + kRow +
                                             "            <td align=\"right\">1</td>\r\n"
                                             "            <td class=xl30>a</td>\r\n" +
                                             kRowEnd + kTableEnd + kFoot);
}

TEST_F(ExcelWriteTest, EveryTypeAndEveryNull) {
    UseOddStore().hints = {{3, 2}};
    AddTypedResultSet(
        *store,
        {Column("T", DataTypeTimestamp), Column("S", DataTypeString), Column("D", DataTypeDecimal, "", 2),
         Column("B", DataTypeBinary), Column("L", DataTypeLob), Column("O", DataTypeNamedType)},
        {{"2004-12-31 23:59:58.999", "<s>", "1.5", "BEEF", "<lob>", "a  &\t\"b"},
         {Cell(), Cell(), Cell(), Cell(), Cell(), Cell()}});
    const std::string binary = store->AsString(0, 0, 3, std::locale::classic());
    EXPECT_EQ(WriteAll(ResultFileExcel, [](Persistence& p) { p.SetIncludeHeaders(false); }),
              kHead + kTable + kRow +
                  "            <td class=x129>12/31/2004 11:59:58 PM</td>\r\n"
                  "            <td class=xl30>&lt;s&gt;</td>\r\n"
                  "            <td align=\"right\">1.50</td>\r\n"
                  "            <td align=\"center\">" +
                  binary +
                  "</td>\r\n"
                  "            <td><lob></td>\r\n"
                  "            <td>a  &\t\"b</td>\r\n" +
                  kRowEnd + kRow +
                  "            <td>[NULL]</td>\r\n"
                  "            <td>[NULL]</td>\r\n"
                  "            <td align=\"right\">[NULL]</td>\r\n"
                  "            <td align=\"center\">[NULL]</td>\r\n"
                  "            <td>[NULL]</td>\r\n"
                  "            <td>[NULL]</td>\r\n" +
                  kRowEnd + kTableEnd + kFoot);
}

TEST_F(ExcelWriteTest, ANullIsAlignedByHintAndNotEscapedWhateverItsType) {
    UseOddStore().hints = {{0, 1}, {1, 2}, {2, 0}};
    AddTypedResultSet(*store,
                      {Column("S", DataTypeString), Column("T", DataTypeTimestamp), Column("N", DataTypeInt)},
                      {{Cell(), Cell(), Cell()}});
    EXPECT_EQ(WriteAll(ResultFileExcel), kHead + kTable + kRow +
                                             "            <th align=\"right\">S</th>\r\n"
                                             "            <th align=\"center\">T</th>\r\n"
                                             "            <th>N</th>\r\n" +
                                             kRowEnd + kRow +
                                             "            <td align=\"right\">[NULL]</td>\r\n"
                                             "            <td align=\"center\">[NULL]</td>\r\n"
                                             "            <td>[NULL]</td>\r\n" +
                                             kRowEnd + kTableEnd + kFoot);
}

// The column's own format plays no part, nor does what it leaves out.
TEST_F(ExcelWriteTest, TimestampsInTheFormatOfTheFile) {
    store->AddResultSet({Column("T", DataTypeTimestamp, "yyyy")}, ResultSetNormal);
    store->InsertTimestamp(0, 0, Time(2004, 2, 9, 0, 5, 7, 0));
    store->InsertTimestamp(0, 0, Time(1999, 12, 31, 12, 0, 0, 999999999));
    store->InsertTimestamp(0, 0, qxdb::Timestamp());  // the zero timestamp is a value
    EXPECT_EQ(WriteAll(ResultFileExcel, [](Persistence& p) { p.SetIncludeHeaders(false); }),
              kHead + kTable + kRow + "            <td class=x129>02/09/2004 12:05:07 AM</td>\r\n" + kRowEnd +
                  kRow + "            <td class=x129>12/31/1999 12:00:00 PM</td>\r\n" + kRowEnd + kRow +
                  "            <td class=x129>00/00/0000 12:00:00 AM</td>\r\n" + kRowEnd + kTableEnd + kFoot);
}

TEST_F(ExcelWriteTest, LabelsAndTextsAreEscapedWithSpans) {
    AddTextResultSet(*store, {"a  b"}, {{"\t"}, {"x\r\ny\n"}, {"\"&\""}});
    EXPECT_EQ(WriteAll(ResultFileExcel),
              kHead + kTable + kRow +
                  "            <th>a<SPAN STYLE='mso-spacerun:yes'>&nbsp;&nbsp;</SPAN>b</th>\r\n" + kRowEnd +
                  kRow +
                  "            <td class=xl30><SPAN "
                  "STYLE='mso-spacerun:yes'>&nbsp;&nbsp;&nbsp;&nbsp;</SPAN></td>\r\n" +
                  kRowEnd + kRow + "            <td class=xl30>x<br>y<br></td>\r\n" + kRowEnd + kRow +
                  "            <td class=xl30>&quot;&amp;&quot;</td>\r\n" + kRowEnd + kTableEnd + kFoot);
}

TEST_F(ExcelWriteTest, OneHeadAndBreaksBetweenResultSets) {
    AddTextResultSet(*store, {"A"}, {});
    AddTextResultSet(*store, {"B"}, {{"b"}});
    const auto labels = [](const char* label) {
        return kTable + kRow + "            <th>" + label + "</th>\r\n" + kRowEnd;
    };
    EXPECT_EQ(WriteAll(ResultFileExcel), kHead + labels("A") + kTableEnd + "<br>\r\n" + labels("B") + kRow +
                                             "            <td class=xl30>b</td>\r\n" + kRowEnd + kTableEnd +
                                             kFoot);
    Persistence persistence(ResultFileExcel, cancel, &callback, store);
    persistence.SetFileName(file.c_str());
    EXPECT_TRUE(persistence.WriteResultSet(1, true));  // of any number: nothing was written before it
    EXPECT_EQ(ReadWholeFile(file), kHead + labels("B") + kRow + "            <td class=xl30>b</td>\r\n" +
                                       kRowEnd + kTableEnd + kFoot);
}

class OneCell : public ExcelPersistence {
  public:
    using ExcelPersistence::ExcelPersistence;
    void WriteRow(int row) override {
        for (int column : SelectedColumns())
            WriteDataCell(row, column);
    }
};

TEST_F(ExcelWriteTest, ASingleCellIsWrittenAsInItsRow) {
    AddTypedResultSet(
        *store,
        {Column("T", DataTypeTimestamp, "yyyy-MM-dd"), Column("S", DataTypeString), Column("N", DataTypeInt)},
        {{"2004-12-31", "<", "5"}, {Cell(), Cell(), Cell()}});
    OneCell persistence(cancel);
    persistence.SetDataStorage(store);
    persistence.SetFileName(file.c_str());
    persistence.SetIncludeHeaders(false);
    EXPECT_TRUE(persistence.WriteResultSet(0, false));
    EXPECT_EQ(ReadWholeFile(file), kTable +
                                       "            <td class=x129>12/31/2004 12:00:00 AM</td>\r\n"
                                       "            <td class=xl30>&lt;</td>\r\n"
                                       "            <td align=\"right\">5</td>\r\n"
                                       "            <td>[NULL]</td>\r\n"
                                       "            <td>[NULL]</td>\r\n"
                                       "            <td align=\"right\">[NULL]</td>\r\n" +
                                       kTableEnd);
}

}  // namespace
}  // namespace qxdbsqlengine
