/// The rig's COM entry points: what rig_wbem.dll forwards to, the class object and the locator; and
/// the rig's own question about it.
#include <solvane/rig.h>

#include <wbemidl.h>

#include "call.h"
#include "com_object.h"
#include "wbem_services.h"
#include "wbem_status.h"

namespace rig::wbem {

namespace {

class WbemLocator final : public ComObject<IWbemLocator> {
  public:
    HRESULT STDMETHODCALLTYPE ConnectServer(BSTR path, BSTR user, BSTR password, BSTR locale,
                                            LONG flags, BSTR authority, IWbemContext* context,
                                            IWbemServices** services) override {
        if (!IsBstr(path)) {
            return kInvalidParameter;
        }
        Value granted;
        const std::uint32_t status =
            Ask(Function::ConnectServer, services != nullptr ? &granted : nullptr, path, user,
                password, locale, flags, authority, context);
        return HandOut<WbemServices>(status, granted, services);
    }

  private:
    void* Find(REFIID id) override {
        return id == IID_IWbemLocator ? static_cast<IWbemLocator*>(this) : nullptr;
    }
};

class WbemFactory final : public ComObject<IClassFactory> {
  public:
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID id, void** object) override {
        const Value name = std::string(id == IID_IWbemLocator ? "IWbemLocator"
                                       : id == IID_IUnknown   ? "IUnknown"
                                                              : kUnknownInterface);
        Value granted;
        const std::uint32_t status =
            Ask(Function::CreateInstance, object != nullptr ? &granted : nullptr, outer, &name);
        IWbemLocator* locator = nullptr;
        const HRESULT result = HandOut<WbemLocator>(status, granted, &locator);
        if (IsThere(granted)) {
            *object = locator;
        }
        return result;
    }
    NOT_THERE(LockServer, BOOL)

  private:
    void* Find(REFIID id) override {
        return id == IID_IClassFactory ? static_cast<IClassFactory*>(this) : nullptr;
    }
};

} // namespace

} // namespace rig::wbem

using namespace rig::wbem;

extern "C" {

HRESULT STDMETHODCALLTYPE solvane_wbem_get_class_object(REFCLSID classId, REFIID id,
                                                        void** object) {
    if (object == nullptr) {
        return E_POINTER;
    }
    *object = nullptr;
    if (!(classId == CLSID_WbemLocator)) {
        return CLASS_E_CLASSNOTAVAILABLE;
    }
    auto* const factory = new (std::nothrow) WbemFactory;
    if (factory == nullptr) {
        return E_OUTOFMEMORY;
    }
    const HRESULT status = factory->QueryInterface(id, object);
    factory->Release();
    return status;
}

/// Hardware does not vanish while nobody talks to it: the answer is no.
HRESULT STDMETHODCALLTYPE solvane_wbem_can_unload_now() {
    return S_FALSE;
}

} // extern "C"

int rig_wbem_interfaces(void) {
    return heldReferences;
}
