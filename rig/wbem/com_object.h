/// What the objects of the rig's WMI have in common: they live as long as somebody holds them.
#pragma once

#include <atomic>
#include <cstdint>
#include <cwchar>
#include <new>
#include <utility>

#include <oleauto.h>
#include <unknwn.h>

#include "value.h"

/// A method that no host of the rig uses.
#define NOT_THERE(method, ...)                                                                     \
    HRESULT STDMETHODCALLTYPE method(__VA_ARGS__) override {                                       \
        return E_NOTIMPL;                                                                          \
    }

namespace rig::wbem {

/// References to all objects that hosts hold.
inline std::atomic<int> heldReferences{0};

/// An object with these interfaces, the first of which is also what it is as an IUnknown. It is
/// made with one reference.
template <class Main, class... Others>
class ComObject : public Main, public Others... {
  public:
    ComObject() { ++heldReferences; }
    virtual ~ComObject() { heldReferences -= static_cast<int>(references.load()); }
    ComObject(const ComObject&) = delete;
    ComObject& operator=(const ComObject&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override {
        if (object == nullptr) {
            return E_POINTER;
        }
        *object = id == IID_IUnknown ? static_cast<Main*>(this) : Find(id);
        if (*object == nullptr) {
            return E_NOINTERFACE;
        }
        AddRef();
        return S_OK;
    }

    ULONG STDMETHODCALLTYPE AddRef() override {
        ++heldReferences;
        return ++references;
    }

    ULONG STDMETHODCALLTYPE Release() override {
        --heldReferences;
        const ULONG left = --references;
        if (left == 0) {
            delete this;
        }
        return left;
    }

  private:
    /// Its interface of that name, or null.
    virtual void* Find(REFIID id) = 0;

    std::atomic<ULONG> references{1};
};

/// Whether a text is one of COM's, which know their length; a null pointer is none, and as good.
inline bool IsBstr(BSTR text) {
    return text == nullptr || SysStringLen(text) == std::wcslen(text);
}

/// Hands out the object that a call was granted, or a null pointer if it was refused; nothing at
/// all if the call was at fault.
template <class Object, class Interface, class... Arguments>
HRESULT HandOut(std::uint32_t status, const Value& granted, Interface** place,
                Arguments&&... arguments) {
    if (!IsThere(granted)) {
        return static_cast<HRESULT>(status);
    }
    *place = nullptr;
    if (status != 0) {
        return static_cast<HRESULT>(status);
    }
    *place = new (std::nothrow) Object(std::forward<Arguments>(arguments)...);
    return *place != nullptr ? S_OK : E_OUTOFMEMORY;
}

} // namespace rig::wbem
