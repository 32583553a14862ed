#include "pc_parts.h"

#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>

#include <windows.h>

#include "this_program.h"

namespace rig {

namespace {

constexpr const wchar_t* kService = L"SolvaneDevice";
constexpr const char* kFile = "SolvaneDevice.sys";

struct ServiceCloser {
    void operator()(SC_HANDLE handle) const { CloseServiceHandle(handle); }
};
using ServiceHandle = std::unique_ptr<std::remove_pointer_t<SC_HANDLE>, ServiceCloser>;

[[noreturn]] void Fail(const std::string& what) {
    const DWORD error = GetLastError();
    throw std::runtime_error("cannot " + what + " the driver: " +
                             (error == ERROR_ACCESS_DENIED
                                  ? "this needs an administrator"
                                  : "Windows error " + std::to_string(error)));
}

DWORD StateOf(SC_HANDLE service) {
    SERVICE_STATUS status{};
    return QueryServiceStatus(service, &status) ? status.dwCurrentState : SERVICE_STOPPED;
}

/// `what` is the purpose, for the error message.
ServiceHandle OpenManager(const std::string& what) {
    ServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS));
    if (!manager) {
        Fail(what);
    }
    return manager;
}

ServiceHandle OpenDriver(SC_HANDLE manager) {
    return ServiceHandle(OpenServiceW(manager, kService, SERVICE_ALL_ACCESS));
}

/// Starts a service. For some seconds after its own start the system refuses, because it is
/// starting other services; then this tries again.
bool Start(SC_HANDLE service) {
    for (int i = 0; i < 100; ++i) {
        if (StartServiceW(service, 0, nullptr)) {
            return true;
        }
        const DWORD error = GetLastError();
        if (error != ERROR_SERVICE_DATABASE_LOCKED) {
            return error == ERROR_SERVICE_ALREADY_RUNNING;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    return false;
}

/// Waits a few seconds for a service to reach a state.
bool Reaches(SC_HANDLE service, DWORD state) {
    for (int i = 0; i < 50 && StateOf(service) != state; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    return StateOf(service) == state;
}

} // namespace

void InstallDriver(std::ostream& out) {
    if (!RunsInWine()) {
        throw std::runtime_error(
            "the driver is made for Wine; on Windows, use the one that belongs "
            "to your hardware");
    }
    const std::wstring path = PathBesideThisProgram(kFile).wstring();
    if (GetFileAttributesW(path.c_str()) == INVALID_FILE_ATTRIBUTES) {
        throw std::runtime_error("SolvaneDevice.sys is not beside this program");
    }
    const ServiceHandle manager = OpenManager("install");
    ServiceHandle service = OpenDriver(manager.get());
    if (!service) {
        service.reset(CreateServiceW(manager.get(), kService, kService, SERVICE_ALL_ACCESS,
                                     SERVICE_KERNEL_DRIVER, SERVICE_DEMAND_START,
                                     SERVICE_ERROR_NORMAL, path.c_str(), nullptr, nullptr, nullptr,
                                     nullptr, nullptr));
    }
    if (!service) {
        Fail("install");
    }
    if (!Start(service.get()) || !Reaches(service.get(), SERVICE_RUNNING)) {
        Fail("start");
    }
    out << "The driver runs.\n";
}

void RemoveDriver(std::ostream& out) {
    const ServiceHandle manager = OpenManager("remove");
    const ServiceHandle service = OpenDriver(manager.get());
    if (service) {
        SERVICE_STATUS status{};
        ControlService(service.get(), SERVICE_CONTROL_STOP, &status);
        Reaches(service.get(), SERVICE_STOPPED);
        if (!DeleteService(service.get()) && GetLastError() != ERROR_SERVICE_MARKED_FOR_DELETE) {
            Fail("remove");
        }
    }
    out << "The driver is not installed.\n";
}

void PrintDriverState(std::ostream& out) {
    const ServiceHandle manager = OpenManager("ask for");
    const ServiceHandle service = OpenDriver(manager.get());
    if (!service) {
        throw std::runtime_error("the driver is not installed");
    }
    if (StateOf(service.get()) != SERVICE_RUNNING) {
        throw std::runtime_error("the driver is installed and does not run");
    }
    out << "The driver runs.\n";
}

} // namespace rig
