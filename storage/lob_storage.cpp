#include "storage/lob_storage.h"

#include <algorithm>

#include "storage/sort_key_parts.h"

namespace qxdbsqlengine {

LobStorage::LobStorage(PageAlloc& alloc, int streamSize, const qxdb::LobLocator& columnLocator,
                       bool useLocators)
    : locator(columnLocator), precision(streamSize), useLobLocators(useLocators), previews(alloc) {}

LobStorage::~LobStorage() = default;

std::string LobStorage::GetLobFileName(int) {
    return std::string();
}

void LobStorage::InsertLobData(const std::string& text, const qxdb::DynBuffer&) {
    previews.Append(text.data(), text.size());
}

int LobStorage::CompareItems(int row1, int row2, int) {
    std::string_view a;
    std::string_view b;
    std::string copyOfA;
    std::string copyOfB;
    if (!previews.ViewInPlace(row1, a, row2, b)) {
        copyOfA = previews.Read(row1);
        copyOfB = previews.Read(row2);
        a = copyOfA;
        b = copyOfB;
    }
    return a < b ? -1 : a > b ? 1 : 0;
}

void LobStorage::PutSortKeys(SortKeySink& sink) {
    PutAppendedSortKeys(*this, sink);
}

void LobStorage::AppendSortKey(int row, SortKeyPosition& position, std::size_t maxBytes, std::string& out) {
    VarLengthSortSource source(previews, row);
    AppendBytesSortKey(source, position, maxBytes, out);
}

}  // namespace qxdbsqlengine
