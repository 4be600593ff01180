// Columns of fixed-size values: one paged array each, item i being physical row i. A fixed-size value can be
// overwritten in place, so there is one class for append-only and editable results.
#pragma once

#include <string>
#include <string_view>

#include "platform/export.h"
#include "storage/column_set_storage.h"
#include "storage/storage_base.h"

namespace qxdbsqlengine {

// `N` is the EnumDataType. Comparison is by value; a NaN counts as if less than whatever it is compared with.
template <class T, int N>
class SpecificStorageType : public EditableSetStorage {
  public:
    explicit SpecificStorageType(PageAlloc& alloc) : items(alloc) {}

    const char* GetDataTimeFormat() override { return nullptr; }
    int CompareItems(int row1, int row2, int option) override;
    EnumDataType GetDataType() override { return static_cast<EnumDataType>(N); }
    AlignHint GetAlignHint() override { return AlignRight; }
    void PutSortKeys(SortKeySink& sink) override;
    void AppendSortKey(int row, SortKeyPosition& position, std::size_t maxBytes, std::string& out) override;
    void RemoveLast() override { items.RemoveBack(); }

  protected:
    T GetValue(int row) { return items.GetItem(row); }
    void SetValue(int row, const T& value) { items.GetItem(row) = value; }
    // Measures the least and the greatest value only.
    int MeasureLimits(const std::locale& locale, LargestColumnItemCallback& callback);

    StorageBase<T, int, 65536> items;
};

class QXSENG2_API ShortStorage : public SpecificStorageType<short, DataTypeShort> {
  public:
    explicit ShortStorage(PageAlloc& alloc) : SpecificStorageType(alloc) {}
    ~ShortStorage() override;

    short AsShort(int row) override { return GetValue(row); }
    using ColumnSetStorage::AsString;
    std::string AsString(int row, const std::locale& locale) override;
    void InsertString(const std::string& value) override;
    void InsertShort(const short& value) override { items.PushBack(value); }
    void InsertEmpty() override { items.PushBack(0); }
    int GetLargestColumnSize(std::locale& locale, LargestColumnItemCallback& callback) override;
    void SetShort(int row, const short& value) override { SetValue(row, value); }
    void SetEmpty(int row) override { SetValue(row, 0); }
    void AppendString(int row, const CellFormat& format, std::string& out) override;
    std::string_view ViewString(int row, const CellFormat& format, std::string& scratch) override {
        return format.ViewInteger(GetValue(row), scratch);
    }
};

class QXSENG2_API IntStorage : public SpecificStorageType<int, DataTypeInt> {
  public:
    explicit IntStorage(PageAlloc& alloc) : SpecificStorageType(alloc) {}
    ~IntStorage() override;

    int AsInt(int row) override { return GetValue(row); }
    using ColumnSetStorage::AsString;
    std::string AsString(int row, const std::locale& locale) override;
    void InsertString(const std::string& value) override;
    void InsertInt(const int& value) override { items.PushBack(value); }
    void InsertEmpty() override { items.PushBack(0); }
    int GetLargestColumnSize(std::locale& locale, LargestColumnItemCallback& callback) override;
    void SetInt(int row, const int& value) override { SetValue(row, value); }
    void SetEmpty(int row) override { SetValue(row, 0); }
    void AppendString(int row, const CellFormat& format, std::string& out) override;
    std::string_view ViewString(int row, const CellFormat& format, std::string& scratch) override {
        return format.ViewInteger(GetValue(row), scratch);
    }
};

class QXSENG2_API LongStorage : public SpecificStorageType<long, DataTypeLong> {
  public:
    explicit LongStorage(PageAlloc& alloc) : SpecificStorageType(alloc) {}
    ~LongStorage() override;

    long AsLong(int row) override { return GetValue(row); }
    using ColumnSetStorage::AsString;
    std::string AsString(int row, const std::locale& locale) override;
    void InsertString(const std::string& value) override;
    void InsertLong(const long& value) override { items.PushBack(value); }
    void InsertEmpty() override { items.PushBack(0); }
    int GetLargestColumnSize(std::locale& locale, LargestColumnItemCallback& callback) override;
    void SetLong(int row, const long& value) override { SetValue(row, value); }
    void SetEmpty(int row) override { SetValue(row, 0); }
    void AppendString(int row, const CellFormat& format, std::string& out) override;
    std::string_view ViewString(int row, const CellFormat& format, std::string& scratch) override {
        return format.ViewInteger(GetValue(row), scratch);
    }
};

class QXSENG2_API Int64Storage : public SpecificStorageType<__int64, DataTypeInt64> {
  public:
    explicit Int64Storage(PageAlloc& alloc) : SpecificStorageType(alloc) {}
    ~Int64Storage() override;

    __int64 AsInt64(int row) override { return GetValue(row); }
    using ColumnSetStorage::AsString;
    std::string AsString(int row, const std::locale& locale) override;
    void InsertString(const std::string& value) override;
    void InsertInt64(const __int64& value) override { items.PushBack(value); }
    void InsertEmpty() override { items.PushBack(0); }
    int GetLargestColumnSize(std::locale& locale, LargestColumnItemCallback& callback) override;
    void SetInt64(int row, const __int64& value) override { SetValue(row, value); }
    void SetEmpty(int row) override { SetValue(row, 0); }
    void AppendString(int row, const CellFormat& format, std::string& out) override;
    std::string_view ViewString(int row, const CellFormat& format, std::string& scratch) override {
        return format.ViewInteger(GetValue(row), scratch);
    }
};

// Shows at most 8 significant digits, 7 where 8 would make the text 9 characters or longer; always with the
// point of the classic locale. The precision is only kept for callers who ask.
class QXSENG2_API FloatStorage : public SpecificStorageType<float, DataTypeFloat> {
  public:
    // A precision below 1 becomes 7.
    FloatStorage(PageAlloc& alloc, int columnPrecision);
    ~FloatStorage() override;

    float AsFloat(int row) override { return GetValue(row); }
    using ColumnSetStorage::AsString;
    std::string AsString(int row, const std::locale& locale) override;
    void InsertString(const std::string& value) override;
    void InsertFloat(const float& value) override { items.PushBack(value); }
    void InsertEmpty() override { items.PushBack(0); }
    int GetPrecision() override { return precision; }
    void SetPrecision(int newPrecision) override;
    int GetLargestColumnSize(std::locale& locale, LargestColumnItemCallback& callback) override;
    void SetFloat(int row, const float& value) override { SetValue(row, value); }
    void SetEmpty(int row) override { SetValue(row, 0); }
    void AppendString(int row, const CellFormat& format, std::string& out) override;

  private:
    int precision;
};

// Shows the shortest decimal that reads back as the same double. The precision is only kept for callers who
// ask.
class QXSENG2_API DoubleStorage : public SpecificStorageType<double, DataTypeDouble> {
  public:
    // A precision below 1 becomes 15.
    DoubleStorage(PageAlloc& alloc, int columnPrecision);
    ~DoubleStorage() override;

    double AsDouble(int row) override { return GetValue(row); }
    using ColumnSetStorage::AsString;
    std::string AsString(int row, const std::locale& locale) override;
    void InsertString(const std::string& value) override;
    void InsertDouble(const double& value) override { items.PushBack(value); }
    void InsertEmpty() override { items.PushBack(0); }
    int GetPrecision() override { return precision; }
    void SetPrecision(int newPrecision) override;
    int GetLargestColumnSize(std::locale& locale, LargestColumnItemCallback& callback) override;
    void SetDouble(int row, const double& value) override { SetValue(row, value); }
    void SetEmpty(int row) override { SetValue(row, 0); }
    void AppendString(int row, const CellFormat& format, std::string& out) override;
    std::string_view ViewString(int row, const CellFormat& format, std::string& scratch) override;

  private:
    int precision;
};

class QXSENG2_API TimestampSetStorage : public SpecificStorageType<ResultsTimestamp, DataTypeTimestamp> {
  public:
    // An empty format means the default format of Timestamp.
    TimestampSetStorage(PageAlloc& alloc, const std::string& timestampFormat);
    ~TimestampSetStorage() override;

    // In the column's format.
    qxdb::Timestamp AsTimestamp(int row) override;
    const char* GetDataTimeFormat() override;
    using ColumnSetStorage::AsString;
    std::string AsString(int row, const std::locale& locale) override;
    // Throws what Timestamp throws for a bad text; nothing is appended then.
    void InsertString(const std::string& value) override;
    void InsertTimestamp(const qxdb::Timestamp& value) override { items.PushBack(ResultsTimestamp(value)); }
    void InsertEmpty() override { items.PushBack(ResultsTimestamp()); }
    // 0 when all values are the zero timestamp, else the width of one long sample.
    int GetLargestColumnSize(std::locale& locale, LargestColumnItemCallback& callback) override;
    AlignHint GetAlignHint() override { return AlignLeft; }
    void SetTimestamp(int row, const qxdb::Timestamp& value) override {
        SetValue(row, ResultsTimestamp(value));
    }
    void SetEmpty(int row) override { SetValue(row, ResultsTimestamp()); }
    void AppendString(int row, const CellFormat& format, std::string& out) override;
    std::string_view ViewString(int row, const CellFormat& format, std::string& scratch) override;

  private:
    qxdb::Timestamp scratch;  // has the column's format
    std::string format;
};

}  // namespace qxdbsqlengine
