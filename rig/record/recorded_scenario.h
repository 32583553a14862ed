/// The scenario of a recording: with it, the rig does to a host what the real hardware did.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "recording.h"

namespace rig::record {

/// A call that the rig answers otherwise than the real hardware did.
struct OtherAnswer {
    std::uint64_t number; ///< the call's in the recording
    std::string recorded; ///< as in a journal
    std::string simulated;
};

struct RecordedScenario {
    std::string text;       ///< TOML; its comments tell what could not be expressed
    std::size_t calls = 0;  ///< that have returned
    std::size_t faults = 0; ///< calls that needed an action of the scenario
    std::vector<OtherAnswer> others;
};

/// The hardware that was there, and a session with what happened to it: a chip that is unplugged,
/// a camera that becomes ready, a fault, each at its call. The scenario was run: its journal has
/// the recording's calls but for those in `others`.
///
/// Replaces the hardware of this process. Takes as long as the recorded reads waited.
RecordedScenario ScenarioOf(const Recording& recording);

} // namespace rig::record
