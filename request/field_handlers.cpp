#include "request/field_handlers.h"

namespace qxdbsqlengine {

namespace {

// Numbers of HandleColumnStruct::type.
enum HandlerType : int {
    StringHandler = 1,
    ShortHandler = 2,
    IntHandler = 3,
    LongHandler = 4,
    Int64Handler = 5,
    FloatHandler = 6,
    DoubleHandler = 7,
    DecimalHandler = 8,
    BinaryHandler = 9,
    TimestampHandler = 10,
    LobHandler = 11
};

}  // namespace

FieldHandlers::FieldHandlers() = default;
FieldHandlers::~FieldHandlers() = default;

template <class Value>
void FieldHandlers::AddHandler(int type, int logicalId, int column, FieldHandler<Value> handler,
                               NullFieldHandler<Value> secondHandler) {
    std::vector<HandleColumnStruct>& columns = handleTypes[logicalId];
    const std::size_t index = static_cast<std::size_t>(column);
    if (columns.size() <= index)
        columns.resize(index + 1);
    columns[index].type = type;
    columns[index].handler = handler;
    if (secondHandler != nullptr)
        columns[index].secondHandler = secondHandler;
}

void FieldHandlers::AddStringHandlerIntl(int logicalId, int column,
                                         FieldHandler<TypeWithNull<std::string>> handler,
                                         NullFieldHandler<TypeWithNull<std::string>> secondHandler) {
    AddHandler(StringHandler, logicalId, column, handler, secondHandler);
}

void FieldHandlers::AddShortHandlerIntl(int logicalId, int column, FieldHandler<TypeWithNull<short>> handler,
                                        NullFieldHandler<TypeWithNull<short>> secondHandler) {
    AddHandler(ShortHandler, logicalId, column, handler, secondHandler);
}

void FieldHandlers::AddIntHandlerIntl(int logicalId, int column, FieldHandler<TypeWithNull<int>> handler,
                                      NullFieldHandler<TypeWithNull<int>> secondHandler) {
    AddHandler(IntHandler, logicalId, column, handler, secondHandler);
}

void FieldHandlers::AddLongHandlerIntl(int logicalId, int column, FieldHandler<TypeWithNull<long>> handler,
                                       NullFieldHandler<TypeWithNull<long>> secondHandler) {
    AddHandler(LongHandler, logicalId, column, handler, secondHandler);
}

void FieldHandlers::AddInt64HandlerIntl(int logicalId, int column,
                                        FieldHandler<TypeWithNull<__int64>> handler,
                                        NullFieldHandler<TypeWithNull<__int64>> secondHandler) {
    AddHandler(Int64Handler, logicalId, column, handler, secondHandler);
}

void FieldHandlers::AddFloatHandlerIntl(int logicalId, int column, FieldHandler<TypeWithNull<float>> handler,
                                        NullFieldHandler<TypeWithNull<float>> secondHandler) {
    AddHandler(FloatHandler, logicalId, column, handler, secondHandler);
}

void FieldHandlers::AddDoubleHandlerIntl(int logicalId, int column,
                                         FieldHandler<TypeWithNull<double>> handler,
                                         NullFieldHandler<TypeWithNull<double>> secondHandler) {
    AddHandler(DoubleHandler, logicalId, column, handler, secondHandler);
}

void FieldHandlers::AddDecimalHandlerIntl(int logicalId, int column,
                                          FieldHandler<TypeWithNull<qxdb::Decimal>> handler,
                                          NullFieldHandler<TypeWithNull<qxdb::Decimal>> secondHandler) {
    AddHandler(DecimalHandler, logicalId, column, handler, secondHandler);
}

void FieldHandlers::AddBinaryHandlerIntl(int logicalId, int column,
                                         FieldHandler<TypeWithNull<qxdb::DynBuffer>> handler,
                                         NullFieldHandler<TypeWithNull<qxdb::DynBuffer>> secondHandler) {
    AddHandler(BinaryHandler, logicalId, column, handler, secondHandler);
}

void FieldHandlers::AddTimestampHandlerIntl(int logicalId, int column,
                                            FieldHandler<TypeWithNull<qxdb::Timestamp>> handler,
                                            NullFieldHandler<TypeWithNull<qxdb::Timestamp>> secondHandler) {
    AddHandler(TimestampHandler, logicalId, column, handler, secondHandler);
}

void FieldHandlers::AddLobHandlerIntl(int logicalId, int column, FieldHandler<std::string> handler,
                                      NullFieldHandler<std::string> secondHandler) {
    AddHandler(LobHandler, logicalId, column, handler, secondHandler);
}

void FieldHandlers::AddFieldsHandlerIntl(int logicalId, FieldsHandler handler) {
    fieldsHandlers[logicalId] = handler;
}

void FieldHandlers::AddRowHandlerIntl(int logicalId, RowHandler handler) {
    rowHandlers[logicalId] = handler;
}

void FieldHandlers::AddRowNotificationHandlerIntl(int logicalId, const RowNotificationHandler& handler) {
    rowNotificationHandlers[logicalId] = handler;
}

}  // namespace qxdbsqlengine
