// Runs that are watched by windows alone, with the pump on the test's own thread.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "director_support.h"
#include "engine/cancel_times.h"
#include "engine/director.h"
#include "observer_window.h"
#include "support/gate.h"
#include "support/window_thread.h"

namespace {

using namespace qxdbsqlengine;
using namespace qxtest;
using qxos::PumpMessages;

// The kinds of a run with one result set, in order, without updates.
const Lines runKinds = {"3", "12", "6", "7", "8", "9", "11", "13", "4"};

Result TwoRows() {
    return Rows({IntColumn("A")}, {{1}, {2}});
}

// Waits until another thread has sent to a window of this one.
bool WaitForSender() {
    return Eventually([] { return GetQueueStatus(QS_SENDMESSAGE) != 0; });
}

class ObserversRunTest : public DirectorTest {
  protected:
    void TearDown() override {
        // Runs that wait for a window would never give their connection back.
        window.Destroy();
        DirectorTest::TearDown();
    }
    std::size_t Released() {
        const Lines borrowed = lender->Calls();
        return static_cast<std::size_t>(std::count(borrowed.begin(), borrowed.end(), "release"));
    }
    bool PumpUntilReleased(std::size_t runs = 1) {
        return ObserverWindow::PumpUntil([this, runs] { return Released() == runs; });
    }

    ObserverWindow window;
};

TEST_F(ObserversRunTest, RunIsToldInOrder) {
    director->RegisterObserver(window.Handle());
    server.Expect("select a from t").Returns(TwoRows());
    Execute("select a from t");
    ASSERT_TRUE(window.PumpUntilKind(KindRequestEnd));
    EXPECT_EQ(window.Kinds(), runKinds);
    ASSERT_GE(window.Count(KindResultSetUpdate), 1u);
    for (const void* const named : window.Directors()) {
        EXPECT_EQ(named, static_cast<CSingleRequestDirector*>(director.get()));
    }
    // The director counts as idle already when the window is told of the end.
    EXPECT_EQ(director->GetDataStorage()->GetNumberOfRows(0), 2);
    EXPECT_TRUE(ObserverWindow::PumpUntil([this] { return !director->IsExecuting(); }));
}

// Windows and callbacks of one notification see the same time.
TEST_F(ObserversRunTest, TimesAreThoseOfTheCallbacks) {
    director->RegisterObserver(window.Handle(), RequestObserver);
    server.AcceptOthers();
    Execute("x");
    ASSERT_TRUE(window.PumpUntilKind(KindRequestEnd));
    std::ostringstream begin;
    begin << "3 OnRequestBegin " << calls.Times().front();
    EXPECT_EQ(window.Lines().front(), begin.str());
}

TEST_F(ObserversRunTest, ErrorsOfTheServerArrive) {
    director->RegisterObserver(window.Handle(), ErrorObserver);
    director->RegisterObserver(window.Handle(), RequestObserver);
    server.Expect("broken").Fails(MakeErrors("no such thing"));
    Execute("broken");
    ASSERT_TRUE(window.PumpUntilKind(KindRequestEnd));
    EXPECT_EQ(window.Kinds(), (Lines{"3", "1", "4"}));
    EXPECT_EQ(window.Lines()[1], "1 OnError no such thing");
}

// The run stands still while its window does not pump.
TEST_F(ObserversRunTest, RunWaitsForTheWindow) {
    director->RegisterObserver(window.Handle(), ExecutionObserver);
    server.Expect("x").Returns(TwoRows());
    Execute("x");
    ASSERT_TRUE(WaitForSender());
    EXPECT_EQ(calls.AllLines(), (Lines{"OnRequestBegin", "OnBatchItemBegin 0 0", "OnExecuteBegin"}));
    EXPECT_EQ(server.Executed(), Lines{});
    EXPECT_TRUE(director->IsExecuting());
    ASSERT_TRUE(ObserverWindow::PumpUntil([this] { return !calls.LinesOf("OnRequestEnd").empty(); }));
    EXPECT_EQ(window.Kinds(), (Lines{"6", "7"}));
}

TEST_F(ObserversRunTest, ObserverOfARunUnderWaySeesTheRest) {
    server.Expect("slow").Hangs(false).Returns(TwoRows());
    Execute("slow");
    ASSERT_TRUE(server.WaitForHang());
    director->RegisterObserver(window.Handle());
    server.Release();
    ASSERT_TRUE(window.PumpUntilKind(KindRequestEnd));
    EXPECT_EQ(window.Kinds(), (Lines{"7", "8", "9", "11", "13", "4"}));
}

TEST_F(ObserversRunTest, NextRunIsStartedFromWithin) {
    server.AcceptOthers();
    director->RegisterObserver(window.Handle(), RequestObserver);
    window.OnKind([this](WPARAM kind) {
        if (kind == KindRequestEnd && window.Count(KindRequestEnd) < 5) {
            Execute("again");
        }
    });
    Execute("first");
    ASSERT_TRUE(window.PumpUntilKind(KindRequestEnd, 5));
    EXPECT_EQ(window.Count(KindRequestBegin), 5u);
    EXPECT_EQ(director->engines, 5);
    EXPECT_EQ(server.Executed(), (Lines{"first", "again", "again", "again", "again"}));
}

TEST_F(ObserversRunTest, CancelFromWithin) {
    std::size_t runs = 0;
    server.AcceptOthers();
    for (const int when : {KindRequestBegin, KindBatchItemBegin, KindExecuteBegin, KindExecuteEnd,
                           KindPreResultSetBegin, KindResultSetBegin, KindResultSetEnd, KindBatchItemEnd}) {
        director = std::make_unique<OpenDirector>(def, connections, nullptr, std::string(), true);
        director->RegisterObserver(window.Handle());
        window.Clear();
        window.OnKind([this, when](WPARAM kind) {
            if (static_cast<int>(kind) == when) {
                EXPECT_TRUE(director->Cancel());
            }
        });
        if (when > KindExecuteBegin) {
            server.Expect("x").Returns(TwoRows());
        }
        Execute("x");
        ASSERT_TRUE(window.PumpUntilKind(KindRequestEnd)) << when;
        EXPECT_TRUE(director->IsCancelled()) << when;
        EXPECT_EQ(window.Count(KindError), 0u) << when;
        EXPECT_TRUE(PumpUntilReleased(++runs)) << when;
        server.Forget();
    }
}

TEST_F(ObserversRunTest, CancelOfAHangingStatementIsTold) {
    director->RegisterObserver(window.Handle());
    server.Expect("slow").Hangs();
    Execute("slow");
    ASSERT_TRUE(ObserverWindow::PumpUntil([this] { return window.Count(KindExecuteBegin) == 1; }));
    ASSERT_TRUE(server.WaitForHang());
    EXPECT_TRUE(director->Cancel());
    ASSERT_TRUE(window.PumpUntilKind(KindRequestEnd));
    EXPECT_EQ(window.Count(KindError), 0u);
    EXPECT_EQ(window.Count(KindCancelFailed), 0u);
}

// The watchdog tells the window from its own thread, while the run is stuck in the driver.
TEST_F(ObserversRunTest, FailedCancelIsTold) {
    CancelTimes times;
    times.watchPasses = 3;
    times.watchPassMs = 10;
    const ScopedCancelTimes shorter(times);
    director->RegisterObserver(window.Handle());
    server.Expect("stuck").Hangs(false).Returns(TwoRows());
    Execute("stuck");
    ASSERT_TRUE(window.PumpUntilKind(KindExecuteBegin));
    ASSERT_TRUE(server.WaitForHang());
    EXPECT_TRUE(director->Cancel());
    ASSERT_TRUE(window.PumpUntilKind(KindCancelFailed));
    ASSERT_EQ(window.Kinds(), (Lines{"3", "12", "6", "1", "5"}));
    EXPECT_EQ(window.Lines()[3],
              "1 OnError Datasource has not responded to the cancel request. Connection has been discarded.");
    // The driver comes back after all.
    server.Release();
    ASSERT_TRUE(window.PumpUntilKind(KindRequestEnd));
}

// Run and watchdog wait for the same window at the same time.
TEST_F(ObserversRunTest, FailedCancelAndRunWaitForOneWindow) {
    CancelTimes times;
    times.watchPasses = 1;
    times.watchPassMs = 1;
    const ScopedCancelTimes shorter(times);
    director->RegisterObserver(window.Handle());
    server.AcceptOthers();
    Execute("x");
    ASSERT_TRUE(window.PumpUntilKind(KindRequestBegin));
    ASSERT_TRUE(WaitForSender());
    // The engine waits for this thread, and with it the watchdog.
    EXPECT_TRUE(director->Cancel());
    ASSERT_TRUE(Eventually([this] { return !calls.LinesOf("OnError").empty(); }));
    ASSERT_TRUE(window.PumpUntilKind(KindCancelFailed));
    ASSERT_TRUE(window.PumpUntilKind(KindRequestEnd));
    EXPECT_EQ(window.Count(KindError), 1u);
}

TEST_F(ObserversRunTest, ExceptionOfAWindowStaysOnItsThread) {
    director->RegisterObserver(window.Handle());
    server.Expect("x").Returns(TwoRows());
    window.OnKind([](WPARAM kind) {
        if (kind == KindExecuteBegin) {
            throw std::runtime_error("window");
        }
    });
    Execute("x");
    std::string caught;
    try {
        window.PumpUntilKind(KindRequestEnd);
    } catch (const std::runtime_error& failure) {
        caught = failure.what();
    }
    EXPECT_EQ(caught, "window");
    ASSERT_TRUE(window.PumpUntilKind(KindRequestEnd));
    EXPECT_EQ(window.Kinds(), runKinds);
}

// On the window's own thread the notifications are plain calls; there is none of the request itself.
TEST_F(ObserversRunTest, ExecuteDirectOnTheWindowsThread) {
    director->RegisterObserver(window.Handle());
    server.Expect("x").Returns(TwoRows());
    EXPECT_TRUE(director->ExecuteDirect("x", SQLRequest::RequestSQL, false));
    EXPECT_EQ(window.Kinds(), Lines(runKinds.begin() + 1, runKinds.end() - 1));
    EXPECT_FALSE(PumpMessages(0));
}

TEST_F(ObserversRunTest, ExceptionWithinExecuteDirectIsThatOfACallback) {
    director->RegisterObserver(window.Handle());
    server.Expect("x").Returns(TwoRows());
    window.OnKind([](WPARAM kind) {
        if (kind == KindBatchItemBegin) {
            throw std::runtime_error("window");
        }
    });
    EXPECT_FALSE(director->ExecuteDirect("x", SQLRequest::RequestSQL, false));
    EXPECT_EQ(window.Kinds(), (Lines{"12", "1", "13"}));
    EXPECT_EQ(window.Lines()[1], "1 OnError window");
    server.Forget();
}

TEST_F(ObserversRunTest, ExecuteDirectOnAnotherThread) {
    director->RegisterObserver(window.Handle());
    ObserverWindow late;
    window.OnKind([this, &late](WPARAM) { director->RegisterObserver(late.Handle(), BatchObserver); });
    server.Expect("x").Returns(TwoRows());
    std::atomic<bool> done{false};
    std::thread caller([this, &done] {
        EXPECT_TRUE(director->ExecuteDirect("x", SQLRequest::RequestSQL, false));
        done = true;
    });
    EXPECT_TRUE(ObserverWindow::PumpUntil([&done] { return done.load(); }));
    caller.join();
    EXPECT_EQ(window.Kinds(), Lines(runKinds.begin() + 1, runKinds.end() - 1));
    EXPECT_EQ(late.Kinds(), Lines{"13"});
}

TEST_F(ObserversRunTest, WindowOfAThreadThatEndsIsSkipped) {
    Signal registered;
    std::thread passing([&] {
        ObserverWindow other;
        director->RegisterObserver(other.Handle());
        director->RegisterObserver(window.Handle());
        registered.Set();
        EXPECT_TRUE(other.PumpUntilKind(KindRequestBegin));
        EXPECT_TRUE(Eventually([] { return GetQueueStatus(QS_SENDMESSAGE) != 0; }));
    });
    ASSERT_TRUE(registered.Wait());
    server.Expect("x").Returns(TwoRows());
    Execute("x");
    ASSERT_TRUE(window.PumpUntilKind(KindRequestEnd));
    passing.join();
    EXPECT_EQ(window.Kinds(), runKinds);
}

TEST_F(ObserversRunTest, DestroyedWindowLetsTheRunGoOn) {
    director->RegisterObserver(window.Handle());
    server.Expect("x").Returns(TwoRows());
    Execute("x");
    ASSERT_TRUE(window.PumpUntilKind(KindRequestBegin));
    ASSERT_TRUE(WaitForSender());
    window.Destroy();
    ASSERT_TRUE(WaitEnd());
    EXPECT_EQ(window.Kinds(), Lines{"3"});
    EXPECT_EQ(director->GetDataStorage()->GetNumberOfRows(0), 2);
}

// Two windows on two threads that also send to each other.
TEST_F(ObserversRunTest, WindowsThatSendToEachOther) {
    std::atomic<int> echoes{0};
    const UINT echo = WM_USER + 1;
    WindowThread other([&](HWND, UINT message, WPARAM, LPARAM) -> LRESULT {
        if (message == WM_ENGINE_NOTIFICATION) {
            return SendMessageA(window.Handle(), WM_ENGINE_NOTIFICATION, 0, 0);
        }
        return ++echoes;
    });
    window.OnKind([&](WPARAM kind) {
        if (kind != 0) {
            SendMessageA(other.Window(), echo, 0, 0);
        }
    });
    director->RegisterObserver(window.Handle());
    director->RegisterObserver(other.Window());
    server.Expect("x").Returns(TwoRows());
    Execute("x");
    ASSERT_TRUE(ObserverWindow::PumpUntil([this] { return !calls.LinesOf("OnRequestEnd").empty(); }));
    ASSERT_TRUE(ObserverWindow::PumpUntil([this] { return !director->IsExecuting(); }));
    EXPECT_EQ(static_cast<std::size_t>(echoes.load()), window.Lines().size() - window.Count(0));
    EXPECT_EQ(window.Count(0), window.Lines().size() / 2);
}

// ---- Directors that go ----

class ObserversDestructionTest : public ObserversRunTest {
  protected:
    // Must not run into the limit of 10 seconds for callbacks under way.
    void DestroyQuickly() {
        const auto begin = std::chrono::steady_clock::now();
        director.reset();
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
    }
};

TEST_F(ObserversDestructionTest, WithinANotification) {
    std::size_t runs = 0;
    server.AcceptOthers();
    for (const int when :
         {KindRequestBegin, KindBatchItemBegin, KindExecuteBegin, KindExecuteEnd, KindPreResultSetBegin,
          KindResultSetBegin, KindResultSetUpdate, KindResultSetEnd, KindBatchItemEnd, KindRequestEnd}) {
        director = std::make_unique<OpenDirector>(def, connections, nullptr, std::string(), true);
        const SmartPtr<DataStorage> store = director->GetDataStorage();
        ObserverWindow second;
        director->RegisterObserver(window.Handle());
        director->RegisterObserver(second.Handle());
        window.Clear();
        window.OnKind([this, when](WPARAM kind) {
            if (static_cast<int>(kind) == when && director) {
                DestroyQuickly();
            }
        });
        if (when > KindExecuteBegin || when == KindRequestEnd) {
            server.Expect("x").Returns(TwoRows());
        }
        Execute("x");
        EXPECT_TRUE(PumpUntilReleased(++runs)) << when;
        EXPECT_TRUE(ObserverWindow::PumpUntil([this] { return director == nullptr; })) << when;
        EXPECT_EQ(KindOf(window.Lines().back()), std::to_string(when));
        // The second window is not told any more, not even this one.
        EXPECT_EQ(second.Lines().size() + 1, window.Lines().size()) << when;
        EXPECT_LE(store->GetNumberOfResultSets(), 1);
        server.Forget();
    }
}

TEST_F(ObserversDestructionTest, WithinAnErrorNotification) {
    director->RegisterObserver(window.Handle(), ErrorObserver);
    window.OnKind([this](WPARAM) { DestroyQuickly(); });
    server.Expect("broken").Fails(MakeErrors({UserErrorRecord("first"), UserErrorRecord("second")}));
    Execute("broken");
    EXPECT_TRUE(PumpUntilReleased());
    EXPECT_EQ(window.Lines(), Lines{"1 OnError first|second"});
}

// The engine waits for this thread, and this thread destroys the director without having pumped.
TEST_F(ObserversDestructionTest, WhileTheRunWaitsForTheWindow) {
    director->RegisterObserver(window.Handle());
    const void* const address = static_cast<CSingleRequestDirector*>(director.get());
    server.AcceptOthers();
    Execute("x");
    ASSERT_TRUE(window.PumpUntilKind(KindRequestBegin));
    ASSERT_TRUE(WaitForSender());
    DestroyQuickly();
    EXPECT_TRUE(PumpUntilReleased());
    // The one that was on its way still arrives, with the address of a director that is gone; no other does.
    EXPECT_EQ(window.Kinds(), (Lines{"3", "12"}));
    EXPECT_EQ(window.Directors().back(), address);
}

TEST_F(ObserversDestructionTest, TogetherWithTheWindow) {
    director->RegisterObserver(window.Handle());
    server.AcceptOthers();
    Execute("x");
    ASSERT_TRUE(window.PumpUntilKind(KindRequestBegin));
    ASSERT_TRUE(WaitForSender());
    window.Destroy();
    DestroyQuickly();
    EXPECT_TRUE(Eventually([this] { return Released() == 1; }));
    EXPECT_EQ(window.Kinds(), Lines{"3"});
}

TEST_F(ObserversDestructionTest, WhileTheRunWaitsForAWindowOfAnotherThread) {
    Gate gate;
    std::atomic<int> told{0};
    const WindowThread other([&](HWND, UINT, WPARAM, LPARAM) -> LRESULT {
        ++told;
        gate.Pass();
        return 0;
    });
    director->RegisterObserver(other.Window());
    director->RegisterObserver(window.Handle());
    server.AcceptOthers();
    Execute("x");
    ASSERT_TRUE(gate.WaitForArrivals(1));
    DestroyQuickly();
    gate.Open();
    EXPECT_TRUE(PumpUntilReleased());
    EXPECT_EQ(told, 1);
    EXPECT_EQ(window.Lines(), Lines{});
}

TEST_F(ObserversDestructionTest, WhileTheWatchdogWaitsForTheWindow) {
    CancelTimes times;
    times.watchPasses = 1;
    times.watchPassMs = 1;
    const ScopedCancelTimes shorter(times);
    director->RegisterObserver(window.Handle(), ErrorObserver);
    server.Expect("stuck").Hangs(false);
    Execute("stuck");
    ASSERT_TRUE(server.WaitForHang());
    director->Cancel();
    ASSERT_TRUE(WaitForSender());
    DestroyQuickly();
    ASSERT_TRUE(ObserverWindow::PumpUntil([this] { return window.Count(KindError) == 1; }));
    server.Release();
    EXPECT_TRUE(PumpUntilReleased());
}

// ---- Many at once ----

TEST_F(ObserversRunTest, RegisteringDuringRuns) {
    constexpr std::size_t runs = 200;
    server.AcceptOthers();
    WindowThread others([](HWND, UINT, WPARAM, LPARAM) -> LRESULT { return 0; });
    std::atomic<bool> stop{false};
    std::vector<std::thread> changers;
    for (int i = 0; i < 2; ++i) {
        changers.emplace_back([&] {
            while (!stop) {
                director->RegisterObserver(others.Window());
                director->UnregisterObserver(others.Window(), BatchObserver);
                director->UnregisterAllObserver(ExecutionObserver);
                director->UnregisterAllObserver(others.Window());
                std::this_thread::yield();
            }
        });
    }
    director->RegisterObserver(window.Handle(), RequestObserver);
    window.OnKind([this](WPARAM kind) {
        if (kind == KindRequestEnd && window.Count(KindRequestEnd) < runs) {
            Execute("again");
        }
    });
    Execute("first");
    EXPECT_TRUE(window.PumpUntilKind(KindRequestEnd, runs));
    stop = true;
    for (std::thread& changer : changers) {
        changer.join();
    }
    EXPECT_EQ(window.Count(KindRequestBegin), runs);
}

TEST_F(ObserversRunTest, ManyRunsTellOneWindow) {
    constexpr std::size_t directors = 8;
    constexpr std::size_t runs = 10;
    server.AcceptOthers();
    std::vector<std::unique_ptr<OpenDirector>> many;
    for (std::size_t i = 0; i < directors; ++i) {
        many.push_back(std::make_unique<OpenDirector>(def, connections, nullptr, std::string(), true));
        many.back()->RegisterObserver(window.Handle());
    }
    std::vector<std::size_t> ends(directors, 0);
    window.OnKind([&](WPARAM kind) {
        if (kind != KindRequestEnd) {
            return;
        }
        for (std::size_t i = 0; i < directors; ++i) {
            if (window.Directors().back() == static_cast<CSingleRequestDirector*>(many[i].get()) &&
                ++ends[i] < runs) {
                many[i]->ReExecute();
            }
        }
    });
    for (const std::unique_ptr<OpenDirector>& each : many) {
        each->Execute("x", SQLRequest::RequestSQL, false, false);
    }
    EXPECT_TRUE(window.PumpUntilKind(KindRequestEnd, directors * runs));
    EXPECT_EQ(ends, std::vector<std::size_t>(directors, runs));
    EXPECT_EQ(window.Count(KindRequestBegin), directors * runs);
    EXPECT_TRUE(PumpUntilReleased(directors * runs));
}

// Directors go at any moment, with and without pumping, and cancelled or not.
TEST_F(ObserversDestructionTest, AtAnyMoment) {
    constexpr int rounds = 150;
    server.AcceptOthers();
    for (int i = 0; i < rounds; ++i) {
        director = std::make_unique<OpenDirector>(def, connections, nullptr, std::string(), true);
        director->RegisterObserver(window.Handle());
        Execute("select 1");
        for (int pumped = 0; pumped < i % 12; ++pumped) {
            PumpMessages(1);
        }
        if (i % 3 == 0) {
            director->Cancel();
        }
        DestroyQuickly();
    }
    EXPECT_TRUE(ObserverWindow::PumpUntil([this] {
        const Lines borrowed = lender->Calls();
        return Released() * 2 == borrowed.size();
    }));
}

}  // namespace
