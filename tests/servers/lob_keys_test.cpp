// The row of a large object is found by the texts that the store gives of its cells, whatever its key is, and
// never mistaken for another.
#include <gtest/gtest.h>

#include "lob_run.h"

namespace {

using namespace qxdbsqlengine;
using qxtest::LobRun;
using qxtest::OwnName;
using qxtest::Rows;
using qxtest::RunAll;
using qxtest::TestTable;
using Lines = std::vector<std::string>;

struct KeyCase {
    const char* name;
    const char* declared;
    std::vector<const char*> values;  // SQL, near each other
};

// Without a name of the type's own, so that a failed test tells the case.
std::ostream& operator<<(std::ostream& out, const KeyCase& key) {
    return out << key.declared;
}

const std::vector<const char*> anyTexts = {
    "''",      "'a'",    "'A'",   "'b'",        "' a'",
    "'it''s'", "'\"'",   "'?'",   "'%'",        "'_'",
    "'NULL'",  "'null'", "'[N]'", "'\xC3\xA4'", "'\xE2\x82\xAC\xF0\x9F\x98\x80'"};

void CheckKey(LobRun& run, bool mariadb, const KeyCase& key) {
    TestTable table(
        run.watcher, OwnName("lob_keyed"),
        std::string("k ") + key.declared + " PRIMARY KEY, n INT, t " + (mariadb ? "LONGTEXT" : "text"));
    const auto insert = [&](std::size_t i) {
        RunAll(run.watcher, "INSERT INTO " + OwnName("lob_keyed") + " VALUES(" + std::string(key.values[i]) +
                                ", " + std::to_string(i) + ", 'value " + std::to_string(i) + "')");
    };
    for (std::size_t i = 0; i < key.values.size(); ++i) {
        insert(i);
    }
    run.Read("SELECT n, k, t FROM " + OwnName("lob_keyed") + " ORDER BY n");
    const std::string file = run.folder.File("file");
    for (std::size_t i = 0; i < key.values.size(); ++i) {
        SCOPED_TRACE(key.values[i]);
        LobExtract lob = run.Extract(static_cast<int>(i), 2);
        EXPECT_FALSE(lob.IsReadOnly());
        EXPECT_NO_THROW(lob.GetLobLocator().Export(file, run.watcher, &lob.GetValueList()));
        EXPECT_EQ(qxtest::FileContent(file), "value " + std::to_string(i));
        qxtest::PutFile(file, "new");
        lob.GetLobLocator().Import(file, run.watcher, &lob.GetValueList());
        EXPECT_EQ(Rows(run.watcher, "SELECT n FROM " + OwnName("lob_keyed") + " WHERE t = 'new'"),
                  Lines{std::to_string(i)});
        // None of the others is taken for it.
        RunAll(run.watcher, "DELETE FROM " + OwnName("lob_keyed") + " WHERE n = " + std::to_string(i));
        EXPECT_EQ(qxtest::FailureOf([&] {
                      lob.GetLobLocator().Export(file, run.watcher, &lob.GetValueList());
                  }).text,
                  "The row of the large object is not in " + OwnName("lob_keyed") + " any more");
        insert(i);
    }
}

class MariaDBLobKeys : public testing::TestWithParam<KeyCase> {};

TEST_P(MariaDBLobKeys, FindTheirRows) {
    LobRun run(true);
    CheckKey(run, true, GetParam());
}

INSTANTIATE_TEST_SUITE_P(
    Each, MariaDBLobKeys,
    testing::Values(
        KeyCase{"TinyInt", "TINYINT", {"-128", "0", "127"}},
        KeyCase{"SmallIntUnsigned", "SMALLINT UNSIGNED", {"0", "65535"}},
        KeyCase{"Int", "INT", {"-2147483648", "-1", "1", "1000000", "2147483647"}},
        KeyCase{"BigInt",
                "BIGINT",
                {"9007199254740992", "9007199254740993", "-9223372036854775808", "9223372036854775807"}},
        KeyCase{"BigIntUnsigned", "BIGINT UNSIGNED", {"18446744073709551614", "18446744073709551615"}},
        KeyCase{"Decimal", "DECIMAL(10,2)", {"1.05", "1.50", "-1.50", "0", "12345678.90"}},
        KeyCase{"LongDecimal",
                "DECIMAL(60,30)",
                {"1.000000000000000000000000000001", "1.000000000000000000000000000002",
                 "123456789012345678901234567890.123456789012345678901234567890"}},
        KeyCase{"Year", "YEAR", {"1901", "2155"}}, KeyCase{"Bit", "BIT(1)", {"b'0'", "b'1'"}},
        KeyCase{"Bits", "BIT(16)", {"b'0'", "b'1'", "b'100000000'", "b'1111111111111111'"}},
        KeyCase{"Date", "DATE", {"'2024-02-29'", "'2024-03-01'", "'0001-01-01'", "'9999-12-31'"}},
        KeyCase{"DateTime", "DATETIME", {"'2024-02-29 00:00:00'", "'2024-02-29 00:00:01'"}},
        KeyCase{"DateTime1", "DATETIME(1)", {"'2024-02-29 00:00:00.1'", "'2024-02-29 00:00:00.2'"}},
        KeyCase{"DateTime6",
                "DATETIME(6)",
                {"'2024-02-29 12:00:00'", "'2024-02-29 12:00:00.000001'", "'2024-02-29 12:00:00.1'",
                 "'2024-02-29 12:00:00.123456'", "'2024-02-29 12:00:00.123457'"}},
        KeyCase{"Timestamp", "TIMESTAMP", {"'2024-02-29 12:00:00'", "'2024-02-29 12:00:01'"}},
        KeyCase{"Timestamp3",
                "TIMESTAMP(3)",
                {"'2024-02-29 12:00:00'", "'2024-02-29 12:00:00.001'", "'2024-02-29 12:00:00.010'"}},
        KeyCase{"Time", "TIME", {"'00:00:01'", "'12:00:00'", "'-12:00:00'", "'838:59:59'"}},
        KeyCase{"Time6", "TIME(6)", {"'12:00:00'", "'12:00:00.000001'", "'12:00:00.5'"}},
        KeyCase{"Text", "VARCHAR(40) COLLATE utf8mb4_bin", anyTexts},
        KeyCase{
            "TextOfAnyCase", "VARCHAR(40)", {"''", "'Abc'", "'abd'", "'it''s'", "'a\\\\b'", "'\xC3\xB1'"}},
        KeyCase{"TextLatin1", "VARCHAR(40) CHARACTER SET latin1", {"'\xC3\xA4'", "'\xE2\x82\xAC'", "'a'"}},
        KeyCase{"TextWithBlanks", "VARCHAR(40) COLLATE utf8mb4_nopad_bin", {"'a'", "'b  '", "' b'"}},
        KeyCase{"Character", "CHAR(5)", {"''", "'a'", "'a b'", "'abcde'"}},
        KeyCase{"Bytes", "VARBINARY(10)", {"x''", "x'00'", "x'0000'", "x'27'", "x'5C'", "x'61'", "x'FF'"}},
        KeyCase{"FixedBytes", "BINARY(4)", {"x'00000001'", "x'01000000'", "x'61620000'", "x'61622020'"}},
        KeyCase{"Enumeration", "ENUM('1', '2', 'a', 'b''c')", {"'1'", "'2'", "'a'", "'b''c'"}},
        KeyCase{"Set", "SET('a', 'b', 'c')", {"''", "'a'", "'a,b'", "'a,c'"}},
        KeyCase{"Uuid",
                "UUID",
                {"'123e4567-e89b-12d3-a456-426614174000'", "'123e4567-e89b-12d3-a456-426614174001'"}},
        KeyCase{"Address", "INET6", {"'::1'", "'1::'", "'::ffff:1.2.3.4'"}}),
    [](const auto& key) { return key.param.name; });

class PostgresLobKeys : public testing::TestWithParam<KeyCase> {};

TEST_P(PostgresLobKeys, FindTheirRows) {
    LobRun run(false);
    CheckKey(run, false, GetParam());
}

INSTANTIATE_TEST_SUITE_P(
    Each, PostgresLobKeys,
    testing::Values(
        KeyCase{"SmallInt", "smallint", {"-32768", "0", "32767"}},
        KeyCase{"Integer", "integer", {"-2147483648", "-1", "1", "2147483647"}},
        KeyCase{"BigInt",
                "bigint",
                {"9007199254740992", "9007199254740993", "-9223372036854775808", "9223372036854775807"}},
        KeyCase{"Numeric", "numeric(20,5)", {"1.50000", "1.05", "-1.5", "0", "123456789012345.12345"}},
        KeyCase{"AnyNumeric",
                "numeric",
                {"1.5", "1.50000000000000000000000000000000001", "1e30", "1e-30", "-1.5"}},
        KeyCase{"Boolean", "boolean", {"true", "false"}}, KeyCase{"Oid", "oid", {"1", "4294967295"}},
        KeyCase{"Date", "date", {"'2024-02-29'", "'2024-03-01'", "'0001-01-01'", "'9999-12-31'"}},
        KeyCase{"Timestamp",
                "timestamp",
                {"'2024-02-29 12:00:00'", "'2024-02-29 12:00:00.000001'", "'2024-02-29 12:00:00.1'",
                 "'2024-02-29 12:00:00.123456'", "'2024-02-29 12:00:00.123457'"}},
        KeyCase{"Timestamp0", "timestamp(0)", {"'2024-02-29 12:00:00'", "'2024-02-29 12:00:01'"}},
        KeyCase{"Timestamp2", "timestamp(2)", {"'2024-02-29 12:00:00.12'", "'2024-02-29 12:00:00.1'"}},
        KeyCase{"TimestampZoned",
                "timestamptz",
                {"'2024-02-29 12:00:00+00'", "'2024-02-29 12:00:00.000001+00'", "'2024-02-29 12:00:00+02'"}},
        KeyCase{"Time", "time", {"'12:00:00'", "'12:00:00.000001'", "'12:00:00.5'"}},
        KeyCase{"TimeZoned", "timetz", {"'12:00:00+00'", "'12:00:00+02'", "'12:00:00.5+00'"}},
        KeyCase{"Interval",
                "interval",
                {"'1 day'", "'1 mon'", "'-1 day'", "'1 day 00:00:00.5'", "'1 year 2 mons 3 days 04:05:06'"}},
        KeyCase{"Text",
                "varchar(40)",
                {"''", "'a'", "'A'", "'a '", "' a'", "'it''s'", "'a\\b'", "'?'", "'%'", "'NULL'",
                 "'\xC3\xA4'", "'\xE2\x82\xAC\xF0\x9F\x98\x80'", "E'a\\nb'", "E'a\\r\\nb'", "'{\"'"}},
        KeyCase{"Character", "char(5)", {"''", "'a'", "'A'", "'a b'", "'abcde'"}},
        KeyCase{"Name", "name", {"'a'", "'A'"}}, KeyCase{"Letter", "\"char\"", {"'a'", "'A'"}},
        KeyCase{"Uuid",
                "uuid",
                {"'123e4567-e89b-12d3-a456-426614174000'", "'123e4567-e89b-12d3-a456-426614174001'"}},
        KeyCase{"Address", "inet", {"'10.0.0.1'", "'10.0.0.1/24'", "'::1'"}},
        KeyCase{"Network", "cidr", {"'10.0.0.0/8'", "'10.0.0.0/16'"}},
        KeyCase{"Hardware", "macaddr", {"'08:00:2b:01:02:03'", "'08:00:2b:01:02:04'"}},
        KeyCase{"Money", "money", {"1.5", "1.05", "-1.5", "1000000.5"}},
        KeyCase{"Bits", "bit(4)", {"B'0001'", "B'1000'"}},
        KeyCase{"AnyBits", "varbit(8)", {"B''", "B'0'", "B'1'", "B'10'"}},
        KeyCase{"Range", "int4range", {"'[1,5)'", "'[1,6)'", "'empty'"}},
        KeyCase{"Array", "integer[]", {"'{1,2}'", "'{1,2,3}'", "'{}'", "'{NULL}'"}},
        KeyCase{"Json", "jsonb", {"'{\"a\": 1}'", "'{\"a\": 2}'", "'null'", "'\"a\"'"}}),
    [](const auto& key) { return key.param.name; });

class LobKeys : public testing::TestWithParam<bool> {
  protected:
    bool OnMariaDB() const { return GetParam(); }
    std::string Text() const { return OnMariaDB() ? "LONGTEXT" : "text"; }
    std::string Export(LobExtract lob) {
        const std::string file = run.folder.File("file");
        lob.GetLobLocator().Export(file, run.watcher, &lob.GetValueList());
        return qxtest::FileContent(file);
    }
    std::string FailedExport(LobExtract lob) {
        return qxtest::FailureOf([&] { Export(lob); }).text;
    }

    LobRun run{OnMariaDB()};
};

// NULL makes a unique index no key: there may be any number of such rows.
TEST_P(LobKeys, WithANull) {
    TestTable table(run.watcher, "lob_nulls",
                    "a INT NOT NULL, b VARCHAR(9), n INT, t " + Text() + ", UNIQUE(a, b)");
    RunAll(run.watcher,
           "INSERT INTO lob_nulls VALUES(1, NULL, 0, 'zero'), (2, NULL, 1, 'one'), (2, NULL, 2, "
           "'two'), (1, 'x', 3, 'three')");
    run.Read("SELECT a, b, t FROM lob_nulls ORDER BY n");
    EXPECT_EQ(Export(run.Extract(0, 2)), "zero");
    const std::string twice = "The row of the large object can't be told from 1 other(s) in lob_nulls";
    EXPECT_EQ(FailedExport(run.Extract(1, 2)), twice);
    EXPECT_EQ(FailedExport(run.Extract(2, 2)), twice);
    EXPECT_EQ(Export(run.Extract(3, 2)), "three");
    const std::string file = run.folder.File("source");
    qxtest::PutFile(file, "new");
    LobExtract alone = run.Extract(0, 2);
    EXPECT_FALSE(alone.IsReadOnly());
    alone.GetLobLocator().Import(file, run.watcher, &alone.GetValueList());
    LobExtract other = run.Extract(1, 2);
    EXPECT_EQ(qxtest::FailureOf([&] {
                  other.GetLobLocator().Import(file, run.watcher, &other.GetValueList());
              }).text,
              twice);
    EXPECT_EQ(Rows(run.watcher, "SELECT t FROM lob_nulls ORDER BY n"), (Lines{"new", "one", "two", "three"}));
    // A text that reads like a NULL in the store.
    RunAll(run.watcher, "INSERT INTO lob_nulls VALUES(1, '[NULL]', 4, 'four'), (4, '[NULL]', 5, 'five')");
    run.Read("SELECT a, b, t FROM lob_nulls ORDER BY n");
    EXPECT_EQ(FailedExport(run.Extract(0, 2)), twice);
    EXPECT_EQ(FailedExport(run.Extract(4, 2)), twice);
    EXPECT_EQ(Export(run.Extract(5, 2)), "five");
}

// What is no key finds a row by all its other columns, and by nothing that is not exact.
TEST_P(LobKeys, OfFloatingNumbers) {
    TestTable table(run.watcher, "lob_reals", "k DOUBLE PRECISION PRIMARY KEY, r REAL, a INT, t " + Text());
    RunAll(run.watcher,
           "INSERT INTO lob_reals VALUES(0.1, 0.1, 1, 'one'), (0.3, 0.3, 2, 'two'), (0.5, 0.5, 2, 'b')");
    run.Read("SELECT k, r, a, t FROM lob_reals ORDER BY k");
    EXPECT_TRUE(run.Extract(0, 3).IsReadOnly());
    EXPECT_EQ(Export(run.Extract(0, 3)), "one");
    EXPECT_EQ(FailedExport(run.Extract(1, 3)),
              "The row of the large object can't be told from 1 other(s) in lob_reals");
    run.Read("SELECT k, r, t FROM lob_reals ORDER BY k");
    EXPECT_FALSE(run.Extract(0, 2).IsValid(true));
}

// A key that does not tell letters apart gets another row in the place of the one that was read.
TEST_P(LobKeys, InOtherLetters) {
    if (!OnMariaDB() && Rows(run.watcher,
                             "SELECT count(*) FROM pg_collation WHERE collprovider = 'i' AND collname = "
                             "'und-x-icu'") != Lines{"1"}) {
        GTEST_SKIP() << "a server without ICU";
    }
    if (!OnMariaDB()) {
        RunAll(run.watcher,
               "CREATE COLLATION IF NOT EXISTS qx_any_case (provider = icu, locale = "
               "'und-u-ks-level2', deterministic = false)");
    }
    TestTable table(run.watcher, "lob_letters",
                    std::string("k VARCHAR(20) ") +
                        (OnMariaDB() ? "COLLATE utf8mb4_unicode_ci" : "COLLATE qx_any_case") +
                        " PRIMARY KEY, t " + Text());
    RunAll(run.watcher, "INSERT INTO lob_letters VALUES('Abc', 'first')");
    run.Read("SELECT k, t FROM lob_letters");
    EXPECT_EQ(Export(run.Extract(0, 1)), "first");
    RunAll(run.watcher, "UPDATE lob_letters SET k = 'aBC', t = 'second'");
    EXPECT_EQ(FailedExport(run.Extract(0, 1)), "The row of the large object is not in lob_letters any more");
}

// Columns of types that have no equality, and of such as are equal by their size.
TEST(PostgresLobs, FoundByColumnsThatCantBeCompared) {
    LobRun run(false);
    TestTable table(run.watcher, "lob_shapes", "j json, p point, c circle, x xml, t text");
    RunAll(run.watcher,
           "INSERT INTO lob_shapes VALUES('{\"a\":1}', '(1,2)', '<(0,0),1>', '<a/>', 'one'), "
           "('{\"a\":1}', '(1,2)', '<(5,5),1>', '<a/>', 'two')");
    run.Read("SELECT j, p, c, x, t FROM lob_shapes ORDER BY t");
    const std::string file = run.folder.File("file");
    for (const int row : {0, 1}) {
        LobExtract lob = run.Extract(row, 4);
        lob.GetLobLocator().Export(file, run.watcher, &lob.GetValueList());
        EXPECT_EQ(qxtest::FileContent(file), row == 0 ? "one" : "two");
    }
}

INSTANTIATE_TEST_SUITE_P(Each, LobKeys, testing::Values(true, false),
                         [](const auto& each) { return each.param ? "MariaDB" : "PostgreSQL"; });

}  // namespace
