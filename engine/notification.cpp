#include "engine/notification.h"

#include <algorithm>
#include <chrono>
#include <iterator>
#include <stdexcept>

namespace qxdbsqlengine {

using qxutils::ReadLockGuard;
using qxutils::WriteLockGuard;

namespace {

// Between two row-count updates that are not forced.
constexpr double updateIntervalMs = 500.0;

bool CountsAsError(OutputMessageType type) {
    return type == OutputMessageWarning || type == OutputMessageError;
}

void RequireLocked(const ReadLockGuard& guard) {
    if (!guard.IsLocked()) {
        throw std::runtime_error("Unable to acquire lock!");
    }
}

}  // namespace

// Notes a call for the time it takes. Made under the read side of the list's lock, so that whoever has
// removed the callback sees either no call or this one.
class NotificationCallbacks::CallScope {
  public:
    CallScope(NotificationCallbacks& list, const void* callback) : owner(list), noted(callback) {
        const std::lock_guard<std::mutex> guard(owner.callMutex);
        owner.calls.push_back(Call{noted, std::this_thread::get_id()});
    }
    ~CallScope() {
        const std::lock_guard<std::mutex> guard(owner.callMutex);
        owner.calls.erase(owner.InnermostCall(noted));
        owner.callEnded.notify_all();
    }
    CallScope(const CallScope&) = delete;
    CallScope& operator=(const CallScope&) = delete;

  private:
    NotificationCallbacks& owner;
    const void* const noted;
};

NotificationCallbacks::NotificationCallbacks() = default;

NotificationCallbacks::~NotificationCallbacks() = default;

template <class Callback>
void NotificationCallbacks::AddTo(std::vector<Callback*>& list, Callback& callback) {
    const WriteLockGuard guard(lock);
    if (std::find(list.begin(), list.end(), &callback) == list.end()) {
        list.push_back(&callback);
    }
}

template <class Callback>
void NotificationCallbacks::RemoveFrom(std::vector<Callback*>& list, Callback& callback) {
    const WriteLockGuard guard(lock);
    const auto found = std::find(list.begin(), list.end(), &callback);
    if (found != list.end()) {
        list.erase(found);
    }
}

template <class Callback, class Invoke>
void NotificationCallbacks::Walk(std::vector<Callback*> NotificationCallbacks::*list, const Invoke& invoke) {
    ReadLockGuard guard(lock, true);
    RequireLocked(guard);
    const std::vector<Callback*> copy = this->*list;
    guard.Unlock();

    for (Callback* const callback : copy) {
        // A callback that was removed while the walk was under way is not called any more.
        RequireLocked((guard.Relock(), guard));
        const std::vector<Callback*>& live = this->*list;
        if (std::find(live.begin(), live.end(), callback) == live.end()) {
            guard.Unlock();
            continue;
        }
        const CallScope call(*this, callback);
        guard.Unlock();
        invoke(*callback);
    }
}

void NotificationCallbacks::Add(ErrorCallback& callback) {
    AddTo(errorCallbacks, callback);
}
void NotificationCallbacks::Add(MessageCallback& callback) {
    AddTo(messageCallbacks, callback);
}
void NotificationCallbacks::Add(RequestCallback& callback) {
    AddTo(requestCallbacks, callback);
}
void NotificationCallbacks::Add(ExecutionCallback& callback) {
    AddTo(executionCallbacks, callback);
}
void NotificationCallbacks::Add(ResultSetCallback& callback) {
    AddTo(resultSetCallbacks, callback);
}
void NotificationCallbacks::Add(BatchCallback& callback) {
    AddTo(batchCallbacks, callback);
}
void NotificationCallbacks::Add(LobCallback& callback) {
    AddTo(lobCallbacks, callback);
}
void NotificationCallbacks::Add(DebugEventCallback& callback) {
    AddTo(debugEventCallbacks, callback);
}

void NotificationCallbacks::Remove(ErrorCallback& callback) {
    RemoveFrom(errorCallbacks, callback);
}
void NotificationCallbacks::Remove(MessageCallback& callback) {
    RemoveFrom(messageCallbacks, callback);
}
void NotificationCallbacks::Remove(RequestCallback& callback) {
    RemoveFrom(requestCallbacks, callback);
}
void NotificationCallbacks::Remove(ExecutionCallback& callback) {
    RemoveFrom(executionCallbacks, callback);
}
void NotificationCallbacks::Remove(ResultSetCallback& callback) {
    RemoveFrom(resultSetCallbacks, callback);
}
void NotificationCallbacks::Remove(BatchCallback& callback) {
    RemoveFrom(batchCallbacks, callback);
}
void NotificationCallbacks::Remove(LobCallback& callback) {
    RemoveFrom(lobCallbacks, callback);
}
void NotificationCallbacks::Remove(DebugEventCallback& callback) {
    RemoveFrom(debugEventCallbacks, callback);
}

void NotificationCallbacks::Clear() {
    const WriteLockGuard guard(lock);
    errorCallbacks.clear();
    messageCallbacks.clear();
    requestCallbacks.clear();
    executionCallbacks.clear();
    resultSetCallbacks.clear();
    batchCallbacks.clear();
    lobCallbacks.clear();
    debugEventCallbacks.clear();
}

bool NotificationCallbacks::WaitForCalls(const std::vector<const void*>& gone, long timeoutMs) {
    const std::thread::id self = std::this_thread::get_id();
    const auto concerns = [&gone, self](const Call& call) {
        return !call.ended && call.thread != self &&
               std::find(gone.begin(), gone.end(), call.callback) != gone.end();
    };
    std::unique_lock<std::mutex> guard(callMutex);
    return callEnded.wait_for(guard, std::chrono::milliseconds(timeoutMs), [this, &concerns] {
        return std::none_of(calls.begin(), calls.end(), concerns);
    });
}

void NotificationCallbacks::EndCall(const void* callback) {
    const std::lock_guard<std::mutex> guard(callMutex);
    const auto call = InnermostCall(callback);
    if (call != calls.end()) {
        call->ended = true;
        callEnded.notify_all();
    }
}

// Of the calling thread; a call within a call comes later in the list. The caller holds callMutex.
std::vector<NotificationCallbacks::Call>::iterator NotificationCallbacks::InnermostCall(
    const void* callback) {
    const auto found = std::find_if(calls.rbegin(), calls.rend(),
                                    [callback, self = std::this_thread::get_id()](const Call& call) {
                                        return call.callback == callback && call.thread == self;
                                    });
    return found == calls.rend() ? calls.end() : std::prev(found.base());
}

DispatchCallbacks::DispatchCallbacks(const SmartPtr<NotificationCallbacks>& notificationCallbacks)
    : callbacks(notificationCallbacks), timer(true) {}

DispatchCallbacks::~DispatchCallbacks() = default;

template <class Callback, class Invoke>
void DispatchCallbacks::Dispatch(std::vector<Callback*> NotificationCallbacks::*list, const Invoke& invoke) {
    callbacks->Walk(list, invoke);
}

void DispatchCallbacks::NotifyError(const Errors& errors) {
    errorCount += static_cast<int>(errors.GetNumberErrors());
    if (!callbacks) {
        return;
    }
    noOutput = false;
    Dispatch(&NotificationCallbacks::errorCallbacks, [&errors](ErrorCallback& callback) {
        callback.OnError(errors);
        errors.Reset();
    });
}

void DispatchCallbacks::NotifyMessage(const char* text, OutputMessageType type) {
    if (!callbacks) {
        return;
    }
    Dispatch(&NotificationCallbacks::messageCallbacks,
             [text, type](MessageCallback& callback) { callback.OnMessage(text, type); });
}

void DispatchCallbacks::NotifyMessage(const std::string& text, OutputMessageType type) {
    if (!callbacks) {
        return;
    }
    NotifyMessage(text.c_str(), type);
    if (CountsAsError(type)) {
        noOutput = false;
        ++errorCount;
    }
}

void DispatchCallbacks::NotifyRequestBegin() {
    if (!callbacks) {
        return;
    }
    errorCount = 0;
    inResultSet = false;
    inMessageResultSet = false;
    inBatchItem = false;
    const double elapsed = timer.GetElapseTime();
    Dispatch(&NotificationCallbacks::requestCallbacks,
             [elapsed](RequestCallback& callback) { callback.OnRequestBegin(elapsed); });
}

void DispatchCallbacks::NotifyRequestEnd() {
    if (!callbacks) {
        return;
    }
    const double elapsed = timer.GetElapseTime();
    Dispatch(&NotificationCallbacks::requestCallbacks,
             [elapsed](RequestCallback& callback) { callback.OnRequestEnd(elapsed); });
}

void DispatchCallbacks::NotifyCancelFailed() {
    if (!callbacks) {
        return;
    }
    const double elapsed = timer.GetElapseTime();
    Dispatch(&NotificationCallbacks::requestCallbacks,
             [elapsed](RequestCallback& callback) { callback.OnCancelFailed(elapsed); });
}

void DispatchCallbacks::NotifyExecuteBegin() {
    if (!callbacks) {
        return;
    }
    noOutput = true;
    const double elapsed = timer.GetElapseTime();
    Dispatch(&NotificationCallbacks::executionCallbacks,
             [elapsed](ExecutionCallback& callback) { callback.OnExecuteBegin(elapsed); });
}

void DispatchCallbacks::NotifyExecuteEnd() {
    if (!callbacks) {
        return;
    }
    const double elapsed = timer.GetElapseTime();
    Dispatch(&NotificationCallbacks::executionCallbacks,
             [elapsed](ExecutionCallback& callback) { callback.OnExecuteEnd(elapsed); });
}

void DispatchCallbacks::NotifyPreResultSetBegin(int resultSetId, ResultSetType type) {
    if (!callbacks || inResultSet) {
        return;
    }
    const double elapsed = timer.GetElapseTime();
    Dispatch(&NotificationCallbacks::resultSetCallbacks,
             [elapsed, resultSetId, type](ResultSetCallback& callback) {
                 callback.OnPreResultSetBegin(elapsed, resultSetId, type);
             });
}

void DispatchCallbacks::NotifyResultSetBegin(int resultSetId, ResultSetType type) {
    if (!callbacks || inResultSet) {
        return;
    }
    noOutput = false;
    inResultSet = true;
    inMessageResultSet = false;
    const double elapsed = timer.GetElapseTime();
    Dispatch(&NotificationCallbacks::resultSetCallbacks,
             [elapsed, resultSetId, type](ResultSetCallback& callback) {
                 callback.OnResultSetBegin(elapsed, resultSetId, type);
             });
}

void DispatchCallbacks::NotifyResultSetUpdate(int resultSetId, int rows, bool force) {
    if (!callbacks || !inResultSet) {
        return;
    }
    const double elapsed = timer.GetElapseTime();
    if (!force && elapsed - lastUpdateTime < updateIntervalMs) {
        return;
    }
    Dispatch(&NotificationCallbacks::resultSetCallbacks,
             [elapsed, resultSetId, rows](ResultSetCallback& callback) {
                 callback.OnResultSetUpdate(elapsed, resultSetId, rows);
             });
    lastUpdateTime = elapsed;
}

void DispatchCallbacks::NotifyResultSetEnd(int resultSetId) {
    if (!callbacks || !inResultSet) {
        return;
    }
    inResultSet = false;
    inMessageResultSet = false;
    const double elapsed = timer.GetElapseTime();
    Dispatch(&NotificationCallbacks::resultSetCallbacks, [elapsed, resultSetId](ResultSetCallback& callback) {
        callback.OnResultSetEnd(elapsed, resultSetId);
    });
}

void DispatchCallbacks::NotifyBatchItemBegin(int itemIndex, int itemValue) {
    if (!callbacks || inBatchItem) {
        return;
    }
    noOutput = true;
    // An open result set of messages goes on through the whole script.
    if (!inMessageResultSet) {
        inResultSet = false;
    }
    inBatchItem = true;
    const double elapsed = timer.GetElapseTime();
    Dispatch(&NotificationCallbacks::batchCallbacks,
             [elapsed, itemIndex, itemValue](BatchCallback& callback) {
                 callback.OnBatchItemBegin(elapsed, itemIndex, itemValue);
             });
}

void DispatchCallbacks::NotifyBatchItemEnd(int rowCount, const ParameterList& parameters) {
    if (!callbacks || !inBatchItem) {
        return;
    }
    inBatchItem = false;
    const double elapsed = timer.GetElapseTime();
    Dispatch(&NotificationCallbacks::batchCallbacks,
             [elapsed, rowCount, &parameters](BatchCallback& callback) {
                 callback.OnBatchItemEnd(elapsed, rowCount, parameters);
             });
}

void DispatchCallbacks::NotifyLobExtracted(const char* fileName) {
    if (!callbacks) {
        return;
    }
    const double elapsed = timer.GetElapseTime();
    Dispatch(&NotificationCallbacks::lobCallbacks,
             [fileName, elapsed](LobCallback& callback) { callback.OnLobExtracted(fileName, elapsed); });
}

void DispatchCallbacks::NotifyLobExtracted(const std::string& fileName) {
    NotifyLobExtracted(fileName.c_str());
}

void DispatchCallbacks::NotifyLobImported() {
    if (!callbacks) {
        return;
    }
    const double elapsed = timer.GetElapseTime();
    Dispatch(&NotificationCallbacks::lobCallbacks,
             [elapsed](LobCallback& callback) { callback.OnLobImported(elapsed); });
}

void DispatchCallbacks::NotifyDebugEvent(int event, void* data) {
    if (!callbacks) {
        return;
    }
    const double elapsed = timer.GetElapseTime();
    Dispatch(&NotificationCallbacks::debugEventCallbacks,
             [event, data, elapsed](DebugEventCallback& callback) {
                 callback.OnDebugEvent(event, data, elapsed);
             });
}

}  // namespace qxdbsqlengine
