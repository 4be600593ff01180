// Where a script comes from.
#pragma once

#include <string>

namespace qxsql {

// A file that can be opened by its path as long as the object lives. One thread.
class ScriptInput {
  public:
    // What becomes of a pipe or a device: it is copied to a temporary file first, so that nobody has to wait
    // for it later, or it is left as it is.
    enum Pipes { Copied, AsTheyAre };

    // `file` as the user gave it: empty and "-" are standard input. Throws FileFailure for what can't be
    // read.
    ScriptInput(const std::string& file, Pipes pipes);
    ~ScriptInput();
    ScriptInput(const ScriptInput&) = delete;
    ScriptInput& operator=(const ScriptInput&) = delete;

    const std::string& Path() const { return path; }
    // What to call it in messages.
    const std::string& Name() const { return name; }
    // A text that may hold the path, with the name in its place.
    std::string WithName(std::string text) const;
    // Bytes; 0 when it is not known before the end.
    long long Size() const { return size; }
    // The file has fewer bytes now than it had: what was read of it may be a part.
    bool HasShrunk() const;

  private:
    void UseFile(Pipes pipes);
    void UseStandardInput(Pipes pipes);
    void Copy(int from);

    std::string name;
    std::string path;
    long long size = 0;
    int copy = -1;  // descriptor of the temporary file
};

}  // namespace qxsql
