/// The truth about the camera's lines, and what the camera does with them.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
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

/// What of a camera can change while it runs. Times are nanoseconds.
struct CameraBehaviour {
    Mep mep = Mep::Latch;
    std::uint64_t exposure = 25 * kNanosecondsPerMillisecond;
    std::uint64_t readyAfterPower = 500 * kNanosecondsPerMillisecond;
};

/// A camera at the start of a scenario.
struct CameraSetup {
    bool asleep = false;
    bool ready = true;
    bool mepLatched = false;
    CameraBehaviour behaviour;
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

    /// What lays a chip's wires, to be called again whenever one of them changes.
    void Attach(std::function<void()> layWires) { chips.push_back(std::move(layWires)); }

    /// Gives a wire this fault in place of any that it has; none mends it.
    void Rewire(const std::string& wire, const std::optional<WireFault>& fault);

    /// Gives a line a level of a driver's, until the driver lets go of it. Of several drivers the
    /// one that drove last has the line.
    void Drive(rig_line line, bool level, const void* driver);
    void Release(rig_line line, const void* driver);

    /// What scenarios and commands make the camera do.
    void BecomeReady();
    void BecomeBusy();
    void SetAsleep(bool asleep);
    void LatchMep();

    /// Holds a line that the camera gives at a level, whatever it does; none lets go of the line.
    void Force(rig_line line, std::optional<bool> level);

    /// How it behaves from now on; what is going on already ends as it began.
    CameraBehaviour& Behaviour() { return setup.behaviour; }

    std::uint32_t Captures() const { return captures; }

  private:
    enum class Activity { Off, Starting, Asleep, Busy, Ready, Exposing };

    struct Driver {
        const void* who;
        std::optional<bool> level; ///< none behind a wire that is broken
    };

    struct Line {
        bool level;
        bool rest;                   ///< its pull, or what the camera gives
        std::vector<Driver> drivers; ///< what stands against that, the last one before all
    };

    void Rest(rig_line line, bool level);
    bool Pull(rig_line line) const;
    bool Given(rig_line line) const;
    bool Effective(rig_line line) const;
    void Update(rig_line line);
    void SetLevel(rig_line line, bool level);
    void React(rig_line line);
    void SwitchPower(bool on);
    void Capture();
    void EndExposure();
    void Become(Activity next);

    CameraSetup setup;
    Timeline& timeline;
    Trace& trace;
    std::array<Line, RIG_LINE_COUNT> lines{};
    std::vector<Short> shorts;
    std::vector<std::function<void()>> chips; ///< what lays the wires of each
    bool isRewiring = false;                  ///< levels wait until all wires are laid
    Activity activity;
    Timeline::Ticket pending; ///< the end of Starting or Exposing
    std::uint32_t captures = 0;
};

} // namespace rig
