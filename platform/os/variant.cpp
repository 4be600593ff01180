#include "platform/os/variant.h"

#if !defined(_WIN32)

#include <charconv>
#include <cmath>
#include <limits>

#include "platform/os/code_page.h"
#include "platform/os/com_error.h"

struct _bstr_t::Text {
    std::string narrow;
    std::wstring wide;
};

_bstr_t::_bstr_t() = default;

_bstr_t::_bstr_t(const char* narrow) {
    if (narrow != nullptr) {
        text = std::make_shared<const Text>(Text{narrow, qxos::MultiByteToWide(narrow)});
    }
}

_bstr_t::_bstr_t(const wchar_t* wide) {
    if (wide != nullptr) {
        text = std::make_shared<const Text>(Text{qxos::WideToMultiByte(wide), wide});
    }
}

_bstr_t::operator const char*() const {
    return text ? text->narrow.c_str() : nullptr;
}

_bstr_t::operator const wchar_t*() const {
    return text ? text->wide.c_str() : nullptr;
}

unsigned int _bstr_t::length() const {
    return text ? static_cast<unsigned int>(text->wide.size()) : 0;
}

bool _bstr_t::operator==(const _bstr_t& other) const {
    // No text and empty text are equal.
    return length() == other.length() && (length() == 0 || text->wide == other.text->wide);
}

bool _bstr_t::operator!=(const _bstr_t& other) const {
    return !(*this == other);
}

bool _bstr_t::operator<(const _bstr_t& other) const {
    if (length() == 0 || other.length() == 0) {
        return length() < other.length();
    }
    return text->wide < other.text->wide;
}

_bstr_t _bstr_t::operator+(const _bstr_t& other) const {
    _bstr_t result(*this);
    result += other;
    return result;
}

_bstr_t& _bstr_t::operator+=(const _bstr_t& other) {
    if (!text) {
        text = other.text;
    } else if (other.text) {
        text = std::make_shared<const Text>(
            Text{text->narrow + other.text->narrow, text->wide + other.text->wide});
    }
    return *this;
}

namespace {

// The text without blanks around it, and without a plus sign, which the number parser does not take.
std::string NumberText(const _bstr_t& value) {
    const char* const narrow = value;
    const std::string text = narrow == nullptr ? "" : narrow;
    const std::size_t begin = text.find_first_not_of(" \t\r\n");
    if (begin == std::string::npos) {
        return std::string();
    }
    const std::string trimmed = text.substr(begin, text.find_last_not_of(" \t\r\n") + 1 - begin);
    return trimmed.size() > 1 && trimmed[0] == '+' && trimmed[1] != '-' ? trimmed.substr(1) : trimmed;
}

double ParseDouble(const _bstr_t& value) {
    const std::string text = NumberText(value);
    double number = 0.0;
    const std::from_chars_result parsed = std::from_chars(text.data(), text.data() + text.size(), number);
    if (parsed.ec == std::errc::result_out_of_range) {
        throw _com_error(DISP_E_OVERFLOW);
    }
    if (parsed.ec != std::errc() || parsed.ptr != text.data() + text.size()) {
        throw _com_error(DISP_E_TYPEMISMATCH);
    }
    return number;
}

bool ParseBool(const _bstr_t& value) {
    std::string text = NumberText(value);
    for (char& c : text) {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    if (text == "true" || text == "false") {
        return text == "true";
    }
    return ParseDouble(value) != 0.0;
}

long ToLong(double value) {
    // Halves go to the even neighbour, the default rounding mode. The limits are powers of two, which a
    // double holds exactly.
    const double rounded = std::nearbyint(value);
    const double limit = -static_cast<double>(std::numeric_limits<long>::min());
    if (!(rounded >= -limit && rounded < limit)) {
        throw _com_error(DISP_E_OVERFLOW);
    }
    return static_cast<long>(rounded);
}

int ToInt(long value) {
    if (value < std::numeric_limits<int>::min() || value > std::numeric_limits<int>::max()) {
        throw _com_error(DISP_E_OVERFLOW);
    }
    return static_cast<int>(value);
}

_bstr_t DoubleText(double value) {
    char text[40];
    const std::to_chars_result end =
        std::to_chars(text, text + sizeof text - 1, value, std::chars_format::general, 15);
    *end.ptr = '\0';
    return _bstr_t(text);
}

}  // namespace

_variant_t::_variant_t() : wholeValue(0) {}

_variant_t::_variant_t(bool value) : vt(VT_BOOL), wholeValue(value ? -1 : 0) {}

_variant_t::_variant_t(long value) : vt(VT_I4), wholeValue(value) {}

_variant_t::_variant_t(int value, VARTYPE type) : vt(type), wholeValue(value) {
    if (type != VT_INT && type != VT_I4) {
        throw _com_error(E_INVALIDARG);
    }
}

_variant_t::_variant_t(double value) : vt(VT_R8), doubleValue(value) {}

_variant_t::_variant_t(const char* value) : vt(VT_BSTR), wholeValue(0), textValue(value) {}

_variant_t::_variant_t(const wchar_t* value) : vt(VT_BSTR), wholeValue(0), textValue(value) {}

_variant_t::_variant_t(const _bstr_t& value) : vt(VT_BSTR), wholeValue(0), textValue(value) {}

long _variant_t::AsLong() const {
    switch (vt) {
        case VT_EMPTY:
            return 0;
        case VT_I4:
        case VT_INT:
        case VT_BOOL:
            return wholeValue;
        case VT_R8:
            return ToLong(doubleValue);
        case VT_BSTR:
            return ToLong(ParseDouble(textValue));
        default:
            throw _com_error(DISP_E_TYPEMISMATCH);
    }
}

double _variant_t::AsDouble() const {
    switch (vt) {
        case VT_R8:
            return doubleValue;
        case VT_BSTR:
            return ParseDouble(textValue);
        default:
            return static_cast<double>(AsLong());
    }
}

_variant_t::operator bool() const {
    switch (vt) {
        case VT_R8:
            return doubleValue != 0.0;
        case VT_BSTR:
            return ParseBool(textValue);
        default:
            return AsLong() != 0;
    }
}

_variant_t::operator int() const {
    return ToInt(AsLong());
}

_variant_t::operator long() const {
    return AsLong();
}

_variant_t::operator double() const {
    return AsDouble();
}

_variant_t::operator _bstr_t() const {
    switch (vt) {
        case VT_EMPTY:
            return _bstr_t("");
        case VT_BSTR:
            return textValue;
        case VT_R8:
            return DoubleText(doubleValue);
        default:
            return _bstr_t(std::to_string(AsLong()).c_str());
    }
}

bool _variant_t::operator==(const _variant_t& other) const {
    if (vt != other.vt) {
        return false;
    }
    switch (vt) {
        case VT_EMPTY:
            return true;
        case VT_R8:
            return doubleValue == other.doubleValue;
        case VT_BSTR:
            return textValue == other.textValue;
        default:
            return wholeValue == other.wholeValue;
    }
}

bool _variant_t::operator!=(const _variant_t& other) const {
    return !(*this == other);
}

void _variant_t::ChangeType(VARTYPE type) {
    switch (type) {
        case VT_EMPTY:
            Clear();
            return;
        case VT_I4:
            *this = _variant_t(AsLong());
            return;
        case VT_INT:
            *this = _variant_t(ToInt(AsLong()));
            return;
        case VT_R8:
            *this = _variant_t(AsDouble());
            return;
        case VT_BOOL:
            *this = _variant_t(static_cast<bool>(*this));
            return;
        case VT_BSTR:
            *this = _variant_t(static_cast<_bstr_t>(*this));
            return;
        default:
            throw _com_error(DISP_E_TYPEMISMATCH);
    }
}

void _variant_t::Clear() {
    *this = _variant_t();
}

#endif
