#include "engine/engine.h"

#include <algorithm>
#include <exception>
#include <string>

#include "engine/notification.h"
#include "platform/qxutils/lock_guard.h"
#include "platform/qxutils/qx_exception.h"
#include "platform/resource_loader.h"

namespace qxdbsqlengine {

namespace {

constexpr int unknownErrorText = 121;

using Guard = qxutils::LockGuard<qxutils::CriticalSection>;

void NotifyFailure(DispatchCallbacks* notifier, const std::string& text) {
    if (notifier == nullptr) {
        return;
    }
    Errors errors;
    errors.AddRecord(UserErrorRecord(text));
    notifier->NotifyError(errors);
    notifier->NotifyRequestEnd();
}

qxutils::ContainedThread* MakeEngine(ThreadAttributes* attributes) {
    return new Engine(attributes);
}

}  // namespace

EngineData::EngineData() : wakeEvent(true, false, "") {}

EngineData::~EngineData() = default;

IEngine::IEngine(ThreadAttributes* attributes) : ContainedThread(attributes) {}

IEngine::~IEngine() = default;

template <class Ptr>
EngineT<Ptr>::EngineT(ThreadAttributes* attributes)
    : IEngine(attributes), data(std::make_unique<EngineData>()) {}

template <class Ptr>
EngineT<Ptr>::~EngineT() = default;

template <class Ptr>
int EngineT<Ptr>::QueueRequest(Ptr& request) {
    const Guard guard(data->lock);
    data->executing = true;
    const int id = data->nextRequestId++;
    data->queue.push_back(QueueEntry{id, request});
    data->wakeEvent.SetEvent();
    return id;
}

template <class Ptr>
bool EngineT<Ptr>::IsQueued(const Ptr& request) const {
    const Guard guard(data->lock);
    return std::any_of(data->queue.begin(), data->queue.end(), [&request](const QueueEntry& waiting) {
        return GetImpl(waiting.request) == GetImpl(request);
    });
}

template <class Ptr>
void EngineT<Ptr>::Start(const ConnectionDefElement& def) {
    data->connectionDef = def;
    ReadyToRun();
}

template <class Ptr>
void EngineT<Ptr>::Stop(bool cancelQueued) {
    const Guard guard(data->lock);
    if (data->stopRequested) {
        return;
    }
    data->stopRequested = true;
    data->wakeEvent.SetEvent();
    if (cancelQueued && !data->queue.empty()) {
        data->queue.front().request->Cancel();
    }
}

template <class Ptr>
ConnectionDefElement& EngineT<Ptr>::GetConnectionDefElement() {
    return data->connectionDef;
}

template <class Ptr>
bool EngineT<Ptr>::IsExecuting() const {
    return data->executing;
}

template <class Ptr>
bool EngineT<Ptr>::CancelRequest(int id) {
    const Guard guard(data->lock);
    if (data->discarded) {
        return false;
    }
    const auto entry = std::find_if(data->queue.begin(), data->queue.end(),
                                    [id](const QueueEntry& waiting) { return waiting.id == id; });
    if (entry == data->queue.end()) {
        return true;
    }
    if (entry != data->queue.begin()) {
        data->queue.erase(entry);
        return true;
    }
    if (entry->request->Cancel()) {
        return true;
    }
    data->stopRequested = true;
    data->discarded = true;
    return false;
}

template <class Ptr>
void EngineT<Ptr>::Run() {
    // What gets here left a lock or a notification of the loop itself. The thread ends then, and `executing`
    // stays set: callers see an engine that never became idle, and replace it by its ExecutionCompleted.
    try {
        RunQueue();
    } catch (const Errors&) {
    } catch (const std::exception&) {
    } catch (...) {
    }
}

template <class Ptr>
void EngineT<Ptr>::RunQueue() {
    while (!data->stopRequested) {
        data->wakeEvent.Lock();
        if (data->stopRequested) {
            break;
        }
        Ptr request;
        if (TakeRequest(request)) {
            RunRequest(*request);
        }
    }
    data->executing = false;
}

// False when nothing waits. The request that runs is never in the queue.
template <class Ptr>
bool EngineT<Ptr>::TakeRequest(Ptr& request) {
    const Guard guard(data->lock);
    if (data->queue.empty()) {
        data->executing = false;
        data->wakeEvent.ResetEvent();
        return false;
    }
    request = data->queue.front().request;
    data->queue.pop_front();
    return true;
}

template <class Ptr>
void EngineT<Ptr>::RunRequest(Request& request) {
    DispatchCallbacks* const notifier = dynamic_cast<DispatchCallbacks*>(&request);
    try {
        if (notifier != nullptr) {
            notifier->NotifyRequestBegin();
        }
        request.Execute(data->connectionDef);
        if (notifier != nullptr) {
            notifier->NotifyRequestEnd();
        }
    } catch (const CancelledException&) {
        if (notifier != nullptr) {
            notifier->NotifyRequestEnd();
        }
    } catch (const Errors& errors) {
        if (notifier != nullptr) {
            notifier->NotifyError(errors);
            notifier->NotifyRequestEnd();
        }
    } catch (const qxutils::QXException& failure) {
        NotifyFailure(notifier, failure.what());
    } catch (const std::exception& failure) {
        NotifyFailure(notifier, failure.what());
    } catch (...) {
        NotifyFailure(notifier, ResourceLoader::LoadString(unknownErrorText));
    }
}

template <class Ptr>
void EngineT<Ptr>::NoMoreReferences() {
    Stop(true);
}

template class EngineT<RequestPtr>;

Engine::Engine(ThreadAttributes* attributes) : EngineT<RequestPtr>(attributes) {}

Engine::~Engine() = default;

ThreadPtr<IEngine> Engine::Create() {
    return ThreadPtr<IEngine>(CreateThreadIntl(&MakeEngine));
}

}  // namespace qxdbsqlengine
