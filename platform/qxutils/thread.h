// A thread whose object belongs to its creator.
#pragma once

#include <memory>

#include "platform/export.h"

namespace qxutils {

// Base of a thread body. The creator owns the object and waits for the end (WaitForExit) before it destroys
// it: a derived class that has threads still running does so in its own destructor. The base's destructor
// asks the thread to stop and waits without limit, as a last resort.
class QXSENG2_API Thread {
  public:
    enum Status { StatusNotStarted = 0, StatusRunning = 1, StatusEnded = 2 };
    static constexpr unsigned long NoLimit = 0xFFFFFFFF;

    virtual ~Thread();
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

    // Asks the thread to stop; returns at once. Any thread.
    virtual void Terminate();
    // The body, on the new thread. An exception that leaves it ends the thread and goes to the debug output.
    virtual int Run() = 0;

    // Starts the thread, once. Null when it was started before or the system gives no thread; the result is
    // otherwise an opaque mark of success.
    void* Start();
    Status GetStatus() const;
    // Blocks until the thread has ended or the time is over (NoLimit: never is); true when it has ended or was
    // never started.
    bool WaitForExit(unsigned long milliseconds);

  protected:
    Thread();
    // For the body: true once Terminate was called.
    bool ShouldTerminate() const;

  private:
    struct State;
    std::shared_ptr<State> state;  // shared with the running thread
};

}  // namespace qxutils
