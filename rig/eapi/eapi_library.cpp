/// The functions of EAPI_Library.dll.
#include "eapi.h"

#include <optional>
#include <set>

#include "c_function.h"
#include "eapi_status.h"
#include "gpio_board.h"
#include "rig_state.h"
#include "stand_in.h"

using rig::Call;
using rig::Function;
using rig::Value;
using namespace rig::eapi;

namespace {

// The version that the stand-in reports. Four different numbers, so that mixing them up shows.
constexpr std::uint8_t kMajor = 1;
constexpr std::uint8_t kMinor = 2;
constexpr std::uint8_t kPatch = 3;
constexpr std::uint16_t kBuild = 4;

std::optional<GpioBoard> board;
std::set<rig::HostNumber> initialised; ///< by host: each process has its own library

bool IsInitialised() {
    return initialised.contains(rig::Rig::Instance().host);
}

/// The work of each vendor function, under its name and with its parameters.
namespace work {

EApiStatus_t EApiLibInitialize() {
    if (!board) {
        return kNotFound;
    }
    const bool isFirst = initialised.insert(rig::Rig::Instance().host).second;
    return isFirst ? EAPI_STATUS_SUCCESS : EAPI_STATUS_INITIALIZED;
}

/// The pins keep their levels.
void EApiLibUnInitialize() {
    initialised.erase(rig::Rig::Instance().host);
}

void EApiGetEAPIVersion(Value& major, Value& minor, Value& patch, Value& build) {
    major = kMajor;
    minor = kMinor;
    patch = kPatch;
    build = kBuild;
}

void EApiGPIOGetCount(Value& count) {
    count = board->Count();
}

EApiStatus_t EApiGPIOSetDirection(EApiId_t id, std::uint32_t mask, std::uint32_t direction) {
    return board->SetDirection(id, mask, direction);
}

EApiStatus_t EApiGPIOGetLevel(EApiId_t id, std::uint32_t mask, Value& level) {
    std::uint32_t found = 0;
    const EApiStatus_t status = board->GetLevel(id, mask, found);
    if (status == EAPI_STATUS_SUCCESS) {
        level = found;
    }
    return status;
}

EApiStatus_t EApiGPIOSetLevel(EApiId_t id, std::uint32_t mask, std::uint32_t level) {
    return board->SetLevel(id, mask, level);
}

} // namespace work

void Build(const rig::Scenario& scenario, const rig::Surroundings& around) {
    board.reset();
    initialised.clear();
    if (scenario.eapi) {
        board.emplace(*scenario.eapi, around.installation);
    }
}

std::uint32_t Refusal(const Call& call) {
    const Function function = call.function.id;
    const bool isAlwaysServed =
        function == Function::EApiLibInitialize || function == Function::EApiGetEAPIVersion;
    return isAlwaysServed || IsInitialised() ? EAPI_STATUS_SUCCESS : kNotInitialised;
}

const rig::Linked standIn({
    .library = rig::kEapi,
    .works =
        {
#define EAPI(name, ...) {Function::name, [](Call& call) { return Do(work::name, call); }},
#include "vendor_functions.inc"
        },
    .build = Build,
    .refusal = Refusal,
    .release = [](rig::HostNumber host) { initialised.erase(host); },
    .setAsleep =
        [](bool asleep) {
            if (board && asleep) {
                board->LosePower();
            }
        },
    .describe =
        [](auto& equipment) {
            if (board) {
                equipment.chips.push_back({"Embedded API", ""});
            }
        },
});

} // namespace

extern "C" {
#define EAPI(name, parameters, failureModes) VENDOR_C_FUNCTION(EAPI_CALL, name, Number, parameters)
#include "vendor_functions.inc"
}
