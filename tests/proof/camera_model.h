/// A model of the camera and its lines, written from their description and independent of the rig's
/// simulation, with which it is compared.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include <solvane/rig.h>

namespace proof {

using Milliseconds = std::uint64_t;

struct CameraStart {
    const char* name;
    bool asleep = false;
    bool flagLatched = false;
    bool flagStuck = false;
    bool pulledDark = false; ///< the level of the dark line while it is not driven
    bool pulledOn = true;    ///< the same of both power lines
    Milliseconds exposure = 12;
    Milliseconds readyAfterPower = 9;

    /// The same camera for the rig.
    std::string Scenario() const;
};

struct Edge {
    Milliseconds at;
    rig_line line;
    bool level;
    auto operator<=>(const Edge&) const = default;
};

class CameraModel {
  public:
    explicit CameraModel(const CameraStart& how);

    bool Level(rig_line line) const { return levels[line]; }
    Milliseconds Now() const { return now; }
    std::uint32_t Captures() const { return captures; }

    void Wait(Milliseconds milliseconds);
    void Drive(rig_line line, bool level);

    /// Every line to the camera returns to its pull.
    void LetGo();

    std::vector<Edge> edges;

  private:
    enum class Mood : std::uint8_t { Off, Starting, Asleep, Ready, Exposing };

    void Become(Mood next, Milliseconds until = 0);
    void Set(rig_line line, bool level);

    const CameraStart start;
    std::array<bool, RIG_LINE_COUNT> levels{};
    Mood mood;
    Milliseconds now = 0;
    Milliseconds moodEnds = 0;
    std::uint32_t captures = 0;
};

} // namespace proof
