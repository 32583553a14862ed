/// Solvane.dll as a host loads it.
#pragma once

#include <windows.h>

#include "library_functions.h"

namespace test {

/// Loaded from SOLVANE_DLL, and unloaded with this object. Ends the process when it cannot be.
class LoadedLibrary : public LibraryFunctions {
  public:
    LoadedLibrary();
    ~LoadedLibrary() { Unload(); }
    LoadedLibrary(const LoadedLibrary&) = delete;
    LoadedLibrary& operator=(const LoadedLibrary&) = delete;

    void Unload();

  private:
    HMODULE module = nullptr;
};

} // namespace test
