#include "persistence/field_encoder.h"

#include <atomic>
#include <random>
#include <string>

#include "gtest/gtest.h"
#include "persistence/ascii_persistence.h"

namespace qxdbsqlengine {
namespace {

struct EncodeCase {
    const char* name;
    char delimiter;
    bool quoting;
    bool expandTabs;
    std::string in;
    std::string quoted;    // types that may quote
    std::string unquoted;  // tab and free delimiter types
};

const std::string kNul("\0", 1);

const EncodeCase kCases[] = {
    {"Empty", ',', true, true, "", "", ""},
    {"EmptyQuotingOff", ',', false, false, "", "", ""},
    {"Plain", ',', true, true, "plain text", "plain text", "plain text"},
    {"CrLfOn", ',', true, true, "a\r\nb", "\"a\nb\"", "a\nb"},
    {"CrLfOff", ',', false, true, "a\r\nb", "a b", "a b"},
    {"CrLfAtEndOn", ',', true, true, "a\r\n", "\"a\n\"", "a\n"},
    {"CrLfAtEndOff", ',', false, true, "a\r\n", "a ", "a "},
    {"CrOn", ',', true, true, "a\rb", "a b", "a b"},
    {"CrOff", ',', false, true, "a\rb", "a b", "a b"},
    {"CrAtEndOn", ',', true, true, "a\r", "a ", "a "},
    {"CrCrLfOn", ',', true, true, "a\r\r\nb", "\"a \nb\"", "a \nb"},
    {"CrCrLfOff", ',', false, true, "a\r\r\nb", "a  b", "a  b"},
    {"LfOn", ',', true, true, "a\nb", "\"a\nb\"", "a\nb"},
    {"LfOff", ',', false, true, "a\nb", "a b", "a b"},
    {"LfCrOn", ',', true, true, "a\n\rb", "\"a\n b\"", "a\n b"},
    {"DelimiterOn", ',', true, true, "x,y", "\"x,y\"", "x,y"},
    {"DelimiterOff", ',', false, true, "x,y", "x y", "x y"},
    {"PipeOn", '|', true, true, "x|y", "\"x|y\"", "x|y"},
    {"PipeOff", '|', false, true, "x|y", "x y", "x y"},
    {"OtherDelimiterIsPlain", '|', true, true, "x,y", "x,y", "x,y"},
    {"TabExpandedOn", ',', true, true, "x\ty", "x    y", "x    y"},
    {"TabExpandedOff", ',', false, true, "x\ty", "x    y", "x    y"},
    {"TabDelimiterExpandedOn", '\t', true, true, "x\ty", "x    y", "x    y"},
    {"TabDelimiterExpandedOff", '\t', false, true, "x\ty", "x    y", "x    y"},
    {"TabDelimiterKeptOn", '\t', true, false, "x\ty", "\"x\ty\"", "x\ty"},
    {"TabDelimiterKeptOff", '\t', false, false, "x\ty", "x y", "x y"},
    {"TabOtherDelimiterKeptOn", ',', true, false, "x\ty", "x\ty", "x\ty"},
    {"TabOtherDelimiterKeptOff", ',', false, false, "x\ty", "x\ty", "x\ty"},
    {"OneQuote", ',', true, true, "\"", "\"\"\"\"", "\""},
    {"OneQuoteOff", ',', false, true, "\"", "\"\"\"\"", "\""},
    {"LeadingQuote", ',', true, true, "\"p\"q", "\"\"\"p\"\"q\"", "\"p\"q"},
    {"QuoteInside", ',', true, true, "p\"q", "p\"q", "p\"q"},
    {"QuoteAtEnd", ',', true, true, "p\"", "p\"", "p\""},
    {"QuoteInsideAndDelimiter", ',', true, true, "p\"q,r", "\"p\"\"q,r\"", "p\"q,r"},
    {"SingleQuoteFirst", ',', true, true, "'p", "'p", "'p"},
    {"QuoteDelimiter", '"', true, true, "a\"b", "'a\"b'", "a\"b"},
    {"QuoteDelimiterOff", '"', false, true, "a\"b", "a b", "a b"},
    {"QuoteDelimiterLeadingSingleQuote", '"', true, true, "'a", "'''a'", "'a"},
    {"QuoteDelimiterDoubling", '"', true, true, "it's \"x\"", "'it''s \"x\"'", "it's \"x\""},
    {"Nul", ',', true, true, "a" + kNul + "b", "a" + kNul + "b", "a" + kNul + "b"},
    {"NulDelimiter", '\0', true, true, "a" + kNul + "b", "\"a" + kNul + "b\"", "a" + kNul + "b"},
    {"OtherControls", ',', true, true, "a\x01\x0b\x0c\x1f\x7f", "a\x01\x0b\x0c\x1f\x7f",
     "a\x01\x0b\x0c\x1f\x7f"},
    {"OtherControlsLong", ',', true, true, "abcdefgh\x01ijklmnopq", "abcdefgh\x01ijklmnopq",
     "abcdefgh\x01ijklmnopq"},
    {"Utf8", ',', true, true, "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80,",
     "\"\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80,\"", "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80,"},
    {"CutCharacterBeforeDelimiter", ',', true, true, "\xE2\x82,x", "\"\xE2\x82,x\"", "\xE2\x82,x"},
    {"CutCharacterBeforeLineEnd", ',', false, true, "\xF0\x9F\n", "\xF0\x9F ", "\xF0\x9F "},
    {"InvalidBytes", ',', true, true, "\x80\xFE\xFF", "\x80\xFE\xFF", "\x80\xFE\xFF"},
    {"HighDelimiter", '\xA7', true, true,
     "a\xA7"
     "b",
     "\"a\xA7"
     "b\"",
     "a\xA7"
     "b"},
    {"HighDelimiterOff", '\xA7', false, true,
     "a\xA7"
     "b",
     "a b", "a b"},
    {"LineFeedDelimiterOn", '\n', true, true, "a\nb", "\"a\nb\"", "a\nb"},
    {"CarriageReturnDelimiterOn", '\r', true, true, "a\rb", "a b", "a b"},
    {"Everything", ',', true, true, "\",\r\n\t\r\"", "\"\"\",\n     \"\"\"", "\",\n     \""},
};

class EncodeValue : public ::testing::TestWithParam<EncodeCase> {};

TEST_P(EncodeValue, GivesTheStatedFieldForEachType) {
    const EncodeCase& c = GetParam();
    std::atomic<bool> cancel{false};
    for (ResultFileType type : {ResultFileTab, ResultFileComma, ResultFilePipe, ResultFileDelimited}) {
        AsciiPersistence persistence(type, cancel);
        persistence.SetDelimiter(c.delimiter);
        persistence.SetUseQuotingLogic(c.quoting);
        persistence.SetExpandTabs(c.expandTabs);
        const bool mayQuote = type == ResultFileComma || type == ResultFilePipe;
        EXPECT_EQ(persistence.EncodeValue(c.in), mayQuote ? c.quoted : c.unquoted) << "type " << type;
    }
}

INSTANTIATE_TEST_SUITE_P(Table, EncodeValue, ::testing::ValuesIn(kCases),
                         [](const auto& testCase) { return std::string(testCase.param.name); });

TEST(FieldEncoderTest, OrderOfSettingsDoesNotMatter) {
    std::atomic<bool> cancel{false};
    AsciiPersistence persistence(ResultFileComma, cancel);
    persistence.SetExpandTabs(false);
    persistence.SetUseQuotingLogic(false);
    persistence.SetDelimiter('\t');
    EXPECT_EQ(persistence.EncodeValue("x\ty\nz"), "x y z");
    persistence.SetUseQuotingLogic(true);
    EXPECT_EQ(persistence.EncodeValue("x\ty\nz"), "\"x\ty\nz\"");
    persistence.SetDelimiter(',');
    EXPECT_EQ(persistence.EncodeValue("x\ty"), "x\ty");
}

// The bytes one by one, by the table alone.
std::string EncodeSlowly(const std::string& in, const FieldRules& rules) {
    std::string text;
    bool needsQuotes = !in.empty() && in[0] == rules.quote;
    for (std::size_t i = 0; i < in.size(); ++i) {
        const char byte = in[i];
        if (byte == '\r' && i + 1 < in.size() && in[i + 1] == '\n') {
            text += rules.quoteByNeed ? '\n' : ' ';
            needsQuotes |= rules.quoteByNeed;
            ++i;
        } else if (byte == '\r') {
            text += ' ';
        } else if (byte == '\t' && rules.expandTabs) {
            text += "    ";
        } else if (byte == '\n' || byte == rules.delimiter) {
            text += rules.quoteByNeed ? byte : ' ';
            needsQuotes |= rules.quoteByNeed;
        } else {
            text += byte;
        }
    }
    if (!needsQuotes || !rules.mayQuote)
        return text;
    std::string quoted(1, rules.quote);
    for (char byte : text)
        quoted += byte == rules.quote ? std::string(2, byte) : std::string(1, byte);
    return quoted + rules.quote;
}

TEST(FieldEncoderTest, AgreesWithTheTableOnRandomValuesOfEveryLength) {
    std::mt19937 random(20240611);
    const std::string letters = "aZ09 \"',|\t\r\n;\x01\xC3\xA4\xFF";
    for (int round = 0; round < 40000; ++round) {
        FieldRules rules;
        rules.delimiter = ",|\t;\""[random() % 5];
        rules.quote = rules.delimiter == '"' ? '\'' : '"';
        rules.quoteByNeed = random() % 4 != 0;
        rules.expandTabs = random() % 2 != 0;
        rules.mayQuote = random() % 4 != 0;
        FieldEncoder encoder;
        encoder.SetRules(rules);
        std::string value(random() % 40, 'x');
        for (char& byte : value)
            if (random() % 8 == 0)
                byte = letters[random() % letters.size()];
        OutputBuffer out(1);
        out.Append("<");
        encoder.Append(value, out);
        ASSERT_EQ(std::string(out.Data(), out.Size()), "<" + EncodeSlowly(value, rules)) << round;
    }
}

TEST(OutputBufferTest, GrowsAndTruncates) {
    OutputBuffer out(4);
    EXPECT_EQ(out.Data(), nullptr);
    out.Append("");
    out.Append("abc");
    out.Append('d');
    out.Append("efghij");
    EXPECT_EQ(std::string(out.Data(), out.Size()), "abcdefghij");
    out.Truncate(4);
    EXPECT_EQ(std::string(out.Data(), out.Size()), "abcd");
    EXPECT_FALSE(out.IsFull());
    out.Append(std::string(OutputBuffer::kBlock, 'x'));
    EXPECT_TRUE(out.IsFull());
    out.Clear();
    EXPECT_EQ(out.Size(), 0u);
    EXPECT_NE(out.Data(), nullptr);  // the block is kept
    out.Append(std::string(16 * OutputBuffer::kBlock, 'x'));
    out.Clear();
    EXPECT_EQ(out.Data(), nullptr);  // what one huge value took is not
}

}  // namespace
}  // namespace qxdbsqlengine
