// Fields of a result: one class for each kind of column.
#pragma once

#include <cstddef>
#include <memory>

#include "drivers/odbc/result_set.h"
#include "platform/qxdb/field.h"

namespace qxdrivers::odbc {

// A field that can also be read as text whatever its kind is.
class ResultField : public qxdb::Field {
  public:
    ResultField(std::shared_ptr<ResultSet> source, std::size_t ordinal)
        : result(std::move(source)), column(ordinal) {}

    std::string GetName() override { return Description().record->name; }
    qxdb::Column::BindType GetType() override { return Description().type.bindType; }
    qxdb::DataType::Direction GetDirection() override { return qxdb::DataType::DirectionOut; }
    bool IsNull() override { return !result->HasRow() || IsNullInRow(); }
    std::string AsString() override;

    // The value as text at the end of `out`, also one that does not fit the column; nothing for NULL. Numbers
    // come in the shortest form that reads back as the same, bytes as hexadecimal digits.
    virtual void AppendText(std::string& out) = 0;

  protected:
    virtual bool IsNullInRow() = 0;
    const ResultColumn& Description() const { return result->Columns()[column]; }
    [[noreturn]] void Misfit();

    const std::shared_ptr<ResultSet> result;
    const std::size_t column;
};

// The field of a column. It keeps the result alive, and reads as NULL when the result is over.
std::unique_ptr<ResultField> MakeResultField(const std::shared_ptr<ResultSet>& result, std::size_t column);

// The same for a caller that asks for nothing but text.
std::unique_ptr<qxdb::Field> MakeTextField(const std::shared_ptr<ResultSet>& result, std::size_t column);

}  // namespace qxdrivers::odbc
