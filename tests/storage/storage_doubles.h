// Doubles for tests of the page layer and the columns.
#pragma once

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "platform/os/file_mapping.h"
#include "storage/column_set_storage.h"
#include "storage/storage_base.h"

namespace qxdbsqlengine {

// An allocator whose state can be looked at.
class OpenAlloc : public StorageAlloc<65536> {
  public:
    explicit OpenAlloc(int memoryBlocks = 10, int mappedBlocks = 100, bool cacheFile = true)
        : StorageAlloc(memoryBlocks, mappedBlocks, cacheFile) {}

    using CacheFileAlloc::Clear;
    using CacheFileAlloc::fileSize;
    using CacheFileAlloc::FileState;
    using CacheFileAlloc::fileState;
    using CacheFileAlloc::freeBlocks;
    using CacheFileAlloc::growFailed;
    using CacheFileAlloc::mappedCount;
    using CacheFileAlloc::maxMappedBlocks;
    using CacheFileAlloc::memoryBlocksLeft;
    using CacheFileAlloc::nextFileBlock;

    bool HasMapping() const { return mapping != nullptr && mapping->IsOpen(); }
    std::string Path() const { return file ? file->GetPath() : std::string(); }
    std::string FileBytes() const {
        std::ifstream stream(Path(), std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(stream), {});
    }
};

// Refuses file operations while it lives. Each kind of operation is counted from 0.
class RefusingFiles : public qxos::FaultInjector {
  public:
    RefusingFiles() { qxos::SetFileFaultInjector(this); }
    ~RefusingFiles() override { qxos::SetFileFaultInjector(nullptr); }

    bool RefuseCreate() override {
        ++creates;
        return Refuse() || refuseCreates;
    }
    bool RefuseResize(__int64 newSize) override {
        sizes.push_back(newSize);
        return Refuse() || newSize > greatestSize;
    }
    bool RefuseMap(__int64 offset, std::size_t size) override {
        const bool page = size > 0;  // else the whole file is made mappable
        if (page)
            ++pageMaps;
        return Refuse() || (page ? refusePageMaps : refuseWholeMaps);
    }

    int operations = 0;  // all of them
    int refuseFrom = -1;
    int refuseUpTo = -1;  // exclusive
    int creates = 0;
    int pageMaps = 0;
    std::vector<__int64> sizes;
    bool refuseCreates = false;
    bool refusePageMaps = false;
    bool refuseWholeMaps = false;
    __int64 greatestSize = 1LL << 60;

  private:
    bool Refuse() {
        const int n = operations++;
        return n >= refuseFrom && n < refuseUpTo;
    }
};

// Lets the n-th `operator new` from now on fail, and none after it; counted on the calling thread.
// refused_memory.cpp replaces the operator.
class RefusedMemory {
  public:
    explicit RefusedMemory(int n);
    ~RefusedMemory();
    // False when fewer than n were asked for.
    bool WasReached() const;
};

// Measures texts by their length and keeps them.
class RecordingMeasure : public LargestColumnItemCallback {
  public:
    int GetItemWidth(const std::string& text) override {
        texts.push_back(text);
        return static_cast<int>(text.size());
    }
    std::vector<std::string> texts;
};

}  // namespace qxdbsqlengine
