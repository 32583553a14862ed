/// The operators new and delete of a program or of a module, over memory that can be refused.

#include <new>

#include "failing_memory.h"

namespace {

void* AllocateOrThrow(std::size_t size) {
    if (void* const memory = AllocateUnlessRefused(size)) {
        return memory;
    }
    throw std::bad_alloc();
}

} // namespace

// clang-format off
void* operator new(std::size_t size) { return AllocateOrThrow(size); }
void* operator new[](std::size_t size) { return AllocateOrThrow(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return AllocateUnlessRefused(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return AllocateUnlessRefused(size); }
void operator delete(void* memory) noexcept { ReleaseAllocated(memory); }
void operator delete[](void* memory) noexcept { ReleaseAllocated(memory); }
void operator delete(void* memory, std::size_t) noexcept { ReleaseAllocated(memory); }
void operator delete[](void* memory, std::size_t) noexcept { ReleaseAllocated(memory); }
// clang-format on
