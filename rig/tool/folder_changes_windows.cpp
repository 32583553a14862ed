#include "folder_changes.h"

#include <stdexcept>
#include <string>
#include <system_error>

#include <windows.h>

#include "this_program.h"

namespace rig {

namespace {

[[noreturn]] void Fail(const std::filesystem::path& path, const char* what, DWORD error) {
    std::string reason = "Windows error " + std::to_string(error);
    if (error == ERROR_ACCESS_DENIED || error == ERROR_SHARING_VIOLATION) {
        reason = "a program has it open, or this needs an administrator";
    } else if (error == ERROR_ALREADY_EXISTS || error == ERROR_FILE_EXISTS) {
        reason = "another file is in the way";
    } else if (error == ERROR_DISK_FULL) {
        reason = "the disk is full";
    }
    throw std::runtime_error(Utf8(path) + " cannot be " + what + ": " + reason + '.');
}

bool WriteAll(HANDLE file, std::string_view bytes) {
    DWORD written = 0;
    return WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) &&
           FlushFileBuffers(file);
}

} // namespace

void CreateNewFile(const std::filesystem::path& path, std::string_view bytes) {
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        Fail(path, "made", GetLastError());
    }
    const DWORD error = WriteAll(file, bytes) ? ERROR_SUCCESS : GetLastError();
    CloseHandle(file);
    if (error != ERROR_SUCCESS) {
        DeleteFileW(path.c_str());
        Fail(path, "written", error);
    }
}

void RenameFile(const std::filesystem::path& from, const std::filesystem::path& to) {
    if (!MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_WRITE_THROUGH)) {
        Fail(from, "renamed", GetLastError());
    }
}

void RemoveFile(const std::filesystem::path& path) {
    if (!DeleteFileW(path.c_str())) {
        Fail(path, "removed", GetLastError());
    }
}

bool IsOfTheSystem(const std::filesystem::path& folder) {
    std::wstring windows(MAX_PATH, L'\0');
    windows.resize(GetSystemWindowsDirectoryW(windows.data(), MAX_PATH));
    std::error_code ignored;
    for (std::filesystem::path above = std::filesystem::canonical(folder, ignored);;
         above = above.parent_path()) {
        if (std::filesystem::equivalent(above, windows, ignored)) {
            return true;
        }
        if (above == above.parent_path()) {
            return false;
        }
    }
}

} // namespace rig
