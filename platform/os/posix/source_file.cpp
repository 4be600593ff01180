#include "platform/os/source_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace qxos {

namespace {

constexpr const char* doneWord = "read";

}  // namespace

SourceFile::SourceFile(const std::string& path) : name(path) {
    if (path.find('\0') != std::string::npos) {
        throw FileError(name, doneWord, EINVAL);
    }
    descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
    struct stat status = {};
    if (descriptor < 0 || ::fstat(descriptor, &status) != 0 || S_ISDIR(status.st_mode)) {
        const int code = descriptor >= 0 && S_ISDIR(status.st_mode) ? EISDIR : errno;
        if (descriptor >= 0) {
            ::close(descriptor);
        }
        throw FileError(name, doneWord, code);
    }
    isRegular = S_ISREG(status.st_mode);
    size = isRegular ? static_cast<__int64>(status.st_size) : 0;
}

SourceFile::~SourceFile() {
    ::close(descriptor);
}

std::size_t SourceFile::Read(void* buffer, std::size_t count) {
    std::size_t total = 0;
    while (total < count) {
        const ssize_t got = ::read(descriptor, static_cast<char*>(buffer) + total, count - total);
        if (got < 0 && errno != EINTR) {
            throw FileError(name, doneWord, errno);
        }
        if (got == 0) {
            break;
        }
        total += got > 0 ? static_cast<std::size_t>(got) : 0;
    }
    return total;
}

}  // namespace qxos
