// The director's own notifications, which it hands on to the windows that watch it.
#include <algorithm>

#include "engine/director.h"
#include "engine/observers.h"
#include "platform/os/debug_output.h"
#include "platform/qxutils/lock_guard.h"

namespace qxdbsqlengine {

namespace {

using Guard = qxutils::LockGuard<qxutils::CriticalSection>;
using qxutils::ReadLockGuard;
using qxutils::WriteLockGuard;

void AddOnce(std::vector<HWND>& windows, HWND window) {
    if (std::find(windows.begin(), windows.end(), window) == windows.end()) {
        windows.push_back(window);
    }
}

void RemoveEach(std::vector<HWND>& windows, HWND window) {
    windows.erase(std::remove(windows.begin(), windows.end(), window), windows.end());
}

}  // namespace

// Whom a notification goes to: all that it needs once it has let its director go.
struct CSingleRequestDirector::Audience {
    std::vector<HWND> windows;
    std::shared_ptr<const std::atomic<bool>> silent;

    template <class Payload, class AfterEach>
    void Tell(EngineNotificationKind kind, Payload& payload, const AfterEach& afterEach) const {
        for (const HWND window : windows) {
            if (*silent) {
                return;
            }
            if (IsWindow(window)) {
                SendMessageA(window, WM_ENGINE_NOTIFICATION, static_cast<WPARAM>(kind),
                             reinterpret_cast<LPARAM>(&payload));
                afterEach();
            }
        }
    }
    template <class Payload>
    void Tell(EngineNotificationKind kind, Payload payload) const {
        Tell(kind, payload, [] {});
    }
};

void CSingleRequestDirector::RegisterObserver(HWND window, ObserverType type) {
    const WriteLockGuard guard(observerLock);
    if (std::vector<HWND>* const windows = GetObservers(type)) {
        AddOnce(*windows, window);
    }
}

void CSingleRequestDirector::RegisterObserver(HWND window) {
    const WriteLockGuard guard(observerLock);
    for (std::vector<HWND>& windows : observers) {
        AddOnce(windows, window);
    }
}

void CSingleRequestDirector::UnregisterObserver(HWND window, ObserverType type) {
    const WriteLockGuard guard(observerLock);
    if (std::vector<HWND>* const windows = GetObservers(type)) {
        RemoveEach(*windows, window);
    }
}

void CSingleRequestDirector::UnregisterAllObserver(ObserverType type) {
    const WriteLockGuard guard(observerLock);
    if (std::vector<HWND>* const windows = GetObservers(type)) {
        windows->clear();
    }
}

void CSingleRequestDirector::UnregisterAllObserver(HWND window) {
    const WriteLockGuard guard(observerLock);
    for (std::vector<HWND>& windows : observers) {
        RemoveEach(windows, window);
    }
}

void CSingleRequestDirector::UnregisterAllObserver() {
    const WriteLockGuard guard(observerLock);
    for (std::vector<HWND>& windows : observers) {
        windows.clear();
    }
}

std::vector<HWND>* CSingleRequestDirector::GetObservers(ObserverType type) {
    return type >= 0 && type < observerTypeCount ? &observers[type] : nullptr;
}

// Copies the list of the type, and ends the director's part in the call of `callback`. From then on the call
// waits for windows without a limit, and one of them may destroy the director, in its notification or before
// it comes to it. So behind this call a handler touches nothing of the director: its address is all that is
// handed out.
CSingleRequestDirector::Audience CSingleRequestDirector::LeaveCall(const void* callback, ObserverType type,
                                                                   Step underLock) {
    Audience audience{{}, silent};
    ReadLockGuard observing(observerLock, true);
    if (underLock != nullptr) {
        (this->*underLock)();
    }
    if (observing.IsLocked()) {
        audience.windows = *GetObservers(type);
        observing.Unlock();
    } else {
        // No reason to fail the run, whose end must be seen here.
        qxos::OutputDebugStringA("The windows of a director could not be read.");
    }
    notificationCallbacks->EndCall(callback);
    return audience;
}

void CSingleRequestDirector::EndRun() {
    {
        const Guard guard(engineLock);
        runEnded = true;
    }
    // Stopped before the flag is cleared: whoever sees the flag and starts again gets a new engine.
    GiveUpRun();
}

void CSingleRequestDirector::GiveUpRun() {
    ReleaseEngine();
    executing = false;
}

void CSingleRequestDirector::OnError(const Errors& errors) {
    const Audience audience = LeaveCall(static_cast<ErrorCallback*>(this), ErrorObserver);
    ErrorNotification payload{errors, this};
    // The next window walks the records from the first, however far this one has come.
    audience.Tell(KindError, payload, [&payload] { payload.errors.Reset(); });
}

void CSingleRequestDirector::OnMessage(const char* text, OutputMessageType type) {
    const Audience audience = LeaveCall(static_cast<MessageCallback*>(this), MessageObserver);
    audience.Tell(KindMessage, MessageNotification{text != nullptr ? text : "", type, this});
}

void CSingleRequestDirector::OnRequestBegin(double elapsed) {
    const Audience audience = LeaveCall(static_cast<RequestCallback*>(this), RequestObserver);
    audience.Tell(KindRequestBegin, RequestBeginNotification{elapsed, this});
}

void CSingleRequestDirector::OnRequestEnd(double elapsed) {
    const Audience audience =
        LeaveCall(static_cast<RequestCallback*>(this), RequestObserver, &CSingleRequestDirector::EndRun);
    audience.Tell(KindRequestEnd, RequestEndNotification{elapsed, this});
}

void CSingleRequestDirector::OnCancelFailed(double elapsed) {
    const Audience audience =
        LeaveCall(static_cast<RequestCallback*>(this), RequestObserver, &CSingleRequestDirector::GiveUpRun);
    audience.Tell(KindCancelFailed, CancelFailedNotification{elapsed, this});
}

void CSingleRequestDirector::OnExecuteBegin(double elapsed) {
    const Audience audience = LeaveCall(static_cast<ExecutionCallback*>(this), ExecutionObserver);
    audience.Tell(KindExecuteBegin, ExecuteBeginNotification{elapsed, this});
}

void CSingleRequestDirector::OnExecuteEnd(double elapsed) {
    const Audience audience = LeaveCall(static_cast<ExecutionCallback*>(this), ExecutionObserver);
    audience.Tell(KindExecuteEnd, ExecuteEndNotification{elapsed, this});
}

void CSingleRequestDirector::OnPreResultSetBegin(double elapsed, int resultSetId, ResultSetType type) {
    const Audience audience = LeaveCall(static_cast<ResultSetCallback*>(this), ResultSetObserver);
    audience.Tell(KindPreResultSetBegin, PreResultSetBeginNotification{elapsed, resultSetId, type, this});
}

void CSingleRequestDirector::OnResultSetBegin(double elapsed, int resultSetId, ResultSetType type) {
    const Audience audience = LeaveCall(static_cast<ResultSetCallback*>(this), ResultSetObserver);
    audience.Tell(KindResultSetBegin, ResultSetBeginNotification{elapsed, resultSetId, type, this});
}

void CSingleRequestDirector::OnResultSetUpdate(double elapsed, int resultSetId, int rows) {
    const Audience audience = LeaveCall(static_cast<ResultSetCallback*>(this), ResultSetObserver);
    audience.Tell(KindResultSetUpdate, ResultSetUpdateNotification{elapsed, resultSetId, rows, this});
}

void CSingleRequestDirector::OnResultSetEnd(double elapsed, int resultSetId) {
    const Audience audience = LeaveCall(static_cast<ResultSetCallback*>(this), ResultSetObserver);
    audience.Tell(KindResultSetEnd, ResultSetEndNotification{elapsed, resultSetId, this});
}

void CSingleRequestDirector::OnBatchItemBegin(double elapsed, int itemIndex, int itemValue) {
    const Audience audience = LeaveCall(static_cast<BatchCallback*>(this), BatchObserver);
    audience.Tell(KindBatchItemBegin, BatchItemBeginNotification{elapsed, itemIndex, itemValue, this});
}

void CSingleRequestDirector::OnBatchItemEnd(double elapsed, int rowCount, const ParameterList& parameters) {
    const Audience audience = LeaveCall(static_cast<BatchCallback*>(this), BatchObserver);
    audience.Tell(KindBatchItemEnd, BatchItemEndNotification{elapsed, rowCount, &parameters, this});
}

void CSingleRequestDirector::OnLobExtracted(const char* fileName, double elapsed) {
    const Audience audience = LeaveCall(static_cast<LobCallback*>(this), LobObserver);
    audience.Tell(KindLobExtracted,
                  LobExtractedNotification{fileName != nullptr ? fileName : "", elapsed, this});
}

void CSingleRequestDirector::OnLobImported(double elapsed) {
    const Audience audience = LeaveCall(static_cast<LobCallback*>(this), LobObserver);
    audience.Tell(KindLobImported, LobImportedNotification{elapsed, this});
}

void CSingleRequestDirector::OnDebugEvent(int event, void* data, double elapsed) {
    const Audience audience = LeaveCall(static_cast<DebugEventCallback*>(this), DebugEventObserver);
    audience.Tell(KindDebugEvent, DebugEventNotification{event, data, elapsed, this});
}

}  // namespace qxdbsqlengine
