#include "storage/null_indicator.h"

#include <algorithm>
#include <cstring>

namespace qxdbsqlengine {

NullIndicator::NullIndicator(StorageAlloc<65536>& alloc, __int64 columnCount)
    : bits(alloc), columns(columnCount) {}

void NullIndicator::SetNull(int column, int row) {
    SetBit(row * columns + column);
}

void NullIndicator::ClearNull(int column, int row) {
    ClearBit(row * columns + column);
}

bool NullIndicator::IsNull(int column, int row) {
    return TestBit(row * columns + column);
}

std::uint64_t NullIndicator::RowBits(int row) {
    const __int64 bit = row * columns;
    const __int64 byte = bit >> 3;
    if (bit < 0 || byte >= bits.Size())
        return 0;
    char bytes[8] = {};
    int count = 0;
    const char* const side = bits.Span(static_cast<int>(byte), count);
    if (count >= 8)
        std::memcpy(bytes, side, 8);
    else  // the end of the page, or of all bits
        bits.Read(static_cast<int>(byte), bytes, static_cast<int>(std::min<__int64>(8, bits.Size() - byte)));
    std::uint64_t word = 0;
    for (int i = 0; i < 8; ++i)
        word |= static_cast<std::uint64_t>(static_cast<unsigned char>(bytes[i])) << (8 * i);
    return word >> (bit & 7);
}

bool NullIndicator::DeleteColumn(int column) {
    if (columns <= 1)
        return true;
    // Bits move down over the gaps that the column leaves, one more gap for each row.
    const __int64 total = static_cast<__int64>(bits.Size()) * 8;
    const __int64 width = columns - 1;
    __int64 skip = 0;
    __int64 untilGap = 0;
    __int64 to = column;
    for (; to < total - skip; ++to) {
        if (untilGap == 0) {
            ++skip;
            untilGap = width;
        }
        --untilGap;
        if (TestBit(to + skip))
            SetBit(to);
        else
            ClearBit(to);
    }
    for (; to < total; ++to)
        ClearBit(to);
    columns = width;
    return true;
}

void NullIndicator::SetBit(__int64 bit) {
    const int byte = static_cast<int>(bit / 8);
    while (bits.Size() <= byte)
        bits.PushBack(0);
    char& item = bits.GetItem(byte);
    item = static_cast<char>(static_cast<unsigned char>(item) | (1U << (bit % 8)));
}

void NullIndicator::ClearBit(__int64 bit) {
    const __int64 byte = bit / 8;
    if (byte >= bits.Size())
        return;
    char& item = bits.GetItem(static_cast<int>(byte));
    item = static_cast<char>(static_cast<unsigned char>(item) & ~(1U << (bit % 8)));
}

bool NullIndicator::TestBit(__int64 bit) {
    const __int64 byte = bit >> 3;
    if (bit < 0 || byte >= bits.Size())
        return false;
    return ((static_cast<unsigned char>(bits.GetItem(static_cast<int>(byte))) >> (bit & 7)) & 1U) != 0;
}

}  // namespace qxdbsqlengine
