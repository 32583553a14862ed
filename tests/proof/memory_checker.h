/// Finds data races and misused heap blocks while two threads are in the library. Its sources are
/// compiled for ThreadSanitizer, whose hooks this file provides: at each access to an atomic the
/// threads may be switched, every other access is checked.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace proof {

/// An access to an atomic, with the value read or written.
struct AtomicAccess {
    std::size_t size;
    bool isWrite;
    std::uint64_t value;
};

class MemoryChecker {
  public:
    /// Forgets everything before. The function is called after each access to an atomic, on its
    /// thread.
    static void Start(std::function<void(const AtomicAccess&)> onAtomic);

    /// The complaint since then, empty if there is none: a data race, a block used after it was
    /// freed or freed twice, another number of blocks left than `left`.
    static std::string End(std::size_t left);

    // What one thread did before Release() happened before what another does after Acquire().
    static void Release(const void* place);
    static void Acquire(const void* place);
};

/// While it lives, the running thread counts as inside the library or outside. Blocks allocated
/// inside are the library's.
class InLibrary {
  public:
    explicit InLibrary(bool is);
    ~InLibrary();
    InLibrary(const InLibrary&) = delete;
    InLibrary& operator=(const InLibrary&) = delete;

  private:
    bool was;
};

} // namespace proof
