/// The common base of the rig's WMI objects: IUnknown with reference counting.
#pragma once

#include <atomic>
#include <cstdint>
#include <cwchar>
#include <new>
#include <utility>

#include <oleauto.h>
#include <unknwn.h>

#include "value.h"

/// A method that the rig does not implement.
#define NOT_THERE(method, ...)                                                                     \
    HRESULT STDMETHODCALLTYPE method(__VA_ARGS__) override {                                       \
        return E_NOTIMPL;                                                                          \
    }

namespace rig::wbem {

/// The number of references that hosts hold, over all objects.
inline std::atomic<int> heldReferences{0};

/// An object with these interfaces; the first one also serves as its IUnknown. Starts with one
/// reference.
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
    /// The object's interface with this id, or null.
    virtual void* Find(REFIID id) = 0;

    std::atomic<ULONG> references{1};
};

/// Whether a text is a BSTR, by comparing its stored length; a plain wide text has none. Null is
/// valid.
inline bool IsBstr(BSTR text) {
    return text == nullptr || SysStringLen(text) == std::wcslen(text);
}

/// Creates the object for a call that succeeded, or sets *place to null if the call was refused.
/// Leaves *place alone if a fault replaced the call.
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
