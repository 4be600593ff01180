// INSERT statements for MySQL, run on a real MariaDB, give an equal table.
#include "drivers/odbc_support.h"
#include "persistence_support.h"
#include "platform/qxsplt/errors.h"

namespace qxdbsqlengine {
namespace {

using InsertServersTest = PersistenceTest;

std::string Hexadecimal(const std::string& text) {
    std::string digits;
    for (const char byte : text) {
        digits += "0123456789ABCDEF"[static_cast<unsigned char>(byte) / 16];
        digits += "0123456789ABCDEF"[static_cast<unsigned char>(byte) % 16];
    }
    return digits;
}

TEST_F(InsertServersTest, AScriptRunOnMariaDbGivesAnEqualTable) {
    std::vector<Row> rows;
    for (const std::string& text : OddTexts(true)) {
        const std::string number = std::to_string(rows.size());
        rows.push_back({number, "90071992547409" + number, number + ".05", text,
                        rows.size() % 3 == 0 ? Cell() : Cell("2004-12-31 01:02:0" + number.substr(0, 1)),
                        "00FF" + Hexadecimal(text)});
    }
    AddTypedResultSet(
        *store,
        {Column("id", DataTypeInt), Column("big", DataTypeInt64), Column("price", DataTypeDecimal, "", 2),
         Column("name", DataTypeString), Column("placed", DataTypeTimestamp, "yyyy-MM-dd HH:mm:ss"),
         Column("data", DataTypeBinary)},
        rows);
    store->SetTableName(0, "qx_insert_script");
    const std::string script =
        WriteAll(ResultFileInsert, [](Persistence& p) { p.SetDBMSType(qxdb::DBTYPE_MYSQL); });

    qxdb::Connection connection = qxtest::OpenMariaDB();
    const qxtest::TestTable table(connection, "qx_insert_script",
                                  "id INT, big BIGINT, price DECIMAL(20, 2), name TEXT CHARACTER SET "
                                  "utf8mb4, placed DATETIME, data BLOB");
    qxtest::RunAll(connection, "SET SESSION sql_mode = CONCAT(@@sql_mode, ',NO_BACKSLASH_ESCAPES')");
    // Split at the terminator's line, which no value here contains.
    std::size_t from = 0;
    for (std::size_t end = script.find("\ngo\n"); end != std::string::npos;
         end = script.find("\ngo\n", from)) {
        const std::string statement = script.substr(from, end - from);
        try {
            qxtest::RunAll(connection, statement);
        } catch (const Errors& errors) {
            ADD_FAILURE() << errors.GetNextError().GetErrorDescription() << "\n" << statement;
        }
        from = end + 4;
    }
    EXPECT_EQ(from, script.size());
    const auto got = qxtest::RunAll(
        connection,
        "SELECT CONCAT_WS('|', id, big, price, HEX(name), IFNULL(placed, 'null'), HEX(data)) FROM "
        "qx_insert_script ORDER BY id",
        true);
    std::vector<std::string> expected;
    for (const Row& row : rows)
        expected.push_back(*row[0] + "|" + *row[1] + "|" + *row[2] + "|" + Hexadecimal(*row[3]) + "|" +
                           (row[4] ? *row[4] : "null") + "|" + *row[5]);
    ASSERT_EQ(got.size(), 1u);
    EXPECT_EQ(got[0], expected);
}

}  // namespace
}  // namespace qxdbsqlengine
