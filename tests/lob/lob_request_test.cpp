// The requests by themselves, on the thread of the test.
#include "lob/lob_request.h"

#include <gtest/gtest.h>

#include <algorithm>

#include <memory>
#include <string>
#include <type_traits>

#include "lob_support.h"
#include "platform/os/file_mapping.h"
#include "platform/os/file_removal.h"
#include "platform/qxutils/qx_exception.h"
#include "support/files.h"
#include "support/recording_callbacks.h"
#include "support/scripted_driver.h"

namespace {

using namespace qxdbsqlengine;
using namespace qxtest;
using Lines = std::vector<std::string>;

// Opens up the store and the making of the current database.
template <class Base>
class Opened : public Base {
  public:
    using Base::Base;
    SmartPtr<DataStorage> Store() { return this->GetData(); }
    int databasesUsed = 0;

  protected:
    void UseDatabase(const qxdbsrd::ConnectionDefElement& def, qxdb::Connection& connection) override {
        ++databasesUsed;
        Base::UseDatabase(def, connection);
    }
};

class LobRequestTest : public testing::Test {
  protected:
    LobRequestTest()
        : notifications(new NotificationCallbacks()),
          lender(new CountingConnectionCallback(server)),
          connections(lender),
          locator(new ScriptedLocator(script)),
          connection(server.Connect()) {
        calls.AddTo(*notifications);
    }

    ScriptedServer server;
    NotificationCallbacksPtr notifications;
    CountingConnectionCallback* lender;
    ConnectionRequestCallbackPtr connections;
    std::shared_ptr<LocatorScript> script = std::make_shared<LocatorScript>();
    qxdb::LobLocator locator;
    qxdb::Connection connection;
    const qxdbsrd::ConnectionDefElement def{qxdb::DBTYPE_UNSET, "pubs", 1.0, "sa", ""};
    const std::list<std::string> values{"1", "[NULL]", "text"};
    RecordingCallbacks calls;
};

TEST_F(LobRequestTest, ExportGoesOverTheGivenConnection) {
    qxdb::Connection* used = nullptr;
    script->transfer = [&](const std::string&, qxdb::Connection& over) { used = &over; };
    Opened<ExportLobRequest> request(notifications, connections, locator, values, "some/file");
    EXPECT_TRUE(request.Execute(def, connection));
    EXPECT_EQ(used, &connection);
    EXPECT_EQ(request.databasesUsed, 1);
    EXPECT_EQ(script->Calls(), Lines{"export some/file 1|[NULL]|text"});
    EXPECT_EQ(calls.AllLines(), (Lines{"OnRequestBegin", "OnLobExtracted some/file", "OnRequestEnd"}));
    EXPECT_EQ(lender->Calls(), Lines());
    EXPECT_EQ(server.StatementCount(), 0);
}

TEST_F(LobRequestTest, ImportGoesOverTheGivenConnection) {
    Opened<ImportLobRequest> request(notifications, connections, locator, values, "some/file");
    EXPECT_TRUE(request.Execute(def, connection));
    EXPECT_EQ(request.databasesUsed, 1);
    EXPECT_EQ(script->Calls(), Lines{"import some/file 1|[NULL]|text"});
    EXPECT_EQ(calls.AllLines(), (Lines{"OnRequestBegin", "OnLobImported", "OnRequestEnd"}));
}

TEST_F(LobRequestTest, WithoutAConnectionOneIsBorrowedAndGivenBack) {
    ExportLobRequest exported(notifications, connections, locator, values, "a");
    ImportLobRequest imported(notifications, connections, locator, values, "b");
    const Lines borrowed = {"request pubs true false", "release"};
    EXPECT_TRUE(exported.Execute(def));
    EXPECT_EQ(lender->Calls(), borrowed);
    EXPECT_TRUE(imported.Execute(def));
    EXPECT_EQ(lender->Calls().size(), 4u);
    EXPECT_EQ(script->Calls(), (Lines{"export a 1|[NULL]|text", "import b 1|[NULL]|text"}));
}

TEST_F(LobRequestTest, WhatAnExtractHoldsIsTransferred) {
    LobExtract extract(locator, values, "from/extract");
    ExportLobRequest exported(notifications, connections, extract);
    ImportLobRequest imported(notifications, connections, extract);
    // Copies were taken.
    extract.SetFileName("other");
    extract.GetValueList().clear();
    exported.Execute(def, connection);
    imported.Execute(def, connection);
    EXPECT_EQ(script->Calls(),
              (Lines{"export from/extract 1|[NULL]|text", "import from/extract 1|[NULL]|text"}));
}

TEST_F(LobRequestTest, TheDatabaseIsMadeCurrentFirst) {
    Lines logAtTransfer;
    script->transfer = [&](const std::string&, qxdb::Connection&) { logAtTransfer = server.Log(); };
    ImportLobRequest request(notifications, connections, locator, values, "file");
    request.SetDatabase("pubs2");
    request.Execute(def, connection);
    EXPECT_NE(std::find(logAtTransfer.begin(), logAtTransfer.end(), "database pubs2"), logAtTransfer.end());
}

TEST_F(LobRequestTest, AnEmptyNameBecomesATemporaryFileThatStays) {
    const ScratchFolder folder;
    ::setenv("TMPDIR", folder.Path().c_str(), 1);
    script->transfer = [](const std::string& file, qxdb::Connection&) { PutFile(file, "content"); };
    ExportLobRequest request(notifications, connections, locator, values, "");
    EXPECT_TRUE(request.Execute(def, connection));
    const std::string line = calls.LinesOf("OnLobExtracted").at(0);
    const std::string name = line.substr(line.find(' ') + 1);
    EXPECT_EQ(name.rfind(folder.File("LOB_"), 0), 0u) << name;
    EXPECT_EQ(FileContent(name), "content");
    EXPECT_EQ(PermissionsOf(name), 0600u);
    // The second run writes the same file.
    EXPECT_TRUE(request.Execute(def, connection));
    EXPECT_EQ(calls.LinesOf("OnLobExtracted"), (Lines{line, line}));
    EXPECT_EQ(folder.Entries(), 1u);
    ::unsetenv("TMPDIR");
}

TEST_F(LobRequestTest, WithoutAPlaceForTemporaryFilesNothingBegins) {
    ::setenv("TMPDIR", "/nowhere/at/all", 1);
    ExportLobRequest request(notifications, connections, locator, values, "");
    try {
        request.Execute(def, connection);
        ADD_FAILURE() << "no failure";
    } catch (const qxutils::QXException& failure) {
        EXPECT_STREQ(failure.what(), "No temporary file can be made in /nowhere/at/all");
    }
    ::unsetenv("TMPDIR");
    EXPECT_EQ(script->Calls(), Lines());
    EXPECT_EQ(calls.AllLines(), Lines());
}

TEST_F(LobRequestTest, AFailureLeavesWithoutTheEnd) {
    script->transfer = [](const std::string&, qxdb::Connection&) { throw MakeErrors("no such row"); };
    ExportLobRequest exported(notifications, connections, locator, values, "file");
    EXPECT_THROW(exported.Execute(def, connection), Errors);
    EXPECT_EQ(calls.AllLines(), Lines{"OnRequestBegin"});
    ImportLobRequest imported(notifications, connections, locator, values, "file");
    EXPECT_THROW(imported.Execute(def, connection), Errors);
    EXPECT_EQ(calls.AllLines(), (Lines{"OnRequestBegin", "OnRequestBegin"}));
}

TEST_F(LobRequestTest, AnEmptyLocatorFails) {
    ExportLobRequest exported(notifications, connections, qxdb::LobLocator(), values, "file");
    EXPECT_THROW(exported.Execute(def, connection), Errors);
    EXPECT_EQ(calls.AllLines(), Lines{"OnRequestBegin"});
}

TEST_F(LobRequestTest, ACancelledRequestTransfersNothing) {
    for (const bool isExport : {true, false}) {
        std::unique_ptr<SQLRequest> request;
        if (isExport) {
            request = std::make_unique<ExportLobRequest>(notifications, connections, locator, values, "file");
        } else {
            request = std::make_unique<ImportLobRequest>(notifications, connections, locator, values, "file");
        }
        EXPECT_TRUE(request->Cancel());
        EXPECT_THROW(request->Execute(def, connection), CancelledException);
    }
    EXPECT_EQ(script->Calls(), Lines());
    EXPECT_EQ(calls.AllLines(), Lines());
}

TEST_F(LobRequestTest, ACancelWithinTheTransferOnlyLeavesItsMark) {
    ImportLobRequest request(notifications, connections, locator, values, "file");
    script->transfer = [&](const std::string&, qxdb::Connection&) { EXPECT_TRUE(request.Cancel()); };
    EXPECT_TRUE(request.Execute(def, connection));
    EXPECT_TRUE(request.IsCancelled());
    EXPECT_EQ(calls.AllLines(), (Lines{"OnRequestBegin", "OnLobImported", "OnRequestEnd"}));
}

TEST_F(LobRequestTest, ThereAreNoClones) {
    Opened<ExportLobRequest> exported(notifications, connections, locator, values, "file");
    Opened<ImportLobRequest> imported(notifications, connections, locator, values, "file");
    Opened<LobRequest> plain(notifications, connections);
    for (SQLRequest* const request :
         {static_cast<SQLRequest*>(&exported), static_cast<SQLRequest*>(&imported),
          static_cast<SQLRequest*>(&plain)}) {
        EXPECT_EQ(request->CloneRequest(), nullptr);
        EXPECT_EQ(request->CloneRequest(exported.Store(), notifications), nullptr);
    }
}

TEST_F(LobRequestTest, EachHasAnEmptyStoreOfItsOwn) {
    Opened<ExportLobRequest> one(notifications, connections, locator, values, "file");
    Opened<ExportLobRequest> other(notifications, connections, locator, values, "file");
    ASSERT_TRUE(one.Store());
    EXPECT_NE(&*one.Store(), &*other.Store());
    one.Execute(def, connection);
    EXPECT_FALSE(one.Store()->IsEditable());
    one.ClearStorage();
}

static_assert(std::is_base_of_v<SQLRequest, LobRequest>);
static_assert(std::is_base_of_v<LobRequest, ExportLobRequest>);
static_assert(std::is_base_of_v<LobRequest, ImportLobRequest>);

}  // namespace
