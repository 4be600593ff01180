// DB2 (both), and the servers without a dialect of their own: PostgreSQL, SQLite and relatives.
#pragma once

#include <string>
#include <string_view>

#include "scriptparser/splitter.h"
#include "scriptparser/standard_shape.h"

namespace qxscriptparser {

// Statements end at ";", but not inside the body of a stored program, a compound statement or the brackets of
// CREATE RULE. With another separator, stored programs, compound statements and whatever has declarations end
// there only, and others at ";" too. "--#SET TERMINATOR x" changes the separator, and so does "SET TERM x ;"
// of Firebird's isql, behind which nothing else ends a statement. GO alone on its line ends a statement, and
// so does "/" behind a ";", as the sqlite3 shell has it.
//
// Client commands are skipped: those of the DB2 command line processor (up to the separator), of psql (a
// backslash; the line) and of the sqlite3 shell (a point; the line). \g and its relatives end a statement and
// run it, and \; divides statements that are sent as one. COPY … FROM STDIN is one item to be skipped,
// without its data, which are passed over. Behind the commands that end the client everything is skipped.
class StandardSplitter final : public StatementSplitter {
  public:
    enum class Server { Db2, Other };
    // An empty separator is ";".
    StandardSplitter(ScriptText& newText, const std::string& newSeparator, Server newServer,
                     ItemSink& newSink);

  private:
    bool IsSeparator(const Token& token) override;
    bool TakeCommandComment(const Token& comment) override;
    bool TakeCommand() override;
    void TakeStatement() override;

    void ChangeSeparator(const std::string& newSeparator);
    bool TakeTerm();
    bool ReadTerminator(const Token& comment);
    bool IsAloneOnLine(const Token& token);
    bool EndsStatement(const Token& token, const Token& before, const StandardShape& shape);
    void EndStatement(Position end, Use use, bool hasData);
    void SkipCopyData();

    std::string_view MetaName();
    void TakeMeta();
    void TakeMetaInStatement(const Token& token);
    void TakeEscapedSemicolon(const Token& token, StandardShape& shape);

    const Server server;
    bool hasOwnSeparator = false;  // other than ";"
    std::string term;              // of SET TERM, which takes the place of ";" everywhere; mostly empty
    Use use = Use::Run;            // of the statement that is being read
    int conditions = 0;            // open \if
};

}  // namespace qxscriptparser
