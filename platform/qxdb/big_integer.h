// Whole numbers of any size.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/export.h"

namespace qxdb {

struct BigNumber;  // the arithmetic library's number, hidden from callers

// A whole number without a sign. Up to 64 bits it is one machine word and never allocates; beyond that it
// owns a number of the arithmetic library. Value semantics, no locking.
class QXSENG2_API Magnitude {
  public:
    Magnitude() = default;
    explicit Magnitude(std::uint64_t value) : small(value) {}
    Magnitude(const Magnitude& other) : small(other.small), big(other.big ? Clone(*other.big) : nullptr) {}
    Magnitude(Magnitude&& other) noexcept : small(other.small), big(other.big) {
        other.small = 0;
        other.big = nullptr;
    }
    Magnitude& operator=(const Magnitude& other) {
        if (this != &other) {
            BigNumber* copy = other.big ? Clone(*other.big) : nullptr;
            Reset(other.small);
            big = copy;
        }
        return *this;
    }
    Magnitude& operator=(Magnitude&& other) noexcept {
        if (this != &other) {
            Reset(other.small);
            big = other.big;
            other.small = 0;
            other.big = nullptr;
        }
        return *this;
    }
    ~Magnitude() {
        if (big)
            Free(big);
    }

    void Reset(std::uint64_t value) {
        if (big) {
            Free(big);
            big = nullptr;
        }
        small = value;
    }
    bool IsSmall() const { return !big; }
    // Only meaningful when IsSmall().
    std::uint64_t Small() const { return small; }
    bool IsZero() const { return !big && small == 0; }

    // Negative, 0 or positive.
    int Compare(const Magnitude& other) const;
    void Add(const Magnitude& other);
    // `other` must not be greater than this.
    void Subtract(const Magnitude& other);
    void MultiplyByPowerOf10(unsigned int exponent);
    // What a division by a power of ten leaves behind.
    enum Remainder { RemainderNone, RemainderBelowHalf, RemainderHalf, RemainderAboveHalf };
    Remainder DivideByPowerOf10(unsigned int exponent);
    bool IsOdd() const;

    // Bytes without leading zeros; 1 for zero.
    std::size_t ByteCount() const;
    // Exactly ByteCount() bytes, the most significant first.
    void WriteBytes(unsigned char* out) const;
    // Leading zero bytes are allowed, no bytes at all are zero.
    void SetBytes(const unsigned char* digits, std::size_t count);

    // Radix 2 to 36, upper-case letters, at least one digit.
    void AppendDigits(std::string& out, int radix) const;
    // One or more digits of the radix, letters in either case; false, and the value unchanged, for anything
    // else.
    bool SetDigits(std::string_view digits, int radix);

  private:
    static BigNumber* Clone(const BigNumber& number);
    static void Free(BigNumber* number);
    void Take(BigNumber&& number);  // keeps the rule that only values beyond 64 bits are big

    std::uint64_t small = 0;
    BigNumber* big = nullptr;  // owned; set only when the value needs more than 64 bits
};

// A signed whole number of any size, and the carrier of byte digits between numbers, texts and binary values.
// Zero is never negative. Value semantics, no locking.
//
// Width. A number made from hexadecimal text or from byte digits remembers how many bytes it was given,
// leading zeros included, so that 00FF read from text gives the two bytes 00 FF again. Texts of another
// radix, and numbers that come out of a Decimal, have no width: their byte digits have no leading zeros. A
// width plays no part in the value.
class QXSENG2_API BigInteger {
  public:
    // How byte digits (and hexadecimal text made of them) are laid out, most significant byte first:
    //  NumberPlain       the bytes and nothing else. AsString gives digits without leading zeros.
    //  NumberTerminated  GetQXDBByteDigits writes one 0 byte behind the bytes, and SetQXDBByteDigits drops
    //  one
    //                    0 byte at the end. A reader that drops one 0 byte at the end, as the binary columns
    //                    do, so gets FF 00 from FF00, since the byte it drops is the terminator. AsString
    //                    never writes the terminator, but for radix 16 gives whole bytes: two digits for each
    //                    byte of the width (255 is "FF", 10 is "0A", 00FF stays "00FF").
    // Any other number counts as NumberPlain.
    enum NumberFormat : int { NumberPlain = 0, NumberTerminated = 1 };

    BigInteger();
    // Radix 2 to 36, digits in either case. A sign may stand in front, except for radix 16: there the text is
    // the text of bytes, and bytes have no sign. Throws QXException, which names the text, for anything else
    // and for an empty text, and for more than 65535 digits of another radix than 16.
    BigInteger(const std::string& digits, int radix);
    BigInteger(const std::vector<unsigned char>& digits, NumberFormat format);
    BigInteger(bool negative, const Magnitude& magnitude);
    BigInteger(const BigInteger&);
    BigInteger(BigInteger&&) noexcept;
    BigInteger& operator=(const BigInteger&);
    BigInteger& operator=(BigInteger&&) noexcept;
    ~BigInteger();

    // Replaces the contents of the vector by the bytes of the magnitude; zero without a width is one byte 0.
    void GetQXDBByteDigits(std::vector<unsigned char>& digits, NumberFormat format) const;
    // No bytes are zero. The result is not negative.
    void SetQXDBByteDigits(const std::vector<unsigned char>& digits, NumberFormat format);
    BigInteger& Negate();
    // Throws QXException for a radix outside 2 to 36. A negative number has a "-" in front.
    std::string AsString(int radix, NumberFormat format) const;

    bool IsNegative() const { return negative; }
    const Magnitude& GetMagnitude() const { return magnitude; }
    // Negative, 0 or positive; the width plays no part.
    int Compare(const BigInteger& other) const;

  private:
    bool negative = false;
    std::size_t width = 0;  // bytes as they were given, 0 when there is no width
    Magnitude magnitude;
};

}  // namespace qxdb
