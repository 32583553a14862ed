/// Solvane.dll, loaded while the program runs.
#pragma once

#include <filesystem>
#include <stdexcept>

#include "functions.h"
#include "module.h"

namespace host {

/// The library cannot be used; what() explains why in sentences for the user.
class LoadFailure : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

class Library : public Functions {
  public:
    /// Loads the library from a path; an empty path means Solvane.dll beside this program. Throws
    /// LoadFailure.
    explicit Library(const std::filesystem::path& path);

  private:
    Module module;
};

} // namespace host
