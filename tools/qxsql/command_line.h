// What the user asked for on the command line.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "params/parameter_list.h"
#include "tools/qxsql/dialects.h"
#include "tools/qxsql/row_ranges.h"
#include "tools/qxsql/statement_parameters.h"

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

// A large object of the result to a file, or from one.
struct LobTransfer {
    bool isImport = false;
    std::string place;   // ROW:COL as it was given
    int row = 0;         // as sorted, from 0
    std::string column;  // a label, or a number from 0
    std::string file;

    std::string Option() const { return isImport ? "--lob-import" : "--lob-export"; }
};

// What is called by its name instead of SQL.
enum class CallKind { None, Procedure, Function };

struct CommandLine {
    std::string connection;
    std::string user;                 // the password never stands on the command line
    const Dialect* family = nullptr;  // of --dbtype; null: as the driver finds the server
    std::optional<std::string> sql;
    std::string sqlFile;
    bool create = false;
    CallKind call = CallKind::None;
    std::string callName;

    // What is shown instead of running anything.
    bool listDrivers = false;
    bool listOptions = false;

    // Of scripts: what comes by -f or from standard input.
    std::string separator;  // empty: the usual one of the server
    bool split = false;
    const Dialect* dialect = nullptr;  // of --split and of INSERT statements; null: that of the server
    bool verbose = false;
    bool progress = false;

    std::vector<ParameterWord> parameterWords;  // for a call, whose parameters the server describes
    qxdbsqlengine::ParameterList parameters;    // of a statement
    std::optional<std::chrono::milliseconds> timeout;

    std::string outputFile;
    std::string format;  // a name of file_formats.h; empty: by the file's extension
    std::string table;   // of INSERT statements; empty: that of the statement
    std::optional<char> delimiter;
    bool headers = true;
    bool quoting = true;
    bool expandTabs = true;
    std::vector<int> columns;
    std::vector<RowRange> rows;  // of each result; empty: all
    std::optional<int> result;
    std::string readFile;
    std::string readFormat;  // empty: by the file's extension

    std::vector<LobTransfer> lobTransfers;
    std::optional<int> lobPreview;  // bytes that are shown of large objects; without it: all

    std::vector<SortTerm> sort;
    int maxRows = 0;
    int maxErrors = 0;
    bool asStrings = false;
    std::vector<std::pair<unsigned int, std::string>> options;
    bool explain = false;
    bool statistics = false;
    std::optional<int> serverOutput;  // bytes of its buffer, 0: the server's choice
    bool aligned = false;
    bool timing = false;
    bool quiet = false;

    // Large objects stay on the server, but for their beginnings.
    bool UsesLobLocators() const { return lobPreview || !lobTransfers.empty(); }
    bool IsCall() const { return call != CallKind::None; }
    // What comes by -f or from standard input is split into its statements, unless parameters make it one
    // statement.
    bool IsScript() const { return !sql && !IsCall() && parameterWords.empty(); }
};

// Parses the arguments. Prints help, or what is wrong, itself; the result is then empty and `exitCode` says
// how to leave.
std::optional<CommandLine> ParseCommandLine(int argc, const char* const* argv, int& exitCode);

// "name:desc,2" and the like. Throws std::invalid_argument that names the faulty piece.
std::vector<SortTerm> ParseSort(const std::string& text);

}  // namespace qxsql
