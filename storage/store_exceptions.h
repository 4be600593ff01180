// The failures that the results store raises. Their texts are rows of the string table.
#pragma once

#include "platform/export.h"
#include "platform/qxutils/qx_exception.h"

namespace qxdbsqlengine {

// "Wrong Type Exception": an As..., Insert... or Set... operation that the column does not have. There is no
// conversion between column types; the one text route that every column has is AsString with a locale.
class QXSENG2_API BadTypeException : public qxutils::QXException {
  public:
    BadTypeException();
    ~BadTypeException() override;
};

// Throws a plain QXException, "The Data Container is not editable".
[[noreturn]] QXSENG2_API void ThrowDataEditException();
// "Invalid ResultSet Type Exception": a type outside 0 to 6.
[[noreturn]] QXSENG2_API void ThrowResultSetTypeException();
// "Invalid ResultSet Index Exception": fewer result sets of the type than the index asks for.
[[noreturn]] QXSENG2_API void ThrowResultSetIndexException();
// "Invalid ResultSet ID  Exception": no result set of the type at or below the id.
[[noreturn]] QXSENG2_API void ThrowResultSetIDException();

}  // namespace qxdbsqlengine
