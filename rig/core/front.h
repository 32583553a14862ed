/// A vendor interface of the rig, as its core sees it. A front is one static object; being linked
/// in is what makes its hardware available.
#pragma once

#include <string_view>
#include <vector>

#include "installation.h"
#include "scenario.h"
#include "timeline.h"
#include "trace.h"

namespace rig {

/// What a front's hardware is wired to. All of it outlives the hardware.
struct Surroundings {
    Installation& installation;
    Timeline& timeline;
    Trace& trace;
};

class Front {
  public:
    Front();
    Front(const Front&) = delete;
    Front& operator=(const Front&) = delete;

    /// Every front that is linked in.
    static const std::vector<Front*>& All();

    /// The names of the vendor functions behind which its hardware is.
    virtual std::vector<std::string_view> Functions() const = 0;

    /// Replaces its hardware by that of a new scenario.
    virtual void Build(const Scenario& scenario, const Surroundings& surroundings) = 0;

    /// Pulls or puts back the plug of a USB chip; false when it has no such chip.
    virtual bool SetPlugged(unsigned, bool) { return false; }

  protected:
    ~Front() = default;

  private:
    static std::vector<Front*>& Registered();
};

} // namespace rig
