#include "platform/qxutils/event.h"

#include <chrono>

namespace qxutils {

Event::Event(bool manualResetEvent, bool initiallySignalled, const std::string& eventName)
    : manualReset(manualResetEvent), name(eventName), signalled(initiallySignalled) {}

Event::~Event() = default;

bool Event::SetEvent() {
    // Notified under the mutex: a waiter that destroys the event right after its wait must find no notifier
    // still inside.
    const std::lock_guard<std::mutex> guard(mutex);
    signalled = true;
    if (manualReset) {
        condition.notify_all();
    } else {
        condition.notify_one();
    }
    return true;
}

bool Event::ResetEvent() {
    const std::lock_guard<std::mutex> guard(mutex);
    signalled = false;
    return true;
}

void Event::SetTimeout(long milliseconds) {
    const std::lock_guard<std::mutex> guard(mutex);
    timeoutMs = milliseconds;
}

bool Event::Lock() {
    std::unique_lock<std::mutex> guard(mutex);
    const auto isSignalled = [this] { return signalled; };
    if (timeoutMs < 0) {
        condition.wait(guard, isSignalled);
    } else if (!condition.wait_for(guard, std::chrono::milliseconds(timeoutMs), isSignalled)) {
        return false;
    }
    if (!manualReset) {
        signalled = false;
    }
    return true;
}

bool Event::Unlock() {
    return true;
}

}  // namespace qxutils
