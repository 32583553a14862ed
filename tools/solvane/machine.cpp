#include "machine.h"

#include <cstdio>
#include <cstdlib>

#include "symptoms.h"

namespace host {

std::string FirstPort::Description() const {
    std::string text = name.empty() ? "a parallel port without a name" : name;
    if (address) {
        char at[16];
        std::snprintf(at, sizeof at, " at 0x%x", static_cast<unsigned>(*address));
        text += at;
    } else {
        text += ", without an I/O range";
    }
    return ports == 1 ? text
                      : text + ", the first of " + std::to_string(ports) +
                            " parallel ports; the others are never used";
}

std::optional<FirstPort> FirstOf(const std::vector<ParallelPort>& ports) {
    if (ports.empty()) {
        return std::nullopt;
    }
    const auto textOf = [](const WmiProperty& property) {
        const auto* const text = std::get_if<std::string>(&property);
        return text != nullptr ? *text : std::string();
    };
    const ParallelPort& first = ports.front();
    FirstPort port{textOf(first.deviceId), {}, static_cast<unsigned>(ports.size())};
    if (!first.startingAddresses.empty()) {
        const long address =
            std::strtol(textOf(first.startingAddresses.front()).c_str(), nullptr, 0);
        if (address > 0 && address <= 0xFFFF) {
            port.address = static_cast<std::uint16_t>(address);
        }
    }
    return port;
}

DriverState StateOfService(unsigned long state, unsigned long exitCode) {
    constexpr unsigned long kStopped = 1;
    constexpr unsigned long kRunning = 4;
    // The errors with which memory integrity refuses a driver: access denied, invalid signature,
    // and driver blocked.
    constexpr unsigned long kDenied[] = {5, 577, 1275};
    if (state == kRunning) {
        return DriverState::running;
    }
    if (state != kStopped) {
        return DriverState::unknown;
    }
    for (const unsigned long denied : kDenied) {
        if (exitCode == denied) {
            return DriverState::refused;
        }
    }
    return DriverState::stopped;
}

std::string AdviceOnInpout(DriverState state, std::optional<bool> memoryIntegrity) {
    switch (state) {
    case DriverState::running:
        return "Its driver runs by now: ask again.";
    case DriverState::stopped:
        return "Its driver is installed, but stopped: start it as an administrator with "
               "\"sc start inpoutx64\".";
    case DriverState::refused:
        return memoryIntegrity == true
                   ? "Windows keeps its driver out: memory integrity (core isolation) is on, and "
                     "must be off for this driver."
                   : "Windows refuses to start its driver: see its event log; the driver may be on "
                     "the list of those that it blocks.";
    case DriverState::absent:
        return std::string("Its driver is not installed: run solvane probe once as an "
                           "administrator, so that InpOut can install it") +
               (memoryIntegrity == true ? "; memory integrity (core isolation) of Windows is on, "
                                          "and can keep it out."
                                        : ".");
    case DriverState::unknown:
        break;
    }
    return std::string(kOpenInpout);
}

std::string AdviceOnTimerDriver(DriverState state) {
    switch (state) {
    case DriverState::running:
        return "";
    case DriverState::stopped:
        return "Start it as an administrator with \"sc start SolvaneDevice\".";
    case DriverState::refused:
        return "Windows refuses to start it: see its event log, and that its signature is one that "
               "Windows accepts.";
    case DriverState::absent:
        return "If hosts here use timers, install the driver; else this is as it should be.";
    case DriverState::unknown:
        break;
    }
    return "See in the Device Manager, with hidden devices shown, what has become of it.";
}

const char* Describe(DriverState state) {
    switch (state) {
    case DriverState::absent:
        return "is not installed";
    case DriverState::stopped:
        return "is installed, but stopped";
    case DriverState::refused:
        return "is installed, but Windows refuses to start it";
    case DriverState::running:
        return "runs";
    case DriverState::unknown:
        break;
    }
    return "cannot be asked for";
}

const char* Describe(Processor processor) {
    switch (processor) {
    case Processor::x64:
        return "64-bit";
    case Processor::x86:
        return "32-bit";
    case Processor::other:
        return "for another processor";
    case Processor::none:
        break;
    }
    return "no DLL";
}

} // namespace host
