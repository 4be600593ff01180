#include "platform/qxdb/callback.h"

namespace qxdb {

Callback::~Callback() = default;

void ErrorRecordCallback::HandleRawMessage(const RawMessage& message) {
    const ErrorRecord record(message.severity, message.code, message.line, message.position, message.text,
                             message.sqlState, message.userData);
    HandleNotify(record);
}

}  // namespace qxdb
