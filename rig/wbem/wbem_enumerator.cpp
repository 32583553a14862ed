#include "wbem_enumerator.h"

#include <algorithm>

#include "wbem_call.h"

namespace rig::wbem {

HRESULT STDMETHODCALLTYPE WbemEnumerator::Next(LONG timeout, ULONG count,
                                               IWbemClassObject** objects, ULONG* returned) {
    const auto work = [&](VendorCall& call) {
        if (count == 0 || objects == nullptr || returned == nullptr) {
            return kInvalidParameter;
        }
        const std::size_t left = instances.size() - position;
        const auto there = static_cast<std::uint32_t>(std::min<std::size_t>(count, left));
        const std::uint32_t reported = call.Count(there);
        // A count that lies is still followed by as many objects as there is room for: those
        // beyond the last instance have no properties.
        const std::size_t given = std::min<std::size_t>(count, reported);
        std::vector<ObjectPointer> made;
        made.reserve(given);
        for (std::size_t i = 0; i < given; ++i) {
            const bool isThere = i < there;
            made.emplace_back(new WbemObject(isThere ? instances[position + i] : Instance{}));
        }
        for (std::size_t i = 0; i < given; ++i) {
            objects[i] = made[i].release();
        }
        position += std::min<std::size_t>(given, there);
        *returned = reported;
        call.Output(Describe(*returned));
        const bool isTold = call.Count(0) == call.Count(1); // by a fault, which goes with success
        return reported < count && !isTold ? kFewerThanAskedFor : S_OK;
    };
    return Serve("IEnumWbemClassObject::Next", work, timeout, count);
}

void* WbemEnumerator::Find(REFIID id) {
    return id == IID_IEnumWbemClassObject ? static_cast<IEnumWbemClassObject*>(this) : nullptr;
}

} // namespace rig::wbem
