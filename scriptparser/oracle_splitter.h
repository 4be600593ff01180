// Oracle: what SQL*Plus makes of a script.
#pragma once

#include <string>
#include <string_view>

#include "scriptparser/splitter.h"

namespace qxscriptparser {

// Plain SQL ends at ";", at a line that holds nothing but "/", or at the separator. What holds PL/SQL
// (blocks, stored objects, WITH FUNCTION) and Java sources end at such a line or the separator only, and keep
// their last ";". A line with nothing but "." ends a statement too, which is then run by a "/" or RUN that
// follows and otherwise skipped. A "/" line behind a statement that has ended runs nothing again.
// SET SQLTERMINATOR puts another sign in the place of the ";" that ends plain SQL, or none.
//
// Commands of SQL*Plus stand between statements, take a line, or several when these end in "-", and are
// skipped; behind EXIT and QUIT all is. EXECUTE is handed on as a procedure call where that can be bound,
// otherwise as the block that SQL*Plus makes of it.
class OracleSplitter final : public StatementSplitter {
  public:
    // `newSeparator` divides statements beside "/" lines; empty or "/": nothing does.
    OracleSplitter(ScriptText& newText, const std::string& newSeparator, ItemSink& newSink);

  private:
    // What a statement is by its first words.
    class Kind {
      public:
        void Read(const Lexer& lexer, const Token& token);
        bool IsDecided() const { return state == State::Plain || state >= State::Unit; }
        bool IsUnit() const { return state >= State::Name; }
        bool IsRaw() const { return state == State::Raw; }

      private:
        enum class State {
            Start,
            Create,  // behind CREATE
            Java,    // behind JAVA or MLE
            With,    // behind WITH
            Label,   // behind a first "<"
            Plain,   // decided: SQL
            Name,    // a stored object, before or in its name
            Unit,    // decided: PL/SQL
            Raw      // decided: another language, or PL/SQL made unreadable
        };
        static State AfterStart(const Lexer& lexer, const Token& token);
        static State AfterCreate(const Lexer& lexer, const Token& token);
        State InName(const Lexer& lexer, const Token& token);

        State state = State::Start;
        int nameWords = 0;
    };

    bool IsSeparator(const Token& token) override;
    bool TakeCommand() override;
    void TakeStatement() override;

    bool EndsStatement(const Token& token, const Token& before, const Kind& kind);
    bool IsAlone(const Token& token, char sign);
    bool IsCommandWord();
    void SkipRawLines();
    void TakeContinuedLine();
    void TakeDocument();
    void TakeExecute();
    bool IsHeldStatementRun(Position& behind);
    void ReadTerminator(std::string_view line);

    bool endsAtSemicolon = true;     // plain SQL does
    bool separatorIsForSql = false;  // it came by SET SQLTERMINATOR, and divides no PL/SQL
};

}  // namespace qxscriptparser
