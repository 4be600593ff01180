// What the system says of this process.
#pragma once

#include <fstream>
#include <string>

namespace qxtest {

// The number behind a word of /proc/self/status, which is in KiB for memory: "VmRSS:", "VmHWM:". 0 when it is
// not there.
inline long ProcessStatus(const std::string& wanted) {
    std::ifstream file("/proc/self/status");
    std::string word;
    long value = 0;
    while (file >> word) {
        if (word == wanted) {
            file >> value;
            break;
        }
    }
    return value;
}

}  // namespace qxtest
