// What a cancel does to the whole process, and the process to a cancel: its end with a run that the driver
// never gives back, and a system that gives no more threads.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <fstream>

#include "cancel_support.h"

namespace {

using namespace qxdbsqlengine;
using namespace qxtest;

// No memory for the stack of a new thread, for the length of a scope.
class NoNewThreads {
  public:
    NoNewThreads() {
        getrlimit(RLIMIT_AS, &before);
        long pages = 0;
        std::ifstream("/proc/self/statm") >> pages;
        rlimit limit = before;
        limit.rlim_cur = static_cast<rlim_t>(pages) * static_cast<rlim_t>(sysconf(_SC_PAGESIZE)) + slackBytes;
        setrlimit(RLIMIT_AS, &limit);
    }
    ~NoNewThreads() { setrlimit(RLIMIT_AS, &before); }
    NoNewThreads(const NoNewThreads&) = delete;
    NoNewThreads& operator=(const NoNewThreads&) = delete;

  private:
    // For small objects; a stack takes more.
    static constexpr rlim_t slackBytes = 2 * 1024 * 1024;
    rlimit before;
};

class CancelExitTest : public CancelFailedTest {
  protected:
    CancelExitTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

    // Neither the statement nor its cancel ever ends.
    void StartForGood() {
        server.OnCancel([this] { never.Pass(); });
        server.Expect("x").Does([this] { never.Pass(); });
        Start("x");
        if (!never.WaitForArrivals(1))
            std::_Exit(1);
    }

    const Gate never;
};

TEST_F(CancelExitTest, ProcessEndsAfterTheRunWasGivenUp) {
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EXIT(
        {
            StartForGood();
            director->Cancel();
            if (!WaitForLine("OnCancelFailed"))
                std::_Exit(2);
            director.reset();
            std::exit(7);
        },
        testing::ExitedWithCode(7), "");
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
}

TEST_F(CancelExitTest, ProcessEndsWhileTheWatchdogIsAtWork) {
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EXIT(
        {
            StartForGood();
            const ScopedCancelTimes real{CancelTimes()};
            director->Cancel();
            director.reset();
            std::exit(7);
        },
        testing::ExitedWithCode(7), "");
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
}

// Nothing may block the caller, so without a thread the driver is not told. The run still ends at its next
// look at the mark, and a further cancel gets it its watchdog.
TEST_F(CancelExitTest, WithoutAThreadOnlyTheMarkIsSet) {
    EXPECT_EXIT(
        {
            StartForGood();
            {
                const NoNewThreads scope;
                director->Cancel();
            }
            if (request->cancelResult || !CountsAsRunning() || !director->IsCancelled())
                std::_Exit(2);
            if (server.CancelCount() != 0 || cancelFailures != 0)
                std::_Exit(3);
            director->Cancel();
            if (CountsAsRunning() || !WaitForLine("OnCancelFailed"))
                std::_Exit(4);
            std::_Exit(7);
        },
        testing::ExitedWithCode(7), "");
}

}  // namespace
