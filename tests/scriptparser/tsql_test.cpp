// What sqlcmd and isql make of a script.
#include "scriptparser/split_support.h"

namespace {

using namespace split_support;

const Case kCases[] = {
    {"Empty", "", {}},
    {"OnlySeparators", "go\nGO\n  go  \n\ngo", {}},
    {"OneBatch", "select 1\ngo\n", {{1, "select 1"}}},
    {"NoSeparatorAtTheEnd", "select 1\ngo\nselect 2\n", {{1, "select 1"}, {3, "select 2"}}},
    {"AnyCaseAndBlanks",
     "select 1\nGO\nselect 2\n \t Go\t \nselect 3\ngO",
     {{1, "select 1"}, {3, "select 2"}, {5, "select 3"}}},
    {"SemicolonsDoNotDivide", "select 1; select 2;\nselect 3;\ngo", {{1, "select 1; select 2;\nselect 3;"}}},
    {"CommentsStay", "-- a\n/* b */\nselect 1 -- c\ngo", {{1, "-- a\n/* b */\nselect 1 -- c"}}},
    {"BlankLinesAround", "\n\n\nselect 1\n\n\ngo\n\n\nselect 2\n\n", {{4, "select 1"}, {10, "select 2"}}},
    {"BlankLinesInside", "select 1\n\n\nselect 2\ngo", {{1, "select 1\n\n\nselect 2"}}},
    {"CommentsOnly", "-- a\ngo\n/* b */\n", {{1, "-- a", Skip}, {3, "/* b */", Skip}}},
    {"WindowsLineEnds", "select 1\r\ngo\r\nselect 2\r\nGO\r\n", {{1, "select 1"}, {3, "select 2"}}},
    {"LoneCarriageReturns", "select 1\rgo\rselect 2\rgo\r", {{1, "select 1"}, {3, "select 2"}}},

    {"Count",
     "insert t default values\nGO 3\nselect 1\ngo 1",
     {{1, "insert t default values"},
      {1, "insert t default values"},
      {1, "insert t default values"},
      {3, "select 1"}}},
    {"CountZero", "select 1\ngo 0\n", {{1, "select 1", Skip}}},
    {"RemarkBehindSeparator",
     "select 1\ngo -- one\nselect 2\nGO 2--two\nselect 3\ngo /* x */ \nselect 4\ngo;\nselect 5\ngo 1 ;",
     {{1, "select 1"}, {3, "select 2"}, {3, "select 2"}, {5, "select 3"}, {7, "select 4"}, {9, "select 5"}}},
    {"LongCommentBehindSeparator",
     "select 1\ngo /* a\ngo\n*/ select 2\ngo",
     {{1, "select 1"}, {2, "/* a\ngo\n*/ select 2"}}},
    {"NoSeparators",
     "select 1 go\ngo home\ngoto x\ngo2\ngo.x\n go 5 6\ngo 'a'\nselect 2\ngo",
     {{1, "select 1 go\ngo home\ngoto x\ngo2\ngo.x\n go 5 6\ngo 'a'\nselect 2"}}},
    {"SeparatorBehindComment", "select 1 /* a\n*/ go\ngo", {{1, "select 1 /* a\n*/ go"}}},

    {"SeparatorInQuotes",
     "select 'a\ngo\nb', \"c\ngo\n\", [d\ngo\n]]\ngo\n]\ngo\nselect 2\ngo",
     {{1, "select 'a\ngo\nb', \"c\ngo\n\", [d\ngo\n]]\ngo\n]"}, {11, "select 2"}}},
    {"SeparatorInComments",
     "select 1 /* a\ngo\n/* b\ngo\n*/\ngo\n*/ + 1\ngo",
     {{1, "select 1 /* a\ngo\n/* b\ngo\n*/\ngo\n*/ + 1"}}},
    {"ApostropheInComment",
     "-- it's\nselect 1\ngo\n/* don't */ select 2\ngo",
     {{1, "-- it's\nselect 1"}, {4, "/* don't */ select 2"}}},
    {"DoubledQuotes",
     "select 'it''s\n', \"a\"\"b\"\ngo\nselect 2\ngo",
     {{1, "select 'it''s\n', \"a\"\"b\""}, {4, "select 2"}}},
    {"BackslashIsPlain", "select 'a\\'\ngo\nselect 2\ngo", {{1, "select 'a\\'"}, {3, "select 2"}}},
    {"BracketsWithQuotes",
     "select [it's]\ngo\nselect [a\"b]\ngo",
     {{1, "select [it's]"}, {3, "select [a\"b]"}}},

    {"Procedure",
     "create proc p @a int as\nbegin\n  select @a;\nend\ngo\nexec p 1\ngo",
     {{1, "create proc p @a int as\nbegin\n  select @a;\nend"}, {6, "exec p 1"}}},
    {"Call",
     "exec p (1, N'x')\ngo\nexec p (1, 'x')\ngo\nexecute s.p('x')\ngo\nexec('select 1')\ngo\nexec "
     "p(1)\nselect 1\ngo",
     {{1, "exec p (1, N'x')"},
      {3, "exec p (1, 'x')", Call},
      {5, "execute s.p('x')", Call},
      {7, "exec('select 1')"},
      {9, "exec p(1)\nselect 1"}}},
    {"DataCopy", "datacopy a b\ngo\n", {{1, "datacopy a b", Copy}}},

    {"ClientCommands",
     ":setvar db \"x y\"\n:on error exit\n:r .\\a.sql\n!!dir\n:!! dir\nselect 1\ngo",
     {{1, ":setvar db \"x y\"", Skip},
      {2, ":on error exit", Skip},
      {3, ":r .\\a.sql", Skip},
      {4, "!!dir", Skip},
      {5, ":!! dir", Skip},
      {6, "select 1"}}},
    {"ClientCommandInABatch",
     "select 1\n:setvar a 'b\n, 2\ngo",
     {{2, ":setvar a 'b", Skip}, {1, "select 1\n            \n, 2"}}},
    {"ClientCommandBehindComments",
     "-- x\n:setvar a b\ngo\nselect 1",
     {{2, ":setvar a b", Skip}, {1, "-- x", Skip}, {4, "select 1"}}},
    {"NoClientCommands",
     "select 1\n::fn_x\n:other 1\nexit1\nreset_x\nquit q\n! = 2\ngo",
     {{1, "select 1\n::fn_x\n:other 1\nexit1\nreset_x\nquit q\n! = 2"}}},
    {"Reset",
     "select 1\nreset\nselect 2\ngo\n:reset\nselect 3",
     {{1, "select 1", Skip}, {2, "reset", Skip}, {3, "select 2"}, {5, ":reset", Skip}, {6, "select 3"}}},
    {"BehindExitAllIsSkipped",
     "select 1\ngo\nselect 2\nEXIT\nselect 3\ngo 2\n",
     {{1, "select 1"},
      {3, "select 2", Skip},
      {4, "EXIT", Skip},
      {5, "select 3", Skip},
      {5, "select 3", Skip}}},
    {"QuitAndExitWithColon",
     ":exit\nselect 1\n:quit",
     {{1, ":exit", Skip}, {2, "select 1", Skip}, {3, ":quit", Skip}}},
    {"ExitWithQuery", "exit(select 1)\nselect 2", {{1, "exit(select 1)", Skip}, {2, "select 2", Skip}}},

    {"UnclosedQuote", "select 'a\ngo\nselect 2\ngo\n", {{1, "select 'a\ngo\nselect 2\ngo"}}},
    {"UnclosedBracket", "select [a\ngo\nselect 2\ngo\n", {{1, "select [a\ngo\nselect 2\ngo"}}},
    {"UnclosedComment",
     "select 1\ngo\nselect 2 /* /* */\ngo\n",
     {{1, "select 1"}, {3, "select 2 /* /* */\ngo"}}},
    {"NotAscii",
     "select N'\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80'\ngo\nselect [\xC3\xB6]",
     {{1, "select N'\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80'"}, {3, "select [\xC3\xB6]"}}},
};

class TsqlTest : public testing::TestWithParam<Case> {};

TEST_P(TsqlTest, SplitsAsTheClientDoes) {
    ExpectSplit(GetParam(), "Generic:0", "go");
}

TEST_P(TsqlTest, VersionedNamesMeanTheSame) {
    for (const char* name : {"SQL2000", "Sybase125", "Sybase12"})
        EXPECT_EQ(Split(GetParam().script, name, "go").rows, GetParam().rows) << name;
    EXPECT_EQ(Split(GetParam().script, "Generic:0", "").rows, GetParam().rows);
}

INSTANTIATE_TEST_SUITE_P(Scripts, TsqlTest, testing::ValuesIn(kCases), CaseName);

TEST(TsqlSeparatorTest, AGivenSeparatorStandsAloneOnItsLine) {
    const std::string script = "select 1;\n;\nselect 2\ngo\n ; 2\n";
    const std::vector<Row> rows = {{1, "select 1;"}, {3, "select 2\ngo"}, {3, "select 2\ngo"}};
    EXPECT_EQ(Split(script, "Generic:0", ";").rows, rows);
}

TEST(TsqlSeparatorTest, AGivenWordIsFoundInAnyCase) {
    const std::string script = "select 1\nRun\nselect 2\nrunning\nrun 1\n";
    const std::vector<Row> rows = {{1, "select 1"}, {3, "select 2\nrunning"}};
    EXPECT_EQ(Split(script, "Generic:0", " run ").rows, rows);
}

}  // namespace
