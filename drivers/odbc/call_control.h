// Cancellation of the calls that one statement makes.
#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>

#include "drivers/odbc/odbc_api.h"

namespace qxdrivers::odbc {

// Stands between the thread of a statement, which is inside a call of the driver again and again, and the
// threads that cancel. A statement is active from Execute until its last result was read; only then a Cancel
// has an effect. The flag alone ends what is not inside a call, since SQLCancel outside of one would close
// the cursor.
class CallControl {
  public:
    // Ends the call that the server or the driver is busy with, without touching what the thread of the
    // statement uses. Any thread; must not throw.
    using Interrupt = std::function<void()>;

    explicit CallControl(Interrupt interruptCall) : interrupt(std::move(interruptCall)) {}
    CallControl(const CallControl&) = delete;
    CallControl& operator=(const CallControl&) = delete;

    // Thread of the statement.
    void Activate();
    void Deactivate();
    bool IsCancelled() const { return cancelled.load(std::memory_order_relaxed); }
    // Throws Errors, state HY008, when the statement was cancelled.
    void CheckCancelled() const;

    // The scope of one call that may take long. Throws as CheckCancelled, before the call.
    class Call {
      public:
        explicit Call(CallControl& owner);
        ~Call();
        Call(const Call&) = delete;
        Call& operator=(const Call&) = delete;

      private:
        CallControl& control;
    };

    // Any thread. Returns when the call under way has ended, at the latest after some two seconds: a driver
    // loses a cancel that comes before the server has begun, so it is sent again.
    void Cancel() noexcept;

  private:
    const Interrupt interrupt;
    std::mutex lock;
    std::condition_variable callEnded;
    bool active = false;           // under lock
    bool inCall = false;           // under lock
    unsigned long callNumber = 0;  // under lock
    std::atomic<bool> cancelled{false};
};

}  // namespace qxdrivers::odbc
