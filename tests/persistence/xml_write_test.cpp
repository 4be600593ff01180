// The bytes of XML results files.
#include "persistence/xml_persistence.h"

#include "persistence_support.h"

namespace qxdbsqlengine {
namespace {

const std::string kHead = "<?xml version=\"1.0\" encoding=\"ISO-8859-1\" ?>\n<resultset>\n";
const std::string kFoot = "</resultset>\n";
const std::string kRowEnd = "        </row>\n";
const std::string kSetEnd = "    </rowset>\n";

std::string Set(int id) {
    return "    <rowset id=\"" + std::to_string(id) + "\">\n";
}
std::string RowStart(int id) {
    return "        <row id=\"" + std::to_string(id) + "\">\n";
}
std::string Text(int id, const std::string& name, const std::string& value) {
    return "            <column id=\"" + std::to_string(id) + "\" name=\"" + name + "\"><![CDATA[" + value +
           "]]></column>\n";
}

using XmlWriteTest = PersistenceTest;

TEST_F(XmlWriteTest, TheWholeFile) {
    UseOddStore().precisions = {{0, 10}, {1, 20}};
    AddTypedResultSet(*store, {Column("N", DataTypeInt), Column("S", DataTypeString)},
                      {{"1", "a"}, {Cell(), Cell()}});
    EXPECT_EQ(WriteAll(ResultFileXml),
              "<?xml version=\"1.0\" encoding=\"ISO-8859-1\" ?>\n"
              "<resultset>\n"
              "    <rowset id=\"1\">\n"
              "        <row id=\"1\">\n"
              "            <column id=\"1\" name=\"N\" type=\"Int\" precision=\"10\">1</column>\n"
              "            <column id=\"2\" name=\"S\" precision=\"20\"><![CDATA[a]]></column>\n"
              "        </row>\n"
              "        <row id=\"2\">\n"
              "            <column id=\"1\" name=\"N\" type=\"Int\" precision=\"10\" null=\"true\" />\n"
              "            <column id=\"2\" name=\"S\" precision=\"20\" null=\"true\" />\n"
              "        </row>\n"
              "    </rowset>\n"
              "</resultset>\n");
}

TEST_F(XmlWriteTest, EveryType) {
    AddTypedResultSet(
        *store,
        {Column("a", DataTypeString), Column("b", DataTypeShort), Column("c", DataTypeInt),
         Column("d", DataTypeLong), Column("e", DataTypeInt64), Column("f", DataTypeFloat, "", 3),
         Column("g", DataTypeDouble), Column("h", DataTypeDecimal, "", 2), Column("i", DataTypeBinary),
         Column("j", DataTypeTimestamp), Column("k", DataTypeTimestamp, "yyyy-MM-dd"),
         Column("l", DataTypeLob, "", 50), Column("m", DataTypeNamedType)},
        {{"<&>", "-5", "6", "7", "8", "1.5", "-0.25", "12.3", "BEEF", "2004-12-31 23:59:58.123", "2004-12-31",
          "lob", "named"}});
    EXPECT_EQ(
        WriteAll(ResultFileXml),
        kHead + Set(1) + RowStart(1) + Text(1, "a", "<&>") +
            "            <column id=\"2\" name=\"b\" type=\"Short\">-5</column>\n"
            "            <column id=\"3\" name=\"c\" type=\"Int\">6</column>\n"
            "            <column id=\"4\" name=\"d\" type=\"Long\">7</column>\n"
            "            <column id=\"5\" name=\"e\" type=\"BigInt\">8</column>\n"
            "            <column id=\"6\" name=\"f\" type=\"Float\" precision=\"3\">1.5</column>\n"
            "            <column id=\"7\" name=\"g\" type=\"Double\" precision=\"15\">-0.25</column>\n"
            "            <column id=\"8\" name=\"h\" type=\"Decimal\" precision=\"2\">12.30</column>\n"
            "            <column id=\"9\" name=\"i\" type=\"Binary\">BEEF</column>\n"
            "            <column id=\"10\" name=\"j\" type=\"Timestamp\">2004-12-31 23:59:58.123</column>\n"
            "            <column id=\"11\" name=\"k\" type=\"Timestamp\" "
            "format=\"yyyy-MM-dd\">2004-12-31</column>\n"
            "            <column id=\"12\" name=\"l\" precision=\"50\"><![CDATA[lob]]></column>\n" +
            Text(13, "m", "named") + kRowEnd + kSetEnd + kFoot);
}

TEST_F(XmlWriteTest, NullsOfTypedColumnsKeepTheirAttributes) {
    AddTypedResultSet(
        *store,
        {Column("T", DataTypeTimestamp, "HH:mm"), Column("L", DataTypeLob), Column("D", DataTypeDouble)},
        {{Cell(), Cell(), Cell()}});
    EXPECT_EQ(
        WriteAll(ResultFileXml),
        kHead + Set(1) + RowStart(1) +
            "            <column id=\"1\" name=\"T\" type=\"Timestamp\" format=\"HH:mm\" null=\"true\" />\n"
            "            <column id=\"2\" name=\"L\" null=\"true\" />\n"
            "            <column id=\"3\" name=\"D\" type=\"Double\" precision=\"15\" null=\"true\" />\n" +
            kRowEnd + kSetEnd + kFoot);
}

TEST_F(XmlWriteTest, HeadersMakeNoDifference) {
    AddTextResultSet(*store, {"A"}, {{"a"}});
    const std::string text = WriteAll(ResultFileXml);
    EXPECT_EQ(WriteAll(ResultFileXml, [](Persistence& p) { p.SetIncludeHeaders(false); }), text);
    EXPECT_EQ(text, kHead + Set(1) + RowStart(1) + Text(1, "A", "a") + kRowEnd + kSetEnd + kFoot);
}

TEST_F(XmlWriteTest, NumbersOfResultSetsAndRows) {
    AddTextResultSet(*store, {"A"}, {});
    AddTextResultSet(*store, {"B"}, {{"b0"}, {"b1"}, {"b2"}});
    Persistence persistence(ResultFileXml, cancel, &callback, store);
    persistence.SetFileName(file.c_str());
    persistence.SetRowList({2, 0});
    EXPECT_TRUE(persistence.WriteResultSet(1, true));
    EXPECT_EQ(ReadWholeFile(file), kHead + Set(2) + RowStart(3) + Text(1, "B", "b2") + kRowEnd + RowStart(1) +
                                       Text(1, "B", "b0") + kRowEnd + kSetEnd + kFoot);
    persistence.SetRowList({});
    EXPECT_TRUE(persistence.WriteResultSets({1, 0}));
    EXPECT_EQ(ReadWholeFile(file), kHead + Set(2) + RowStart(1) + Text(1, "B", "b0") + kRowEnd + RowStart(2) +
                                       Text(1, "B", "b1") + kRowEnd + RowStart(3) + Text(1, "B", "b2") +
                                       kRowEnd + kSetEnd + Set(1) + kSetEnd + kFoot);
}

TEST_F(XmlWriteTest, NamesAreCutAndTrimmedAndNotEscaped) {
    AddTextResultSet(*store, {"COUNT(*)", " b ", "*c", "d)e(f", "a<&b", "\tg h\n"},
                     {{"1", "2", "3", "4", "5", "6"}});
    EXPECT_EQ(WriteAll(ResultFileXml),
              kHead + Set(1) + RowStart(1) + Text(1, "COUNT", "1") + Text(2, "b", "2") + Text(3, "", "3") +
                  Text(4, "d", "4") + Text(5, "a<&b", "5") + Text(6, "g h", "6") + kRowEnd + kSetEnd + kFoot);
}

// The names of the selected columns are looked up by the number of the column.
TEST_F(XmlWriteTest, NamesWithAColumnList) {
    AddTextResultSet(*store, {"A", "B", "C", "D", "E"}, {{"1", "2", "3", "4", "5"}});
    const auto with = [this](std::vector<int> columns) {
        return WriteAll(ResultFileXml, [&](Persistence& p) { p.SetColumnList(columns); });
    };
    const auto file1 = [](const std::string& cells) {
        return kHead + Set(1) + RowStart(1) + cells + kRowEnd + kSetEnd + kFoot;
    };
    EXPECT_EQ(with({3, 5}), file1(Text(4, "", "4")));
    EXPECT_EQ(with({2, 4}), file1(Text(3, "", "3") + Text(5, "", "5")));
    EXPECT_EQ(with({0, 2}), file1(Text(1, "A", "1") + Text(3, "", "3")));
    EXPECT_EQ(with({1, 0}), file1(Text(2, "A", "2") + Text(1, "B", "1")));
    EXPECT_EQ(with({1, 1, -1, 5}), file1(Text(2, "B", "2") + Text(2, "B", "2")));
    EXPECT_EQ(with({4, 0, 1}), file1(Text(5, "", "5") + Text(1, "E", "1") + Text(2, "A", "2")));
    EXPECT_EQ(with({9}), file1(""));
}

TEST_F(XmlWriteTest, ValuesAreNotScanned) {
    AddTextResultSet(*store, {"A"}, {{"a]]>b"}, {"\x01\xF0\x9F\x98\x80\xFF"}, {"a\r\nb\n"}, {""}, {"  "}});
    EXPECT_EQ(WriteAll(ResultFileXml), kHead + Set(1) + RowStart(1) + Text(1, "A", "a]]>b") + kRowEnd +
                                           RowStart(2) + Text(1, "A", "\x01\xF0\x9F\x98\x80\xFF") + kRowEnd +
                                           RowStart(3) + Text(1, "A", "a\r\nb\n") + kRowEnd + RowStart(4) +
                                           Text(1, "A", "") + kRowEnd + RowStart(5) + Text(1, "A", "  ") +
                                           kRowEnd + kSetEnd + kFoot);
}

TEST_F(XmlWriteTest, AStoreWithoutResultSetsWritesNothing) {
    EXPECT_EQ(WriteAll(ResultFileXml), "");
}

class OneCell : public XMLPersistence {
  public:
    using XMLPersistence::XMLPersistence;
    void WriteRow(int row) override {
        for (int column : SelectedColumns())
            WriteCell(row, column);
    }
};

TEST_F(XmlWriteTest, ASingleCellIsWrittenAsInItsRow) {
    AddTypedResultSet(*store, {Column("N", DataTypeInt), Column("S", DataTypeString)},
                      {{"1", "<"}, {Cell(), Cell()}});
    OneCell persistence(cancel);
    persistence.SetDataStorage(store);
    persistence.SetFileName(file.c_str());
    EXPECT_TRUE(persistence.WriteResultSet(0, false));
    EXPECT_EQ(ReadWholeFile(file),
              Set(1) + "            <column id=\"1\" name=\"N\" type=\"Int\">1</column>\n" +
                  Text(2, "S", "<") +
                  "            <column id=\"1\" name=\"N\" type=\"Int\" null=\"true\" />\n"
                  "            <column id=\"2\" name=\"S\" null=\"true\" />\n" +
                  kSetEnd);
}

}  // namespace
}  // namespace qxdbsqlengine
