#include "win32_exception.h"

#include <memory>
#include <vector>

#include "kernel.h"

namespace Trel::SolvaneDriverLib {

namespace {

struct LocalFreer {
    void operator()(wchar_t* text) const { platform::LocalFree(text); }
};

/// The system's sentence for an error, with its line break; empty when there is none.
std::string SystemText(std::uint32_t code) {
    constexpr platform::DWORD kNeutralLanguage = 0x400;
    wchar_t* allocated = nullptr;
    const platform::DWORD length = platform::FormatMessageW(
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_FROM_SYSTEM,
        nullptr, code, kNeutralLanguage, reinterpret_cast<wchar_t*>(&allocated), 0, nullptr);
    const std::unique_ptr<wchar_t, LocalFreer> wide(allocated);
    if (length == 0 || wide == nullptr) {
        return {};
    }
    std::vector<char> narrow(std::size_t{length} * 2 + 2);
    std::size_t converted = 0;
    if (platform::wcstombs_s(&converted, narrow.data(), narrow.size(), wide.get(), _TRUNCATE) !=
        0) {
        return {};
    }
    return narrow.data();
}

std::string Digits(std::uint32_t code) {
    std::string digits;
    for (int shift = 28; shift >= 0; shift -= 4) {
        digits += "0123456789abcdef"[code >> shift & 0xF];
    }
    return digits;
}

std::string Message(std::uint32_t code, std::string_view prefix) {
    return std::string(prefix) + SystemText(code) + " (0x" + Digits(code) + ")";
}

} // namespace

Win32Exception::Win32Exception(std::uint32_t code, std::string_view prefix)
    : errorCode(code), message(Message(code, prefix)) {}

Win32Exception::Win32Exception(std::string_view prefix)
    : Win32Exception(platform::GetLastError(), prefix) {}

} // namespace Trel::SolvaneDriverLib
