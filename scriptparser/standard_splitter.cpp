#include "scriptparser/standard_splitter.h"

#include <algorithm>
#include <cstddef>

#include "scriptparser/clp_commands.h"
#include "scriptparser/command_words.h"

namespace qxscriptparser {

namespace {

// Commands of psql that run the statement in front of them.
constexpr std::string_view kRunningMetas[] = {"G", "GX", "GSET", "GEXEC", "GDESC", "CROSSTABVIEW", "WATCH"};

SplitterRules StandardRules(StandardSplitter::Server server) {
    SplitterRules rules;
    rules.lexical.escapeStrings = true;
    rules.lexical.dollarQuotes = true;
    rules.lexical.backtickNames = true;
    rules.lexical.nestedComments = true;
    rules.lexical.brackets = Brackets::Guessed;
    rules.lexical.signs = ";\\";
    rules.lexical.lineStarters = "/gG";
    // PostgreSQL: EXECUTE runs a prepared statement.
    rules.calls.executeIsCall = server == StandardSplitter::Server::Db2;
    return rules;
}

bool IsLetter(char c) {
    return Upper(c) >= 'A' && Upper(c) <= 'Z';
}

// Whether one of the commands in a line of psql, each behind a backslash outside quotes, is this one.
bool HasMeta(std::string_view line, std::string_view upper) {
    for (std::size_t at = 0; at < line.size(); ++at) {
        if (line[at] == '\'' || line[at] == '"')
            at = std::min(line.find(line[at], at + 1), line.size());
        if (at == line.size() || line[at] != '\\')
            continue;
        std::size_t size = 0;
        while (at + 1 + size < line.size() && IsLetter(line[at + 1 + size]))
            ++size;
        if (SameWord(line.substr(at + 1, size), upper))
            return true;
    }
    return false;
}

// Looks for COPY … FROM STDIN.
class CopyWatch {
  public:
    bool IsWatching() const { return state != State::Other; }
    bool HasData() const { return state == State::Data; }
    void Read(const Lexer& lexer, const Token& token) {
        if (token.IsComment() || state == State::Other || state == State::Data)
            return;
        if (token.IsSign('('))
            ++parentheses;
        else if (token.IsSign(')'))
            --parentheses;
        if (state == State::Start)
            state = lexer.IsWord(token, "COPY") ? State::Copy : State::Other;
        else if (parentheses > 0)
            state = State::Copy;
        else if (state == State::From && lexer.IsWord(token, "STDIN"))
            state = State::Data;
        else
            state = lexer.IsWord(token, "FROM") ? State::From : State::Copy;
    }

  private:
    enum class State { Start, Copy, From, Data, Other };
    State state = State::Start;
    int parentheses = 0;
};

}  // namespace

StandardSplitter::StandardSplitter(ScriptText& newText, const std::string& newSeparator, Server newServer,
                                   ItemSink& newSink)
    : StatementSplitter(newText, StandardRules(newServer), newSink), server(newServer) {
    ChangeSeparator(newSeparator);
}

void StandardSplitter::ChangeSeparator(const std::string& newSeparator) {
    hasOwnSeparator = !newSeparator.empty() && newSeparator != ";";
    SetSeparator(hasOwnSeparator ? newSeparator : std::string());
}

// SET TERM x, behind which the terminator that goes may follow without a blank.
bool StandardSplitter::TakeTerm() {
    if (!lexer.IsWord(lexer.Next(), "TERM")) {
        lexer.MoveTo(first.end);
        return false;
    }
    const std::string_view line = Trim(lexer.RestOfLine());
    std::string newTerm(line.begin(),
                        std::find_if(line.begin(), line.end(), [](char c) { return IsBlank(c); }));
    const std::string old = term.empty() ? ";" : term;
    if (newTerm.size() > old.size() && newTerm.compare(newTerm.size() - old.size(), old.size(), old) == 0)
        newTerm.resize(newTerm.size() - old.size());
    TakeLine();
    if (!newTerm.empty()) {
        ChangeSeparator(newTerm);
        term = newTerm == ";" ? std::string() : newTerm;
    }
    return true;
}

bool StandardSplitter::IsAloneOnLine(const Token& token) {
    return token.startsLine && lexer.OnlyBlanksBehind(token.end);
}

bool StandardSplitter::IsSeparator(const Token& token) {
    if (token.IsSign(';') || IsGivenSeparator(token))
        return true;
    return (token.IsSign('/') || lexer.IsWord(token, "GO")) && IsAloneOnLine(token);
}

// --#SET TERMINATOR x, with or without blanks behind the dashes.
bool StandardSplitter::ReadTerminator(const Token& comment) {
    if (comment.kind != Token::Kind::LineComment)
        return false;
    std::string_view rest = Trim(lexer.View(comment).substr(2));
    for (const std::string_view word : {std::string_view("#SET"), std::string_view("TERMINATOR")}) {
        if (!SameWord(rest.substr(0, word.size()), word) || rest.size() == word.size() ||
            !IsBlank(rest[word.size()]))
            return false;
        rest = Trim(rest.substr(word.size()));
    }
    std::size_t size = 0;
    while (size < rest.size() && !IsBlank(rest[size]))
        ++size;
    ChangeSeparator(std::string(rest.substr(0, size)));
    return true;
}

bool StandardSplitter::TakeCommandComment(const Token& comment) {
    if (!ReadTerminator(comment))
        return false;
    HandOn(MarkAt(comment.begin), comment.end, comment.end, Use::Skip);
    return true;
}

bool StandardSplitter::TakeCommand() {
    use = Use::Run;
    if (first.kind == Token::Kind::Sign) {
        const char sign = first.sign;
        if (sign == '\\') {
            TakeMeta();
            return true;
        }
        const bool isPoint = sign == '.' && first.startsLine && IsLetter(lexer.Peek(0));
        if (!isPoint && sign != '!' && sign != '?' && sign != '#' && sign != '@')
            return false;
        const std::string_view line = lexer.RestOfLine();
        const bool ends =
            isPoint && (SameWord(line.substr(0, 4), "QUIT") || SameWord(line.substr(0, 4), "EXIT"));
        TakeLine();
        if (ends)
            EndOfClient();
        return true;
    }
    if (first.kind != Token::Kind::Word)
        return false;
    if (server == Server::Other && lexer.IsWord(first, "SET") && TakeTerm())
        return true;
    if (lexer.IsWord(first, "ECHO")) {
        TakeLine();
        return true;
    }
    if (IsClpCommand(lexer, first, server == Server::Db2))
        use = Use::Skip;
    return false;
}

// The name of the psql command at whose backslash the lexer stands behind.
std::string_view StandardSplitter::MetaName() {
    const std::string_view rest = lexer.RestOfLine();
    std::size_t size = 0;
    while (size < rest.size() && IsLetter(rest[size]))
        ++size;
    return rest.substr(0, size);
}

void StandardSplitter::TakeMeta() {
    const std::string_view name = MetaName();
    const bool isShell = lexer.Peek(0) == '!';
    if (SameWord(name, "IF"))
        ++conditions;
    if (SameWord(name, "ENDIF") && conditions > 0)
        --conditions;
    const bool isCopy = SameWord(name, "COPY");
    lexer.SkipLine();
    const std::string_view line = text.View(begin.position, lexer.Here());
    const bool ends = conditions == 0 && !isShell && !isCopy && (HasMeta(line, "Q") || HasMeta(line, "QUIT"));
    // \copy t from stdin: the data stand in the script
    CopyWatch copy;
    if (isCopy) {
        const Position behind = lexer.Here();
        lexer.MoveTo(first.end);
        while (lexer.Here() < behind)
            copy.Read(lexer, lexer.Next());
        lexer.MoveTo(behind);
    }
    HandOn(begin, lexer.Here(), lexer.Here(), Use::Skip);
    if (ends)
        EndOfClient();
    if (copy.HasData())
        SkipCopyData();
}

// A command in the middle of a statement, which goes on behind it.
void StandardSplitter::TakeMetaInStatement(const Token& token) {
    lexer.SkipLine();
    HandOn(MarkAt(token.begin), lexer.Here(), lexer.Here(), Use::Skip);
    text.Blank(token.begin, lexer.Here());
}

// "\;" puts a ";" into the statement, which goes on: several are sent as one.
void StandardSplitter::TakeEscapedSemicolon(const Token& token, StandardShape& shape) {
    text.Blank(token.begin, token.end);
    shape.Read(lexer, lexer.Next());
}

// To behind the line "\.".
void StandardSplitter::SkipCopyData() {
    lexer.SkipLine();
    lexer.SkipLineEnd();
    while (lexer.Peek(0) != '\0') {
        text.DropTo(lexer.Here());
        const bool isEnd =
            lexer.Peek(0) == '\\' && lexer.Peek(1) == '.' && lexer.OnlyBlanksBehind(lexer.Here() + 2);
        lexer.SkipLine();
        if (isEnd)
            return;
        lexer.SkipLineEnd();
    }
}

bool StandardSplitter::EndsStatement(const Token& token, const Token& before, const StandardShape& shape) {
    if (!term.empty())
        return IsGivenSeparator(token);
    if (token.IsSign(';'))
        return shape.MayEnd() && !(hasOwnSeparator && shape.IsUnit());
    if (token.IsSign('/'))
        return before.IsSign(';') && IsAloneOnLine(token);
    if (IsGivenSeparator(token))
        return true;
    return token.startsLine && lexer.IsWord(token, "GO") && shape.MayEnd() && IsAloneOnLine(token);
}

void StandardSplitter::TakeStatement() {
    StandardShape shape;
    CopyWatch copy;
    Token before;
    for (Token token = first;; token = lexer.Next()) {
        if (token.kind == Token::Kind::End) {
            HandOn(begin, token.begin, token.end, use);
            return;
        }
        if (token.kind == Token::Kind::LineComment)
            ReadTerminator(token);
        if (token.IsSign('\\') && lexer.Peek(0) == ';') {
            TakeEscapedSemicolon(token, shape);
            continue;
        }
        if (token.IsSign('\\') && IsLetter(lexer.Peek(0))) {
            if (IsAnyOf(MetaName(), kRunningMetas)) {
                lexer.SkipLine();
                HandOn(begin, token.begin, lexer.Here(), use);
                return;
            }
            TakeMetaInStatement(token);
            continue;
        }
        shape.Read(lexer, token);
        copy.Read(lexer, token);
        if (EndsStatement(token, before, shape)) {
            EndStatement(token.begin, copy.HasData() ? Use::Skip : use, copy.HasData());
            return;
        }
        if (!token.IsComment())
            before = token;
        if (shape.IsPlain() && !copy.IsWatching())
            lexer.SkipPlain();
    }
}

void StandardSplitter::EndStatement(Position end, Use endUse, bool hasData) {
    const std::string_view word = lexer.View(first);
    const bool ends = endUse == Use::Skip && (SameWord(word, "TERMINATE") || SameWord(word, "QUIT"));
    HandOn(begin, end, lexer.Here(), endUse);
    if (ends)
        EndOfClient();
    if (hasData)
        SkipCopyData();
}

}  // namespace qxscriptparser
