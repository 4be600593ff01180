#include "platform/qxutils/thread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>

#include "platform/os/debug_output.h"
#include "platform/qxutils/contained_thread.h"
#include "platform/qxutils/event.h"

namespace {

using qxutils::ContainedThread;
using qxutils::Event;
using qxutils::Thread;
using qxutils::ThreadAttributes;
using qxutils::ThreadPtr;

// Waits up to 10 seconds for the condition.
bool Eventually(const std::function<bool()>& condition) {
    for (int i = 0; i < 10000; ++i) {
        if (condition()) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return condition();
}

class Body : public Thread {
  public:
    explicit Body(std::function<void(const Body&)> work) : body(std::move(work)) {}
    ~Body() override { WaitForExit(10000); }

    int Run() override {
        runner = std::this_thread::get_id();
        body(*this);
        return 0;
    }
    bool Asked() const { return ShouldTerminate(); }

    std::thread::id runner;

  private:
    std::function<void(const Body&)> body;
};

TEST(ThreadTest, RunsOnAThreadOfItsOwn) {
    Event go(true, false, "");
    Body thread([&go](const Body&) { go.Lock(); });
    EXPECT_EQ(thread.GetStatus(), Thread::StatusNotStarted);
    EXPECT_TRUE(thread.WaitForExit(0));
    EXPECT_NE(thread.Start(), nullptr);
    EXPECT_EQ(thread.GetStatus(), 1);
    EXPECT_FALSE(thread.WaitForExit(10));
    go.SetEvent();
    EXPECT_TRUE(thread.WaitForExit(10000));
    EXPECT_EQ(thread.GetStatus(), Thread::StatusEnded);
    EXPECT_NE(thread.runner, std::this_thread::get_id());
}

TEST(ThreadTest, WaitWithoutLimit) {
    Event go(true, false, "");
    Body thread([&go](const Body&) { go.Lock(); });
    EXPECT_TRUE(thread.WaitForExit(Thread::NoLimit));
    thread.Start();
    std::atomic<bool> ended{false};
    std::thread waiter([&] {
        EXPECT_TRUE(thread.WaitForExit(Thread::NoLimit));
        ended = true;
    });
    EXPECT_FALSE(ended);
    go.SetEvent();
    waiter.join();
    EXPECT_EQ(thread.GetStatus(), Thread::StatusEnded);
}

TEST(ThreadTest, StartsOnce) {
    std::atomic<int> runs{0};
    Body thread([&runs](const Body&) { ++runs; });
    EXPECT_NE(thread.Start(), nullptr);
    EXPECT_EQ(thread.Start(), nullptr);
    EXPECT_TRUE(thread.WaitForExit(10000));
    EXPECT_EQ(thread.Start(), nullptr);
    EXPECT_EQ(runs, 1);
}

TEST(ThreadTest, TerminateIsARequest) {
    std::atomic<bool> askedAtFirst{true};
    Body thread([&askedAtFirst](const Body& self) {
        askedAtFirst = self.Asked();
        while (!self.Asked()) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    });
    thread.Start();
    EXPECT_FALSE(thread.WaitForExit(20));
    thread.Terminate();
    EXPECT_TRUE(thread.WaitForExit(10000));
    EXPECT_FALSE(askedAtFirst);
}

TEST(ThreadTest, DestructorAsksAndWaits) {
    std::atomic<bool> ended{false};
    std::atomic<bool> started{false};
    struct Loose : Thread {
        Loose(std::atomic<bool>& isStarted, std::atomic<bool>& hasEnded) : s(isStarted), e(hasEnded) {}
        int Run() override {
            // Locals only: the derived part goes while this runs.
            std::atomic<bool>& endedMark = e;
            s = true;
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            endedMark = true;
            return 0;
        }
        std::atomic<bool>& s;
        std::atomic<bool>& e;
    };
    {
        Loose thread(started, ended);
        thread.Start();
        EXPECT_TRUE(Eventually([&started] { return started.load(); }));
    }
    EXPECT_TRUE(ended);
}

std::string debugText;

TEST(ThreadTest, ExceptionEndsTheThreadAlone) {
    qxos::SetDebugOutputHook([](const char* text) { debugText = text; });
    Body thread([](const Body&) { throw std::runtime_error("lost"); });
    thread.Start();
    EXPECT_TRUE(thread.WaitForExit(10000));
    qxos::SetDebugOutputHook(nullptr);
    EXPECT_EQ(debugText, "A thread ended by an exception.");
}

std::atomic<int> living{0};
std::atomic<int> runs{0};
std::atomic<int> farewells{0};

// Runs until told; with `endless` false it just returns.
class Worker : public ContainedThread {
  public:
    explicit Worker(ThreadAttributes* attributes) : ContainedThread(attributes), stop(true, false, "") {
        ++living;
    }
    ~Worker() override { --living; }

    static ThreadPtr<Worker> Create() { return ThreadPtr<Worker>(CreateThreadIntl(&Make)); }
    static ThreadPtr<Worker> CreateNothing() { return ThreadPtr<Worker>(CreateThreadIntl(&MakeNothing)); }
    static ThreadPtr<Worker> CreateFailing() { return ThreadPtr<Worker>(CreateThreadIntl(&Fail)); }

    void Run() override {
        ++runs;
        stop.Lock();
        if (fails) {
            throw std::runtime_error("lost");
        }
    }
    void Begin() { ReadyToRun(); }
    void Finish() { stop.SetEvent(); }

    std::atomic<bool> fails{false};

  protected:
    void NoMoreReferences() override {
        ++farewells;
        stop.SetEvent();
    }

  private:
    static ContainedThread* Make(ThreadAttributes* attributes) { return new Worker(attributes); }
    static ContainedThread* MakeNothing(ThreadAttributes*) { return nullptr; }
    static ContainedThread* Fail(ThreadAttributes*) { throw std::runtime_error("no object"); }

    Event stop;
};

class ContainedThreadTest : public testing::Test {
  protected:
    void SetUp() override {
        runs = 0;
        farewells = 0;
    }
    void TearDown() override {
        EXPECT_TRUE(Eventually([] { return living == 0; })) << "a thread was not deleted";
    }
};

TEST_F(ContainedThreadTest, WaitsForReadyToRun) {
    ThreadPtr<Worker> thread = Worker::Create();
    ASSERT_TRUE(thread);
    EXPECT_EQ(living, 1);
    EXPECT_TRUE(thread->Initialized());
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    EXPECT_EQ(runs, 0);
    EXPECT_FALSE(thread->ExecutionCompleted());
    thread->Begin();
    thread->Begin();
    EXPECT_TRUE(Eventually([] { return runs == 1; }));
    EXPECT_FALSE(thread->ExecutionCompleted());
    thread->Finish();
    EXPECT_TRUE(Eventually([&thread] { return thread->ExecutionCompleted(); }));
    EXPECT_EQ(living, 1) << "the object must live as long as its handle";
    EXPECT_EQ(farewells, 0);
}

TEST_F(ContainedThreadTest, LastHandleEndsARunningThread) {
    {
        ThreadPtr<Worker> thread = Worker::Create();
        thread->Begin();
        EXPECT_TRUE(Eventually([] { return runs == 1; }));
    }
    EXPECT_TRUE(Eventually([] { return living == 0; }));
    EXPECT_EQ(farewells, 1);
}

TEST_F(ContainedThreadTest, NeverStartedThreadGoesWithItsHandle) {
    { const ThreadPtr<Worker> thread = Worker::Create(); }
    EXPECT_TRUE(Eventually([] { return living == 0; }));
    EXPECT_EQ(runs, 0);
    EXPECT_EQ(farewells, 1);
}

TEST_F(ContainedThreadTest, StartedAndLeftAloneStillRuns) {
    for (int i = 0; i < 50; ++i) {
        const ThreadPtr<Worker> thread = Worker::Create();
        thread->Begin();
    }
    EXPECT_TRUE(Eventually([] { return living == 0; }));
    EXPECT_EQ(runs, 50);
    EXPECT_EQ(farewells, 50);
}

TEST_F(ContainedThreadTest, HandlesAreCounted) {
    ThreadPtr<Worker> thread = Worker::Create();
    thread->Begin();
    {
        const ThreadPtr<Worker> copy(thread);
        ThreadPtr<Worker> assigned;
        EXPECT_FALSE(assigned);
        assigned = copy;
        assigned = *&assigned;
        EXPECT_EQ(copy.operator->(), thread.operator->());
        EXPECT_EQ(assigned.operator->(), thread.operator->());
    }
    EXPECT_EQ(farewells, 0);
    thread = ThreadPtr<Worker>();
    EXPECT_EQ(farewells, 1);
    EXPECT_FALSE(thread);
    EXPECT_EQ(thread.operator->(), nullptr);
}

TEST_F(ContainedThreadTest, HandlesAreCountedOnManyThreads) {
    const ThreadPtr<Worker> thread = Worker::Create();
    thread->Begin();
    std::thread copiers[4];
    for (std::thread& copier : copiers) {
        copier = std::thread([&thread] {
            for (int i = 0; i < 1000; ++i) {
                const ThreadPtr<Worker> copy(thread);
                EXPECT_TRUE(copy->Initialized());
            }
        });
    }
    for (std::thread& copier : copiers) {
        copier.join();
    }
    EXPECT_EQ(farewells, 0);
}

TEST_F(ContainedThreadTest, NoObjectNoThread) {
    EXPECT_FALSE(Worker::CreateNothing());
    EXPECT_THROW(Worker::CreateFailing(), std::runtime_error);
    EXPECT_EQ(qxutils::ThreadPtrUtils::InternalAddRef(nullptr), 0);
    EXPECT_EQ(qxutils::ThreadPtrUtils::InternalRelease(nullptr), 0);
    EXPECT_EQ(qxutils::ThreadPtrUtils::GetThread(nullptr), nullptr);
}

TEST_F(ContainedThreadTest, ExceptionOfTheBodyCompletesIt) {
    const ThreadPtr<Worker> thread = Worker::Create();
    thread->fails = true;
    thread->Begin();
    thread->Finish();
    EXPECT_TRUE(Eventually([&thread] { return thread->ExecutionCompleted(); }));
}

// Begin, the end of the body and the release of the handle in every order.
TEST_F(ContainedThreadTest, EndAndReleaseMayMeet) {
    for (int i = 0; i < 300; ++i) {
        ThreadPtr<Worker> thread = Worker::Create();
        thread->Begin();
        thread->Finish();
        std::thread releaser([copy = thread]() mutable { copy = ThreadPtr<Worker>(); });
        thread = ThreadPtr<Worker>();
        releaser.join();
    }
    EXPECT_TRUE(Eventually([] { return living == 0; }));
    EXPECT_EQ(runs, 300);
    EXPECT_EQ(farewells, 300);
}

}  // namespace
