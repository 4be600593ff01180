#include "tools/qxsql/sql_names.h"

#include <algorithm>
#include <cctype>
#include <iterator>

namespace qxsql {

namespace {

// Words that servers do not take for a column's name without quotes, as far as columns are called so.
const char* const reservedWords[] = {
    "all",     "alter",    "and",        "any",    "as",        "asc",    "between", "by",      "case",
    "check",   "column",   "comment",    "create", "current",   "date",   "day",     "default", "delete",
    "desc",    "distinct", "drop",       "else",   "end",       "exists", "file",    "for",     "foreign",
    "from",    "grant",    "group",      "having", "in",        "index",  "insert",  "into",    "is",
    "join",    "key",      "left",       "level",  "like",      "limit",  "lock",    "mode",    "month",
    "not",     "null",     "number",     "of",     "offset",    "on",     "option",  "or",      "order",
    "primary", "rank",     "references", "right",  "row",       "rows",   "select",  "set",     "size",
    "start",   "table",    "then",       "time",   "timestamp", "to",     "trigger", "union",   "unique",
    "update",  "user",     "value",      "values", "view",      "when",   "where",   "with",    "year",
};

bool IsNameStart(unsigned char c) {
    return std::isalpha(c) != 0 || c == '_' || c >= 0x80;
}

bool IsNamePart(unsigned char c) {
    return IsNameStart(c) || std::isdigit(c) != 0 || c == '$' || c == '#' || c == '@';
}

std::string Trimmed(const std::string& text) {
    const char* const blanks = " \t\r\n";
    const std::string::size_type first = text.find_first_not_of(blanks);
    return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

// Behind the part of a name that begins at `at`; npos when there is none.
std::string::size_type EndOfPart(const std::string& name, std::string::size_type at) {
    if (at >= name.size())
        return std::string::npos;
    const char opening = name[at];
    if (opening == '"' || opening == '`' || opening == '[') {
        const char closing = opening == '[' ? ']' : opening;
        for (std::string::size_type end = at + 1; end < name.size(); ++end) {
            if (name[end] != closing)
                continue;
            if (end + 1 == name.size() || name[end + 1] != closing)
                return end == at + 1 ? std::string::npos : end + 1;
            ++end;  // doubled, it is one of the name
        }
        return std::string::npos;
    }
    // The @ of a link to another database, the # of temporary tables.
    std::string::size_type end = at;
    while (end < name.size() && IsNamePart(static_cast<unsigned char>(name[end])))
        ++end;
    return end == at || std::isdigit(static_cast<unsigned char>(opening)) != 0 ? std::string::npos : end;
}

bool NeedsQuotes(const std::string& name) {
    if (!IsNameStart(static_cast<unsigned char>(name[0])))
        return true;
    for (const char c : name) {
        if (std::isalnum(static_cast<unsigned char>(c)) == 0 && c != '_')
            return true;
    }
    std::string lower = name;
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return std::any_of(std::begin(reservedWords), std::end(reservedWords),
                       [&lower](const char* word) { return lower == word; });
}

}  // namespace

std::string TableNameOf(const std::string& text) {
    const std::string name = Trimmed(text);
    std::string::size_type at = 0;
    for (;;) {
        at = EndOfPart(name, at);
        if (at == std::string::npos)
            return "";
        if (at == name.size())
            return name;
        if (name[at] != '.')
            return "";
        // Two points leave the schema in between to the server.
        at += at + 1 < name.size() && name[at + 1] == '.' ? 2 : 1;
    }
}

std::string ColumnNameOf(const std::string& label, qxdb::DBTYPE server) {
    const std::string name = Trimmed(label.substr(0, label.find_first_of("(*)")));
    if (name.empty() || !NeedsQuotes(name))
        return name;
    const bool brackets = server == qxdb::DBTYPE_SQLSERVER || server == qxdb::DBTYPE_SYBASE;
    const char opening = brackets ? '[' : server == qxdb::DBTYPE_MYSQL ? '`' : '"';
    const char closing = brackets ? ']' : opening;
    std::string quoted(1, opening);
    for (const char c : name) {
        quoted += c;
        if (c == closing)
            quoted += c;
    }
    return quoted + closing;
}

}  // namespace qxsql
