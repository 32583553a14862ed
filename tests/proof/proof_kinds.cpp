#include "proof_kinds.h"

#include <algorithm>

#include <solvane/rig.h>

#include "on_the_rig.h"
#include "solvane_eapi.h"
#include "solvane_kontron.h"
#include "solvane_lpt.h"
#include "solvane_usb.h"
#include "vendor_function.h"

namespace proof {

namespace {

using SLV::Internal::MakeController;

using rig::Counts;
using rig::DoneButFails;
using rig::Fails;
using rig::Silent;

/// The functions of these libraries, with the ways to fail from the rig's table.
template <class Risk>
std::vector<VendorFunction> FunctionsOf(const std::vector<const rig::Library*>& libraries,
                                        Risk risk) {
    std::vector<VendorFunction> functions;
    for (const rig::VendorFunction& each : rig::VendorFunctions()) {
        if (std::ranges::count(libraries, &each.library) != 0) {
            functions.push_back({each.name, {}});
            for (const rig::FailureMode& mode : each.failureModes) {
                functions.back().failureModes.emplace_back(mode, risk(each.id, mode));
            }
        }
    }
    return functions;
}

// Unexpected levels, except of camera power, without which there is no picture.
constexpr const char* kAllButClearMep = "[pulls]\ntrigger = 1\ndark = 1\naccessories_power = 0\n";
constexpr const char* kWithClearMep =
    "[pulls]\ntrigger = 1\ndark = 1\naccessories_power = 0\nclear_mep = 1\n";

bool IsSilent(const rig::FailureMode& mode) {
    return mode.kind == RIG_FAULT_SILENT;
}

using rig::Function;
using enum TriggerRisk;

Kind Ft2232h() {
    const auto risk = [](Function function, const rig::FailureMode& mode) {
        const bool isCut = mode.kind == RIG_FAULT_COUNT && mode.count != 0;
        return function != Function::FT_Write ? None : isCut ? Garble : FailedWrite;
    };
    return {
        .name = "FT2232H",
        .scenario = test::kUsbCamera,
        .lookAlike = "[[usb]]\nchip = \"FT2232D\"\nserial = \"SLV1\"\n",
        .make = MakeController<SLV::Internal::SolvaneUsb>,
        .functions = FunctionsOf({&rig::kFtd2xx}, risk),
        .dead = {{Fails(rig::usb::kInvalidHandle), FailedWrite},
                 {Fails(rig::usb::kIoError), FailedWrite},
                 {Silent(), FailedWrite}},
        .failures = 10'784,
        .failuresOfWindows = 2'314,
        .excused = {0, 118, 13, 92, 747, 44, 459, 8, 0},
        .excusedOfWindows = {0, 0, 0, 0, 0, 0, 336, 0, 100},
        .earlierFaults = {{"FT_Write", rig::usb::kIoError, true},
                          {"FT_SetChars", rig::usb::kIoError, false}},
        .activeOutputs = "",
        .comeback = Comeback::UsbHandle,
        .behaviour = {.accessMilliseconds = 2},
    };
}

Kind SuperIo() {
    constexpr std::uint32_t kNoByte = 0x1EE; ///< more than a register can hold
    constexpr std::uint32_t kNobody = 0xFF;  ///< read from a bus where nothing answers
    const auto risk = [](Function function, const rig::FailureMode& mode) {
        const bool isByte = IsSilent(mode) || mode.status == kNobody;
        return function == Function::Out32   ? WrongRegister
               : function != Function::Inp32 ? None
               : isByte                      ? WrongByte
                                             : FailedWrite;
    };
    return {
        .name = "Super I/O",
        .scenario = test::kSuperIoCamera,
        .lookAlike = "[superio]\nid = 0xC453\n",
        .make = MakeController<SLV::Internal::SolvaneKontron>,
        .functions = FunctionsOf({&rig::kInpout}, risk),
        .dead = {{Silent(), UnseenWrite}, {Fails(0xFFFF), FailedWrite}},
        .failures = 10'534,
        .failuresOfWindows = 704,
        .excused = {0, 204, 183, 0, 54, 36, 0, 0, 0},
        .excusedOfWindows = {0, 0, 0, 0, 0, 0, 0, 0, 24},
        .earlierFaults = {{"Inp32", kNoByte, false}},
        .activeOutputs = kWithClearMep,
        .comeback = Comeback::NextOperation,
        .configuringMayAnswerWrite = true,
        .lostPowerIsOff = true,
        .behaviour = {.isUsb = false, .switchesOn = true},
    };
}

Kind Eapi() {
    const auto risk = [](Function function, const rig::FailureMode& mode) {
        return function != Function::EApiGPIOSetLevel ? None
               : IsSilent(mode)                       ? UnseenWrite
                                                      : FailedWrite;
    };
    return {
        .name = "Embedded API",
        .scenario = test::kEapiCamera,
        .lookAlike = "[eapi]\ngpios = 7\n",
        .make = MakeController<SLV::Internal::SolvaneEApi>,
        .functions = FunctionsOf({&rig::kEapi}, risk),
        .dead = {{Fails(rig::eapi::kNotInitialised), FailedWrite}, {Silent(), UnseenWrite}},
        .failures = 5'478,
        .failuresOfWindows = 146,
        .excused = {0, 506, 42, 0, 42, 45, 0, 0, 0},
        .excusedOfWindows = {0, 0, 0, 0, 0, 0, 0, 0, 24},
        .earlierFaults = {{"EApiGPIOSetDirection", rig::eapi::kUnsupported, false}},
        .activeOutputs = kAllButClearMep,
        .comeback = Comeback::NextOperation,
        .configuringMayAnswerWrite = true,
        .restsClearMep = false,
        .behaviour = {.isUsb = false, .switchesOn = true},
    };
}

Kind Lpt() {
    constexpr std::uint32_t kWmiFailed = 0x8004'1003;
    const auto risk = [](Function function, const rig::FailureMode&) {
        return function == Function::Inp32   ? WrongByte
               : function == Function::Out32 ? UnseenWrite
                                             : None;
    };
    return {
        .name = "Parallel port",
        .scenario = test::kLptCamera,
        .lookAlike = "[lpt]\npresence_wire = false\n",
        .make = MakeController<SLV::Internal::SolvaneLpt>,
        .functions = FunctionsOf({&rig::kWmi, &rig::kInpout}, risk),
        .dead = {{Silent(), WrongByte}},
        .failures = 3'588,
        .failuresOfWindows = 1'676,
        .excused = {0, 191, 917, 0, 0, 0, 0, 0, 0},
        .excusedOfWindows = {0, 0, 0, 0, 0, 0, 0, 0, 30},
        .earlierFaults = {{"IWbemServices::ExecQuery", kWmiFailed, false}},
        .activeOutputs = kWithClearMep,
        .comeback = Comeback::NewController,
        .configuringMayAnswerWrite = true, // the port driver is not open
        .behaviour = {.isUsb = false,
                      .clearsFlag = true,
                      .absentPowerControl = SOLVANE_E_UNDETERMINED},
    };
}

} // namespace

const std::vector<Kind>& Kinds() {
    static const std::vector<Kind> kinds{Ft2232h(), SuperIo(), Eapi(), Lpt()};
    return kinds;
}

const std::vector<VendorFunction>& SystemFunctions() {
    constexpr std::uint32_t kNoPeriod = 97;
    constexpr std::uint32_t kBadValue = 22; // EINVAL
    constexpr std::uint32_t kNoMemory = 0x8007'000E;
    constexpr std::uint32_t kBadArgument = 0x8007'0057;
    constexpr std::uint32_t kNoInterface = 0x8000'4002;
    constexpr std::uint32_t kOtherApartment = 0x8001'0106;
    constexpr std::uint32_t kTooLate = 0x8001'0119;
    constexpr std::uint32_t kNotRegistered = 0x8004'0154;
    constexpr std::uint32_t kBadType = 0x8002'0008;
    constexpr std::uint32_t kLocked = 0x8002'000D;
    const auto harmless = [](rig::FailureMode mode) { return FailureMode(mode, None, true); };
    static const std::vector<VendorFunction> functions{
        {"Sleep", {Counts(0), harmless(Counts(kCoarseSleep))}},
        {"timeBeginPeriod", {harmless(Fails(kNoPeriod))}},
        {"timeEndPeriod", {harmless(Fails(kNoPeriod))}},
        {"GetSystemTimePreciseAsFileTime", {harmless(Fails(0))}},
        {"localtime_s", {harmless(Fails(kBadValue))}},
        {"CoInitializeEx", {Fails(kNoMemory), Fails(kBadArgument), Fails(kOtherApartment)}},
        {"CoInitializeSecurity",
         {Fails(kNoMemory), Fails(kBadArgument), harmless(Fails(kTooLate))}},
        {"CoCreateInstance", {Fails(kNotRegistered), Fails(kNoInterface), Silent()}},
        {"CoSetProxyBlanket", {Fails(kNoInterface), Fails(kBadArgument)}},
        {"SysAllocString", {Silent()}}, // a null pointer
        {"VariantClear", {harmless(DoneButFails(kBadType)), harmless(DoneButFails(kLocked))}}};
    return functions;
}

std::string TestName(const testing::TestParamInfo<Kind>& info) {
    std::string name = info.param.name;
    std::erase_if(name, [](char letter) { return letter == ' ' || letter == '/'; });
    return name;
}

void PrintTo(const Kind& kind, std::ostream* stream) {
    *stream << kind.name;
}

} // namespace proof
