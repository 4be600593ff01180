// Values of parameters, apart from any buffer.
#pragma once

#include <string>
#include <variant>

#include "drivers/odbc/column_types.h"
#include "platform/int64.h"
#include "platform/qxdb/buffer.h"
#include "platform/qxdb/decimal.h"
#include "platform/qxdb/driver.h"
#include "platform/qxdb/timestamp.h"

namespace qxdrivers::odbc {

// What a setter gave, or a server; the first alternative is NULL.
using ParameterValue = std::variant<std::monostate, __int64, double, std::string, qxdb::Decimal,
                                    qxdb::Timestamp, qxdb::DynBuffer>;

inline bool IsNullValue(const ParameterValue& value) {
    return std::holds_alternative<std::monostate>(value);
}

// Numbers in their shortest form, bytes as hexadecimal digits, NULL as nothing.
std::string TextOf(const ParameterValue& value);

// The value that a server wrote as text, in the form that a type asks for. A text that does not fit the type
// stays a text: nothing is changed silently. `bytes` are taken as they are for binary types.
ParameterValue ValueFromText(const std::string& text, const ValueType& type, const std::string& timeFormat);
ParameterValue ValueFromBytes(const std::string& bytes);

// The value in storage of the caller.
ParameterValue ValueFromStorage(qxdb::BoundStorage storage);
// Writes an output into storage of the caller. NULL becomes an empty text, an empty buffer or 0. Throws
// Errors for a value that the storage can't hold.
void StoreValue(const ParameterValue& value, qxdb::BoundStorage storage);

}  // namespace qxdrivers::odbc
