/// What a status of 0 promises: the line has its level, the picture was taken, the answer is true.
/// Checked on the camera's side, never by asking the library.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include <solvane/rig.h>

#include "proof_kinds.h"
#include "proof_operations.h"

namespace proof {

enum class Violation : std::uint8_t {
    None,
    Picture,    ///< none, or more than one
    Pulse,      ///< too short or too long
    Line,       ///< the operation's own
    OtherLine,  ///< changed without being asked to
    ClearMep,   ///< the line stays active, or a flag that was reported stays latched
    Answer,     ///< false
    SafeAnswer, ///< false, but harmless
    Chip        ///< not closed, or not reset
};
const char* Name(Violation violation);

class Postcondition {
  public:
    /// Before the operation. `configures`: it finds hardware that is not configured yet.
    Postcondition(const Kind& kind, const Operation& operation, bool configures);

    /// After the operation has answered 0.
    Violation Check(short answer) const;

  private:
    Violation CheckPicture() const;
    Violation CheckWake() const;
    Violation CheckAnswer(short answer) const;
    Violation CheckLines() const;
    Violation CheckChip() const;
    bool IsSafe(short answer) const;

    /// The width of a line's last pulse in ms; 0 if there was none.
    std::uint64_t LastPulse(rig_line line) const;

    const Kind& kind;
    const Operation& operation;
    const bool configures;
    const std::size_t journalBefore;
    const std::uint32_t capturesBefore;
    std::array<bool, RIG_LINE_COUNT> before{};
};

} // namespace proof
