// A heap of 128-byte cells in pages, for small variable records that can be freed again.
//
// Page layout (private, exact):
//   0-63    16 little-endian 32-bit words of free bitmap: bit n mod 32 of word n / 32 set means cell n is
//   free.
//           Bit 31 of word 15 is always 0: there are 511 cells, 0 to 510.
//   64-127  unused
//   128-..  cell n at byte (n + 1) * 128
// A cell id is page * 511 + n.
//
// Not thread-safe: the owning container serialises all use. An address is valid until the next operation on
// anything of the same container; with an allocator that has no cache file, as editable results have it,
// until the cell is freed.
#pragma once

#include <deque>

#include "platform/export.h"
#include "storage/storage_base.h"

namespace qxdbsqlengine {

class QXSENG2_API CellAlloc {
  public:
    static constexpr int kCellBytes = 128;
    static constexpr int kCellsPerPage = 511;

    // The allocator must outlive the heap.
    explicit CellAlloc(PageAlloc& pageAlloc);
    CellAlloc(const CellAlloc&) = delete;
    CellAlloc& operator=(const CellAlloc&) = delete;
    // Gives all pages back.
    ~CellAlloc();

    // Stores the id of a free cell in `id` and returns its address; the content is unspecified. The lowest
    // free cell of the lowest page is taken. Throws std::bad_alloc; nothing is then allocated.
    void* Allocate(int& id);
    // REQUIRES: the cell is allocated.
    void* GetCell(int id);
    // A page whose last used cell goes is given back. REQUIRES: the cell is allocated.
    void Free(int id);

    // What the heap holds at present.
    int CellsInUse() const { return cellsInUse; }
    int PagesInUse() const { return pagesInUse; }

    // Cells that are freed here and there leave pages half empty. Then the owners of cells move those from
    // DenseEnd() on by MoveDown, and the last pages go back.
    //
    // True when the pages are some 8 % and two more than the cells need.
    bool IsSparse() const {
        const int needed = DenseEnd() / kCellsPerPage;
        return pagesInUse > needed + needed / 12 + 2;
    }
    // Where the ids would end if the cells lay side by side, in whole pages.
    int DenseEnd() const { return (cellsInUse + kCellsPerPage - 1) / kCellsPerPage * kCellsPerPage; }
    // Moves a cell from `end` on, with its content, to the lowest free place and changes `id`. Throws
    // std::bad_alloc; nothing has changed then. REQUIRES: the cell is allocated.
    void MoveDown(int& id, int end) {
        if (id >= end)
            MoveToLowest(id);
    }

  private:
    struct Page {
        AllocBlock block;
        int used = 0;  // cells; without any the page is given back, and the record is all zeros
    };

    void MoveToLowest(int& id);
    void NewPage(Page& page);
    void DropPage(Page& page);

    int searchStart = 0;  // the lowest page that may hold a free cell
    std::deque<Page> pages;
    PageAlloc& alloc;
    int cellsInUse = 0;
    int pagesInUse = 0;
};

}  // namespace qxdbsqlengine
