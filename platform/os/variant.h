// Variants: a value with its type, as option maps carry it. On Windows these are the system's own.
#pragma once

#if defined(_WIN32)
#include <comutil.h>
#else

#include <cstddef>
#include <memory>
#include <string>

#include "platform/export.h"

using VARTYPE = unsigned short;
constexpr VARTYPE VT_EMPTY = 0;
constexpr VARTYPE VT_I4 = 3;
constexpr VARTYPE VT_R8 = 5;
constexpr VARTYPE VT_BSTR = 8;
constexpr VARTYPE VT_BOOL = 11;
constexpr VARTYPE VT_INT = 22;

// Text, narrow (UTF-8) and wide at once. A value: copies share the immutable text, any thread may copy. The
// pointers stay valid until the object they were taken from is assigned or destroyed.
class QXSENG2_API _bstr_t {
  public:
    _bstr_t();
    // Null gives an object without text, whose pointers are null and whose length is 0.
    _bstr_t(const char* text);
    _bstr_t(const wchar_t* text);

    operator const char*() const;
    operator const wchar_t*() const;
    // Wide characters.
    unsigned int length() const;

    bool operator==(const _bstr_t& other) const;
    bool operator!=(const _bstr_t& other) const;
    bool operator<(const _bstr_t& other) const;
    _bstr_t operator+(const _bstr_t& other) const;
    _bstr_t& operator+=(const _bstr_t& other);

  private:
    struct Text;
    std::shared_ptr<const Text> text;
};

// A value. Reading as another type converts; where that is impossible _com_error is thrown with
// DISP_E_TYPEMISMATCH, or DISP_E_OVERFLOW when the number does not fit. Empty reads as 0, false and "".
// True reads as the number -1, a number reads as true unless it is 0, and the text of a bool is "-1" or "0".
class QXSENG2_API _variant_t {
  public:
    VARTYPE vt = VT_EMPTY;

    _variant_t();
    _variant_t(bool value);                        // VT_BOOL
    _variant_t(long value);                        // VT_I4; stored whole where long is wider
    _variant_t(int value, VARTYPE type = VT_INT);  // VT_INT or VT_I4
    _variant_t(double value);                      // VT_R8
    _variant_t(const char* value);                 // VT_BSTR
    _variant_t(const wchar_t* value);              // VT_BSTR
    _variant_t(const _bstr_t& value);              // VT_BSTR

    operator bool() const;
    operator int() const;
    operator long() const;
    operator double() const;
    operator _bstr_t() const;

    // Same type and same value.
    bool operator==(const _variant_t& other) const;
    bool operator!=(const _variant_t& other) const;

    // Converts in place; throws as reading does and leaves the value as it was then.
    void ChangeType(VARTYPE type);
    // Back to VT_EMPTY.
    void Clear();

  private:
    long AsLong() const;
    double AsDouble() const;

    union {
        long wholeValue;  // VT_I4, VT_INT; VT_BOOL as -1 or 0
        double doubleValue;
    };
    _bstr_t textValue;
};

#endif
