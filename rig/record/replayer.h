/// Answers a host as the real hardware did when the recording was made.
#pragma once

#include <cstddef>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "recording.h"
#include "simulation.h"

namespace rig::record {

/// Who answers from the first call on that differs.
enum class Then {
    Gone,     ///< nobody, as if the hardware had been pulled out
    Simulated ///< the simulated hardware of this process, which was asked everything before too
};

struct ReplayOptions {
    bool isFast = false; ///< answers at once, not after the time that the real hardware took
    Then then = Then::Gone;
};

/// Each thread's calls are in their order, threads are in any. A call is answered by the next call
/// of a recorded thread, if that asks the same; of several, by the one that began first. Calls
/// that no recorder sees, those of WMI methods and of functions whose parameters nobody has
/// described, are answered by the rig of this process and are no difference, unless the recording
/// was made on a rig and has such calls.
class Replayer {
  public:
    Replayer(Recording whatWas, ReplayOptions howTo);

    /// Any thread may call this. A call that had not returned takes as long as it was seen to take;
    /// then it is answered as those after a difference are.
    void Answer(Call& call);

    /// Whether every recorded call was made, and no others before the recording was interrupted.
    bool IsFollowed() const;

    /// How far the host followed, as a sentence without its full stop.
    std::string Report() const;

  private:
    const RecordedCall* Take(const Call& call);
    const RecordedCall* Earliest() const;
    void Leave(const Call& call);
    void AnswerAsRecorded(const RecordedCall& one, Call& call);
    void AnswerAfterwards(Call& call);
    std::string NameOfHandle(const Call& call) const;
    void Trace(const Call& call, const std::string& handle) const;

    const Recording recording;
    const ReplayOptions options;
    const bool hasAll; ///< calls that no recorder on Windows sees, too
    const Microseconds end;

    mutable std::mutex mutex;
    std::map<std::uint64_t, std::vector<const RecordedCall*>> left; ///< by thread, the last first
    std::size_t answered = 0;
    bool isOver = false;
    std::string difference;                     ///< empty: none so far
    std::map<std::uint64_t, std::string> names; ///< of handles, as the last call had them

    std::mutex simulating;
    Simulation simulation;
};

/// The parallel ports that WMI reported, as a scenario without other hardware.
std::string ScenarioOfPorts(const Head& head);

} // namespace rig::record
