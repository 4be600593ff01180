// Registering callbacks with a director.
#include "engine/director.h"
#include "platform/qxutils/lock_guard.h"

namespace qxdbsqlengine {

namespace {

using Guard = qxutils::LockGuard<qxutils::CriticalSection>;

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

}  // namespace qxdbsqlengine
