/// SolvaneEApi and SolvaneKontron on boards that answer anything.

#include <memory>

#include "fuzz_check.h"
#include "fuzzed_board.h"
#include "gpio_mobo_library.h"
#include "host_operations.h"
#include "host_platform.h"
#include "solvane_eapi.h"
#include "solvane_kontron.h"
#include "watched_log.h"

namespace {

using namespace fuzz;
using namespace SLV::Internal;

/// A controller that finds its board but cannot set the lines to rest says so through every gate.
constexpr unsigned kGate = MAY_NOT_WRITE | MAY_FIND_NOTHING;
constexpr int kMostOperations = 32;

/// Choices of the input beside the operations.
constexpr std::size_t kOtherController = 17;
constexpr std::size_t kListen = 18;
constexpr std::size_t kChoices = 19;
constexpr std::uint8_t kFlag = 0x80;

constexpr std::uint16_t kLeaveConfiguration = 0xAA;

/// One of the two kinds, and what has to be true when it goes.
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
        board::TakeSeen();
        const bool hasPorts = s_gpioMobo.portStatus != GpioMoboLibrary::kNotInitialised;
        controller = nullptr;
        const board::Seen seen = board::TakeSeen();
        Check(seen.releases == (isSuperIo ? 0 : 1), "the Embedded API is released once");
        Check(s_gpioMobo.portStatus == GpioMoboLibrary::kNotInitialised, "the ports are let go of");
        Check(!hasPorts || (seen.portWrites > 0 && seen.lastIndex == kLeaveConfiguration),
              "the chip leaves its configuration mode");
        s_gpioMobo.ReadRegister(0);
        Check(board::TakeSeen().portWrites == 0, "nobody touches a port afterwards");
    }

    Controller(const Controller&) = delete;
    Controller& operator=(const Controller&) = delete;

    SolvaneMoBo& operator*() const { return *controller; }

    const bool isSuperIo;

  private:
    std::unique_ptr<SolvaneMoBo> controller;
};

/// What the answer must be when no pin could be read.
short UnreadableOn(const Operation& operation, bool isSuperIo) {
    if (operation.op == Op::CheckAccessoriesPower) { // the last command, no pin
        return static_cast<short>(isSuperIo ? kontronAccessoriesPowerFlag
                                            : moboAccessoriesPowerFlag);
    }
    return operation.op == Op::CheckCameraPower && isSuperIo ? short{0} : Unreadable(operation);
}

void Use(const Controller& controller, std::uint8_t choice) {
    board::TakeSeen();
    const Outcome outcome = Perform(*controller, choice % kChoices, (choice & kFlag) != 0, kGate);
    const board::Seen seen = board::TakeSeen();
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
}

/// A board that works again is served again.
void CheckRecovery(const Controller& controller) {
    board::Heal();
    short ready = -1;
    Check((*controller).CheckSystemReady(&ready) == kOk, "a board that works again is found");
    Check(ready == (board::IsReady() ? 1 : 0), "a board that works again is read");
    board::TakeSeen();
    const short triggered = (*controller).TriggerCapture();
    Check(triggered == (board::IsReady() ? kOk : kNotReady), "a board that works again triggers");
    Check((board::TakeSeen().triggers > 0) == board::IsReady(), "with a pulse");
    Check(triggered != kOk || !board::IsTriggerHigh(), "that ends");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    host::Record(false);
    Input input(bytes, size);
    WatchedLog log;
    s_gpioMobo = {};
    moboAccessoriesPowerFlag = kontronAccessoriesPowerFlag = 0;
    board::Begin(input);
    auto controller = std::make_unique<Controller>(input.Byte() % 2 != 0);
    for (int i = 0; i < kMostOperations && !input.IsEmpty(); ++i) {
        const std::uint8_t choice = input.Byte();
        switch (choice % kChoices) {
        case kOtherController:
            controller = nullptr;
            controller = std::make_unique<Controller>((choice & kFlag) != 0);
            break;
        case kListen:
            log.Listen((choice & kFlag) == 0);
            break;
        default:
            Use(*controller, choice);
        }
    }
    CheckRecovery(*controller);
    return 0;
}
