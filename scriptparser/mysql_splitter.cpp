#include "scriptparser/mysql_splitter.h"

#include <algorithm>
#include <cstddef>

#include "scriptparser/command_words.h"

namespace qxscriptparser {

namespace {

constexpr std::string_view kCommands[] = {"CHARSET", "CONNECT", "HELP", "PAGER", "PROMPT",
                                          "SOURCE",  "SYSTEM",  "TEE",  "USE",   "QUERY_ATTRIBUTES"};
constexpr std::string_view kCommandsAlone[] = {
    "CLEAR",   "CONNECT", "EDIT",     "EGO",       "EXIT",           "GO",     "HELP",
    "NOPAGER", "NOTEE",   "PRINT",    "PROMPT",    "QUIT",           "REHASH", "PAGER",
    "STATUS",  "TEE",     "WARNINGS", "NOWARNING", "RESETCONNECTION"};

constexpr std::string_view kRoutines[] = {"PROCEDURE", "FUNCTION", "TRIGGER", "EVENT", "PACKAGE"};
// Between CREATE and the kind of what is created.
constexpr std::string_view kCreateOptions[] = {"OR", "REPLACE", "AGGREGATE"};
// Behind these words of its header the body of a program may begin.
constexpr std::string_view kBeforeBody[] = {"ROW", "DO",      "DETERMINISTIC", "DATA",
                                            "SQL", "DEFINER", "INVOKER"};

// Letters of backslash commands that take the rest of the line up to the delimiter, and of those that don't.
constexpr std::string_view kWithArgument = ".!uTCrPRd";
constexpr std::string_view kWithoutArgument = "Wwstnpeh?#x";

constexpr std::size_t kLongestDelimiter = 15;

SplitterRules MySqlRules() {
    SplitterRules rules;
    rules.lexical.backslashEscapes = true;
    rules.lexical.backtickNames = true;
    rules.lexical.hashComments = true;
    rules.lexical.dashNeedsBlank = true;
    rules.lexical.executableComments = true;
    rules.lexical.signs = "\\";
    rules.lexical.lineStarters = "dD";
    rules.calls.backslashEscapes = true;
    return rules;
}

bool IsNumber(std::string_view word) {
    return std::all_of(word.begin(), word.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// The argument of DELIMITER: up to a blank, or in quotes.
std::string_view DelimiterArgument(std::string_view rest) {
    rest = Trim(rest);
    if (rest.empty())
        return rest;
    const char quote = rest.front();
    if (quote == '\'' || quote == '"' || quote == '`') {
        rest.remove_prefix(1);
        return rest.substr(0, rest.find(quote));
    }
    return rest.substr(
        0, static_cast<std::size_t>(std::find_if(rest.begin(), rest.end(), IsBlank) - rest.begin()));
}

}  // namespace

void MySqlSplitter::Shape::Read(const Lexer& lexer, const Token& token) {
    if (token.IsComment() || IsPlain())
        return;
    const auto isWord = [&](std::string_view word) { return lexer.IsWord(token, word); };
    switch (state) {
        case State::Start:
            state = AfterStart(lexer, token);
            break;
        case State::Begin:
            state = isWord("NOT") ? State::BeginNot : State::Plain;
            break;
        case State::BeginNot:
            state = isWord("ATOMIC") ? State::Header : State::Plain;
            if (state == State::Header)
                blocks.OpenBlock();
            break;
        case State::Create:
        case State::Definer:
            state = AfterCreate(lexer, token);
            break;
        default:
            ReadHeader(lexer, token);
            break;
    }
}

MySqlSplitter::Shape::State MySqlSplitter::Shape::AfterStart(const Lexer& lexer, const Token& token) const {
    // The opening of an executable comment, with a version.
    if (token.kind == Token::Kind::Sign || (token.kind == Token::Kind::Word && IsNumber(lexer.View(token))))
        return State::Start;
    if (lexer.IsWord(token, "CREATE"))
        return State::Create;
    return lexer.IsWord(token, "BEGIN") ? State::Begin : State::Plain;
}

MySqlSplitter::Shape::State MySqlSplitter::Shape::AfterCreate(const Lexer& lexer, const Token& token) const {
    if (token.kind != Token::Kind::Word)
        return state == State::Definer || token.kind == Token::Kind::Sign ? state : State::Plain;
    const std::string_view word = lexer.View(token);
    if (IsAnyOf(word, kRoutines))
        return State::Header;
    if (SameWord(word, "DEFINER"))
        return State::Definer;
    if (SameWord(word, "VIEW") || SameWord(word, "SQL"))
        return State::Plain;
    return state == State::Definer || IsAnyOf(word, kCreateOptions) || IsNumber(word) ? state : State::Plain;
}

void MySqlSplitter::Shape::ReadHeader(const Lexer& lexer, const Token& token) {
    const bool isHeader = !blocks.IsOpen() && blocks.Parentheses() == 0;
    if (isHeader && lexer.IsWord(token, "BEGIN"))
        blocks.ExpectStatement();
    blocks.Read(lexer, token);
    if (!isHeader && !blocks.IsOpen() && blocks.Parentheses() == 0 && token.IsSign(')'))
        blocks.ExpectStatement();
    if (isHeader && token.kind == Token::Kind::Word && IsAnyOf(lexer.View(token), kBeforeBody))
        blocks.ExpectStatement();
}

MySqlSplitter::MySqlSplitter(ScriptText& newText, const std::string& newSeparator, ItemSink& newSink)
    : StatementSplitter(newText, MySqlRules(), newSink) {
    SetDelimiter(newSeparator.empty() ? ";" : newSeparator);
}

void MySqlSplitter::SetDelimiter(std::string_view newDelimiter) {
    delimiter = newDelimiter;
    lexer.SetDelimiter(delimiter);
}

bool MySqlSplitter::IsSeparator(const Token& token) {
    return token.kind == Token::Kind::Delimiter;
}

bool MySqlSplitter::IsDelimiterCommand(const Token& token) {
    return lexer.IsWord(token, "DELIMITER") && IsBlank(lexer.Peek(0));
}

bool MySqlSplitter::TakeCommand() {
    if (first.IsSign('\\') && MeaningOf(lexer.Peek(0)) != Backslash::Text) {
        TakeBackslashCommand(first, false);
        return true;
    }
    if (IsDelimiterCommand(first)) {
        TakeDelimiterCommand();
        return true;
    }
    return first.kind == Token::Kind::Word && TakeWordCommand();
}

void MySqlSplitter::TakeDelimiterCommand() {
    const std::string argument(DelimiterArgument(lexer.RestOfLine()));
    TakeLine();
    if (!argument.empty() && argument.find('\\') == std::string::npos)
        SetDelimiter(argument.substr(0, kLongestDelimiter));
}

// The delimiter, or \g, in what is taken as it stands; the size of the line when there is none.
std::size_t MySqlSplitter::FindDelimiter(std::string_view line) const {
    const std::size_t found = std::min(line.find(delimiter), line.find("\\g"));
    return std::min(found, line.size());
}

bool MySqlSplitter::TakeWordCommand() {
    const std::string word(lexer.View(first));
    if (!IsAnyOf(word, kCommands) && !IsAnyOf(word, kCommandsAlone))
        return false;
    const std::string_view rest = lexer.RestOfLine();
    const std::size_t size = FindDelimiter(rest);
    // Without a delimiter it is a command only where it has the whole line, and \g sends it to the server.
    const bool isStatement = size < rest.size() ? rest[size] != delimiter[0] : !first.startsLine;
    const bool isAlone = Trim(rest.substr(0, size)).empty();
    if (isStatement)
        return false;
    if (isAlone ? !IsAnyOf(word, kCommandsAlone) : !IsAnyOf(word, kCommands) || !IsBlank(rest.front()))
        return false;
    const Position end = first.end + size;
    if (size < rest.size())
        lexer.MoveTo(end + delimiter.size());
    else
        lexer.SkipLine();
    HandOn(begin, end, lexer.Here(), SameWord(word, "USE") ? Use::Run : Use::Skip);
    if (SameWord(word, "EXIT") || SameWord(word, "QUIT"))
        EndOfClient();
    return true;
}

MySqlSplitter::Backslash MySqlSplitter::MeaningOf(char letter) {
    switch (letter) {
        case 'g':
        case 'G':
            return Backslash::Run;
        case 'c':
            return Backslash::Drop;
        case 'q':
            return Backslash::End;
        case '\0':
            return Backslash::Text;
        default:
            break;
    }
    const bool isCommand = kWithArgument.find(letter) != std::string_view::npos ||
                           kWithoutArgument.find(letter) != std::string_view::npos;
    return isCommand ? Backslash::Command : Backslash::Text;
}

// The command whose backslash is `token`, which stands between statements or in one.
void MySqlSplitter::TakeBackslashCommand(const Token& token, bool isInStatement) {
    const char letter = lexer.Peek(0);
    lexer.Skip(1);
    const bool hasArgument = kWithArgument.find(letter) != std::string_view::npos;
    std::string argument;
    if (letter == 'd') {
        argument = DelimiterArgument(lexer.RestOfLine());
        lexer.SkipLine();
    } else if (hasArgument) {
        const std::string_view rest = lexer.RestOfLine();
        lexer.Skip(FindDelimiter(rest));
    }
    HandOn(MarkAt(token.begin), lexer.Here(), lexer.Here(), Use::Skip);
    if (isInStatement)
        text.Blank(token.begin, lexer.Here());
    if (!argument.empty())
        SetDelimiter(argument.substr(0, kLongestDelimiter));
    if (letter == 'q')
        EndOfClient();
}

// A backslash in a statement. True when the statement is over.
bool MySqlSplitter::EndsAtBackslash(const Token& token) {
    const Backslash meaning = MeaningOf(lexer.Peek(0));
    if (meaning == Backslash::Text) {
        lexer.Skip(lexer.Peek(0) == '\0' ? 0 : 1);
        return false;
    }
    if (meaning == Backslash::Command) {
        TakeBackslashCommand(token, true);
        return false;
    }
    lexer.Skip(1);
    HandOn(begin, token.begin, lexer.Here(), meaning == Backslash::Run ? Use::Run : Use::Skip);
    if (meaning == Backslash::End)
        EndOfClient();
    return true;
}

void MySqlSplitter::TakeStatement() {
    const bool mayHaveBlocks = delimiter == ";";
    Shape shape;
    for (Token token = first;; token = lexer.Next()) {
        if (token.kind == Token::Kind::End) {
            HandOn(begin, token.begin, token.end, Use::Run);
            return;
        }
        if (token.IsSign('\\')) {
            if (EndsAtBackslash(token))
                return;
            continue;
        }
        if (token.startsLine && IsDelimiterCommand(token)) {
            HandOn(begin, token.begin, token.begin, Use::Run);
            lexer.Back(token);
            return;
        }
        if (mayHaveBlocks)
            shape.Read(lexer, token);
        if (IsSeparator(token) && shape.MayEnd()) {
            HandOn(begin, token.begin, lexer.Here(), Use::Run);
            return;
        }
        if (!mayHaveBlocks || shape.IsPlain())
            lexer.SkipPlain();
    }
}

}  // namespace qxscriptparser
