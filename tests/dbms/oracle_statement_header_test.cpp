#include "dbms/oracle_statement_header.h"

#include <gtest/gtest.h>

#include <string>

namespace qxdbsqlengine {
namespace {

struct HeaderCase {
    const char* statement;
    bool found;
    const char* type;
    const char* owner;
    const char* name;
};

const HeaderCase headerCases[] = {
    // objects
    {"CREATE FUNCTION f RETURN NUMBER IS", true, "FUNCTION", "", "F"},
    {"CREATE PROCEDURE p AS", true, "PROCEDURE", "", "P"},
    {"CREATE TRIGGER t BEFORE INSERT ON x", true, "TRIGGER", "", "T"},
    {"CREATE PACKAGE k AS", true, "PACKAGE", "", "K"},
    {"CREATE PACKAGE BODY k AS", true, "PACKAGE BODY", "", "K"},
    {"CREATE TYPE y AS OBJECT", true, "TYPE", "", "Y"},
    {"CREATE TYPE BODY y AS", true, "TYPE BODY", "", "Y"},
    {"CREATE OR REPLACE FUNCTION f RETURN NUMBER IS", true, "FUNCTION", "", "F"},
    {"CREATE OR REPLACE PACKAGE BODY scott.pkg AS ...", true, "PACKAGE BODY", "SCOTT", "PKG"},
    {"CREATE OR REPLACE TYPE BODY scott.y AS", true, "TYPE BODY", "SCOTT", "Y"},
    {"CREATE OR REPLACE TRIGGER scott.t AFTER", true, "TRIGGER", "SCOTT", "T"},
    {"CREATE OR PROCEDURE p", true, "PROCEDURE", "", "P"},
    {"create or replace procedure Scott.Emp_Raise(x number) is", true, "PROCEDURE", "SCOTT", "EMP_RAISE"},
    {"Create Or Replace Package p as", true, "PACKAGE", "", "P"},

    // quoted names
    {"create type \"My\".\"T\" as object", true, "TYPE", "My", "T"},
    {"create function \"My\".t is", true, "FUNCTION", "My", "T"},
    {"create function my.\"t\" is", true, "FUNCTION", "MY", "t"},
    {"create package \"Body\" as", true, "PACKAGE", "", "Body"},
    {"create package \"BODY\" as", true, "PACKAGE", "", "BODY"},
    {"create package body \"Body\" as", true, "PACKAGE BODY", "", "Body"},
    {"create package body body as", true, "PACKAGE BODY", "", "BODY"},
    {"create procedure \"a b.c/d-e(f)\" is", true, "PROCEDURE", "", "a b.c/d-e(f)"},
    {"create procedure \"a -- b\".\"/* c\" is", true, "PROCEDURE", "a -- b", "/* c"},
    {"create procedure \"open", true, "PROCEDURE", "", "\"OPEN"},
    {"create procedure \"", true, "PROCEDURE", "", "\""},
    {"create procedure \"\" is", false, "PROCEDURE", "", ""},
    {"create procedure a\"b\" is", true, "PROCEDURE", "", "A\"B\""},
    {"\"CREATE\" PROCEDURE p", false, "", "", ""},
    {"CREATE \"PROCEDURE\" p", false, "", "", ""},

    // where words end
    {"create function f(x number) return number", true, "FUNCTION", "", "F"},
    {"create function scott.f(x number)", true, "FUNCTION", "SCOTT", "F"},
    {"create function f/*c*/return", true, "FUNCTION", "", "F"},
    {"create function f--c\nreturn", true, "FUNCTION", "", "F"},
    {"create function f-g", true, "FUNCTION", "", "F"},
    {"create function f/g", true, "FUNCTION", "", "F"},
    {"create function f)", true, "FUNCTION", "", "F"},
    {"create function scott . f is", true, "FUNCTION", "SCOTT", "F"},
    {"create function scott./*c*/f is", true, "FUNCTION", "SCOTT", "F"},
    {"create function scott\n.\tf is", true, "FUNCTION", "SCOTT", "F"},
    {"create procedure a.b.c is", true, "PROCEDURE", "A", "B"},
    {"create\tor\nreplace\rfunction\vf\fis", true, "FUNCTION", "", "F"},
    {"create function sch\xC3\xB6n is", true, "FUNCTION", "", "SCH\xC3\xB6N"},

    // names that are keywords
    {"create function user.type is", true, "FUNCTION", "USER", "TYPE"},
    {"create procedure create is", true, "PROCEDURE", "", "CREATE"},

    // comments
    {"/* head */ create procedure p is", true, "PROCEDURE", "", "P"},
    {"-- head\ncreate procedure p is", true, "PROCEDURE", "", "P"},
    {" \n-- a\n/* b */\n-- c\n  create procedure p is", true, "PROCEDURE", "", "P"},
    {"--\r\n--\r\ncreate/**/or/**/replace/**/procedure/**/p/**/is", true, "PROCEDURE", "", "P"},
    {"/***/create procedure p is", true, "PROCEDURE", "", "P"},
    {"/* no end create procedure p is", false, "", "", ""},
    {"/*/create procedure p is", false, "", "", ""},
    {"-- no end create procedure p is", false, "", "", ""},
    {"create procedure /* no end", false, "PROCEDURE", "", ""},
    {"create procedure p /* no end", true, "PROCEDURE", "", "P"},
    {"/*", false, "", "", ""},
    {"/", false, "", "", ""},
    {"-", false, "", "", ""},
    {"/ create procedure p", false, "", "", ""},

    // blocks
    {"DECLARE x int; BEGIN NULL; END;", true, "ANONYMOUS BLOCK", "", ""},
    {"BEGIN NULL; END;", true, "ANONYMOUS BLOCK", "", ""},
    {"-- c\nbegin null; end;", true, "ANONYMOUS BLOCK", "", ""},
    {"begin", true, "ANONYMOUS BLOCK", "", ""},
    {"begin_transaction", false, "", "", ""},

    // other statements
    {"", false, "", "", ""},
    {" \n\t ", false, "", "", ""},
    {"CREATE TABLE t (x int)", false, "", "", ""},
    {"CREATE OR REPLACE VIEW v AS", false, "", "", ""},
    {"CREATE OR REPLACE FORCE VIEW v AS", false, "", "", ""},
    {"CREATE PUBLIC SYNONYM s FOR x", false, "", "", ""},
    {"CREATE UNIQUE INDEX i ON x", false, "", "", ""},
    {"CREATE", false, "", "", ""},
    {"CREATE OR", false, "", "", ""},
    {"CREATE OR REPLACE", false, "", "", ""},
    {"CREATE REPLACE PROCEDURE p", false, "", "", ""},
    {"CREATE PROCEDURE", false, "PROCEDURE", "", ""},
    {"CREATE PACKAGE", false, "PACKAGE", "", ""},
    {"CREATE PACKAGE BODY", false, "PACKAGE BODY", "", ""},
    {"CREATE TYPE BODY ", false, "TYPE BODY", "", ""},
    {"CREATE PROCEDURE scott.", false, "PROCEDURE", "SCOTT", ""},
    {"CREATE PROCEDURE .p", false, "PROCEDURE", "", ""},
    {"ALTER PROCEDURE p COMPILE", false, "", "", ""},
    {"SELECT * FROM t", false, "", "", ""},
    {"procedure p is", false, "", "", ""},
    {".", false, "", "", ""},
};

TEST(OracleStatementHeaderTest, ReadsTheFirstWords) {
    OracleStatementHeader header;  // the same one: nothing of the last text stays
    for (const HeaderCase& one : headerCases) {
        SCOPED_TRACE(one.statement);
        EXPECT_EQ(header.Parse(one.statement), one.found);
        EXPECT_EQ(header.GetType(), one.type);
        EXPECT_EQ(header.GetOwner(), one.owner);
        EXPECT_EQ(header.GetName(), one.name);
    }
}

TEST(OracleStatementHeaderTest, EndsAtTheFirstNul) {
    OracleStatementHeader header;
    EXPECT_TRUE(header.Parse(std::string("create procedure p\0q", 20)));
    EXPECT_EQ(header.GetName(), "P");
    EXPECT_FALSE(header.Parse(std::string("create\0procedure p", 18)));
    EXPECT_EQ(header.GetType(), "");
    EXPECT_FALSE(header.Parse(std::string("\0create procedure p", 19)));
}

TEST(OracleStatementHeaderTest, NamesMayBeLong) {
    const std::string name(5000, 'x');
    OracleStatementHeader header;
    EXPECT_TRUE(header.Parse("create procedure " + name + "." + name + " is"));
    EXPECT_EQ(header.GetOwner(), std::string(5000, 'X'));
    EXPECT_EQ(header.GetName(), std::string(5000, 'X'));
}

// Every beginning of a statement is read without running over its end.
TEST(OracleStatementHeaderTest, CutStatementsAreReadToTheirEnd) {
    const std::string statement = "/* a */ -- b\ncreate or replace package body \"My\" . \"Pkg\" as";
    for (std::size_t length = 0; length <= statement.size(); ++length) {
        OracleStatementHeader header;
        const bool found = header.Parse(statement.substr(0, length));
        EXPECT_EQ(found, !header.GetName().empty() && !header.GetType().empty()) << length;
    }
}

}  // namespace
}  // namespace qxdbsqlengine
