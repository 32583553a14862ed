/// Makes the rig answer a recorded call as the real hardware did.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>

#include "handle_names.h"
#include "recorded_hardware.h"
#include "recorded_lines.h"

namespace rig::record {

// The words of the action `fault`: "fault FT_Write status=4".
std::string Fault(const Call& call, const std::string& what);
std::string Status(std::uint32_t status);
std::string Count(std::uint32_t count);

/// The place of the output that a fault's count sets; none if the function has none.
std::optional<std::size_t> ReportedPlace(const VendorFunction& function);

/// A device that is opened by its place on the recorded bus is looked for at its place on the
/// rig's.
void FindOnBus(Call& call, const HandleNames& names);

/// Whether a host sees the same.
bool IsSameAnswer(const Call& one, const Call& other);

/// Does to the rig of this process, before each call of a recording, what happened to the real
/// hardware.
class Correction {
  public:
    Correction(const Recording& whatWas, const RecordedHardware& itsHardware,
               const RecordedLines& lines);

    /// The camera's outputs become what the call is known to have seen.
    void SetInputs(std::size_t index);

    /// Does what makes the rig answer a call as it was answered, if that can be told in advance.
    /// `call` has the rig's handle.
    void Prepare(std::size_t index, const Call& call);

    /// An action in the words of a command.
    void Do(const std::string& action);

    /// How many actions were done.
    std::size_t Done() const { return done; }

  private:
    bool Level(rig_line line) const;
    void SetInput(rig_line line, bool level);
    void PrepareQuestion(std::size_t index, const Call& recorded, const Call& call);
    /// A board's functions refuse what is wrong with their arguments by themselves.
    bool IsAFault(const Call& recorded) const;
    static bool IsOnPin(const Call& call);
    std::uint32_t Refusal(const Call& call) const;
    void PrepareFailure(std::size_t index, const Call& recorded, const Call& call);
    void PrepareDevice(std::size_t index, const Call& recorded, const Call& call);
    void PrepareRead(const Call& recorded, const Call& call);
    /// The chips on the bus become those of the list.
    void SetChips(std::size_t index);
    /// Those that the rig has on its bus.
    std::set<std::size_t> PresentChips() const;
    /// Opens in advance, to see what would happen.
    void PrepareOpening(const Call& recorded, const Call& call);
    void PlugAll();

    const Recording& recording;
    const RecordedHardware& hardware;
    std::multimap<std::size_t, InputSample> samples; ///< by the index of their call
    std::set<rig_line> forced;
    std::size_t done = 0;
};

} // namespace rig::record
