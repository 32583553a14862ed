/// The simulated hardware of this process, asked what a recording has from real hardware.
#pragma once

#include <cstdint>
#include <map>
#include <optional>

#include "handle_names.h"
#include "recording.h"

namespace rig::record {

/// Knows which handle, and which place on the bus, the simulation has for each of the recording's.
/// Not for several threads at once.
class Simulation {
  public:
    /// Has the simulated hardware answer a recorded call, which comes with its recorded outputs.
    /// The handles in the answer are the recording's. Nothing goes into the journal.
    void Follow(Call& call);

    /// Has it answer the call of a host that has the recording's handles.
    void Answer(Call& call);

    /// Whether the recording's handle is one that the simulation has given too.
    bool Knows(std::uint64_t handle) const { return simulated.contains(handle); }

  private:
    void Ask(Call& call, void (*answer)(Call&));
    void Pair(std::uint64_t recordings, std::uint64_t simulations);

    std::map<std::uint64_t, std::uint64_t> simulated; ///< by the recording's
    std::map<std::uint64_t, std::uint64_t> recorded;  ///< by the simulation's
    HandleNames names;                                ///< of the recording's
};

/// The handle that the call is about; none if it has no such parameter.
std::optional<std::uint64_t> HandleOf(const Call& call);

} // namespace rig::record
