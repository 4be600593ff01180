#include "storage/binary_storage.h"

#include <vector>

#include "platform/qxdb/big_integer.h"
#include "storage/measure_texts.h"
#include "storage/sort_key_parts.h"
#include "storage/value_parts.h"

namespace qxdbsqlengine {

BinaryStorage::~BinaryStorage() = default;

std::string BinaryStorage::AsString(int row) {
    std::string text;
    AppendString(row, CellFormat::Classic(), text);
    return text;
}

void BinaryStorage::InsertString(const std::string& value) {
    qxdb::DynBuffer buffer;
    try {
        std::vector<unsigned char> digits;
        qxdb::BigInteger(value, 16).GetQXDBByteDigits(digits, qxdb::BigInteger::NumberTerminated);
        if (!digits.empty() && digits.back() == 0)
            digits.pop_back();
        buffer.Assign(digits.data(), static_cast<unsigned int>(digits.size()));
    } catch (...) {
        InsertEmpty();
        return;
    }
    InsertBinary(buffer);
}

void BinaryStorage::InsertBinary(const qxdb::DynBuffer& value) {
    values.Append(reinterpret_cast<const char*>(value.GetData()), value.GetLength());
}

int BinaryStorage::CompareItems(int row1, int row2, int) {
    return CompareBinaries(values, row1, row2);
}

int BinaryStorage::GetLargestColumnSize(std::locale&, LargestColumnItemCallback& callback) {
    return MeasureTexts(values, callback, [this](int row, std::string& text) {
        AppendString(row, CellFormat::Classic(), text);
    });
}

void BinaryStorage::AppendString(int row, const CellFormat&, std::string& out) {
    std::string_view view;
    std::string copy;  // only for the rare value that crosses a page
    if (!values.ViewInPlace(row, view)) {
        values.ReadAppend(row, copy);
        view = copy;
    }
    qxdb::BufferBase::AppendHex(out, reinterpret_cast<const unsigned char*>(view.data()), view.size());
}

void BinaryStorage::PutSortKeys(SortKeySink& sink) {
    PutAppendedSortKeys(*this, sink);
}

void BinaryStorage::AppendSortKey(int row, SortKeyPosition& position, std::size_t maxBytes,
                                  std::string& out) {
    VarLengthSortSource source(values, row);
    AppendBinarySortKey(source, values.Length(row), position, maxBytes, out);
}

}  // namespace qxdbsqlengine
