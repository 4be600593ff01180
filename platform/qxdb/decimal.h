// Exact decimal numbers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>

#include "platform/export.h"
#include "platform/int64.h"
#include "platform/qxdb/big_integer.h"

namespace qxdb {

// An exact decimal number: sign, magnitude and scale, worth (-1)^sign * magnitude / 10^scale. The scale is
// the number of digits behind the point, from 0 to MaxScale. Zero is never negative. A value whose magnitude
// fits 64 bits never allocates: making, copying, comparing, rendering and reading its byte digits are cheap.
// Value semantics, no locking: one thread at a time, or many that only read.
//
// The whole-number constructors take the magnitude as it stands: Decimal(15, 1) is 1.5.
class QXSENG2_API Decimal {
  public:
    // How SetScale drops digits. The engine uses RoundHalfUp only.
    enum RoundingMode : int {
        RoundDown = 0,      // toward zero: cut
        RoundUp = 1,        // away from zero
        RoundFloor = 2,     // toward minus infinity
        RoundCeiling = 3,   // toward plus infinity
        RoundHalfDown = 5,  // to the nearest, a half toward zero
        RoundHalfEven = 6,  // to the nearest, a half to the even neighbour
        RoundHalfUp = 7     // to the nearest, a half away from zero
    };
    // Results files keep a scale in 16 bits.
    static constexpr unsigned int MaxScale = 32767;
    // Most digits that a text or an exponent may ask for.
    static constexpr unsigned int MaxDigits = 65535;

    Decimal() = default;
    // Blanks, sign, digits with or without a point, exponent, blanks: " -12.50e3 ". The scale is the number
    // of digits behind the point less the exponent, at least 0. Throws QXException, which names the text, for
    // anything else and for numbers beyond MaxScale or MaxDigits.
    explicit Decimal(const std::string& text);
    Decimal(short value, unsigned int scale);
    Decimal(int value, unsigned int scale);
    Decimal(long value, unsigned int scale);
    Decimal(__int64 value, unsigned int scale);
    // The shortest decimal that reads back as the same double: Decimal(0.1) is 0.1. Throws QXException for an
    // infinity and for what is not a number.
    explicit Decimal(double value);
    // The sign is the number's. Throws QXException for a scale above MaxScale, as all with a scale do.
    Decimal(const BigInteger& value, unsigned int scale);

    // Plain notation, at least one digit before the point. `digits` is the number of digits behind the point
    // (rounded half up, or filled up with zeros), -1 for the scale as it is, never more than MaxScale.
    // `trimZeros` then takes the zeros at the end of the fraction away, and a point that is left alone.
    std::string AsString(bool trimZeros, int digits) const;
    std::string AsString(char decimalPoint, bool trimZeros, int digits) const;
    // As users read a floating number: plain while the first digit's exponent is from -5 to 15 (0.00001,
    // 9007199254740992), otherwise d.dddE+dd with at least two digits in the exponent (1E+16, 2.5E-07).
    // `trimZeros` and `digits` as above; with an exponent, `digits` counts those of the leading part.
    std::string AsStringSN(bool trimZeros, int digits) const;
    // Correctly rounded; the nearest finite double when the number is beyond the range.
    double AsDouble() const;
    // Cut toward zero; the nearest limit when the number is beyond 64 bits.
    __int64 AsBigInt() const;
    // Negative, 0 or positive, exact whatever the scales: 1.50 equals 1.5.
    int Compare(const Decimal& other) const;
    int GetScale() const { return static_cast<int>(scale); }
    // More digits than there are fill up with zeros, fewer round. An unknown mode counts as RoundHalfUp.
    Decimal& SetScale(unsigned int newScale, RoundingMode mode);
    // Without the sign.
    BigInteger GetMagnitude() const;
    bool IsNegative() const { return negative; }
    Decimal& Set(const BigInteger& value, unsigned int scale);
    // As the constructor; the value stays as it was when it throws.
    Decimal& SetString(const std::string& text);
    // Exact; the scale becomes the greater one.
    Decimal& operator+=(const Decimal& other);

    // The operations from here on are those for hot loops: none throws for bad input, none allocates beyond
    // the target text while the magnitude fits 64 bits.

    // As SetString; false, and the value unchanged, where that throws.
    static bool TryParse(std::string_view text, Decimal& value);
    // `scale` at most MaxScale.
    static Decimal FromScaled(bool negative, std::uint64_t magnitude, unsigned int scale);
    // False when the magnitude needs more than 64 bits.
    bool GetSmall(std::uint64_t& value) const {
        value = magnitude.Small();
        return magnitude.IsSmall();
    }
    // Bytes of the magnitude, most significant first and without leading zeros; zero is one byte 0. Returns
    // how many there are; writes nothing when `capacity` is less.
    std::size_t AppendMagnitudeBytes(unsigned char* out, std::size_t capacity) const;
    // The reverse; leading zero bytes are allowed, no bytes are zero. `newScale` at most MaxScale.
    void SetFromBytes(bool isNegative, unsigned int newScale, const unsigned char* digits, std::size_t count);
    // AsString at the end of a text.
    void AppendTo(std::string& out, char decimalPoint, bool trimZeros, int digits) const;
    // AsString as a view of the start of `buffer`, whose content is overwritten; it grows where it must.
    std::string_view View(std::string& buffer, char decimalPoint, bool trimZeros, int digits) const;
    // AsStringSN at the end of a text.
    void AppendScientificTo(std::string& out, bool trimZeros, int digits) const;
    // Exactly Decimal(value).AsStringSN(true, -1), without the Decimal. Throws QXException, and leaves the
    // text as it was, for an infinity and for what is not a number.
    static void AppendDouble(double value, std::string& out);
    // The same at the start of `to`; returns the length.
    static constexpr std::size_t DoubleSize = 40;
    static std::size_t PutDouble(double value, char (&to)[DoubleSize]);

  private:
    void SetSigned(__int64 value, unsigned int newScale);
    void DropNegativeZero() { negative = negative && !magnitude.IsZero(); }

    bool negative = false;
    unsigned int scale = 0;
    Magnitude magnitude;
};

// AsString(false, -1).
QXSENG2_API std::ostream& operator<<(std::ostream& stream, const Decimal& value);

}  // namespace qxdb
