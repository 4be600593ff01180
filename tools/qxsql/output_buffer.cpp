#include "tools/qxsql/output_buffer.h"

#include <unistd.h>

#include <cerrno>

namespace qxsql {

namespace {

constexpr std::size_t LargeBytes = std::size_t(1) << 18U;

}  // namespace

OutputBuffer::OutputBuffer(int fileDescriptor) : file(fileDescriptor) {}

bool OutputBuffer::WriteIfLarge() {
    return text.size() < LargeBytes ? failure == 0 : Write();
}

bool OutputBuffer::WriteIfDue() {
    if (text.size() < LargeBytes && Clock::now() - lastWrite < std::chrono::milliseconds(100))
        return failure == 0;
    return Write();
}

bool OutputBuffer::Write() {
    const char* from = text.data();
    const char* const end = from + text.size();
    while (from < end && failure == 0) {
        const ssize_t count = write(file, from, static_cast<std::size_t>(end - from));
        if (count >= 0)
            from += count;
        else if (errno != EINTR)
            failure = errno;
    }
    text.clear();
    lastWrite = Clock::now();
    return failure == 0;
}

}  // namespace qxsql
