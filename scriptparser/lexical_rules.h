// How the texts of a dialect are quoted and commented.
#pragma once

#include <string_view>

namespace qxscriptparser {

enum class Brackets {
    None,    // a sign like others
    Names,   // [a name], a doubled ] stands for one
    Guessed  // [a name] where an array can't be meant
};

// 'text' and "name" are quoted in all dialects, a doubled quote stands for one; -- starts a comment up to the
// line's end, and /* a comment up to */.
struct LexicalRules {
    bool backslashEscapes = false;    // in 'text' and "text"
    bool escapeStrings = false;       // E'text', with backslash escapes
    bool alternativeQuotes = false;   // q'[text]'
    bool dollarQuotes = false;        // $tag$text$tag$
    bool backtickNames = false;       // `name`
    bool nestedComments = false;      // /* /* */ */
    bool hashComments = false;        // # up to the line's end
    bool dashNeedsBlank = false;      // --5 is no comment in a statement
    bool executableComments = false;  // the server runs what stands in /*! */, so that is no comment
    Brackets brackets = Brackets::None;

    // Inside a plain statement, what else is to be looked at: signs anywhere, and the first byte of a line.
    std::string_view signs;
    std::string_view lineStarters;
};

// Blanks that divide words and stand around statements, line ends included. The end mark of old DOS files
// counts as one.
constexpr bool IsBlank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r') || c == '\x1A';
}
constexpr bool IsLineEnd(char c) {
    return c == '\n' || c == '\r';
}
constexpr char Upper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

// `upper` is in upper case.
constexpr bool SameWord(std::string_view word, std::string_view upper) {
    if (word.size() != upper.size())
        return false;
    for (std::size_t i = 0; i < word.size(); ++i) {
        if (Upper(word[i]) != upper[i])
            return false;
    }
    return true;
}

constexpr std::string_view TrimRight(std::string_view text) {
    while (!text.empty() && IsBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

constexpr std::string_view Trim(std::string_view text) {
    while (!text.empty() && IsBlank(text.front()))
        text.remove_prefix(1);
    return TrimRight(text);
}

}  // namespace qxscriptparser
