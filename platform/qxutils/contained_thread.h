// A thread that owns its own object, reached through counted handles.
#pragma once

#include <atomic>

#include "platform/export.h"

namespace qxutils {

// The record of one contained thread. Opaque: only pointers to it are passed around.
class ThreadAttributes;

// Base of a thread body that nobody has to wait for. Made by CreateThreadIntl, reached by ThreadPtr, deleted
// by the system after Run has returned and the last ThreadPtr is gone, whichever comes later; a thread that
// was never let into Run is deleted with its last ThreadPtr. A caller never deletes one. The end of the
// process waits up to 2 s for threads that nobody holds any more and that are still ending.
class QXSENG2_API ContainedThread {
  public:
    explicit ContainedThread(ThreadAttributes* attributes);
    virtual ~ContainedThread();
    ContainedThread(const ContainedThread&) = delete;
    ContainedThread& operator=(const ContainedThread&) = delete;

    // True once the object is built and the thread can accept ReadyToRun. Any thread.
    virtual bool Initialized();
    // True once Run has returned. Any thread.
    virtual bool ExecutionCompleted();
    // The body, on the new thread. An exception that leaves it ends the thread and goes to the debug output.
    virtual void Run() = 0;

  protected:
    // Lets the thread enter Run; repeated calls do nothing. Any thread.
    virtual void ReadyToRun();
    // Called once, on the thread that released the last ThreadPtr, which can be the thread itself. A subclass
    // ends its loop here. The thread may still be in Run.
    virtual void NoMoreReferences() = 0;

    // Makes a thread, not yet in Run. The factory makes the object with `new` and hands the attributes to the
    // constructor. Null when the factory gave null or the system gives no thread; exceptions of the factory
    // pass through. The result is for a ThreadPtr at once: without one, the thread stays for ever.
    static ThreadAttributes* CreateThreadIntl(ContainedThread* (*factory)(ThreadAttributes*));

  private:
    friend class ThreadAttributes;
    friend class ThreadPtrUtils;

    ThreadAttributes* const record;
};

// What ThreadPtr is made of. Any thread; null is allowed everywhere.
class QXSENG2_API ThreadPtrUtils {
  public:
    // The number of references afterwards.
    static int InternalAddRef(ThreadAttributes* attributes);
    static int InternalRelease(ThreadAttributes* attributes);
    static ContainedThread* GetThread(ThreadAttributes* attributes);
};

// Counted handle to a contained thread of class T. A value: each handle is used by one thread at a time,
// handles to the same thread by any number.
template <class T>
class ThreadPtr {
  public:
    ThreadPtr(ThreadAttributes* threadAttributes = nullptr) : attributes(threadAttributes) {
        ThreadPtrUtils::InternalAddRef(attributes);
    }
    ThreadPtr(const ThreadPtr& other) : attributes(other.attributes) {
        ThreadPtrUtils::InternalAddRef(attributes);
    }
    ~ThreadPtr() { ThreadPtrUtils::InternalRelease(attributes); }

    ThreadPtr& operator=(const ThreadPtr& other) {
        // The new reference first: assigning a handle to itself must not drop the last one.
        ThreadAttributes* const old = attributes;
        ThreadPtrUtils::InternalAddRef(other.attributes);
        attributes = other.attributes;
        ThreadPtrUtils::InternalRelease(old);
        return *this;
    }

    T* operator->() const { return static_cast<T*>(ThreadPtrUtils::GetThread(attributes)); }
    explicit operator bool() const { return attributes != nullptr; }

  private:
    ThreadAttributes* attributes;
};

}  // namespace qxutils
