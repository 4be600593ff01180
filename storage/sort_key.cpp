#include "storage/sort_key.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

#include "platform/qxdb/decimal.h"

namespace qxdbsqlengine {

namespace {

constexpr unsigned char Terminator = 0;
// Bytes 0 and 1 become two bytes, so that the terminator is less than all of them.
constexpr unsigned char Escape = 1;
// Where a digit stands among the other characters.
constexpr unsigned char DigitRun = static_cast<unsigned char>('0') ^ 0x80;

// The value's bytes from anywhere, read a block at a time.
class Window {
  public:
    explicit Window(SortKeySource& valueSource) : source(valueSource) {}

    // False behind the end of the value.
    bool Get(__int64 offset, char& byte) {
        if (offset < start || offset >= start + static_cast<__int64>(size)) {
            start = offset;
            size = source.ReadBytes(offset, buffer, sizeof(buffer));
            if (size == 0)
                return false;
        }
        byte = buffer[offset - start];
        return true;
    }

  private:
    SortKeySource& source;
    __int64 start = 0;
    std::size_t size = 0;
    char buffer[64];
};

// Takes the bytes of a key in order, drops those before the position and those behind the limit, and keeps
// the position up to date.
class PartWriter {
  public:
    PartWriter(SortKeyPosition& keyPosition, std::size_t maxBytes, std::string& target)
        : position(keyPosition), skipLeft(keyPosition.skip), left(maxBytes), out(target) {
        position.skip = 0;
    }

    // False when the limit is reached; the byte is not taken then.
    bool Put(unsigned char byte) {
        if (skipLeft > 0) {
            --skipLeft;
        } else if (left > 0) {
            --left;
            out.push_back(static_cast<char>(byte));
        } else {
            return false;
        }
        ++position.skip;
        return true;
    }
    bool PutEscaped(unsigned char byte) {
        if (byte > Escape)
            return Put(byte);
        return Put(Escape) && Put(static_cast<unsigned char>(byte + 1));
    }
    // The key can be cut here: everything before belongs to the value's first `offset` bytes.
    void Cut(__int64 offset) {
        position.offset = offset;
        position.skip = 0;
    }

  private:
    SortKeyPosition& position;
    std::size_t skipLeft;
    std::size_t left;
    std::string& out;
};

// The 12 bytes of a key from one byte on.
class PartBuffer {
  public:
    PartBuffer(std::size_t skip, unsigned char* target) : skipLeft(skip), part(target) {}

    bool Put(unsigned char byte) {
        if (skipLeft > 0) {
            --skipLeft;
            return true;
        }
        if (IsFull())
            return false;
        part[used++] = byte;
        return true;
    }
    bool IsFull() const { return used == PartSize; }
    // Zeros behind the end of the key. False when there was room left.
    bool FillUp() {
        const bool full = IsFull();
        std::fill(part + used, part + PartSize, Terminator);
        return full;
    }

  private:
    static constexpr std::size_t PartSize = 12;
    std::size_t skipLeft;
    unsigned char* part;
    std::size_t used = 0;
};

// Two digits in one byte, never zero.
unsigned char DigitPair(char first, char second) {
    return static_cast<unsigned char>((first - '0') * 10 + (second - '0') + 1);
}

// A number that orders as its bytes do, without a zero byte among them.
template <class PutByte>
bool PutCount(std::size_t count, PutByte put) {
    for (; count >= 254; count -= 254) {
        if (!put(static_cast<unsigned char>(255)))
            return false;
    }
    return put(static_cast<unsigned char>(count + 1));
}

// The same the other way round: the greater number is less.
template <class PutByte>
bool PutInverted(std::size_t count, PutByte put) {
    for (; count >= 253; count -= 253) {
        if (!put(static_cast<unsigned char>(1)))
            return false;
    }
    return put(static_cast<unsigned char>(255 - count));
}

// Puts the key of the digit run at `offset` and moves `offset` behind it.
bool PutDigitRun(Window& window, __int64& offset, PartWriter& writer) {
    char byte;
    __int64 at = offset;
    while (window.Get(at, byte) && byte == '0')
        ++at;
    const __int64 significant = at;
    while (window.Get(at, byte) && IsDigitByte(byte))
        ++at;
    const __int64 end = at;
    const auto put = [&writer](unsigned char value) { return writer.Put(value); };
    if (!writer.Put(DigitRun) || !PutCount(static_cast<std::size_t>(end - significant), put))
        return false;
    char second;
    for (at = significant; at < end && window.Get(at, byte); at += 2) {
        if (at + 1 == end || !window.Get(at + 1, second))
            second = '0';
        if (!writer.Put(DigitPair(byte, second)))
            return false;
    }
    if (!PutInverted(static_cast<std::size_t>(significant - offset), put))
        return false;
    offset = end;
    return true;
}

void PutBytes(SortKeySource& source, PartWriter& writer, __int64 offset) {
    Window window(source);
    for (char byte; window.Get(offset, byte);) {
        if (!writer.PutEscaped(static_cast<unsigned char>(byte)))
            return;
        writer.Cut(++offset);
    }
    writer.Put(Terminator);
}

// Seven bits a byte, most significant first, no zero byte.
template <class PutByte>
bool PutSevenBits(std::uint64_t value, int byteCount, PutByte put) {
    for (int shift = (byteCount - 1) * 7; shift >= 0; shift -= 7) {
        if (!put(static_cast<unsigned char>(((value >> shift) & 0x7F) + 1)))
            return false;
    }
    return true;
}

// The decimal digits of the magnitude, without zeros in front; empty for zero.
std::string DigitsOf(const qxdb::Decimal& value) {
    char small[24];
    std::uint64_t magnitude;
    if (value.GetSmall(magnitude)) {
        const std::to_chars_result end = std::to_chars(small, small + sizeof(small), magnitude);
        return magnitude == 0 ? std::string() : std::string(small, end.ptr);
    }
    std::string text = value.AsString('.', false, -1);
    text.erase(std::remove_if(text.begin(), text.end(), [](char c) { return !IsDigitByte(c); }), text.end());
    text.erase(0, text.find_first_not_of('0'));
    return text;
}

}  // namespace

std::uint64_t SortKeyOf(double value) {
    if (std::isnan(value))
        return 0;
    if (value == 0)
        value = 0;
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof(bits));
    return (bits >> 63) != 0 ? ~bits : bits | (1ULL << 63);
}

TextSortKey::TextSortKey() : fold(FoldTable::Current()) {}

void TextSortKey::Append(SortKeySource& source, SortKeyPosition& position, std::size_t maxBytes,
                         std::string& out) const {
    Window window(source);
    __int64 offset = position.offset;
    PartWriter writer(position, maxBytes, out);
    for (char byte; window.Get(offset, byte);) {
        if (IsDigitByte(byte)) {
            if (!PutDigitRun(window, offset, writer))
                return;
        } else {
            if (!writer.PutEscaped(static_cast<unsigned char>(fold[byte]) ^ 0x80))
                return;
            ++offset;
        }
        writer.Cut(offset);
    }
    writer.Put(Terminator);
}

bool TextSortKey::Part(const char* text, std::size_t length, bool whole, std::size_t skip,
                       unsigned char* part) const {
    PartBuffer out(skip, part);
    const auto put = [&out](unsigned char value) { return out.Put(value); };
    const char* const end = text + length;
    while (text != end && !out.IsFull()) {
        if (IsDigitByte(*text)) {
            const char* const runEnd = EndOfDigits(text, end);
            if (runEnd == end && !whole)
                return false;
            const char* const significant = std::find_if(text, runEnd, [](char c) { return c != '0'; });
            out.Put(DigitRun);
            PutCount(static_cast<std::size_t>(runEnd - significant), put);
            for (const char* digit = significant; digit < runEnd && !out.IsFull(); digit += 2)
                out.Put(DigitPair(digit[0], digit + 1 < runEnd ? digit[1] : '0'));
            PutInverted(static_cast<std::size_t>(significant - text), put);
            text = runEnd;
            continue;
        }
        const unsigned char byte = static_cast<unsigned char>(fold[*text++]) ^ 0x80;
        if (byte > Escape) {
            out.Put(byte);
        } else {
            out.Put(Escape);
            out.Put(static_cast<unsigned char>(byte + 1));
        }
    }
    return out.FillUp() || whole;
}

void AppendBytesSortKey(SortKeySource& source, SortKeyPosition& position, std::size_t maxBytes,
                        std::string& out) {
    const __int64 offset = position.offset;
    PartWriter writer(position, maxBytes, out);
    PutBytes(source, writer, offset);
}

void AppendBinarySortKey(SortKeySource& source, __int64 length, SortKeyPosition& position,
                         std::size_t maxBytes, std::string& out) {
    const __int64 offset = position.offset;
    PartWriter writer(position, maxBytes, out);
    const auto put = [&writer](unsigned char value) { return writer.Put(value); };
    if (offset == 0 && !PutSevenBits(static_cast<std::uint64_t>(length), 9, put))
        return;
    PutBytes(source, writer, offset);
}

void AppendDecimalSortKey(const qxdb::Decimal& value, SortKeyPosition& position, std::size_t maxBytes,
                          std::string& out) {
    constexpr int ExponentZero = 1 << 20;
    constexpr unsigned char Negative = 1;
    constexpr unsigned char Zero = 2;
    constexpr unsigned char Positive = 3;
    PartWriter writer(position, maxBytes, out);
    std::string digits = DigitsOf(value);
    if (digits.empty()) {
        if (writer.Put(Zero))
            writer.Put(Terminator);
        return;
    }
    const int exponent = static_cast<int>(digits.size()) - value.GetScale();
    digits.erase(digits.find_last_not_of('0') + 1);
    const bool negative = value.IsNegative();
    const auto put = [&writer, negative](unsigned char byte) {
        return writer.Put(negative ? static_cast<unsigned char>(255 - byte) : byte);
    };
    if (!writer.Put(negative ? Negative : Positive) ||
        !PutSevenBits(static_cast<std::uint64_t>(exponent + ExponentZero), 3, put))
        return;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        if (!put(DigitPair(digits[i], i + 1 < digits.size() ? digits[i + 1] : '0')))
            return;
    }
    // The end of a negative number's digits is greater than any digits.
    if (put(Terminator) && negative)
        writer.Put(Terminator);
}

}  // namespace qxdbsqlengine
