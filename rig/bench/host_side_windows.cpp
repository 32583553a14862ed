/// Connects this process to a bench if SOLVANE_RIG names one.
#include <cstdio>
#include <string>

#include <windows.h>

#include "pipe.h"

namespace rig::bench {

namespace {

/// Tells the reason on the console, to a debugger, and to `solvane-rig status`.
void Complain(const std::string& reason) {
    const std::string line = "solvane_rig: " + reason + "; there is no hardware\n";
    std::fputs(line.c_str(), stderr);
    OutputDebugStringA(line.c_str());
    const Introduction me = ThisProcess(false);
    KeepReason(me.program + " (process " + std::to_string(me.process) + "): " + reason);
}

HostSide* side = nullptr;

constexpr RemoteRig kBench{
    [](Call& call) { side->Answer(call); },
    [](const RigQuestion& question) { return side->Answer(question); },
    [](const Texts& words, bool json) {
        return side->Answer(Command{words, json});
    },
};

const bool isKnown = [] {
    connectToBench = [](const std::string& name) -> const RemoteRig* {
        // Never destroyed: destructors of the host's static objects may still use the hardware.
        side = new HostSide([name] { return ConnectPipe(name); }, ThisProcess(true), Complain);
        static const struct Ending {
            ~Ending() { side->Leave(); } // the library may be unloaded before the host ends
        } ending;
        return &kBench;
    };
    return true;
}();

} // namespace

} // namespace rig::bench
