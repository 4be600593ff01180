#include "drivers/odbc/call_control.h"

#include <chrono>

#include "drivers/odbc/diagnostics.h"

namespace qxdrivers::odbc {

namespace {

constexpr int cancelTries = 10;
constexpr std::chrono::milliseconds cancelInterval(200);

}  // namespace

void CallControl::Activate() {
    const std::lock_guard<std::mutex> guard(lock);
    active = true;
    cancelled = false;
}

void CallControl::Deactivate() {
    const std::lock_guard<std::mutex> guard(lock);
    active = false;
}

void CallControl::CheckCancelled() const {
    if (IsCancelled()) {
        ThrowRefusal("The statement was cancelled", "HY008");
    }
}

CallControl::Call::Call(CallControl& owner) : control(owner) {
    const std::lock_guard<std::mutex> guard(control.lock);
    control.CheckCancelled();
    control.inCall = true;
    ++control.callNumber;
}

CallControl::Call::~Call() {
    {
        // Waits for an interruption under way, which so never hits the next call.
        const std::lock_guard<std::mutex> guard(control.lock);
        control.inCall = false;
    }
    control.callEnded.notify_all();
}

void CallControl::Cancel() noexcept {
    try {
        std::unique_lock<std::mutex> guard(lock);
        if (!active) {
            return;
        }
        cancelled = true;
        const unsigned long number = callNumber;
        const auto hasEnded = [&] { return !inCall || callNumber != number; };
        for (int i = 0; i < cancelTries && !hasEnded(); ++i) {
            interrupt();
            callEnded.wait_for(guard, cancelInterval, hasEnded);
        }
    } catch (...) {
        // Nothing to wait on, or no memory: the flag may have been set, and that is the best effort.
    }
}

}  // namespace qxdrivers::odbc
