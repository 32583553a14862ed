#include "solvane_kontron.h"

#include <new>

#include "inpout.h"

namespace SLV::Internal {

namespace {

constexpr std::uint16_t kLogicalDeviceRegister = 0x07;
constexpr std::uint8_t kGpioDevice = 7;
constexpr std::uint16_t kActiveBanksRegister = 0x30;
constexpr int kBank = 3; ///< a bit of the active banks

/// A 1 makes a pin an input.
constexpr std::uint8_t kDirections = [] {
    unsigned inputs = 0;
    for (const Pin& pin : kPins) {
        inputs |= (pin.direction == EAPI_GPIO_INPUT ? 1U : 0U) << pin.id;
    }
    return static_cast<std::uint8_t>(inputs);
}();
static_assert(kDirections == 0x86, "the board's wiring");

/// The pins for the log, formatted only when logging is on.
struct State {
    const SolvaneKontron& controller;

    friend LogText& operator<<(LogText& text, const State& state) {
        return text << state.controller.DescribeState();
    }
};

/// Whether no port access has failed so far; else logs the error code.
bool PortsAreGood(Logger& logger, const char* failure) {
    if (s_gpioMobo.portStatus != GpioMoboLibrary::kReady) {
        logger.Line(failure, " Error code: ", static_cast<short>(s_gpioMobo.portStatus));
        return false;
    }
    return true;
}

} // namespace

std::uint16_t kontronAccessoriesPowerFlag = 0;

SolvaneKontron::~SolvaneKontron() {
    bank.reset();
    s_gpioMobo.LeaveExtendedFunctionMode();
    s_gpioMobo.GpioMoboShutdown();
    logger.Flush(); // the dots of the last polls
    logger.Line("[KTRN]: deleted.");
}

short SolvaneKontron::EnableCameraPower() {
    return Drive(PowerDown2_Pin, levelHigh);
}

short SolvaneKontron::DisableCameraPower() {
    return Drive(PowerDown2_Pin, levelLow);
}

short SolvaneKontron::CheckCameraPower(short* on) {
    return Answer(on, [&] { return IsAt(PowerDown2Status_Pin, levelHigh); });
}

short SolvaneKontron::EnableAccessoriesPower() {
    return SwitchAccessories(levelHigh, kontronAccessoriesPowerFlag, 1);
}

short SolvaneKontron::DisableAccessoriesPower() {
    return SwitchAccessories(levelLow, kontronAccessoriesPowerFlag, 0);
}

short SolvaneKontron::CheckAccessoriesPower(short* on) {
    return Answer(on, [] { return kontronAccessoriesPowerFlag != 0; });
}

bool SolvaneKontron::GetPinValue(PinId pin, std::uint32_t& value) {
    if (!bank) {
        logger.Line("[KTRN]: GPIO device is NOT ready.");
        return false;
    }
    const std::uint16_t data = s_gpioMobo.ReadRegister(bank->data.index);
    if (!s_gpioMobo.IsGood(data)) {
        return false;
    }
    const bool isUnchanged = data == bank->data.value;
    bank->data.value = data;
    value = bank->IsHigh(pin) ? 1 : 0;
    if (isUnchanged) {
        logger.Append("."); // a host that polls gets one line of dots, not thousands of lines
    } else {
        logger.Line("[KTRN]: <<< ", State{*this});
    }
    return true;
}

bool SolvaneKontron::SetPinValue(PinId pin, std::uint32_t level) {
    if (!bank) {
        logger.Line("[KTRN]: GPIO device is NOT ready.");
        return false;
    }
    if (level > 1) {
        logger.Line("[KTRN]: SetPinValue() recieved wrong value ", level);
        return false;
    }
    const bool isDone = level == 1 ? bank->SetPin(pin) : bank->ClearPin(pin);
    logger.Line("[KTRN]: >>> ", State{*this});
    return isDone;
}

short SolvaneKontron::Configure() {
    if (!OpenPorts() || !SelectGpioDevice() || !IsBankActive()) {
        return kNoHardware;
    }
    if (!MakeBank() || !SetPinsToRest()) {
        return kNoHardware;
    }
    logger.Line("[KTRN]: initialization succeeded!");
    logger.Line("[KTRN]: State: ", State{*this});
    return kOk;
}

bool SolvaneKontron::OpenPorts() {
    if (IsInpOutDriverOpen() == 0) {
        logger.Line("[KTRN]: InpOut driver is not opened.");
        return false;
    }
    short result = s_gpioMobo.GpioMoboInit(Out32, Inp32);
    if (result == GpioMoboLibrary::kWrongState) { // after a Configure() that failed
        logger.Line("[KTRN]: GPIO MOBO has a wrong state. Reinitialize the library...");
        s_gpioMobo.GpioMoboShutdown();
        result = s_gpioMobo.GpioMoboInit(Out32, Inp32);
    }
    if (result != kOk) {
        logger.Line("[KTRN]: Failed to initialize GPIO MOBO library. Error code: ", result);
        return false;
    }
    return true;
}

bool SolvaneKontron::SelectGpioDevice() {
    s_gpioMobo.EnterExtendedFunctionMode();
    if (!PortsAreGood(logger, "[KTRN]: Failed to enter extended function mode.")) {
        return false;
    }
    s_gpioMobo.PutRegister(kLogicalDeviceRegister, kGpioDevice);
    return PortsAreGood(logger, "[KTRN]: Failed to select logical device 7.");
}

bool SolvaneKontron::IsBankActive() {
    const std::uint16_t banks = s_gpioMobo.ReadRegister(kActiveBanksRegister);
    if (!PortsAreGood(logger, "[KTRN]: Failed to read information about active GPIO banks.")) {
        return false;
    }
    if (!s_gpioMobo.IsGood(banks)) {
        logger.Line("[KTRN]: Information about active GPIO banks has wrong format: 0x", Hex(banks));
        return false;
    }
    if ((banks >> kBank & 1) == 0) {
        logger.Line("[KTRN]: GPIO bank #", kBank, " is inactive.");
        return false;
    }
    return true;
}

bool SolvaneKontron::MakeBank() {
    auto* const fresh = new (std::nothrow) GpioBank(logger);
    if (fresh == nullptr) {
        return false;
    }
    // The bank of a Configure() that failed is left behind on purpose: some bytes for each attempt.
    static_cast<void>(bank.release());
    bank.reset(fresh);
    bank->ReadAll();
    return true;
}

bool SolvaneKontron::SetPinsToRest() {
    if (!s_gpioMobo.WriteRegister(bank->direction, kDirections)) {
        logger.Line("[KTRN]: failed to configure pins directions.");
        return false;
    }
    if (!bank->SetPin(Clear_Mep_Pin)) {
        logger.Line("[KTRN]: failed to initially set Clear MEP pin.");
        return false;
    }
    if (!bank->ClearPin(Trigger_Pin)) {
        logger.Line("[KTRN]: failed to initially clear Trigger pin.");
        return false;
    }
    return true;
}

LogText SolvaneKontron::DescribeState() const {
    if (bank) {
        return bank->DescribeState();
    }
    LogText text;
    text << "GPIO device is NULL!";
    return text;
}

} // namespace SLV::Internal
