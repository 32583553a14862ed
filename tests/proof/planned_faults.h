/// Which calls an operation made, and how to have each of them go wrong.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "proof_kinds.h"

namespace proof {

/// A fault and when it happens.
struct PlannedFault {
    std::string function;
    std::uint32_t call;  ///< counted from 1 from the operation on
    std::uint32_t times; ///< 0: every call from then on
    const Way* way;
    bool isOfSystem;           ///< a function of Windows, not of a vendor's
    std::string question = {}; ///< of a vendor's: what that call asks for on hardware that works
};

std::string Text(const PlannedFault& planned);

/// Counts the calls of an operation on hardware that works, made between construction and a look.
class CallCount {
  public:
    CallCount();

    /// Every vendor call in every way, once and from then on, and all that follow dead.
    std::vector<PlannedFault> OfVendors(const Kind& kind) const;

    /// Every call of these functions of Windows; there must be no others.
    std::vector<PlannedFault> OfSystem(const std::vector<VendorFunction>& functions) const;

  private:
    /// What each asked: "FT_Close(SLV1B)"; the name alone of one that is at fault already:
    /// "FT_Close(".
    std::vector<std::string> VendorCalls() const;

    std::size_t journalBefore;
    std::map<std::string, std::uint32_t> systemBefore;
};

/// Plans the fault, from now on. False if there is no such function.
bool Arm(const PlannedFault& planned);

/// Whether it has gone wrong since then, and the vendor's call said so.
bool HasHappened(const PlannedFault& planned, std::size_t journalBefore);

/// Lifts every fault.
void Disarm();

} // namespace proof
