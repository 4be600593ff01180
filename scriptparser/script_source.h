// Where the bytes of a script come from.
#pragma once

#include <cstddef>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

namespace qxscriptparser {

class ScriptSource {
  public:
    virtual ~ScriptSource() = default;
    // Up to `count` bytes, as many as are there without waiting for more, but at least one; 0 at the end.
    // Throws ScriptError.
    virtual std::size_t Read(char* to, std::size_t count) = 0;
};

// A file, a pipe or a device. A file that is deleted meanwhile is read to its end.
class FileSource final : public ScriptSource {
  public:
    // `name` is in the local code page. Throws ScriptError when there is no such file or it is a directory.
    explicit FileSource(std::string name);
    std::size_t Read(char* to, std::size_t count) override;

  private:
    const std::string fileName;
    std::vector<char> block;
    std::filebuf file;
};

// A text in memory, which is not copied.
class MemorySource final : public ScriptSource {
  public:
    explicit MemorySource(std::string_view text) : rest(text) {}
    std::size_t Read(char* to, std::size_t count) override;

  private:
    std::string_view rest;
};

}  // namespace qxscriptparser
