// A thread with a window and a pump of its own.
//
//   qxtest::WindowThread other([](HWND, UINT message, WPARAM, LPARAM) { return LRESULT(message); });
//   EXPECT_EQ(SendMessageA(other.Window(), 0x1400, 0, 0), 0x1400);
//   other.Run([] { ... });   // on that thread, between two messages
#pragma once

#include <functional>
#include <future>
#include <thread>
#include <utility>

#include "platform/os/window.h"
#include "platform/qxutils/event.h"

namespace qxtest {

// An event that a test waits for, for 10 seconds at most.
class Signal {
  public:
    Signal() : event(true, false, "") { event.SetTimeout(10000); }
    void Set() { event.SetEvent(); }
    bool Wait() { return event.Lock(); }

  private:
    qxutils::Event event;
};

// Pumps from its construction to its destruction.
class WindowThread {
  public:
    explicit WindowThread(qxos::WindowProcedure procedure) {
        std::promise<void> ready;
        thread = std::thread([this, &ready, &procedure] {
            window = qxos::CreateMessageWindow(std::move(procedure));
            worker = qxos::CreateMessageWindow([](HWND, UINT, WPARAM, LPARAM lParam) -> LRESULT {
                (*reinterpret_cast<const std::function<void()>*>(lParam))();
                return 0;
            });
            ready.set_value();
            exitCode = qxos::RunMessages();
        });
        ready.get_future().wait();
    }
    ~WindowThread() { Stop(); }
    WindowThread(const WindowThread&) = delete;
    WindowThread& operator=(const WindowThread&) = delete;

    HWND Window() const { return window; }
    std::thread::id Id() const { return thread.get_id(); }
    void Run(const std::function<void()>& work) const {
        SendMessageA(worker, WM_USER, 0, reinterpret_cast<LPARAM>(&work));
    }
    // Ends the thread, and gives the exit code of its pump.
    int Stop(int code = 0) {
        if (thread.joinable()) {
            PostMessageA(worker, WM_QUIT, static_cast<WPARAM>(code), 0);
            thread.join();
        }
        return exitCode;
    }

  private:
    HWND window = nullptr;
    HWND worker = nullptr;
    int exitCode = -1;
    std::thread thread;
};

}  // namespace qxtest
