/// The camera's lines in a recording, worked out from the bytes that went over.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include <solvane/rig.h>

#include "recording.h"

namespace rig::record {

/// An output changes when the call that drives it has returned: that is when it was done at the
/// latest. An input changes when the hardware looked and found it changed: it may have done so any
/// time since the last look.
struct LineChange {
    Microseconds time;
    rig_line line;
    std::optional<bool>
        level;        ///< 1 means active; unset: nobody drives the line, or it is not known
    std::size_t call; ///< index of the call
    bool isRead;      ///< the host learned it by reading
};

/// The hardware looked at a line that the camera drives.
struct InputSample {
    Microseconds time;
    rig_line line;
    bool level;
    std::size_t call; ///< index of the call that asked, whose answer may come with a later one
};

/// "capture": a trigger after which the camera was seen to be busy, or the MEP flag to be
/// latched. "unplug 0", "plug 0": the chips are numbered as in the scenario of the recording.
/// "fault FT_Write": a call failed.
struct LineEvent {
    Microseconds time;
    std::string text;
    std::size_t call;
};

struct RecordedLines {
    std::vector<LineChange> changes;  ///< in their order; all lines are unknown before
    std::vector<InputSample> samples; ///< in their order
    std::vector<LineEvent> events;    ///< in their order
};

RecordedLines LinesOf(const Recording& recording);

/// The indices of the calls that have returned, in the order in which they did.
std::vector<std::size_t> InOrderOfReturn(const Recording& recording);

} // namespace rig::record
