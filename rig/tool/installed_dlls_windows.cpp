#include "installed_dlls.h"

#include <algorithm>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <utility>

#include <windows.h>

#include "dll_files.h"
#include "file_content.h"
#include "host_dlls.h"
#include "parallel_ports.h"
#include "this_program.h"

namespace fs = std::filesystem;

namespace rig {

namespace {

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
    std::vector<fs::path> first = {hostFolder};
    if (!real.empty()) {
        first.insert(first.begin(), fs::absolute(real));
    }
    const std::vector<fs::path> folders = host::LoaderFolders(std::move(first));
    std::vector<InstalledDll> dlls;
    std::string names;
    for (const char* name : kVendorDlls) {
        names += std::string(names.empty() ? "" : ", ") + name;
        const std::vector<fs::path> files = host::FindFiles(folders, name);
        if (files.empty()) {
            continue;
        }
        std::error_code ignored;
        const fs::path file = fs::canonical(files.front(), ignored); // as it is spelled there
        std::optional<std::string> bytes = host::ContentOf(file);
        if (!bytes) {
            throw std::runtime_error(Utf8(files.front()) + " cannot be read.");
        }
        dlls.push_back({name, file, *std::move(bytes), host::VersionOf(file)});
    }
    if (dlls.empty()) {
        throw std::runtime_error("this machine has none of the vendors' DLLs (" + names +
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

std::vector<record::ReportedPort> ReportedParallelPorts() {
    const auto valueOf = [](const host::WmiProperty& property) {
        return std::visit([](const auto& value) { return Value(value); }, property);
    };
    std::vector<record::ReportedPort> ports;
    for (const host::ParallelPort& port : host::ListParallelPorts()) {
        ports.push_back({valueOf(port.deviceId), {}});
        std::ranges::transform(port.startingAddresses,
                               std::back_inserter(ports.back().startingAddresses), valueOf);
    }
    return ports;
}

} // namespace rig
