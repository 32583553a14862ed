#include <ctime>

#include <timeapi.h>
#include <windows.h>

#include <objbase.h>
#include <oleauto.h>

void Sleep(DWORD) {}

DWORD GetCurrentThreadId() {
    return 1;
}

void GetSystemTimePreciseAsFileTime(FILETIME* time) {
    constexpr std::uint64_t kTicksFrom1601To1970 = 116'444'736'000'000'000;
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    const std::uint64_t ticks = kTicksFrom1601To1970 +
                                static_cast<std::uint64_t>(now.tv_sec) * 10'000'000 +
                                static_cast<std::uint64_t>(now.tv_nsec) / 100;
    time->dwLowDateTime = static_cast<DWORD>(ticks);
    time->dwHighDateTime = static_cast<DWORD>(ticks >> 32);
}

int localtime_s(std::tm* local, const std::time_t* seconds) {
    return localtime_r(seconds, local) != nullptr ? 0 : 22;
}

unsigned timeBeginPeriod(unsigned) {
    return 0;
}

unsigned timeEndPeriod(unsigned) {
    return 0;
}

// There is no COM here: the parallel port is not looked for.

HRESULT CoInitializeEx(void*, DWORD) {
    return E_OUTOFMEMORY;
}
void CoUninitialize() {}
HRESULT CoInitializeSecurity(void*, LONG, SOLE_AUTHENTICATION_SERVICE*, void*, DWORD, DWORD, void*,
                             DWORD, void*) {
    return E_OUTOFMEMORY;
}
HRESULT CoCreateInstance(REFCLSID, IUnknown*, DWORD, REFIID, void**) {
    return E_OUTOFMEMORY;
}
HRESULT CoSetProxyBlanket(IUnknown*, DWORD, DWORD, OLECHAR*, DWORD, DWORD, void*, DWORD) {
    return E_OUTOFMEMORY;
}
BSTR SysAllocString(const OLECHAR*) {
    return nullptr;
}
void SysFreeString(BSTR) {}
void VariantInit(VARIANT*) {}
HRESULT VariantClear(VARIANT*) {
    return S_OK;
}
