// Command words that may be shortened.
#pragma once

#include <cstddef>
#include <string_view>

#include "scriptparser/lexical_rules.h"

namespace qxscriptparser {

struct CommandWord {
    std::string_view name;  // in upper case
    std::size_t shortest;   // letters that must be there
};

// REQUIRES: the word is not empty.
constexpr bool Matches(std::string_view word, const CommandWord& command) {
    return Upper(word[0]) == command.name[0] && word.size() >= command.shortest &&
           word.size() <= command.name.size() && SameWord(word, command.name.substr(0, word.size()));
}

template <std::size_t size>
constexpr bool MatchesAny(std::string_view word, const CommandWord (&commands)[size]) {
    for (const CommandWord& command : commands) {
        if (Matches(word, command))
            return true;
    }
    return false;
}

template <std::size_t size>
constexpr bool IsAnyOf(std::string_view word, const std::string_view (&words)[size]) {
    for (const std::string_view known : words) {
        if (SameWord(word, known))
            return true;
    }
    return false;
}

}  // namespace qxscriptparser
