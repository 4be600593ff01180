#include "tools/qxsql/json_text.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace qxsql {
namespace {

std::string Json(const std::u16string& text) {
    const std::vector<unsigned short> units(text.begin(), text.end());
    std::string out = "x";
    AppendJsonString(out, units.data(), units.size());
    return out.substr(1);
}

TEST(JsonText, EscapesAndUtf8) {
    const struct {
        std::u16string text;
        const char* json;
    } cases[] = {
        {u"", R"("")"},
        {u"SELECT 1", R"("SELECT 1")"},
        {u"a\"b\\c/d", R"("a\"b\\c/d")"},
        {u"\b\f\n\r\t", R"("\b\f\n\r\t")"},
        {u"\x01\x1f\x7f", "\"\\u0001\\u001f\x7f\""},
        {u"\u0080\u07ff", "\"\xC2\x80\xDF\xBF\""},
        {u"\u0800\uffff", "\"\xE0\xA0\x80\xEF\xBF\xBF\""},
        {u"\u20ac", "\"€\""},
        {u"\U0001F600!", "\"😀!\""},
        {u"\U0010FFFF", "\"\xF4\x8F\xBF\xBF\""},
    };
    for (const auto& one : cases)
        EXPECT_EQ(one.json, Json(one.text));
}

TEST(JsonText, LoneSurrogatesBecomeEscapes) {
    const std::u16string high(1, char16_t(0xD83D));
    const std::u16string low(1, char16_t(0xDE00));
    EXPECT_EQ(R"("\ud83d")", Json(high));
    EXPECT_EQ(R"("\ude00")", Json(low));
    EXPECT_EQ(R"("\ud83dx")", Json(high + u"x"));
    EXPECT_EQ(R"("\ude00\ud83d")", Json(low + high));
    EXPECT_EQ("\"\\ud83d😀\"", Json(high + high + low));
}

// Long texts are written in pieces: nothing may happen at their borders, not even to a pair that lies on one.
TEST(JsonText, LongTextsAreWhole) {
    for (std::size_t before = 4090; before <= 4100; ++before) {
        const std::string ascii(before, 'a');
        const std::u16string wide =
            std::u16string(before, u'a') + u"\U0001F600" + std::u16string(9000, u'\n');
        std::string expected = "\"" + ascii + "😀";
        for (int i = 0; i < 9000; ++i)
            expected += "\\n";
        EXPECT_EQ(expected + "\"", Json(wide)) << before;
    }
}

}  // namespace
}  // namespace qxsql
