/// Memory that runs out: allocations that are refused, and a count of those that are made. It
/// concerns the program or the module that links failing_operators.cpp.
#pragma once

#include <cstddef>

/// Blocks asked for and given back since the program began.
std::size_t Allocations();
std::size_t Releases();

/// Refuses allocations of the thread for as long as the object lives.
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

/// What the operators are made of. Null when the allocation is refused.
void* AllocateUnlessRefused(std::size_t size) noexcept;
void ReleaseAllocated(void* memory) noexcept;
