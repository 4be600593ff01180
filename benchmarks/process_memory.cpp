#include "benchmarks/process_memory.h"

#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <future>

namespace qxbench {

std::size_t ResidentMemory() {
    // Without streams: a sample must not allocate.
    const int file = open("/proc/self/statm", O_RDONLY | O_CLOEXEC);
    if (file < 0)
        return 0;
    char text[128] = {};
    const ssize_t length = read(file, text, sizeof text - 1);
    close(file);
    unsigned long total = 0;
    unsigned long resident = 0;
    if (length <= 0 || std::sscanf(text, "%lu %lu", &total, &resident) != 2)
        return 0;
    return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

MemoryWatch::MemoryWatch() {
    malloc_trim(0);
    std::promise<void> started;
    sampler = std::thread([this, &started] {
        peak = ResidentMemory();
        started.set_value();
        while (!stop) {
            const std::size_t now = ResidentMemory();
            if (now > peak)
                peak = now;
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    });
    // The thread's own memory is not what is measured.
    started.get_future().wait();
    before = ResidentMemory();
    peak = before;
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
