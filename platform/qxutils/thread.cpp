#include "platform/qxutils/thread.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>

#include "platform/os/debug_output.h"

namespace qxutils {

struct Thread::State {
    std::atomic<bool> terminate{false};
    std::mutex mutex;
    std::condition_variable ended;
    // Guarded by mutex.
    Status status = StatusNotStarted;
    std::thread::id id;
};

Thread::Thread() : state(std::make_shared<State>()) {}

Thread::~Thread() {
    state->terminate = true;
    std::unique_lock<std::mutex> guard(state->mutex);
    // A body that deletes its own object can't wait for itself.
    if (state->id != std::this_thread::get_id()) {
        state->ended.wait(guard, [this] { return state->status != StatusRunning; });
    }
}

void Thread::Terminate() {
    state->terminate = true;
}

void* Thread::Start() {
    const std::lock_guard<std::mutex> guard(state->mutex);
    if (state->status != StatusNotStarted) {
        return nullptr;
    }
    state->status = StatusRunning;
    try {
        // The state is shared, since the object may be gone when the last lines run.
        std::thread([this, shared = state] {
            {
                const std::lock_guard<std::mutex> idGuard(shared->mutex);
                shared->id = std::this_thread::get_id();
            }
            try {
                Run();
            } catch (...) {
                qxos::OutputDebugStringA("A thread ended by an exception.");
            }
            const std::lock_guard<std::mutex> endGuard(shared->mutex);
            shared->status = StatusEnded;
            shared->ended.notify_all();
        }).detach();
    } catch (const std::system_error&) {
        state->status = StatusNotStarted;
        return nullptr;
    }
    return state.get();
}

Thread::Status Thread::GetStatus() const {
    const std::lock_guard<std::mutex> guard(state->mutex);
    return state->status;
}

bool Thread::WaitForExit(unsigned long milliseconds) {
    const std::shared_ptr<State> shared = state;
    std::unique_lock<std::mutex> guard(shared->mutex);
    const auto hasEnded = [&shared] { return shared->status != StatusRunning; };
    if (milliseconds == NoLimit) {
        shared->ended.wait(guard, hasEnded);
        return true;
    }
    return shared->ended.wait_for(guard, std::chrono::milliseconds(milliseconds), hasEnded);
}

bool Thread::ShouldTerminate() const {
    return state->terminate;
}

}  // namespace qxutils
