#include "host_memory.h"

#include <vector>

#include <sys/mman.h>
#include <unistd.h>

namespace rig::record {

/// Whether the memory is mapped; its protection is not looked at.
bool IsReadable(std::uint64_t address, std::size_t size) {
    const auto page = static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
    const std::uint64_t first = address / page * page;
    const std::uint64_t length = address + size - first;
    if (address + size < address) {
        return false;
    }
    std::vector<unsigned char> residence(length / page + 1);
    return mincore(reinterpret_cast<void*>(first), length, residence.data()) == 0;
}

} // namespace rig::record
