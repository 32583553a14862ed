/// Refuses and counts allocations of the program or module that links failing_operators.cpp.
#pragma once

#include <cstddef>

/// Blocks allocated and released since the program began.
std::size_t Allocations();
std::size_t Releases();

/// Refuses allocations of the thread while it lives.
class FailingMemory {
  public:
    static constexpr std::size_t kForEver = ~std::size_t{0};

    /// From the n-th allocation on (1 is the next), so many times; and another one (0: none).
    FailingMemory(std::size_t first, std::size_t times, std::size_t another = 0);
    ~FailingMemory();
    FailingMemory(const FailingMemory&) = delete;
    FailingMemory& operator=(const FailingMemory&) = delete;

    std::size_t Refusals() const;
};

/// For the operators. Null when the allocation is refused.
void* AllocateUnlessRefused(std::size_t size) noexcept;
void ReleaseAllocated(void* memory) noexcept;
