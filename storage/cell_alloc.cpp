#include "storage/cell_alloc.h"

#include <cstdint>
#include <cstring>

namespace qxdbsqlengine {

namespace {

const int kBitmapWords = 16;
const int kWordBits = 32;
const std::uint32_t kAllFree = 0xFFFFFFFFU;
const std::uint32_t kLastAllFree = 0x7FFFFFFFU;  // there is no cell 511

// The words are little-endian on every machine that this runs on.
std::uint32_t* Bitmap(void* page) {
    return static_cast<std::uint32_t*>(page);
}

void* Cell(void* page, int n) {
    return static_cast<unsigned char*>(page) + (n + 1) * CellAlloc::kCellBytes;
}

// The lowest free cell, which is then taken. REQUIRES: there is one.
int TakeFreeCell(std::uint32_t* bitmap) {
    for (int word = 0; word < kBitmapWords; ++word) {
        const std::uint32_t bits = bitmap[word];
        if (bits != 0) {
            bitmap[word] = bits & (bits - 1);
            return word * kWordBits + __builtin_ctz(bits);
        }
    }
    return -1;
}

}  // namespace

CellAlloc::CellAlloc(PageAlloc& pageAlloc) : alloc(pageAlloc) {}

CellAlloc::~CellAlloc() {
    for (Page& page : pages)
        alloc.ReleasePage(page.block);
}

void CellAlloc::NewPage(Page& page) {
    alloc.AllocPage(page.block);
    ++pagesInUse;
    std::uint32_t* bitmap = Bitmap(page.block.address);
    for (int word = 0; word < kBitmapWords - 1; ++word)
        bitmap[word] = kAllFree;
    bitmap[kBitmapWords - 1] = kLastAllFree;
}

void CellAlloc::DropPage(Page& page) {
    alloc.ReleasePage(page.block);
    --pagesInUse;
}

void* CellAlloc::Allocate(int& id) {
    // The counts say which pages are full, so that the search does not touch their memory.
    const int count = static_cast<int>(pages.size());
    while (searchStart < count && pages[static_cast<std::size_t>(searchStart)].used == kCellsPerPage)
        ++searchStart;
    if (searchStart == count)
        pages.emplace_back();
    Page& page = pages[static_cast<std::size_t>(searchStart)];
    if (page.used == 0) {
        try {
            NewPage(page);
        } catch (...) {
            if (searchStart == count)
                pages.pop_back();
            throw;
        }
    }
    void* address = alloc.GetPage(page.block);
    const int n = TakeFreeCell(Bitmap(address));
    ++page.used;
    ++cellsInUse;
    id = searchStart * kCellsPerPage + n;
    return Cell(address, n);
}

void* CellAlloc::GetCell(int id) {
    return Cell(alloc.GetPage(pages[static_cast<std::size_t>(id / kCellsPerPage)].block), id % kCellsPerPage);
}

void CellAlloc::Free(int id) {
    const int number = id / kCellsPerPage;
    const int n = id % kCellsPerPage;
    Page& page = pages[static_cast<std::size_t>(number)];
    std::uint32_t* bitmap = Bitmap(alloc.GetPage(page.block));
    bitmap[n / kWordBits] |= 1U << (n % kWordBits);
    if (searchStart > number)
        searchStart = number;
    --cellsInUse;
    if (--page.used == 0)
        DropPage(page);
}

void CellAlloc::MoveToLowest(int& id) {
    int newId;
    void* const target = Allocate(newId);
    std::memcpy(target, GetCell(id), kCellBytes);
    Free(id);
    id = newId;
}

}  // namespace qxdbsqlengine
