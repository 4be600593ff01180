#include "platform/qxutils/contained_thread.h"

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>

#include "platform/os/debug_output.h"

namespace qxutils {

namespace {

// Threads that nobody holds any more and that have not ended yet. Never destroyed itself: a thread that hangs
// in a driver may come back when everything else is gone.
struct LeavingThreads {
    std::mutex mutex;
    std::condition_variable gone;
    int count = 0;  // guarded by mutex

    void Begin() {
        const std::lock_guard<std::mutex> guard(mutex);
        ++count;
    }
    void End() {
        const std::lock_guard<std::mutex> guard(mutex);
        --count;
        gone.notify_all();
    }
};

// At the end of the process, waits for threads that are about to end, before the static objects that they use
// go. Made with the first thread, and so behind the allocator of the handles that a thread is made with.
class ExitWait {
  public:
    ExitWait() : leaving(*new LeavingThreads()) {}
    ~ExitWait() {
        // A thread that does not come back in this time is stuck in a driver; the process ends under it.
        std::unique_lock<std::mutex> guard(leaving.mutex);
        leaving.gone.wait_for(guard, std::chrono::seconds(2), [this] { return leaving.count == 0; });
    }
    LeavingThreads& leaving;
};

LeavingThreads& Leaving() {
    static const ExitWait wait;
    return wait.leaving;
}

}  // namespace

// Deleted, together with the thread's object, by whoever comes last: the thread at its end, or the releaser
// of the last reference after it has told the object.
class ThreadAttributes {
  public:
    static ThreadAttributes* Create(ContainedThread* (*factory)(ThreadAttributes*)) {
        std::unique_ptr<ThreadAttributes> attributes(new ThreadAttributes());
        attributes->thread.reset(factory(attributes.get()));
        if (!attributes->thread) {
            return nullptr;
        }
        Leaving();
        try {
            std::thread(&ThreadAttributes::ThreadMain, attributes.get()).detach();
        } catch (const std::system_error&) {
            return nullptr;
        }
        attributes->initialized = true;
        return attributes.release();
    }

    int AddRef() {
        const std::lock_guard<std::mutex> guard(mutex);
        return ++references;
    }

    int Release() {
        {
            const std::lock_guard<std::mutex> guard(mutex);
            if (--references != 0) {
                return references;
            }
        }
        try {
            thread->NoMoreReferences();
        } catch (...) {
            qxos::OutputDebugStringA("A thread could not be told that it has no more references.");
        }
        bool last;
        {
            const std::lock_guard<std::mutex> guard(mutex);
            released = true;
            wake.notify_all();
            last = ended;
            if (!last) {
                Leaving().Begin();
            }
        }
        if (last) {
            delete this;
        }
        return 0;
    }

    void LetRun() {
        const std::lock_guard<std::mutex> guard(mutex);
        ready = true;
        wake.notify_all();
    }

    ContainedThread* GetThread() const { return thread.get(); }
    bool IsInitialized() const { return initialized; }
    bool IsCompleted() const { return completed; }

  private:
    ThreadAttributes() = default;
    ~ThreadAttributes() = default;
    friend std::default_delete<ThreadAttributes>;

    static void ThreadMain(ThreadAttributes* attributes) { attributes->Execute(); }

    void Execute() {
        bool run;
        {
            std::unique_lock<std::mutex> guard(mutex);
            wake.wait(guard, [this] { return ready || released; });
            // A thread that was started and then left alone still runs.
            run = ready;
        }
        if (run) {
            try {
                thread->Run();
            } catch (...) {
                qxos::OutputDebugStringA("A thread ended by an exception.");
            }
            completed = true;
        }
        bool last;
        {
            const std::lock_guard<std::mutex> guard(mutex);
            ended = true;
            last = released;
        }
        if (last) {
            delete this;
            Leaving().End();
        }
    }

    std::unique_ptr<ContainedThread> thread;
    std::atomic<bool> initialized{false};
    std::atomic<bool> completed{false};
    std::mutex mutex;
    std::condition_variable wake;
    // Guarded by mutex.
    int references = 0;
    bool ready = false;     // may enter Run
    bool released = false;  // no reference is left, and the object has been told
    bool ended = false;     // the system's thread touches nothing any more
};

ContainedThread::ContainedThread(ThreadAttributes* threadAttributes) : record(threadAttributes) {}

ContainedThread::~ContainedThread() = default;

bool ContainedThread::Initialized() {
    return record->IsInitialized();
}

bool ContainedThread::ExecutionCompleted() {
    return record->IsCompleted();
}

void ContainedThread::ReadyToRun() {
    record->LetRun();
}

ThreadAttributes* ContainedThread::CreateThreadIntl(ContainedThread* (*factory)(ThreadAttributes*)) {
    return ThreadAttributes::Create(factory);
}

int ThreadPtrUtils::InternalAddRef(ThreadAttributes* attributes) {
    return attributes != nullptr ? attributes->AddRef() : 0;
}

int ThreadPtrUtils::InternalRelease(ThreadAttributes* attributes) {
    return attributes != nullptr ? attributes->Release() : 0;
}

ContainedThread* ThreadPtrUtils::GetThread(ThreadAttributes* attributes) {
    return attributes != nullptr ? attributes->GetThread() : nullptr;
}

}  // namespace qxutils
