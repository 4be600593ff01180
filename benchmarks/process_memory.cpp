#include "benchmarks/process_memory.h"

#include <malloc.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>

namespace qxbench {

std::size_t ResidentMemory() {
    std::FILE* const file = std::fopen("/proc/self/statm", "r");
    if (file == nullptr)
        return 0;
    unsigned long total = 0;
    unsigned long resident = 0;
    const int read = std::fscanf(file, "%lu %lu", &total, &resident);
    std::fclose(file);
    return read == 2 ? resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE)) : 0;
}

MemoryWatch::MemoryWatch() : before((malloc_trim(0), ResidentMemory())), peak(before) {
    sampler = std::thread([this] {
        while (!stop) {
            const std::size_t now = ResidentMemory();
            if (now > peak)
                peak = now;
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    });
}

MemoryWatch::~MemoryWatch() {
    stop = true;
    sampler.join();
}

std::size_t MemoryWatch::PeakGrowth() const {
    const std::size_t now = ResidentMemory();
    const std::size_t top = now > peak ? now : peak.load();
    return top > before ? top - before : 0;
}

}  // namespace qxbench
