// Transfers on an engine, as callers see them.
#include "lob/lob_request_director.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

#include "engine/cancel_support.h"
#include "lob_support.h"
#include "platform/qxutils/qx_exception.h"
#include "support/files.h"
#include "support/gate.h"

namespace {

using namespace qxdbsqlengine;
using namespace qxtest;

using Direction = CLobRequestDirector::Direction;

// Opens up the engine.
class OpenLobDirector final : public CLobRequestDirector {
  public:
    using CLobRequestDirector::CLobRequestDirector;
    ~OpenLobDirector() override { LeaveRun(); }
    using CLobRequestDirector::GetEngine;
};

class LobDirectorTest : public testing::Test {
  protected:
    explicit LobDirectorTest(const CancelTimes& shortTimes = PatientTimes())
        : times(shortTimes), lender(new WatchedLender(server, lenderGone)), connections(lender) {}
    void TearDown() override {
        gate.Open();
        director.reset();
        connections = ConnectionRequestCallbackPtr();
        EXPECT_TRUE(Eventually([this] { return lenderGone.load(); })) << "a run or a director is left";
    }

    template <class Director = CLobRequestDirector>
    void Make(Direction direction, const std::string& file = "some/file") {
        director = std::make_unique<Director>(def, connections, qxdb::LobLocator(new ScriptedLocator(script)),
                                              std::list<std::string>{"1", "x"}, file, direction);
        calls.RegisterWith(*director);
    }
    void RunToEnd() {
        director->Execute();
        ASSERT_TRUE(WaitIdle());
    }
    // The run is over, both ends told.
    bool WaitIdle() {
        return Eventually([this] { return !director->IsExecuting(); });
    }
    void WaitAtGate() {
        script->transfer = [passed = gate](const std::string&, qxdb::Connection&) { passed.Pass(); };
    }
    long Releases() const {
        const Lines borrowed = lender->Calls();
        return std::count(borrowed.begin(), borrowed.end(), "release");
    }

    const ScopedCancelTimes times;
    ScriptedServer server;
    std::atomic<bool> lenderGone{false};
    const qxdbsqlengine::ConnectionDefElement def{qxdb::DBTYPE_UNSET, "pubs", 1.0, "sa", ""};
    CountingConnectionCallback* lender;
    ConnectionRequestCallbackPtr connections;
    std::shared_ptr<LocatorScript> script = std::make_shared<LocatorScript>();
    RecordingCallbacks calls;
    const Gate gate;
    std::unique_ptr<CLobRequestDirector> director;
};

TEST_F(LobDirectorTest, AnExportBeginsAndEndsTwice) {
    Make(CLobRequestDirector::Export);
    RunToEnd();
    EXPECT_EQ(calls.AllLines(), (Lines{"OnRequestBegin", "OnRequestBegin", "OnLobExtracted some/file",
                                       "OnRequestEnd", "OnRequestEnd"}));
    EXPECT_EQ(script->Calls(), Lines{"export some/file 1|x"});
    EXPECT_EQ(lender->Calls(), (Lines{"request pubs true false", "release"}));
}

TEST_F(LobDirectorTest, AnImportBeginsAndEndsTwice) {
    Make(CLobRequestDirector::Import);
    RunToEnd();
    EXPECT_EQ(calls.AllLines(),
              (Lines{"OnRequestBegin", "OnRequestBegin", "OnLobImported", "OnRequestEnd", "OnRequestEnd"}));
    EXPECT_EQ(script->Calls(), Lines{"import some/file 1|x"});
}

TEST_F(LobDirectorTest, EveryDirectionButZeroIsAnExport) {
    EXPECT_EQ(CLobRequestDirector::Import, 0);
    for (const int value : {1, 2, -1}) {
        Make(static_cast<Direction>(value));
        EXPECT_NE(dynamic_cast<ExportLobRequest*>(&*director->GetRequest()), nullptr) << value;
    }
    Make(static_cast<Direction>(0));
    EXPECT_NE(dynamic_cast<ImportLobRequest*>(&*director->GetRequest()), nullptr);
}

TEST_F(LobDirectorTest, AnExtractSaysWhatIsTransferred) {
    LobExtract extract(qxdb::LobLocator(new ScriptedLocator(script)), {"7", "[NULL]"}, "of/extract");
    for (const Direction direction : {CLobRequestDirector::Export, CLobRequestDirector::Import}) {
        director = std::make_unique<CLobRequestDirector>(def, connections, extract, direction);
        RunToEnd();
    }
    EXPECT_EQ(script->Calls(), (Lines{"export of/extract 7|[NULL]", "import of/extract 7|[NULL]"}));
}

TEST_F(LobDirectorTest, AnEmptyNameBecomesATemporaryFileForAllRuns) {
    const ScratchFolder folder;
    ::setenv("TMPDIR", folder.Path().c_str(), 1);
    script->transfer = [](const std::string& file, qxdb::Connection&) { PutFile(file, "content"); };
    Make(CLobRequestDirector::Export, "");
    RunToEnd();
    RunToEnd();
    ::unsetenv("TMPDIR");
    const Lines names = calls.LinesOf("OnLobExtracted");
    ASSERT_EQ(names.size(), 2u);
    EXPECT_EQ(names[0].rfind("OnLobExtracted " + folder.File("LOB_"), 0), 0u) << names[0];
    EXPECT_EQ(names[1], names[0]);
    EXPECT_EQ(folder.Entries(), 1u);
    director.reset();
    EXPECT_EQ(folder.Entries(), 1u) << "the file is the caller's";
}

TEST_F(LobDirectorTest, ASecondRunTransfersTheSameAgain) {
    Make(CLobRequestDirector::Import);
    RunToEnd();
    RunToEnd();
    EXPECT_EQ(script->Calls(), (Lines{"import some/file 1|x", "import some/file 1|x"}));
    EXPECT_EQ(calls.LinesOf("OnLobImported").size(), 2u);
    EXPECT_EQ(calls.LinesOf("OnRequestBegin").size(), 4u);
    EXPECT_EQ(calls.LinesOf("OnRequestEnd").size(), 4u);
}

TEST_F(LobDirectorTest, ExecuteDirectGivesOnePair) {
    const struct {
        Direction direction;
        const char* line;
    } cases[] = {{CLobRequestDirector::Export, "OnLobExtracted some/file"},
                 {CLobRequestDirector::Import, "OnLobImported"}};
    for (const auto& wanted : cases) {
        for (const bool borrows : {true, false}) {
            calls.Clear();
            Make(wanted.direction);
            qxdb::Connection own = server.Connect();
            EXPECT_TRUE(borrows ? director->ExecuteDirect("", SQLRequest::RequestSQL, false)
                                : director->ExecuteDirect(own, "", SQLRequest::RequestSQL, false));
            EXPECT_EQ(calls.AllLines(), (Lines{"OnRequestBegin", wanted.line, "OnRequestEnd"}));
        }
    }
    EXPECT_EQ(Releases(), 2);
}

TEST_F(LobDirectorTest, ExecuteDirectThrowsTheFailure) {
    script->transfer = [](const std::string&, qxdb::Connection&) { throw MakeErrors("no such row"); };
    Make(CLobRequestDirector::Export);
    EXPECT_THROW(director->ExecuteDirect("", SQLRequest::RequestSQL, false), Errors);
    EXPECT_EQ(calls.AllLines(), Lines{"OnRequestBegin"});
    EXPECT_EQ(Releases(), 1);
}

TEST_F(LobDirectorTest, AFailureIsToldWithOneEnd) {
    const struct {
        std::function<void()> fail;
        const char* text;
    } cases[] = {
        {[] { throw MakeErrors("The row is not there any more"); }, "The row is not there any more"},
        {[] { throw qxutils::QXException("broken"); }, "broken"},
        {[] { throw std::runtime_error("broken too"); }, "broken too"},
        {[] { throw 1; }, "Unknown Error"},
    };
    for (const auto& failure : cases) {
        for (const Direction direction : {CLobRequestDirector::Export, CLobRequestDirector::Import}) {
            script->transfer = [&](const std::string&, qxdb::Connection&) { failure.fail(); };
            calls.Clear();
            Make(direction);
            RunToEnd();
            EXPECT_EQ(calls.AllLines(), (Lines{"OnRequestBegin", "OnRequestBegin",
                                               std::string("OnError ") + failure.text, "OnRequestEnd"}));
        }
    }
}

TEST_F(LobDirectorTest, AfterAFailureTheTransferCanBeRepeated) {
    int runs = 0;
    script->transfer = [&](const std::string&, qxdb::Connection&) {
        if (++runs == 1) {
            throw MakeErrors("not now");
        }
    };
    Make(CLobRequestDirector::Import);
    RunToEnd();
    RunToEnd();
    EXPECT_EQ(calls.AllLines(),
              (Lines{"OnRequestBegin", "OnRequestBegin", "OnError not now", "OnRequestEnd", "OnRequestBegin",
                     "OnRequestBegin", "OnLobImported", "OnRequestEnd", "OnRequestEnd"}));
}

TEST_F(LobDirectorTest, WithoutAConnectionThereIsNoTransfer) {
    lender->Refuse();
    Make(CLobRequestDirector::Export);
    RunToEnd();
    EXPECT_EQ(calls.AllLines(),
              (Lines{"OnRequestBegin", "OnError No connection to the data source : pubs", "OnRequestEnd"}));
    EXPECT_EQ(script->Calls(), Lines());
}

TEST_F(LobDirectorTest, ThereIsNoClone) {
    Make(CLobRequestDirector::Export);
    EXPECT_EQ(director->CloneDirector(), nullptr);
    RunToEnd();
    EXPECT_EQ(director->CloneDirector(), nullptr);
}

TEST_F(LobDirectorTest, NoRowsAppearInItsStore) {
    Make(CLobRequestDirector::Export);
    const SmartPtr<DataStorage> store = director->GetDataStorage();
    ASSERT_TRUE(store);
    RunToEnd();
    EXPECT_EQ(&*director->GetDataStorage(), &*store);
    EXPECT_EQ(store->GetNumberOfResultSets(), 0);
    // The request clears the store that it has itself.
    std::vector<ColumnDefinition> columns(1);
    store->AddResultSet(columns, ResultSetNormal);
    director->ClearStorage();
    EXPECT_EQ(store->GetNumberOfResultSets(), 1);
}

TEST_F(LobDirectorTest, ARunUnderWayIsNotStartedAgain) {
    WaitAtGate();
    Make(CLobRequestDirector::Import);
    director->Execute();
    ASSERT_TRUE(gate.WaitForArrivals(1));
    director->Execute();
    EXPECT_FALSE(director->ExecuteDirect("", SQLRequest::RequestSQL, false));
    gate.Open();
    ASSERT_TRUE(WaitIdle());
    EXPECT_EQ(script->Calls().size(), 1u);
    EXPECT_EQ(calls.LinesOf("OnRequestEnd").size(), 2u);
}

TEST_F(LobDirectorTest, ACancelledTransferGoesOnToItsEnd) {
    WaitAtGate();
    Make(CLobRequestDirector::Import);
    director->Execute();
    ASSERT_TRUE(gate.WaitForArrivals(1));
    EXPECT_TRUE(director->Cancel());
    EXPECT_TRUE(director->IsCancelled());
    EXPECT_TRUE(director->IsExecuting());
    EXPECT_EQ(server.CancelCount(), 0) << "there is no statement to cancel";
    gate.Open();
    ASSERT_TRUE(WaitIdle());
    EXPECT_EQ(calls.AllLines(),
              (Lines{"OnRequestBegin", "OnRequestBegin", "OnLobImported", "OnRequestEnd", "OnRequestEnd"}));
    EXPECT_EQ(Releases(), 1);
    // What was cancelled stays so.
    calls.Clear();
    RunToEnd();
    EXPECT_EQ(calls.AllLines(), (Lines{"OnRequestBegin", "OnRequestEnd"}));
    EXPECT_EQ(script->Calls().size(), 1u);
}

TEST_F(LobDirectorTest, ATransferThatIsCancelledInTheQueueNeverBegins) {
    Make<OpenLobDirector>(CLobRequestDirector::Import);
    KeepBusy(static_cast<OpenLobDirector&>(*director).GetEngine(), gate);
    ASSERT_TRUE(gate.WaitForArrivals(1));
    director->Execute();
    EXPECT_TRUE(director->Cancel());
    EXPECT_EQ(calls.AllLines(), Lines());
    gate.Open();
    ASSERT_TRUE(Eventually([this] { return calls.LinesOf("OnRequestEnd").size() == 1; }));
    ASSERT_TRUE(WaitIdle());
    EXPECT_EQ(calls.AllLines(), (Lines{"OnRequestBegin", "OnRequestEnd"}));
    EXPECT_EQ(script->Calls(), Lines());
    EXPECT_EQ(lender->Calls(), (Lines{"request pubs true false", "release"}));
}

TEST_F(LobDirectorTest, ADirectorThatGoesLeavesItsTransferToEnd) {
    WaitAtGate();
    Make(CLobRequestDirector::Import);
    const RequestPtr request = director->GetRequest();
    director->Execute();
    ASSERT_TRUE(gate.WaitForArrivals(1));
    director.reset();
    EXPECT_FALSE(request->IsCancelled());
    EXPECT_EQ(Releases(), 0);
    gate.Open();
    ASSERT_TRUE(Eventually([this] { return Releases() == 1; }));
    EXPECT_EQ(calls.AllLines(), (Lines{"OnRequestBegin", "OnRequestBegin"})) << "nobody is told of the end";
}

class LobCancelFailedTest : public LobDirectorTest {
  protected:
    LobCancelFailedTest() : LobDirectorTest(ImpatientTimes()) {}
};

TEST_F(LobCancelFailedTest, ATransferThatDoesNotEndIsGivenUp) {
    WaitAtGate();
    Make(CLobRequestDirector::Export);
    director->Execute();
    ASSERT_TRUE(gate.WaitForArrivals(1));
    EXPECT_TRUE(director->Cancel());
    ASSERT_TRUE(Eventually([this] { return calls.LinesOf("OnCancelFailed").size() == 1; }));
    EXPECT_EQ(calls.AllLines(),
              (Lines{"OnRequestBegin", "OnRequestBegin", "OnError " + NotRespondedText(), "OnCancelFailed"}));
    EXPECT_EQ(Releases(), 0) << "the engine thread still has the connection";
    // It comes back after all.
    gate.Open();
    ASSERT_TRUE(Eventually([this] { return calls.LinesOf("OnRequestEnd").size() == 2; }));
    EXPECT_EQ(calls.LinesOf("OnLobExtracted").size(), 1u);
    EXPECT_TRUE(Eventually([this] { return Releases() == 1; }));
}

}  // namespace
