/// Solvane.dll, loaded while the program runs.
#pragma once

#include <filesystem>
#include <stdexcept>

#include "functions.h"
#include "module.h"

namespace host {

/// Why the library cannot be used, as sentences for the user.
class LoadFailure : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

class Library : public Functions {
  public:
    /// Loads the library from a path, or with an empty path from beside this program. Throws
    /// LoadFailure.
    explicit Library(const std::filesystem::path& path);

  private:
    Module module;
};

} // namespace host
