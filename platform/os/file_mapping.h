// Temporary files and views of them: what page storage spills into.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

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
    // Also asked by FileMapping::Open, with the whole size at offset 0.
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

  private:
    friend class FileMapping;

    std::string path;
    int descriptor = -1;
    __int64 size = 0;
};

// Views of a temporary file. One thread at a time (views themselves are plain memory).
//
// The address range of the whole file is set aside once in Open; a view is a slice of it, so that mapping and
// unmapping 64 KiB costs one system call or none. An unmapped view gives its resident memory back to the
// system; its content stays in the file. Offsets and sizes are bytes, in multiples of ViewGranularity.
class QXSENG2_API FileMapping {
  public:
    static constexpr std::size_t ViewGranularity = 65536;

    FileMapping();
    ~FileMapping();
    FileMapping(const FileMapping&) = delete;
    FileMapping& operator=(const FileMapping&) = delete;

    // Grows the file to `mappedSize` if it is smaller (TempFile::Resize) and makes that range mappable. The
    // file must outlive the mapping. False when the space or the addresses are refused; the mapping is closed
    // then. REQUIRES: not open.
    bool Open(TempFile& file, __int64 mappedSize);
    bool IsOpen() const;
    // Bytes that can be mapped.
    __int64 GetSize() const;
    // Invalidates all views. Nothing when not open.
    void Close();

    // The view's first byte, or null when the system refuses, the range leaves the mapping or is misaligned.
    // Views of the same range share their bytes. `fresh` says that the range will be written from its
    // beginning to its end soon: its memory is then brought in at once, which is cheaper than one fault for
    // each piece.
    void* MapView(__int64 offset, std::size_t size, bool fresh = false);
    // A view from MapView, with its size. Its bytes are in the file afterwards.
    void UnmapView(void* view, std::size_t size);

  private:
    unsigned char* base = nullptr;
    __int64 mappedSize = 0;
};

}  // namespace qxos
