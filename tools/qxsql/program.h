// The whole program but for what is registered with it.
#pragma once

namespace qxsql {

// Runs the command line over the drivers and the script parser that are registered, and returns the exit
// code. After ExitCancelFailed a thread is still inside a driver: the process must end without its usual
// cleaning up, which that thread would not survive (EndProcess).
int Main(int argc, const char* const* argv);

// Writes out what is buffered and ends the process as `exitCode` asks for.
[[noreturn]] void EndProcess(int exitCode);

}  // namespace qxsql
