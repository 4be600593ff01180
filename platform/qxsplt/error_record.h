// One diagnostic of a server, or of the library itself.
#pragma once

#include <string>

#include "platform/export.h"

// A value.
class QXSENG2_API ErrorRecord {
  public:
    // severity: below 2 informational, 2 an error, 10 a failed cancel, 0 also for plain texts of the library.
    // The numbers and the SQL state are the server's own; the state may be empty. Line and position are in
    // the statement. `userData` is only carried.
    ErrorRecord(int severity, int errorCode, int lineNumber, int errorPosition,
                const std::string& description, const std::string& sqlState, void* userData);
    ErrorRecord(const ErrorRecord&);
    ErrorRecord& operator=(const ErrorRecord&);
    ~ErrorRecord();

    int GetSeverity() const { return severity; }
    int GetErrorCode() const { return errorCode; }
    int GetLineNumber() const { return lineNumber; }
    int GetErrorPosition() const { return errorPosition; }
    const std::string& GetErrorDescription() const { return errorDescription; }
    const std::string& GetSQLState() const { return sqlState; }
    void* GetUserData() const { return userData; }

    // The record as one text for people; nothing depends on its form.
    std::string AsString() const;

  private:
    int severity;
    int errorCode;
    int lineNumber;
    int errorPosition;
    std::string errorDescription;
    std::string sqlState;
    void* userData;
};

// A record of a text of the library's own: all numbers 0, no state, no user data.
class QXSENG2_API UserErrorRecord : public ErrorRecord {
  public:
    explicit UserErrorRecord(const std::string& text);
    ~UserErrorRecord();
};
