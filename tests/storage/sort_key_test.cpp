#include "storage/sort_key.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "platform/qxdb/decimal.h"
#include "storage/sort_reference.h"

namespace qxdbsqlengine {
namespace {

class TextSource final : public SortKeySource {
  public:
    explicit TextSource(const std::string& value) : text(value) {}
    std::size_t ReadBytes(__int64 offset, char* buffer, std::size_t count) override {
        if (offset >= static_cast<__int64>(text.size()))
            return 0;
        return text.copy(buffer, count, static_cast<std::size_t>(offset));
    }

  private:
    const std::string& text;
};

constexpr std::size_t all = std::string::npos;

std::string TextKey(const std::string& text, SortKeyPosition position = {}, std::size_t maxBytes = all) {
    TextSource source(text);
    std::string key;
    TextSortKey().Append(source, position, maxBytes, key);
    return key;
}

std::string DecimalKey(const std::string& text) {
    SortKeyPosition position;
    std::string key;
    AppendDecimalSortKey(qxdb::Decimal(text), position, all, key);
    return key;
}

std::string BinaryKey(const std::string& bytes) {
    TextSource source(bytes);
    SortKeyPosition position;
    std::string key;
    AppendBinarySortKey(source, static_cast<__int64>(bytes.size()), position, all, key);
    return key;
}

std::string BytesKey(const std::string& bytes) {
    TextSource source(bytes);
    SortKeyPosition position;
    std::string key;
    AppendBytesSortKey(source, position, all, key);
    return key;
}

// Ends with a zero byte and has no other.
bool IsClosed(const std::string& key) {
    return key.find('\0') == key.size() - 1;
}

std::string RandomText(std::mt19937& random, const std::string& alphabet, std::size_t maxLength) {
    std::string text(random() % (maxLength + 1), ' ');
    for (char& byte : text)
        byte = alphabet[random() % alphabet.size()];
    return text;
}

TEST(TextSortKeyTest, OrdersAsTheReference) {
    std::mt19937 random(1);
    const std::string alphabets[] = {"ab",
                                     "aAbB",
                                     "01",
                                     "a01",
                                     "a0019 .",
                                     std::string("\x80\x81\x7F\x00\xFF"
                                                 "a",
                                                 6)};
    for (const std::string& alphabet : alphabets) {
        for (int i = 0; i < 20000; ++i) {
            const std::string a = RandomText(random, alphabet, 10);
            const std::string b = RandomText(random, alphabet, 10);
            const int expected = ReferenceCompareTexts(a, b);
            ASSERT_EQ(expected, Sign(TextKey(a).compare(TextKey(b)))) << '"' << a << "\" \"" << b << '"';
            ASSERT_TRUE(IsClosed(TextKey(a)));
        }
    }
}

TEST(TextSortKeyTest, StatedOrders) {
    const std::vector<std::string> sorted = {"",   "-5",  "007", "7",    "101", "110",   "1000",
                                             "a2", "a10", "ab",  "File", "x9",  "X0010", "x10"};
    for (std::size_t i = 0; i < sorted.size(); ++i) {
        for (std::size_t k = 0; k < sorted.size(); ++k)
            EXPECT_EQ(i < k, TextKey(sorted[i]) < TextKey(sorted[k])) << sorted[i] << " " << sorted[k];
    }
    EXPECT_EQ(TextKey("FILE"), TextKey("file"));
    EXPECT_EQ(TextKey("a1B"), TextKey("A1b"));
}

TEST(TextSortKeyTest, LongDigitRunsAndZeros) {
    const std::string digits[] = {std::string(100, '1'),  std::string(253, '1'), std::string(254, '1'),
                                  std::string(255, '1'),  std::string(508, '1'), std::string(509, '1'),
                                  std::string(10000, '1')};
    for (std::size_t i = 0; i + 1 < std::size(digits); ++i)
        EXPECT_LT(TextKey(digits[i]), TextKey(digits[i + 1])) << i;
    for (const std::size_t zeros : {1U, 2U, 251U, 252U, 253U, 254U, 506U, 507U, 1000U}) {
        EXPECT_LT(TextKey(std::string(zeros, '0') + "7"), TextKey(std::string(zeros - 1, '0') + "7"))
            << zeros;
        EXPECT_TRUE(IsClosed(TextKey(std::string(zeros, '0') + "7")));
        EXPECT_LT(TextKey(std::string(zeros + 1, '0')), TextKey(std::string(zeros, '0'))) << zeros;
        EXPECT_LT(TextKey(std::string(zeros, '0')), TextKey("1")) << zeros;
    }
}

TEST(TextSortKeyTest, PartsFromAnyPositionAreThoseOfTheWholeKey) {
    std::mt19937 random(2);
    for (int i = 0; i < 3000; ++i) {
        const std::string text = RandomText(random, "ab0019\x80\x81", 100);
        const std::string whole = TextKey(text);
        // In pieces, carried on from where the last one ended.
        TextSource source(text);
        SortKeyPosition position;
        std::string pieces;
        for (std::size_t before = 1; before != pieces.size();) {
            before = pieces.size();
            TextSortKey().Append(source, position, 1 + random() % 9, pieces);
        }
        ASSERT_EQ(whole, pieces) << text;
        ASSERT_EQ("", TextKey(text, position));
        // From a number of bytes.
        const std::size_t depth = random() % (whole.size() + 3);
        ASSERT_EQ(whole.substr(std::min(depth, whole.size())), TextKey(text, {0, depth}));
        unsigned char part[12];
        ASSERT_TRUE(TextSortKey().Part(text.data(), text.size(), true, depth, part));
        std::string expected = whole.substr(std::min(depth, whole.size()), 12);
        expected.resize(12, '\0');
        ASSERT_EQ(expected, std::string(reinterpret_cast<char*>(part), 12)) << text << " from " << depth;
    }
}

TEST(TextSortKeyTest, PartOfABeginningSaysWhenItNeedsMore) {
    unsigned char part[12];
    EXPECT_TRUE(TextSortKey().Part("abcdefghijkl", 12, false, 0, part));
    EXPECT_EQ(TextKey("abcdefghijklmno").substr(0, 12), std::string(reinterpret_cast<char*>(part), 12));
    EXPECT_FALSE(TextSortKey().Part("abcdefghijk", 11, false, 0, part));
    EXPECT_FALSE(TextSortKey().Part("abcdefghijkl", 12, false, 1, part));
    // A digit run that may go on counts nothing yet.
    EXPECT_FALSE(TextSortKey().Part("a1234567890123456789", 20, false, 0, part));
    EXPECT_TRUE(TextSortKey().Part("a1234567890123456789", 20, true, 0, part));
    EXPECT_TRUE(TextSortKey().Part("", 0, true, 0, part));
    EXPECT_EQ(std::string(12, '\0'), std::string(reinterpret_cast<char*>(part), 12));
}

TEST(SortKeyTest, Integers) {
    const __int64 limits[] = {std::numeric_limits<__int64>::min(), -5000000000LL, -1, 0, 1, 5000000000LL,
                              std::numeric_limits<__int64>::max()};
    for (std::size_t i = 0; i + 1 < std::size(limits); ++i)
        EXPECT_LT(SortKeyOf(limits[i]), SortKeyOf(limits[i + 1])) << i;
    const int ints[] = {std::numeric_limits<int>::min(), -1, 0, 1, std::numeric_limits<int>::max()};
    for (std::size_t i = 0; i + 1 < std::size(ints); ++i)
        EXPECT_LT(SortKeyOf(ints[i]), SortKeyOf(ints[i + 1])) << i;
}

TEST(SortKeyTest, Doubles) {
    const double infinity = std::numeric_limits<double>::infinity();
    const double values[] = {-infinity, -1e300, -1.5, -1e-310, 0.0, 1e-310, 1.5, 1e300, infinity};
    for (std::size_t i = 0; i + 1 < std::size(values); ++i)
        EXPECT_LT(SortKeyOf(values[i]), SortKeyOf(values[i + 1])) << i;
    EXPECT_EQ(SortKeyOf(0.0), SortKeyOf(-0.0));
    EXPECT_LT(SortKeyOf(std::nan("")), SortKeyOf(-infinity));
    EXPECT_EQ(SortKeyOf(std::nan("")), SortKeyOf(-std::nan("")));
}

TEST(SortKeyTest, DecimalsOrderByValue) {
    const std::vector<std::string> sorted = {"-123456789012345678901234567890",
                                             "-100",
                                             "-99.99",
                                             "-1.55",
                                             "-1.5",
                                             "-0.5",
                                             "-0.05",
                                             "-0.000001",
                                             "0",
                                             "0.000001",
                                             "0.05",
                                             "0.1",
                                             "0.15",
                                             "0.5",
                                             "1",
                                             "1.5",
                                             "1.55",
                                             "9",
                                             "10",
                                             "99.99",
                                             "100",
                                             "123456789012345678901234567889.5",
                                             "123456789012345678901234567890"};
    for (std::size_t i = 0; i < sorted.size(); ++i) {
        EXPECT_TRUE(IsClosed(DecimalKey(sorted[i]))) << sorted[i];
        for (std::size_t k = 0; k < sorted.size(); ++k)
            EXPECT_EQ(i < k, DecimalKey(sorted[i]) < DecimalKey(sorted[k])) << sorted[i] << " " << sorted[k];
    }
    EXPECT_EQ(DecimalKey("1.50"), DecimalKey("1.5"));
    EXPECT_EQ(DecimalKey("100"), DecimalKey("100.000"));
    EXPECT_EQ(DecimalKey("0"), DecimalKey("0.00"));
    EXPECT_EQ(DecimalKey("-1200"), DecimalKey("-1200.0"));
}

TEST(SortKeyTest, DecimalsAgainstTheirComparison) {
    std::mt19937 random(3);
    std::vector<qxdb::Decimal> values;
    std::vector<std::string> keys;
    for (int i = 0; i < 300; ++i) {
        std::string digits = RandomText(random, "00123456789", 40);
        digits += '0';
        const qxdb::Decimal value = qxdb::Decimal((random() % 2 ? "-" : "") + digits)
                                        .Set(qxdb::Decimal(digits).GetMagnitude(), random() % 30);
        values.push_back(value);
        SortKeyPosition position;
        keys.emplace_back();
        AppendDecimalSortKey(value, position, all, keys.back());
    }
    for (std::size_t i = 0; i < values.size(); ++i) {
        for (std::size_t k = 0; k < values.size(); ++k)
            ASSERT_EQ(Sign(values[i].Compare(values[k])), Sign(keys[i].compare(keys[k])))
                << values[i].AsString(false, -1) << " " << values[k].AsString(false, -1);
    }
}

TEST(SortKeyTest, BinaryGoesByLengthAndThenByUnsignedBytes) {
    const std::vector<std::string> sorted = {"",
                                             std::string(1, '\0'),
                                             "\x01",
                                             "\x02",
                                             "\x7F",
                                             "\x80",
                                             "\xFF",
                                             std::string(2, '\0'),
                                             std::string("\x00\x01", 2),
                                             "ab",
                                             "abc"};
    for (std::size_t i = 0; i < sorted.size(); ++i) {
        EXPECT_TRUE(IsClosed(BinaryKey(sorted[i]))) << i;
        for (std::size_t k = 0; k < sorted.size(); ++k)
            EXPECT_EQ(i < k, BinaryKey(sorted[i]) < BinaryKey(sorted[k])) << i << " " << k;
    }
}

TEST(SortKeyTest, BytesGoUnsignedFromTheFront) {
    const std::vector<std::string> sorted = {
        "", std::string(1, '\0'), std::string(2, '\0'), "\x01", "\x02", "A", "AB", "a", "\x80", "\xFF"};
    for (std::size_t i = 0; i < sorted.size(); ++i) {
        for (std::size_t k = 0; k < sorted.size(); ++k)
            EXPECT_EQ(i < k, BytesKey(sorted[i]) < BytesKey(sorted[k])) << i << " " << k;
    }
}

TEST(SortKeyTest, EncodersCarryOnFromAPosition) {
    std::mt19937 random(4);
    for (int i = 0; i < 500; ++i) {
        const std::string bytes = RandomText(random, std::string("\x00\x01\x02z", 4), 60);
        TextSource source(bytes);
        for (const bool binary : {false, true}) {
            SortKeyPosition position;
            std::string pieces;
            for (std::size_t before = 1; before != pieces.size();) {
                before = pieces.size();
                const std::size_t count = 1 + random() % 5;
                if (binary)
                    AppendBinarySortKey(source, static_cast<__int64>(bytes.size()), position, count, pieces);
                else
                    AppendBytesSortKey(source, position, count, pieces);
            }
            ASSERT_EQ(binary ? BinaryKey(bytes) : BytesKey(bytes), pieces);
        }
    }
}

TEST(SortKeySinkTest, PutsPartsInBothLayouts) {
    SortItem item = {0xAAAAAAAA00000000ULL, 42};
    SortKeySink plain(&item, 1, SortKeyPosition(), false, true);
    EXPECT_EQ(42, plain.Row(0));
    EXPECT_EQ(12U, plain.PartSize());
    plain.PutBytes(
        0, reinterpret_cast<const unsigned char*>("\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0A\x0B\x0C"));
    EXPECT_EQ(0x0102030405060708ULL, item.high);
    EXPECT_EQ(0x090A0B0C0000002AULL, item.low);
    item = {0xAAAAAAAA00000000ULL, 42};
    SortKeySink ranked(&item, 1, SortKeyPosition(), true, false);
    EXPECT_EQ(8U, ranked.PartSize());
    ranked.Put(0, 0x0102030405060708ULL, 0x090A0B0C);
    EXPECT_EQ(0xAAAAAAAAFEFDFCFBULL, item.high);
    EXPECT_EQ(0xFAF9F8F70000002AULL, item.low);
    SortKeySink second(&item, 1, SortKeyPosition{0, 8}, true, true);
    second.PutShort(0, 0x0102030405060708ULL);
    EXPECT_EQ(0xAAAAAAAA00000000ULL, item.high);
    EXPECT_EQ(42U, item.low);
}

}  // namespace
}  // namespace qxdbsqlengine
