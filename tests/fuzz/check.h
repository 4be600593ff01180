// What a fuzz target does when a promise does not hold: it stops the program, which every fuzzer notices.
#pragma once

#include <cstdlib>
#include <iostream>

#define QX_FUZZ_CHECK(condition)                                                              \
    do {                                                                                      \
        if (!(condition)) {                                                                   \
            std::cerr << __FILE__ << ":" << __LINE__ << ": " << #condition << " is not so\n"; \
            std::abort();                                                                     \
        }                                                                                     \
    } while (false)
