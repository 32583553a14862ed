/// For tests of the first use of the library in a process.
#pragma once

#include <cstdio>
#include <cstdlib>

#include <gtest/gtest.h>

#ifdef SOLVANE_COVERAGE
extern "C" void __gcov_dump();
#endif

namespace test {

/// Ends the process without destructors, but with its coverage.
[[noreturn]] inline void EndProcess(int status) {
    std::fflush(nullptr);
#ifdef SOLVANE_COVERAGE
    __gcov_dump();
#endif
    std::_Exit(status);
}

/// GoogleTest does not report the failures of a copy of the process.
inline void PrintFailures() {
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
            PrintFailures();
            EndProcess(testing::Test::HasFailure() ? 1 : 0);
        },
        testing::ExitedWithCode(0), "");
}

} // namespace test
