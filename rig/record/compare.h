/// Where the simulated hardware answers otherwise than the real hardware did.
#pragma once

#include <cstddef>
#include <cstdint>
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

/// Loads the scenario into the rig of this process and puts every recorded call to it, at its
/// recorded time. Throws std::runtime_error if that is no scenario.
///
/// These may differ from one PC or moment to another and are not compared: handles, addresses and
/// locations on the bus; versions of drivers and libraries; COM ports; what a call that failed left
/// in the host's variables; and how many bytes wait, if the host asks once more before it does
/// anything else with that device.
Comparison Compare(const Recording& recording, const std::string& scenario);

} // namespace rig::record
