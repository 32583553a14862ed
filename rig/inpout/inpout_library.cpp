/// The functions of inpoutx64.dll.
#include "inpout.h"

#include <optional>

#include "c_function.h"
#include "front.h"
#include "io_ports.h"

using rig::Call;
using rig::Function;
using namespace rig::io;

namespace {

std::optional<IoPorts> ports;
bool isDriverOpen = false;

/// What each function does, by its name: a parameter stands for a parameter of the function.
namespace work {

std::uint32_t Inp32(std::uint16_t port) {
    return isDriverOpen ? ports->Read(port) : 0;
}

void Out32(std::uint16_t port, std::uint16_t value) {
    if (isDriverOpen) {
        ports->Write(port, static_cast<std::uint8_t>(value));
    }
}

bool IsInpOutDriverOpen() {
    return isDriverOpen;
}

} // namespace work

void Build(const rig::Scenario& scenario, const rig::Surroundings& around) {
    ports.emplace(scenario, around.installation);
    isDriverOpen = scenario.inpoutDriver;
}

const rig::Linked front({
    .library = rig::kInpout,
    .works =
        {
#define INPOUT(name, ...) {Function::name, [](Call& call) { return Do(work::name, call); }},
#include "vendor_functions.inc"
        },
    .build = Build,
    .setAsleep = [](bool asleep) { ports->SetAsleep(asleep); },
    .openDriver = [] { isDriverOpen = true; },
});

} // namespace

extern "C" {
#define INPOUT(name, ordinal, result, parameters, ways)                                            \
    VENDOR_C_FUNCTION(INPOUT_CALL, name, result, parameters)
#include "vendor_functions.inc"
}
