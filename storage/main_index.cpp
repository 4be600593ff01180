#include "storage/main_index.h"

#include <algorithm>
#include <cstddef>

namespace qxdbsqlengine {

namespace {

constexpr int WordBits = 64;

std::size_t WordOf(int row) {
    return static_cast<std::size_t>(row / WordBits);
}

std::uint64_t BitOf(int row) {
    return std::uint64_t{1} << (row % WordBits);
}

}  // namespace

MainIndex::MainIndex(StorageAlloc<65536>& allocator)
    : StorageBase<int, int, 65536>(allocator), nextOpen(-1), valueInserted(false), physicalRows(0) {}

MainIndex::~MainIndex() = default;

int MainIndex::FindValue(const int& physical) {
    int count = 0;
    for (int pos = 0; pos < Size(); pos += count) {
        const int* const items = Span(pos, count);
        const int* const found = std::find(items, items + count, physical);
        if (found != items + count)
            return pos + static_cast<int>(found - items);
    }
    return Size();
}

int MainIndex::AddRow() {
    if (nextOpen >= 0) {
        const int physical = nextOpen;
        PushBack(physical);
        openRows[WordOf(physical)] &= ~BitOf(physical);
        CalcNextOpen();
        valueInserted = false;
        return physical;
    }
    // No physical row is free, so there are as many as rows.
    const int physical = Size();
    if (WordOf(physical) == openRows.size())
        openRows.push_back(0);
    PushBack(physical);
    physicalRows = physical + 1;
    valueInserted = true;
    return physical;
}

int MainIndex::InsertRow(int pos) {
    const int physical = AddRow();
    MoveLastTo(std::clamp(pos, 0, Size() - 1));
    return physical;
}

int MainIndex::DeleteRow(const int& pos) {
    if (pos < 0 || pos >= Size())
        return -1;
    const int physical = GetItem(pos);
    Erase(pos);
    openRows[WordOf(physical)] |= BitOf(physical);
    if (nextOpen == -1 || physical < nextOpen)
        nextOpen = physical;
    return physical;
}

void MainIndex::UndoAddRow() {
    if (valueInserted) {
        RemoveBack();
        --physicalRows;
    } else {
        DeleteRow(Size() - 1);
    }
}

void MainIndex::CalcNextOpen() {
    const int first = nextOpen + 1;
    for (std::size_t word = WordOf(first); word < openRows.size(); ++word) {
        std::uint64_t bits = openRows[word];
        if (word == WordOf(first))
            bits &= ~(BitOf(first) - 1);
        if (bits != 0) {
            nextOpen = static_cast<int>(word) * WordBits + __builtin_ctzll(bits);
            return;
        }
    }
    nextOpen = -1;
}

}  // namespace qxdbsqlengine
