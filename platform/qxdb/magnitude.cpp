#include <algorithm>
#include <charconv>
#include <cstring>
#include <limits>
#include <utility>

#include "platform/qxdb/big_integer.h"
#include "platform/qxdb/big_number.h"

namespace qxdb {

namespace {

using boost::multiprecision::cpp_int;
using Limb = boost::multiprecision::limb_type;

constexpr unsigned int kSmallPowers = 20;  // 10^0 to 10^19 fit 64 bits
constexpr std::uint64_t kPowersOf10[kSmallPowers] = {1ULL,
                                                     10ULL,
                                                     100ULL,
                                                     1000ULL,
                                                     10000ULL,
                                                     100000ULL,
                                                     1000000ULL,
                                                     10000000ULL,
                                                     100000000ULL,
                                                     1000000000ULL,
                                                     10000000000ULL,
                                                     100000000000ULL,
                                                     1000000000000ULL,
                                                     10000000000000ULL,
                                                     100000000000000ULL,
                                                     1000000000000000ULL,
                                                     10000000000000000ULL,
                                                     100000000000000000ULL,
                                                     1000000000000000000ULL,
                                                     10000000000000000000ULL};

cpp_int PowerOf10(unsigned int exponent) {
    if (exponent < kSmallPowers)
        return cpp_int(kPowersOf10[exponent]);
    return boost::multiprecision::pow(cpp_int(10), exponent);
}

int DigitValue(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'z')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'Z')
        return c - 'A' + 10;
    return std::numeric_limits<int>::max();
}

char UpperCase(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

// How many digits of a radix always fit 64 bits.
std::size_t DigitsPerWord(int radix) {
    std::size_t count = 0;
    std::uint64_t power = 1;
    while (power <= std::numeric_limits<std::uint64_t>::max() / static_cast<unsigned int>(radix)) {
        power *= static_cast<unsigned int>(radix);
        ++count;
    }
    return count;
}

std::uint64_t WordOf(std::string_view digits, int radix) {
    std::uint64_t word = 0;
    for (char c : digits)
        word = word * static_cast<unsigned int>(radix) + static_cast<unsigned int>(DigitValue(c));
    return word;
}

std::uint64_t PowerOf(int radix, std::size_t exponent) {
    std::uint64_t power = 1;
    for (; exponent > 0; --exponent)
        power *= static_cast<unsigned int>(radix);
    return power;
}

std::size_t BytesOfWord(std::uint64_t word) {
    std::size_t count = 1;
    while (count < 8 && (word >> (8 * count)) != 0)
        ++count;
    return count;
}

Magnitude::Remainder CompareToHalf(int comparison, bool exact) {
    if (exact)
        return Magnitude::RemainderNone;
    if (comparison < 0)
        return Magnitude::RemainderBelowHalf;
    return comparison == 0 ? Magnitude::RemainderHalf : Magnitude::RemainderAboveHalf;
}

}  // namespace

BigNumber* Magnitude::Clone(const BigNumber& number) {
    return new BigNumber(number);
}

void Magnitude::Free(BigNumber* number) {
    delete number;
}

void Magnitude::Take(BigNumber&& number) {
    if (number.value <= std::numeric_limits<std::uint64_t>::max()) {
        Reset(static_cast<std::uint64_t>(number.value));
    } else if (big) {
        big->value = std::move(number.value);
        small = 0;
    } else {
        big = new BigNumber(std::move(number));
        small = 0;
    }
}

int Magnitude::Compare(const Magnitude& other) const {
    if (!big && !other.big)
        return small < other.small ? -1 : (small > other.small ? 1 : 0);
    if (!big)
        return -1;
    if (!other.big)
        return 1;
    return big->value.compare(other.big->value);
}

void Magnitude::Add(const Magnitude& other) {
    if (!big && !other.big && small <= std::numeric_limits<std::uint64_t>::max() - other.small) {
        small += other.small;
        return;
    }
    BigNumber sum{big ? big->value : cpp_int(small)};
    if (other.big)
        sum.value += other.big->value;
    else
        sum.value += other.small;
    Take(std::move(sum));
}

void Magnitude::Subtract(const Magnitude& other) {
    if (!big) {  // then the other one, which is not greater, is no big one either
        small -= other.small;
        return;
    }
    BigNumber difference{big->value};
    if (other.big)
        difference.value -= other.big->value;
    else
        difference.value -= other.small;
    Take(std::move(difference));
}

void Magnitude::MultiplyByPowerOf10(unsigned int exponent) {
    if (exponent == 0 || IsZero())
        return;
    if (!big && exponent < kSmallPowers &&
        small <= std::numeric_limits<std::uint64_t>::max() / kPowersOf10[exponent]) {
        small *= kPowersOf10[exponent];
        return;
    }
    BigNumber product{big ? big->value : cpp_int(small)};
    product.value *= PowerOf10(exponent);
    Take(std::move(product));
}

Magnitude::Remainder Magnitude::DivideByPowerOf10(unsigned int exponent) {
    if (exponent == 0 || IsZero())
        return RemainderNone;
    if (!big) {
        if (exponent >= kSmallPowers) {  // 10^20 / 2 is more than any word
            small = 0;
            return RemainderBelowHalf;
        }
        const std::uint64_t divisor = kPowersOf10[exponent];
        const std::uint64_t rest = small % divisor;
        const std::uint64_t half = divisor / 2;
        small /= divisor;
        return CompareToHalf(rest < half ? -1 : (rest > half ? 1 : 0), rest == 0);
    }
    const cpp_int divisor = PowerOf10(exponent);
    BigNumber quotient;
    cpp_int rest;
    boost::multiprecision::divide_qr(big->value, divisor, quotient.value, rest);
    const bool exact = rest == 0;
    rest *= 2;
    const int comparison = rest.compare(divisor);
    Take(std::move(quotient));
    return CompareToHalf(comparison, exact);
}

bool Magnitude::IsOdd() const {
    return big ? boost::multiprecision::bit_test(big->value, 0) : (small & 1) != 0;
}

std::size_t Magnitude::ByteCount() const {
    if (!big)
        return BytesOfWord(small);
    return boost::multiprecision::msb(big->value) / 8 + 1;
}

void Magnitude::WriteBytes(unsigned char* out) const {
    const std::size_t count = ByteCount();
    if (!big) {
        for (std::size_t i = 0; i < count; ++i)
            out[i] = static_cast<unsigned char>(small >> (8 * (count - 1 - i)));
        return;
    }
    const Limb* limbs = big->value.backend().limbs();
    for (std::size_t i = 0; i < count; ++i) {
        const Limb limb = limbs[i / sizeof(Limb)];
        out[count - 1 - i] = static_cast<unsigned char>(limb >> (8 * (i % sizeof(Limb))));
    }
}

void Magnitude::SetBytes(const unsigned char* digits, std::size_t count) {
    while (count > 0 && *digits == 0) {
        ++digits;
        --count;
    }
    if (count <= sizeof(std::uint64_t)) {
        std::uint64_t word = 0;
        for (std::size_t i = 0; i < count; ++i)
            word = (word << 8) | digits[i];
        Reset(word);
        return;
    }
    BigNumber number;
    const auto limbCount = static_cast<unsigned int>((count + sizeof(Limb) - 1) / sizeof(Limb));
    auto& backend = number.value.backend();
    backend.resize(limbCount, limbCount);
    Limb* limbs = backend.limbs();
    std::fill(limbs, limbs + limbCount, Limb(0));
    for (std::size_t i = 0; i < count; ++i)
        limbs[i / sizeof(Limb)] |= static_cast<Limb>(digits[count - 1 - i]) << (8 * (i % sizeof(Limb)));
    backend.normalize();
    Take(std::move(number));
}

void Magnitude::AppendDigits(std::string& out, int radix) const {
    if (!big) {
        char buffer[64];
        char* end = std::to_chars(buffer, buffer + sizeof(buffer), small, radix).ptr;
        std::transform(buffer, end, buffer, UpperCase);
        out.append(buffer, end);
        return;
    }
    if (radix == 10) {
        out += big->value.str();
        return;
    }
    // From the last digit, one word of digits at a time.
    const std::size_t perWord = DigitsPerWord(radix);
    const cpp_int divisor(PowerOf(radix, perWord));
    const std::size_t start = out.size();
    cpp_int rest = big->value;
    cpp_int quotient;
    cpp_int word;
    while (rest != 0) {
        boost::multiprecision::divide_qr(rest, divisor, quotient, word);
        auto digits = static_cast<std::uint64_t>(word);
        rest.swap(quotient);
        for (std::size_t i = 0; i < perWord && (digits != 0 || rest != 0); ++i) {
            out += "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ"[digits % static_cast<unsigned int>(radix)];
            digits /= static_cast<unsigned int>(radix);
        }
    }
    std::reverse(out.begin() + static_cast<std::ptrdiff_t>(start), out.end());
}

bool Magnitude::SetDigits(std::string_view digits, int radix) {
    if (digits.empty() ||
        std::any_of(digits.begin(), digits.end(), [radix](char c) { return DigitValue(c) >= radix; }))
        return false;
    while (digits.size() > 1 && digits.front() == '0')
        digits.remove_prefix(1);
    const std::size_t perWord = DigitsPerWord(radix);
    if (digits.size() <= perWord) {
        Reset(WordOf(digits, radix));
        return true;
    }
    BigNumber number;
    const std::uint64_t power = PowerOf(radix, perWord);
    std::size_t head = digits.size() % perWord;
    number.value = WordOf(digits.substr(0, head), radix);
    for (; head < digits.size(); head += perWord) {
        number.value *= power;
        number.value += WordOf(digits.substr(head, perWord), radix);
    }
    Take(std::move(number));
    return true;
}

}  // namespace qxdb
