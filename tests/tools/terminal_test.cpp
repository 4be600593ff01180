#include "tools/qxsql/terminal.h"

#include <gtest/gtest.h>

namespace qxsql {
namespace {

TEST(Terminal, WidthOfTexts) {
    const struct {
        const char* text;
        int width;
    } cases[] = {{"", 0},          {"abc", 3},  {"Müller", 6},  {"日本", 4},
                 {"e\xCC\x81", 1}, {"\xFF", 1}, {"a\xC3", 2},   {"\xF0\x9F\x98\x80", 2},
                 {"a\tb", 3},      {"a\nb", 3}, {"\xE2\x82", 2}};
    for (const auto& one : cases)
        EXPECT_EQ(one.width, DisplayWidth(one.text)) << one.text;
}

TEST(Terminal, TextsAreCutWithAMark) {
    const struct {
        const char* text;
        int width;
        const char* fitted;
        int taken;
    } cases[] = {
        {"abc", 3, "abc", 3},       {"abcd", 3, "ab…", 3},   {"abcd", 1, "…", 1},
        {"abcd", 0, "", 0},         {"", 0, "", 0},          {"日本語", 6, "日本語", 6},
        {"日本語", 5, "日本…", 5},  {"日本語", 4, "日…", 3}, {"Müller", 4, "Mül…", 4},
        {"a\nb\tc", 5, "a↵b c", 5}, {"a\x01z", 3, "a·z", 3}, {"\xFF\xFE", 2, "··", 2},
        {"\xC2\x85", 1, "·", 1},
    };
    for (const auto& one : cases) {
        std::string out = "> ";
        EXPECT_EQ(one.taken, AppendFitted(out, one.text, one.width)) << one.text << " in " << one.width;
        EXPECT_EQ(std::string("> ") + one.fitted, out) << one.text << " in " << one.width;
    }
}

TEST(Terminal, PeakMemoryIsThisProcess) {
    EXPECT_GT(PeakMemory(), 1024U * 1024U);
}

}  // namespace
}  // namespace qxsql
