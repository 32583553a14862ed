#include "machine.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <memory>
#include <type_traits>

#include <windows.h>

#include <mmsystem.h>
#include <powrprof.h>
#include <winsvc.h>

#include "dll_files.h"
#include "file_content.h"
#include "missing_imports.h"
#include "parallel_ports.h"
#include "vendor_dlls.h"
#include "virtual_rig.h"
#include "windows_text.h"

namespace host {

namespace {

namespace fs = std::filesystem;

DllFile LookAt(const fs::path& path, bool isBefore) {
    const std::optional<std::string> content = ContentOf(path);
    return {Utf8(path.native()), VersionOf(path), content ? Sha256(*content) : "",
            ProcessorOf(content.value_or("")), isBefore};
}

HMODULE ModuleOf(const Functions& library) {
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                           GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<const wchar_t*>(library.CheckAvailable.function), &module);
    return module;
}

LoadedDll LookAt(HMODULE module, const char* name, const std::vector<fs::path>& folders) {
    const fs::path path = FileOf(module);
    LoadedDll dll{name, LookAt(path, false), {}};
    bool isBefore = true;
    for (const fs::path& file : FindFiles(folders, name)) {
        std::error_code error;
        if (fs::equivalent(file, path, error)) {
            isBefore = false;
        } else {
            dll.others.push_back(LookAt(file, isBefore));
        }
    }
    return dll;
}

std::vector<LoadedDll> FindVendorDlls(const std::vector<fs::path>& folders) {
    std::vector<LoadedDll> dlls;
    for (const VendorDll& vendor : kVendorDlls) {
        if (const HMODULE module = GetModuleHandleW(vendor.file)) {
            dlls.push_back(LookAt(module, vendor.name, folders));
        }
    }
    return dlls;
}

/// The devices that D2XX lists, asked through the DLL that the library has loaded.
std::vector<UsbDevice> FindUsb() {
    struct Node { // FT_DEVICE_LIST_INFO_NODE
        std::uint32_t flags;
        std::uint32_t type;
        std::uint32_t id;
        std::uint32_t location;
        char serial[16];
        char description[64];
        void* handle;
    };
    constexpr std::uint32_t kMostNodes = 4096;
    constexpr std::uint32_t kFt2232hType = 6;
    constexpr std::uint32_t kFt2232hId = 0x0403'6010;
    const HMODULE module = GetModuleHandleW(L"FTD2XX.dll");
    const auto find = [&](const char* name) {
        return reinterpret_cast<void*>(module != nullptr ? GetProcAddress(module, name) : nullptr);
    };
    using Create = std::uint32_t(WINAPI*)(std::uint32_t*);
    using Get = std::uint32_t(WINAPI*)(Node*, std::uint32_t*);
    const auto create = reinterpret_cast<Create>(find("FT_CreateDeviceInfoList"));
    const auto get = reinterpret_cast<Get>(find("FT_GetDeviceInfoList"));
    std::uint32_t count = 0;
    if (create == nullptr || get == nullptr || create(&count) != 0 || count > kMostNodes) {
        return {};
    }
    std::vector<Node> nodes(count);
    if (count == 0 || get(nodes.data(), &count) != 0) {
        return {};
    }
    nodes.resize(std::min<std::size_t>(count, nodes.size()));
    std::vector<UsbDevice> devices;
    for (const Node& node : nodes) {
        const auto text = [](const auto& field) {
            return std::string(field, std::find(field, std::end(field), '\0'));
        };
        devices.push_back({text(node.serial), text(node.description),
                           node.type == kFt2232hType && node.id == kFt2232hId});
    }
    return devices;
}

std::string SystemText() {
    using GetVersion = LONG(WINAPI*)(OSVERSIONINFOW*);
    // GetVersionEx() would report the version in the program's manifest instead of the real one.
    const auto get = reinterpret_cast<GetVersion>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "RtlGetVersion")));
    OSVERSIONINFOW version{};
    version.dwOSVersionInfoSize = sizeof version;
    if (get == nullptr || get(&version) != 0) {
        return "Windows";
    }
    constexpr DWORD kFirstOfWindows11 = 22000; // whose version number is still 10.0
    const std::string number = std::to_string(version.dwMajorVersion) + "." +
                               std::to_string(version.dwMinorVersion) + "." +
                               std::to_string(version.dwBuildNumber);
    return version.dwBuildNumber >= kFirstOfWindows11 ? "Windows 11 (" + number + ")"
                                                      : "Windows " + number;
}

template <typename Ask>
std::string Name(Ask ask) {
    std::array<wchar_t, 257> name{};
    DWORD size = name.size();
    return ask(name.data(), &size) != 0 ? Utf8(name.data()) : "";
}

std::string LocalTime() {
    SYSTEMTIME now;
    GetLocalTime(&now);
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%04u-%02u-%02u %02u:%02u", unsigned{now.wYear},
                  unsigned{now.wMonth}, unsigned{now.wDay}, unsigned{now.wHour},
                  unsigned{now.wMinute});
    return text.data();
}

std::optional<DWORD> RegistryNumber(const wchar_t* key, const wchar_t* value) {
    DWORD number = 0;
    DWORD size = sizeof number;
    const LSTATUS status =
        RegGetValueW(HKEY_LOCAL_MACHINE, key, value, RRF_RT_REG_DWORD, nullptr, &number, &size);
    return status == ERROR_SUCCESS ? std::optional(number) : std::nullopt;
}

/// USB selective suspend in the active power plan, on mains power.
std::optional<bool> FindUsbSuspend() {
    constexpr GUID kUsb{
        0x2a737441, 0x1930, 0x4402, {0x8d, 0x77, 0xb2, 0xbe, 0xbb, 0xa3, 0x08, 0xa3}};
    constexpr GUID kSuspend{
        0x48e6b7a6, 0x50f5, 0x4782, {0xa5, 0xd4, 0x53, 0xbb, 0x8f, 0x07, 0xe2, 0x26}};
    GUID* scheme = nullptr;
    if (PowerGetActiveScheme(nullptr, &scheme) != ERROR_SUCCESS) {
        return std::nullopt;
    }
    DWORD value = 0;
    const DWORD status = PowerReadACValueIndex(nullptr, scheme, &kUsb, &kSuspend, &value);
    LocalFree(scheme);
    return status == ERROR_SUCCESS ? std::optional(value != 0) : std::nullopt;
}

/// How long some work takes, in milliseconds.
template <typename Work>
double Measured(Work work) {
    const auto begin = SteadyNow();
    work();
    return std::chrono::duration<double, std::milli>(SteadyNow() - begin).count();
}

double MedianSleep() {
    std::array<double, 5> times{};
    std::ranges::generate(times, [] { return Measured([] { Sleep(10); }); });
    std::ranges::sort(times);
    return times[times.size() / 2];
}

SleepTimes MeasureSleep() {
    SleepTimes times;
    times.plain = MedianSleep();
    timeBeginPeriod(1);
    times.raised = MedianSleep();
    timeEndPeriod(1);
    return times;
}

struct CloseService {
    void operator()(SC_HANDLE handle) const { CloseServiceHandle(handle); }
};
using Service = std::unique_ptr<std::remove_pointer_t<SC_HANDLE>, CloseService>;

} // namespace

DriverState FindDriver(const wchar_t* service) {
    const Service manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
    if (!manager) {
        return DriverState::unknown;
    }
    const Service driver(OpenServiceW(manager.get(), service, SERVICE_QUERY_STATUS));
    if (!driver) {
        return GetLastError() == ERROR_SERVICE_DOES_NOT_EXIST ? DriverState::absent
                                                              : DriverState::unknown;
    }
    SERVICE_STATUS status{};
    if (QueryServiceStatus(driver.get(), &status) == 0) {
        return DriverState::unknown;
    }
    return StateOfService(status.dwCurrentState, status.dwWin32ExitCode);
}

std::optional<bool> FindMemoryIntegrity() {
    const auto enabled =
        RegistryNumber(L"SYSTEM\\CurrentControlSet\\Control\\DeviceGuard\\Scenarios"
                       L"\\HypervisorEnforcedCodeIntegrity",
                       L"Enabled");
    return enabled ? std::optional(*enabled != 0) : std::nullopt;
}

Machine LookAtMachine(const Functions& library) {
    const HMODULE module = ModuleOf(library);
    Machine machine;
    machine.system = SystemText();
    machine.computer = Name(GetComputerNameW);
    machine.user = Name(GetUserNameW);
    machine.time = LocalTime();
    machine.rig = DescribeVirtualRig();
    machine.dllsMs = Measured([&] {
        machine.library = LookAt(module, "Solvane.dll", {}); // loaded by path, not searched
        machine.vendorDlls = FindVendorDlls(ImportFolders(FileOf(module)));
    });
    machine.usb = FindUsb();
    machine.port = FirstOf(ListParallelPorts());
    machine.inpout = FindDriver(kInpoutService);
    machine.timerDriver = FindDriver(kTimerService);
    machine.memoryIntegrity = FindMemoryIntegrity();
    machine.usbSuspend = FindUsbSuspend();
    const double measuringMs = Measured([&] { machine.sleep = MeasureSleep(); });
    machine.sleep.measuringMs = measuringMs;
    return machine;
}

} // namespace host
