#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>

#include "batch/batch_limits.h"
#include "platform/qxutils/event.h"
#include "request/script_fixture.h"

namespace qxtest {
namespace {

using qxdbsqlengine::CancelledException;

class ScriptCancelTest : public ScriptTest {
  protected:
    // Runs the script on a thread of its own; whether it ended by CancelledException.
    template <class Meanwhile>
    bool RunAndCancel(const Meanwhile& meanwhile) {
        bool cancelled = false;
        request.SetSQL("script", SQLRequest::RequestScript, false, false);
        std::thread runner([&] {
            try {
                request.Execute(Def());
            } catch (const CancelledException&) {
                cancelled = true;
            }
        });
        meanwhile();
        runner.join();
        return cancelled;
    }
    // Cancels within the first notification that begins so.
    void CancelAt(const std::string& prefix) {
        calls.OnLine([this, prefix](const std::string& line) {
            if (line.compare(0, prefix.size(), prefix) == 0)
                request.Cancel();
        });
    }
    bool WasCancelled() const {
        const Lines all = parser.Calls();
        return std::find(all.begin(), all.end(), "CancelParse") != all.end();
    }
};

// The parser is made and let go, so that the file of a cancelled script is deleted all the same.
TEST_F(ScriptCancelTest, BeforeTheRun) {
    parser.Puts("never").Completes();
    const std::string path = MakeFile();
    request.Cancel();
    request.SetSQL(path, SQLRequest::RequestScript, true, true);
    EXPECT_THROW(request.Execute(Def()), CancelledException);
    EXPECT_EQ(calls.Lines(), Lines());
    EXPECT_EQ(server.Executed(), Lines());
    EXPECT_FALSE(Exists(path));
    EXPECT_TRUE(ParserIsGone());
}

TEST_F(ScriptCancelTest, WhileTheRunWaitsForTheFirstItem) {
    parser.WaitsForCancel();
    EXPECT_TRUE(RunAndCancel([&] {
        ASSERT_TRUE(parser.WaitForCall("ParseText"));
        EXPECT_TRUE(request.Cancel());
    }));
    EXPECT_EQ(calls.Lines(), Lines());
    EXPECT_TRUE(WasCancelled());
    EXPECT_TRUE(ParserIsGone());
    EXPECT_EQ(ScriptFailure(), "none");
    // The session's options behind a script are not sent any more.
    EXPECT_EQ(request.handlerLog, (Lines{"PreExecute"}));
}

TEST_F(ScriptCancelTest, WhileTheRunWaitsForAnItemInTheMiddle) {
    server.Expect("aa");
    parser.Puts("aa").WaitsForCancel();
    qxutils::Event ended(true, false, "");
    ended.SetTimeout(10000);
    calls.OnLine([&](const std::string& line) {
        if (line.compare(0, 14, "OnBatchItemEnd") == 0)
            ended.SetEvent();
    });
    EXPECT_TRUE(RunAndCancel([&] {
        ASSERT_TRUE(ended.Lock());
        EXPECT_TRUE(request.Cancel());
    }));
    EXPECT_EQ(server.Executed(), (Lines{"aa"}));
    EXPECT_TRUE(ParserIsGone());
}

TEST_F(ScriptCancelTest, WhileTheParserIsMade) {
    qxutils::Event proceed(true, false, "");
    proceed.SetTimeout(10000);
    parser.Puts("never").Completes();
    parser.At("GetParser", [&] {
        EXPECT_TRUE(proceed.Lock());
        return S_OK;
    });
    // The cancel may come late, but not behind the parse.
    parser.At("ParseText", [&] {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (!request.IsCancelled() && std::chrono::steady_clock::now() < end)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        return S_OK;
    });
    EXPECT_TRUE(RunAndCancel([&] {
        ASSERT_TRUE(parser.WaitForCall("GetParser"));
        std::thread canceller([&] { EXPECT_TRUE(request.Cancel()); });
        proceed.SetEvent();
        canceller.join();
    }));
    EXPECT_EQ(server.Executed(), Lines());
    EXPECT_TRUE(ParserIsGone());
}

// The parser first, then the statement.
TEST_F(ScriptCancelTest, WhileAStatementRuns) {
    server.Expect("aa").Hangs();
    parser.Puts(Item("aa").Line(7)).Puts("never").WaitsForCancel();
    // The end of the run cancels a parse that is not yet over once more.
    std::atomic<bool> cancelledBefore{false};
    parser.At("CancelParse", [&] {
        if (!cancelledBefore.exchange(true)) {
            EXPECT_EQ(server.CancelCount(), 0);
            EXPECT_FALSE(request.IsCancelled());
        }
        return S_OK;
    });
    EXPECT_TRUE(RunAndCancel([&] {
        ASSERT_TRUE(server.WaitForHang());
        ASSERT_TRUE(parser.WaitForPuts(2));
        EXPECT_TRUE(request.Cancel());
    }));
    EXPECT_EQ(server.CancelCount(), 1);
    EXPECT_TRUE(WasCancelled());
    EXPECT_EQ(calls.Lines(), (Lines{"OnBatchItemBegin 0 7", "OnExecuteBegin", "OnBatchItemEnd 0 0"}));
    EXPECT_TRUE(ParserIsGone());
}

TEST_F(ScriptCancelTest, WhileTheParserWaitsForTheRun) {
    const qxbatch::Limits before = qxbatch::limits;
    qxbatch::limits.queuedItems = 3;
    server.Expect("aa").Hangs();
    parser.Puts(1000, "aa").Completes();
    EXPECT_TRUE(RunAndCancel([&] {
        ASSERT_TRUE(server.WaitForHang());
        ASSERT_TRUE(parser.WaitForPuts(3));
        EXPECT_TRUE(request.Cancel());
    }));
    qxbatch::limits = before;
    EXPECT_EQ(server.Executed(), (Lines{"aa"}));
    EXPECT_EQ(parser.PutResults().back(), E_ABORT);
    EXPECT_TRUE(ParserIsGone());
}

// The parser has nothing to be cancelled any more; the items that wait are not run.
TEST_F(ScriptCancelTest, AfterTheParserIsDone) {
    qxutils::Event done(true, false, "");
    done.SetTimeout(10000);
    parser.Puts("aa").Puts("never").Completes().Does([&] { done.SetEvent(); });
    server.Expect("aa").Does([&] {
        EXPECT_TRUE(done.Lock());
        request.Cancel();
    });
    EXPECT_THROW(RunScript(), CancelledException);
    EXPECT_EQ(server.Executed(), (Lines{"aa"}));
    EXPECT_FALSE(WasCancelled());
    EXPECT_TRUE(ParserIsGone());
}

TEST_F(ScriptCancelTest, WithinNotifications) {
    const struct {
        const char* at;
        Item item;
        Lines lines;
    } cases[] = {
        {"OnBatchItemBegin", Item("aa"), {"OnBatchItemBegin 0 0", "OnBatchItemEnd 0 0"}},
        {"OnExecuteBegin", Item("aa"), {"OnBatchItemBegin 0 0", "OnExecuteBegin", "OnBatchItemEnd 0 0"}},
        {"OnBatchItemBegin", Item("prompt").Skip(), {"OnBatchItemBegin 0 0", "OnBatchItemEnd 0 0"}},
        {"OnBatchItemEnd", Item("prompt").Skip(), {"OnBatchItemBegin 0 0", "OnBatchItemEnd 0 0"}},
        {"OnBatchItemBegin", Item(";"), {"OnBatchItemBegin 0 0", "OnBatchItemEnd 0 0"}},
        {"OnBatchItemBegin", Item("exec p(1)").Procedure(), {"OnBatchItemBegin 0 0", "OnBatchItemEnd 0 0"}},
        {"OnBatchItemBegin", Item("datacopy").DataCopy(), {"OnBatchItemBegin 0 0", "OnBatchItemEnd 0 0"}},
    };
    for (const auto& one : cases) {
        FakeParser script;
        script.Puts(one.item).Puts("never").WaitsForCancel();
        auto fresh = std::make_unique<OpenRequest>(
            notifications, SmartPtr<qxdbsqlengine::ConnectionRequestCallback>(), store, nullptr, "");
        calls.Clear();
        calls.OnLine([&](const std::string& line) {
            if (line.compare(0, std::string(one.at).size(), one.at) == 0)
                fresh->Cancel();
        });
        fresh->SetSQL("x", SQLRequest::RequestScript, false, false);
        qxdb::Connection connection = server.Connect();
        EXPECT_THROW(fresh->Execute(Def(), connection), CancelledException) << one.at;
        EXPECT_EQ(calls.Lines(), one.lines) << one.at;
        EXPECT_EQ(fresh->GetRequestType(), SQLRequest::RequestScript);
        EXPECT_EQ(script.Calls().back(), "factory gone");
    }
    EXPECT_EQ(server.Executed(), Lines());
}

TEST_F(ScriptCancelTest, WithinTheEndOfTheLastItem) {
    server.Expect("aa");
    parser.Puts("aa").Completes();
    CancelAt("OnBatchItemEnd");
    EXPECT_THROW(RunScript(), CancelledException);
    EXPECT_EQ(server.CancelCount(), 0);
}

TEST_F(ScriptCancelTest, FileIsDeletedAfterACancel) {
    server.Expect("aa").Hangs();
    parser.Puts("aa").WaitsForCancel();
    const std::string path = MakeFile();
    request.SetSQL(path, SQLRequest::RequestScript, true, true);
    std::thread canceller([&] {
        EXPECT_TRUE(server.WaitForHang());
        request.Cancel();
    });
    EXPECT_THROW(request.Execute(Def()), CancelledException);
    canceller.join();
    EXPECT_FALSE(Exists(path));
}

TEST_F(ScriptCancelTest, OnAnEngineTheRunEndsWithoutAnError) {
    parser.Puts("aa").WaitsForCancel();
    server.Expect("aa");
    request.SetSQL("x", SQLRequest::RequestScript, false, false);
    std::thread canceller([&] {
        EXPECT_TRUE(server.WaitForExecutions(1));
        request.Cancel();
    });
    RunOnEngine();
    canceller.join();
    EXPECT_EQ(calls.Lines().back(), "OnRequestEnd");
    EXPECT_EQ(calls.LinesOf("OnError"), Lines());
    EXPECT_TRUE(ParserIsGone());
}

TEST_F(ScriptCancelTest, CloneOfACancelledScriptRuns) {
    parser.Puts(Item("exec p(1)").Procedure()).WaitsForCancel();
    CancelAt("OnBatchItemBegin");
    EXPECT_THROW(RunScript(), CancelledException);
    calls.OnLine(nullptr);
    server.Expect("bb");
    FakeParser good;
    good.Puts("bb").Completes();
    const std::unique_ptr<SQLRequest> clone = request.CloneRequest();
    EXPECT_EQ(clone->GetRequestType(), SQLRequest::RequestScript);
    EXPECT_TRUE(clone->Execute(Def()));
    EXPECT_EQ(server.Executed(), (Lines{"bb"}));
}

// Another thread cancels, and asks for progress and failure, at no particular moment.
TEST_F(ScriptCancelTest, RacesWithEveryStage) {
    const qxbatch::Limits before = qxbatch::limits;
    qxbatch::limits.queuedItems = 2;
    for (int i = 0; i < 300; ++i) {
        ScriptedServer quick;
        quick.AcceptOthers();
        FakeParser script;
        for (int item = 0; item < 8; ++item)
            script.Puts(Item("statement").End(10 * item)).Puts(Item("prompt").Skip());
        script.Completes();
        const std::unique_ptr<SQLRequest> clone = request.CloneRequest(NewStore(), notifications);
        clone->SetSQL("x", SQLRequest::RequestScript, false, false);
        qxdb::Connection connection = quick.Connect();
        std::atomic<bool> ended{false};
        std::thread canceller([&] {
            HRESULT code = S_OK;
            std::string reason;
            // The later the round, the later the cancel.
            for (int look = 0; look < i && !ended; ++look) {
                EXPECT_LE(clone->GetScriptBytesDone(), 70);
                EXPECT_FALSE(clone->GetScriptFailure(code, reason)) << reason;
            }
            EXPECT_TRUE(clone->Cancel());
        });
        try {
            clone->Execute(Def(), connection);
        } catch (const CancelledException&) {
        }
        ended = true;
        canceller.join();
        EXPECT_EQ(script.Calls().back(), "factory gone");
    }
    qxbatch::limits = before;
}

}  // namespace
}  // namespace qxtest
