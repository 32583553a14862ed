/// The system calls with which a folder is changed, one of which can be made to go wrong. Each
/// write does half of what is left.
#pragma once

namespace test {

enum class FolderFault {
    Crash, ///< the process ends before it
    Fail,  ///< it fails with EIO
};

inline constexpr int kCrashed = 86; ///< exit code of a crash

/// The call'th one from now on, counted from 1, goes wrong; 0: none does.
void Expect(FolderFault fault, int call);

/// How many there were since.
int CallsSeen();

} // namespace test
