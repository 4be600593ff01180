// The bytes of delimited text files.
#include <cstdint>

#include "persistence/ascii_persistence.h"
#include "persistence_support.h"

namespace qxdbsqlengine {
namespace {

using AsciiWriteTest = PersistenceTest;

TEST_F(AsciiWriteTest, IntegersTextsAndNulls) {
    std::vector<ColumnDefinition> columns(2);
    columns[0].columnLabel = "A";
    columns[0].dataType = DataTypeInt;
    columns[1].columnLabel = "B";
    store->AddResultSet(columns, ResultSetNormal);
    store->InsertInt(0, 0, 1);
    store->InsertString(0, 1, "x,y");
    store->InsertNull(0, 0);
    store->InsertString(0, 1, "p\"q");
    EXPECT_EQ(WriteAll(ResultFileComma), "A,B\r\n1,\"x,y\"\r\n,p\"q\r\n");
}

TEST_F(AsciiWriteTest, NullAndEmptyTextLookAlike) {
    AddTextResultSet(*store, {"A", "B", "C"}, {{Cell(), "", "[NULL]"}, {"", Cell(), Cell()}});
    EXPECT_EQ(WriteAll(ResultFileComma), "A,B,C\r\n,,[NULL]\r\n,,\r\n");
}

TEST_F(AsciiWriteTest, LabelsAreEncodedLikeValues) {
    AddTextResultSet(*store, {"a,b", "\"c", "d\r\ne", ""}, {});
    EXPECT_EQ(WriteAll(ResultFileComma), "\"a,b\",\"\"\"c\",\"d\ne\",\r\n");
    EXPECT_EQ(WriteAll(ResultFileTab), "a,b\t\"c\td\ne\t\r\n");
}

TEST_F(AsciiWriteTest, AnEmptyLineBetweenResultSets) {
    AddTextResultSet(*store, {"A"}, {{"0"}});
    AddTextResultSet(*store, {"B"}, {});
    AddTextResultSet(*store, {"C"}, {{"1"}});
    EXPECT_EQ(WriteAll(ResultFileComma), "A\r\n0\r\n\r\nB\r\n\r\nC\r\n1\r\n");
}

TEST_F(AsciiWriteTest, TabInTabDelimitedText) {
    AddTextResultSet(*store, {"A", "B"}, {{"x\ty", "z"}});
    EXPECT_EQ(WriteAll(ResultFileTab), "A\tB\r\nx    y\tz\r\n");
    EXPECT_EQ(WriteAll(ResultFileTab, [](Persistence& p) { p.SetExpandTabs(false); }), "A\tB\r\nx\ty\tz\r\n");
    EXPECT_EQ(WriteAll(ResultFileTab,
                       [](Persistence& p) {
                           p.SetExpandTabs(false);
                           p.SetUseQuotingLogic(false);
                       }),
              "A\tB\r\nx y\tz\r\n");
}

TEST_F(AsciiWriteTest, AQuoteAsDelimiterMakesTheSingleQuoteTheQuote) {
    AddTextResultSet(*store, {"A", "B"}, {{"it's", "'x"}, {"a\"b", ""}});
    EXPECT_EQ(WriteAll(ResultFileComma, [](Persistence& p) { p.SetDelimiter('"'); }),
              "A\"B\r\nit's\"'''x'\r\n'a\"b'\"\r\n");
}

TEST_F(AsciiWriteTest, EveryTypeInItsPlainText) {
    std::vector<ColumnDefinition> columns(9);
    const EnumDataType types[] = {DataTypeShort,   DataTypeInt,    DataTypeLong,
                                  DataTypeInt64,   DataTypeFloat,  DataTypeDouble,
                                  DataTypeDecimal, DataTypeBinary, DataTypeTimestamp};
    for (int i = 0; i < 9; ++i) {
        columns[i].dataType = types[i];
        columns[i].columnLabel = std::string(1, static_cast<char>('A' + i));
    }
    columns[6].precision = 2;
    columns[8].timestampFormat = "yyyy-MM-dd, HH:mm";
    store->AddResultSet(columns, ResultSetNormal);
    store->InsertShort(0, 0, -32768);
    store->InsertInt(0, 1, 1234567);
    store->InsertLong(0, 2, -7);
    store->InsertInt64(0, 3, INT64_MIN);
    store->InsertFloat(0, 4, 1.5f);
    store->InsertDouble(0, 5, -0.25);
    store->InsertString(0, 6, "12345678901234567890.12");
    store->InsertString(0, 7, "DEAD");
    qxdb::Timestamp time;
    time.SetDate(2004, 12, 31);
    time.SetTime(23, 59, 58);
    store->InsertTimestamp(0, 8, time);
    for (int column = 0; column < 9; ++column)
        store->InsertNull(0, column);
    std::string expected = "A,B,C,D,E,F,G,H,I\r\n";
    for (int column = 0; column < 8; ++column)
        expected += store->AsString(0, 0, column, std::locale::classic()) + ",";
    expected += "\"2004-12-31, 23:59\"\r\n,,,,,,,,\r\n";
    const std::string text = WriteAll(ResultFileComma);
    EXPECT_EQ(text, expected);
    EXPECT_NE(text.find("\r\n-32768,1234567,-7,-9223372036854775808,1.5,-0.25,12345678901234567890.12,DEAD,"),
              std::string::npos);
}

TEST_F(AsciiWriteTest, LargeFilesAreWholeAcrossBlocks) {
    std::string expected = "A,B\r\n";
    std::vector<Row> rows;
    for (int i = 0; i < 20000; ++i) {
        rows.push_back({std::to_string(i), std::string(i % 97, 'x')});
        expected += std::to_string(i) + "," + std::string(i % 97, 'x') + "\r\n";
    }
    AddTextResultSet(*store, {"A", "B"}, rows);
    EXPECT_EQ(WriteAll(ResultFileComma), expected);
    EXPECT_EQ(callback.progress.size(), 20000u);
    EXPECT_EQ(callback.progress.back(), 1.0f);
}

TEST_F(AsciiWriteTest, ASortedViewOfManyRows) {
    std::vector<Row> rows;
    for (int i = 0; i < 3000; ++i)
        rows.push_back(
            {std::to_string(100000 + i * 7 % 3000), i % 5 == 0 ? Cell() : Cell(std::to_string(i))});
    AddTextResultSet(*store, {"A", "B"}, rows);
    store->Sort(0, {DataSort(0, false)}, nullptr, 0);
    store->HideRow(0, 2999);
    std::vector<int> list;
    std::string expected = "B,A\r\n";
    std::string expectedList = expected;
    for (int row = 0; row < 2999; ++row) {
        const std::string line = store->GetString(0, row, 1) + "," + store->GetString(0, row, 0) + "\r\n";
        expected += line;
        if (row % 3 == 0) {
            list.push_back(row);
            expectedList += line;
        }
    }
    EXPECT_EQ(WriteAll(ResultFileComma, [](Persistence& p) { p.SetColumnList({1, 0}); }), expected);
    EXPECT_EQ(WriteAll(ResultFileComma,
                       [&](Persistence& p) {
                           p.SetColumnList({1, 0});
                           p.SetRowList(list);
                       }),
              expectedList);
}

TEST_F(AsciiWriteTest, AValueOfManyBlocks) {
    const std::string huge(3 * 1024 * 1024, 'h');
    AddTextResultSet(*store, {"A", "B"}, {{huge, huge + ","}, {"x", "y"}});
    EXPECT_EQ(WriteAll(ResultFileComma), "A,B\r\n" + huge + ",\"" + huge + ",\"\r\nx,y\r\n");
}

TEST_F(AsciiWriteTest, OneObjectWritesAgain) {
    AddTextResultSet(*store, {"A"}, {{"0"}});
    Persistence persistence(ResultFileComma, cancel, &callback, store);
    persistence.SetFileName(file.c_str());
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(persistence.WriteAllResultSets());
        EXPECT_EQ(ReadWholeFile(file), "A\r\n0\r\n");
    }
}

}  // namespace
}  // namespace qxdbsqlengine
