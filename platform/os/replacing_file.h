// Files that are written beside their target and take its place when they are whole.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/export.h"

namespace qxos {

// What the system refused of a file. what() is `"NAME" can't be DONE: REASON`, such as
// `"/tmp/a" can't be written: No space left on device`.
class QXSENG2_API FileError : public std::runtime_error {
  public:
    // `done`: "written" or "read". `code`: the system's error number.
    FileError(const std::string& file, const char* done, int code);
    FileError(const FileError&);
    FileError& operator=(const FileError&);
    ~FileError() override;

    const std::string& FileName() const { return fileName; }
    int Code() const { return systemCode; }

  private:
    std::string fileName;
    int systemCode;
};

// The new content of a file, written from its start to its end. One thread at a time.
//
// It is written to a file of a name that can't be foreseen in the target's own directory, which takes the
// target's name in Commit, so that the target has its old content or all of the new one, and is not made when
// the content does not become whole. A new target has the permissions of any file that is made, an existing
// one keeps its own, its owner and its group as far as the user may give them; other names (hard links) of it
// keep the old content. The target of symbolic links is what they lead to. What exists and is no regular
// file, such as a device or a pipe, is written directly, and so is a name below /proc, which stands for a
// file that is open already. Contents are safe from a crash of the process, and not from one of the system.
//
// All operations but the destructor throw FileError; after that only the destructor may be called.
class QXSENG2_API ReplacingFile {
  public:
    // Refuses directories, files that may not be written, and directories in which no file can be made. The
    // target is not touched unless it is written directly.
    explicit ReplacingFile(const std::string& target);
    // Without Commit the new file is removed, and the target stays as it was.
    ~ReplacingFile();
    ReplacingFile(const ReplacingFile&) = delete;
    ReplacingFile& operator=(const ReplacingFile&) = delete;

    // Appends. Bytes are gathered; a full disk may be noticed by a later call, Commit at the latest.
    void Write(const void* bytes, std::size_t count);
    // Ends the writing. Nothing may be written afterwards.
    void Commit();

  private:
    void Open();
    void OpenNew(const std::string& path, unsigned int permissions);
    void KeepOwner(unsigned int owner, unsigned int group, unsigned int permissions);
    void WriteOut(const char* bytes, std::size_t count);
    void Discard();
    [[noreturn]] void Fail(int code);

    const std::string name;  // as the caller gave it
    std::string finalPath;   // behind all links; empty when it is written directly
    std::string newPath;     // empty when there is none (any more)
    int descriptor = -1;
    std::vector<char> buffer;
};

}  // namespace qxos
