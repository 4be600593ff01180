#include "tools/run_tool.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>
#include <utmp.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace qxtest {

namespace {

std::vector<char*> Arguments(const std::vector<std::string>& command) {
    std::vector<char*> arguments;
    for (const std::string& word : command)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    return arguments;
}

std::string ReadToEnd(int file) {
    std::string text;
    char block[65536];
    for (;;) {
        const ssize_t count = read(file, block, sizeof block);
        if (count <= 0)
            break;
        text.append(block, static_cast<std::size_t>(count));
    }
    close(file);
    return text;
}

void WaitFor(pid_t child, ToolResult& result) {
    int status = 0;
    waitpid(child, &status, 0);
    result.signalled = !WIFEXITED(status);
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

// Signals that this process ignores must not be ignored by the program that is tried.
[[noreturn]] void BecomeTool(const std::vector<char*>& arguments,
                             const std::map<std::string, std::string>& environment) {
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGPIPE})
        std::signal(number, SIG_DFL);
    for (const auto& [name, value] : environment)
        setenv(name.c_str(), value.c_str(), 1);
    execv(arguments[0], arguments.data());
    _exit(127);
}

}  // namespace

RunningTool::RunningTool(const std::vector<std::string>& command,
                         const std::map<std::string, std::string>& environment) {
    int in[2];
    int out[2];
    int err[2];
    if (pipe2(in, O_CLOEXEC) != 0 || pipe2(out, O_CLOEXEC) != 0 || pipe2(err, O_CLOEXEC) != 0) {
        ADD_FAILURE() << "no pipes";
        return;
    }
    const std::vector<char*> arguments = Arguments(command);
    child = fork();
    if (child == 0) {
        dup2(in[0], 0);
        dup2(out[1], 1);
        dup2(err[1], 2);
        BecomeTool(arguments, environment);
    }
    close(in[0]);
    close(out[1]);
    close(err[1]);
    // The program may end before it has read everything.
    std::signal(SIGPIPE, SIG_IGN);
    input = in[1];
    outReader = std::thread([this, file = out[0]] { Collect(file, &ToolResult::out); });
    errReader = std::thread([this, file = err[0]] { Collect(file, &ToolResult::err); });
}

RunningTool::~RunningTool() {
    if (child > 0) {
        kill(child, SIGKILL);
        Finish();
    }
}

void RunningTool::Collect(int file, std::string ToolResult::*part) {
    char block[65536];
    for (;;) {
        const ssize_t count = read(file, block, sizeof block);
        const std::lock_guard<std::mutex> guard(lock);
        if (count <= 0) {
            --openOutputs;
            changed.notify_all();
            break;
        }
        (result.*part).append(block, static_cast<std::size_t>(count));
        changed.notify_all();
    }
    close(file);
}

bool RunningTool::WaitFor(const std::string& text, std::string ToolResult::*part) {
    std::unique_lock<std::mutex> guard(lock);
    const auto found = [&] { return (result.*part).find(text) != std::string::npos; };
    changed.wait_for(guard, std::chrono::seconds(30), [&] { return found() || openOutputs == 0; });
    return found();
}

bool RunningTool::WaitForOutput(const std::string& text) {
    return WaitFor(text, &ToolResult::out);
}

bool RunningTool::WaitForError(const std::string& text) {
    return WaitFor(text, &ToolResult::err);
}

void RunningTool::Write(const std::string& text) {
    std::size_t written = 0;
    while (written < text.size()) {
        const ssize_t count = write(input, text.data() + written, text.size() - written);
        if (count <= 0)
            break;
        written += static_cast<std::size_t>(count);
    }
}

void RunningTool::CloseInput() {
    if (input >= 0)
        close(input);
    input = -1;
}

void RunningTool::Signal(int number) {
    kill(child, number);
}

ToolResult RunningTool::Finish() {
    CloseInput();
    if (outReader.joinable())
        outReader.join();
    if (errReader.joinable())
        errReader.join();
    const std::lock_guard<std::mutex> guard(lock);
    if (child > 0)
        qxtest::WaitFor(child, result);
    child = -1;
    return result;
}

ToolResult RunTool(const std::vector<std::string>& command, const std::string& input,
                   const std::map<std::string, std::string>& environment) {
    RunningTool tool(command, environment);
    tool.Write(input);
    return tool.Finish();
}

ToolResult RunOnTerminal(const std::vector<std::string>& command, int columns) {
    winsize size{};
    size.ws_col = static_cast<unsigned short>(columns);
    size.ws_row = 24;
    const std::vector<char*> arguments = Arguments(command);
    int terminal = -1;
    const pid_t child = forkpty(&terminal, nullptr, nullptr, &size);
    if (child == 0)
        BecomeTool(arguments, {});
    ToolResult result;
    const std::string raw = ReadToEnd(terminal);
    for (const char c : raw) {
        if (c != '\r')
            result.out += c;
    }
    WaitFor(child, result);
    return result;
}

TerminalTool::TerminalTool(const std::vector<std::string>& command,
                           const std::map<std::string, std::string>& environment) {
    winsize size{};
    size.ws_col = 80;
    size.ws_row = 24;
    if (openpty(&terminal, &screen, nullptr, nullptr, &size) != 0) {
        ADD_FAILURE() << "no terminal";
        return;
    }
    fcntl(terminal, F_SETFD, FD_CLOEXEC);
    const std::vector<char*> arguments = Arguments(command);
    child = fork();
    if (child == 0) {
        login_tty(screen);
        BecomeTool(arguments, environment);
    }
}

TerminalTool::~TerminalTool() {
    if (child > 0) {
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
    }
    close(screen);
    close(terminal);
}

bool TerminalTool::ReadSome(int milliseconds) {
    pollfd wanted{terminal, POLLIN, 0};
    if (poll(&wanted, 1, milliseconds) <= 0)
        return false;
    char block[4096];
    const ssize_t count = read(terminal, block, sizeof block);
    for (ssize_t i = 0; i < count; ++i) {
        if (block[i] != '\r')
            shown += block[i];
    }
    return count > 0;
}

bool TerminalTool::WaitFor(const std::string& text) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (shown.find(text) == std::string::npos && std::chrono::steady_clock::now() < end)
        ReadSome(50);
    return shown.find(text) != std::string::npos;
}

void TerminalTool::Type(const std::string& keys) {
    EXPECT_EQ(static_cast<ssize_t>(keys.size()), write(terminal, keys.data(), keys.size()));
}

void TerminalTool::Signal(int number) {
    kill(child, number);
}

bool TerminalTool::Echoes() const {
    termios settings{};
    EXPECT_EQ(0, tcgetattr(screen, &settings));
    return (settings.c_lflag & static_cast<tcflag_t>(ECHO)) != 0;
}

bool TerminalTool::WaitForStop() const {
    for (int i = 0; i < 3000; ++i) {
        int status = 0;
        if (waitpid(child, &status, WUNTRACED | WNOHANG) == child)
            return WIFSTOPPED(status);
        poll(nullptr, 0, 10);
    }
    return false;
}

ToolResult TerminalTool::Finish() {
    ToolResult result;
    int status = 0;
    pid_t ended = 0;
    for (int i = 0; i < 3000 && ended == 0; ++i) {
        ReadSome(10);
        ended = waitpid(child, &status, WNOHANG);
    }
    if (ended != child) {
        ADD_FAILURE() << "still running; the screen: " << shown;
        return result;
    }
    child = -1;
    while (ReadSome(0)) {
    }
    result.out = shown;
    result.signalled = !WIFEXITED(status);
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return result;
}

TemporaryDirectory::TemporaryDirectory() {
    path = (std::filesystem::temp_directory_path() / "qxtest_XXXXXX").string();
    if (mkdtemp(path.data()) == nullptr)
        ADD_FAILURE() << "no temporary directory " << path;
}

TemporaryDirectory::~TemporaryDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
}

std::string ReadFile(const std::string& name) {
    std::ifstream file(name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void WriteFile(const std::string& name, const std::string& text) {
    std::ofstream(name, std::ios::binary) << text;
}

}  // namespace qxtest
