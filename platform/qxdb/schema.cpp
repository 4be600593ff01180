#include "platform/qxdb/schema.h"

#include <stdexcept>
#include <utility>

namespace qxdb {

Column::~Column() = default;

const std::string& ColumnRecord::GetName() const {
    return name;
}
Column::BindType ColumnRecord::GetType() const {
    return type;
}
DataType::Direction ColumnRecord::GetDirection() const {
    return direction;
}
int ColumnRecord::GetNativeType() const {
    return nativeType;
}
std::string ColumnRecord::GetNativeTypeName() const {
    return nativeTypeName;
}
int ColumnRecord::GetScale() const {
    return scale;
}
int ColumnRecord::GetComputeColumn() const {
    return computeColumn;
}
unsigned int ColumnRecord::GetLobFlags() const {
    return lobFlags;
}
std::string ColumnRecord::GetDateTimeFormat() const {
    return dateTimeFormat;
}

Schema::Schema() = default;
Schema::Schema(Columns list) : columns(std::make_shared<const Columns>(std::move(list))) {}
Schema::~Schema() = default;
Schema::Schema(const Schema&) = default;
Schema& Schema::operator=(const Schema&) = default;

unsigned int Schema::GetNumberColumns() const {
    return columns ? static_cast<unsigned int>(columns->size()) : 0;
}

const Column& Schema::operator[](unsigned int index) const {
    if (index >= GetNumberColumns()) {
        throw std::out_of_range("Schema: no column " + std::to_string(index) + " among " +
                                std::to_string(GetNumberColumns()));
    }
    return *(*columns)[index];
}

}  // namespace qxdb
