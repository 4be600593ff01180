// The bytes of HTML pages.
#include "persistence/html_persistence.h"

#include "persistence_support.h"

namespace qxdbsqlengine {
namespace {

class HtmlWriteTest : public PersistenceTest {
  protected:
    std::string Head() const {
        return "<!DOCTYPE html PUBLIC \"-//IETF//DTD HTML//EN\">\r\n<html>\r\n<head>\r\n<title>" + file +
               "</title></head>\r\n<body bgcolor=#ffffff><FONT FACE=\"arial\", SIZE=\"2\">\r\n";
    }
    const std::string foot = "</body>\r\n</html>";
    const std::string table = "    <table width=\"100%\" border=\"1\">";
    const std::string tableEnd = "    </table>\r\n";
    const std::string headRow = "        <tr bgcolor=\"#ccccff\">\r\n";
    const std::string row = "        <tr bgcolor=\"lemonchiffon\">\r\n";
    const std::string rowEnd = "        </tr>\r\n";
};

TEST_F(HtmlWriteTest, TheWholePage) {
    AddTypedResultSet(*store, {Column("N", DataTypeInt), Column("S", DataTypeString)},
                      {{"1", "a"}, {Cell(), Cell()}});
    EXPECT_EQ(WriteAll(ResultFileHtml), Head() + table + headRow +
                                            "            <th align=\"right\">N</th>\r\n"
                                            "            <th>S</th>\r\n" +
                                            rowEnd + row +
                                            "            <td align=\"right\">1</td>\r\n"
                                            "            <td>a</td>\r\n" +
                                            rowEnd + row +
                                            "            <td align=\"right\">[NULL]</td>\r\n"
                                            "            <td>[NULL]</td>\r\n" +
                                            rowEnd + tableEnd + foot);
}

TEST_F(HtmlWriteTest, AlignmentsByHint) {
    OddStore& odd = UseOddStore();
    odd.hints = {{0, 0}, {1, 1}, {2, 2}, {3, 3}, {4, -1}};
    AddTextResultSet(*store, {"A", "B", "C", "D", "E"}, {{"a", "b", "c", "d", "e"}});
    EXPECT_EQ(WriteAll(ResultFileHtml), Head() + table + headRow +
                                            "            <th>A</th>\r\n"
                                            "            <th align=\"right\">B</th>\r\n"
                                            "            <th align=\"center\">C</th>\r\n"
                                            "            <th>D</th>\r\n"
                                            "            <th>E</th>\r\n" +
                                            rowEnd + row +
                                            "            <td>a</td>\r\n"
                                            "            <td align=\"right\">b</td>\r\n"
                                            "            <td align=\"center\">c</td>\r\n"
                                            "            <td>d</td>\r\n"
                                            "            <td>e</td>\r\n" +
                                            rowEnd + tableEnd + foot);
}

TEST_F(HtmlWriteTest, WithoutHeadersTheTableRunsOnIntoTheFirstRow) {
    AddTextResultSet(*store, {"A"}, {{"a"}});
    EXPECT_EQ(WriteAll(ResultFileHtml, [](Persistence& p) { p.SetIncludeHeaders(false); }),
              Head() + table + row + "            <td>a</td>\r\n" + rowEnd + tableEnd + foot);
}

TEST_F(HtmlWriteTest, ABreakBetweenResultSets) {
    AddTextResultSet(*store, {"A"}, {});
    AddTextResultSet(*store, {"B"}, {});
    AddTextResultSet(*store, {"C"}, {});
    const auto headOnly = [this](const std::string& label) {
        return table + headRow + "            <th>" + label + "</th>\r\n" + rowEnd + tableEnd;
    };
    EXPECT_EQ(WriteAll(ResultFileHtml),
              Head() + headOnly("A") + "<br>\r\n" + headOnly("B") + "<br>\r\n" + headOnly("C") + foot);
}

TEST_F(HtmlWriteTest, LabelsAndValuesAreEscaped) {
    AddTextResultSet(*store, {"<A>", "b & \"c\""}, {{"two  blanks", "tab\there\r\nline"}});
    EXPECT_EQ(WriteAll(ResultFileHtml),
              Head() + table + headRow +
                  "            <th>&lt;A&gt;</th>\r\n"
                  "            <th>b &amp; &quot;c&quot;</th>\r\n" +
                  rowEnd + row +
                  "            <td>two&nbsp;&nbsp;blanks</td>\r\n"
                  "            <td>tab&nbsp;&nbsp;&nbsp;&nbsp;here<br>line</td>\r\n" +
                  rowEnd + tableEnd + foot);
}

TEST_F(HtmlWriteTest, TheTitleIsTheNameAsItWasSet) {
    AddTextResultSet(*store, {"A"}, {});
    file = folder.Path("a & <b>.html");
    EXPECT_EQ(WriteAll(ResultFileHtml).substr(0, Head().size()), Head());
    EXPECT_NE(Head().find("/a & <b>.html</title>"), std::string::npos);
}

TEST_F(HtmlWriteTest, AStoreWithoutResultSetsWritesNeitherHeadNorFoot) {
    EXPECT_EQ(WriteAll(ResultFileHtml), "");
}

TEST_F(HtmlWriteTest, NoColumns) {
    AddTextResultSet(*store, {"A"}, {{"a"}});
    EXPECT_EQ(WriteAll(ResultFileHtml, [](Persistence& p) { p.SetColumnList({7}); }),
              Head() + table + headRow + rowEnd + row + rowEnd + tableEnd + foot);
}

TEST_F(HtmlWriteTest, EveryTypeIsItsText) {
    store->AddResultSet({Column("D", DataTypeDecimal, "", 2), Column("B", DataTypeBinary),
                         Column("T", DataTypeTimestamp, "dd  MM \"yyyy\"")},
                        ResultSetNormal);
    store->InsertString(0, 0, "1.5");
    store->InsertString(0, 1, "DEAD");
    store->InsertTimestamp(0, 2, Time(2004, 12, 31, 0, 0, 0, 0));
    EXPECT_EQ(WriteAll(ResultFileHtml, [](Persistence& p) { p.SetIncludeHeaders(false); }),
              Head() + table + row +
                  "            <td align=\"right\">1.50</td>\r\n"
                  "            <td>DEAD</td>\r\n"
                  "            <td>31&nbsp;&nbsp;12 &quot;2004&quot;</td>\r\n" +
                  rowEnd + tableEnd + foot);
}

// Shows single cells as the row does.
class OneCell : public HTMLPersistence {
  public:
    using HTMLPersistence::HTMLPersistence;
    void WriteRow(int row) override {
        for (int column : SelectedColumns())
            WriteDataCell(row, column);
    }
};

TEST_F(HtmlWriteTest, ASingleCellIsWrittenAsInItsRow) {
    UseOddStore().hints = {{0, 2}};
    AddTextResultSet(*store, {"A", "B"}, {{"<", Cell()}});
    OneCell persistence(cancel);
    persistence.SetDataStorage(store);
    persistence.SetFileName(file.c_str());
    persistence.SetIncludeHeaders(false);
    EXPECT_TRUE(persistence.WriteResultSet(0, false));
    EXPECT_EQ(
        ReadWholeFile(file),
        table + "            <td align=\"center\">&lt;</td>\r\n            <td>[NULL]</td>\r\n" + tableEnd);
}

}  // namespace
}  // namespace qxdbsqlengine
