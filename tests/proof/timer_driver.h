/// A model of the kernel driver: timers with ids, each with an event for every wait. Every second
/// event is there at once, the others are pending first.
#pragma once

#include <cstdint>
#include <set>
#include <vector>

#include "kernel_stand_in.h"
#include "proof_kinds.h"

namespace proof {

class TimerDriver {
  public:
    host::kernel::Answer Serve(std::string_view request, std::uint64_t input);

    bool Has(std::uint64_t id) const { return timers.contains(id); }
    std::size_t Timers() const { return timers.size(); }

  private:
    host::kernel::Answer Create();
    host::kernel::Answer NextEvent();

    std::set<std::uint64_t> timers;
    std::uint64_t lastId = 0x100'0000'0000; ///< large: a reply that is cut short has another id
    unsigned events = 0;
};

/// The calls of timers to Windows and to the driver, and the ways in which they fail.
const std::vector<VendorFunction>& TimerFunctions();

} // namespace proof
