/// What the library does to memory while two threads are in it. Its sources are compiled for
/// ThreadSanitizer, which has them tell of each access, and this listens in the sanitizer's place:
/// two threads may be switched at each access to an atomic, and all others are looked at.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace proof {

/// An access to an atomic. `value` is what was read or written.
struct AtomicAccess {
    std::size_t size;
    bool isWrite;
    std::uint64_t value;
};

class WatchedMemory {
  public:
    /// Begins afresh. Called after each access to an atomic, on its thread.
    static void Start(std::function<void(const AtomicAccess&)> onAtomic);

    /// What was wrong since then, empty if nothing was: two threads that access the same bytes
    /// without order, one of them writing; a block used after it was given back, or given back
    /// twice; more or fewer blocks left than so many.
    static std::string End(std::size_t left);

    // What one thread does before is over for the other one after.
    static void Release(const void* place);
    static void Acquire(const void* place);
};

/// Whether the thread that runs is in the library, for as long as the object lives. The library's
/// are the blocks that are asked for there.
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
