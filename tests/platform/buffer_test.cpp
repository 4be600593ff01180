#include "platform/qxdb/buffer.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

using qxdb::BufferBase;
using qxdb::DynBuffer;

DynBuffer BufferOf(const std::string& bytes) {
    DynBuffer buffer;
    buffer.Assign(reinterpret_cast<const unsigned char*>(bytes.data()),
                  static_cast<unsigned int>(bytes.size()));
    return buffer;
}

std::string TextOf(const BufferBase& buffer) {
    std::ostringstream stream;
    stream << buffer;
    return stream.str();
}

TEST(DynBuffer, DefaultHasNeitherSizeNorLength) {
    const DynBuffer buffer;
    EXPECT_EQ(buffer.GetSize(), 0U);
    EXPECT_EQ(buffer.GetLength(), 0U);
    EXPECT_EQ(TextOf(buffer), "");
}

TEST(DynBuffer, SizeAloneIsRoomWithoutBytes) {
    const DynBuffer buffer(7);
    EXPECT_EQ(buffer.GetSize(), 7U);
    EXPECT_EQ(buffer.GetLength(), 0U);
}

TEST(DynBuffer, SizeAndLengthStartWithZeroBytes) {
    const DynBuffer buffer(7, 3);
    EXPECT_EQ(buffer.GetSize(), 7U);
    EXPECT_EQ(buffer.GetLength(), 3U);
    EXPECT_EQ(TextOf(buffer), "000000");
}

TEST(DynBuffer, LengthAboveSizeRaisesSize) {
    const DynBuffer made(2, 5);
    EXPECT_EQ(made.GetSize(), 5U);
    DynBuffer changed(2);
    changed.SetLength(5);
    EXPECT_EQ(changed.GetSize(), 5U);
    EXPECT_EQ(TextOf(changed), "0000000000");
}

TEST(DynBuffer, SizeBelowLengthCutsLengthAndKeepsBytes) {
    DynBuffer buffer = BufferOf("abcd");
    buffer.SetSize(2);
    EXPECT_EQ(buffer.GetLength(), 2U);
    EXPECT_EQ(TextOf(buffer), "6162");
    buffer.SetSize(100);
    EXPECT_EQ(buffer.GetLength(), 2U);
    EXPECT_EQ(TextOf(buffer), "6162");
}

TEST(DynBuffer, AssignTakesBytesAndNeverShrinks) {
    DynBuffer buffer(10);
    buffer.Assign(BufferOf("abc"));
    EXPECT_EQ(buffer.GetSize(), 10U);
    EXPECT_EQ(TextOf(buffer), "616263");
    buffer.Assign(DynBuffer());
    EXPECT_EQ(buffer.GetSize(), 10U);
    EXPECT_EQ(buffer.GetLength(), 0U);
    DynBuffer small(1);
    small.Assign(BufferOf("abc"));
    EXPECT_EQ(small.GetSize(), 3U);
}

TEST(DynBuffer, AssignFromItself) {
    DynBuffer buffer = BufferOf("abcdef");
    const BufferBase& alias = buffer;
    buffer.Assign(alias);
    EXPECT_EQ(TextOf(buffer), "616263646566");
    buffer.Assign(buffer.GetData() + 2, 3);
    EXPECT_EQ(TextOf(buffer), "636465");
}

TEST(DynBuffer, CopiesOwnTheirBytesAndMovedOnesAreEmpty) {
    DynBuffer first = BufferOf("ab");
    DynBuffer copy(first);
    copy.GetBuffer()[0] = 'x';
    EXPECT_EQ(TextOf(first), "6162");
    EXPECT_EQ(TextOf(copy), "7862");
    const DynBuffer moved(std::move(first));
    EXPECT_EQ(TextOf(moved), "6162");
    EXPECT_EQ(first.GetLength(), 0U);  // NOLINT(bugprone-use-after-move): this is the test
    EXPECT_EQ(first.GetSize(), 0U);
}

TEST(DynBuffer, EqualityIsOfTheBytesInUse) {
    DynBuffer roomy(50);
    roomy.Assign(BufferOf("ab"));
    EXPECT_TRUE(roomy == BufferOf("ab"));
    EXPECT_TRUE(roomy != BufferOf("ac"));
    EXPECT_TRUE(roomy != BufferOf("abc"));
    EXPECT_TRUE(DynBuffer() == DynBuffer(9));
}

TEST(BufferText, EveryByteIsTwoUpperCaseDigitsAndReadsBack) {
    DynBuffer buffer(256, 256);
    std::string expected;
    for (unsigned int i = 0; i < 256; ++i) {
        buffer.GetBuffer()[i] = static_cast<unsigned char>(i);
        expected += "0123456789ABCDEF"[i / 16];
        expected += "0123456789ABCDEF"[i % 16];
    }
    EXPECT_EQ(TextOf(buffer), expected);
    std::istringstream stream(expected);
    DynBuffer back;
    ASSERT_TRUE(stream >> back);
    EXPECT_TRUE(back == buffer);
}

TEST(BufferText, LongBuffersCrossTheBlockOfTheWriter) {
    for (unsigned int count : {255U, 256U, 257U, 511U, 512U, 513U, 5000U}) {
        std::vector<unsigned char> bytes(count, 0xA5);
        std::ostringstream stream;
        BufferBase::StreamOutBinary(stream, bytes.data(), count);
        std::string expected;
        for (unsigned int i = 0; i < count; ++i)
            expected += "A5";
        EXPECT_EQ(stream.str(), expected) << count;
        std::string appended = "x";
        BufferBase::AppendHex(appended, bytes.data(), count);
        EXPECT_EQ(appended, "x" + expected) << count;
    }
}

TEST(BufferText, WidthAndFillOfTheStreamPlayNoPart) {
    std::ostringstream stream;
    stream.width(20);
    stream.fill('*');
    stream << BufferOf("a");
    EXPECT_EQ(stream.str(), "61");
}

struct ReadCase {
    const char* text;
    bool good;
    const char* bytes;  // as text
    char next;          // 0: end
};

class BufferRead : public testing::TestWithParam<ReadCase> {};

TEST_P(BufferRead, StopsAtTheFirstOtherCharacter) {
    const ReadCase& c = GetParam();
    DynBuffer buffer = BufferOf("old");
    std::istringstream stream(c.text);
    stream >> buffer;
    EXPECT_EQ(!stream.fail(), c.good);
    EXPECT_EQ(TextOf(buffer), c.bytes);
    stream.clear();
    const int next = stream.peek();
    EXPECT_EQ(next, c.next ? c.next : std::istringstream::traits_type::eof());
}

INSTANTIATE_TEST_SUITE_P(
    Texts, BufferRead,
    testing::Values(ReadCase{"", true, "", 0}, ReadCase{"   ", true, "", 0}, ReadCase{"ff", true, "FF", 0},
                    ReadCase{"FF00", true, "FF00", 0}, ReadCase{"00FF", true, "00FF", 0},
                    ReadCase{"F", true, "0F", 0}, ReadCase{"abc", true, "0ABC", 0},
                    ReadCase{" \t12 34", true, "12", ' '}, ReadCase{"12,34", true, "12", ','},
                    ReadCase{"xyz", false, "6F6C64", 'x'}, ReadCase{"0x12", true, "00", 'x'},
                    ReadCase{"-1", false, "6F6C64", '-'}));

TEST(BufferText, ReadingSeveralBuffersFromOneStream) {
    std::istringstream stream("0102 AABB\nCC");
    DynBuffer first;
    DynBuffer second;
    DynBuffer third;
    ASSERT_TRUE(stream >> first >> second >> third);
    EXPECT_EQ(TextOf(first), "0102");
    EXPECT_EQ(TextOf(second), "AABB");
    EXPECT_EQ(TextOf(third), "CC");
}

TEST(BufferText, ReadingFromAFailedStreamChangesNothing) {
    std::istringstream stream("0102");
    stream.setstate(std::ios_base::failbit);
    DynBuffer buffer = BufferOf("old");
    stream >> buffer;
    EXPECT_EQ(TextOf(buffer), "6F6C64");
}

TEST(BufferText, ParseHexRefusesAllOtherCharacters) {
    for (int c = 0; c < 256; ++c) {
        const bool digit = (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
        DynBuffer buffer = BufferOf("old");
        const std::string text = std::string("1") + static_cast<char>(c);
        EXPECT_EQ(BufferBase::ParseHex(text, buffer), digit) << c;
        EXPECT_EQ(TextOf(buffer) == "6F6C64", !digit) << c;
    }
}

TEST(BufferText, ParseHexKeepsTheRoomThatIsThere) {
    DynBuffer buffer(16);
    ASSERT_TRUE(BufferBase::ParseHex("0a0B", buffer));
    EXPECT_EQ(buffer.GetSize(), 16U);
    EXPECT_EQ(TextOf(buffer), "0A0B");
    ASSERT_TRUE(BufferBase::ParseHex("", buffer));
    EXPECT_EQ(buffer.GetLength(), 0U);
}

}  // namespace
