#include "dll_search.h"

#include <algorithm>
#include <array>
#include <fstream>

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

/// A value from a file; all zero where the file ends before.
template <typename Value>
Value ReadAt(std::ifstream& stream, std::streamoff offset) {
    Value value{};
    stream.seekg(offset);
    stream.read(reinterpret_cast<char*>(&value), sizeof value);
    return stream ? value : Value{};
}

} // namespace

fs::path PathOf(HMODULE module) {
    std::wstring path(MAX_PATH, L'\0');
    DWORD length = 0;
    while ((length = GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size()))) ==
           path.size()) { // the buffer was too small
        path.resize(2 * path.size());
    }
    path.resize(length);
    return path;
}

std::vector<fs::path> LoaderFolders(const fs::path& library) {
    const fs::path windows = SystemFolder(GetWindowsDirectoryW);
    std::vector<fs::path> folders{library.parent_path(), PathOf(nullptr).parent_path(),
                                  SystemFolder(GetSystemDirectoryW), windows / L"System", windows};
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

Processor ProcessorOf(const fs::path& dll) {
    std::ifstream stream(dll, std::ios::binary);
    const auto dos = ReadAt<IMAGE_DOS_HEADER>(stream, 0);
    const auto headers = static_cast<std::streamoff>(dos.e_lfanew);
    if (dos.e_magic != IMAGE_DOS_SIGNATURE ||
        ReadAt<DWORD>(stream, headers) != IMAGE_NT_SIGNATURE) {
        return Processor::none;
    }
    const std::streamoff behindSignature = headers + static_cast<std::streamoff>(sizeof(DWORD));
    const auto header = ReadAt<IMAGE_FILE_HEADER>(stream, behindSignature);
    switch (header.Machine) {
    case IMAGE_FILE_MACHINE_AMD64:
        return Processor::x64;
    case IMAGE_FILE_MACHINE_I386:
        return Processor::x86;
    case IMAGE_FILE_MACHINE_UNKNOWN:
        return Processor::none;
    default:
        return Processor::other;
    }
}

} // namespace host
