// Files of tests: a folder of their own, contents, and a disk that is full.
#pragma once

#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

namespace qxtest {

// A new folder that is removed with all that is in it.
class ScratchFolder {
  public:
    ScratchFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "qxtest_XXXXXX").string();
        if (::mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("no scratch folder");
        }
        path = name;
    }
    ~ScratchFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    const std::string& Path() const { return path; }
    std::string File(const std::string& name) const { return path + "/" + name; }
    // Of files, folders and links that are directly in it.
    std::size_t Entries() const {
        return static_cast<std::size_t>(
            std::distance(std::filesystem::directory_iterator(path), std::filesystem::directory_iterator()));
    }

  private:
    std::string path;
};

inline void PutFile(const std::string& path, const std::string& content) {
    std::ofstream file(path, std::ios::binary);
    file.write(content.data(), static_cast<std::streamsize>(content.size()));
    file.close();
    if (!file) {
        throw std::runtime_error("no file " + path);
    }
}

// All bytes; "(no file)" when there is none.
inline std::string FileContent(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file.is_open()) {
        return "(no file)";
    }
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

inline unsigned int PermissionsOf(const std::string& path) {
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

// Files of this process grow to so many bytes and no further, as on a disk that is full.
class FileSizeLimit {
  public:
    explicit FileSizeLimit(rlim_t bytes) : oldHandler(std::signal(SIGXFSZ, SIG_IGN)) {
        ::getrlimit(RLIMIT_FSIZE, &oldLimit);
        const rlimit limit = {bytes, oldLimit.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() {
        ::setrlimit(RLIMIT_FSIZE, &oldLimit);
        std::signal(SIGXFSZ, oldHandler);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

  private:
    void (*oldHandler)(int);
    rlimit oldLimit = {};
};

}  // namespace qxtest
