#include "platform/os/window.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <exception>
#include <limits>
#include <memory>
#include <mutex>
#include <new>
#include <shared_mutex>
#include <unordered_map>
#include <utility>

#include "platform/os/debug_output.h"

namespace {

using qxos::WindowProcedure;

// As many posted messages may wait for one thread.
constexpr std::size_t postedLimit = 10000;

// The longest single wait with a limit, some 23 days: more would overflow the clock.
constexpr long longestWaitMs = 2000000000;

struct Message {
    HWND window;
    UINT number;
    WPARAM wParam;
    LPARAM lParam;
};

class ThreadQueue;

// A message whose sender waits. It lies on the sender's stack and is gone as soon as it is answered.
struct SentMessage {
    const Message message;
    const std::shared_ptr<ThreadQueue> sender;
    // Guarded by the sender's mutex.
    bool answered = false;
    LRESULT result = 0;
};

// The windows of one thread and the messages that wait for them. Never are the mutexes of two queues held at
// once, and none is held while a procedure runs.
class ThreadQueue : public std::enable_shared_from_this<ThreadQueue> {
  public:
    // For the owner.
    void AddWindow(HWND window, WindowProcedure procedure);
    void RemoveWindow(HWND window);
    void RemoveAllWindows();
    LRESULT Call(const Message& message);
    LRESULT SendTo(ThreadQueue& target, const Message& message);
    bool Pump(long timeoutMs);
    int Run();
    UINT WaitingKinds();

    // Any thread.
    bool Post(const Message& message);
    void Quit(int code);

  private:
    using Guard = std::unique_lock<std::mutex>;
    // Shared with the calls under way, so that a procedure may destroy its own window. All of these are on
    // the owner's thread, and so is the end of a procedure.
    using SharedProcedure = std::shared_ptr<const WindowProcedure>;

    bool HasMessages() const { return !sent.empty() || !posted.empty(); }
    void DropSent(Guard& guard);
    void HandleNext(Guard& guard);
    std::exception_ptr HandleSent(Guard& guard) noexcept;
    void HandlePosted(Guard& guard);
    static void Answer(SentMessage& message, LRESULT result);

    std::mutex mutex;
    std::condition_variable wake;  // only the owner waits for it
    // Guarded by mutex. The windows of waiting messages are all there.
    std::unordered_map<HWND, SharedProcedure> windows;
    std::deque<SentMessage*> sent;
    std::deque<Message> posted;
    bool quitting = false;
    int exitCode = 0;
};

// All windows of the process. Handles are numbers that are given out once.
class Registry {
  public:
    HWND NewHandle() {
        const std::lock_guard<std::shared_mutex> guard(mutex);
        if (lastHandle == std::numeric_limits<std::uintptr_t>::max()) {
            throw std::bad_alloc();
        }
        return reinterpret_cast<HWND>(++lastHandle);
    }
    void Add(HWND window, const std::shared_ptr<ThreadQueue>& owner) {
        const std::lock_guard<std::shared_mutex> guard(mutex);
        owners.emplace(window, owner);
    }
    void Remove(HWND window) {
        const std::lock_guard<std::shared_mutex> guard(mutex);
        owners.erase(window);
    }
    // Null when there is no such window.
    std::shared_ptr<ThreadQueue> Owner(HWND window) {
        const std::shared_lock<std::shared_mutex> guard(mutex);
        const auto found = owners.find(window);
        return found != owners.end() ? found->second : nullptr;
    }

  private:
    std::shared_mutex mutex;
    std::uintptr_t lastHandle = 0;
    std::unordered_map<HWND, std::shared_ptr<ThreadQueue>> owners;
};

// Never destroyed: threads may end, and with them their windows, after everything else is gone.
Registry& AllWindows() {
    static Registry& registry = *new Registry();
    return registry;
}

// Set once the windows of the thread were destroyed; readable to the thread's very end.
thread_local bool threadEnds = false;

struct ThreadEnd {
    std::shared_ptr<ThreadQueue> queue = std::make_shared<ThreadQueue>();
    ThreadEnd() = default;
    ~ThreadEnd() {
        threadEnds = true;
        queue->RemoveAllWindows();
    }
    ThreadEnd(const ThreadEnd&) = delete;
    ThreadEnd& operator=(const ThreadEnd&) = delete;
};

// Null when the thread is about to end.
std::shared_ptr<ThreadQueue> CurrentQueue() {
    if (threadEnds) {
        return nullptr;
    }
    thread_local const ThreadEnd current;
    return current.queue;
}

void ReportDroppedException() {
    try {
        qxos::OutputDebugStringA("A window procedure threw while an exception of another one was waiting.");
    } catch (...) {
    }
}

void ThreadQueue::AddWindow(HWND window, WindowProcedure procedure) {
    SharedProcedure shared = std::make_shared<const WindowProcedure>(std::move(procedure));
    const Guard guard(mutex);
    windows.emplace(window, std::move(shared));
}

void ThreadQueue::RemoveWindow(HWND window) {
    AllWindows().Remove(window);
    Guard guard(mutex);
    // Let go without the lock.
    const SharedProcedure procedure = windows[window];
    windows.erase(window);
    posted.erase(std::remove_if(posted.begin(), posted.end(),
                                [window](const Message& message) { return message.window == window; }),
                 posted.end());
    DropSent(guard);
    guard.unlock();
}

// All at once: what the end of one procedure sends to another window of this thread must not wait for it.
void ThreadQueue::RemoveAllWindows() {
    Guard guard(mutex);
    decltype(windows) removed;
    removed.swap(windows);
    posted.clear();
    DropSent(guard);
    guard.unlock();
    for (const auto& entry : removed) {
        AllWindows().Remove(entry.first);
    }
}

// Lets those go whose window is not there any more. The guard is held before and after.
void ThreadQueue::DropSent(Guard& guard) {
    const auto lost = [this](const SentMessage* message) {
        return windows.count(message->message.window) == 0;
    };
    for (auto next = std::find_if(sent.begin(), sent.end(), lost); next != sent.end();
         next = std::find_if(sent.begin(), sent.end(), lost)) {
        SentMessage& dropped = **next;
        sent.erase(next);
        guard.unlock();
        Answer(dropped, 0);
        guard.lock();
    }
}

LRESULT ThreadQueue::Call(const Message& message) {
    Guard guard(mutex);
    const auto found = windows.find(message.window);
    if (found == windows.end()) {
        return 0;
    }
    const SharedProcedure procedure = found->second;
    guard.unlock();
    return (*procedure)(message.window, message.number, message.wParam, message.lParam);
}

LRESULT ThreadQueue::SendTo(ThreadQueue& target, const Message& message) {
    SentMessage own{message, shared_from_this()};
    {
        const Guard guard(target.mutex);
        if (target.windows.count(message.window) == 0) {
            return 0;
        }
        target.sent.push_back(&own);
        target.wake.notify_one();
    }
    // Nothing may leave before the answer is there: the receiver uses this stack, and the caller's.
    std::exception_ptr kept;
    Guard guard(mutex);
    for (;;) {
        wake.wait(guard, [this, &own] { return own.answered || !sent.empty(); });
        if (own.answered) {
            break;
        }
        if (const std::exception_ptr failure = HandleSent(guard)) {
            if (kept) {
                ReportDroppedException();
            } else {
                kept = failure;
            }
        }
    }
    guard.unlock();
    if (kept) {
        std::rethrow_exception(kept);
    }
    return own.result;
}

// On the sender's queue, which may go together with its thread as soon as the mutex is free.
void ThreadQueue::Answer(SentMessage& message, LRESULT result) {
    const std::shared_ptr<ThreadQueue> sender = message.sender;
    const Guard guard(sender->mutex);
    message.result = result;
    message.answered = true;
    sender->wake.notify_one();
}

// The three below take one message out, so that a procedure that pumps itself finds the others in their
// place. The guard is held before and after; HandleNext and HandlePosted leave it free when they throw.

std::exception_ptr ThreadQueue::HandleSent(Guard& guard) noexcept {
    SentMessage& taken = *sent.front();
    sent.pop_front();
    const Message message = taken.message;
    std::exception_ptr failure;
    LRESULT result = 0;
    {
        const SharedProcedure procedure = windows.find(message.window)->second;
        guard.unlock();
        try {
            result = (*procedure)(message.window, message.number, message.wParam, message.lParam);
        } catch (...) {
            failure = std::current_exception();
        }
    }
    Answer(taken, result);
    guard.lock();
    return failure;
}

void ThreadQueue::HandlePosted(Guard& guard) {
    const Message message = posted.front();
    posted.pop_front();
    {
        const SharedProcedure procedure = windows.find(message.window)->second;
        guard.unlock();
        (*procedure)(message.window, message.number, message.wParam, message.lParam);
    }
    guard.lock();
}

void ThreadQueue::HandleNext(Guard& guard) {
    if (sent.empty()) {
        HandlePosted(guard);
        return;
    }
    if (const std::exception_ptr failure = HandleSent(guard)) {
        guard.unlock();
        std::rethrow_exception(failure);
    }
}

bool ThreadQueue::Pump(long timeoutMs) {
    Guard guard(mutex);
    const auto arrived = [this] { return HasMessages(); };
    if (timeoutMs < 0) {
        wake.wait(guard, arrived);
    } else {
        wake.wait_for(guard, std::chrono::milliseconds(std::min(timeoutMs, longestWaitMs)), arrived);
    }
    bool handled = false;
    // Not more than there were, so that busy senders don't keep the caller in here.
    for (std::size_t left = sent.size() + posted.size(); left > 0 && HasMessages(); --left) {
        HandleNext(guard);
        handled = true;
    }
    return handled;
}

int ThreadQueue::Run() {
    Guard guard(mutex);
    for (;;) {
        wake.wait(guard, [this] { return HasMessages() || quitting; });
        if (!HasMessages()) {
            quitting = false;
            return exitCode;
        }
        HandleNext(guard);
    }
}

UINT ThreadQueue::WaitingKinds() {
    const Guard guard(mutex);
    return (sent.empty() ? 0 : QS_SENDMESSAGE) | (posted.empty() ? 0 : QS_POSTMESSAGE);
}

bool ThreadQueue::Post(const Message& message) {
    const Guard guard(mutex);
    if (windows.count(message.window) == 0 || posted.size() >= postedLimit) {
        return false;
    }
    posted.push_back(message);
    wake.notify_one();
    return true;
}

void ThreadQueue::Quit(int code) {
    const Guard guard(mutex);
    quitting = true;
    exitCode = code;
    wake.notify_one();
}

}  // namespace

LRESULT SendMessageA(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    const std::shared_ptr<ThreadQueue> owner = AllWindows().Owner(window);
    if (!owner) {
        return 0;
    }
    const Message content{window, message, wParam, lParam};
    std::shared_ptr<ThreadQueue> current = CurrentQueue();
    if (current == owner) {
        return current->Call(content);
    }
    if (!current) {
        // A thread that is about to end has no windows any more, but still waits for its answer.
        current = std::make_shared<ThreadQueue>();
    }
    return current->SendTo(*owner, content);
}

int PostMessageA(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    const std::shared_ptr<ThreadQueue> owner = AllWindows().Owner(window);
    if (!owner) {
        return 0;
    }
    if (message == WM_QUIT) {
        owner->Quit(static_cast<int>(wParam));
        return 1;
    }
    return owner->Post({window, message, wParam, lParam}) ? 1 : 0;
}

void PostQuitMessage(int exitCode) {
    if (const std::shared_ptr<ThreadQueue> current = CurrentQueue()) {
        current->Quit(exitCode);
    }
}

int IsWindow(HWND window) {
    return AllWindows().Owner(window) ? 1 : 0;
}

int DestroyWindow(HWND window) {
    const std::shared_ptr<ThreadQueue> owner = AllWindows().Owner(window);
    if (!owner || owner != CurrentQueue()) {
        return 0;
    }
    owner->RemoveWindow(window);
    return 1;
}

unsigned long GetQueueStatus(UINT kinds) {
    const std::shared_ptr<ThreadQueue> current = CurrentQueue();
    const unsigned long waiting = current ? current->WaitingKinds() & kinds : 0;
    return waiting << 16 | waiting;
}

namespace qxos {

HWND CreateMessageWindow(WindowProcedure procedure) {
    const std::shared_ptr<ThreadQueue> owner = CurrentQueue();
    if (!owner || !procedure) {
        return nullptr;
    }
    const HWND window = AllWindows().NewHandle();
    owner->AddWindow(window, std::move(procedure));
    try {
        AllWindows().Add(window, owner);
    } catch (...) {
        owner->RemoveWindow(window);
        throw;
    }
    return window;
}

int RunMessages() {
    const std::shared_ptr<ThreadQueue> current = CurrentQueue();
    return current ? current->Run() : 0;
}

bool PumpMessages(long timeoutMs) {
    const std::shared_ptr<ThreadQueue> current = CurrentQueue();
    return current && current->Pump(timeoutMs);
}

}  // namespace qxos
