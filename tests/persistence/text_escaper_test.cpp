// Escapes of the markup formats: the tables, and random texts against a slow writer.
#include "persistence/text_escaper.h"

#include <random>

#include "gtest/gtest.h"

namespace qxdbsqlengine {
namespace {

const std::string kSpan = "<SPAN STYLE='mso-spacerun:yes'>";
const std::string kEnd = "</SPAN>";
const std::string kFour = "&nbsp;&nbsp;&nbsp;&nbsp;";

std::string Escaped(const TextEscaper& escaper, const std::string& text) {
    OutputBuffer out(16);
    out.Append("[");
    escaper.Append(text, out);
    out.Append("]");
    return std::string(out.Data() + 1, out.Size() - 2);
}

struct EscapeCase {
    const char* text;
    std::string html;
    std::string excel;
    std::string xml;
};

const EscapeCase kCases[] = {
    {"", "", "", ""},
    {"plain", "plain", "plain", "plain"},
    {"\t", kFour, kSpan + kFour + kEnd, "\t"},
    {"\t\t", kFour + kFour, kSpan + kFour + kEnd + kSpan + kFour + kEnd, "\t\t"},
    {"\n", "<br>", "<br>", "&#10;"},
    {"\n\n", "<br><br>", "<br><br>", "&#10;&#10;"},
    {"\r\n", "<br>", "<br>", "&#10;"},
    {"\r\n\r\n", "<br><br>", "<br><br>", "&#10;&#10;"},
    {"\r", " ", " ", "&#13;"},
    {"\r\r", "  ", "  ", "&#13;&#13;"},
    {"\r\r\n", " <br>", " <br>", "&#13;&#10;"},
    {"\n\r", "<br> ", "<br> ", "&#10;&#13;"},
    {" ", " ", " ", " "},
    {"  ", "&nbsp;&nbsp;", kSpan + "&nbsp;&nbsp;" + kEnd, "  "},
    {"   ", "&nbsp;&nbsp;&nbsp;", kSpan + "&nbsp;&nbsp;&nbsp;" + kEnd, "   "},
    {"a b", "a b", "a b", "a b"},
    {"a  b", "a&nbsp;&nbsp;b", "a" + kSpan + "&nbsp;&nbsp;" + kEnd + "b", "a  b"},
    {" a ", " a ", " a ", " a "},
    {"  a  ", "&nbsp;&nbsp;a&nbsp;&nbsp;",
     kSpan + "&nbsp;&nbsp;" + kEnd + "a" + kSpan + "&nbsp;&nbsp;" + kEnd, "  a  "},
    {" \r ", "   ", "   ", " &#13; "},
    {" \t ", " " + kFour + " ", " " + kSpan + kFour + kEnd + " ", " \t "},
    {"\"", "&quot;", "&quot;", "\""},
    {"\"\"", "&quot;&quot;", "&quot;&quot;", "\"\""},
    {"&", "&amp;", "&amp;", "&amp;"},
    {"&&", "&amp;&amp;", "&amp;&amp;", "&amp;&amp;"},
    {"&lt;", "&amp;lt;", "&amp;lt;", "&amp;lt;"},
    {"<", "&lt;", "&lt;", "&lt;"},
    {"<<", "&lt;&lt;", "&lt;&lt;", "&lt;&lt;"},
    {">", "&gt;", "&gt;", "&gt;"},
    {">>", "&gt;&gt;", "&gt;&gt;", "&gt;&gt;"},
    {"'", "'", "'", "'"},
    {"]]>", "]]&gt;", "]]&gt;", "]]&gt;"},
    {"\xF0\x9F\x98\x80", "\xF0\x9F\x98\x80", "\xF0\x9F\x98\x80", "\xF0\x9F\x98\x80"},
    {"\xC3\xA4<\x80\xFF", "\xC3\xA4&lt;\x80\xFF", "\xC3\xA4&lt;\x80\xFF", "\xC3\xA4&lt;\x80\xFF"},
    {"\x01\x1F\x7F", "\x01\x1F\x7F", "\x01\x1F\x7F", "\x01\x1F\x7F"},
};

TEST(TextEscaperTest, EveryRowOfTheTables) {
    for (const EscapeCase& c : kCases) {
        EXPECT_EQ(Escaped(TextEscaper::Html(), c.text), c.html) << c.text;
        EXPECT_EQ(Escaped(TextEscaper::Excel(), c.text), c.excel) << c.text;
        EXPECT_EQ(Escaped(TextEscaper::Xml(), c.text), c.xml) << c.text;
    }
}

// Special bytes at each place of a text, first and last among them, so that every step of eight is met.
TEST(TextEscaperTest, AtEveryPlace) {
    for (const EscapeCase& c : kCases) {
        const std::string text = c.text;
        if (text.find(' ') != std::string::npos || text.find('\r') != std::string::npos)
            continue;  // what stands beside it matters
        for (std::size_t before = 0; before < 20; ++before) {
            for (std::size_t after = 0; after < 20; after += 3) {
                const std::string left(before, 'x');
                const std::string right(after, 'y');
                EXPECT_EQ(Escaped(TextEscaper::Html(), left + text + right), left + c.html + right);
                EXPECT_EQ(Escaped(TextEscaper::Excel(), left + text + right), left + c.excel + right);
                EXPECT_EQ(Escaped(TextEscaper::Xml(), left + text + right), left + c.xml + right);
            }
        }
    }
}

TEST(TextEscaperTest, RunsOfBlanksAtEveryPlace) {
    for (std::size_t before = 0; before < 20; ++before) {
        for (std::size_t blanks = 1; blanks < 20; ++blanks) {
            for (const std::string right : {"", "y"}) {
                std::string run;
                for (std::size_t i = 0; i < blanks; ++i)
                    run += "&nbsp;";
                const std::string left(before, 'x');
                const std::string text = left + std::string(blanks, ' ') + right;
                EXPECT_EQ(Escaped(TextEscaper::Html(), text), left + (blanks == 1 ? " " : run) + right);
                EXPECT_EQ(Escaped(TextEscaper::Excel(), text),
                          left + (blanks == 1 ? " " : kSpan + run + kEnd) + right);
                EXPECT_EQ(Escaped(TextEscaper::Xml(), text), text);
            }
        }
    }
}

TEST(TextEscaperTest, NulPassesAndNullIsEmpty) {
    const std::string text("a\0<\0", 4);
    EXPECT_EQ(Escaped(TextEscaper::Html(), text), std::string("a\0&lt;\0", 7));
    EXPECT_EQ(Escaped(TextEscaper::Xml(), text), std::string("a\0&lt;\0", 7));
    EXPECT_EQ(TextEscaper::Html().Encode(nullptr), "");
    EXPECT_EQ(TextEscaper::Excel().Encode(nullptr), "");
    EXPECT_EQ(TextEscaper::Html().Encode(""), "");
    EXPECT_EQ(TextEscaper::Html().Encode("a<b"), "a&lt;b");
    EXPECT_EQ(TextEscaper::Excel().Encode("\t"), kSpan + kFour + kEnd);
}

// The tables, one byte after the other.
std::string Slowly(const std::string& text, bool blankRuns, bool span) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char byte = text[i];
        const std::size_t blanks = text.find_first_not_of(' ', i) == std::string::npos
                                       ? text.size() - i
                                       : text.find_first_not_of(' ', i) - i;
        if (byte == '&')
            out += "&amp;";
        else if (byte == '<')
            out += "&lt;";
        else if (byte == '>')
            out += "&gt;";
        else if (byte == '"' && blankRuns)
            out += "&quot;";
        else if (byte == '\r' && i + 1 < text.size() && text[i + 1] == '\n')
            continue;
        else if (byte == '\r')
            out += blankRuns ? " " : "&#13;";
        else if (byte == '\n')
            out += blankRuns ? "<br>" : "&#10;";
        else if (byte == '\t' && blankRuns)
            out += span ? kSpan + kFour + kEnd : kFour;
        else if (blankRuns && blanks > 1) {
            out += span ? kSpan : "";
            for (std::size_t k = 0; k < blanks; ++k)
                out += "&nbsp;";
            out += span ? kEnd : "";
            i += blanks - 1;
        } else
            out += byte;
    }
    return out;
}

TEST(TextEscaperTest, RandomTextsAgainstASlowWriter) {
    std::mt19937 random(6);
    const std::string letters = std::string("abc   \t\r\n<>&\"';!#%^=?@~") + '\0' + "\xC3\xA4\x80\xFF";
    for (int i = 0; i < 20000; ++i) {
        std::string text(random() % 40, ' ');
        for (char& byte : text)
            byte = random() % 3 == 0 ? 'x' : letters[random() % letters.size()];
        ASSERT_EQ(Escaped(TextEscaper::Html(), text), Slowly(text, true, false)) << text;
        ASSERT_EQ(Escaped(TextEscaper::Excel(), text), Slowly(text, true, true)) << text;
        ASSERT_EQ(Escaped(TextEscaper::Xml(), text), Slowly(text, false, false)) << text;
    }
}

}  // namespace
}  // namespace qxdbsqlengine
