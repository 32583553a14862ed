/// The operations of a controller as a host uses them, each with what a host may be answered.
#pragma once

#include <array>
#include <cstddef>

#include "solvane_interface.h"

namespace fuzz {

using SLV::Internal::SolvaneInterface;

/// A set of statuses.
class Statuses {
  public:
    template <typename... Status>
    constexpr explicit Statuses(Status... statuses) : bits((0U | ... | Bit(statuses))) {}

    constexpr Statuses operator+(Statuses more) const { return Statuses(Raw{}, bits | more.bits); }
    constexpr bool Has(short status) const {
        return status <= 0 && status > -32 && (bits & Bit(status)) != 0;
    }

  private:
    struct Raw {};
    constexpr Statuses(Raw, unsigned raw) : bits(raw) {}

    static constexpr unsigned Bit(int status) { return 1U << -status; }

    unsigned bits;
};

enum class Does { Ask, Act, Trigger };

struct Operation {
    const char* name;
    short (*call)(SolvaneInterface&, short* out); ///< `out` is used by questions alone
    Does does;
    Statuses statuses; ///< its own
    bool isGated;      ///< answers the gate's statuses besides
    short unreadable;  ///< of a question: the answer when no pin can be read
};

extern const std::array<Operation, 17> kOperations;

/// What a host saw of a call.
struct Outcome {
    const Operation* operation;
    short status;
    short answer; ///< of a question; 0 when there is none
    bool isAnswered;
};

/// Calls an operation and checks what came of it: a documented status; an answer of 0 or 1 when it
/// succeeded, an untouched value when it did not; the timer resolution as it was before.
Outcome Perform(SolvaneInterface& controller, std::size_t index, bool withoutPointer,
                Statuses gate);

} // namespace fuzz
