/// Hosts whose environment says so find their hardware on a bench.
#include <cstdio>
#include <string>

#include <windows.h>

#include "pipe.h"

namespace rig::bench {

namespace {

/// For a host at a console, for one in a debugger, and for `solvane-rig status`.
void Complain(const std::string& reason) {
    const std::string line = "solvane_rig: " + reason + "; there is no hardware\n";
    std::fputs(line.c_str(), stderr);
    OutputDebugStringA(line.c_str());
    const Introduction me = ThisProcess(false);
    KeepReason(me.program + " (process " + std::to_string(me.process) + "): " + reason);
}

HostSide* side = nullptr;

constexpr Elsewhere kBench{
    [](Call& call) { side->Answer(call); },
    [](const RigQuestion& question) { return side->Answer(question); },
    [](const Texts& words, bool json) {
        return side->Answer(Command{words, json});
    },
};

const bool isKnown = [] {
    wayToBench = [](const std::string& name) -> const Elsewhere* {
        // Never destroyed: static objects of the host may still use the hardware when they go.
        side = new HostSide([name] { return ConnectPipe(name); }, ThisProcess(true), Complain);
        static const struct Ending {
            ~Ending() { side->Leave(); } // a host may go on without the library
        } ending;
        return &kBench;
    };
    return true;
}();

} // namespace

} // namespace rig::bench
