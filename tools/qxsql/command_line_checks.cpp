#include "tools/qxsql/command_line_checks.h"

#include <stdexcept>

#include "tools/qxsql/file_formats.h"

namespace qxsql {

namespace {

void CheckSplit(const CommandLine& line) {
    if (line.dialect == nullptr)
        throw std::invalid_argument("--split needs --dialect, one of " + DialectNames());
    if (!line.connection.empty() || line.sql)
        throw std::invalid_argument(
            "--split connects to nothing: it takes the script by -f and no CONNECTION");
    if (!line.readFile.empty() || !line.parameterWords.empty() || line.IsCall())
        throw std::invalid_argument("--split runs nothing: it takes no --read and no --param");
}

// What only a server can do.
bool AsksTheServer(const CommandLine& line) {
    return !line.user.empty() || line.explain || line.statistics || line.serverOutput ||
           !line.options.empty();
}

void CheckRead(const CommandLine& line) {
    if (!line.connection.empty() || !line.sqlFile.empty() || !line.parameterWords.empty() || line.IsCall() ||
        AsksTheServer(line))
        throw std::invalid_argument("--read loads a file and takes no CONNECTION and no SQL");
    if (line.family != nullptr && OutputType(line) != qxdbsqlengine::ResultFileInsert)
        throw std::invalid_argument(
            "--dbtype goes with --read for INSERT statements alone (--format insert)");
}

void CheckLists(const CommandLine& line) {
    const char* const option = line.listDrivers ? "--drivers" : "--options";
    if (line.sql || !line.sqlFile.empty() || line.IsCall() || !line.readFile.empty() || line.split)
        throw std::invalid_argument(std::string(option) + " runs nothing, and takes no SQL");
    if (line.listDrivers && (!line.connection.empty() || line.listOptions))
        throw std::invalid_argument("--drivers takes no CONNECTION");
    if (line.listOptions && line.connection.empty() && line.family == nullptr)
        throw std::invalid_argument("--options needs a CONNECTION, or --dbtype with one of " +
                                    DialectNames());
}

void CheckCall(const CommandLine& line) {
    if (line.sql || !line.sqlFile.empty())
        throw std::invalid_argument("--procedure and --function take no SQL");
    if (line.explain)
        throw std::invalid_argument("--explain goes with SQL and scripts, not with calls");
}

void CheckInput(const CommandLine& line) {
    if (!line.readFile.empty()) {
        CheckRead(line);
    } else if (line.connection.empty()) {
        throw std::invalid_argument("CONNECTION is missing, such as sqlite:FILE");
    }
    if (!line.user.empty() && line.connection.compare(0, 7, "sqlite:") == 0)
        throw std::invalid_argument("--user: SQLite databases have no users");
    if (line.sql && !line.sqlFile.empty())
        throw std::invalid_argument("SQL is given twice: as an argument and by -f " + line.sqlFile);
}

void CheckFormatNames(const CommandLine& line) {
    if (!line.format.empty() && !IsOutputFormat(line.format))
        throw std::invalid_argument("--format: \"" + line.format + "\" is none of " + OutputFormatNames());
    if (!line.readFormat.empty() && !IsInputFormat(line.readFormat))
        throw std::invalid_argument("--read-format: \"" + line.readFormat + "\" is none of " +
                                    InputFormatNames());
}

void CheckLobs(const CommandLine& line) {
    const std::string option =
        line.lobTransfers.empty() ? "--lob-preview" : line.lobTransfers.front().Option();
    if (line.IsCall() || line.explain || !line.readFile.empty())
        throw std::invalid_argument(option + " goes with the result of SQL");
    if (line.asStrings)
        throw std::invalid_argument(option + " does not go with --as-strings: texts are no large objects");
    if (!line.lobTransfers.empty() && (!line.outputFile.empty() || !line.format.empty() || line.aligned))
        throw std::invalid_argument(option +
                                    " shows and exports no results; it goes with no -o, --format and "
                                    "--aligned");
}

void CheckFormats(const CommandLine& line) {
    if (!line.readFormat.empty() && line.readFile.empty())
        throw std::invalid_argument("--read-format goes with --read FILE");
    const bool reads = !line.readFile.empty() && InputType(line) == qxdbsqlengine::ResultFileDelimited;
    const bool writes = OutputType(line) == qxdbsqlengine::ResultFileDelimited;
    if (line.delimiter && !reads && !writes)
        throw std::invalid_argument("--delimiter goes with --format delimited, not " +
                                    (line.readFormat.empty() ? line.format : line.readFormat));
    if (!line.table.empty() && OutputType(line) != qxdbsqlengine::ResultFileInsert)
        throw std::invalid_argument(
            "--table NAME is the table of INSERT statements (--format insert, or -o FILE.sql); for an "
            "aligned "
            "table there is --aligned");
    if (line.aligned && (!line.format.empty() || !line.outputFile.empty()))
        throw std::invalid_argument("--aligned is for standard output, and goes with no --format and no -o");
}

}  // namespace

void Check(const CommandLine& line) {
    CheckFormatNames(line);
    if (line.listDrivers || line.listOptions)
        return CheckLists(line);
    if (line.split)
        return CheckSplit(line);
    if (line.dialect != nullptr && OutputType(line) != qxdbsqlengine::ResultFileInsert)
        throw std::invalid_argument(
            "--dialect goes with --split and with INSERT statements; a run takes the dialect of its server");
    CheckInput(line);
    if (line.IsCall())
        CheckCall(line);
    if (!line.separator.empty() && !line.IsScript())
        throw std::invalid_argument("--separator goes with a script (-f or standard input, without --param)");
    CheckFormats(line);
    if (line.UsesLobLocators())
        CheckLobs(line);
}

}  // namespace qxsql
