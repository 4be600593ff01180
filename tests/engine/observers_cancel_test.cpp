// Cancelling of runs that windows watch: at every notification, by every thread, with drivers that do not
// come back.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "cancel_support.h"
#include "engine/director.h"
#include "observer_window.h"
#include "support/gate.h"
#include "support/window_thread.h"

namespace {

using namespace qxdbsqlengine;
using namespace qxtest;
using qxos::PumpMessages;

Result TwoRows() {
    return Rows({TextColumn("A")}, {{"a"}, {"b"}});
}

bool WaitForSender() {
    return Eventually([] { return GetQueueStatus(QS_SENDMESSAGE) != 0; });
}

// A driver whose cancel blocks for longer than the caller waits, and runs that have time to end.
CancelTimes BlockedCancelTimes() {
    CancelTimes times = PatientTimes();
    times.driverCancelMs = 30;
    return times;
}

class ObserversCancelTest : public CancelTest {
  protected:
    explicit ObserversCancelTest(const CancelTimes& cancelTimes = PatientTimes()) : CancelTest(cancelTimes) {
        director->RegisterObserver(window.Handle());
    }
    void TearDown() override {
        // Runs that wait for the window would never give their connection back.
        window.Destroy();
        CancelTest::TearDown();
    }
    bool PumpUntilReturned() {
        return ObserverWindow::PumpUntil([this] { return Releases() == 1; });
    }

    ObserverWindow window;
};

// ---- Within a notification ----

// A notification of a run of two rows, and how a run ends that is cancelled there.
struct Moment {
    EngineNotificationKind kind;
    bool statementIsSent;
    Lines kinds;
    int rows;  // that are kept; -1 for no result set
};

const Moment moments[] = {
    {KindRequestBegin, false, {"3", "12", "13", "4"}, -1},
    {KindBatchItemBegin, false, {"3", "12", "13", "4"}, -1},
    {KindExecuteBegin, false, {"3", "12", "6", "13", "4"}, -1},
    {KindExecuteEnd, true, {"3", "12", "6", "7", "13", "4"}, -1},
    {KindPreResultSetBegin, true, {"3", "12", "6", "7", "8", "9", "11", "13", "4"}, 1},
    {KindResultSetBegin, true, {"3", "12", "6", "7", "8", "9", "11", "13", "4"}, 1},
    {KindResultSetEnd, true, {"3", "12", "6", "7", "8", "9", "11", "13", "4"}, 2},
    {KindBatchItemEnd, true, {"3", "12", "6", "7", "8", "9", "11", "13", "4"}, 2},
};

std::ostream& operator<<(std::ostream& stream, const Moment& moment) {
    return stream << moment.kind;
}

// Who cancels.
struct Canceller {
    const char* name;
    std::function<void(OpenDirector&)> cancel;
};

const Canceller cancellers[] = {
    {"TheWindow", [](OpenDirector& director) { EXPECT_TRUE(director.Cancel()); }},
    {"TheWindowTwice",
     [](OpenDirector& director) {
         EXPECT_TRUE(director.Cancel());
         EXPECT_TRUE(director.Cancel());
     }},
    {"AnotherThread",
     [](OpenDirector& director) { std::thread([&director] { EXPECT_TRUE(director.Cancel()); }).join(); }},
    {"ManyThreads",
     [](OpenDirector& director) {
         std::vector<std::thread> threads;
         for (int i = 0; i < 8; ++i) {
             threads.emplace_back([&director] { EXPECT_TRUE(director.Cancel()); });
         }
         for (std::thread& thread : threads) {
             thread.join();
         }
     }},
};

std::ostream& operator<<(std::ostream& stream, const Canceller& canceller) {
    return stream << canceller.name;
}

class MomentTest : public ObserversCancelTest,
                   public testing::WithParamInterface<std::tuple<Moment, Canceller>> {
  protected:
    const Moment& At() const { return std::get<0>(GetParam()); }
    void Cancel() { std::get<1>(GetParam()).cancel(*director); }
    // Does `action` once, within the notification of the moment.
    void RunUntilThen(const std::function<void()>& action) {
        window.OnKind([this, action](WPARAM kind) {
            if (static_cast<int>(kind) == At().kind) {
                window.OnKind(nullptr);
                action();
            }
        });
        if (At().statementIsSent) {
            server.Expect("x").Returns(TwoRows());
        }
        Start("x");
    }
};

TEST_P(MomentTest, EndsWithoutAnError) {
    const SmartPtr<DataStorage> store = director->GetDataStorage();
    RunUntilThen([this] {
        EXPECT_TRUE(CountsAsRunning());
        Cancel();
        EXPECT_FALSE(CountsAsRunning()) << "idle at once";
        EXPECT_TRUE(director->IsExecuting()) << "the engine waits for this window";
    });
    ASSERT_TRUE(window.PumpUntilKind(KindRequestEnd));
    EXPECT_EQ(window.Kinds(), At().kinds);
    EXPECT_TRUE(director->IsCancelled());
    EXPECT_EQ(store->GetNumberOfResultSets(), At().rows < 0 ? 0 : 1);
    if (At().rows >= 0) {
        EXPECT_EQ(store->GetNumberOfRows(0), At().rows);
    }
    EXPECT_TRUE(PumpUntilReturned());
    EXPECT_TRUE(WaitUntilNobodyIsLeft());
    EXPECT_EQ(cancelFailures, 0);
}

TEST_P(MomentTest, DirectorGoesAfterwards) {
    const auto begin = std::chrono::steady_clock::now();
    RunUntilThen([this] {
        Cancel();
        director.reset();
    });
    EXPECT_TRUE(PumpUntilReturned());
    EXPECT_TRUE(WaitUntilNobodyIsLeft());
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(8)) << "nobody waited in vain";
    EXPECT_EQ(KindOf(window.Lines().back()), std::to_string(At().kind)) << "and nothing is told any more";
}

TEST_P(MomentTest, WindowGoesAfterwards) {
    RunUntilThen([this] {
        Cancel();
        window.Destroy();
    });
    EXPECT_TRUE(ObserverWindow::PumpUntil([this] { return !calls.LinesOf("OnRequestEnd").empty(); }));
    EXPECT_EQ(KindOf(window.Lines().back()), std::to_string(At().kind));
    EXPECT_EQ(calls.LinesOf("OnError"), Lines());
}

std::string NameOf(const testing::TestParamInfo<std::tuple<Moment, Canceller>>& it) {
    return "Kind" + std::to_string(std::get<0>(it.param).kind) + "By" + std::get<1>(it.param).name;
}

INSTANTIATE_TEST_SUITE_P(All, MomentTest,
                         testing::Combine(testing::ValuesIn(moments), testing::ValuesIn(cancellers)), NameOf);

TEST_F(ObserversCancelTest, WithinTheEndThereIsNothingToCancel) {
    server.Expect("x").Returns(TwoRows());
    window.OnKind([this](WPARAM kind) {
        if (kind == KindRequestEnd) {
            EXPECT_TRUE(director->Cancel());
        }
    });
    Start("x");
    ASSERT_TRUE(window.PumpUntilKind(KindRequestEnd));
    EXPECT_FALSE(director->IsCancelled());
    EXPECT_EQ(server.CancelCount(), 0);
}

TEST_F(ObserversCancelTest, WithinTheErrorOfAStatement) {
    server.Expect("x").Fails(MakeErrors("broken"));
    window.OnKind([this](WPARAM kind) {
        if (kind == KindError) {
            EXPECT_TRUE(director->Cancel());
        }
    });
    Start("x");
    ASSERT_TRUE(window.PumpUntilKind(KindRequestEnd));
    EXPECT_EQ(window.Count(KindError), 1u);
    EXPECT_TRUE(director->IsCancelled());
}

// ---- While the window's thread is elsewhere ----

// The engine waits for the window, whose thread cancels without pumping.
TEST_F(ObserversCancelTest, WhileTheRunWaitsForTheWindow) {
    Start("x");
    ASSERT_TRUE(window.PumpUntilKind(KindRequestBegin));
    ASSERT_TRUE(WaitForSender());
    EXPECT_TRUE(director->Cancel());
    EXPECT_EQ(window.Kinds(), Lines{"3"}) << "a cancel does not pump";
    ASSERT_TRUE(window.PumpUntilKind(KindRequestEnd));
    EXPECT_EQ(window.Kinds(), (Lines{"3", "12", "13", "4"}));
    EXPECT_EQ(cancelFailures, 0);
}

TEST_F(ObserversCancelTest, OfAStatementThatHangs) {
    server.Expect("x").Hangs();
    Start("x");
    ASSERT_TRUE(window.PumpUntilKind(KindExecuteBegin));
    ASSERT_TRUE(server.WaitForHang());
    EXPECT_TRUE(director->Cancel());
    ASSERT_TRUE(window.PumpUntilKind(KindRequestEnd));
    EXPECT_EQ(window.Kinds(), (Lines{"3", "12", "6", "13", "4"}));
    EXPECT_EQ(server.CancelCount(), 1);
}

// The rows that arrived are told and kept.
TEST_F(ObserversCancelTest, WhileRowsArrive) {
    const Gate gate;
    server.Expect("x").Returns(TwoRows().AtRow(1, [gate] { gate.Pass(); }));
    Start("x");
    ASSERT_TRUE(window.PumpUntilKind(KindResultSetBegin));
    ASSERT_TRUE(ObserverWindow::PumpUntil([&gate] { return gate.Arrivals() == 1; }));
    EXPECT_TRUE(director->Cancel());
    gate.Open();
    ASSERT_TRUE(window.PumpUntilKind(KindRequestEnd));
    EXPECT_EQ(Column(director->GetDataStorage()), (Lines{"a", "b"}));
    ASSERT_GE(window.Count(KindResultSetUpdate), 1u);
    EXPECT_EQ(window.Count(KindError), 0u);
}

TEST_F(ObserversCancelTest, RunThatIsStillQueued) {
    const Gate gate;
    KeepBusy(director->GetEngine(), gate);
    Start("x");
    EXPECT_TRUE(director->Cancel());
    gate.Open();
    ASSERT_TRUE(window.PumpUntilKind(KindRequestEnd));
    EXPECT_EQ(window.Kinds(), (Lines{"3", "12", "13", "4"}));
}

// ---- A driver whose cancel blocks ----

class ObserversBlockedCancelTest : public ObserversCancelTest {
  protected:
    ObserversBlockedCancelTest() : ObserversCancelTest(BlockedCancelTimes()) {
        server.OnCancel([cancel = cancel] { cancel.Pass(); });
    }
    void TearDown() override {
        cancel.Open();
        ObserversCancelTest::TearDown();
    }

    const Gate cancel;
};

TEST_F(ObserversBlockedCancelTest, WithinANotification) {
    server.Expect("x").Returns(TwoRows());
    window.OnKind([this](WPARAM kind) {
        if (kind == KindResultSetBegin) {
            EXPECT_TRUE(director->Cancel());
            EXPECT_FALSE(request->cancelResult);
            EXPECT_TRUE(CountsAsRunning());
        }
    });
    Start("x");
    ASSERT_TRUE(window.PumpUntilKind(KindRequestEnd));
    EXPECT_EQ(window.Kinds(), (Lines{"3", "12", "6", "7", "8", "9", "11", "13", "4"}));
    EXPECT_TRUE(ObserverWindow::PumpUntil([this] { return !CountsAsRunning(); }));
    EXPECT_EQ(cancel.Arrivals(), 1);
    cancel.Open();
    EXPECT_TRUE(WaitUntilNobodyIsLeft());
    EXPECT_EQ(cancelFailures, 0);
}

TEST_F(ObserversBlockedCancelTest, DirectorGoesWithinANotification) {
    server.Expect("x").Returns(TwoRows());
    window.OnKind([this](WPARAM kind) {
        if (kind == KindResultSetBegin) {
            director.reset();
        }
    });
    Start("x");
    EXPECT_TRUE(PumpUntilReturned());
    EXPECT_EQ(cancel.Arrivals(), 1);
    cancel.Open();
    EXPECT_TRUE(WaitUntilNobodyIsLeft());
    EXPECT_EQ(window.Kinds(), (Lines{"3", "12", "6", "7", "8", "9"}));
}

// ---- A driver that does not come back ----

class ObserversGiveUpTest : public ObserversCancelTest {
  protected:
    ObserversGiveUpTest() : ObserversCancelTest(ImpatientTimes()) {}

    void StartStuck() {
        server.Expect("x").Hangs(false).Returns(TwoRows());
        Start("x");
        ASSERT_TRUE(window.PumpUntilKind(KindExecuteBegin));
        ASSERT_TRUE(server.WaitForHang());
    }

    const Lines givenUp = {"3", "12", "6", "1", "5"};
};

TEST_F(ObserversGiveUpTest, IsToldByTheWatchdog) {
    StartStuck();
    EXPECT_TRUE(director->Cancel());
    ASSERT_TRUE(window.PumpUntilKind(KindCancelFailed));
    EXPECT_EQ(window.Kinds(), givenUp);
    EXPECT_EQ(window.Lines()[3], "1 OnError " + NotRespondedText());
    EXPECT_FALSE(CountsAsRunning());
    server.Release();
    ASSERT_TRUE(window.PumpUntilKind(KindRequestEnd));
    EXPECT_EQ(cancelFailures, 1);
}

class ObserversGiveUpWithinTest : public ObserversGiveUpTest,
                                  public testing::WithParamInterface<EngineNotificationKind> {};

TEST_P(ObserversGiveUpWithinTest, DirectorGoes) {
    window.OnKind([this](WPARAM kind) {
        if (static_cast<int>(kind) == GetParam()) {
            director.reset();
        }
    });
    StartStuck();
    EXPECT_TRUE(director->Cancel());
    ASSERT_TRUE(ObserverWindow::PumpUntil([this] { return director == nullptr; }));
    server.Release();
    EXPECT_TRUE(PumpUntilReturned());
    EXPECT_TRUE(WaitUntilNobodyIsLeft());
    EXPECT_EQ(KindOf(window.Lines().back()), std::to_string(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(All, ObserversGiveUpWithinTest, testing::Values(KindError, KindCancelFailed));

// What callers do then: a new director, told to the same window.
TEST_F(ObserversGiveUpTest, NextDirectorIsStartedWithinTheEnd) {
    OpenDirector next(def, connections, nullptr, std::string(), true);
    next.RegisterObserver(window.Handle());
    window.OnKind([&next](WPARAM kind) {
        if (kind == KindCancelFailed) {
            next.Execute("y", SQLRequest::RequestSQL, false, false);
        }
    });
    StartStuck();
    server.Expect("y").Returns(TwoRows());
    EXPECT_TRUE(director->Cancel());
    ASSERT_TRUE(window.PumpUntilKind(KindRequestEnd));
    EXPECT_EQ(window.Directors().back(), static_cast<CSingleRequestDirector*>(&next));
    EXPECT_EQ(Column(next.GetDataStorage()), (Lines{"a", "b"}));
    server.Release();
    ASSERT_TRUE(window.PumpUntilKind(KindRequestEnd, 2));
    EXPECT_EQ(window.Directors().back(), static_cast<CSingleRequestDirector*>(director.get()));
}

// A window whose thread does not pump holds up the run, which then counts as one that does not end; run and
// watchdog both wait for the window.
class ObserversUnpumpedTest : public ObserversGiveUpTest {
  protected:
    void LetBothWait() {
        Start("x");
        ASSERT_TRUE(window.PumpUntilKind(KindRequestBegin));
        ASSERT_TRUE(WaitForSender());
        EXPECT_TRUE(director->Cancel());
        ASSERT_TRUE(WaitForLine("OnError"));
        EXPECT_EQ(window.Kinds(), Lines{"3"});
    }
};

TEST_F(ObserversUnpumpedTest, BothGoOnWithThePump) {
    LetBothWait();
    ASSERT_TRUE(window.PumpUntilKind(KindCancelFailed));
    ASSERT_TRUE(window.PumpUntilKind(KindRequestEnd));
    EXPECT_EQ(window.Count(KindError), 1u);
    EXPECT_EQ(window.Count(KindBatchItemEnd), 1u);
}

TEST_F(ObserversUnpumpedTest, BothGoOnWithoutTheWindow) {
    LetBothWait();
    window.Destroy();
    EXPECT_TRUE(WaitForLine("OnCancelFailed"));
    EXPECT_TRUE(WaitForLine("OnRequestEnd"));
    EXPECT_TRUE(WaitUntilNobodyIsLeft());
}

TEST_F(ObserversUnpumpedTest, BothGoOnWithoutTheDirector) {
    LetBothWait();
    const auto begin = std::chrono::steady_clock::now();
    director.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
    EXPECT_TRUE(PumpUntilReturned());
    // At most what was on its way: one notification of each.
    EXPECT_LE(window.Lines().size(), 3u);
    EXPECT_EQ(window.Count(KindCancelFailed) + window.Count(KindRequestEnd), 0u);
    EXPECT_TRUE(ObserverWindow::PumpUntil([this] { return cancelFailures == 1; }));
}

TEST_F(ObserversUnpumpedTest, BothGoOnWhenTheThreadOfTheWindowEnds) {
    Signal begun;
    std::thread owner([this, &begun] {
        ObserverWindow other;
        director->UnregisterAllObserver();
        director->RegisterObserver(other.Handle());
        Start("x");
        EXPECT_TRUE(other.PumpUntilKind(KindRequestBegin));
        EXPECT_TRUE(WaitForSender());
        EXPECT_TRUE(director->Cancel());
        EXPECT_TRUE(WaitForLine("OnError"));
    });
    owner.join();
    EXPECT_TRUE(WaitForLine("OnCancelFailed"));
    EXPECT_TRUE(WaitForLine("OnRequestEnd"));
}

// ---- Stress ----

// Runs are cancelled at any moment by two threads, while windows of two threads are told, and windows are
// registered and unregistered all the time.
TEST_F(ObserversCancelTest, AtAnyMoment) {
    constexpr int rounds = 60;
    server.AcceptOthers();
    std::atomic<long> told{0};
    const WindowThread other([&told](HWND, UINT, WPARAM, LPARAM) -> LRESULT { return ++told; });
    for (int round = 0; round < rounds; ++round) {
        director = std::make_unique<OpenDirector>(def, connections, nullptr, std::string(), true);
        window.Clear();
        director->RegisterObserver(window.Handle());
        director->RegisterObserver(other.Window());
        const bool hangs = round % 3 == 0;
        if (hangs) {
            server.Expect("slow").Hangs();
        }
        director->Execute(hangs ? "slow" : "quick", SQLRequest::RequestSQL, false, false);
        std::thread registrar([this, &other] {
            for (int change = 0; change < 100; ++change) {
                director->UnregisterAllObserver(other.Window());
                director->RegisterObserver(other.Window());
            }
        });
        std::vector<std::thread> cancelling;
        for (int i = 0; i < 2; ++i) {
            cancelling.emplace_back([this, round, i] {
                for (int pause = 0; pause < round % 8 * (i + 1); ++pause) {
                    std::this_thread::yield();
                }
                EXPECT_TRUE(director->Cancel());
            });
        }
        EXPECT_TRUE(window.PumpUntilKind(KindRequestEnd)) << round;
        for (std::thread& thread : cancelling) {
            thread.join();
        }
        registrar.join();
        EXPECT_EQ(window.Count(KindRequestEnd), 1u) << round;
        EXPECT_EQ(window.Count(KindError), 0u) << round;
        EXPECT_EQ(window.Count(KindCancelFailed), 0u) << round;
        server.Forget();
    }
    EXPECT_GT(told, 0);
}

// The same with directors that go, before and after the cancel, with and without pumping.
TEST_F(ObserversCancelTest, DirectorsGoAtAnyMoment) {
    constexpr int rounds = 100;
    server.AcceptOthers();
    for (int round = 0; round < rounds; ++round) {
        director = std::make_unique<OpenDirector>(def, connections, nullptr, std::string(), true);
        director->RegisterObserver(window.Handle());
        if (round % 4 == 0) {
            server.Expect("slow").Hangs();
        }
        director->Execute(round % 4 == 0 ? "slow" : "quick", SQLRequest::RequestSQL, false, false);
        for (int pumped = 0; pumped < round % 7; ++pumped) {
            PumpMessages(1);
        }
        if (round % 2 == 0) {
            std::thread([this] { director->Cancel(); }).join();
        }
        director.reset();
        if (round % 4 == 0) {
            // Its run is over, or waits for the window: nothing hangs, whether the statement began or not.
            EXPECT_TRUE(ObserverWindow::PumpUntil([this] {
                const Lines borrowed = lender->Calls();
                return Releases() * 2 == static_cast<long>(borrowed.size());
            }));
            server.Forget();
        }
    }
    EXPECT_TRUE(ObserverWindow::PumpUntil([this] {
        const Lines borrowed = lender->Calls();
        return Releases() * 2 == static_cast<long>(borrowed.size());
    }));
}

}  // namespace
