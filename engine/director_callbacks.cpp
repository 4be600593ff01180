// Registering with a director, and what the director does with its own notifications.
#include "engine/director.h"
#include "platform/qxutils/lock_guard.h"
#include "platform/qxutils/qx_exception.h"

namespace qxdbsqlengine {

namespace {

using Guard = qxutils::LockGuard<qxutils::CriticalSection>;

[[noreturn]] void RefuseObservers() {
    throw qxutils::QXException("Window observers are not available in this build");
}

}  // namespace

void CSingleRequestDirector::RegisterCallback(ErrorCallback& callback) {
    const Guard guard(lock);
    notificationCallbacks->Add(callback);
}

void CSingleRequestDirector::RegisterCallback(MessageCallback& callback) {
    const Guard guard(lock);
    notificationCallbacks->Add(callback);
}

void CSingleRequestDirector::RegisterCallback(RequestCallback& callback) {
    const Guard guard(lock);
    notificationCallbacks->Add(callback);
}

void CSingleRequestDirector::RegisterCallback(ExecutionCallback& callback) {
    const Guard guard(lock);
    notificationCallbacks->Add(callback);
}

void CSingleRequestDirector::RegisterCallback(ResultSetCallback& callback) {
    const Guard guard(lock);
    notificationCallbacks->Add(callback);
}

void CSingleRequestDirector::RegisterCallback(BatchCallback& callback) {
    const Guard guard(lock);
    notificationCallbacks->Add(callback);
}

void CSingleRequestDirector::RegisterCallback(LobCallback& callback) {
    const Guard guard(lock);
    notificationCallbacks->Add(callback);
}

void CSingleRequestDirector::RegisterCallback(DebugEventCallback& callback) {
    const Guard guard(lock);
    notificationCallbacks->Add(callback);
}

void CSingleRequestDirector::RegisterCallback(SchemaCallback& callback) {
    const Guard guard(lock);
    schemaCallback = &callback;
}

void CSingleRequestDirector::UnregisterCallback(ErrorCallback& callback) {
    const Guard guard(lock);
    notificationCallbacks->Remove(callback);
}

void CSingleRequestDirector::UnregisterCallback(MessageCallback& callback) {
    const Guard guard(lock);
    notificationCallbacks->Remove(callback);
}

void CSingleRequestDirector::UnregisterCallback(RequestCallback& callback) {
    const Guard guard(lock);
    notificationCallbacks->Remove(callback);
}

void CSingleRequestDirector::UnregisterCallback(ExecutionCallback& callback) {
    const Guard guard(lock);
    notificationCallbacks->Remove(callback);
}

void CSingleRequestDirector::UnregisterCallback(ResultSetCallback& callback) {
    const Guard guard(lock);
    notificationCallbacks->Remove(callback);
}

void CSingleRequestDirector::UnregisterCallback(BatchCallback& callback) {
    const Guard guard(lock);
    notificationCallbacks->Remove(callback);
}

void CSingleRequestDirector::UnregisterCallback(LobCallback& callback) {
    const Guard guard(lock);
    notificationCallbacks->Remove(callback);
}

void CSingleRequestDirector::UnregisterCallback(DebugEventCallback& callback) {
    const Guard guard(lock);
    notificationCallbacks->Remove(callback);
}

void CSingleRequestDirector::Clear() {
    const Guard guard(lock);
    notificationCallbacks->Clear();
}

void CSingleRequestDirector::RegisterObserver(HWND, ObserverType) {
    RefuseObservers();
}

void CSingleRequestDirector::RegisterObserver(HWND) {
    RefuseObservers();
}

void CSingleRequestDirector::UnregisterObserver(HWND, ObserverType) {
    RefuseObservers();
}

void CSingleRequestDirector::UnregisterAllObserver(ObserverType) {
    RefuseObservers();
}

void CSingleRequestDirector::UnregisterAllObserver(HWND) {
    RefuseObservers();
}

void CSingleRequestDirector::UnregisterAllObserver() {
    RefuseObservers();
}

std::vector<HWND>* CSingleRequestDirector::GetObservers(ObserverType) {
    RefuseObservers();
}

void CSingleRequestDirector::OnError(const Errors&) {}

void CSingleRequestDirector::OnMessage(const char*, OutputMessageType) {}

void CSingleRequestDirector::OnRequestBegin(double) {}

void CSingleRequestDirector::OnRequestEnd(double) {
    const qxutils::ReadLockGuard observing(observerLock, true);
    {
        const Guard guard(engineLock);
        runEnded = true;
    }
    // Stopped before the flag is cleared: whoever sees the flag and starts again gets a new engine.
    ReleaseEngine();
    executing = false;
}

void CSingleRequestDirector::OnCancelFailed(double) {
    const qxutils::ReadLockGuard observing(observerLock, true);
    ReleaseEngine();
    executing = false;
}

void CSingleRequestDirector::OnExecuteBegin(double) {}

void CSingleRequestDirector::OnExecuteEnd(double) {}

void CSingleRequestDirector::OnPreResultSetBegin(double, int, ResultSetType) {}

void CSingleRequestDirector::OnResultSetBegin(double, int, ResultSetType) {}

void CSingleRequestDirector::OnResultSetUpdate(double, int, int) {}

void CSingleRequestDirector::OnResultSetEnd(double, int) {}

void CSingleRequestDirector::OnBatchItemBegin(double, int, int) {}

void CSingleRequestDirector::OnBatchItemEnd(double, int, const ParameterList&) {}

void CSingleRequestDirector::OnLobExtracted(const char*, double) {}

void CSingleRequestDirector::OnLobImported(double) {}

void CSingleRequestDirector::OnDebugEvent(int, void*, double) {}

}  // namespace qxdbsqlengine
