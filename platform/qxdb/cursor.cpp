#include "platform/qxdb/cursor.h"

#include <utility>

#include "platform/qxdb/driver.h"
#include "platform/qxdb/null_handle.h"

namespace qxdb {

Cursor::Cursor() = default;
Cursor::Cursor(std::shared_ptr<CursorImpl> target) : impl(std::move(target)) {}
Cursor::~Cursor() = default;
Cursor::Cursor(const Cursor&) = default;
Cursor& Cursor::operator=(const Cursor&) = default;

bool Cursor::Fetch(Direction, unsigned int) {
    return Target(impl, "cursor").Fetch();
}

BindValue Cursor::Bind() {
    return BindValue(Target(impl, "cursor").Bind());
}

bool Cursor::IsComputeResultSet() {
    return Target(impl, "cursor").IsComputeResultSet();
}

unsigned int Cursor::GetRowCount() {
    return Target(impl, "cursor").GetRowCount();
}

LobLocator Cursor::GetLocator(unsigned int fieldIndex, const std::string& tableName,
                              const std::string& sqlText, const std::string& whereClause,
                              bool useSpecificImpl) {
    return Target(impl, "cursor").GetLocator(fieldIndex, tableName, sqlText, whereClause, useSpecificImpl);
}

}  // namespace qxdb
