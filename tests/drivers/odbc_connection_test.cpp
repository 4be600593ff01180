// Connections to real servers, and what they tell.
#include <gtest/gtest.h>

#include "drivers/odbc_support.h"
#include "platform/qxdb/driver.h"
#include "platform/qxdb/manager.h"

namespace {

using qxtest::FailureOf;
using qxtest::OpenMariaDB;
using qxtest::OpenPostgres;
using qxtest::Rows;
using qxtest::RunAll;
using qxtest::TestServers;
using Lines = std::vector<std::string>;

qxdb::ConnectionDef Definition(const std::string& dataSource, const std::string& user = "",
                               const std::string& password = "", const std::string& options = "") {
    qxdrivers::RegisterODBC();
    return qxdb::ConnectionDef(qxdb::DBTYPE_UNSET, dataSource, user, password, "odbc", options);
}

TEST(OdbcConnection, ByDataSourceAndByDriver) {
    const std::string& password = TestServers().Get("QX_SERVERS_PASSWORD");
    EXPECT_EQ(Rows(Definition("qxmariadb", "qx", password).Connect(), "SELECT 1"), Lines{"1"});
    EXPECT_EQ(Rows(Definition(" qxpostgres ", "qx", password).Connect(), "SELECT 1"), Lines{"1"});
    for (const char* const name : {"QX_MARIADB_DRIVER", "QX_POSTGRES_DRIVER"}) {
        const std::string& text = TestServers().Get(name);
        EXPECT_EQ(Rows(Definition(text, "qx", password).Connect(), "SELECT 2"), Lines{"2"});
        EXPECT_EQ(Rows(Definition(text + ";UID=qx;PWD={" + password + "}", "nobody", "wrong").Connect(),
                       "SELECT 3"),
                  Lines{"3"});
    }
}

TEST(OdbcConnection, TellsTheServer) {
    const qxdb::Connection mariadb = OpenMariaDB();
    EXPECT_EQ(mariadb.GetServerType(), qxdb::DBTYPE_MYSQL);
    EXPECT_TRUE(mariadb.HasUnicodeSupport());
    const std::string shown = Rows(mariadb, "SELECT SUBSTRING_INDEX(VERSION(), '-', 1)").front();
    std::string expected;
    for (const char c : shown) {
        if (c != '.' || expected.find('.') == std::string::npos) {
            expected += c;
        }
    }
    EXPECT_DOUBLE_EQ(mariadb.GetServerVersionNumber(), std::stod(expected));
    EXPECT_GE(mariadb.GetServerVersionNumber(), 4.11);

    const qxdb::Connection postgres = OpenPostgres();
    EXPECT_EQ(postgres.GetServerType(), qxdb::DBTYPE_OTHER);
    EXPECT_TRUE(postgres.HasUnicodeSupport());
    const int version = std::stoi(Rows(postgres, "SHOW server_version_num").front());
    EXPECT_DOUBLE_EQ(postgres.GetServerVersionNumber(), version / 10000 + version % 10000 / 100.0);
}

TEST(OdbcConnection, AGivenTypeDoesNotHideTheDetectedOne) {
    EXPECT_EQ(OpenMariaDB("", "", qxdb::DBTYPE_OTHER).GetServerType(), qxdb::DBTYPE_MYSQL);
}

TEST(OdbcConnection, ServesEveryServerTypeButTheEmbeddedOne) {
    qxdrivers::RegisterODBC();
    qxdrivers::RegisterODBC();
    const std::shared_ptr<qxdb::Driver> driver =
        qxdb::Manager::Instance().FindDriver("odbc", qxdb::DBTYPE_UNSET);
    ASSERT_TRUE(driver);
    for (const int type : {2, 3, 4, 5, 10, 13, 14, 101}) {
        EXPECT_TRUE(driver->Serves(static_cast<qxdb::DBTYPE>(type))) << type;
    }
    for (const int type : {-1, 100, 0, 1, 6}) {
        EXPECT_FALSE(driver->Serves(static_cast<qxdb::DBTYPE>(type))) << type;
    }
}

TEST(OdbcConnection, Failures) {
    const std::string& password = TestServers().Get("QX_SERVERS_PASSWORD");
    EXPECT_EQ(FailureOf([] { Definition("no_such_source").Connect(); }).state, "IM002");
    EXPECT_EQ(FailureOf([] { Definition("no_such_source").Connect(); }).text,
              "Data source name not found and no default driver specified");
    const qxtest::Failure denied = FailureOf([] { Definition("qxmariadb", "qx", "wrong").Connect(); });
    EXPECT_EQ(denied.code, 1045);
    EXPECT_EQ(denied.text, "Access denied for user 'qx'@'localhost' (using password: YES)");
    EXPECT_NE(FailureOf([] {
                  Definition("qxpostgres", "qx", "wrong").Connect();
              }).text.find("password authentication failed for user \"qx\""),
              std::string::npos);
    EXPECT_EQ(FailureOf([] { Definition("Driver=/no/such/driver.so").Connect(); }).state, "01000");
    EXPECT_EQ(FailureOf([&] { Definition("qxmariadb", "qx", password, "nonsense").Connect(); }).state,
              "HY024");
    EXPECT_EQ(FailureOf([] { Definition("Driver={MariaDB").Connect(); }).text,
              "A \"{\" in the connection text is never closed");
}

TEST(OdbcConnection, CurrentDatabase) {
    qxdb::Connection mariadb = OpenMariaDB();
    mariadb.GetProperties().SetCurrentDatabase("mysql");
    EXPECT_EQ(Rows(mariadb, "SELECT DATABASE()"), Lines{"mysql"});
    const qxtest::Failure unknown = FailureOf([&] { mariadb.GetProperties().SetCurrentDatabase("no_such"); });
    EXPECT_EQ(unknown.code, 1049);
    EXPECT_EQ(unknown.text, "Unknown database 'no_such'");
    EXPECT_EQ(Rows(mariadb, "SELECT DATABASE()"), Lines{"mysql"});

    qxdb::Connection postgres = OpenPostgres();
    postgres.GetProperties().SetCurrentDatabase("qx");
    EXPECT_EQ(FailureOf([&] { postgres.GetProperties().SetCurrentDatabase("postgres"); }).text,
              "The connection stays in database \"qx\": the server can't change to \"postgres\"");
}

TEST(OdbcConnection, TextIsUnicodeBothWays) {
    const std::string text = "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80";
    for (const qxdb::Connection& connection : {OpenMariaDB(), OpenPostgres()}) {
        EXPECT_EQ(Rows(connection, "SELECT '" + text + "'"), Lines{text});
        qxtest::OpenResult result(connection, "SELECT 1 AS " + text.substr(0, 5));
        EXPECT_EQ(result[0].GetName(), text.substr(0, 5));
        EXPECT_EQ(FailureOf(connection, "SELECT '\xFF'").text, "The text is no UTF-8 at byte 9");
        EXPECT_EQ(FailureOf(connection, std::string("SELECT '\0'", 10)).text, "The SQL text has a zero byte");
    }
}

// A transaction that is open when the connection goes is rolled back, and does not keep it.
TEST(OdbcConnection, AnOpenTransactionEndsWithTheConnection) {
    for (const bool isMariaDB : {true, false}) {
        qxdb::Connection watcher = isMariaDB ? OpenMariaDB() : OpenPostgres();
        qxtest::TestTable table(watcher, "left_open", "a INT");
        {
            qxdb::Connection connection = isMariaDB ? OpenMariaDB() : OpenPostgres();
            RunAll(connection, "BEGIN");
            RunAll(connection, "INSERT INTO left_open VALUES(1)");
        }
        EXPECT_EQ(Rows(watcher, "SELECT COUNT(*) FROM left_open"), Lines{"0"});
    }
}

TEST(OdbcConnection, AStatementOutlivesItsConnectionHandle) {
    auto connection = std::make_unique<qxdb::Connection>(OpenPostgres());
    qxtest::OpenResult result(*connection, "SELECT n FROM generate_series(1, 3) s(n)");
    connection.reset();
    ASSERT_TRUE(result.Fetch());
    result.statement = qxdb::Statement();
    EXPECT_FALSE(result.Fetch());
}

// The engine asks a DB2 for its code set through a connection of its own; a view plays its part here.
TEST(OdbcConnection, TheCodeSetOfADatabase) {
    qxdb::Connection postgres = OpenPostgres();
    RunAll(postgres, "CREATE SCHEMA IF NOT EXISTS sysibmadm");
    RunAll(postgres, "CREATE OR REPLACE VIEW sysibmadm.dbcfg AS SELECT 'codeset' AS name, 'UTF-8' AS value");
    qxdb::ConfigurationParameters parameters =
        OpenPostgres("", "", qxdb::DBTYPE_DB2CONFIG).GetConfigurationParameters();
    EXPECT_TRUE(parameters.LoadDatabaseParameters(false, "qx"));
    ASSERT_EQ(parameters.ParameterCount(), 1);
    EXPECT_EQ(parameters.GetParameter(0).GetName(), "Database code set");
    EXPECT_EQ(parameters.GetParameter(0).GetValue(), "UTF-8");
    RunAll(postgres, "DROP SCHEMA sysibmadm CASCADE");
    EXPECT_FALSE(parameters.LoadDatabaseParameters(false, "qx"));
    EXPECT_EQ(parameters.ParameterCount(), 0);
    EXPECT_FALSE(postgres.GetConfigurationParameters().LoadDatabaseParameters(false, "qx"));
}

}  // namespace
