// Words, quoted texts, comments and signs of a script.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

#include "scriptparser/lexical_rules.h"
#include "scriptparser/script_text.h"

namespace qxscriptparser {

struct Token {
    enum class Kind {
        End,          // of the script
        Word,         // letters, digits, _ and what else stands in names; numbers too
        Quoted,       // text or name, with its quotes
        Comment,      // /* */
        LineComment,  // up to the line end, which is not part of it
        Delimiter,    // what SetDelimiter named
        Sign          // any other byte
    };
    Kind kind = Kind::End;
    char sign = '\0';         // the first byte
    bool startsLine = false;  // only blanks stand before it in its line
    Position begin = 0;
    Position end = 0;

    bool IsComment() const { return kind == Kind::Comment || kind == Kind::LineComment; }
    bool IsSign(char c) const { return kind == Kind::Sign && sign == c; }
};

// Goes over a script token by token, and reads on by itself. A quoted text or comment that nobody closes ends
// with the script.
class Lexer {
  public:
    Lexer(ScriptText& newText, const LexicalRules& newRules);

    // What divides statements; it goes before comments and quotes. Empty: nothing does. One that begins with
    // a letter or digit is not looked for, it comes as a word: see IsWordLike.
    void SetDelimiter(const std::string& newDelimiter);
    // SkipPlain also stops at lines that begin with this sign, or letter of either case.
    void AddLineStarter(char c);
    // Letters, digits and the like.
    static bool IsWordByte(char c);

    Token Next();
    // As Next, for the space between statements, where "--" always starts a comment. `drop`: blanks are
    // dropped from the text on the way.
    Token NextBetween(bool drop);
    // Goes over what can't matter inside a plain statement, to the next quote, comment, delimiter, sign of
    // the rules, or line that begins with a line starter.
    void SkipPlain();
    // The token is to come again from Next.
    void Back(const Token& token);

    Position Here() const { return here; }
    // The byte `distance` behind Here; zero behind the end.
    char Peek(std::size_t distance);
    // The rest of the line, without its end. Only the beginning of a very long one.
    std::string_view RestOfLine();
    // Nothing but blanks stands behind `at` in its line.
    bool OnlyBlanksBehind(Position at);
    // To the line's end, in front of it.
    void SkipLine();
    // Over the line end that Here stands at.
    void SkipLineEnd();
    void MoveTo(Position at);
    void Skip(std::size_t bytes) { here += bytes; }

    std::string_view View(const Token& token) const { return text.View(token.begin, token.end); }
    bool IsWord(const Token& token, std::string_view upper) const {
        return token.kind == Token::Kind::Word && SameWord(View(token), upper);
    }

  private:
    enum class Class : unsigned char {
        Sign,
        Zero,
        Blank,
        LineEnd,
        Word,
        Quote,
        Bracket,
        Dash,
        Slash,
        Hash,
        Dollar
    };

    Class ClassOf(char c) const { return classes[static_cast<unsigned char>(c)]; }
    void FillTables();
    bool SkipBlanks(bool drop);
    bool AtDelimiter();
    bool BeginsSomething(const char* at) const;
    Token Finish(Token token, Token::Kind kind);

    void SkipWord();
    void SkipQuoted(char quote, bool backslash);
    void SkipQuote(char quote);
    void SkipComment();
    bool SkipAlternativeQuote();
    bool SkipDollarQuote();
    bool SkipGuessedName();
    bool SkipTo(char wanted);
    bool IsPrefixed(std::string_view upper) const;
    bool FollowsWord(Position at) const;

    ScriptText& text;
    const LexicalRules rules;
    std::string delimiter;
    std::string lineStarters;
    Position here = 0;
    bool startsLine = true;
    bool isBetween = false;  // statements

    std::array<Class, 256> classes{};
    std::array<bool, 256> wordParts{};
    std::array<bool, 256> plain{};     // SkipPlain goes over it
    std::array<bool, 256> starters{};  // SkipPlain stops at a line that begins with it
};

}  // namespace qxscriptparser
