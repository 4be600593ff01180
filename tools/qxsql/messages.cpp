#include "tools/qxsql/messages.h"

#include <iostream>

namespace qxsql {

bool IsFailure(const ErrorRecord& record) {
    return record.GetSeverity() >= 2 || (record.GetErrorCode() == 0 && record.GetSQLState().empty());
}

std::string ErrorTitle(const ErrorRecord& record) {
    std::string text = IsFailure(record) ? "Error" : "Message";
    if (record.GetErrorCode() != 0)
        text += " " + std::to_string(record.GetErrorCode());
    if (!record.GetSQLState().empty())
        text += " [" + record.GetSQLState() + "]";
    return text;
}

std::string ErrorText(const ErrorRecord& record) {
    std::string text = ErrorTitle(record);
    if (record.GetLineNumber() > 0) {
        text += " at line " + std::to_string(record.GetLineNumber());
        if (record.GetErrorPosition() > 0)
            text += ", position " + std::to_string(record.GetErrorPosition());
    } else if (record.GetErrorPosition() > 0) {
        text += " at position " + std::to_string(record.GetErrorPosition());
    }
    return text + ": " + record.GetErrorDescription();
}

void ForEachError(const Errors& errors, const std::function<void(const ErrorRecord&)>& function) {
    errors.Reset();
    while (errors.MoreErrors())
        function(errors.GetNextError());
    errors.Reset();
}

void PrintErrors(const Errors& errors) {
    ForEachError(errors, [](const ErrorRecord& record) { std::cerr << ErrorText(record) << '\n'; });
}

void MessageReader::ErrorWasPrinted(const Errors& errors) {
    ForEachError(errors, [this](const ErrorRecord& record) {
        const std::string& text = record.GetErrorDescription();
        std::string::size_type from = 0;
        for (;;) {
            const std::string::size_type end = text.find('\n', from);
            errorLines.insert(text.substr(from, end - from));
            if (end == std::string::npos)
                break;
            from = end + 1;
        }
    });
}

void MessageReader::ReadTo(qxdbsqlengine::DataStorage& store, int resultSet, int end,
                           const std::function<void(const std::string&)>& line) {
    for (; nextRow < end; ++nextRow) {
        const std::string text = store.GetString(resultSet, nextRow, 0);
        const auto known = errorLines.find(text);
        if (known != errorLines.end())
            errorLines.erase(known);
        else
            line(text);
    }
}

}  // namespace qxsql
