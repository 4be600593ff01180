// SQL Server and Sybase: batches between lines with GO.
#pragma once

#include <string>
#include <string_view>

#include "scriptparser/splitter.h"

namespace qxscriptparser {

// An item is a batch as it stands, comments included, without the blanks around it; one with nothing but
// comments is skipped. The separator ("go" where the caller gives none) stands alone on its line, in any
// case; a count may follow, which hands the batch on that often, and a ";" or a comment.
//
// Commands of sqlcmd and isql take a line and are skipped: ":setvar" and the like, "!!", EXIT, QUIT, RESET.
// In the middle of a batch they come before it, and blanks stand in their place. RESET, EXIT and QUIT drop
// what there is of the batch (it is skipped), and behind EXIT and QUIT everything is skipped.
class TsqlSplitter final : public Splitter {
  public:
    TsqlSplitter(ScriptText& newText, const std::string& newSeparator, ItemSink& newSink);

    void Run() override;

  private:
    struct Batch {
        bool isBegun = false;
        bool hasCode = false;
        Mark begin;
    };
    enum class Command { None, Line, Drop, End };

    bool TakeBatch();
    void HandOnBatch(const Batch& batch, Position end, long times);
    bool TakeSeparator(const Token& token, long& times);
    Command CommandAt(const Token& token);
    void TakeCommand(const Token& token, Command command, Batch& batch);

    std::string separator;  // in upper case
};

}  // namespace qxscriptparser
