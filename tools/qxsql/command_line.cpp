#include "tools/qxsql/command_line.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <cmath>
#include <stdexcept>

#include "tools/qxsql/command_line_checks.h"
#include "tools/qxsql/file_formats.h"
#include "tools/qxsql/help_text.h"
#include "tools/qxsql/statement_parameters.h"
#include "tools/qxsql/words.h"

namespace qxsql {

namespace {

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

int ParseBytes(const std::string& text, const char* option) {
    const int bytes = ParseNumber(text, option);
    if (bytes < 0)
        throw std::invalid_argument(std::string(option) + ": \"" + text + "\" is no number of bytes");
    return bytes;
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

const Dialect* ParseDialect(const std::string& text, const char* what) {
    const Dialect* const dialect = FindDialect(text);
    if (dialect == nullptr)
        throw std::invalid_argument(std::string(what) + ": \"" + text + "\" is none of " + DialectNames());
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
        words.push_back({pendingType.value_or(""), text, false});
        pendingType.reset();
    }
    void AddOutput(const std::string& text) {
        RefuseLoneType();
        if (text.empty())
            throw std::invalid_argument("--param-out: the name is missing; \"?\" stands for the next place");
        words.push_back({"", text, true});
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
    std::string rows;
    std::string sort;
    std::string delimiter;
    std::string dialect;
    std::string family;
    std::string procedure;
    std::string function;
    std::string serverOutput;
    std::string lobPreview;
    std::vector<LobTransfer> lobTransfers;
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
    app.add_option("--procedure", raw.procedure, "call the stored procedure NAME")->type_name("NAME");
    app.add_option("--function", raw.function, "call the stored function NAME")->type_name("NAME");
    app.add_flag("--create", line.create, "create the database file when it does not exist");
    app.add_option("--read", line.readFile, "load FILE, delimited text or XML, instead of running SQL")
        ->type_name("FILE");
    app.add_option("--read-format", line.readFormat,
                   InputFormatNames() + "; without it by the extension of the file that is read")
        ->type_name("NAME");
    app.add_flag("--as-strings", line.asStrings, "fetch every column as text");
    app.add_option("--max-rows", line.maxRows, "stop each result after N rows (0: no limit)")
        ->type_name("N")
        ->check(CLI::NonNegativeNumber);
    app.add_option("--timeout", raw.timeout, "cancel what still runs after that time; fractions are allowed")
        ->type_name("SECONDS");
}

void DeclareServer(CLI::App& app, CommandLine& line, RawTexts& raw) {
    const char* const group = "Servers";
    app.add_option("--user", line.user,
                   "the user; the password is QXSQL_PASSWORD or asked for on the terminal")
        ->type_name("NAME")
        ->group(group);
    app.add_option("--dbtype", raw.family, "the server's family, against what it says: " + DialectNames())
        ->type_name("NAME")
        ->group(group);
    app.add_flag("--explain", line.explain, "show plans instead of running statements")->group(group);
    app.add_flag("--statistics", line.statistics, "show the server's statistics of the run")->group(group);
    app.add_option("--server-output", raw.serverOutput,
                   "show what statements write to the server's output, in a buffer of BYTES")
        ->type_name("[BYTES]")
        ->group(group);
    app.add_option_function<std::string>(
           "--option", [&raw](const std::string& text) { raw.options.push_back(text); },
           "a query option, by its number; can be given several times")
        ->type_name("ID=VALUE")
        ->trigger_on_parse()
        ->group(group);
    app.add_flag("--options", line.listOptions, "list the query options of the server, and run nothing")
        ->group(group);
    app.add_flag("--drivers", line.listDrivers, "list the drivers and data sources that are there")
        ->group(group);
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
    app.add_option_function<std::string>(
           "--param-out", [&raw](const std::string& name) { raw.parameters.AddOutput(name); },
           "an output of the call, by its name; ? is the next parameter")
        ->type_name("NAME")
        ->trigger_on_parse()
        ->group(group);
}

void DeclareLobs(CLI::App& app, RawTexts& raw) {
    const char* const group = "Large objects";
    const auto declare = [&](const char* option, bool isImport, const char* what) {
        app.add_option_function<std::string>(
               option,
               [&raw, isImport](const std::string& words) {
                   // See WordsOf.
                   const std::string::size_type part = words.find('\0');
                   const std::string file = part == std::string::npos ? "" : words.substr(part + 1);
                   raw.lobTransfers.push_back({isImport, words.substr(0, part), 0, "", file});
               },
               what)
            ->type_name("ROW:COL FILE")
            ->trigger_on_parse()
            ->group(group);
    };
    declare("--lob-export", false, "write the large object in ROW and COL of the result to FILE");
    declare("--lob-import", true, "write FILE into the large object in ROW and COL");
    app.add_option("--lob-preview", raw.lobPreview, "show that many bytes of large objects (without it: all)")
        ->type_name("BYTES")
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
    app.add_option("--dialect", raw.dialect, "of --split, and of INSERT statements: " + DialectNames())
        ->type_name("NAME")
        ->group(group);
}

void DeclareOutput(CLI::App& app, CommandLine& line, RawTexts& raw) {
    const char* const group = "Results";
    app.add_option("-o,--output", line.outputFile, "export to FILE")->type_name("FILE")->group(group);
    app.add_option("--format", line.format,
                   OutputFormatNames() + "; without it by the extension of -o, else tab")
        ->type_name("NAME")
        ->group(group);
    app.add_option("--delimiter", raw.delimiter,
                   "the delimiter of --format delimited, and of --read (never quotes)")
        ->type_name("C")
        ->group(group);
    app.add_option("--table", line.table, "the table of INSERT statements; without it that of the SELECT")
        ->type_name("NAME")
        ->group(group);
    app.add_flag("--no-headers", raw.noHeaders, "no line of column labels")->group(group);
    app.add_flag("--no-quoting", raw.noQuoting, "never quote; line ends and delimiters become blanks")
        ->group(group);
    app.add_flag("--keep-tabs", raw.keepTabs, "keep tabs in values instead of four blanks")->group(group);
    app.add_option("--columns", raw.columns, "which columns and in which order, from 0: 0,2")
        ->type_name("N,...")
        ->group(group);
    app.add_option("--rows", raw.rows, "which rows of each result, from 0, as sorted: 0-9,20,100-")
        ->type_name("FROM-TO,...")
        ->group(group);
    app.add_option("--result", raw.result, "only this result set, from 0 (without it: all)")
        ->type_name("N")
        ->check(CLI::NonNegativeNumber)
        ->group(group);
    app.add_option("--sort", raw.sort, "sort by columns, by label or number from 0: name,2:desc")
        ->type_name("COL[:desc],...")
        ->group(group);
    app.add_flag("--aligned", line.aligned, "an aligned table even when standard output is no terminal")
        ->group(group);
    app.add_flag("--timing", line.timing, "tell times, rows per second and peak memory")->group(group);
    app.add_flag("--quiet", line.quiet, "print nothing but results and errors")->group(group);
}

void InterpretCall(const RawTexts& raw, CommandLine& line) {
    if (!raw.procedure.empty() && !raw.function.empty())
        throw std::invalid_argument("--procedure and --function do not go together");
    line.parameterWords = raw.parameters.Take();
    if (raw.procedure.empty() && raw.function.empty()) {
        line.parameters = ReadParameters(line.parameterWords);
        return;
    }
    line.call = raw.procedure.empty() ? CallKind::Function : CallKind::Procedure;
    line.callName = raw.procedure.empty() ? raw.function : raw.procedure;
}

// "5:picture", "5:2".
LobTransfer ParseTransfer(LobTransfer transfer) {
    const std::string option = transfer.Option();
    const std::string::size_type colon = transfer.place.find(':');
    if (colon == std::string::npos || colon + 1 == transfer.place.size())
        throw std::invalid_argument(option + ": \"" + transfer.place + "\" is no ROW:COL, such as 0:picture");
    transfer.row = ParseNumber(transfer.place.substr(0, colon), option.c_str());
    transfer.column = transfer.place.substr(colon + 1);
    if (transfer.row < 0)
        throw std::invalid_argument(option + ": \"" + transfer.place + "\": rows are numbered from 0");
    if (transfer.file.empty())
        throw std::invalid_argument(option + " " + transfer.place + ": the name of the file is missing");
    return transfer;
}

void Interpret(const RawTexts& raw, bool hasSql, CommandLine& line) {
    if (hasSql)
        line.sql = raw.sql;
    line.headers = !raw.noHeaders;
    line.quoting = !raw.noQuoting;
    line.expandTabs = !raw.keepTabs;
    if (!raw.columns.empty())
        line.columns = ParseColumns(raw.columns);
    if (!raw.rows.empty())
        line.rows = ParseRows(raw.rows);
    if (!raw.sort.empty())
        line.sort = ParseSort(raw.sort);
    if (!raw.delimiter.empty())
        line.delimiter = ParseDelimiter(raw.delimiter);
    if (raw.timeout)
        line.timeout = ParseTimeout(*raw.timeout);
    if (!raw.dialect.empty())
        line.dialect = ParseDialect(raw.dialect, "--dialect");
    if (!raw.family.empty())
        line.family = ParseDialect(raw.family, "--dbtype");
    if (raw.result >= 0)
        line.result = raw.result;
    for (const std::string& option : raw.options)
        line.options.push_back(ParseOption(option));
    if (!raw.serverOutput.empty())
        line.serverOutput = ParseBytes(raw.serverOutput, "--server-output");
    if (!raw.lobPreview.empty())
        line.lobPreview = ParseBytes(raw.lobPreview, "--lob-preview");
    for (const LobTransfer& transfer : raw.lobTransfers)
        line.lobTransfers.push_back(ParseTransfer(transfer));
    InterpretCall(raw, line);
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

namespace {

// An empty name comes from a shell's variable without a value, and would be taken for no name at all.
void RefuseEmptyNames(const CLI::App& app) {
    for (const char* const option :
         {"--file", "--output", "--read", "--user", "--procedure", "--function", "--table"}) {
        const CLI::Option* const given = app.get_option(option);
        if (given->count() > 0 && given->as<std::string>().empty())
            throw std::invalid_argument(std::string(option) + ": the name is empty");
    }
}

// The words behind the program's name, last first as CLI11 takes them. --server-output gets its value by "=":
// a number behind it belongs to it, and what else follows does not, or the CONNECTION would be taken for it.
// The two words of a transfer become one, for the same reason.
std::vector<std::string> WordsOf(int argc, const char* const* argv) {
    std::vector<std::string> words;
    for (int i = 1; i < argc; ++i) {
        std::string word = argv[i];
        if (word == "--server-output") {
            const std::string next = i + 1 < argc ? argv[i + 1] : "";
            const bool isNumber = !next.empty() && next.find_first_not_of("0123456789") == std::string::npos;
            word += "=" + (isNumber ? next : "0");
            i += isNumber ? 1 : 0;
        } else if ((word == "--lob-export" || word == "--lob-import") && i + 2 < argc) {
            word = word + '=' + argv[i + 1] + '\0' + argv[i + 2];
            i += 2;
        }
        words.push_back(std::move(word));
    }
    return {words.rbegin(), words.rend()};
}

}  // namespace

std::optional<CommandLine> ParseCommandLine(int argc, const char* const* argv, int& exitCode) {
    CLI::App app(HelpDescription(), "qxsql");
    app.footer(HelpFooter());
    app.get_formatter()->column_width(28);
    CommandLine line;
    RawTexts raw;
    DeclareInput(app, line, raw);
    DeclareServer(app, line, raw);
    DeclareParameters(app, raw);
    DeclareScripts(app, line, raw);
    DeclareOutput(app, line, raw);
    DeclareLobs(app, raw);
    try {
        app.parse(WordsOf(argc, argv));
        RefuseEmptyNames(app);
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
