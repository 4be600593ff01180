// Pages for the results store: the first few from the heap, all later ones slices of one temporary file that
// are mapped a view at a time, at most a fixed number of them at once.
//
// Not thread-safe: the owning container serialises all use, and since asking for a page may map a view and
// drop another, a read is a use too. An address is valid until the next operation that can map a view.
//
// Modes for new pages, in this order:
//   1. heap, while `memoryBlocksLeft` lasts (for ever without a cache file);
//   2. cache file, from the first page that the heap count does not cover;
//   3. heap again, when the file can't be made, grown or mapped. Silent: a query goes on while the heap
//   lasts.
// Pages given back are reused before the file grows. Only a refused heap page is reported (std::bad_alloc).
#pragma once

#include <list>
#include <memory>

#include "platform/export.h"
#include "platform/int64.h"

namespace qxos {
class FileMapping;
class TempFile;
}  // namespace qxos

namespace qxdbsqlengine {

// What an owner of a page keeps. All zeros: no page. While a view of a file page is mapped, the record is
// linked into the allocator's queue by its address, so it must not be moved or copied then.
struct AllocBlock {
    int blockNumber = 0;      // number of the page in the cache file, -1 for a heap page
    void* address = nullptr;  // null while a file page is not mapped
    AllocBlock* next = nullptr;
    AllocBlock* prev = nullptr;
};

class QXSENG2_API CacheFileAlloc {
  public:
    // `memoryBlocks`: pages from the heap before the file is used. `maxMappedBlocks`: limit of mapped views,
    // at least 2 (two items are compared in place).
    CacheFileAlloc(int memoryBlocks, int maxMappedBlocks, bool useCacheFile);
    CacheFileAlloc(const CacheFileAlloc&) = delete;
    CacheFileAlloc& operator=(const CacheFileAlloc&) = delete;
    // Unmaps all views and removes the cache file. Heap pages belong to the owners of their records.
    ~CacheFileAlloc();

    // Fills `block` with a page of `size` bytes, of unspecified content. Throws std::bad_alloc; `block` is
    // then without a page.
    void AllocNewBlock(AllocBlock& block, int size);
    // Maps a file page whose view was dropped. If that is refused, a zeroed heap page takes its place and the
    // content is lost: the accepted end of the line when the address space is used up. Throws std::bad_alloc.
    void* ReacquireBlock(AllocBlock& block, int size);
    // `keep` false: drop the view (the page can be reacquired) or delete the heap page. `keep` true: give the
    // page back for reuse and zero the record. A file page without a view is left as it is, and its place in
    // the file is not reused.
    void ReleaseAllocEntry(AllocBlock& block, bool keep);

  protected:
    void OpenCacheFile(int size);
    void GrowFile();
    void CheckQueueSize();
    void InsertAllocBlock(AllocBlock& block);
    void RemoveAllocBlock(AllocBlock& block);
    // Unmaps every view. The records keep their links, which nobody reads any more.
    void Clear();

    // State of the temporary file: not tried yet (or no name for it could be made), open, or given up for
    // good.
    enum class FileState { None, Open, Failed };

    int memoryBlocksLeft;
    int maxMappedBlocks;
    int nextFileBlock = 0;  // only grows
    bool useCacheFile;
    FileState fileState = FileState::None;
    std::unique_ptr<qxos::TempFile> file;
    std::unique_ptr<qxos::FileMapping> mapping;  // open as long as views can be made
    __int64 fileSize = 0;     // bytes that views may lie in; 0 when there is nothing to map
    bool growFailed = false;  // never cleared
    AllocBlock queueHead;     // the newest view stands next to the head,
    AllocBlock queueTail;     // the oldest next to the tail: first in, first out, a read moves nothing
    std::list<AllocBlock> freeBlocks;
    int mappedCount = 0;

  private:
    void TakeFreeBlock(AllocBlock& block, int size);
    void* MapPage(AllocBlock& block, int size, bool fresh);

    int viewSize = 0;  // bytes of every view; one allocator has pages of one size
};

template <int PageSize>
class StorageAlloc : public CacheFileAlloc {
  public:
    StorageAlloc(int memoryBlocks, int mappedBlocks, bool cacheFile)
        : CacheFileAlloc(memoryBlocks, mappedBlocks, cacheFile) {}

    void AllocPage(AllocBlock& block) { AllocNewBlock(block, PageSize); }
    void* GetPage(AllocBlock& block) {
        void* address = block.address;
        return address != nullptr ? address : ReacquireBlock(block, PageSize);
    }
    void ReleasePage(AllocBlock& block) { ReleaseAllocEntry(block, true); }
};

}  // namespace qxdbsqlengine
