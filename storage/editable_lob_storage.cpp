#include "storage/editable_lob_storage.h"

namespace qxdbsqlengine {

namespace {

const char* Chars(const qxdb::DynBuffer& data) {
    return reinterpret_cast<const char*>(data.GetData());
}

}  // namespace

EditableLobStorage::EditableLobStorage(CellAlloc& cells, int streamSize,
                                       const qxdb::LobLocator& columnLocator, bool useLocators,
                                       bool keepLocatorData)
    : locator(columnLocator),
      precision(streamSize),
      useLobLocators(useLocators),
      previews(cells),
      locatorData(cells),
      fileNames(cells),
      locatorDataLength(keepLocatorData ? locator.GetLocatorData().GetLength() : 0) {}

EditableLobStorage::~EditableLobStorage() = default;

void EditableLobStorage::InsertLobData(const std::string& text, const qxdb::DynBuffer& data) {
    Append(text, data);
}

void EditableLobStorage::InsertEmpty() {
    Append(std::string(), qxdb::DynBuffer(locatorDataLength, locatorDataLength));
}

// All members get a value or none does.
void EditableLobStorage::Append(const std::string& text, const qxdb::DynBuffer& data) {
    previews.Append(text.data(), text.size());
    try {
        if (locatorDataLength != 0)
            locatorData.Append(Chars(data), data.GetLength());
        try {
            fileNames.Append(nullptr, 0);
        } catch (...) {
            locatorData.RemoveLast();
            throw;
        }
    } catch (...) {
        previews.RemoveLast();
        throw;
    }
}

qxdb::LobLocator EditableLobStorage::GetLob(int row) {
    qxdb::LobLocator clone = locator.Clone();
    if (locatorDataLength != 0) {
        const std::string bytes = locatorData.Read(row);
        qxdb::DynBuffer data;
        data.Assign(reinterpret_cast<const unsigned char*>(bytes.data()),
                    static_cast<unsigned int>(bytes.size()));
        clone.SetLocatorData(data);
    }
    return clone;
}

void EditableLobStorage::SetLobData(int row, const std::string& text, const std::string& fileName) {
    previews.Set(row, text.data(), text.size());
    fileNames.Set(row, fileName.data(), fileName.size());
}

void EditableLobStorage::SetLobData(int row, const std::string& text, const qxdb::DynBuffer& data,
                                    const std::string& fileName) {
    SetLobData(row, text, fileName);
    if (locatorDataLength != 0)
        locatorData.Set(row, Chars(data), data.GetLength());
}

void EditableLobStorage::SetEmpty(int row) {
    SetLobData(row, std::string(), qxdb::DynBuffer(locatorDataLength, locatorDataLength), std::string());
}

void EditableLobStorage::RemoveLast() {
    previews.RemoveLast();
    locatorData.RemoveLast();
    fileNames.RemoveLast();
}

void EditableLobStorage::MoveDown(int end) {
    previews.MoveDown(end);
    locatorData.MoveDown(end);
    fileNames.MoveDown(end);
}

void EditableLobStorage::PutSortKeys(SortKeySink& sink) {
    for (std::size_t i = 0; i < sink.Count(); ++i)
        sink.Put(i, 0, 0);
}

// Every key is the end alone.
void EditableLobStorage::AppendSortKey(int, SortKeyPosition& position, std::size_t maxBytes,
                                       std::string& out) {
    if (position.skip > 0 || position.offset > 0 || maxBytes == 0)
        return;
    out.push_back('\0');
    ++position.skip;
}

}  // namespace qxdbsqlengine
