// Writing much text to a descriptor.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace qxsql {

// Collects text and writes it in large pieces; what has waited for a tenth of a second goes out with the next
// piece of work. One thread. The descriptor stays the caller's.
class OutputBuffer {
  public:
    explicit OutputBuffer(int fileDescriptor);

    // To be appended to.
    std::string& Text() { return text; }
    // Writes when there is enough, or when it is time. False once writing has failed; the text is dropped
    // then.
    bool WriteIfDue();
    bool WriteIfLarge();
    bool Write();
    // The errno of the failure, 0 without one.
    int Failure() const { return failure; }

  private:
    using Clock = std::chrono::steady_clock;

    const int file;
    std::string text;
    int failure = 0;
    Clock::time_point lastWrite;  // the first piece goes at once
};

}  // namespace qxsql
