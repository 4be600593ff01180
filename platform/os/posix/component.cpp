#include "platform/os/component.h"

#include <cstdlib>
#include <cstring>

namespace {

// The length stands before the text.
using Length = std::size_t;

thread_local int initialisations = 0;

}  // namespace

BSTR SysAllocStringLen(const wchar_t* text, unsigned int count) {
    const std::size_t bytes = std::size_t{count} * sizeof(wchar_t);
    void* const block = std::malloc(sizeof(Length) + bytes + sizeof(wchar_t));
    if (block == nullptr)
        return nullptr;
    const Length length = count;
    std::memcpy(block, &length, sizeof length);
    auto* const characters = reinterpret_cast<wchar_t*>(static_cast<char*>(block) + sizeof(Length));
    if (text != nullptr && count != 0)
        std::memcpy(characters, text, bytes);
    characters[count] = L'\0';
    return characters;
}

void SysFreeString(BSTR text) {
    if (text != nullptr)
        std::free(reinterpret_cast<char*>(text) - sizeof(Length));
}

unsigned int SysStringLen(BSTR text) {
    if (text == nullptr)
        return 0;
    Length length = 0;
    std::memcpy(&length, reinterpret_cast<const char*>(text) - sizeof(Length), sizeof length);
    return static_cast<unsigned int>(length);
}

HRESULT CoInitialize(void*) {
    return initialisations++ == 0 ? S_OK : S_FALSE;
}

void CoUninitialize() {
    if (initialisations > 0)
        --initialisations;
}

HRESULT CoCreateInstance(REFCLSID classId, IUnknown* outer, unsigned int, REFIID iid, void** object) {
    if (object == nullptr)
        return E_POINTER;
    *object = nullptr;
    if (outer != nullptr)
        return CLASS_E_NOAGGREGATION;
    if (initialisations == 0)
        return CO_E_NOTINITIALIZED;
    return qxos::CreateComponent(classId, iid, object);
}
