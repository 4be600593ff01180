#include "storage/fixed_columns.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <exception>
#include <type_traits>

#include "platform/os/debug_output.h"
#include "storage/number_text.h"

namespace qxdbsqlengine {

namespace {

const int kDefaultFloatPrecision = 7;
const int kDefaultDoublePrecision = 15;

// A NaN is neither greater nor equal, so it counts as less.
template <class T>
int CompareValues(const T& a, const T& b) {
    return a > b ? 1 : a == b ? 0 : -1;
}

// The sort key of a value: Width bytes of `first` and `second`, left-justified.
struct FixedKey {
    std::uint64_t first = 0;
    std::uint64_t second = 0;
};

template <class T>
struct KeyTraits {
    static constexpr std::size_t Width = sizeof(T) <= sizeof(int) ? sizeof(int) : sizeof(__int64);
    static FixedKey Make(T value) {
        using Whole = std::conditional_t<sizeof(T) <= sizeof(int), int, __int64>;
        return {SortKeyOf(static_cast<Whole>(value)), 0};
    }
};

template <>
struct KeyTraits<float> {
    static constexpr std::size_t Width = sizeof(double);
    static FixedKey Make(float value) { return {SortKeyOf(static_cast<double>(value)), 0}; }
};

template <>
struct KeyTraits<double> {
    static constexpr std::size_t Width = sizeof(double);
    static FixedKey Make(double value) { return {SortKeyOf(value), 0}; }
};

template <>
struct KeyTraits<ResultsTimestamp> {
    static constexpr std::size_t Width = sizeof(ResultsTimestamp);
    static FixedKey Make(const ResultsTimestamp& value) {
        return {SortKeyOf(value.year) | (Biased(value.month) << 16) | Biased(value.day),
                (Biased(value.hour) << 48) | (static_cast<std::uint64_t>(value.minute) << 40) |
                    (static_cast<std::uint64_t>(value.second) << 32) | (SortKeyOf(value.fraction) >> 32)};
    }

  private:
    static std::uint64_t Biased(short value) { return static_cast<std::uint16_t>(value) ^ 0x8000U; }
};

// The 16 bytes from `depth` on; zeros behind the end.
FixedKey From(const FixedKey& key, std::size_t depth) {
    if (depth == 0)
        return key;
    if (depth >= 16)
        return {};
    if (depth >= 8)
        return {key.second << (8 * (depth - 8)), 0};
    return {(key.first << (8 * depth)) | (key.second >> (64 - 8 * depth)), key.second << (8 * depth)};
}

}  // namespace

template <class T, int N>
int SpecificStorageType<T, N>::CompareItems(int row1, int row2, int option) {
    return CompareValues(GetValue(row1), GetValue(row2));
}

template <class T, int N>
void SpecificStorageType<T, N>::PutSortKeys(SortKeySink& sink) {
    const std::size_t depth = sink.Depth();
    for (std::size_t i = 0; i < sink.Count(); ++i) {
        const FixedKey key = From(KeyTraits<T>::Make(GetValue(sink.Row(i))), depth);
        sink.Put(i, key.first, static_cast<std::uint32_t>(key.second >> 32));
    }
}

template <class T, int N>
void SpecificStorageType<T, N>::AppendSortKey(int row, SortKeyPosition& position, std::size_t maxBytes,
                                              std::string& out) {
    const std::size_t width = KeyTraits<T>::Width;
    const std::size_t depth = static_cast<std::size_t>(position.offset) + position.skip;
    if (depth >= width)
        return;
    const FixedKey key = KeyTraits<T>::Make(GetValue(row));
    const std::size_t end = std::min(width, depth + maxBytes);
    for (std::size_t i = depth; i < end; ++i) {
        const std::uint64_t half = i < 8 ? key.first : key.second;
        out += static_cast<char>(half >> (56 - 8 * (i % 8)));
    }
    position.skip += end - depth;
}

template <class T, int N>
int SpecificStorageType<T, N>::MeasureLimits(const std::locale& locale, LargestColumnItemCallback& callback) {
    if (items.Size() == 0)
        return 0;
    int least = 0;
    int greatest = 0;
    T leastValue = items.GetItem(0);
    T greatestValue = leastValue;
    int count = 0;
    for (int row = 0; row < items.Size(); row += count) {
        const T* values = items.Span(row, count);
        for (int i = 0; i < count; ++i) {
            if (values[i] < leastValue) {
                leastValue = values[i];
                least = row + i;
            } else if (values[i] > greatestValue) {
                greatestValue = values[i];
                greatest = row + i;
            }
        }
    }
    const int width = callback.GetItemWidth(AsString(least, locale));
    return std::max(width, callback.GetItemWidth(AsString(greatest, locale)));
}

template class SpecificStorageType<short, DataTypeShort>;
template class SpecificStorageType<int, DataTypeInt>;
template class SpecificStorageType<long, DataTypeLong>;
template class SpecificStorageType<__int64, DataTypeInt64>;
template class SpecificStorageType<float, DataTypeFloat>;
template class SpecificStorageType<double, DataTypeDouble>;
template class SpecificStorageType<ResultsTimestamp, DataTypeTimestamp>;

ShortStorage::~ShortStorage() = default;

std::string ShortStorage::AsString(int row, const std::locale& locale) {
    std::string text;
    AppendString(row, CellFormat(locale), text);
    return text;
}

void ShortStorage::InsertString(const std::string& value) {
    short number = 0;
    ParseNumber(value, number);
    InsertShort(number);
}

int ShortStorage::GetLargestColumnSize(std::locale& locale, LargestColumnItemCallback& callback) {
    return MeasureLimits(locale, callback);
}

void ShortStorage::AppendString(int row, const CellFormat& format, std::string& out) {
    format.AppendInteger(GetValue(row), out);
}

IntStorage::~IntStorage() = default;

std::string IntStorage::AsString(int row, const std::locale& locale) {
    std::string text;
    AppendString(row, CellFormat(locale), text);
    return text;
}

void IntStorage::InsertString(const std::string& value) {
    int number = 0;
    ParseNumber(value, number);
    InsertInt(number);
}

int IntStorage::GetLargestColumnSize(std::locale& locale, LargestColumnItemCallback& callback) {
    return MeasureLimits(locale, callback);
}

void IntStorage::AppendString(int row, const CellFormat& format, std::string& out) {
    format.AppendInteger(GetValue(row), out);
}

LongStorage::~LongStorage() = default;

std::string LongStorage::AsString(int row, const std::locale& locale) {
    std::string text;
    AppendString(row, CellFormat(locale), text);
    return text;
}

void LongStorage::InsertString(const std::string& value) {
    long number = 0;
    ParseNumber(value, number);
    InsertLong(number);
}

int LongStorage::GetLargestColumnSize(std::locale& locale, LargestColumnItemCallback& callback) {
    return MeasureLimits(locale, callback);
}

void LongStorage::AppendString(int row, const CellFormat& format, std::string& out) {
    format.AppendInteger(GetValue(row), out);
}

Int64Storage::~Int64Storage() = default;

std::string Int64Storage::AsString(int row, const std::locale& locale) {
    std::string text;
    AppendString(row, CellFormat(locale), text);
    return text;
}

void Int64Storage::InsertString(const std::string& value) {
    __int64 number = 0;
    ParseNumber(value, number);
    InsertInt64(number);
}

int Int64Storage::GetLargestColumnSize(std::locale& locale, LargestColumnItemCallback& callback) {
    return MeasureLimits(locale, callback);
}

void Int64Storage::AppendString(int row, const CellFormat& format, std::string& out) {
    format.AppendInteger(GetValue(row), out);
}

FloatStorage::FloatStorage(PageAlloc& alloc, int columnPrecision) : SpecificStorageType(alloc), precision(0) {
    FloatStorage::SetPrecision(columnPrecision);
}

FloatStorage::~FloatStorage() = default;

std::string FloatStorage::AsString(int row, const std::locale&) {
    std::string text;
    AppendFloatText(GetValue(row), text);
    return text;
}

void FloatStorage::InsertString(const std::string& value) {
    float number = 0;
    ParseNumber(value, number);
    InsertFloat(number);
}

void FloatStorage::SetPrecision(int newPrecision) {
    precision = newPrecision < 1 ? kDefaultFloatPrecision : newPrecision;
}

int FloatStorage::GetLargestColumnSize(std::locale& locale, LargestColumnItemCallback& callback) {
    return MeasureLimits(locale, callback);
}

void FloatStorage::AppendString(int row, const CellFormat&, std::string& out) {
    AppendFloatText(GetValue(row), out);
}

DoubleStorage::DoubleStorage(PageAlloc& alloc, int columnPrecision)
    : SpecificStorageType(alloc), precision(0) {
    DoubleStorage::SetPrecision(columnPrecision);
}

DoubleStorage::~DoubleStorage() = default;

std::string DoubleStorage::AsString(int row, const std::locale&) {
    std::string text;
    AppendString(row, CellFormat::Classic(), text);
    return text;
}

void DoubleStorage::InsertString(const std::string& value) {
    double number = 0;
    ParseNumber(value, number);
    InsertDouble(number);
}

void DoubleStorage::SetPrecision(int newPrecision) {
    precision = newPrecision < 1 ? kDefaultDoublePrecision : newPrecision;
}

int DoubleStorage::GetLargestColumnSize(std::locale& locale, LargestColumnItemCallback& callback) {
    return MeasureLimits(locale, callback);
}

// Infinities and NaN are no decimals: they take the second road.
void DoubleStorage::AppendString(int row, const CellFormat&, std::string& out) {
    const double value = GetValue(row);
    const std::size_t before = out.size();
    try {
        qxdb::Decimal::AppendDouble(value, out);
    } catch (const std::exception& failure) {
        out.resize(before);
        qxos::OutputDebugStringA((std::string(failure.what()) + "\n").c_str());
        AppendDoubleText(value, out);
    }
}

std::string_view DoubleStorage::ViewString(int row, const CellFormat& format, std::string& buffer) {
    const double value = GetValue(row);
    if (!std::isfinite(value))
        return ColumnSetStorage::ViewString(row, format, buffer);
    char text[qxdb::Decimal::DoubleSize];
    const std::size_t length = qxdb::Decimal::PutDouble(value, text);
    if (buffer.size() < sizeof text)
        buffer.resize(sizeof text);
    std::memcpy(&buffer[0], text, sizeof text);
    return {buffer.data(), length};
}

TimestampSetStorage::TimestampSetStorage(PageAlloc& alloc, const std::string& timestampFormat)
    : SpecificStorageType(alloc), format(timestampFormat) {
    if (!format.empty())
        scratch.SetFormat(format);
}

TimestampSetStorage::~TimestampSetStorage() = default;

qxdb::Timestamp TimestampSetStorage::AsTimestamp(int row) {
    qxdb::Timestamp value = scratch;  // for its format
    GetValue(row).AsTimestamp(value);
    return value;
}

const char* TimestampSetStorage::GetDataTimeFormat() {
    return format.empty() ? nullptr : format.c_str();
}

std::string TimestampSetStorage::AsString(int row, const std::locale&) {
    std::string text;
    AppendString(row, CellFormat::Classic(), text);
    return text;
}

void TimestampSetStorage::InsertString(const std::string& value) {
    InsertTimestamp(format.empty() ? qxdb::Timestamp(value) : qxdb::Timestamp(value, format));
}

int TimestampSetStorage::GetLargestColumnSize(std::locale&, LargestColumnItemCallback& callback) {
    const ResultsTimestamp zero;
    bool allZero = true;
    int count = 0;
    for (int row = 0; row < items.Size() && allZero; row += count) {
        const ResultsTimestamp* values = items.Span(row, count);
        allZero =
            std::all_of(values, values + count, [&](const ResultsTimestamp& value) { return value == zero; });
    }
    if (allZero)
        return 0;
    scratch.SetDate(2000, 12, 31);
    scratch.SetTime(12, 55, 55);
    scratch.SetFraction(555555);
    return callback.GetItemWidth(scratch.AsString());
}

void TimestampSetStorage::AppendString(int row, const CellFormat&, std::string& out) {
    GetValue(row).AsTimestamp(scratch);
    scratch.AppendTo(out);
}

std::string_view TimestampSetStorage::ViewString(int row, const CellFormat&, std::string& buffer) {
    GetValue(row).AsTimestamp(scratch);
    return scratch.View(buffer);
}

}  // namespace qxdbsqlengine
