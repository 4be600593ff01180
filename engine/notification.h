// The list of registered callbacks, and the base of every request that calls them.
#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "engine/callbacks.h"
#include "engine/request.h"
#include "platform/export.h"
#include "platform/qxutils/read_write_lock.h"
#include "platform/qxutils/step_timer.h"
#include "platform/smart_ptr.h"

namespace qxdbsqlengine {

// Shared by handle between a director and its request. Any thread. Callbacks are not owned. Throws
// std::runtime_error "Unable to acquire lock!" where the lock is refused.
class QXSENG2_API NotificationCallbacks {
  public:
    NotificationCallbacks();
    ~NotificationCallbacks();
    NotificationCallbacks(const NotificationCallbacks&) = delete;
    NotificationCallbacks& operator=(const NotificationCallbacks&) = delete;

    // Appends the callback, unless it is in its list already; callbacks are called in this order.
    void Add(ErrorCallback& callback);
    void Add(MessageCallback& callback);
    void Add(RequestCallback& callback);
    void Add(ExecutionCallback& callback);
    void Add(ResultSetCallback& callback);
    void Add(BatchCallback& callback);
    void Add(LobCallback& callback);
    void Add(DebugEventCallback& callback);

    // A callback that is not in its list is no fault. After the return no call to the object begins any more;
    // one that had begun on another thread may still be running.
    void Remove(ErrorCallback& callback);
    void Remove(MessageCallback& callback);
    void Remove(RequestCallback& callback);
    void Remove(ExecutionCallback& callback);
    void Remove(ResultSetCallback& callback);
    void Remove(BatchCallback& callback);
    void Remove(LobCallback& callback);
    void Remove(DebugEventCallback& callback);

    // Empties all lists.
    void Clear();

    qxutils::RecursiveReadWriteLock& GetCriticalSection() { return lock; }

    // For an object that removed itself because it is about to go: waits until no other thread is inside a
    // call to one of `gone`, at most for `timeoutMs`. True when none is. Not for objects whose calls may wait
    // for this thread.
    bool WaitForCalls(const std::vector<const void*>& gone, long timeoutMs);

    // For a callback whose call goes on without its object, such as one that hands on to windows and waits
    // for them: WaitForCalls no longer waits for the call of `callback` that this thread is in. Nothing
    // happens where the thread is in none.
    void EndCall(const void* callback);

  private:
    friend class DispatchCallbacks;

    // One call under way.
    struct Call {
        const void* callback;
        std::thread::id thread;
        bool ended = false;  // the object is not touched any more
    };
    class CallScope;

    std::vector<Call>::iterator InnermostCall(const void* callback);
    template <class Callback>
    void AddTo(std::vector<Callback*>& list, Callback& callback);
    template <class Callback>
    void RemoveFrom(std::vector<Callback*>& list, Callback& callback);
    template <class Callback, class Invoke>
    void Walk(std::vector<Callback*> NotificationCallbacks::*list, const Invoke& invoke);
    // Guarded by lock.
    std::vector<ErrorCallback*> errorCallbacks;
    std::vector<MessageCallback*> messageCallbacks;
    std::vector<RequestCallback*> requestCallbacks;
    std::vector<ExecutionCallback*> executionCallbacks;
    std::vector<ResultSetCallback*> resultSetCallbacks;
    std::vector<BatchCallback*> batchCallbacks;
    std::vector<LobCallback*> lobCallbacks;
    std::vector<DebugEventCallback*> debugEventCallbacks;
    qxutils::RecursiveReadWriteLock lock;

    std::mutex callMutex;
    std::condition_variable callEnded;
    std::vector<Call> calls;  // guarded by callMutex
};

// Base of the requests that notify. Each notification takes a copy of its list and calls those of it that are
// still registered when their turn comes; no lock is held during a call. What a callback throws leaves the
// notification.
//
// The flags make notifications safe to repeat: a second begin within an open result set does nothing, nor
// does an end with none open.
//
// Thread of the run, apart from NotifyError and NotifyCancelFailed, which may also come from the thread that
// gives a run up.
class QXSENG2_API DispatchCallbacks : public Request {
  public:
    // A null handle is allowed: then nothing is called.
    explicit DispatchCallbacks(const SmartPtr<NotificationCallbacks>& callbacks);
    ~DispatchCallbacks() override;

    // Counts the records as errors of the run, also with a null handle.
    void NotifyError(const Errors& errors);
    // The plain pointer counts nothing; the string counts as an error when the type is 2 or 5.
    void NotifyMessage(const char* text, OutputMessageType type);
    void NotifyMessage(const std::string& text, OutputMessageType type);
    void NotifyRequestBegin();
    void NotifyRequestEnd();
    void NotifyExecuteBegin();
    void NotifyExecuteEnd();
    void NotifyLobExtracted(const char* fileName);
    void NotifyLobExtracted(const std::string& fileName);
    void NotifyLobImported();
    void NotifyDebugEvent(int event, void* data);

  protected:
    void NotifyCancelFailed();
    void NotifyPreResultSetBegin(int resultSetId, ResultSetType type);
    void NotifyResultSetBegin(int resultSetId, ResultSetType type);
    // Dropped when the last update is less than 500 ms ago, unless `force`.
    void NotifyResultSetUpdate(int resultSetId, int rows, bool force);
    void NotifyResultSetEnd(int resultSetId);
    void NotifyBatchItemBegin(int itemIndex, int itemValue);
    void NotifyBatchItemEnd(int rowCount, const ParameterList& parameters);

    SmartPtr<NotificationCallbacks> callbacks;
    qxutils::PerformanceStepTimer timer;
    double lastUpdateTime = 0.0;       // ms; of the last update that went out
    std::atomic<bool> noOutput{true};  // the current statement has produced nothing yet
    bool inResultSet = false;          // a result set is open
    bool inBatchItem = false;          // a batch item is open
    std::atomic<int> errorCount{0};    // of this run
    bool inMessageResultSet = false;   // the open result set is one of messages; set by the derived class

  private:
    template <class Callback, class Invoke>
    void Dispatch(std::vector<Callback*> NotificationCallbacks::*list, const Invoke& invoke);
};

}  // namespace qxdbsqlengine
