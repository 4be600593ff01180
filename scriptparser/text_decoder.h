// Bytes of a script to UTF-8.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>

namespace qxscriptparser {

// UTF-8 with or without a byte order mark; UTF-16 of either order with one, or without one when the first
// character shows it by a zero byte. In UTF-8 a byte that is part of no character is read as the character of
// Windows-1252, as old scripts have them. A half surrogate of UTF-16 keeps its value (as three bytes), so the
// way back to UTF-16 loses nothing.
class TextDecoder {
  public:
    // What one piece gave. A character that is cut at the end of a piece is left for the next.
    struct Result {
        std::size_t taken;
        std::size_t written;
    };
    // A character that takes more bytes in UTF-8 than it had.
    struct Widened {
        std::uint64_t position;  // in the UTF-8 text
        unsigned int extra;      // bytes
    };
    // The most bytes that one byte can become.
    static constexpr std::size_t kGrowth = 3;

    // Writes at most kGrowth bytes for each byte. `isLast`: nothing follows, so a cut character is no
    // character. Stops in front of a zero character, see FoundZero.
    Result Decode(const char* bytes, std::size_t count, bool isLast, char* to);

    // The next character is zero, so this is no text.
    bool FoundZero() const { return foundZero; }
    bool IsUtf16() const { return encoding == Encoding::Utf16Little || encoding == Encoding::Utf16Big; }
    // Bytes of the byte order mark.
    std::size_t MarkSize() const { return markSize; }
    // In the order of the text; the reader takes them from the front. UTF-8 only.
    std::deque<Widened>& WidenedBytes() { return widened; }

  private:
    enum class Encoding { Unknown, Utf8, Utf16Little, Utf16Big };

    bool Detect(const char* bytes, std::size_t count, bool isLast);
    Result DecodeUtf8(const char* bytes, std::size_t count, bool isLast, char* to);
    Result DecodeUtf16(const char* bytes, std::size_t count, bool isLast, char* to);

    Encoding encoding = Encoding::Unknown;
    std::size_t markSize = 0;
    bool foundZero = false;
    std::uint64_t writtenBefore = 0;
    std::deque<Widened> widened;
};

}  // namespace qxscriptparser
