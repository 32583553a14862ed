/// A model of what a host should see: statuses, answers, lines and times on healthy hardware. It
/// shares nothing with the library but the numbers of its interface.
#pragma once

#define SOLVANE_NO_IMPORT
#include <solvane/solvane.h>

#include "camera_model.h"
#include "proof_operations.h"

namespace proof {

/// How the kinds of hardware differ for a host.
struct Behaviour {
    bool isUsb = true;
    bool isAbsent = false;
    Milliseconds accessMilliseconds = 0; ///< of reading or driving a line
    bool switchesOn = false;             ///< configuring switches both powers on and dark off
    bool clearsFlag = false;             ///< configuring gives a pulse on clear-MEP
    short absentPowerControl = SOLVANE_E_NO_HARDWARE; ///< the answer without hardware

    Behaviour Absent() const {
        Behaviour absent = *this;
        absent.isAbsent = true;
        return absent;
    }
};

struct Outcome {
    short status;
    short answer; ///< the out-value
    bool operator==(const Outcome&) const = default;
};

class HostModel {
  public:
    HostModel(const Behaviour& kind, const CameraStart& start) : camera(start), behaviour(kind) {}

    /// The selection that the first call of a process begins with.
    void Select() { IsAvailable(); }

    /// A new process, on hardware as the last one left it.
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
