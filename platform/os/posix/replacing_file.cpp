#include "platform/os/replacing_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>
#include <system_error>

#include "platform/os/posix/open_names.h"

namespace qxos {

namespace {

constexpr std::size_t bufferBytes = 64 * 1024;
constexpr int namesTried = 100;
constexpr int longestChain = 40;  // of links, as the system's own limit
constexpr unsigned int plainPermissions = 0666;

std::string DirectoryOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

// Follows one link. False when the path is none.
bool FollowLink(std::string& path) {
    char target[PATH_MAX];
    const ssize_t length = ::readlink(path.c_str(), target, sizeof(target));
    if (length <= 0 || length == static_cast<ssize_t>(sizeof(target))) {
        return false;
    }
    const std::string next(target, static_cast<std::size_t>(length));
    path = next[0] == '/' ? next : DirectoryOf(path) + next;
    return true;
}

// The name behind all links, which need not exist yet, as it is even when the process changes its directory.
// Empty when /proc is on the way: a link there stands for an open file, and its text is no name.
std::string FinalPath(const std::string& name) {
    std::string path = name;
    for (int links = 0; links < longestChain; ++links) {
        std::string directory = DirectoryOf(path);
        const std::string last = path.substr(directory.size());
        const std::unique_ptr<char, decltype(&std::free)> real(
            ::realpath(directory.empty() ? "." : directory.c_str(), nullptr), &std::free);
        if (!real) {
            return path;
        }
        directory = real.get();
        directory += directory.back() == '/' ? "" : "/";
        if (directory.compare(0, 6, "/proc/") == 0) {
            return std::string();
        }
        path = directory + last;
        if (!FollowLink(path)) {
            break;
        }
    }
    return path;
}

std::string NewName(const std::string& target) {
    static constexpr char letters[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
    std::random_device random;
    std::uniform_int_distribution<std::size_t> letter(0, sizeof(letters) - 2);
    std::string name = DirectoryOf(target) + ".new-";
    for (int i = 0; i < 16; ++i) {
        name += letters[letter(random)];
    }
    return name;
}

}  // namespace

FileError::FileError(const std::string& file, const char* done, int code)
    : std::runtime_error("\"" + std::string(file.c_str()) + "\" can't be " + done + ": " +
                         std::generic_category().message(code)),
      fileName(file),
      systemCode(code) {}
FileError::FileError(const FileError&) = default;
FileError& FileError::operator=(const FileError&) = default;
FileError::~FileError() = default;

ReplacingFile::ReplacingFile(const std::string& target) : name(target) {
    try {
        Open();
    } catch (...) {
        Discard();
        throw;
    }
    buffer.reserve(bufferBytes);
}

ReplacingFile::~ReplacingFile() {
    Discard();
}

void ReplacingFile::Open() {
    if (name.empty() || name.find('\0') != std::string::npos) {
        Fail(name.empty() ? ENOENT : EINVAL);
    }
    struct stat existing = {};
    const bool exists = ::stat(name.c_str(), &existing) == 0;
    if (!exists && errno != ENOENT) {
        Fail(errno);
    }
    if (exists && S_ISDIR(existing.st_mode)) {
        Fail(EISDIR);
    }
    if (!exists || S_ISREG(existing.st_mode)) {
        finalPath = FinalPath(name);
    }
    if (finalPath.empty()) {
        descriptor = ::open(name.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC | O_NOCTTY);
        if (descriptor < 0) {
            Fail(errno);
        }
        return;
    }
    if (!exists) {
        OpenNew(finalPath, plainPermissions);
        return;
    }
    // To replace a file its directory must be writable, and nothing else; so it is asked of the file itself.
    const int probe = ::open(finalPath.c_str(), O_WRONLY | O_CLOEXEC | O_NOFOLLOW);
    if (probe < 0) {
        Fail(errno);
    }
    ::close(probe);
    OpenNew(finalPath, existing.st_mode & 0600);
    KeepOwner(existing.st_uid, existing.st_gid, existing.st_mode & 0777);
}

void ReplacingFile::OpenNew(const std::string& path, unsigned int permissions) {
    for (int i = 0; i < namesTried; ++i) {
        const std::string candidate = NewName(path);
        descriptor = ::open(candidate.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, permissions);
        if (descriptor >= 0) {
            newPath = candidate;
            AddOpenName(newPath);
            return;
        }
        if (errno != EEXIST) {
            break;
        }
    }
    Fail(errno);
}

void ReplacingFile::KeepOwner(unsigned int owner, unsigned int group, unsigned int permissions) {
    struct stat made = {};
    if (::fstat(descriptor, &made) != 0) {
        Fail(errno);
    }
    unsigned int allowed = permissions;
    if (made.st_gid != group && ::fchown(descriptor, static_cast<uid_t>(-1), group) != 0) {
        // What the old group might do must not be allowed to another one.
        allowed &= ~070U | ((permissions & 07U) << 3);
    }
    if (made.st_uid != owner) {
        // Only the superuser may; a file of another user becomes the writer's own.
        [[maybe_unused]] const int ignored = ::fchown(descriptor, owner, static_cast<gid_t>(-1));
    }
    if (::fchmod(descriptor, allowed) != 0) {
        Fail(errno);
    }
}

void ReplacingFile::Write(const void* bytes, std::size_t count) {
    const auto* const text = static_cast<const char*>(bytes);
    if (buffer.size() + count < bufferBytes) {
        buffer.insert(buffer.end(), text, text + count);
        return;
    }
    WriteOut(buffer.data(), buffer.size());
    buffer.clear();
    WriteOut(text, count);
}

void ReplacingFile::WriteOut(const char* bytes, std::size_t count) {
    while (count > 0) {
        const ssize_t written = ::write(descriptor, bytes, count);
        if (written < 0 && errno != EINTR) {
            Fail(errno);
        }
        if (written > 0) {
            bytes += written;
            count -= static_cast<std::size_t>(written);
        }
    }
}

void ReplacingFile::Commit() {
    WriteOut(buffer.data(), buffer.size());
    buffer.clear();
    const int closing = descriptor;
    descriptor = -1;
    if (::close(closing) != 0) {
        Fail(errno);
    }
    if (finalPath.empty()) {
        return;
    }
    if (::rename(newPath.c_str(), finalPath.c_str()) != 0) {
        Fail(errno);
    }
    RemoveOpenName(newPath);
    newPath.clear();
}

void ReplacingFile::Discard() {
    if (descriptor >= 0) {
        ::close(descriptor);
        descriptor = -1;
    }
    if (!newPath.empty()) {
        ::unlink(newPath.c_str());
        RemoveOpenName(newPath);
        newPath.clear();
    }
}

void ReplacingFile::Fail(int code) {
    throw FileError(name, "written", code);
}

}  // namespace qxos
