#include "storage/main_index.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace qxdbsqlengine {

MainIndex::MainIndex(StorageAlloc<65536>& allocator)
    : StorageBase<int, int, 65536>(allocator), nextOpen(-1), valueInserted(false), physicalRows(0) {}

int& MainIndex::GetMappedValue(const int& pos) {
    return GetItem(pos);
}

int MainIndex::FindValue(const int& physical) {
    const int count = Size();
    for (int pos = 0; pos < count; ++pos) {
        if (GetItem(pos) == physical)
            return pos;
    }
    return count;
}

int MainIndex::AddRow() {
    int physical;
    if (nextOpen >= 0) {
        physical = nextOpen;
        PushBack(physical);
        CalcNextOpen();
        valueInserted = false;
    } else {
        physical = Size();
        PushBack(physical);
        physicalRows = std::max(physicalRows, physical + 1);
        valueInserted = true;
    }
    return physical;
}

int MainIndex::InsertRow(int pos) {
    const int physical = AddRow();
    for (int to = Size() - 1; to > pos && to > 0; --to) {
        const int moved = GetItem(to - 1);
        GetItem(to) = moved;
    }
    GetItem(std::clamp(pos, 0, Size() - 1)) = physical;
    return physical;
}

int MainIndex::DeleteRow(const int& pos) {
    const int count = Size();
    if (pos < 0 || pos >= count)
        return -1;
    const int physical = GetItem(pos);
    for (int to = pos; to < count - 1; ++to) {
        const int moved = GetItem(to + 1);
        GetItem(to) = moved;
    }
    RemoveBack();
    if (nextOpen == -1 || physical < nextOpen)
        nextOpen = physical;
    return physical;
}

void MainIndex::CalcNextOpen() {
    const int first = nextOpen + 1;
    std::vector<bool> used(static_cast<std::size_t>(std::max(physicalRows - first, 0)));
    const int count = Size();
    for (int pos = 0; pos < count; ++pos) {
        const int physical = GetItem(pos);
        if (physical >= first)
            used[static_cast<std::size_t>(physical - first)] = true;
    }
    const auto open = std::find(used.begin(), used.end(), false);
    nextOpen = open == used.end() ? -1 : first + static_cast<int>(open - used.begin());
}

}  // namespace qxdbsqlengine
