// Large objects of the embedded driver: to files and back, byte for byte, and what goes wrong on the way.
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <random>
#include <thread>

#include "drivers/sqlite_lob_support.h"
#include "support/scripted_driver.h"

namespace {

using namespace qxtest;

constexpr std::size_t piece = 256 * 1024;  // in which values are moved
constexpr std::size_t megabyte = 1024 * 1024;

std::string RandomBytes(std::size_t size) {
    std::mt19937 random(static_cast<unsigned int>(size));
    std::string bytes(size, '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>(random());
    }
    return bytes;
}

// Characters of 1 to 4 bytes and zero bytes, so that borders of pieces fall into the middle of each kind.
std::string SomeText(std::size_t size, std::size_t shift) {
    const std::string unit = std::string("a\0", 2) + "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80";
    std::string text(shift, 'x');
    while (text.size() + unit.size() <= size) {
        text += unit;
    }
    text.resize(size, 'z');
    return text;
}

// How a table keeps its large objects.
struct Layout {
    const char* name;
    const char* create;  // has id, body and image
};

constexpr Layout layouts[] = {
    {"last", "CREATE TABLE docs(id INTEGER PRIMARY KEY, body TEXT, image BLOB)"},
    {"followed", "CREATE TABLE docs(image BLOB, body TEXT, name TEXT DEFAULT 'n', id INTEGER PRIMARY KEY)"},
    {"followed by nothing",
     "CREATE TABLE docs(image BLOB, id INTEGER PRIMARY KEY, name TEXT, body TEXT DEFAULT NULL)"},
    {"without rowid", "CREATE TABLE docs(id INTEGER, body TEXT, image BLOB, PRIMARY KEY(id)) WITHOUT ROWID"},
    {"with computed columns",
     "CREATE TABLE docs(id INTEGER PRIMARY KEY, twice INT AS (id * 2), body TEXT, image BLOB)"},
    {"checked",
     "CREATE TABLE docs(id INTEGER PRIMARY KEY, body TEXT, image BLOB CHECK(image <> zeroblob(300000)))"},
    {"indexed",
     "CREATE TABLE docs(id INTEGER PRIMARY KEY, body TEXT, image BLOB);"
     "CREATE INDEX docs_image ON docs(length(image))"},
    {"strict", "CREATE TABLE docs(id INTEGER PRIMARY KEY, body TEXT, image BLOB) STRICT"},
};

class SQLiteLobTransfer : public LobTest {
  protected:
    void Make(const Layout& layout) {
        RunAll(connection, "DROP TABLE IF EXISTS docs");
        RunAll(connection, std::string(layout.create) + "; INSERT INTO docs(id) VALUES(1), (2)");
    }
    void ExpectRoundTrip(const std::string& column, const std::string& content, const char* storage) {
        SCOPED_TRACE(column + " " + std::to_string(content.size()));
        Lob lob = Take("SELECT id, " + column + " FROM docs WHERE id = 2", 1);
        Import(lob, content);
        EXPECT_EQ(Value("SELECT typeof(" + column + ") FROM docs WHERE id = 2"), storage);
        EXPECT_EQ(Value("SELECT length(CAST(" + column + " AS BLOB)) FROM docs WHERE id = 2"),
                  std::to_string(content.size()));
        EXPECT_TRUE(Export(lob) == content);
        EXPECT_EQ(Value("SELECT count(*) FROM docs WHERE id = 1 AND body IS NULL AND image IS NULL"), "1");
        EXPECT_EQ(folder.Entries(), 3u) << "something was left beside the files";
    }
};

TEST_F(SQLiteLobTransfer, BytesComeBackWhateverTheTableIsLike) {
    for (const Layout& layout : layouts) {
        SCOPED_TRACE(layout.name);
        Make(layout);
        for (const std::size_t size :
             {std::size_t{0}, std::size_t{1}, piece - 1, piece, piece + 1, 3 * piece, 2 * megabyte + 7}) {
            ExpectRoundTrip("image", RandomBytes(size), "blob");
        }
        ExpectRoundTrip("image", std::string(piece + 1, '\0'), "blob");
        ExpectRoundTrip("image", std::string("\0\xFF\n", 3), "blob");
        EXPECT_EQ(Value("PRAGMA integrity_check"), "ok");
    }
}

TEST_F(SQLiteLobTransfer, TextComesBackAsText) {
    for (const Layout& layout : layouts) {
        SCOPED_TRACE(layout.name);
        Make(layout);
        for (const std::size_t size : {std::size_t{0}, std::size_t{1}, piece - 1, piece, piece + 1}) {
            for (std::size_t shift = 0; shift < 4 && shift <= size; ++shift) {
                ExpectRoundTrip("body", SomeText(size, shift), "text");
            }
        }
        ExpectRoundTrip("body", SomeText(2 * megabyte, 1), "text");
    }
}

TEST_F(SQLiteLobTransfer, TextOfOtherEncodingsComesBackInUtf8) {
    for (const std::string encoding : {"UTF-16le", "UTF-16be", "UTF-16"}) {
        SCOPED_TRACE(encoding);
        qxdb::Connection wide = Open(folder.File(encoding), "create unlimited=lob");
        RunAll(wide, "PRAGMA encoding = '" + encoding +
                         "'; CREATE TABLE docs(id INTEGER PRIMARY KEY, body TEXT);"
                         "INSERT INTO docs VALUES(1, NULL); ");
        Lob lob = LobOf(wide, "SELECT * FROM docs", 1);
        for (const std::size_t size : {std::size_t{0}, std::size_t{1}, piece, piece + 1, megabyte}) {
            for (std::size_t shift = 0; shift < 4 && shift <= size; ++shift) {
                const std::string text = SomeText(size, shift);
                PutFile(folder.File("source"), text);
                lob.locator.Import(folder.File("source"), wide, &lob.row);
                EXPECT_TRUE(Export(lob, wide) == text) << size << " " << shift;
            }
        }
        EXPECT_EQ(Rows(wide, "SELECT typeof(body) FROM docs"), Lines{"text"});
        // Halves of pairs by themselves are no characters.
        RunAll(wide, encoding == "UTF-16be" ? "UPDATE docs SET body = CAST(x'0041D83D0042DE00D83D' AS TEXT)"
                                            : "UPDATE docs SET body = CAST(x'41003DD8420000DE3DD8' AS TEXT)");
        EXPECT_EQ(Export(lob, wide),
                  "A\xEF\xBF\xBD"
                  "B\xEF\xBF\xBD\xEF\xBF\xBD");
    }
}

TEST_F(SQLiteLobTransfer, TwentyMegabytesGoThere) {
    for (const char* const column : {"image", "body"}) {
        Make(layouts[0]);
        const std::string content =
            column[0] == 'i' ? RandomBytes(20 * megabyte) : SomeText(20 * megabyte, 3);
        ExpectRoundTrip(column, content, column[0] == 'i' ? "blob" : "text");
    }
}

TEST_F(SQLiteLobTransfer, AValueIsReplacedByALongerAndAShorterOne) {
    Make(layouts[0]);
    for (const std::size_t size : {std::size_t{5}, 3 * piece, 2 * piece, std::size_t{0}, piece + 3}) {
        ExpectRoundTrip("image", RandomBytes(size), "blob");
    }
    EXPECT_EQ(Value("PRAGMA integrity_check"), "ok");
}

TEST_F(SQLiteLobTransfer, NullGivesAnEmptyFile) {
    Make(layouts[0]);
    Lob lob = Take("SELECT id, image FROM docs", 1);
    PutFile(folder.File("target"), "old");
    EXPECT_EQ(Export(lob), "");
    EXPECT_EQ(Value("SELECT image IS NULL FROM docs"), "1");
}

TEST_F(SQLiteLobTransfer, ValuesOfAnotherKind) {
    Make(layouts[0]);
    const struct {
        const char* column;
        const char* value;
        const char* content;  // null: refused
        const char* storage;
    } cases[] = {
        {"image", "'a text'", "a text", ""}, {"image", "5", nullptr, "integer"},
        {"image", "1.5", nullptr, "real"},   {"body", "5", "5", ""},  // the column makes a text of it
        {"body", "x'41'", nullptr, "blob"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.column) + " " + c.value);
        Lob lob = Take(std::string("SELECT id, ") + c.column + " FROM docs WHERE id = 2", 1);
        RunAll(connection, std::string("UPDATE docs SET ") + c.column + " = " + c.value + " WHERE id = 2");
        if (c.content) {
            EXPECT_EQ(Export(lob), c.content);
        } else {
            const Failure failure = ExportFailure(lob);
            EXPECT_EQ(failure.text, std::string("The value of column ") + c.column +
                                        " in docs is no large object of its type: SQLite has it as " +
                                        c.storage);
            EXPECT_EQ(failure.state, "22018");
        }
        // It can be replaced in any case.
        Import(lob, "new");
        EXPECT_EQ(Export(lob), "new");
    }
    // A column of characters may leave numbers as they are.
    RunAll(connection,
           "CREATE TABLE n(id INTEGER PRIMARY KEY, c \"LONGTEXT INT\"); INSERT INTO n VALUES(1, -5)");
    Lob number = Take("SELECT * FROM n", 1);
    EXPECT_EQ(Value("SELECT typeof(c) FROM n"), "integer");
    EXPECT_EQ(Export(number), "-5");
    RunAll(connection, "UPDATE n SET c = 0.5");
    EXPECT_EQ(Export(number), "0.5");
}

TEST_F(SQLiteLobTransfer, TriggersSeeTheValue) {
    RunAll(connection,
           "CREATE TABLE log(n INT, first); CREATE TABLE docs(id INTEGER PRIMARY KEY, image BLOB);"
           "INSERT INTO docs VALUES(1, NULL);"
           "CREATE TRIGGER t AFTER UPDATE ON docs BEGIN"
           " INSERT INTO log VALUES(length(new.image), substr(new.image, 1, 2)); END");
    Lob lob = Take("SELECT * FROM docs", 1);
    Import(lob, "ab" + std::string(2 * piece, 'x'));
    EXPECT_EQ(Rows(connection, "SELECT n, CAST(first AS TEXT) FROM log"),
              Lines{std::to_string(2 + 2 * piece) + "|ab"});
    RunAll(connection,
           "DROP TRIGGER t; CREATE TRIGGER t BEFORE UPDATE ON docs BEGIN SELECT RAISE(IGNORE); END");
    EXPECT_EQ(ImportFailure(lob, "new").text,
              "The row of the large object in docs was not changed: a trigger keeps it");
    RunAll(connection,
           "DROP TRIGGER t; CREATE TRIGGER t BEFORE UPDATE ON docs BEGIN SELECT RAISE(ABORT, 'never'); "
           "END");
    EXPECT_EQ(ImportFailure(lob, std::string(2 * piece, 'y')).text, "never");
    EXPECT_EQ(Value("SELECT length(image) FROM docs"), std::to_string(2 + 2 * piece));
}

TEST_F(SQLiteLobTransfer, AnIndexOfTheColumnHasTheNewValue) {
    RunAll(connection,
           "CREATE TABLE docs(id INTEGER PRIMARY KEY, image BLOB, parent REFERENCES docs(id));"
           "CREATE INDEX i ON docs(substr(image, 1, 3)); INSERT INTO docs VALUES(1, NULL, NULL)");
    Lob lob = Take("SELECT id, image FROM docs", 1);
    Import(lob, "abc" + std::string(2 * piece, 'x'));
    EXPECT_EQ(Value("SELECT id FROM docs WHERE substr(image, 1, 3) = x'616263'"), "1");
    EXPECT_EQ(Value("PRAGMA integrity_check"), "ok");
}

TEST_F(SQLiteLobTransfer, AForeignKeySeesTheValue) {
    RunAll(connection,
           "PRAGMA foreign_keys = ON; CREATE TABLE kept(x BLOB UNIQUE);"
           "CREATE TABLE docs(id INTEGER PRIMARY KEY, image BLOB REFERENCES kept(x));"
           "INSERT INTO docs VALUES(1, NULL)");
    const std::string content(2 * piece, 'x');
    Lob lob = Take("SELECT * FROM docs", 1);
    EXPECT_EQ(ImportFailure(lob, content).state, "23000");
    RunAll(connection, "INSERT INTO kept VALUES(CAST(replace(hex(zeroblob(" + std::to_string(piece) +
                           ")), '0', 'x') AS BLOB))");
    Import(lob, content);
    EXPECT_TRUE(Export(lob) == content);
}

TEST_F(SQLiteLobTransfer, AConstraintThatRefusesTheValueKeepsTheOldOne) {
    RunAll(connection,
           "CREATE TABLE docs(id INTEGER PRIMARY KEY, image BLOB CHECK(substr(image, 1, 1) = 'a'));"
           "INSERT INTO docs VALUES(1, 'a')");
    Lob lob = Take("SELECT * FROM docs", 1);
    const Failure failure = ImportFailure(lob, "b" + std::string(2 * piece, 'x'));
    EXPECT_EQ(failure.state, "23000");
    EXPECT_EQ(Value("SELECT CAST(image AS TEXT) FROM docs"), "a");
}

TEST_F(SQLiteLobTransfer, WorksWithinATransactionOfTheCaller) {
    Make(layouts[0]);
    Lob lob = Take("SELECT id, image FROM docs", 1);
    RunAll(connection, "BEGIN; UPDATE docs SET body = 'mine' WHERE id = 2");
    Import(lob, std::string(2 * piece, 'x'));
    EXPECT_EQ(Export(lob).size(), 2 * piece);
    // A failed one takes back its own work only.
    RunAll(connection, "SAVEPOINT inner");
    lob.row.front() = "99";
    EXPECT_NE(ImportFailure(lob, "new").text, "");
    EXPECT_NE(ExportFailure(lob).text, "");
    RunAll(connection, "RELEASE inner");
    EXPECT_EQ(Value("SELECT body FROM docs WHERE id = 2"), "mine");
    RunAll(connection, "ROLLBACK");
    EXPECT_EQ(Value("SELECT count(*) FROM docs WHERE image IS NULL AND body IS NULL"), "2");
}

TEST_F(SQLiteLobTransfer, LeavesNoTransactionBehind) {
    Make(layouts[0]);
    Lob lob = Take("SELECT id, image FROM docs", 1);
    qxdb::Connection other = Open(name, "timeout=0");
    Import(lob, "one");
    RunAll(other, "UPDATE docs SET body = 'a'");
    Export(lob);
    RunAll(other, "UPDATE docs SET body = 'b'");
    RunAll(connection, "DROP TABLE docs");
    EXPECT_NE(ExportFailure(lob).text, "");
    EXPECT_NE(ImportFailure(lob, "two").text, "");
    RunAll(other, "CREATE TABLE again(i)");
}

TEST_F(SQLiteLobTransfer, AnOpenResultGoesOn) {
    Make(layouts[0]);
    OpenResult result(connection, "SELECT id, image FROM docs");
    ASSERT_TRUE(result.Fetch());
    qxdb::LobLocator locator = result.cursor.GetLocator(1, "", "", "", false);
    Lob lob{locator, {"1", "[NULL]"}};
    Import(lob, std::string(2 * piece, 'x'));
    EXPECT_EQ(Export(lob).size(), 2 * piece);
    ASSERT_TRUE(result.Fetch());
    EXPECT_EQ(result[0].AsString(), "2");
    EXPECT_FALSE(result.Fetch());
}

// --- Failures ---

class SQLiteLobFailure : public SQLiteLobTransfer {
  protected:
    SQLiteLobFailure() {
        Make(layouts[0]);
        RunAll(connection, "UPDATE docs SET image = 'old image', body = 'old body'");
        lob = Take("SELECT id, image FROM docs", 1);
        PutFile(folder.File("target"), "old target");
    }
    // Both directions fail so, and change nothing.
    void ExpectFailures(const std::string& text, const std::string& state) {
        const Failure exported = ExportFailure(lob);
        EXPECT_EQ(exported.text, text);
        EXPECT_EQ(exported.state, state);
        ExpectImportFailure(text, state);
        ExpectTargetUnchanged();
    }
    void ExpectImportFailure(const std::string& text, const std::string& state,
                             const std::string& content = std::string(3 * piece, 'n')) {
        const Failure imported = ImportFailure(lob, content);
        EXPECT_EQ(imported.text, text);
        EXPECT_EQ(imported.state, state);
    }
    void ExpectTargetUnchanged() {
        EXPECT_EQ(FileContent(folder.File("target")), "old target");
        for (const auto& entry : std::filesystem::directory_iterator(folder.Path())) {
            EXPECT_EQ(entry.path().filename().string().find(".new-"), std::string::npos);
        }
    }
    void ExpectValueUnchanged() {
        EXPECT_EQ(Value("SELECT CAST(image AS TEXT) FROM docs WHERE id = 1"), "old image");
        EXPECT_EQ(Value("PRAGMA integrity_check"), "ok");
    }

    Lob lob;
};

TEST_F(SQLiteLobFailure, ARowThatWasDeletedMeanwhile) {
    RunAll(connection, "DELETE FROM docs WHERE id = 1");
    ExpectFailures("The row of the large object is not in docs any more", "02000");
}

TEST_F(SQLiteLobFailure, ARowWhoseKeyHasChanged) {
    RunAll(connection, "UPDATE docs SET id = 7 WHERE id = 1");
    ExpectFailures("The row of the large object is not in docs any more", "02000");
}

TEST_F(SQLiteLobFailure, ARowWithoutAKeyThatHasChanged) {
    RunAll(connection, "CREATE TABLE loose(a VARCHAR(9), image BLOB); INSERT INTO loose VALUES('a', 'b')");
    Lob loose = Take("SELECT * FROM loose", 1);
    EXPECT_EQ(Export(loose), "b");
    RunAll(connection, "UPDATE loose SET a = 'c'");
    EXPECT_EQ(ExportFailure(loose).text, "The row of the large object is not in loose any more");
}

TEST_F(SQLiteLobFailure, ATableThatWasDropped) {
    RunAll(connection, "DROP TABLE docs");
    ExpectFailures("The table docs of the large object is not there any more", "42S02");
}

// A quoted name that stands for nothing is a text for SQLite.
TEST_F(SQLiteLobFailure, AColumnThatWasDropped) {
    RunAll(connection, "ALTER TABLE docs RENAME COLUMN image TO picture");
    ExpectFailures("The table docs has no column image any more", "42S22");
    RunAll(connection,
           "ALTER TABLE docs RENAME COLUMN picture TO image;"
           "ALTER TABLE docs RENAME COLUMN id TO number");
    ExpectFailures("The table docs has no column id any more", "42S22");
}

TEST_F(SQLiteLobFailure, ADatabaseThatAnotherConnectionWrites) {
    qxdb::Connection impatient = Open(name, "timeout=0");
    qxdb::Connection other = Open(name);
    PutFile(folder.File("source"), "new");
    RunAll(other, "BEGIN IMMEDIATE; UPDATE docs SET body = 'x'");
    const std::string locked = "database is locked: \"" + name + "\" is in use by another connection";
    Failure failure = FailureOf([&] { lob.locator.Import(folder.File("source"), impatient, &lob.row); });
    EXPECT_EQ(failure.text, locked);
    EXPECT_EQ(failure.state, "HYT00");
    EXPECT_EQ(Export(lob, impatient), "old image");  // readers get what was there before
    RunAll(other, "ROLLBACK; BEGIN EXCLUSIVE");
    PutFile(folder.File("target"), "old target");
    failure = FailureOf([&] { lob.locator.Export(folder.File("target"), impatient, &lob.row); });
    EXPECT_EQ(failure.text, locked);
    ExpectTargetUnchanged();
    RunAll(other, "ROLLBACK");
    ExpectValueUnchanged();
}

// Readers keep what is written from the file: at the end, and before it when it does not fit the cache.
TEST_F(SQLiteLobFailure, ADatabaseThatAnotherConnectionReads) {
    RunAll(connection, "INSERT INTO docs VALUES(3, NULL, NULL)");
    qxdb::Connection other = Open(name);
    qxdb::Connection impatient = Open(name, "timeout=0");
    OpenResult reading(other, "SELECT id FROM docs");
    ASSERT_TRUE(reading.Fetch());
    for (const std::size_t size : {std::size_t{3}, 40 * piece}) {
        PutFile(folder.File("source"), std::string(size, 'n'));
        const Failure failure =
            FailureOf([&] { lob.locator.Import(folder.File("source"), impatient, &lob.row); });
        EXPECT_EQ(failure.text, "database is locked: \"" + name + "\" is in use by another connection")
            << size;
        ExpectValueUnchanged();
        EXPECT_EQ(Export(lob, impatient), "old image");
    }
    while (reading.Fetch()) {
    }
    lob.locator.Import(folder.File("source"), impatient, &lob.row);
    EXPECT_EQ(Export(lob).size(), 40 * piece);
}

TEST_F(SQLiteLobFailure, ALockThatComesFreeInTimeIsNone) {
    qxdb::Connection other = Open(name);
    RunAll(other, "BEGIN IMMEDIATE");
    std::thread release([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        RunAll(other, "COMMIT");
    });
    Import(lob, "new");
    release.join();
    EXPECT_EQ(Export(lob), "new");
}

TEST_F(SQLiteLobFailure, SourcesThatCannotBeRead) {
    const struct {
        std::string name;
        std::string reason;
    } cases[] = {
        {folder.File("missing"), "No such file or directory"},
        {folder.Path(), "Is a directory"},
        {"/dev/null", "it is no regular file"},
        {"", "No such file or directory"},
    };
    for (const auto& c : cases) {
        const Failure failure = FailureOf([&] { lob.locator.Import(c.name, connection, &lob.row); });
        EXPECT_EQ(failure.text, "\"" + c.name + "\" can't be read: " + c.reason);
        EXPECT_EQ(failure.state, "58030");
    }
    ExpectValueUnchanged();
}

// /proc/self/... files say that they are regular, and have no size; their content comes all the same.
TEST_F(SQLiteLobFailure, ASourceOfAnotherSizeThanItSays) {
    const Failure failure = FailureOf([&] { lob.locator.Import("/proc/self/status", connection, &lob.row); });
    EXPECT_EQ(failure.text, "\"/proc/self/status\" changed while it was read: it had 0 bytes");
    EXPECT_EQ(failure.state, "58030");
    ExpectValueUnchanged();
}

TEST_F(SQLiteLobFailure, TargetsThatCannotBeWritten) {
    const struct {
        std::string name;
        std::string reason;
    } cases[] = {
        {folder.Path(), "Is a directory"},
        {folder.File("missing/file"), "No such file or directory"},
        {"", "No such file or directory"},
    };
    for (const auto& c : cases) {
        const Failure failure = FailureOf([&] { lob.locator.Export(c.name, connection, &lob.row); });
        EXPECT_EQ(failure.text, "\"" + c.name + "\" can't be written: " + c.reason);
        EXPECT_EQ(failure.state, "58030");
    }
}

TEST_F(SQLiteLobFailure, ADiskThatIsFullAtAnExport) {
    Import(lob, RandomBytes(3 * piece));
    {
        const FileSizeLimit limit(piece);
        const Failure failure = ExportFailure(lob);
        EXPECT_EQ(failure.text, "\"" + folder.File("target") + "\" can't be written: File too large");
        EXPECT_EQ(failure.state, "58030");
    }
    ExpectTargetUnchanged();
    // The last bytes are written at the end.
    RunAll(connection, "UPDATE docs SET image = 'short'");
    const Failure failure = FailureOf([&] { lob.locator.Export("/dev/full", connection, &lob.row); });
    EXPECT_EQ(failure.text, "\"/dev/full\" can't be written: No space left on device");
}

TEST_F(SQLiteLobFailure, ADiskThatIsFullAtAnImport) {
    const std::string content = RandomBytes(12 * piece);
    PutFile(folder.File("source"), content);
    for (const char* const column : {"image", "body"}) {
        Lob target = Take(std::string("SELECT id, ") + column + " FROM docs", 1);
        {
            const FileSizeLimit limit(8 * piece);
            const Failure failure =
                FailureOf([&] { target.locator.Import(folder.File("source"), connection, &target.row); });
            EXPECT_NE(failure.text, "");
            EXPECT_TRUE(failure.state == "58030" || failure.state == "53100") << failure.text;
        }
        ExpectValueUnchanged();
        EXPECT_EQ(Value("SELECT body FROM docs"), "old body");
    }
    Lob again = Take("SELECT id, image FROM docs", 1);
    Import(again, content);
    EXPECT_TRUE(Export(again) == content);
}

// Wherever the space ends: in the value, in the journal, in the copy of a text.
TEST_F(SQLiteLobFailure, ADiskThatIsFullAtAnyPointOfAnImport) {
    const std::string content = SomeText(5 * piece, 2);
    PutFile(folder.File("source"), content);
    for (const char* const journal : {"delete", "wal", "truncate"}) {
        RunAll(connection, std::string("PRAGMA journal_mode = ") + journal);
        for (const char* const column : {"image", "body"}) {
            SCOPED_TRACE(std::string(journal) + " " + column);
            Lob target = Take(std::string("SELECT id, ") + column + " FROM docs", 1);
            RunAll(connection, "PRAGMA wal_checkpoint(truncate)");
            int failures = 0;
            for (std::size_t limit = 0; limit < 5 * piece; limit += piece / 3 + 1000) {
                Failure failure;
                {
                    const FileSizeLimit full(limit);
                    failure = FailureOf(
                        [&] { target.locator.Import(folder.File("source"), connection, &target.row); });
                }
                failures += failure.state == "58030" || failure.state == "53100" ? 1 : 0;
                EXPECT_EQ(Value("SELECT CAST(image AS TEXT) || ' ' || body FROM docs WHERE id = 1"),
                          "old image old body");
            }
            EXPECT_GE(failures, 14);
            EXPECT_EQ(Value("PRAGMA integrity_check"), "ok");
            Import(target, content);
            EXPECT_TRUE(Export(target) == content);
            RunAll(connection, "UPDATE docs SET image = 'old image', body = 'old body'");
        }
    }
}

TEST_F(SQLiteLobFailure, MemoryThatIsNotThere) {
    const std::string content = SomeText(8 * megabyte, 0);
    PutFile(folder.File("source"), content);
    Lob text = Take("SELECT id, body FROM docs", 1);
    sqlite3_hard_heap_limit64(sqlite3_memory_used() + static_cast<sqlite3_int64>(4 * megabyte));
    const Failure failure =
        FailureOf([&] { text.locator.Import(folder.File("source"), connection, &text.row); });
    // Bytes need no more than there is.
    lob.locator.Import(folder.File("source"), connection, &lob.row);
    sqlite3_hard_heap_limit64(0);
    EXPECT_EQ(failure.text, "out of memory");
    EXPECT_EQ(failure.state, "HY001");
    EXPECT_EQ(Value("SELECT body FROM docs WHERE id = 1"), "old body");
    EXPECT_TRUE(Export(lob) == content);
}

TEST_F(SQLiteLobFailure, NoRoomForTheCopyOfAText) {
    const qxtest::FileSizeLimit limit(8 * piece);
    Lob text = Take("SELECT id, body FROM docs", 1);
    PutFile(folder.File("source"), std::string(7 * piece, 'x'));
    ::setenv("TMPDIR", folder.File("missing").c_str(), 1);
    const Failure failure =
        FailureOf([&] { text.locator.Import(folder.File("source"), connection, &text.row); });
    ::unsetenv("TMPDIR");
    EXPECT_EQ(failure.text, "There is no room for a copy of " + std::to_string(7 * piece) + " bytes in " +
                                folder.File("missing"));
    EXPECT_EQ(failure.state, "53100");
    EXPECT_EQ(Value("SELECT body FROM docs"), "old body");
}

// A sparse file has the size without the bytes.
TEST_F(SQLiteLobFailure, AFileBeyondTheLimit) {
    const std::string large = folder.File("large");
    PutFile(large, "");
    for (const char* const column : {"image", "body"}) {
        Lob target = Take(std::string("SELECT id, ") + column + " FROM docs", 1);
        ASSERT_EQ(::truncate(large.c_str(), 1000000001), 0);
        const Failure failure = FailureOf([&] { target.locator.Import(large, connection, &target.row); });
        EXPECT_EQ(failure.text, "\"" + large +
                                    "\" has 1000000001 bytes; the database takes no row of more than "
                                    "1000000000");
        EXPECT_EQ(failure.state, "54000");
        EXPECT_EQ(failure.code, SQLITE_TOOBIG);
    }
    // Text takes twice the room in UTF-16.
    qxdb::Connection wide = Open(folder.File("wide"), "create unlimited=lob");
    RunAll(wide,
           "PRAGMA encoding = 'UTF-16'; CREATE TABLE docs(id INTEGER PRIMARY KEY, body TEXT);"
           "INSERT INTO docs VALUES(1, 'old')");
    Lob wideText = LobOf(wide, "SELECT * FROM docs", 1);
    EXPECT_EQ(FailureOf([&] { wideText.locator.Import(large, wide, &wideText.row); }).text,
              "\"" + large +
                  "\" has 1000000001 bytes; the database takes no row of more than 1000000000, in UTF-16");
    // The row needs room beside the value.
    ASSERT_EQ(::truncate(large.c_str(), 1000000000), 0);
    const Failure failure = FailureOf([&] { lob.locator.Import(large, connection, &lob.row); });
    EXPECT_EQ(failure.text,
              "\"" + large + "\" has 1000000000 bytes; the database takes no row of more than 1000000000");
    ExpectValueUnchanged();
}

TEST_F(SQLiteLobFailure, AConnectionOfAnotherKindOfServer) {
    ScriptedServer server;
    qxdb::Connection other = server.Connect();
    PutFile(folder.File("source"), "new");
    const std::string text = "The connection is none of the SQLite driver";
    EXPECT_EQ(FailureOf([&] { lob.locator.Export(folder.File("target"), other, &lob.row); }).text, text);
    EXPECT_EQ(FailureOf([&] { lob.locator.Import(folder.File("source"), other, &lob.row); }).text, text);
    ExpectTargetUnchanged();
}

}  // namespace
