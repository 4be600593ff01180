// What the declared type of a column says about its values.
#pragma once

#include <string>
#include <string_view>

#include "platform/qxdb/schema.h"

namespace qxdrivers::sqlite {

enum class TimePart { None, Date, DateTime, TimeOfDay };

struct DeclaredType {
    // BindUnknown: the declaration says nothing, the first row decides.
    qxdb::Column::BindType type = qxdb::Column::BindUnknown;
    int scale = 0;            // digits behind the point, or of a second
    bool scaleGiven = false;  // false: `scale` is the default
    bool binary = false;      // of a Lob
    bool unlimited = false;   // a text or bytes that the declaration sets no length to
    TimePart part = TimePart::None;
    std::string name;  // without what stands in parentheses
};

// The table in sqlite_driver.h. An empty text is BindUnknown.
DeclaredType ParseDeclaredType(std::string_view text);

// The type of a value by its storage class (SQLITE_INTEGER and so on).
DeclaredType TypeOfStorage(int storageClass);

// The format of a timestamp column with that many digits behind the second.
std::string TimestampFormatOf(TimePart part, int digits);

}  // namespace qxdrivers::sqlite
