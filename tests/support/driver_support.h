// What the tests of all drivers share: running texts through the handles and looking at what comes.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/qxdb/connection.h"
#include "platform/qxdb/field.h"
#include "platform/qxsplt/errors.h"

namespace qxtest {

// The rows of a result as texts, with "|" between cells and NULL for null; or "n row(s)".
std::vector<std::string> TakeResult(qxdb::Cursor cursor, bool bindAsStrings);

// Runs a text to its end and gives the rows of each result.
std::vector<std::vector<std::string>> RunAll(qxdb::Connection connection, const std::string& sql,
                                             bool bindAsStrings = false);

// The first result's rows.
std::vector<std::string> Rows(qxdb::Connection connection, const std::string& sql,
                              bool bindAsStrings = false);

// The value in the way that the field's type asks for: large objects through their stream in small pieces,
// text through a sink, bytes as hexadecimal digits.
std::string ReadNatively(qxdb::Field& field);

// The first record of the Errors that the action throws; a failed expectation when it throws none, or more.
struct Failure {
    int severity = -1;
    int code = -1;
    int line = -1;
    int position = -1;
    std::string text;
    std::string state;
};
Failure FailureOf(const std::function<void()>& action);
Failure FailureOf(qxdb::Connection connection, const std::string& sql);

// A statement whose first result is open, with its fields.
struct OpenResult {
    OpenResult(qxdb::Connection connection, const std::string& sql, bool bindAsStrings = false);
    bool Fetch() { return cursor.Fetch(qxdb::Cursor::DirectionNext, 1); }
    qxdb::Field& operator[](unsigned int index) { return (*fields)[index]; }

    qxdb::Statement statement;
    qxdb::Cursor cursor;
    qxdb::BindValue binding;
    std::unique_ptr<qxdb::Fields> fields;
};

}  // namespace qxtest
