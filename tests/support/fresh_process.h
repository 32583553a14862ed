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

/// Tells the failures of the test so far, which nobody hears of in a copy of the process.
inline void TellFailures() {
    const auto& result = *testing::UnitTest::GetInstance()->current_test_info()->result();
    for (int i = 0; i < result.total_part_count(); ++i) {
        const testing::TestPartResult& part = result.GetTestPartResult(i);
        if (part.failed()) {
            std::fprintf(stderr, "%s:%d: %s\n", part.file_name(), part.line_number(),
                         part.message());
        }
    }
}

/// Runs a body in a copy of this process, whose failures become this test's.
template <typename Body>
void InFreshProcess(Body&& body) {
    EXPECT_EXIT(
        {
            body();
            TellFailures();
            EndProcess(testing::Test::HasFailure() ? 1 : 0);
        },
        testing::ExitedWithCode(0), "");
}

} // namespace test
