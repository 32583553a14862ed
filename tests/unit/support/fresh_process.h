/// Tests of what happens once a process: the first use of the library.
#pragma once

#include <cstdlib>

#include <gtest/gtest.h>

namespace test {

/// Runs a body in a copy of this process, whose failures become this test's.
template <typename Body>
void InFreshProcess(Body&& body) {
    EXPECT_EXIT(
        {
            body();
            std::fflush(nullptr);
            std::_Exit(testing::Test::HasFailure() ? 1 : 0);
        },
        testing::ExitedWithCode(0), "");
}

} // namespace test
