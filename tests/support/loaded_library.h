/// Solvane.dll as a host loads it.
#pragma once

#include <string>

#include <windows.h>

#include "library_functions.h"

namespace test {

/// Where it is: SOLVANE_DLL, or the search path.
std::string LibraryPath();

/// Loaded, and unloaded with this object. Ends the process when it cannot be.
class LoadedLibrary : public LibraryFunctions {
  public:
    explicit LoadedLibrary(const std::string& path = LibraryPath());
    ~LoadedLibrary() { Unload(); }
    LoadedLibrary(const LoadedLibrary&) = delete;
    LoadedLibrary& operator=(const LoadedLibrary&) = delete;

    void Unload();
    HMODULE Module() const { return module; }

  private:
    HMODULE module = nullptr;
};

} // namespace test
