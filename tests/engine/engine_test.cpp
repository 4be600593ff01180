#include "engine/engine.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "engine/notification.h"
#include "platform/qxutils/lock_fault.h"
#include "platform/qxutils/qx_exception.h"
#include "support/recording_callbacks.h"

namespace {

using namespace qxdbsqlengine;
using qxtest::RecordingCallbacks;
using qxutils::Event;
using Lines = std::vector<std::string>;
using NotificationsPtr = SmartPtr<NotificationCallbacks>;

bool Eventually(const std::function<bool()>& condition) {
    for (int i = 0; i < 10000; ++i) {
        if (condition()) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return condition();
}

std::atomic<int> livingRequests{0};

// Runs a function, with or without notifications.
template <class Base>
class Running : public Base {
  public:
    template <class... Arguments>
    explicit Running(std::function<void(const ConnectionDefElement&)> work, const Arguments&... arguments)
        : Base(arguments...), body(std::move(work)) {
        ++livingRequests;
    }
    ~Running() override { --livingRequests; }

    bool Execute(const ConnectionDefElement& def) override {
        body(def);
        return true;
    }
    bool Execute(const ConnectionDefElement&, qxdb::Connection&) override { return false; }
    bool Cancel() override {
        ++cancels;
        Request::Cancel();
        return cancelResult;
    }
    void Check() { this->CheckCancelled(); }

    std::atomic<int> cancels{0};
    std::atomic<bool> cancelResult{true};

  private:
    std::function<void(const ConnectionDefElement&)> body;
};

using Plain = Running<Request>;
using Notifying = Running<DispatchCallbacks>;
using Work = std::function<void(const ConnectionDefElement&)>;

Work Nothing() {
    return [](const ConnectionDefElement&) {};
}

class EngineTest : public testing::Test {
  protected:
    EngineTest() : engine(Engine::Create()), list(new NotificationCallbacks), go(true, false, "") {
        calls.AddTo(*list);
        go.SetTimeout(10000);
    }
    void TearDown() override {
        go.SetEvent();
        engine = ThreadPtr<IEngine>();
        EXPECT_TRUE(Eventually([] { return livingRequests == 0; })) << "a request was not released";
    }

    int Queue(Request* request) {
        RequestPtr held(request);
        return Queue(held);
    }
    int Queue(RequestPtr& request) {
        return static_cast<EngineT<RequestPtr>*>(engine.operator->())->QueueRequest(request);
    }
    // A request that tells when it runs and then waits for `go`.
    Work Waiting() {
        return [this](const ConnectionDefElement&) {
            ++entered;
            go.Lock();
        };
    }
    void Start() { engine->Start(ConnectionDefElement()); }
    bool WaitIdle() {
        return Eventually([this] { return !engine->IsExecuting(); });
    }
    bool WaitEnded() {
        return Eventually([this] { return engine->ExecutionCompleted(); });
    }

    ThreadPtr<IEngine> engine;
    NotificationsPtr list;
    RecordingCallbacks calls;
    Event go;
    std::atomic<int> entered{0};
};

TEST_F(EngineTest, NothingRunsBeforeStart) {
    ASSERT_TRUE(engine);
    EXPECT_TRUE(engine->Initialized());
    EXPECT_FALSE(engine->IsExecuting());
    Queue(new Plain(Waiting()));
    EXPECT_TRUE(engine->IsExecuting());
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    EXPECT_EQ(entered, 0);
    go.SetEvent();
    Start();
    EXPECT_TRUE(WaitIdle());
    EXPECT_EQ(entered, 1);
    EXPECT_FALSE(engine->ExecutionCompleted());
}

TEST_F(EngineTest, IdsGrowFromOneAndRequestsRunInOrder) {
    std::mutex mutex;
    std::vector<int> order;
    std::atomic<int> running{0};
    std::atomic<bool> together{false};
    const auto work = [&](int number) {
        return [&, number](const ConnectionDefElement&) {
            if (++running != 1) {
                together = true;
            }
            {
                const std::lock_guard<std::mutex> guard(mutex);
                order.push_back(number);
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
            --running;
        };
    };
    Start();
    EXPECT_EQ(Queue(new Plain(work(1))), 1);
    EXPECT_EQ(Queue(new Plain(work(2))), 2);
    EXPECT_TRUE(WaitIdle());
    EXPECT_EQ(Queue(new Plain(work(3))), 3);
    EXPECT_TRUE(WaitIdle());
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
    EXPECT_FALSE(together);
}

TEST_F(EngineTest, OnlyWaitingRequestsAreQueued) {
    const auto isQueued = [this](const RequestPtr& request) {
        return static_cast<EngineT<RequestPtr>*>(engine.operator->())->IsQueued(request);
    };
    RequestPtr first(new Plain(Waiting()));
    RequestPtr second(new Plain(Nothing()));
    const RequestPtr unknown(new Plain(Nothing()));
    EXPECT_FALSE(isQueued(first));
    Queue(first);
    Queue(second);
    EXPECT_TRUE(isQueued(first));
    EXPECT_TRUE(isQueued(second));
    EXPECT_FALSE(isQueued(unknown));
    EXPECT_FALSE(isQueued(RequestPtr()));
    Start();
    ASSERT_TRUE(Eventually([this] { return entered == 1; }));
    EXPECT_FALSE(isQueued(first)) << "it runs";
    EXPECT_TRUE(isQueued(second));
    go.SetEvent();
    ASSERT_TRUE(WaitIdle());
    EXPECT_FALSE(isQueued(second));
}

TEST_F(EngineTest, RequestsGetTheEnginesDefinition) {
    ConnectionDefElement def(qxdb::DBTYPE_ORACLE, "orcl", 8.17, "scott", "tiger");
    std::string seen;
    engine->Start(def);
    def.SetDataSourceName("changed");
    EXPECT_EQ(engine->GetConnectionDefElement().GetDataSourceName(), "orcl");
    Queue(new Plain([&seen](const ConnectionDefElement& given) { seen = given.GetDataSourceName(); }));
    EXPECT_TRUE(WaitIdle());
    EXPECT_EQ(seen, "orcl");
}

TEST_F(EngineTest, RunIsBracketedByNotifications) {
    Start();
    Queue(new Notifying([this](const ConnectionDefElement&) { calls.OnDebugEvent(1, nullptr, 0.0); }, list));
    EXPECT_TRUE(WaitIdle());
    EXPECT_EQ(calls.AllLines(), (Lines{"OnRequestBegin", "OnDebugEvent 1", "OnRequestEnd"}));
}

TEST_F(EngineTest, PlainRequestRunsWithoutNotifications) {
    Start();
    go.SetEvent();
    Queue(new Plain(Waiting()));
    EXPECT_TRUE(WaitIdle());
    EXPECT_EQ(entered, 1);
    EXPECT_EQ(calls.AllLines(), Lines{});
}

struct FailureCase {
    const char* name;
    std::function<void()> fail;
    Lines lines;
};

class EngineFailureTest : public EngineTest, public testing::WithParamInterface<FailureCase> {};

TEST_P(EngineFailureTest, BecomesNotificationsAndTheLoopGoesOn) {
    Start();
    Queue(new Notifying([](const ConnectionDefElement&) { GetParam().fail(); }, list));
    EXPECT_TRUE(WaitIdle());
    EXPECT_EQ(calls.AllLines(), GetParam().lines);
    calls.Clear();
    Queue(new Notifying(Nothing(), list));
    EXPECT_TRUE(WaitIdle());
    EXPECT_EQ(calls.AllLines(), (Lines{"OnRequestBegin", "OnRequestEnd"}));
}

TEST_P(EngineFailureTest, OfAPlainRequestLeavesNoTrace) {
    Start();
    Queue(new Plain([](const ConnectionDefElement&) { GetParam().fail(); }));
    EXPECT_TRUE(WaitIdle());
    EXPECT_EQ(calls.AllLines(), Lines{});
    Queue(new Notifying(Nothing(), list));
    EXPECT_TRUE(WaitIdle());
    EXPECT_EQ(calls.AllLines(), (Lines{"OnRequestBegin", "OnRequestEnd"}));
}

Lines Failed(const char* text) {
    return {"OnRequestBegin", std::string("OnError ") + text, "OnRequestEnd"};
}

INSTANTIATE_TEST_SUITE_P(
    Exceptions, EngineFailureTest,
    testing::Values(
        FailureCase{"Cancelled", [] { throw CancelledException(); }, {"OnRequestBegin", "OnRequestEnd"}},
        FailureCase{"Errors",
                    [] {
                        throw qxtest::MakeErrors({UserErrorRecord("one"), UserErrorRecord("two")});
                    },
                    Failed("one | two")},
        FailureCase{"QXException", [] { throw qxutils::QXException("own"); }, Failed("own")},
        FailureCase{"Standard", [] { throw std::runtime_error("standard"); }, Failed("standard")},
        FailureCase{"Int", [] { throw 5; }, Failed("Unknown Error")},
        FailureCase{"Text", [] { throw "text"; }, Failed("Unknown Error")}),
    [](const testing::TestParamInfo<FailureCase>& failure) { return failure.param.name; });

TEST_F(EngineTest, UnknownFailureIsOneRecord) {
    Start();
    Queue(new Notifying([](const ConnectionDefElement&) { throw 5; }, list));
    EXPECT_TRUE(WaitIdle());
    const Errors errors = calls.LastErrors();
    ASSERT_EQ(errors.GetNumberErrors(), 1u);
    const ErrorRecord record = errors.GetNextError();
    EXPECT_EQ(record.GetErrorDescription(), "Unknown Error");
    EXPECT_EQ(record.GetSeverity(), 0);
    EXPECT_EQ(record.GetErrorCode(), 0);
}

TEST_F(EngineTest, CancelledRunEndsAtItsCheck) {
    Start();
    Notifying* request = nullptr;
    bool behind = false;
    request = new Notifying(
        [&](const ConnectionDefElement&) {
            ++entered;
            go.Lock();
            request->Check();
            behind = true;
        },
        list);
    RequestPtr held(request);
    Queue(held);
    EXPECT_TRUE(Eventually([this] { return entered == 1; }));
    held->Cancel();
    go.SetEvent();
    EXPECT_TRUE(WaitIdle());
    EXPECT_FALSE(behind);
    EXPECT_EQ(calls.AllLines(), (Lines{"OnRequestBegin", "OnRequestEnd"}));
}

TEST_F(EngineTest, ThrowingBeginCallbackIsAFailureOfTheRun) {
    calls.OnLine([](const std::string& line) {
        if (line == "OnRequestBegin") {
            throw std::runtime_error("begin");
        }
    });
    Start();
    go.SetEvent();
    Queue(new Notifying(Waiting(), list));
    EXPECT_TRUE(WaitIdle());
    EXPECT_EQ(entered, 0);
    EXPECT_EQ(calls.AllLines(), Failed("begin"));
}

// A failure of the notifications of a failure ends the thread, and the engine never becomes idle.
TEST_F(EngineTest, ThrowingErrorCallbackEndsTheThread) {
    const std::vector<std::function<void()>> failures = {
        [] { throw 1; }, [] { throw std::runtime_error("x"); }, [] { throw qxtest::MakeErrors("x"); }};
    for (const std::function<void()>& failure : failures) {
        engine = Engine::Create();
        calls.OnLine([&failure](const std::string& line) {
            if (line.rfind("OnError", 0) == 0) {
                failure();
            }
        });
        Start();
        Queue(new Notifying([](const ConnectionDefElement&) { throw 5; }, list));
        EXPECT_TRUE(WaitEnded());
        EXPECT_TRUE(engine->IsExecuting());
    }
}

TEST_F(EngineTest, ThrowingEndCallbackIsReportedAndToldAgain) {
    int ends = 0;
    calls.OnLine([&ends](const std::string& line) {
        if (line == "OnRequestEnd" && ++ends == 1) {
            throw std::runtime_error("end");
        }
    });
    Start();
    Queue(new Notifying(Nothing(), list));
    EXPECT_TRUE(WaitIdle());
    EXPECT_EQ(calls.AllLines(), (Lines{"OnRequestBegin", "OnRequestEnd", "OnError end", "OnRequestEnd"}));
}

TEST_F(EngineTest, CancelOfUnknownAndRunningIdsChangesNothing) {
    EXPECT_TRUE(engine->CancelRequest(1));
    auto* const request = new Notifying(Waiting(), list);
    RequestPtr held(request);
    EXPECT_EQ(Queue(held), 1);
    Start();
    EXPECT_TRUE(Eventually([this] { return entered == 1; }));
    EXPECT_TRUE(engine->CancelRequest(1));
    EXPECT_TRUE(engine->CancelRequest(99));
    EXPECT_TRUE(engine->CancelRequest(-1));
    EXPECT_EQ(request->cancels, 0);
    go.SetEvent();
    EXPECT_TRUE(WaitIdle());
    EXPECT_EQ(calls.AllLines(), (Lines{"OnRequestBegin", "OnRequestEnd"}));
    EXPECT_TRUE(engine->CancelRequest(1));
}

TEST_F(EngineTest, LaterWaitingRequestIsTakenOut) {
    auto* const front = new Plain(Waiting());
    auto* const second = new Notifying(Waiting(), list);
    RequestPtr heldFront(front);
    RequestPtr heldSecond(second);
    Queue(heldFront);
    const int id = Queue(heldSecond);
    EXPECT_TRUE(engine->CancelRequest(id));
    EXPECT_TRUE(engine->CancelRequest(id));
    Start();
    go.SetEvent();
    EXPECT_TRUE(WaitIdle());
    EXPECT_EQ(entered, 1);
    EXPECT_EQ(front->cancels, 0);
    EXPECT_EQ(second->cancels, 0);
    EXPECT_FALSE(second->IsCancelled());
    EXPECT_EQ(calls.AllLines(), Lines{});
}

TEST_F(EngineTest, FirstWaitingRequestIsCancelledAndStays) {
    auto* const request = new Notifying(Nothing(), list);
    RequestPtr held(request);
    const int id = Queue(held);
    EXPECT_TRUE(engine->CancelRequest(id));
    EXPECT_EQ(request->cancels, 1);
    Start();
    EXPECT_TRUE(WaitIdle());
    EXPECT_EQ(calls.AllLines(), (Lines{"OnRequestBegin", "OnRequestEnd"}));
}

TEST_F(EngineTest, FailedCancelOfTheFirstStopsTheEngine) {
    auto* const front = new Plain(Waiting());
    front->cancelResult = false;
    const int first = Queue(front);
    const int second = Queue(new Plain(Waiting()));
    EXPECT_FALSE(engine->CancelRequest(first));
    EXPECT_EQ(front->cancels, 1);
    // From now on everything is refused, and nothing is cancelled.
    EXPECT_FALSE(engine->CancelRequest(first));
    EXPECT_FALSE(engine->CancelRequest(second));
    EXPECT_FALSE(engine->CancelRequest(99));
    EXPECT_EQ(front->cancels, 1);
    Start();
    EXPECT_TRUE(WaitEnded());
    EXPECT_EQ(entered, 0);
    EXPECT_FALSE(engine->IsExecuting());
}

TEST_F(EngineTest, StopLetsTheRunningRequestFinish) {
    Start();
    Queue(new Notifying(Waiting(), list));
    auto* const next = new Notifying(Waiting(), list);
    Queue(next);
    EXPECT_TRUE(Eventually([this] { return entered == 1; }));
    engine->Stop(false);
    EXPECT_TRUE(engine->IsExecuting());
    EXPECT_FALSE(engine->ExecutionCompleted());
    EXPECT_EQ(next->cancels, 0);
    go.SetEvent();
    EXPECT_TRUE(WaitEnded());
    EXPECT_FALSE(engine->IsExecuting());
    EXPECT_EQ(entered, 1);
    EXPECT_EQ(calls.AllLines(), (Lines{"OnRequestBegin", "OnRequestEnd"}));
    EXPECT_EQ(livingRequests, 1) << "what waited is dropped with the engine";
}

TEST_F(EngineTest, StopCancelsTheFirstWaitingRequestOnly) {
    auto* const front = new Plain(Waiting());
    auto* const second = new Plain(Waiting());
    front->cancelResult = false;
    Queue(front);
    Queue(second);
    engine->Stop(true);
    EXPECT_EQ(front->cancels, 1);
    EXPECT_EQ(second->cancels, 0);
    Start();
    EXPECT_TRUE(WaitEnded());
    EXPECT_EQ(entered, 0);
}

TEST_F(EngineTest, StopCancelsNoRunningRequest) {
    Start();
    auto* const request = new Plain(Waiting());
    RequestPtr held(request);
    Queue(held);
    EXPECT_TRUE(Eventually([this] { return entered == 1; }));
    engine->Stop(true);
    EXPECT_EQ(request->cancels, 0);
    go.SetEvent();
    EXPECT_TRUE(WaitEnded());
    EXPECT_EQ(request->cancels, 0);
}

TEST_F(EngineTest, SecondStopDoesNothing) {
    auto* const front = new Plain(Waiting());
    Queue(front);
    engine->Stop(false);
    engine->Stop(true);
    engine->Stop(false);
    EXPECT_EQ(front->cancels, 0);
}

TEST_F(EngineTest, StopOfAnIdleEngineEndsIt) {
    Start();
    Queue(new Plain(Nothing()));
    EXPECT_TRUE(WaitIdle());
    engine->Stop(false);
    EXPECT_TRUE(WaitEnded());
    EXPECT_FALSE(engine->IsExecuting());
    // Whatever is queued afterwards waits in vain.
    go.SetEvent();
    Queue(new Plain(Waiting()));
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(entered, 0);
}

TEST_F(EngineTest, StopWorksOnTheEnginesOwnThread) {
    calls.OnLine([this](const std::string& line) {
        if (line == "OnRequestEnd") {
            engine->Stop(false);
        }
    });
    Start();
    Queue(new Notifying(Nothing(), list));
    EXPECT_TRUE(WaitEnded());
    EXPECT_FALSE(engine->IsExecuting());
}

TEST_F(EngineTest, QueueingWorksDuringARun) {
    Start();
    Queue(new Plain([this](const ConnectionDefElement&) { Queue(new Plain(Waiting())); }));
    go.SetEvent();
    EXPECT_TRUE(WaitIdle());
    EXPECT_EQ(entered, 1);
}

// The waiting request tells that the engine is gone, since its data goes with it.
TEST_F(EngineTest, LastHandleOnAnIdleEngineEndsItsThread) {
    Start();
    Queue(new Plain(Nothing()));
    EXPECT_TRUE(WaitIdle());
    engine->Stop(false);
    EXPECT_TRUE(WaitEnded());
    Queue(new Plain(Nothing()));
    EXPECT_EQ(livingRequests, 1);
    engine = ThreadPtr<IEngine>();
    EXPECT_TRUE(Eventually([] { return livingRequests == 0; }));
}

TEST_F(EngineTest, LastHandleDuringARunLetsItFinish) {
    Start();
    Queue(new Notifying(Waiting(), list));
    auto* const next = new Plain(Waiting());
    RequestPtr held(next);
    Queue(held);
    EXPECT_TRUE(Eventually([this] { return entered == 1; }));
    engine = ThreadPtr<IEngine>();
    EXPECT_EQ(next->cancels, 1);
    go.SetEvent();
    held = RequestPtr();
    EXPECT_TRUE(Eventually([] { return livingRequests == 0; }));
    EXPECT_EQ(calls.AllLines(), (Lines{"OnRequestBegin", "OnRequestEnd"}));
    EXPECT_EQ(entered, 1);
}

TEST_F(EngineTest, NeverStartedEngineGoesWithItsHandle) {
    Queue(new Plain(Nothing()));
    engine = ThreadPtr<IEngine>();
    EXPECT_TRUE(Eventually([] { return livingRequests == 0; }));
}

TEST_F(EngineTest, RunReleasesItsRequest) {
    Start();
    Queue(new Plain(Nothing()));
    EXPECT_TRUE(Eventually([] { return livingRequests == 0; }));
}

// Refuses critical sections, not read-write locks, while it is on.
struct RefuseOne : qxutils::LockFaultInjector {
    std::atomic<const void*> target{nullptr};
    bool RefuseLock(const void* lock) override { return lock == target; }
};

// Notes which lock was taken last.
struct NoteLock : qxutils::LockFaultInjector {
    const void* last = nullptr;
    bool RefuseLock(const void* lock) override {
        last = lock;
        return false;
    }
};

TEST_F(EngineTest, RefusedLockLeavesTheCallsAndEndsTheLoop) {
    NoteLock note;
    qxutils::SetLockFaultInjector(&note);
    engine->CancelRequest(1);
    RefuseOne refuse;
    refuse.target = note.last;
    qxutils::SetLockFaultInjector(&refuse);

    RequestPtr request(new Plain(Waiting()));
    EXPECT_THROW(Queue(request), std::runtime_error);
    EXPECT_FALSE(engine->IsExecuting());
    EXPECT_THROW(engine->Stop(true), std::runtime_error);
    EXPECT_THROW(engine->CancelRequest(1), std::runtime_error);

    refuse.target = nullptr;
    Queue(request);
    refuse.target = note.last;
    Start();
    EXPECT_TRUE(WaitEnded());
    EXPECT_TRUE(engine->IsExecuting());
    EXPECT_EQ(entered, 0);
    qxutils::SetLockFaultInjector(nullptr);
}

TEST(EngineDataTest, InitialValues) {
    EngineData data;
    EXPECT_FALSE(data.executing);
    EXPECT_FALSE(data.stopRequested);
    EXPECT_TRUE(data.queue.empty());
    EXPECT_EQ(data.nextRequestId, 1);
    EXPECT_FALSE(data.discarded);
    data.wakeEvent.SetTimeout(0);
    EXPECT_FALSE(data.wakeEvent.Lock());
    data.wakeEvent.SetEvent();
    EXPECT_TRUE(data.wakeEvent.Lock());
    EXPECT_TRUE(data.wakeEvent.Lock());
}

TEST_F(EngineTest, ManyCallersQueueAndCancel) {
    Start();
    std::atomic<int> ran{0};
    std::vector<std::thread> callers;
    for (int t = 0; t < 4; ++t) {
        callers.emplace_back([&] {
            for (int i = 0; i < 200; ++i) {
                const int id = Queue(new Plain([&ran](const ConnectionDefElement&) { ++ran; }));
                EXPECT_GT(id, 0);
                if (i % 5 == 0) {
                    EXPECT_TRUE(engine->CancelRequest(id));
                }
            }
        });
    }
    for (std::thread& caller : callers) {
        caller.join();
    }
    EXPECT_TRUE(WaitIdle());
    EXPECT_LE(ran, 800);
    EXPECT_GE(ran, 640);
    EXPECT_TRUE(Eventually([] { return livingRequests == 0; }));
}

}  // namespace
