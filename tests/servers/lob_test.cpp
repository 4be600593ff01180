// Transfers of large objects as callers of the library make them.
#include <gtest/gtest.h>

#include "lob_run.h"

namespace {

using namespace qxdbsqlengine;
using qxtest::LobRun;
using qxtest::OwnName;
using qxtest::RunAll;
using qxtest::TestTable;
using Lines = std::vector<std::string>;
using Cells = std::list<std::string>;

class ServerLobs : public testing::TestWithParam<bool> {
  protected:
    bool OnMariaDB() const { return GetParam(); }

    LobRun run{OnMariaDB()};
    qxdb::Connection watcher = run.watcher;
    TestTable table{watcher, OwnName("lob_docs"),
                    OnMariaDB() ? "id INT PRIMARY KEY, name VARCHAR(20), body LONGTEXT, image LONGBLOB"
                                : "id integer PRIMARY KEY, name varchar(20), body text, image bytea"};
    const std::string target = run.folder.File("target");
    const std::string source = run.folder.File("source");
};

const std::string everyText = "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\r\n\t'\\";

std::string EveryByte() {
    std::string bytes;
    for (int i = 0; i < 256; ++i) {
        bytes += static_cast<char>(i);
    }
    return bytes;
}

TEST_P(ServerLobs, GoToTheServerAndBack) {
    RunAll(watcher,
           "INSERT INTO " + OwnName("lob_docs") + " VALUES(1, 'one', 'old', 'old'), (2, NULL, NULL, NULL)");
    run.Read("SELECT * FROM " + OwnName("lob_docs") + " ORDER BY id");
    for (const int column : {2, 3}) {
        LobExtract lob = run.Extract(0, column);
        EXPECT_EQ(lob.GetDataType(), DataTypeLob);
        EXPECT_TRUE(lob.IsValid(true));
        EXPECT_FALSE(lob.IsReadOnly());
        EXPECT_EQ(lob.EditAsClob(), column == 2);
        EXPECT_EQ(lob.TableName(), OwnName("lob_docs"));
        const std::string content = column == 2 ? everyText : EveryByte();
        for (const std::size_t repeated : {0, 1, 5000}) {
            std::string value;
            for (std::size_t i = 0; i < repeated; ++i) {
                value += content;
            }
            qxtest::PutFile(source, value);
            EXPECT_EQ(run.Transfer(lob, LobRun::Director::Import, source), LobRun::Imported());
            EXPECT_EQ(run.Transfer(lob, LobRun::Director::Export, target), LobRun::Exported(target));
            EXPECT_TRUE(qxtest::FileContent(target) == value) << column << " " << repeated;
        }
        LobExtract null = run.Extract(1, column);
        EXPECT_EQ(null.GetValueList().front(), "2");
        EXPECT_EQ(run.Transfer(null, LobRun::Director::Export, target), LobRun::Exported(target));
        EXPECT_EQ(qxtest::FileContent(target), "");
    }
    EXPECT_EQ(qxtest::Rows(watcher,
                           "SELECT id FROM " + OwnName("lob_docs") + " WHERE body IS NULL AND image IS NULL"),
              Lines{"2"});
}

TEST_P(ServerLobs, OfARowThatHasGone) {
    RunAll(watcher, "INSERT INTO " + OwnName("lob_docs") +
                        " VALUES(1, 'one', 'old', 'old'), (2, 'two', 'other', 'other')");
    run.Read("SELECT * FROM " + OwnName("lob_docs") + " ORDER BY id");
    RunAll(watcher, "DELETE FROM " + OwnName("lob_docs") + " WHERE id = 1");
    qxtest::PutFile(source, "new");
    const Lines failed =
        LobRun::Failed("The row of the large object is not in " + OwnName("lob_docs") + " any more");
    for (const int column : {2, 3}) {
        LobExtract lob = run.Extract(0, column);
        EXPECT_EQ(run.Transfer(lob, LobRun::Director::Export, target), failed);
        EXPECT_EQ(run.Transfer(lob, LobRun::Director::Import, source), failed);
    }
    EXPECT_EQ(run.folder.Entries(), 1u) << "a target, or a piece of it";
    EXPECT_EQ(qxtest::Rows(watcher, "SELECT id, body FROM " + OwnName("lob_docs")), Lines{"2|other"});
}

TEST_P(ServerLobs, ThatFailOtherwise) {
    RunAll(watcher, "INSERT INTO " + OwnName("lob_docs") + " VALUES(1, 'one', 'old', 'old')");
    run.Read("SELECT name, body FROM " + OwnName("lob_docs"));
    LobExtract keyless = run.Extract(0, 1);
    EXPECT_TRUE(keyless.IsReadOnly());
    qxtest::PutFile(source, "new");
    EXPECT_EQ(run.Transfer(keyless, LobRun::Director::Import, source),
              LobRun::Failed("The large object is read-only: " + OwnName("lob_docs") +
                             " has no key in the result"));
    EXPECT_EQ(run.Transfer(keyless, LobRun::Director::Export, target), LobRun::Exported(target));
    EXPECT_EQ(qxtest::FileContent(target), "old");
    run.Read("SELECT * FROM " + OwnName("lob_docs"));
    LobExtract lob = run.Extract(0, 2);
    const std::string none = run.folder.File("none");
    EXPECT_EQ(run.Transfer(lob, LobRun::Director::Import, none),
              LobRun::Failed("\"" + none + "\" can't be read: No such file or directory"));
    EXPECT_EQ(run.Transfer(lob, LobRun::Director::Export, none + "/file"),
              LobRun::Failed("\"" + none + "/file\" can't be written: No such file or directory"));
    EXPECT_EQ(qxtest::Rows(watcher, "SELECT body FROM " + OwnName("lob_docs")), Lines{"old"});
}

INSTANTIATE_TEST_SUITE_P(Each, ServerLobs, testing::Values(true, false),
                         [](const auto& each) { return each.param ? "MariaDB" : "PostgreSQL"; });

}  // namespace
