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

std::string LibraryPath() {
    const char* const path = std::getenv("SOLVANE_DLL");
    return path != nullptr ? path : "Solvane.dll";
}

LoadedLibrary::LoadedLibrary(const std::string& path) : module(LoadLibraryA(path.c_str())) {
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
    char path[MAX_PATH];
    GetModuleFileNameA(module, path, sizeof path);
    if (FreeLibrary(std::exchange(module, nullptr)) == 0 || GetModuleHandleA(path) != nullptr) {
        Fail("cannot be unloaded");
    }
}

} // namespace test
