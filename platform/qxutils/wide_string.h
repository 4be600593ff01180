// The 16-bit text of the script parser's interface.
#pragma once

#include <cstddef>
#include <cstring>
#include <cwchar>
#include <ios>
#include <string>

namespace qxutils {

// Character traits of our own: not every standard library has them for unsigned short.
struct Char16Traits {
    using char_type = unsigned short;
    using int_type = unsigned int;
    using off_type = std::streamoff;
    using pos_type = std::streampos;
    using state_type = std::mbstate_t;

    static void assign(char_type& to, const char_type& from) noexcept { to = from; }
    static constexpr bool eq(char_type a, char_type b) noexcept { return a == b; }
    static constexpr bool lt(char_type a, char_type b) noexcept { return a < b; }

    static int compare(const char_type* a, const char_type* b, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            if (a[i] != b[i]) {
                return a[i] < b[i] ? -1 : 1;
            }
        }
        return 0;
    }
    static std::size_t length(const char_type* text) {
        std::size_t count = 0;
        while (text[count] != 0) {
            ++count;
        }
        return count;
    }
    static const char_type* find(const char_type* text, std::size_t count, const char_type& wanted) {
        for (std::size_t i = 0; i < count; ++i) {
            if (text[i] == wanted) {
                return text + i;
            }
        }
        return nullptr;
    }
    static char_type* move(char_type* to, const char_type* from, std::size_t count) {
        if (count != 0) {
            std::memmove(to, from, count * sizeof(char_type));
        }
        return to;
    }
    static char_type* copy(char_type* to, const char_type* from, std::size_t count) {
        if (count != 0) {
            std::memcpy(to, from, count * sizeof(char_type));
        }
        return to;
    }
    static char_type* assign(char_type* to, std::size_t count, char_type value) {
        for (std::size_t i = 0; i < count; ++i) {
            to[i] = value;
        }
        return to;
    }
    static constexpr int_type not_eof(int_type value) noexcept { return value == eof() ? 0u : value; }
    static constexpr char_type to_char_type(int_type value) noexcept { return static_cast<char_type>(value); }
    static constexpr int_type to_int_type(char_type value) noexcept { return value; }
    static constexpr bool eq_int_type(int_type a, int_type b) noexcept { return a == b; }
    static constexpr int_type eof() noexcept { return 0xFFFFFFFFu; }
};

// UTF-16 code units.
using wstring16 = std::basic_string<unsigned short, Char16Traits>;

}  // namespace qxutils
