/// What the objects of the rig's WMI have in common: they live as long as somebody holds them.
#pragma once

#include <atomic>
#include <utility>

#include <unknwn.h>

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

/// Makes an object and hands out one interface of it.
template <class Object, class... Arguments>
HRESULT HandOut(REFIID id, void** object, Arguments&&... arguments) {
    auto* const made = new Object(std::forward<Arguments>(arguments)...);
    const HRESULT status = made->QueryInterface(id, object);
    made->Release();
    return status;
}

} // namespace rig::wbem
