#include "tools/qxsql/script_report.h"

#include <gtest/gtest.h>

#include "tools/qxsql/messages.h"

namespace qxsql {
namespace {

std::string Summary(const ScriptReport& report) {
    return report.Summary(std::chrono::milliseconds(1250));
}

TEST(ScriptReport, CountsItems) {
    ScriptReport report("x.sql");
    EXPECT_EQ("Items run: 0, failed: 0, skipped: 0. Rows fetched: 0, affected: 0. 1.250 s", Summary(report));
    report.ItemBegins(1);
    report.ItemEnds(true);
    report.ItemBegins(2);
    report.ItemFailed();
    report.ItemFailed();
    report.ItemEnds(true);
    report.ItemBegins(3);
    report.ItemEnds(false);
    report.ItemBegins(4);
    report.ItemFailed();
    report.ItemEnds(false);
    report.RowsFetched(1200);
    EXPECT_EQ("Items run: 3, failed: 2, skipped: 1. Rows fetched: 1,200, affected: 0. 1.250 s",
              Summary(report));
    EXPECT_EQ(4, report.Items());
    EXPECT_EQ(2, report.Failed());
}

TEST(ScriptReport, TakesTheEnginesOwnLines) {
    ScriptReport report("x.sql");
    EXPECT_TRUE(report.TakesLine("3 row(s) affected."));
    EXPECT_TRUE(report.TakesLine("0 row(s) affected."));
    EXPECT_TRUE(report.TakesLine("2000000000 row(s) affected."));
    EXPECT_TRUE(report.TakesLine("The command completed with no results returned"));
    EXPECT_FALSE(report.TakesLine("3 row(s) affected. And more."));
    EXPECT_FALSE(report.TakesLine("3  row(s) affected."));
    EXPECT_FALSE(report.TakesLine(" row(s) affected."));
    EXPECT_FALSE(report.TakesLine(""));
    EXPECT_NE(std::string::npos, Summary(report).find("affected: 2,000,000,003. "));
}

TEST(ScriptReport, LinesOfErrorsCountFromTheItem) {
    const struct {
        int itemLine;
        ErrorRecord record;
        const char* text;
    } cases[] = {
        {12, ErrorRecord(2, 1, 1, 8, "bad", "42000", nullptr),
         "x.sql:12: Error 1 [42000] at position 8: bad"},
        {12, ErrorRecord(2, 1, 3, 0, "bad", "", nullptr), "x.sql:14: Error 1: bad"},
        {12, ErrorRecord(2, 0, 0, 0, "bad", "", nullptr), "x.sql:12: Error: bad"},
        {12, UserErrorRecord("bad"), "x.sql:12: Error: bad"},
        {7, ErrorRecord(10, 0, 0, 0, "given up", "", nullptr), "x.sql:7: Error: given up"},
        {7, ErrorRecord(0, 0, 2, 0, "hello", "01000", nullptr), "x.sql:8: Message [01000]: hello"},
        {7, ErrorRecord(1, 1265, 0, 0, "cut", "", nullptr), "x.sql:7: Message 1265: cut"},
    };
    for (const auto& one : cases) {
        ScriptReport report("x.sql");
        report.ItemBegins(one.itemLine);
        EXPECT_EQ(one.text, report.ErrorLine(one.record));
    }
    ScriptReport report("dir/x.sql");
    report.ItemBegins(3);
    EXPECT_EQ("dir/x.sql:3", report.Place());
}

TEST(Messages, WhatIsAFailure) {
    EXPECT_TRUE(IsFailure(UserErrorRecord("text of the library")));
    EXPECT_TRUE(IsFailure(ErrorRecord(2, 0, 0, 0, "", "", nullptr)));
    EXPECT_TRUE(IsFailure(ErrorRecord(10, 0, 0, 0, "", "", nullptr)));
    EXPECT_TRUE(IsFailure(ErrorRecord(2, 5, 0, 0, "", "01000", nullptr)));
    EXPECT_FALSE(IsFailure(ErrorRecord(1, 5, 0, 0, "", "", nullptr)));
    EXPECT_FALSE(IsFailure(ErrorRecord(0, 0, 0, 0, "", "00000", nullptr)));
}

TEST(Messages, PlacesOfStatements) {
    const struct {
        ErrorRecord record;
        const char* text;
    } cases[] = {
        {ErrorRecord(2, 1, 3, 14, "near", "42000", nullptr), "Error 1 [42000] at line 3, position 14: near"},
        {ErrorRecord(2, 1, 3, 0, "near", "", nullptr), "Error 1 at line 3: near"},
        {ErrorRecord(2, 1, 0, 14, "near", "", nullptr), "Error 1 at position 14: near"},
        {UserErrorRecord("near"), "Error: near"},
        {ErrorRecord(0, 7, 0, 0, "near", "", nullptr), "Message 7: near"},
    };
    for (const auto& one : cases)
        EXPECT_EQ(one.text, ErrorText(one.record));
}

}  // namespace
}  // namespace qxsql
