#include "proof_kinds.h"

#include <solvane/rig.h>

#include "eapi.h"
#include "on_the_rig.h"
#include "solvane_eapi.h"
#include "solvane_kontron.h"
#include "solvane_lpt.h"
#include "solvane_usb.h"

namespace proof {

namespace {

using SLV::Internal::MakeController;

Way Fails(std::uint32_t status, TriggerRisk risk = TriggerRisk::None) {
    return {"fails", RIG_FAULT_STATUS, status, 0, risk};
}

/// Success is reported, and nothing was done: no bytes, no handle, an empty answer.
Way Silent(TriggerRisk risk = TriggerRisk::None) {
    return {"is silent", RIG_FAULT_SILENT, 0, 0, risk};
}

Way Counts(std::uint32_t count, TriggerRisk risk = TriggerRisk::None) {
    return {"counts wrong", RIG_FAULT_COUNT, 0, count, risk};
}

/// The work was done all the same.
Way DoneButFails(std::uint32_t status, TriggerRisk risk = TriggerRisk::None) {
    return {"is done but fails", RIG_FAULT_STATUS | RIG_FAULT_COUNT, status, 0xFFFF'FFFF, risk};
}

constexpr std::uint32_t kEverything = 0xFFFF'FFFF;
constexpr auto kFailedWrite = TriggerRisk::FailedWrite;
constexpr auto kUnseenWrite = TriggerRisk::UnseenWrite;
constexpr auto kGarble = TriggerRisk::Garble;
constexpr auto kWrongByte = TriggerRisk::WrongByte;

// Statuses of D2XX.
constexpr std::uint32_t kInvalidHandle = 1;
constexpr std::uint32_t kNotFound = 2;
constexpr std::uint32_t kNotOpened = 3;
constexpr std::uint32_t kIoError = 4;
constexpr std::uint32_t kNoResources = 5;
constexpr std::uint32_t kOtherError = 18;

Kind Ft2232h() {
    const std::vector<Way> settings{Fails(kInvalidHandle), Fails(kIoError), Silent()};
    const std::vector<Way> writes{Fails(kInvalidHandle, kFailedWrite),
                                  Fails(kIoError, kFailedWrite),
                                  Silent(kFailedWrite),
                                  Counts(0, kFailedWrite),
                                  Counts(1, kGarble),
                                  Counts(2, kGarble),
                                  DoneButFails(kIoError, kFailedWrite)};
    return {
        .name = "FT2232H",
        .scenario = test::kUsbCamera,
        .make = MakeController<SLV::Internal::SolvaneUsb>,
        .functions =
            {{"FT_CreateDeviceInfoList",
              {Fails(kIoError), Fails(kOtherError), Silent(), Counts(1), Counts(kEverything)}},
             {"FT_GetDeviceInfoList",
              {Fails(kIoError), Fails(kOtherError), Silent(), Counts(0), Counts(1)}},
             {"FT_Open",
              {Fails(kNotFound), Fails(kNotOpened), Fails(kNoResources), Silent(),
               DoneButFails(kIoError)}},
             {"FT_Close",
              {Fails(kInvalidHandle), Fails(kIoError), Silent(), DoneButFails(kIoError)}},
             {"FT_ResetDevice", settings},
             {"FT_SetUSBParameters", settings},
             {"FT_SetChars", settings},
             {"FT_SetTimeouts", settings},
             {"FT_SetLatencyTimer", settings},
             {"FT_SetFlowControl", settings},
             {"FT_SetBitMode", settings},
             {"FT_ResetPort",
              {Fails(kInvalidHandle), Fails(kIoError), Silent(), DoneButFails(kIoError)}},
             {"FT_GetQueueStatus",
              {Fails(kInvalidHandle), Fails(kIoError), Silent(), Counts(2), Counts(65'536)}},
             {"FT_Read", {Fails(kInvalidHandle), Fails(kIoError), Silent(), Counts(0)}},
             {"FT_Write", writes}},
        .dead = {Fails(kInvalidHandle, kFailedWrite), Fails(kIoError, kFailedWrite),
                 Silent(kFailedWrite)},
        .mishap = {"FT_Write", kIoError, true},
        .comeback = Comeback::UsbHandle,
        .behaviour = {.accessMilliseconds = 2},
    };
}

Kind SuperIo() {
    constexpr std::uint32_t kNoByte = 0x1EE; ///< more than a register can hold
    constexpr std::uint32_t kNobody = 0xFF;  ///< what a bus reads where nothing answers
    return {
        .name = "Super I/O",
        .scenario = test::kSuperIoCamera,
        .make = MakeController<SLV::Internal::SolvaneKontron>,
        .functions = {{"IsInpOutDriverOpen", {Silent()}},
                      {"Inp32",
                       {Fails(0xFFFF, kFailedWrite), Fails(kNoByte, kFailedWrite),
                        Fails(kNobody, kWrongByte), Silent(kWrongByte)}},
                      {"Out32", {Silent(TriggerRisk::WrongRegister)}}},
        .dead = {Silent(kUnseenWrite), Fails(0xFFFF, kFailedWrite)},
        .mishap = {"Inp32", kNoByte, false},
        .comeback = Comeback::NextOperation,
        .configuringMayAnswerWrite = true,
        .lostPowerIsOff = true,
        .behaviour = {.isUsb = false, .switchesOn = true},
    };
}

Kind Eapi() {
    constexpr std::uint32_t kNotInitialised = 0xFFFF'FFFF;
    constexpr std::uint32_t kAllocationError = 0xFFFF'FFFD;
    constexpr std::uint32_t kReadError = 0xFFFF'FAFF;
    constexpr std::uint32_t kWriteError = 0xFFFF'FAFE;
    constexpr std::uint32_t kUnsupported = 0xFFFF'FCFF;
    return {
        .name = "Embedded API",
        .scenario = test::kEapiCamera,
        .make = MakeController<SLV::Internal::SolvaneEApi>,
        .functions = {{"EApiLibInitialize",
                       {Fails(kAllocationError), Fails(EAPI_STATUS_INITIALIZED), Silent(),
                        DoneButFails(kAllocationError)}},
                      {"EApiLibUnInitialize", {Fails(kNotInitialised), Silent()}},
                      {"EApiGetEAPIVersion", {Fails(kUnsupported), Silent()}},
                      {"EApiGPIOGetCount",
                       {Fails(kNotInitialised), Fails(kUnsupported), Silent(), Counts(7),
                        Counts(kEverything)}},
                      {"EApiGPIOSetDirection",
                       {Fails(kNotInitialised), Fails(kUnsupported), Silent(),
                        DoneButFails(kWriteError)}},
                      {"EApiGPIOGetLevel",
                       {Fails(kNotInitialised), Fails(kReadError), Silent(), Counts(0), Counts(1),
                        Counts(kEverything)}},
                      {"EApiGPIOSetLevel",
                       {Fails(kNotInitialised, kFailedWrite), Fails(kWriteError, kFailedWrite),
                        Silent(kUnseenWrite), DoneButFails(kWriteError, kFailedWrite)}}},
        .dead = {Fails(kNotInitialised, kFailedWrite), Silent(kUnseenWrite)},
        .mishap = {"EApiGPIOSetDirection", kUnsupported, false},
        .comeback = Comeback::NextOperation,
        .configuringMayAnswerWrite = true,
        .restsClearMep = false,
        .behaviour = {.isUsb = false, .switchesOn = true},
    };
}

Kind Lpt() {
    constexpr std::uint32_t kFailed = 0x8000'4005;
    constexpr std::uint32_t kWmiFailed = 0x8004'1003;
    constexpr std::uint32_t kNobody = 0xFF; ///< what a bus reads where nothing answers
    const std::vector<Way> com{Fails(kFailed), Fails(kWmiFailed), Silent()};
    return {
        .name = "Parallel port",
        .scenario = test::kLptCamera,
        .make = MakeController<SLV::Internal::SolvaneLpt>,
        .functions = {{"IClassFactory::CreateInstance", com},
                      {"IWbemLocator::ConnectServer", com},
                      {"IClientSecurity::SetBlanket",
                       {Fails(kFailed), Fails(kWmiFailed), Silent()}},
                      {"IWbemServices::ExecQuery", com},
                      {"IEnumWbemClassObject::Next",
                       {Fails(kWmiFailed), Silent(), Counts(0), Counts(2)}},
                      {"IWbemClassObject::Get", com},
                      {"IsInpOutDriverOpen", {Silent()}},
                      {"Inp32", {Fails(kNobody, kWrongByte), Silent(kWrongByte)}},
                      {"Out32", {Silent(kUnseenWrite)}}},
        .dead = {Silent(kWrongByte)},
        .mishap = {"IWbemServices::ExecQuery", kWmiFailed, false},
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
    const auto harmless = [](Way way) {
        way.isHarmless = true;
        return way;
    };
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
