/// The library and the rig in one native module, for bindings that run here but cannot load a
/// Windows DLL. With SOLVANE_RIG=bench their calls go as messages to a bench in the same module.

#include <unistd.h>

#include "commands.h"
#include "direct_bench.h"
#include "host_platform.h"

namespace {

using rig::bench::Command;
using rig::bench::HostSide;

HostSide& Side() {
    // Never destroyed: other static objects may still use the hardware.
    static HostSide& side = *new HostSide(
        [] {
            return std::make_unique<test::DirectConnection>(
                [](const Command& command) { return rig::Perform(command.words, command.json); });
        },
        {.key = 1, .program = "a host"}, [](const std::string&) {});
    return side;
}

constexpr rig::RemoteRig kBench{
    [](rig::Call& call) { Side().Answer(call); },
    [](const rig::RigQuestion& question) { return Side().Answer(question); },
    [](const rig::Texts& words, bool json) {
        return Side().Answer(Command{words, json});
    },
};

} // namespace

/// To be called first.
extern "C" void StartNativeLibrary() {
    host::Record(false);
    // Virtual time must not run away from threads that wait in real time.
    host::duringWait = [] { usleep(200); };
    rig::connectToBench = [](const std::string&) { return &kBench; };
}
