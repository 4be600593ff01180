#include "platform/qxutils/string_utils.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using qxutils::StringUtils;
using qxutils::wstring16;

wstring16 Wide(const std::string& ascii) {
    return wstring16(ascii.begin(), ascii.end());
}

TEST(WideStringTest, WorksAsAString) {
    wstring16 text = Wide("select");
    text += Wide(" 1");
    EXPECT_EQ(text.size(), 8u);
    EXPECT_EQ(text.find(static_cast<unsigned short>('1')), 7u);
    EXPECT_EQ(text.find(Wide("ect")), 3u);
    EXPECT_EQ(text.substr(0, 3), Wide("sel"));
    EXPECT_LT(Wide("a"), Wide("b"));
    EXPECT_LT(Wide("a"), wstring16(1, 0xFFFF));
    EXPECT_LT(Wide("a"), Wide("ab"));
    EXPECT_EQ(wstring16(3, 'x'), Wide("xxx"));
    text.replace(0, 6, Wide("insert into"));
    EXPECT_EQ(text, Wide("insert into 1"));
    text.insert(0, Wide("[") + Wide("]"));
    EXPECT_EQ(text, Wide("[]insert into 1"));
}

TEST(ConvertTest, Utf16ToMultiByte) {
    const unsigned short text[] = {'a', 0x00FC, 0x20AC, 0xD83D, 0xDE00, 0};
    EXPECT_EQ(StringUtils::ConvertToMBString(text), "a\xC3\xBC\xE2\x82\xAC\xF0\x9F\x98\x80");
    EXPECT_EQ(StringUtils::ConvertToMBString(nullptr), "");
    const unsigned short empty[] = {0};
    EXPECT_EQ(StringUtils::ConvertToMBString(empty), "");
}

TEST(ConvertTest, HalfSurrogatesAreReplaced) {
    const unsigned short text[] = {0xD83D, 'x', 0xDE00, 0xD83D, 0};
    EXPECT_EQ(StringUtils::ConvertToMBString(text), "\xEF\xBF\xBDx\xEF\xBF\xBD\xEF\xBF\xBD");
}

struct CompareCase {
    const char* a;
    const char* b;
    int sign;
};

class CompareTest : public testing::TestWithParam<CompareCase> {};

int Sign(int value) {
    return value < 0 ? -1 : (value > 0 ? 1 : 0);
}

TEST_P(CompareTest, IgnoresCase) {
    const CompareCase& c = GetParam();
    EXPECT_EQ(Sign(StringUtils::StringICmp(std::string(c.a), std::string(c.b))), c.sign);
    EXPECT_EQ(Sign(StringUtils::StringICmp(std::string(c.b), std::string(c.a))), -c.sign);
    EXPECT_EQ(Sign(StringUtils::StringICmp(Wide(c.a), Wide(c.b))), c.sign);
}

INSTANTIATE_TEST_SUITE_P(Pairs, CompareTest,
                         testing::Values(CompareCase{"", "", 0}, CompareCase{"Select", "sELECT", 0},
                                         CompareCase{"a", "B", -1}, CompareCase{"B", "a", 1},
                                         CompareCase{"ab", "abc", -1}, CompareCase{"a[", "aA", -1},
                                         CompareCase{"", "x", -1}, CompareCase{"z1", "Z1", 0}));

TEST(CompareBytesTest, BytesAboveAsciiCompareAsUnsigned) {
    EXPECT_GT(StringUtils::StringICmp(std::string("\xC3\xBC"), std::string("z")), 0);
    EXPECT_NE(StringUtils::StringICmp(std::string("\xC3\xBC"), std::string("\xC3\x9C")), 0);
}

struct TrimCase {
    const char* text;
    const char* both;
    const char* left;
    const char* right;
};

class TrimTest : public testing::TestWithParam<TrimCase> {};

TEST_P(TrimTest, RemovesWhiteSpaceInPlace) {
    const TrimCase& c = GetParam();
    std::string narrow = c.text;
    EXPECT_EQ(&StringUtils::StringTrim(narrow), &narrow);
    EXPECT_EQ(narrow, c.both);
    wstring16 wide = Wide(c.text);
    EXPECT_EQ(&StringUtils::StringTrim(wide), &wide);
    EXPECT_EQ(wide, Wide(c.both));
    wide = Wide(c.text);
    EXPECT_EQ(&StringUtils::StringTrimLeft(wide), &wide);
    EXPECT_EQ(wide, Wide(c.left));
    wide = Wide(c.text);
    EXPECT_EQ(&StringUtils::StringTrimRight(wide), &wide);
    EXPECT_EQ(wide, Wide(c.right));
}

INSTANTIATE_TEST_SUITE_P(Texts, TrimTest,
                         testing::Values(TrimCase{"", "", "", ""}, TrimCase{"a b", "a b", "a b", "a b"},
                                         TrimCase{" \t\r\n\v\f", "", "", ""},
                                         TrimCase{"\n a ", "a", "a ", "\n a"},
                                         TrimCase{"  x y\t", "x y", "x y\t", "  x y"}));

TEST(UpperTest, ChangesAsciiLettersOnly) {
    std::string text = "abz{`\xC3\xBC 1";
    EXPECT_EQ(&StringUtils::StringUpper(text), &text);
    EXPECT_EQ(text, "ABZ{`\xC3\xBC 1");
}

struct ReplaceCase {
    const char* text;
    const char* from;
    const char* to;
    const char* result;
};

class ReplaceTest : public testing::TestWithParam<ReplaceCase> {};

TEST_P(ReplaceTest, ReplacesAll) {
    const ReplaceCase& c = GetParam();
    EXPECT_EQ(StringUtils::StringReplaceAll(c.text, c.from, c.to), c.result);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, ReplaceTest,
    testing::Values(ReplaceCase{"", "a", "b", ""}, ReplaceCase{"it's", "'", "''", "it''s"},
                    ReplaceCase{"aaa", "aa", "b", "ba"}, ReplaceCase{"abab", "ab", "", ""},
                    ReplaceCase{"abc", "", "x", "abc"}, ReplaceCase{"abc", "d", "x", "abc"},
                    ReplaceCase{"a", "a", "aa", "aa"}));

TEST(FindNoCaseTest, FirstMatchOrEnd) {
    std::string text = "from Table where TABLE";
    EXPECT_EQ(StringUtils::find_nocase(text, "tABLE") - text.begin(), 5);
    EXPECT_EQ(StringUtils::find_nocase(text, "view"), text.end());
    EXPECT_EQ(StringUtils::find_nocase(text, ""), text.begin());
    std::string empty;
    EXPECT_EQ(StringUtils::find_nocase(empty, "x"), empty.end());
}

}  // namespace
