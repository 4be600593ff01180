// The table by which a derived request replaces the storing of columns and rows.
#pragma once

#include <map>
#include <string>
#include <variant>
#include <vector>

#include "engine/request.h"
#include "platform/export.h"
#include "platform/int64.h"
#include "platform/qxdb/buffer.h"
#include "platform/qxdb/decimal.h"
#include "platform/qxdb/timestamp.h"
#include "storage/column_definition.h"

namespace qxdb {
class Field;
class Fields;
}  // namespace qxdb

namespace qxdbsqlengine {

class DataStorage;

// Gives the cell of a field that is not null. `Value` is TypeWithNull<T>, or std::string for a large object.
template <class Value>
using FieldHandler = Value (Request::*)(qxdb::Field&, qxdb::Fields&);

// Gives the cell of a field that is null.
template <class Value>
using NullFieldHandler = Value (Request::*)(qxdb::Fields&);

// The handlers of one column. A plain value.
struct QXSENG2_API HandleColumnStruct {
    // Empty, or a pointer to a member function of the kind that `Pointer` makes of each value type.
    template <template <class> class Pointer>
    using AnyPointer =
        std::variant<std::monostate, Pointer<TypeWithNull<std::string>>, Pointer<TypeWithNull<short>>,
                     Pointer<TypeWithNull<int>>, Pointer<TypeWithNull<long>>, Pointer<TypeWithNull<__int64>>,
                     Pointer<TypeWithNull<float>>, Pointer<TypeWithNull<double>>,
                     Pointer<TypeWithNull<qxdb::Decimal>>, Pointer<TypeWithNull<qxdb::DynBuffer>>,
                     Pointer<TypeWithNull<qxdb::Timestamp>>, Pointer<std::string>>;

    // 0: no handler. 1 string, 2 short, 3 int, 4 long, 5 64-bit, 6 float, 7 double, 8 decimal, 9 binary,
    // 10 timestamp: the column gets the EnumDataType below that number by one. 11 large object: the column
    // keeps its type.
    int type = 0;
    AnyPointer<FieldHandler> handler;            // for values
    AnyPointer<NullFieldHandler> secondHandler;  // for nulls; mostly empty

    // The handler if it is there and of this value type, else null.
    template <class Value>
    FieldHandler<Value> GetHandler() const {
        const auto* const found = std::get_if<FieldHandler<Value>>(&handler);
        return found == nullptr ? nullptr : *found;
    }
    template <class Value>
    NullFieldHandler<Value> GetSecondHandler() const {
        const auto* const found = std::get_if<NullFieldHandler<Value>>(&secondHandler);
        return found == nullptr ? nullptr : *found;
    }
};

// Called for each row, with the row in `fields`: true when the handler has dealt with the row itself.
using FieldsHandler = bool (Request::*)(DataStorage&, qxdb::Fields& fields);
// Called after each stored row with what it returned last (0 at first), and once more with `isFinal` at the
// end.
using RowHandler = int (Request::*)(int state, DataStorage&, bool isFinal);

// When progress on a growing result set is told: each of the first rows, then every so many. Rows.
struct RowNotificationHandler {
    int initialInterval = 25;
    int interval = 200;  // not 0
    bool enabled = true;
};

// Base of the requests that run SQL. Handlers are registered before a run and read on the engine thread
// during it; there is no lock. They are member functions of the derived request and are called on it.
//
// Result sets are numbered logically here: from 0, only those that come from the statement, without messages,
// compute rows and parameters. Columns are counted from 0. Only the row notification handlers are filled by
// the engine itself.
class QXSENG2_API FieldHandlers {
  public:
    using HandleTypesMap = std::map<int, std::vector<HandleColumnStruct>>;
    using FieldsHandlerMap = std::map<int, FieldsHandler>;
    using RowHandlerMap = std::map<int, RowHandler>;
    using RowNotificationHandlerMap = std::map<int, RowNotificationHandler>;

    FieldHandlers();
    FieldHandlers(const FieldHandlers&) = delete;
    FieldHandlers& operator=(const FieldHandlers&) = delete;
    virtual ~FieldHandlers();

    // Each registers the handlers of one column of one result set; what was there before is replaced, but a
    // missing second handler leaves an earlier one in place. `Derived` is a request; its handlers must be
    // called on an object of that class.
    template <class Derived>
    void AddStringHandler(int logicalId, int column,
                          TypeWithNull<std::string> (Derived::*handler)(qxdb::Field&, qxdb::Fields&),
                          TypeWithNull<std::string> (Derived::*secondHandler)(qxdb::Fields&) = nullptr) {
        AddStringHandlerIntl(logicalId, column, ToRequest(handler), ToRequest(secondHandler));
    }
    template <class Derived>
    void AddShortHandler(int logicalId, int column,
                         TypeWithNull<short> (Derived::*handler)(qxdb::Field&, qxdb::Fields&),
                         TypeWithNull<short> (Derived::*secondHandler)(qxdb::Fields&) = nullptr) {
        AddShortHandlerIntl(logicalId, column, ToRequest(handler), ToRequest(secondHandler));
    }
    template <class Derived>
    void AddIntHandler(int logicalId, int column,
                       TypeWithNull<int> (Derived::*handler)(qxdb::Field&, qxdb::Fields&),
                       TypeWithNull<int> (Derived::*secondHandler)(qxdb::Fields&) = nullptr) {
        AddIntHandlerIntl(logicalId, column, ToRequest(handler), ToRequest(secondHandler));
    }
    template <class Derived>
    void AddLongHandler(int logicalId, int column,
                        TypeWithNull<long> (Derived::*handler)(qxdb::Field&, qxdb::Fields&),
                        TypeWithNull<long> (Derived::*secondHandler)(qxdb::Fields&) = nullptr) {
        AddLongHandlerIntl(logicalId, column, ToRequest(handler), ToRequest(secondHandler));
    }
    template <class Derived>
    void AddInt64Handler(int logicalId, int column,
                         TypeWithNull<__int64> (Derived::*handler)(qxdb::Field&, qxdb::Fields&),
                         TypeWithNull<__int64> (Derived::*secondHandler)(qxdb::Fields&) = nullptr) {
        AddInt64HandlerIntl(logicalId, column, ToRequest(handler), ToRequest(secondHandler));
    }
    template <class Derived>
    void AddFloatHandler(int logicalId, int column,
                         TypeWithNull<float> (Derived::*handler)(qxdb::Field&, qxdb::Fields&),
                         TypeWithNull<float> (Derived::*secondHandler)(qxdb::Fields&) = nullptr) {
        AddFloatHandlerIntl(logicalId, column, ToRequest(handler), ToRequest(secondHandler));
    }
    template <class Derived>
    void AddDoubleHandler(int logicalId, int column,
                          TypeWithNull<double> (Derived::*handler)(qxdb::Field&, qxdb::Fields&),
                          TypeWithNull<double> (Derived::*secondHandler)(qxdb::Fields&) = nullptr) {
        AddDoubleHandlerIntl(logicalId, column, ToRequest(handler), ToRequest(secondHandler));
    }
    template <class Derived>
    void AddDecimalHandler(int logicalId, int column,
                           TypeWithNull<qxdb::Decimal> (Derived::*handler)(qxdb::Field&, qxdb::Fields&),
                           TypeWithNull<qxdb::Decimal> (Derived::*secondHandler)(qxdb::Fields&) = nullptr) {
        AddDecimalHandlerIntl(logicalId, column, ToRequest(handler), ToRequest(secondHandler));
    }
    template <class Derived>
    void AddBinaryHandler(int logicalId, int column,
                          TypeWithNull<qxdb::DynBuffer> (Derived::*handler)(qxdb::Field&, qxdb::Fields&),
                          TypeWithNull<qxdb::DynBuffer> (Derived::*secondHandler)(qxdb::Fields&) = nullptr) {
        AddBinaryHandlerIntl(logicalId, column, ToRequest(handler), ToRequest(secondHandler));
    }
    template <class Derived>
    void AddTimestampHandler(
        int logicalId, int column,
        TypeWithNull<qxdb::Timestamp> (Derived::*handler)(qxdb::Field&, qxdb::Fields&),
        TypeWithNull<qxdb::Timestamp> (Derived::*secondHandler)(qxdb::Fields&) = nullptr) {
        AddTimestampHandlerIntl(logicalId, column, ToRequest(handler), ToRequest(secondHandler));
    }
    template <class Derived>
    void AddLobHandler(int logicalId, int column,
                       std::string (Derived::*handler)(qxdb::Field&, qxdb::Fields&),
                       std::string (Derived::*secondHandler)(qxdb::Fields&) = nullptr) {
        AddLobHandlerIntl(logicalId, column, ToRequest(handler), ToRequest(secondHandler));
    }
    template <class Derived>
    void AddFieldsHandler(int logicalId, bool (Derived::*handler)(DataStorage&, qxdb::Fields&)) {
        AddFieldsHandlerIntl(logicalId, static_cast<FieldsHandler>(handler));
    }
    // Rows then go to a store of their own first, and the handler puts what it wants into the result set.
    template <class Derived>
    void AddRowHandler(int logicalId, int (Derived::*handler)(int, DataStorage&, bool)) {
        AddRowHandlerIntl(logicalId, static_cast<RowHandler>(handler));
    }
    void AddRowNotificationHandler(int logicalId, const RowNotificationHandler& handler) {
        AddRowNotificationHandlerIntl(logicalId, handler);
    }

    HandleTypesMap& GetHandleTypesMap() { return handleTypes; }
    FieldsHandlerMap& GetFieldsHandlerMap() { return fieldsHandlers; }
    RowHandlerMap& GetRowHandlerMap() { return rowHandlers; }
    RowNotificationHandlerMap& GetRowNotificationHandlerMap() { return rowNotificationHandlers; }
    // For each fetched field its column, or negative to leave the field out; used when the flag is set.
    std::vector<int>& GetColumnReorder() { return columnReorder; }
    bool GetDoColumnReorder() const { return doColumnReorder; }
    void SetDoColumnReorder(bool reorder) { doColumnReorder = reorder; }

  private:
    template <class Value, class Derived>
    static FieldHandler<Value> ToRequest(Value (Derived::*handler)(qxdb::Field&, qxdb::Fields&)) {
        return static_cast<FieldHandler<Value>>(handler);
    }
    template <class Value, class Derived>
    static NullFieldHandler<Value> ToRequest(Value (Derived::*handler)(qxdb::Fields&)) {
        return static_cast<NullFieldHandler<Value>>(handler);
    }

    template <class Value>
    void AddHandler(int type, int logicalId, int column, FieldHandler<Value> handler,
                    NullFieldHandler<Value> secondHandler);

    void AddStringHandlerIntl(int logicalId, int column, FieldHandler<TypeWithNull<std::string>> handler,
                              NullFieldHandler<TypeWithNull<std::string>> secondHandler);
    void AddShortHandlerIntl(int logicalId, int column, FieldHandler<TypeWithNull<short>> handler,
                             NullFieldHandler<TypeWithNull<short>> secondHandler);
    void AddIntHandlerIntl(int logicalId, int column, FieldHandler<TypeWithNull<int>> handler,
                           NullFieldHandler<TypeWithNull<int>> secondHandler);
    void AddLongHandlerIntl(int logicalId, int column, FieldHandler<TypeWithNull<long>> handler,
                            NullFieldHandler<TypeWithNull<long>> secondHandler);
    void AddInt64HandlerIntl(int logicalId, int column, FieldHandler<TypeWithNull<__int64>> handler,
                             NullFieldHandler<TypeWithNull<__int64>> secondHandler);
    void AddFloatHandlerIntl(int logicalId, int column, FieldHandler<TypeWithNull<float>> handler,
                             NullFieldHandler<TypeWithNull<float>> secondHandler);
    void AddDoubleHandlerIntl(int logicalId, int column, FieldHandler<TypeWithNull<double>> handler,
                              NullFieldHandler<TypeWithNull<double>> secondHandler);
    void AddDecimalHandlerIntl(int logicalId, int column, FieldHandler<TypeWithNull<qxdb::Decimal>> handler,
                               NullFieldHandler<TypeWithNull<qxdb::Decimal>> secondHandler);
    void AddBinaryHandlerIntl(int logicalId, int column, FieldHandler<TypeWithNull<qxdb::DynBuffer>> handler,
                              NullFieldHandler<TypeWithNull<qxdb::DynBuffer>> secondHandler);
    void AddTimestampHandlerIntl(int logicalId, int column,
                                 FieldHandler<TypeWithNull<qxdb::Timestamp>> handler,
                                 NullFieldHandler<TypeWithNull<qxdb::Timestamp>> secondHandler);
    void AddLobHandlerIntl(int logicalId, int column, FieldHandler<std::string> handler,
                           NullFieldHandler<std::string> secondHandler);
    void AddFieldsHandlerIntl(int logicalId, FieldsHandler handler);
    void AddRowHandlerIntl(int logicalId, RowHandler handler);
    void AddRowNotificationHandlerIntl(int logicalId, const RowNotificationHandler& handler);

    HandleTypesMap handleTypes;
    FieldsHandlerMap fieldsHandlers;
    RowHandlerMap rowHandlers;
    RowNotificationHandlerMap rowNotificationHandlers;
    std::vector<int> columnReorder;
    bool doColumnReorder = false;
};

}  // namespace qxdbsqlengine
