#include "on_the_rig.h"

#include <regex>
#include <string_view>

#include "bit_port.h"
#include "com_stand_in.h"
#include "gpio_mobo_library.h"
#include "host_platform.h"
#include "solvane_kontron.h"
#include "solvane_lpt.h"
#include "system_faults.h"

namespace test {

namespace {

/// The process-wide state of the library, as the first test of the process finds it.
struct ProcessState {
    FT_HANDLE handle = SLV::Internal::s_ft_handle;
    SLV::Internal::BitPort highPort = SLV::Internal::s_highPort;
    SLV::Internal::BitPort lowPort = SLV::Internal::s_lowPort;
    SLV::Internal::GpioMoboLibrary gpioMobo = SLV::Internal::s_gpioMobo;
    std::uint16_t moboFlag = SLV::Internal::moboAccessoriesPowerFlag;
    std::uint16_t kontronFlag = SLV::Internal::kontronAccessoriesPowerFlag;
    short lptAvailability = SLV::Internal::s_lptAvailability;
    short lptPowerAvailability = SLV::Internal::s_lptPowerAvailability;
    std::uint16_t lptBaseAddress = SLV::Internal::s_lptBaseAddress;
    bool lptInitialised = SLV::Internal::s_lptInitialised;
};

} // namespace

void ResetProcessState() {
    using namespace SLV::Internal;
    static const ProcessState atLoad;
    s_ft_handle = atLoad.handle;
    s_highPort = atLoad.highPort;
    s_lowPort = atLoad.lowPort;
    s_gpioMobo = atLoad.gpioMobo;
    moboAccessoriesPowerFlag = atLoad.moboFlag;
    kontronAccessoriesPowerFlag = atLoad.kontronFlag;
    s_lptAvailability = atLoad.lptAvailability;
    s_lptPowerAvailability = atLoad.lptPowerAvailability;
    s_lptBaseAddress = atLoad.lptBaseAddress;
    s_lptInitialised = atLoad.lptInitialised;
    host::com::Reset();
    host::ClearFaults();
}

namespace {

void AddFault(rig_fault fault) {
    fault.call += rig_calls(fault.function);
    ASSERT_EQ(rig_add_fault(&fault), 0) << fault.function;
}

constexpr std::string_view kLogPrefix = "log: ";

} // namespace

OnTheRig::OnTheRig() {
    ResetProcessState();
    Load(kUsbCamera);
    host::Record(true);
    logger.Install(nullptr, LogToJournal);
}

OnTheRig::~OnTheRig() {
    EXPECT_EQ(host::RaisedTimerPeriods(), 0) << "the timer resolution stayed raised";
    EXPECT_EQ(rig_wbem_interfaces(), 0) << "an interface was not released";
    EXPECT_EQ(host::com::AliveStrings(), 0) << "a text was not freed";
    EXPECT_EQ(host::com::Initialisations(), 0) << "COM was left initialised";
    EXPECT_EQ(host::com::Misuses(), 0) << "COM was used uninitialised, or with a foreign text";
    ResetProcessState();
}

void OnTheRig::Load(const std::string& scenario) {
    ASSERT_EQ(rig_load(scenario.c_str()), 0) << rig_error();
    rig_journal_clear();
}

Journal OnTheRig::TakeJournal() {
    return TakeEntries({RIG_CALL, RIG_NOTE});
}

Journal OnTheRig::TakeLog() {
    Journal lines;
    for (const std::string& entry : TakeJournal()) {
        if (entry.starts_with(kLogPrefix)) {
            lines.push_back(entry.substr(kLogPrefix.size()));
        }
    }
    return lines;
}

Journal OnTheRig::TakeEdges() {
    return TakeEntries({RIG_EDGE});
}

void OnTheRig::FailStatus(const char* function, std::uint32_t call, std::uint32_t status,
                          std::uint32_t times) {
    AddFault({function, call, times, RIG_FAULT_STATUS, status, 0});
}

void OnTheRig::FailCount(const char* function, std::uint32_t call, std::uint32_t count,
                         std::uint32_t times) {
    AddFault({function, call, times, RIG_FAULT_COUNT, 0, count});
}

void OnTheRig::FailSilently(const char* function, std::uint32_t call, std::uint32_t times) {
    AddFault({function, call, times, RIG_FAULT_SILENT, 0, 0});
}

void OnTheRig::LogToJournal(void*, const char* line) {
    static const std::regex stamped(R"(\[\d\d:\d\d:\d\d\.\d\d\d\] ([^]*))");
    std::cmatch match;
    const bool stampedOrEmpty = *line == '\0' || std::regex_match(line, match, stamped);
    EXPECT_TRUE(stampedOrEmpty) << "no time stamp: " << line;
    rig_note((std::string(kLogPrefix) + (match.empty() ? line : match[1].str())).c_str());
}

} // namespace test
