#include "engine/force_cancel_thread.h"

#include <chrono>
#include <thread>
#include <utility>

#include "engine/sql_request_cast.h"
#include "platform/os/debug_output.h"
#include "platform/resource_loader.h"

namespace qxdbsqlengine {

namespace {

constexpr int notRespondedText = 146;
constexpr int cancelFailedSeverity = 10;

qxutils::ContainedThread* MakeForceCancelThread(qxutils::ThreadAttributes* attributes) {
    return new ForceCancelThread(attributes);
}

}  // namespace

ForceCancelThread::ForceCancelThread(qxutils::ThreadAttributes* attributes)
    : ContainedThread(attributes), times(GetCancelTimes()), finished(true, false, "") {
    finished.SetTimeout(times.watchSignalMs);
}

ForceCancelThread::~ForceCancelThread() = default;

qxutils::ThreadPtr<ForceCancelThread> ForceCancelThread::Create() {
    return qxutils::ThreadPtr<ForceCancelThread>(CreateThreadIntl(&MakeForceCancelThread));
}

qxutils::Event& ForceCancelThread::Start(const ThreadPtr<IEngine>& runningEngine,
                                         const RequestPtr& runningRequest) {
    engine = runningEngine;
    request = runningRequest;
    ReadyToRun();
    return finished;
}

// Goes on watching: nobody keeps a handle on it.
void ForceCancelThread::NoMoreReferences() {}

void ForceCancelThread::Run() {
    if (std::exchange(started, true)) {
        return;
    }
    if (EndsInTime()) {
        finished.SetEvent();
    } else {
        GiveUp();
    }
}

// A run without an engine is one on the caller's own thread.
bool ForceCancelThread::EngineIsIdle() const {
    return !engine || !engine->IsExecuting();
}

bool ForceCancelThread::RequestWaits() const {
    return static_cast<EngineT<RequestPtr>*>(engine.operator->())->IsQueued(request);
}

bool ForceCancelThread::EndsInTime() {
    if (EngineIsIdle()) {
        return true;
    }
    for (int pass = 0; pass < times.watchPasses; ++pass) {
        // No further request of this engine starts. The cancelled one itself may still be about to: a stopped
        // engine would drop it without a word, and the caller would wait for an end that never comes.
        if (!RequestWaits()) {
            engine->Stop(true);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(times.watchPassMs));
        if (EngineIsIdle()) {
            return true;
        }
    }
    engine->Stop(true);
    return false;
}

void ForceCancelThread::GiveUp() {
    SQLRequest* const sqlRequest = AsSQLRequest(request);
    if (sqlRequest == nullptr) {
        return;
    }
    Errors errors;
    errors.AddRecord(ErrorRecord(cancelFailedSeverity, 0, 0, 0, ResourceLoader::LoadString(notRespondedText),
                                 std::string(), nullptr));
    try {
        sqlRequest->NotifyError(errors);
    } catch (...) {
        // A callback that fails must not keep the end of the run from the others.
        qxos::OutputDebugStringA("A callback failed while a cancelled run was given up.");
    }
    sqlRequest->NotifyCancelFailed();
}

}  // namespace qxdbsqlengine
