#include "mapped_file.h"

#include <stdexcept>

#include <windows.h>

namespace rig::record {

namespace {

HANDLE HandleOf(std::intptr_t file) {
    return reinterpret_cast<HANDLE>(file);
}

std::string ReasonOf(DWORD error) {
    switch (error) {
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
    case ERROR_FILE_TOO_LARGE:
        return "the disk is full";
    case ERROR_PATH_NOT_FOUND:
        return "there is no such folder";
    case ERROR_ACCESS_DENIED:
        return "this user may not write there";
    default:
        return "Windows error " + std::to_string(error);
    }
}

/// Writes at the file's position, which is behind what was written before.
bool Write(HANDLE file, std::string_view bytes) {
    DWORD written = 0;
    const bool isDone =
        WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
    if (isDone && written != bytes.size()) {
        SetLastError(ERROR_DISK_FULL);
    }
    return isDone && written == bytes.size();
}

} // namespace

MappedFile::MappedFile(const std::filesystem::path& wanted) {
    for (unsigned number = 1; file == -1; ++number) {
        path = Numbered(wanted, number);
        // Other programs may read it meanwhile.
        const HANDLE made = CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ,
                                        nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
        file = reinterpret_cast<std::intptr_t>(made);
        if (made == INVALID_HANDLE_VALUE && GetLastError() != ERROR_FILE_EXISTS) {
            throw std::runtime_error(ReasonOf(GetLastError()));
        }
    }
}

MappedFile::~MappedFile() {
    CloseHandle(HandleOf(file));
}

char* MappedFile::MapNext() {
    static const std::string zeros(kPiece, '\0');
    HANDLE mapping = nullptr;
    void* piece = nullptr;
    const std::uint64_t end = size + kPiece;
    if (Write(HandleOf(file), zeros)) {
        mapping =
            CreateFileMappingW(HandleOf(file), nullptr, PAGE_READWRITE,
                               static_cast<DWORD>(end >> 32), static_cast<DWORD>(end), nullptr);
    }
    if (mapping != nullptr) {
        piece = MapViewOfFile(mapping, FILE_MAP_WRITE, static_cast<DWORD>(size >> 32),
                              static_cast<DWORD>(size), kPiece);
    }
    if (piece == nullptr) {
        reason = ReasonOf(GetLastError());
    } else {
        size = end;
    }
    if (mapping != nullptr) {
        CloseHandle(mapping); // the view keeps it
    }
    return static_cast<char*>(piece);
}

void MappedFile::Unmap(char* piece) {
    UnmapViewOfFile(piece);
}

void MappedFile::Cut(std::uint64_t end) {
    LARGE_INTEGER place{};
    place.QuadPart = static_cast<LONGLONG>(end);
    SetFilePointerEx(HandleOf(file), place, nullptr, FILE_BEGIN);
    SetEndOfFile(HandleOf(file));
}

void MappedFile::Append(std::string_view bytes) {
    Write(HandleOf(file), bytes);
}

void DoSoon(void (*work)(void*), void* argument) {
    struct Work {
        void (*function)(void*);
        void* argument;
    };
    auto* const posted = new Work{work, argument};
    const auto run = [](PTP_CALLBACK_INSTANCE, void* context) {
        const Work copy = *static_cast<Work*>(context);
        delete static_cast<Work*>(context);
        copy.function(copy.argument);
    };
    if (!TrySubmitThreadpoolCallback(run, posted, nullptr)) {
        run(nullptr, posted);
    }
}

} // namespace rig::record
