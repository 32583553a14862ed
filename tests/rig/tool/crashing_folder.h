/// Replaces the system calls that change a folder, so that a chosen one fails or crashes. Each
/// write writes only half of its bytes.
#pragma once

namespace test {

enum class FolderFault {
    Crash, ///< the process ends before the call
    Fail,  ///< the call fails with EIO
};

inline constexpr int kCrashed = 86; ///< exit code of a crash

/// From now on, the call with this number (from 1) goes wrong; 0: none does.
void Expect(FolderFault fault, int call);

/// Number of calls since then.
int CallsSeen();

} // namespace test
