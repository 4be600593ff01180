// A signal that threads wait for.
#pragma once

#include <condition_variable>
#include <mutex>
#include <string>

#include "platform/export.h"

namespace qxutils {

// Any thread. A waiter must be back from Lock before the event is destroyed.
class QXSENG2_API Event {
  public:
    // A manual-reset event stays signalled until ResetEvent and lets every waiter through; an automatic one
    // lets one waiter through and resets. The name is only kept for a debugger: events are not shared
    // between processes.
    Event(bool manualReset, bool initiallySignalled, const std::string& name);
    ~Event();
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;

    bool SetEvent();
    bool ResetEvent();
    // Milliseconds that later waits take at most; negative, the default, is no limit.
    void SetTimeout(long milliseconds);
    // Waits for the signal. True when signalled, false when the time was over.
    bool Lock();
    // The counterpart of Lock for scope guards; does nothing and returns true.
    bool Unlock();

  private:
    const bool manualReset;
    const std::string name;
    std::mutex mutex;
    std::condition_variable condition;
    // Guarded by mutex.
    bool signalled;
    long timeoutMs = -1;
};

}  // namespace qxutils
