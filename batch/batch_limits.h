// Limits of the reading of scripts. They are constants for all users of the library: the symbol is not
// visible in it, and only tests, which link the layers, can set others.
#pragma once

#include <cstddef>

namespace qxbatch {

// Read when a processor is made.
struct Limits {
    long silenceMs;           // how long the parser may take for one statement
    std::size_t queuedItems;  // statements that the parser may be ahead of the reader
    std::size_t queuedBytes;  // and their text; a single longer statement passes alone
};

extern Limits limits;

}  // namespace qxbatch
