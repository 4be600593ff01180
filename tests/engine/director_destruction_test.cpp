// Directors that go while their run is under way.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <string>
#include <thread>

#include "director_support.h"
#include "engine/director.h"

namespace {

using namespace qxdbsqlengine;
using namespace qxtest;

class DirectorDestructionTest : public DirectorTest {
  protected:
    // `runs` runs are over: each has given its connection back.
    bool WaitReleased(std::size_t runs = 1) {
        return Eventually([this, runs] {
            const Lines borrowed = lender->Calls();
            return static_cast<std::size_t>(std::count(borrowed.begin(), borrowed.end(), "release")) == runs;
        });
    }
};

TEST_F(DirectorDestructionTest, CancelsTheRunAndEndsTheNotifications) {
    server.Expect("slow").Hangs();
    Execute("slow");
    ASSERT_TRUE(server.WaitForHang());
    const SmartPtr<DataStorage> store = director->GetDataStorage();
    director.reset();
    const Lines before = calls.AllLines();
    EXPECT_TRUE(WaitReleased());
    EXPECT_EQ(server.CancelCount(), 1);
    EXPECT_EQ(calls.AllLines(), before);
    EXPECT_EQ(store->GetNumberOfResultSets(), 0);
}

// The run that heeds no cancel goes on with what it holds itself.
TEST_F(DirectorDestructionTest, RunMayOutliveTheDirector) {
    server.Expect("slow").Hangs(false).Returns(Rows({IntColumn("A")}, {{1}}));
    Execute("slow");
    ASSERT_TRUE(server.WaitForHang());
    director.reset();
    EXPECT_EQ(lender->Calls(), Lines{"request pubs true false"});
    server.Release();
    EXPECT_TRUE(WaitReleased());
    EXPECT_EQ(calls.LinesOf("OnRequestEnd"), Lines{});
}

TEST_F(DirectorDestructionTest, WithinACallbackOfTheRun) {
    std::size_t runs = 0;
    server.AcceptOthers();
    for (const std::string when :
         {"OnRequestBegin", "OnExecuteBegin", "OnResultSetBegin 0 0", "OnRequestEnd"}) {
        // The first two are cancelled before their statement.
        if (runs >= 2) {
            server.Expect("x").Returns(Rows({IntColumn("A")}, {{1}}));
        }
        director = std::make_unique<OpenDirector>(def, connections, nullptr, std::string(), true);
        RecordingCallbacks own;
        own.RegisterWith(*director);
        std::atomic<bool> gone{false};
        own.OnLine([&](const std::string& line) {
            if (line == when) {
                director.reset();
                gone = true;
            }
        });
        Execute("x");
        EXPECT_TRUE(Eventually([&gone] { return gone.load(); })) << when;
        EXPECT_TRUE(WaitReleased(++runs)) << when;
        EXPECT_EQ(own.AllLines().back(), when);
    }
}

// The director goes at any moment of a short run, with its own callbacks under way on the engine thread.
TEST_F(DirectorDestructionTest, AtAnyMoment) {
    server.AcceptOthers();
    for (int i = 0; i < 200; ++i) {
        auto passing = std::make_unique<OpenDirector>(def, connections, nullptr, std::string(), true);
        passing->Execute("select 1", SQLRequest::RequestSQL, false, false);
        for (int spin = 0; spin < (i % 40) * 200; ++spin) {
            std::this_thread::yield();
            if (spin % 50 == 0 && !passing->IsExecuting()) {
                break;
            }
        }
        passing.reset();
    }
    EXPECT_TRUE(Eventually([this] {
        const Lines borrowed = lender->Calls();
        return std::count(borrowed.begin(), borrowed.end(), "release") * 2 ==
               static_cast<long>(borrowed.size());
    }));
}

TEST_F(DirectorDestructionTest, IdleAndUnusedDirectors) {
    {
        const OpenDirector unused(def, connections, nullptr, std::string(), true);
        const OpenDirector empty(def, connections, nullptr, std::string(), false);
    }
    server.AcceptOthers();
    Execute("x");
    ASSERT_TRUE(WaitEnd());
    director.reset();
    EXPECT_EQ(server.CancelCount(), 0);
}

}  // namespace
