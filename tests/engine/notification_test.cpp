#include "engine/notification.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "params/parameter_list.h"
#include "platform/qxutils/lock_fault.h"
#include "support/recording_callbacks.h"

namespace {

using namespace qxdbsqlengine;
using qxtest::RecordingCallbacks;
using Lines = std::vector<std::string>;
using NotificationsPtr = SmartPtr<NotificationCallbacks>;

// Opens up what derived requests use.
struct Notifier : DispatchCallbacks {
    explicit Notifier(const NotificationsPtr& list) : DispatchCallbacks(list) {}
    using DispatchCallbacks::NotifyBatchItemBegin;
    using DispatchCallbacks::NotifyBatchItemEnd;
    using DispatchCallbacks::NotifyCancelFailed;
    using DispatchCallbacks::NotifyPreResultSetBegin;
    using DispatchCallbacks::NotifyResultSetBegin;
    using DispatchCallbacks::NotifyResultSetEnd;
    using DispatchCallbacks::NotifyResultSetUpdate;

    using DispatchCallbacks::errorCount;
    using DispatchCallbacks::inBatchItem;
    using DispatchCallbacks::inMessageResultSet;
    using DispatchCallbacks::inResultSet;
    using DispatchCallbacks::lastUpdateTime;
    using DispatchCallbacks::noOutput;
    using DispatchCallbacks::timer;
};

class NotificationTest : public testing::Test {
  protected:
    NotificationTest() : list(new NotificationCallbacks), request(list) { calls.AddTo(*list); }

    NotificationsPtr list;
    Notifier request;
    RecordingCallbacks calls;
    ParameterList parameters;
};

Errors TwoErrors() {
    return qxtest::MakeErrors({UserErrorRecord("one"), UserErrorRecord("two")});
}

TEST_F(NotificationTest, InitialState) {
    EXPECT_TRUE(request.noOutput);
    EXPECT_FALSE(request.inResultSet);
    EXPECT_FALSE(request.inBatchItem);
    EXPECT_FALSE(request.inMessageResultSet);
    EXPECT_EQ(request.errorCount, 0);
    EXPECT_EQ(request.lastUpdateTime, 0.0);
    EXPECT_GE(request.timer.GetElapseTime(), 0.0);
}

TEST_F(NotificationTest, EachOperationReachesItsCallback) {
    int data = 0;
    const std::vector<std::pair<std::function<void()>, std::string>> table = {
        {[&] { request.NotifyError(TwoErrors()); }, "OnError one | two"},
        {[&] { request.NotifyMessage("plain", OutputMessageServer); }, "OnMessage 0 plain"},
        {[&] { request.NotifyMessage(std::string("text"), OutputMessageWarning); }, "OnMessage 2 text"},
        {[&] { request.NotifyRequestBegin(); }, "OnRequestBegin"},
        {[&] { request.NotifyExecuteBegin(); }, "OnExecuteBegin"},
        {[&] { request.NotifyExecuteEnd(); }, "OnExecuteEnd"},
        {[&] { request.NotifyPreResultSetBegin(3, ResultSetMessage); }, "OnPreResultSetBegin 3 2"},
        {[&] { request.NotifyResultSetBegin(3, ResultSetMessage); }, "OnResultSetBegin 3 2"},
        {[&] { request.NotifyResultSetUpdate(3, 25, true); }, "OnResultSetUpdate 3 25"},
        {[&] { request.NotifyResultSetEnd(3); }, "OnResultSetEnd 3"},
        {[&] { request.NotifyBatchItemBegin(4, 12); }, "OnBatchItemBegin 4 12"},
        {[&] { request.NotifyBatchItemEnd(4, parameters); }, "OnBatchItemEnd 4 0"},
        {[&] { request.NotifyLobExtracted("file"); }, "OnLobExtracted file"},
        {[&] { request.NotifyLobExtracted(std::string("other")); }, "OnLobExtracted other"},
        {[&] { request.NotifyLobImported(); }, "OnLobImported"},
        {[&] { request.NotifyDebugEvent(7, &data); }, "OnDebugEvent 7"},
        {[&] { request.NotifyRequestEnd(); }, "OnRequestEnd"},
        {[&] { request.NotifyCancelFailed(); }, "OnCancelFailed"},
    };
    for (const auto& row : table) {
        calls.Clear();
        row.first();
        EXPECT_EQ(calls.AllLines(), Lines{row.second});
        // Errors and messages come without a time.
        const bool timed = row.second.rfind("OnError", 0) != 0 && row.second.rfind("OnMessage", 0) != 0;
        EXPECT_EQ(calls.Times().at(0) >= 0.0, timed) << row.second;
    }
}

TEST_F(NotificationTest, ArgumentsArePassedUnchanged) {
    struct Probe final : DebugEventCallback, BatchCallback {
        void OnDebugEvent(int, void* data, double) override { seenData = data; }
        void OnBatchItemBegin(double, int, int) override {}
        void OnBatchItemEnd(double, int, const ParameterList& list) override { seenList = &list; }
        void* seenData = nullptr;
        const ParameterList* seenList = nullptr;
    } probe;
    list->Add(static_cast<DebugEventCallback&>(probe));
    list->Add(static_cast<BatchCallback&>(probe));
    int data = 0;
    request.NotifyDebugEvent(1, &data);
    request.NotifyBatchItemBegin(0, 0);
    request.NotifyBatchItemEnd(0, parameters);
    EXPECT_EQ(probe.seenData, &data);
    EXPECT_EQ(probe.seenList, &parameters);
    calls.Clear();
    request.NotifyMessage("x", static_cast<OutputMessageType>(9));
    EXPECT_EQ(calls.AllLines(), Lines{"OnMessage 9 x"});
}

TEST_F(NotificationTest, OneElapsedForAllCallbacksOfANotification) {
    RecordingCallbacks second;
    second.AddTo(*list);
    calls.OnLine([](const std::string&) { std::this_thread::sleep_for(std::chrono::milliseconds(15)); });
    request.NotifyRequestBegin();
    ASSERT_EQ(calls.Times().size(), 1u);
    ASSERT_EQ(second.Times().size(), 1u);
    EXPECT_EQ(calls.Times()[0], second.Times()[0]);
    request.NotifyRequestEnd();
    EXPECT_GE(calls.Times()[1] - calls.Times()[0], 14.0);
}

TEST_F(NotificationTest, RegistrationOrderAndNoDoubles) {
    Lines order;
    RecordingCallbacks second;
    calls.OnLine([&order](const std::string&) { order.push_back("first"); });
    second.OnLine([&order](const std::string&) { order.push_back("second"); });
    second.AddTo(*list);
    calls.AddTo(*list);
    second.AddTo(*list);
    request.NotifyExecuteBegin();
    EXPECT_EQ(order, (Lines{"first", "second"}));
}

TEST_F(NotificationTest, RemoveIsPerKind) {
    list->Remove(static_cast<ExecutionCallback&>(calls));
    list->Remove(static_cast<ExecutionCallback&>(calls));
    request.NotifyExecuteBegin();
    request.NotifyRequestBegin();
    EXPECT_EQ(calls.AllLines(), Lines{"OnRequestBegin"});
}

TEST_F(NotificationTest, RemoveOfEachKind) {
    list->Remove(static_cast<ErrorCallback&>(calls));
    list->Remove(static_cast<MessageCallback&>(calls));
    list->Remove(static_cast<RequestCallback&>(calls));
    list->Remove(static_cast<ResultSetCallback&>(calls));
    list->Remove(static_cast<BatchCallback&>(calls));
    list->Remove(static_cast<LobCallback&>(calls));
    list->Remove(static_cast<DebugEventCallback&>(calls));
    request.NotifyError(TwoErrors());
    request.NotifyMessage("m", OutputMessageServer);
    request.NotifyRequestBegin();
    request.NotifyResultSetBegin(0, ResultSetNormal);
    request.NotifyBatchItemBegin(0, 0);
    request.NotifyLobImported();
    request.NotifyDebugEvent(1, nullptr);
    request.NotifyExecuteEnd();
    EXPECT_EQ(calls.AllLines(), Lines{"OnExecuteEnd"});
}

TEST_F(NotificationTest, ClearEmptiesAllLists) {
    list->Clear();
    request.NotifyError(TwoErrors());
    request.NotifyMessage("m", OutputMessageServer);
    request.NotifyRequestBegin();
    request.NotifyExecuteBegin();
    request.NotifyResultSetBegin(0, ResultSetNormal);
    request.NotifyBatchItemBegin(0, 0);
    request.NotifyLobImported();
    request.NotifyDebugEvent(1, nullptr);
    EXPECT_EQ(calls.AllLines(), Lines{});
}

TEST_F(NotificationTest, CallbackThatRemovesItselfIsNotCalledAgain) {
    RecordingCallbacks last;
    last.AddTo(*list);
    calls.OnLine([this](const std::string&) { list->Remove(static_cast<ExecutionCallback&>(calls)); });
    request.NotifyExecuteBegin();
    request.NotifyExecuteEnd();
    EXPECT_EQ(calls.AllLines(), Lines{"OnExecuteBegin"});
    EXPECT_EQ(last.AllLines(), (Lines{"OnExecuteBegin", "OnExecuteEnd"}));
}

TEST_F(NotificationTest, CallbackRemovedDuringTheWalkIsNotCalled) {
    RecordingCallbacks victim;
    RecordingCallbacks last;
    victim.AddTo(*list);
    last.AddTo(*list);
    calls.OnLine([&](const std::string&) { list->Remove(static_cast<ExecutionCallback&>(victim)); });
    request.NotifyExecuteBegin();
    EXPECT_EQ(victim.AllLines(), Lines{});
    EXPECT_EQ(last.AllLines(), Lines{"OnExecuteBegin"});
}

TEST_F(NotificationTest, CallbackAddedDuringTheWalkWaitsForTheNext) {
    RecordingCallbacks late;
    calls.OnLine([&](const std::string&) { list->Add(static_cast<ExecutionCallback&>(late)); });
    request.NotifyExecuteBegin();
    EXPECT_EQ(late.AllLines(), Lines{});
    request.NotifyExecuteEnd();
    EXPECT_EQ(late.AllLines(), Lines{"OnExecuteEnd"});
}

TEST_F(NotificationTest, ClearDuringTheWalkEndsIt) {
    RecordingCallbacks last;
    last.AddTo(*list);
    calls.OnLine([this](const std::string&) { list->Clear(); });
    request.NotifyExecuteBegin();
    EXPECT_EQ(calls.AllLines(), Lines{"OnExecuteBegin"});
    EXPECT_EQ(last.AllLines(), Lines{});
}

TEST_F(NotificationTest, ExceptionLeavesTheNotificationAndNoLock) {
    RecordingCallbacks last;
    last.AddTo(*list);
    calls.OnLine([](const std::string&) { throw std::runtime_error("callback"); });
    EXPECT_THROW(request.NotifyExecuteBegin(), std::runtime_error);
    EXPECT_EQ(last.AllLines(), Lines{});
    // Registering needs the write side.
    std::thread([this] { list->Remove(static_cast<ExecutionCallback&>(calls)); }).join();
    request.NotifyExecuteEnd();
    EXPECT_EQ(last.AllLines(), Lines{"OnExecuteEnd"});
    EXPECT_TRUE(list->WaitForCalls({static_cast<ExecutionCallback*>(&calls)}, 0));
}

TEST_F(NotificationTest, NoLockIsHeldDuringACallback) {
    calls.OnLine([this](const std::string&) {
        std::thread([this] {
            EXPECT_TRUE(list->GetCriticalSection().WriteLock(5000));
            list->GetCriticalSection().WriteUnlock();
        }).join();
    });
    request.NotifyRequestBegin();
    EXPECT_EQ(calls.AllLines(), Lines{"OnRequestBegin"});
}

TEST_F(NotificationTest, ErrorsAreRewoundForEachCallback) {
    RecordingCallbacks second;
    second.AddTo(*list);
    const Errors errors = TwoErrors();
    request.NotifyError(errors);
    EXPECT_EQ(calls.AllLines(), Lines{"OnError one | two"});
    EXPECT_EQ(second.AllLines(), Lines{"OnError one | two"});
    EXPECT_TRUE(errors.MoreErrors());
}

TEST_F(NotificationTest, ErrorsAreCountedByRecord) {
    request.NotifyError(TwoErrors());
    EXPECT_EQ(request.errorCount, 2);
    EXPECT_FALSE(request.noOutput);
    request.NotifyError(qxtest::MakeErrors("three"));
    EXPECT_EQ(request.errorCount, 3);
}

TEST_F(NotificationTest, MessagesCountByTypeAndOverload) {
    struct Row {
        int type;
        bool counts;
    };
    for (const Row& row : {Row{0, false}, Row{1, false}, Row{2, true}, Row{3, false}, Row{4, false},
                           Row{5, true}, Row{6, false}}) {
        const auto type = static_cast<OutputMessageType>(row.type);
        request.errorCount = 0;
        request.noOutput = true;
        request.NotifyMessage("plain", type);
        EXPECT_EQ(request.errorCount, 0) << row.type;
        EXPECT_TRUE(request.noOutput);
        request.NotifyMessage(std::string("text"), type);
        EXPECT_EQ(request.errorCount, row.counts ? 1 : 0) << row.type;
        EXPECT_EQ(request.noOutput, !row.counts);
    }
}

TEST_F(NotificationTest, MessageIsCountedAfterItWasTold) {
    int countSeen = -1;
    calls.OnLine([&](const std::string&) { countSeen = request.errorCount; });
    request.NotifyMessage(std::string("text"), OutputMessageError);
    EXPECT_EQ(countSeen, 0);
    EXPECT_EQ(request.errorCount, 1);
}

TEST_F(NotificationTest, RequestBeginClearsTheRun) {
    request.errorCount = 4;
    request.inResultSet = true;
    request.inMessageResultSet = true;
    request.inBatchItem = true;
    request.NotifyRequestBegin();
    EXPECT_EQ(request.errorCount, 0);
    EXPECT_FALSE(request.inResultSet);
    EXPECT_FALSE(request.inMessageResultSet);
    EXPECT_FALSE(request.inBatchItem);
}

TEST_F(NotificationTest, RequestEndLeavesTheFlags) {
    request.inResultSet = true;
    request.inBatchItem = true;
    request.errorCount = 2;
    request.NotifyRequestEnd();
    EXPECT_TRUE(request.inResultSet);
    EXPECT_TRUE(request.inBatchItem);
    EXPECT_EQ(request.errorCount, 2);
}

TEST_F(NotificationTest, ExecuteBeginExpectsOutput) {
    request.noOutput = false;
    request.NotifyExecuteEnd();
    EXPECT_FALSE(request.noOutput);
    request.NotifyExecuteBegin();
    EXPECT_TRUE(request.noOutput);
}

TEST_F(NotificationTest, ResultSetIsOpenedAndClosedOnce) {
    request.NotifyResultSetEnd(0);
    request.NotifyPreResultSetBegin(0, ResultSetNormal);
    request.NotifyPreResultSetBegin(0, ResultSetNormal);
    EXPECT_FALSE(request.inResultSet);
    EXPECT_TRUE(request.noOutput);
    request.inMessageResultSet = true;
    request.NotifyResultSetBegin(0, ResultSetNormal);
    EXPECT_TRUE(request.inResultSet);
    EXPECT_FALSE(request.inMessageResultSet);
    EXPECT_FALSE(request.noOutput);
    request.inMessageResultSet = true;
    request.NotifyResultSetBegin(1, ResultSetNormal);
    EXPECT_TRUE(request.inMessageResultSet);
    request.NotifyPreResultSetBegin(1, ResultSetNormal);
    request.NotifyResultSetEnd(0);
    EXPECT_FALSE(request.inResultSet);
    EXPECT_FALSE(request.inMessageResultSet);
    request.NotifyResultSetEnd(0);
    EXPECT_EQ(calls.AllLines(), (Lines{"OnPreResultSetBegin 0 0", "OnPreResultSetBegin 0 0",
                                       "OnResultSetBegin 0 0", "OnResultSetEnd 0"}));
}

TEST_F(NotificationTest, BatchItemIsOpenedAndClosedOnce) {
    request.NotifyBatchItemEnd(0, parameters);
    request.noOutput = false;
    request.inResultSet = true;
    request.NotifyBatchItemBegin(0, 1);
    EXPECT_TRUE(request.noOutput);
    EXPECT_FALSE(request.inResultSet);
    EXPECT_TRUE(request.inBatchItem);
    request.noOutput = false;
    request.inResultSet = true;
    request.NotifyBatchItemBegin(1, 2);
    EXPECT_FALSE(request.noOutput);
    EXPECT_TRUE(request.inResultSet);
    request.NotifyBatchItemEnd(0, parameters);
    EXPECT_FALSE(request.inBatchItem);
    request.NotifyBatchItemEnd(0, parameters);
    EXPECT_EQ(calls.AllLines(), (Lines{"OnBatchItemBegin 0 1", "OnBatchItemEnd 0 0"}));
}

TEST_F(NotificationTest, MessageResultSetGoesOnAcrossBatchItems) {
    request.NotifyResultSetBegin(0, ResultSetMessage);
    request.inMessageResultSet = true;
    request.NotifyBatchItemBegin(0, 1);
    EXPECT_TRUE(request.inResultSet);
    EXPECT_TRUE(request.inMessageResultSet);
}

TEST_F(NotificationTest, UpdateNeedsAnOpenResultSet) {
    request.NotifyResultSetUpdate(0, 1, false);
    request.NotifyResultSetUpdate(0, 1, true);
    EXPECT_EQ(calls.AllLines(), Lines{});
    EXPECT_EQ(request.lastUpdateTime, 0.0);
}

TEST_F(NotificationTest, UpdatesAreThinnedOutByTime) {
    request.NotifyResultSetBegin(0, ResultSetNormal);
    calls.Clear();
    request.lastUpdateTime = request.timer.GetElapseTime() - 500.0;
    request.NotifyResultSetUpdate(0, 1, false);
    EXPECT_EQ(calls.AllLines(), Lines{"OnResultSetUpdate 0 1"});
    const double sent = request.lastUpdateTime;
    EXPECT_EQ(sent, calls.Times().at(0));
    request.NotifyResultSetUpdate(0, 2, false);
    EXPECT_EQ(calls.AllLines().size(), 1u);
    EXPECT_EQ(request.lastUpdateTime, sent);
    request.NotifyResultSetUpdate(0, 3, true);
    EXPECT_EQ(calls.AllLines().back(), "OnResultSetUpdate 0 3");
    EXPECT_GT(request.lastUpdateTime, sent);
}

TEST_F(NotificationTest, FirstUpdateOfAYoungRequestIsDropped) {
    request.NotifyResultSetBegin(0, ResultSetNormal);
    calls.Clear();
    ASSERT_LT(request.timer.GetElapseTime(), 500.0);
    request.NotifyResultSetUpdate(0, 1, false);
    EXPECT_EQ(calls.AllLines(), Lines{});
}

TEST_F(NotificationTest, BurstGivesTheFirstAndTheForcedLast) {
    request.NotifyResultSetBegin(0, ResultSetNormal);
    calls.Clear();
    request.lastUpdateTime = -1000.0;
    for (int row = 1; row <= 10000; ++row) {
        request.NotifyResultSetUpdate(0, row, false);
    }
    request.NotifyResultSetUpdate(0, 10000, true);
    EXPECT_EQ(calls.AllLines(), (Lines{"OnResultSetUpdate 0 1", "OnResultSetUpdate 0 10000"}));
}

TEST(NullNotificationTest, CountsErrorsAndDoesNothingElse) {
    Notifier request{NotificationsPtr()};
    const ParameterList parameters;
    request.NotifyError(TwoErrors());
    EXPECT_EQ(request.errorCount, 2);
    EXPECT_TRUE(request.noOutput);
    request.NotifyMessage("m", OutputMessageError);
    request.NotifyMessage(std::string("m"), OutputMessageError);
    EXPECT_EQ(request.errorCount, 2);
    request.NotifyResultSetBegin(0, ResultSetNormal);
    EXPECT_FALSE(request.inResultSet);
    request.NotifyBatchItemBegin(0, 0);
    EXPECT_FALSE(request.inBatchItem);
    request.NotifyRequestBegin();
    EXPECT_EQ(request.errorCount, 2);
    request.noOutput = false;
    request.NotifyExecuteBegin();
    EXPECT_FALSE(request.noOutput);
    request.NotifyPreResultSetBegin(0, ResultSetNormal);
    request.NotifyResultSetUpdate(0, 1, true);
    request.NotifyResultSetEnd(0);
    request.NotifyBatchItemEnd(0, parameters);
    request.NotifyExecuteEnd();
    request.NotifyRequestEnd();
    request.NotifyCancelFailed();
    request.NotifyLobExtracted("f");
    request.NotifyLobImported();
    request.NotifyDebugEvent(1, nullptr);
    EXPECT_EQ(request.lastUpdateTime, 0.0);
}

struct RefuseOne : qxutils::LockFaultInjector {
    const void* target = nullptr;
    bool RefuseLock(const void* lock) override { return lock == target; }
};

TEST_F(NotificationTest, RefusedLockThrows) {
    RefuseOne injector;
    injector.target = &list->GetCriticalSection();
    qxutils::SetLockFaultInjector(&injector);
    EXPECT_THROW(request.NotifyExecuteBegin(), std::runtime_error);
    EXPECT_THROW(list->Add(static_cast<ErrorCallback&>(calls)), std::runtime_error);
    EXPECT_THROW(list->Remove(static_cast<ErrorCallback&>(calls)), std::runtime_error);
    EXPECT_THROW(list->Clear(), std::runtime_error);
    qxutils::SetLockFaultInjector(nullptr);
    request.NotifyExecuteBegin();
    EXPECT_EQ(calls.AllLines(), Lines{"OnExecuteBegin"});
}

TEST_F(NotificationTest, WaitForCallsSeesOtherThreads) {
    std::atomic<bool> inside{false};
    std::atomic<bool> leave{false};
    calls.OnLine([&](const std::string&) {
        inside = true;
        // Within a call its own thread is not waited for.
        EXPECT_TRUE(list->WaitForCalls({static_cast<ExecutionCallback*>(&calls)}, 0));
        while (!leave) {
            std::this_thread::yield();
        }
    });
    std::thread walker([this] { request.NotifyExecuteBegin(); });
    while (!inside) {
        std::this_thread::yield();
    }
    EXPECT_FALSE(list->WaitForCalls({static_cast<ExecutionCallback*>(&calls)}, 10));
    EXPECT_TRUE(list->WaitForCalls({static_cast<ErrorCallback*>(&calls)}, 10));
    leave = true;
    EXPECT_TRUE(list->WaitForCalls({static_cast<ExecutionCallback*>(&calls)}, 10000));
    walker.join();
}

// A callback that has let its object go does not hold up the object's end, though its call goes on.
TEST_F(NotificationTest, EndedCallsAreNotWaitedFor) {
    std::atomic<bool> ended{false};
    std::atomic<bool> leave{false};
    const void* const noted = static_cast<ExecutionCallback*>(&calls);
    calls.OnLine([&](const std::string& line) {
        if (line != "OnExecuteBegin") {
            return;
        }
        list->EndCall(static_cast<ErrorCallback*>(&calls));  // of an object that is not called
        list->EndCall(noted);
        list->EndCall(noted);
        ended = true;
        while (!leave) {
            std::this_thread::yield();
        }
        // A call within the call counts for itself, and its end is not this one's.
        request.NotifyExecuteEnd();
    });
    list->EndCall(noted);  // outside of a call
    std::thread walker([this] { request.NotifyExecuteBegin(); });
    while (!ended) {
        std::this_thread::yield();
    }
    EXPECT_TRUE(list->WaitForCalls({noted}, 0));
    leave = true;
    walker.join();
    EXPECT_EQ(calls.AllLines(), (Lines{"OnExecuteBegin", "OnExecuteEnd"}));
}

TEST_F(NotificationTest, CallWithinAnEndedCallIsWaitedFor) {
    std::atomic<bool> inside{false};
    std::atomic<bool> leave{false};
    const void* const noted = static_cast<ExecutionCallback*>(&calls);
    calls.OnLine([&](const std::string& line) {
        if (line == "OnExecuteBegin") {
            list->EndCall(noted);
            request.NotifyExecuteEnd();
            return;
        }
        inside = true;
        while (!leave) {
            std::this_thread::yield();
        }
    });
    std::thread walker([this] { request.NotifyExecuteBegin(); });
    while (!inside) {
        std::this_thread::yield();
    }
    EXPECT_FALSE(list->WaitForCalls({noted}, 10));
    leave = true;
    EXPECT_TRUE(list->WaitForCalls({noted}, 10000));
    walker.join();
}

// After Remove and WaitForCalls an object may go, whatever walks are under way.
TEST_F(NotificationTest, RegisteringWhileWalking) {
    std::atomic<bool> stop{false};
    std::thread walker([&] {
        while (!stop) {
            request.NotifyExecuteBegin();
        }
    });
    for (int i = 0; i < 300; ++i) {
        RecordingCallbacks passing;
        list->Add(static_cast<ExecutionCallback&>(passing));
        std::this_thread::yield();
        list->Remove(static_cast<ExecutionCallback&>(passing));
        EXPECT_TRUE(list->WaitForCalls({static_cast<ExecutionCallback*>(&passing)}, 10000));
    }
    stop = true;
    walker.join();
}

}  // namespace
