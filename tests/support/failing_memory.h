/// Memory that runs out: allocations of the C++ program that are refused, and a count of those that
/// are made. A program that links failing_memory.cpp has its operators new and delete.
#pragma once

#include <cstddef>

/// Blocks asked for and given back since the program began.
std::size_t Allocations();
std::size_t Releases();

/// Refuses allocations of the thread for as long as the object lives.
class FailingMemory {
  public:
    static constexpr std::size_t kForEver = ~std::size_t{0};

    /// From the n-th allocation on (1 is the next), so many times.
    FailingMemory(std::size_t first, std::size_t times);
    ~FailingMemory();
    FailingMemory(const FailingMemory&) = delete;
    FailingMemory& operator=(const FailingMemory&) = delete;

    std::size_t Refusals() const;
};
