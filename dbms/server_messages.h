// What the handlers of SQL Server and Sybase share in sorting the messages of their servers.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "platform/qxsplt/error_record.h"

namespace qxdbsqlengine {

// Severities above it are errors.
constexpr int LastInformationSeverity = 1;
// Of a message that turns out to be an error.
constexpr int ErrorSeverity = 2;

// Message numbers, both ends included.
struct CodeRange {
    int first;
    int last;
};

template <std::size_t Count>
bool IsIn(const CodeRange (&ranges)[Count], int code) {
    for (const CodeRange& range : ranges) {
        if (code >= range.first && code <= range.last)
            return true;
    }
    return false;
}

inline bool IsInformation(const ErrorRecord& record) {
    return record.GetSeverity() <= LastInformationSeverity;
}

// The lines of a message that are not empty, without their line ends.
std::vector<std::string> NonEmptyLines(const std::string& text);

}  // namespace qxdbsqlengine
