/// A system call that failed, as an exception of the timer service. It never leaves the exports.
#pragma once

#include <cstdint>
#include <exception>
#include <string>
#include <string_view>

namespace Trel::SolvaneDriverLib {

class Win32Exception : public std::exception {
  public:
    /// The message is the prefix, the system's own sentence with its own line break, and the code:
    /// "Wait error: The handle is invalid.\r\n (0x00000006)".
    Win32Exception(std::uint32_t code, std::string_view prefix);

    /// The same with the error that the calling thread met last.
    explicit Win32Exception(std::string_view prefix);

    const char* what() const noexcept override { return message.c_str(); }

    std::uint32_t ErrorCode() const { return errorCode; }

  private:
    std::uint32_t errorCode;
    std::string message;
};

} // namespace Trel::SolvaneDriverLib
