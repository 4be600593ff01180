#include "tools/run_tool.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

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

int WaitFor(pid_t child) {
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace

ToolResult RunTool(const std::vector<std::string>& command, const std::string& input,
                   const std::map<std::string, std::string>& environment) {
    int in[2];
    int out[2];
    int err[2];
    if (pipe2(in, O_CLOEXEC) != 0 || pipe2(out, O_CLOEXEC) != 0 || pipe2(err, O_CLOEXEC) != 0)
        return {};
    const std::vector<char*> arguments = Arguments(command);
    const pid_t child = fork();
    if (child == 0) {
        dup2(in[0], 0);
        dup2(out[1], 1);
        dup2(err[1], 2);
        for (const auto& [name, value] : environment)
            setenv(name.c_str(), value.c_str(), 1);
        execv(arguments[0], arguments.data());
        _exit(127);
    }
    close(in[0]);
    close(out[1]);
    close(err[1]);
    ToolResult result;
    std::thread writer([&] {
        // The program may end before it has read everything.
        std::size_t written = 0;
        while (written < input.size()) {
            const ssize_t count = write(in[1], input.data() + written, input.size() - written);
            if (count <= 0)
                break;
            written += static_cast<std::size_t>(count);
        }
        close(in[1]);
    });
    std::thread errors([&] { result.err = ReadToEnd(err[0]); });
    result.out = ReadToEnd(out[0]);
    errors.join();
    writer.join();
    result.exitCode = WaitFor(child);
    return result;
}

ToolResult RunOnTerminal(const std::vector<std::string>& command, int columns) {
    winsize size{};
    size.ws_col = static_cast<unsigned short>(columns);
    size.ws_row = 24;
    const std::vector<char*> arguments = Arguments(command);
    int terminal = -1;
    const pid_t child = forkpty(&terminal, nullptr, nullptr, &size);
    if (child == 0) {
        execv(arguments[0], arguments.data());
        _exit(127);
    }
    ToolResult result;
    const std::string raw = ReadToEnd(terminal);
    for (const char c : raw) {
        if (c != '\r')
            result.out += c;
    }
    result.exitCode = WaitFor(child);
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
