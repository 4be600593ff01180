#include "platform/qxdb/big_integer.h"

#include <utility>

#include "platform/qxdb/hex_digit.h"
#include "platform/qxutils/qx_exception.h"

namespace qxdb {

namespace {

constexpr std::size_t kMostDigits =
    65535;  // reading other radixes than 16 takes time with the square of the digits

[[noreturn]] void ThrowBadDigits(const std::string& text, int radix) {
    constexpr std::size_t shown = 100;
    const std::string part = text.size() > shown ? text.substr(0, shown) + "..." : text;
    throw qxutils::QXException("\"" + part + "\" is not a number of radix " + std::to_string(radix));
}

// The bytes of a hexadecimal text, an odd first digit in a byte of its own. False for any other character.
bool BytesOfHex(const std::string& text, std::vector<unsigned char>& bytes) {
    bytes.assign((text.size() + 1) / 2, 0);
    const std::size_t shift = text.size() % 2;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const int digit = HexDigit(text[i]);
        if (digit < 0)
            return false;
        unsigned char& byte = bytes[(i + shift) / 2];
        byte = static_cast<unsigned char>(byte << 4 | digit);
    }
    return true;
}

}  // namespace

BigInteger::BigInteger() = default;
BigInteger::BigInteger(const BigInteger&) = default;
BigInteger::BigInteger(BigInteger&&) noexcept = default;
BigInteger& BigInteger::operator=(const BigInteger&) = default;
BigInteger& BigInteger::operator=(BigInteger&&) noexcept = default;
BigInteger::~BigInteger() = default;

BigInteger::BigInteger(const std::string& digits, int radix) {
    if (radix == 16) {
        std::vector<unsigned char> bytes;
        if (digits.empty() || !BytesOfHex(digits, bytes))
            ThrowBadDigits(digits, radix);
        SetQXDBByteDigits(bytes, NumberPlain);
        return;
    }
    std::string_view rest = digits;
    if (!rest.empty() && (rest.front() == '-' || rest.front() == '+')) {
        negative = rest.front() == '-';
        rest.remove_prefix(1);
    }
    if (radix < 2 || radix > 36 || rest.size() > kMostDigits || !magnitude.SetDigits(rest, radix))
        ThrowBadDigits(digits, radix);
    negative = negative && !magnitude.IsZero();
}

BigInteger::BigInteger(const std::vector<unsigned char>& digits, NumberFormat format) {
    SetQXDBByteDigits(digits, format);
}

BigInteger::BigInteger(bool isNegative, const Magnitude& value)
    : negative(isNegative && !value.IsZero()), magnitude(value) {}

void BigInteger::GetQXDBByteDigits(std::vector<unsigned char>& digits, NumberFormat format) const {
    const std::size_t count = magnitude.ByteCount();
    const std::size_t total = width > count ? width : count;
    digits.assign(total + (format == NumberTerminated ? 1 : 0), 0);
    magnitude.WriteBytes(digits.data() + (total - count));
}

void BigInteger::SetQXDBByteDigits(const std::vector<unsigned char>& digits, NumberFormat format) {
    std::size_t count = digits.size();
    if (format == NumberTerminated && count > 0 && digits.back() == 0)
        --count;
    negative = false;
    width = count;
    magnitude.SetBytes(digits.data(), count);
}

BigInteger& BigInteger::Negate() {
    negative = !negative && !magnitude.IsZero();
    return *this;
}

std::string BigInteger::AsString(int radix, NumberFormat format) const {
    if (radix < 2 || radix > 36)
        throw qxutils::QXException("There are no numbers of radix " + std::to_string(radix));
    std::string text;
    if (negative)
        text += '-';
    if (radix != 16) {
        magnitude.AppendDigits(text, radix);
        return text;
    }
    std::vector<unsigned char> bytes;
    GetQXDBByteDigits(bytes, NumberPlain);
    const std::size_t start = text.size();
    for (unsigned char byte : bytes) {
        text += "0123456789ABCDEF"[byte >> 4];
        text += "0123456789ABCDEF"[byte & 15];
    }
    if (format != NumberTerminated) {
        const std::size_t first = text.find_first_not_of('0', start);
        text.erase(start, (first == std::string::npos ? text.size() - 1 : first) - start);
    }
    return text;
}

int BigInteger::Compare(const BigInteger& other) const {
    if (negative != other.negative)
        return negative ? -1 : 1;
    const int comparison = magnitude.Compare(other.magnitude);
    return negative ? -comparison : comparison;
}

}  // namespace qxdb
