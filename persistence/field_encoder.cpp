#include "persistence/field_encoder.h"

#include <cstdint>
#include <cstring>

namespace qxdbsqlengine {
namespace {

using Word = std::uint64_t;

constexpr Word kOnes = 0x0101010101010101u;
constexpr Word kHighBits = 0x8080808080808080u;

// Not zero when a byte of the word is below 0x20 (line ends and tab are) or equals the byte that is repeated
// in `avoid`.
inline Word Suspicious(Word word, Word avoid) {
    const Word difference = word ^ avoid;
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

// Copies `size` bytes and looks at them on the way, up to the first byte of `stops`; returns how many were
// copied. Every byte of `stops` must be below 0x20 or the one that is repeated in `avoid`.
std::size_t CopyUpTo(const char* from, std::size_t size, Word avoid, const bool* stops, char* to) {
    const auto firstStop = [from, stops](std::size_t begin, std::size_t end) {
        while (begin < end && !stops[static_cast<unsigned char>(from[begin])])
            ++begin;
        return begin;
    };
    std::size_t i = 0;
    for (; i + 8 <= size; i += 8) {
        const Word word = Load<Word>(from + i);
        Store(to + i, word);
        if (Suspicious(word, avoid) != 0) {
            const std::size_t stop = firstStop(i, i + 8);
            if (stop != i + 8)
                return stop;
        }
    }
    if (i == size)
        return size;
    if (size >= 8) {
        const Word last = Load<Word>(from + size - 8);  // some of its bytes for the second time
        Store(to + size - 8, last);
        return Suspicious(last, avoid) == 0 ? size : firstStop(i, size);
    }
    if (size >= 4) {
        const std::uint32_t head = Load<std::uint32_t>(from);
        const std::uint32_t tail = Load<std::uint32_t>(from + size - 4);
        Store(to, head);
        Store(to + size - 4, tail);
        return Suspicious((static_cast<Word>(tail) << 32) | head, avoid) == 0 ? size : firstStop(0, size);
    }
    for (; i < size && !stops[static_cast<unsigned char>(from[i])]; ++i)
        to[i] = from[i];
    return i;
}

}  // namespace

void FieldEncoder::SetRules(const FieldRules& newRules) {
    rules = newRules;
    for (int byte = 0; byte < 256; ++byte)
        special[byte] = specialInQuotes[byte] = false;
    const auto index = [](char byte) { return static_cast<unsigned char>(byte); };
    special[index('\r')] = specialInQuotes[index('\r')] = true;
    special[index('\t')] = specialInQuotes[index('\t')] = rules.expandTabs;
    special[index('\n')] = true;
    special[index(rules.delimiter)] = true;
    specialInQuotes[index(rules.quote)] = true;
    delimiterWord = kOnes * index(rules.delimiter);
    quoteWord = kOnes * index(rules.quote);
}

void FieldEncoder::Append(std::string_view value, OutputBuffer& out) const {
    if (value.empty())
        return;
    std::size_t plain = 0;  // bytes before the first special one
    if (value.front() != rules.quote) {
        plain = CopyUpTo(value.data(), value.size(), delimiterWord, special, out.Reserve(value.size()));
        if (plain == value.size()) {
            out.Commit(plain);
            return;
        }
    }
    if (NeedsQuotes(value, plain)) {
        out.Append(rules.quote);
        AppendReplacing(value, true, out);
        out.Append(rules.quote);
    } else {
        AppendReplacing(value, false, out);
    }
}

// `from`: no byte before it asks for quotes, save the first.
bool FieldEncoder::NeedsQuotes(std::string_view value, std::size_t from) const {
    if (!rules.mayQuote)
        return false;
    if (value.front() == rules.quote)
        return true;
    if (!rules.quoteByNeed)
        return false;
    for (; from < value.size(); ++from) {
        const char byte = value[from];
        if (byte == '\n')
            return true;
        if (byte == rules.delimiter && byte != '\r' && !(byte == '\t' && rules.expandTabs))
            return true;
    }
    return false;
}

void FieldEncoder::AppendReplacing(std::string_view value, bool quoted, OutputBuffer& out) const {
    const bool keepAll = quoted && rules.quoteByNeed;  // the quotes protect delimiters and line feeds
    const bool* const stops = keepAll ? specialInQuotes : special;
    const Word avoid = keepAll ? quoteWord : delimiterWord;
    std::size_t next = 0;
    for (;;) {
        const std::size_t rest = value.size() - next;
        char* const to = out.Reserve(rest);
        std::size_t copied = CopyUpTo(value.data() + next, rest, avoid, stops, to);
        if (quoted && !keepAll) {
            const void* const quote = std::memchr(to, rules.quote, copied);
            if (quote != nullptr)
                copied = static_cast<std::size_t>(static_cast<const char*>(quote) - to);
        }
        out.Commit(copied);
        next += copied;
        if (next == value.size())
            return;
        next += AppendSpecial(value.substr(next), quoted, out);
    }
}

// Appends what stands for the first byte of `value`, one of the table; returns how many bytes that was for.
std::size_t FieldEncoder::AppendSpecial(std::string_view value, bool quoted, OutputBuffer& out) const {
    const char byte = value.front();
    const bool lineEnd = byte == '\r' && value.size() > 1 && value[1] == '\n';
    if (quoted && byte == rules.quote) {
        out.Append(byte);
        out.Append(byte);
    } else if (byte == '\t' && rules.expandTabs) {
        out.Append("    ");
    } else if (rules.quoteByNeed && byte != '\r') {
        out.Append(byte);
    } else if (!lineEnd) {
        out.Append(' ');
    } else if (!rules.quoteByNeed) {
        out.Append(' ');
        return 2;
    }
    return 1;
}

}  // namespace qxdbsqlengine
