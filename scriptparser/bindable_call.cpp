#include "scriptparser/bindable_call.h"

#include <cstddef>

#include "scriptparser/lexical_rules.h"

namespace qxscriptparser {

namespace {

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

bool IsNameByte(char c) {
    return (Upper(c) >= 'A' && Upper(c) <= 'Z') || IsDigit(c) || c == '_' || c == '$' || c == '#';
}

class CallReader {
  public:
    CallReader(std::string_view newRest, const CallRules& newRules) : rest(newRest), rules(newRules) {}

    bool Read() {
        if (!ReadKeyWord() || !ReadName())
            return false;
        SkipBlanks();
        if (!Take('('))
            return false;
        SkipBlanks();
        if (!Take(')')) {
            do {
                SkipBlanks();
                if (!ReadArgument())
                    return false;
                SkipBlanks();
            } while (Take(','));
            if (!Take(')'))
                return false;
        }
        return rest.empty();
    }

  private:
    char Front() const { return rest.empty() ? '\0' : rest.front(); }
    bool Take(char c) {
        if (Front() != c)
            return false;
        rest.remove_prefix(1);
        return true;
    }
    bool SkipBlanks() {
        const std::size_t before = rest.size();
        while (IsBlank(Front()))
            rest.remove_prefix(1);
        return rest.size() != before;
    }
    std::string_view TakeWord() {
        std::size_t size = 0;
        while (size < rest.size() && IsNameByte(rest[size]))
            ++size;
        const std::string_view word = rest.substr(0, size);
        rest.remove_prefix(size);
        return word;
    }

    bool ReadKeyWord() {
        const std::string_view word = TakeWord();
        const bool isCall = SameWord(word, "CALL") || SameWord(word, "EXEC") ||
                            (SameWord(word, "EXECUTE") && rules.executeIsCall);
        return isCall && SkipBlanks();
    }

    // One or more parts with points between them.
    bool ReadName() {
        const bool immediate = rest.size() >= 9 && SameWord(rest.substr(0, 9), "IMMEDIATE") &&
                               (rest.size() == 9 || !IsNameByte(rest[9]));
        if (immediate)
            return false;
        do {
            if (Front() == '"') {
                if (!ReadQuotedName())
                    return false;
            } else if (IsDigit(Front()) || TakeWord().empty()) {
                return false;
            }
        } while (Take('.'));
        return true;
    }

    bool ReadQuotedName() {
        const std::size_t close = rest.find('"', 1);
        if (close == std::string_view::npos || close == 1)
            return false;
        const std::string_view name = rest.substr(1, close - 1);
        rest.remove_prefix(close + 1);
        // A doubled quote, a bracket: the reader of calls finds another end of the name.
        return Front() != '"' && name.find('(') == std::string_view::npos;
    }

    bool ReadArgument() {
        if (Front() == '\'')
            return ReadText();
        if (Take('?'))
            return true;
        if (IsDigit(Front()) || Front() == '+' || Front() == '-' || Front() == '.')
            return ReadNumber();
        return SameWord(TakeWord(), "NULL");
    }

    bool ReadNumber() {
        if (!Take('+'))
            Take('-');
        std::size_t digits = 0;
        std::size_t points = 0;
        for (; IsDigit(Front()) || (Front() == '.' && points == 0); rest.remove_prefix(1))
            ++(Front() == '.' ? points : digits);
        return digits != 0;
    }

    bool ReadText() {
        std::size_t size = 1;
        bool isPlain = true;
        for (;; ++size) {
            if (size >= rest.size())
                return false;
            if (rest[size] == '\\' && rules.backslashEscapes)
                isPlain = false;
            if (rest[size] != '\'')
                continue;
            if (size + 1 >= rest.size() || rest[size + 1] != '\'')
                break;
            ++size;
            // The reader of arguments takes a doubled quote before a comma for the end.
            if (size + 1 < rest.size() && rest[size + 1] == ',')
                isPlain = false;
        }
        const std::string_view value = rest.substr(1, size - 1);
        rest.remove_prefix(size + 1);
        const std::string_view trimmed = Trim(value);
        return isPlain && trimmed.size() == value.size() && !SameWord(value, "NULL") && value != "?";
    }

    std::string_view rest;
    const CallRules& rules;
};

}  // namespace

bool IsBindableCall(std::string_view text, const CallRules& rules) {
    return CallReader(text, rules).Read();
}

}  // namespace qxscriptparser
