// Windows that watch a director: what they are told, and how to read it.
//
// A window registered with CSingleRequestDirector::RegisterObserver gets the message WM_ENGINE_NOTIFICATION
// for each notification of its types. `wParam` is the kind, one of EngineNotificationKind; `lParam` points to
// the payload, the structure named beside the kind:
//
//   LRESULT Procedure(HWND, UINT message, WPARAM wParam, LPARAM lParam) {
//       if (message == WM_ENGINE_NOTIFICATION && wParam == KindResultSetUpdate) {
//           const auto& update = NotificationAs<ResultSetUpdateNotification>(lParam);
//           ShowProgress(update.resultSetId, update.rows);
//       }
//       return 0;
//   }
//
//   Lifetime: the payload, and everything that it points to, is valid only during the call. Copy what is
//   needed later.
//   Threads: the procedure runs on the window's thread, and the run stands still until it returns. That
//   thread must keep pumping messages; it must not wait for the run with its pump stopped.
//   Locks: none is held, so the window may register and unregister, cancel, and destroy the director.
//   Order: several windows are told one after the other, as they were registered. A window that does not
//   exist any more is skipped, and stays registered.
//   Destruction of the director ends its notifications. One that was already on its way to a window of
//   another thread may still arrive, and `director` is then a mere address: a window that may outlive
//   directors compares it with those that it knows before it uses it.
//   Exceptions stay on the window's thread (platform/os/window.h) and do not reach the run, unless that runs
//   there too, within ExecuteDirect: then they are those of a callback.
#pragma once

#include <string>

#include "engine/callbacks.h"
#include "platform/os/window.h"

namespace qxdbsqlengine {

class CSingleRequestDirector;

// Which notifications a window is told.
enum ObserverType : int {
    ErrorObserver = 0,      // kind 1
    MessageObserver = 1,    // kind 2
    RequestObserver = 2,    // kinds 3 to 5
    ExecutionObserver = 3,  // kinds 6 and 7
    ResultSetObserver = 4,  // kinds 8 to 11
    BatchObserver = 5,      // kinds 12 and 13
    LobObserver = 6,        // kinds 14 and 15
    SchemaObserver = 7,     // kept for callers; nothing is ever sent to it
    DebugEventObserver = 8  // kind 16
};

constexpr int observerTypeCount = 9;

// The message. Number and kinds are fixed: windows of other modules know them.
constexpr UINT WM_ENGINE_NOTIFICATION = 0x1400;

// The values of `wParam`.
enum EngineNotificationKind : int {
    KindError = 1,              // ErrorNotification
    KindMessage = 2,            // MessageNotification
    KindRequestBegin = 3,       // RequestBeginNotification
    KindRequestEnd = 4,         // RequestEndNotification
    KindCancelFailed = 5,       // CancelFailedNotification
    KindExecuteBegin = 6,       // ExecuteBeginNotification
    KindExecuteEnd = 7,         // ExecuteEndNotification
    KindPreResultSetBegin = 8,  // PreResultSetBeginNotification
    KindResultSetBegin = 9,     // ResultSetBeginNotification
    KindResultSetUpdate = 10,   // ResultSetUpdateNotification
    KindResultSetEnd = 11,      // ResultSetEndNotification
    KindBatchItemBegin = 12,    // BatchItemBeginNotification
    KindBatchItemEnd = 13,      // BatchItemEndNotification
    KindLobExtracted = 14,      // LobExtractedNotification
    KindLobImported = 15,       // LobImportedNotification
    KindDebugEvent = 16         // DebugEventNotification
};

// The payloads. The fields are the arguments of the callback of that name (engine/callbacks.h), in the stated
// order; each payload ends with its director.

struct ErrorNotification {
    Errors errors;  // the window's to walk; it stands at the first record for each window
    CSingleRequestDirector* director;
};

struct MessageNotification {
    std::string text;  // empty when there is none
    OutputMessageType type;
    CSingleRequestDirector* director;
};

struct RequestBeginNotification {
    double elapsed;
    CSingleRequestDirector* director;
};

// The director counts as idle already, and may be told to run again.
struct RequestEndNotification {
    double elapsed;
    CSingleRequestDirector* director;
};

struct CancelFailedNotification {
    double elapsed;
    CSingleRequestDirector* director;
};

struct ExecuteBeginNotification {
    double elapsed;
    CSingleRequestDirector* director;
};

struct ExecuteEndNotification {
    double elapsed;
    CSingleRequestDirector* director;
};

struct PreResultSetBeginNotification {
    double elapsed;
    int resultSetId;
    ResultSetType type;
    CSingleRequestDirector* director;
};

struct ResultSetBeginNotification {
    double elapsed;
    int resultSetId;
    ResultSetType type;
    CSingleRequestDirector* director;
};

struct ResultSetUpdateNotification {
    double elapsed;
    int resultSetId;
    int rows;
    CSingleRequestDirector* director;
};

struct ResultSetEndNotification {
    double elapsed;
    int resultSetId;
    CSingleRequestDirector* director;
};

struct BatchItemBeginNotification {
    double elapsed;
    int itemIndex;
    int itemValue;
    CSingleRequestDirector* director;
};

struct BatchItemEndNotification {
    double elapsed;
    int rowCount;
    const ParameterList* parameters;
    CSingleRequestDirector* director;
};

struct LobExtractedNotification {
    std::string fileName;  // empty when there is none
    double elapsed;
    CSingleRequestDirector* director;
};

struct LobImportedNotification {
    double elapsed;
    CSingleRequestDirector* director;
};

struct DebugEventNotification {
    int event;
    void* data;
    double elapsed;
    CSingleRequestDirector* director;
};

// The payload of a message; `Payload` must be the structure of its kind.
template <class Payload>
const Payload& NotificationAs(LPARAM lParam) {
    return *reinterpret_cast<const Payload*>(lParam);
}

}  // namespace qxdbsqlengine
