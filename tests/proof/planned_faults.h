/// Plans a fault for each call that an operation makes.
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
    const FailureMode* mode;
    bool isOfSystem;           ///< a function of Windows, not of a vendor's
    std::string question = {}; ///< a vendor call's function and arguments on healthy hardware
};

std::string Text(const PlannedFault& planned);

/// Counts the calls from construction on; the operation runs on healthy hardware.
class CallCount {
  public:
    CallCount();

    /// Every vendor call in every way, once and from then on; and the whole interface dead from
    /// each call on.
    std::vector<PlannedFault> OfVendors(const Kind& kind) const;

    /// The same for these functions of Windows; there must be no calls of others.
    std::vector<PlannedFault> OfSystem(const std::vector<VendorFunction>& functions) const;

  private:
    /// Each call with its arguments: "FT_Close(SLV1B)"; for one that is at fault already only
    /// "FT_Close(".
    std::vector<std::string> VendorCalls() const;

    std::size_t journalBefore;
    std::map<std::string, std::uint32_t> systemBefore;
};

/// Activates the fault. False if there is no such function.
bool Arm(const PlannedFault& planned);

/// Whether the fault has occurred since then, with its status in the vendor call's result.
bool HasHappened(const PlannedFault& planned, std::size_t journalBefore);

/// Lifts every fault.
void Disarm();

} // namespace proof
