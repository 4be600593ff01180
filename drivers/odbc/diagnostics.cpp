#include "drivers/odbc/diagnostics.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <string_view>

#include "drivers/odbc/wide_text.h"

namespace qxdrivers::odbc {

namespace {

// Where a driver keeps saying the same, it is not asked for ever.
constexpr SQLSMALLINT maxRecords = 1000;

bool StartsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

bool EndsWith(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

// "[vendor][driver][server]text" without the tags; a text of nothing but tags stays.
std::string_view WithoutTags(std::string_view text) {
    std::string_view rest = text;
    while (!rest.empty() && rest.front() == '[') {
        const std::size_t end = rest.find(']');
        if (end == std::string_view::npos) {
            break;
        }
        rest.remove_prefix(end + 1);
    }
    while (!rest.empty() && rest.front() == ' ') {
        rest.remove_prefix(1);
    }
    return rest.empty() ? text : rest;
}

// PostgreSQL's driver says behind the server's text what it was doing.
std::string_view WithoutDriverTail(std::string_view text) {
    const std::size_t tail = text.rfind(";\nError while ");
    return tail == std::string_view::npos ? text : text.substr(0, tail);
}

std::string Clean(const std::string& text, Family family) {
    std::string_view clean = WithoutTags(text);
    if (family == Family::PostgreSQL) {
        clean = WithoutDriverTail(clean);
    }
    while (!clean.empty() && std::isspace(static_cast<unsigned char>(clean.back()))) {
        clean.remove_suffix(1);
    }
    return std::string(clean);
}

bool ReadRecord(HandleRef handle, SQLSMALLINT number, qxdb::RawMessage& message, std::string& text) {
    SQLWCHAR state[6] = {};
    SQLINTEGER code = 0;
    WideText buffer(512);
    SQLSMALLINT length = 0;
    for (;;) {
        const SQLRETURN result =
            SQLGetDiagRecW(handle.type, handle.handle, number, state, &code, buffer.data(),
                           static_cast<SQLSMALLINT>(buffer.size()), &length);
        if (!SQL_SUCCEEDED(result)) {
            return false;
        }
        const auto needed = static_cast<std::size_t>(std::max<SQLSMALLINT>(length, 0)) + 1;
        if (needed <= buffer.size()) {
            break;
        }
        buffer.resize(needed);
    }
    AppendTerminated(state, 5, message.sqlState);
    message.code = code;
    text.clear();
    AppendTerminated(buffer.data(), static_cast<std::size_t>(std::max<SQLSMALLINT>(length, 0)), text);
    return true;
}

// PostgreSQL's driver joins all notices of a statement; each begins with its level.
std::vector<std::string> SplitNotices(const std::string& text) {
    static constexpr std::string_view levels[] = {"NOTICE: ", "WARNING: ", "INFO: ", "LOG: ", "DEBUG: "};
    std::vector<std::string> notices;
    std::size_t begin = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const std::string_view rest = std::string_view(text).substr(i + 1);
        if (text[i] == ';' && std::any_of(std::begin(levels), std::end(levels),
                                          [&](std::string_view level) { return StartsWith(rest, level); })) {
            notices.push_back(text.substr(begin, i - begin));
            begin = i + 1;
        }
    }
    notices.push_back(text.substr(begin));
    return notices;
}

// --- Places ---

struct NumberPattern {
    Family family;
    std::string_view before;
    bool isLine;
};

// How servers write a line or a column into a text. The last occurrence counts, since a server quotes the SQL
// first and then tells where that is.
constexpr NumberPattern numberPatterns[] = {
    {Family::MySQL, " at line ", true}, {Family::DB2, "LINE NUMBER=", true},
    {Family::SQLServer, "Line ", true}, {Family::Sybase, "Line ", true},
    {Family::Oracle, "line ", true},    {Family::Oracle, "column ", false},
    {Family::Other, " at line ", true},
};

void ReadNumberBehind(const std::string& text, std::string_view before, int& number) {
    std::size_t at = text.rfind(before);
    while (at != std::string::npos) {
        const bool wordBegins =
            at == 0 || !std::isalpha(static_cast<unsigned char>(text[at - 1])) || before.front() == ' ';
        const char* const digits = text.data() + at + before.size();
        const std::from_chars_result read = std::from_chars(digits, text.data() + text.size(), number);
        if (wordBegins && read.ec == std::errc() && number > 0) {
            return;
        }
        at = at == 0 ? std::string::npos : text.rfind(before, at - 1);
    }
    number = 0;
}

std::size_t LineBegin(const std::string& sql, int line) {
    std::size_t at = 0;
    for (int i = 1; i < line && at != std::string::npos; ++i) {
        at = sql.find('\n', at);
        at = at == std::string::npos ? at : at + 1;
    }
    return at;
}

int LineOf(const std::string& sql, std::size_t offset) {
    return 1 +
           static_cast<int>(std::count(sql.begin(), sql.begin() + static_cast<std::ptrdiff_t>(offset), '\n'));
}

// The offset of the one occurrence of `piece` between two offsets; npos when there is none, or several.
std::size_t FindOnce(const std::string& sql, const std::string& piece, std::size_t begin, std::size_t end) {
    const std::size_t at = sql.find(piece, begin);
    if (piece.empty() || at == std::string::npos || at >= end) {
        return std::string::npos;
    }
    const std::size_t again = sql.find(piece, at + 1);
    return again == std::string::npos || again >= end ? at : std::string::npos;
}

// What stands between two marks, such as quotes.
std::string Quoted(const std::string& text, std::string_view before, std::string_view after) {
    const std::size_t begin = text.find(before);
    if (begin == std::string::npos) {
        return std::string();
    }
    const std::size_t from = begin + before.size();
    const std::size_t end = text.rfind(after);
    return end == std::string::npos || end < from ? std::string() : text.substr(from, end - from);
}

// MySQL quotes the SQL from the failing place on: near '...' at line 3
void FindMySqlPosition(qxdb::RawMessage& message, const std::string& sql) {
    const std::size_t begin = LineBegin(sql, message.line);
    if (message.line == 0 || begin == std::string::npos) {
        return;
    }
    const std::size_t lineEnd = std::min(sql.find('\n', begin), sql.size());
    const std::size_t at = FindOnce(sql, Quoted(message.text, "near '", "' at line "), begin, lineEnd);
    if (at != std::string::npos) {
        message.position = static_cast<int>(at) + 1;
    }
}

// PostgreSQL's driver drops the place, but the text quotes the word: at or near "..."
void FindPostgresPlace(qxdb::RawMessage& message, const std::string& sql) {
    std::size_t at = std::string::npos;
    if (EndsWith(message.text, "at end of input")) {
        at = sql.size();
    } else if (EndsWith(message.text, "\"")) {
        at = FindOnce(sql, Quoted(message.text, "at or near \"", "\""), 0, sql.size());
    }
    if (at != std::string::npos) {
        message.position = static_cast<int>(at) + 1;
        message.line = LineOf(sql, at);
    }
}

}  // namespace

void FindPlace(qxdb::RawMessage& message, const ErrorContext& context) {
    if (context.family == Family::PostgreSQL) {
        if (context.sql) {
            FindPostgresPlace(message, *context.sql);
        }
        return;
    }
    for (const NumberPattern& pattern : numberPatterns) {
        if (pattern.family == context.family) {
            ReadNumberBehind(message.text, pattern.before, pattern.isLine ? message.line : message.position);
        }
    }
    if (context.family == Family::MySQL && context.sql) {
        FindMySqlPosition(message, *context.sql);
    }
}

std::vector<qxdb::RawMessage> ReadMessages(HandleRef handle, const ErrorContext& context) {
    std::vector<qxdb::RawMessage> messages;
    for (SQLSMALLINT number = 1; number <= maxRecords; ++number) {
        qxdb::RawMessage message;
        std::string text;
        if (!ReadRecord(handle, number, message, text)) {
            break;
        }
        const bool notices = context.family == Family::PostgreSQL && StartsWith(message.sqlState, "0");
        for (const std::string& piece : notices ? SplitNotices(text) : std::vector<std::string>{text}) {
            message.text = Clean(piece, context.family);
            messages.push_back(message);
        }
    }
    return messages;
}

Errors ReadErrors(HandleRef handle, const char* operation, const ErrorContext& context) {
    Errors errors;
    for (qxdb::RawMessage& message : ReadMessages(handle, context)) {
        FindPlace(message, context);
        errors.AddRecord(ErrorRecord(severityError, message.code, message.line, message.position,
                                     message.text, message.sqlState, nullptr));
    }
    return errors.GetNumberErrors() > 0
               ? errors
               : MakeErrors(std::string(operation) + " failed, and the driver does not say why", "HY000");
}

bool IsHousekeeping(const qxdb::RawMessage& message) {
    return message.sqlState == "01S02" || message.sqlState == "01004";
}

Errors MakeErrors(const std::string& text, const std::string& sqlState) {
    Errors errors;
    errors.AddRecord(ErrorRecord(severityError, 0, 0, 0, text, sqlState, nullptr));
    return errors;
}

void ThrowRefusal(const std::string& text, const std::string& sqlState) {
    throw MakeErrors(text, sqlState);
}

}  // namespace qxdrivers::odbc
