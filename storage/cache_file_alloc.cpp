#include "storage/cache_file_alloc.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "platform/os/file_mapping.h"

namespace qxdbsqlengine {

namespace {

const int kFirstPages = 16;                 // of the cache file when it is made
const __int64 kGreatestGrowth = 134217728;  // bytes by which the file grows at most
const int kLeastMappedBlocks = 2;           // two values are compared where they lie
const char* const kFileNamePrefix = "QXHV_";

void DeleteHeapPage(void* address) {
    delete[] static_cast<unsigned char*>(address);
}

void MakeHeapPage(AllocBlock& block, int size) {
    block = AllocBlock();
    block.address = new unsigned char[static_cast<std::size_t>(size)];
    block.blockNumber = -1;
}

}  // namespace

CacheFileAlloc::CacheFileAlloc(int memoryBlocks, int mappedBlocks, bool cacheFile)
    : memoryBlocksLeft(memoryBlocks),
      maxMappedBlocks(std::max(mappedBlocks, kLeastMappedBlocks)),
      useCacheFile(cacheFile) {
    queueHead.next = &queueTail;
    queueTail.prev = &queueHead;
}

CacheFileAlloc::~CacheFileAlloc() {
    Clear();
    mapping.reset();  // before the file that it maps
    file.reset();
}

void CacheFileAlloc::AllocNewBlock(AllocBlock& block, int size) {
    if (!useCacheFile || memoryBlocksLeft > 0) {
        MakeHeapPage(block, size);
        if (memoryBlocksLeft > 0)
            --memoryBlocksLeft;
        return;
    }
    if (!freeBlocks.empty()) {
        TakeFreeBlock(block, size);
        return;
    }
    if (fileState == FileState::None)
        OpenCacheFile(size);
    block = AllocBlock();
    block.blockNumber = nextFileBlock++;
    const __int64 offset = static_cast<__int64>(block.blockNumber) * size;
    if (offset >= fileSize && mapping && !growFailed)
        GrowFile();
    if (MapPage(block, size, true) == nullptr)
        MakeHeapPage(block, size);
}

// The page given back last keeps its number and its content; its view may still be mapped.
void CacheFileAlloc::TakeFreeBlock(AllocBlock& block, int size) {
    block = freeBlocks.front();
    freeBlocks.pop_front();
    if (block.address != nullptr) {  // it stands in the queue, which must find the new record from now on
        block.prev->next = &block;
        block.next->prev = &block;
        return;
    }
    try {
        ReacquireBlock(block, size);
    } catch (...) {
        block = AllocBlock();
        throw;
    }
}

void* CacheFileAlloc::ReacquireBlock(AllocBlock& block, int size) {
    if (void* address = MapPage(block, size, false))
        return address;
    MakeHeapPage(block, size);
    std::memset(block.address, 0, static_cast<std::size_t>(size));
    return block.address;
}

// Null, and the record unchanged, when there is nothing to map or the system refuses. `fresh`: the page holds
// nothing yet.
void* CacheFileAlloc::MapPage(AllocBlock& block, int size, bool fresh) {
    const __int64 offset = static_cast<__int64>(block.blockNumber) * size;
    if (!mapping || offset < 0 || offset >= fileSize)
        return nullptr;
    void* address = mapping->MapView(offset, static_cast<std::size_t>(size), fresh);
    if (address == nullptr)
        return nullptr;
    block.address = address;
    InsertAllocBlock(block);
    CheckQueueSize();
    return address;
}

void CacheFileAlloc::ReleaseAllocEntry(AllocBlock& block, bool keep) {
    if (block.blockNumber == -1) {
        DeleteHeapPage(block.address);
        block.address = nullptr;
        if (keep) {
            ++memoryBlocksLeft;
            block = AllocBlock();
        }
        return;
    }
    if (block.address == nullptr)
        return;
    if (!keep) {
        RemoveAllocBlock(block);
        mapping->UnmapView(block.address, static_cast<std::size_t>(viewSize));
        block.address = nullptr;
        return;
    }
    freeBlocks.push_front(block);
    AllocBlock& entry = freeBlocks.front();
    entry.prev->next = &entry;
    entry.next->prev = &entry;
    block = AllocBlock();
}

void CacheFileAlloc::OpenCacheFile(int size) {
    // Without a directory there is no name for the file: that may be otherwise at the next page.
    std::error_code error;
    if (!std::filesystem::is_directory(qxos::TempDirectory(), error))
        return;
    viewSize = size;
    auto newFile = std::make_unique<qxos::TempFile>();
    if (!newFile->Create(kFileNamePrefix)) {
        fileState = FileState::Failed;
        return;
    }
    file = std::move(newFile);
    fileState = FileState::Open;
    fileSize = static_cast<__int64>(size) * kFirstPages;
    mapping = std::make_unique<qxos::FileMapping>();
    if (!mapping->Open(*file, fileSize))
        mapping.reset();
}

void CacheFileAlloc::GrowFile() {
    const __int64 newSize = fileSize + std::min(fileSize, kGreatestGrowth);
    Clear();
    mapping->Close();
    if (mapping->Open(*file, newSize)) {
        fileSize = newSize;
        return;
    }
    growFailed = true;
    if (!mapping->Open(*file, fileSize))
        mapping.reset();
}

void CacheFileAlloc::CheckQueueSize() {
    if (mappedCount > maxMappedBlocks)
        ReleaseAllocEntry(*queueTail.prev, false);
}

void CacheFileAlloc::InsertAllocBlock(AllocBlock& block) {
    block.next = queueHead.next;
    block.prev = &queueHead;
    queueHead.next->prev = &block;
    queueHead.next = &block;
    ++mappedCount;
}

void CacheFileAlloc::RemoveAllocBlock(AllocBlock& block) {
    block.prev->next = block.next;
    block.next->prev = block.prev;
    block.next = nullptr;
    block.prev = nullptr;
    --mappedCount;
}

void CacheFileAlloc::Clear() {
    for (AllocBlock* block = queueHead.next; block != &queueTail; block = block->next) {
        mapping->UnmapView(block->address, static_cast<std::size_t>(viewSize));
        block->address = nullptr;
    }
    queueHead.next = &queueTail;
    queueTail.prev = &queueHead;
    mappedCount = 0;
}

}  // namespace qxdbsqlengine
