#include "storage/data_edit.h"

#include "storage/data_container.h"

namespace qxdbsqlengine {

DataEdit::DataEdit(EditableDataContainer* editable, int* handleIndexId)
    : container(editable), indexId(handleIndexId) {}

void DataEdit::SetString(int rs, int row, int col, const std::string& value) {
    container->SetString(*indexId, rs, row, col, value);
}

void DataEdit::SetShort(int rs, int row, int col, const short& value) {
    container->SetShort(*indexId, rs, row, col, value);
}

void DataEdit::SetInt(int rs, int row, int col, const int& value) {
    container->SetInt(*indexId, rs, row, col, value);
}

void DataEdit::SetLong(int rs, int row, int col, const long& value) {
    container->SetLong(*indexId, rs, row, col, value);
}

void DataEdit::SetInt64(int rs, int row, int col, const __int64& value) {
    container->SetInt64(*indexId, rs, row, col, value);
}

void DataEdit::SetFloat(int rs, int row, int col, const float& value) {
    container->SetFloat(*indexId, rs, row, col, value);
}

void DataEdit::SetDouble(int rs, int row, int col, const double& value) {
    container->SetDouble(*indexId, rs, row, col, value);
}

void DataEdit::SetDecimal(int rs, int row, int col, const qxdb::Decimal& value) {
    container->SetDecimal(*indexId, rs, row, col, value);
}

void DataEdit::SetBinary(int rs, int row, int col, const qxdb::DynBuffer& value) {
    container->SetBinary(*indexId, rs, row, col, value);
}

void DataEdit::SetTimestamp(int rs, int row, int col, const qxdb::Timestamp& value) {
    container->SetTimestamp(*indexId, rs, row, col, value);
}

void DataEdit::SetLobData(int rs, int row, int col, const std::string& text, const std::string& fileName) {
    container->SetLobData(*indexId, rs, row, col, text, fileName);
}

void DataEdit::SetLobData(int rs, int row, int col, const std::string& text,
                          const qxdb::DynBuffer& locatorData, const std::string& fileName) {
    container->SetLobData(*indexId, rs, row, col, text, locatorData, fileName);
}

void DataEdit::SetEmpty(int rs, int row, int col) {
    container->SetEmpty(*indexId, rs, row, col);
}

void DataEdit::SetNull(int rs, int row, int col) {
    container->SetNull(*indexId, rs, row, col);
}

void DataEdit::InsertRow(int rs, int row) {
    container->InsertRow(*indexId, rs, row);
}

void DataEdit::DeleteRow(int rs, int row) {
    container->DeleteRow(*indexId, rs, row);
}

}  // namespace qxdbsqlengine
