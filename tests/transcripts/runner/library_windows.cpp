#include "library.h"

#include <cstdio>
#include <cstdlib>

#include <solvane/rig.h>
#include <windows.h>

namespace transcript {

namespace {

HMODULE module = nullptr;
std::string played;

/// A crash takes all cases with it: at least it says in which one.
LONG WINAPI TellWhere(EXCEPTION_POINTERS* pointers) {
    std::fprintf(stderr, "%s: the process ends with exception 0x%lx\n", played.c_str(),
                 pointers->ExceptionRecord->ExceptionCode);
    return EXCEPTION_CONTINUE_SEARCH;
}

template <typename Function>
void LookUp(Function& function, const char* name) {
    function = reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
    if (function == nullptr) {
        std::fprintf(stderr, "Solvane.dll has no %s\n", name);
        std::exit(2);
    }
}

} // namespace

const bool kIsNative = false;

Functions Loaded() {
    Functions functions;
#define SOLVANE_LOOK_UP(name) LookUp(functions.name, "Solvane_" #name);
    SOLVANE_LINE_FUNCTIONS(SOLVANE_LOOK_UP, SOLVANE_LOOK_UP, SOLVANE_LOOK_UP)
    SOLVANE_LOOK_UP(SetLogger)
#undef SOLVANE_LOOK_UP
    return functions;
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
    SetUnhandledExceptionFilter(TellWhere);
    const char* const path = std::getenv("SOLVANE_DLL");
    module = LoadLibraryA(path != nullptr ? path : "Solvane.dll");
    if (module == nullptr) {
        std::fprintf(stderr, "cannot load %s: error %lu\n", path != nullptr ? path : "Solvane.dll",
                     GetLastError());
        std::exit(2);
    }
    const bool isWell = body();
    FreeLibrary(module);
    if (GetModuleHandleA("Solvane.dll") != nullptr) {
        std::fprintf(stderr, "%s: Solvane.dll stays loaded\n", title.c_str());
        return false;
    }
    return afterUnload() && isWell;
}

std::string TakeOutput() {
    return {};
}

} // namespace transcript
