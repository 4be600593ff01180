#include "tools/qxsql/command_line.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <stdexcept>

namespace qxsql {

namespace {

const char Description[] =
    "qxsql runs SQL over a connection and shows, sorts or exports its results.\n"
    "Results of any size stay usable in little memory: rows go into pages that spill into a temporary "
    "file.\n";

const char Footer[] =
    "CONNECTION is a driver's name, a colon and its data source: sqlite:FILE or sqlite::memory:\n"
    "SQL comes from the argument, from -f FILE, or from standard input.\n"
    "\n"
    "Results go to standard output: an aligned table on a terminal, tab-delimited text otherwise.\n"
    "Row counts, server messages, errors, progress and timing go to standard error.\n"
    "\n"
    "Exit codes: 0 done, 1 the server reported an error, 2 usage, 3 no connection,\n"
    "            4 a file could not be read or written, 130 ended by Ctrl-C (what had arrived is shown).\n"
    "\n"
    "Examples:\n"
    "  qxsql sqlite:shop.db \"SELECT * FROM customer\"\n"
    "  qxsql --create sqlite:new.db -f schema.sql\n"
    "  qxsql sqlite:shop.db -o out.csv --sort name,2:desc \"SELECT * FROM customer\"\n"
    "  qxsql --read out.csv --sort 0\n";

// CLI11 hands out "a,b,c" as one text where the pieces are ours to name in messages.
std::vector<std::string> SplitAtCommas(const std::string& text) {
    std::vector<std::string> pieces;
    std::string::size_type from = 0;
    for (;;) {
        const std::string::size_type comma = text.find(',', from);
        pieces.push_back(text.substr(from, comma - from));
        if (comma == std::string::npos)
            return pieces;
        from = comma + 1;
    }
}

int ParseNumber(const std::string& text, const char* what) {
    int value = 0;
    const char* const end = text.data() + text.size();
    const std::from_chars_result parsed = std::from_chars(text.data(), end, value);
    if (parsed.ec != std::errc() || parsed.ptr != end)
        throw std::invalid_argument(std::string(what) + ": \"" + text + "\" is not a whole number");
    return value;
}

std::vector<int> ParseColumns(const std::string& text) {
    std::vector<int> columns;
    for (const std::string& piece : SplitAtCommas(text))
        columns.push_back(ParseNumber(piece, "--columns"));
    return columns;
}

std::pair<unsigned int, std::string> ParseOption(const std::string& text) {
    const std::string::size_type equals = text.find('=');
    if (equals == std::string::npos)
        throw std::invalid_argument("--option: \"" + text + "\" has no \"=\"; it is ID=VALUE");
    const int id = ParseNumber(text.substr(0, equals), "--option");
    if (id < 0)
        throw std::invalid_argument("--option: \"" + text + "\": an id is not negative");
    return {static_cast<unsigned int>(id), text.substr(equals + 1)};
}

char ParseDelimiter(const std::string& text) {
    if (text == "\\t")
        return '\t';
    if (text.size() != 1)
        throw std::invalid_argument("--delimiter: \"" + text + "\" is not one character of one byte");
    return text[0];
}

// The texts that need more than CLI11's own conversions.
struct RawTexts {
    std::string sql;
    std::string columns;
    std::string sort;
    std::string delimiter;
    std::vector<std::string> options;
    int result = -1;
    bool noHeaders = false;
    bool noQuoting = false;
    bool keepTabs = false;
};

void DeclareInput(CLI::App& app, CommandLine& line, RawTexts& raw) {
    app.add_option("CONNECTION", line.connection, "where to run: DRIVER:DATASOURCE");
    app.add_option("SQL", raw.sql, "what to run; one or several statements");
    app.add_option("-f,--file", line.sqlFile, "read the SQL from FILE (- is standard input)")
        ->type_name("FILE");
    app.add_flag("--create", line.create, "create the database file when it does not exist");
    app.add_option("--read", line.readFile, "load a delimited FILE instead of running SQL")
        ->type_name("FILE");
    app.add_flag("--as-strings", line.asStrings, "fetch every column as text");
    app.add_option("--max-rows", line.maxRows, "stop each result after N rows (0: no limit)")
        ->type_name("N")
        ->check(CLI::NonNegativeNumber);
    app.add_option("--max-errors", line.maxErrors, "stop after N errors (0: no limit)")
        ->type_name("N")
        ->check(CLI::NonNegativeNumber);
    app.add_option("--option", raw.options, "a query option, by its number; can be given several times")
        ->type_name("ID=VALUE")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
}

void DeclareOutput(CLI::App& app, CommandLine& line, RawTexts& raw) {
    app.add_option("-o,--output", line.outputFile, "export to FILE")->type_name("FILE");
    app.add_option("--format", line.format,
                   "tab, comma, pipe or delimited; without it by the file's extension")
        ->check(CLI::IsMember({"tab", "comma", "pipe", "delimited"}));
    app.add_option("--delimiter", raw.delimiter, "the delimiter of --format delimited (never quotes)")
        ->type_name("C");
    app.add_flag("--no-headers", raw.noHeaders, "no line of column labels");
    app.add_flag("--no-quoting", raw.noQuoting, "never quote; line ends and delimiters become blanks");
    app.add_flag("--keep-tabs", raw.keepTabs, "keep tabs in values instead of four blanks");
    app.add_option("--columns", raw.columns, "which columns and in which order, from 0: 0,2")
        ->type_name("N,...");
    app.add_option("--result", raw.result, "only this result set, from 0 (without it: all)")
        ->type_name("N")
        ->check(CLI::NonNegativeNumber);
    app.add_option("--sort", raw.sort, "sort by columns, by label or number from 0: name,2:desc")
        ->type_name("COL[:desc],...");
    app.add_flag("--table", line.table, "an aligned table even when standard output is no terminal");
    app.add_flag("--timing", line.timing, "tell times, rows per second and peak memory");
    app.add_flag("--quiet", line.quiet, "print nothing but results and errors");
}

void Interpret(const RawTexts& raw, bool hasSql, CommandLine& line) {
    if (hasSql)
        line.sql = raw.sql;
    line.headers = !raw.noHeaders;
    line.quoting = !raw.noQuoting;
    line.expandTabs = !raw.keepTabs;
    if (!raw.columns.empty())
        line.columns = ParseColumns(raw.columns);
    if (!raw.sort.empty())
        line.sort = ParseSort(raw.sort);
    if (!raw.delimiter.empty())
        line.delimiter = ParseDelimiter(raw.delimiter);
    if (raw.result >= 0)
        line.result = raw.result;
    for (const std::string& option : raw.options)
        line.options.push_back(ParseOption(option));

    if (line.readFile.empty() && line.connection.empty())
        throw std::invalid_argument("CONNECTION is missing, such as sqlite:FILE");
    if (!line.readFile.empty() && (!line.connection.empty() || !line.sqlFile.empty()))
        throw std::invalid_argument("--read loads a file and takes no CONNECTION and no SQL");
    if (line.sql && !line.sqlFile.empty())
        throw std::invalid_argument("SQL is given twice: as an argument and by -f " + line.sqlFile);
    if (line.delimiter && !line.format.empty() && line.format != "delimited")
        throw std::invalid_argument("--delimiter goes with --format delimited, not " + line.format);
}

}  // namespace

std::vector<SortTerm> ParseSort(const std::string& text) {
    std::vector<SortTerm> terms;
    for (const std::string& piece : SplitAtCommas(text)) {
        SortTerm term;
        term.column = piece;
        const std::string::size_type colon = piece.rfind(':');
        if (colon != std::string::npos) {
            const std::string direction = piece.substr(colon + 1);
            if (direction == "asc" || direction == "desc") {
                term.column = piece.substr(0, colon);
                term.ascending = direction == "asc";
            }
        }
        if (term.column.empty())
            throw std::invalid_argument("--sort: a column is missing in \"" + text + "\"");
        terms.push_back(term);
    }
    return terms;
}

std::optional<CommandLine> ParseCommandLine(int argc, const char* const* argv, int& exitCode) {
    CLI::App app(Description, "qxsql");
    app.footer(Footer);
    app.get_formatter()->column_width(28);
    CommandLine line;
    RawTexts raw;
    DeclareInput(app, line, raw);
    DeclareOutput(app, line, raw);
    try {
        app.parse(argc, argv);
        Interpret(raw, app.count("SQL") > 0, line);
    } catch (const CLI::ParseError& error) {
        exitCode = app.exit(error) == 0 ? ExitDone : ExitUsage;
        return std::nullopt;
    } catch (const std::invalid_argument& error) {
        std::cerr << error.what() << "\nRun with --help for more information.\n";
        exitCode = ExitUsage;
        return std::nullopt;
    }
    return line;
}

}  // namespace qxsql
