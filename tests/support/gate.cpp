#include "support/gate.h"

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace qxtest {

namespace {

constexpr std::chrono::seconds LongestWait(10);

}  // namespace

struct Gate::State {
    std::mutex mutex;
    std::condition_variable changed;
    bool isOpen = false;
    int passages = 0;
    std::vector<std::thread::id> arrivals;
};

Gate::Gate() : state(std::make_shared<State>()) {}

void Gate::Pass() const {
    const std::shared_ptr<State> held = state;
    std::unique_lock<std::mutex> guard(held->mutex);
    held->arrivals.push_back(std::this_thread::get_id());
    held->changed.notify_all();
    held->changed.wait(guard, [&held] { return held->isOpen; });
    ++held->passages;
    held->changed.notify_all();
}

void Gate::Open() const {
    const std::lock_guard<std::mutex> guard(state->mutex);
    state->isOpen = true;
    state->changed.notify_all();
}

bool Gate::WaitForArrivals(int count) const {
    std::unique_lock<std::mutex> guard(state->mutex);
    return state->changed.wait_for(
        guard, LongestWait, [this, count] { return static_cast<int>(state->arrivals.size()) >= count; });
}

bool Gate::WaitForPassages(int count) const {
    std::unique_lock<std::mutex> guard(state->mutex);
    return state->changed.wait_for(guard, LongestWait, [this, count] { return state->passages >= count; });
}

int Gate::Arrivals() const {
    const std::lock_guard<std::mutex> guard(state->mutex);
    return static_cast<int>(state->arrivals.size());
}

int Gate::Passages() const {
    const std::lock_guard<std::mutex> guard(state->mutex);
    return state->passages;
}

std::vector<std::thread::id> Gate::Threads() const {
    const std::lock_guard<std::mutex> guard(state->mutex);
    return state->arrivals;
}

}  // namespace qxtest
