// How much memory the embedded driver takes for very large objects.
#include <sqlite3.h>
#include <unistd.h>

#include <filesystem>

#include "drivers/sqlite_lob_support.h"

namespace {

using namespace qxtest;

constexpr std::size_t megabyte = 1024 * 1024;

// What SQLite itself allocates at most while the action runs.
template <class Action>
__int64 MemoryOf(const Action& action) {
    const sqlite3_int64 before = sqlite3_memory_used();
    sqlite3_memory_highwater(1);
    action();
    return sqlite3_memory_highwater(0) - before;
}

class SQLiteLobMemory : public LobTest {
  protected:
    static constexpr __int64 size = 256 * static_cast<__int64>(megabyte);
    void Make() {
        RunAll(connection,
               "DROP TABLE IF EXISTS docs;"
               "CREATE TABLE docs(id INTEGER PRIMARY KEY, body TEXT, image BLOB);"
               "INSERT INTO docs(id) VALUES(1)");
    }
    void MakeSource() {
        PutFile(folder.File("large"), "");
        ASSERT_EQ(::truncate(folder.File("large").c_str(), size), 0);
    }
    __int64 ImportMemory(Lob& lob) {
        return MemoryOf([&] { lob.locator.Import(folder.File("large"), connection, &lob.row); });
    }
    __int64 ExportMemory(Lob& lob) {
        return MemoryOf([&] { lob.locator.Export(folder.File("target"), connection, &lob.row); });
    }
};

TEST_F(SQLiteLobMemory, LongValuesAreNeverWholeInMemory) {
    MakeSource();
    for (const char* const journal : {"delete", "wal"}) {
        RunAll(connection, std::string("PRAGMA journal_mode = ") + journal);
        Make();
        Lob lob = Take("SELECT id, image FROM docs", 1);
        // Once in the place of nothing, and once in the place of itself.
        for (int i = 0; i < 2; ++i) {
            EXPECT_LT(ImportMemory(lob), static_cast<__int64>(8 * megabyte)) << journal;
        }
        EXPECT_LT(ExportMemory(lob), static_cast<__int64>(8 * megabyte)) << journal;
        EXPECT_EQ(std::filesystem::file_size(folder.File("target")), static_cast<std::uintmax_t>(size));
    }
}

TEST_F(SQLiteLobMemory, LongTextsAreInMemoryOnceAtMost) {
    MakeSource();
    Make();
    Lob lob = Take("SELECT id, body FROM docs", 1);
    EXPECT_LT(ImportMemory(lob), size + static_cast<__int64>(8 * megabyte));
    EXPECT_LT(ExportMemory(lob), static_cast<__int64>(8 * megabyte));
    EXPECT_EQ(std::filesystem::file_size(folder.File("target")), static_cast<std::uintmax_t>(size));
}

}  // namespace
