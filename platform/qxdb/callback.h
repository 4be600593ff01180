// Receivers of the messages that a server sends while a statement runs.
#pragma once

#include <string>

#include "platform/export.h"
#include "platform/qxsplt/error_record.h"

namespace qxdb {

// A message as the driver got it; the numbers and texts are the server's own.
struct RawMessage {
    int severity = 0;  // below 2: informational
    int code = 0;
    int line = 0;      // in the statement, from 1; 0 unknown
    int position = 0;  // in the statement or line; 0 unknown
    std::string text;
    std::string sqlState;
    void* userData = nullptr;
};

// Called on the thread that runs the statement, without any lock of the library held. Not owned by the
// connection: whoever registers one removes it (SetCallback(nullptr)) before it goes.
class QXSENG2_API Callback {
  public:
    virtual ~Callback();
    virtual void HandleRawMessage(const RawMessage& message) = 0;
};

// Turns a raw message into an ErrorRecord, which lives for the length of the call.
class QXSENG2_API ErrorRecordCallback : public Callback {
  public:
    void HandleRawMessage(const RawMessage& message) override;
    virtual int HandleNotify(const ErrorRecord& record) = 0;
};

}  // namespace qxdb
