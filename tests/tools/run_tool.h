// Runs a program as a user's shell would and keeps what it printed.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace qxtest {

struct ToolResult {
    int exitCode = -1;  // 128 + signal when a signal ended it
    std::string out;
    std::string err;
};

// `input` goes to standard input. `environment` is added to this process's own. No shell is involved.
ToolResult RunTool(const std::vector<std::string>& command, const std::string& input = "",
                   const std::map<std::string, std::string>& environment = {});

// The same on a terminal of its own: standard output is a screen of `columns` columns. What goes to standard
// error arrives on the screen as well. Line ends come back as "\n".
ToolResult RunOnTerminal(const std::vector<std::string>& command, int columns);

// A directory that goes away with its owner.
class TemporaryDirectory {
  public:
    TemporaryDirectory();
    ~TemporaryDirectory();
    std::string File(const std::string& name) const { return path + "/" + name; }
    const std::string& Path() const { return path; }

  private:
    std::string path;
};

std::string ReadFile(const std::string& name);
void WriteFile(const std::string& name, const std::string& text);

}  // namespace qxtest
