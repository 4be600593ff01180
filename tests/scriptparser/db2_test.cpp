// What the DB2 command line processor and DSNTEP2 make of a script.
#include "scriptparser/split_support.h"

namespace {

using namespace split_support;

const Case kCases[] = {
    {"Empty", "", {}},
    {"Plain",
     "select 1 from t;\nvalues 2 ; values 3",
     {{1, "select 1 from t"}, {2, "values 2"}, {2, "values 3"}}},
    {"WindowsLineEnds", "values\r\n1;\r\nvalues 2;\r\n", {{1, "values\r\n1"}, {3, "values 2"}}},
    {"Quotes",
     "values 'a;''b', \"c;\"\"d\";values 'a\\';values 2;",
     {{1, "values 'a;''b', \"c;\"\"d\""}, {1, "values 'a\\'"}, {1, "values 2"}}},
    {"Comments",
     "values 1 -- a;\n, 2 /* b; /* c; */ d; */;values 3;",
     {{1, "values 1 -- a;\n, 2 /* b; /* c; */ d; */"}, {2, "values 3"}}},
    {"CommentsInFront", "-- a\n/* b */\nvalues 1;\n-- c;\n", {{3, "values 1"}, {4, "-- c;", Skip}}},
    {"CommentsBeforeSeparator", "-- a\n;\nvalues 1;", {{1, "-- a", Skip}, {3, "values 1"}}},
    {"ApostropheInComment", "-- it's\nvalues 1; /* don't */ values 2;", {{2, "values 1"}, {2, "values 2"}}},
    {"NotAscii",
     "values '\xC3\xA4;\xE2\x82\xAC\xF0\x9F\x98\x80';values 2;",
     {{1, "values '\xC3\xA4;\xE2\x82\xAC\xF0\x9F\x98\x80'"}, {1, "values 2"}}},
    {"NamesWithNationalSigns",
     "select a#b, c@d, e$f$g$h from x;values 2;",
     {{1, "select a#b, c@d, e$f$g$h from x"}, {1, "values 2"}}},

    {"Procedure",
     "create or replace procedure s.p (in a int)\n language sql\n result sets 1\nP1: BEGIN\n declare x int "
     "default 0;\n if a = 1 "
     "then set x = 1; elseif a = 2 then set x = 2; else set x = 3; end if;\nEND P1;\nvalues 1;",
     {{1,
       "create or replace procedure s.p (in a int)\n language sql\n result sets 1\nP1: BEGIN\n declare x int "
       "default 0;\n if a = 1 "
       "then set x = 1; elseif a = 2 then set x = 2; else set x = 3; end if;\nEND P1"},
      {8, "values 1"}}},
    {"Loops",
     "create procedure p() begin\n while x > 0 do set x = 1; end while;\n l: loop leave l; end loop l;\n "
     "repeat set x = 1; until x = 1 "
     "end repeat;\n for v as c cursor for select a from t do set x = v.a; end for;\n case x when 1 then set "
     "x = 2; else set x = 3; end "
     "case;\nend;values 1;",
     {{1,
       "create procedure p() begin\n while x > 0 do set x = 1; end while;\n l: loop leave l; end loop l;\n "
       "repeat set x = 1; until x = 1 "
       "end repeat;\n for v as c cursor for select a from t do set x = v.a; end for;\n case x when 1 then "
       "set x = 2; else set x = 3; end "
       "case;\nend"},
      {7, "values 1"}}},
    {"Handlers",
     "create procedure p() begin\n declare exit handler for sqlexception begin rollback; end;\n declare "
     "continue handler for not found "
     "set x = 1;\n begin atomic insert into t values (1); end;\nend;values 1;",
     {{1,
       "create procedure p() begin\n declare exit handler for sqlexception begin rollback; end;\n declare "
       "continue handler for not found "
       "set x = 1;\n begin atomic insert into t values (1); end;\nend"},
      {5, "values 1"}}},
    {"CaseExpressions",
     "create function f (a int) returns int language sql no external action\nbegin atomic\n declare x int;\n "
     "set x = case when a = 1 then 2 "
     "else case a when 3 then 4 end end;\n return x;\nend;values case 1 when 1 then 2 end;",
     {{1,
       "create function f (a int) returns int language sql no external action\nbegin atomic\n declare x "
       "int;\n set x = case when a = 1 then 2 "
       "else case a when 3 then 4 end end;\n return x;\nend"},
      {6, "values case 1 when 1 then 2 end"}}},
    {"FunctionWithoutBlock",
     "create function f (a int) returns int return case a when 1 then 2 end;create function g() returns "
     "table (a int) "
     "return select a as b from t;values 1;",
     {{1, "create function f (a int) returns int return case a when 1 then 2 end"},
      {1, "create function g() returns table (a int) return select a as b from t"},
      {1, "values 1"}}},
    {"Triggers",
     "create trigger t after update of a on x referencing new as n old as o for each row mode db2sql when "
     "(n.a > 1) begin atomic update y set "
     "b = n.a; delete from z; end;\ncreate trigger u no cascade before insert on x referencing new as n for "
     "each row mode db2sql set n.a = 1;\n"
     "values 1;",
     {{1,
       "create trigger t after update of a on x referencing new as n old as o for each row mode db2sql when "
       "(n.a > 1) begin atomic update y set "
       "b = n.a; delete from z; end"},
      {2,
       "create trigger u no cascade before insert on x referencing new as n for each row mode db2sql set n.a "
       "= 1"},
      {3, "values 1"}}},
    {"CompoundStatements",
     "begin atomic declare x int; set x = 1; end;\nbegin\n insert into t values (1);\n commit;\nend;\nl1: "
     "begin not atomic values 1; end l1;\n"
     "values 1;",
     {{1, "begin atomic declare x int; set x = 1; end"},
      {2, "begin\n insert into t values (1);\n commit;\nend"},
      {6, "l1: begin not atomic values 1; end l1"},
      {7, "values 1"}}},
    {"MergeInABody",
     "create procedure p() begin merge into t using s on t.a = s.a when matched then update set b = 1 when "
     "not matched then insert (a) values "
     "(1); values 1; end;values 2;",
     {{1,
       "create procedure p() begin merge into t using s on t.a = s.a when matched then update set b = 1 when "
       "not matched then insert (a) values "
       "(1); values 1; end"},
      {1, "values 2"}}},
    {"AlterModule",
     "alter module m add procedure p() begin values 1; values 2; end;values 3;",
     {{1, "alter module m add procedure p() begin values 1; values 2; end"}, {1, "values 3"}}},
    {"NamesOfBlockWords",
     "create table t (begin date, end date, if int);select t.begin, t.end, t.case from t;",
     {{1, "create table t (begin date, end date, if int)"}, {1, "select t.begin, t.end, t.case from t"}}},
    {"ProcedureOfPlSql",
     "create or replace procedure p is\n x number;\n y number := 1;\nbegin\n if x then y := 1; end if;\n for "
     "i in 1..2 loop null; end loop;\n while "
     "x loop null; end loop;\nend p;\n/\ncreate function f return varchar2(10) as x int; begin return 1; "
     "end;\nvalues 1;",
     {{1,
       "create or replace procedure p is\n x number;\n y number := 1;\nbegin\n if x then y := 1; end if;\n "
       "for i in 1..2 loop null; end loop;\n while "
       "x loop null; end loop;\nend p"},
      {10, "create function f return varchar2(10) as x int; begin return 1; end"},
      {11, "values 1"}}},
    {"PackageOfPlSql",
     "create package p as procedure a; x int; end p;\nvalues 1;",
     {{1, "create package p as procedure a; x int; end p"}, {2, "values 1"}}},
    {"BlockOfPlSql",
     "declare x int; begin x := 1; end;\n/\nvalues 1;",
     {{1, "declare x int; begin x := 1; end"}, {3, "values 1"}}},
    {"TriggerOfPlSql",
     "create trigger t before insert on x for each row declare a int; begin a := 1; end;values 1;",
     {{1, "create trigger t before insert on x for each row declare a int; begin a := 1; end"},
      {1, "values 1"}}},
    {"Declarations",
     "declare c cursor for select 1 from t;declare global temporary table session.t (a int) not "
     "logged;values 1;",
     {{1, "declare c cursor for select 1 from t"},
      {1, "declare global temporary table session.t (a int) not logged"},
      {1, "values 1"}}},

    {"SetTerminator",
     "values 1;\n--#SET TERMINATOR @\ncreate procedure p() begin values 1; values 2; end@\nvalues 3@ values "
     "4@\n--#set terminator ;\nvalues 5;",
     {{1, "values 1"},
      {2, "--#SET TERMINATOR @", Skip},
      {3, "create procedure p() begin values 1; values 2; end"},
      {4, "values 3"},
      {4, "values 4"},
      {5, "--#set terminator ;", Skip},
      {6, "values 5"}}},
    {"SetTerminatorOfManySigns",
     "--#SET TERMINATOR $$\nbegin values 1; end$$\nvalues '$$'$$\n",
     {{1, "--#SET TERMINATOR $$", Skip}, {2, "begin values 1; end"}, {3, "values '$$'"}}},
    {"OtherSettingsAreComments",
     "--#SET ROWS_OUT 5\nvalues 1;\n--#SET TERMINATOR\nvalues 2;",
     {{2, "values 1"}, {4, "values 2"}}},
    {"SetTerminatorBehindComments",
     "-- a\n--#SET TERMINATOR !\nvalues 1 != 2!",
     {{2, "--#SET TERMINATOR !", Skip}, {3, "values 1 != 2"}}},
    {"SetTerminatorInAStatement",
     "values 1\n--#SET TERMINATOR !\n, 2!\nvalues 3!",
     {{1, "values 1\n--#SET TERMINATOR !\n, 2"}, {4, "values 3"}}},

    {"ClientCommands",
     "connect to sample user a using b;\nupdate command options using c off;\necho it's here;\n!ls;\n? "
     "sql0803;\nset client connect 1;\nlist tables;\n"
     "import from a of del insert into t;\nload from a of del\n replace into t;\nreorg table t;\nupdate db "
     "cfg for x using y 1;\nset serveroutput "
     "on;\ndescribe table t;\ncreate database d;\nconnect reset;\nvalues 1;",
     {{1, "connect to sample user a using b", Skip},
      {2, "update command options using c off", Skip},
      {3, "echo it's here;", Skip},
      {4, "!ls;", Skip},
      {5, "? sql0803;", Skip},
      {6, "set client connect 1", Skip},
      {7, "list tables", Skip},
      {8, "import from a of del insert into t", Skip},
      {9, "load from a of del\n replace into t", Skip},
      {11, "reorg table t", Skip},
      {12, "update db cfg for x using y 1", Skip},
      {13, "set serveroutput on", Skip},
      {14, "describe table t", Skip},
      {15, "create database d", Skip},
      {16, "connect reset", Skip},
      {17, "values 1"}}},
    {"SimilarWordsAreSql",
     "update history set a = 1;update db set cfg = 1;update database d set x = 1;set current schema x;set "
     "client_x 1;create table t (a int);drop table "
     "t;load x;detach x;",
     {{1, "update history set a = 1"},
      {1, "update db set cfg = 1"},
      {1, "update database d set x = 1"},
      {1, "set current schema x"},
      {1, "set client_x 1"},
      {1, "create table t (a int)"},
      {1, "drop table t"},
      {1, "load x"},
      {1, "detach x"}}},
    {"BehindTerminateAllIsSkipped",
     "values 1;\nterminate;\nvalues 2;",
     {{1, "values 1"}, {2, "terminate", Skip}, {3, "values 2", Skip}}},
    {"BehindQuitAllIsSkipped", "quit;\nvalues 2;", {{1, "quit", Skip}, {2, "values 2", Skip}}},
    {"Call",
     "call s.p(1, 'a', ?, null);call p(current date);call p;execute p(1);",
     {{1, "call s.p(1, 'a', ?, null)", Call},
      {1, "call p(current date)"},
      {1, "call p"},
      {1, "execute p(1)", Call}}},
    {"DataCopy", "datacopy x;", {{1, "datacopy x", Copy}}},

    {"UnclosedQuote", "values 1;values 'a;\nvalues 2;\n", {{1, "values 1"}, {1, "values 'a;\nvalues 2;"}}},
    {"UnclosedComment",
     "values 1; /* a /* b */;\nvalues 2;",
     {{1, "values 1"}, {1, "/* a /* b */;\nvalues 2;", Skip}}},
    {"UnclosedBlock",
     "create procedure p() begin\nvalues 1;\nvalues 2;",
     {{1, "create procedure p() begin\nvalues 1;\nvalues 2;"}}},
};

class Db2Test : public testing::TestWithParam<Case> {};

TEST_P(Db2Test, SplitsAsTheClientDoes) {
    ExpectSplit(GetParam(), "Generic:1", ";");
}

TEST_P(Db2Test, OtherNamesMeanTheSame) {
    for (const char* name :
         {"DB28", "DB272", "DB271", "DB26", "DB2OS390Generic:1", "DB2OS3907", "DB2OS3906"}) {
        EXPECT_EQ(Split(GetParam().script, name, ";").rows, GetParam().rows) << name;
        EXPECT_EQ(Split(GetParam().script, name, "").rows, GetParam().rows) << name;
    }
}

INSTANTIATE_TEST_SUITE_P(Scripts, Db2Test, testing::ValuesIn(kCases), CaseName);

// With a separator of the caller's.
struct SeparatorCase {
    const char* name;
    const char* separator;
    std::string script;
    std::vector<Row> rows;
};

std::ostream& operator<<(std::ostream& out, const SeparatorCase& someCase) {
    return out << someCase.name;
}

const SeparatorCase kSeparatorCases[] = {
    {"At",
     "@",
     "create table t (a int)@\ncreate procedure p() begin values 1; values 2; end@\nvalues '@'@",
     {{1, "create table t (a int)"},
      {2, "create procedure p() begin values 1; values 2; end"},
      {3, "values '@'"}}},
    {"AloneOnItsLine",
     "@",
     "values 1\n@\nvalues 2\n  @  \nvalues 3",
     {{1, "values 1"}, {3, "values 2"}, {5, "values 3"}}},
    {"RemarkBehind",
     "@",
     "values 1@ -- x\nvalues 2@-- y\nvalues 3@/* z */ values 4@",
     {{1, "values 1"}, {2, "values 2"}, {3, "values 3"}, {3, "values 4"}}},
    {"PartOfAName", "@", "select a@b from t@\n", {{1, "select a@b from t"}}},
    {"PartOfAnOperator",
     "!",
     "values 1 != 2!\nvalues 3 !> 4 !",
     {{1, "values 1 != 2"}, {2, "values 3 !> 4"}}},
    {"SemicolonEndsPlainStatementsToo",
     "@",
     "values 1; values 2@\nvalues 3;\n@\nvalues 4",
     {{1, "values 1"}, {1, "values 2"}, {2, "values 3"}, {4, "values 4"}}},
    {"UnitsKeepTheirSemicolon",
     "@",
     "begin values 1; end;@\ndeclare x int; begin x := 1; end;\n@\ncreate package p as x int; end; @",
     {{1, "begin values 1; end;"},
      {2, "declare x int; begin x := 1; end;"},
      {4, "create package p as x int; end;"}}},
    {"Dollars",
     "$$",
     "values 1$$\nbegin values '$$'; end$$",
     {{1, "values 1"}, {2, "begin values '$$'; end"}}},
    {"Slashes", "//", "values 4//\nvalues 4 /2 //\n", {{1, "values 4"}, {2, "values 4 /2"}}},
    {"Word",
     "GO",
     "values go\ngo\nbegin values 1; end;\n Go \nvalues going\n",
     {{1, "values go"}, {3, "begin values 1; end;"}, {5, "values going"}}},
    {"Hash", "#", "values a#b#\nvalues 2#", {{1, "values a#b"}, {2, "values 2"}}},
};

class Db2SeparatorTest : public testing::TestWithParam<SeparatorCase> {};

TEST_P(Db2SeparatorTest, EndsStatements) {
    const SeparatorCase& tested = GetParam();
    const Case plain{tested.name, tested.script, tested.rows};
    ExpectSplit(plain, "Generic:1", tested.separator);
    ExpectSplit(plain, "DB28", tested.separator);
    ExpectSplit(plain, "DB2OS390Generic:1", tested.separator);
}

INSTANTIATE_TEST_SUITE_P(Separators, Db2SeparatorTest, testing::ValuesIn(kSeparatorCases),
                         [](const auto& tested) { return std::string(tested.param.name); });

}  // namespace
