#include "scriptparser/clp_commands.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string_view>

#include "scriptparser/command_words.h"

namespace qxscriptparser {

namespace {

// The first word tells.
constexpr std::string_view kSingle[] = {
    "ACTIVATE",    "BIND",     "CATALOG",    "CONNECT",   "DB2START",  "DB2STOP",    "DEACTIVATE",
    "DECOMPOSE",   "DESCRIBE", "DISCONNECT", "EDIT",      "FORCE",     "GET",        "HELP",
    "HISTORY",     "INGEST",   "INSPECT",    "LIST",      "PING",      "PRECOMPILE", "PREP",
    "PRUNE",       "QUERY",    "QUIESCE",    "QUIT",      "REBIND",    "REORG",      "REORGCHK",
    "ROLLFORWARD", "RUNCMD",   "RUNSTATS",   "TERMINATE", "UNCATALOG", "UNQUIESCE"};

struct Pair {
    std::string_view first;
    std::string_view second;  // words, each with a blank before and behind it
};

constexpr Pair kPairs[] = {
    {"ADD", " XMLSCHEMA CONTACT CONTACTGROUP DBPARTITIONNUM "},
    {"ATTACH", " TO "},
    {"BACKUP", " DB DATABASE "},
    {"CHANGE", " ISOLATION SQLISL DATABASE "},
    {"COMPLETE", " XMLSCHEMA "},
    {"EXPORT", " TO "},
    {"IMPORT", " FROM "},
    {"LOAD", " FROM CLIENT QUERY "},
    {"MIGRATE", " DB DATABASE "},
    {"RECOVER", " DB DATABASE "},
    {"REGISTER", " XMLSCHEMA XSROBJECT "},
    {"RESET", " DB DATABASE DBM ADMIN ALERT MONITOR "},
    {"RESTORE", " DB DATABASE "},
    {"SET", " CLIENT RUNTIME SERVEROUTPUT SQLCOMPAT TABLESPACE UTIL_IMPACT_PRIORITY WRITE "},
    {"START", " DB DATABASE DBM HADR "},
    {"STOP", " DB DATABASE DBM HADR "},
    {"UPGRADE", " DB DATABASE "},
};

// Behind UPDATE two words are looked at, since tables may have such names.
constexpr Pair kUpdates[] = {
    {"ADMIN", " CFG CONFIG CONFIGURATION "},
    {"ALERT", " CFG CONFIG CONFIGURATION "},
    {"CLI", " CFG CONFIG CONFIGURATION "},
    {"COMMAND", " OPTIONS "},
    {"DATABASE", " CFG CONFIG CONFIGURATION MANAGER "},
    {"DB", " CFG CONFIG CONFIGURATION MANAGER "},
    {"DBM", " CFG CONFIG CONFIGURATION "},
    {"HISTORY", " FOR "},
    {"MONITOR", " SWITCHES "},
};

// Whether the word stands in a list such as those above.
bool IsListed(std::string_view word, std::string_view list) {
    while (!list.empty()) {
        list.remove_prefix(1);
        const std::size_t size = list.find(' ');
        if (size != std::string_view::npos && SameWord(word, list.substr(0, size)))
            return true;
        list.remove_prefix(std::min(size, list.size()));
    }
    return false;
}

template <std::size_t size>
const Pair* FindPair(std::string_view first, const Pair (&pairs)[size]) {
    const auto found = std::find_if(std::begin(pairs), std::end(pairs),
                                    [&](const Pair& pair) { return SameWord(first, pair.first); });
    return found == std::end(pairs) ? nullptr : found;
}

std::string_view WordOf(const Lexer& lexer, const Token& token) {
    return token.kind == Token::Kind::Word ? lexer.View(token) : std::string_view();
}

bool IsUpdateCommand(Lexer& lexer) {
    const Pair* const update = FindPair(WordOf(lexer, lexer.Next()), kUpdates);
    return update != nullptr && IsListed(WordOf(lexer, lexer.Next()), update->second);
}

// The words behind the first one.
bool IsLongCommand(Lexer& lexer, std::string_view word, bool withDatabases) {
    if (SameWord(word, "UPDATE"))
        return IsUpdateCommand(lexer);
    if (SameWord(word, "DETACH"))
        return lexer.Next().sign == ';';
    if (SameWord(word, "CREATE") || SameWord(word, "DROP"))
        return withDatabases && IsListed(WordOf(lexer, lexer.Next()), " DB DATABASE ");
    const Pair* const pair = FindPair(word, kPairs);
    return pair != nullptr && IsListed(WordOf(lexer, lexer.Next()), pair->second);
}

}  // namespace

bool IsClpCommand(Lexer& lexer, const Token& first, bool withDatabases) {
    const std::string_view word = lexer.View(first);
    if (IsAnyOf(word, kSingle))
        return true;
    const bool isCommand = IsLongCommand(lexer, word, withDatabases);
    lexer.MoveTo(first.end);
    return isCommand;
}

}  // namespace qxscriptparser
