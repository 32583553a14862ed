/// Solvane.dll as a host loads it.
#pragma once

#include <string>

#include <windows.h>

#include "library_functions.h"

namespace test {

/// SOLVANE_DLL from the environment, or the file's name for the search path.
std::string LibraryPath();

/// Loads and unloads the library; ends the process if that fails.
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
