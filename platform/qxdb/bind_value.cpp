#include "platform/qxdb/bind_value.h"

#include <utility>

#include "platform/qxdb/driver.h"
#include "platform/qxdb/null_handle.h"

namespace qxdb {

BindValue::BindValue() = default;
BindValue::BindValue(std::shared_ptr<BindValueImpl> target) : impl(std::move(target)) {}
BindValue::~BindValue() = default;
BindValue::BindValue(const BindValue&) = default;
BindValue& BindValue::operator=(const BindValue&) = default;

Schema BindValue::GetSchema() {
    return GetImpl().GetSchema();
}

void BindValue::setIsUnicodeInstance(bool isUnicode) {
    GetImpl().SetIsUnicodeInstance(isUnicode);
}

unsigned int BindValue::GetNextBind() {
    return GetImpl().GetNextBind();
}

void BindValue::Bind(DataType::Direction direction, unsigned int ordinal, short& value, long* indicator) {
    GetImpl().Bind(direction, ordinal, &value, indicator);
}

void BindValue::Bind(DataType::Direction direction, unsigned int ordinal, int& value, long* indicator) {
    GetImpl().Bind(direction, ordinal, &value, indicator);
}

void BindValue::Bind(DataType::Direction direction, unsigned int ordinal, long& value, long* indicator) {
    GetImpl().Bind(direction, ordinal, &value, indicator);
}

void BindValue::Bind(DataType::Direction direction, unsigned int ordinal, __int64& value, long* indicator) {
    GetImpl().Bind(direction, ordinal, &value, indicator);
}

void BindValue::Bind(DataType::Direction direction, unsigned int ordinal, float& value, long* indicator) {
    GetImpl().Bind(direction, ordinal, &value, indicator);
}

void BindValue::Bind(DataType::Direction direction, unsigned int ordinal, double& value, long* indicator) {
    GetImpl().Bind(direction, ordinal, &value, indicator);
}

void BindValue::Bind(DataType::Direction direction, unsigned int ordinal, BufferBase& value,
                     long* indicator) {
    GetImpl().Bind(direction, ordinal, &value, indicator);
}

void BindValue::Bind(DataType::Direction direction, unsigned int ordinal, Timestamp& value, long* indicator) {
    GetImpl().Bind(direction, ordinal, &value, indicator);
}

void BindValue::Bind(DataType::Direction direction, unsigned int ordinal, BasicFixedString<char>& value,
                     long* indicator) {
    GetImpl().Bind(direction, ordinal, value, indicator);
}

void BindValue::Bind(DataType::Direction direction, unsigned int ordinal, FixedDecimal& value,
                     long* indicator) {
    GetImpl().Bind(direction, ordinal, value, indicator);
}

BindValueImpl& BindValue::GetImpl() {
    return Target(impl, "binding");
}

}  // namespace qxdb
