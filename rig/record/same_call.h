/// Whether two calls ask the same of the hardware.
#pragma once

#include "call.h"

namespace rig::record {

/// Handles are compared as numbers; of addresses, only whether they are null.
bool AsksTheSame(const Call& one, const Call& other);

} // namespace rig::record
