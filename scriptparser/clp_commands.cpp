#include "scriptparser/clp_commands.h"

#include <string>
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

std::string UpperWord(const Lexer& lexer, const Token& token) {
    std::string word;
    if (token.kind == Token::Kind::Word) {
        for (const char c : lexer.View(token))
            word += Upper(c);
    }
    return word;
}

template <std::size_t size>
bool IsPair(const std::string& first, const std::string& second, const Pair (&pairs)[size]) {
    for (const Pair& pair : pairs) {
        if (pair.first == first)
            return !second.empty() && pair.second.find(' ' + second + ' ') != std::string_view::npos;
    }
    return false;
}

}  // namespace

bool IsClpCommand(Lexer& lexer, const Token& first, bool withDatabases) {
    if (IsAnyOf(lexer.View(first), kSingle))
        return true;
    const std::string word = UpperWord(lexer, first);
    const Token next = lexer.Next();
    const std::string second = UpperWord(lexer, next);
    bool isCommand = IsPair(word, second, kPairs);
    if (word == "UPDATE")
        isCommand = IsPair(second, UpperWord(lexer, lexer.Next()), kUpdates);
    else if (word == "DETACH")
        isCommand = next.sign == ';';
    else if (word == "CREATE" || word == "DROP")
        isCommand = withDatabases && (second == "DATABASE" || second == "DB");
    lexer.MoveTo(first.end);
    return isCommand;
}

}  // namespace qxscriptparser
