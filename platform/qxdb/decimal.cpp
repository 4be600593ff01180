#include "platform/qxdb/decimal.h"

#include <cfloat>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <ostream>
#include <utility>

#include "platform/qxutils/qx_exception.h"

namespace qxdb {

namespace {

// Exponents of the first digit between which floating numbers are written without an exponent: down to
// 0.00001, and up so that every whole number a double holds exactly (2^53) keeps its plain form.
constexpr int kLowestPlain = -5;
constexpr int kHighestPlain = 15;
constexpr std::size_t kWordDigits = 19;   // decimal digits that always fit 64 bits
constexpr long kExponentLimit = 1000000;  // far beyond what any limit lets through

bool IsBlank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

[[noreturn]] void ThrowBadText(const std::string& text) {
    constexpr std::size_t shown = 100;
    const std::string part = text.size() > shown ? text.substr(0, shown) + "..." : text;
    throw qxutils::QXException("\"" + part + "\" is not a decimal number");
}

void CheckScale(unsigned int scale) {
    if (scale > Decimal::MaxScale)
        throw qxutils::QXException("A decimal number cannot have the scale " + std::to_string(scale));
}

[[noreturn]] void ThrowNotFinite() {
    throw qxutils::QXException("An infinity or what is not a number cannot be a decimal number");
}

// A number's text taken apart: digits from `first` to `last`, with at most one point among them.
struct DecimalText {
    bool negative = false;
    const char* first = nullptr;
    const char* last = nullptr;
    std::uint64_t word = 0;       // the digits, as long as there are at most kWordDigits
    std::size_t significant = 0;  // digits without leading zeros
    std::size_t fraction = 0;     // digits behind the point
    long exponent = 0;
};

// Reads [E[sign]digits]; false when digits are missing.
bool ScanExponent(const char*& at, const char* end, long& exponent) {
    if (at == end || (*at != 'e' && *at != 'E'))
        return true;
    ++at;
    bool negative = false;
    if (at != end && (*at == '-' || *at == '+'))
        negative = *at++ == '-';
    if (at == end || !IsDigit(*at))
        return false;
    for (; at != end && IsDigit(*at); ++at) {
        if (exponent < kExponentLimit)
            exponent = exponent * 10 + (*at - '0');
    }
    if (negative)
        exponent = -exponent;
    return true;
}

bool Scan(std::string_view text, DecimalText& scanned) {
    const char* at = text.data();
    const char* end = at + text.size();
    while (at != end && IsBlank(*at))
        ++at;
    while (end != at && IsBlank(end[-1]))
        --end;
    if (at != end && (*at == '-' || *at == '+'))
        scanned.negative = *at++ == '-';
    scanned.first = at;
    bool any = false;
    bool point = false;
    for (; at != end; ++at) {
        const auto digit = static_cast<unsigned int>(*at) - '0';
        if (digit <= 9) {
            any = true;
            if (digit != 0 || scanned.significant != 0) {
                if (scanned.significant < kWordDigits)
                    scanned.word = scanned.word * 10 + digit;
                ++scanned.significant;
            }
            scanned.fraction += point ? 1 : 0;
        } else if (*at == '.' && !point) {
            point = true;
        } else {
            break;
        }
    }
    scanned.last = at;
    return any && ScanExponent(at, end, scanned.exponent) && at == end;
}

// Digits in plain notation: with `scale` of them behind the point (negative: so many zeros are missing at the
// end) and `pad` zeros behind those.
class PlainText {
  public:
    PlainText(bool isNegative, std::string_view allDigits, int digitScale, bool trimZeros, int zeros)
        : negative(isNegative),
          digits(allDigits.data()),
          count(static_cast<int>(allDigits.size())),
          scale(digitScale) {
        if (trimZeros) {
            zeros = 0;
            while (scale > 0 && count > 0 && digits[count - 1] == '0') {
                --count;
                --scale;
            }
            if (count == 0)
                scale = 0;
        }
        whole = count - scale > 0 ? count - scale : 0;
        fraction = (scale > 0 ? scale : 0) + zeros;
    }

    std::size_t Size() const {
        return static_cast<std::size_t>((negative ? 1 : 0) + (whole ? whole : 1) +
                                        (fraction ? 1 + fraction : 0));
    }
    // Onto Size() zeros.
    void Put(char* to, char point) const {
        const int given = whole < count ? whole : count;  // digits before the point
        if (negative)
            *to++ = '-';
        std::memcpy(to, digits, static_cast<std::size_t>(given));
        to += whole ? whole : 1;
        if (fraction == 0)
            return;
        *to++ = point;
        if (scale > count)  // 0.00ddd
            to += scale - count;
        std::memcpy(to, digits + given, static_cast<std::size_t>(count - given));
    }
    void AppendTo(std::string& out, char point) const {
        const std::size_t start = out.size();
        out.resize(start + Size(), '0');
        Put(&out[start], point);
    }

  private:
    bool negative;
    const char* digits;
    int count;
    int scale;
    int whole;     // places before the point
    int fraction;  // places behind it
};

// d.dddE+dd; returns the end.
char* PutWithExponent(char* to, bool negative, std::string_view digits, int exponent) {
    if (negative)
        *to++ = '-';
    *to++ = digits.front();
    if (digits.size() > 1) {
        *to++ = '.';
        to = std::copy(digits.begin() + 1, digits.end(), to);
    }
    *to++ = 'E';
    *to++ = exponent < 0 ? '-' : '+';
    const int amount = exponent < 0 ? -exponent : exponent;
    if (amount < 10)
        *to++ = '0';
    return std::to_chars(to, to + 11, amount).ptr;
}

void AppendWithExponent(std::string& out, bool negative, std::string_view digits, int exponent) {
    const std::size_t start = out.size();
    out.resize(start + digits.size() + 16);
    const char* const end = PutWithExponent(&out[start], negative, digits, exponent);
    out.resize(static_cast<std::size_t>(end - out.data()));
}

// Whether a magnitude that was cut must go one up.
bool GoesUp(Decimal::RoundingMode mode, bool negative, Magnitude::Remainder rest, bool odd) {
    if (rest == Magnitude::RemainderNone)
        return false;
    switch (mode) {
        case Decimal::RoundDown:
            return false;
        case Decimal::RoundUp:
            return true;
        case Decimal::RoundFloor:
            return negative;
        case Decimal::RoundCeiling:
            return !negative;
        case Decimal::RoundHalfDown:
            return rest == Magnitude::RemainderAboveHalf;
        case Decimal::RoundHalfEven:
            return rest == Magnitude::RemainderAboveHalf || (rest == Magnitude::RemainderHalf && odd);
        case Decimal::RoundHalfUp:
            break;
    }
    return rest != Magnitude::RemainderBelowHalf;
}

// The decimal digits of a magnitude, in a buffer of its own while they are few.
class DigitText {
  public:
    explicit DigitText(const Magnitude& magnitude) {
        if (magnitude.IsSmall()) {
            view = std::string_view(
                buffer, static_cast<std::size_t>(
                            std::to_chars(buffer, buffer + sizeof(buffer), magnitude.Small()).ptr - buffer));
        } else {
            magnitude.AppendDigits(text, 10);
            view = text;
        }
    }
    DigitText(const DigitText&) = delete;
    DigitText& operator=(const DigitText&) = delete;

    std::string_view Get() const { return view; }

  private:
    char buffer[20];
    std::string text;
    std::string_view view;
};

constexpr double kExactPowers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                   1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

// Both numbers are exact doubles, so that one division rounds once; not so where intermediate results are
// wider.
bool IsOneDivision(std::uint64_t magnitude, unsigned int scale) {
#if FLT_EVAL_METHOD == 0
    return magnitude <= (1ULL << 53) && scale < sizeof(kExactPowers) / sizeof(kExactPowers[0]);
#else
    (void)magnitude;
    (void)scale;
    return false;
#endif
}

}  // namespace

Decimal::Decimal(const std::string& text) {
    SetString(text);
}

Decimal::Decimal(short value, unsigned int newScale) {
    SetSigned(value, newScale);
}

Decimal::Decimal(int value, unsigned int newScale) {
    SetSigned(value, newScale);
}

Decimal::Decimal(long value, unsigned int newScale) {
    SetSigned(value, newScale);
}

Decimal::Decimal(__int64 value, unsigned int newScale) {
    SetSigned(value, newScale);
}

Decimal::Decimal(double value) {
    if (!std::isfinite(value))
        ThrowNotFinite();
    char buffer[32];
    const char* end =
        std::to_chars(buffer, buffer + sizeof(buffer), value, std::chars_format::scientific).ptr;
    TryParse(std::string_view(buffer, static_cast<std::size_t>(end - buffer)), *this);
}

Decimal::Decimal(const BigInteger& value, unsigned int newScale) {
    Set(value, newScale);
}

void Decimal::SetSigned(__int64 value, unsigned int newScale) {
    CheckScale(newScale);
    negative = value < 0;
    scale = newScale;
    const auto bits = static_cast<std::uint64_t>(value);
    magnitude.Reset(negative ? 0 - bits : bits);
}

Decimal& Decimal::Set(const BigInteger& value, unsigned int newScale) {
    CheckScale(newScale);
    magnitude = value.GetMagnitude();
    negative = value.IsNegative();
    scale = newScale;
    return *this;
}

Decimal& Decimal::SetString(const std::string& text) {
    if (!TryParse(text, *this))
        ThrowBadText(text);
    return *this;
}

bool Decimal::TryParse(std::string_view text, Decimal& value) {
    DecimalText scanned;
    if (!Scan(text, scanned) || scanned.significant > MaxDigits)
        return false;
    const long newScale = static_cast<long>(scanned.fraction) - scanned.exponent;
    if (newScale > static_cast<long>(MaxScale))
        return false;
    if (newScale < 0 && scanned.significant != 0 &&
        static_cast<long>(scanned.significant) - newScale > static_cast<long>(MaxDigits))
        return false;
    if (scanned.significant <= kWordDigits) {
        value.magnitude.Reset(scanned.word);
    } else {
        std::string digits;
        digits.reserve(static_cast<std::size_t>(scanned.last - scanned.first));
        for (const char* at = scanned.first; at != scanned.last; ++at) {
            if (*at != '.')
                digits += *at;
        }
        value.magnitude.SetDigits(digits, 10);
    }
    if (newScale < 0)
        value.magnitude.MultiplyByPowerOf10(static_cast<unsigned int>(-newScale));
    value.scale = newScale < 0 ? 0 : static_cast<unsigned int>(newScale);
    value.negative = scanned.negative;
    value.DropNegativeZero();
    return true;
}

Decimal Decimal::FromScaled(bool isNegative, std::uint64_t digits, unsigned int scale) {
    Decimal value;
    value.magnitude.Reset(digits);
    value.scale = scale;
    value.negative = isNegative && digits != 0;
    return value;
}

std::size_t Decimal::AppendMagnitudeBytes(unsigned char* out, std::size_t capacity) const {
    const std::size_t count = magnitude.ByteCount();
    if (count <= capacity)
        magnitude.WriteBytes(out);
    return count;
}

void Decimal::SetFromBytes(bool isNegative, unsigned int newScale, const unsigned char* digits,
                           std::size_t count) {
    magnitude.SetBytes(digits, count);
    scale = newScale;
    negative = isNegative;
    DropNegativeZero();
}

std::string Decimal::AsString(bool trimZeros, int digits) const {
    return AsString('.', trimZeros, digits);
}

std::string Decimal::AsString(char decimalPoint, bool trimZeros, int digits) const {
    std::string text;
    AppendTo(text, decimalPoint, trimZeros, digits);
    return text;
}

std::string Decimal::AsStringSN(bool trimZeros, int digits) const {
    std::string text;
    AppendScientificTo(text, trimZeros, digits);
    return text;
}

void Decimal::AppendTo(std::string& out, char decimalPoint, bool trimZeros, int digits) const {
    if (digits > static_cast<int>(MaxScale))
        digits = static_cast<int>(MaxScale);
    if (digits >= 0 && static_cast<unsigned int>(digits) < scale) {
        Decimal rounded(*this);
        rounded.SetScale(static_cast<unsigned int>(digits), RoundHalfUp);
        rounded.AppendTo(out, decimalPoint, trimZeros, -1);
        return;
    }
    const DigitText text(magnitude);
    PlainText(negative, text.Get(), GetScale(), trimZeros, digits < 0 ? 0 : digits - GetScale())
        .AppendTo(out, decimalPoint);
}

std::string_view Decimal::View(std::string& buffer, char decimalPoint, bool trimZeros, int digits) const {
    constexpr std::size_t usual = 64;
    if (buffer.size() < usual)
        buffer.resize(usual);
    const bool isRounded = digits >= 0 && static_cast<unsigned int>(digits) < scale;
    if (magnitude.IsSmall() && !isRounded && digits <= static_cast<int>(MaxScale)) {
        const DigitText text(magnitude);
        const PlainText plain(negative, text.Get(), GetScale(), trimZeros,
                              digits < 0 ? 0 : digits - GetScale());
        const std::size_t size = plain.Size();
        if (size <= usual) {
            std::memset(&buffer[0], '0', usual);
            plain.Put(&buffer[0], decimalPoint);
            return {buffer.data(), size};
        }
    }
    buffer.clear();
    AppendTo(buffer, decimalPoint, trimZeros, digits);
    return buffer;
}

void Decimal::AppendScientificTo(std::string& out, bool trimZeros, int digits) const {
    const DigitText text(magnitude);
    std::string_view view = text.Get();
    int exponent = static_cast<int>(view.size()) - 1 - GetScale();
    if (magnitude.IsZero() || (exponent >= kLowestPlain && exponent <= kHighestPlain)) {
        AppendTo(out, '.', trimZeros, digits);
        return;
    }
    std::string leading(view);
    if (digits > static_cast<int>(MaxScale))
        digits = static_cast<int>(MaxScale);
    const std::size_t wanted = digits < 0 ? leading.size() : static_cast<std::size_t>(digits) + 1;
    if (leading.size() > wanted) {
        Decimal rounded;
        rounded.magnitude = magnitude;
        rounded.scale = static_cast<unsigned int>(leading.size() - wanted);
        rounded.SetScale(0, RoundHalfUp);
        leading.clear();
        rounded.magnitude.AppendDigits(leading, 10);
        if (leading.size() > wanted) {  // 9.99 went up to 10.0
            leading.pop_back();
            ++exponent;
        }
    }
    leading.resize(wanted, '0');
    if (trimZeros)
        leading.erase(leading.find_last_not_of('0') + 1);
    AppendWithExponent(out, negative, leading, exponent);
}

std::size_t Decimal::PutDouble(double value, char (&to)[DoubleSize]) {
    if (!std::isfinite(value))
        ThrowNotFinite();
    char buffer[32];
    const char* end =
        std::to_chars(buffer, buffer + sizeof(buffer), value, std::chars_format::scientific).ptr;
    // [-]d[.ddd]e+dd: the digits move together over the point.
    char* at = buffer;
    const bool minus = *at == '-';
    if (minus)
        ++at;
    char* digits = at;
    if (at[1] == '.') {
        at[1] = at[0];
        digits = ++at;
    }
    while (IsDigit(*at))
        ++at;
    const std::string_view all(digits, static_cast<std::size_t>(at - digits));
    const bool belowOne = at[1] == '-';
    int exponent = 0;
    std::from_chars(at + 2, end, exponent);
    if (belowOne)
        exponent = -exponent;
    const bool isZero = digits[0] == '0';
    if (exponent < kLowestPlain || exponent > kHighestPlain)
        return static_cast<std::size_t>(PutWithExponent(to, minus, all, exponent) - to);
    const PlainText plain(minus && !isZero, all, static_cast<int>(all.size()) - 1 - exponent, false, 0);
    std::memset(to, '0', sizeof(to));
    plain.Put(to, '.');
    return plain.Size();
}

void Decimal::AppendDouble(double value, std::string& out) {
    char text[DoubleSize];
    out.append(text, PutDouble(value, text));
}

double Decimal::AsDouble() const {
    if (magnitude.IsSmall() && IsOneDivision(magnitude.Small(), scale)) {
        const double value = static_cast<double>(magnitude.Small()) / kExactPowers[scale];
        return negative ? -value : value;
    }
    const DigitText digits(magnitude);
    std::string text(digits.Get());
    text += "e-";
    text += std::to_string(scale);
    double value = 0;
    if (std::from_chars(text.data(), text.data() + text.size(), value).ec == std::errc::result_out_of_range)
        value = digits.Get().size() > scale ? std::numeric_limits<double>::max() : 0;
    return negative ? -value : value;
}

__int64 Decimal::AsBigInt() const {
    constexpr __int64 greatest = std::numeric_limits<__int64>::max();
    constexpr __int64 least = std::numeric_limits<__int64>::min();
    Magnitude whole(magnitude);
    whole.DivideByPowerOf10(scale);
    if (!whole.IsSmall() || whole.Small() > static_cast<std::uint64_t>(greatest))
        return negative ? least : greatest;
    const auto value = static_cast<__int64>(whole.Small());
    return negative ? -value : value;
}

int Decimal::Compare(const Decimal& other) const {
    if (negative != other.negative)
        return negative ? -1 : 1;
    int comparison = 0;
    if (scale == other.scale) {
        comparison = magnitude.Compare(other.magnitude);
    } else {
        Magnitude left(magnitude);
        Magnitude right(other.magnitude);
        if (scale < other.scale)
            left.MultiplyByPowerOf10(other.scale - scale);
        else
            right.MultiplyByPowerOf10(scale - other.scale);
        comparison = left.Compare(right);
    }
    return negative ? -comparison : comparison;
}

Decimal& Decimal::SetScale(unsigned int newScale, RoundingMode mode) {
    CheckScale(newScale);
    if (newScale >= scale) {
        magnitude.MultiplyByPowerOf10(newScale - scale);
    } else {
        const Magnitude::Remainder rest = magnitude.DivideByPowerOf10(scale - newScale);
        if (GoesUp(mode, negative, rest, magnitude.IsOdd()))
            magnitude.Add(Magnitude(1));
    }
    scale = newScale;
    DropNegativeZero();
    return *this;
}

BigInteger Decimal::GetMagnitude() const {
    return BigInteger(false, magnitude);
}

Decimal& Decimal::operator+=(const Decimal& other) {
    if (scale < other.scale)
        SetScale(other.scale, RoundDown);
    Magnitude addend(other.magnitude);
    addend.MultiplyByPowerOf10(scale - other.scale);
    if (negative == other.negative) {
        magnitude.Add(addend);
    } else if (magnitude.Compare(addend) >= 0) {
        magnitude.Subtract(addend);
    } else {
        addend.Subtract(magnitude);
        magnitude = std::move(addend);
        negative = other.negative;
    }
    DropNegativeZero();
    return *this;
}

std::ostream& operator<<(std::ostream& stream, const Decimal& value) {
    return stream << value.AsString(false, -1);
}

}  // namespace qxdb
