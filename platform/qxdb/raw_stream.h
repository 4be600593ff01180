// The stream of a large object in the current row.
#pragma once

#include "platform/export.h"

namespace qxdb {

// Owned by the field that hands it out; valid until the cursor moves. Used on the thread of the statement.
class QXSENG2_API RawStream {
  public:
    virtual ~RawStream();
    // Reads up to `length` bytes into `buffer` and returns their number; fewer than asked only at the end.
    // Throws Errors when the server fails.
    virtual unsigned int Read(unsigned char* buffer, unsigned int length) = 0;
};

}  // namespace qxdb
