#include "storage/cell_alloc.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <map>
#include <random>
#include <vector>

#include "storage/storage_doubles.h"

namespace qxdbsqlengine {
namespace {

const std::uint32_t* BitmapBehind(void* firstCell) {
    return static_cast<const std::uint32_t*>(firstCell) - 128 / 4;
}

TEST(CellAllocTest, LayoutIsBitmapGapAndCells) {
    OpenAlloc alloc;
    CellAlloc cells(alloc);
    int id = -1;
    void* first = cells.Allocate(id);
    EXPECT_EQ(0, id);
    const std::uint32_t* bitmap = BitmapBehind(first);
    EXPECT_EQ(0xFFFFFFFEU, bitmap[0]);
    for (int word = 1; word < 15; ++word)
        EXPECT_EQ(0xFFFFFFFFU, bitmap[word]) << word;
    EXPECT_EQ(0x7FFFFFFFU, bitmap[15]);

    for (int n = 1; n < 511; ++n) {
        void* cell = cells.Allocate(id);
        EXPECT_EQ(n, id);
        EXPECT_EQ(static_cast<char*>(first) + n * 128, cell);
        EXPECT_EQ(cell, cells.GetCell(id));
    }
    for (int word = 0; word < 16; ++word)
        EXPECT_EQ(0U, bitmap[word]) << word;
    EXPECT_EQ(9, alloc.memoryBlocksLeft);
    cells.Allocate(id);
    EXPECT_EQ(511, id);  // the first of the second page
    EXPECT_EQ(8, alloc.memoryBlocksLeft);

    cells.Free(37);
    EXPECT_EQ(1U << 5, bitmap[1]);
    cells.Allocate(id);
    EXPECT_EQ(37, id);
    EXPECT_EQ(0U, bitmap[1]);
    cells.Allocate(id);
    EXPECT_EQ(512, id);
}

TEST(CellAllocTest, TheLowestFreeCellOfTheLowestPageIsTaken) {
    OpenAlloc alloc;
    CellAlloc cells(alloc);
    int id = -1;
    for (int i = 0; i < 3 * 511; ++i)
        cells.Allocate(id);
    cells.Free(1100);
    cells.Free(600);
    cells.Free(520);
    for (int expected : {520, 600, 1100, 3 * 511}) {
        cells.Allocate(id);
        EXPECT_EQ(expected, id);
    }
}

TEST(CellAllocTest, FreeOfTheLastUsedCellReleasesThePage) {
    OpenAlloc alloc(4, 100, false);
    CellAlloc cells(alloc);
    int id = -1;
    for (int i = 0; i < 511 + 1; ++i)
        cells.Allocate(id);
    EXPECT_EQ(2, alloc.memoryBlocksLeft);
    for (int i = 0; i < 511; ++i)
        cells.Free(i);
    EXPECT_EQ(3, alloc.memoryBlocksLeft);
    void* cell = cells.Allocate(id);  // brings a page back, with a new bitmap
    EXPECT_EQ(0, id);
    EXPECT_EQ(2, alloc.memoryBlocksLeft);
    EXPECT_EQ(0xFFFFFFFEU, BitmapBehind(cell)[0]);
    EXPECT_EQ(0x7FFFFFFFU, BitmapBehind(cell)[15]);
    cells.Free(511);
    cells.Free(0);
    EXPECT_EQ(4, alloc.memoryBlocksLeft);
}

TEST(CellAllocTest, CellsMoveDownAndTheLastPagesGoBack) {
    OpenAlloc alloc(100, 100, false);
    CellAlloc cells(alloc);
    std::vector<int> ids;
    for (int i = 0; i < 40 * 511; ++i) {
        int id = -1;
        std::memset(cells.Allocate(id), i % 251, 128);
        ids.push_back(id);
    }
    EXPECT_EQ(40, cells.PagesInUse());
    EXPECT_EQ(40 * 511, cells.CellsInUse());
    EXPECT_EQ(40 * 511, cells.DenseEnd());
    EXPECT_FALSE(cells.IsSparse());
    for (int i = 0; i < 40 * 511; i += 10)
        cells.Free(ids[static_cast<std::size_t>(i)]);
    EXPECT_EQ(40, cells.PagesInUse());
    EXPECT_EQ(36 * 511, cells.CellsInUse());
    EXPECT_FALSE(cells.IsSparse());  // 40 pages are three more than 36 and two
    const int before = ids[1];
    for (int i = 1; i < 40 * 511; i += 10)
        cells.Free(ids[static_cast<std::size_t>(i)]);
    EXPECT_TRUE(cells.IsSparse());
    const int end = cells.DenseEnd();
    EXPECT_EQ(32 * 511, end);
    for (int i = 0; i < 40 * 511; ++i) {
        if (i % 10 < 2)
            continue;
        int& id = ids[static_cast<std::size_t>(i)];
        const int old = id;
        cells.MoveDown(id, end);
        ASSERT_EQ(old < end, old == id);
        ASSERT_LT(id, end);
        const unsigned char* const bytes = static_cast<const unsigned char*>(cells.GetCell(id));
        for (int byte = 0; byte < 128; byte += 127)
            ASSERT_EQ(i % 251, bytes[byte]);
    }
    EXPECT_EQ(32, cells.PagesInUse());
    EXPECT_EQ(32 * 511, cells.CellsInUse());
    EXPECT_EQ(100 - 32, alloc.memoryBlocksLeft);
    EXPECT_FALSE(cells.IsSparse());
    int id = -1;
    cells.Allocate(id);
    EXPECT_EQ(end, id);
    EXPECT_EQ(1, before);
}

TEST(CellAllocTest, DestructionGivesThePagesBack) {
    OpenAlloc alloc(4, 100, false);
    {
        CellAlloc cells(alloc);
        int id = 0;
        for (int i = 0; i < 600; ++i)
            cells.Allocate(id);
        EXPECT_EQ(2, alloc.memoryBlocksLeft);
    }
    EXPECT_EQ(4, alloc.memoryBlocksLeft);
}

// Random traffic against a plain map, in heap pages and in pages of a file with two views.
TEST(CellAllocTest, CellsKeepTheirBytes) {
    for (bool cacheFile : {false, true}) {
        OpenAlloc alloc(0, 2, cacheFile);
        CellAlloc cells(alloc);
        std::map<int, int> expected;
        std::mt19937 random(7);
        for (int step = 0; step < 20000; ++step) {
            if (expected.empty() || random() % 100 < (step < 12000 ? 60U : 30U)) {
                int id = -1;
                void* cell = cells.Allocate(id);
                std::memset(cell, step % 251, 128);
                ASSERT_TRUE(expected.emplace(id, step % 251).second) << "cell given out twice";
            } else {
                auto i = expected.lower_bound(static_cast<int>(random() % 4000));
                if (i == expected.end())
                    i = expected.begin();
                const unsigned char* bytes = static_cast<const unsigned char*>(cells.GetCell(i->first));
                for (int byte = 0; byte < 128; ++byte)
                    ASSERT_EQ(i->second, bytes[byte]);
                cells.Free(i->first);
                expected.erase(i);
            }
        }
        for (const auto& [id, value] : expected)
            ASSERT_EQ(value, *static_cast<const unsigned char*>(cells.GetCell(id)));
    }
}

TEST(CellAllocTest, RefusedMemoryAllocatesNothing) {
    OpenAlloc alloc(0, 100, false);
    CellAlloc cells(alloc);
    int id = -1;
    for (int n : {0, 1}) {
        RefusedMemory refused(n);
        try {
            cells.Allocate(id);
            EXPECT_FALSE(refused.WasReached());
            cells.Free(id);
        } catch (const std::bad_alloc&) {
            EXPECT_EQ(-1, id);
        }
    }
    cells.Allocate(id);
    EXPECT_EQ(0, id);
    cells.Free(0);  // the page is gone
    {
        RefusedMemory refused(0);
        EXPECT_THROW(cells.Allocate(id), std::bad_alloc);
    }
    cells.Allocate(id);
    EXPECT_EQ(0, id);
}

}  // namespace
}  // namespace qxdbsqlengine
