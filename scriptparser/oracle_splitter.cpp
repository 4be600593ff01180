#include "scriptparser/oracle_splitter.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

#include "scriptparser/command_words.h"

namespace qxscriptparser {

namespace {

constexpr CommandWord kCommands[] = {
    {"ACCEPT", 3},   {"APPEND", 1},   {"ARCHIVE", 7},  {"ATTRIBUTE", 4},  {"BREAK", 3},     {"BTITLE", 3},
    {"CHANGE", 1},   {"CLEAR", 2},    {"COLUMN", 3},   {"COMPUTE", 4},    {"CONNECT", 4},   {"COPY", 4},
    {"DEFINE", 3},   {"DEL", 3},      {"DESCRIBE", 4}, {"DISCONNECT", 4}, {"EDIT", 2},      {"EXIT", 4},
    {"GET", 3},      {"HELP", 4},     {"HISTORY", 4},  {"HOST", 2},       {"INPUT", 1},     {"LIST", 1},
    {"OERR", 4},     {"PASSWORD", 5}, {"PAUSE", 3},    {"PING", 4},       {"PRINT", 3},     {"PROMPT", 3},
    {"QUIT", 4},     {"RECOVER", 7},  {"REMARK", 3},   {"REPFOOTER", 4},  {"REPHEADER", 4}, {"RUN", 1},
    {"SAVE", 3},     {"SET", 3},      {"SHOW", 3},     {"SHUTDOWN", 8},   {"SPOOL", 3},     {"START", 3},
    {"STARTUP", 7},  {"STORE", 5},    {"TIMING", 4},   {"TTITLE", 3},     {"UNDEFINE", 5},  {"VARIABLE", 3},
    {"WHENEVER", 8},
};
constexpr CommandWord kExecute = {"EXECUTE", 4};
constexpr CommandWord kDocument = {"DOCUMENT", 3};
constexpr CommandWord kRun = {"RUN", 1};
constexpr CommandWord kTerminator = {"SQLTERMINATOR", 4};

// SET with these words goes to the server.
constexpr std::string_view kSetsOfServer[] = {"ROLE", "TRANSACTION", "CONSTRAINT", "CONSTRAINTS"};

// Between CREATE and the kind of what is created.
constexpr std::string_view kCreateOptions[] = {"OR",  "REPLACE", "EDITIONABLE", "NONEDITIONABLE",
                                               "AND", "RESOLVE", "COMPILE",     "NOFORCE"};
constexpr std::string_view kUnits[] = {"PROCEDURE", "FUNCTION", "PACKAGE", "TRIGGER", "TYPE", "LIBRARY"};

// Statements begin with no other signs.
constexpr std::string_view kFirstSigns = "(<{:&";

SplitterRules OracleRules() {
    SplitterRules rules;
    rules.lexical.alternativeQuotes = true;
    rules.lexical.signs = ";";
    rules.lexical.lineStarters = "/.";
    return rules;
}

bool IsContinued(std::string_view line) {
    line = TrimRight(line);
    const std::size_t size = line.size();
    return size != 0 && line[size - 1] == '-' && (size == 1 || line[size - 2] != '-');
}

}  // namespace

void OracleSplitter::Kind::Read(const Lexer& lexer, const Token& token) {
    if (IsDecided() || token.IsComment())
        return;
    const auto isWord = [&](std::string_view word) { return lexer.IsWord(token, word); };
    switch (state) {
        case State::Start:
            state = AfterStart(lexer, token);
            break;
        case State::Create:
            state = AfterCreate(lexer, token);
            break;
        case State::Java:
            state = isWord("SOURCE") || isWord("MODULE") ? State::Raw : State::Plain;
            break;
        case State::With:
            state = isWord("FUNCTION") || isWord("PROCEDURE") ? State::Unit : State::Plain;
            break;
        case State::Label:
            state = token.IsSign('<') ? State::Unit : State::Plain;
            break;
        default:
            state = InName(lexer, token);
            break;
    }
}

OracleSplitter::Kind::State OracleSplitter::Kind::AfterStart(const Lexer& lexer, const Token& token) {
    if (token.IsSign('<'))
        return State::Label;
    if (lexer.IsWord(token, "CREATE"))
        return State::Create;
    if (lexer.IsWord(token, "WITH"))
        return State::With;
    return lexer.IsWord(token, "BEGIN") || lexer.IsWord(token, "DECLARE") ? State::Unit : State::Plain;
}

OracleSplitter::Kind::State OracleSplitter::Kind::AfterCreate(const Lexer& lexer, const Token& token) {
    if (token.kind != Token::Kind::Word)
        return State::Plain;
    const std::string_view word = lexer.View(token);
    if (IsAnyOf(word, kCreateOptions))
        return State::Create;
    if (IsAnyOf(word, kUnits))
        return State::Name;
    return SameWord(word, "JAVA") || SameWord(word, "MLE") ? State::Java : State::Plain;
}

// Nothing is of interest here but WRAPPED, which stands right behind the name: what follows it is no PL/SQL
// that could be read.
OracleSplitter::Kind::State OracleSplitter::Kind::InName(const Lexer& lexer, const Token& token) {
    constexpr int kMostWords = 7;  // BODY IF NOT EXISTS owner . name WRAPPED
    if (lexer.IsWord(token, "WRAPPED"))
        return State::Raw;
    if (token.kind == Token::Kind::Sign && !token.IsSign('.'))
        return State::Unit;
    return ++nameWords < kMostWords ? State::Name : State::Unit;
}

OracleSplitter::OracleSplitter(ScriptText& newText, const std::string& newSeparator, ItemSink& newSink)
    : StatementSplitter(newText, OracleRules(), newSink) {
    if (newSeparator != "/" && newSeparator != ";")
        SetSeparator(newSeparator);
}

bool OracleSplitter::IsAlone(const Token& token, char sign) {
    return token.startsLine && token.IsSign(sign) && lexer.OnlyBlanksBehind(token.end);
}

bool OracleSplitter::IsSeparator(const Token& token) {
    return token.IsSign(';') || IsAlone(token, '/') || IsAlone(token, '.') || IsGivenSeparator(token);
}

bool OracleSplitter::IsCommandWord() {
    const std::string_view word = lexer.View(first);
    if (!MatchesAny(word, kCommands))
        return false;
    if (!SameWord(word, "SET"))
        return true;
    const Token second = lexer.Next();
    const bool isSql = second.kind == Token::Kind::Word && IsAnyOf(lexer.View(second), kSetsOfServer);
    lexer.MoveTo(first.end);
    return !isSql;
}

bool OracleSplitter::TakeCommand() {
    if (first.kind == Token::Kind::Sign && kFirstSigns.find(first.sign) == std::string_view::npos) {
        TakeContinuedLine();
        return true;
    }
    if (first.kind != Token::Kind::Word)
        return false;
    const std::string_view word = lexer.View(first);
    if (Matches(word, kExecute)) {
        TakeExecute();
    } else if (Matches(word, kDocument)) {
        TakeDocument();
    } else if (IsCommandWord()) {
        const std::string_view same = lexer.View(first);
        const bool ends = SameWord(same, "EXIT") || SameWord(same, "QUIT");
        if (SameWord(same, "SET"))
            ReadTerminator(lexer.RestOfLine());
        TakeContinuedLine();
        if (ends)
            EndOfClient();
    } else {
        return false;
    }
    return true;
}

// Behind SET: SQLTERMINATOR with a sign, which may stand in quotes, ON, which means ";", or OFF.
void OracleSplitter::ReadTerminator(std::string_view line) {
    line = Trim(line);
    const auto size =
        static_cast<std::size_t>(std::find_if(line.begin(), line.end(), IsBlank) - line.begin());
    if (size == 0 || !Matches(line.substr(0, size), kTerminator))
        return;
    std::string_view value = Trim(line.substr(size));
    if (value.size() >= 3 && (value[0] == '\'' || value[0] == '"') && value[2] == value[0])
        value = value.substr(1, 1);
    const bool isOff = value.size() >= 3 && SameWord(value.substr(0, 3), "OFF");
    const bool isOn = value.size() >= 2 && SameWord(value.substr(0, 2), "ON");
    const bool isSign = !value.empty() && !Lexer::IsWordByte(value[0]);
    if (!isOff && !isOn && !isSign)
        return;
    endsAtSemicolon = isOn || (isSign && value[0] == ';');
    separatorIsForSql = true;
    SetSeparator(isSign && !endsAtSemicolon ? std::string(value.substr(0, 1)) : std::string());
}

void OracleSplitter::TakeContinuedLine() {
    Position lineBegin = begin.position;
    for (;;) {
        lexer.SkipLine();
        if (!IsContinued(text.View(lineBegin, lexer.Here())) || lexer.Peek(0) == '\0')
            break;
        lexer.SkipLineEnd();
        lineBegin = lexer.Here();
    }
    HandOn(begin, lexer.Here(), lexer.Here(), Use::Skip);
}

// DOCUMENT: remarks up to a line that begins with "#".
void OracleSplitter::TakeDocument() {
    do {
        lexer.SkipLine();
        lexer.SkipLineEnd();
    } while (lexer.Peek(0) != '#' && lexer.Peek(0) != '\0');
    TakeLine();
}

void OracleSplitter::TakeExecute() {
    std::string statement;
    Position lineBegin = first.end;
    bool isOneLine = true;
    for (;;) {
        lexer.SkipLine();
        const std::string_view line = TrimRight(text.View(lineBegin, lexer.Here()));
        if (!IsContinued(line) || lexer.Peek(0) == '\0') {
            statement += text.View(lineBegin, lexer.Here());
            break;
        }
        isOneLine = false;
        statement += line.substr(0, line.size() - 1);
        statement += ' ';
        lexer.SkipLineEnd();
        lineBegin = lexer.Here();
    }
    std::string_view trimmed = Trim(statement);
    while (!trimmed.empty() && trimmed.back() == ';')
        trimmed = TrimRight(trimmed.substr(0, trimmed.size() - 1));
    if (trimmed.empty()) {
        HandOn(begin, lexer.Here(), lexer.Here(), Use::Skip);
        return;
    }
    std::string_view line = TrimRight(text.View(begin.position, lexer.Here()));
    while (line.back() == ';')
        line = TrimRight(line.substr(0, line.size() - 1));
    if (isOneLine && IsBindable(line))
        HandOn(begin, begin.position + line.size(), lexer.Here(), Use::Run);
    else
        HandOnInstead("BEGIN " + std::string(trimmed) + "; END;", begin, lexer.Here());
}

// `before` is the token before, comments aside.
bool OracleSplitter::EndsStatement(const Token& token, const Token& before, const Kind& kind) {
    if (token.IsSign(';'))
        return endsAtSemicolon && !kind.IsUnit();
    if (token.IsSign('/') && token.startsLine) {
        if (IsAlone(token, '/'))
            return true;
        // Behind the end of a unit it is none of a division, even if somebody remarks on it.
        lexer.MoveTo(token.end);
        const std::string_view rest = Trim(lexer.RestOfLine());
        return kind.IsUnit() && before.IsSign(';') && rest.substr(0, 2) == "--";
    }
    return !(separatorIsForSql && kind.IsUnit()) && IsGivenSeparator(token);
}

void OracleSplitter::TakeStatement() {
    Kind kind;
    Token before;
    for (Token token = first;; token = lexer.Next()) {
        if (token.kind == Token::Kind::End) {
            HandOn(begin, token.begin, token.end, Use::Run);
            return;
        }
        if (EndsStatement(token, before, kind)) {
            HandOn(begin, token.begin, token.end, Use::Run);
            return;
        }
        if (IsAlone(token, '.')) {
            Position behind = token.end;
            const bool runs = IsHeldStatementRun(behind);
            HandOn(begin, token.begin, behind, runs ? Use::Run : Use::Skip);
            return;
        }
        kind.Read(lexer, token);
        if (!token.IsComment())
            before = token;
        if (kind.IsRaw())
            SkipRawLines();
        else if (kind.IsDecided() && !kind.IsUnit())
            lexer.SkipPlain();
    }
}

// To a line with nothing but "/" or ".".
void OracleSplitter::SkipRawLines() {
    for (;;) {
        lexer.SkipLine();
        lexer.SkipLineEnd();
        while (lexer.Peek(0) == ' ' || lexer.Peek(0) == '\t')
            lexer.Skip(1);
        const char c = lexer.Peek(0);
        if (c == '\0' || ((c == '/' || c == '.') && lexer.OnlyBlanksBehind(lexer.Here() + 1)))
            return;
    }
}

// Behind a line with "." : whether "/" or RUN follows.
bool OracleSplitter::IsHeldStatementRun(Position& behind) {
    const Token next = lexer.Next();
    const bool isRun = next.kind == Token::Kind::Word && next.startsLine && Matches(lexer.View(next), kRun) &&
                       lexer.OnlyBlanksBehind(next.end);
    if (isRun || IsAlone(next, '/')) {
        behind = next.end;
        return true;
    }
    lexer.Back(next);
    return false;
}

}  // namespace qxscriptparser
