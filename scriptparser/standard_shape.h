// What kind of statement it is, where the server is DB2, PostgreSQL, SQLite or a relative.
#pragma once

#include "scriptparser/block_stack.h"
#include "scriptparser/lexer.h"

namespace qxscriptparser {

// Reads a statement token by token and tells whether a ";" ends it: not inside the body of a stored program,
// a compound statement, or the brackets of CREATE RULE.
class StandardShape {
  public:
    void Read(Lexer& lexer, const Token& token);

    // No ";" stands inside it.
    bool IsPlain() const { return state == State::Plain; }
    // A stored program or compound statement, or maybe one.
    bool IsUnit() const { return !IsPlain() && state != State::Start && state != State::Rule; }
    bool MayEnd() const {
        return !blocks.IsOpen() && !isDeclaring && !(state == State::Rule && blocks.Parentheses() != 0);
    }

  private:
    enum class State {
        Start,
        Label,     // behind a first word that may be a label
        Begin,     // behind BEGIN, which may be that of a transaction
        BeginNot,  // behind BEGIN NOT
        Declare,   // behind DECLARE, which may be that of a block of PL/SQL
        Create,    // behind CREATE or ALTER
        Rule,
        Routine,
        Package,
        Plain
    };
    State AfterStart(Lexer& lexer, const Token& token);
    State AfterBegin(Lexer& lexer, const Token& token);
    State AfterDeclare(Lexer& lexer, const Token& token);
    State AfterCreate(Lexer& lexer, const Token& token);
    void ReadRoutine(Lexer& lexer, const Token& token);
    void ReadPackage(Lexer& lexer, const Token& token);

    State state = State::Start;
    BlockStack blocks;
    bool isDeclaring = false;   // in the declarations of PL/SQL, which BEGIN ends
    bool isBehindAs = false;    // the token before was IS or AS
    bool hasPlainBody = false;  // a query or the like: AS names columns there
    bool isTrigger = false;
};

}  // namespace qxscriptparser
