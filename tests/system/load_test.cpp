/// Loading and unloading the real DLL, once and a thousand times.

#include "library_fixture.h"

#include <psapi.h>

namespace {

using namespace test;

class Load : public OnTheRig {};

TEST_F(Load, TheVersionResourceSays100Dot1Dot0Dot1) {
    const char* const path = std::getenv("SOLVANE_DLL");
    ASSERT_NE(path, nullptr);
    DWORD unused = 0;
    std::vector<char> data(GetFileVersionInfoSizeA(path, &unused));
    ASSERT_FALSE(data.empty());
    ASSERT_TRUE(GetFileVersionInfoA(path, 0, static_cast<DWORD>(data.size()), data.data()));
    void* block = nullptr;
    UINT size = 0;
    ASSERT_TRUE(VerQueryValueA(data.data(), "\\", &block, &size));
    const auto& info = *static_cast<const VS_FIXEDFILEINFO*>(block);
    EXPECT_EQ(info.dwFileVersionMS, DWORD{100 << 16 | 1});
    EXPECT_EQ(info.dwFileVersionLS, DWORD{0 << 16 | 1});
    EXPECT_EQ(info.dwProductVersionMS, DWORD{100 << 16 | 1});
    EXPECT_EQ(info.dwProductVersionLS, DWORD{0 << 16 | 1});
}

struct Usage {
    DWORD handles;
    SIZE_T privateBytes;
};

Usage CurrentUsage() {
    Usage usage{};
    GetProcessHandleCount(GetCurrentProcess(), &usage.handles);
    PROCESS_MEMORY_COUNTERS_EX counters{};
    GetProcessMemoryInfo(GetCurrentProcess(), reinterpret_cast<PROCESS_MEMORY_COUNTERS*>(&counters),
                         sizeof counters);
    usage.privateBytes = counters.PrivateUsage;
    return usage;
}

TEST_F(Load, AThousandCyclesGrowNeitherHandlesNorMemory) {
    library.Unload();
    const auto cycle = [] {
        LoadedLibrary once;
        EXPECT_EQ(once.TriggerCapture(), 0);
        once.Unload();
        rig_journal_clear();
    };
    for (int i = 0; i < 100; ++i) {
        cycle();
    }
    const Usage settled = CurrentUsage();
    for (int i = 0; i < 900; ++i) {
        cycle();
    }
    const Usage now = CurrentUsage();
    EXPECT_EQ(rig_captures(), 1000u);
    EXPECT_LE(now.handles, settled.handles);
    // One leaked line of text a cycle would be 100 KiB.
    EXPECT_LE(now.privateBytes, settled.privateBytes + 64 * 1024);
}

} // namespace
