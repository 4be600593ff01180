#include "tools/qxsql/program.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <optional>

#include "platform/os/file_mapping.h"
#include "tools/qxsql/command_line.h"
#include "tools/qxsql/driver_list.h"
#include "tools/qxsql/fetching.h"
#include "tools/qxsql/file_failure.h"
#include "tools/qxsql/splitting.h"

namespace qxsql {

namespace {

int Dispatch(const CommandLine& line) {
    if (line.listDrivers) {
        PrintDrivers(std::cout);
        return ExitDone;
    }
    if (line.listOptions)
        return ListOptions(line);
    if (line.split)
        return RunSplit(line);
    return line.readFile.empty() ? RunOnConnection(line) : RunRead(line);
}

}  // namespace

int Main(int argc, const char* const* argv) {
    std::ios::sync_with_stdio(false);
    std::cerr << std::unitbuf;
    try {
        int exitCode = ExitDone;
        const std::optional<CommandLine> line = ParseCommandLine(argc, argv, exitCode);
        return line ? Dispatch(*line) : exitCode;
    } catch (const FileFailure& failure) {
        std::cerr << failure.what() << '\n';
        return ExitFile;
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return ExitServerError;
    }
}

void EndProcess(int exitCode) {
    if (exitCode != ExitCancelFailed)
        std::exit(exitCode);
    std::cout.flush();
    std::fflush(nullptr);
    // The store is still held by the run that never came back.
    qxos::RemoveOpenTempFiles();
    std::_Exit(exitCode);
}

}  // namespace qxsql
