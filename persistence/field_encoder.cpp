#include "persistence/field_encoder.h"

#include <cstdint>
#include <cstring>

namespace qxdbsqlengine {
namespace {

using Word = std::uint64_t;

constexpr Word kOnes = 0x0101010101010101u;
constexpr Word kHighBits = 0x8080808080808080u;

// Not zero when a byte of the word is below 0x20 (line ends and tab are; so are other controls, which the
// exact look sorts out) or equals the byte repeated in `delimiters`.
inline Word Suspicious(Word word, Word delimiters) {
    Word difference = word ^ delimiters;
    return (((word - kOnes * 0x20) & ~word) | ((difference - kOnes) & ~difference)) & kHighBits;
}

template <class T>
inline T Load(const char* from) {
    T value;
    std::memcpy(&value, from, sizeof value);
    return value;
}

template <class T>
inline void Store(char* to, T value) {
    std::memcpy(to, &value, sizeof value);
}

}  // namespace

void FieldEncoder::SetRules(const FieldRules& newRules) {
    rules = newRules;
    for (bool& byte : special)
        byte = false;
    special[static_cast<unsigned char>('\r')] = true;
    special[static_cast<unsigned char>('\n')] = true;
    special[static_cast<unsigned char>('\t')] = rules.expandTabs;
    special[static_cast<unsigned char>(rules.delimiter)] = true;
    delimiterWord = kOnes * static_cast<unsigned char>(rules.delimiter);
}

// Copies while it looks. False, with nothing appended, when the value holds a byte of the table.
bool FieldEncoder::CopyPlain(std::string_view value, OutputBuffer& out) const {
    const std::size_t size = value.size();
    const char* from = value.data();
    char* to = out.Reserve(size);
    Word suspicious = 0;
    if (size >= 8) {
        std::size_t i = 0;
        for (; i + 8 <= size && suspicious == 0; i += 8) {
            Word word = Load<Word>(from + i);
            Store(to + i, word);
            suspicious = Suspicious(word, delimiterWord);
        }
        if (i < size && suspicious == 0) {  // the last eight bytes, some of them for the second time
            Word word = Load<Word>(from + size - 8);
            Store(to + size - 8, word);
            suspicious = Suspicious(word, delimiterWord);
        }
    } else if (size >= 4) {
        std::uint32_t head = Load<std::uint32_t>(from);
        std::uint32_t tail = Load<std::uint32_t>(from + size - 4);
        Store(to, head);
        Store(to + size - 4, tail);
        suspicious = Suspicious((static_cast<Word>(tail) << 32) | head, delimiterWord);
    } else {
        for (std::size_t i = 0; i < size; ++i) {
            to[i] = from[i];
            suspicious |= special[static_cast<unsigned char>(from[i])];
        }
    }
    if (suspicious != 0) {
        bool found = false;
        for (unsigned char byte : value)
            found |= special[byte];
        if (found)
            return false;
        std::memcpy(to, from, size);  // a control byte that is none of the table stopped the first copy
    }
    out.Commit(size);
    return true;
}

bool FieldEncoder::NeedsQuotes(std::string_view value) const {
    if (!rules.mayQuote)
        return false;
    if (value.front() == rules.quote)
        return true;
    if (!rules.quoteByNeed)
        return false;
    for (char byte : value) {
        if (byte == '\n')
            return true;
        if (byte == rules.delimiter && byte != '\r' && !(byte == '\t' && rules.expandTabs))
            return true;
    }
    return false;
}

void FieldEncoder::AppendSpecial(std::string_view value, OutputBuffer& out) const {
    const bool quoted = NeedsQuotes(value);
    if (quoted)
        out.Append(rules.quote);
    std::size_t plain = 0;  // start of the run that is not yet appended
    for (std::size_t i = 0; i < value.size(); ++i) {
        const char byte = value[i];
        if (quoted && byte == rules.quote) {
            out.Append(value.substr(plain, i + 1 - plain));
            plain = i;  // the same quote once more
            continue;
        }
        if (!special[static_cast<unsigned char>(byte)])
            continue;
        const bool lineEnd = byte == '\r' && i + 1 < value.size() && value[i + 1] == '\n';
        std::string_view replacement = " ";
        std::size_t replaced = 1;
        if (byte == '\t' && rules.expandTabs)
            replacement = "    ";
        else if (rules.quoteByNeed && byte != '\r')
            continue;
        else if (rules.quoteByNeed && lineEnd)
            replacement = "";
        else if (lineEnd)
            replaced = 2;
        out.Append(value.substr(plain, i - plain));
        out.Append(replacement);
        plain = i + replaced;
        i = plain - 1;
    }
    out.Append(value.substr(plain));
    if (quoted)
        out.Append(rules.quote);
}

}  // namespace qxdbsqlengine
