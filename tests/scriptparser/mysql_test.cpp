// What the mysql client makes of a script.
#include "scriptparser/split_support.h"

namespace {

using namespace split_support;

const Case kCases[] = {
    {"Empty", "", {}},
    {"Plain", "select 1;\nselect 2 ; select 3", {{1, "select 1"}, {2, "select 2"}, {2, "select 3"}}},
    {"EmptyStatements", ";;\n ; select 1;;", {{2, "select 1"}}},
    {"WindowsLineEnds", "select\r\n1;\r\nselect 2;\r\n", {{1, "select\r\n1"}, {3, "select 2"}}},
    {"LoneCarriageReturns", "select\r1;\rselect 2;\r", {{1, "select\r1"}, {3, "select 2"}}},
    {"Quotes",
     "select 'a;''b', \"c;\"\"d'\", `e;``f`;select 2;",
     {{1, "select 'a;''b', \"c;\"\"d'\", `e;``f`"}, {1, "select 2"}}},
    {"Backslashes",
     "select 'a\\';', \"b\\\";\", 'c\\\\';select `d\\`;select 2;",
     {{1, "select 'a\\';', \"b\\\";\", 'c\\\\'"}, {1, "select `d\\`"}, {1, "select 2"}}},
    {"Comments",
     "select 1 -- a;\n, 2 # b;\n, 3 /* c; */;select 4;",
     {{1, "select 1 -- a;\n, 2 # b;\n, 3 /* c; */"}, {3, "select 4"}}},
    {"DashesWithoutBlank",
     "select 5--2;select 1--\n;select 3 --\t4\n;",
     {{1, "select 5--2"}, {1, "select 1--"}, {2, "select 3 --\t4"}}},
    {"DashesBetweenStatements", "--- it's\n--x\nselect 1;--y\nselect 2;", {{3, "select 1"}, {4, "select 2"}}},
    {"CommentsDoNotNest", "/* a /* b */ select 1;", {{1, "select 1"}}},
    {"CommentsInFront", "-- a\n# b\n/* c */\nselect 1;", {{4, "select 1"}}},
    {"CommentsOnly", "-- a\n# b;\n", {{1, "-- a\n# b;", Skip}}},
    {"CommentsBeforeDelimiter", "/* a */;\nselect 1;", {{1, "/* a */", Skip}, {2, "select 1"}}},
    {"ApostropheInComment", "-- it's\nselect 1; # don't\nselect 2;", {{2, "select 1"}, {3, "select 2"}}},
    {"ExecutableComments",
     "/*!40101 SET NAMES utf8 */;\n/*!50001 select ';' */;/*M!100 select 1 */;",
     {{1, "/*!40101 SET NAMES utf8 */"}, {2, "/*!50001 select ';' */"}, {2, "/*M!100 select 1 */"}}},
    {"Hint", "select /*+ x; */ 1;", {{1, "select /*+ x; */ 1"}}},
    {"NotAscii",
     "insert t values ('\xC3\xA4;\xE2\x82\xAC','\xF0\x9F\x98\x80\\'');select 1;",
     {{1, "insert t values ('\xC3\xA4;\xE2\x82\xAC','\xF0\x9F\x98\x80\\'')"}, {1, "select 1"}}},

    {"Delimiter",
     "delimiter //\nselect 1; select 2//\nselect 3 //\nDELIMITER ;\nselect 4;",
     {{1, "delimiter //", Skip},
      {2, "select 1; select 2"},
      {3, "select 3"},
      {4, "DELIMITER ;", Skip},
      {5, "select 4"}}},
    {"DelimiterOfDollars",
     "DELIMITER $$\ncreate procedure p()\nbegin\n select 1;\nend$$\nselect a$b$$\nDELIMITER ;\nselect 1;",
     {{1, "DELIMITER $$", Skip},
      {2, "create procedure p()\nbegin\n select 1;\nend"},
      {6, "select a$b"},
      {7, "DELIMITER ;", Skip},
      {8, "select 1"}}},
    {"DelimiterInQuotesAndComments",
     "delimiter |\nselect '|', \"|\", `|` /* | */ -- |\n, 1|select 2|",
     {{1, "delimiter |", Skip}, {2, "select '|', \"|\", `|` /* | */ -- |\n, 1"}, {3, "select 2"}}},
    {"DelimiterWord",
     "DELIMITER go\nselect 'category' from c go\nselect 2go\ndelimiter ;\nselect 3;",
     {{1, "DELIMITER go", Skip},
      {2, "select 'category' from c"},
      {3, "select 2"},
      {4, "delimiter ;", Skip},
      {5, "select 3"}}},
    {"DelimiterDoubled",
     "DELIMITER ;;\nselect 1; select 2;;\nDELIMITER ;\nselect 3;",
     {{1, "DELIMITER ;;", Skip}, {2, "select 1; select 2"}, {3, "DELIMITER ;", Skip}, {4, "select 3"}}},
    {"DelimiterQuoted",
     "delimiter '@@' x\nselect @a@@select 2@@",
     {{1, "delimiter '@@' x", Skip}, {2, "select @a"}, {2, "select 2"}}},
    {"DelimiterWithoutArgument", "delimiter\nselect 1;", {{1, "delimiter", Skip}, {2, "select 1"}}},
    {"DelimiterEndsAStatement",
     "select 1\ndelimiter //\nselect 2;//",
     {{1, "select 1"}, {2, "delimiter //", Skip}, {3, "select 2;"}}},
    {"DelimiterBehindComment",
     "-- x\nDELIMITER //\nselect 1//",
     {{2, "DELIMITER //", Skip}, {3, "select 1"}}},
    {"DelimiterLikeAComment",
     "delimiter --\nselect 1 --select 2--",
     {{1, "delimiter --", Skip}, {2, "select 1"}, {2, "select 2"}}},
    {"DelimiterNotAscii",
     "delimiter \xC2\xA7\nselect '\xC3\xA4', \xC3\xA4\xC2\xA7select 2\xC2\xA7",
     {{1, "delimiter \xC2\xA7", Skip}, {2, "select '\xC3\xA4', \xC3\xA4"}, {2, "select 2"}}},
    {"ColumnNamedDelimiter",
     "select a, delimiter from t;select `delimiter`\nfrom t;",
     {{1, "select a, delimiter from t"}, {1, "select `delimiter`\nfrom t"}}},

    {"GoAndEgo",
     "select 1\\g select 2\\Gselect 3\n\\g\nselect 4;",
     {{1, "select 1"}, {1, "select 2"}, {1, "select 3"}, {3, "select 4"}}},
    {"NullEscape", "select \\N, 1;select 2;", {{1, "select \\N, 1"}, {1, "select 2"}}},
    {"Clear", "select 1\\c select 2;", {{1, "select 1", Skip}, {1, "select 2"}}},
    {"BackslashCommands",
     "\\W\n\\. a.sql\n\\! ls; select 1;\\d //\nselect 2;//",
     {{1, "\\W", Skip},
      {2, "\\. a.sql", Skip},
      {3, "\\! ls", Skip},
      {3, "select 1"},
      {3, "\\d //", Skip},
      {4, "select 2;"}}},
    {"BackslashCommandInAStatement", "select 1\\w, 2;", {{1, "\\w", Skip}, {1, "select 1  , 2"}}},
    {"QuitByBackslash",
     "select 1;\nselect 2 \\q\nselect 3;",
     {{1, "select 1"}, {2, "select 2", Skip}, {3, "select 3", Skip}}},

    {"Commands",
     "source a.sql\nsystem ls 'x\nstatus\ntee x.log;\nnotee;\nprompt it's> ;\nhelp\ncharset utf8\nselect 1;",
     {{1, "source a.sql", Skip},
      {2, "system ls 'x", Skip},
      {3, "status", Skip},
      {4, "tee x.log", Skip},
      {5, "notee", Skip},
      {6, "prompt it's>", Skip},
      {7, "help", Skip},
      {8, "charset utf8", Skip},
      {9, "select 1"}}},
    {"UseGoesToTheServer",
     "use a\nUSE `b`;select 1;use c; select 2;",
     {{1, "use a"}, {2, "USE `b`"}, {2, "select 1"}, {2, "use c"}, {2, "select 2"}}},
    {"CommandBeforeDelimiter",
     "source a.sql; select 1;\nstatus; select 2;",
     {{1, "source a.sql", Skip}, {1, "select 1"}, {2, "status", Skip}, {2, "select 2"}}},
    {"CommandsWithoutDelimiterHaveTheirWholeLine",
     "select 1; status\n;help\ntee x\n; /* a */ notee\n;status \\gselect 2;",
     {{1, "select 1"}, {1, "status"}, {2, "help\ntee x"}, {4, "notee"}, {5, "status"}, {5, "select 2"}}},
    {"CommandWordsInsideAreText", "select\nuse,\nstatus\nfrom t;", {{1, "select\nuse,\nstatus\nfrom t"}}},
    {"BehindQuitAllIsSkipped",
     "select 1;\nquit\nselect 2;",
     {{1, "select 1"}, {2, "quit", Skip}, {3, "select 2", Skip}}},
    {"Exit", "exit;select 2;", {{1, "exit", Skip}, {1, "select 2", Skip}}},

    {"ProcedureWithoutDelimiter",
     "create procedure p()\nbegin\n  declare x int;\n  if x then select 1; else select 2; end "
     "if;\nend;\nselect 1;",
     {{1, "create procedure p()\nbegin\n  declare x int;\n  if x then select 1; else select 2; end if;\nend"},
      {6, "select 1"}}},
    {"NestedBlocks",
     "create definer=`a`@`%` procedure p() sql security invoker comment 'x;'\nl: begin\n begin end;\n b2: "
     "BEGIN select 1; END "
     "b2;\n case x when 1 then select 1; else begin end; end case;\nend l;\nselect 1;",
     {{1,
       "create definer=`a`@`%` procedure p() sql security invoker comment 'x;'\nl: begin\n begin end;\n b2: "
       "BEGIN select 1; "
       "END b2;\n case x when 1 then select 1; else begin end; end case;\nend l"},
      {7, "select 1"}}},
    {"Loops",
     "create procedure p() begin\n l1: loop leave l1; end loop l1;\n while x do set x = 1; end while;\n "
     "repeat set x = 1; until "
     "x end repeat;\n for i in 1..2 do select i; end for;\nend;select 1;",
     {{1,
       "create procedure p() begin\n l1: loop leave l1; end loop l1;\n while x do set x = 1; end while;\n "
       "repeat set x = 1; "
       "until x end repeat;\n for i in 1..2 do select i; end for;\nend"},
      {6, "select 1"}}},
    {"CaseExpressions",
     "create function f(a int) returns int begin\n set a = case when a then case a when 1 then 2 end else 3 "
     "end;\n return "
     "case a when 1 then 2 end;\nend;select case 1 when 1 then 2 end;select 1;",
     {{1,
       "create function f(a int) returns int begin\n set a = case when a then case a when 1 then 2 end else "
       "3 end;\n return "
       "case a when 1 then 2 end;\nend"},
      {4, "select case 1 when 1 then 2 end"},
      {4, "select 1"}}},
    {"Handlers",
     "create procedure p() begin\n declare continue handler for not found begin set x = 1; end;\n declare "
     "exit handler for "
     "sqlexception rollback;\n select 1;\nend;select 1;",
     {{1,
       "create procedure p() begin\n declare continue handler for not found begin set x = 1; end;\n declare "
       "exit handler for "
       "sqlexception rollback;\n select 1;\nend"},
      {5, "select 1"}}},
    {"FunctionsNamedIfAndRepeat",
     "create procedure p() begin\n select if(a, repeat('x', 2), 1);\n set a = if(b, 1, 2);\n if if(a, 1, 0) "
     "then select 1; end "
     "if;\nend;select 1;",
     {{1,
       "create procedure p() begin\n select if(a, repeat('x', 2), 1);\n set a = if(b, 1, 2);\n if if(a, 1, "
       "0) then select 1; "
       "end if;\nend"},
      {5, "select 1"}}},
    {"TriggerWithBlock",
     "create trigger t before insert on x for each row begin set new.a = 1; set new.end = 2; end;select 1;",
     {{1, "create trigger t before insert on x for each row begin set new.a = 1; set new.end = 2; end"},
      {1, "select 1"}}},
    {"TriggerWithStatement",
     "create trigger t before insert on x for each row set new.a = 1;select 1;",
     {{1, "create trigger t before insert on x for each row set new.a = 1"}, {1, "select 1"}}},
    {"TriggerWithIf",
     "create trigger t before insert on x for each row if new.a then set new.b = 1; end if;select 1;",
     {{1, "create trigger t before insert on x for each row if new.a then set new.b = 1; end if"},
      {1, "select 1"}}},
    {"RoutinesWithoutBlock",
     "create function f(a int) returns int deterministic return if(a, 1, 2);create procedure p() select "
     "1;create function g "
     "returns string soname 'x.so';create procedure if not exists q(a int) select 2;select 1;",
     {{1, "create function f(a int) returns int deterministic return if(a, 1, 2)"},
      {1, "create procedure p() select 1"},
      {1, "create function g returns string soname 'x.so'"},
      {1, "create procedure if not exists q(a int) select 2"},
      {1, "select 1"}}},
    {"Event",
     "create event e on schedule every 1 day do begin select 1; end;create event f on schedule every 1 day "
     "do select "
     "1;select 1;",
     {{1, "create event e on schedule every 1 day do begin select 1; end"},
      {1, "create event f on schedule every 1 day do select 1"},
      {1, "select 1"}}},
    {"ExecutableCommentAroundAProgram",
     "/*!50003 CREATE*/ /*!50017 DEFINER=`a`@`b`*/ /*!50003 TRIGGER t BEFORE INSERT ON x FOR EACH "
     "ROW BEGIN\nset new.a = 1; END */;\nselect 1;",
     {{1,
       "/*!50003 CREATE*/ /*!50017 DEFINER=`a`@`b`*/ /*!50003 TRIGGER t BEFORE INSERT ON x FOR EACH ROW "
       "BEGIN\nset new.a = 1; "
       "END */"},
      {3, "select 1"}}},
    {"Transactions",
     "begin;insert t values (1);begin work;commit;start transaction;",
     {{1, "begin"}, {1, "insert t values (1)"}, {1, "begin work"}, {1, "commit"}, {1, "start transaction"}}},
    {"BeginNotAtomic",
     "begin not atomic\n select 1; select 2;\nend;select 3;",
     {{1, "begin not atomic\n select 1; select 2;\nend"}, {3, "select 3"}}},
    {"OtherObjectsArePlain",
     "create table t (begin int, end int);create or replace view v as select 1;create definer = a@b sql "
     "security definer view "
     "w as select 2;create index i on t (a);",
     {{1, "create table t (begin int, end int)"},
      {1, "create or replace view v as select 1"},
      {1, "create definer = a@b sql security definer view w as select 2"},
      {1, "create index i on t (a)"}}},
    {"Call",
     "call p(1, 'a');call p('a\\'b');call p(\"a\");call p(@x);call p();",
     {{1, "call p(1, 'a')", Call},
      {1, "call p('a\\'b')"},
      {1, "call p(\"a\")"},
      {1, "call p(@x)"},
      {1, "call p()", Call}}},
    {"DataCopy", "DataCopy x to y;", {{1, "DataCopy x to y", Copy}}},

    {"UnclosedQuote", "select 1;select 'a;\nselect 2;\n", {{1, "select 1"}, {1, "select 'a;\nselect 2;"}}},
    {"UnclosedComment", "select 1; /* a;\nselect 2;\n", {{1, "select 1"}, {1, "/* a;\nselect 2;", Skip}}},
    {"UnclosedBlock",
     "create procedure p() begin\nselect 1;\nselect 2;",
     {{1, "create procedure p() begin\nselect 1;\nselect 2;"}}},
    {"UnclosedBlockBeforeDelimiter",
     "create procedure p() begin\nselect 1;\ndelimiter //\nselect 2//",
     {{1, "create procedure p() begin\nselect 1;"}, {3, "delimiter //", Skip}, {4, "select 2"}}},
};

class MySqlTest : public testing::TestWithParam<Case> {};

TEST_P(MySqlTest, SplitsAsTheClientDoes) {
    ExpectSplit(GetParam(), "MySQLGeneric:1", ";");
}

TEST_P(MySqlTest, VersionedNamesMeanTheSame) {
    EXPECT_EQ(Split(GetParam().script, "MySQL501", ";").rows, GetParam().rows);
    EXPECT_EQ(Split(GetParam().script, "MySQLGeneric:1", "").rows, GetParam().rows);
}

INSTANTIATE_TEST_SUITE_P(Scripts, MySqlTest, testing::ValuesIn(kCases), CaseName);

TEST(MySqlSeparatorTest, IsTheFirstDelimiter) {
    const std::string script =
        "select 1; select 2//create procedure p() begin select 1; end//\ndelimiter ;\nselect 3;";
    const std::vector<Row> rows = {{1, "select 1; select 2"},
                                   {1, "create procedure p() begin select 1; end"},
                                   {2, "delimiter ;", Skip},
                                   {3, "select 3"}};
    EXPECT_EQ(Split(script, "MySQLGeneric:1", "//").rows, rows);
}

}  // namespace
