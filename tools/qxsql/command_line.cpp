#include "tools/qxsql/command_line.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <cmath>
#include <stdexcept>

#include "tools/qxsql/help_text.h"
#include "tools/qxsql/statement_parameters.h"

namespace qxsql {

namespace {

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

std::chrono::milliseconds ParseTimeout(const std::string& text) {
    constexpr double longest = 1e9;  // seconds: some thirty years, far from the limits of clocks
    double seconds = 0;
    const char* const end = text.data() + text.size();
    const std::from_chars_result parsed = std::from_chars(text.data(), end, seconds);
    if (parsed.ec != std::errc() || parsed.ptr != end || !(seconds > 0) || seconds > longest)
        throw std::invalid_argument("--timeout: \"" + text + "\" is not a time in seconds above 0");
    return std::chrono::milliseconds(static_cast<long long>(std::ceil(seconds * 1000)));
}

const Dialect* ParseDialect(const std::string& text) {
    const Dialect* const dialect = FindDialect(text);
    if (dialect == nullptr)
        throw std::invalid_argument("--dialect: \"" + text + "\" is none of " + DialectNames());
    return dialect;
}

// The --param words in their order, each with the --param-type in front of it.
class ParameterWords {
  public:
    void AddType(const std::string& type) {
        RefuseLoneType();
        pendingType = type;
    }
    void AddParameter(const std::string& text) {
        words.push_back({pendingType.value_or(""), text});
        pendingType.reset();
    }
    const std::vector<ParameterWord>& Take() const {
        RefuseLoneType();
        return words;
    }

  private:
    void RefuseLoneType() const {
        if (pendingType)
            throw std::invalid_argument("--param-type " + *pendingType + " has no --param behind it");
    }

    std::optional<std::string> pendingType;
    std::vector<ParameterWord> words;
};

// The texts that need more than CLI11's own conversions.
struct RawTexts {
    std::string sql;
    std::string columns;
    std::string sort;
    std::string delimiter;
    std::string dialect;
    std::optional<std::string> timeout;
    std::vector<std::string> options;
    ParameterWords parameters;
    int result = -1;
    bool noHeaders = false;
    bool noQuoting = false;
    bool keepTabs = false;
};

void DeclareInput(CLI::App& app, CommandLine& line, RawTexts& raw) {
    app.add_option("CONNECTION", line.connection, "where to run: DRIVER:DATASOURCE");
    app.add_option("SQL", raw.sql, "what to run; one or several statements");
    app.add_option("-f,--file", line.sqlFile, "run the script FILE (- is standard input)")->type_name("FILE");
    app.add_flag("--create", line.create, "create the database file when it does not exist");
    app.add_option("--read", line.readFile, "load a delimited FILE instead of running SQL")
        ->type_name("FILE");
    app.add_flag("--as-strings", line.asStrings, "fetch every column as text");
    app.add_option("--max-rows", line.maxRows, "stop each result after N rows (0: no limit)")
        ->type_name("N")
        ->check(CLI::NonNegativeNumber);
    app.add_option("--timeout", raw.timeout, "cancel what still runs after that time; fractions are allowed")
        ->type_name("SECONDS");
    app.add_option("--option", raw.options, "a query option, by its number; can be given several times")
        ->type_name("ID=VALUE")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
}

void DeclareParameters(CLI::App& app, RawTexts& raw) {
    const char* const group = "Parameters";
    app.add_option_function<std::string>(
           "--param", [&raw](const std::string& text) { raw.parameters.AddParameter(text); },
           "the next parameter of the statement, or the one of that name")
        ->type_name("[NAME=]VALUE")
        ->trigger_on_parse()
        ->group(group);
    app.add_option_function<std::string>(
           "--param-type", [&raw](const std::string& type) { raw.parameters.AddType(type); },
           "the type of the next --param: " + ParameterTypeNames())
        ->type_name("TYPE")
        ->trigger_on_parse()
        ->group(group);
}

void DeclareScripts(CLI::App& app, CommandLine& line, RawTexts& raw) {
    const char* const group = "Scripts";
    app.add_option("--separator", line.separator, "what ends an item (without it: as usual for the server)")
        ->type_name("TEXT")
        ->group(group);
    app.add_option("--max-errors", line.maxErrors, "stop after N errors (0, the default: run to the end)")
        ->type_name("N")
        ->check(CLI::NonNegativeNumber)
        ->group(group);
    app.add_flag("--verbose", line.verbose, "tell the row count of every item")->group(group);
    app.add_flag("--progress", line.progress, "tell the progress when standard error is no terminal, too")
        ->group(group);
    app.add_flag("--split", line.split, "run nothing: print the items of the script as JSON, one a line")
        ->group(group);
    app.add_option("--dialect", raw.dialect, "of --split: " + DialectNames())
        ->type_name("NAME")
        ->group(group);
}

void DeclareOutput(CLI::App& app, CommandLine& line, RawTexts& raw) {
    const char* const group = "Results";
    app.add_option("-o,--output", line.outputFile, "export to FILE")->type_name("FILE")->group(group);
    app.add_option("--format", line.format,
                   "tab, comma, pipe or delimited; without it by the file's extension")
        ->check(CLI::IsMember({"tab", "comma", "pipe", "delimited"}))
        ->group(group);
    app.add_option("--delimiter", raw.delimiter, "the delimiter of --format delimited (never quotes)")
        ->type_name("C")
        ->group(group);
    app.add_flag("--no-headers", raw.noHeaders, "no line of column labels")->group(group);
    app.add_flag("--no-quoting", raw.noQuoting, "never quote; line ends and delimiters become blanks")
        ->group(group);
    app.add_flag("--keep-tabs", raw.keepTabs, "keep tabs in values instead of four blanks")->group(group);
    app.add_option("--columns", raw.columns, "which columns and in which order, from 0: 0,2")
        ->type_name("N,...")
        ->group(group);
    app.add_option("--result", raw.result, "only this result set, from 0 (without it: all)")
        ->type_name("N")
        ->check(CLI::NonNegativeNumber)
        ->group(group);
    app.add_option("--sort", raw.sort, "sort by columns, by label or number from 0: name,2:desc")
        ->type_name("COL[:desc],...")
        ->group(group);
    app.add_flag("--table", line.table, "an aligned table even when standard output is no terminal")
        ->group(group);
    app.add_flag("--timing", line.timing, "tell times, rows per second and peak memory")->group(group);
    app.add_flag("--quiet", line.quiet, "print nothing but results and errors")->group(group);
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
    if (raw.timeout)
        line.timeout = ParseTimeout(*raw.timeout);
    if (!raw.dialect.empty())
        line.dialect = ParseDialect(raw.dialect);
    if (raw.result >= 0)
        line.result = raw.result;
    for (const std::string& option : raw.options)
        line.options.push_back(ParseOption(option));
    line.parameters = ReadParameters(raw.parameters.Take());
}

void CheckSplit(const CommandLine& line) {
    if (line.dialect == nullptr)
        throw std::invalid_argument("--split needs --dialect, one of " + DialectNames());
    if (!line.connection.empty() || line.sql)
        throw std::invalid_argument(
            "--split connects to nothing: it takes the script by -f and no CONNECTION");
    if (!line.readFile.empty() || line.parameters.GetParameterCount() > 0)
        throw std::invalid_argument("--split runs nothing: it takes no --read and no --param");
}

void Check(const CommandLine& line) {
    if (line.split)
        return CheckSplit(line);
    if (line.dialect != nullptr)
        throw std::invalid_argument("--dialect goes with --split; a run takes the dialect of its server");
    if (!line.readFile.empty()) {
        if (!line.connection.empty() || !line.sqlFile.empty() || line.parameters.GetParameterCount() > 0)
            throw std::invalid_argument("--read loads a file and takes no CONNECTION and no SQL");
    } else if (line.connection.empty()) {
        throw std::invalid_argument("CONNECTION is missing, such as sqlite:FILE");
    }
    if (line.sql && !line.sqlFile.empty())
        throw std::invalid_argument("SQL is given twice: as an argument and by -f " + line.sqlFile);
    if (!line.separator.empty() && !line.IsScript())
        throw std::invalid_argument("--separator goes with a script (-f or standard input, without --param)");
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
    CLI::App app(HelpDescription(), "qxsql");
    app.footer(HelpFooter());
    app.get_formatter()->column_width(28);
    CommandLine line;
    RawTexts raw;
    DeclareInput(app, line, raw);
    DeclareParameters(app, raw);
    DeclareScripts(app, line, raw);
    DeclareOutput(app, line, raw);
    try {
        app.parse(argc, argv);
        Interpret(raw, app.count("SQL") > 0, line);
        Check(line);
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
