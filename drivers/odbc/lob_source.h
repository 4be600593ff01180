// Files that large objects come from.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/int64.h"
#include "platform/os/source_file.h"

namespace qxdrivers::odbc {

// Reads a file from its start to its end. A file that is longer or shorter at its end than it was at the
// start is a failure: what was read then is no content that it ever had. All throw Errors.
class LobSource {
  public:
    explicit LobSource(const std::string& fileName);
    LobSource(const LobSource&) = delete;
    LobSource& operator=(const LobSource&) = delete;

    const std::string& Name() const { return name; }
    // Nothing for what has no size, such as a pipe.
    std::optional<__int64> Size() const;
    // Up to `length` bytes; fewer only at the end.
    std::size_t Read(char* target, std::size_t length);
    // Compares the size with that of the start, for a file that somebody else has read.
    void CheckSize() const;

  private:
    const std::string name;
    std::unique_ptr<qxos::SourceFile> file;
    __int64 done = 0;
};

}  // namespace qxdrivers::odbc
