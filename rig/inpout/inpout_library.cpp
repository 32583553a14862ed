/// The functions of inpoutx64.dll.
#include "inpout.h"

#include <optional>

#include "c_function.h"
#include "parallel_port.h"
#include "stand_in.h"
#include "super_io.h"

using rig::Call;
using rig::Function;
using namespace rig::io;

namespace {

// The devices in the machine's I/O space, if the scenario has them.
std::optional<SuperIo> superIo;
std::optional<ParallelPort> lpt;
bool isDriverOpen = false;

std::uint8_t Read(std::uint16_t port) {
    if (superIo && SuperIo::Has(port)) {
        return superIo->Read(port);
    }
    if (lpt && lpt->Has(port)) {
        return lpt->Read(port);
    }
    constexpr std::uint8_t kNobody = 0xFF;
    return kNobody;
}

void Write(std::uint16_t port, std::uint8_t value) {
    if (superIo && SuperIo::Has(port)) {
        superIo->Write(port, value);
    } else if (lpt && lpt->Has(port)) {
        lpt->Write(port, value);
    }
}

/// The work of each vendor function, under its name and with its parameters.
namespace work {

std::uint32_t Inp32(std::uint16_t port) {
    return isDriverOpen ? Read(port) : 0;
}

void Out32(std::uint16_t port, std::uint16_t value) {
    if (isDriverOpen) {
        Write(port, static_cast<std::uint8_t>(value));
    }
}

bool IsInpOutDriverOpen() {
    return isDriverOpen;
}

} // namespace work

void Build(const rig::Scenario& scenario, const rig::Surroundings& around) {
    superIo.reset();
    lpt.reset();
    if (scenario.superIo) {
        superIo.emplace(*scenario.superIo, around.installation);
    }
    if (scenario.lpt) {
        lpt.emplace(*scenario.lpt, around.installation);
    }
    isDriverOpen = scenario.inpoutDriver;
}

void SetAsleep(bool asleep) {
    if (superIo && asleep) {
        superIo->LosePower();
    }
    if (lpt && asleep) {
        lpt->LosePower();
    }
}

const rig::Linked standIn({
    .library = rig::kInpout,
    .works =
        {
#define INPOUT(name, ...) {Function::name, [](Call& call) { return Do(work::name, call); }},
#include "vendor_functions.inc"
        },
    .build = Build,
    .setAsleep = SetAsleep,
    .describe =
        [](auto& equipment) {
            if (superIo) {
                equipment.chips.push_back({"Super I/O", ""});
            }
            if (lpt) {
                equipment.chips.push_back({"parallel port", ""});
            }
        },
    .openDriver = [] { isDriverOpen = true; },
});

} // namespace

extern "C" {
#define INPOUT(name, ordinal, result, parameters, failureModes)                                    \
    VENDOR_C_FUNCTION(INPOUT_CALL, name, result, parameters)
#include "vendor_functions.inc"
}
