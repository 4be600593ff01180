// Places in the texts of servers.
#include <gtest/gtest.h>

#include "drivers/odbc/diagnostics.h"

namespace {

using qxdrivers::odbc::Family;
using qxdrivers::odbc::FindPlace;

TEST(OdbcPlaces, AreFoundInTheTextsOfEveryServer) {
    struct Case {
        Family family;
        const char* sql;
        const char* text;
        int line;
        int position;
    };
    static constexpr Case cases[] = {
        {Family::MySQL, "SELECT 1\nFRM t", "... to use near 'FRM t' at line 2", 2, 10},
        {Family::MySQL, "a\nx x\n", "... to use near 'x' at line 2", 2, 0},  // twice in that line
        {Family::MySQL, "x\nx\nx", "... to use near 'x' at line 2", 2, 3},   // once in that line
        {Family::MySQL, "x", "... to use near 'x' at line 7", 7, 0},         // no such line
        {Family::MySQL, "x", "Out of range value for column 'line 5' at row 1", 0, 0},
        {Family::MySQL, nullptr, "... near 'x' at line 3", 3, 0},
        {Family::PostgreSQL, "selec 1", "ERROR: syntax error at or near \"selec\"", 1, 1},
        {Family::PostgreSQL, "a\nb b", "ERROR: syntax error at or near \"b\"", 0, 0},
        {Family::PostgreSQL, "a\nb", "ERROR: syntax error at end of input", 2, 4},
        {Family::PostgreSQL, "a", "ERROR: relation \"a\" does not exist", 0, 0},
        {Family::PostgreSQL, nullptr, "ERROR: syntax error at end of input", 0, 0},
        {Family::Oracle, "x", "ORA-06550: line 2, column 7:\nPLS-00201: identifier 'X' must be declared", 2,
         7},
        {Family::Oracle, "x", "ORA-00942: table or view does not exist", 0, 0},
        {Family::DB2, "x", "SQL0104N  An unexpected token \"x\" was found.  LINE NUMBER=3.  SQLSTATE=42601",
         3, 0},
        {Family::SQLServer, "x", "Line 4: Incorrect syntax near 'x'.", 4, 0},
        {Family::SQLServer, "x", "Outline 4: nothing", 0, 0},
        {Family::Other, "x", "parse error at line 12", 12, 0},
        {Family::Other, "x", "no place", 0, 0},
    };
    for (const Case& c : cases) {
        qxdb::RawMessage message;
        message.text = c.text;
        const std::string sql = c.sql ? c.sql : "";
        FindPlace(message, {c.family, c.sql ? &sql : nullptr});
        EXPECT_EQ(message.line, c.line) << c.text;
        EXPECT_EQ(message.position, c.position) << c.text;
    }
}

}  // namespace
