#include "platform/qxutils/string_utils.h"

#include <algorithm>

#include "platform/os/code_page.h"

namespace qxutils {

namespace {

template <class Char>
constexpr bool IsSpace(Char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

template <class Char>
constexpr Char Lower(Char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<Char>(c - 'A' + 'a') : c;
}

template <class String>
int CompareIgnoringCase(const String& a, const String& b) {
    const std::size_t common = std::min(a.size(), b.size());
    for (std::size_t i = 0; i < common; ++i) {
        // Bytes compare as unsigned ones, like 16-bit units.
        const unsigned int x = Lower(a[i]) & 0xFFFFu;
        const unsigned int y = Lower(b[i]) & 0xFFFFu;
        if (x != y) {
            return x < y ? -1 : 1;
        }
    }
    return a.size() == b.size() ? 0 : (a.size() < b.size() ? -1 : 1);
}

template <class String>
String& TrimRight(String& text) {
    std::size_t end = text.size();
    while (end > 0 && IsSpace(text[end - 1])) {
        --end;
    }
    text.erase(end);
    return text;
}

template <class String>
String& TrimLeft(String& text) {
    std::size_t begin = 0;
    while (begin < text.size() && IsSpace(text[begin])) {
        ++begin;
    }
    text.erase(0, begin);
    return text;
}

}  // namespace

std::string StringUtils::ConvertToMBString(const unsigned short* text) {
    return text == nullptr ? std::string() : qxos::Utf16ToMultiByte(text, Char16Traits::length(text));
}

int StringUtils::StringICmp(const std::string& a, const std::string& b) {
    return CompareIgnoringCase(a, b);
}

int StringUtils::StringICmp(const wstring16& a, const wstring16& b) {
    return CompareIgnoringCase(a, b);
}

std::string& StringUtils::StringTrim(std::string& text) {
    return TrimLeft(TrimRight(text));
}

wstring16& StringUtils::StringTrim(wstring16& text) {
    return TrimLeft(TrimRight(text));
}

wstring16& StringUtils::StringTrimLeft(wstring16& text) {
    return TrimLeft(text);
}

wstring16& StringUtils::StringTrimRight(wstring16& text) {
    return TrimRight(text);
}

std::string& StringUtils::StringUpper(std::string& text) {
    for (char& c : text) {
        if (c >= 'a' && c <= 'z') {
            c = static_cast<char>(c - 'a' + 'A');
        }
    }
    return text;
}

std::string StringUtils::StringReplaceAll(const std::string& text, std::string from, std::string to) {
    if (from.empty()) {
        return text;
    }
    std::string result;
    std::size_t begin = 0;
    for (std::size_t hit = text.find(from); hit != std::string::npos; hit = text.find(from, begin)) {
        result.append(text, begin, hit - begin);
        result += to;
        begin = hit + from.size();
    }
    return result.append(text, begin, std::string::npos);
}

std::string::iterator StringUtils::find_nocase(std::string& text, const std::string& what) {
    return std::search(text.begin(), text.end(), what.begin(), what.end(),
                       [](char a, char b) { return Lower(a) == Lower(b); });
}

}  // namespace qxutils
