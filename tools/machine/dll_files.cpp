#include "dll_files.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

namespace host {

namespace {

namespace fs = std::filesystem;

/// A folder, as returned by one of Windows' functions.
template <typename Get>
fs::path SystemFolder(Get get) {
    std::array<wchar_t, MAX_PATH> path{};
    return get(path.data(), MAX_PATH) != 0 ? path.data() : L"";
}

std::wstring SearchPath() {
    std::wstring path(GetEnvironmentVariableW(L"PATH", nullptr, 0), L'\0');
    path.resize(GetEnvironmentVariableW(L"PATH", path.data(), static_cast<DWORD>(path.size())));
    return path;
}

} // namespace

fs::path FileOf(HMODULE module) {
    std::wstring path(MAX_PATH, L'\0');
    DWORD length = 0;
    while ((length = GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size()))) ==
           path.size()) { // the buffer was too small
        path.resize(2 * path.size());
    }
    path.resize(length);
    return path;
}

fs::path ProgramFolder() {
    return FileOf(nullptr).parent_path();
}

std::vector<fs::path> LoaderFolders(std::vector<fs::path> first) {
    const fs::path windows = SystemFolder(GetSystemWindowsDirectoryW);
    std::vector<fs::path> folders = std::move(first);
    folders.insert(folders.end(),
                   {SystemFolder(GetSystemDirectoryW), windows / L"System", windows});
    const std::wstring path = SearchPath();
    for (std::size_t begin = 0; begin < path.size();) {
        const std::size_t end = std::min(path.find(L';', begin), path.size());
        if (end > begin) {
            folders.emplace_back(path.substr(begin, end - begin));
        }
        begin = end + 1;
    }
    return folders;
}

std::vector<fs::path> FindFiles(const std::vector<fs::path>& folders, const fs::path& name) {
    std::vector<fs::path> files;
    for (const fs::path& folder : folders) {
        std::error_code error;
        const fs::path file = (folder / name).make_preferred();
        const auto isIt = [&](const fs::path& each) { return fs::equivalent(each, file, error); };
        if (fs::is_regular_file(file, error) && std::ranges::none_of(files, isIt)) {
            files.push_back(file);
        }
    }
    return files;
}

std::string VersionOf(const fs::path& path) {
    DWORD ignored = 0;
    std::vector<std::byte> resource(GetFileVersionInfoSizeW(path.c_str(), &ignored));
    void* found = nullptr;
    UINT size = 0;
    if (resource.empty() ||
        GetFileVersionInfoW(path.c_str(), 0, static_cast<DWORD>(resource.size()),
                            resource.data()) == 0 ||
        VerQueryValueW(resource.data(), L"\\", &found, &size) == 0 ||
        size < sizeof(VS_FIXEDFILEINFO)) {
        return "";
    }
    const auto* const info = static_cast<const VS_FIXEDFILEINFO*>(found);
    std::string text;
    for (const WORD part : {HIWORD(info->dwFileVersionMS), LOWORD(info->dwFileVersionMS),
                            HIWORD(info->dwFileVersionLS), LOWORD(info->dwFileVersionLS)}) {
        text += (text.empty() ? "" : ".") + std::to_string(part);
    }
    return text;
}

} // namespace host
