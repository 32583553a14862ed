/// What rig_wbem.dll forwards to, and the rig's own question about WMI.
#include <solvane/rig.h>

#include <new>

#include <wbemidl.h>

#include "com_object.h"
#include "wbem_factory.h"

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
    try {
        return HandOut<WbemFactory>(id, object);
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

/// Hardware does not vanish while nobody talks to it: the answer is no.
HRESULT STDMETHODCALLTYPE solvane_wbem_can_unload_now() {
    return S_FALSE;
}

} // extern "C"

int rig_wbem_interfaces(void) {
    return heldReferences;
}
