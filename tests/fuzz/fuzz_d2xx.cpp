/// SolvaneUsb on a D2XX library that answers anything: device lists, counts, bytes, statuses.

#include <memory>

#include "bit_port.h"
#include "fuzz_check.h"
#include "fuzzed_d2xx.h"
#include "host_operations.h"
#include "host_platform.h"
#include "solvane_usb.h"
#include "watched_log.h"

namespace {

using namespace fuzz;
using namespace SLV::Internal;

constexpr unsigned kGate = MAY_FIND_NOTHING;
constexpr int kMostOperations = 24;

/// Choices of the input beside the operations.
constexpr std::size_t kNewController = 17;
constexpr std::size_t kListen = 18;
constexpr std::size_t kChoices = 19;
constexpr std::uint8_t kWithoutPointer = 0x80;

/// As at the start of a process.
void ResetChannel() {
    s_ft_handle = nullptr;
    s_highPort = {high::kOutputs, 0x82, 0x83, 0, {}, nullptr};
    s_lowPort = {0, 0x80, 0x81, 0, {}, nullptr};
}

void CheckLines(const Outcome& outcome, const d2xx::Seen& seen) {
    Check(outcome.status != kNoHardware || seen.writes == 0, "the gate touches no line");
    if (outcome.operation->op == Op::TriggerCapture) {
        Check(outcome.status != kNotReady || seen.triggers == 0,
              "a camera that is not ready is not triggered");
        Check(outcome.status != kOk || !d2xx::IsTriggerHigh() || seen.lostWrites > 0,
              "a trigger is a pulse");
    }
    if (outcome.isAnswered && seen.readBytes == 0) {
        Check(outcome.answer == Unreadable(*outcome.operation),
              "a line that cannot be read is inactive, and power is on");
    }
}

void Use(SolvaneUsb& usb, std::uint8_t choice) {
    d2xx::TakeSeen();
    const Outcome outcome = Perform(usb, choice % kChoices, (choice & kWithoutPointer) != 0, kGate);
    CheckLines(outcome, d2xx::TakeSeen());
}

/// A chip that works again is served again.
void CheckRecovery(SolvaneUsb& usb) {
    d2xx::Heal();
    short ready = -1;
    Check(usb.CheckSystemReady(&ready) == kOk, "a chip that works again is found");
    Check(ready == (d2xx::IsReady() ? 1 : 0), "a chip that works again is read");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    host::Record(false);
    Input input(bytes, size);
    WatchedLog log;
    ResetChannel();
    d2xx::Begin(input);
    auto usb = std::make_unique<SolvaneUsb>(s_logger);
    for (int i = 0; i < kMostOperations && !input.IsEmpty(); ++i) {
        const std::uint8_t choice = input.Byte();
        switch (choice % kChoices) {
        case kNewController:
            usb = nullptr;
            Check(s_ft_handle == nullptr, "a controller that goes closes the chip");
            usb = std::make_unique<SolvaneUsb>(s_logger);
            break;
        case kListen:
            log.Listen((choice & kWithoutPointer) == 0);
            break;
        default:
            Use(*usb, choice);
        }
    }
    CheckRecovery(*usb);
    usb = nullptr;
    Check(s_ft_handle == nullptr, "a controller that goes closes the chip");
    Check(d2xx::InexcusablyOpen() == 0, "handles are closed");
    return 0;
}
