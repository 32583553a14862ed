/// Converts text between the program, which uses UTF-8 throughout, and Windows, which uses UTF-16.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <windows.h>

namespace host {

std::string Utf8(std::wstring_view wide);
std::wstring Wide(std::string_view utf8);

/// The command line of this process, including the program's name.
std::vector<std::string> Arguments();

/// Windows' message for an error number, without its full stop.
std::string SystemMessage(DWORD error);

/// Switches the console to UTF-8 while the object lives. The code page belongs to the console,
/// which outlives the program, so it is restored.
class Utf8Console {
  public:
    Utf8Console();
    ~Utf8Console();
    Utf8Console(const Utf8Console&) = delete;
    Utf8Console& operator=(const Utf8Console&) = delete;

  private:
    const UINT before;
};

} // namespace host
