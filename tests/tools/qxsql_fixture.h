// What tests of the qxsql binary share.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tools/run_tool.h"

namespace qxtest {

using Words = std::vector<std::string>;

inline ToolResult Qxsql(Words arguments, const std::string& input = "") {
    arguments.insert(arguments.begin(), QXSQL_PATH);
    return RunTool(arguments, input);
}

// Rows without an end.
inline std::string EndlessQuery() {
    return "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT i FROM n";
}

// Works without an end, and never has a row.
inline std::string EndlessSearch() {
    return "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT i FROM n WHERE i < 0";
}

class QxsqlTool : public testing::Test {
  protected:
    std::string Database() const { return "sqlite:" + directory.File("shop.db"); }
    void MakeShop() {
        const ToolResult made = Qxsql({"--create", "--quiet", Database(), "-f", SHOP_SQL});
        ASSERT_EQ(0, made.exitCode) << made.err;
        EXPECT_EQ("", made.out);
        EXPECT_EQ("", made.err);
    }
    // A script file of that text; its path.
    std::string Script(const std::string& text, const std::string& name = "script.sql") const {
        WriteFile(directory.File(name), text);
        return directory.File(name);
    }
    TemporaryDirectory directory;
};

}  // namespace qxtest
