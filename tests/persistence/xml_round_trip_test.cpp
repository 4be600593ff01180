// XML files come back as they were: random typed tables with fixed seeds.
#include <random>

#include "persistence_support.h"

namespace qxdbsqlengine {
namespace {

class XmlRoundTrip : public PersistenceTest, public ::testing::WithParamInterface<unsigned> {};

INSTANTIATE_TEST_SUITE_P(Seeds, XmlRoundTrip, ::testing::Values(1u, 2u, 3u, 4u));

Cell RandomCell(std::mt19937& random, EnumDataType type) {
    if (random() % 8 == 0)
        return Cell();
    const auto digits = [&random](std::size_t most) {
        std::string text = random() % 2 == 0 ? "-" : "";
        for (std::size_t i = 1 + random() % most; i > 0; --i)
            text += static_cast<char>('1' + random() % 9);
        return text;
    };
    switch (type) {
        case DataTypeShort:
            return digits(4);
        case DataTypeInt:
            return digits(9);
        case DataTypeLong:
            return digits(9);
        case DataTypeInt64:
            return digits(18);
        case DataTypeFloat:
            return digits(2) + "." + std::to_string(1 + random() % 9);
        case DataTypeDouble:
            return digits(6) + "." + std::to_string(1 + random() % 999);
        case DataTypeDecimal:
            return digits(25) + "." + std::to_string(random() % 100);
        case DataTypeBinary:
            return std::string(2 * (random() % 20), "0123456789ABCDEF"[random() % 16]);
        case DataTypeTimestamp:
            return std::to_string(1900 + random() % 200) + "-0" + std::to_string(1 + random() % 9) + "-1" +
                   std::to_string(random() % 9) + " 12:34:5" + std::to_string(random() % 9);
        default:
            break;
    }
    static const std::string letters = "abc<>&\"'\n\t ]\xC3\xA4\xF0\x9F\x98\x80\x80\xFF";
    std::string text(random() % (random() % 20 == 0 ? 799 : 30), ' ');
    for (char& byte : text)
        byte = letters[random() % letters.size()];
    while (text.find("]]>") != std::string::npos)
        text.replace(text.find("]]>"), 3, "] >");
    return text;
}

// White space alone comes back empty.
std::string Expected(const std::string& text) {
    return text.find_first_not_of(" \t\n") == std::string::npos ? "" : text;
}

TEST_P(XmlRoundTrip, RandomTablesComeBackEqual) {
    std::mt19937 random(GetParam());
    for (int resultSet = 0; resultSet < 6; ++resultSet) {
        std::vector<ColumnDefinition> definitions;
        for (std::size_t i = 0; i < 1 + random() % 10; ++i) {
            const EnumDataType type = static_cast<EnumDataType>(random() % 10);
            definitions.push_back(
                Column("c" + std::to_string(i), type,
                       type == DataTypeTimestamp && random() % 2 ? "yyyy-MM-dd HH:mm:ss" : "",
                       type == DataTypeDecimal ? 1 + random() % 5 : 0));
        }
        std::vector<Row> rows(1 + random() % 100);
        for (Row& row : rows)
            for (const ColumnDefinition& definition : definitions)
                row.push_back(RandomCell(random, definition.dataType));
        AddTypedResultSet(*store, definitions, rows);
    }
    AddTextResultSet(*store, {"EMPTY"}, {});  // has no row that would tell its columns
    WriteAll(ResultFileXml);
    const SmartPtr<DataStorage> source = store;
    ASSERT_TRUE(ReadBack(ResultFileXml));
    EXPECT_TRUE(callback.records.empty());
    ASSERT_EQ(store->GetNumberOfResultSets(), 6);
    for (int rs = 0; rs < 6; ++rs) {
        ASSERT_EQ(Labels(*store, rs), Labels(*source, rs));
        ASSERT_EQ(store->GetNumberOfRows(rs), source->GetNumberOfRows(rs));
        for (int column = 0; column < store->GetNumberOfColumns(rs); ++column) {
            EXPECT_EQ(store->GetDataType(rs, column), source->GetDataType(rs, column));
            EXPECT_EQ(store->GetPrecision(rs, column), source->GetPrecision(rs, column));
            EXPECT_STREQ(store->GetDataTimeFormat(rs, column), source->GetDataTimeFormat(rs, column));
            for (int row = 0; row < store->GetNumberOfRows(rs); ++row) {
                ASSERT_EQ(store->IsNull(rs, row, column), source->IsNull(rs, row, column));
                ASSERT_EQ(store->AsString(rs, row, column, std::locale::classic()),
                          Expected(source->AsString(rs, row, column, std::locale::classic())))
                    << rs << " " << row << " " << column;
            }
        }
    }
    // What comes back is written as the same bytes, but for white space and the result set without rows.
    const std::string once = WriteAll(ResultFileXml);
    ASSERT_TRUE(ReadBack(ResultFileXml));
    EXPECT_EQ(WriteAll(ResultFileXml), once);
}

using StatedXmlRoundTrip = PersistenceTest;

TEST_F(StatedXmlRoundTrip, WhatIsStatedNotToComeBack) {
    AddTextResultSet(*store, {"COUNT(*)", "B"},
                     {{"   ", "a\r\nb\rc"}, {"", std::string(800, 'x')}, {"\t\n", Cell()}});
    WriteAll(ResultFileXml);
    ASSERT_TRUE(ReadBack(ResultFileXml));
    EXPECT_EQ(Labels(*store, 0), (std::vector<std::string>{"COUNT", "B"}));
    EXPECT_EQ(Cells(*store, 0), (std::vector<std::vector<std::string>>{
                                    {"", "a\nb\nc"}, {"", std::string(799, 'x')}, {"", ""}}));
    EXPECT_FALSE(store->IsNull(0, 1, 0));
    EXPECT_TRUE(store->IsNull(0, 2, 1));
    EXPECT_EQ(callback.records.size(), 1u);
}

TEST_F(StatedXmlRoundTrip, ASortedViewIsStoredInItsOrder) {
    AddTextResultSet(*store, {"A"}, {{"b"}, {"c"}, {"a"}});
    store->Sort(0, {DataSort(0, true)}, nullptr, 0);
    WriteAll(ResultFileXml);
    ASSERT_TRUE(ReadBack(ResultFileXml));
    EXPECT_EQ(Cells(*store, 0), (std::vector<std::vector<std::string>>{{"a"}, {"b"}, {"c"}}));
    EXPECT_FALSE(store->IsSorted(0));
}

TEST_F(StatedXmlRoundTrip, AColumnListLeavesGaps) {
    AddTextResultSet(*store, {"A", "B", "C", "D", "E", "F"},
                     {{"1", "2", "3", "4", "5", "6"}, {"a", "b", "c", "d", "e", "f"}});
    WriteAll(ResultFileXml, [](Persistence& p) { p.SetColumnList({3, 5}); });
    ASSERT_TRUE(ReadBack(ResultFileXml));
    EXPECT_EQ(Labels(*store, 0), std::vector<std::string>(6, ""));
    EXPECT_EQ(Cells(*store, 0), (std::vector<std::vector<std::string>>{{"", "", "", "4", "", "6"},
                                                                       {"", "", "", "d", "", "f"}}));
}

TEST_F(StatedXmlRoundTrip, AFileThatTheWriterBrokeIsReported) {
    AddTextResultSet(*store, {"A"}, {{"fine"}, {"a]]>b"}});
    WriteAll(ResultFileXml);
    EXPECT_FALSE(ReadBack(ResultFileXml));
    EXPECT_EQ(Cells(*store, 0), (std::vector<std::vector<std::string>>{{"fine"}}));
    ASSERT_EQ(callback.records.size(), 1u);
    EXPECT_EQ(callback.records[0].GetLineNumber(), 8);
}

}  // namespace
}  // namespace qxdbsqlengine
