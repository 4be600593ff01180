// What the user asked for on the command line.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace qxsql {

// Exit codes that scripts can trust.
enum ExitCode : int {
    ExitDone = 0,
    ExitServerError = 1,
    ExitUsage = 2,
    ExitNoConnection = 3,
    ExitFile = 4,
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
};

// Parses the arguments. Prints help, or what is wrong, itself; the result is then empty and `exitCode` says
// how to leave.
std::optional<CommandLine> ParseCommandLine(int argc, const char* const* argv, int& exitCode);

// "name:desc,2" and the like. Throws std::invalid_argument that names the faulty piece.
std::vector<SortTerm> ParseSort(const std::string& text);

}  // namespace qxsql
