// Message windows: handles, procedures, pump, destruction, exceptions.
#include "platform/os/window.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <limits>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "platform/os/debug_output.h"
#include "support/debug_texts.h"
#include "support/window_thread.h"

namespace {

using namespace qxtest;
using qxos::CreateMessageWindow;
using qxos::PumpMessages;
using qxos::RunMessages;

constexpr UINT someMessage = 0x1400;

using Numbers = std::vector<WPARAM>;

// A window of the calling thread that writes down the `wParam` of what it gets, and answers with it plus 1.
struct Recorder {
    Numbers got;
    HWND window = CreateMessageWindow([this](HWND, UINT, WPARAM wParam, LPARAM) {
        got.push_back(wParam);
        return static_cast<LRESULT>(wParam + 1);
    });
    ~Recorder() { DestroyWindow(window); }
};

// Waits until a message of that kind waits for the calling thread.
bool WaitForMessage(UINT kind) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (GetQueueStatus(kind) == 0) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::yield();
    }
    return true;
}

// Sends from a thread of its own; what it returned, and that it did.
struct Sender {
    Sender(HWND window, WPARAM wParam)
        : result(std::async(std::launch::async,
                            [window, wParam] { return SendMessageA(window, someMessage, wParam, 0); })) {}
    std::future<LRESULT> result;
};

// Lives in a procedure and tells on which thread it ended.
struct EndMark {
    std::shared_ptr<std::promise<std::thread::id>> ended = std::make_shared<std::promise<std::thread::id>>();
    struct Held {
        std::shared_ptr<std::promise<std::thread::id>> ended;
        std::function<void()> atEnd;
        ~Held() {
            if (atEnd) {
                atEnd();
            }
            ended->set_value(std::this_thread::get_id());
        }
    };
    std::shared_ptr<Held> Hold(std::function<void()> atEnd = nullptr) {
        auto held = std::make_shared<Held>();
        held->ended = ended;
        held->atEnd = std::move(atEnd);
        return held;
    }
    std::thread::id EndedOn() { return ended->get_future().get(); }
};

LRESULT PlainProcedure(HWND, UINT message, WPARAM wParam, LPARAM lParam) {
    return static_cast<LRESULT>(message) + static_cast<LRESULT>(wParam) + lParam;
}

TEST(Window, LivesFromCreationToDestruction) {
    const HWND window = CreateMessageWindow(&PlainProcedure);
    ASSERT_NE(window, nullptr);
    EXPECT_TRUE(IsWindow(window));
    EXPECT_EQ(SendMessageA(window, 1, 20, 300), 321);
    EXPECT_TRUE(DestroyWindow(window));
    EXPECT_FALSE(IsWindow(window));
    EXPECT_EQ(SendMessageA(window, 1, 20, 300), 0);
    EXPECT_FALSE(PostMessageA(window, 1, 20, 300));
    EXPECT_FALSE(PostMessageA(window, WM_QUIT, 0, 0));
    EXPECT_FALSE(DestroyWindow(window));
}

TEST(Window, NullAndForeignValuesAreNoWindows) {
    for (const HWND none : {HWND(), reinterpret_cast<HWND>(std::numeric_limits<std::uintptr_t>::max())}) {
        EXPECT_FALSE(IsWindow(none));
        EXPECT_EQ(SendMessageA(none, someMessage, 1, 1), 0);
        EXPECT_FALSE(PostMessageA(none, someMessage, 1, 1));
        EXPECT_FALSE(DestroyWindow(none));
    }
    EXPECT_EQ(CreateMessageWindow(nullptr), nullptr);
    EXPECT_EQ(CreateMessageWindow(qxos::WindowProcedure()), nullptr);
}

TEST(Window, HandlesAreGivenOutOnce) {
    std::set<HWND> given;
    for (int i = 0; i < 1000; ++i) {
        const HWND window = CreateMessageWindow(&PlainProcedure);
        EXPECT_TRUE(given.insert(window).second);
        DestroyWindow(window);
    }
    const HWND living = CreateMessageWindow(&PlainProcedure);
    EXPECT_EQ(given.count(living), 0u);
    for (const HWND dead : given) {
        EXPECT_FALSE(IsWindow(dead));
        EXPECT_EQ(SendMessageA(dead, 1, 1, 1), 0);
    }
    DestroyWindow(living);
}

struct Arguments {
    UINT message;
    WPARAM wParam;
    LPARAM lParam;
    LRESULT result;
};

TEST(Window, ArgumentsAndResultPassUnchanged) {
    const std::vector<Arguments> cases = {
        {0, 0, 0, 0},
        {0x1400, 16, -1, -1},
        {std::numeric_limits<UINT>::max(), std::numeric_limits<WPARAM>::max(),
         std::numeric_limits<LPARAM>::max(), std::numeric_limits<LRESULT>::max()},
        {1, 1, std::numeric_limits<LPARAM>::min(), std::numeric_limits<LRESULT>::min()},
    };
    const Arguments* expected = nullptr;
    HWND own = nullptr;
    const auto check = [&expected, &own](HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
        EXPECT_EQ(window, own);
        EXPECT_EQ(message, expected->message);
        EXPECT_EQ(wParam, expected->wParam);
        EXPECT_EQ(lParam, expected->lParam);
        return expected->result;
    };
    own = CreateMessageWindow(check);
    for (const Arguments& c : cases) {
        expected = &c;
        EXPECT_EQ(SendMessageA(own, c.message, c.wParam, c.lParam), c.result);
    }
    DestroyWindow(own);
    WindowThread other(check);
    own = other.Window();
    for (const Arguments& c : cases) {
        expected = &c;
        EXPECT_EQ(SendMessageA(own, c.message, c.wParam, c.lParam), c.result);
    }
}

TEST(Window, ProcedureRunsOnTheThreadOfItsWindow) {
    std::thread::id ran;
    const auto note = [&ran](HWND, UINT, WPARAM, LPARAM) -> LRESULT {
        ran = std::this_thread::get_id();
        return 0;
    };
    const HWND own = CreateMessageWindow(note);
    SendMessageA(own, someMessage, 0, 0);
    EXPECT_EQ(ran, std::this_thread::get_id());
    DestroyWindow(own);
    WindowThread other(note);
    SendMessageA(other.Window(), someMessage, 0, 0);
    EXPECT_EQ(ran, other.Id());
}

// What `lParam` points to is the receiver's during the call, and the sender sees what became of it.
TEST(Window, PayloadLiesOnTheSendersStack) {
    const WindowThread other([](HWND, UINT, WPARAM, LPARAM lParam) -> LRESULT {
        *reinterpret_cast<std::string*>(lParam) += " and back";
        return 0;
    });
    std::string payload = "there";
    SendMessageA(other.Window(), someMessage, 0, reinterpret_cast<LPARAM>(&payload));
    EXPECT_EQ(payload, "there and back");
}

TEST(Window, SenderWaitsUntilTheOwnerPumps) {
    std::atomic<bool> pumping{false};
    bool pumpedFirst = false;
    Recorder recorder;
    std::thread sender([&] {
        const LRESULT result = SendMessageA(recorder.window, someMessage, 41, 0);
        pumpedFirst = pumping && result == 42;
    });
    ASSERT_TRUE(WaitForMessage(QS_SENDMESSAGE));
    EXPECT_EQ(recorder.got, Numbers{});
    pumping = true;
    EXPECT_TRUE(PumpMessages(0));
    sender.join();
    EXPECT_TRUE(pumpedFirst);
    EXPECT_EQ(recorder.got, Numbers{41});
}

TEST(Window, PostedMessagesWaitForThePump) {
    Recorder recorder;
    EXPECT_EQ(GetQueueStatus(QS_POSTMESSAGE), 0u);
    for (const WPARAM number : {1, 2, 3}) {
        EXPECT_TRUE(PostMessageA(recorder.window, someMessage, number, 0));
    }
    EXPECT_EQ(recorder.got, Numbers{});
    EXPECT_EQ(GetQueueStatus(QS_POSTMESSAGE) >> 16, QS_POSTMESSAGE);
    EXPECT_EQ(GetQueueStatus(QS_SENDMESSAGE), 0u);
    EXPECT_TRUE(PumpMessages(0));
    EXPECT_EQ(recorder.got, (Numbers{1, 2, 3}));
    EXPECT_EQ(GetQueueStatus(QS_POSTMESSAGE), 0u);
}

TEST(Window, SentMessagesComeBeforePostedOnes) {
    Recorder recorder;
    PostMessageA(recorder.window, someMessage, 1, 0);
    Sender sender(recorder.window, 2);
    ASSERT_TRUE(WaitForMessage(QS_SENDMESSAGE));
    EXPECT_EQ(GetQueueStatus(QS_POSTMESSAGE | QS_SENDMESSAGE) >> 16, QS_POSTMESSAGE | QS_SENDMESSAGE);
    EXPECT_TRUE(PumpMessages(0));
    EXPECT_EQ(recorder.got, (Numbers{2, 1}));
    EXPECT_EQ(sender.result.get(), 3);
}

// While it waits for another thread, a thread answers those who wait for it, and leaves the rest where it is.
TEST(Window, WaitingSenderAnswersSentMessagesOnly) {
    Recorder recorder;
    const WindowThread other([&recorder](HWND, UINT, WPARAM, LPARAM) {
        PostMessageA(recorder.window, someMessage, 1, 0);
        return SendMessageA(recorder.window, someMessage, 2, 0);
    });
    EXPECT_EQ(SendMessageA(other.Window(), someMessage, 0, 0), 3);
    EXPECT_EQ(recorder.got, Numbers{2});
    EXPECT_TRUE(PumpMessages(0));
    EXPECT_EQ(recorder.got, (Numbers{2, 1}));
}

TEST(Window, PumpWaitsForTheTimeGiven) {
    EXPECT_FALSE(PumpMessages(0));
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_FALSE(PumpMessages(30));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(30));
    for (const long limit : {-1L, 10000L, std::numeric_limits<long>::max()}) {
        Recorder recorder;
        Sender sender(recorder.window, 1);
        EXPECT_TRUE(PumpMessages(limit)) << limit;
        EXPECT_EQ(sender.result.get(), 2) << limit;
    }
}

TEST(Window, PumpLeavesWhatComesMeanwhile) {
    int calls = 0;
    const HWND window = CreateMessageWindow([&calls](HWND self, UINT, WPARAM, LPARAM) -> LRESULT {
        ++calls;
        PostMessageA(self, someMessage, 0, 0);
        return 0;
    });
    PostMessageA(window, someMessage, 0, 0);
    PostMessageA(window, someMessage, 0, 0);
    EXPECT_TRUE(PumpMessages(0));
    EXPECT_EQ(calls, 2);
    EXPECT_TRUE(PumpMessages(0));
    EXPECT_EQ(calls, 4);
    DestroyWindow(window);
    EXPECT_FALSE(PumpMessages(0));
}

// A procedure with a pump of its own, such as a dialogue, finds the other messages in their place.
TEST(Window, NestedPumpHandlesTheRest) {
    Numbers got;
    const HWND window = CreateMessageWindow([&got](HWND, UINT, WPARAM wParam, LPARAM) -> LRESULT {
        got.push_back(wParam);
        if (wParam == 1) {
            EXPECT_TRUE(PumpMessages(0));
            got.push_back(100);
        }
        return 0;
    });
    for (const WPARAM number : {1, 2, 3}) {
        PostMessageA(window, someMessage, number, 0);
    }
    EXPECT_TRUE(PumpMessages(0));
    EXPECT_EQ(got, (Numbers{1, 2, 3, 100}));
    DestroyWindow(window);
}

TEST(Window, PostedMessagesHaveALimit) {
    Recorder recorder;
    for (int i = 0; i < 10000; ++i) {
        ASSERT_TRUE(PostMessageA(recorder.window, someMessage, 0, 0)) << i;
    }
    EXPECT_FALSE(PostMessageA(recorder.window, someMessage, 0, 0));
    // Neither a sender nor a quit is kept out.
    Sender sender(recorder.window, 1);
    ASSERT_TRUE(WaitForMessage(QS_SENDMESSAGE));
    EXPECT_TRUE(PostMessageA(recorder.window, WM_QUIT, 7, 0));
    EXPECT_EQ(RunMessages(), 7);
    EXPECT_EQ(sender.result.get(), 2);
    EXPECT_EQ(recorder.got.size(), 10001u);
    EXPECT_TRUE(PostMessageA(recorder.window, someMessage, 0, 0));
}

TEST(Window, RunEndsByAQuit) {
    // Of its own thread, before the pump and within it.
    PostQuitMessage(3);
    EXPECT_EQ(RunMessages(), 3);
    const HWND window = CreateMessageWindow([](HWND, UINT, WPARAM wParam, LPARAM) -> LRESULT {
        PostQuitMessage(static_cast<int>(wParam));
        return 0;
    });
    PostMessageA(window, someMessage, 4, 0);
    EXPECT_EQ(RunMessages(), 4);
    DestroyWindow(window);
    // Of another thread.
    WindowThread other(&PlainProcedure);
    EXPECT_EQ(other.Stop(-5), -5);
}

TEST(Window, QuitComesAfterEverythingPosted) {
    Recorder recorder;
    PostMessageA(recorder.window, someMessage, 1, 0);
    PostQuitMessage(0);
    PostMessageA(recorder.window, someMessage, 2, 0);
    EXPECT_EQ(RunMessages(), 0);
    EXPECT_EQ(recorder.got, (Numbers{1, 2}));
}

TEST(Window, QuitIsForRunAlone) {
    PostQuitMessage(6);
    EXPECT_FALSE(PumpMessages(0));
    EXPECT_EQ(GetQueueStatus(QS_POSTMESSAGE | QS_SENDMESSAGE), 0u);
    Recorder recorder;
    PostMessageA(recorder.window, someMessage, 1, 0);
    EXPECT_TRUE(PumpMessages(0));
    EXPECT_EQ(RunMessages(), 6);
    // It is used up.
    EXPECT_FALSE(PumpMessages(0));
    PostQuitMessage(7);
    EXPECT_EQ(RunMessages(), 7);
}

TEST(Window, QuitEndsTheInnermostRun) {
    std::vector<int> codes;
    const HWND window = CreateMessageWindow([&codes](HWND, UINT, WPARAM, LPARAM) -> LRESULT {
        PostQuitMessage(1);
        codes.push_back(RunMessages());
        PostQuitMessage(2);
        return 0;
    });
    PostMessageA(window, someMessage, 0, 0);
    codes.push_back(RunMessages());
    EXPECT_EQ(codes, (std::vector<int>{1, 2}));
    DestroyWindow(window);
}

TEST(Window, OnlyItsOwnThreadDestroysAWindow) {
    WindowThread other(&PlainProcedure);
    EXPECT_FALSE(DestroyWindow(other.Window()));
    EXPECT_TRUE(IsWindow(other.Window()));
    EXPECT_EQ(SendMessageA(other.Window(), 1, 2, 3), 6);
    other.Run([&other] { EXPECT_TRUE(DestroyWindow(other.Window())); });
    EXPECT_FALSE(IsWindow(other.Window()));
}

TEST(Window, DestructionDropsPostedMessagesOfThatWindowOnly) {
    Recorder stays;
    Recorder goes;
    PostMessageA(goes.window, someMessage, 1, 0);
    PostMessageA(stays.window, someMessage, 2, 0);
    PostMessageA(goes.window, someMessage, 3, 0);
    DestroyWindow(goes.window);
    EXPECT_TRUE(PumpMessages(0));
    EXPECT_EQ(goes.got, Numbers{});
    EXPECT_EQ(stays.got, Numbers{2});
}

TEST(Window, DestructionLetsSendersGo) {
    Recorder stays;
    Recorder goes;
    std::vector<Sender> senders;
    for (int i = 0; i < 8; ++i) {
        senders.emplace_back(goes.window, 1);
    }
    ASSERT_TRUE(WaitForMessage(QS_SENDMESSAGE));
    DestroyWindow(goes.window);
    for (Sender& sender : senders) {
        EXPECT_EQ(sender.result.get(), 0);
    }
    EXPECT_EQ(goes.got, Numbers{});
    EXPECT_EQ(GetQueueStatus(QS_SENDMESSAGE), 0u);
    Sender sender(stays.window, 1);
    EXPECT_TRUE(PumpMessages(-1));
    EXPECT_EQ(sender.result.get(), 2);
}

TEST(Window, DestructionKeepsTheSendersOfOtherWindows) {
    Recorder stays;
    Recorder goes;
    Sender first(stays.window, 1);
    ASSERT_TRUE(WaitForMessage(QS_SENDMESSAGE));
    Sender second(goes.window, 2);
    DestroyWindow(goes.window);
    EXPECT_EQ(second.result.get(), 0);
    EXPECT_EQ(GetQueueStatus(QS_SENDMESSAGE) >> 16, QS_SENDMESSAGE);
    EXPECT_TRUE(PumpMessages(0));
    EXPECT_EQ(first.result.get(), 2);
}

TEST(Window, ProcedureMayDestroyItsOwnWindow) {
    EndMark mark;
    const HWND window = CreateMessageWindow([held = mark.Hold()](HWND self, UINT, WPARAM wParam, LPARAM) {
        EXPECT_TRUE(DestroyWindow(self));
        EXPECT_FALSE(IsWindow(self));
        EXPECT_EQ(SendMessageA(self, someMessage, 9, 0), 0);
        // What the procedure holds is still there.
        EXPECT_NE(held->ended, nullptr);
        return static_cast<LRESULT>(wParam) + 1;
    });
    Sender sender(window, 1);
    ASSERT_TRUE(WaitForMessage(QS_SENDMESSAGE));
    Sender late(window, 5);
    EXPECT_TRUE(PumpMessages(-1));
    // The sender whose message was under way gets the result, the other one nothing.
    const std::set<LRESULT> results = {sender.result.get(), late.result.get()};
    EXPECT_EQ(results, (std::set<LRESULT>{0, 2}));
    EXPECT_EQ(mark.EndedOn(), std::this_thread::get_id());
}

TEST(Window, DirectCallMayDestroyItsOwnWindow) {
    EndMark mark;
    const HWND window = CreateMessageWindow([held = mark.Hold()](HWND self, UINT, WPARAM, LPARAM) -> LRESULT {
        DestroyWindow(self);
        return held->ended.use_count() > 0 ? 5 : 0;
    });
    EXPECT_EQ(SendMessageA(window, someMessage, 0, 0), 5);
    EXPECT_EQ(mark.EndedOn(), std::this_thread::get_id());
}

TEST(Window, EndOfTheThreadDestroysItsWindows) {
    EndMark mark;
    Signal created;
    Signal goOn;
    HWND window = nullptr;
    std::thread owner([&] {
        window =
            CreateMessageWindow([held = mark.Hold()](HWND, UINT, WPARAM, LPARAM) -> LRESULT { return 1; });
        created.Set();
        EXPECT_TRUE(WaitForMessage(QS_SENDMESSAGE));
        EXPECT_TRUE(goOn.Wait());
    });
    ASSERT_TRUE(created.Wait());
    Sender sender(window, 1);
    const std::thread::id ownerId = owner.get_id();
    EXPECT_TRUE(IsWindow(window));
    EXPECT_TRUE(PostMessageA(window, someMessage, 1, 0));
    goOn.Set();
    owner.join();
    EXPECT_EQ(sender.result.get(), 0);
    EXPECT_FALSE(IsWindow(window));
    EXPECT_FALSE(PostMessageA(window, someMessage, 1, 0));
    EXPECT_EQ(SendMessageA(window, someMessage, 1, 0), 0);
    EXPECT_EQ(mark.EndedOn(), ownerId);
}

// What the ends of procedures find when their thread ends.
TEST(Window, EndingThreadHasNoWindowsButReachesOthers) {
    EndMark mark;
    Recorder recorder;
    std::thread owner([&] {
        auto second = std::make_shared<HWND>();
        const HWND first =
            CreateMessageWindow([held = mark.Hold([second, &recorder] {
                                    EXPECT_FALSE(IsWindow(*second));
                                    EXPECT_EQ(SendMessageA(*second, someMessage, 1, 0), 0);
                                    EXPECT_EQ(CreateMessageWindow(&PlainProcedure), nullptr);
                                    EXPECT_FALSE(PumpMessages(-1));
                                    EXPECT_EQ(RunMessages(), 0);
                                    PostQuitMessage(0);
                                    EXPECT_EQ(GetQueueStatus(QS_SENDMESSAGE), 0u);
                                    EXPECT_EQ(SendMessageA(recorder.window, someMessage, 7, 0), 8);
                                })](HWND, UINT, WPARAM, LPARAM) -> LRESULT { return 0; });
        EXPECT_NE(first, nullptr);
        *second = CreateMessageWindow(&PlainProcedure);
    });
    EXPECT_TRUE(PumpMessages(-1));
    owner.join();
    EXPECT_EQ(recorder.got, Numbers{7});
}

struct Failure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Throws the `wParam` as a text; answers 0 with 0.
LRESULT ThrowingProcedure(HWND, UINT, WPARAM wParam, LPARAM) {
    if (wParam != 0) {
        throw Failure(std::to_string(wParam));
    }
    return 10;
}

std::string CaughtFrom(const std::function<void()>& work) {
    try {
        work();
    } catch (const Failure& failure) {
        return failure.what();
    }
    return "nothing";
}

TEST(Window, ExceptionOfADirectCallReachesTheCaller) {
    const HWND window = CreateMessageWindow(&ThrowingProcedure);
    EXPECT_EQ(CaughtFrom([window] { SendMessageA(window, someMessage, 1, 0); }), "1");
    EXPECT_EQ(SendMessageA(window, someMessage, 0, 0), 10);
    DestroyWindow(window);
}

TEST(Window, ExceptionLeavesThePumpAndTheSenderGetsNothing) {
    const HWND window = CreateMessageWindow(&ThrowingProcedure);
    Recorder recorder;
    const std::vector<std::function<void()>> pumps = {[] { PumpMessages(-1); }, [] { RunMessages(); }};
    for (const std::function<void()>& pump : pumps) {
        PostMessageA(recorder.window, someMessage, 1, 0);
        Sender sender(window, 2);
        ASSERT_TRUE(WaitForMessage(QS_SENDMESSAGE));
        EXPECT_EQ(CaughtFrom(pump), "2");
        EXPECT_EQ(sender.result.get(), 0);
        // The rest is in its place.
        EXPECT_EQ(recorder.got, Numbers{});
        EXPECT_TRUE(PumpMessages(0));
        EXPECT_EQ(recorder.got, Numbers{1});
        recorder.got.clear();
        PostMessageA(window, someMessage, 3, 0);
        EXPECT_EQ(CaughtFrom(pump), "3");
    }
    EXPECT_EQ(SendMessageA(window, someMessage, 0, 0), 10);
    DestroyWindow(window);
}

TEST(Window, ExceptionWhileSendingWaitsForTheAnswer) {
    const HWND window = CreateMessageWindow(&ThrowingProcedure);
    bool answered = false;
    WindowThread other([&](HWND, UINT, WPARAM wParam, LPARAM) -> LRESULT {
        EXPECT_EQ(SendMessageA(window, someMessage, wParam, 0), wParam == 0 ? 10 : 0);
        answered = true;
        return 4;
    });
    EXPECT_EQ(CaughtFrom([&] { SendMessageA(other.Window(), someMessage, 6, 0); }), "6");
    EXPECT_TRUE(answered);
    EXPECT_EQ(SendMessageA(other.Window(), someMessage, 0, 0), 4);
    DestroyWindow(window);
}

TEST(Window, SecondExceptionWhileSendingGoesToTheDebugOutput) {
    const HWND window = CreateMessageWindow(&ThrowingProcedure);
    const WindowThread other([window](HWND, UINT, WPARAM, LPARAM) -> LRESULT {
        for (const WPARAM number : {1, 2, 3}) {
            EXPECT_EQ(SendMessageA(window, someMessage, number, 0), 0);
        }
        return 4;
    });
    const auto send = [&other] { SendMessageA(other.Window(), someMessage, 0, 0); };
    {
        const DebugTexts debug;
        EXPECT_EQ(CaughtFrom(send), "1");
        EXPECT_EQ(debug.Texts(),
                  std::vector<std::string>(
                      2, "A window procedure threw while an exception of another one was waiting."));
    }
    // A debug output that fails itself changes nothing.
    const qxos::DebugOutputHook before = qxos::SetDebugOutputHook([](const char*) { throw Failure("hook"); });
    EXPECT_EQ(CaughtFrom(send), "1");
    qxos::SetDebugOutputHook(before);
    DestroyWindow(window);
}

}  // namespace
