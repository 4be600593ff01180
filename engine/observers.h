// Windows that watch a director.
#pragma once

#include "platform/os/window.h"

namespace qxdbsqlengine {

// Which notifications a window is told.
enum ObserverType : int {
    ErrorObserver = 0,
    MessageObserver = 1,
    RequestObserver = 2,
    ExecutionObserver = 3,
    ResultSetObserver = 4,
    BatchObserver = 5,
    LobObserver = 6,
    SchemaObserver = 7,  // kept for callers; nothing is ever sent to it
    DebugEventObserver = 8
};

constexpr int observerTypeCount = 9;

}  // namespace qxdbsqlengine
