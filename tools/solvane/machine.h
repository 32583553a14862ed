/// What the machine tells of an installation, apart from the camera's lines: plain facts, so that
/// check and doctor can be tried on machines that nobody has.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "first_port.h"
#include "functions.h"

namespace host {

/// What a DLL was built for.
enum class Processor {
    x64, ///< the library's own
    x86,
    other,
    none ///< it is no DLL
};

/// A file of a DLL's name, where Windows looks for it.
struct DllFile {
    std::string path;
    std::string version; ///< as its version resource has it; empty if it has none
    std::string sha256;  ///< of the file; empty if it could not be read
    Processor processor = Processor::x64;
    bool isBefore = false; ///< Windows looks there before it comes to the one that is loaded
};

/// A DLL of this process.
struct LoadedDll {
    std::string name;
    DllFile file;
    std::vector<DllFile> others; ///< in the order in which Windows would find them
};

/// The service of a kernel driver.
enum class DriverState {
    unknown, ///< Windows does not say
    absent,  ///< there is no such service
    stopped,
    refused, ///< Windows did not let it start
    running
};

/// What Windows' service manager tells of a driver: the state of its service, and the error with
/// which it stopped.
DriverState StateOfService(unsigned long state, unsigned long exitCode);

/// What Sleep(10) takes, in milliseconds, the median of several.
struct SleepTimes {
    double raised = 0; ///< with the timer resolution of 1 ms that the library asks for
    double plain = 0;
    double measuringMs = 0; ///< what it took to find that out
};

/// A device that D2XX lists.
struct UsbDevice {
    std::string serial; ///< of the channel, its letter last
    std::string description;
    bool isFt2232h; ///< by its type and its identifiers, as the library tells

    /// Whether it is a channel with the lines.
    bool HasLines() const { return isFt2232h && (serial.ends_with('B') || serial.ends_with('b')); }
};

struct Machine {
    std::string system; ///< "Windows 10.0.22631"
    std::string computer;
    std::string user;
    std::string time;               ///< of the day, local
    std::optional<std::string> rig; ///< the vendors' DLLs are virtual
    LoadedDll library;
    std::vector<LoadedDll> vendorDlls;
    double dllsMs = 0;             ///< what it took to look at them
    std::vector<UsbDevice> usb;    ///< in D2XX's order
    std::optional<FirstPort> port; ///< the parallel port, if Windows knows one
    DriverState inpout = DriverState::unknown;
    DriverState timerDriver = DriverState::unknown;
    std::optional<bool> memoryIntegrity; ///< whether core isolation keeps drivers out
    std::optional<bool> usbSuspend; ///< whether Windows may suspend a USB device that is in use
    SleepTimes sleep;
};

/// Asks Windows. After the library was used for the first time: who asks first sets COM up.
Machine LookAtMachine(const Functions& library);

// What doctor needs of it.
DriverState FindDriver(const wchar_t* service);
std::optional<bool> FindMemoryIntegrity();

inline constexpr const wchar_t* kInpoutService = L"inpoutx64";
inline constexpr const wchar_t* kTimerService = L"SolvaneDevice";

/// What to do about a driver that does not run; empty if nothing is to be done. InpOut's is one
/// that its own DLL installs.
std::string AdviceOnInpout(DriverState state, std::optional<bool> memoryIntegrity);
std::string AdviceOnTimerDriver(DriverState state);

/// "is not installed", "is stopped", ...
const char* Describe(DriverState state);

/// "64-bit", "32-bit", ...
const char* Describe(Processor processor);

} // namespace host
