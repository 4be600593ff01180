// Following a run to its end.
#pragma once

#include <chrono>
#include <exception>
#include <functional>
#include <optional>

#include "engine/director.h"
#include "tools/qxsql/presenter.h"
#include "tools/qxsql/run_watcher.h"

namespace qxsql {

// Presents what a run tells until it ends, and cancels it when the user presses Ctrl-C, when the time is up,
// or when presenting fails, such as by a sort column that the result does not have. Main thread.
class RunLoop {
  public:
    enum End { Complete, CancelledByUser, CancelledByTime, CancelFailed };
    // Bytes of the script that are done.
    using Progress = std::function<long long()>;

    RunLoop(qxdbsqlengine::CSingleRequestDirector& runDirector, RunWatcher& runWatcher,
            Presenter& resultPresenter);

    // The time begins now.
    void SetTimeout(std::chrono::milliseconds timeout);
    void SetProgress(Progress bytesDone, long long bytes);
    // Throws what presenting threw, after the run has ended.
    End Follow();

  private:
    using Clock = std::chrono::steady_clock;

    void CancelIfAsked();
    void Cancel(End why);
    void Present(const std::optional<RunEvent>& event);

    qxdbsqlengine::CSingleRequestDirector& director;
    RunWatcher& watcher;
    Presenter& presenter;
    std::optional<Clock::time_point> deadline;
    std::chrono::milliseconds timeLimit{0};
    Progress scriptBytesDone;
    long long scriptBytes = 0;
    End end = Complete;
    std::exception_ptr failure;
};

}  // namespace qxsql
