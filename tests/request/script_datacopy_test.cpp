#include <stdexcept>

#include "platform/qxdbop/jdbc_datacopy_handler.h"
#include "request/script_fixture.h"

namespace qxtest {
namespace {

using qxdbop::DatacopyImpl;
using qxdbop::JavaError;

constexpr const char* noResults = "The command completed with no results returned";
constexpr const char* noLibrary = "Data copy is not possible: no data-operations library is registered.";

class DatacopyTest : public ScriptTest {
  protected:
    ~DatacopyTest() override { qxdbop::RegisterDatacopy(nullptr); }

    // Writes down what it is told; `action` runs in "init" and "run".
    class Copy final : public DatacopyImpl {
      public:
        Copy(DatacopyTest& owner, std::string name) : test(owner), server(std::move(name)) {}
        ~Copy() override { test.copies.push_back("gone"); }
        void Init(const qxdbop::JavaString& command) override {
            test.copies.push_back("init " + server + " " + command.GetText());
            if (test.inInit)
                test.inInit();
        }
        void Run() override {
            test.copies.push_back("run");
            if (test.inRun)
                test.inRun();
        }

      private:
        DatacopyTest& test;
        const std::string server;
    };

    void RegisterCopy() {
        qxdbop::RegisterDatacopy([this](const qxdbop::ServerIdentifier& source) {
            return std::make_unique<Copy>(*this, source.GetDataSourceName());
        });
    }

    Lines copies;
    std::function<void()> inInit;
    std::function<void()> inRun;
};

TEST_F(DatacopyTest, RunsInTheLibrary) {
    RegisterCopy();
    server.Expect("after");
    parser.Puts(Item("datacopy a to b").DataCopy().Line(4)).Puts("after").Completes();
    EXPECT_TRUE(RunScript());
    EXPECT_EQ(copies, (Lines{"init source datacopy a to b", "run", "gone"}));
    // It does not touch the connection, nor the handler of its items.
    EXPECT_EQ(server.Executed(), (Lines{"after"}));
    EXPECT_EQ(request.handlerLog, (Lines{"PreExecute", "PreExecuteBatch", "PreExecuteStatement",
                                         "PostExecuteStatement", "PostExecuteBatch", "PostExecute"}));
    EXPECT_EQ(calls.LinesOf("OnBatchItem"), (Lines{"OnBatchItemBegin 0 4", "OnBatchItemEnd 0 0",
                                                   "OnBatchItemBegin 1 0", "OnBatchItemEnd 1 0"}));
    EXPECT_EQ(Column(0), (Lines{noResults, noResults}));
}

TEST_F(DatacopyTest, ResultIsTrue) {
    RegisterCopy();
    parser.Puts(Item("DATACOPY").DataCopy()).Completes();
    EXPECT_TRUE(RunScript());
    EXPECT_EQ(Column(0), (Lines{noResults}));
}

// A one-character command is a data copy first, and a procedure call is one too.
TEST_F(DatacopyTest, ComesBeforeTheOtherKinds) {
    RegisterCopy();
    parser.Puts(Item("x").DataCopy()).Puts(Item("exec p(1)").DataCopy().Procedure()).Completes();
    EXPECT_TRUE(RunScript());
    EXPECT_EQ(copies, (Lines{"init source x", "run", "gone", "init source P", "run", "gone"}));
}

TEST_F(DatacopyTest, WithoutALibraryTheItemFails) {
    server.Expect("after");
    parser.Puts(Item("datacopy a to b").DataCopy()).Puts("after").Completes();
    EXPECT_TRUE(RunScript());
    EXPECT_EQ(calls.Lines(), (Lines{"OnBatchItemBegin 0 0", "OnPreResultSetBegin 0 2", "OnResultSetBegin 0 2",
                                    std::string("OnError ") + noLibrary, "OnBatchItemEnd 0 0",
                                    "OnBatchItemBegin 1 0", "OnExecuteBegin", "OnExecuteEnd",
                                    "OnBatchItemEnd 1 0", "OnResultSetUpdate 0 2", "OnResultSetEnd 0"}));
    EXPECT_EQ(Column(0), (Lines{noLibrary, noResults}));
    EXPECT_EQ(calls.LastErrors().GetNumberErrors(), 1U);
}

TEST_F(DatacopyTest, AloneAndFailingTheResultIsFalse) {
    parser.Puts(Item("datacopy").DataCopy()).Completes();
    EXPECT_FALSE(RunScript());
    EXPECT_EQ(request.errorCount, 1);
}

TEST_F(DatacopyTest, JavaErrorIsShownAndReported) {
    RegisterCopy();
    for (const bool early : {true, false}) {
        const auto fail = [] { throw JavaError("table is gone\nsecond line"); };
        inInit = early ? std::function<void()>(fail) : nullptr;
        inRun = early ? nullptr : std::function<void()>(fail);
        server.Expect("after");
        FakeParser failing;
        failing.Puts(Item("datacopy x").DataCopy()).Puts("after").Completes();
        calls.Clear();
        copies.clear();
        request.ClearStorage();
        EXPECT_TRUE(RunScript());
        EXPECT_EQ(calls.LinesOf("OnError"), (Lines{"OnError table is gone\nsecond line"}));
        EXPECT_EQ(Column(0), (Lines{"table is gone", "second line", noResults}));
        EXPECT_EQ(copies, early ? (Lines{"init source datacopy x", "gone"})
                                : (Lines{"init source datacopy x", "run", "gone"}));
        EXPECT_EQ(calls.LinesOf("OnBatchItemEnd").size(), 2U);
    }
}

TEST_F(DatacopyTest, CountsTowardsTheErrorLimit) {
    parser.Puts(Item("datacopy").DataCopy()).Puts("never").Completes();
    LimitErrors(1);
    EXPECT_FALSE(RunScript());
    EXPECT_EQ(server.Executed(), Lines());
    EXPECT_EQ(request.errorCount, 0);
}

TEST_F(DatacopyTest, OtherFailuresEndTheItemOnly) {
    RegisterCopy();
    const struct {
        std::function<void()> fail;
        const char* report;
    } cases[] = {
        {[] { throw std::runtime_error("broken"); }, "OnError broken"},
        {[] { throw MakeErrors("server said no"); }, "OnError server said no"},
        {[] { throw 7; }, "OnError Unknown Error"},
    };
    for (const auto& one : cases) {
        inRun = one.fail;
        server.Expect("after");
        FakeParser failing;
        failing.Puts(Item("datacopy x").DataCopy()).Puts("after").Completes();
        calls.Clear();
        EXPECT_TRUE(RunScript());
        EXPECT_EQ(calls.LinesOf("OnError"), (Lines{one.report}));
        EXPECT_EQ(calls.LinesOf("OnBatchItemEnd").size(), 2U);
    }
}

TEST_F(DatacopyTest, WithoutAConnectionCallbackTheServerIsKnownByItsName) {
    RegisterCopy();
    parser.Puts(Item("datacopy x").DataCopy()).Completes();
    OpenRequest direct(notifications, SmartPtr<qxdbsqlengine::ConnectionRequestCallback>(), store, nullptr,
                       "");
    direct.SetSQL("x", SQLRequest::RequestScript, false, false);
    qxdb::Connection connection = server.Connect();
    EXPECT_TRUE(direct.Execute(Def(qxdb::DBTYPE_OTHER, "shop"), connection));
    EXPECT_EQ(copies[0], "init shop datacopy x");
}

TEST_F(DatacopyTest, CancelDuringACopyEndsTheRunBehindIt) {
    RegisterCopy();
    inRun = [this] { request.Cancel(); };
    parser.Puts(Item("datacopy x").DataCopy()).Puts("never").WaitsForCancel();
    EXPECT_THROW(RunScript(), qxdbsqlengine::CancelledException);
    EXPECT_EQ(calls.Lines(), (Lines{"OnBatchItemBegin 0 0", "OnBatchItemEnd 0 0"}));
    EXPECT_EQ(copies.back(), "gone");
}

}  // namespace
}  // namespace qxtest
