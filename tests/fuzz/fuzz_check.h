/// Checks what must hold whatever the hardware answers.
#pragma once

#include <cstdio>
#include <cstdlib>

namespace fuzz {

/// Aborts the process if `holds` is false, which the fuzzer reports as a finding.
inline void Check(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", what);
        std::abort();
    }
}

} // namespace fuzz
