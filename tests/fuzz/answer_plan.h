/// Decides from the fuzzer input how each call of a vendor's interface is answered.
#pragma once

#include "fuzz_input.h"

namespace fuzz {

enum class Manner {
    Healthy, ///< as working hardware answers
    Fails,   ///< does nothing, returns a usual error status
    Odd,     ///< answer taken from the next input bytes
    Silent   ///< returns success, but does nothing and writes no output
};

/// Takes one byte for each call. A high byte counts for the following calls as well, so that a few
/// bytes can describe a chip that is gone for seconds. Healthy when the input is used up, and after
/// more calls than any sequence needs.
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
