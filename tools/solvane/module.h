/// A loaded DLL, unloaded by the destructor.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <type_traits>

#include <windows.h>

namespace host {

class Module {
  public:
    /// Loads a DLL from an absolute path; its own imports are searched in its folder, too.
    static Module LoadPath(const std::filesystem::path& path) {
        return Module(LoadLibraryExW(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
    }

    /// Loads a DLL by name, with Windows' usual search.
    static Module LoadName(const std::wstring& name) {
        return Module(LoadLibraryExW(name.c_str(), nullptr, 0));
    }

    /// False when the DLL could not be loaded; GetLastError() then still has the reason.
    explicit operator bool() const { return handle != nullptr; }

    /// Null when the DLL has no such function.
    template <typename Function>
    Function Find(const char* name) const {
        // Via void*: compilers warn about a direct cast between function types.
        return reinterpret_cast<Function>(
            reinterpret_cast<void*>(GetProcAddress(handle.get(), name)));
    }

  private:
    struct Unload {
        void operator()(HMODULE module) const { FreeLibrary(module); }
    };

    explicit Module(HMODULE module) : handle(module) {}

    std::unique_ptr<std::remove_pointer_t<HMODULE>, Unload> handle;
};

} // namespace host
