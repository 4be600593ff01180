// Ctrl-C.
#pragma once

#include <atomic>

namespace qxsql {

// True once the user has pressed Ctrl-C, or a SIGTERM has come, since the last call of ArmInterrupt. Any
// thread.
std::atomic<bool>& Interrupted();

// A closed pipe makes writing fail, instead of ending the process.
void IgnoreClosedPipes();

// From now on the first Ctrl-C only sets the flag, so that work can end in order and leave no temporary
// files; the next one ends the process at once. Closed pipes are ignored, too.
void ArmInterrupt();

}  // namespace qxsql
