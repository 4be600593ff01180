// The example programs, run as they are.

#include <gtest/gtest.h>

#include "tools/run_tool.h"

namespace qxtest {
namespace {

TEST(Examples, SelectPrintsTheStore) {
    const ToolResult result = RunTool({SELECT_PATH});
    EXPECT_EQ(0, result.exitCode) << result.err;
    EXPECT_EQ("one=1  two=two  empty=[NULL]  \n", result.out);
    const ToolResult missing = RunTool({SELECT_PATH, "/no/such/file.db"});
    EXPECT_EQ(1, missing.exitCode);
    EXPECT_NE(std::string::npos, missing.err.find("/no/such/file.db"));
}

TEST(Examples, TwoViewsKeepTheirOwnOrder) {
    const ToolResult result = RunTool({TWO_VIEWS_PATH});
    EXPECT_EQ(0, result.exitCode) << result.err;
    // i * 7919 mod 200000 runs through all numbers, so the last ids and the first names are known.
    EXPECT_NE(std::string::npos, result.out.find("by name (200000 rows):  200000 file0")) << result.out;
    EXPECT_NE(std::string::npos,
              result.out.find("newest first (199999 rows):  200000 file0  199999 file192081"))
        << result.out;
}

TEST(Examples, EditChangesBothViews) {
    const ToolResult result = RunTool({EDIT_PATH});
    EXPECT_EQ(0, result.exitCode) << result.err;
    EXPECT_EQ(
        "table:\n"
        "  1 | Green tea | 450\n"
        "  2 | Coffee | 820\n"
        "  3 | Cocoa | 610\n"
        "  4 | Honey | 1290\n"
        "by price:\n"
        "  4 | Honey | 1290\n"
        "  2 | Coffee | 820\n"
        "  3 | Cocoa | 610\n"
        "  1 | Green tea | 450\n"
        "table, edited:\n"
        "  5 | Black tea | 380\n"
        "  2 | Espresso | 820\n"
        "  3 | Cocoa | 999\n"
        "  4 | Honey | 1290\n"
        "by price, edited:\n"
        "  3 | Cocoa | 999\n"
        "  2 | Espresso | 820\n"
        "  5 | Black tea | 380\n",
        result.out);
}

TEST(Examples, TourStreamsSortsExportsAndReadsBack) {
    const TemporaryDirectory directory;
    const std::string database = directory.File("shop.db");
    ASSERT_EQ(0, RunTool({QXSQL_PATH, "--create", "sqlite:" + database, "-f", SHOP_SQL}).exitCode);
    const ToolResult result = RunTool({TOUR_PATH, database, directory.File("out.csv"), "20000"});
    EXPECT_EQ(0, result.exitCode) << result.err;
    EXPECT_NE(std::string::npos, result.out.find("Streamed 20000 rows")) << result.out;
    EXPECT_NE(std::string::npos, result.out.find("Read 20000 rows back")) << result.out;
    EXPECT_NE(std::string::npos, result.out.find("cells that differ: 0")) << result.out;
    const ToolResult unwritable = RunTool({TOUR_PATH, database, "/no/such/dir/out.csv", "100"});
    EXPECT_EQ(4, unwritable.exitCode);
}

TEST(Examples, ObserverWatchesARunThroughAWindow) {
    const TemporaryDirectory directory;
    const std::string database = directory.File("shop.db");
    ASSERT_EQ(0, RunTool({QXSQL_PATH, "--create", "sqlite:" + database, "-f", SHOP_SQL}).exitCode);
    const ToolResult result = RunTool({OBSERVER_PATH, database});
    EXPECT_EQ(0, result.exitCode) << result.err;
    EXPECT_NE(std::string::npos, result.out.find(" ms  500000 rows\n")) << result.out;
    EXPECT_NE(
        std::string::npos,
        result.out.find("Result set 0: 500000 rows; the last: 500000 | Zoë Müller | Green tea, 100 g |"))
        << result.out;

    const ToolResult empty = RunTool({OBSERVER_PATH, database, "SELECT sku FROM product WHERE 1 = 0"});
    EXPECT_EQ(0, empty.exitCode) << empty.err;
    EXPECT_NE(std::string::npos, empty.out.find("Result set 0: 0 rows\n")) << empty.out;

    const ToolResult broken = RunTool({OBSERVER_PATH, database, "SELECT sku FROM nowhere"});
    EXPECT_EQ(1, broken.exitCode);
    EXPECT_NE(std::string::npos, broken.err.find("no such table: nowhere")) << broken.err;

    const ToolResult missing = RunTool({OBSERVER_PATH, "/no/such/file.db"});
    EXPECT_EQ(1, missing.exitCode);
    EXPECT_NE(std::string::npos, missing.err.find("/no/such/file.db")) << missing.err;
    EXPECT_EQ(2, RunTool({OBSERVER_PATH}).exitCode);
}

}  // namespace
}  // namespace qxtest
