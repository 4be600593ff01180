// Large objects of real servers: to files and back, in pieces and with bounded memory.
#include <gtest/gtest.h>

#include <filesystem>

#include "drivers/odbc/lob_export.h"
#include "drivers/odbc/lob_import.h"
#include "drivers/odbc_lob_support.h"

namespace {

using qxdb::Column;
using qxtest::FailureOf;
using qxtest::LocatorOf;
using qxtest::OpenLobs;
using qxtest::OpenMariaDB;
using qxtest::OpenPostgres;
using qxtest::OpenResult;
using qxtest::Rows;
using qxtest::RunAll;
using qxtest::SameContent;
using qxtest::TestFile;
using qxtest::TestTable;
using Cells = std::list<std::string>;
using Lines = std::vector<std::string>;

class LobLocators : public testing::TestWithParam<bool> {
  protected:
    bool OnMariaDB() const { return GetParam(); }
    std::string Columns() const {
        return OnMariaDB() ? "n INT PRIMARY KEY, t LONGTEXT, b LONGBLOB, v VARCHAR(20)"
                           : "n integer PRIMARY KEY, t text, b bytea, v varchar(20)";
    }
};

const std::string someText = "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\r\n'\\";

TEST_P(LobLocators, ExportAndImportOneValue) {
    qxdb::Connection connection = OpenLobs(OnMariaDB());
    TestTable table(connection, "lob_values", Columns());
    RunAll(connection, "INSERT INTO lob_values VALUES(1,NULL,NULL,'one'),(2,'old','old','two')");
    const std::string select = "SELECT n, t, b, v FROM lob_values";
    for (const unsigned int column : {1u, 2u}) {
        SCOPED_TRACE(column);
        qxdb::LobLocator locator = LocatorOf(connection, select, column, "lob_values");
        EXPECT_TRUE(locator.IsValid(true));
        EXPECT_FALSE(locator.IsReadOnly());
        EXPECT_EQ(locator.EditAsClob(), column == 1);
        EXPECT_EQ(locator.TableName(), "lob_values");
        Cells row{"2", "old", "6F6C64", "two"};
        // Empty, short, and with every byte that the kind can have.
        const std::string bytes = column == 1 ? someText : std::string("\0\xFF\x80\n\r'\\", 7);
        for (const std::string& content :
             {bytes, std::string(), bytes + bytes, std::string(200000, 'x') + bytes}) {
            const TestFile source("source", content);
            const TestFile target("target");
            locator.Import(source.name, connection, &row);
            locator.Clone().Export(target.name, connection, &row);
            EXPECT_EQ(target.Content().size(), content.size());
            EXPECT_TRUE(target.Content() == content);
        }
        // The other row has not changed; NULL comes as an empty file.
        Cells other{"1", "[NULL]", "[NULL]", "one"};
        const TestFile target("target");
        locator.Export(target.name, connection, &other);
        EXPECT_TRUE(std::filesystem::exists(target.name));
        EXPECT_EQ(target.Content(), "");
    }
    EXPECT_EQ(Rows(connection, "SELECT n FROM lob_values WHERE t IS NULL AND b IS NULL"), Lines{"1"});
}

// Around the sizes of parts and pieces, with characters that these cut.
TEST_P(LobLocators, ValuesAroundTheSizesOfParts) {
    constexpr std::size_t piece = 64 * 1024;
    constexpr std::size_t sent = 256 * 1024;
    constexpr std::size_t part = 1024 * 1024;
    qxdb::Connection connection = OpenLobs(OnMariaDB());
    TestTable table(connection, "lob_parts", Columns());
    RunAll(connection, "INSERT INTO lob_parts(n, t, b) VALUES(7, '', '')");
    const std::string select = "SELECT n, t, b FROM lob_parts WHERE n > 7";
    const TestFile target("target");
    Cells row{"7", "", ""};
    for (const std::size_t size : {piece - 1, piece, piece + 1, sent - 1, sent, sent + 1, part - 1, part,
                                   part + 1, 2 * part, 4 * part + 5}) {
        std::string bytes(size, '\0');
        for (std::size_t i = 0; i < size; ++i) {
            bytes[i] = static_cast<char>(i * 31 + i / 256);
        }
        std::string text = "\xF0\x9F\x98\x80";
        while (text.size() + 4 <= size) {
            text += text.size() % 7 == 0 ? "\xC3\xA4z" : "\xF0\x9F\x98\x80";
        }
        text.append(size - std::min(size, text.size()), 'x');
        for (const unsigned int column : {1u, 2u}) {
            const TestFile source("source", column == 1 ? text : bytes);
            qxdb::LobLocator locator = LocatorOf(connection, select, column, "lob_parts");
            locator.Import(source.name, connection, &row);
            locator.Export(target.name, connection, &row);
            EXPECT_TRUE(SameContent(source.name, target.name)) << size << " " << column;
        }
    }
    if (!OnMariaDB()) {
        EXPECT_EQ(Rows(connection, "SELECT count(*) FROM pg_largeobject_metadata"), Lines{"0"});
    }
}

TEST_P(LobLocators, RowsAreFoundByTheirKeys) {
    qxdb::Connection connection = OpenLobs(OnMariaDB());
    const std::string text = OnMariaDB() ? "LONGTEXT" : "text";
    TestTable keyed(connection, "lob_keys",
                    "a INT, b VARCHAR(20), c DECIMAL(20,5), d DATE, t " + text + ", PRIMARY KEY(b, d)");
    RunAll(connection,
           "INSERT INTO lob_keys VALUES(1,'it''s \xC3\xA4',1.5,'2024-02-29','first'),"
           "(2,'it''s \xC3\xA4',2.5,'2024-03-01','second')");
    const TestFile target("target");
    qxdb::LobLocator locator =
        LocatorOf(connection, "SELECT t, d, a, b FROM lob_keys WHERE a > 0 ORDER BY a", 0, "lob_keys");
    EXPECT_FALSE(locator.IsReadOnly());
    Cells row{"ignored", "2024-03-01", "ignored", "it's \xC3\xA4"};
    locator.Export(target.name, connection, &row);
    EXPECT_EQ(target.Content(), "second");
    row = {"ignored", "2024-02-29", "ignored", "it's \xC3\xA4"};
    locator.Export(target.name, connection, &row);
    EXPECT_EQ(target.Content(), "first");

    // A unique index serves as well.
    TestTable unique(connection, "lob_unique", "a BIGINT NOT NULL UNIQUE, t " + text);
    RunAll(connection, "INSERT INTO lob_unique VALUES(9007199254740993,'exact'),(9007199254740992,'near')");
    qxdb::LobLocator exact = LocatorOf(connection, "SELECT a, t FROM lob_unique", 1, "lob_unique");
    EXPECT_FALSE(exact.IsReadOnly());
    row = {"9007199254740993", ""};
    exact.Export(target.name, connection, &row);
    EXPECT_EQ(target.Content(), "exact");
}

TEST_P(LobLocators, WithoutAKeyTheyAreReadOnly) {
    qxdb::Connection connection = OpenLobs(OnMariaDB());
    const std::string text = OnMariaDB() ? "LONGTEXT" : "text";
    TestTable table(connection, "lob_keyless", "a INT, b VARCHAR(20), t " + text);
    RunAll(connection, "INSERT INTO lob_keyless VALUES(1,'x','one'),(2,'y','two'),(3,'z','a'),(3,'z','b')");
    qxdb::LobLocator locator = LocatorOf(connection, "SELECT a, b, t FROM lob_keyless", 2, "lob_keyless");
    EXPECT_TRUE(locator.IsValid(true));
    EXPECT_TRUE(locator.IsReadOnly());
    const TestFile target("target", "new");
    Cells row{"2", "y", ""};
    EXPECT_EQ(FailureOf([&] { locator.Import(target.name, connection, &row); }).text,
              "The large object is read-only: lob_keyless has no key in the result");
    locator.Export(target.name, connection, &row);
    EXPECT_EQ(target.Content(), "two");
    row = {"3", "z", ""};
    EXPECT_EQ(FailureOf([&] { locator.Export(target.name, connection, &row); }).text,
              "The row of the large object can't be told from 1 other(s) in lob_keyless");
    // The key is there, but the result does not have it.
    TestTable keyed(connection, "lob_unseen", Columns());
    EXPECT_TRUE(LocatorOf(connection, "SELECT v, t FROM lob_unseen", 1, "lob_unseen").IsReadOnly());
    // Nothing to find it by, and no table at all.
    EXPECT_FALSE(LocatorOf(connection, "SELECT t FROM lob_unseen", 0, "lob_unseen").IsValid(true));
    EXPECT_FALSE(
        LocatorOf(connection,
                  OnMariaDB() ? "SELECT CAST(REPEAT('x', 2000000) AS CHAR) AS t" : "SELECT 'x'::text t", 0)
            .IsValid(true));
    EXPECT_FALSE(LocatorOf(connection, "SELECT a, t FROM lob_keyless", 0, "lob_keyless").IsValid(true));
}

TEST_P(LobLocators, Failures) {
    qxdb::Connection connection = OpenLobs(OnMariaDB());
    TestTable table(connection, "lob_failures", Columns());
    RunAll(connection, "INSERT INTO lob_failures(n, t) VALUES(1, 'kept')");
    qxdb::LobLocator locator = LocatorOf(connection, "SELECT n, t FROM lob_failures", 1, "lob_failures");
    const TestFile target("target");
    Cells row{"1", ""};
    Cells gone{"2", ""};
    Cells bad{"one", ""};
    EXPECT_EQ(FailureOf([&] { locator.Export(target.name, connection, &gone); }).text,
              "The row of the large object is not in lob_failures any more");
    EXPECT_EQ(FailureOf([&] { locator.Export(target.name, connection, &bad); }).state, "22018");
    EXPECT_EQ(FailureOf([&] { locator.Export(target.name, connection, nullptr); }).text,
              "The row of the large object can't be found without the values of its columns");
    EXPECT_EQ(FailureOf([&] { locator.Export("/no/such/folder/file", connection, &row); }).text,
              "\"/no/such/folder/file\" can't be written: No such file or directory");
    EXPECT_EQ(FailureOf([&] { locator.Import("/no/such/file", connection, &row); }).text,
              "\"/no/such/file\" can't be read: No such file or directory");
    // No failure leaves a transaction, or a change, behind.
    if (!OnMariaDB()) {
        const TestFile zeros("zeros", std::string(5000000, '\0'));
        EXPECT_EQ(FailureOf([&] { locator.Import(zeros.name, connection, &row); }).state, "22021");
        EXPECT_EQ(Rows(connection, "SELECT count(*) FROM pg_largeobject_metadata"), Lines{"0"});
    }
    locator.Export(target.name, connection, &row);
    EXPECT_EQ(target.Content(), "kept");
    RunAll(connection, "BEGIN");
    RunAll(connection, "ROLLBACK");
}

// A transaction of the user's goes on.
TEST_P(LobLocators, WithinATransaction) {
    qxdb::Connection connection = OpenLobs(OnMariaDB());
    TestTable table(connection, "lob_transaction", Columns());
    RunAll(connection, "INSERT INTO lob_transaction(n, b) VALUES(1, 'before')");
    qxdb::LobLocator locator =
        LocatorOf(connection, "SELECT n, b FROM lob_transaction", 1, "lob_transaction");
    const TestFile source("source", std::string(6000000, 'x'));
    const TestFile target("target");
    Cells row{"1", ""};
    RunAll(connection, "BEGIN");
    locator.Import(source.name, connection, &row);
    locator.Export(target.name, connection, &row);
    EXPECT_TRUE(SameContent(source.name, target.name));
    RunAll(connection, "ROLLBACK");
    locator.Export(target.name, connection, &row);
    EXPECT_EQ(target.Content(), "before");
}

// What servers get of which no more is known: one parameter, and one result.
TEST_P(LobLocators, InOnePiece) {
    using namespace qxdrivers::odbc;
    qxdb::Connection connection = OpenLobs(OnMariaDB());
    TestTable table(connection, "lob_plain", Columns());
    RunAll(connection, "INSERT INTO lob_plain(n, t, b) VALUES(1, 'old', 'old'), (2, 'other', 'other')");
    const std::shared_ptr<Session> session = Session::Open(
        OnMariaDB() ? qxtest::MariaDB("CHARSET=utf8mb4") : qxtest::Postgres("", "unlimited=lob"));
    LobPlace place;
    place.table = place.source = "lob_plain";
    Condition one;
    one.sql = " WHERE n = 1";
    Condition none;
    none.sql = " WHERE n = 5";
    const TestFile target("target");
    std::string longText;
    for (int i = 0; i < 40000; ++i) {
        longText += i % 5 == 0 ? "\xC3\xA4z" : "\xF0\x9F\x98\x80";
    }
    for (const bool isText : {true, false}) {
        place.column = isText ? "t" : "b";
        place.type.kind = isText ? ValueKind::CharacterLob : ValueKind::BinaryLob;
        const std::string bytes = isText ? someText : std::string("\0\xFF\x80\n\r'\\", 7);
        for (const std::string& content :
             {bytes, std::string(), std::string(65536, 'x'), isText ? longText : bytes + longText}) {
            const TestFile file("source", content);
            LobSource source(file.name);
            ImportByParameter(place, session, one, source);
            ExportByResult(place, session, one, target.name);
            EXPECT_EQ(target.Content().size(), content.size());
            EXPECT_TRUE(target.Content() == content);
            LobSource again(file.name);
            const std::string gone = "The row of the large object is not in lob_plain any more";
            EXPECT_EQ(FailureOf([&] { ImportByParameter(place, session, none, again); }).text, gone);
            EXPECT_EQ(FailureOf([&] { ExportByResult(place, session, none, target.name); }).text, gone);
        }
    }
    EXPECT_EQ(Rows(connection, "SELECT t, b FROM lob_plain WHERE n = 2"), Lines{"other|6F74686572"});
}

// When the clock of the session is set back it shows a time twice, and two rows look the same.
TEST_P(LobLocators, RowsOfATimeThatTheClockShowsTwice) {
    qxdb::Connection connection = OpenLobs(OnMariaDB());
    if (OnMariaDB()) {
        // The server knows no zone by name: one that goes from +02:00 to +01:00.
        RunAll(connection, "REPLACE INTO mysql.time_zone VALUES(900, 'N')");
        RunAll(connection, "REPLACE INTO mysql.time_zone_name VALUES('Qx/Twice', 900)");
        RunAll(connection,
               "REPLACE INTO mysql.time_zone_transition_type VALUES(900, 0, 7200, 1, 'QXS'), "
               "(900, 1, 3600, 0, 'QX')");
        RunAll(connection,
               "REPLACE INTO mysql.time_zone_transition VALUES(900, 1711846800, 0), "
               "(900, 1729990800, 1)");
    }
    TestTable table(
        connection, "lob_clock",
        OnMariaDB() ? "k TIMESTAMP PRIMARY KEY, t LONGTEXT" : "k timestamptz PRIMARY KEY, t text");
    RunAll(connection, OnMariaDB() ? "SET time_zone = '+00:00'" : "SET TimeZone = 'UTC'");
    RunAll(connection,
           "INSERT INTO lob_clock VALUES('2024-10-27 00:30:00', 'summer'), "
           "('2024-10-27 01:30:00', 'winter'), ('2024-10-27 02:30:00', 'later')");
    RunAll(connection, OnMariaDB() ? "SET time_zone = 'Qx/Twice'" : "SET TimeZone = 'Europe/Berlin'");
    qxdb::LobLocator locator = LocatorOf(connection, "SELECT k, t FROM lob_clock", 1, "lob_clock");
    const TestFile target("target");
    Cells row{"2024-10-27 03:30:00", ""};
    if (!OnMariaDB()) {
        row.front() += ".000000";
    }
    locator.Export(target.name, connection, &row);
    EXPECT_EQ(target.Content(), "later");
    row.front()[12] = '2';
    EXPECT_EQ(FailureOf([&] { locator.Export(target.name, connection, &row); }).text,
              "The row of the large object can't be told from 1 other(s) in lob_clock");
    RunAll(connection, "DELETE FROM lob_clock WHERE t = 'summer'");
    locator.Export(target.name, connection, &row);
    EXPECT_EQ(target.Content(), "winter");
}

// A format of the caller's that leaves something out makes texts of different times the same.
TEST_P(LobLocators, TimesInAFormatOfTheCallers) {
    qxdb::Connection connection = OpenLobs(OnMariaDB());
    TestTable table(connection, "lob_format",
                    OnMariaDB() ? "k DATETIME(3) PRIMARY KEY, n INT, t LONGTEXT"
                                : "k timestamp(3) PRIMARY KEY, n integer, t text");
    RunAll(connection, "INSERT INTO lob_format VALUES('2024-10-27 14:30:15.123', 1, 'one')");
    const std::string select = "SELECT k, n, t FROM lob_format";
    const TestFile target("target");
    const struct {
        const char* format;
        const char* text;
        bool isKey;
    } formats[] = {{"dd.MM.yyyy HH:mm:ss.fff", "27.10.2024 14:30:15.123", true},
                   {"yyyy-MM-dd HH:mm:ss", "2024-10-27 14:30:15", false},
                   {"yy-MM-dd HH:mm:ss.fff", "24-10-27 14:30:15.123", false},
                   {"yyyy-MM-dd", "2024-10-27", false}};
    for (const auto& each : formats) {
        SCOPED_TRACE(each.format);
        connection.GetProperties().SetTimestampFormat(each.format);
        qxdb::LobLocator locator = LocatorOf(connection, select, 2, "lob_format");
        EXPECT_EQ(locator.IsReadOnly(), !each.isKey);
        Cells row{each.text, "1", ""};
        locator.Export(target.name, connection, &row);
        EXPECT_EQ(target.Content(), "one");
    }
}

INSTANTIATE_TEST_SUITE_P(Each, LobLocators, testing::Values(true, false),
                         [](const auto& each) { return each.param ? "MariaDB" : "PostgreSQL"; });

TEST(LobLocator, AnEmptyOneAndOneOfAnotherDriver) {
    qxdb::Connection connection = OpenMariaDB();
    qxdb::LobLocator empty;
    EXPECT_FALSE(empty.IsValid(true));
    EXPECT_TRUE(empty.IsReadOnly());
    Cells row;
    EXPECT_THROW(empty.Export("x", connection, &row), Errors);
}

// What has no limit is a plain value unless the connection says otherwise.
TEST(LobLocator, PostgresColumnsWithoutALimit) {
    const std::string sql = "SELECT 'x'::text, 'y'::bytea, 'z'::varchar(9)";
    OpenResult plain(OpenPostgres(), sql);
    EXPECT_EQ(plain[0].GetType(), Column::BindString);
    EXPECT_EQ(plain[1].GetType(), Column::BindBinary);
    OpenResult lobs(OpenPostgres("", "unlimited=lob"), sql);
    ASSERT_TRUE(lobs.Fetch());
    EXPECT_EQ(lobs[0].GetType(), Column::BindLob);
    EXPECT_EQ(lobs[1].GetType(), Column::BindLob);
    EXPECT_EQ(lobs[2].GetType(), Column::BindString);
    EXPECT_EQ(qxtest::ReadNatively(lobs[0]), "x");
    EXPECT_EQ(qxtest::ReadNatively(lobs[1]), "y");
}

}  // namespace
