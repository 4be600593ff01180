#include "batch/procedure_call.h"

#include <gtest/gtest.h>

#include <list>
#include <string>

#include "support/fake_parser.h"

namespace qxtest {
namespace {

using Values = std::list<std::string>;

// The arguments, or one that says that the list was refused.
Values Read(const qxutils::wstring16& text) {
    qxutils::wstring16 params = text;
    Values values;
    return qxbatch::ParseArguments(params, values) ? values : Values{"(refused)"};
}

Values Read(const std::string& text) {
    return Read(Wide(text));
}

TEST(ParseArgumentsTest, NoBracketsNoCall) {
    for (const char* text : {"", " ", "1", "1)", "(1", "(", ")", "(1) x", "(1);", "(1)(", "x(1)"})
        EXPECT_EQ(Read(text), (Values{"(refused)"})) << text;
}

TEST(ParseArgumentsTest, RefusalLeavesTheValuesAlone) {
    qxutils::wstring16 params = Wide("(1");
    Values values{"old"};
    EXPECT_FALSE(qxbatch::ParseArguments(params, values));
    EXPECT_EQ(values, (Values{"old"}));
}

TEST(ParseArgumentsTest, Arguments) {
    const struct {
        const char* text;
        Values values;
    } cases[] = {
        {"()", {}},
        {"(  )", {}},
        {" \t( ) \n", {}},
        {"(1)", {"1"}},
        {"( 1 )", {"1"}},
        {"(1,2,3)", {"1", "2", "3"}},
        {"( 1 , 2\t,\n3 )", {"1", "2", "3"}},
        {"(-1.5e3,?)", {"-1.5e3", "?"}},
        {"(1, 'a,b', 'it''s', NULL, 'NULL')", {"1", "a,b", "it's", "NULL", "'NULL'"}},
        // Blanks inside quotes stay, those around them go.
        {"('  a  ')", {"  a  "}},
        {"(  '  a  '  ,  ' b ' )", {"  a  ", " b "}},
        {"(' , ',1)", {" , ", "1"}},
        {"('a ,b' ,1)", {"a ,b", "1"}},
        // Empty texts.
        {"('')", {""}},
        {"('','')", {"", ""}},
        {"('' , 1)", {"", "1"}},
        {"(1, '')", {"1", ""}},
        // Doubled quotes.
        {"('''a')", {"'a"}},
        {"('a''')", {"a'"}},
        {"('a''''b')", {"a''b"}},
        {"('a''b''c', 2)", {"a'b'c", "2"}},
        // One that is doubled right before a comma ends its argument, even within quotes.
        {"('a'',b')", {"a", "b"}},
        // The key word and the text.
        {"(null, Null)", {"null", "Null"}},
        {"('null', ' nUlL ')", {"'null'", "' nUlL '"}},
        {"('NULLS', 'N')", {"NULLS", "N"}},
        // Empty places; behind the last comma there is none.
        {"(,1)", {"", "1"}},
        {"(1,,2)", {"1", "", "2"}},
        {"(1,)", {"1"}},
        {"(,)", {""}},
        // A quote that stays open takes the rest.
        {"('a, b)", {"a, b"}},
        {"(1, 'a ,2)", {"1", "a ,2"}},
        // Brackets within the list are text; the last one ends it.
        {"(f(1), 2)", {"f(1)", "2"}},
        {"(')')", {")"}},
        // Text joined to a quoted part.
        {"(x'0F')", {"x0F"}},
        {"('a' || 'b')", {"a || b"}},
        {"(\"A,B\")", {"\"A", "B\""}},
    };
    for (const auto& one : cases)
        EXPECT_EQ(Read(one.text), one.values) << one.text;
}

TEST(ParseArgumentsTest, WideTextBecomesMultiByteText) {
    const unsigned short text[] = {'(', '\'', 0x00E9, 0x4E2D, 0xD83D, 0xDE00, 0xD83D, '\'', ')', 0};
    EXPECT_EQ(Read(qxutils::wstring16(text)), (Values{"\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80\xEF\xBF\xBD"}));
}

TEST(ParseArgumentsTest, LongListsTakeLinearTime) {
    std::string text = "(0";
    for (int i = 1; i < 200000; ++i)
        text += ", " + std::to_string(i);
    const Values values = Read(text + ")");
    EXPECT_EQ(values.size(), 200000U);
    EXPECT_EQ(values.back(), "199999");
}

TEST(ProcedureNameTest, KeyWordGoesAndUnquotedPartsAreUpperCased) {
    const struct {
        const char* head;
        const char* name;
    } cases[] = {
        {"exec p", "P"},
        {"  exec\t p \n", "P"},
        {"call a.b.c", "A.B.C"},
        {"exec scott.\"my proc\"", "SCOTT.\"my proc\""},
        {"exec \"Owner\".proc", "\"Owner\".PROC"},
        {"exec \"a.b\".c", "\"a.b\".C"},
        // From the quote on, up to the next point.
        {"exec ab\"Cd\"ef.gh", "AB\"Cd\"ef.GH"},
        {"exec \"a\".b\"C\"d.e", "\"a\".B\"C\"d.E"},
        {"exec \"open.b", "\"open.b"},
        {"execute  dbo . p", "DBO . P"},
        {"exec a b", "A B"},
        {"exec p_1$#", "P_1$#"},
        {"exec .p.", ".P."},
        // No key word before a blank: everything is the key word.
        {"p", ""},
        {"", ""},
        {"  p  ", ""},
        {"scott.p", ""},
    };
    for (const auto& one : cases)
        EXPECT_EQ(Narrow(qxbatch::ProcedureName(Wide(one.head))), one.name) << one.head;
}

TEST(ProcedureNameTest, ZeroCharacterEndsTheKeyWord) {
    qxutils::wstring16 head = Wide("exec p");
    head[4] = 0;
    qxutils::wstring16 expected = Wide("xP");
    expected[0] = 0;
    EXPECT_EQ(qxbatch::ProcedureName(head), expected);
}

}  // namespace
}  // namespace qxtest
