#include "memory_checker.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <map>
#include <new>
#include <utility>
#include <vector>

#include "thread_scheduler.h"

// The ends of the program's variables.
extern "C" char __data_start;
extern "C" char _end;

namespace proof {

namespace {

enum Kind : std::uint8_t { kRead, kWrite, kAtomicRead, kAtomicWrite };

constexpr bool AreInConflict(Kind one, Kind other) {
    const auto writes = [](Kind kind) { return kind == kWrite || kind == kAtomicWrite; };
    const auto isAtomic = [](Kind kind) { return kind == kAtomicRead || kind == kAtomicWrite; };
    return (writes(one) || writes(other)) && !(isAtomic(one) && isAtomic(other));
}

/// A vector clock of the two threads.
using Clock = std::array<std::uint32_t, 2>;

/// When a thread last accessed a byte in each way; 0: never.
using Accesses = std::array<std::uint32_t, 4>;
constexpr Accesses kNever{};
using Byte = std::array<Accesses, 2>; ///< of each thread

/// A block of the library's. Its memory is kept until the schedule is over.
struct Block {
    unsigned char* begin;
    std::size_t size;
    bool isGivenBack;
    std::vector<Byte> bytes;
};

constexpr unsigned char kGivenBack = 0xDD;
constexpr std::size_t kManyBlocks = 256;

bool isWatching = false;
std::array<bool, 3> isInLibrary{};
std::vector<Block> blocks;
std::vector<Byte> variables(static_cast<std::size_t>(&_end - &__data_start));
std::map<const void*, Clock> released;
std::array<Clock, 2> clocks;
std::string complaint;
std::function<void(const AtomicAccess&)> tell;

void Complain(const char* what) {
    if (complaint.empty()) {
        complaint = what;
    }
}

Block* BlockOf(const void* address) {
    const auto* const byte = static_cast<const unsigned char*>(address);
    const auto block = std::ranges::find_if(
        blocks, [&](const Block& one) { return byte >= one.begin && byte < one.begin + one.size; });
    return block != blocks.end() ? &*block : nullptr;
}

void Access(Byte& byte, std::size_t self, Kind kind) {
    const std::size_t other = 1 - self;
    if (byte[other] != kNever) {
        for (const Kind before : {kRead, kWrite, kAtomicRead, kAtomicWrite}) {
            if (AreInConflict(kind, before) && byte[other][before] > clocks[self][other]) {
                Complain("two threads access the same bytes without order");
            }
        }
    }
    byte[self][kind] = clocks[self][self];
}

/// Stacks are each thread's own.
void Access(const void* address, std::size_t size, Kind kind) {
    if (!isWatching) {
        return;
    }
    const InLibrary outside(false);
    Block* const block = BlockOf(address);
    const std::size_t self = scheduler.Running();
    if (block != nullptr) {
        const auto offset =
            static_cast<std::size_t>(static_cast<const unsigned char*>(address) - block->begin);
        if (block->isGivenBack) {
            Complain("a block is used after it was given back");
        }
        for (std::size_t i = offset; i < std::min(offset + size, block->size); ++i) {
            if (self != ThreadScheduler::kNeither) {
                Access(block->bytes[i], self, kind);
            }
        }
    } else if (self != ThreadScheduler::kNeither && address >= &__data_start && address < &_end) {
        const auto offset =
            static_cast<std::size_t>(static_cast<const char*>(address) - &__data_start);
        for (std::size_t i = 0; i < size; ++i) {
            Access(variables[offset + i], self, kind);
        }
    }
}

// Memory orders of <stdatomic.h>: 0 relaxed, 1 consume, 2 acquire, 3 release, 4 both, 5 sequential.

void AtomicallyRead(const volatile void* address, std::size_t size, int order) {
    const void* const place = const_cast<const void*>(address);
    Access(place, size, kAtomicRead);
    if (order != 0 && order != 3) {
        MemoryChecker::Acquire(place);
    }
}

void AtomicallyWritten(const volatile void* address, std::size_t size, int order) {
    const void* const place = const_cast<const void*>(address);
    Access(place, size, kAtomicWrite);
    if (order >= 3) {
        MemoryChecker::Release(place);
    }
}

void Report(const AtomicAccess& access) {
    if (isWatching && tell) {
        const InLibrary outside(false);
        tell(access);
    }
}

void MayBePreempted() {
    const InLibrary outside(false);
    scheduler.MayBePreempted();
}

template <typename Value>
Value Load(const volatile Value* address, int order) {
    MayBePreempted();
    AtomicallyRead(address, sizeof *address, order);
    const Value value = *address;
    Report({sizeof value, false, static_cast<std::uint64_t>(value)});
    return value;
}

template <typename Value>
void Store(volatile Value* address, Value value, int order) {
    MayBePreempted();
    AtomicallyWritten(address, sizeof *address, order);
    *address = value;
    Report({sizeof value, true, static_cast<std::uint64_t>(value)});
}

template <typename Value>
int CompareExchange(volatile Value* address, Value* expected, Value desired, int order,
                    int orderOfFailure) {
    MayBePreempted();
    const Value present = *address;
    const bool isExchanged = present == *expected;
    AtomicallyRead(address, sizeof *address, isExchanged ? order : orderOfFailure);
    if (isExchanged) {
        AtomicallyWritten(address, sizeof *address, order);
        *address = desired;
    }
    *expected = present;
    return isExchanged ? 1 : 0;
}

void* Allocate(std::size_t size) {
    void* const memory = std::malloc(size != 0 ? size : 1);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    if (isWatching && std::exchange(isInLibrary[scheduler.Running()], false)) {
        blocks.push_back({static_cast<unsigned char*>(memory), size, false, {}});
        blocks.back().bytes.resize(size);
        isInLibrary[scheduler.Running()] = true;
    }
    return memory;
}

void GiveBack(void* memory) {
    const auto block = std::ranges::find(blocks, memory, &Block::begin);
    if (memory == nullptr || block == blocks.end()) {
        std::free(memory);
        return;
    }
    if (block->isGivenBack) {
        Complain("a block is given back twice");
    }
    Access(memory, block->size, kWrite);
    block->isGivenBack = true;
    std::memset(memory, kGivenBack, block->size);
}

} // namespace

void MemoryChecker::Start(std::function<void(const AtomicAccess&)> onAtomic) {
    released.clear();
    // Everything before happened before, for both.
    clocks[0] = {clocks[0][0] + 1, clocks[1][1]};
    clocks[1] = {clocks[0][0] - 1, clocks[1][1] + 1};
    complaint.clear();
    tell = std::move(onAtomic);
    isInLibrary = {};
    blocks.reserve(kManyBlocks); // no allocation while blocks are searched
    isWatching = true;
}

std::string MemoryChecker::End(std::size_t left) {
    isWatching = false;
    std::size_t kept = 0;
    for (const Block& block : std::exchange(blocks, {})) {
        const bool isWritten = block.isGivenBack &&
                               !std::all_of(block.begin, block.begin + block.size,
                                            [](unsigned char byte) { return byte == kGivenBack; });
        if (isWritten) {
            Complain("a block is written to after it was given back");
        }
        kept += block.isGivenBack ? 0 : 1;
        std::free(block.begin);
    }
    if (kept != left) {
        Complain("another number of blocks is left than expected");
    }
    return complaint;
}

void MemoryChecker::Release(const void* place) {
    const InLibrary outside(false);
    if (const std::size_t self = scheduler.Running(); self != ThreadScheduler::kNeither) {
        released[place] = clocks[self];
        ++clocks[self][self];
    }
}

void MemoryChecker::Acquire(const void* place) {
    const std::size_t self = scheduler.Running();
    const auto before = released.find(place);
    if (self != ThreadScheduler::kNeither && before != released.end()) {
        const std::size_t other = 1 - self;
        clocks[self][other] = std::max(clocks[self][other], before->second[other]);
    }
}

InLibrary::InLibrary(bool is) : was(std::exchange(isInLibrary[scheduler.Running()], is)) {}

InLibrary::~InLibrary() {
    isInLibrary[scheduler.Running()] = was;
}

} // namespace proof

void* operator new(std::size_t size) {
    return proof::Allocate(size);
}
void operator delete(void* memory) noexcept {
    proof::GiveBack(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    proof::GiveBack(memory);
}

// The hooks of ThreadSanitizer.

using proof::Access;

extern "C" {

void __tsan_init() {}
void __tsan_func_entry(void*) {}
void __tsan_func_exit() {}
void __tsan_vptr_update(void** place, void*) {
    Access(place, sizeof *place, proof::kWrite);
}
void __tsan_read_range(void* address, std::size_t size) {
    Access(address, size, proof::kRead);
}
void __tsan_write_range(void* address, std::size_t size) {
    Access(address, size, proof::kWrite);
}

#define ACCESSES_OF(size)                                                                          \
    void __tsan_read##size(void* address) {                                                        \
        Access(address, size, proof::kRead);                                                       \
    }                                                                                              \
    void __tsan_write##size(void* address) {                                                       \
        Access(address, size, proof::kWrite);                                                      \
    }
ACCESSES_OF(1)
ACCESSES_OF(2)
ACCESSES_OF(4)
ACCESSES_OF(8)
ACCESSES_OF(16)

#define ATOMICS_OF(bits, Value)                                                                    \
    Value __tsan_atomic##bits##_load(const volatile Value* address, int order) {                   \
        return proof::Load(address, order);                                                        \
    }                                                                                              \
    void __tsan_atomic##bits##_store(volatile Value* address, Value value, int order) {            \
        proof::Store(address, value, order);                                                       \
    }                                                                                              \
    int __tsan_atomic##bits##_compare_exchange_strong(                                             \
        volatile Value* address, Value* expected, Value desired, int order, int orderOfFailure) {  \
        return proof::CompareExchange(address, expected, desired, order, orderOfFailure);          \
    }
ATOMICS_OF(8, std::uint8_t)
ATOMICS_OF(32, std::uint32_t)
ATOMICS_OF(64, std::uint64_t)

} // extern "C"
