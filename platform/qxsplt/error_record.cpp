#include "platform/qxsplt/error_record.h"

ErrorRecord::ErrorRecord(int recordSeverity, int code, int line, int position, const std::string& description,
                         const std::string& state, void* data)
    : severity(recordSeverity),
      errorCode(code),
      lineNumber(line),
      errorPosition(position),
      errorDescription(description),
      sqlState(state),
      userData(data) {}

ErrorRecord::ErrorRecord(const ErrorRecord&) = default;

ErrorRecord& ErrorRecord::operator=(const ErrorRecord&) = default;

ErrorRecord::~ErrorRecord() = default;

std::string ErrorRecord::AsString() const {
    std::string details;
    const auto add = [&details](const char* name, const std::string& value) {
        details += details.empty() ? "" : ", ";
        details += name;
        details += value;
    };
    if (errorCode != 0) {
        add("error ", std::to_string(errorCode));
    }
    if (!sqlState.empty()) {
        add("state ", sqlState);
    }
    if (lineNumber != 0) {
        add("line ", std::to_string(lineNumber));
    }
    if (errorPosition != 0) {
        add("position ", std::to_string(errorPosition));
    }
    return details.empty() ? errorDescription : errorDescription + " (" + details + ")";
}

UserErrorRecord::UserErrorRecord(const std::string& text) : ErrorRecord(0, 0, 0, 0, text, "", nullptr) {}

UserErrorRecord::~UserErrorRecord() = default;
