#include "persistence/text_escaper.h"

#include <cstring>
#include <initializer_list>

namespace qxdbsqlengine {
namespace {

using Word = std::uint64_t;

constexpr Word kOnes = 0x0101010101010101u;
constexpr Word kHighBits = 0x8080808080808080u;
constexpr std::string_view kBlank = "&nbsp;";
constexpr std::string_view kFourBlanks = "&nbsp;&nbsp;&nbsp;&nbsp;";
constexpr std::string_view kSpan = "<SPAN STYLE='mso-spacerun:yes'>";
constexpr std::string_view kSpanEnd = "</SPAN>";
constexpr std::string_view kSpanOfFour = "<SPAN STYLE='mso-spacerun:yes'>&nbsp;&nbsp;&nbsp;&nbsp;</SPAN>";

// Not zero, with a high bit set in its place, when a byte of the word is zero. Bytes above such a byte may be
// marked too.
inline Word ZeroBytes(Word word) {
    return (word - kOnes) & ~word & kHighBits;
}

// Not zero when a byte of the word is below 0x20 or one of " & < >. One bit tells " from &, another < from >.
inline Word Suspicious(Word word) {
    const Word control = (word - kOnes * 0x20) & ~word & kHighBits;
    return control | ZeroBytes((word | kOnes * 0x04) ^ kOnes * '&') |
           ZeroBytes((word | kOnes * 0x02) ^ kOnes * '>');
}

}  // namespace

const TextEscaper& TextEscaper::Html() {
    static const TextEscaper escaper({{'\t', kFourBlanks},
                                      {'\n', "<br>"},
                                      {'\r', " "},
                                      {'"', "&quot;"},
                                      {'&', "&amp;"},
                                      {'<', "&lt;"},
                                      {'>', "&gt;"}},
                                     true, {}, {});
    return escaper;
}

const TextEscaper& TextEscaper::Excel() {
    static const TextEscaper escaper({{'\t', kSpanOfFour},
                                      {'\n', "<br>"},
                                      {'\r', " "},
                                      {'"', "&quot;"},
                                      {'&', "&amp;"},
                                      {'<', "&lt;"},
                                      {'>', "&gt;"}},
                                     true, kSpan, kSpanEnd);
    return escaper;
}

const TextEscaper& TextEscaper::Xml() {
    static const TextEscaper escaper(
        {{'&', "&amp;"}, {'<', "&lt;"}, {'>', "&gt;"}, {'\n', "&#10;"}, {'\r', "&#13;"}}, false, {}, {});
    return escaper;
}

TextEscaper::TextEscaper(std::initializer_list<Escape> table, bool blankRuns, std::string_view open,
                         std::string_view close)
    : blankMask(blankRuns ? ~Word{0} : 0), runOpen(open), runClose(close) {
    for (const Escape& escape : table)
        escapes[static_cast<unsigned char>(escape.byte)] = escape.text;
}

std::string TextEscaper::Encode(const char* text) const {
    if (text == nullptr)
        return std::string();
    OutputBuffer out(64);
    Append(text, out);
    return std::string(out.Data() == nullptr ? "" : out.Data(), out.Size());
}

void TextEscaper::Append(std::string_view text, OutputBuffer& out) const {
    while (!text.empty()) {
        const std::size_t plain = CopyPlain(text, out.Reserve(text.size()));
        out.Commit(plain);
        text.remove_prefix(plain);
        if (!text.empty())
            text.remove_prefix(AppendEscape(text, out));
    }
}

// Whether the byte at `at` is escaped; of a run of blanks the first is asked for.
bool TextEscaper::StopsAt(std::string_view text, std::size_t at) const {
    if (text[at] == ' ')
        return blankMask != 0 && at + 1 < text.size() && text[at + 1] == ' ';
    return escapes[static_cast<unsigned char>(text[at])].data() != nullptr;
}

// Copies up to the first byte that is escaped; returns how many bytes that was.
std::size_t TextEscaper::CopyPlain(std::string_view text, char* to) const {
    const char* const from = text.data();
    const std::size_t size = text.size();
    std::size_t i = 0;
    while (i + 8 <= size) {
        Word word;
        std::memcpy(&word, from + i, sizeof word);
        std::memcpy(to + i, &word, sizeof word);
        const Word blanks = ZeroBytes(word ^ kOnes * ' ');
        const bool runGoesOn = from[i + 7] == ' ' && i + 8 < size && from[i + 8] == ' ';
        const std::size_t end = i + 8;
        if ((Suspicious(word) | (blanks & (blanks << 8) & blankMask)) != 0 || runGoesOn) {
            for (; i < end; ++i)
                if (StopsAt(text, i))
                    return i;
        }
        i = end;
    }
    for (; i < size && !StopsAt(text, i); ++i)
        to[i] = from[i];
    return i;
}

// Appends what stands for the first byte of `text`, which is escaped; returns how many bytes that was for.
std::size_t TextEscaper::AppendEscape(std::string_view text, OutputBuffer& out) const {
    const char byte = text.front();
    if (byte == '\r' && text.size() > 1 && text[1] == '\n') {
        out.Append(escapes[static_cast<unsigned char>('\n')]);
        return 2;
    }
    if (byte != ' ') {
        out.Append(escapes[static_cast<unsigned char>(byte)]);
        return 1;
    }
    std::size_t count = text.find_first_not_of(' ');
    if (count == std::string_view::npos)
        count = text.size();
    out.Append(runOpen);
    for (std::size_t i = 0; i < count; ++i)
        out.Append(kBlank);
    out.Append(runClose);
    return count;
}

}  // namespace qxdbsqlengine
