// How a run is cancelled, and how it ends then.
//
// CSingleRequestDirector::Cancel works on three levels, each with a time limit of its own:
//
// 1. A flag in the request. The run looks at it between rows, results and batch items, and ends there.
// 2. The driver's cancel of the statement that runs, on a thread of its own. The caller waits for it for
//    2 seconds at most, and never longer than the driver takes.
// 3. A watchdog, one for each run. It gives the engine 15 seconds to become idle (50 looks, 300 milliseconds
//    apart). Then it reports the run as failed and leaves the engine's thread behind in the driver.
//
// What the caller sees, Cancel itself giving true each time:
//
//   the driver's cancel came back    the director counts as idle at once; OnRequestEnd follows when the run
//   within 2 s, or nothing ran       has ended, with what was open closed before it, and without OnError
//   it takes longer                  the director still counts as running; OnRequestEnd as above when the run
//                                    ends after all
//   no end after 15 s                OnError with one record of severity 10 ("Datasource has not responded
//                                    to the cancel request. Connection has been discarded."), then
//                                    OnCancelFailed, both on the watchdog's thread; the director is idle then
//
// Rows that have arrived stay in the store. A cancelled run gives OnRequestEnd or OnCancelFailed, and both
// only when the driver comes back after the run was given up. The watchdog's two notifications may come while
// the engine thread is inside a callback of its own: callbacks that watch a cancel must stand two threads.
//
// After OnCancelFailed make a new director over another connection. The old one may be destroyed; it may not
// be used again, for its engine is still in the driver, and a run that it starts waits there without a word.
// The connection stays borrowed, and the thread stays where it is, until the driver comes back, if ever. The
// end of the process does not wait for it for longer than 2 seconds.
#pragma once

#include "platform/export.h"

namespace qxdbsqlengine {

// Ends a run that was cancelled. It carries nothing and has no base, so that no handler of failures takes it
// for one; thrown and caught by value. Only Request::CheckCancelled throws it.
class QXSENG2_API CancelledException {};

}  // namespace qxdbsqlengine
