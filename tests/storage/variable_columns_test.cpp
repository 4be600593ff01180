#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "platform/os/debug_output.h"
#include "platform/qxutils/qx_exception.h"
#include "storage/binary_storage.h"
#include "storage/decimal_storage.h"
#include "storage/fixed_columns.h"
#include "storage/lob_storage.h"
#include "storage/storage_doubles.h"
#include "storage/string_storage.h"
#include "storage/var_length_storage.h"

namespace qxdbsqlengine {
namespace {

using namespace std::string_literals;

// Texts of many lengths, some longer than a chunk, few longer than a page.
std::vector<std::string> Texts(int count, unsigned seed) {
    std::mt19937 random(seed);
    std::vector<std::string> texts;
    for (int i = 0; i < count; ++i) {
        const unsigned kind = random() % 100;
        std::size_t length = random() % 30;
        if (kind == 0)
            length = random() % 200000;
        else if (kind < 5)
            length = random() % 3000;
        std::string text(length, ' ');
        for (char& c : text)
            c = static_cast<char>(random());
        texts.push_back(text);
    }
    return texts;
}

TEST(VarLengthStorageTest, KeepsValuesAcrossChunksPagesAndDroppedViews) {
    OpenAlloc alloc(1, 2, true);
    VarLengthStorage values(alloc);
    EXPECT_EQ(0, values.Count());
    const std::vector<std::string> texts = Texts(2000, 11);
    for (const std::string& text : texts)
        values.Append(text.data(), text.size());
    ASSERT_EQ(2000, values.Count());
    EXPECT_GT(alloc.nextFileBlock, 10);
    std::string scratch;
    std::string_view view;
    int inPlace = 0;
    for (int i = 0; i < 2000; ++i) {
        const std::string& text = texts[static_cast<std::size_t>(i)];
        ASSERT_EQ(static_cast<__int64>(text.size()), values.Length(i));
        ASSERT_EQ(text, values.Read(i));
        ASSERT_EQ(text, values.View(i, scratch));
        if (values.ViewInPlace(i, view)) {
            ASSERT_EQ(text, view);
            ++inPlace;
        }
        ASSERT_EQ(text, std::string(values.Begin(i), values.End(i)));
        std::string part(7, '\0');
        const std::size_t from = text.size() / 3;
        const std::size_t read = values.ReadPart(i, static_cast<__int64>(from), &part[0], part.size());
        ASSERT_EQ(text.substr(from, 7), part.substr(0, read));
        ASSERT_TRUE(values.Equals(i, text));
        ASSERT_FALSE(values.Equals(i, text + "x"));
        if (!text.empty()) {
            std::string other = text;
            other.back() = static_cast<char>(other.back() + 1);
            ASSERT_FALSE(values.Equals(i, other));
        }
    }
    EXPECT_GT(inPlace, 1500);
    EXPECT_LT(inPlace, 2000);
}

TEST(VarLengthStorageTest, ValuesThatDoNotExistAreEmpty) {
    OpenAlloc alloc;
    VarLengthStorage values(alloc);
    values.Append("abc", 3);
    values.Append(nullptr, 0);
    for (int i : {1, 2, 3, 1000, 2147483647, -1}) {
        EXPECT_EQ("", values.Read(i));
        EXPECT_EQ(0, values.Length(i));
        EXPECT_TRUE(values.Equals(i, ""));
        char byte = 0;
        EXPECT_EQ(0u, values.ReadPart(i, 0, &byte, 1));
    }
    EXPECT_EQ(2, values.Count());
}

// 64 KiB of each array lie in chunks; the rest is counted in pages.
TEST(VarLengthStorageTest, SpendsFourBytesAnOffset) {
    OpenAlloc alloc(1000, 100, false);
    VarLengthStorage values(alloc);
    for (int i = 0; i < 16384 * 4 - 1; ++i)  // with the first entry, four times 64 KiB of offsets
        values.Append("x", 1);
    EXPECT_EQ(1000 - 3, alloc.memoryBlocksLeft);
    values.Append("x", 1);  // the bytes are full too: 65536 of them
    EXPECT_EQ(1000 - 4, alloc.memoryBlocksLeft);
    values.Append("x", 1);
    EXPECT_EQ(1000 - 5, alloc.memoryBlocksLeft);
}

TEST(VarLengthStorageTest, OffsetsBeyondTheLimitGoToTheSecondTable) {
    OpenAlloc alloc(1000, 100, false);
    VarLengthStorage values(alloc, 1000);
    std::vector<std::string> texts;
    for (int i = 0; i < 30000; ++i) {
        texts.push_back(std::string(static_cast<std::size_t>(i % 7), static_cast<char>('a' + i % 26)));
        values.Append(texts.back().data(), texts.back().size());
    }
    EXPECT_EQ(30000, values.Count());
    for (int i = 0; i < 30000; ++i)
        ASSERT_EQ(texts[static_cast<std::size_t>(i)], values.Read(i)) << i;
    EXPECT_EQ("", values.Read(30000));
    // About 29,600 offsets of 8 bytes and 90,000 bytes: 3 pages of the one, 1 of the other.
    EXPECT_EQ(1000 - 4, alloc.memoryBlocksLeft);
}

TEST(VarLengthStorageTest, TwoViewsHoldAtTheSameTime) {
    OpenAlloc alloc(0, 2, true);
    VarLengthStorage values(alloc);
    std::vector<std::string> texts;
    for (int i = 0; i < 40000; ++i) {
        texts.push_back(std::to_string(i * 7919));
        values.Append(texts.back().data(), texts.back().size());
    }
    std::mt19937 random(2);
    std::string_view a;
    std::string_view b;
    for (int n = 0; n < 5000; ++n) {
        const int i = static_cast<int>(random() % 40000);
        const int j = static_cast<int>(random() % 40000);
        if (values.ViewInPlace(i, a, j, b)) {
            ASSERT_EQ(texts[static_cast<std::size_t>(i)], a);
            ASSERT_EQ(texts[static_cast<std::size_t>(j)], b);
        }
    }
}

TEST(VarLengthStorageTest, RefusedMemoryAppendsNothing) {
    for (int n = 0; n < 80; ++n) {
        OpenAlloc alloc(100, 2, false);
        VarLengthStorage values(alloc);
        values.Append("first", 5);
        const std::string great(100000, 'g');
        bool thrown = false;
        {
            RefusedMemory refused(n);
            try {
                values.Append(great.data(), great.size());
            } catch (const std::bad_alloc&) {
                thrown = true;
            }
        }
        EXPECT_EQ(n < 64, thrown) << n;  // 63 more chunks and a page
        ASSERT_EQ(thrown ? 1 : 2, values.Count()) << n;
        values.Append("last", 4);
        EXPECT_EQ("first", values.Read(0));
        EXPECT_EQ("last", values.Read(thrown ? 1 : 2));
    }
}

TEST(StringStorageTest, KeepsTexts) {
    OpenAlloc alloc(1, 2, true);
    StringStorage column(alloc);
    const std::vector<std::string> texts = Texts(500, 12);
    for (const std::string& text : texts)
        column.InsertString(text);
    column.InsertEmpty();
    std::string scratch;
    for (int i = 0; i < 500; ++i) {
        const std::string& text = texts[static_cast<std::size_t>(i)];
        ASSERT_EQ(text, column.AsString(i));
        ASSERT_EQ(text, column.AsString(i, std::locale::classic()));
        ASSERT_EQ(text, column.ViewString(i, CellFormat::Classic(), scratch));
        ASSERT_TRUE(column.EqualsString(i, text));
    }
    EXPECT_EQ("", column.AsString(500));
    EXPECT_TRUE(column.EqualsString(500, ""));
    EXPECT_FALSE(column.EqualsString(500, "x"));
}

TEST(StringStorageTest, MeasuresValuesLongerThanHalfOfTheLongest) {
    const struct {
        std::vector<std::string> values;
        std::vector<std::string> measured;
    } table[] = {
        {{"0123456789", "0123"}, {"0123456789"}},
        {{"0123456789", "01234"}, {"0123456789"}},  // 10 is not above 10
        {{"0123456789", "012345"}, {"0123456789", "012345"}},
        {{"01", "0123", "0123456789", "x"}, {"01", "0123", "0123456789"}},
        {{"", ""}, {}},
    };
    for (const auto& each : table) {
        OpenAlloc alloc;
        StringStorage column(alloc);
        for (const std::string& value : each.values)
            column.InsertString(value);
        RecordingMeasure measure;
        std::locale locale = std::locale::classic();
        const int width = column.GetLargestColumnSize(locale, measure);
        EXPECT_EQ(each.measured, measure.texts);
        EXPECT_EQ(each.measured.empty()
                      ? 0
                      : static_cast<int>(std::max_element(measure.texts.begin(), measure.texts.end(),
                                                          [](const std::string& a, const std::string& b) {
                                                              return a.size() < b.size();
                                                          })
                                             ->size()),
                  width);
    }
}

// A shorter text of wide characters may be the widest.
TEST(StringStorageTest, TheWidestIsNotTheLongest) {
    class WideLetters : public LargestColumnItemCallback {
      public:
        int GetItemWidth(const std::string& text) override {
            return static_cast<int>(text.size()) * (text[0] == 'W' ? 3 : 1);
        }
    } measure;
    OpenAlloc alloc;
    StringStorage column(alloc);
    column.InsertString("iiiiiiiiii");
    column.InsertString("WWWWWW");
    std::locale locale = std::locale::classic();
    EXPECT_EQ(18, column.GetLargestColumnSize(locale, measure));
}

qxdb::DynBuffer BufferOf(const std::string& bytes) {
    qxdb::DynBuffer buffer;
    buffer.Assign(reinterpret_cast<const unsigned char*>(bytes.data()),
                  static_cast<unsigned int>(bytes.size()));
    return buffer;
}

TEST(BinaryStorageTest, ComesOutAsHexadecimalText) {
    OpenAlloc alloc(1, 2, true);
    BinaryStorage column(alloc);
    const std::vector<std::string> texts = Texts(300, 13);
    for (const std::string& text : texts)
        column.InsertBinary(BufferOf(text));
    column.InsertEmpty();
    for (int i = 0; i < 300; ++i) {
        std::string expected;
        for (char c : texts[static_cast<std::size_t>(i)]) {
            const char* digits = "0123456789ABCDEF";
            expected += digits[static_cast<unsigned char>(c) >> 4];
            expected += digits[static_cast<unsigned char>(c) & 15];
        }
        ASSERT_EQ(expected, column.AsString(i));
        ASSERT_EQ(expected, column.AsString(i, std::locale::classic()));
    }
    EXPECT_EQ("", column.AsString(300));
}

TEST(BinaryStorageTest, ReadsHexadecimalText) {
    const struct {
        const char* text;
        const char* stored;
    } table[] = {
        {"FF", "FF"},
        {"ff00", "FF00"},
        {"00FF", "00FF"},
        {"0102030405060708090A", "0102030405060708090A"},
        {"FF0000", "FF0000"},
        {"XYZ", ""},
        {"", ""},
        {"12 34", ""},
        {"FFFFFFFFFFFFFFFFFFFFFFFFFFFFFF00", "FFFFFFFFFFFFFFFFFFFFFFFFFFFFFF00"},
    };
    OpenAlloc alloc;
    BinaryStorage column(alloc);
    int row = 0;
    for (const auto& each : table) {
        column.InsertString(each.text);
        EXPECT_EQ(each.stored, column.AsString(row)) << each.text;
        ++row;
    }
    // Written and read back.
    for (const std::string& bytes : {"\xFF\0"s, "\0\0\x01"s, "\x80"s}) {
        column.InsertBinary(BufferOf(bytes));
        column.InsertString(column.AsString(row));
        EXPECT_EQ(column.AsString(row), column.AsString(row + 1));
        EXPECT_EQ(0, column.CompareItems(row, row + 1, 0));
        row += 2;
    }
}

TEST(BinaryStorageTest, ShorterIsLessThenUnsignedBytes) {
    OpenAlloc alloc;
    BinaryStorage column(alloc);
    const std::vector<std::string> ascending = {"",
                                                std::string(1, '\0'),
                                                "\x01",
                                                "\x7F",
                                                "\x80",
                                                "\xFF",
                                                "\0\0"s,
                                                "ab",
                                                "ac",
                                                "\xFF\x01",
                                                "\xFF\x80",
                                                std::string(1100, 'a'),
                                                std::string(1100, 'b')};
    for (const std::string& bytes : ascending)
        column.InsertBinary(BufferOf(bytes));
    const int count = static_cast<int>(ascending.size());
    for (int i = 0; i < count; ++i) {
        for (int j = 0; j < count; ++j) {
            const int c = column.CompareItems(i, j, 0);
            EXPECT_EQ(i < j, c < 0) << i << " " << j;
            EXPECT_EQ(i > j, c > 0) << i << " " << j;
        }
    }
}

TEST(BinaryStorageTest, MeasureGoesByTheBytes) {
    OpenAlloc alloc;
    BinaryStorage column(alloc);
    for (std::size_t length : {4u, 2u, 3u})
        column.InsertBinary(BufferOf(std::string(length, 'z')));
    RecordingMeasure measure;
    std::locale locale = std::locale::classic();
    EXPECT_EQ(8, column.GetLargestColumnSize(locale, measure));
    EXPECT_THAT(measure.texts, testing::ElementsAre("7A7A7A7A", "7A7A7A"));
}

const char* const kDecimals[] = {"0",
                                 "0.00",
                                 "1",
                                 "-1",
                                 "1.5",
                                 "-1.50",
                                 "1.50",
                                 "10",
                                 "9",
                                 "255",
                                 "256",
                                 "-256",
                                 "0.001",
                                 "-0.001",
                                 "99999999999999999999999999.99",
                                 "-99999999999999999999999999.99",
                                 "18446744073709551615",
                                 "18446744073709551616",
                                 "123456789012345678901234567890",
                                 "0.000000000000000000000000000001",
                                 "12.3400",
                                 "65536",
                                 "16777216"};

TEST(DecimalStorageTest, KeepsValuesExactly) {
    OpenAlloc alloc;
    DecimalStorage column(alloc, 0);
    int row = 0;
    for (const char* text : kDecimals) {
        const qxdb::Decimal value{std::string(text)};
        column.InsertDecimal(value);
        const qxdb::Decimal read = column.AsDecimal(row);
        EXPECT_EQ(text, read.AsString(false, -1));
        EXPECT_EQ(value.GetScale(), read.GetScale());
        EXPECT_EQ(value.IsNegative(), read.IsNegative());
        EXPECT_EQ(value.AsString('.', true, -1), column.AsString(row, std::locale::classic()));
        ++row;
    }
    column.InsertEmpty();
    EXPECT_EQ("0", column.AsDecimal(row).AsString(false, -1));
}

TEST(DecimalStorageTest, ComparesByValueWhateverTheScale) {
    OpenAlloc alloc;
    DecimalStorage column(alloc, 0);
    for (const char* text : kDecimals)
        column.InsertDecimal(qxdb::Decimal(std::string(text)));
    const int count = static_cast<int>(std::size(kDecimals));
    for (int i = 0; i < count; ++i) {
        for (int j = 0; j < count; ++j) {
            const int expected =
                qxdb::Decimal(std::string(kDecimals[i])).Compare(qxdb::Decimal(std::string(kDecimals[j])));
            const int c = column.CompareItems(i, j, 0);
            EXPECT_EQ(expected < 0, c < 0) << kDecimals[i] << " " << kDecimals[j];
            EXPECT_EQ(expected > 0, c > 0) << kDecimals[i] << " " << kDecimals[j];
        }
    }
}

TEST(DecimalStorageTest, ComparesValuesThatCrossPages) {
    OpenAlloc alloc(0, 2, true);
    DecimalStorage column(alloc, 0);
    for (int i = 0; i < 60000; ++i)
        column.InsertDecimal(qxdb::Decimal(i - 30000, 2));
    for (int i = 1; i < 60000; ++i)
        ASSERT_GT(0, column.CompareItems(i - 1, i, 0)) << i;
}

// The record of a value, read from the cache file.
TEST(DecimalStorageTest, LayoutIsSignScaleAndMagnitude) {
    OpenAlloc alloc(0, 2, true);
    DecimalStorage column(alloc, 0);
    int row = 0;
    for (; row < 16384; ++row)
        column.InsertDecimal(qxdb::Decimal(0, 0));  // 5 bytes each: sign, scale, one digit byte, its end
    column.InsertDecimal(qxdb::Decimal(-0x1234, 0x103));
    column.InsertDecimal(qxdb::Decimal(std::string("18446744073709551616")));
    alloc.Clear();
    // The first page of the file belongs to the bytes, which were the first to fill their chunks.
    const std::string page = alloc.FileBytes();
    const std::size_t at = 16384u * 5 - 65536;
    EXPECT_EQ("\x01\x03\x01\x12\x34\0"s, page.substr(at, 6));
    EXPECT_EQ("\0\0\0\x01\0\0\0\0\0\0\0\0\0"s, page.substr(at + 6, 13));
    EXPECT_EQ("18446744073709551616", column.AsDecimal(row + 1).AsString(false, -1));
}

TEST(DecimalStorageTest, TextHasThePrecisionAndThePointOfTheLocale) {
    class Comma : public std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
    };
    const std::locale comma(std::locale::classic(), new Comma);
    const struct {
        int precision;
        const char* value;
        const char* text;
    } table[] = {{0, "1.500", "1.5"},  {0, "-3", "-3"},      {0, "2.000", "2"},   {2, "1.5", "1.50"},
                 {2, "1.005", "1.01"}, {1, "-2.25", "-2.3"}, {-4, "7.10", "7.1"}, {3, "0", "0.000"}};
    for (const auto& each : table) {
        OpenAlloc alloc;
        DecimalStorage column(alloc, each.precision);
        EXPECT_EQ(std::max(each.precision, 0), column.GetPrecision());
        column.InsertDecimal(qxdb::Decimal(std::string(each.value)));
        EXPECT_EQ(each.text, column.AsString(0, std::locale::classic()));
        std::string expected = each.text;
        std::replace(expected.begin(), expected.end(), '.', ',');
        EXPECT_EQ(expected, column.AsString(0, comma));
        column.SetPrecision(-1);
        EXPECT_EQ(0, column.GetPrecision());
    }
}

std::string debugText;

TEST(DecimalStorageTest, ValueThatCannotBeRenderedSaysSo) {
    OpenAlloc alloc;
    DecimalStorage column(alloc, 50);
    column.InsertDecimal(qxdb::Decimal(-0xABCDEF, 3));
    const CellFormat& format = CellFormat::Classic();
    debugText.clear();
    debugText.reserve(1000);
    const qxos::DebugOutputHook before =
        qxos::SetDebugOutputHook([](const char* text) { debugText += text; });
    std::string text = "kept:";
    {
        RefusedMemory refused(0);
        column.AppendString(0, format, text);
        EXPECT_TRUE(refused.WasReached());
    }
    qxos::SetDebugOutputHook(before);
    EXPECT_EQ("kept:Error for HEX value: ABCDEF Scale: 3", text);
    EXPECT_EQ("std::bad_alloc\nError for HEX value: ABCDEF Scale: 3", debugText);
    text.clear();
    column.AppendString(0, format, text);
    EXPECT_EQ("-11259.375" + std::string(47, '0'), text);
}

TEST(DecimalStorageTest, InsertStringRoundsToThePrecision) {
    OpenAlloc alloc;
    DecimalStorage rounded(alloc, 2);
    rounded.InsertString("1.005");
    rounded.InsertString("7");
    rounded.InsertString("-2.994999");
    EXPECT_EQ("1.01", rounded.AsDecimal(0).AsString(false, -1));
    EXPECT_EQ("7.00", rounded.AsDecimal(1).AsString(false, -1));
    EXPECT_EQ("-2.99", rounded.AsDecimal(2).AsString(false, -1));
    DecimalStorage whole(alloc, 0);
    whole.InsertString("1.00500");
    EXPECT_EQ("1.00500", whole.AsDecimal(0).AsString(false, -1));
    EXPECT_THROW(whole.InsertString("abc"), qxutils::QXException);
    EXPECT_EQ("0", whole.AsDecimal(1).AsString(false, -1));  // nothing was appended
}

TEST(DecimalStorageTest, MeasureRendersTheLeastAndTheGreatest) {
    OpenAlloc alloc;
    DecimalStorage column(alloc, 0);
    for (const char* text : {"1.5", "-1000.25", "999", "12.000", "1000.1"})
        column.InsertDecimal(qxdb::Decimal(std::string(text)));
    RecordingMeasure measure;
    std::locale locale = std::locale::classic();
    EXPECT_EQ(8, column.GetLargestColumnSize(locale, measure));
    EXPECT_THAT(measure.texts, testing::ElementsAre("-1000.25", "1000.1"));
}

// Columns of one container, loaded and read row by row, with one file operation refused: for every one that
// there is. What is not what was stored lies in the page that the refusal took.
TEST(ColumnFaultTest, AnyOneRefusalLeavesTheOtherPagesAlone) {
    const int rows = 60000;
    const int rowsOfAPage = 65536 / static_cast<int>(sizeof(int));
    bool reached = true;
    for (int n = 0; reached; ++n) {
        RefusingFiles files;
        files.refuseFrom = n;
        files.refuseUpTo = n + 1;
        OpenAlloc alloc(0, 6, true);  // one view more than there are arrays
        IntStorage numbers(alloc);
        StringStorage texts(alloc);
        DecimalStorage decimals(alloc, 0);
        for (int row = 0; row < rows; ++row) {
            numbers.InsertInt(row + 1);
            texts.InsertString("row " + std::to_string(row));
            decimals.InsertDecimal(qxdb::Decimal(row, 1));
        }
        int wrongNumbers = 0;
        int wrongTexts = 0;
        int wrongDecimals = 0;
        for (int row = 0; row < rows; ++row) {
            if (numbers.AsInt(row) != row + 1) {
                ASSERT_EQ(0, numbers.AsInt(row));
                ++wrongNumbers;
            }
            wrongTexts += texts.EqualsString(row, "row " + std::to_string(row)) ? 0 : 1;
            wrongDecimals +=
                decimals.CompareItems(row, row, 0) == 0 && decimals.AsDecimal(row).AsBigInt() == row / 10 ? 0
                                                                                                          : 1;
        }
        reached = n < files.operations;
        EXPECT_LE(wrongNumbers, rowsOfAPage);
        EXPECT_LE(wrongTexts, rowsOfAPage + 1);
        EXPECT_LE(wrongDecimals, rowsOfAPage + 1);
        EXPECT_LE((wrongNumbers != 0) + (wrongTexts != 0) + (wrongDecimals != 0), 1) << n;
    }
}

// A locator with data that can be told apart.
class NamedLocator : public qxdb::LobLocatorImp {
  public:
    explicit NamedLocator(std::string tableName) : table(std::move(tableName)) {}
    std::unique_ptr<LobLocatorImp> Clone() const override { return std::make_unique<NamedLocator>(table); }
    qxdb::DynBuffer GetLocatorData() const override { return qxdb::DynBuffer(4, 4); }
    void SetLocatorData(const qxdb::DynBuffer&) override {}
    bool IsValid(bool) const override { return true; }
    bool IsReadOnly() const override { return false; }
    bool EditAsClob() const override { return false; }
    std::string TableName() const override { return table; }
    void SetAsXMLType() override {}
    void Import(const std::string&, qxdb::Connection&, std::list<std::string>*) override {}
    void Export(const std::string&, qxdb::Connection&, std::list<std::string>*) override {}

  private:
    std::string table;
};

TEST(LobStorageTest, KeepsPreviewsAndOneLocator) {
    OpenAlloc alloc;
    LobStorage column(alloc, 4000, qxdb::LobLocator(new NamedLocator("photos")), true);
    column.InsertLobData("preview", qxdb::DynBuffer(4, 4));
    column.InsertEmpty();
    EXPECT_EQ("preview", column.AsString(0));
    EXPECT_EQ("preview", column.AsString(0, std::locale::classic()));
    EXPECT_EQ("", column.AsString(1));
    EXPECT_EQ("", column.GetLobFileName(0));
    EXPECT_TRUE(column.GetUseLobLocators());
    EXPECT_EQ(4000, column.GetPrecision());
    EXPECT_EQ("photos", column.GetLob(0).TableName());
    EXPECT_EQ("photos", column.GetLob(77).TableName());
    RecordingMeasure measure;
    std::locale locale = std::locale::classic();
    EXPECT_EQ(0, column.GetLargestColumnSize(locale, measure));
    EXPECT_TRUE(measure.texts.empty());

    LobStorage plain(alloc, 0, qxdb::LobLocator(), false);
    EXPECT_FALSE(plain.GetUseLobLocators());
    EXPECT_FALSE(plain.GetLob(0).IsValid(false));
}

TEST(LobStorageTest, ComparesPreviewsByUnsignedBytes) {
    OpenAlloc alloc(0, 2, true);
    LobStorage column(alloc, 0, qxdb::LobLocator(), false);
    const std::vector<std::string> ascending = {
        "", "A", "B", "a", "a10", "a2", "\x80", "\xFF", "\xFFz", "\xFFz" + std::string(70000, 'z')};
    for (const std::string& text : ascending)
        column.InsertLobData(text, qxdb::DynBuffer());
    const int count = static_cast<int>(ascending.size());
    for (int i = 0; i < count; ++i) {
        for (int j = 0; j < count; ++j) {
            const int c = column.CompareItems(i, j, 0);
            EXPECT_EQ(i < j, c < 0) << i << " " << j;
            EXPECT_EQ(i > j, c > 0) << i << " " << j;
        }
    }
}

}  // namespace
}  // namespace qxdbsqlengine
