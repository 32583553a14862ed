/// What the pins of a chip did to the lines, as far as the calls show it.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "cable.h"
#include "recorded_lines.h"

namespace rig::record {

/// A moment at which something reached the hardware.
struct Instant {
    Microseconds time = 0;
    std::size_t call = 0;
    std::size_t order = 0; ///< counted on: several things happen in one call
};

using DrivenLines = std::array<bool, RIG_LINE_COUNT>;

/// Collects the changes of all lines. Answers come later than the questions that they belong to, so
/// levels may be entered for an instant that has passed.
class LineLog {
  public:
    /// A chip drives the line; unset: to a level that is not known. `isRead`: as was read back.
    void Drive(rig_line line, std::optional<bool> level, const Instant& when, bool isRead);
    void Release(rig_line line, const Instant& when);

    const DrivenLines& Driven() const { return driven; }

    /// A chip has read the line. Of a line that a chip drove then this says nothing new.
    void Read(rig_line line, bool level, const Instant& when, const DrivenLines& drivenThen);

    /// What is known, in order and without repetitions.
    void WriteTo(RecordedLines& lines) const;

  private:
    struct Entry {
        Instant when;
        rig_line line;
        std::optional<bool> level;
        bool isSample;
        bool isRead;
    };

    std::vector<Entry> entries;
    DrivenLines driven{};
};

/// Some pins of a chip.
class PinRecord {
  public:
    PinRecord(LineLog& lineLog, std::span<const Wire> itsWires) : log(lineLog), wires(itsWires) {}

    /// Sets the levels of the pins in `mask`.
    void SetLevels(std::uint32_t value, std::uint32_t mask, const Instant& when);
    /// Makes these pins outputs, and the others inputs.
    void SetOutputs(std::uint32_t pins, const Instant& when);
    std::uint32_t Outputs() const { return outputs; }

    /// The levels of the pins in `mask`, read when those lines were driven.
    void Read(std::uint32_t value, std::uint32_t mask, const Instant& when,
              const DrivenLines& drivenThen);
    void Read(std::uint32_t value, std::uint32_t mask, const Instant& when) {
        Read(value, mask, when, log.Driven());
    }

  private:
    void Drive(const Wire& wire, const Instant& when, bool isRead = false);

    LineLog& log;
    std::span<const Wire> wires;
    std::uint32_t latch = 0;
    std::uint32_t known = 0; ///< bits of the latch that the calls have shown
    std::uint32_t outputs = 0;
};

} // namespace rig::record
