/// Vendor calls that go as a fuzzer input says. Behind them is the hardware of the rig, which works
/// where the input lets it.
#pragma once

#include "call.h"
#include "fuzz_input.h"

namespace fuzz::calls {

/// Sees a call.
using Observer = void (*)(const rig::Call&);

/// From now on calls go as the input says. `before` sees each of them with what goes in, `after`
/// with its answer.
void Begin(Input& input, Observer before, Observer after);

/// Everything works from now on.
void Heal();

} // namespace fuzz::calls
