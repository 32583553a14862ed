/// Faults of system calls, described like those of the rig's vendor calls.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include <solvane/rig.h>

namespace host {

// As rig_add_fault(), rig_clear_faults() and rig_calls(). The driver's requests and replies are
// functions of their own, named in kernel_stand_in.h.
int AddFault(const rig_fault& fault);
void ClearFaults();
std::uint32_t Calls(const char* function);

/// Of every function, even if it was never called.
std::map<std::string, std::uint32_t> AllCalls();

/// Calls that were at fault since the faults were lifted.
std::uint32_t FaultsThatHappened();

/// One call of the system in its stand-in: counted, and possibly at fault.
class SystemCall {
  public:
    explicit SystemCall(const char* function);

    /// Whether it reports Status() as its failure.
    bool Fails() const { return (kind & RIG_FAULT_STATUS) != 0; }

    bool DoesItsWork() const { return kind == 0 || (kind & RIG_FAULT_COUNT) != 0; }

    /// What it returns or leaves as the error: the fault's, if it has one.
    std::uint32_t Status(std::uint32_t whenHealthy = 0) const {
        return Fails() ? status : whenHealthy;
    }

    /// How much it does: the fault's, if it has one.
    std::uint32_t Count(std::uint32_t actual) const {
        return (kind & RIG_FAULT_COUNT) != 0 ? count : actual;
    }

  private:
    std::uint32_t kind = 0;
    std::uint32_t status = 0;
    std::uint32_t count = 0;
};

} // namespace host
