#include "drivers/sqlite/failure.h"

#include <sqlite3.h>

#include "platform/qxsplt/error_record.h"
#include "platform/qxsplt/errors.h"

namespace qxdrivers::sqlite {

namespace {

constexpr int severityError = 2;

struct CodeState {
    int code;  // without the extension
    const char* state;
};

constexpr CodeState codeStates[] = {
    {SQLITE_PERM, "42501"},     {SQLITE_BUSY, "HYT00"},     {SQLITE_LOCKED, "55006"},
    {SQLITE_NOMEM, "HY001"},    {SQLITE_READONLY, "25006"}, {SQLITE_INTERRUPT, "HY008"},
    {SQLITE_IOERR, "58030"},    {SQLITE_CORRUPT, "XX001"},  {SQLITE_FULL, "53100"},
    {SQLITE_CANTOPEN, "08001"}, {SQLITE_TOOBIG, "54000"},   {SQLITE_CONSTRAINT, "23000"},
    {SQLITE_MISMATCH, "22018"}, {SQLITE_MISUSE, "HY010"},   {SQLITE_AUTH, "42501"},
    {SQLITE_RANGE, "07009"},    {SQLITE_NOTADB, "XX001"},
};

bool StartsWith(const std::string& text, const char* start) {
    return text.rfind(start, 0) == 0;
}

bool EndsWith(const std::string& text, const std::string& end) {
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

const char* CompileState(const std::string& message) {
    if (StartsWith(message, "no such table") || StartsWith(message, "no such view")) {
        return "42S02";
    }
    if (StartsWith(message, "no such column")) {
        return "42S22";
    }
    if (EndsWith(message, "already exists")) {
        return "42S01";
    }
    return "42000";
}

}  // namespace

std::string SqlState(int code, Stage stage, const std::string& message) {
    const int primary = code & 0xFF;
    if (primary == SQLITE_ERROR) {
        return stage == Stage::Compile ? CompileState(message) : "HY000";
    }
    if (code == SQLITE_BUSY_SNAPSHOT) {
        return "40001";
    }
    for (const CodeState& entry : codeStates) {
        if (entry.code == primary) {
            return entry.state;
        }
    }
    return "HY000";
}

void ThrowFailure(int code, const std::string& message, const std::string& sqlState, Place place) {
    Errors errors;
    errors.AddRecord(
        ErrorRecord(severityError, code, place.line, place.position, message, sqlState, nullptr));
    throw errors;
}

void ThrowLastFailure(sqlite3* handle, Stage stage, Place place) {
    const int code = sqlite3_extended_errcode(handle);
    const std::string message = sqlite3_errmsg(handle);
    ThrowFailure(code, message, SqlState(code, stage, message), place);
}

void ThrowRefusal(const std::string& message, const std::string& sqlState) {
    ThrowFailure(0, message, sqlState, Place());
}

}  // namespace qxdrivers::sqlite
