#include "tools/qxsql/script_input.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "platform/os/file_mapping.h"
#include "tools/qxsql/file_failure.h"

namespace qxsql {

namespace {

const char StandardInputPath[] = "/dev/stdin";

[[noreturn]] void Refuse(const std::string& name, int error) {
    throw FileFailure("Cannot read " + name + ": " + std::strerror(error));
}

// A file that has no name any more, so that nothing of it stays behind however the process ends.
int MakeNamelessFile() {
    std::string path = qxos::TempDirectory() + "/QXSC_XXXXXX";
    const int file = mkstemp(path.data());
    if (file < 0)
        throw FileFailure("Cannot make a temporary file in " + qxos::TempDirectory() + ": " +
                          std::strerror(errno));
    unlink(path.c_str());
    fcntl(file, F_SETFD, FD_CLOEXEC);
    return file;
}

ssize_t ReadBlock(int file, char* block, std::size_t size) {
    ssize_t count = 0;
    do
        count = read(file, block, size);
    while (count < 0 && errno == EINTR);
    return count;
}

bool WriteBlock(int file, const char* block, std::size_t size) {
    while (size > 0) {
        const ssize_t count = write(file, block, size);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return false;
        block += count;
        size -= static_cast<std::size_t>(count);
    }
    return true;
}

}  // namespace

ScriptInput::ScriptInput(const std::string& file, Pipes pipes) : name(file), path(file) {
    if (file.empty() || file == "-")
        UseStandardInput(pipes);
    else
        UseFile(pipes);
}

ScriptInput::~ScriptInput() {
    if (copy >= 0)
        close(copy);
}

// Looked at without being opened: a pipe can be opened only once.
void ScriptInput::UseFile(Pipes pipes) {
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0)
        Refuse(name, errno);
    if (S_ISDIR(status.st_mode))
        Refuse(name, EISDIR);
    if (access(path.c_str(), R_OK) != 0)
        Refuse(name, errno);
    if (S_ISREG(status.st_mode)) {
        size = status.st_size;
    } else if (pipes == Copied) {
        const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        if (file < 0)
            Refuse(name, errno);
        Copy(file);
        close(file);
    }
}

bool ScriptInput::HasShrunk() const {
    struct stat status = {};
    return size > 0 && stat(path.c_str(), &status) == 0 && status.st_size < size;
}

void ScriptInput::UseStandardInput(Pipes pipes) {
    name = "standard input";
    path = StandardInputPath;
    struct stat status = {};
    if (fstat(STDIN_FILENO, &status) != 0)
        Refuse(name, errno);
    if (S_ISDIR(status.st_mode))
        Refuse(name, EISDIR);
    // Opened by its path a file begins at its first byte, whoever has read from it before.
    const bool isFile = S_ISREG(status.st_mode);
    const bool whole = isFile && lseek(STDIN_FILENO, 0, SEEK_CUR) == 0;
    const bool usable = whole || (!isFile && pipes == AsTheyAre);
    if (!usable || access(path.c_str(), R_OK) != 0)
        Copy(STDIN_FILENO);
    else if (whole)
        size = status.st_size;
}

std::string ScriptInput::WithName(std::string text) const {
    const std::string::size_type at = text.find(path);
    if (path != name && at != std::string::npos)
        text.replace(at, path.size(), name);
    return text;
}

void ScriptInput::Copy(int from) {
    copy = MakeNamelessFile();
    std::vector<char> block(std::size_t(1) << 18U);
    for (;;) {
        const ssize_t count = ReadBlock(from, block.data(), block.size());
        if (count < 0)
            Refuse(name, errno);
        if (count == 0)
            break;
        if (!WriteBlock(copy, block.data(), static_cast<std::size_t>(count)))
            throw FileFailure("Cannot copy " + name + " to a temporary file: " + std::strerror(errno));
        size += count;
    }
    lseek(copy, 0, SEEK_SET);
    path = "/dev/fd/" + std::to_string(copy);
}

}  // namespace qxsql
