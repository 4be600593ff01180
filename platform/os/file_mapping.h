// Temporary files and views of them: what page storage spills into.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "platform/export.h"
#include "platform/int64.h"

namespace qxos {

// Refuses operations of files and mappings, for tests. Each operation asks before it does anything; true
// makes it fail as if the system had refused.
class QXSENG2_API FaultInjector {
  public:
    virtual ~FaultInjector();
    virtual bool RefuseCreate() = 0;
    virtual bool RefuseResize(__int64 newSize) = 0;
    // Also asked by FileMapping::Open, with offset 0 and size 0.
    virtual bool RefuseMap(__int64 offset, std::size_t size) = 0;
};

// Process-wide, not owned; null removes it. Set and removed while no other thread uses files or mappings.
QXSENG2_API void SetFileFaultInjector(FaultInjector* injector);

// The directory for temporary files: TMPDIR, else the system's default; without a separator at the end.
QXSENG2_API std::string TempDirectory();

// A file of its own name in the directory for temporary files, readable and writable by this user alone,
// removed with the object in every orderly end. One thread at a time.
class QXSENG2_API TempFile {
  public:
    TempFile();
    // Closes and removes the file. Mappings of it must be closed before.
    ~TempFile();
    TempFile(const TempFile&) = delete;
    TempFile& operator=(const TempFile&) = delete;

    // Makes the file, empty. False when the system refuses; IsOpen is false then, and Create may be tried
    // again. REQUIRES: not open.
    bool Create(const std::string& prefix);
    bool IsOpen() const;
    // Empty unless open.
    const std::string& GetPath() const;
    // Bytes.
    __int64 GetSize() const;
    // Grows the file with its space reserved, so that a full disk is refused here and never met in a view;
    // new bytes read as 0. Shrinking is for unmapped ranges only. False leaves the size as it was.
    bool Resize(__int64 newSize);
    // Closes and removes the file; nothing when not open.
    void Close();
    // Closes the file and leaves it to the caller, who removes it. Returns its path.
    std::string Keep();

  private:
    friend class FileMapping;

    std::string path;
    int descriptor = -1;
    __int64 size = 0;
};

// Removes the names of all temporary files that are open in this process, and of replacing files
// (replacing_file.h); their owners go on using them. For an end of the process that leaves their owners
// behind, such as on a thread that never came back. Any thread.
QXSENG2_API void RemoveOpenTempFiles();

// Views of a temporary file. One thread at a time (views themselves are plain memory).
//
// The address range of the whole file is set aside once in Open; a view is a slice of it, so that mapping
// again what was written before costs no change of the address map. Where the system refuses such a range
// (a small address space), each view is mapped by itself. Offsets are bytes, in multiples of ViewGranularity.
//
// An unmapped view gives its resident memory back to the system, but not at once: the ParkedViews that were
// unmapped last stay resident (16 MiB), so that a view which is soon needed again costs nothing. The content
// is in the file in any case.
class QXSENG2_API FileMapping {
  public:
    static constexpr std::size_t ViewGranularity = 65536;
    static constexpr std::size_t ParkedViews = 256;

    FileMapping();
    ~FileMapping();
    FileMapping(const FileMapping&) = delete;
    FileMapping& operator=(const FileMapping&) = delete;

    // Grows the file to `mappedSize` if it is smaller (TempFile::Resize) and makes that range mappable. The
    // file must outlive the mapping. False when the space is refused; the mapping is closed then.
    // REQUIRES: not open.
    bool Open(TempFile& file, __int64 mappedSize);
    bool IsOpen() const;
    // Bytes that can be mapped.
    __int64 GetSize() const;
    // Invalidates all views. Nothing when not open.
    void Close();

    // The view's first byte, or null when the system refuses, the range leaves the mapping, `size` is 0 or
    // the offset is misaligned. Views of the same range share their bytes. With `fresh` the range holds
    // nothing worth keeping and is about to be written: its bytes are 0 then, and its memory is brought in at
    // once, many times cheaper than one fault for each piece. Other views are brought in by touching them.
    void* MapView(__int64 offset, std::size_t size, bool fresh = false);
    // A view from MapView, with its size; null is ignored. Its bytes are in the file afterwards.
    void UnmapView(void* view, std::size_t size);

  private:
    void Park(std::size_t granule);
    void Unpark(std::size_t granule);

    TempFile* file = nullptr;
    __int64 mappedSize = 0;
    unsigned char* base =
        nullptr;               // of the whole range, at a multiple of ViewGranularity; null: single views
    void* reserved = nullptr;  // what `base` was cut from
    std::size_t reservedSize = 0;
    // A view that was unmapped and is still resident.
    struct ParkedView {
        std::size_t granule;
        std::uint64_t stamp;  // of its unmapping
    };
    bool IsParked(const ParkedView& entry) const { return parkStamps[entry.granule] == entry.stamp; }

    std::deque<ParkedView> parked;          // in the order of unmapping; some are in use again since
    std::vector<std::uint64_t> parkStamps;  // by granule: its last unmapping, 0 when it is not parked
    std::uint64_t lastStamp = 0;
    std::size_t parkedCount = 0;  // granules with a stamp
};

}  // namespace qxos
