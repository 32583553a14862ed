/// A system call of the timers that failed, as an exception. It never leaves the exports.
#pragma once

#include <cstdint>
#include <exception>
#include <string>
#include <string_view>

namespace Trel::SolvaneDriverLib {

class Win32Exception : public std::exception {
  public:
    /// The message is the prefix, the system's sentence with its line break, and the code:
    /// "Wait error: The handle is invalid.\r\n (0x00000006)".
    Win32Exception(std::uint32_t code, std::string_view prefix);

    /// The same with the calling thread's last error.
    explicit Win32Exception(std::string_view prefix);

    const char* what() const noexcept override { return message.c_str(); }

    std::uint32_t ErrorCode() const { return errorCode; }

  private:
    std::uint32_t errorCode;
    std::string message;
};

} // namespace Trel::SolvaneDriverLib
