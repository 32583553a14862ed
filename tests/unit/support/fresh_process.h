/// Tests of what happens once a process: the first use of the library.
#pragma once

#include <cstdio>
#include <cstdlib>

#include <gtest/gtest.h>

#ifdef SOLVANE_COVERAGE
extern "C" void __gcov_dump();
#endif

namespace test {

/// Ends the process without destroying anything; what it executed still counts as covered.
[[noreturn]] inline void EndProcess(int status) {
    std::fflush(nullptr);
#ifdef SOLVANE_COVERAGE
    __gcov_dump();
#endif
    std::_Exit(status);
}

/// Runs a body in a copy of this process, whose failures become this test's.
template <typename Body>
void InFreshProcess(Body&& body) {
    EXPECT_EXIT(
        {
            body();
            EndProcess(testing::Test::HasFailure() ? 1 : 0);
        },
        testing::ExitedWithCode(0), "");
}

} // namespace test
