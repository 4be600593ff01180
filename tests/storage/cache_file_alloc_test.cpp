#include "storage/cache_file_alloc.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <deque>
#include <filesystem>

#include "storage/storage_doubles.h"

namespace qxdbsqlengine {
namespace {

const int kPage = 65536;

// Gives each test a directory for temporary files of its own.
class CacheFileAllocTest : public testing::Test {
  protected:
    void SetUp() override {
        const char* old = std::getenv("TMPDIR");
        hadOld = old != nullptr;
        oldDirectory = hadOld ? old : "";
        directory = std::filesystem::temp_directory_path() /
                    ("qx_pages_" + std::to_string(reinterpret_cast<std::uintptr_t>(this)) + "_" +
                     testing::UnitTest::GetInstance()->current_test_info()->name());
        std::filesystem::create_directories(directory);
        setenv("TMPDIR", directory.c_str(), 1);
    }
    void TearDown() override {
        if (hadOld)
            setenv("TMPDIR", oldDirectory.c_str(), 1);
        else
            unsetenv("TMPDIR");
        std::filesystem::remove_all(directory);
    }
    std::vector<std::filesystem::path> Files() const {
        return {std::filesystem::directory_iterator(directory), std::filesystem::directory_iterator()};
    }

    std::filesystem::path directory;
    std::string oldDirectory;
    bool hadOld = false;
};

// Pages with their own numbers written all over them.
class Pages {
  public:
    explicit Pages(OpenAlloc& pageAlloc) : alloc(pageAlloc) {}
    ~Pages() {
        for (AllocBlock& block : blocks)
            alloc.ReleasePage(block);
    }

    AllocBlock& Add() {
        blocks.emplace_back();
        alloc.AllocPage(blocks.back());
        Fill(blocks.size() - 1);
        return blocks.back();
    }
    void Add(int count) {
        for (int i = 0; i < count; ++i)
            Add();
    }
    void Fill(std::size_t i) {
        int* words = static_cast<int*>(alloc.GetPage(blocks[i]));
        std::fill(words, words + kPage / 4, static_cast<int>(i) + 1000);
    }
    bool IsIntact(std::size_t i) {
        const int* words = static_cast<const int*>(alloc.GetPage(blocks[i]));
        return std::all_of(words, words + kPage / 4,
                           [i](int word) { return word == static_cast<int>(i) + 1000; });
    }
    bool IsZero(std::size_t i) {
        const int* words = static_cast<const int*>(alloc.GetPage(blocks[i]));
        return std::all_of(words, words + kPage / 4, [](int word) { return word == 0; });
    }

    OpenAlloc& alloc;
    std::deque<AllocBlock> blocks;
};

TEST_F(CacheFileAllocTest, NothingIsMadeForNothing) {
    OpenAlloc alloc;
    EXPECT_EQ(10, alloc.memoryBlocksLeft);
    EXPECT_EQ(100, alloc.maxMappedBlocks);
    EXPECT_EQ(OpenAlloc::FileState::None, alloc.fileState);
    EXPECT_TRUE(Files().empty());
}

TEST_F(CacheFileAllocTest, EleventhPageOpensTheCacheFile) {
    {
        OpenAlloc alloc;
        Pages pages(alloc);
        for (int i = 0; i < 10; ++i) {
            EXPECT_EQ(-1, pages.Add().blockNumber);
            EXPECT_EQ(9 - i, alloc.memoryBlocksLeft);
        }
        EXPECT_TRUE(Files().empty());
        EXPECT_EQ(OpenAlloc::FileState::None, alloc.fileState);

        EXPECT_EQ(0, pages.Add().blockNumber);
        ASSERT_EQ(1u, Files().size());
        const std::filesystem::path file = Files()[0];
        EXPECT_EQ(0u, file.filename().string().find("QXHV_"));
        EXPECT_EQ(1024u * 1024u, std::filesystem::file_size(file));
        EXPECT_EQ(1024 * 1024, alloc.fileSize);
        EXPECT_EQ(std::filesystem::perms::owner_read | std::filesystem::perms::owner_write,
                  std::filesystem::status(file).permissions());
        EXPECT_EQ(1, pages.Add().blockNumber);
        EXPECT_EQ(1u, Files().size());
    }
    EXPECT_TRUE(Files().empty());  // it goes with the allocator
}

TEST_F(CacheFileAllocTest, WithoutACacheFileThePagesKeepComingFromTheHeap) {
    OpenAlloc alloc(10, 100, false);
    Pages pages(alloc);
    for (int i = 0; i < 30; ++i)
        EXPECT_EQ(-1, pages.Add().blockNumber);
    EXPECT_EQ(0, alloc.memoryBlocksLeft);
    EXPECT_TRUE(Files().empty());
    for (std::size_t i = 0; i < 30; ++i)
        EXPECT_TRUE(pages.IsIntact(i));
}

TEST_F(CacheFileAllocTest, ViewsAreDroppedInTheOrderOfMapping) {
    OpenAlloc alloc;
    Pages pages(alloc);
    pages.Add(10 + 128 + 100);  // the file grew at its page 128, and so dropped all views, for the last time
    const std::size_t oldest = 10 + 128;
    EXPECT_EQ(100, alloc.mappedCount);
    EXPECT_NE(nullptr, pages.blocks[oldest].address);
    EXPECT_TRUE(pages.IsIntact(oldest));  // a read moves nothing

    pages.Add();  // the 101st view
    EXPECT_EQ(100, alloc.mappedCount);
    EXPECT_EQ(nullptr, pages.blocks[oldest].address);
    EXPECT_EQ(128, pages.blocks[oldest].blockNumber);
    EXPECT_EQ(nullptr, pages.blocks[oldest].next);
    EXPECT_EQ(nullptr, pages.blocks[oldest].prev);
    EXPECT_NE(nullptr, pages.blocks[oldest + 1].address);

    EXPECT_TRUE(pages.IsIntact(oldest));
    EXPECT_NE(nullptr, pages.blocks[oldest].address);
    EXPECT_EQ(nullptr, pages.blocks[oldest + 1].address);
    EXPECT_NE(nullptr, pages.blocks[oldest + 2].address);
    for (std::size_t i = 0; i < pages.blocks.size(); ++i)
        EXPECT_TRUE(pages.IsIntact(i)) << i;
    EXPECT_EQ(100, alloc.mappedCount);
}

TEST_F(CacheFileAllocTest, TwoViewsAreTheLeast) {
    OpenAlloc alloc(0, 0, true);
    EXPECT_EQ(2, alloc.maxMappedBlocks);
    Pages pages(alloc);
    pages.Add(5);
    for (std::size_t i = 0; i < 5; ++i)
        EXPECT_TRUE(pages.IsIntact(i));
    EXPECT_EQ(2, alloc.mappedCount);
}

TEST_F(CacheFileAllocTest, FileDoublesWhileItIsSmall) {
    OpenAlloc alloc(0, 100, true);
    Pages pages(alloc);
    const __int64 mebibyte = 1024 * 1024;
    pages.Add(16);
    EXPECT_EQ(mebibyte, alloc.fileSize);
    EXPECT_EQ(16, alloc.mappedCount);
    EXPECT_EQ(16, pages.Add().blockNumber);
    EXPECT_EQ(2 * mebibyte, alloc.fileSize);
    EXPECT_EQ(1, alloc.mappedCount);  // a growth drops all views
    pages.Add(15);
    EXPECT_EQ(2 * mebibyte, alloc.fileSize);
    EXPECT_EQ(32, pages.Add().blockNumber);
    EXPECT_EQ(4 * mebibyte, alloc.fileSize);
    EXPECT_EQ(4u * 1024 * 1024, std::filesystem::file_size(Files()[0]));
    for (std::size_t i = 0; i < pages.blocks.size(); ++i)
        EXPECT_TRUE(pages.IsIntact(i)) << i;
}

TEST_F(CacheFileAllocTest, FileGrowsBy128MebibytesAtMost) {
    // Great pages whose views are all refused: only the file grows, and the heap pages are never touched.
    const __int64 mebibyte = 1024 * 1024;
    const int size = 8 * 1024 * 1024;
    RefusingFiles files;
    files.refusePageMaps = true;
    OpenAlloc alloc(0, 2, true);
    std::vector<__int64> sizes;
    for (int i = 0; i < 49; ++i) {
        AllocBlock block;
        alloc.AllocNewBlock(block, size);
        if (sizes.empty() || sizes.back() != alloc.fileSize)
            sizes.push_back(alloc.fileSize);
        alloc.ReleaseAllocEntry(block, false);
    }
    EXPECT_THAT(sizes, testing::ElementsAre(128 * mebibyte, 256 * mebibyte, 384 * mebibyte, 512 * mebibyte));
    EXPECT_EQ(sizes, files.sizes);
}

TEST_F(CacheFileAllocTest, FailedGrowthKeepsWhatIsInTheFile) {
    RefusingFiles files;
    files.greatestSize = 1024 * 1024;
    OpenAlloc alloc(0, 4, true);
    Pages pages(alloc);
    pages.Add(16);
    EXPECT_FALSE(alloc.growFailed);
    EXPECT_EQ(-1, pages.Add().blockNumber);
    EXPECT_TRUE(alloc.growFailed);
    EXPECT_EQ(17, alloc.nextFileBlock);  // the number is not given back
    EXPECT_EQ(1024 * 1024, alloc.fileSize);
    EXPECT_TRUE(alloc.HasMapping());
    pages.Add(20);
    EXPECT_EQ(2u, files.sizes.size());  // not tried again
    for (std::size_t i = 0; i < pages.blocks.size(); ++i)
        EXPECT_TRUE(pages.IsIntact(i)) << i;
}

TEST_F(CacheFileAllocTest, FailedGrowthAndLostMappingLeaveZeros) {
    RefusingFiles files;
    OpenAlloc alloc(0, 4, true);
    Pages pages(alloc);
    pages.Add(16);
    files.greatestSize = 1024 * 1024;
    files.refuseWholeMaps = true;
    EXPECT_EQ(-1, pages.Add().blockNumber);
    EXPECT_FALSE(alloc.HasMapping());
    EXPECT_TRUE(pages.IsIntact(16));
    EXPECT_TRUE(pages.IsZero(0));
    EXPECT_EQ(-1, pages.blocks[0].blockNumber);
}

TEST_F(CacheFileAllocTest, FileThatCannotBeCreatedIsNotTriedAgain) {
    RefusingFiles files;
    files.refuseCreates = true;
    OpenAlloc alloc(1, 4, true);
    Pages pages(alloc);
    pages.Add(5);
    EXPECT_EQ(1, files.creates);
    EXPECT_EQ(OpenAlloc::FileState::Failed, alloc.fileState);
    EXPECT_EQ(-1, pages.blocks[4].blockNumber);
    EXPECT_EQ(4, alloc.nextFileBlock);
    EXPECT_TRUE(pages.IsIntact(4));
}

TEST_F(CacheFileAllocTest, WithoutADirectoryTheNextPageTriesAgain) {
    setenv("TMPDIR", (directory / "missing").c_str(), 1);
    OpenAlloc alloc(0, 4, true);
    Pages pages(alloc);
    EXPECT_EQ(-1, pages.Add().blockNumber);
    EXPECT_EQ(OpenAlloc::FileState::None, alloc.fileState);
    EXPECT_EQ(-1, pages.Add().blockNumber);
    setenv("TMPDIR", directory.c_str(), 1);
    EXPECT_EQ(2, pages.Add().blockNumber);
    EXPECT_EQ(1u, Files().size());
}

TEST_F(CacheFileAllocTest, WithoutAMappingAllPagesAreHeapPages) {
    RefusingFiles files;
    files.refuseWholeMaps = true;
    OpenAlloc alloc(0, 4, true);
    Pages pages(alloc);
    pages.Add(20);
    EXPECT_EQ(1, files.creates);
    EXPECT_EQ(0, files.pageMaps);
    for (std::size_t i = 0; i < 20; ++i) {
        EXPECT_EQ(-1, pages.blocks[i].blockNumber);
        EXPECT_TRUE(pages.IsIntact(i));
    }
}

TEST_F(CacheFileAllocTest, NewPageWhoseViewIsRefusedIsAHeapPage) {
    RefusingFiles files;
    OpenAlloc alloc(0, 4, true);
    Pages pages(alloc);
    pages.Add();
    files.refusePageMaps = true;
    EXPECT_EQ(-1, pages.Add().blockNumber);
    files.refusePageMaps = false;
    EXPECT_EQ(2, pages.Add().blockNumber);  // number 1 is used up
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_TRUE(pages.IsIntact(i));
}

TEST_F(CacheFileAllocTest, PageWhoseViewIsRefusedLaterReadsAsZeros) {
    RefusingFiles files;
    OpenAlloc alloc(0, 2, true);
    Pages pages(alloc);
    pages.Add(4);
    files.refusePageMaps = true;
    EXPECT_TRUE(pages.IsZero(0));
    EXPECT_EQ(-1, pages.blocks[0].blockNumber);
    files.refusePageMaps = false;
    EXPECT_TRUE(pages.IsZero(0));  // for good
    EXPECT_TRUE(pages.IsIntact(1));
}

TEST_F(CacheFileAllocTest, ReleasedFilePageIsUsedAgainAsItIs) {
    OpenAlloc alloc(0, 100, true);
    Pages pages(alloc);
    pages.Add(3);
    void* address = pages.blocks[1].address;
    alloc.ReleasePage(pages.blocks[1]);
    EXPECT_EQ(0, pages.blocks[1].blockNumber);
    EXPECT_EQ(nullptr, pages.blocks[1].address);
    EXPECT_EQ(nullptr, pages.blocks[1].next);
    EXPECT_EQ(nullptr, pages.blocks[1].prev);
    EXPECT_EQ(1u, alloc.freeBlocks.size());
    EXPECT_EQ(3, alloc.mappedCount);  // the view stays

    AllocBlock again;
    alloc.AllocPage(again);
    EXPECT_EQ(1, again.blockNumber);
    EXPECT_EQ(address, again.address);
    EXPECT_EQ(1001, *static_cast<int*>(again.address));
    EXPECT_TRUE(alloc.freeBlocks.empty());
    EXPECT_EQ(3, alloc.nextFileBlock);
    // The queue finds the new record: all views can be dropped.
    alloc.Clear();
    EXPECT_EQ(nullptr, again.address);
    EXPECT_EQ(1001, *static_cast<int*>(alloc.GetPage(again)));
    alloc.ReleasePage(again);
}

TEST_F(CacheFileAllocTest, ReleasedPageWhoseViewWasDroppedIsMappedAgain) {
    OpenAlloc alloc(0, 2, true);
    Pages pages(alloc);
    pages.Add(2);
    alloc.ReleasePage(pages.blocks[0]);
    alloc.ReleasePage(pages.blocks[1]);
    ASSERT_EQ(2u, alloc.freeBlocks.size());
    AllocBlock first;
    alloc.AllocPage(first);
    EXPECT_EQ(1, first.blockNumber);  // the last one given back
    AllocBlock second;
    alloc.AllocPage(second);
    EXPECT_EQ(0, second.blockNumber);
    alloc.ReleasePage(second);
    // Push the view of the free page out.
    AllocBlock* entry = &alloc.freeBlocks.front();
    alloc.ReleaseAllocEntry(*entry, false);
    EXPECT_EQ(nullptr, entry->address);
    AllocBlock third;
    alloc.AllocPage(third);
    EXPECT_EQ(0, third.blockNumber);
    EXPECT_EQ(1000, *static_cast<int*>(third.address));
    alloc.ReleasePage(first);
    alloc.ReleasePage(third);
}

TEST_F(CacheFileAllocTest, ReleasedHeapPageRaisesTheCount) {
    OpenAlloc alloc(2, 100, true);
    Pages pages(alloc);
    pages.Add(3);
    EXPECT_EQ(0, alloc.memoryBlocksLeft);
    alloc.ReleasePage(pages.blocks[0]);
    EXPECT_EQ(1, alloc.memoryBlocksLeft);
    EXPECT_EQ(0, pages.blocks[0].blockNumber);
    EXPECT_EQ(nullptr, pages.blocks[0].address);
    EXPECT_EQ(-1, pages.Add().blockNumber);
}

TEST_F(CacheFileAllocTest, ReleaseOfAPageWithoutAViewDoesNothing) {
    OpenAlloc alloc(0, 2, true);
    Pages pages(alloc);
    pages.Add(3);
    EXPECT_EQ(nullptr, pages.blocks[0].address);
    for (bool keep : {false, true}) {
        alloc.ReleaseAllocEntry(pages.blocks[0], keep);
        EXPECT_EQ(0, pages.blocks[0].blockNumber);
        EXPECT_TRUE(alloc.freeBlocks.empty());
    }
    EXPECT_TRUE(pages.IsIntact(0));
}

// Load and read of 40 pages with one operation refused, for every one that there is.
TEST_F(CacheFileAllocTest, AnyOneRefusalLosesAtMostThePageThatItHits) {
    const int pageCount = 40;
    bool reached = true;
    for (int n = 0; reached; ++n) {
        RefusingFiles files;
        files.refuseFrom = n;
        files.refuseUpTo = n + 1;
        OpenAlloc alloc(2, 3, true);
        Pages pages(alloc);
        pages.Add(pageCount);
        const bool whileLoading = n < files.operations;
        int lost = 0;
        for (std::size_t i = 0; i < static_cast<std::size_t>(pageCount); ++i) {
            if (!pages.IsIntact(i)) {
                EXPECT_TRUE(pages.IsZero(i));
                ++lost;
            }
        }
        reached = n < files.operations;
        EXPECT_EQ(!whileLoading && reached ? 1 : 0, lost) << n;
        EXPECT_LE(alloc.mappedCount, 3);
    }
}

TEST_F(CacheFileAllocTest, RefusalsFromAnyPointOnLeaveNewDataAlone) {
    const int pageCount = 40;
    bool reached = true;
    for (int n = 0; reached; ++n) {
        RefusingFiles files;
        files.refuseFrom = n;
        files.refuseUpTo = 1 << 30;
        OpenAlloc alloc(2, 3, true);
        Pages pages(alloc);
        pages.Add(pageCount);
        for (std::size_t i = 0; i < static_cast<std::size_t>(pageCount); ++i) {
            const bool heap = pages.blocks[i].blockNumber == -1;
            const bool mapped = pages.blocks[i].address != nullptr;
            const bool intact = pages.IsIntact(i);
            EXPECT_TRUE(intact || pages.IsZero(i));
            EXPECT_TRUE(intact || !(heap || mapped)) << n << " " << i;
        }
        reached = n < files.operations;
    }
}

TEST_F(CacheFileAllocTest, RefusedMemoryLeavesARecordWithoutAPage) {
    OpenAlloc alloc(1, 2, true);
    AllocBlock block;
    {
        RefusedMemory refused(0);
        EXPECT_THROW(alloc.AllocPage(block), std::bad_alloc);
    }
    EXPECT_EQ(nullptr, block.address);
    EXPECT_EQ(0, block.blockNumber);
    EXPECT_EQ(1, alloc.memoryBlocksLeft);
    alloc.AllocPage(block);
    EXPECT_EQ(-1, block.blockNumber);
    alloc.ReleasePage(block);
}

}  // namespace
}  // namespace qxdbsqlengine
