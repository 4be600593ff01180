#include "tools/qxsql/run_loop.h"

#include <cstdio>
#include <utility>

#include "tools/qxsql/interrupt.h"

namespace qxsql {

RunLoop::RunLoop(qxdbsqlengine::CSingleRequestDirector& runDirector, RunWatcher& runWatcher,
                 Presenter& resultPresenter)
    : director(runDirector), watcher(runWatcher), presenter(resultPresenter) {}

void RunLoop::SetTimeout(std::chrono::milliseconds timeout) {
    timeLimit = timeout;
    deadline = Clock::now() + timeout;
}

void RunLoop::SetProgress(Progress bytesDone, long long bytes) {
    scriptBytesDone = std::move(bytesDone);
    scriptBytes = bytes;
}

void RunLoop::Cancel(End why) {
    if (end == Complete)
        end = why;
    director.Cancel();
}

void RunLoop::CancelIfAsked() {
    // Taken back, for what has arrived is still to be written; a second Ctrl-C ends the process.
    if (Interrupted().exchange(false))
        Cancel(CancelledByUser);
    if (deadline && Clock::now() >= *deadline) {
        deadline.reset();
        char text[64];
        std::snprintf(text, sizeof text, "Timed out after %g s (--timeout)",
                      std::chrono::duration<double>(timeLimit).count());
        presenter.Tell(text);
        Cancel(CancelledByTime);
    }
}

void RunLoop::Present(const std::optional<RunEvent>& event) {
    if (failure)
        return;
    try {
        if (event)
            presenter.Take(*event);
        if (!event || event->kind == RunEvent::ItemEnd)
            presenter.Look(scriptBytesDone ? scriptBytesDone() : 0, scriptBytes);
    } catch (...) {
        failure = std::current_exception();
        director.Cancel();
    }
}

RunLoop::End RunLoop::Follow() {
    for (;;) {
        CancelIfAsked();
        const std::optional<RunEvent> event = watcher.Next(std::chrono::milliseconds(5));
        if (event && event->kind == RunEvent::CancelFailed)
            end = CancelFailed;
        if (event && (event->kind == RunEvent::CancelFailed || event->kind == RunEvent::RequestEnd))
            break;
        Present(event);
    }
    watcher.Close();
    if (failure)
        std::rethrow_exception(failure);
    return end;
}

}  // namespace qxsql
