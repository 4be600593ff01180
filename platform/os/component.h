// Components: objects that are made by the id of their class and known by their interfaces alone.
//
// On Windows the interface types are the system's own. Elsewhere a registry within the process stands in for
// the system's: whoever supplies a component registers a factory under the class id, and CoCreateInstance
// finds it there.
#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <string>

#include "platform/export.h"
#include "platform/os/com_error.h"

#if defined(_WIN32)

#include <objbase.h>
#include <oleauto.h>

#else

#define STDMETHODCALLTYPE

using ULONG = unsigned int;
using VARIANT_BOOL = short;
constexpr VARIANT_BOOL VARIANT_TRUE = -1;
constexpr VARIANT_BOOL VARIANT_FALSE = 0;

struct GUID {
    unsigned int Data1;
    unsigned short Data2;
    unsigned short Data3;
    unsigned char Data4[8];
};
using CLSID = GUID;
using IID = GUID;
using REFCLSID = const CLSID&;
using REFIID = const IID&;

constexpr bool operator==(const GUID& a, const GUID& b) {
    if (a.Data1 != b.Data1 || a.Data2 != b.Data2 || a.Data3 != b.Data3)
        return false;
    for (int i = 0; i < 8; ++i) {
        if (a.Data4[i] != b.Data4[i])
            return false;
    }
    return true;
}
constexpr bool operator!=(const GUID& a, const GUID& b) {
    return !(a == b);
}

inline constexpr IID IID_IUnknown{0, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IDispatch{0x00020400, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

// The base of all interfaces: asking for another interface, and counting of references.
class QXSENG2_API IUnknown {
  public:
    // S_OK and one more reference in `*object`; else E_NOINTERFACE and null there.
    virtual HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) = 0;
    // Both return the new count, for debugging only.
    virtual ULONG STDMETHODCALLTYPE AddRef() = 0;
    virtual ULONG STDMETHODCALLTYPE Release() = 0;

  protected:
    ~IUnknown() = default;
};

// Marks the interfaces that the system's component model can also call by name. Nothing calls by name here,
// so there is nothing in it.
class QXSENG2_API IDispatch : public IUnknown {
  protected:
    ~IDispatch() = default;
};

// Text with its length, which may hold zero characters; a zero follows the last one. Owned by whoever
// allocated it; an argument of this type belongs to the caller.
using BSTR = wchar_t*;
// `count` characters of `text`, or with a null `text` that many characters left undefined. Null when there is
// no memory.
QXSENG2_API BSTR SysAllocStringLen(const wchar_t* text, unsigned int count);
// Null is ignored.
QXSENG2_API void SysFreeString(BSTR text);
// Characters; of null 0.
QXSENG2_API unsigned int SysStringLen(BSTR text);

enum CLSCTX : unsigned int { CLSCTX_ALL = 0x17 };

// A thread that makes components is initialised before and uninitialised afterwards; calls may be nested.
// S_OK, or S_FALSE when the thread was initialised already. `reserved` is null.
QXSENG2_API HRESULT CoInitialize(void* reserved);
QXSENG2_API void CoUninitialize();
// qxos::CreateComponent on an initialised thread, else CO_E_NOTINITIALIZED. `outer` is null
// (CLASS_E_NOAGGREGATION otherwise), `context` is not looked at.
QXSENG2_API HRESULT CoCreateInstance(REFCLSID classId, IUnknown* outer, unsigned int context, REFIID iid,
                                     void** object);

#endif

namespace qxos {

// Makes an object of the class and gives its interface `iid` with one reference, as QueryInterface does.
// Called on the thread that asks for the object, and on several at once.
using ComponentFactory = std::function<HRESULT(REFIID iid, void** object)>;

// Any thread. A second registration takes the place of the first.
QXSENG2_API void RegisterComponent(REFCLSID classId, ComponentFactory factory);
// False when nothing was registered. Objects that exist live on.
QXSENG2_API bool UnregisterComponent(REFCLSID classId);
// Any thread. REGDB_E_CLASSNOTREG and a null object when there is no such class, E_POINTER for a null
// `object`, else what the factory returns; what the factory throws leaves.
QXSENG2_API HRESULT CreateComponent(REFCLSID classId, REFIID iid, void** object);

// The reason behind the failure code that a component is about to return, in the words of the component: a
// failure code alone says little. One text for each thread; Take gives it and forgets it. A caller takes it
// right before the call too, so that no older text is left.
QXSENG2_API void SetComponentErrorText(const std::string& text);
QXSENG2_API std::string TakeComponentErrorText();

// One counted reference, or null. As safe as a plain pointer: one thread at a time. What Release throws is
// dropped, since references end while failures unwind.
template <class Interface>
class ComponentPtr {
  public:
    ComponentPtr() = default;
    ~ComponentPtr() { Reset(); }
    ComponentPtr(const ComponentPtr&) = delete;
    ComponentPtr& operator=(const ComponentPtr&) = delete;

    Interface* Get() const { return pointer; }
    Interface* operator->() const { return pointer; }
    explicit operator bool() const { return pointer != nullptr; }
    // For out-parameters that bring a reference; drops the present one.
    Interface** Receive() {
        Reset();
        return &pointer;
    }
    void Reset() noexcept {
        Interface* const old = pointer;
        pointer = nullptr;
        try {
            if (old != nullptr)
                old->Release();
        } catch (...) {
        }
    }

  private:
    Interface* pointer = nullptr;
};

// What every component object needs, for implementations of `Interface`: counting from one reference on,
// deletion with the last, and the interface under each of the ids.
//
//   class Factory final : public qxos::ComponentObject<IFactory, &IID_IUnknown, &IFactory::Iid> { ... };
//   qxos::RegisterComponent(id, [](REFIID iid, void** object) { return qxos::MakeComponent<Factory>(iid,
//   object); });
template <class Interface, const IID*... Ids>
class ComponentObject : public Interface {
  public:
    ComponentObject(const ComponentObject&) = delete;
    ComponentObject& operator=(const ComponentObject&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        if (object == nullptr)
            return E_POINTER;
        *object = nullptr;
        if (!((iid == *Ids) || ...))
            return E_NOINTERFACE;
        *object = static_cast<Interface*>(this);
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = --references;
        if (left == 0)
            delete this;
        return left;
    }

  protected:
    ComponentObject() = default;
    virtual ~ComponentObject() = default;

  private:
    std::atomic<ULONG> references{1};
};

// A new `Object` with one reference, as the interface `iid`. For factories.
template <class Object>
HRESULT MakeComponent(REFIID iid, void** object) {
    Object* const made = new Object();
    const HRESULT result = made->QueryInterface(iid, object);
    made->Release();
    return result;
}

// What component objects of a library count against: while one lives, the library must stay loaded. Any
// thread.
class QXSENG2_API ComponentModule {
  public:
    void Lock() { ++locks; }
    void Unlock() { --locks; }
    int GetLockCount() const { return locks; }

  private:
    std::atomic<int> locks{0};
};

// A component object within another object, which ends it: it counts its references but does not go with the
// last one. `Base` names its interface (`using Interface = …`, which has an `Iid`) and its module (`static
// ComponentModule& Module()`), and lets go of other components in `FinalRelease()`: those may still drop
// references to this object then, which is whole.
template <class Base>
class CComObject final : public Base {
  public:
    CComObject() { Base::Module().Lock(); }
    ~CComObject() override {
        this->FinalRelease();
        Base::Module().Unlock();
    }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        if (object == nullptr)
            return E_POINTER;
        *object = nullptr;
        if (iid != IID_IUnknown && iid != Base::Interface::Iid)
            return E_NOINTERFACE;
        *object = static_cast<typename Base::Interface*>(this);
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }
    ULONG STDMETHODCALLTYPE Release() override { return --references; }

  private:
    std::atomic<ULONG> references{0};
};

}  // namespace qxos
