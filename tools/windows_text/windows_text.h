/// Text between the program, which is UTF-8 throughout, and Windows, which is UTF-16.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <windows.h>

namespace host {

std::string Utf8(std::wstring_view wide);
std::wstring Wide(std::string_view utf8);

/// The command line of this process, the program's own name included.
std::vector<std::string> Arguments();

/// What a Windows error number means, in the words of the system and without a full stop.
std::string SystemMessage(DWORD error);

/// A console that shows UTF-8. The code page belongs to the console, which outlives the program, so
/// it is put back.
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
