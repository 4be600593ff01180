// The interfaces through which a running request tells the outside world what it is doing.
//
// All of them share these rules.
//   Threads: callbacks come on the thread of the run (the engine thread; the caller's within ExecuteDirect).
//   A cancel that failed is told on a thread of its own, possibly while the run is in another callback.
//   Locks: none is held during a callback, so it may register and unregister callbacks, itself included, and
//   call the director.
//   Exceptions: one that leaves a callback ends the walk over the remaining callbacks and is handled as a
//   failure of the run.
//   Lifetime: registered objects are not owned; they are unregistered, or their director destroyed, before
//   they go. Pointers and references in the arguments are valid during the call only.
//   Times: `elapsed` is in milliseconds since the request object was made, the same number for all callbacks
//   of one notification.
#pragma once

#include "platform/export.h"
#include "platform/qxsplt/errors.h"
#include "storage/result_set_type.h"

namespace qxdb {
class Schema;
}

namespace qxdbsqlengine {

class ParameterList;

// What kind of text a message is. Values pass through unchanged; 2 and 5 count as errors of the run.
enum OutputMessageType : int {
    OutputMessageServer = 0,   // sent by the server
    OutputMessageWarning = 2,  // composed by the engine
    OutputMessageError = 5
};

class QXSENG2_API ErrorCallback {
  public:
    // The list stands at its first record, and is rewound after each callback.
    virtual void OnError(const Errors& errors) = 0;

  protected:
    ~ErrorCallback() = default;
};

class QXSENG2_API MessageCallback {
  public:
    virtual void OnMessage(const char* text, OutputMessageType type) = 0;

  protected:
    ~MessageCallback() = default;
};

class QXSENG2_API RequestCallback {
  public:
    virtual void OnRequestBegin(double elapsed) = 0;
    virtual void OnRequestEnd(double elapsed) = 0;
    // The run did not end within the time of the cancel and was given up.
    virtual void OnCancelFailed(double elapsed) = 0;

  protected:
    ~RequestCallback() = default;
};

// Around the execution of each statement on the server.
class QXSENG2_API ExecutionCallback {
  public:
    virtual void OnExecuteBegin(double elapsed) = 0;
    virtual void OnExecuteEnd(double elapsed) = 0;

  protected:
    ~ExecutionCallback() = default;
};

class QXSENG2_API ResultSetCallback {
  public:
    // `resultSetId` is the index in the store, from 0. Before the columns are known.
    virtual void OnPreResultSetBegin(double elapsed, int resultSetId, ResultSetType type) = 0;
    virtual void OnResultSetBegin(double elapsed, int resultSetId, ResultSetType type) = 0;
    // `rows` so far; at most two a second, apart from the last one.
    virtual void OnResultSetUpdate(double elapsed, int resultSetId, int rows) = 0;
    virtual void OnResultSetEnd(double elapsed, int resultSetId) = 0;

  protected:
    ~ResultSetCallback() = default;
};

// Around each item of a script.
class QXSENG2_API BatchCallback {
  public:
    // The item's number, from 0, and the line of the script at which it begins.
    virtual void OnBatchItemBegin(double elapsed, int itemIndex, int itemValue) = 0;
    // `rowCount` is passed as the request gives it. `parameters` are the output values.
    virtual void OnBatchItemEnd(double elapsed, int rowCount, const ParameterList& parameters) = 0;

  protected:
    ~BatchCallback() = default;
};

class QXSENG2_API LobCallback {
  public:
    virtual void OnLobExtracted(const char* fileName, double elapsed) = 0;
    virtual void OnLobImported(double elapsed) = 0;

  protected:
    ~LobCallback() = default;
};

// Given to a request when it is made, not registered.
class QXSENG2_API SchemaCallback {
  public:
    // The description of the parameters of a prepared statement, which both may be changed before they are
    // bound.
    virtual void OnSchemaPrepared(qxdb::Schema* schema, ParameterList& parameters) = 0;

  protected:
    ~SchemaCallback() = default;
};

class QXSENG2_API DebugEventCallback {
  public:
    virtual void OnDebugEvent(int event, void* data, double elapsed) = 0;

  protected:
    ~DebugEventCallback() = default;
};

}  // namespace qxdbsqlengine
