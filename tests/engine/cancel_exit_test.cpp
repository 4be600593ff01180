// The end of a process with a run that its driver never gives back.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>

#include "cancel_support.h"

namespace {

using namespace qxdbsqlengine;
using namespace qxtest;

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

}  // namespace
