#include "scriptparser/tsql_splitter.h"

#include <cstddef>

#include "scriptparser/command_words.h"

namespace qxscriptparser {

namespace {

// Behind a colon. QUIT, EXIT and RESET go with and without one.
constexpr std::string_view kColonCommands[] = {"R",     "SETVAR",    "CONNECT",   "ON",      "OUT",
                                               "ERROR", "PERFTRACE", "LIST",      "LISTVAR", "XML",
                                               "ED",    "HELP",      "SERVERLIST"};

constexpr long kMostTimes = 1'000'000'000;

SplitterRules TsqlRules() {
    SplitterRules rules;
    rules.lexical.nestedComments = true;
    rules.lexical.brackets = Brackets::Names;
    rules.lexical.lineStarters = ":!eEqQrR";
    return rules;
}

bool StartsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

// The count behind a separator, which is taken from `rest`; 1 when there is none.
long TakeCount(std::string_view& rest) {
    if (rest.empty() || rest.front() < '0' || rest.front() > '9')
        return 1;
    long count = 0;
    for (; !rest.empty() && rest.front() >= '0' && rest.front() <= '9'; rest.remove_prefix(1)) {
        if (count < kMostTimes)
            count = count * 10 + (rest.front() - '0');
    }
    return count < kMostTimes ? count : kMostTimes;
}

}  // namespace

TsqlSplitter::TsqlSplitter(ScriptText& newText, const std::string& newSeparator, ItemSink& newSink)
    : Splitter(newText, TsqlRules(), newSink) {
    for (const char c : newSeparator.empty() ? std::string("go") : newSeparator)
        separator += Upper(c);
    lexer.AddLineStarter(separator[0]);
}

void TsqlSplitter::Run() {
    while (!Done() && TakeBatch()) {
    }
}

// False at the end of the script.
bool TsqlSplitter::TakeBatch() {
    Batch batch;
    for (;;) {
        const Token token = batch.isBegun ? lexer.Next() : lexer.NextBetween(true);
        if (Done())
            return false;
        if (token.kind == Token::Kind::End) {
            HandOnBatch(batch, token.begin, 1);
            return false;
        }
        if (token.startsLine) {
            long times = 1;
            if (TakeSeparator(token, times)) {
                HandOnBatch(batch, token.begin, times);
                return true;
            }
            const Command command = CommandAt(token);
            if (command != Command::None) {
                TakeCommand(token, command, batch);
                continue;
            }
        }
        if (!batch.isBegun) {
            batch.isBegun = true;
            batch.begin = MarkAt(token.begin);
        }
        batch.hasCode = batch.hasCode || !token.IsComment();
        if (batch.hasCode)
            lexer.SkipPlain();
    }
}

void TsqlSplitter::HandOnBatch(const Batch& batch, Position end, long times) {
    if (!batch.isBegun)
        return;
    if (!batch.hasCode || times == 0) {
        HandOn(batch.begin, end, lexer.Here(), Use::Skip);
        return;
    }
    for (long i = 0; i < times && !Done(); ++i)
        HandOn(batch.begin, end, lexer.Here(), Use::Run);
}

// Whether the line that `token` begins is a separator; then it is taken.
bool TsqlSplitter::TakeSeparator(const Token& token, long& times) {
    if (Upper(token.sign) != separator[0])
        return false;
    const Position back = lexer.Here();
    lexer.MoveTo(token.begin);
    const std::string_view line = lexer.RestOfLine();
    std::string_view rest = line.substr(0, separator.size());
    bool isSeparator = SameWord(rest, separator);
    if (isSeparator) {
        rest = line.substr(separator.size());
        // "go" does not begin a longer word.
        isSeparator = rest.empty() || IsBlank(rest.front()) || rest.front() == ';' ||
                      StartsWith(rest, "--") || StartsWith(rest, "/*");
        rest = Trim(rest);
        times = TakeCount(rest);
        rest = Trim(rest);
        while (!rest.empty() && rest.front() == ';')
            rest = Trim(rest.substr(1));
    }
    // A comment that goes on in the next line belongs to the next batch.
    Position behind = token.begin + line.size();
    if (StartsWith(rest, "/*")) {
        const std::size_t close = rest.find("*/");
        if (close == std::string_view::npos)
            behind = token.begin + static_cast<Position>(rest.data() - line.data());
        isSeparator =
            isSeparator && (close == std::string_view::npos || Trim(rest.substr(close + 2)).empty());
    } else if (!StartsWith(rest, "--")) {
        isSeparator = isSeparator && rest.empty();
    }
    lexer.MoveTo(isSeparator ? behind : back);
    return isSeparator;
}

TsqlSplitter::Command TsqlSplitter::CommandAt(const Token& token) {
    if (token.IsSign('!'))
        return lexer.Peek(0) == '!' ? Command::Line : Command::None;
    const bool isColon = token.IsSign(':');
    if (!isColon && token.kind != Token::Kind::Word)
        return Command::None;
    lexer.MoveTo(isColon ? token.end : token.begin);
    const std::string_view rest = TrimRight(lexer.RestOfLine());
    std::size_t size = 0;
    while (size < rest.size() && Upper(rest[size]) >= 'A' && Upper(rest[size]) <= 'Z')
        ++size;
    const std::string_view word = rest.substr(0, size);
    const char next = size < rest.size() ? rest[size] : '\0';
    lexer.MoveTo(token.end);

    const bool isAlone = next == '\0';
    if (SameWord(word, "QUIT") || SameWord(word, "EXIT"))
        return isAlone || (next == '(' && SameWord(word, "EXIT")) ? Command::End : Command::None;
    if (SameWord(word, "RESET"))
        return isAlone ? Command::Drop : Command::None;
    if (!isColon)
        return Command::None;
    const bool isKnown = IsAnyOf(word, kColonCommands) && (isAlone || IsBlank(next));
    return isKnown || StartsWith(rest, "!!") ? Command::Line : Command::None;
}

void TsqlSplitter::TakeCommand(const Token& token, Command command, Batch& batch) {
    if (command != Command::Line && batch.isBegun) {
        lexer.MoveTo(token.begin);
        HandOn(batch.begin, token.begin, token.begin, Use::Skip);
        batch = Batch();
    }
    lexer.MoveTo(token.begin);
    lexer.SkipLine();
    HandOn(MarkAt(token.begin), lexer.Here(), lexer.Here(), Use::Skip);
    if (batch.isBegun)
        text.Blank(token.begin, lexer.Here());
    if (command == Command::End)
        EndOfClient();
}

}  // namespace qxscriptparser
