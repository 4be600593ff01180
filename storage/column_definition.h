// The vocabulary that everybody who talks to the results store shares: types of columns, the record that
// announces a column, a value with a null flag, the stored form of a timestamp, and one sort key.
//
// Plain values without locks: one thread at a time per object.
#pragma once

#include <memory>
#include <string>
#include <type_traits>
#include <utility>

#include "platform/export.h"
#include "platform/int64.h"
#include "platform/qxdb/lob_locator.h"
#include "platform/qxdb/timestamp.h"

namespace qxdbsqlengine {

// The logical type of a stored column. The numbers are fixed.
enum EnumDataType : int {
    DataTypeString = 0,
    DataTypeShort = 1,
    DataTypeInt = 2,
    DataTypeLong = 3,
    DataTypeInt64 = 4,
    DataTypeFloat = 5,
    DataTypeDouble = 6,
    DataTypeDecimal = 7,
    DataTypeBinary = 8,
    DataTypeTimestamp = 9,
    DataTypeLob = 10,
    DataTypeNamedType = 11
};

// How a viewer aligns a column: numbers to the right, all others to the left.
enum AlignHint : int { AlignLeft = 0, AlignRight = 1 };

// One column of a result set that is about to begin. A vector of them is what AddResultSet takes.
class QXSENG2_API ColumnDefinition {
  public:
    ColumnDefinition();
    // A copy gets a clone of the locator, never the same object.
    ColumnDefinition(const ColumnDefinition& other);
    ColumnDefinition(ColumnDefinition&& other) noexcept;
    ColumnDefinition& operator=(const ColumnDefinition& other);
    ColumnDefinition& operator=(ColumnDefinition&& other) noexcept;
    ~ColumnDefinition();

    // Back to the state of a new definition; drops the locator.
    void Reset();

    EnumDataType dataType = DataTypeString;
    // Decimal: digits behind the point. Float, double: display precision. LOB: stream size in bytes. Not
    // negative.
    int precision = 0;
    std::string columnLabel;
    std::string timestampFormat;  // empty: the default format of Timestamp
    std::unique_ptr<qxdb::LobLocator> lobLocator;
    bool useLobLocators = false;
    bool useSpecificLobLocatorImpl = false;
    int nativeDataType = -1;  // the server's type number, -1 when unknown
    std::string nativeDataTypeName;
    bool fixedLengthString = false;
};

// A value that may be null; null when default-constructed. What a custom field handler returns.
template <class T>
class TypeWithNull {
  public:
    TypeWithNull() = default;
    TypeWithNull(T newValue) : value(std::move(newValue)), null(false) {}  // NOLINT: a plain value converts

    bool IsNull() const { return null; }
    // The default value of T while null.
    const T& GetValue() const { return value; }
    void SetValue(T newValue) {
        value = std::move(newValue);
        null = false;
    }
    void SetNull() {
        value = T();
        null = true;
    }

  private:
    T value = T();
    bool null = true;
};

// The fixed 16-byte form in which timestamps lie in the store's pages. The layout is a page format: do not
// reorder. A format text plays no part in it.
struct ResultsTimestamp {
    int year = 0;
    short month = 0;
    short day = 0;
    short hour = 0;
    unsigned char minute = 0;
    unsigned char second = 0;
    int fraction = 0;  // nanoseconds

    constexpr ResultsTimestamp() = default;
    explicit ResultsTimestamp(const qxdb::Timestamp& source);

    // Writes the seven fields; the target keeps its format.
    void AsTimestamp(qxdb::Timestamp& target) const;
};
static_assert(sizeof(ResultsTimestamp) == 16 && std::is_trivially_copyable<ResultsTimestamp>::value,
              "page format");

// Negative, 0 or positive: year, month, day, hour, minute, second, fraction in this order.
inline int Compare(const ResultsTimestamp& a, const ResultsTimestamp& b) {
    if (a.year != b.year)
        return a.year < b.year ? -1 : 1;
    if (a.month != b.month)
        return a.month < b.month ? -1 : 1;
    if (a.day != b.day)
        return a.day < b.day ? -1 : 1;
    if (a.hour != b.hour)
        return a.hour < b.hour ? -1 : 1;
    if (a.minute != b.minute)
        return a.minute < b.minute ? -1 : 1;
    if (a.second != b.second)
        return a.second < b.second ? -1 : 1;
    if (a.fraction != b.fraction)
        return a.fraction < b.fraction ? -1 : 1;
    return 0;
}
inline bool operator<(const ResultsTimestamp& a, const ResultsTimestamp& b) {
    return Compare(a, b) < 0;
}
inline bool operator>(const ResultsTimestamp& a, const ResultsTimestamp& b) {
    return Compare(a, b) > 0;
}
inline bool operator<=(const ResultsTimestamp& a, const ResultsTimestamp& b) {
    return Compare(a, b) <= 0;
}
inline bool operator>=(const ResultsTimestamp& a, const ResultsTimestamp& b) {
    return Compare(a, b) >= 0;
}
inline bool operator==(const ResultsTimestamp& a, const ResultsTimestamp& b) {
    return Compare(a, b) == 0;
}
inline bool operator!=(const ResultsTimestamp& a, const ResultsTimestamp& b) {
    return Compare(a, b) != 0;
}

// One sort key; a sort takes a vector of them, most significant first.
struct DataSort {
    DataSort() = default;
    DataSort(int sortColumn, bool sortAscending) : column(sortColumn), ascending(sortAscending) {}
    int column = 0;  // 0-based
    bool ascending = true;
};

}  // namespace qxdbsqlengine
