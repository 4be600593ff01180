// Transfers of large objects that fail: the row keeps its value, and the target its content.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <csignal>
#include <functional>
#include <future>
#include <thread>

#include "drivers/odbc/lob_export.h"
#include "drivers/odbc/lob_import.h"
#include "drivers/odbc_lob_support.h"
#include "support/files.h"

namespace {

using qxtest::Failure;
using qxtest::FailureOf;
using qxtest::LocatorOf;
using qxtest::OpenLobs;
using qxtest::OpenMariaDB;
using qxtest::OpenPostgres;
using qxtest::OwnName;
using qxtest::Rows;
using qxtest::RunAll;
using qxtest::ScratchFolder;
using qxtest::TestFile;
using qxtest::TestTable;
using Cells = std::list<std::string>;
using Lines = std::vector<std::string>;

// Waits until a query gives 1, 20 seconds at most.
bool Await(qxdb::Connection connection, const std::string& sql) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (Rows(connection, sql) != Lines{"1"}) {
        if (std::chrono::steady_clock::now() > limit) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

// A table with one row, "old" in both its large objects, a connection to look at it and one that transfers.
class LobFailures : public testing::TestWithParam<bool> {
  protected:
    bool OnMariaDB() const { return GetParam(); }

    void SetUp() override {
        std::signal(SIGPIPE, SIG_IGN);
        RunAll(watcher,
               "INSERT INTO " + OwnName("lob_failing") + " VALUES(1, 'old', 'old'), (2, 'other', 'other')");
        for (qxdb::Connection each : {watcher, locker, connection}) {
            RunAll(each, OnMariaDB() ? "SET lock_wait_timeout = 20" : "SET statement_timeout = 20000");
        }
        const std::string select = "SELECT n, t, b FROM " + OwnName("lob_failing") + " WHERE n > 5";
        locators = {LocatorOf(connection, select, 1, OwnName("lob_failing")),
                    LocatorOf(connection, select, 2, OwnName("lob_failing"))};
    }
    // The large objects of the first row, and how many objects transfers have left behind.
    Lines Values() {
        Lines values = Rows(watcher, "SELECT COUNT(*) FROM " + OwnName("lob_failing") +
                                         " WHERE n = 1 AND t = 'old' AND b = " +
                                         std::string(OnMariaDB() ? "'old'" : "'old'::bytea"));
        if (!OnMariaDB()) {
            values.push_back(Rows(watcher, "SELECT COUNT(*) FROM pg_largeobject_metadata").at(0));
        }
        return values;
    }
    Lines Unchanged() const { return OnMariaDB() ? Lines{"1"} : Lines{"1", "0"}; }

    std::string IdOf(qxdb::Connection which) const {
        return Rows(which, OnMariaDB() ? "SELECT CONNECTION_ID()" : "SELECT pg_backend_pid()").at(0);
    }
    void EndStatement(const std::string& id) {
        RunAll(watcher, OnMariaDB() ? "KILL QUERY " + id : "SELECT pg_cancel_backend(" + id + ")");
    }
    void EndConnection(const std::string& id) {
        RunAll(watcher, OnMariaDB() ? "KILL CONNECTION " + id : "SELECT pg_terminate_backend(" + id + ")");
    }
    // Waits until that connection waits for a lock, or is within the update that will.
    bool AwaitBlocked(const std::string& id) {
        return Await(watcher, OnMariaDB()
                                  ? "SELECT COUNT(*) FROM information_schema.processlist WHERE ID = " + id +
                                        " AND (STATE LIKE 'Waiting for table%' OR (COMMAND = 'Execute' AND "
                                        "INFO LIKE 'UPDATE%'))"
                                  : "SELECT COUNT(*) FROM pg_stat_activity WHERE pid = " + id +
                                        " AND wait_event_type = 'Lock'");
    }
    void LockTable() {
        RunAll(locker, OnMariaDB() ? "LOCK TABLES " + OwnName("lob_failing") + " WRITE" : "BEGIN");
        if (!OnMariaDB()) {
            RunAll(locker, "LOCK TABLE " + OwnName("lob_failing") + " IN ACCESS EXCLUSIVE MODE");
        }
    }
    void UnlockTable() { RunAll(locker, OnMariaDB() ? "UNLOCK TABLES" : "COMMIT"); }
    // In a transaction of `locker`.
    void LockRow(const std::string& sql = "SELECT n FROM " + OwnName("lob_failing") +
                                          " WHERE n = 1 FOR UPDATE") {
        RunAll(locker, "BEGIN");
        RunAll(locker, sql);
    }

    // Imports on a thread of its own, which is blocked, while `meanwhile` runs. Gives how the import fails.
    Failure ImportBlocked(unsigned int column, const std::string& file,
                          const std::function<void(const std::string& id)>& meanwhile) {
        const std::string id = IdOf(connection);
        qxdb::LobLocator locator = Locator(column);
        Failure failure;
        std::future<void> import = std::async(std::launch::async, [&] {
            Cells row = cells;
            failure = FailureOf([&] { locator.Import(file, connection, &row); });
        });
        EXPECT_TRUE(AwaitBlocked(id));
        meanwhile(id);
        EXPECT_EQ(import.wait_for(std::chrono::seconds(30)), std::future_status::ready);
        return failure;
    }
    qxdb::LobLocator Locator(unsigned int column) const { return locators.at(column - 1); }

    qxdb::Connection watcher = OpenLobs(OnMariaDB());
    TestTable table{
        watcher, OwnName("lob_failing"),
        OnMariaDB() ? "n INT PRIMARY KEY, t LONGTEXT, b LONGBLOB" : "n integer PRIMARY KEY, t text, b bytea"};
    qxdb::Connection locker = OpenLobs(OnMariaDB());
    qxdb::Connection connection = OpenLobs(OnMariaDB());
    std::vector<qxdb::LobLocator> locators;  // of t and b
    const Cells cells{"1", "", ""};
};

const std::string gone = "The row of the large object is not in " + OwnName("lob_failing") + " any more";
// In one piece, and in several on every server.
const std::size_t sizes[] = {1000, 3000000};

// --- Exports ---

TEST_P(LobFailures, AnExportThatFailsLeavesItsTarget) {
    const ScratchFolder folder;
    const std::string target = folder.File("target");
    Cells missing{"3", "", ""};
    Cells bad{"x", "", ""};
    Cells row = cells;
    for (const bool exists : {false, true}) {
        if (exists) {
            qxtest::PutFile(target, "kept");
        }
        for (const unsigned int column : {1u, 2u}) {
            qxdb::LobLocator locator = Locator(column);
            EXPECT_EQ(FailureOf([&] { locator.Export(target, connection, &missing); }).text, gone);
            EXPECT_EQ(FailureOf([&] { locator.Export(target, connection, &bad); }).state, "22018");
        }
        EXPECT_EQ(folder.Entries(), exists ? 1u : 0u);
    }
    // A connection that is lost.
    qxdb::LobLocator locator = Locator(1);
    EndConnection(IdOf(connection));
    EXPECT_NE(FailureOf([&] { locator.Export(target, connection, &row); }).text, "");
    EXPECT_EQ(qxtest::FileContent(target), "kept");
    EXPECT_EQ(folder.Entries(), 1u);
}

// The row goes, or gets company, behind the moment when it was looked for.
TEST_P(LobFailures, AnExportWhoseRowChangesMeanwhile) {
    using namespace qxdrivers::odbc;
    qxdrivers::RegisterODBC();
    const std::shared_ptr<Session> session =
        Session::Open(OnMariaDB() ? qxtest::MariaDB() : qxtest::Postgres());
    const ScratchFolder folder;
    LobPlace place;
    place.table = place.source = OwnName("lob_failing");
    RunAll(watcher, "INSERT INTO " + OwnName("lob_failing") + "(n) VALUES(4)");
    for (const std::size_t size : sizes) {
        RunAll(watcher, "UPDATE " + OwnName("lob_failing") + " SET t = repeat('x', " + std::to_string(size) +
                            "), b = " + (OnMariaDB() ? "t" : "t::bytea") + " WHERE n < 4");
        for (const bool isText : {true, false}) {
            SCOPED_TRACE(std::to_string(size) + (isText ? " text" : " bytes"));
            place.column = isText ? "t" : "b";
            place.type.kind = isText ? ValueKind::CharacterLob : ValueKind::BinaryLob;
            Condition condition;
            condition.sql = " WHERE n = 1 AND n = 2";
            EXPECT_EQ(FailureOf([&] { ExportLob(place, session, condition, folder.File("a")); }).text, gone);
            condition.sql = " WHERE n <= 2";
            const Failure two = FailureOf([&] { ExportLob(place, session, condition, folder.File("a")); });
            EXPECT_TRUE(two.text == "The row of the large object can't be told from 1 other(s) in " +
                                        OwnName("lob_failing") ||
                        two.state == "21000")
                << two.text;
            EXPECT_EQ(folder.Entries(), 0u);
            condition.sql = " WHERE n = 4";
            ExportLob(place, session, condition, folder.File("a"));
            EXPECT_EQ(std::filesystem::file_size(folder.File("a")), 0u);
            std::filesystem::remove(folder.File("a"));
        }
    }
}

// --- Imports ---

TEST_P(LobFailures, AnImportOfAFileThatIsNotThere) {
    const ScratchFolder folder;
    for (const unsigned int column : {1u, 2u}) {
        Cells row = cells;
        qxdb::LobLocator locator = Locator(column);
        EXPECT_EQ(FailureOf([&] { locator.Import(folder.File("none"), connection, &row); }).text,
                  "\"" + folder.File("none") + "\" can't be read: No such file or directory");
        EXPECT_EQ(FailureOf([&] { locator.Import(folder.Path(), connection, &row); }).text,
                  "\"" + folder.Path() + "\" can't be read: Is a directory");
    }
    EXPECT_EQ(Values(), Unchanged());
}

// A second row of the same key, which a NULL in it allows, comes behind the moment when the rows were
// counted.
TEST_P(LobFailures, AnImportWhoseRowGetsCompany) {
    using namespace qxdrivers::odbc;
    const std::shared_ptr<Session> session =
        Session::Open(OnMariaDB() ? qxtest::MariaDB() : qxtest::Postgres());
    LobPlace place;
    place.table = place.source = OwnName("lob_failing");
    Condition both;
    both.sql = " WHERE n <= 2";
    both.hasNull = true;
    for (const std::size_t size : sizes) {
        for (const bool isText : {true, false}) {
            place.column = isText ? "t" : "b";
            place.type.kind = isText ? ValueKind::CharacterLob : ValueKind::BinaryLob;
            const TestFile file("source", std::string(size, 'n'));
            LobSource source(file.name);
            EXPECT_EQ(
                FailureOf([&] { ImportLob(place, session, both, source); }).text,
                "The row of the large object can't be told from 1 other(s) in " + OwnName("lob_failing"));
        }
    }
    EXPECT_EQ(Values(), Unchanged());
    EXPECT_EQ(Rows(watcher, "SELECT t FROM " + OwnName("lob_failing") + " WHERE n = 2"), Lines{"other"});
}

// Longer than any value of the server's, and without a byte on the disk.
TEST_P(LobFailures, AnImportOfAFileThatIsTooLong) {
    const std::string longest = OnMariaDB() ? "4294967295" : "1073741819";
    const TestFile source("source", "");
    std::filesystem::resize_file(source.name, std::stoull(longest) + 1);
    Cells row = cells;
    const Failure failure = FailureOf([&] { Locator(2).Import(source.name, connection, &row); });
    EXPECT_EQ(failure.text, "\"" + source.name + "\" has " + std::to_string(std::stoull(longest) + 1) +
                                " bytes, and the longest value that the server has is one of " + longest);
    EXPECT_EQ(failure.state, "54000");
    EXPECT_EQ(Values(), Unchanged());
}

TEST_P(LobFailures, AnImportOfAFileThatChangesMeanwhile) {
    for (const std::size_t size : sizes) {
        for (const std::size_t later : {size / 2, size + 1}) {
            for (const unsigned int column : {1u, 2u}) {
                SCOPED_TRACE(std::to_string(size) + " " + std::to_string(later));
                const TestFile source("source", std::string(size, 'n'));
                LockTable();
                const Failure failure = ImportBlocked(column, source.name, [&](const std::string&) {
                    std::filesystem::resize_file(source.name, later);
                    UnlockTable();
                });
                EXPECT_EQ(failure.text.find("\"" + source.name + "\" has changed while it was read: it had " +
                                            std::to_string(size) + " bytes, and then "),
                          0u)
                    << failure.text;
                EXPECT_EQ(failure.state, "58030");
            }
        }
    }
    EXPECT_EQ(Values(), Unchanged());
    // The connection serves on.
    EXPECT_EQ(Rows(connection, "SELECT 1"), Lines{"1"});
}

TEST_P(LobFailures, AnImportWhoseConnectionIsKilledBetweenPieces) {
    const ScratchFolder folder;
    const std::string pipe = folder.File("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const std::string id = IdOf(connection);
    qxdb::LobLocator locator = Locator(2);
    std::future<void> writer = std::async(std::launch::async, [&] {
        std::ofstream file(pipe, std::ios::binary);
        const std::string piece(1000000, 'n');
        // The pipe holds 64 KiB: when this is written, all before that has been read.
        file << piece << std::flush;
        EndConnection(id);
        file << piece << std::flush;
    });
    Cells row = cells;
    EXPECT_NE(FailureOf([&] { locator.Import(pipe, connection, &row); }).text, "");
    EXPECT_EQ(writer.wait_for(std::chrono::seconds(30)), std::future_status::ready);
    EXPECT_EQ(Values(), Unchanged());
}

// A pipe that is read to its end.
TEST_P(LobFailures, AnImportFromAPipe) {
    const ScratchFolder folder;
    const std::string pipe = folder.File("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (const std::size_t size : sizes) {
        std::future<void> writer = std::async(
            std::launch::async, [&] { std::ofstream(pipe, std::ios::binary) << std::string(size, 'n'); });
        Cells row = cells;
        Locator(1).Import(pipe, connection, &row);
        writer.get();
        EXPECT_EQ(Rows(watcher, "SELECT OCTET_LENGTH(t) FROM " + OwnName("lob_failing") + " WHERE n = 1"),
                  Lines{std::to_string(size)});
    }
}

TEST_P(LobFailures, AnImportThatWaitsForARow) {
    for (const std::size_t size : sizes) {
        SCOPED_TRACE(size);
        const TestFile source("source", std::string(size, 'n'));
        // Cancelled.
        LockRow();
        Failure failure = ImportBlocked(2, source.name, [&](const std::string& id) { EndStatement(id); });
        EXPECT_EQ(failure.code, OnMariaDB() ? 1317 : 1) << failure.text;
        EXPECT_EQ(failure.state, OnMariaDB() ? "HY018" : "57014") << failure.text;
        RunAll(locker, "ROLLBACK");
        EXPECT_EQ(Values(), Unchanged());
        // The row gets another key, or goes.
        for (const std::string& change : {"UPDATE " + OwnName("lob_failing") + " SET n = 7 WHERE n = 1",
                                          "DELETE FROM " + OwnName("lob_failing") + " WHERE n = 1"}) {
            LockRow(change);
            failure = ImportBlocked(2, source.name, [&](const std::string&) { RunAll(locker, "COMMIT"); });
            EXPECT_EQ(failure.text, gone);
            EXPECT_EQ(failure.state, "02000");
            RunAll(watcher, "DELETE FROM " + OwnName("lob_failing") + " WHERE n = 7");
            RunAll(watcher, "INSERT INTO " + OwnName("lob_failing") + " VALUES(1, 'old', 'old')");
        }
        EXPECT_EQ(Values(), Unchanged());
        EXPECT_EQ(Rows(watcher, "SELECT t FROM " + OwnName("lob_failing") + " WHERE n = 2"), Lines{"other"});
    }
    // Killed at last.
    const TestFile source("source", std::string(sizes[1], 'n'));
    LockRow();
    EXPECT_NE(ImportBlocked(1, source.name, [&](const std::string& id) { EndConnection(id); }).text, "");
    RunAll(locker, "ROLLBACK");
    EXPECT_EQ(Values(), Unchanged());
}

// The server's own limit.
TEST_P(LobFailures, AnImportThatWaitsForARowTooLong) {
    const TestFile source("source", "new");
    RunAll(connection, OnMariaDB() ? "SET innodb_lock_wait_timeout = 1" : "SET lock_timeout = 1000");
    LockRow();
    const Failure failure = ImportBlocked(1, source.name, [](const std::string&) {});
    EXPECT_EQ(failure.state, OnMariaDB() ? "HY000" : "55P03") << failure.text;
    EXPECT_EQ(failure.code, OnMariaDB() ? 1205 : 1);
    RunAll(locker, "ROLLBACK");
    EXPECT_EQ(Values(), Unchanged());
}

// A value that the row has already is no row that has gone.
TEST_P(LobFailures, AnImportOfTheSameValue) {
    const TestFile source("source", "old");
    const TestFile target("target");
    Cells row = cells;
    for (const unsigned int column : {1u, 2u}) {
        qxdb::LobLocator locator = Locator(column);
        locator.Import(source.name, connection, &row);
        locator.Export(target.name, connection, &row);
        EXPECT_EQ(target.Content(), "old");
    }
}

// What fails in a transaction of the user's is taken back by itself.
TEST_P(LobFailures, AnImportInATransactionOfTheUsers) {
    Cells row = cells;
    Cells missing{"3", "", ""};
    for (const std::size_t size : sizes) {
        const TestFile broken("source", std::string(size, 'n') + "\xC3\x28");
        RunAll(connection, "BEGIN");
        RunAll(connection, "UPDATE " + OwnName("lob_failing") + " SET t = 'changed' WHERE n = 2");
        qxdb::LobLocator locator = Locator(1);
        EXPECT_NE(FailureOf([&] { locator.Import(broken.name, connection, &row); }).text, "");
        EXPECT_EQ(Rows(connection, "SELECT t FROM " + OwnName("lob_failing") + " ORDER BY n"),
                  (Lines{"old", "changed"}));
        RunAll(connection, "COMMIT");
        EXPECT_EQ(Rows(watcher, "SELECT t FROM " + OwnName("lob_failing") + " ORDER BY n"),
                  (Lines{"old", "changed"}));
        RunAll(watcher, "UPDATE " + OwnName("lob_failing") + " SET t = 'other' WHERE n = 2");
        EXPECT_EQ(Values(), Unchanged());
    }
}

INSTANTIATE_TEST_SUITE_P(Each, LobFailures, testing::Values(true, false),
                         [](const auto& each) { return each.param ? "MariaDB" : "PostgreSQL"; });

}  // namespace
