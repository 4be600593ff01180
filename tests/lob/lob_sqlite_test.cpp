// From a SELECT to the file and back: store, extract, director and embedded database together.
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>

#include "drivers/sqlite_lob_support.h"
#include "engine/director_support.h"
#include "engine/single_connection.h"
#include "lob/lob_request_director.h"
#include "platform/os/file_mapping.h"

namespace {

using namespace qxdbsqlengine;
using namespace qxtest;

constexpr std::size_t megabyte = 1024 * 1024;

class LobSQLiteTest : public testing::Test {
  protected:
    LobSQLiteTest()
        : name(folder.File("data.db")),
          observer(Open(name, "create timeout=0")),
          def(qxdb::DBTYPE_SQLITE, name, 0.0, "", "") {
        RunAll(observer,
               "CREATE TABLE docs(id INTEGER PRIMARY KEY, name VARCHAR(20), body TEXT, image BLOB);"
               "INSERT INTO docs VALUES(1, 'one', 'first body', x'00FF'), (2, NULL, NULL, NULL)");
        connections = Lender("timeout=0 unlimited=lob");
        PutFile(folder.File("target"), "old target");
    }
    ConnectionRequestCallbackPtr Lender(const std::string& options) {
        return ConnectionRequestCallbackPtr(
            new SingleConnection(qxdb::ConnectionDef(qxdb::DBTYPE_SQLITE, name, "", "", "sqlite", options)));
    }

    // What a caller takes out of the store that a SELECT has filled.
    LobExtract Extract(const std::string& sql, int row, int column) {
        CSingleRequestDirector select(def, connections, nullptr, std::string(), true);
        select.SetUseLobLocators(true);
        select.SetLobPreviewSize(4);
        EXPECT_TRUE(select.ExecuteDirect(sql, SQLRequest::RequestSQL, false));
        return select.GetDataStorage()->GetLob(0, row, column);
    }
    LobExtract ImageOf(int row) { return Extract("SELECT * FROM docs ORDER BY id", row, 3); }

    // Runs to the end and gives what the callbacks were told.
    Lines Run(LobExtract& lob, CLobRequestDirector::Direction direction) {
        return Run(lob, direction, connections);
    }
    Lines Run(LobExtract& lob, CLobRequestDirector::Direction direction,
              const ConnectionRequestCallbackPtr& lender) {
        CLobRequestDirector director(def, lender, lob, direction);
        RecordingCallbacks calls;
        calls.RegisterWith(director);
        director.Execute();
        EXPECT_TRUE(Eventually([&] { return !director.IsExecuting(); }));
        EXPECT_EQ(director.GetDataStorage()->GetNumberOfResultSets(), 0);
        director.Clear();
        return calls.AllLines();
    }
    Lines Export(LobExtract& lob, const std::string& file = "target") {
        lob.SetFileName(folder.File(file));
        return Run(lob, CLobRequestDirector::Export);
    }
    Lines Import(LobExtract& lob, const std::string& content) {
        PutFile(folder.File("source"), content);
        lob.SetFileName(folder.File("source"));
        return Run(lob, CLobRequestDirector::Import);
    }
    static Lines Failed(const std::string& text) {
        return {"OnRequestBegin", "OnRequestBegin", "OnError " + text, "OnRequestEnd"};
    }
    std::string Value(const std::string& sql) { return Rows(observer, sql, true).at(0); }
    void ExpectTargetUnchanged() { EXPECT_EQ(FileContent(folder.File("target")), "old target"); }

    const ScratchFolder folder;
    const std::string name;
    qxdb::Connection observer;
    const ConnectionDefElement def;
    ConnectionRequestCallbackPtr connections;

    const Lines imported = {"OnRequestBegin", "OnRequestBegin", "OnLobImported", "OnRequestEnd",
                            "OnRequestEnd"};
};

TEST_F(LobSQLiteTest, TheStoreHoldsAPreviewAndTheWayToTheRest) {
    LobExtract body = Extract("SELECT * FROM docs ORDER BY id", 0, 2);
    EXPECT_EQ(body.GetDataType(), DataTypeLob);
    EXPECT_TRUE(body.IsValid(true));
    EXPECT_FALSE(body.IsReadOnly());
    EXPECT_TRUE(body.EditAsClob());
    EXPECT_EQ(body.TableName(), "docs");
    EXPECT_EQ(body.GetValueList(), (Cells{"1", "one", "firs", "00FF"}));
    LobExtract image = ImageOf(1);
    EXPECT_FALSE(image.EditAsClob());
    EXPECT_EQ(image.GetValueList(), (Cells{"2", "[NULL]", "[NULL]", "[NULL]"}));
}

TEST_F(LobSQLiteTest, AnExportWritesTheFile) {
    LobExtract image = ImageOf(0);
    EXPECT_EQ(Export(image),
              (Lines{"OnRequestBegin", "OnRequestBegin", "OnLobExtracted " + folder.File("target"),
                     "OnRequestEnd", "OnRequestEnd"}));
    EXPECT_EQ(FileContent(folder.File("target")), std::string("\0\xFF", 2));
    EXPECT_EQ(image.GetFileName(), folder.File("target"));
    std::string text;
    EXPECT_TRUE(image.AsString(text));
    EXPECT_EQ(text.size(), 2u);
}

TEST_F(LobSQLiteTest, AnExportWithoutANameMakesATemporaryFile) {
    ::setenv("TMPDIR", folder.Path().c_str(), 1);
    LobExtract body = Extract("SELECT id, body FROM docs ORDER BY id", 0, 1);
    EXPECT_TRUE(body.IsTempFileName());
    const Lines lines = Run(body, CLobRequestDirector::Export);
    ::unsetenv("TMPDIR");
    ASSERT_EQ(lines.size(), 5u);
    const std::string start = "OnLobExtracted ";
    const std::string file = lines[2].substr(start.size());
    EXPECT_EQ(lines[2], start + file);
    EXPECT_EQ(file.rfind(folder.File("LOB_"), 0), 0u) << file;
    EXPECT_EQ(FileContent(file), "first body");
    EXPECT_EQ(PermissionsOf(file), 0600u) << "nobody else may read it";
}

TEST_F(LobSQLiteTest, AnImportChangesTheValueAndNothingElse) {
    LobExtract image = ImageOf(1);
    const std::string content = std::string("\0\n\xF0", 3) + std::string(megabyte, 'x');
    EXPECT_EQ(Import(image, content), imported);
    EXPECT_EQ(Value("SELECT typeof(image) || length(image) FROM docs WHERE id = 2"),
              "blob" + std::to_string(content.size()));
    EXPECT_EQ(Value("SELECT count(*) FROM docs WHERE id = 1 AND hex(image) = '00FF' AND body = 'first body'"),
              "1");
    LobExtract same = ImageOf(1);
    Export(same);
    EXPECT_TRUE(FileContent(folder.File("target")) == content);
}

TEST_F(LobSQLiteTest, ARepeatedImportTakesTheFileAsItIsThen) {
    LobExtract body = Extract("SELECT id, body FROM docs ORDER BY id", 0, 1);
    PutFile(folder.File("source"), "once");
    body.SetFileName(folder.File("source"));
    CLobRequestDirector director(def, connections, body, CLobRequestDirector::Import);
    for (const std::string content : {"once", "twice"}) {
        PutFile(folder.File("source"), content);
        director.Execute();
        ASSERT_TRUE(Eventually([&] { return !director.IsExecuting(); }));
        EXPECT_EQ(Value("SELECT body FROM docs WHERE id = 1"), content);
    }
}

TEST_F(LobSQLiteTest, FailuresAreToldAndChangeNothing) {
    LobExtract image = ImageOf(0);
    image.SetFileName(folder.File("missing"));
    EXPECT_EQ(Run(image, CLobRequestDirector::Import),
              Failed("\"" + folder.File("missing") + "\" can't be read: No such file or directory"));
    image.SetFileName(folder.File("no/such/folder"));
    EXPECT_EQ(
        Run(image, CLobRequestDirector::Export),
        Failed("\"" + folder.File("no/such/folder") + "\" can't be written: No such file or directory"));
    EXPECT_EQ(Value("SELECT hex(image) FROM docs WHERE id = 1"), "00FF");

    RunAll(observer, "DELETE FROM docs WHERE id = 1");
    const Lines gone = Failed("The row of the large object is not in docs any more");
    EXPECT_EQ(Export(image), gone);
    EXPECT_EQ(Import(image, "new"), gone);
    ExpectTargetUnchanged();
}

TEST_F(LobSQLiteTest, AReadOnlyObjectIsExportedOnly) {
    LobExtract image = Extract("SELECT name, image FROM docs ORDER BY id", 0, 1);
    EXPECT_TRUE(image.IsReadOnly());
    EXPECT_EQ(Import(image, "new"), Failed("The large object is read-only: docs has no key in the result"));
    EXPECT_EQ(Export(image).size(), 5u);
    EXPECT_EQ(FileContent(folder.File("target")), std::string("\0\xFF", 2));
}

TEST_F(LobSQLiteTest, AnObjectThatCannotBeFoundSaysWhy) {
    LobExtract image = Extract("SELECT image FROM docs ORDER BY id", 0, 0);
    EXPECT_FALSE(image.IsValid(true));
    EXPECT_EQ(Export(image), Failed("The table docs has no column in the result to find the row by"));
    ExpectTargetUnchanged();
}

TEST_F(LobSQLiteTest, AFullDiskLeavesTheOldFile) {
    LobExtract image = ImageOf(0);
    ASSERT_EQ(Import(image, std::string(megabyte, 'x')), imported);
    {
        const FileSizeLimit limit(megabyte / 2);
        EXPECT_EQ(Export(image),
                  Failed("\"" + folder.File("target") + "\" can't be written: File too large"));
    }
    ExpectTargetUnchanged();
    EXPECT_EQ(Export(image).size(), 5u);
    EXPECT_EQ(FileContent(folder.File("target")).size(), megabyte);
}

TEST_F(LobSQLiteTest, ALockedDatabaseIsToldAndTheTransferCanBeRepeated) {
    LobExtract image = ImageOf(0);
    RunAll(observer, "BEGIN IMMEDIATE");
    EXPECT_EQ(Import(image, "new"),
              Failed("database is locked: \"" + name + "\" is in use by another connection"));
    RunAll(observer, "COMMIT");
    EXPECT_EQ(Import(image, "new"), imported);
}

TEST_F(LobSQLiteTest, ADatabaseForReadingTakesNothing) {
    LobExtract image = ImageOf(0);
    PutFile(folder.File("source"), "new");
    image.SetFileName(folder.File("source"));
    EXPECT_EQ(Run(image, CLobRequestDirector::Import, Lender("readonly")),
              Failed("attempt to write a readonly database"));
    connections = Lender("readonly unlimited=lob");
    LobExtract other = ImageOf(0);
    EXPECT_TRUE(other.IsReadOnly());
    EXPECT_EQ(Export(other).size(), 5u);
}

// The columns of results need not stand in the order of the table, nor be all of it.
TEST_F(LobSQLiteTest, TheRowIsTheOneOfTheCellInAnyOrderOfTheView) {
    RunAll(observer,
           "DELETE FROM docs; WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n LIMIT 50)"
           " INSERT INTO docs SELECT i, NULL, 'body ' || i, NULL FROM n");
    CSingleRequestDirector select(def, connections, nullptr, std::string(), true);
    select.SetUseLobLocators(true);
    select.ExecuteDirect("SELECT body AS b, name, id AS k FROM docs ORDER BY id", SQLRequest::RequestSQL,
                         false);
    DataStorage store(*select.GetDataStorage());
    for (int row = 0; row < 50; row += 7) {
        LobExtract lob = store.GetLob(0, row, 0);
        Export(lob);
        EXPECT_EQ(FileContent(folder.File("target")), "body " + std::to_string(row + 1));
    }
}

}  // namespace
