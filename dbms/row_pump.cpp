// Column discovery, and the loop that moves the rows of a cursor into the store.
#include <algorithm>
#include <cstdlib>
#include <limits>
#include <memory>
#include <stdexcept>
#include <utility>

#include "dbms/dbms_handler.h"
#include "platform/qxutils/qx_exception.h"
#include "platform/qxutils/string_utils.h"
#include "platform/resource_loader.h"
#include "request/field_handlers.h"
#include "request/sql_request.h"
#include "storage/data_storage.h"
#include "storage/data_storage_inserter.h"
#include "storage/named_type_handler.h"

namespace qxdbsqlengine {

namespace {

constexpr int UnsupportedTypeText = 122;

// How the values of a bound field are stored, and where the width of such a column comes from.
struct TypeMapping {
    qxdb::Column::BindType bindType;
    EnumDataType dataType;
    bool hasColumnSize;
};

// Any other field is text.
constexpr TypeMapping TypeMappings[] = {
    {qxdb::Column::BindShort, DataTypeShort, false},         {qxdb::Column::BindInt, DataTypeInt, false},
    {qxdb::Column::BindLong, DataTypeLong, false},           {qxdb::Column::BindInt64, DataTypeInt64, false},
    {qxdb::Column::BindFloat, DataTypeFloat, true},          {qxdb::Column::BindDouble, DataTypeDouble, true},
    {qxdb::Column::BindDecimal, DataTypeDecimal, true},      {qxdb::Column::BindBinary, DataTypeBinary, true},
    {qxdb::Column::BindTimestamp, DataTypeTimestamp, false}, {qxdb::Column::BindLob, DataTypeLob, false},
    {qxdb::Column::BindCursor, DataTypeNamedType, false},
};

constexpr TypeMapping TextMapping = {qxdb::Column::BindString, DataTypeString, false};

const TypeMapping& FindMapping(qxdb::Column::BindType type) {
    for (const TypeMapping& mapping : TypeMappings) {
        if (mapping.bindType == type)
            return mapping;
    }
    return TextMapping;
}

template <class Map>
typename Map::mapped_type FindOr(const Map& map, int id, typename Map::mapped_type missing) {
    const auto found = map.find(id);
    return found == map.end() ? missing : found->second;
}

// Says for which rows progress is told: each of the first ones, then every so many. Rows come in order from
// 0.
class RowNotifier {
  public:
    explicit RowNotifier(const RowNotificationHandler& handler)
        : enabled(handler.enabled), initial(handler.initialInterval), interval(std::abs(handler.interval)) {
        nextRow = initial;
        if (nextRow < 0 && interval > 0)
            nextRow = (interval - -nextRow % interval) % interval;
        if (interval == 0)  // nothing after the first rows
            nextRow = std::numeric_limits<long long>::max();
    }

    bool IsDue(int row) {
        if (!enabled)
            return false;
        if (row < initial)
            return true;
        if (row != nextRow)
            return false;
        nextRow += interval;
        return true;
    }

  private:
    bool enabled;
    long long initial;
    long long interval;
    long long nextRow;
};

// Holds the row lock while one row is written.
class RowScope {
  public:
    explicit RowScope(RowLock& target) : lock(target) {
        if (!lock.Lock())
            throw std::runtime_error("Unable to acquire lock!");
    }
    ~RowScope() { lock.UnLock(); }
    RowScope(const RowScope&) = delete;
    RowScope& operator=(const RowScope&) = delete;

  private:
    RowLock& lock;
};

// Makes the inserters of one result set.
class InserterFactory {
  public:
    InserterFactory(DataStorage& target, int resultSetId, qxdb::Fields& row, SQLRequest& owner)
        : storage(target), resultSet(resultSetId), fields(row), request(owner) {}

    // For every type but large objects.
    std::unique_ptr<DataStorageInserter> Make(EnumDataType type, qxdb::Field& field, int column,
                                              const HandleColumnStruct& handler) {
        switch (type) {
            case DataTypeString:
                return MakeTyped<std::string, StringDataStorageInserter>(field, column, handler);
            case DataTypeShort:
                return MakeTyped<short, ShortDataStorageInserter>(field, column, handler);
            case DataTypeInt:
                return MakeTyped<int, IntDataStorageInserter>(field, column, handler);
            case DataTypeLong:
                return MakeTyped<long, LongDataStorageInserter>(field, column, handler);
            case DataTypeInt64:
                return MakeTyped<__int64, Int64DataStorageInserter>(field, column, handler);
            case DataTypeFloat:
                return MakeTyped<float, FloatDataStorageInserter>(field, column, handler);
            case DataTypeDouble:
                return MakeTyped<double, DoubleDataStorageInserter>(field, column, handler);
            case DataTypeDecimal:
                return MakeTyped<qxdb::Decimal, DecimalDataStorageInserter>(field, column, handler);
            case DataTypeBinary:
                return MakeTyped<qxdb::DynBuffer, BinaryDataStorageInserter>(field, column, handler);
            case DataTypeTimestamp:
                return MakeTyped<qxdb::Timestamp, TimestampDataStorageInserter>(field, column, handler);
            case DataTypeNamedType:
                return std::make_unique<NamedTypeHandler>(&field, &storage, resultSet, column);
            default:
                throw qxutils::QXException(ResourceLoader::LoadString(UnsupportedTypeText));
        }
    }

  private:
    template <class T, class Inserter>
    std::unique_ptr<DataStorageInserter> MakeTyped(qxdb::Field& field, int column,
                                                   const HandleColumnStruct& handler) {
        if (handler.type == 0)
            return std::make_unique<Inserter>(&field, &storage, resultSet, column);
        using Value = TypeWithNull<T>;
        return std::make_unique<HandlerDataStorageInserter<Value, Inserter>>(
            &field, &storage, resultSet, column, fields, &request, handler.GetHandler<Value>(),
            handler.GetSecondHandler<Value>());
    }

    DataStorage& storage;
    int resultSet;
    qxdb::Fields& fields;
    SQLRequest& request;
};

}  // namespace

bool DBMSHandler::IsFixedLengthString(const qxdb::Column& column) {
    const std::string name = column.GetNativeTypeName();
    return qxutils::StringUtils::StringICmp(name, "CHAR") == 0 ||
           qxutils::StringUtils::StringICmp(name, "NCHAR") == 0;
}

void DBMSHandler::FetchLobProperties(qxdb::Cursor& cursor, int fieldIndex, ColumnDefinition& definition) {
    const bool useLocators = request.GetUseLobLocators();
    const bool useSpecific = request.GetUseSpecificLobLocatorImpl() != 0;
    if (useLocators) {
        std::string table;
        std::string sql;
        std::string where;
        if (request.GetPrepareType() == qxdb::Statement::PrepareSQL) {
            table = request.ParseTableName();
            sql = request.GetSQL();
            where = request.ParseWhereClause();
        }
        definition.lobLocator = std::make_unique<qxdb::LobLocator>(
            cursor.GetLocator(static_cast<unsigned int>(fieldIndex), table, sql, where, useSpecific));
    }
    definition.precision = useLocators ? request.GetLobPreviewSize() : request.GetLobStreamSize();
    definition.useLobLocators = useLocators;
    definition.useSpecificLobLocatorImpl = useSpecific;
}

void DBMSHandler::FetchColumnProperties(qxdb::Cursor& cursor, int fieldIndex, qxdb::Field& field,
                                        const qxdb::Column& column, ColumnDefinition& definition) {
    definition.Reset();
    definition.nativeDataType = column.GetNativeType();
    definition.nativeDataTypeName = column.GetNativeTypeName();

    const TypeMapping& mapping = FindMapping(field.GetType());
    definition.dataType = mapping.dataType;
    definition.precision = mapping.hasColumnSize ? column.GetScale() : 0;
    if (mapping.dataType == DataTypeTimestamp)
        definition.timestampFormat = column.GetDateTimeFormat();
    else if (mapping.dataType == DataTypeString)
        definition.fixedLengthString = IsFixedLengthString(column);
    else if (mapping.dataType == DataTypeLob)
        FetchLobProperties(cursor, fieldIndex, definition);

    if (request.GetColumnLabels())
        definition.columnLabel = column.GetName();
    LimitPrecision(definition);
}

void DBMSHandler::LimitPrecision(ColumnDefinition& definition) {
    definition.precision = std::max(definition.precision, 0);
    const int minimum = request.GetMinPrecision();
    if (minimum >= 0 && definition.precision < minimum) {
        definition.precision = minimum;
        return;
    }
    const int maximum = request.GetMaxPrecision();
    if (maximum >= 0 && definition.precision > maximum)
        definition.precision = maximum;
}

void DBMSHandler::DetermineColumnDefs(qxdb::Cursor& cursor, qxdb::Fields& fields, qxdb::Schema& schema) {
    tableName.clear();  // of the SQL of an earlier batch item, maybe
    const unsigned int count = fields.GetFieldCount();
    std::vector<ColumnDefinition>& definitions = GetColumnDefinition();
    definitions.resize(count);
    const bool reorders = GetDoColumnReorder();
    std::vector<int>& reorder = GetColumnReorder();
    if (reorders)
        reorder.resize(count, -1);

    for (unsigned int i = 0; i < count; ++i) {
        const int target = reorders ? reorder[i] : static_cast<int>(i);
        if (target < 0) {
            definitions.pop_back();
            continue;
        }
        if (static_cast<std::size_t>(target) >= definitions.size())
            throw qxutils::QXException("The column order names a column beyond the result set");
        FetchColumnProperties(cursor, static_cast<int>(i), fields[i], schema[i],
                              definitions[static_cast<std::size_t>(target)]);
    }

    std::vector<HandleColumnStruct>& handlers = GetHandleTypesMap()[request.ResolveNextLogicalResultSetId()];
    handlers.resize(definitions.size());
    for (std::size_t i = 0; i < definitions.size(); ++i) {
        const int type = handlers[i].type;
        if (type >= 1 && type <= 10)
            definitions[i].dataType = static_cast<EnumDataType>(type - 1);
    }
}

std::unique_ptr<DataStorageInserter> DBMSHandler::MakeLobInserter(qxdb::Cursor& cursor, qxdb::Field& field,
                                                                  int fieldIndex, DataStorage& storage,
                                                                  int resultSet, int column) {
    if (tableName.empty())
        ParseTableName();
    unsigned int locatorLength = 0;
    if (request.GetUseSpecificLobLocatorImpl() != 0) {
        qxdb::LobLocator locator =
            cursor.GetLocator(static_cast<unsigned int>(fieldIndex), tableName, "", "", true);
        locatorLength = locator.GetLocatorData().GetLength();
    }
    return std::make_unique<LobDataStorageInserter>(&field, &storage, resultSet, column, cursor, fieldIndex,
                                                    tableName, locatorLength, request);
}

std::vector<std::unique_ptr<DataStorageInserter>> DBMSHandler::MakeInserters(qxdb::Cursor& cursor,
                                                                             qxdb::Fields& fields,
                                                                             DataStorage& storage,
                                                                             int resultSet, int logicalId) {
    static const std::vector<HandleColumnStruct> noHandlers;
    const auto found = GetHandleTypesMap().find(logicalId);
    const std::vector<HandleColumnStruct>& handlers =
        found == GetHandleTypesMap().end() ? noHandlers : found->second;
    const std::vector<int>& reorder = GetColumnReorder();
    const bool reorders = GetDoColumnReorder();

    InserterFactory factory(storage, resultSet, fields, request);
    std::vector<std::pair<int, std::unique_ptr<DataStorageInserter>>> byColumn;
    const std::size_t count = fields.GetFieldCount();
    for (std::size_t i = 0; i < count; ++i) {
        const int position = static_cast<int>(i);
        const int column = !reorders ? position : i < reorder.size() ? reorder[i] : -1;
        if (column < 0)
            continue;
        const std::size_t index = static_cast<std::size_t>(column);
        const HandleColumnStruct handler = index < handlers.size() ? handlers[index] : HandleColumnStruct();
        const EnumDataType type = storage.GetDataType(resultSet, column);
        qxdb::Field& field = fields[static_cast<unsigned int>(i)];
        byColumn.emplace_back(
            column, type == DataTypeLob ? MakeLobInserter(cursor, field, position, storage, resultSet, column)
                                        : factory.Make(type, field, column, handler));
    }
    // The store counts a row with its first column, and marks nulls in the row that was counted last: columns
    // have to be written in their order, whatever the order of the fields.
    std::stable_sort(byColumn.begin(), byColumn.end(),
                     [](const auto& left, const auto& right) { return left.first < right.first; });
    std::vector<std::unique_ptr<DataStorageInserter>> inserters;
    for (auto& entry : byColumn)
        inserters.push_back(std::move(entry.second));
    return inserters;
}

void DBMSHandler::HandleResultSet(qxdb::Cursor& cursor, qxdb::Fields& fields, qxdb::Schema& schema) {
    SmartPtr<DataStorage> data = GetData();
    if (!data)
        return;
    int id = GetResultSetId();
    const int logicalId = request.ResolveLogicalResultSetId(id);
    const RowHandler rowHandler = FindOr(GetRowHandlerMap(), logicalId, nullptr);
    const FieldsHandler fieldsHandler = FindOr(GetFieldsHandlerMap(), logicalId, nullptr);
    RowNotifier notifier(
        FindOr(request.GetRowNotificationHandlerMap(), logicalId, RowNotificationHandler{0, 0, false}));
    if (rowHandler != nullptr) {
        // Rows are staged in a store of their own; the row handler puts what it makes of them into the open
        // result set.
        data = SmartPtr<DataStorage>(new DataStorage(DataStorage::CreateResultsStorage(false)));
        data->AddResultSet(GetColumnDefinition(), GetResultSetType());
        id = 0;
    }
    DataStorage& storage = *data;
    RowLock rowLock = storage.GetRowLock(id);
    const auto inserters = MakeInserters(cursor, fields, storage, id, logicalId);

    int rows = 0;
    int rowState = 0;
    while (cursor.Fetch(qxdb::Cursor::DirectionNext, 1)) {
        bool consumed = false;
        {
            const RowScope scope(rowLock);
            consumed = fieldsHandler != nullptr && (request.*fieldsHandler)(storage, fields);
            if (!consumed) {
                for (const auto& inserter : inserters)
                    inserter->Insert();
                if (rowHandler != nullptr)
                    rowState = (request.*rowHandler)(rowState, storage, false);
            }
        }
        if (!consumed) {
            if (notifier.IsDue(rows))
                request.NotifyResultSetUpdate(rows, false);
            ++rows;
        }
        CheckCancelled();
        const int limit = request.GetMaxRowCount();
        if (limit > 0 && rows >= limit)
            break;
    }
    if (rowHandler != nullptr)
        (request.*rowHandler)(rowState, storage, true);
}

void DBMSHandler::ParseTableName() {
    tableName = request.ParseTableName();
}

}  // namespace qxdbsqlengine
