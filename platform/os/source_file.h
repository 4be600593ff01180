// Files that are read from their start to their end.
#pragma once

#include <cstddef>
#include <string>

#include "platform/export.h"
#include "platform/int64.h"
#include "platform/os/replacing_file.h"

namespace qxos {

// A file that is open for reading. One thread at a time. All operations but the destructor throw FileError
// (`"NAME" can't be read: REASON`). What changes in the file while it is open is read as it comes.
class QXSENG2_API SourceFile {
  public:
    // Refuses directories.
    explicit SourceFile(const std::string& path);
    ~SourceFile();
    SourceFile(const SourceFile&) = delete;
    SourceFile& operator=(const SourceFile&) = delete;

    // False for a device, a pipe and the like, whose size nobody knows.
    bool IsRegular() const { return isRegular; }
    // Bytes when it was opened; 0 unless it is regular.
    __int64 GetSize() const { return size; }
    // Fills the buffer as far as the file goes: fewer bytes come at its end only, where it is 0.
    std::size_t Read(void* buffer, std::size_t count);

  private:
    const std::string name;
    int descriptor = -1;
    bool isRegular = false;
    __int64 size = 0;
};

}  // namespace qxos
