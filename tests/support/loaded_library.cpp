#include "loaded_library.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

namespace test {

namespace {

[[noreturn]] void Fail(const char* why) {
    std::fprintf(stderr, "Solvane.dll: %s, error %lu\n", why, GetLastError());
    std::exit(2); // everything that follows would crash
}

} // namespace

LoadedLibrary::LoadedLibrary() {
    const char* const path = std::getenv("SOLVANE_DLL");
    module = LoadLibraryA(path != nullptr ? path : "Solvane.dll");
    if (module == nullptr) {
        Fail("cannot be loaded");
    }
#define SOLVANE_LOOK_UP(name, ...)                                                                 \
    name = reinterpret_cast<decltype(name)>(                                                       \
        reinterpret_cast<void*>(GetProcAddress(module, "Solvane_" #name)));                        \
    if (name == nullptr) {                                                                         \
        Fail("has no Solvane_" #name);                                                             \
    }
    SOLVANE_FUNCTIONS(SOLVANE_LOOK_UP)
#undef SOLVANE_LOOK_UP
}

void LoadedLibrary::Unload() {
    if (module == nullptr) {
        return;
    }
    if (FreeLibrary(std::exchange(module, nullptr)) == 0 ||
        GetModuleHandleA("Solvane.dll") != nullptr) {
        Fail("cannot be unloaded");
    }
}

} // namespace test
