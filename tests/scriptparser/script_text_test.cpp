// Decoding in pieces, lines and offsets, and what stays in memory.
#include "scriptparser/script_text.h"

#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "scriptparser/script_error.h"
#include "scriptparser/split_support.h"
#include "scriptparser/wide_text.h"

namespace {

using namespace qxscriptparser;
using split_support::Encode;
using split_support::Encoding;
using split_support::PieceSource;

std::string ReadAll(std::string_view bytes, std::size_t pieceSize) {
    PieceSource source(bytes, pieceSize);
    const std::atomic<bool> stop{false};
    ScriptText text(source, stop);
    while (text.More()) {
    }
    return std::string(text.View(text.Begin(), text.End()));
}

struct DecodeCase {
    std::string bytes;
    std::string text;
};

std::string Bytes(const char* text, std::size_t size) {
    return std::string(text, size);
}

const DecodeCase kDecodeCases[] = {
    {"", ""},
    {"a", "a"},
    {"ab", "ab"},
    {"\xEF\xBB\xBF", ""},
    {"\xEF\xBB\xBF"
     "a",
     "a"},
    {"\xEF\xBB", "\xC3\xAF\xC2\xBB"},
    {"\xFF\xFE", ""},
    {Bytes("\xFF\xFE"
           "a\0",
           4),
     "a"},
    {Bytes("\xFE\xFF"
           "\0a",
           4),
     "a"},
    {Bytes("a\0", 2), "a"},
    {Bytes("a\0b\0", 4), "ab"},
    {Bytes("\0a\0b", 4), "ab"},
    {Bytes("\xFF\xFE"
           "a\0b",
           5),
     "ab"},
    {Bytes("\xFF\xFE"
           "\x3D\xD8\x00\xDE",
           6),
     "\xF0\x9F\x98\x80"},
    {Bytes("\xFE\xFF"
           "\xD8\x3D\xDE\x00",
           6),
     "\xF0\x9F\x98\x80"},
    {Bytes("\xFF\xFE"
           "\x3D\xD8",
           4),
     "\xED\xA0\xBD"},
    {Bytes("\xFF\xFE"
           "\x3D\xD8\x3D\xD8\x00\xDE",
           8),
     "\xED\xA0\xBD\xF0\x9F\x98\x80"},
    {Bytes("\xFF\xFE"
           "\x00\xDE"
           "a\0",
           6),
     "\xED\xB8\x80"
     "a"},
    {"\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF",
     "\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"},
    {"\xC0\x80", "\xC3\x80\xE2\x82\xAC"},                              // overlong
    {"\xE0\x9F\xBF", "\xC3\xA0\xC5\xB8\xC2\xBF"},                      // overlong
    {"\xED\xA0\x80", "\xC3\xAD\xC2\xA0\xE2\x82\xAC"},                  // half a surrogate
    {"\xF4\x90\x80\x80", "\xC3\xB4\xC2\x90\xE2\x82\xAC\xE2\x82\xAC"},  // beyond the last character
    {"\x80\x9F\xA0\xFF", "\xE2\x82\xAC\xC5\xB8\xC2\xA0\xC3\xBF"},
    {"a\xC3", "a\xC3\x83"},
    {"\xC3"
     "a",
     "\xC3\x83"
     "a"},
    {"\xE2\x82", "\xC3\xA2\xE2\x80\x9A"},
};

TEST(ScriptTextTest, DecodesInPiecesOfAnySize) {
    for (const DecodeCase& tested : kDecodeCases) {
        for (const std::size_t size : {100U, 1U, 2U, 3U, 7U})
            EXPECT_EQ(ReadAll(tested.bytes, size), tested.text)
                << &tested - kDecodeCases << ", pieces of " << size;
    }
}

TEST(ScriptTextTest, AnyBytesGiveTheSameTextInPiecesOfAnySize) {
    std::mt19937 random(3);
    for (int round = 0; round < 300; ++round) {
        std::string bytes(random() % 200, ' ');
        for (char& c : bytes) {
            static constexpr std::string_view kCommon =
                "ab\n\r\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\xED\xFF\xFE";
            c = kCommon[random() % kCommon.size()];
        }
        const std::string whole = ReadAll(bytes, 1000);
        for (const std::size_t size : {1U, 2U, 3U, 5U, 64U})
            ASSERT_EQ(ReadAll(bytes, size), whole);
    }
}

TEST(ScriptTextTest, TheWayToUtf16AndBackLosesNothing) {
    const std::string text = "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\xED\xA0\xBD";
    for (const Encoding encoding : split_support::kEncodings) {
        if (encoding == Encoding::Utf8 || encoding == Encoding::Utf8Mark)
            continue;  // no half surrogates there
        EXPECT_EQ(ReadAll(Encode(text, encoding), 3), text);
    }
}

TEST(ScriptTextTest, CountsLinesOfAllKinds) {
    const std::string script = "a\nb\r\nc\rd\r\r\ne\n\n";
    // Of each byte and of the end; a line feed behind a carriage return counts for the line that begins.
    const long lines[] = {1, 1, 2, 2, 3, 3, 3, 4, 4, 5, 6, 6, 6, 7, 8};
    for (const std::size_t size : {1U, 2U, 100U}) {
        PieceSource source(script, size);
        const std::atomic<bool> stop{false};
        ScriptText text(source, stop);
        while (text.More()) {
        }
        for (std::size_t i = 0; i <= script.size(); ++i)
            EXPECT_EQ(text.LineOf(i), lines[i]) << i;
    }
}

TEST(ScriptTextTest, OffsetsAreThoseOfTheSource) {
    const std::string bytes =
        "\xEF\xBB\xBF"
        "a\x80"
        "b\xE4"
        "c\xC3\xA4"
        "d";
    const std::uint64_t positions[] = {0, 1, 4, 5, 7, 8, 10, 11};
    const std::uint64_t offsets[] = {3, 4, 5, 6, 7, 8, 10, 11};
    PieceSource source(bytes, 2);
    const std::atomic<bool> stop{false};
    ScriptText text(source, stop);
    while (text.More()) {
    }
    ASSERT_EQ(text.End(), 11U);
    for (std::size_t i = 0; i < 8; ++i)
        EXPECT_EQ(text.OffsetOf(positions[i]), offsets[i]);
}

TEST(ScriptTextTest, WhatWasDroppedGoes) {
    const std::string bytes(3'000'000, 'x');
    PieceSource source(bytes, 1 << 20);
    const std::atomic<bool> stop{false};
    ScriptText text(source, stop);
    Position at = 0;
    while (text.More()) {
        at = text.End();
        text.DropTo(at - 10);
        EXPECT_LE(text.End() - text.Begin(), 400'000U);
        EXPECT_EQ(text.View(at - 10, at), "xxxxxxxxxx");
    }
    EXPECT_EQ(at, 3'000'000U);
    EXPECT_EQ(text.LineOf(at), 1);
}

TEST(ScriptTextTest, StopsWhenItIsToldTo) {
    PieceSource source("select 1;", 3);
    std::atomic<bool> stop{false};
    ScriptText text(source, stop);
    EXPECT_TRUE(text.More());
    stop = true;
    EXPECT_FALSE(text.More());
    EXPECT_TRUE(text.Stopped());
    EXPECT_EQ(text.View(0, text.End()), "sel");
}

TEST(ScriptTextTest, WhatStandsBeforeAZeroIsRead) {
    const std::string bytes("ab\ncd\0ef", 8);
    for (const std::size_t size : {1U, 3U, 100U}) {
        PieceSource source(bytes, size);
        const std::atomic<bool> stop{false};
        ScriptText text(source, stop);
        try {
            while (text.More()) {
            }
            ADD_FAILURE() << "no failure";
        } catch (const ScriptError& failure) {
            EXPECT_EQ(failure.Code(), E_FAIL);
            EXPECT_STREQ(failure.what(), "The script is not text: the byte at offset 5, in line 2, is zero.");
        }
        EXPECT_EQ(text.View(0, text.End()), "ab\ncd");
    }
}

TEST(WideTextTest, KeepsNoHugeMemoryAndOverrunsNothing) {
    WideText wide;
    for (const std::size_t size : {0U, 1U, 15U, 16U, 17U, 3'000'000U, 5U}) {
        const std::string text(size, 'a');
        const unsigned short* const units = wide.Assign(text);
        EXPECT_EQ(units[size], 0);
        for (std::size_t i = 0; i < size; ++i)
            ASSERT_EQ(units[i], 'a');
    }
    EXPECT_EQ(wide.Assign("a\xE2\x82")[1], 0xFFFD);
}

}  // namespace
