#include "drivers/odbc/catalog_text.h"

#include <algorithm>
#include <charconv>
#include <iterator>

namespace qxdrivers::odbc {

std::optional<std::string> ReadCatalogText(SQLHSTMT statement, SQLUSMALLINT column) {
    SQLWCHAR buffer[1024] = {};
    SQLLEN bytes = SQL_NULL_DATA;
    const SQLRETURN code = SQLGetData(statement, column, SQL_C_WCHAR, buffer, sizeof buffer, &bytes);
    if (!SQL_SUCCEEDED(code) || bytes == SQL_NULL_DATA) {
        return std::nullopt;
    }
    constexpr std::size_t most = std::size(decltype(buffer){}) - 1;
    const std::size_t units = bytes < 0 ? most : static_cast<std::size_t>(bytes) / sizeof(SQLWCHAR);
    std::string text;
    AppendTerminated(buffer, std::min(units, most), text);
    return text;
}

__int64 ReadCatalogNumber(SQLHSTMT statement, SQLUSMALLINT column, __int64 otherwise) {
    const std::string text = ReadCatalogText(statement, column).value_or("");
    __int64 number = otherwise;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

std::string ReadColumnText(SQLHSTMT statement, SQLUSMALLINT column, SQLUSMALLINT attribute) {
    SQLWCHAR value[256] = {};
    SQLSMALLINT bytes = 0;
    std::string text;
    if (SQL_SUCCEEDED(SQLColAttributeW(statement, column, attribute, value,
                                       static_cast<SQLSMALLINT>(sizeof value), &bytes, nullptr))) {
        const auto length = static_cast<std::size_t>(std::max<SQLSMALLINT>(bytes, 0)) / sizeof(SQLWCHAR);
        AppendTerminated(value, std::min(length, std::size(value) - 1), text);
    }
    return text;
}

}  // namespace qxdrivers::odbc
