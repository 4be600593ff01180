#include "scriptparser/standard_shape.h"

#include <string_view>
#include <utility>

#include "scriptparser/command_words.h"

namespace qxscriptparser {

namespace {

// BEGIN with these words begins a transaction.
constexpr std::string_view kTransactionWords[] = {"TRANSACTION", "WORK",      "TRAN",       "IMMEDIATE",
                                                  "EXCLUSIVE",   "DEFERRED",  "CONCURRENT", "ISOLATION",
                                                  "READ",        "DEFERRABLE"};
// Between CREATE and the kind of what is created.
constexpr std::string_view kCreateOptions[] = {"OR",         "REPLACE",  "TEMP",        "TEMPORARY",
                                               "CONSTRAINT", "EVENT",    "EDITIONABLE", "NONEDITIONABLE",
                                               "SPECIFIC",   "INSTANCE", "STATIC"};
constexpr std::string_view kRoutines[] = {"PROCEDURE", "FUNCTION", "TRIGGER", "METHOD", "MODULE"};
// What DECLARE declares outside blocks.
constexpr std::string_view kDeclared[] = {"CURSOR", "GLOBAL", "LOCAL", "TABLE", "EXTERNAL", "STATEMENT"};
// First words of a body without a block.
constexpr std::string_view kPlainBodies[] = {"SELECT", "WITH",  "VALUES", "INSERT",      "UPDATE",
                                             "DELETE", "MERGE", "CASE",   "REFERENCING", "EXTERNAL"};

}  // namespace

void StandardShape::Read(Lexer& lexer, const Token& token) {
    if (token.IsComment() || IsPlain())
        return;
    switch (state) {
        case State::Start:
            state = AfterStart(lexer, token);
            break;
        case State::Label:
            state = token.IsSign(':') ? State::Start : State::Plain;
            break;
        case State::Begin:
        case State::BeginNot:
            state = AfterBegin(lexer, token);
            break;
        case State::Declare:
            state = AfterDeclare(lexer, token);
            break;
        case State::Create:
            state = AfterCreate(lexer, token);
            break;
        case State::Rule:
            blocks.Read(lexer, token);
            break;
        case State::Package:
            ReadPackage(lexer, token);
            break;
        default:
            ReadRoutine(lexer, token);
            break;
    }
}

StandardShape::State StandardShape::AfterStart(Lexer& lexer, const Token& token) {
    if (token.kind != Token::Kind::Word)
        return State::Plain;
    const std::string_view word = lexer.View(token);
    if (SameWord(word, "CREATE") || SameWord(word, "ALTER"))
        return State::Create;
    if (SameWord(word, "BEGIN"))
        return State::Begin;
    if (SameWord(word, "DECLARE"))
        return State::Declare;
    return lexer.Peek(0) == ':' ? State::Label : State::Plain;
}

StandardShape::State StandardShape::AfterBegin(Lexer& lexer, const Token& token) {
    if (token.kind == Token::Kind::Word) {
        const std::string_view word = lexer.View(token);
        if (IsAnyOf(word, kTransactionWords))
            return State::Plain;
        if (state == State::Begin && SameWord(word, "NOT"))
            return State::BeginNot;
    } else if (token.sign == ';') {
        return State::Plain;
    }
    blocks.OpenBlock();
    blocks.Read(lexer, token);
    return State::Routine;
}

// DECLARE of a cursor or of a temporary table, or else of a block, which shows at the first ";".
StandardShape::State StandardShape::AfterDeclare(Lexer& lexer, const Token& token) {
    if (token.IsSign('@') || (token.kind == Token::Kind::Word && IsAnyOf(lexer.View(token), kDeclared)))
        return State::Plain;
    if (token.sign != ';' || token.kind == Token::Kind::Quoted)
        return State::Declare;
    isDeclaring = true;
    blocks.Read(lexer, token);
    return State::Routine;
}

StandardShape::State StandardShape::AfterCreate(Lexer& lexer, const Token& token) {
    if (token.kind != Token::Kind::Word)
        return State::Plain;
    const std::string_view word = lexer.View(token);
    if (IsAnyOf(word, kCreateOptions))
        return State::Create;
    if (SameWord(word, "RULE"))
        return State::Rule;
    if (SameWord(word, "PACKAGE"))
        return State::Package;
    isTrigger = SameWord(word, "TRIGGER");
    return IsAnyOf(word, kRoutines) ? State::Routine : State::Plain;
}

void StandardShape::ReadPackage(Lexer& lexer, const Token& token) {
    if (blocks.IsOpen())
        blocks.Read(lexer, token);
    else if (lexer.IsWord(token, "IS") || lexer.IsWord(token, "AS"))
        blocks.OpenBlock();
    if (!blocks.IsOpen() && token.sign == ';')
        state = State::Routine;
}

void StandardShape::ReadRoutine(Lexer& lexer, const Token& token) {
    const bool isHeader = !blocks.IsOpen() && blocks.Parentheses() == 0;
    const bool wasBehindAs = std::exchange(isBehindAs, false);
    if (isHeader && token.kind == Token::Kind::Word) {
        const std::string_view word = lexer.View(token);
        if (SameWord(word, "BEGIN")) {
            blocks.ExpectStatement();
            isDeclaring = false;
        } else if (wasBehindAs && !hasPlainBody && !IsAnyOf(word, kPlainBodies)) {
            isDeclaring = true;
        } else if (SameWord(word, "DECLARE")) {
            isDeclaring = isTrigger;
        } else if (IsAnyOf(word, kPlainBodies)) {
            hasPlainBody = true;
        }
        isBehindAs = !isTrigger && (SameWord(word, "IS") || SameWord(word, "AS"));
    }
    blocks.Read(lexer, token);
}

}  // namespace qxscriptparser
