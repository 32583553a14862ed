/// A loaded DLL, unloaded when its owner goes.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <type_traits>

#include <windows.h>

namespace host {

class Module {
  public:
    /// Loads a DLL from an absolute path, with the DLLs that lie beside it.
    static Module LoadPath(const std::filesystem::path& path) {
        return Module(LoadLibraryExW(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
    }

    /// Loads a DLL from wherever Windows finds it.
    static Module LoadName(const std::wstring& name) {
        return Module(LoadLibraryExW(name.c_str(), nullptr, 0));
    }

    /// False when it could not be loaded; GetLastError() then still tells why.
    explicit operator bool() const { return handle != nullptr; }

    /// Null when the DLL has no such function.
    template <typename Function>
    Function Find(const char* name) const {
        // By way of void*: compilers doubt a cast between two function types.
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
