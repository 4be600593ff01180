// Large objects of real servers that are too large for memory, and for a packet of the server's.
#include <gtest/gtest.h>
#include <malloc.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <iostream>

#include "drivers/odbc_lob_support.h"

namespace {

using qxtest::FailureOf;
using qxtest::LocatorOf;
using qxtest::memoryCounts;
using qxtest::OpenLobs;
using qxtest::OpenMariaDB;
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
    static long Peak() {
        std::ifstream file("/proc/self/status");
        std::string word;
        long value = 0;
        while (file >> word) {
            if (word == "VmHWM:") {
                file >> value;
                break;
            }
        }
        return value;
    }
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
    TestTable table(connection, "lob_large", Columns());
    RunAll(connection, "INSERT INTO lob_large(n, t, b) VALUES(1, '', '')");
    CheckTransfer(connection, "lob_large", 2, LargeSize(100000000));
    RunAll(connection, "UPDATE lob_large SET b = NULL");
    CheckTransfer(connection, "lob_large", 1, LargeSize(50000000));
}

INSTANTIATE_TEST_SUITE_P(Each, LargeLobs, testing::Values(true, false),
                         [](const auto& each) { return each.param ? "MariaDB" : "PostgreSQL"; });

}  // namespace
