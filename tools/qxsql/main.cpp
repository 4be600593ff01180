// qxsql: the command line over the library.

#include <cerrno>
#include <cstring>
#include <exception>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <string>

#include "drivers/sqlite/sqlite_driver.h"
#include "tools/qxsql/command_line.h"
#include "tools/qxsql/fetching.h"

namespace {

std::optional<std::string> ReadAll(std::istream& in) {
    std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    if (in.bad())
        return std::nullopt;
    return text;
}

// The SQL to run; empty when it could not be read, which has been reported.
std::optional<std::string> FindSql(const qxsql::CommandLine& line) {
    if (line.sql)
        return line.sql;
    if (line.sqlFile.empty() || line.sqlFile == "-")
        return ReadAll(std::cin);
    std::ifstream file(line.sqlFile, std::ios::binary);
    std::optional<std::string> sql;
    if (file)
        sql = ReadAll(file);
    if (!sql)
        std::cerr << "Cannot read " << line.sqlFile << ": " << std::strerror(errno) << '\n';
    return sql;
}

int Run(int argc, char** argv) {
    int exitCode = qxsql::ExitDone;
    const std::optional<qxsql::CommandLine> line = qxsql::ParseCommandLine(argc, argv, exitCode);
    if (!line)
        return exitCode;
    if (!line->readFile.empty())
        return qxsql::RunRead(*line);
    const std::optional<std::string> sql = FindSql(*line);
    if (!sql)
        return qxsql::ExitFile;
    return qxsql::RunSql(*line, *sql);
}

}  // namespace

int main(int argc, char** argv) {
    std::ios::sync_with_stdio(false);
    std::cerr << std::unitbuf;
    qxdrivers::RegisterSQLite();
    try {
        return Run(argc, argv);
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return qxsql::ExitServerError;
    }
}
