#include "storage/decimal_storage.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "storage/decimal_parts.h"
#include "storage/sort_key_parts.h"

namespace qxdbsqlengine {

namespace {

const std::size_t kSignBytes = 1;
const std::size_t kScaleBytes = 2;
const std::size_t kHeaderBytes = kSignBytes + kScaleBytes;
const std::size_t kTerminatorBytes = 1;
const std::size_t kShortDigits = 8;  // byte digits of a magnitude that fits 64 bits

// The parts of a stored value.
struct Record {
    bool negative = false;
    std::uint16_t scale = 0;
    std::string_view digits;

    explicit Record(std::string_view bytes) {
        if (bytes.size() < kHeaderBytes)
            return;  // a row that does not exist
        negative = bytes[0] != 0;
        std::memcpy(&scale, bytes.data() + kSignBytes, sizeof scale);
        digits = bytes.substr(kHeaderBytes);
        if (!digits.empty() && digits.back() == '\0')
            digits.remove_suffix(kTerminatorBytes);
        if (digits.size() == 1 && digits[0] == '\0')
            digits = std::string_view();  // zero, as in a row that does not exist
    }
    void CopyTo(qxdb::Decimal& value) const {
        value.SetFromBytes(negative, std::min<unsigned int>(scale, qxdb::Decimal::MaxScale),
                           reinterpret_cast<const unsigned char*>(digits.data()), digits.size());
    }
};

// Values of one scale: by sign, then by number of digits, then by digits.
int CompareSameScale(const Record& a, const Record& b) {
    if (a.negative != b.negative)
        return a.negative ? -1 : 1;
    int c = 0;
    if (a.digits.size() != b.digits.size())
        c = a.digits.size() < b.digits.size() ? -1 : 1;
    else
        c = a.digits.compare(b.digits);  // as unsigned bytes
    c = c < 0 ? -1 : c > 0 ? 1 : 0;
    return a.negative ? -c : c;
}

}  // namespace

DecimalStorage::DecimalStorage(PageAlloc& alloc, int columnPrecision)
    : values(alloc), precision(std::max(columnPrecision, 0)) {}

DecimalStorage::~DecimalStorage() = default;

void DecimalStorage::ReadInto(int row, qxdb::Decimal& value) {
    Record(values.View(row, scratch1)).CopyTo(value);
}

qxdb::Decimal DecimalStorage::AsDecimal(int row) {
    qxdb::Decimal value;
    ReadInto(row, value);
    return value;
}

std::string DecimalStorage::AsString(int row, const std::locale& locale) {
    std::string text;
    AppendString(row, CellFormat(locale), text);
    return text;
}

void DecimalStorage::InsertString(const std::string& value) {
    inserted.SetString(value);
    if (precision > 0)
        inserted.SetScale(static_cast<unsigned int>(precision), qxdb::Decimal::RoundHalfUp);
    InsertDecimal(inserted);
}

void DecimalStorage::InsertDecimal(const qxdb::Decimal& value) {
    unsigned char small[kHeaderBytes + kShortDigits + kTerminatorBytes];
    unsigned char* record = small;
    std::size_t digits = value.AppendMagnitudeBytes(small + kHeaderBytes, kShortDigits);
    if (digits > kShortDigits) {
        scratch1.resize(kHeaderBytes + digits + kTerminatorBytes);
        record = reinterpret_cast<unsigned char*>(&scratch1[0]);
        value.AppendMagnitudeBytes(record + kHeaderBytes, digits);
    }
    const std::uint16_t scale = static_cast<std::uint16_t>(value.GetScale());
    record[0] = value.IsNegative() ? 1 : 0;
    std::memcpy(record + kSignBytes, &scale, sizeof scale);
    record[kHeaderBytes + digits] = 0;
    values.Append(reinterpret_cast<const char*>(record), kHeaderBytes + digits + kTerminatorBytes);
}

void DecimalStorage::InsertEmpty() {
    InsertDecimal(qxdb::Decimal());
}

int DecimalStorage::CompareItems(int row1, int row2, int) {
    std::string_view view1;
    std::string_view view2;
    if (!values.ViewInPlace(row1, view1, row2, view2)) {
        scratch1.clear();
        values.ReadAppend(row1, scratch1);
        scratch2.clear();
        values.ReadAppend(row2, scratch2);
        view1 = scratch1;
        view2 = scratch2;
    }
    const Record a(view1);
    const Record b(view2);
    if (a.scale == b.scale)
        return CompareSameScale(a, b);
    a.CopyTo(decimal1);
    b.CopyTo(decimal2);
    return decimal1.Compare(decimal2);
}

void DecimalStorage::SetPrecision(int newPrecision) {
    precision = std::max(newPrecision, 0);
}

int DecimalStorage::GetLargestColumnSize(std::locale& locale, LargestColumnItemCallback& callback) {
    return MeasureDecimals(*this, values.Count(), locale, callback,
                           [this](int row, qxdb::Decimal& value) { ReadInto(row, value); });
}

void DecimalStorage::AppendString(int row, const CellFormat& format, std::string& out) {
    ReadInto(row, decimal1);
    AppendDecimalText(decimal1, format.DecimalPoint(), precision, out);
}

std::string_view DecimalStorage::ViewString(int row, const CellFormat& format, std::string& buffer) {
    ReadInto(row, decimal1);
    return ViewDecimalText(decimal1, format.DecimalPoint(), precision, buffer);
}

void DecimalStorage::PutSortKeys(SortKeySink& sink) {
    PutAppendedSortKeys(*this, sink);
}

void DecimalStorage::AppendSortKey(int row, SortKeyPosition& position, std::size_t maxBytes,
                                   std::string& out) {
    ReadInto(row, decimal1);
    AppendDecimalSortKey(decimal1, position, maxBytes, out);
}

}  // namespace qxdbsqlengine
