// Resident memory of this process.
#pragma once

#include <atomic>
#include <cstddef>
#include <thread>

namespace qxbench {

// Bytes of resident memory now.
std::size_t ResidentMemory();

// Samples the resident memory every 5 ms on a thread of its own until it is destroyed.
class MemoryWatch {
  public:
    MemoryWatch();
    ~MemoryWatch();
    // The largest growth over the memory at construction, in bytes.
    std::size_t PeakGrowth() const;

  private:
    std::size_t before = 0;
    std::atomic<std::size_t> peak{0};
    std::atomic<bool> stop{false};
    std::thread sampler;
};

}  // namespace qxbench
