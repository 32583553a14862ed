#include "wbem_enumerator.h"

#include <algorithm>

#include "call.h"
#include "wbem_status.h"

namespace rig::wbem {

HRESULT STDMETHODCALLTYPE WbemEnumerator::Next(LONG timeout, ULONG count,
                                               IWbemClassObject** objects, ULONG* returned) {
    const std::size_t left = instances.size() - position;
    Value reported;
    Value* const place = objects != nullptr && returned != nullptr ? &reported : nullptr;
    const auto status = static_cast<HRESULT>(Ask(Function::Next, place, left, timeout, count));
    if (!IsThere(reported)) {
        return status;
    }
    // A count that lies changes nothing of the objects: there may be one without a count, and a
    // count without one.
    try {
        std::vector<ObjectPointer> made(std::min<std::size_t>(count, left));
        for (ObjectPointer& object : made) {
            object.reset(new WbemObject(instances[position++]));
        }
        std::transform(made.begin(), made.end(), objects,
                       [](ObjectPointer& object) { return object.release(); });
    } catch (...) {
        return kOutOfMemory;
    }
    *returned = static_cast<ULONG>(Number(reported));
    return status;
}

void* WbemEnumerator::Find(REFIID id) {
    return id == IID_IEnumWbemClassObject ? static_cast<IEnumWbemClassObject*>(this) : nullptr;
}

} // namespace rig::wbem
