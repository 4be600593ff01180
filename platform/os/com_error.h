// Failure codes of components, with the type that carries them as an exception.
#pragma once

#if defined(_WIN32)
#include <comdef.h>
#else

#include <string>

#include "platform/export.h"

using HRESULT = int;

constexpr HRESULT S_OK = 0;
constexpr HRESULT S_FALSE = 1;
constexpr HRESULT E_NOTIMPL = static_cast<HRESULT>(0x80004001u);
constexpr HRESULT E_ABORT = static_cast<HRESULT>(0x80004004u);
constexpr HRESULT E_FAIL = static_cast<HRESULT>(0x80004005u);
constexpr HRESULT E_POINTER = static_cast<HRESULT>(0x80004003u);
constexpr HRESULT E_NOINTERFACE = static_cast<HRESULT>(0x80004002u);
constexpr HRESULT E_OUTOFMEMORY = static_cast<HRESULT>(0x8007000Eu);
constexpr HRESULT E_INVALIDARG = static_cast<HRESULT>(0x80070057u);
constexpr HRESULT RPC_E_TIMEOUT = static_cast<HRESULT>(0x8001011Fu);
constexpr HRESULT CLASS_E_NOAGGREGATION = static_cast<HRESULT>(0x80040110u);
constexpr HRESULT REGDB_E_CLASSNOTREG = static_cast<HRESULT>(0x80040154u);
constexpr HRESULT CO_E_NOTINITIALIZED = static_cast<HRESULT>(0x800401F0u);
constexpr HRESULT DISP_E_TYPEMISMATCH = static_cast<HRESULT>(0x80020005u);
constexpr HRESULT DISP_E_OVERFLOW = static_cast<HRESULT>(0x8002000Au);

// A value. Not derived from std::exception.
class QXSENG2_API _com_error {
  public:
    explicit _com_error(HRESULT hresult);
    _com_error(const _com_error&);
    _com_error& operator=(const _com_error&);
    virtual ~_com_error();

    HRESULT Error() const noexcept;
    // A short text with the code; valid as long as the object.
    const char* ErrorMessage() const noexcept;

  private:
    HRESULT hresult;
    std::string message;
};

#endif
