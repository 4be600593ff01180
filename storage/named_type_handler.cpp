#include "storage/named_type_handler.h"

#include "platform/qxdb/bind_value.h"
#include "storage/data_storage.h"

namespace qxdbsqlengine {

namespace {

constexpr char NullText[] = "NULL";
constexpr char FirstQuote[] = "'";
constexpr char LastQuote[] = "'";
constexpr char LineEnd[] = "\r\n";

}  // namespace

NamedTypeHandler::~NamedTypeHandler() = default;

void NamedTypeHandler::Insert() {
    if (field->IsNull()) {
        InsertNull();
        return;
    }
    FillCursor(*field);
    std::string text;
    BuildText(*cursor, text);
    storage->InsertString(resultSet, column, text);
}

void NamedTypeHandler::FillCursor(qxdb::Field& source) {
    cursor = &source.GetCursor();
}

void NamedTypeHandler::BuildText(qxdb::Cursor& nested, std::string& text) {
    qxdb::BindValue binding = nested.Bind();
    qxdb::Fields fields(binding, false, qxdb::ExclusionIndex(), false, nullptr);
    const unsigned int count = fields.GetFieldCount();
    const bool hasLines = count > 1;
    text += "(";
    int rows = 0;
    for (; nested.Fetch(qxdb::Cursor::DirectionNext, 1); ++rows) {
        if (rows == 1 && hasLines)
            text += LineEnd;  // only now is it known that the first row is not the only one
        if (rows > 0)
            text += ",";
        if (hasLines)
            text += "(";
        for (unsigned int i = 0; i < count; ++i) {
            qxdb::Field& value = fields[i];
            if (value.IsNull()) {
                text += i > 0 ? "," : "";
                text += NullText;
                continue;
            }
            text += i > 0 ? ", " : "";
            if (value.GetType() == qxdb::Column::BindCursor)
                BuildText(value.GetCursor(), text);
            else
                AppendValue(value, text);
        }
        if (hasLines)
            text += ")";
        if (rows > 0 && hasLines)
            text += LineEnd;
    }
    if (rows == 0)
        text += NullText;
    text += ")";
    text += LineEnd;
}

void NamedTypeHandler::AppendValue(qxdb::Field& value, std::string& text) {
    const bool isText = value.GetType() == qxdb::Column::BindString;
    text += isText ? FirstQuote : "";
    text += value.AsString();
    text += isText ? LastQuote : "";
}

}  // namespace qxdbsqlengine
