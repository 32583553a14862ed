/// Vendor calls answered as a fuzzer input says. Healthy answers come from the rig's hardware.
#pragma once

#include "call.h"
#include "fuzz_input.h"

namespace fuzz::calls {

/// Gets each vendor call.
using Observer = void (*)(const rig::Call&);

/// From now on the input decides the answers. `before` gets each call with its inputs, `after` with
/// its answer.
void Begin(Input& input, Observer before, Observer after);

/// From now on all calls work.
void Heal();

} // namespace fuzz::calls
