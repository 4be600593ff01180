// Append-only values of any length: their bytes one behind the other in a pool, and a table of offsets.
#pragma once

#include <cstddef>
#include <iterator>
#include <string>
#include <string_view>

#include "platform/export.h"
#include "platform/int64.h"
#include "storage/sort_key.h"
#include "storage/storage_base.h"

namespace qxdbsqlengine {

// Value i runs from entry i to entry i + 1 of the logical table `offsets` + `bigOffsets`. There are no length
// prefixes, terminators or null marks. The pool only grows, so a value can't be changed.
//
// Serialised by the owning container. Values are 0-based; one that does not exist reads as empty.
class QXSENG2_API VarLengthStorage {
  public:
    // Offsets from `bigOffsetsFrom` on go to the table of 64-bit offsets; other than 2^31 only for tests.
    explicit VarLengthStorage(PageAlloc& alloc, __int64 bigOffsetsFrom = 1LL << 31);
    VarLengthStorage(const VarLengthStorage&) = delete;
    VarLengthStorage& operator=(const VarLengthStorage&) = delete;
    ~VarLengthStorage();

    // Throws std::bad_alloc; nothing is appended then.
    void Append(const char* data, std::size_t length) {
        const __int64 before = bytes.Size();
        try {
            bytes.Write(data, static_cast<__int64>(length));
            PushOffset();
        } catch (...) {
            bytes.ShrinkTo(before);
            throw;
        }
    }

    int Count() const { return offsets.Size() + static_cast<int>(bigOffsets.Size()) - 1; }
    __int64 Length(int i) { return Find(i).length; }

    std::string Read(int i);
    void ReadAppend(int i, std::string& out);
    // Up to `count` bytes from byte `offset` of the value on; returns how many there were.
    std::size_t ReadPart(int i, __int64 offset, char* out, std::size_t count);
    // The stored bytes where they lie side by side, else a copy in `scratch`. Valid until the next operation
    // on anything of the same container.
    std::string_view View(int i, std::string& scratch);
    // The stored bytes where they lie side by side; false otherwise.
    bool ViewInPlace(int i, std::string_view& view) { return ViewInPlace(Find(i), view); }
    // Both views hold at the same time.
    bool ViewInPlace(int i, std::string_view& view, int j, std::string_view& other);

    bool Equals(int i, const std::string& text);

    // Byte by byte, wherever the bytes lie.
    class Iterator {
      public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = char;
        using difference_type = std::ptrdiff_t;
        using pointer = const char*;
        using reference = char;

        Iterator(BigPagedArray<char>* bytePool, __int64 bytePosition)
            : pool(bytePool), position(bytePosition) {}
        char operator*() const { return pool->GetItem(position); }
        Iterator& operator++() {
            ++position;
            return *this;
        }
        bool operator==(const Iterator& other) const { return position == other.position; }
        bool operator!=(const Iterator& other) const { return position != other.position; }

      private:
        BigPagedArray<char>* pool;
        __int64 position;
    };
    Iterator Begin(int i) { return Iterator(&bytes, Find(i).from); }
    Iterator End(int i);

  private:
    struct Place {
        __int64 from;
        __int64 length;
    };

    void PushOffset() {
        const __int64 end = bytes.Size();
        if (end < bigFrom && offsets.Size() < 2147483647)
            offsets.PushBack(static_cast<int>(end));
        else
            bigOffsets.PushBack(end);
    }
    // Entry of the logical table; 0 beyond its end.
    __int64 Offset(__int64 n) {
        return n < offsets.Size() ? offsets.GetItem(static_cast<int>(n))
                                  : bigOffsets.GetItem(n - offsets.Size());
    }
    Place Find(int i) {
        int count = 0;
        const int* const both = offsets.Span(i, count);
        if (count > 1 && both[1] >= both[0])  // nearly always: two neighbours of one page
            return {both[0], static_cast<__int64>(both[1]) - both[0]};
        return FindFar(i);
    }
    Place FindFar(int i);
    bool ViewInPlace(const Place& place, std::string_view& view) {
        view = std::string_view();
        if (place.length == 0)
            return true;
        __int64 count = 0;
        const char* const first = bytes.Span(place.from, count);
        if (count < place.length)
            return false;
        view = std::string_view(first, static_cast<std::size_t>(place.length));
        return true;
    }

    PagedArray<int> offsets;  // positions below 2^31; begins with one 0
    BigPagedArray<__int64> bigOffsets;
    BigPagedArray<char> bytes;
    __int64 bigFrom;
};

// One value as the sort key encoders read it.
class VarLengthSortSource final : public SortKeySource {
  public:
    VarLengthSortSource(VarLengthStorage& valueStorage, int valueRow) : values(valueStorage), row(valueRow) {}
    std::size_t ReadBytes(__int64 offset, char* buffer, std::size_t count) override {
        return values.ReadPart(row, offset, buffer, count);
    }

  private:
    VarLengthStorage& values;
    int row;
};

}  // namespace qxdbsqlengine
