/// What a status of 0 means: the line is where it was asked to be, the picture was taken, the
/// answer is true. Looked up on the camera's side, never in what the library says.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include <solvane/rig.h>

#include "proof_kinds.h"
#include "proof_operations.h"

namespace proof {

/// What is not as it was asked for.
enum class Violation : std::uint8_t {
    None,
    Picture,    ///< none, or more than one
    Pulse,      ///< too short or too long
    Line,       ///< the one that was asked for
    OtherLine,  ///< one that is as nobody asked for
    ClearMep,   ///< the line stays active, or a flag that was told stays latched
    Answer,     ///< false
    SafeAnswer, ///< false, and the one that harms nobody
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

    /// How long the last pulse of a line was, in ms; 0 if there was none.
    std::uint64_t LastPulse(rig_line line) const;

    const Kind& kind;
    const Operation& operation;
    const bool configures;
    const std::size_t journalBefore;
    const std::uint32_t capturesBefore;
    std::array<bool, RIG_LINE_COUNT> before{};
};

} // namespace proof
