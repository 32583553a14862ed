#include "wbem_factory.h"

#include "wbem_call.h"
#include "wbem_locator.h"

namespace rig::wbem {

HRESULT STDMETHODCALLTYPE WbemFactory::CreateInstance(IUnknown* outer, REFIID id, void** object) {
    const auto work = [&](VendorCall&) {
        if (object == nullptr) {
            return E_POINTER;
        }
        *object = nullptr;
        return outer == nullptr ? HandOut<WbemLocator>(id, object) : CLASS_E_NOAGGREGATION;
    };
    return Serve("IClassFactory::CreateInstance", work, outer, id);
}

void* WbemFactory::Find(REFIID id) {
    return id == IID_IClassFactory ? static_cast<IClassFactory*>(this) : nullptr;
}

} // namespace rig::wbem
