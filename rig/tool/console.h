/// What systems do differently about text on the command line; here it is UTF-8 everywhere.
#pragma once

#include <string>
#include <vector>

namespace rig {

/// The console takes UTF-8 as long as this lives.
class Utf8Console {
  public:
    Utf8Console();
    ~Utf8Console();
    Utf8Console(const Utf8Console&) = delete;
    Utf8Console& operator=(const Utf8Console&) = delete;

  private:
    unsigned codePage; ///< the console's own, to be put back
};

/// The arguments of main() as UTF-8.
std::vector<std::string> Utf8Arguments(int count, char** values);

} // namespace rig
