#include "library.h"

#include <cstdio>
#include <optional>

#include <solvane/rig.h>

#include "loaded_library.h"

namespace transcript {

namespace {

std::optional<test::LoadedLibrary> library;
std::string played;

/// A crash ends all cases, so print which one has crashed.
LONG WINAPI PrintFault(EXCEPTION_POINTERS* pointers) {
    std::fprintf(stderr, "%s: the process ends with exception 0x%lx\n", played.c_str(),
                 pointers->ExceptionRecord->ExceptionCode);
    return EXCEPTION_CONTINUE_SEARCH;
}

} // namespace

const bool kIsNative = false;

const test::LibraryFunctions& Loaded() {
    return *library;
}

std::vector<std::string> LeftBehind() {
    if (rig_wbem_interfaces() == 0) {
        return {};
    }
    return {std::to_string(rig_wbem_interfaces()) + " interfaces of WMI"};
}

void Wait(unsigned milliseconds) {
    Sleep(milliseconds);
}

bool OnFreshLibrary(const std::string& title, const std::function<bool()>& body,
                    const std::function<bool()>& afterUnload) {
    played = title;
    SetUnhandledExceptionFilter(PrintFault);
    library.emplace();
    const bool isWell = body();
    library->Unload();
    return afterUnload() && isWell;
}

std::string TakeOutput() {
    return {};
}

} // namespace transcript
