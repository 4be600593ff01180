#include "dbms/oracle_statement_header.h"

#include <algorithm>
#include <iterator>

#include "platform/qxutils/string_utils.h"

namespace qxdbsqlengine {

namespace {

// Numbers of tokens; those of keywords are in the table below.
enum Token : int {
    TokenEnd = -1,
    TokenBegin = 2,
    TokenBody = 4,
    TokenCreate = 7,
    TokenDeclare = 9,
    TokenPeriod = 11,
    TokenFunction = 13,
    TokenOr = 20,
    TokenPackage = 21,
    TokenProcedure = 22,
    TokenReplace = 25,
    TokenTrigger = 38,
    TokenType = 39,
    TokenWord = 43
};

struct Keyword {
    std::string_view word;
    int number;
};

// In order of the words.
constexpr Keyword Keywords[] = {
    {"ALTER", 0},      {"AUTHORIZATION", 1}, {"BEGIN", 2},     {"BITMAP", 3},    {"BODY", 4},
    {"CLUSTER", 5},    {"CONTROLFILE", 6},   {"CREATE", 7},    {"DATABASE", 8},  {"DECLARE", 9},
    {"DIRECTORY", 10}, {"FORCE", 12},        {"FUNCTION", 13}, {"INDEX", 14},    {"LIBRARY", 15},
    {"LINK", 16},      {"LOG", 17},          {"NO", 18},       {"ON", 19},       {"OR", 20},
    {"PACKAGE", 21},   {"PROCEDURE", 22},    {"PROFILE", 23},  {"PUBLIC", 24},   {"REPLACE", 25},
    {"REUSE", 26},     {"ROLE", 27},         {"ROLLBACK", 28}, {"SCHEMA", 29},   {"SEGMENT", 30},
    {"SEQUENCE", 31},  {"SET", 32},          {"SHARED", 33},   {"SNAPSHOT", 34}, {"SYNONYM", 35},
    {"TABLE", 36},     {"TABLESPACE", 37},   {"TRIGGER", 38},  {"TYPE", 39},     {"UNIQUE", 40},
    {"USER", 41},      {"VIEW", 42},
};

constexpr bool AreKeywordsSorted() {
    for (std::size_t i = 1; i < std::size(Keywords); ++i) {
        if (Keywords[i - 1].word >= Keywords[i].word)
            return false;
    }
    return true;
}
static_assert(AreKeywordsSorted(), "keywords are found by binary search");

constexpr std::size_t UsualTokenLength = 101;

bool IsBlank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

bool EndsWord(char c) {
    return c == '\0' || c == '.' || c == '/' || c == '-' || c == '(' || c == ')' || IsBlank(c);
}

int NumberOfWord(std::string word) {
    qxutils::StringUtils::StringUpper(word);
    const Keyword* const found =
        std::lower_bound(std::begin(Keywords), std::end(Keywords), word,
                         [](const Keyword& left, const std::string& right) { return left.word < right; });
    return found != std::end(Keywords) && found->word == word ? found->number : int(TokenWord);
}

void ToDictionaryCase(std::string& text) {
    if (text.size() >= 2 && text.front() == '"' && text.back() == '"')
        text = text.substr(1, text.size() - 2);
    else
        qxutils::StringUtils::StringUpper(text);
}

}  // namespace

bool OracleStatementHeader::Parse(const std::string& text) {
    statement = text.c_str();
    position = 0;
    token.reserve(UsualTokenLength);
    owner.clear();
    name.clear();
    type.clear();

    int word = ReadToken();
    if (word == TokenDeclare || word == TokenBegin) {
        type = "ANONYMOUS BLOCK";
        statement = {};
        return true;
    }
    if (word == TokenCreate) {
        word = ReadToken();
        if (word == TokenOr) {
            word = ReadToken();
            if (word == TokenReplace)
                word = ReadToken();
        }
        ReadObject(word);
    }
    statement = {};
    return !type.empty() && !name.empty();
}

void OracleStatementHeader::ReadObject(int first) {
    switch (first) {
        case TokenFunction:
            type = "FUNCTION";
            break;
        case TokenProcedure:
            type = "PROCEDURE";
            break;
        case TokenTrigger:
            type = "TRIGGER";
            break;
        case TokenPackage:
            ReadBodyOrName("PACKAGE", "PACKAGE BODY");
            return;
        case TokenType:
            ReadBodyOrName("TYPE", "TYPE BODY");
            return;
        default:
            return;
    }
    ReadToken();
    ReadName();
}

void OracleStatementHeader::ReadBodyOrName(const char* plainType, const char* bodyType) {
    if (ReadToken() == TokenBody) {
        type = bodyType;
        ReadToken();
    } else {
        type = plainType;
    }
    ReadName();
}

void OracleStatementHeader::ReadName() {
    owner = token;
    if (ReadToken() == TokenPeriod) {
        ReadToken();
        name = token;
    } else {
        name.swap(owner);
        owner.clear();
    }
    ToDictionaryCase(owner);
    ToDictionaryCase(name);
}

char OracleStatementHeader::Peek(std::size_t ahead) const {
    return position + ahead < statement.size() ? statement[position + ahead] : '\0';
}

bool OracleStatementHeader::IsAt(const char* two) const {
    return Peek() == two[0] && Peek(1) == two[1];
}

void OracleStatementHeader::SkipBlanksAndComments() {
    for (;;) {
        if (IsBlank(Peek())) {
            ++position;
        } else if (IsAt("/*")) {
            // A comment without an end takes the rest of the text.
            const std::size_t end = statement.find("*/", position + 2);
            position = end == std::string_view::npos ? statement.size() : end + 2;
        } else if (IsAt("--")) {
            const std::size_t end = statement.find('\n', position);
            position = end == std::string_view::npos ? statement.size() : end + 1;
        } else {
            return;
        }
    }
}

int OracleStatementHeader::ReadToken() {
    token.clear();
    SkipBlanksAndComments();
    switch (Peek()) {
        case '\0':
            return TokenEnd;
        case '.':
            ++position;
            return TokenPeriod;
        case '"':
            ReadQuotedWord();
            return TokenWord;
        default:
            ReadWord();
            return NumberOfWord(token);
    }
}

void OracleStatementHeader::ReadQuotedWord() {
    const std::size_t end = statement.find('"', position + 1);
    const std::size_t behind = end == std::string_view::npos ? statement.size() : end + 1;
    token = statement.substr(position, behind - position);
    position = behind;
}

void OracleStatementHeader::ReadWord() {
    // A character that ends words may stand here by itself.
    do {
        token += Peek();
        ++position;
    } while (!EndsWord(Peek()));
}

}  // namespace qxdbsqlengine
