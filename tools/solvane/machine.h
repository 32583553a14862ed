/// Facts about the PC of an installation, apart from the camera's lines. Plain data, so that tests
/// can make up any PC for check and doctor.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "first_port.h"
#include "functions.h"
#include "pe_file.h"

namespace host {

/// A file with the name of a DLL, in a folder where Windows searches for it.
struct DllFile {
    std::string path;
    std::string version; ///< from its version resource; empty if it has none
    std::string sha256;  ///< empty if the file could not be read
    Processor processor = Processor::x64;
    bool isBefore = false; ///< its folder is searched before that of the loaded DLL
};

/// A DLL loaded in this process.
struct LoadedDll {
    std::string name;
    DllFile file;
    std::vector<DllFile> others; ///< other files of its name, in search order
};

/// The service of a kernel driver.
enum class DriverState {
    unknown, ///< Windows could not be asked
    absent,  ///< there is no such service
    stopped,
    refused, ///< Windows did not let it start
    running
};

/// The state of a driver from what Windows' service manager reports: the state of its service, and
/// the exit code with which it stopped.
DriverState StateOfService(unsigned long state, unsigned long exitCode);

/// How long Sleep(10) takes, in milliseconds; the median of several.
struct SleepTimes {
    double raised = 0; ///< at the timer resolution of 1 ms that the library requests
    double plain = 0;
    double measuringMs = 0; ///< duration of the measurement
};

/// A device that D2XX lists.
struct UsbDevice {
    std::string serial; ///< of the channel, with the channel's letter at the end
    std::string description;
    bool isFt2232h; ///< by the same type and identifiers as in the library

    /// Whether it is channel B, to which the lines are wired.
    bool HasLines() const { return isFt2232h && (serial.ends_with('B') || serial.ends_with('b')); }
};

struct Machine {
    std::string system; ///< "Windows 10.0.22631"
    std::string computer;
    std::string user;
    std::string time; ///< local date and time
    std::optional<std::string>
        rig; ///< description of the virtual rig, if the vendors' DLLs are virtual
    LoadedDll library;
    std::vector<LoadedDll> vendorDlls;
    double dllsMs = 0;             ///< time it took to inspect the DLLs
    std::vector<UsbDevice> usb;    ///< in D2XX's order
    std::optional<FirstPort> port; ///< the parallel port, if Windows knows one
    DriverState inpout = DriverState::unknown;
    DriverState timerDriver = DriverState::unknown;
    std::optional<bool> memoryIntegrity; ///< whether core isolation may block drivers
    std::optional<bool> usbSuspend; ///< whether Windows may suspend a USB device that is in use
    SleepTimes sleep;
};

/// Asks Windows. To be called after the first use of the library, which must be the first to
/// initialise COM security in the process.
Machine LookAtMachine(const Functions& library);

// The parts that doctor needs.
DriverState FindDriver(const wchar_t* service);
std::optional<bool> FindMemoryIntegrity();

inline constexpr const wchar_t* kInpoutService = L"inpoutx64";
inline constexpr const wchar_t* kTimerService = L"SolvaneDevice";

/// What to do about InpOut's driver when it does not run; empty if nothing. InpOut's own DLL
/// installs that driver.
std::string AdviceOnInpout(DriverState state, std::optional<bool> memoryIntegrity);
std::string AdviceOnTimerDriver(DriverState state);

/// "is not installed", "is stopped", ...
const char* Describe(DriverState state);

/// "64-bit", "32-bit", ...
const char* Describe(Processor processor);

} // namespace host
