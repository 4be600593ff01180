#include "storage/editable_binary_storage.h"

#include "storage/measure_texts.h"
#include "storage/sort_key_parts.h"
#include "storage/value_parts.h"

namespace qxdbsqlengine {

EditableBinaryStorage::~EditableBinaryStorage() = default;

std::string EditableBinaryStorage::AsString(int row) {
    std::string text;
    AppendString(row, CellFormat::Classic(), text);
    return text;
}

void EditableBinaryStorage::InsertBinary(const qxdb::DynBuffer& value) {
    values.Append(reinterpret_cast<const char*>(value.GetData()), value.GetLength());
}

int EditableBinaryStorage::CompareItems(int row1, int row2, int) {
    return CompareBinaries(values, row1, row2);
}

int EditableBinaryStorage::GetLargestColumnSize(std::locale&, LargestColumnItemCallback& callback) {
    return MeasureTexts(values, callback, [this](int row, std::string& text) {
        AppendString(row, CellFormat::Classic(), text);
    });
}

void EditableBinaryStorage::SetBinary(int row, const qxdb::DynBuffer& value) {
    values.Set(row, reinterpret_cast<const char*>(value.GetData()), value.GetLength());
}

void EditableBinaryStorage::AppendString(int row, const CellFormat&, std::string& out) {
    for (CellBytes bytes = values.Bytes(row); bytes.Length() > 0; bytes.Skip(bytes.PieceLength()))
        qxdb::BufferBase::AppendHex(out, reinterpret_cast<const unsigned char*>(bytes.Piece()),
                                    bytes.PieceLength());
}

void EditableBinaryStorage::PutSortKeys(SortKeySink& sink) {
    PutAppendedSortKeys(*this, sink);
}

void EditableBinaryStorage::AppendSortKey(int row, SortKeyPosition& position, std::size_t maxBytes,
                                          std::string& out) {
    CellSortSource source(values, row);
    AppendBinarySortKey(source, values.Length(row), position, maxBytes, out);
}

}  // namespace qxdbsqlengine
