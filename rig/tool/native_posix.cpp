// Natively the tool can only show waveforms and place DLLs. For everything else run it in Wine.

#include <cerrno>
#include <stdexcept>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <stdio.h>
#include <unistd.h>

#include "command_line.h"
#include "folder_changes.h"
#include "host_guard.h"
#include "pc_parts.h"
#include "this_program.h"

namespace rig {

namespace {

[[noreturn]] void Refuse(const std::string& reason) {
    throw std::runtime_error(reason + "; run solvane-rig.exe in Wine");
}

[[noreturn]] void RefuseDriver() {
    Refuse("the driver is a Windows driver");
}

[[noreturn]] void RefuseWmiClass() {
    Refuse("the WMI class is a Windows class");
}

[[noreturn]] void Fail(const std::filesystem::path& path, const char* what, int error) {
    throw std::runtime_error(Utf8(path) + " cannot be " + what + ": " +
                             std::generic_category().message(error) + '.');
}

bool WriteAll(int file, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(file, bytes.data(), bytes.size());
        if (written < 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return fsync(file) == 0;
}

} // namespace

int RunInUtf8(int count, char** values, Program program) {
    return program({values, values + count});
}

bool RunsInWine() {
    return false;
}

std::filesystem::path PathBesideThisProgram(const char* file) {
    std::error_code ignored;
    return std::filesystem::read_symlink("/proc/self/exe", ignored).parent_path() / file;
}

void PrintBenches(std::ostream&) {}

/// There are no benches: they need Windows' named pipes.
void AddBenchCommands(CLI::App&, std::ostream&, std::ostream&, const std::vector<std::string>&,
                      int&) {}

/// Nor is there simulated hardware.
void AddCompareCommand(CLI::App&, std::ostream&, std::ostream&, int&) {}
void AddRecordCommand(CLI::App&, std::ostream&, std::ostream&, const std::vector<std::string>&,
                      int&) {}

int RunGuarded(const std::vector<std::string>&) {
    Refuse("a host is a Windows program");
}

void InstallDriver(std::ostream&) {
    RefuseDriver();
}

void RemoveDriver(std::ostream&) {
    RefuseDriver();
}

void PrintDriverState(std::ostream&) {
    RefuseDriver();
}

void InstallWmiClass(std::ostream&) {
    RefuseWmiClass();
}

void RemoveWmiClass(std::ostream&) {
    RefuseWmiClass();
}

void PrintWmiClassState(std::ostream&) {
    RefuseWmiClass();
}

void CreateNewFile(const std::filesystem::path& path, std::string_view bytes) {
    const int file = open(path.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0666);
    if (file < 0) {
        Fail(path, "made", errno);
    }
    const int error = WriteAll(file, bytes) ? 0 : errno;
    close(file);
    if (error != 0) {
        unlink(path.c_str());
        Fail(path, "written", error);
    }
}

void RenameFile(const std::filesystem::path& from, const std::filesystem::path& to) {
    if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) != 0) {
        Fail(from, "renamed", errno);
    }
}

void RemoveFile(const std::filesystem::path& path) {
    if (unlink(path.c_str()) != 0) {
        Fail(path, "removed", errno);
    }
}

bool IsOfTheSystem(const std::filesystem::path&) {
    return false;
}

} // namespace rig
