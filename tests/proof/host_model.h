/// What a host should see of the library, worked out beside it: statuses, answers, lines and times
/// on hardware that works. It shares nothing with the library but the numbers of its interface.
#pragma once

#define SOLVANE_NO_IMPORT
#include <solvane/solvane.h>

#include "camera_model.h"
#include "proof_operations.h"

namespace proof {

/// What a host can tell one kind of hardware from another by.
struct Behaviour {
    bool isUsb = true;
    bool isAbsent = false;
    Milliseconds accessMilliseconds = 0; ///< that reading or driving a line takes
    bool switchesOn = false;             ///< configuring switches both powers on and dark off
    bool clearsFlag = false;             ///< configuring gives a pulse on clear-MEP
    short absentPowerControl = SOLVANE_E_NO_HARDWARE; ///< the answer where nothing is there

    Behaviour Absent() const {
        Behaviour absent = *this;
        absent.isAbsent = true;
        return absent;
    }
};

struct Outcome {
    short status;
    short answer; ///< what the out-value holds then
    bool operator==(const Outcome&) const = default;
};

class HostModel {
  public:
    HostModel(const Behaviour& kind, const CameraStart& start) : camera(start), behaviour(kind) {}

    /// What the first call of a process does before all else: the hardware is looked for.
    void Select() { IsAvailable(); }

    /// The next process, whose hardware is as the last one left it.
    void Restart() { Run(Op::RecheckStatus); }

    /// A call, with or without a place for its answer.
    Outcome Run(Op op, bool hasPlace = true);

    CameraModel camera;

  private:
    bool IsHere() const { return !behaviour.isAbsent && !isForced; }
    bool IsUsb() const { return behaviour.isUsb || isForced; }
    bool IsAvailable();
    void Configure();
    void ConfigureUsb();

    Outcome Do(Op op);
    Outcome Trigger();
    Outcome Wake();
    bool ReadFlagAndClear();
    void PulseClearMep();
    bool Read(rig_line line);
    void Drive(rig_line line, bool level);

    const Behaviour behaviour;
    bool isConfigured = false;
    bool isForced = false; ///< the FT2232H is chosen, and the hardware is of another kind
};

} // namespace proof
