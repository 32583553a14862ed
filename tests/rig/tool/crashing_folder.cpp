// The linker replaces the system calls by these (--wrap).
#include "crashing_folder.h"

#include <cerrno>
#include <cstddef>

#include <sys/types.h>
#include <unistd.h>

namespace test {

namespace {

FolderFault expected = FolderFault::Fail;
int wrongCall = 0;
int calls = 0;

/// Counts a call. Whether it must fail; does not return if it must crash.
bool GoesWrong() {
    if (++calls != wrongCall) {
        return false;
    }
    if (expected == FolderFault::Crash) {
        _exit(kCrashed);
    }
    errno = EIO;
    return true;
}

} // namespace

void Expect(FolderFault fault, int call) {
    expected = fault;
    wrongCall = call;
    calls = 0;
}

int CallsSeen() {
    return calls;
}

} // namespace test

extern "C" {

int __real_open(const char* path, int flags, mode_t mode);
ssize_t __real_write(int file, const void* bytes, std::size_t size);
int __real_renameat2(int from, const char* path, int to, const char* target, unsigned flags);
int __real_unlink(const char* path);

int __wrap_open(const char* path, int flags, mode_t mode) {
    return test::GoesWrong() ? -1 : __real_open(path, flags, mode);
}

ssize_t __wrap_write(int file, const void* bytes, std::size_t size) {
    // write() may write fewer bytes than given
    return test::GoesWrong() ? -1 : __real_write(file, bytes, (size + 1) / 2);
}

int __wrap_fsync(int) {
    return test::GoesWrong() ? -1 : 0; // no need to sync: no test survives a power failure
}

int __wrap_renameat2(int from, const char* path, int to, const char* target, unsigned flags) {
    return test::GoesWrong() ? -1 : __real_renameat2(from, path, to, target, flags);
}

int __wrap_unlink(const char* path) {
    return test::GoesWrong() ? -1 : __real_unlink(path);
}

} // extern "C"
