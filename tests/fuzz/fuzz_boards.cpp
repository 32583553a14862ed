/// SolvaneEApi and SolvaneKontron on boards with arbitrary answers.

#include <memory>
#include <utility>

#include <solvane/rig.h>

#include "fuzz_check.h"
#include "fuzzed_calls.h"
#include "gpio_mobo_library.h"
#include "host_operations.h"
#include "host_platform.h"
#include "pins.h"
#include "solvane_eapi.h"
#include "solvane_kontron.h"
#include "watched_log.h"

namespace {

using namespace fuzz;
using namespace SLV::Internal;
using rig::Function;
using rig::Number;

/// Every operation may fail this way: the board is not found, or the lines cannot be set to rest.
constexpr unsigned kGate = MAY_NOT_WRITE | MAY_FIND_NOTHING;
constexpr int kMostOperations = 32;

/// Values of an input byte, beyond those that select an operation.
constexpr std::size_t kOtherController = 17;
constexpr std::size_t kListen = 18;
constexpr std::size_t kChoices = 19;
constexpr std::uint8_t kFlag = 0x80;

constexpr std::uint16_t kIndexPort = 0x2E;
constexpr std::uint16_t kDataPort = 0x2F;
constexpr std::uint16_t kLeaveConfiguration = 0xAA;
constexpr std::uint16_t kDirectionRegister = 0xEC;
constexpr std::uint16_t kDataRegister = 0xED;
constexpr unsigned kInputPins = 1U << Ready_Pin | 1U << Mep_Pin | 1U << PowerDown2Status_Pin;

/// What a controller did since the last check.
struct Seen {
    unsigned reads = 0;        ///< successful readings of a pin, or of the bank of pins
    unsigned writes = 0;       ///< attempts to set pins
    unsigned triggers = 0;     ///< those with the trigger pin high
    bool isConfigured = false; ///< the directions of the pins were set
    unsigned releases = 0;     ///< EApiLibUnInitialize() calls
    unsigned portWrites = 0;   ///< writes of the index port
} seen;

std::uint64_t portIndex = 0; ///< last value written to the index port
Input* theInput = nullptr;

void NoteWrite(bool isTrigger) {
    ++seen.writes;
    seen.triggers += isTrigger ? 1 : 0;
}

/// The bit of the pin that a call uses; checks that it is a single one of the library's.
unsigned CheckedPin(const rig::Call& call) {
    Check(Number(call.inputs[0]) < kPins.size() && Number(call.inputs[1]) == 1,
          "a call is about one of the eight pins");
    return 1U << Number(call.inputs[0]);
}

void CheckPortWrite(std::uint64_t port, std::uint64_t value) {
    Check(port == kIndexPort || port == kDataPort, "the chip's two ports are used alone");
    Check(value <= 0xFF, "a port has eight bits");
    if (port == kIndexPort) {
        portIndex = value;
        ++seen.portWrites;
        return;
    }
    seen.isConfigured |= portIndex == kDirectionRegister;
    if (portIndex == kDataRegister) {
        NoteWrite((value & 1U << Trigger_Pin) != 0);
    }
}

void BeforeCall(const rig::Call& call) {
    const auto& in = call.inputs;
    switch (call.function.id) {
    case Function::EApiLibUnInitialize:
        ++seen.releases;
        break;
    case Function::EApiGPIOSetDirection:
        Check(Number(in[2]) ==
                  ((CheckedPin(call) & kInputPins) != 0 ? EAPI_GPIO_INPUT : EAPI_GPIO_OUTPUT),
              "an input is an input");
        seen.isConfigured = true;
        break;
    case Function::EApiGPIOSetLevel:
        Check((CheckedPin(call) & kInputPins) == 0, "no input is driven");
        Check(Number(in[2]) <= 1, "a level is 0 or 1");
        NoteWrite(Number(in[0]) == Trigger_Pin && Number(in[2]) == 1);
        break;
    case Function::Out32:
        CheckPortWrite(Number(in[0]), Number(in[1]));
        break;
    case Function::Inp32:
        Check(Number(in[0]) == kDataPort, "the chip is read at its data port");
        break;
    default:
        break;
    }
}

void AfterCall(const rig::Call& call) {
    if (call.function.id == Function::EApiGPIOGetLevel) {
        CheckedPin(call);
        seen.reads += call.status == EAPI_STATUS_SUCCESS ? 1 : 0;
    } else if (call.function.id == Function::Inp32) {
        if (call.status > 0xFF) { // a port driver that reports failures, or none
            s_gpioMobo.portStatus = theInput->Byte();
        }
        const bool isRead = s_gpioMobo.portStatus == GpioMoboLibrary::kReady &&
                            (call.status & 0xFFFF) <= 0xFF; // it returns 16 bits
        seen.reads += portIndex == kDataRegister && isRead ? 1 : 0;
    }
}

/// A new board; the input sets the levels of the camera's lines.
void Begin(Input& input) {
    theInput = &input;
    s_gpioMobo = {};
    moboAccessoriesPowerFlag = kontronAccessoriesPowerFlag = 0;
    seen = {};
    portIndex = 0;
    rig_load("[eapi]\n[superio]\n");
    const std::uint8_t lines = input.Byte();
    rig_force(RIG_READY, lines & 1);
    rig_force(RIG_MEP, lines >> 1 & 1);
    calls::Begin(input, BeforeCall, AfterCall);
}

void Heal() {
    calls::Heal();
    if (s_gpioMobo.portStatus != GpioMoboLibrary::kNotInitialised) {
        s_gpioMobo.portStatus = GpioMoboLibrary::kReady;
    }
}

/// A controller of one of the two kinds; its destructor checks what must hold afterwards.
class Controller {
  public:
    explicit Controller(bool superIo) : isSuperIo(superIo) {
        if (isSuperIo) {
            controller = std::make_unique<SolvaneKontron>(s_logger);
        } else {
            controller = std::make_unique<SolvaneEApi>(s_logger);
        }
    }

    ~Controller() {
        seen = {};
        const bool hasPorts = s_gpioMobo.portStatus != GpioMoboLibrary::kNotInitialised;
        controller = nullptr;
        Check(seen.releases == (isSuperIo ? 0 : 1), "the Embedded API is released once");
        Check(s_gpioMobo.portStatus == GpioMoboLibrary::kNotInitialised, "the ports are let go of");
        Check(!hasPorts || (seen.portWrites > 0 && portIndex == kLeaveConfiguration),
              "the chip leaves its configuration mode");
        seen = {};
        s_gpioMobo.ReadRegister(0);
        Check(seen.portWrites == 0, "nobody touches a port afterwards");
    }

    Controller(const Controller&) = delete;
    Controller& operator=(const Controller&) = delete;

    SolvaneMoBo& operator*() const { return *controller; }

    const bool isSuperIo;

  private:
    std::unique_ptr<SolvaneMoBo> controller;
};

/// The required answer when no pin could be read.
short UnreadableOn(const Operation& operation, bool isSuperIo) {
    if (operation.op == Op::CheckAccessoriesPower) { // remembers the last command, reads no pin
        return static_cast<short>(isSuperIo ? kontronAccessoriesPowerFlag
                                            : moboAccessoriesPowerFlag);
    }
    return operation.op == Op::CheckCameraPower && isSuperIo ? short{0} : Unreadable(operation);
}

short Use(const Controller& controller, std::uint8_t choice) {
    seen = {};
    const Outcome outcome = Perform(*controller, choice % kChoices, (choice & kFlag) != 0, kGate);
    if (outcome.operation->op == Op::TriggerCapture) {
        Check(outcome.status != kNotReady || seen.isConfigured || seen.writes == 0,
              "a camera that is not ready is left alone");
    } else {
        Check(controller.isSuperIo || seen.triggers == 0, "only a capture triggers");
    }
    if (outcome.isAnswered && seen.reads == 0) {
        Check(outcome.answer == UnreadableOn(*outcome.operation, controller.isSuperIo),
              "a pin that cannot be read is taken for the safe level");
    }
    Check(moboAccessoriesPowerFlag <= 1 && kontronAccessoriesPowerFlag <= 1, "a flag is 0 or 1");
    return outcome.status;
}

/// Checks that a board that works again is usable. A controller that had not found it must find it
/// now. Any other controller may have been configured by wrong answers, and is replaced first.
void CheckRecovery(std::unique_ptr<Controller> controller, short lastStatus) {
    Heal();
    if (lastStatus != kNoHardware) {
        const bool isSuperIo = controller->isSuperIo;
        controller = nullptr;
        controller = std::make_unique<Controller>(isSuperIo);
    }
    short ready = -1;
    Check((**controller).CheckSystemReady(&ready) == kOk, "a board that works again is found");
    const bool isReady = rig_level(RIG_READY) != 0;
    Check(ready == (isReady ? 1 : 0), "and read");
    seen = {};
    const short triggered = (**controller).TriggerCapture();
    Check(triggered == (isReady ? kOk : kNotReady), "and triggers");
    Check((seen.triggers > 0) == isReady, "with a pulse");
    Check(rig_level(RIG_TRIGGER) == 0, "that ends");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    host::Record(false);
    Input input(bytes, size);
    WatchedLog log;
    Begin(input);
    auto controller = std::make_unique<Controller>(input.Byte() % 2 != 0);
    short lastStatus = kNoHardware;
    for (int i = 0; i < kMostOperations && !input.IsEmpty(); ++i) {
        const std::uint8_t choice = input.Byte();
        switch (choice % kChoices) {
        case kOtherController:
            controller = nullptr;
            controller = std::make_unique<Controller>((choice & kFlag) != 0);
            lastStatus = kNoHardware;
            break;
        case kListen:
            log.Listen((choice & kFlag) == 0);
            break;
        default:
            lastStatus = Use(*controller, choice);
        }
    }
    CheckRecovery(std::move(controller), lastStatus);
    return 0;
}
