/// One call of a vendor function, from the lock to its line in the journal.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>

#include "fault_plan.h"
#include "rig_state.h"

namespace rig {

/// How the journal shows what a call returns; nothing for a call that returns nothing.
using ShowResult = std::string (*)(std::uint32_t);

std::string Decimal(std::uint32_t number);
/// "0xfffffffe"
std::string Hexadecimal(std::uint32_t number);

class VendorCall {
  public:
    /// Locks the rig, counts the call and has happen what the scenario puts before it.
    explicit VendorCall(const char* name, ShowResult showResult = Decimal);

    /// Adds to the text between the parentheses, and to that behind the status.
    void Input(const std::string& text);
    void Output(const std::string& text);

    /// The number of bytes or devices to move or report: the fault's, if it has one.
    std::uint32_t Count(std::uint32_t actual) const;

    /// Does the work of the call, unless a fault stands in its place, and journals it. The work
    /// returns the vendor's status.
    template <class Work>
    std::uint32_t Answer(Work work) {
        std::uint32_t status = 0;
        if (DoesItsWork()) {
            status = work();
        }
        return Finish(status);
    }

    Access rig;

  private:
    bool DoesItsWork() const;
    std::uint32_t Finish(std::uint32_t status);

    const char* function;
    ShowResult show;
    std::optional<Fault> fault;
    std::string inputs;
    std::string outputs;
};

} // namespace rig
