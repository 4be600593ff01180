// What the user asked for on the command line.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "params/parameter_list.h"
#include "tools/qxsql/dialects.h"

namespace qxsql {

// Exit codes that scripts can trust.
enum ExitCode : int {
    ExitDone = 0,
    ExitServerError = 1,
    ExitUsage = 2,
    ExitNoConnection = 3,
    ExitFile = 4,
    ExitTimeout = 5,
    ExitCancelFailed = 6,
    ExitInterrupted = 130
};

struct SortTerm {
    std::string column;  // a label, or a number from 0
    bool ascending = true;
};

struct CommandLine {
    std::string connection;
    std::optional<std::string> sql;
    std::string sqlFile;
    bool create = false;

    // Of scripts: what comes by -f or from standard input.
    std::string separator;  // empty: the usual one of the server
    bool split = false;
    const Dialect* dialect = nullptr;  // of --split
    bool verbose = false;
    bool progress = false;

    qxdbsqlengine::ParameterList parameters;
    std::optional<std::chrono::milliseconds> timeout;

    std::string outputFile;
    std::string format;  // tab, comma, pipe, delimited; empty: by the file's extension
    std::optional<char> delimiter;
    bool headers = true;
    bool quoting = true;
    bool expandTabs = true;
    std::vector<int> columns;
    std::optional<int> result;
    std::string readFile;

    std::vector<SortTerm> sort;
    int maxRows = 0;
    int maxErrors = 0;
    bool asStrings = false;
    std::vector<std::pair<unsigned int, std::string>> options;
    bool table = false;
    bool timing = false;
    bool quiet = false;

    // What comes by -f or from standard input is split into its statements, unless parameters make it one
    // statement.
    bool IsScript() const { return !sql && parameters.GetParameterCount() == 0; }
};

// Parses the arguments. Prints help, or what is wrong, itself; the result is then empty and `exitCode` says
// how to leave.
std::optional<CommandLine> ParseCommandLine(int argc, const char* const* argv, int& exitCode);

// "name:desc,2" and the like. Throws std::invalid_argument that names the faulty piece.
std::vector<SortTerm> ParseSort(const std::string& text);

}  // namespace qxsql
