// Runs a program as a user's shell would and keeps what it printed.
#pragma once

#include <sys/types.h>

#include <condition_variable>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace qxtest {

struct ToolResult {
    int exitCode = -1;  // 128 + signal when a signal ended it
    bool signalled = false;
    std::string out;
    std::string err;
};

// `input` goes to standard input. `environment` is added to this process's own. No shell is involved.
ToolResult RunTool(const std::vector<std::string>& command, const std::string& input = "",
                   const std::map<std::string, std::string>& environment = {});

// A program while it runs. Waits have limits of half a minute.
class RunningTool {
  public:
    explicit RunningTool(const std::vector<std::string>& command,
                         const std::map<std::string, std::string>& environment = {});
    // Kills it when it still runs.
    ~RunningTool();
    RunningTool(const RunningTool&) = delete;
    RunningTool& operator=(const RunningTool&) = delete;

    // Until what was printed to standard output, or to standard error, holds the text. False when it ends
    // without it.
    bool WaitForOutput(const std::string& text);
    bool WaitForError(const std::string& text);
    void Write(const std::string& input);
    void CloseInput();
    void Signal(int number);
    // Closes its input and waits for its end.
    ToolResult Finish();

  private:
    void Collect(int file, std::string ToolResult::*part);
    bool WaitFor(const std::string& text, std::string ToolResult::*part);

    pid_t child = -1;
    int input = -1;
    std::mutex lock;
    std::condition_variable changed;
    ToolResult result;    // guarded by lock
    int openOutputs = 2;  // guarded by lock
    std::thread outReader;
    std::thread errReader;
};

// The same on a terminal of its own: standard output is a screen of `columns` columns. What goes to standard
// error arrives on the screen as well. Line ends come back as "\n".
ToolResult RunOnTerminal(const std::vector<std::string>& command, int columns);

// A program on a terminal of its own, of 80 columns, which it also has as /dev/tty. Waits have limits of half
// a minute.
class TerminalTool {
  public:
    explicit TerminalTool(const std::vector<std::string>& command,
                          const std::map<std::string, std::string>& environment = {});
    // Kills it when it still runs.
    ~TerminalTool();
    TerminalTool(const TerminalTool&) = delete;
    TerminalTool& operator=(const TerminalTool&) = delete;

    // Until the screen shows the text. False when it does not.
    bool WaitFor(const std::string& text);
    // As typed on the keyboard; "\x03" is Ctrl-C.
    void Type(const std::string& keys);
    void Signal(int number);
    // The terminal shows what is typed.
    bool Echoes() const;
    // Until the process has stopped (Ctrl-Z). False when it does not.
    bool WaitForStop() const;
    // Waits for its end. The screen, with line ends as "\n".
    ToolResult Finish();

  private:
    bool ReadSome(int milliseconds);

    int terminal = -1;
    int screen = -1;  // the program's end, kept open so that the terminal stays
    pid_t child = -1;
    std::string shown;
};

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
