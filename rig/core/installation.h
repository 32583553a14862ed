/// The actual levels of the camera's lines, and how the camera reacts to them.
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

/// How the MEP flag behaves.
enum class Mep {
    Latch, ///< latched at the end of an exposure, released by clear_mep
    Never, ///< never latched
    Stuck  ///< once latched, never released
};

/// The settings of a camera that can change while it runs. Times are nanoseconds.
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
    /// The levels of the lines while no chip drives them. By default the camera has power.
    Levels pulls = {false, false, false, false, false, true, true};
    std::vector<WireFault> wiring; ///< what is wrong with the wires to the chips
};

/// Levels are logical: true means active, whatever polarity a chip's pin has.
class Installation {
  public:
    Installation(const CameraSetup& start, Timeline& time, Trace& log);

    bool Level(rig_line line) const { return lines[line].level; }
    Levels AllLevels() const;

    /// The condition of a wire in the words of a scenario: "healthy", "swapped with dark".
    std::string ConditionOf(const std::string& wire) const;

    std::span<const WireFault> WireFaults() const { return setup.wiring; }

    /// Shorts two wires: from now on, if either is low, both are.
    void Connect(const Short& wires);

    /// Registers a function that lays a chip's wires; called again whenever a wire fault changes.
    void Attach(std::function<void()> layWires) { chips.push_back(std::move(layWires)); }

    /// Replaces the faults of a wire by this one; nullopt repairs the wire.
    void Rewire(const std::string& wire, const std::optional<WireFault>& fault);

    /// Drives a line until Release(). Of several drivers, the one that called this last wins.
    void Drive(rig_line line, bool level, const void* driver);
    void Release(rig_line line, const void* driver);

    // Changes of the camera that scenarios and commands ask for.
    void BecomeReady();
    void BecomeBusy();
    void SetAsleep(bool asleep);
    void LatchMep();

    /// Holds an output of the camera at a level, whatever the camera does; nullopt ends that.
    void Force(rig_line line, std::optional<bool> level);
    std::optional<bool> Forced(rig_line line) const;

    /// Changes apply to what starts from now on; an exposure that is running keeps its duration.
    CameraBehaviour& Behaviour() { return setup.behaviour; }

    const CameraBehaviour& Behaviour() const { return setup.behaviour; }

    std::uint32_t Captures() const { return captures; }
    /// How many triggers the camera has ignored.
    std::uint32_t Ignored() const { return ignored; }

    /// What the camera does: "off", "starting", "asleep", "busy", "ready" or "exposing".
    const char* ActivityName() const;

  private:
    enum class Activity { Off, Starting, Asleep, Busy, Ready, Exposing };

    struct Driver {
        const void* who;
        std::optional<bool> level; ///< none while its wire is broken
    };

    struct Line {
        bool level;
        bool rest; ///< its level without drivers: its pull, or what the camera outputs
        std::vector<Driver> drivers; ///< they override `rest`; the last one wins
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
    std::vector<std::function<void()>> chips; ///< one function per chip: lays its wires
    bool isRewiring = false;                  ///< no level changes until all wires are laid
    Activity activity;
    Timeline::Ticket pending; ///< the end of Starting or Exposing
    std::uint32_t captures = 0;
    std::uint32_t ignored = 0;
};

} // namespace rig
