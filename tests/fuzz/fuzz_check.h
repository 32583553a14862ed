/// What must hold whatever the hardware answers.
#pragma once

#include <cstdio>
#include <cstdlib>

namespace fuzz {

/// Ends the process, which the fuzzer takes for a finding.
inline void Check(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", what);
        std::abort();
    }
}

} // namespace fuzz
