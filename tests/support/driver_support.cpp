#include "support/driver_support.h"

#include <gtest/gtest.h>

#include <charconv>
#include <stdexcept>

namespace qxtest {

namespace {

using qxdb::Column;

const qxdb::ExclusionIndex nothingExcluded;

}  // namespace

std::vector<std::string> TakeResult(qxdb::Cursor cursor, bool bindAsStrings) {
    qxdb::BindValue binding = cursor.Bind();
    qxdb::Fields fields(binding, bindAsStrings, nothingExcluded, false, nullptr);
    if (fields.GetFieldCount() == 0) {
        return {std::to_string(cursor.GetRowCount()) + " row(s)"};
    }
    std::vector<std::string> rows;
    while (cursor.Fetch(qxdb::Cursor::DirectionNext, 1)) {
        std::string row;
        for (unsigned int i = 0; i < fields.GetFieldCount(); ++i) {
            row += (i > 0 ? "|" : "") + (fields[i].IsNull() ? "NULL" : fields[i].AsString());
        }
        rows.push_back(row);
    }
    return rows;
}

std::string ReadNatively(qxdb::Field& field) {
    switch (field.GetType()) {
        case Column::BindInt64:
            return std::to_string(field.AsBigInt());
        case Column::BindInt:
            return std::to_string(field.AsInt());
        case Column::BindShort:
            return std::to_string(field.AsShort());
        case Column::BindDouble: {
            std::string text;
            qxdb::Decimal::AppendDouble(field.AsDouble(), text);
            return text;
        }
        case Column::BindFloat: {
            char digits[64];
            return std::string(digits, std::to_chars(digits, digits + sizeof digits, field.AsFloat()).ptr);
        }
        case Column::BindDecimal:
            return field.AsDecimal().AsString(false, -1);
        case Column::BindTimestamp:
            return field.AsTimestamp().AsString();
        case Column::BindBinary: {
            const qxdb::DynBuffer& buffer = field.GetBuffer();
            std::string text;
            qxdb::BufferBase::AppendHex(text, buffer.GetData(), buffer.GetLength());
            return text;
        }
        case Column::BindLob: {
            unsigned char bytes[7];
            std::string text;
            qxdb::RawStream* stream = field.GetStream();
            while (const unsigned int count = stream->Read(bytes, sizeof bytes)) {
                text.append(bytes, bytes + count);
            }
            return text;
        }
        default: {
            struct Sink : qxdb::StringInsert {
                void Insert(const std::string& piece) override { text += piece; }
                std::string text;
            } sink;
            field.GetStringInto(&sink);
            EXPECT_EQ(sink.text, field.AsString());
            return sink.text;
        }
    }
}

std::vector<std::vector<std::string>> RunAll(qxdb::Connection connection, const std::string& sql,
                                             bool bindAsStrings) {
    qxdb::Statement statement = connection.CreateStatement(qxdb::CursorDefault, 1);
    statement.SetStatement(sql);
    EXPECT_TRUE(statement.Execute());
    std::vector<std::vector<std::string>> results;
    while (statement.ResultSetAvailable()) {
        results.push_back(TakeResult(statement.GetResults(1, ""), bindAsStrings));
    }
    return results;
}

std::vector<std::string> Rows(qxdb::Connection connection, const std::string& sql, bool bindAsStrings) {
    const std::vector<std::vector<std::string>> results = RunAll(connection, sql, bindAsStrings);
    return results.empty() ? std::vector<std::string>{"no result"} : results.front();
}

Failure FailureOf(const std::function<void()>& action) {
    Failure failure;
    try {
        action();
        ADD_FAILURE() << "Errors expected";
    } catch (const Errors& errors) {
        EXPECT_EQ(errors.GetNumberErrors(), 1u);
        const ErrorRecord& record = errors.GetNextError();
        failure.severity = record.GetSeverity();
        failure.code = record.GetErrorCode();
        failure.line = record.GetLineNumber();
        failure.position = record.GetErrorPosition();
        failure.text = record.GetErrorDescription();
        failure.state = record.GetSQLState();
    }
    return failure;
}

Failure FailureOf(qxdb::Connection connection, const std::string& sql) {
    return FailureOf([&] { RunAll(connection, sql); });
}

OpenResult::OpenResult(qxdb::Connection connection, const std::string& sql, bool bindAsStrings)
    : statement(connection.CreateStatement(qxdb::CursorDefault, 1)) {
    statement.SetStatement(sql);
    statement.Execute();
    if (!statement.ResultSetAvailable()) {
        throw std::runtime_error("no result: " + sql);
    }
    cursor = statement.GetResults(1, "");
    binding = cursor.Bind();
    fields = std::make_unique<qxdb::Fields>(binding, bindAsStrings, nothingExcluded, false, nullptr);
}

}  // namespace qxtest
