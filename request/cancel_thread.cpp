#include "request/cancel_thread.h"

#include "engine/cancel_times.h"

namespace qxdbsqlengine {

namespace {

qxutils::ContainedThread* MakeCancelThread(qxutils::ThreadAttributes* attributes) {
    return new CancelThread(attributes);
}

}  // namespace

CancelThread::CancelThread(qxutils::ThreadAttributes* attributes)
    : ContainedThread(attributes), finished(true, false, "") {
    finished.SetTimeout(GetCancelTimes().driverCancelMs);
}

CancelThread::~CancelThread() = default;

qxutils::ThreadPtr<CancelThread> CancelThread::Create() {
    return qxutils::ThreadPtr<CancelThread>(CreateThreadIntl(&MakeCancelThread));
}

qxutils::Event& CancelThread::Start(const qxdb::Statement& running) {
    statement = running;
    ReadyToRun();
    return finished;
}

void CancelThread::Run() {
    statement.Cancel();
    // Given back before the signal. Whoever waits for that keeps the statement from ending, so a statement
    // whose cancel came back in time ends on its own thread, as drivers expect.
    statement = qxdb::Statement();
    finished.SetEvent();
}

// The driver's cancel can't be taken back.
void CancelThread::NoMoreReferences() {}

}  // namespace qxdbsqlengine
