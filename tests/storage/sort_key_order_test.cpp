// The sort keys of all columns: their order is that of the values, whole and in parts.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <random>

#include "storage/binary_storage.h"
#include "storage/decimal_storage.h"
#include "storage/editable_binary_storage.h"
#include "storage/editable_decimal_storage.h"
#include "storage/editable_lob_storage.h"
#include "storage/editable_string_storage.h"
#include "storage/fixed_columns.h"
#include "storage/lob_storage.h"
#include "storage/storage_doubles.h"
#include "storage/string_storage.h"

namespace qxdbsqlengine {
namespace {

using namespace std::string_literals;

int Sign(int c) {
    return c < 0 ? -1 : c > 0 ? 1 : 0;
}

std::string WholeKey(ColumnSetStorage& column, int row) {
    std::string key;
    SortKeyPosition position;
    column.AppendSortKey(row, position, 1000000, key);
    return key;
}

std::string PaddedPart(const std::string& key, std::size_t depth, std::size_t size) {
    std::string part = depth < key.size() ? key.substr(depth, size) : std::string();
    part.resize(size, '\0');
    return part;
}

std::string BytesOf(std::uint64_t value, int count) {
    std::string bytes;
    for (int i = 0; i < count; ++i)
        bytes += static_cast<char>(value >> (8 * (count - 1 - i)));
    return bytes;
}

// Parts of any size put together are the key; parts from the sink are the same, in both directions.
void ExpectPartsToBeOfTheKey(ColumnSetStorage& column, int rows) {
    std::vector<std::string> keys;
    std::mt19937 random(31);
    std::size_t longest = 0;
    for (int row = 0; row < rows; ++row) {
        keys.push_back(WholeKey(column, row));
        longest = std::max(longest, keys.back().size());
        std::string pieces;
        SortKeyPosition position;
        for (std::size_t before = 1; before != pieces.size() || before == 0;) {
            before = pieces.size();
            column.AppendSortKey(row, position, 1 + random() % 13, pieces);
            if (pieces.size() == before)
                break;
        }
        ASSERT_EQ(keys.back(), pieces) << row;
        SortKeyPosition inside{0, 5};
        std::string tail;
        column.AppendSortKey(row, inside, 1000000, tail);
        ASSERT_EQ(keys.back().substr(std::min<std::size_t>(5, keys.back().size())), tail) << row;
    }
    for (std::size_t depth = 0; depth < std::min<std::size_t>(longest + 12, 60); depth += depth % 3 ? 1 : 4) {
        for (bool ranked : {false, true}) {
            for (bool ascending : {true, false}) {
                std::vector<SortItem> items;
                for (int row = 0; row < rows; ++row)
                    items.push_back({0xABCDEF0100000000ULL, static_cast<std::uint64_t>(row)});
                SortKeySink sink(items.data(), items.size(), SortKeyPosition{0, depth}, ranked, ascending);
                column.PutSortKeys(sink);
                for (int row = 0; row < rows; ++row) {
                    const SortItem& item = items[static_cast<std::size_t>(row)];
                    ASSERT_EQ(static_cast<std::uint32_t>(row), item.Row());
                    std::string got = BytesOf(item.high, 8) + BytesOf(item.low >> 32, 4);
                    if (ranked) {
                        ASSERT_EQ("\xAB\xCD\xEF\x01", got.substr(0, 4));
                        got.erase(0, 4);
                    }
                    std::string expected = PaddedPart(keys[static_cast<std::size_t>(row)], depth, got.size());
                    if (!ascending) {
                        for (char& c : expected)
                            c = static_cast<char>(~c);
                    }
                    ASSERT_EQ(expected, got) << "row " << row << " depth " << depth;
                }
            }
        }
    }
}

// Keys of all pairs order as CompareItems does, and no key is the beginning of another.
void ExpectKeysToOrderAsItems(ColumnSetStorage& column, int rows) {
    std::vector<std::string> keys;
    for (int row = 0; row < rows; ++row)
        keys.push_back(WholeKey(column, row));
    for (int i = 0; i < rows; ++i) {
        for (int j = 0; j < rows; ++j) {
            const std::string& a = keys[static_cast<std::size_t>(i)];
            const std::string& b = keys[static_cast<std::size_t>(j)];
            ASSERT_EQ(Sign(column.CompareItems(i, j, 0)), Sign(a.compare(b))) << i << " " << j;
            ASSERT_TRUE(a == b || a.size() >= b.size() || a != b.substr(0, a.size())) << i << " " << j;
        }
    }
}

// The meaning of the order of texts: folded bytes as signed characters, digit runs by value, more leading
// zeros first. Written for reading, not for speed.
class TextOrder {
  public:
    static int Compare(const std::string& a, const std::string& b) {
        std::size_t i = 0;
        std::size_t j = 0;
        while (i < a.size() && j < b.size()) {
            if (IsDigitByte(a[i]) && IsDigitByte(b[j])) {
                const std::string r = Digits(a, i);
                const std::string s = Digits(b, j);
                const int c = CompareNumbers(r, s);
                if (c != 0)
                    return c;
                i += r.size();
                j += s.size();
                continue;
            }
            const int x = Lower(a[i++]);
            const int y = Lower(b[j++]);
            if (x != y)
                return x < y ? -1 : 1;
        }
        return i < a.size() ? 1 : j < b.size() ? -1 : 0;
    }

  private:
    static int Lower(char c) { return static_cast<signed char>(c >= 'A' && c <= 'Z' ? c + 32 : c); }
    static std::string Digits(const std::string& text, std::size_t i) {
        const std::size_t end = text.find_first_not_of("0123456789", i);
        return text.substr(i, end == std::string::npos ? end : end - i);
    }
    static int CompareNumbers(const std::string& r, const std::string& s) {
        const std::string x = r.substr(std::min(r.find_first_not_of('0'), r.size()));
        const std::string y = s.substr(std::min(s.find_first_not_of('0'), s.size()));
        if (x.size() != y.size())
            return x.size() < y.size() ? -1 : 1;
        if (x != y)
            return x < y ? -1 : 1;
        return r.size() == s.size() ? 0 : r.size() > s.size() ? -1 : 1;
    }
};

std::vector<std::string> RandomTexts(int count, unsigned seed) {
    const std::string alphabet = "000112789aaAbBzZ_ \0\x01\x02\x7F\x80\x81\x82\xFF"s;
    std::mt19937 random(seed);
    std::vector<std::string> texts = {"",    "0",   "00",   "000", "7",  "07", "007",
                                      "101", "110", "1000", "1a",  "1A", "1B"};
    while (static_cast<int>(texts.size()) < count) {
        std::string text;
        for (std::size_t length = random() % 9; length > 0; --length)
            text += alphabet[random() % alphabet.size()];
        texts.push_back(text);
    }
    return texts;
}

TEST(SortKeyOrderTest, TextsOrderByTheirMeaning) {
    OpenAlloc alloc;
    StringStorage column(alloc);
    const std::vector<std::string> texts = RandomTexts(2500, 41);
    std::vector<std::string> keys;
    for (const std::string& text : texts) {
        column.InsertString(text);
        keys.push_back(WholeKey(column, static_cast<int>(keys.size())));
        EXPECT_EQ('\0', keys.back().back());
        EXPECT_EQ(keys.back().size() - 1, keys.back().find('\0'));
    }
    for (std::size_t i = 0; i < texts.size(); ++i) {
        for (std::size_t j = 0; j < texts.size(); ++j)
            ASSERT_EQ(TextOrder::Compare(texts[i], texts[j]), Sign(keys[i].compare(keys[j])))
                << testing::PrintToString(texts[i]) << " " << testing::PrintToString(texts[j]);
    }
}

TEST(SortKeyOrderTest, TextsOfTheTable) {
    OpenAlloc alloc;
    StringStorage column(alloc);
    const std::vector<std::string> ascending = {"",    "\x80", "\xFF", "000",  "0",    "1A", "1B",
                                                "007", "7",    "101",  "110",  "1000", "a",  "a01",
                                                "a1",  "a2",   "a10",  "a10b", "aa",   "b",  "file"};
    for (const std::string& text : ascending)
        column.InsertString(text);
    for (int i = 1; i < static_cast<int>(ascending.size()); ++i)
        EXPECT_LT(WholeKey(column, i - 1), WholeKey(column, i)) << ascending[static_cast<std::size_t>(i)];
    column.InsertString("FILE");
    EXPECT_EQ(WholeKey(column, static_cast<int>(ascending.size()) - 1),
              WholeKey(column, static_cast<int>(ascending.size())));
}

TEST(SortKeyOrderTest, LongDigitRunsOrderByValue) {
    OpenAlloc alloc(0, 2, true);
    StringStorage column(alloc);
    std::vector<std::string> ascending;
    for (std::size_t length : {1u, 2u, 252u, 253u, 254u, 255u, 256u, 507u, 508u, 509u, 70000u}) {
        ascending.push_back(std::string(length, '1'));
        ascending.push_back("0" + std::string(length - 1, '1') + "2");
        ascending.push_back(std::string(length - 1, '1') + "2");
    }
    // The value 3 with ever fewer zeros in front.
    std::vector<std::string> zeros;
    for (std::size_t count : {70000u, 508u, 507u, 506u, 505u, 255u, 254u, 253u, 252u, 2u, 1u, 0u})
        zeros.push_back(std::string(count, '0') + "3");
    for (const std::string& text : ascending)
        column.InsertString(text);
    for (const std::string& text : zeros)
        column.InsertString(text);
    const int count = static_cast<int>(ascending.size());
    for (int i = 1; i < count; ++i)
        EXPECT_LT(WholeKey(column, i - 1), WholeKey(column, i)) << i;
    for (int i = 1; i < static_cast<int>(zeros.size()); ++i)
        EXPECT_LT(WholeKey(column, count + i - 1), WholeKey(column, count + i)) << i;
}

TEST(SortKeyOrderTest, PartsOfTextsThatCrossPages) {
    OpenAlloc alloc(0, 2, true);
    StringStorage column(alloc);
    std::mt19937 random(42);
    for (int i = 0; i < 300; ++i)
        column.InsertString(std::string(random() % 400, static_cast<char>(random() % 2 ? '5' : 'x')) +
                            "y12z");
    for (const std::string& text : RandomTexts(300, 43))
        column.InsertString(text);
    ExpectPartsToBeOfTheKey(column, 600);
}

TEST(SortKeyOrderTest, NamedTypesHaveTheKeysOfTexts) {
    OpenAlloc alloc;
    StringStorage texts(alloc);
    NamedTypeStorage named(alloc);
    texts.InsertString("Point(10,2)");
    named.InsertString("Point(10,2)");
    EXPECT_EQ(WholeKey(texts, 0), WholeKey(named, 0));
}

template <class T, class Column>
void FillWithNumbers(Column& column, void (Column::*insert)(const T&)) {
    std::mt19937_64 random(44);
    for (T value : {T(0), T(1), T(-1), T(2), std::numeric_limits<T>::max(), std::numeric_limits<T>::lowest(),
                    static_cast<T>(std::numeric_limits<T>::max() - 1)})
        (column.*insert)(value);
    for (int i = 0; i < 93; ++i)
        (column.*insert)(static_cast<T>(random()));
}

TEST(SortKeyOrderTest, WholeNumbers) {
    OpenAlloc alloc;
    ShortStorage shorts(alloc);
    FillWithNumbers<short>(shorts, &ShortStorage::InsertShort);
    IntStorage ints(alloc);
    FillWithNumbers<int>(ints, &IntStorage::InsertInt);
    LongStorage longs(alloc);
    FillWithNumbers<long>(longs, &LongStorage::InsertLong);
    Int64Storage int64s(alloc);
    FillWithNumbers<__int64>(int64s, &Int64Storage::InsertInt64);
    for (ColumnSetStorage* column :
         std::initializer_list<ColumnSetStorage*>{&shorts, &ints, &longs, &int64s}) {
        ExpectKeysToOrderAsItems(*column, 100);
        ExpectPartsToBeOfTheKey(*column, 100);
    }
}

TEST(SortKeyOrderTest, FloatingNumbers) {
    OpenAlloc alloc;
    FloatStorage floats(alloc, 0);
    DoubleStorage doubles(alloc, 0);
    std::mt19937_64 random(45);
    int rows = 0;
    auto add = [&](double value) {
        doubles.InsertDouble(value);
        floats.InsertFloat(static_cast<float>(value));
        ++rows;
    };
    for (double value :
         {0.0, -0.0, 1.0, -1.0, 1e-300, -1e-300, 1e30, -1e30, std::numeric_limits<double>::infinity(),
          -std::numeric_limits<double>::infinity(), 5e-324})
        add(value);
    while (rows < 100) {
        const std::uint64_t bits = random();
        double value = 0;
        std::memcpy(&value, &bits, sizeof value);
        if (!std::isnan(value))
            add(value);
    }
    for (ColumnSetStorage* column : std::initializer_list<ColumnSetStorage*>{&floats, &doubles}) {
        ExpectKeysToOrderAsItems(*column, rows);
        ExpectPartsToBeOfTheKey(*column, rows);
    }
    // NaN is less than anything else and equal to itself.
    add(std::numeric_limits<double>::quiet_NaN());
    add(-std::numeric_limits<double>::quiet_NaN());
    for (ColumnSetStorage* column : std::initializer_list<ColumnSetStorage*>{&floats, &doubles}) {
        EXPECT_EQ(WholeKey(*column, rows - 2), WholeKey(*column, rows - 1));
        for (int row = 0; row < rows - 2; ++row)
            EXPECT_LT(WholeKey(*column, rows - 1), WholeKey(*column, row)) << row;
    }
}

TEST(SortKeyOrderTest, Timestamps) {
    OpenAlloc alloc;
    TimestampSetStorage column(alloc, "");
    std::mt19937 random(46);
    for (int i = 0; i < 150; ++i) {
        qxdb::Timestamp value;
        value.SetDate(static_cast<int>(random() % 5) - 2, static_cast<int>(random() % 3) - 1,
                      static_cast<int>(random() % 3));
        value.SetTime(static_cast<int>(random() % 2), static_cast<int>(random() % 2) * 59,
                      static_cast<int>(random() % 2));
        value.SetFraction(static_cast<int>(random() % 3) - 1);
        column.InsertTimestamp(value);
    }
    ExpectKeysToOrderAsItems(column, 150);
    ExpectPartsToBeOfTheKey(column, 150);
}

TEST(SortKeyOrderTest, Decimals) {
    OpenAlloc alloc;
    DecimalStorage column(alloc, 0);
    std::mt19937_64 random(47);
    int rows = 0;
    for (const char* text : {"0",
                             "0.00",
                             "1",
                             "1.0",
                             "10",
                             "100",
                             "0.1",
                             "0.10",
                             "-0.1",
                             "-1",
                             "-1.0",
                             "-10",
                             "-12",
                             "12",
                             "12.5",
                             "-12.5",
                             "123456789012345678901234567890",
                             "-123456789012345678901234567890",
                             "123456789012345678901234567890.5",
                             "0.000000000000000000000000000000000001",
                             "18446744073709551615",
                             "18446744073709551616",
                             "99",
                             "-99",
                             "9.9",
                             "255",
                             "2.55"}) {
        column.InsertDecimal(qxdb::Decimal(std::string(text)));
        ++rows;
    }
    for (; rows < 200; ++rows)
        column.InsertDecimal(qxdb::Decimal(static_cast<__int64>(random()) >> (random() % 60),
                                           static_cast<unsigned int>(random() % 20)));
    ExpectKeysToOrderAsItems(column, rows);
    ExpectPartsToBeOfTheKey(column, rows);
}

TEST(SortKeyOrderTest, BinariesAndPreviews) {
    OpenAlloc alloc(0, 2, true);
    BinaryStorage binaries(alloc);
    LobStorage previews(alloc, 0, qxdb::LobLocator(), false);
    std::mt19937 random(48);
    int rows = 0;
    auto add = [&](const std::string& bytes) {
        qxdb::DynBuffer buffer;
        buffer.Assign(reinterpret_cast<const unsigned char*>(bytes.data()),
                      static_cast<unsigned int>(bytes.size()));
        binaries.InsertBinary(buffer);
        previews.InsertLobData(bytes, qxdb::DynBuffer());
        ++rows;
    };
    const std::string alphabet = "\0\x01\x02\x7F\x80\xFF"s;
    while (rows < 200) {
        std::string bytes;
        for (std::size_t length = random() % 6; length > 0; --length)
            bytes += alphabet[random() % alphabet.size()];
        add(bytes);
    }
    for (std::size_t length : {126u, 127u, 128u, 129u, 1023u, 1100u, 70000u})
        add(std::string(length, 'x'));
    for (ColumnSetStorage* column : std::initializer_list<ColumnSetStorage*>{&binaries, &previews}) {
        ExpectKeysToOrderAsItems(*column, rows);
        ExpectPartsToBeOfTheKey(*column, rows);
    }
}

qxdb::DynBuffer BufferOf(const std::string& bytes) {
    qxdb::DynBuffer buffer;
    buffer.Assign(reinterpret_cast<const unsigned char*>(bytes.data()),
                  static_cast<unsigned int>(bytes.size()));
    return buffer;
}

TEST(SortKeyOrderTest, EditableColumnsHaveTheKeysOfTheOthers) {
    OpenAlloc alloc(10, 100, false);
    CellAlloc cells(alloc);
    StringStorage texts(alloc);
    BinaryStorage binaries(alloc);
    EditableStringStorage editableTexts(cells);
    EditableBinaryStorage editableBinaries(cells);
    std::mt19937 random(49);
    std::vector<std::string> values = RandomTexts(300, 50);
    for (int i = 0; i < 100; ++i)  // in slots, in one cell and in several
        values.push_back(std::string(random() % 400, static_cast<char>(random() % 2 ? '5' : 'x')) + "y12z");
    for (const std::string& value : values) {
        texts.InsertString(value);
        editableTexts.InsertString(value);
        binaries.InsertBinary(BufferOf(value));
        editableBinaries.InsertBinary(BufferOf(value));
    }
    const int rows = static_cast<int>(values.size());
    for (int row = 0; row < rows; ++row) {
        ASSERT_EQ(WholeKey(texts, row), WholeKey(editableTexts, row)) << row;
        ASSERT_EQ(WholeKey(binaries, row), WholeKey(editableBinaries, row)) << row;
    }
    ExpectPartsToBeOfTheKey(editableTexts, rows);
    ExpectPartsToBeOfTheKey(editableBinaries, rows);
    ExpectKeysToOrderAsItems(editableBinaries, rows);

    EditableDecimalStorage decimals(cells, 0);
    for (const char* text : {"0", "-1", "1", "1.50", "1.5", "-12.5", "123456789012345678901234567890",
                             "-123456789012345678901234567890.5", "18446744073709551616", "2.55", "255"})
        decimals.InsertDecimal(qxdb::Decimal(std::string(text)));
    ExpectKeysToOrderAsItems(decimals, 11);
    ExpectPartsToBeOfTheKey(decimals, 11);

    EditableLobStorage lobs(cells, 0, qxdb::LobLocator(), false, false);
    for (const char* text : {"b", "a", ""})
        lobs.InsertLobData(text, qxdb::DynBuffer());
    ExpectKeysToOrderAsItems(lobs, 3);
    ExpectPartsToBeOfTheKey(lobs, 3);
}

}  // namespace
}  // namespace qxdbsqlengine
