#include "host_memory.h"

#include <windows.h>

namespace rig::record {

bool IsReadable(std::uint64_t address, std::size_t size) {
    const std::uint64_t end = address + size;
    if (end < address) {
        return false;
    }
    // What lies between this function's own variables and the end of the stack is in use.
    ULONG_PTR lowest = 0;
    ULONG_PTR highest = 0;
    GetCurrentThreadStackLimits(&lowest, &highest);
    if (address > reinterpret_cast<std::uintptr_t>(&lowest) && end <= highest) {
        return true;
    }
    for (std::uint64_t next = address; next < end;) {
        MEMORY_BASIC_INFORMATION region{};
        if (VirtualQuery(reinterpret_cast<const void*>(next), &region, sizeof region) == 0 ||
            region.State != MEM_COMMIT || (region.Protect & (PAGE_NOACCESS | PAGE_GUARD)) != 0 ||
            (region.Protect & ~DWORD{PAGE_EXECUTE}) == 0) {
            return false;
        }
        next = reinterpret_cast<std::uintptr_t>(region.BaseAddress) + region.RegionSize;
    }
    return true;
}

} // namespace rig::record
