#include "fuzzed_board.h"

#include <optional>
#include <utility>

#include "answer_plan.h"
#include "eapi.h"
#include "fuzz_check.h"
#include "gpio_mobo_library.h"
#include "inpout.h"
#include "pins.h"

namespace fuzz::board {

namespace {

using namespace SLV::Internal;

constexpr EApiStatus_t kNotInitialised = 0xFFFF'FFFF;
constexpr EApiStatus_t kDeviceError = 0xFFFF'FAFF;

constexpr std::uint16_t kIndexPort = 0x2E;
constexpr std::uint16_t kDataPort = 0x2F;
constexpr std::uint16_t kDirectionRegister = 0xEC;
constexpr std::uint16_t kDataRegister = 0xED;
constexpr std::uint8_t kInputPins = 1U << Ready_Pin | 1U << Mep_Pin | 1U << PowerDown2Status_Pin;

struct Board {
    explicit Board(Input& bytes) : input(bytes), plan(bytes) {}

    Input& input;
    AnswerPlan plan;
    Seen seen;
    bool isInitialised = false;
    std::uint8_t inputs = 0;
    std::uint8_t outputs = 0;
    std::uint16_t index = 0;
};

std::optional<Board> state;

std::uint8_t Pins() {
    return static_cast<std::uint8_t>((state->inputs & kInputPins) | (state->outputs & ~kInputPins));
}

EApiStatus_t OddStatus() {
    const EApiStatus_t status = state->input.DoubleWord();
    return status != EAPI_STATUS_SUCCESS ? status : kDeviceError;
}

/// Serves a call of the Embedded API; `odd` is what it does besides when its answer is odd.
template <typename Work, typename Odd>
EApiStatus_t Serve(bool isInitialised, Work work, Odd odd) {
    switch (state->plan.Next()) {
    case Manner::Fails:
        return kDeviceError;
    case Manner::Silent:
        return EAPI_STATUS_SUCCESS;
    case Manner::Odd:
        odd();
        return state->input.Byte() % 2 == 0 ? EAPI_STATUS_SUCCESS : OddStatus();
    case Manner::Healthy:
        break;
    }
    if (!isInitialised) {
        return kNotInitialised;
    }
    work();
    return EAPI_STATUS_SUCCESS;
}

constexpr auto kNothing = [] {};

void CheckPin(EApiId_t id, std::uint32_t mask) {
    Check(id < kPins.size() && mask == 1, "a call is about one of the eight pins");
}

void NoteWrite(unsigned level) {
    ++state->seen.writes;
    state->seen.triggers += level;
}

std::uint8_t HealthyRegister() {
    switch (state->index) {
    case 0x20:
        return 0xC4;
    case 0x21:
        return 0x52;
    case 0x30:
        return 0xFF;
    case kDirectionRegister:
        return kInputPins;
    case kDataRegister:
        return Pins();
    default:
        return 0;
    }
}

} // namespace

void Begin(Input& input) {
    state.emplace(input);
    state->inputs = input.Byte();
}

void Heal() {
    state->plan.Heal();
    if (s_gpioMobo.portStatus != GpioMoboLibrary::kNotInitialised) {
        s_gpioMobo.portStatus = GpioMoboLibrary::kReady;
    }
}

Seen TakeSeen() {
    return std::exchange(state->seen, Seen{});
}

bool IsTriggerHigh() {
    return (state->outputs >> Trigger_Pin & 1) != 0;
}

bool IsReady() {
    return (state->inputs >> Ready_Pin & 1) != 0;
}

} // namespace fuzz::board

using namespace fuzz;
using namespace fuzz::board;

EApiStatus_t EAPI_CALL EApiLibInitialize(void) {
    if (state->isInitialised && state->plan.IsHealed()) {
        return EAPI_STATUS_INITIALIZED;
    }
    const EApiStatus_t status = Serve(true, kNothing, kNothing);
    state->isInitialised |= status == EAPI_STATUS_SUCCESS || status == EAPI_STATUS_INITIALIZED;
    return status;
}

EApiStatus_t EAPI_CALL EApiLibUnInitialize(void) {
    ++state->seen.releases;
    return Serve(
        state->isInitialised, [] { state->isInitialised = false; }, kNothing);
}

EApiStatus_t EAPI_CALL EApiGetEAPIVersion(std::uint8_t* major, std::uint8_t* minor,
                                          std::uint8_t* patch, std::uint16_t* build) {
    const auto odd = [&] {
        *major = state->input.Byte();
        *minor = state->input.Byte();
        *patch = state->input.Byte();
        *build = state->input.Word();
    };
    return Serve(
        true, [&] { *major = 1; }, odd);
}

EApiStatus_t EAPI_CALL EApiGPIOGetCount(std::uint32_t* count) {
    return Serve(
        state->isInitialised, [&] { *count = 8; }, [&] { *count = state->input.DoubleWord(); });
}

EApiStatus_t EAPI_CALL EApiGPIOSetDirection(EApiId_t id, std::uint32_t mask,
                                            std::uint32_t direction) {
    CheckPin(id, mask);
    Check(direction == (kInputPins >> id & 1U), "an input is an input");
    state->seen.isConfigured = true;
    return Serve(state->isInitialised, kNothing, kNothing);
}

EApiStatus_t EAPI_CALL EApiGPIOGetLevel(EApiId_t id, std::uint32_t mask, std::uint32_t* level) {
    CheckPin(id, mask);
    const EApiStatus_t status = Serve(
        state->isInitialised, [&] { *level = Pins() >> id & 1U; },
        [&] { *level = state->input.Byte() % 2 == 0 ? 1 : state->input.DoubleWord(); });
    state->seen.reads += status == EAPI_STATUS_SUCCESS ? 1 : 0;
    return status;
}

EApiStatus_t EAPI_CALL EApiGPIOSetLevel(EApiId_t id, std::uint32_t mask, std::uint32_t level) {
    CheckPin(id, mask);
    Check(level <= 1, "a level is 0 or 1");
    Check((kInputPins >> id & 1U) == 0, "no input is driven");
    NoteWrite(id == Trigger_Pin ? level : 0);
    const auto set = [&] {
        state->outputs = static_cast<std::uint8_t>((state->outputs & ~(1U << id)) | level << id);
    };
    return Serve(state->isInitialised, set, kNothing);
}

std::uint32_t INPOUT_CALL IsInpOutDriverOpen(void) {
    switch (state->plan.Next()) {
    case Manner::Fails:
        return 0;
    case Manner::Odd:
        return state->input.DoubleWord();
    default:
        return 1;
    }
}

void INPOUT_CALL Out32(std::uint16_t port, std::uint16_t value) {
    Check(port == kIndexPort || port == kDataPort, "the chip's two ports are used alone");
    Check(value <= 0xFF, "a port has eight bits");
    if (port == kIndexPort) {
        state->index = value;
        state->seen.lastIndex = value;
        ++state->seen.portWrites;
        return;
    }
    state->seen.isConfigured |= state->index == kDirectionRegister;
    if (state->index == kDataRegister) {
        NoteWrite(value & 1U);
        state->outputs = static_cast<std::uint8_t>(value);
    }
}

std::uint16_t INPOUT_CALL Inp32(std::uint16_t port) {
    Check(port == kDataPort, "the chip is read at its data port");
    std::uint16_t value = HealthyRegister();
    switch (state->plan.Next()) {
    case Manner::Fails: // as a port layer would say it that knows of failures
        value = 0xFFFF;
        s_gpioMobo.portStatus = state->input.Byte();
        break;
    case Manner::Silent:
        value = 0;
        break;
    case Manner::Odd:
        value = state->input.Byte() % 4 == 3 ? state->input.Word() : state->input.Byte();
        break;
    case Manner::Healthy:
        break;
    }
    state->seen.reads += state->index == kDataRegister && value <= 0xFF ? 1 : 0;
    return value;
}
