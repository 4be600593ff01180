#include "tools/qxsql/messages.h"

#include <iostream>

namespace qxsql {

std::string ErrorText(const ErrorRecord& record) {
    std::string text = record.GetSeverity() < 2 && record.GetErrorCode() != 0 ? "Message" : "Error";
    if (record.GetErrorCode() != 0)
        text += " " + std::to_string(record.GetErrorCode());
    if (!record.GetSQLState().empty())
        text += " [" + record.GetSQLState() + "]";
    if (record.GetLineNumber() > 0) {
        text += " at line " + std::to_string(record.GetLineNumber());
        if (record.GetErrorPosition() > 0)
            text += ", position " + std::to_string(record.GetErrorPosition());
    } else if (record.GetErrorPosition() > 0) {
        text += " at position " + std::to_string(record.GetErrorPosition());
    }
    return text + ": " + record.GetErrorDescription();
}

void PrintErrors(const Errors& errors) {
    errors.Reset();
    while (errors.MoreErrors())
        std::cerr << ErrorText(errors.GetNextError()) << '\n';
    errors.Reset();
}

void MessagePrinter::ErrorWasPrinted(const Errors& errors) {
    errors.Reset();
    while (errors.MoreErrors()) {
        const std::string& text = errors.GetNextError().GetErrorDescription();
        std::string::size_type from = 0;
        for (;;) {
            const std::string::size_type end = text.find('\n', from);
            errorLines.insert(text.substr(from, end - from));
            if (end == std::string::npos)
                break;
            from = end + 1;
        }
    }
    errors.Reset();
}

void MessagePrinter::PrintResultSet(qxdbsqlengine::DataStorage& store, int resultSet, bool quiet) {
    const int rows = store.GetNumberOfRows(resultSet);
    for (int row = 0; row < rows; ++row) {
        const std::string line = store.GetString(resultSet, row, 0);
        const auto known = errorLines.find(line);
        if (known != errorLines.end())
            errorLines.erase(known);
        else if (!quiet)
            std::cerr << line << '\n';
    }
}

}  // namespace qxsql
