/// The truth about the camera's lines, and what the camera does with them.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "cable.h"
#include "timeline.h"
#include "trace.h"

namespace rig {

/// What becomes of the MEP flag.
enum class Mep {
    Latch, ///< latched at the end of an exposure, released by clear_mep
    Never, ///< never latched
    Stuck  ///< once latched, latched for good
};

/// A camera at the start of a scenario. Times are nanoseconds.
struct CameraSetup {
    bool asleep = false;
    bool ready = true;
    bool mepLatched = false;
    Mep mep = Mep::Latch;
    std::uint64_t exposure = 25 * kNanosecondsPerMillisecond;
    std::uint64_t readyAfterPower = 500 * kNanosecondsPerMillisecond;
    /// What the lines to the camera are while no chip drives them; a camera is powered by default.
    Levels pulls = {false, false, false, false, false, true, true};
    std::vector<WireFault> wiring; ///< what is wrong with the wires to the chips
};

/// Levels are logical: true means active, whatever polarity a chip's pin has.
class Installation {
  public:
    Installation(const CameraSetup& start, Timeline& time, Trace& log);

    bool Level(rig_line line) const { return lines[line].level; }
    Levels AllLevels() const;

    std::span<const WireFault> WireFaults() const { return setup.wiring; }

    /// From now on the low one wins of the levels of two lines, whoever gives them.
    void Connect(const Short& wires);

    /// Gives a line a level of a driver's, until the driver lets go of it. Of several drivers the
    /// one that drove last has the line.
    void Drive(rig_line line, bool level, const void* driver);
    void Release(rig_line line, const void* driver);

    /// What scenarios make the camera do of its own accord.
    void BecomeReady();
    void BecomeBusy();
    void LatchMep();

    std::uint32_t Captures() const { return captures; }

  private:
    enum class Activity { Off, Starting, Asleep, Busy, Ready, Exposing };

    struct Driver {
        const void* who;
        bool level;
    };

    struct Line {
        bool level;
        bool rest;                   ///< its pull, or what the camera gives
        std::vector<Driver> drivers; ///< what stands against that, the last one before all
    };

    void Rest(rig_line line, bool level);
    bool Given(rig_line line) const;
    bool Effective(rig_line line) const;
    void Update(rig_line line);
    void SetLevel(rig_line line, bool level);
    void React(rig_line line);
    void SwitchPower(bool on);
    void Capture();
    void EndExposure();
    void Become(Activity next);

    const CameraSetup setup;
    Timeline& timeline;
    Trace& trace;
    std::array<Line, RIG_LINE_COUNT> lines{};
    std::vector<Short> shorts;
    Activity activity;
    Timeline::Ticket pending; ///< the end of Starting or Exposing
    std::uint32_t captures = 0;
};

} // namespace rig
