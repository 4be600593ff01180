#include "drivers/sqlite/statement.h"

#include <sqlite3.h>

#include <utility>

#include "drivers/sqlite/cursor.h"
#include "drivers/sqlite/failure.h"

namespace qxdrivers::sqlite {

SQLiteStatement::SQLiteStatement(std::shared_ptr<Database> owner)
    : database(std::move(owner)),
      control(std::make_shared<RunControl>()),
      properties(*control),
      text(std::make_shared<const std::string>()),
      parameters(std::make_shared<ParameterBinding>(nullptr, qxdb::Schema())) {}

SQLiteStatement::~SQLiteStatement() {
    database->End(*control);
}

void SQLiteStatement::SetText(const std::string& sql) {
    CloseResult();
    EndText();
    prepared.reset();
    parameters = std::make_shared<ParameterBinding>(nullptr, qxdb::Schema());
    text = std::make_shared<const std::string>(sql);
    zeroByte = text->find('\0');
    next = text->size();  // nothing runs before Execute
}

void SQLiteStatement::SetStatement(const std::string& sql) {
    SetText(sql);
}

void SQLiteStatement::Prepare(const std::string& sqlOrProcedureName, qxdb::Statement::PrepareType type) {
    if (type != qxdb::Statement::PrepareSQL) {
        ThrowRefusal("SQLite has no stored procedures: \"" + sqlOrProcedureName + "\"", "0A000");
    }
    SetText(sqlOrProcedureName);
    next = 0;
    database->Begin(*control);
    struct Ender {
        SQLiteStatement& statement;
        ~Ender() { statement.EndText(); }
    } ender{*this};
    std::shared_ptr<CompiledStatement> compiled = CompileNext(SQLITE_PREPARE_PERSISTENT);
    if (!compiled) {
        ThrowFailure(0, "There is no statement to prepare", "42000", Place());
    }
    parameters = std::make_shared<ParameterBinding>(compiled->Raw(), hint);
    behindPrepared = next;
    prepared = std::move(compiled);
}

qxdb::Schema SQLiteStatement::GetBindHint() {
    return hint.GetNumberColumns() > 0 ? hint : parameters->GetSchema();
}

bool SQLiteStatement::Execute() {
    CloseResult();
    resultSets = 0;
    database->Begin(*control);
    try {
        ExecuteText();
    } catch (...) {
        EndText();
        throw;
    }
    return true;
}

void SQLiteStatement::ExecuteText() {
    next = prepared ? behindPrepared : 0;
    if (prepared) {
        parameters->Send(prepared->Raw());
        if (RunCompiled(prepared)) {
            return;
        }
    }
    RunToNextResult();
}

bool SQLiteStatement::ResultSetAvailable() {
    if (resultWaiting) {
        return true;
    }
    CloseResult();
    try {
        return RunToNextResult();
    } catch (...) {
        EndText();
        throw;
    }
}

std::shared_ptr<qxdb::CursorImpl> SQLiteStatement::GetResults() {
    if (!resultWaiting) {
        ThrowRefusal("No result is waiting to be taken", "24000");
    }
    resultWaiting = false;
    return std::make_shared<SQLiteCursor>(run);
}

void SQLiteStatement::Cancel() noexcept {
    database->Cancel(*control);
}

// What was not run yet will not be.
void SQLiteStatement::EndText() {
    next = text->size();
    database->End(*control);
}

void SQLiteStatement::CloseResult() {
    resultWaiting = false;
    if (run) {
        run->Close();
        run.reset();
    }
}

std::shared_ptr<CompiledStatement> SQLiteStatement::CompileNext(unsigned int flags) {
    if (zeroByte != std::string::npos) {  // SQLite would take it for the end
        ThrowFailure(SQLITE_ERROR, "The SQL text has a zero byte", "42000", FindPlace(*text, zeroByte));
    }
    const std::size_t begin = SkipBlank(*text, next);
    sqlite3_stmt* compiled = database->Compile(*control, text, next, flags);
    return compiled ? std::make_shared<CompiledStatement>(database, compiled, SourceText{text, begin})
                    : nullptr;
}

// True when the statement has a result to take.
bool SQLiteStatement::RunCompiled(const std::shared_ptr<CompiledStatement>& compiled) {
    auto started = std::make_shared<Run>(compiled, control);
    const Run::Outcome outcome = started->Start();
    if (outcome == Run::Outcome::Nothing) {
        return false;
    }
    if (outcome == Run::Outcome::Rows) {
        started->SetResultSetNumber(++resultSets);
    }
    run = std::move(started);
    resultWaiting = true;
    return true;
}

bool SQLiteStatement::RunToNextResult() {
    while (next < text->size()) {
        const std::shared_ptr<CompiledStatement> compiled = CompileNext(0);
        if (!compiled) {
            continue;
        }
        if (sqlite3_bind_parameter_count(compiled->Raw()) > 0) {
            const char* why = prepared ? "Only the first statement of a prepared text may have parameters"
                                       : "The statement has parameters, and was not prepared";
            ThrowFailure(SQLITE_RANGE, why, "07001", compiled->Source().Begin());
        }
        if (RunCompiled(compiled)) {
            return true;
        }
    }
    EndText();
    return false;
}

}  // namespace qxdrivers::sqlite
