// The writing of scripts: messages, columns, results and steps.
#include <chrono>
#include <thread>

#include "support/scripted_driver.h"

namespace qxtest {

Errors MakeErrors(const std::string& text) {
    return MakeErrors({ErrorRecord(2, 0, 0, 0, text, "", nullptr)});
}

Errors MakeErrors(std::initializer_list<ErrorRecord> records) {
    Errors errors;
    for (const ErrorRecord& record : records)
        errors.AddRecord(record);
    return errors;
}

std::string TextOf(const Errors& errors) {
    std::string text;
    errors.Reset();
    while (errors.MoreErrors()) {
        if (!text.empty())
            text += " | ";
        text += errors.GetNextError().GetErrorDescription();
    }
    errors.Reset();
    return text;
}

NestedCell Nested(Result result) {
    return {std::make_shared<const Result>(std::move(result))};
}

qxdb::RawMessage Info(const std::string& text) {
    qxdb::RawMessage message;
    message.text = text;
    return message;
}

qxdb::ColumnRecord MakeColumn(const std::string& name, qxdb::Column::BindType type,
                              const std::string& nativeTypeName) {
    qxdb::ColumnRecord column;
    column.name = name;
    column.type = type;
    column.nativeTypeName = nativeTypeName;
    return column;
}

qxdb::ColumnRecord MakeParameter(const std::string& name, qxdb::Column::BindType type,
                                 qxdb::DataType::Direction direction) {
    qxdb::ColumnRecord parameter = MakeColumn(name, type);
    parameter.direction = direction;
    return parameter;
}

qxdb::ColumnRecord ComputeColumn(const std::string& name, qxdb::Column::BindType type, int under) {
    qxdb::ColumnRecord column = MakeColumn(name, type);
    column.computeColumn = under;
    return column;
}

Result Rows(const std::vector<qxdb::ColumnRecord>& columns, std::vector<Row> rows) {
    Result result;
    for (const qxdb::ColumnRecord& column : columns)
        result.columns.push_back(std::make_shared<qxdb::ColumnRecord>(column));
    result.rows = std::move(rows);
    return result;
}

Result ComputeRows(const std::vector<qxdb::ColumnRecord>& columns, std::vector<Row> rows) {
    Result result = Rows(columns, std::move(rows));
    result.isCompute = true;
    return result;
}

Result RowCount(unsigned int rows) {
    return RowCountFrom([rows] { return rows; });
}

Result UnknownRowCount() {
    return RowCountFrom([]() -> unsigned int { throw MakeErrors("The row count is not known"); });
}

Result RowCountFrom(std::function<unsigned int()> give) {
    Result result;
    result.rowCount = std::move(give);
    return result;
}

Result& Result::Message(qxdb::RawMessage message) {
    messages.push_back(std::move(message));
    return *this;
}

Result& Result::FailsOnAvailable(Errors errors) {
    availableErrors = std::make_shared<Errors>(errors);
    return *this;
}

Result& Result::FailsAtRow(int row, Errors errors) {
    return AtRow(row, [errors] { throw errors; });
}

Result& Result::MessageAtRow(int row, qxdb::RawMessage message) {
    RowEvent event{};
    event.row = row;
    event.message = std::make_shared<qxdb::RawMessage>(std::move(message));
    rowEvents.push_back(std::move(event));
    return *this;
}

Result& Result::AtRow(int row, std::function<void()> action) {
    RowEvent event{};
    event.row = row;
    event.action = std::move(action);
    rowEvents.push_back(std::move(event));
    return *this;
}

Result& Result::HangsAtRow(int row) {
    RowEvent event{};
    event.row = row;
    event.hangs = true;
    rowEvents.push_back(std::move(event));
    return *this;
}

Result& Result::Locator(std::function<qxdb::LobLocator(unsigned int, const std::string&, const std::string&,
                                                       const std::string&, bool)>
                            maker) {
    locator = std::move(maker);
    return *this;
}

Result& Result::AtBind(std::function<void()> action) {
    atBind = std::move(action);
    return *this;
}

Step& Step::Message(qxdb::RawMessage message) {
    onExecute.push_back([message](qxdb::Callback* callback) {
        if (callback != nullptr)
            callback->HandleRawMessage(message);
    });
    return *this;
}

Step& Step::Does(std::function<void()> action) {
    onExecute.push_back([action](qxdb::Callback*) { action(); });
    return *this;
}

Step& Step::TakesMs(int milliseconds) {
    return Does([milliseconds] { std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds)); });
}

Step& Step::Fails(Errors errors) {
    failure = std::make_shared<Errors>(errors);
    return *this;
}

Step& Step::Hangs(bool endsByCancel) {
    hangs = true;
    hangEndsByCancel = endsByCancel;
    return *this;
}

Step& Step::Returns(Result result) {
    results.push_back(std::move(result));
    return *this;
}

Step& Step::MessageAfter(qxdb::RawMessage message) {
    messagesAfter.push_back(std::move(message));
    return *this;
}

Step& Step::FailsAfter(Errors errors) {
    failureAfter = std::make_shared<Errors>(errors);
    return *this;
}

Step& Step::Parameters(const std::vector<qxdb::ColumnRecord>& columns) {
    for (const qxdb::ColumnRecord& column : columns)
        parameters.push_back(std::make_shared<qxdb::ColumnRecord>(column));
    return *this;
}

Step& Step::Output(unsigned int position, Cell value) {
    outputs.insert_or_assign(position, std::move(value));
    return *this;
}

Step& Step::OutputCursor(unsigned int position, Result result) {
    outputCursors.insert_or_assign(position, std::move(result));
    return *this;
}

Step& Step::FailsOnPrepare(Errors errors) {
    prepareFailure = std::make_shared<Errors>(errors);
    return *this;
}

Step& Step::NeverExecuted() {
    isOnlyPrepared = true;
    return *this;
}

}  // namespace qxtest
