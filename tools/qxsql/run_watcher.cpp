#include "tools/qxsql/run_watcher.h"

#include <utility>

namespace qxsql {

using qxdbsqlengine::CSingleRequestDirector;

namespace {

// A script of a million items must not fill the memory with what nobody has looked at yet.
constexpr std::size_t MostEvents = 4096;

}  // namespace

void RunWatcher::Watch(CSingleRequestDirector& director) {
    store = *director.GetDataStorage();
    director.RegisterCallback(static_cast<qxdbsqlengine::ErrorCallback&>(*this));
    director.RegisterCallback(static_cast<qxdbsqlengine::RequestCallback&>(*this));
    director.RegisterCallback(static_cast<qxdbsqlengine::ExecutionCallback&>(*this));
    director.RegisterCallback(static_cast<qxdbsqlengine::ResultSetCallback&>(*this));
    director.RegisterCallback(static_cast<qxdbsqlengine::BatchCallback&>(*this));
}

RunWatcher::~RunWatcher() {
    Close();
}

std::optional<RunEvent> RunWatcher::Next(std::chrono::milliseconds patience) {
    std::unique_lock<std::mutex> guard(lock);
    if (!arrived.wait_for(guard, patience, [this] { return !events.empty(); }))
        return std::nullopt;
    RunEvent event = std::move(events.front());
    events.pop_front();
    if (events.size() == MostEvents / 2)
        taken.notify_all();
    return event;
}

void RunWatcher::Close() {
    const std::lock_guard<std::mutex> guard(lock);
    closed = true;
    taken.notify_all();
}

void RunWatcher::Push(RunEvent event) {
    std::unique_lock<std::mutex> guard(lock);
    if (events.size() >= MostEvents)
        taken.wait(guard, [this] { return closed || events.size() <= MostEvents / 2; });
    if (closed)
        return;
    const bool isItem = event.kind == RunEvent::ItemBegin || event.kind == RunEvent::ItemEnd;
    events.push_back(std::move(event));
    // Under the lock: behind the last event the main thread destroys this object. Items alone wake nobody, or
    // both threads would change places at each of them; the main thread looks after them by itself.
    if (!isItem || events.size() == MostEvents / 2)
        arrived.notify_one();
}

void RunWatcher::OnError(const Errors& errors) {
    RunEvent event;
    event.kind = RunEvent::Error;
    event.errors = errors;
    Push(std::move(event));
}

void RunWatcher::OnRequestBegin(double) {}

void RunWatcher::OnRequestEnd(double) {
    RunEvent event;
    event.kind = RunEvent::RequestEnd;
    Push(std::move(event));
}

void RunWatcher::OnCancelFailed(double) {
    RunEvent event;
    event.kind = RunEvent::CancelFailed;
    Push(std::move(event));
}

void RunWatcher::OnExecuteBegin(double) {
    executed = true;
}

void RunWatcher::OnExecuteEnd(double) {}

void RunWatcher::OnPreResultSetBegin(double, int, qxdbsqlengine::ResultSetType) {}

void RunWatcher::OnResultSetBegin(double, int resultSetId, qxdbsqlengine::ResultSetType type) {
    messageSet = type == qxdbsqlengine::ResultSetMessage ? resultSetId : -1;
    RunEvent event;
    event.kind = RunEvent::ResultBegin;
    event.resultSet = resultSetId;
    event.type = type;
    Push(std::move(event));
}

void RunWatcher::OnResultSetUpdate(double, int, int) {}

void RunWatcher::OnResultSetEnd(double, int resultSetId) {
    messageSet = -1;
    RunEvent event;
    event.kind = RunEvent::ResultEnd;
    event.resultSet = resultSetId;
    Push(std::move(event));
}

void RunWatcher::OnBatchItemBegin(double, int, int itemValue) {
    executed = false;
    RunEvent event;
    event.kind = RunEvent::ItemBegin;
    event.line = itemValue;
    Push(std::move(event));
}

void RunWatcher::OnBatchItemEnd(double, int, const qxdbsqlengine::ParameterList&) {
    RunEvent event;
    event.kind = RunEvent::ItemEnd;
    event.executed = executed;
    event.resultSet = messageSet;
    event.messages = messageSet < 0 ? 0 : store.GetNumberOfRows(messageSet);
    Push(std::move(event));
}

}  // namespace qxsql
