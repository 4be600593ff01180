// The division of a script into items: what all dialects share.
#pragma once

#include <string>
#include <string_view>

#include "scriptparser/bindable_call.h"
#include "scriptparser/item.h"
#include "scriptparser/lexer.h"
#include "scriptparser/lexical_rules.h"
#include "scriptparser/script_text.h"

namespace qxscriptparser {

struct SplitterRules {
    LexicalRules lexical;
    CallRules calls;
};

// One run over one script, on one thread. Items go to the sink in the order in which the server's own client
// would act on them, each as soon as its end was read. A statement that nobody ends, or a quote, comment or
// block that nobody closes, goes to the end of the script and is one item.
class Splitter {
  public:
    virtual ~Splitter() = default;
    Splitter(const Splitter&) = delete;
    Splitter& operator=(const Splitter&) = delete;

    // Ends early when the sink wants no more, or the text was stopped. Throws what ScriptText::More throws.
    virtual void Run() = 0;

  protected:
    // A place in the script with its line; places are marked in their order.
    struct Mark {
        Position position = 0;
        long line = 1;
    };
    enum class Use { Run, Skip };

    Splitter(ScriptText& newText, const SplitterRules& newRules, ItemSink& newSink);

    bool Done() const { return sinkIsFull || text.Stopped(); }
    Mark MarkAt(Position at) { return {at, text.LineOf(at)}; }
    // The item from `begin` to `end`, without the blanks at its end; nothing when that is all. `behind` is
    // the end of its separator.
    void HandOn(const Mark& begin, Position end, Position behind, Use use);
    // Another text in place of the script's own.
    void HandOnInstead(std::string_view newText, const Mark& begin, Position behind);
    // The client ends here: what follows is still handed on, to be skipped.
    void EndOfClient() { clientEnded = true; }
    bool IsBindable(std::string_view statement) const { return IsBindableCall(statement, rules.calls); }

    ScriptText& text;
    Lexer lexer;

  private:
    void Put(Item& item);

    const SplitterRules rules;
    ItemSink& sink;
    bool sinkIsFull = false;
    bool clientEnded = false;
};

// The dialects in which statements end where they end, by a delimiter behind them, and not by a line between
// batches. Comments in front of a statement are no part of it; comments with no statement behind them are an
// item to be skipped.
class StatementSplitter : public Splitter {
  public:
    void Run() final;

  protected:
    using Splitter::Splitter;

    // A separator that the caller chose. One that begins with a letter or digit stands alone on its line, in
    // any case; another one counts where a blank, a line end or a comment follows it.
    void SetSeparator(const std::string& newSeparator);
    bool IsGivenSeparator(const Token& token);

    // Whether the token divides statements, and stands here behind none.
    virtual bool IsSeparator(const Token& token) = 0;
    // A comment between statements. True when it was a command, which then was handed on.
    virtual bool TakeCommandComment(const Token& comment);
    // Hands on the command of the client that begins with `first`. False when there is none.
    virtual bool TakeCommand() = 0;
    // Hands on the statement that begins with `first`.
    virtual void TakeStatement() = 0;

    // The rest of the line, from `begin` on, is a command.
    void TakeLine();

    Token first;
    Mark begin;  // of `first`

  private:
    bool BeginItem();

    std::string wordSeparator;  // in upper case
};

}  // namespace qxscriptparser
