#include "failing_memory.h"

#include <atomic>
#include <cstdlib>

namespace {

std::atomic<std::size_t> allocations = 0;
std::atomic<std::size_t> releases = 0;

struct Refusal {
    bool isArmed = false;
    std::size_t first = 0;
    std::size_t times = 0;
    std::size_t another = 0;
    std::size_t calls = 0;
    std::size_t made = 0;
};
thread_local Refusal refusal;

bool IsRefused() {
    if (!refusal.isArmed) {
        return false;
    }
    const std::size_t call = ++refusal.calls;
    const bool isRefused =
        (call >= refusal.first && call - refusal.first < refusal.times) || call == refusal.another;
    refusal.made += isRefused ? 1 : 0;
    return isRefused;
}

} // namespace

void* AllocateUnlessRefused(std::size_t size) noexcept {
    if (IsRefused()) {
        return nullptr;
    }
    ++allocations;
    return std::malloc(size != 0 ? size : 1);
}

void ReleaseAllocated(void* memory) noexcept {
    releases += memory != nullptr ? 1 : 0;
    std::free(memory);
}

std::size_t Allocations() {
    return allocations;
}

std::size_t Releases() {
    return releases;
}

FailingMemory::FailingMemory(std::size_t first, std::size_t times, std::size_t another) {
    refusal = {true, first, times, another, 0, 0};
}

FailingMemory::~FailingMemory() {
    refusal = {};
}

std::size_t FailingMemory::Refusals() const {
    return refusal.made;
}
