// Values of any length that can be replaced and taken off the end: short ones in slots of 16 bytes, long ones
// in chains of cells (cell_table.h).
//
// Slot (private, exact):
//   length 0 to 15   0      length + 1, so never 0
//                    1-15   the bytes
//   longer           0-3    0
//                    4-7    length, unsigned 32-bit
//                    8-11   id of the first data cell
//                    12-15  unused
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/export.h"
#include "platform/int64.h"
#include "storage/cell_table.h"
#include "storage/sort_key.h"

namespace qxdbsqlengine {

// Serialised by the owning container. Values are 0-based; one that does not exist reads as empty.
class QXSENG2_API EditableVarLengthStorage {
  public:
    static constexpr std::size_t kSlotBytes = 16;
    static constexpr std::size_t kShortBytes = kSlotBytes - 1;

    // The cells must outlive the values.
    explicit EditableVarLengthStorage(CellAlloc& cellAlloc)
        : cells(&cellAlloc), slots(cellAlloc, kSlotBytes) {}
    EditableVarLengthStorage(const EditableVarLengthStorage&) = delete;
    EditableVarLengthStorage& operator=(const EditableVarLengthStorage&) = delete;
    ~EditableVarLengthStorage();

    // Throws std::bad_alloc, and std::length_error for 4 GiB and more; nothing is appended then.
    void Append(const char* data, std::size_t length);
    // Gives the old value's cells back first. When memory is refused, the value is empty afterwards. Throws
    // as Append. REQUIRES: the value exists, and `data` does not lie in it.
    void Set(int i, const char* data, std::size_t length);
    // Nothing happens without values.
    void RemoveLast();

    // Moves what lies in cells from `end` on to lower ones. Throws std::bad_alloc; no value has changed.
    void MoveDown(int end);

    int Count() const { return slots.Count(); }
    __int64 Length(int i) { return static_cast<__int64>(Bytes(i).Length()); }

    std::string Read(int i);
    void ReadAppend(int i, std::string& out);
    // Up to `count` bytes from byte `offset` of the value on; returns how many there were.
    std::size_t ReadPart(int i, __int64 offset, char* out, std::size_t count);
    // The stored bytes where they lie side by side, else a copy in `scratch`. Valid until any value of the
    // container changes.
    std::string_view View(int i, std::string& scratch);
    // The stored bytes where they lie side by side, which those of up to 124 bytes do; false otherwise.
    bool ViewInPlace(int i, std::string_view& view);
    bool ViewInPlace(int i, std::string_view& view, int j, std::string_view& other) {
        return ViewInPlace(i, view) && ViewInPlace(j, other);
    }
    bool Equals(int i, const std::string& text);

    CellBytes Bytes(int i);

    // Byte by byte, wherever the bytes lie.
    class Iterator {
      public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = char;
        using difference_type = std::ptrdiff_t;
        using pointer = const char*;
        using reference = char;

        explicit Iterator(const CellBytes& valueBytes) : bytes(valueBytes) {}
        char operator*() const { return *bytes.Piece(); }
        Iterator& operator++() {
            bytes.Skip(1);
            return *this;
        }
        // Of the same value.
        bool operator==(const Iterator& other) const { return bytes.Length() == other.bytes.Length(); }
        bool operator!=(const Iterator& other) const { return !(*this == other); }

      private:
        CellBytes bytes;
    };
    Iterator Begin(int i) { return Iterator(Bytes(i)); }
    Iterator End(int) { return Iterator(CellBytes()); }

  private:
    void FreeChain(unsigned char* slot);
    void Write(unsigned char* slot, const char* data, std::size_t length);

    CellAlloc* cells;
    CellTable slots;
};

// One value as the sort key encoders read it: from the front to the back, so the place reached is kept.
class CellSortSource final : public SortKeySource {
  public:
    CellSortSource(EditableVarLengthStorage& values, int row) : start(values.Bytes(row)), rest(start) {}
    std::size_t ReadBytes(__int64 offset, char* buffer, std::size_t count) override {
        const std::size_t from = static_cast<std::size_t>(offset);
        if (from < start.Length() - rest.Length())
            rest = start;
        rest.Skip(from - (start.Length() - rest.Length()));
        return rest.Take(buffer, count);
    }

  private:
    const CellBytes start;
    CellBytes rest;
};

}  // namespace qxdbsqlengine
