/// What the hardware is wired to. All of it outlives the hardware.
#pragma once

#include "installation.h"
#include "timeline.h"
#include "trace.h"

namespace rig {

struct Surroundings {
    Installation& installation;
    Timeline& timeline;
    Trace& trace;
};

} // namespace rig
