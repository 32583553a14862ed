// Elsewhere than on Windows, the tool shows waveforms and places DLLs; the rest belongs into Wine.

#include <stdexcept>
#include <system_error>

#include "command_line.h"
#include "driver_service.h"
#include "host_guard.h"
#include "this_program.h"
#include "wmi_class.h"

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

void TellBenches(std::ostream&) {}

/// A bench is reached over Windows' pipes.
void AddBenchCommands(CLI::App&, std::ostream&, std::ostream&, const std::vector<std::string>&,
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

void TellDriver(std::ostream&) {
    RefuseDriver();
}

void InstallWmiClass(std::ostream&) {
    RefuseWmiClass();
}

void RemoveWmiClass(std::ostream&) {
    RefuseWmiClass();
}

void TellWmiClass(std::ostream&) {
    RefuseWmiClass();
}

} // namespace rig
