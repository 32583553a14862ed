/// Where the simulated hardware answers otherwise than the real hardware did.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "recording.h"

namespace rig::record {

/// A call with two answers.
struct Difference {
    std::uint64_t number; ///< the call's in the recording
    std::string question;
    std::string recorded;
    std::string simulated;
};

struct Comparison {
    std::size_t compared = 0;   ///< calls
    std::size_t unreturned = 0; ///< calls that have no answer
    std::size_t unopened = 0;   ///< calls on devices that the simulation did not open
    std::vector<Difference> differences;
};

/// Puts every recorded call to the rig of this process, at its recorded time. The hardware is that
/// of the scenario, or else what the recording shows of it: chips come and go as they did, and the
/// camera's outputs are what the host saw when it knew. Throws std::runtime_error if the scenario
/// is none.
///
/// These may differ from one PC or moment to another and are not compared: handles, addresses and
/// locations on the bus; versions of drivers and libraries; COM ports; what a call that failed left
/// in the host's variables; and how many bytes wait, if the host asks once more before it does
/// anything else with that device.
Comparison Compare(const Recording& recording,
                   const std::optional<std::string>& scenario = std::nullopt);

} // namespace rig::record
