// Where the readers of files get their bytes.
#pragma once

#include <cstddef>

namespace qxdbsqlengine {

class ByteSource {
  public:
    virtual ~ByteSource() = default;
    // Fewer bytes than asked for mean the end, or a failure.
    virtual std::size_t Read(char* to, std::size_t count) = 0;
    // The bytes ended because of a failure, which has been reported already.
    virtual bool HasFailed() const { return false; }
};

}  // namespace qxdbsqlengine
