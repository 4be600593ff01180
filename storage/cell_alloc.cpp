#include "storage/cell_alloc.h"

#include <cstdint>

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

// The lowest free cell, which is then taken; -1 when there is none.
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

bool IsAllFree(const std::uint32_t* bitmap) {
    for (int word = 0; word < kBitmapWords - 1; ++word) {
        if (bitmap[word] != kAllFree)
            return false;
    }
    return bitmap[kBitmapWords - 1] == kLastAllFree;
}

}  // namespace

CellAlloc::CellAlloc(PageAlloc& pageAlloc) : alloc(pageAlloc) {}

CellAlloc::~CellAlloc() {
    for (Page& page : pages)
        alloc.ReleasePage(page.block);
}

void CellAlloc::NewPage(Page& page) {
    alloc.AllocPage(page.block);
    page.present = true;
    std::uint32_t* bitmap = Bitmap(page.block.address);
    for (int word = 0; word < kBitmapWords - 1; ++word)
        bitmap[word] = kAllFree;
    bitmap[kBitmapWords - 1] = kLastAllFree;
}

void* CellAlloc::Allocate(int& id) {
    for (;; ++searchStart) {
        if (searchStart >= static_cast<int>(pages.size())) {
            pages.emplace_back();
            try {
                NewPage(pages.back());
            } catch (...) {
                pages.pop_back();
                throw;
            }
        }
        Page& page = pages[static_cast<std::size_t>(searchStart)];
        if (!page.present)
            NewPage(page);
        void* address = alloc.GetPage(page.block);
        const int n = TakeFreeCell(Bitmap(address));
        if (n >= 0) {
            id = searchStart * kCellsPerPage + n;
            return Cell(address, n);
        }
    }
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
    if (IsAllFree(bitmap)) {
        alloc.ReleasePage(page.block);
        page.present = false;
    }
}

}  // namespace qxdbsqlengine
