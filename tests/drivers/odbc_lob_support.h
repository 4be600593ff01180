// What the tests of large objects share.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "drivers/odbc_support.h"
#include "platform/qxdb/lob_locator.h"

namespace qxtest {

// A file name of the test's own; the file is removed at the end.
class TestFile {
  public:
    explicit TestFile(const std::string& purpose)
        : name(testing::TempDir() + "qx_lob_" + purpose + "_" + std::to_string(getpid())) {}
    TestFile(const std::string& purpose, const std::string& content) : TestFile(purpose) { Write(content); }
    ~TestFile() {
        std::error_code ignored;
        std::filesystem::remove(name, ignored);
    }
    TestFile(const TestFile&) = delete;
    TestFile& operator=(const TestFile&) = delete;

    void Write(const std::string& content) const { std::ofstream(name, std::ios::binary) << content; }
    std::string Content() const {
        std::ifstream file(name, std::ios::binary);
        std::ostringstream content;
        content << file.rdbuf();
        return content.str();
    }

    const std::string name;
};

inline bool SameContent(const std::string& first, const std::string& second) {
    std::ifstream a(first, std::ios::binary);
    std::ifstream b(second, std::ios::binary);
    std::vector<char> bytesOfA(1 << 20);
    std::vector<char> bytesOfB(1 << 20);
    while (a && b) {
        a.read(bytesOfA.data(), static_cast<std::streamsize>(bytesOfA.size()));
        b.read(bytesOfB.data(), static_cast<std::streamsize>(bytesOfB.size()));
        if (a.gcount() != b.gcount() ||
            !std::equal(bytesOfA.begin(), bytesOfA.begin() + a.gcount(), bytesOfB.begin())) {
            return false;
        }
    }
    return !a && !b;
}

inline qxdb::Connection OpenLobs(bool mariadb) {
    return mariadb ? OpenMariaDB() : OpenPostgres("", "unlimited=lob");
}

// A connection to MariaDB of another user: "UID=name;PWD=password".
inline qxdb::Connection OpenAs(const std::string& user) {
    return qxdb::ConnectionDef(qxdb::DBTYPE_UNSET, TestServers().Get("QX_MARIADB_DRIVER") + ";" + user, "",
                               "", "odbc", "")
        .Connect();
}

// While it lives, new connections to MariaDB take packets of that many bytes. One at a time, whatever other
// tests run.
class PacketLimit {
  public:
    explicit PacketLimit(std::size_t bytes) {
        RunAll(owner, "DO GET_LOCK('qx_packet_limit', 60)");
        before = Rows(owner, "SELECT @@GLOBAL.max_allowed_packet").at(0);
        RunAll(owner, "SET GLOBAL max_allowed_packet = " + std::to_string(bytes));
    }
    ~PacketLimit() { RunAll(owner, "SET GLOBAL max_allowed_packet = " + before); }
    PacketLimit(const PacketLimit&) = delete;
    PacketLimit& operator=(const PacketLimit&) = delete;

  private:
    qxdb::Connection owner = OpenMariaDB();
    std::string before;
};

inline qxdb::Connection OpenWithPacket(std::size_t bytes, const std::string& user = "") {
    const PacketLimit limit(bytes);
    qxdb::Connection limited = user.empty() ? OpenMariaDB() : OpenAs(user);
    EXPECT_EQ(Rows(limited, "SELECT @@max_allowed_packet"), std::vector<std::string>{std::to_string(bytes)});
    // Until it is closed no other test takes away the loading of files.
    RunAll(limited, "DO GET_LOCK('qx_local_files', 60)");
    return limited;
}

// The locator of a column of a query's result.
inline qxdb::LobLocator LocatorOf(qxdb::Connection connection, const std::string& sql, unsigned int column,
                                  const std::string& table = "") {
    OpenResult result(connection, sql);
    return result.cursor.GetLocator(column, table, sql, "", false);
}

}  // namespace qxtest
