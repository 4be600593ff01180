// Large objects of real servers that are too large for memory, and for a packet of the server's.
#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/stat.h>

#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <future>
#include <iostream>

#include "drivers/odbc/lob_import.h"
#include "drivers/odbc_lob_support.h"
#include "support/process_status.h"

namespace {

using qxtest::FailureOf;
using qxtest::LocatorOf;
using qxtest::memoryCounts;
using qxtest::OpenAs;
using qxtest::OpenLobs;
using qxtest::OpenMariaDB;
using qxtest::OpenWithPacket;
using qxtest::OwnName;
using qxtest::PacketLimit;
using qxtest::Rows;
using qxtest::RunAll;
using qxtest::SameContent;
using qxtest::TestFile;
using qxtest::TestTable;
using Cells = std::list<std::string>;
using Lines = std::vector<std::string>;

constexpr long allowedMiB = 32;

// The growth of the process from here, at its peak.
class PeakMemory {
  public:
    PeakMemory() {
        malloc_trim(0);  // what was free before counts as growth when it is used again
        std::ofstream("/proc/self/clear_refs") << "5";
        start = Peak();
    }
    double GrowthMiB() const { return memoryCounts ? static_cast<double>(Peak() - start) / 1024 : 0; }

  private:
    static long Peak() { return qxtest::ProcessStatus("VmHWM:"); }

    long start = 0;
};

// How many bytes a large value has: QX_LOB_BYTES in the environment, such as 1000000000, else those given.
std::size_t LargeSize(std::size_t usual) {
    const char* const text = std::getenv("QX_LOB_BYTES");
    return text ? std::strtoull(text, nullptr, 10) : usual;
}

// Bytes that don't repeat.
void WriteBytes(const std::string& name, std::size_t size) {
    std::ofstream file(name, std::ios::binary);
    std::vector<std::uint64_t> block(128 * 1024);
    std::uint64_t state = 88172645463325252;
    for (std::size_t written = 0; written < size;) {
        for (std::uint64_t& word : block) {
            state ^= state << 13;
            state ^= state >> 7;
            state ^= state << 17;
            word = state;
        }
        const std::size_t count = std::min(block.size() * sizeof block[0], size - written);
        file.write(reinterpret_cast<const char*>(block.data()), static_cast<std::streamsize>(count));
        written += count;
    }
}

// Characters of two, three and four bytes, at another place in each piece.
void WriteText(const std::string& name, std::size_t size) {
    const std::string line = "\xC3\xA4 line \xF0\x9F\x98\x80 of \xE2\x82\xAC\n";
    std::string block;
    while (block.size() < 1024 * 1024) {
        block += line;
    }
    std::ofstream file(name, std::ios::binary);
    std::size_t written = 0;
    for (; written + block.size() <= size; written += block.size()) {
        file << block;
    }
    file << std::string(size - written, 'x');
}

// There and back, with what it takes. The file is then as it was.
void CheckTransfer(qxdb::Connection connection, const std::string& table, unsigned int column,
                   std::size_t size) {
    const TestFile source("source");
    const TestFile target("target");
    column == 1 ? WriteText(source.name, size) : WriteBytes(source.name, size);
    const std::string select = "SELECT n, t, b FROM " + table + " WHERE n > 1";
    qxdb::LobLocator locator = LocatorOf(connection, select, column, table);
    Cells row{"1", "", ""};
    for (const bool import : {true, false}) {
        const PeakMemory memory;
        const auto start = std::chrono::steady_clock::now();
        import ? locator.Import(source.name, connection, &row)
               : locator.Export(target.name, connection, &row);
        const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
        EXPECT_LT(memory.GrowthMiB(), allowedMiB) << size << " " << import;
        if (std::getenv("QX_LOB_BYTES")) {
            std::cout << (column == 1 ? "text" : "bytes") << (import ? " import " : " export ") << size
                      << " bytes: " << seconds.count() << " s, " << memory.GrowthMiB() << " MiB\n";
        }
    }
    EXPECT_TRUE(SameContent(source.name, target.name)) << size;
}

class LargeLobs : public testing::TestWithParam<bool> {
  protected:
    bool OnMariaDB() const { return GetParam(); }
    std::string Columns() const {
        return OnMariaDB() ? "n INT PRIMARY KEY, t LONGTEXT, b LONGBLOB"
                           : "n integer PRIMARY KEY, t text, b bytea";
    }
};

TEST_P(LargeLobs, GoInPieces) {
    qxdb::Connection connection = OpenLobs(OnMariaDB());
    TestTable table(connection, OwnName("lob_large"), Columns());
    RunAll(connection, "INSERT INTO " + OwnName("lob_large") + "(n, t, b) VALUES(1, '', '')");
    CheckTransfer(connection, OwnName("lob_large"), 2, LargeSize(48000000));
    RunAll(connection, "UPDATE " + OwnName("lob_large") + " SET b = NULL");
    CheckTransfer(connection, OwnName("lob_large"), 1, LargeSize(48000000));
}

INSTANTIATE_TEST_SUITE_P(Each, LargeLobs, testing::Values(true, false),
                         [](const auto& each) { return each.param ? "MariaDB" : "PostgreSQL"; });

// --- Longer than a packet of MariaDB's ---

// The server loads no files of its clients.
class NoLocalFiles {
  public:
    NoLocalFiles() { RunAll(owner, "SET GLOBAL local_infile = 0"); }
    ~NoLocalFiles() { RunAll(owner, "SET GLOBAL local_infile = 1"); }
    NoLocalFiles(const NoLocalFiles&) = delete;
    NoLocalFiles& operator=(const NoLocalFiles&) = delete;

  private:
    qxdb::Connection owner = OpenMariaDB();
};

constexpr std::size_t packet = 1024 * 1024;
const std::string packetColumns = "n INT PRIMARY KEY, t LONGTEXT, b LONGBLOB";

TEST(LobsLongerThanAPacket, GoThereAndBack) {
    qxdb::Connection connection = OpenWithPacket(packet);
    TestTable table(connection, OwnName("lob_packets"), packetColumns);
    RunAll(connection, "INSERT INTO " + OwnName("lob_packets") + " VALUES(1, '', ''), (2, 'other', 'other')");
    for (const std::size_t size : {packet - 1, packet, packet + 1, 5 * packet + 7}) {
        for (const unsigned int column : {1u, 2u}) {
            CheckTransfer(connection, OwnName("lob_packets"), column, size);
        }
    }
    EXPECT_EQ(Rows(connection, "SELECT t FROM " + OwnName("lob_packets") + " WHERE n = 2"), Lines{"other"});
    // Nothing of the driver's own is left.
    EXPECT_EQ(FailureOf(connection, "SELECT * FROM qxodbc_lob").code, 1146);
    EXPECT_EQ(Rows(connection, "SELECT @qxodbc_lob IS NULL AND @qxodbc_mode IS NULL"), Lines{"1"});
}

// Names of files are quoted as the server reads them, whatever its mode.
TEST(LobsLongerThanAPacket, FilesOfAnyName) {
    qxdb::Connection connection = OpenWithPacket(packet);
    TestTable table(connection, OwnName("lob_packets"), packetColumns);
    RunAll(connection, "INSERT INTO " + OwnName("lob_packets") + " VALUES(1, '', '')");
    qxdb::LobLocator locator =
        LocatorOf(connection, "SELECT n, t, b FROM " + OwnName("lob_packets") + " WHERE n > 1", 2,
                  OwnName("lob_packets"));
    Cells row{"1", "", ""};
    for (const char* const mode : {"", "NO_BACKSLASH_ESCAPES", "PIPES_AS_CONCAT,ANSI_QUOTES"}) {
        RunAll(connection, std::string("SET sql_mode = '") + mode + "'");
        const TestFile source("it's \\n \"\xC3\xA4\" %s", std::string(packet + 1, 'n'));
        RunAll(connection, "UPDATE " + OwnName("lob_packets") + " SET b = ''");
        locator.Import(source.name, connection, &row);
        EXPECT_EQ(Rows(connection, "SELECT OCTET_LENGTH(b) FROM " + OwnName("lob_packets")),
                  Lines{std::to_string(packet + 1)});
        EXPECT_EQ(Rows(connection, "SELECT @@sql_mode"), Lines{mode});
    }
}

TEST(LobsLongerThanAPacket, AreRefusedWithoutLocalFiles) {
    qxdb::Connection connection = OpenWithPacket(packet);
    TestTable table(connection, OwnName("lob_packets"), packetColumns);
    RunAll(connection, "INSERT INTO " + OwnName("lob_packets") + " VALUES(1, 'old', 'old')");
    const NoLocalFiles none;
    const TestFile fits("fits", std::string(packet, 'n'));
    const TestFile tooLong("long", std::string(packet + 1, 'n'));
    Cells row{"1", "", ""};
    for (const unsigned int column : {1u, 2u}) {
        qxdb::LobLocator locator =
            LocatorOf(connection, "SELECT n, t, b FROM " + OwnName("lob_packets") + " WHERE n > 1", column,
                      OwnName("lob_packets"));
        const qxtest::Failure failure = FailureOf([&] { locator.Import(tooLong.name, connection, &row); });
        EXPECT_EQ(failure.text,
                  "\"" + tooLong.name +
                      "\" has 1048577 bytes, of which the server takes 1048576 at once "
                      "(max_allowed_packet), and LOAD DATA LOCAL is not allowed (local_infile)");
        EXPECT_EQ(failure.state, "54000");
        EXPECT_EQ(Rows(connection,
                       "SELECT COUNT(*) FROM " + OwnName("lob_packets") + " WHERE t = 'old' AND b = 'old'"),
                  Lines{"1"});
    }
    LocatorOf(connection, "SELECT n, t, b FROM " + OwnName("lob_packets") + " WHERE n > 1", 1,
              OwnName("lob_packets"))
        .Import(fits.name, connection, &row);
    EXPECT_EQ(Rows(connection, "SELECT OCTET_LENGTH(t) FROM " + OwnName("lob_packets")),
              Lines{std::to_string(packet)});
}

TEST(LobsLongerThanAPacket, AreRefusedWithoutTemporaryTables) {
    qxdb::Connection owner = OpenMariaDB();
    TestTable table(owner, OwnName("lob_packets"), packetColumns);
    RunAll(owner, "INSERT INTO " + OwnName("lob_packets") + " VALUES(1, 'old', 'old')");
    RunAll(owner, "DROP USER IF EXISTS qx_lob_writer@localhost");
    RunAll(owner, "CREATE USER qx_lob_writer@localhost IDENTIFIED BY 'writing'");
    RunAll(owner, "GRANT SELECT, UPDATE ON qx." + OwnName("lob_packets") + " TO qx_lob_writer@localhost");
    {
        qxdb::Connection writer = OpenWithPacket(packet, "UID=qx_lob_writer;PWD=writing");
        const TestFile tooLong("long", std::string(packet + 1, 'n'));
        Cells row{"1", "", ""};
        qxdb::LobLocator locator =
            LocatorOf(writer, "SELECT n, t, b FROM " + OwnName("lob_packets") + " WHERE n > 1", 1,
                      OwnName("lob_packets"));
        EXPECT_EQ(FailureOf([&] { locator.Import(tooLong.name, writer, &row); }).text,
                  "\"" + tooLong.name +
                      "\" has 1048577 bytes, of which the server takes 1048576 at once (max_allowed_packet), "
                      "and a temporary table can't be made: Access denied for user "
                      "'qx_lob_writer'@'localhost' to database 'qx'");
    }
    EXPECT_EQ(Rows(owner, "SELECT t FROM " + OwnName("lob_packets")), Lines{"old"});
    RunAll(owner, "DROP USER qx_lob_writer@localhost");
}

// Of a pipe nobody knows how long it is. The server refuses what is too long.
TEST(LobsLongerThanAPacket, FromAPipe) {
    qxdb::Connection connection = OpenWithPacket(packet);
    TestTable table(connection, OwnName("lob_packets"), packetColumns);
    RunAll(connection, "INSERT INTO " + OwnName("lob_packets") + " VALUES(1, 'old', 'old')");
    const TestFile pipe("pipe");
    ASSERT_EQ(mkfifo(pipe.name.c_str(), 0600), 0);
    std::signal(SIGPIPE, SIG_IGN);
    Cells row{"1", "", ""};
    for (const unsigned int column : {1u, 2u}) {
        qxdb::LobLocator locator =
            LocatorOf(connection, "SELECT n, t, b FROM " + OwnName("lob_packets") + " WHERE n > 1", column,
                      OwnName("lob_packets"));
        std::future<void> writer = std::async(std::launch::async, [&] {
            std::ofstream(pipe.name, std::ios::binary) << std::string(packet + 1, 'n');
        });
        EXPECT_NE(FailureOf([&] { locator.Import(pipe.name, connection, &row); }).text, "");
        writer.get();
        EXPECT_EQ(Rows(connection,
                       "SELECT COUNT(*) FROM " + OwnName("lob_packets") + " WHERE t = 'old' AND b = 'old'"),
                  Lines{"1"});
    }
}

// The client library reads the file, and not this library.
TEST(LobsLongerThanAPacket, FilesThatChangeMeanwhile) {
    using namespace qxdrivers::odbc;
    qxdb::Connection owner = OpenMariaDB();
    RunAll(owner, "DO GET_LOCK('qx_local_files', 60)");
    TestTable table(owner, OwnName("lob_packets"), packetColumns);
    RunAll(owner, "INSERT INTO " + OwnName("lob_packets") + " VALUES(1, 'old', 'old')");
    std::shared_ptr<Session> session;
    {
        const PacketLimit limit(packet);
        session = Session::Open(qxtest::MariaDB());
    }
    LobPlace place;
    place.table = place.source = OwnName("lob_packets");
    place.column = "b";
    place.type.kind = ValueKind::BinaryLob;
    Condition condition;
    condition.sql = " WHERE n = 1";
    for (const std::size_t later : {packet / 2, 2 * packet}) {
        const TestFile file("source", std::string(packet + 1, 'n'));
        LobSource source(file.name);
        std::filesystem::resize_file(file.name, later);
        EXPECT_EQ(FailureOf([&] { ImportLob(place, session, condition, source); }).text,
                  "\"" + file.name + "\" has changed while it was read: it had 1048577 bytes, and then " +
                      std::to_string(later));
        std::filesystem::remove(file.name);
        EXPECT_NE(FailureOf([&] { ImportLob(place, session, condition, source); }).text, "");
    }
    EXPECT_EQ(Rows(owner, "SELECT t, b FROM " + OwnName("lob_packets")), Lines{"old|6F6C64"});
}

// Who may only read has no temporary tables; a variable of the session does.
TEST(LobsLongerThanAPacket, ExportsOfAReader) {
    qxdb::Connection owner = OpenMariaDB();
    TestTable table(owner, OwnName("lob_packets"), packetColumns);
    RunAll(owner, "INSERT INTO " + OwnName("lob_packets") +
                      " VALUES(1, REPEAT('\xC3\xA4x', 2000000), REPEAT('abc', 2000000)), "
                      "(2, NULL, '')");
    RunAll(owner, "DROP USER IF EXISTS qx_lob_reader@localhost");
    RunAll(owner, "CREATE USER qx_lob_reader@localhost IDENTIFIED BY 'reading'");
    RunAll(owner, "GRANT SELECT ON qx." + OwnName("lob_packets") + " TO qx_lob_reader@localhost");
    {
        qxdb::Connection reader = OpenAs("UID=qx_lob_reader;PWD=reading");
        const TestFile target("target");
        for (const unsigned int column : {1u, 2u}) {
            qxdb::LobLocator locator =
                LocatorOf(reader, "SELECT n, t, b FROM " + OwnName("lob_packets") + " WHERE n > 5", column,
                          OwnName("lob_packets"));
            Cells row{"1", "", ""};
            locator.Export(target.name, reader, &row);
            std::string expected;
            for (int i = 0; i < 2000000; ++i) {
                expected += column == 1 ? "\xC3\xA4x" : "abc";
            }
            EXPECT_TRUE(target.Content() == expected);
            row = {"2", "", ""};
            locator.Export(target.name, reader, &row);
            EXPECT_EQ(target.Content(), "");
        }
        EXPECT_EQ(Rows(reader, "SELECT @qxodbc_lob IS NULL"), Lines{"1"});
    }
    RunAll(owner, "DROP USER qx_lob_reader@localhost");
}

}  // namespace
