#include "failing_memory.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::size_t> allocations = 0;
std::atomic<std::size_t> releases = 0;

struct Refusal {
    bool isArmed = false;
    std::size_t first = 0; ///< counted down to the first one
    std::size_t times = 0;
    std::size_t made = 0;
};
thread_local Refusal refusal;

bool IsRefused() {
    if (!refusal.isArmed || --refusal.first > 0) {
        return false;
    }
    refusal.first = 1;
    if (refusal.made == refusal.times) {
        return false;
    }
    ++refusal.made;
    return true;
}

void* Allocate(std::size_t size) noexcept {
    if (IsRefused()) {
        return nullptr;
    }
    ++allocations;
    return std::malloc(size != 0 ? size : 1);
}

void* AllocateOrThrow(std::size_t size) {
    if (void* const memory = Allocate(size)) {
        return memory;
    }
    throw std::bad_alloc();
}

void Release(void* memory) noexcept {
    releases += memory != nullptr ? 1 : 0;
    std::free(memory);
}

} // namespace

// clang-format off
void* operator new(std::size_t size) { return AllocateOrThrow(size); }
void* operator new[](std::size_t size) { return AllocateOrThrow(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void operator delete(void* memory) noexcept { Release(memory); }
void operator delete[](void* memory) noexcept { Release(memory); }
void operator delete(void* memory, std::size_t) noexcept { Release(memory); }
void operator delete[](void* memory, std::size_t) noexcept { Release(memory); }
// clang-format on

std::size_t Allocations() {
    return allocations;
}

std::size_t Releases() {
    return releases;
}

FailingMemory::FailingMemory(std::size_t first, std::size_t times) {
    refusal = {true, first, times, 0};
}

FailingMemory::~FailingMemory() {
    refusal = {};
}

std::size_t FailingMemory::Refusals() const {
    return refusal.made;
}
