// MySQL and MariaDB: what the mysql client makes of a script.
#pragma once

#include <string>
#include <string_view>

#include "scriptparser/block_stack.h"
#include "scriptparser/splitter.h"

namespace qxscriptparser {

// Statements end at the delimiter, which DELIMITER changes, and at \g and \G. As long as the delimiter is
// ";", a stored program ends at the ";" behind its last END, so that scripts without DELIMITER are read as
// they are meant. Executable comments are statements.
//
// Commands of the client stand between statements, where a word takes the line or what is before the
// delimiter in it, and a backslash with a letter stands anywhere; they are skipped, and behind QUIT and EXIT
// everything is. USE goes to the server, with or without a delimiter.
class MySqlSplitter final : public StatementSplitter {
  public:
    // `newSeparator` is the first delimiter; empty: ";".
    MySqlSplitter(ScriptText& newText, const std::string& newSeparator, ItemSink& newSink);

  private:
    // Whether the statement has a body of statements, by its words so far.
    class Shape {
      public:
        void Read(const Lexer& lexer, const Token& token);
        bool IsPlain() const { return state == State::Plain; }
        bool MayEnd() const { return !blocks.IsOpen(); }

      private:
        enum class State { Start, Begin, BeginNot, Create, Definer, Header, Plain };

        State AfterStart(const Lexer& lexer, const Token& token) const;
        State AfterCreate(const Lexer& lexer, const Token& token) const;
        void ReadHeader(const Lexer& lexer, const Token& token);

        State state = State::Start;
        BlockStack blocks;
    };

    bool IsSeparator(const Token& token) override;
    bool TakeCommand() override;
    void TakeStatement() override;

    void SetDelimiter(std::string_view newDelimiter);
    bool IsDelimiterCommand(const Token& token);
    void TakeDelimiterCommand();
    bool TakeWordCommand();
    std::size_t FindDelimiter(std::string_view line) const;

    enum class Backslash { Text, Run, Drop, End, Command };
    static Backslash MeaningOf(char letter);
    bool EndsAtBackslash(const Token& token);
    void TakeBackslashCommand(const Token& token, bool isInStatement);

    std::string delimiter;
};

}  // namespace qxscriptparser
