#include "installed_dlls.h"

#include <sstream>
#include <stdexcept>
#include <utility>

#include <windows.h>

#include "file_content.h"
#include "host_dlls.h"
#include "this_program.h"

namespace fs = std::filesystem;

namespace rig {

namespace {

template <class Ask>
std::wstring TextFrom(Ask ask) {
    std::wstring text(32768, L'\0');
    text.resize(ask(text.data(), static_cast<DWORD>(text.size())));
    return text;
}

/// The folders in which Windows looks for DLLs after the host's own.
std::vector<fs::path> SearchPath() {
    std::vector<fs::path> folders = {TextFrom(GetSystemDirectoryW),
                                     TextFrom(GetSystemWindowsDirectoryW)};
    std::wistringstream path(TextFrom(
        [](wchar_t* text, DWORD size) { return GetEnvironmentVariableW(L"PATH", text, size); }));
    for (std::wstring folder; std::getline(path, folder, L';');) {
        if (!folder.empty()) {
            folders.emplace_back(folder);
        }
    }
    return folders;
}

/// The version that a file tells of itself; empty without one.
std::string VersionOf(const fs::path& file) {
    DWORD ignored = 0;
    std::vector<char> block(GetFileVersionInfoSizeW(file.c_str(), &ignored));
    void* found = nullptr;
    UINT size = 0;
    if (block.empty() ||
        !GetFileVersionInfoW(file.c_str(), 0, static_cast<DWORD>(block.size()), block.data()) ||
        !VerQueryValueW(block.data(), L"\\", &found, &size) || size < sizeof(VS_FIXEDFILEINFO)) {
        return {};
    }
    const auto& fixed = *static_cast<const VS_FIXEDFILEINFO*>(found);
    std::ostringstream version;
    version << HIWORD(fixed.dwFileVersionMS) << '.' << LOWORD(fixed.dwFileVersionMS) << '.'
            << HIWORD(fixed.dwFileVersionLS) << '.' << LOWORD(fixed.dwFileVersionLS);
    return version.str();
}

template <class Function>
Function FromNtdll(const char* name) {
    return reinterpret_cast<Function>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), name)));
}

/// How often this version of Windows was updated; 0 if that is not known.
DWORD UpdateRevision() {
    DWORD revision = 0;
    DWORD size = sizeof revision;
    RegGetValueW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion", L"UBR",
                 RRF_RT_REG_DWORD, nullptr, &revision, &size);
    return revision;
}

} // namespace

std::vector<InstalledDll> FindVendorDlls(const fs::path& real, const fs::path& hostFolder) {
    std::vector<fs::path> folders = SearchPath();
    folders.insert(folders.begin(), hostFolder);
    if (!real.empty()) {
        folders.insert(folders.begin(), fs::absolute(real));
    }
    std::vector<InstalledDll> dlls;
    std::string looked;
    for (const char* name : kVendorDlls) {
        looked += std::string(looked.empty() ? "" : ", ") + name;
        std::error_code ignored;
        for (const fs::path& folder : folders) {
            if (!fs::exists(folder / name, ignored)) {
                continue;
            }
            const fs::path file = fs::canonical(folder / name, ignored); // as it is spelled there
            std::optional<std::string> bytes = ContentOf(file);
            if (!bytes) {
                throw std::runtime_error(Utf8(folder / name) + " cannot be read.");
            }
            dlls.push_back({name, file, *std::move(bytes), VersionOf(file)});
            break;
        }
    }
    if (dlls.empty()) {
        throw std::runtime_error("this machine has none of the vendors' DLLs (" + looked +
                                 "). `--real FOLDER` says where they are.");
    }
    return dlls;
}

std::string SystemVersion() {
    OSVERSIONINFOW version{};
    version.dwOSVersionInfoSize = sizeof version;
    const auto ask = FromNtdll<LONG(WINAPI*)(OSVERSIONINFOW*)>("RtlGetVersion");
    ask(&version);
    std::ostringstream text;
    text << "Windows " << version.dwMajorVersion << '.' << version.dwMinorVersion << '.'
         << version.dwBuildNumber;
    if (const DWORD revision = UpdateRevision(); revision != 0) {
        text << '.' << revision;
    }
    const auto wine = FromNtdll<const char*(CDECL*)()>("wine_get_version");
    if (wine != nullptr) {
        text << ", Wine " << wine();
    }
    return text.str();
}

} // namespace rig
