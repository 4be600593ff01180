// What the tests of the embedded driver share.
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "platform/qxdb/connection.h"
#include "platform/qxdb/field.h"
#include "platform/qxsplt/errors.h"

namespace qxtest {

qxdb::Connection Open(const std::string& name, const std::string& options = "");

// A new folder, which any user may enter, removed with its contents at the end.
class TempFolder {
  public:
    TempFolder();
    ~TempFolder();
    std::string File(const std::string& name) const { return (path / name).string(); }

  private:
    std::filesystem::path path;
};

// Runs a text to its end. Of each result: the rows as texts, with "|" between cells and NULL for null; or
// "n row(s)".
std::vector<std::vector<std::string>> RunAll(qxdb::Connection connection, const std::string& sql,
                                             bool bindAsStrings = false);

// The first result's rows.
std::vector<std::string> Rows(qxdb::Connection connection, const std::string& sql,
                              bool bindAsStrings = false);

// The one record of the Errors that the action throws; a failed expectation when it throws none.
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
