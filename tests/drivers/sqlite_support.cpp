#include "drivers/sqlite_support.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <stdexcept>

#include "drivers/sqlite/sqlite_driver.h"
#include "platform/qxdb/manager.h"

namespace qxtest {

namespace {

const qxdb::ExclusionIndex nothingExcluded;

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

}  // namespace

qxdb::Connection Open(const std::string& name, const std::string& options) {
    qxdrivers::RegisterSQLite();
    return qxdb::Manager::Instance().Bind(qxdb::DBTYPE_SQLITE, name, "", "", "sqlite", options).Connect();
}

TempFolder::TempFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "qx_sqlite_XXXXXX").string();
    if (!mkdtemp(name.data())) {
        throw std::runtime_error("no temporary folder " + name);
    }
    path = name;
    std::filesystem::permissions(path, std::filesystem::perms::all);
}

TempFolder::~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
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
