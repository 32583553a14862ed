/// The hardware of a case, as its "rig" line names it.
#pragma once

#include "script.h"

namespace transcript {

/// The scenario of "rig usb, reset_port_ms = 25, camera.mep_latched = true", or what stands below
/// "rig". Throws Mistake.
std::string ScenarioOf(const Line& act);

} // namespace transcript
