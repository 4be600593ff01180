#include "dbms/dbms_handler.h"

#include <charconv>
#include <locale>
#include <sstream>
#include <utility>

#include "dbms/db2_handler.h"
#include "dbms/db2os390_handler.h"
#include "dbms/mysql_handler.h"
#include "dbms/oracle_handler.h"
#include "dbms/sqlserver_handler.h"
#include "dbms/string_table.h"
#include "dbms/sybase_handler.h"
#include "engine/cancellation.h"
#include "platform/qxutils/lock_guard.h"
#include "platform/qxutils/string_utils.h"
#include "request/sql_request.h"

namespace qxdbsqlengine {

const char* const DBMSHandler::SQL_OPTION_ON = "ON";
const char* const DBMSHandler::SQL_OPTION_OFF = "OFF";

std::unique_ptr<DBMSHandler> DBMSHandler::Create(SQLRequest& request, qxdb::DBTYPE type) {
    switch (type) {
        case qxdb::DBTYPE_DB2:
            return std::make_unique<DB2Handler>(request);
        case qxdb::DBTYPE_DB2OS390:
            return std::make_unique<DB2OS390Handler>(request);
        case qxdb::DBTYPE_ORACLE:
            return std::make_unique<OracleHandler>(request);
        case qxdb::DBTYPE_MYSQL:
            return std::make_unique<MySQLHandler>(request);
        case qxdb::DBTYPE_SQLSERVER:
            return std::make_unique<SQLServerHandler>(request);
        case qxdb::DBTYPE_SYBASE:
            return std::make_unique<SybaseHandler>(request);
        default:
            return std::unique_ptr<DBMSHandler>(new DBMSHandler(request, type));
    }
}

DBMSHandler::DBMSHandler(SQLRequest& owner, qxdb::DBTYPE type) : request(owner), dbType(type) {
    RegisterSqlStrings();
}

DBMSHandler::~DBMSHandler() = default;

int DBMSHandler::HandleNotify(const ErrorRecord& record) {
    if (cacheMessages) {
        cachedMessages.push(record);
        return 1;
    }
    try {
        std::string text = record.GetErrorDescription();
        qxutils::StringUtils::StringTrim(text);
        if (!text.empty())
            ReportMessageAsError(record, text);
    } catch (const CancelledException&) {
        // The driver that called has nothing to do with it; the run finds out by itself.
    }
    return 1;
}

void DBMSHandler::CheckCancelled() {
    request.CheckCancelled();
}

void DBMSHandler::PreExecute(qxdb::Connection& connection, const OptionMap& defaults,
                             const OptionMap& options) {
    SetOptionsIDSMap(connection);
    SetOptions(connection, defaults, options);
    ProcStatistics(connection, options, true);
}

void DBMSHandler::PostExecute(qxdb::Connection& connection, const OptionMap& defaults,
                              const OptionMap& options) {
    ProcStatistics(connection, options, false);
    // Only these two get their session options back; on the others they stay as the run had them.
    if (dbType == qxdb::DBTYPE_SYBASE || dbType == qxdb::DBTYPE_SQLSERVER)
        ResetOptions(connection, defaults);
}

void DBMSHandler::PreExecuteBatch(qxdb::Connection& connection) {}

void DBMSHandler::PostExecuteBatch(qxdb::Connection& connection) {}

void DBMSHandler::PreExecuteStatement(qxdb::Connection& connection) {}

void DBMSHandler::PostExecuteStatement(qxdb::Connection& connection) {}

void DBMSHandler::BeginExplainPlanMode(qxdb::Connection& connection) {}

void DBMSHandler::EndExplainPlanMode(qxdb::Connection& connection) {}

bool DBMSHandler::ProcStatistics(qxdb::Connection& connection, const OptionMap& options, bool before) {
    return true;
}

void DBMSHandler::CacheNotifyMessages(bool cache, bool flush) {
    cacheMessages = cache;
    if (cache || !flush)
        return;
    // Taken out first: what a message brings about may queue new ones, which belong to the next flush.
    std::queue<ErrorRecord> messages;
    messages.swap(cachedMessages);
    for (; !messages.empty(); messages.pop())
        HandleNotify(messages.front());
}

bool DBMSHandler::HasCachedNotifyMessages() {
    return !cachedMessages.empty();
}

int DBMSHandler::HandleInformationNotify(const char* text) {
    if (text == nullptr || *text == '\0')
        return 0;
    if (cacheMessages) {
        cachedMessages.push(ErrorRecord(0, 0, 0, 0, text, "", nullptr));
        return 1;
    }
    try {
        SaveNotifyMessage(text);
    } catch (const CancelledException&) {
        // As for HandleNotify.
    }
    return 1;
}

void DBMSHandler::HandleErrors(Errors& errors, qxdb::Connection& connection) {
    HandleErrors(errors);
}

void DBMSHandler::HandleErrors(Errors& errors) {
    while (errors.MoreErrors())
        request.SaveNotifyMessage(errors.GetNextError().GetErrorDescription());
    errors.Reset();
    request.NotifyError(errors);
}

std::string DBMSHandler::itoa(const int& value) {
    std::ostringstream stream;
    stream.imbue(std::locale::classic());  // no thousands separators in SQL
    stream << value;
    return stream ? stream.str() : std::string("ERROR");
}

void DBMSHandler::SaveNotifyMessage(const std::string& text) {
    request.SaveNotifyMessage(text);
}

void DBMSHandler::ReportMessageAsError(const ErrorRecord& record, const std::string& text) {
    Errors errors;
    errors.AddRecord(record);
    request.NotifyError(errors);
    SaveNotifyMessage(text);
}

void DBMSHandler::ReplaceSQL(const std::string& text) {
    const std::string scriptFile = request.GetFileName();
    request.SetSQL(text, request.GetRequestType(), false, false);
    const qxutils::WriteLockGuard guard(request.lock);
    request.fileName = scriptFile;
}

void DBMSHandler::ExecuteCommand(qxdb::Connection& connection, const std::string& text, ResultSetType type) {
    CheckCancelled();
    qxdb::Statement statement = connection.CreateStatement(qxdb::CursorDefault, 1);
    statement.SetStatement(text);
    if (!statement.Execute())
        return;
    while (statement.ResultSetAvailable()) {
        qxdb::Cursor cursor = statement.GetResults(1, "");
        while (cursor.Fetch(qxdb::Cursor::DirectionNext, 1)) {
        }
    }
}

void DBMSHandler::StoreCommandResults(qxdb::Connection& connection, const std::string& text,
                                      ResultSetType type) {
    CheckCancelled();
    qxdb::Statement statement = connection.CreateStatement(qxdb::CursorDefault, 1);
    statement.SetStatement(text);
    statement.Execute();
    while (statement.ResultSetAvailable()) {
        qxdb::Cursor cursor = statement.GetResults(1, "");
        if (!request.HandleCursor(cursor, type, ""))
            return;
    }
}

std::string DBMSHandler::GetQueryText(const std::string& first, const std::string& second, int stringId) {
    if (first.empty() && second.empty())
        return ResourceLoader::LoadString(stringId);
    return GetResultsFromStrOption(stringId, first, second);
}

// Runs `text` and gives the fields of every row of every result set to `read`.
template <class Read>
void DBMSHandler::ForEachRow(qxdb::Connection& connection, const std::string& text, Read read) {
    CheckCancelled();
    qxdb::Statement statement = connection.CreateStatement(qxdb::CursorDefault, 1);
    statement.SetStatement(text);
    statement.Execute();
    while (statement.ResultSetAvailable()) {
        qxdb::Cursor cursor = statement.GetResults(1, "");
        qxdb::BindValue binding = cursor.Bind();
        qxdb::Fields fields(binding, false, qxdb::ExclusionIndex(), false, nullptr);
        if (fields.GetFieldCount() == 0)
            continue;
        while (cursor.Fetch(qxdb::Cursor::DirectionNext, 1))
            read(fields[0]);
    }
}

// Servers count in whatever integral or exact type they like.
int DBMSHandler::ReadInt(qxdb::Field& field) {
    if (field.IsNull())
        return 0;
    switch (field.GetType()) {
        case qxdb::Column::BindShort:
            return field.AsShort();
        case qxdb::Column::BindLong:
            return static_cast<int>(field.AsLong());
        case qxdb::Column::BindInt64:
            return static_cast<int>(field.AsBigInt());
        case qxdb::Column::BindDecimal:
            return static_cast<int>(field.AsDecimal().AsBigInt());
        case qxdb::Column::BindDouble:
            return static_cast<int>(field.AsDouble());
        case qxdb::Column::BindString: {
            const std::string text = field.AsString();
            int value = 0;
            std::from_chars(text.data(), text.data() + text.size(), value);
            return value;
        }
        default:
            return field.AsInt();
    }
}

int DBMSHandler::GetIntQueryResults(qxdb::Connection& connection, const std::string& first,
                                    const std::string& second, int stringId) {
    int value = 0;
    const std::string text = GetQueryText(first, second, stringId);
    if (!text.empty())
        ForEachRow(connection, text, [&value](qxdb::Field& field) { value = ReadInt(field); });
    return value;
}

std::string DBMSHandler::GetStrQueryResults(qxdb::Connection& connection, const std::string& first,
                                            const std::string& second, int stringId) {
    std::string value;
    const std::string text = GetQueryText(first, second, stringId);
    if (!text.empty()) {
        ForEachRow(connection, text, [&value](qxdb::Field& field) {
            value = field.IsNull() ? std::string() : field.AsString();
        });
    }
    return value;
}

bool DBMSHandler::GetErrorQueryResults(qxdb::Connection& connection, const std::string& first,
                                       const std::string& second, int stringId) {
    const std::string text = GetQueryText(first, second, stringId);
    if (text.empty())
        return false;
    try {
        ForEachRow(connection, text, [](qxdb::Field&) {});
    } catch (const Errors&) {
        return false;
    }
    return true;
}

SmartPtr<DataStorage> DBMSHandler::GetData() {
    return request.GetData();
}

ResultSetType DBMSHandler::GetResultSetType() {
    return request.GetResultSetType();
}

void DBMSHandler::SetResultSetType(ResultSetType type) {
    request.SetResultSetType(type);
}

int DBMSHandler::GetResultSetId() {
    return request.GetResultSetId();
}

int DBMSHandler::GetBatchItemIndex() {
    return request.GetBatchItemIndex();
}

qxdb::Statement* DBMSHandler::GetStatement() {
    return request.GetStatement();
}

std::map<int, std::vector<HandleColumnStruct>>& DBMSHandler::GetHandleTypesMap() {
    return request.GetHandleTypesMap();
}

std::map<int, bool (Request::*)(DataStorage&, qxdb::Fields&)>& DBMSHandler::GetFieldsHandlerMap() {
    return request.GetFieldsHandlerMap();
}

std::map<int, int (Request::*)(int, DataStorage&, bool)>& DBMSHandler::GetRowHandlerMap() {
    return request.GetRowHandlerMap();
}

std::vector<int>& DBMSHandler::GetColumnReorder() {
    return request.GetColumnReorder();
}

bool DBMSHandler::GetDoColumnReorder() {
    return request.GetDoColumnReorder();
}

std::vector<ColumnDefinition>& DBMSHandler::GetColumnDefinition() {
    return request.GetColumnDefinition();
}

}  // namespace qxdbsqlengine
