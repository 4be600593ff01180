// Many threads and their windows.
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include "platform/os/window.h"
#include "support/window_thread.h"

namespace {

using namespace qxtest;
using qxos::CreateMessageWindow;
using qxos::PumpMessages;

constexpr UINT someMessage = 0x1400;

// Two threads that begin at the same moment.
void Together(const std::vector<std::function<void()>>& works) {
    std::atomic<std::size_t> there{0};
    std::vector<std::thread> threads;
    for (const std::function<void()>& work : works) {
        threads.emplace_back([&there, &works, &work] {
            ++there;
            while (there < works.size()) {
                std::this_thread::yield();
            }
            work();
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

// A procedure that sends `wParam` - 1 to the next window, down to 0; the result counts the calls.
qxos::WindowProcedure PassOn(const HWND& next) {
    return [&next](HWND, UINT message, WPARAM wParam, LPARAM) -> LRESULT {
        return wParam == 0 ? 1 : 1 + SendMessageA(next, message, wParam - 1, 0);
    };
}

TEST(WindowThreads, TwoThreadsSendToEachOther) {
    HWND left = nullptr;
    HWND right = nullptr;
    const WindowThread one(PassOn(right));
    const WindowThread other(PassOn(left));
    left = one.Window();
    right = other.Window();
    EXPECT_EQ(SendMessageA(left, someMessage, 100, 0), 101);
}

TEST(WindowThreads, RingOfThreads) {
    HWND windows[4] = {};
    const WindowThread first(PassOn(windows[1]));
    const WindowThread second(PassOn(windows[2]));
    const WindowThread third(PassOn(windows[3]));
    windows[1] = second.Window();
    windows[2] = third.Window();
    // Back to this thread, which answers while it waits.
    windows[3] = CreateMessageWindow(PassOn(windows[0]));
    windows[0] = first.Window();
    EXPECT_EQ(SendMessageA(windows[0], someMessage, 50, 0), 51);
    DestroyWindow(windows[3]);
}

// Neither pumps: each answers while it waits for the other.
TEST(WindowThreads, MutualSendsAtTheSameMoment) {
    constexpr int rounds = 500;
    std::atomic<HWND> windows[2] = {};
    std::atomic<int> done{0};
    std::atomic<long> handled{0};
    const auto work = [&](int own) {
        const HWND window = CreateMessageWindow([&handled](HWND, UINT, WPARAM wParam, LPARAM) {
            ++handled;
            return static_cast<LRESULT>(wParam) + 1;
        });
        windows[own] = window;
        while (windows[1 - own] == nullptr) {
            std::this_thread::yield();
        }
        for (int i = 0; i < rounds; ++i) {
            EXPECT_EQ(SendMessageA(windows[1 - own], someMessage, static_cast<WPARAM>(i), 0), i + 1);
        }
        // The one that is ready first still has to answer.
        ++done;
        SendMessageA(windows[1 - own], someMessage, 0, 0);
        while (done < 2) {
            PumpMessages(1);
        }
        PumpMessages(0);
    };
    Together({[&work] { work(0); }, [&work] { work(1); }});
    EXPECT_GE(handled, 2 * rounds);
}

TEST(WindowThreads, ManySendersAreAllAnswered) {
    constexpr int senders = 8;
    constexpr int rounds = 2000;
    // Touched by the window's thread alone.
    std::vector<int> next(senders, 0);
    bool inOrder = true;
    WindowThread receiver([&](HWND, UINT, WPARAM wParam, LPARAM lParam) -> LRESULT {
        int& expected = next[wParam];
        inOrder = inOrder && *reinterpret_cast<const int*>(lParam) == expected;
        return ++expected;
    });
    std::vector<std::function<void()>> works;
    for (WPARAM sender = 0; sender < senders; ++sender) {
        works.push_back([&receiver, sender] {
            for (int i = 0; i < rounds; ++i) {
                const int payload = i;
                EXPECT_EQ(
                    SendMessageA(receiver.Window(), someMessage, sender, reinterpret_cast<LPARAM>(&payload)),
                    i + 1);
            }
        });
    }
    Together(works);
    receiver.Stop();
    EXPECT_TRUE(inOrder);
    EXPECT_EQ(next, std::vector<int>(senders, rounds));
}

TEST(WindowThreads, ManyPostersAndSendersAreAllHandled) {
    constexpr int threads = 4;
    constexpr int rounds = 1000;
    int posted = 0;
    int sent = 0;
    WindowThread receiver([&](HWND, UINT, WPARAM wParam, LPARAM) -> LRESULT {
        ++(wParam == 1 ? posted : sent);
        return 0;
    });
    const std::function<void()> work = [&receiver] {
        for (int i = 0; i < rounds; ++i) {
            while (!PostMessageA(receiver.Window(), someMessage, 1, 0)) {
                std::this_thread::yield();
            }
            SendMessageA(receiver.Window(), someMessage, 2, 0);
        }
    };
    Together(std::vector<std::function<void()>>(threads, work));
    receiver.Stop();
    EXPECT_EQ(posted, threads * rounds);
    EXPECT_EQ(sent, threads * rounds);
}

// Windows come and go under their senders: each message is answered, or its window is gone.
TEST(WindowThreads, WindowsGoWhileTheyAreSentTo) {
    constexpr int windows = 500;
    std::atomic<HWND> current{nullptr};
    std::atomic<bool> over{false};
    std::atomic<long> answered{0};
    const std::function<void()> owner = [&] {
        for (int i = 0; i < windows; ++i) {
            const HWND window = CreateMessageWindow([](HWND self, UINT, WPARAM wParam, LPARAM) -> LRESULT {
                if (wParam == 7) {
                    DestroyWindow(self);
                }
                return static_cast<LRESULT>(wParam);
            });
            current = window;
            PumpMessages(i % 3 == 0 ? 1 : 0);
            DestroyWindow(window);
        }
        over = true;
    };
    const std::function<void()> sender = [&] {
        for (WPARAM i = 1; !over; ++i) {
            const HWND window = current;
            const LRESULT result = SendMessageA(window, someMessage, i % 8 + 1, 0);
            if (result != 0) {
                EXPECT_EQ(result, static_cast<LRESULT>(i % 8 + 1));
                ++answered;
            } else {
                EXPECT_FALSE(IsWindow(window));
            }
        }
    };
    Together({owner, sender, sender, sender});
    EXPECT_FALSE(IsWindow(current));
}

// Threads end under their senders.
TEST(WindowThreads, ThreadsEndWhileTheyAreSentTo) {
    constexpr int threads = 200;
    std::atomic<HWND> current{nullptr};
    std::atomic<bool> over{false};
    const std::function<void()> owner = [&] {
        for (int i = 0; i < threads; ++i) {
            std::thread([&current, i] {
                current = CreateMessageWindow(
                    [](HWND, UINT, WPARAM wParam, LPARAM) { return static_cast<LRESULT>(wParam); });
                if (i % 2 == 0) {
                    PumpMessages(1);
                }
            }).join();
        }
        over = true;
    };
    const std::function<void()> sender = [&] {
        while (!over) {
            const LRESULT result = SendMessageA(current, someMessage, 3, 0);
            EXPECT_TRUE(result == 3 || result == 0) << result;
        }
    };
    Together({owner, sender, sender});
}

// A thread-local object that is older than the thread's windows, and so ends after them.
struct LateSender {
    HWND to = nullptr;
    std::atomic<LRESULT>* result = nullptr;
    ~LateSender() {
        if (result != nullptr) {
            *result = SendMessageA(to, someMessage, 1, 0);
        }
    }
};

TEST(WindowThreads, ThreadSendsToItsVeryEnd) {
    std::atomic<LRESULT> result{0};
    const WindowThread receiver(
        [](HWND, UINT, WPARAM wParam, LPARAM) { return static_cast<LRESULT>(wParam) + 1; });
    std::thread([&] {
        thread_local LateSender late;
        late.to = receiver.Window();
        late.result = &result;
        EXPECT_NE(CreateMessageWindow([](HWND, UINT, WPARAM, LPARAM) -> LRESULT { return 0; }), nullptr);
    }).join();
    EXPECT_EQ(result, 2);
}

}  // namespace
