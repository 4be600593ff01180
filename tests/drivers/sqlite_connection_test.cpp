#include <gtest/gtest.h>
#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "drivers/sqlite/sqlite_driver.h"
#include "drivers/sqlite_support.h"
#include "platform/qxdb/driver.h"
#include "platform/qxdb/manager.h"

namespace {

using qxtest::FailureOf;
using qxtest::Open;
using qxtest::Rows;
using qxtest::RunAll;
using Results = std::vector<std::vector<std::string>>;
using Lines = std::vector<std::string>;

void MakeTable(const std::string& file) {
    RunAll(Open(file, "create"), "CREATE TABLE t(a INT)");
}

TEST(SQLiteConnection, MemoryDatabasesAreSeparate) {
    qxdb::Connection first = Open(":memory:");
    qxdb::Connection second = Open(":memory:");
    RunAll(first, "CREATE TABLE t(a INT); INSERT INTO t VALUES(1)");
    EXPECT_EQ(Rows(first, "SELECT a FROM t"), Lines{"1"});
    EXPECT_EQ(FailureOf(second, "SELECT a FROM t").text, "no such table: t");
}

TEST(SQLiteConnection, EmptyNameIsAPrivateTemporaryDatabase) {
    qxdb::Connection connection = Open("");
    RunAll(connection, "CREATE TABLE t(a INT); INSERT INTO t VALUES(7)");
    EXPECT_EQ(Rows(connection, "SELECT a FROM t"), Lines{"7"});
}

TEST(SQLiteConnection, DriverIsFoundByNameAndByServerType) {
    qxdrivers::RegisterSQLite();
    qxdb::Manager& manager = qxdb::Manager::Instance();
    ASSERT_NE(manager.FindDriver("sqlite", qxdb::DBTYPE_UNSET), nullptr);
    EXPECT_EQ(manager.FindDriver("sqlite", qxdb::DBTYPE_UNSET)->GetName(), "sqlite");
    EXPECT_NE(manager.FindDriver("", qxdb::DBTYPE_SQLITE), nullptr);
    EXPECT_EQ(manager.FindDriver("", qxdb::DBTYPE_ORACLE), nullptr);
    EXPECT_EQ(manager.FindDriver("nosuch", qxdb::DBTYPE_SQLITE), nullptr);
}

TEST(SQLiteConnection, RegisteringTwiceLeavesOneDriver) {
    qxdrivers::RegisterSQLite();
    qxdrivers::RegisterSQLite();
    const Lines names = qxdb::Manager::Instance().GetDriverNames();
    EXPECT_EQ(std::count(names.begin(), names.end(), "sqlite"), 1);
}

TEST(SQLiteConnection, UnknownDriverIsAnsweredWithTheRegisteredOnes) {
    qxdrivers::RegisterSQLite();
    qxdb::Manager& manager = qxdb::Manager::Instance();
    const auto connect = [&](qxdb::DBTYPE type, const char* driver) {
        return FailureOf([&] { manager.Bind(type, "x", "", "", driver, "").Connect(); }).text;
    };
    EXPECT_EQ(connect(qxdb::DBTYPE_SQLITE, "nosuch"),
              "Unknown driver \"nosuch\"; registered drivers: sqlite");
    EXPECT_EQ(connect(qxdb::DBTYPE_ORACLE, ""), "No driver for server type 5; registered drivers: sqlite");
}

TEST(SQLiteConnection, EmptyHandlesRefuse) {
    EXPECT_EQ(FailureOf([] { qxdb::Connection().GetServerVersionNumber(); }).text,
              "The connection handle is empty");
    EXPECT_EQ(FailureOf([] { qxdb::Statement().Execute(); }).text, "The statement handle is empty");
    EXPECT_EQ(FailureOf([] { qxdb::Cursor().Fetch(qxdb::Cursor::DirectionNext, 1); }).text,
              "The cursor handle is empty");
    EXPECT_EQ(FailureOf([] { qxdb::BindValue().GetSchema(); }).text, "The binding handle is empty");
    qxdb::Statement().Cancel();  // never throws
}

TEST(SQLiteConnection, MissingFileIsRefusedAndNotCreated) {
    const qxtest::TempFolder folder;
    const std::string file = folder.File("missing.db");
    const qxtest::Failure failure = FailureOf([&] { Open(file); });
    EXPECT_EQ(failure.text, "The database \"" + file + "\" can't be opened: the file does not exist");
    EXPECT_EQ(failure.code, SQLITE_CANTOPEN);
    EXPECT_EQ(failure.state, "08001");
    EXPECT_EQ(failure.severity, 2);
    EXPECT_FALSE(std::filesystem::exists(file));
}

TEST(SQLiteConnection, CreateOptionMakesTheFile) {
    const qxtest::TempFolder folder;
    const std::string file = folder.File("new.db");
    MakeTable(file);
    EXPECT_EQ(Rows(Open(file), "SELECT count(*) FROM t"), Lines{"0"});
    EXPECT_NE(FailureOf([&] { Open(folder.File("none/new.db"), "create"); }).text.find("none/new.db"),
              std::string::npos);
}

TEST(SQLiteConnection, CreateWithReadOnlyCreatesNothing) {
    const qxtest::TempFolder folder;
    const std::string file = folder.File("new.db");
    FailureOf([&] { Open(file, "create,readonly"); });
    EXPECT_FALSE(std::filesystem::exists(file));
}

TEST(SQLiteConnection, NamesThatLookLikeUrisAreFileNames) {
    const qxtest::TempFolder folder;
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder.File(""));
    MakeTable("file:odd.db?mode=memory");
    MakeTable(":odd");
    EXPECT_TRUE(std::filesystem::exists("file:odd.db?mode=memory"));
    EXPECT_TRUE(std::filesystem::exists(":odd"));
    std::filesystem::current_path(before);
}

TEST(SQLiteConnection, NameWithZeroByteIsRefused) {
    EXPECT_EQ(FailureOf([] { Open(std::string("a\0b", 3)); }).text,
              "The database \"a\" can't be opened: its name has a zero byte");
}

TEST(SQLiteConnection, DirectoryIsRefused) {
    const qxtest::TempFolder folder;
    const std::string name = folder.File("");
    EXPECT_EQ(FailureOf([&] { Open(name); }).text,
              "The database \"" + name + "\" can't be opened: it is a directory");
}

TEST(SQLiteConnection, FileThatIsNoDatabaseIsRefused) {
    const qxtest::TempFolder folder;
    const std::string file = folder.File("text.db");
    std::ofstream(file) << std::string(5000, 'x');
    const qxtest::Failure failure = FailureOf([&] { Open(file); });
    EXPECT_EQ(failure.text, "The database \"" + file + "\" can't be opened: file is not a database");
    EXPECT_EQ(failure.code, SQLITE_NOTADB);
}

TEST(SQLiteConnection, EmptyFileIsAnEmptyDatabase) {
    const qxtest::TempFolder folder;
    const std::string file = folder.File("empty.db");
    std::ofstream(file).close();
    EXPECT_EQ(Rows(Open(file), "SELECT count(*) FROM sqlite_master"), Lines{"0"});
}

void MakeManyPages(const std::string& file) {
    MakeTable(file);
    RunAll(Open(file),
           "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 5000) "
           "INSERT INTO t SELECT i FROM n");
}

TEST(SQLiteConnection, TruncatedFileIsRefused) {
    const qxtest::TempFolder folder;
    const std::string file = folder.File("cut.db");
    MakeManyPages(file);
    std::filesystem::resize_file(file, std::filesystem::file_size(file) / 2 / 4096 * 4096);
    const qxtest::Failure failure = FailureOf([&] { Open(file); });
    EXPECT_EQ(failure.code & 0xFF, SQLITE_CORRUPT);
    EXPECT_EQ(failure.state, "XX001");
    EXPECT_EQ(failure.text,
              "The database \"" + file + "\" can't be opened: database disk image is malformed");
}

TEST(SQLiteConnection, DamagedPageIsReportedByTheReadThatMeetsIt) {
    const qxtest::TempFolder folder;
    const std::string file = folder.File("damaged.db");
    MakeManyPages(file);
    {
        std::fstream stream(file, std::ios::in | std::ios::out | std::ios::binary);
        stream.seekp(static_cast<std::streamoff>(std::filesystem::file_size(file)) - 4096);
        stream << std::string(4096, '\xFF');
    }
    qxdb::Connection connection = Open(file);
    const qxtest::Failure failure = FailureOf(connection, "SELECT 1;\n SELECT sum(a) FROM t");
    EXPECT_EQ(failure.code & 0xFF, SQLITE_CORRUPT);
    EXPECT_EQ(failure.state, "XX001");
    EXPECT_EQ(failure.text, "database disk image is malformed");
    EXPECT_EQ(failure.line, 2);
    EXPECT_EQ(Rows(connection, "SELECT 1"), Lines{"1"});
}

TEST(SQLiteConnection, ReadOnlyOptionRefusesWrites) {
    const qxtest::TempFolder folder;
    const std::string file = folder.File("a.db");
    MakeTable(file);
    qxdb::Connection connection = Open(file, "READONLY");
    EXPECT_EQ(Rows(connection, "SELECT count(*) FROM t"), Lines{"0"});
    const qxtest::Failure failure = FailureOf(connection, "INSERT INTO t VALUES(1)");
    EXPECT_EQ(failure.code, SQLITE_READONLY);
    EXPECT_EQ(failure.state, "25006");
}

// Takes the right to write everywhere away from the test, which may run as root.
class OtherUser {
  public:
    OtherUser() : before(geteuid()) {
        if (before == 0) {
            EXPECT_EQ(seteuid(65534), 0);
        }
    }
    ~OtherUser() {
        if (before == 0) {
            EXPECT_EQ(seteuid(before), 0);
        }
    }

  private:
    uid_t before;
};

TEST(SQLiteConnection, FileWithoutWritePermissionIsOpenedForReading) {
    const qxtest::TempFolder folder;
    const std::string file = folder.File("a.db");
    MakeTable(file);
    std::filesystem::permissions(file, std::filesystem::perms::owner_read |
                                           std::filesystem::perms::group_read |
                                           std::filesystem::perms::others_read);
    const OtherUser user;
    qxdb::Connection connection = Open(file);
    EXPECT_EQ(Rows(connection, "SELECT count(*) FROM t"), Lines{"0"});
    EXPECT_EQ(FailureOf(connection, "INSERT INTO t VALUES(1)").code, SQLITE_READONLY);
}

TEST(SQLiteConnection, OptionsThatAreNotKnownAreNamed) {
    struct Case {
        const char* options;
        const char* text;
    };
    const Case cases[] = {
        {"creat", "Unknown option \"creat\"; known are create, readonly, timeout=MS and unlimited=lob"},
        {"create=1", "Unknown option \"create=1\"; known are create, readonly, timeout=MS and unlimited=lob"},
        {"create; cache=shared",
         "Unknown option \"cache=shared\"; known are create, readonly, timeout=MS and unlimited=lob"},
        {"unlimited",
         "Unknown option \"unlimited\"; known are create, readonly, timeout=MS and unlimited=lob"},
        {"unlimited=text",
         "Unknown option \"unlimited=text\"; known are create, readonly, timeout=MS and unlimited=lob"},
        {"timeout", "Unknown option \"timeout\"; known are create, readonly, timeout=MS and unlimited=lob"},
        {"timeout=", "The option \"timeout=\" has no number of milliseconds"},
        {"timeout=5s", "The option \"timeout=5s\" has no number of milliseconds"},
        {"timeout=-1", "The option \"timeout=-1\" has no number of milliseconds"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(FailureOf([&] { Open(":memory:", c.options); }).text, c.text);
    }
}

TEST(SQLiteConnection, OptionsMayBeSeparatedByBlanksCommasAndSemicolons) {
    for (const char* options :
         {"Create", " create ;timeout=10", "timeout=99999999999999999999,create", " ; "}) {
        EXPECT_NO_THROW(Open(":memory:", options)) << options;
    }
}

TEST(SQLiteConnection, VersionIsMajorPointAllOtherDigits) {
    const std::string version = sqlite3_libversion();  // such as 3.40.1
    std::string digits;
    for (const char c : version) {
        if (c != '.') {
            digits += c;
        }
    }
    EXPECT_DOUBLE_EQ(Open(":memory:").GetServerVersionNumber(), std::stod("3." + digits.substr(1)));
    EXPECT_TRUE(Open(":memory:").HasUnicodeSupport());
}

TEST(SQLiteConnection, CurrentDatabaseIsAnAttachedOne) {
    qxdb::Connection connection = Open(":memory:");
    RunAll(connection, "ATTACH ':memory:' AS Other");
    EXPECT_NO_THROW(connection.GetProperties().SetCurrentDatabase("main"));
    EXPECT_NO_THROW(connection.GetProperties().SetCurrentDatabase("OTHER"));
    const qxtest::Failure failure =
        FailureOf([&] { connection.GetProperties().SetCurrentDatabase("nosuch"); });
    EXPECT_EQ(failure.text, "Unknown database \"nosuch\": it is not attached");
    EXPECT_EQ(failure.state, "3D000");
}

TEST(SQLiteConnection, HasNoConfigurationToRead) {
    qxdb::ConfigurationParameters parameters = Open(":memory:").GetConfigurationParameters();
    EXPECT_FALSE(parameters.LoadDatabaseParameters(false, "main"));
    EXPECT_EQ(parameters.ParameterCount(), 0);
    EXPECT_THROW(parameters.GetParameter(0), std::out_of_range);
}

TEST(SQLiteConnection, StatementOutlivesItsConnectionHandle) {
    qxdb::Statement statement = Open(":memory:").CreateStatement(qxdb::CursorDefault, 1);
    statement.SetStatement("SELECT 5");
    statement.Execute();
    ASSERT_TRUE(statement.ResultSetAvailable());
    qxdb::Cursor cursor = statement.GetResults(1, "");
    statement = qxdb::Statement();
    qxdb::BindValue binding = cursor.Bind();
    qxdb::Fields fields(binding, false, {}, false, nullptr);
    ASSERT_TRUE(cursor.Fetch(qxdb::Cursor::DirectionNext, 1));
    EXPECT_EQ(fields[0].AsBigInt(), 5);
    cursor = qxdb::Cursor();
    binding = qxdb::BindValue();
    EXPECT_EQ(fields[0].AsBigInt(), 5);
}

}  // namespace
