// Slots of a fixed size, in cells that a directory lists, and values of any length, in chains of cells.
//
// Layout (private, exact):
//   directory  `directories[k]` is the id of a cell with the ids of 32 slot cells, as 32-bit words.
//   slot cell  as many slots as fit: 8 of 16 bytes, 10 of 12. Slot i is the (i mod n)-th of the cell at
//              position (i / n) mod 32 of directory (i / n) / 32.
//   data cell  0-3 the id of the next data cell, 4-127 bytes of the value. The length tells where a chain
//              ends: its last cell has no next id.
//
// The owning container serialises all use. The cells must come from an allocator without a cache file, as
// editable results have it, since addresses of several cells are held at the same time.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <deque>
#include <iterator>

#include "platform/export.h"
#include "platform/int64.h"
#include "storage/cell_alloc.h"

namespace qxdbsqlengine {

// Not copyable; gives its cells back when it goes, but not the chains that its slots name.
class QXSENG2_API CellTable {
  public:
    static constexpr int kDirectoryCells = CellAlloc::kCellBytes / 4;

    CellTable(CellAlloc& cellAlloc, int bytesOfSlot)
        : cells(cellAlloc), slotBytes(bytesOfSlot), slotsPerCell(CellAlloc::kCellBytes / bytesOfSlot) {}
    CellTable(const CellTable&) = delete;
    CellTable& operator=(const CellTable&) = delete;
    ~CellTable();

    int Count() const { return count; }
    // Null when there is no slot `i`. Valid until the slot is removed or moved.
    unsigned char* Slot(int i) {
        if (static_cast<unsigned>(i) >= static_cast<unsigned>(count))
            return nullptr;
        const int cell = i / slotsPerCell;
        int id;
        std::memcpy(&id, Directory(cell), sizeof id);
        return static_cast<unsigned char*>(cells.GetCell(id)) + (i % slotsPerCell) * slotBytes;
    }
    // Adds a slot of unspecified content and returns it. Throws std::bad_alloc; nothing is then added.
    unsigned char* Append();
    // Nothing happens without slots.
    void RemoveLast();
    // Moves directories and slot cells from cell `end` on to lower places. Throws std::bad_alloc; what has
    // not moved yet stays where it is.
    void MoveDown(int end);

  private:
    // Where the id of a slot cell stands.
    unsigned char* Directory(int cell) {
        return static_cast<unsigned char*>(
                   cells.GetCell(directories[static_cast<std::size_t>(cell / kDirectoryCells)])) +
               (cell % kDirectoryCells) * 4;
    }

    CellAlloc& cells;
    const int slotBytes;
    const int slotsPerCell;
    int count = 0;
    std::deque<int> directories;
};

// Functions on the chain of one value.
namespace cell_chain {

constexpr std::size_t kHeaderBytes = 4;
constexpr std::size_t kDataBytes = CellAlloc::kCellBytes - kHeaderBytes;

// Writes a value of at least one byte and returns the id of its first cell. Throws std::bad_alloc; no cell is
// then taken.
int Write(CellAlloc& cells, const char* data, std::size_t length);
// REQUIRES: the chain was written with this length.
void Free(CellAlloc& cells, int first, std::size_t length);
// Moves its cells from cell `end` on to lower places. `first`: where the id of the first cell stands. Throws
// std::bad_alloc; what has not moved yet stays where it is.
void MoveDown(CellAlloc& cells, unsigned char* first, std::size_t length, int end);

// The cell behind this one. REQUIRES: it is not the last one.
inline const char* Next(CellAlloc& cells, const char* cell) {
    int id;
    std::memcpy(&id, cell, sizeof id);
    return static_cast<const char*>(cells.GetCell(id));
}

}  // namespace cell_chain

// The bytes of one stored value, piece by piece: those of a slot are one piece, those of a chain one for each
// cell. Valid until any value of the container changes.
class CellBytes {
  public:
    CellBytes() = default;
    // In a slot.
    CellBytes(const unsigned char* bytes, std::size_t length)
        : piece(reinterpret_cast<const char*>(bytes)), pieceLeft(length), left(length) {}
    // In a chain.
    CellBytes(CellAlloc& cellAlloc, int firstCell, std::size_t length)
        : cells(&cellAlloc), cell(static_cast<const char*>(cellAlloc.GetCell(firstCell))), left(length) {
        OpenCell();
    }

    std::size_t Length() const { return left; }
    // The bytes up to the end of the piece; 0 at the end of the value.
    const char* Piece() const { return piece; }
    std::size_t PieceLength() const { return pieceLeft; }
    bool IsOnePiece() const { return pieceLeft == left; }
    // Moves on by `bytes`, at most to the end of the value.
    void Skip(std::size_t bytes) {
        bytes = std::min(bytes, left);
        while (bytes > 0) {
            const std::size_t step = std::min(bytes, pieceLeft);
            piece += step;
            pieceLeft -= step;
            left -= step;
            bytes -= step;
            if (pieceLeft == 0 && left > 0) {
                cell = cell_chain::Next(*cells, cell);
                OpenCell();
            }
        }
    }
    // Copies up to `count` bytes, moves behind them and returns how many there were.
    std::size_t Take(char* out, std::size_t count) {
        std::size_t done = 0;
        while (done < count && left > 0) {
            const std::size_t step = std::min(count - done, pieceLeft);
            std::memcpy(out + done, piece, step);
            done += step;
            Skip(step);
        }
        return done;
    }

  private:
    void OpenCell() {
        piece = cell + cell_chain::kHeaderBytes;
        pieceLeft = std::min(left, cell_chain::kDataBytes);
    }

    CellAlloc* cells = nullptr;  // of a chain
    const char* cell = nullptr;
    const char* piece = nullptr;
    std::size_t pieceLeft = 0;
    std::size_t left = 0;
};

}  // namespace qxdbsqlengine
