#include "scriptparser/lexer.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace qxscriptparser {

namespace {

// How far a line is looked at as a whole.
constexpr std::size_t kLongestLook = 16 * 1024;
// Bytes of a name in brackets, where something else may be meant.
constexpr std::size_t kLongestName = 512;

bool IsLetter(char c) {
    return Upper(c) >= 'A' && Upper(c) <= 'Z';
}

std::size_t Index(char c) {
    return static_cast<unsigned char>(c);
}

}  // namespace

bool Lexer::IsWordByte(char c) {
    return IsLetter(c) || (c >= '0' && c <= '9') || c == '_' || static_cast<unsigned char>(c) >= 0x80;
}

Lexer::Lexer(ScriptText& newText, const LexicalRules& newRules)
    : text(newText), rules(newRules), lineStarters(newRules.lineStarters) {
    FillTables();
}

void Lexer::FillTables() {
    for (int i = 0; i < 256; ++i) {
        const char c = static_cast<char>(i);
        Class& kind = classes[static_cast<std::size_t>(i)];
        kind = Class::Sign;
        if (IsLineEnd(c))
            kind = Class::LineEnd;
        else if (IsBlank(c))
            kind = Class::Blank;
        else if (IsWordByte(c))
            kind = Class::Word;
    }
    classes[0] = Class::Zero;
    classes[Index('\'')] = classes[Index('"')] = Class::Quote;
    classes[Index('-')] = Class::Dash;
    classes[Index('/')] = Class::Slash;
    if (rules.backtickNames)
        classes[Index('`')] = Class::Quote;
    if (rules.brackets != Brackets::None)
        classes[Index('[')] = Class::Bracket;
    if (rules.hashComments)
        classes[Index('#')] = Class::Hash;
    if (rules.dollarQuotes)
        classes[Index('$')] = Class::Dollar;

    for (std::size_t i = 0; i < 256; ++i) {
        wordParts[i] = classes[i] == Class::Word;
        plain[i] = classes[i] == Class::Sign || classes[i] == Class::Blank || classes[i] == Class::Word;
    }
    wordParts[Index('$')] = true;
    wordParts[Index('#')] = !rules.hashComments;
    for (const char c : rules.signs)
        plain[Index(c)] = false;
    starters.fill(false);
    for (const char c : lineStarters)
        starters[Index(c)] = true;
    if (!delimiter.empty()) {
        plain[Index(delimiter[0])] = false;
        wordParts[Index(delimiter[0])] = false;
    }
}

void Lexer::SetDelimiter(const std::string& newDelimiter) {
    delimiter = newDelimiter;
    FillTables();
}

void Lexer::AddLineStarter(char c) {
    lineStarters += Upper(c);
    if (IsLetter(c))
        lineStarters += static_cast<char>(Upper(c) - 'A' + 'a');
    FillTables();
}

char Lexer::Peek(std::size_t distance) {
    while (text.End() <= here + distance) {
        if (!text.More())
            return '\0';
    }
    return text.At(here + distance);
}

void Lexer::Back(const Token& token) {
    here = token.begin;
    startsLine = token.startsLine;
}

void Lexer::MoveTo(Position at) {
    here = at;
    startsLine = false;
}

bool Lexer::SkipBlanks(bool drop) {
    const char* at = text.Data(here);
    for (;;) {
        const Class kind = ClassOf(*at);
        if (kind == Class::LineEnd) {
            startsLine = true;
        } else if (kind == Class::Zero) {
            here += static_cast<Position>(at - text.Data(here));
            if (drop)
                text.DropTo(here);
            if (!text.More())
                return false;
            at = text.Data(here);
            continue;
        } else if (kind != Class::Blank) {
            break;
        }
        ++at;
    }
    here += static_cast<Position>(at - text.Data(here));
    if (drop)
        text.DropTo(here);
    return true;
}

Token Lexer::NextBetween(bool drop) {
    SkipBlanks(drop);
    isBetween = true;
    const Token token = Next();
    isBetween = false;
    return token;
}

bool Lexer::AtDelimiter() {
    for (std::size_t i = 0; i < delimiter.size(); ++i) {
        if (Peek(i) != delimiter[i])
            return false;
    }
    return !delimiter.empty();
}

Token Lexer::Finish(Token token, Token::Kind kind) {
    token.kind = kind;
    token.end = here;
    return token;
}

Token Lexer::Next() {
    const bool any = SkipBlanks(false);
    Token token;
    token.begin = here;
    token.startsLine = std::exchange(startsLine, false);
    if (!any)
        return Finish(token, Token::Kind::End);
    const char c = text.At(here);
    token.sign = c;
    if (!delimiter.empty() && c == delimiter[0] && AtDelimiter()) {
        here += delimiter.size();
        return Finish(token, Token::Kind::Delimiter);
    }
    switch (ClassOf(c)) {
        case Class::Word:
            SkipWord();
            return Finish(token, Token::Kind::Word);
        case Class::Quote:
            SkipQuote(c);
            return Finish(token, Token::Kind::Quoted);
        case Class::Bracket:
            if (rules.brackets == Brackets::Names) {
                SkipQuoted(']', false);
                return Finish(token, Token::Kind::Quoted);
            }
            if (SkipGuessedName())
                return Finish(token, Token::Kind::Quoted);
            break;
        case Class::Dollar:
            if (SkipDollarQuote())
                return Finish(token, Token::Kind::Quoted);
            break;
        case Class::Dash:
            if (Peek(1) == '-' &&
                (isBetween || !rules.dashNeedsBlank || static_cast<unsigned char>(Peek(2)) <= ' ')) {
                SkipLine();
                return Finish(token, Token::Kind::LineComment);
            }
            break;
        case Class::Hash:
            SkipLine();
            return Finish(token, Token::Kind::LineComment);
        case Class::Slash:
            if (Peek(1) == '*' &&
                !(rules.executableComments && (Peek(2) == '!' || (Peek(2) == 'M' && Peek(3) == '!')))) {
                SkipComment();
                return Finish(token, Token::Kind::Comment);
            }
            break;
        default:
            break;
    }
    ++here;
    return Finish(token, Token::Kind::Sign);
}

void Lexer::SkipPlain() {
    const char* at = text.Data(here);
    for (;;) {
        if (startsLine) {
            while (ClassOf(*at) == Class::Blank || ClassOf(*at) == Class::LineEnd)
                ++at;
            if (starters[Index(*at)])
                break;
        }
        const char* const from = at;
        while (plain[Index(*at)])
            ++at;
        if (at != from)
            startsLine = false;
        const Class kind = ClassOf(*at);
        if (kind == Class::LineEnd) {
            startsLine = true;
            ++at;
        } else if (kind == Class::Zero) {
            here += static_cast<Position>(at - text.Data(here));
            if (!text.More())
                return;
            at = text.Data(here);
        } else if (BeginsSomething(at)) {
            break;
        } else {
            startsLine = false;
            ++at;
        }
    }
    here += static_cast<Position>(at - text.Data(here));
}

// Whether SkipPlain must stop at a byte that is not plain: not at a single dash or slash, unless the next
// byte is not known yet.
bool Lexer::BeginsSomething(const char* at) const {
    const Class kind = ClassOf(*at);
    if (kind != Class::Dash && kind != Class::Slash)
        return true;
    if (at[1] == '\0' || (!delimiter.empty() && *at == delimiter[0]))
        return true;
    return at[1] == (kind == Class::Dash ? '-' : '*');
}

std::string_view Lexer::RestOfLine() {
    std::size_t size = 0;
    while (size < kLongestLook && Peek(size) != '\0' && !IsLineEnd(text.At(here + size)))
        ++size;
    return text.View(here, here + size);
}

bool Lexer::OnlyBlanksBehind(Position at) {
    const Position back = std::exchange(here, at);
    while (IsBlank(Peek(0)) && !IsLineEnd(Peek(0)))
        ++here;
    const bool only = Peek(0) == '\0' || IsLineEnd(Peek(0));
    here = back;
    return only;
}

void Lexer::SkipLine() {
    startsLine = false;
    for (;;) {
        const char* const from = text.Data(here);
        const char* at = from;
        while (!IsLineEnd(*at) && *at != '\0')
            ++at;
        here += static_cast<Position>(at - from);
        if (*at != '\0' || !text.More())
            return;
    }
}

void Lexer::SkipLineEnd() {
    if (Peek(0) == '\r' && Peek(1) == '\n')
        ++here;
    if (IsLineEnd(Peek(0)))
        ++here;
    startsLine = true;
}

// A delimiter ends a word, its first byte alone doesn't.
void Lexer::SkipWord() {
    bool goesOn = true;
    while (goesOn) {
        const char* const from = text.Data(here);
        const char* at = from;
        while (wordParts[Index(*at)])
            ++at;
        here += static_cast<Position>(at - from);
        if (here == text.End()) {
            goesOn = text.More();
        } else {
            goesOn =
                !delimiter.empty() && *at == delimiter[0] && ClassOf(*at) == Class::Word && !AtDelimiter();
            here += goesOn ? 1 : 0;
        }
    }
}

// To the next `wanted`, at Here then. False at the end of the script.
bool Lexer::SkipTo(char wanted) {
    do {
        const char* const from = text.Data(here);
        const auto left = static_cast<std::size_t>(text.End() - here);
        const void* const found = std::memchr(from, wanted, left);
        if (found != nullptr) {
            here += static_cast<Position>(static_cast<const char*>(found) - from);
            return true;
        }
        here = text.End();
    } while (text.More());
    return false;
}

// From the opening quote over the closing one. A doubled closing quote stands for one.
void Lexer::SkipQuoted(char quote, bool backslash) {
    ++here;
    for (;;) {
        if (backslash) {
            const char* const from = text.Data(here);
            const char* at = from;
            while (*at != quote && *at != '\\' && *at != '\0')
                ++at;
            here += static_cast<Position>(at - from);
            if (*at == '\0') {
                if (!text.More())
                    return;
                continue;
            }
            if (*at == '\\') {
                here += Peek(1) == '\0' ? 1 : 2;
                continue;
            }
        } else if (!SkipTo(quote)) {
            return;
        }
        ++here;
        if (Peek(0) != quote)
            return;
        ++here;
    }
}

// Whether the byte in front of `at` belongs to a word.
bool Lexer::FollowsWord(Position at) const {
    return at > text.Begin() && wordParts[Index(text.At(at - 1))];
}

// Whether the quote at Here follows these letters, which are a word of their own.
bool Lexer::IsPrefixed(std::string_view upper) const {
    if (here < text.Begin() + upper.size() || FollowsWord(here - upper.size()))
        return false;
    return SameWord(text.View(here - upper.size(), here), upper);
}

void Lexer::SkipQuote(char quote) {
    if (quote == '\'' && rules.alternativeQuotes && SkipAlternativeQuote())
        return;
    const bool escapes =
        (rules.backslashEscapes && quote != '`') || (quote == '\'' && rules.escapeStrings && IsPrefixed("E"));
    SkipQuoted(quote, escapes);
}

// q'[text]', nq'{text}': up to the closing bracket, or whatever sign it is, that is followed by a quote.
bool Lexer::SkipAlternativeQuote() {
    if (!IsPrefixed("Q") && !IsPrefixed("NQ"))
        return false;
    const char open = Peek(1);
    if (open == '\0' || IsBlank(open))
        return false;
    static constexpr std::string_view kOpen = "[{(<";
    static constexpr std::string_view kClose = "]})>";
    const std::size_t pair = kOpen.find(open);
    const char close = pair == std::string_view::npos ? open : kClose[pair];
    here += 2;
    while (SkipTo(close)) {
        ++here;
        if (Peek(0) == '\'') {
            ++here;
            break;
        }
    }
    return true;
}

// $$text$$ or $tag$text$tag$.
bool Lexer::SkipDollarQuote() {
    if (FollowsWord(here))
        return false;
    std::size_t size = 1;
    for (char c = Peek(size); c != '$'; c = Peek(++size)) {
        if (!IsWordByte(c) || (size == 1 && c >= '0' && c <= '9') || size > kLongestLook)
            return false;
    }
    const std::string tag(text.View(here, here + size + 1));
    here += tag.size();
    while (SkipTo('$')) {
        std::size_t same = 1;
        while (same < tag.size() && Peek(same) == tag[same])
            ++same;
        if (same == tag.size()) {
            here += tag.size();
            break;
        }
        ++here;
    }
    return true;
}

// [a name], not the index of an array, and not over a line's end.
bool Lexer::SkipGuessedName() {
    const char before = here > text.Begin() ? text.At(here - 1) : ' ';
    if (FollowsWord(here) || before == ']' || before == ')' || before == '"' || !IsLetter(Peek(1)))
        return false;
    std::size_t close = 2;
    while (Peek(close) != ']') {
        if (Peek(close) == '\0' || IsLineEnd(Peek(close)) || ++close > kLongestName)
            return false;
    }
    here += close + 1;
    return true;
}

void Lexer::SkipComment() {
    here += 2;
    std::size_t depth = 1;
    do {
        const char* const from = text.Data(here);
        const char* at = from;
        while (*at != '*' && *at != '\0' && !(*at == '/' && rules.nestedComments))
            ++at;
        here += static_cast<Position>(at - from);
        if (*at == '\0')
            continue;
        if (*at == '*' && Peek(1) == '/') {
            here += 2;
            if (--depth == 0)
                return;
        } else if (*at == '/' && Peek(1) == '*') {
            here += 2;
            ++depth;
        } else {
            ++here;
        }
    } while (here != text.End() || text.More());
}

}  // namespace qxscriptparser
