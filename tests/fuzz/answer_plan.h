/// How the calls of a vendor's interface go: as they should, or as the input says.
#pragma once

#include "fuzz_input.h"

namespace fuzz {

enum class Manner {
    Healthy, ///< as the real thing would
    Fails,   ///< a common status, nothing done
    Odd,     ///< whatever the stand-in makes of the next bytes
    Silent   ///< success, nothing done, no out value written
};

/// One byte a call; a high one counts for the next calls too, so that a few bytes can be a chip
/// that stays away for seconds. Healthy when the input is used up, and after so many calls that any
/// sequence would have come to its end.
class AnswerPlan {
  public:
    explicit AnswerPlan(Input& bytes) : input(bytes) {}

    Manner Next() {
        if (++calls > kMostCalls) {
            return Manner::Healthy;
        }
        if (repeats > 0) {
            --repeats;
            return repeated;
        }
        const std::uint8_t byte = input.Byte();
        const Manner manner = MannerOf(byte);
        if (byte >= kFirstRepeating) {
            repeats = input.Byte();
            repeated = manner;
        }
        return manner;
    }

    /// Everything works from now on.
    void Heal() { calls = kMostCalls; }

    bool IsHealed() const { return calls >= kMostCalls; }

  private:
    static constexpr unsigned kMostCalls = 3000;
    static constexpr std::uint8_t kFirstRepeating = 0xE0;

    static Manner MannerOf(std::uint8_t byte) {
        switch (byte % 8) {
        case 5:
            return Manner::Fails;
        case 6:
            return Manner::Odd;
        case 7:
            return Manner::Silent;
        default:
            return Manner::Healthy;
        }
    }

    Input& input;
    unsigned calls = 0;
    unsigned repeats = 0;
    Manner repeated = Manner::Healthy;
};

} // namespace fuzz
