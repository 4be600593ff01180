// Words, markers and calls in SQL texts.
#include <gtest/gtest.h>

#include "drivers/odbc/server_cursor.h"
#include "drivers/odbc/sql_scan.h"

namespace {

using qxdrivers::odbc::CallText;
using qxdrivers::odbc::Family;
using qxdrivers::odbc::FirstWord;
using qxdrivers::odbc::HasWord;
using qxdrivers::odbc::ParseCall;
using qxdrivers::odbc::QuoteLiteral;
using qxdrivers::odbc::QuoteName;
using qxdrivers::odbc::ServerCursor;
using qxdrivers::odbc::ServerTraits;
using qxdrivers::odbc::SplitName;
using qxdrivers::odbc::SqlScanner;
using qxdrivers::odbc::SqlToken;

int CountMarkers(const std::string& sql, Family family) {
    SqlScanner scanner(sql, family);
    int count = 0;
    for (SqlToken token = scanner.Next(); token.kind != SqlToken::End; token = scanner.Next()) {
        count += token.kind == SqlToken::Marker ? 1 : 0;
    }
    return count;
}

TEST(OdbcSqlScan, MarkersOutsideOfQuotesAndComments) {
    struct Case {
        const char* sql;
        Family family;
        int markers;
    };
    static constexpr Case cases[] = {
        {"SELECT ?, ?", Family::Other, 2},
        {"SELECT '?', \"?\", ?", Family::Other, 1},
        {"SELECT 'it''s ?', ?", Family::Other, 1},
        {"SELECT 'a\\', ?", Family::Other, 1},
        {"SELECT 'a\\', ?", Family::MySQL, 0},
        {"SELECT `?`, ?", Family::MySQL, 1},
        {"SELECT 1 # ?\n, ?", Family::MySQL, 1},
        {"SELECT 1 -- ?\n, ?", Family::MySQL, 1},
        {"SELECT 5--?", Family::MySQL, 1},
        {"SELECT 5--?", Family::PostgreSQL, 0},
        {"SELECT /* ? */ ?", Family::Other, 1},
        {"SELECT /* /* ? */ ? */ ?", Family::PostgreSQL, 1},
        {"SELECT /* /* ? */ ? */ ?", Family::Other, 2},
        {"SELECT $$?$$, $tag$ ? $$ $tag$, ?", Family::PostgreSQL, 1},
        {"SELECT $1, ?", Family::PostgreSQL, 1},
        {"SELECT E'a\\'?', ?", Family::PostgreSQL, 1},
        {"SELECT [?], ?", Family::SQLServer, 1},
        {"SELECT 'never closed ?", Family::Other, 0},
        {"", Family::Other, 0},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(CountMarkers(c.sql, c.family), c.markers) << c.sql;
    }
}

TEST(OdbcSqlScan, Words) {
    EXPECT_EQ(FirstWord(" /* x */ -- y\n insert into t", Family::Other), "INSERT");
    EXPECT_EQ(FirstWord("(SELECT 1)", Family::Other), "");
    EXPECT_EQ(FirstWord("", Family::Other), "");
    EXPECT_TRUE(HasWord("select row_count()", Family::MySQL, {"X", "ROW_COUNT"}));
    EXPECT_FALSE(HasWord("select 'row_count', my_row_count", Family::MySQL, {"ROW_COUNT"}));
    EXPECT_TRUE(HasWord("select @@warning_count", Family::MySQL, {"@@WARNING_COUNT"}));
}

TEST(OdbcSqlScan, Calls) {
    struct Case {
        const char* sql;
        bool isCall;
        bool returns;
        const char* name;
        std::vector<std::string> arguments;
    };
    const Case cases[] = {
        {"{call p(?, ?)}", true, false, "p", {"?", "?"}},
        {"{ ? = call s.\"My P\" ( ? , 'a,b' ) }", true, true, "s.\"My P\"", {"?", "'a,b'"}},
        {"CALL p", true, false, "p", {}},
        {"call p()", true, false, "p", {}},
        {"call p(f(?, 1), (2))", true, false, "p", {"f(?, 1)", "(2)"}},
        {"/* c */ {?=CALL f(?)}", true, true, "f", {"?"}},
        {"SELECT p(?)", false, false, "", {}},
        {"{? call p()}", false, false, "", {}},
        {"", false, false, "", {}},
    };
    for (const Case& c : cases) {
        const CallText call = ParseCall(c.sql, Family::Other);
        EXPECT_EQ(call.isCall, c.isCall) << c.sql;
        EXPECT_EQ(call.hasReturnValue, c.returns) << c.sql;
        EXPECT_EQ(call.name, c.name) << c.sql;
        EXPECT_EQ(call.arguments, c.arguments) << c.sql;
    }
}

TEST(OdbcSqlScan, Names) {
    using Parts = std::vector<std::string>;
    EXPECT_EQ(SplitName("p", Family::Other), Parts{"p"});
    EXPECT_EQ(SplitName(" s . P ", Family::PostgreSQL), (Parts{"s", "p"}));
    EXPECT_EQ(SplitName("\"S\".\"My \"\"P\"\"\"", Family::PostgreSQL), (Parts{"S", "My \"P\""}));
    EXPECT_EQ(SplitName("`d b`.`p`", Family::MySQL), (Parts{"d b", "p"}));
    EXPECT_EQ(SplitName("[a b].p;2", Family::SQLServer), (Parts{"a b", "p"}));
    EXPECT_EQ(SplitName("", Family::Other), Parts());
    ServerTraits traits;
    EXPECT_EQ(QuoteName("a", traits), "a");
    traits.identifierQuote = "\"";
    EXPECT_EQ(QuoteName("a\"b", traits), "\"a\"\"b\"");
    EXPECT_EQ(QuoteLiteral("it's \\", traits), "'it''s \\'");
    traits.family = Family::MySQL;
    EXPECT_EQ(QuoteLiteral("it's \\", traits), "'it''s \\\\'");
}

TEST(OdbcSqlScan, QueriesThatACursorCanBeDeclaredFor) {
    for (const char* const sql :
         {"SELECT a FROM t", "select a from t;", " -- c\nSELECT a FROM t -- d",
          "WITH x AS (SELECT 1) SELECT * FROM x", "SELECT 'INTO' FROM t", "SELECT a FROM t; /* end */"}) {
        EXPECT_TRUE(ServerCursor::Fits(sql)) << sql;
    }
    for (const char* const sql :
         {"SELECT 1", "SELECT a INTO b FROM t", "SELECT a FROM t; SELECT 1", "TABLE t",
          "INSERT INTO t VALUES (1)", "WITH x AS (INSERT INTO t VALUES (1) RETURNING a) SELECT * FROM x",
          "SELECT a FROM t WHERE b = ?", "", "EXPLAIN SELECT a FROM t", "(SELECT a FROM t)"}) {
        EXPECT_FALSE(ServerCursor::Fits(sql)) << sql;
    }
}

}  // namespace
