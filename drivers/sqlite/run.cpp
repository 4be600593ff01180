#include "drivers/sqlite/run.h"

#include <sqlite3.h>

#include <algorithm>
#include <iterator>
#include <string_view>
#include <utility>

#include "drivers/sqlite/failure.h"
#include "drivers/sqlite/table_info.h"
#include "drivers/sqlite/value_text.h"

namespace qxdrivers::sqlite {

namespace {

using qxdb::Column;

bool ChangesRows(const SourceText& source) {
    static constexpr std::string_view words[] = {"INSERT", "UPDATE", "DELETE", "REPLACE", "WITH"};
    const std::string word = WordAt(*source.text, source.begin);
    return std::find(std::begin(words), std::end(words), word) != std::end(words);
}

// Digits of a second that the value in the first row needs: 0, 3, 6 or 9.
int DigitsNeeded(sqlite3_stmt* statement, int column, TimePart part) {
    qxdb::Timestamp value;
    sqlite3_value* stored = sqlite3_column_value(statement, column);
    if (sqlite3_value_type(stored) != SQLITE_TEXT || !ParseTime(TextOf(stored), part, value)) {
        return 0;
    }
    int digits = 9;
    for (int fraction = value.GetFraction(); digits > 0 && fraction % 1000 == 0; fraction /= 1000) {
        digits -= 3;
    }
    return digits;
}

}  // namespace

CompiledStatement::CompiledStatement(std::shared_ptr<Database> owner, sqlite3_stmt* compiled,
                                     SourceText where)
    : database(std::move(owner)), statement(compiled), source(std::move(where)) {}

CompiledStatement::~CompiledStatement() {
    sqlite3_finalize(statement);
}

Run::Run(std::shared_ptr<CompiledStatement> compiled, std::shared_ptr<RunControl> runControl)
    : compiledStatement(std::move(compiled)),
      control(std::move(runControl)),
      database(compiledStatement->GetDatabase()),
      statement(compiledStatement->Raw()) {}

Run::~Run() {
    Close();
}

Run::Outcome Run::Start() {
    open = true;
    database.ResultOpened();
    rowWaiting = StepOn(true);
    const int count = sqlite3_column_count(statement);
    if (count > 0) {
        Describe();
        return Outcome::Rows;
    }
    if (!ChangesRows(compiledStatement->Source())) {
        return Outcome::Nothing;
    }
    rowCount = sqlite3_changes64(database.Handle());
    return Outcome::RowCount;
}

bool Run::StepOn(bool first) {
    const int code = database.Step(*control, statement, first);
    if (code == SQLITE_ROW) {
        return true;
    }
    if (code == SQLITE_DONE) {
        Close();
        return false;
    }
    // The reset comes after the message was read: it overwrites it.
    struct Closer {
        Run& run;
        ~Closer() { run.Close(); }
    } closer{*this};
    database.ThrowFailed(*control, code, Stage::Run, compiledStatement->Source().Begin());
}

bool Run::Fetch() {
    if (rowWaiting) {
        rowWaiting = false;
    } else if (!open) {
        return false;
    } else if (control->maxRows > 0 && row >= control->maxRows) {
        Close();
        return false;
    } else if (!StepOn(false)) {
        return false;
    }
    ++row;
    ++position;
    return true;
}

void Run::Close() {
    rowWaiting = false;
    if (open) {
        open = false;
        ++position;
        sqlite3_reset(statement);
        database.ResultClosed();
    }
}

__int64 Run::GetRowCount() const {
    if (!columns.empty()) {
        ThrowRefusal("A result with columns has no row count", "HY010");
    }
    return rowCount;
}

void Run::Describe() {
    const int count = sqlite3_column_count(statement);
    columns.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        columns.push_back(DescribeColumn(i));
    }
}

// What finds a row must be known whole, so that a column of a key is no large object.
bool Run::IsUnlimitedLob(int column, const DeclaredType& type) const {
    if (!database.UnlimitedIsLob() || !type.unlimited) {
        return false;
    }
    const ColumnOrigin origin = OriginOf(statement, column);
    const std::optional<TableInfo> info = FindTable(database, origin.table);
    return !info || !info->IsKeyColumn(origin.column);
}

ResultColumn Run::DescribeColumn(int column) const {
    ResultColumn result;
    const char* declared = sqlite3_column_decltype(statement, column);
    result.type = ParseDeclaredType(declared ? declared : "");
    if (result.type.type == Column::BindUnknown) {
        std::string declaredName = std::move(result.type.name);
        result.type = TypeOfStorage(rowWaiting ? sqlite3_column_type(statement, column) : SQLITE_NULL);
        if (!declaredName.empty()) {
            result.type.name = std::move(declaredName);
        }
    }
    if (IsUnlimitedLob(column, result.type)) {
        result.type.type = Column::BindLob;
    }
    auto record = std::make_shared<qxdb::ColumnRecord>();
    if (result.type.type == Column::BindTimestamp) {
        if (!result.type.scaleGiven && rowWaiting) {
            result.type.scale =
                std::max(result.type.scale, DigitsNeeded(statement, column, result.type.part));
        }
        result.ownFormat = result.type.part != TimePart::DateTime || database.timestampFormat.empty();
        record->dateTimeFormat = result.ownFormat ? TimestampFormatOf(result.type.part, result.type.scale)
                                                  : database.timestampFormat;
    }
    const char* name = sqlite3_column_name(statement, column);
    record->name = name ? name : "";
    record->type = result.type.type;
    record->direction = qxdb::DataType::DirectionOut;
    record->nativeTypeName = result.type.name;
    record->scale = result.type.scale;
    record->lobFlags = result.type.type == Column::BindLob && result.type.binary ? 1 : 0;
    result.record = std::move(record);
    return result;
}

void Run::ThrowMisfit(int column, const std::string& wanted) const {
    const std::string message =
        "Result set " + std::to_string(resultSetNumber) + ", row " + std::to_string(row) + ", column \"" +
        columns[static_cast<std::size_t>(column)].record->name + "\": the value " +
        QuotedValue(sqlite3_column_value(statement, column)) + " does not fit the type " + wanted;
    ThrowFailure(SQLITE_MISMATCH, message, "22018", compiledStatement->Source().Begin());
}

}  // namespace qxdrivers::sqlite
