// The blocks that are open inside a stored program or compound statement.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "scriptparser/lexer.h"

namespace qxscriptparser {

// Reads the statements of a body one token after the other and tells whether a ";" ends one inside it or the
// whole. What opens a block does so only where a statement may begin, and END closes one only there; so names
// like "end", and CASE in expressions, do no harm. Knows the bodies of the standard (DB2, MySQL, PostgreSQL)
// and of PL/SQL.
class BlockStack {
  public:
    void Clear();
    bool IsOpen() const { return !open.empty(); }
    std::size_t Parentheses() const { return parentheses; }
    // The next token begins a statement.
    void ExpectStatement() { atStatement = true; }
    bool IsStatementExpected() const { return atStatement; }
    // A block whose opening word is none, such as that of a package.
    void OpenBlock();

    void Read(const Lexer& lexer, const Token& token);

  private:
    enum class Construct { Block, If, CaseStatement, CaseExpression, Loop };
    enum class Word {
        None,
        Begin,
        Not,
        Atomic,
        Case,
        If,
        Loop,
        Repeat,
        While,
        For,
        Do,
        Then,
        Else,
        Until,
        End,
        Handler
    };

    static Word WordOf(std::string_view word);
    bool IsTop(Construct construct) const { return !open.empty() && open.back() == construct; }
    void ReadSign(char sign, bool behindLabel);
    void ReadWord(Word word, bool wasAtStatement, bool behindEnd);
    void Close(Word what);
    void CloseTo(Construct construct);

    std::vector<Construct> open;
    std::size_t parentheses = 0;
    bool atStatement = false;  // a statement may begin here
    bool atLabel = false;      // the token before may be a label
    bool behindPoint = false;  // the token before was a point: a name follows
    bool endIsOpen = false;    // END was read, and not yet what it ends
    bool inHandler = false;    // of DECLARE … HANDLER FOR …, whose statement may be a block
    bool behindUntil = false;  // the condition of REPEAT, which END follows
};

}  // namespace qxscriptparser
