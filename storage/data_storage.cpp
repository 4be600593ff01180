#include "storage/data_storage.h"

#include <memory>
#include <utility>

#include "storage/append_only_results_storage.h"
#include "storage/editable_results_storage.h"
#include "storage/store_exceptions.h"

namespace qxdbsqlengine {

DataStorage::DataStorage() : DataStorage(nullptr) {}

DataStorage::DataStorage(DataContainer* newContainer)
    : container(newContainer),
      indexId(newContainer ? newContainer->CreateNewIndex() : 0),
      edit(dynamic_cast<EditableDataContainer*>(newContainer), &indexId) {}

DataStorage::DataStorage(const DataStorage& other)
    : container(other.container),
      indexId(container ? container->CreateNewIndexAsCopyOfIndex(other.indexId) : 0),
      edit(other.edit.container, &indexId) {}

DataStorage& DataStorage::operator=(const DataStorage& other) {
    Release();
    container = other.container;
    edit.container = other.edit.container;
    indexId = container ? container->CreateNewIndexAsCopyOfIndex(other.indexId) : 0;
    return *this;
}

DataStorage::~DataStorage() {
    Release();
}

void DataStorage::Release() {
    DataContainer* const released = std::exchange(container, nullptr);
    edit.container = nullptr;
    if (released && released->DestroyIndex(indexId))
        delete released;
}

DataStorage DataStorage::CreateResultsStorage(bool editable) {
    std::unique_ptr<DataContainer> created;
    if (editable)
        created = std::make_unique<EditableResultsStorage>();
    else
        created = std::make_unique<AppendOnlyResultsStorage>();
    return DataStorage(created.release());
}

DataStorage DataStorage::ArrivalOrder() {
    return DataStorage(container);
}

void DataStorage::CleanUp() {
    if (container)
        container->CleanUp();
}

int DataStorage::GetNumberOfResultSets() {
    return container->GetNumberOfResultSets();
}

int DataStorage::GetNumberOfRows(int rs) {
    return container->GetNumberOfRows(indexId, rs);
}

int DataStorage::GetNumberOfColumns(int rs) {
    return container->GetNumberOfColumns(rs);
}

ResultSetType DataStorage::GetResultSetType(int rs) {
    return container->GetResultSetType(rs);
}

AlignHint DataStorage::GetAlignHint(int rs, int col) {
    return container->GetAlignHint(rs, col);
}

EnumDataType DataStorage::GetDataType(int rs, int col) {
    return container->GetDataType(rs, col);
}

int DataStorage::GetPrecision(int rs, int col) {
    return container->GetPrecision(rs, col);
}

void DataStorage::SetPrecision(int rs, int col, int precision) {
    container->SetPrecision(rs, col, precision);
}

int DataStorage::GetNativeDataType(int rs, int col) {
    return container->GetNativeDataType(rs, col);
}

void DataStorage::SetNativeDataType(int rs, int col, int type) {
    container->SetNativeDataType(rs, col, type);
}

std::string DataStorage::GetNativeDataTypeName(int rs, int col) {
    return container->GetNativeDataTypeName(rs, col);
}

void DataStorage::SetNativeDataTypeName(int rs, int col, const std::string& name) {
    container->SetNativeDataTypeName(rs, col, name);
}

std::string DataStorage::GetColumnLabel(int rs, int col) {
    return container->GetColumnLabel(rs, col);
}

int DataStorage::FindColumnLabel(int rs, const std::string& label) {
    return container->FindColumnLabel(rs, label);
}

std::string DataStorage::GetString(int rs, int row, int col) {
    return container->GetString(indexId, rs, row, col);
}

short DataStorage::GetShort(int rs, int row, int col) {
    return container->GetShort(indexId, rs, row, col);
}

int DataStorage::GetInt(int rs, int row, int col) {
    return container->GetInt(indexId, rs, row, col);
}

long DataStorage::GetLong(int rs, int row, int col) {
    return container->GetLong(indexId, rs, row, col);
}

__int64 DataStorage::GetInt64(int rs, int row, int col) {
    return container->GetInt64(indexId, rs, row, col);
}

float DataStorage::GetFloat(int rs, int row, int col) {
    return container->GetFloat(indexId, rs, row, col);
}

double DataStorage::GetDouble(int rs, int row, int col) {
    return container->GetDouble(indexId, rs, row, col);
}

qxdb::Decimal DataStorage::GetDecimal(int rs, int row, int col) {
    return container->GetDecimal(indexId, rs, row, col);
}

qxdb::DynBuffer DataStorage::GetBinary(int rs, int row, int col) {
    return container->GetBinary(indexId, rs, row, col);
}

qxdb::Timestamp DataStorage::GetTimestamp(int rs, int row, int col) {
    return container->GetTimestamp(indexId, rs, row, col);
}

const char* DataStorage::GetDataTimeFormat(int rs, int col) {
    return container->GetDataTimeFormat(indexId, rs, col);
}

bool DataStorage::IsNull(int rs, int row, int col) {
    return container->IsNull(indexId, rs, row, col);
}

std::string DataStorage::AsString(int rs, int row, int col, const std::locale& locale) {
    return container->AsString(indexId, rs, row, col, locale);
}

std::string DataStorage::GetLobFileName(int rs, int row, int col) {
    return container->GetLobFileName(indexId, rs, row, col);
}

int DataStorage::AddResultSet(const std::vector<ColumnDefinition>& columns, ResultSetType type) {
    return container->AddResultSet(columns, type);
}

void DataStorage::InsertString(int rs, int col, const std::string& value) {
    container->InsertString(rs, col, value);
}

void DataStorage::InsertShort(int rs, int col, const short& value) {
    container->InsertShort(rs, col, value);
}

void DataStorage::InsertInt(int rs, int col, const int& value) {
    container->InsertInt(rs, col, value);
}

void DataStorage::InsertLong(int rs, int col, const long& value) {
    container->InsertLong(rs, col, value);
}

void DataStorage::InsertInt64(int rs, int col, const __int64& value) {
    container->InsertInt64(rs, col, value);
}

void DataStorage::InsertFloat(int rs, int col, const float& value) {
    container->InsertFloat(rs, col, value);
}

void DataStorage::InsertDouble(int rs, int col, const double& value) {
    container->InsertDouble(rs, col, value);
}

void DataStorage::InsertDecimal(int rs, int col, const qxdb::Decimal& value) {
    container->InsertDecimal(rs, col, value);
}

void DataStorage::InsertBinary(int rs, int col, const qxdb::DynBuffer& value) {
    container->InsertBinary(rs, col, value);
}

void DataStorage::InsertTimestamp(int rs, int col, const qxdb::Timestamp& value) {
    container->InsertTimestamp(rs, col, value);
}

void DataStorage::InsertLobData(int rs, int col, const std::string& text,
                                const qxdb::DynBuffer& locatorData) {
    container->InsertLobData(rs, col, text, locatorData);
}

void DataStorage::InsertEmpty(int rs, int col) {
    container->InsertEmpty(rs, col);
}

void DataStorage::InsertNull(int rs, int col) {
    container->InsertNull(rs, col);
}

void DataStorage::HideRow(int rs, int row) {
    container->HideRow(indexId, rs, row);
}

int DataStorage::CompareItems(int rs, int col, int row1, int row2) {
    return container->CompareItems(indexId, rs, col, row1, row2);
}

void DataStorage::Sort(int rs, const std::vector<DataSort>& keys, std::deque<int>* rowsToTrack, int option) {
    container->Sort(indexId, rs, keys, rowsToTrack, option);
}

void DataStorage::ReSort(int rs) {
    container->ReSort(indexId, rs);
}

void DataStorage::FlipSort(int rs, int col, std::deque<int>* rowsToTrack, int option) {
    container->FlipSort(indexId, rs, col, rowsToTrack, option);
}

bool DataStorage::IsSorted(int rs) {
    return container->IsSorted(indexId, rs);
}

int DataStorage::GetLargestColumnSize(int rs, int col, std::locale& locale,
                                      LargestColumnItemCallback& callback) {
    return container->GetLargestColumnSize(rs, col, locale, callback);
}

LobExtract DataStorage::GetLob(int rs, int row, int col) {
    return container->GetLob(indexId, rs, row, col);
}

bool DataStorage::GetUseLobLocators(int rs, int col) {
    return container->GetUseLobLocators(rs, col);
}

NamedTypeExtract DataStorage::GetNamedType(int rs, int row, int col) {
    return container->GetNamedType(indexId, rs, row, col);
}

RowLock DataStorage::GetRowLock(int rs) {
    return container->GetRowLock(rs);
}

std::string DataStorage::GetTagName(int rs) {
    return container->GetTagName(rs);
}

void DataStorage::SetTagName(int rs, std::string name) {
    container->SetTagName(rs, std::move(name));
}

std::string DataStorage::GetTableName(int rs) {
    return container->GetTableName(rs);
}

void DataStorage::SetTableName(int rs, std::string name) {
    container->SetTableName(rs, std::move(name));
}

void DataStorage::LockAll() {
    container->LockAll();
}

void DataStorage::WriteLockAll() {
    container->WriteLockAll();
}

void DataStorage::UnlockAll() {
    container->UnlockAll();
}

void DataStorage::DeleteColumn(int rs, int col) {
    container->DeleteColumn(indexId, rs, col);
}

void DataStorage::DeleteRow(int rs, int row) {
    container->DeleteRow(indexId, rs, row);
}

int DataStorage::GetRowTranslation(int rs, int row) {
    return container->GetRowTranslation(indexId, rs, row);
}

bool DataStorage::BeginReads() {
    return container->BeginReads();
}

void DataStorage::EndReads() {
    container->EndReads();
}

bool DataStorage::VisitRow(int rs, int row, const int* columns, int count, const CellFormat& format,
                           CellSink& sink) {
    return container->VisitRow(indexId, rs, row, columns, count, format, sink);
}

void DataStorage::TrackRearrangedRows(int rs, DataStorage& other, std::deque<int>& rows) {
    container->TrackRearrangedRows(indexId, rs, other.indexId, rows);
}

RowIterator DataStorage::GetRowIterator(int rs, int row) {
    return RowIterator(this, rs, row);
}

RowIterator DataStorage::GetRowEnd(int rs) {
    return RowIterator(this, rs, GetNumberOfRows(rs));
}

RowIterator DataStorage::FindString(int rs, int col, const std::string& text, int startRow) {
    return RowIterator(this, rs, container->FindString(indexId, rs, col, text, startRow));
}

int DataStorage::ResolveResultSetID(ResultSetType type, int n) {
    if (type < ResultSetNormal || type > ResultSetStatistics)
        ThrowResultSetTypeException();
    const int count = GetNumberOfResultSets();
    int found = -1;
    for (int rs = 0; rs < count; ++rs) {
        if (GetResultSetType(rs) == type && ++found == n)
            return rs;
    }
    ThrowResultSetIndexException();
}

int DataStorage::ResolveResultSetID(int n) {
    return ResolveResultSetID(ResultSetNormal, n);
}

int DataStorage::ResolveIndexOfResultSetID(int id, ResultSetType& type) {
    if (id < 0 || id >= GetNumberOfResultSets())
        ThrowResultSetIDException();
    type = GetResultSetType(id);
    int count = 0;
    for (int rs = 0; rs <= id; ++rs) {
        if (GetResultSetType(rs) == type)
            ++count;
    }
    return count - 1;
}

int DataStorage::ResolveIndexOfResultSetID(int id) {
    ResultSetType type = ResultSetNormal;
    return ResolveIndexOfResultSetID(id, type);
}

int DataStorage::GetResultSetCountOfType(ResultSetType type) {
    const int total = GetNumberOfResultSets();
    int count = 0;
    for (int rs = 0; rs < total; ++rs) {
        if (GetResultSetType(rs) == type)
            ++count;
    }
    return count;
}

DataEdit& DataStorage::Edit() {
    if (!edit.container)
        ThrowDataEditException();
    return edit;
}

}  // namespace qxdbsqlengine
