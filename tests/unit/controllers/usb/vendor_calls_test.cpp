/// What each operation costs on a healthy, configured FT2232H. A call over USB takes a frame or
/// more of 125 us, so a call too many is time that a host sees.

#include "chip_on_the_rig.h"
#include "solvane_usb.h"

namespace {

using namespace SLV::Internal;
using namespace test;

struct Cost {
    const char* operation;
    void (*run)(SolvaneUsb&);
    const char* camera; ///< keys of the scenario's [camera] table
    unsigned vendorCalls;
    unsigned sleeps;
    unsigned milliseconds;
};

short out;

// A read is three calls and one sleep of 2 ms, a write one call and one sleep of 2 ms.
constexpr Cost kCosts[] = {
    {"CheckAvailable", [](SolvaneUsb& usb) { usb.CheckAvailable(); }, "", 0, 0, 0},
    {"CheckPowerControlAvailable", [](SolvaneUsb& usb) { usb.CheckPowerControlAvailable(); }, "", 0,
     0, 0},
    {"TriggerCapture", [](SolvaneUsb& usb) { usb.TriggerCapture(); }, "", 8, 5, 18},
    {"TriggerCapture, flag latched", [](SolvaneUsb& usb) { usb.TriggerCapture(); },
     "mep_latched = true", 10, 8, 22},
    {"TriggerCapture, not ready", [](SolvaneUsb& usb) { usb.TriggerCapture(); }, "asleep = true", 3,
     1, 2},
    {"EnableForcedBlackUpdate", [](SolvaneUsb& usb) { usb.EnableForcedBlackUpdate(); }, "", 1, 1,
     2},
    {"DisableForcedBlackUpdate", [](SolvaneUsb& usb) { usb.DisableForcedBlackUpdate(); }, "", 1, 1,
     2},
    {"CheckAndResetMepFlag", [](SolvaneUsb& usb) { usb.CheckAndResetMepFlag(&out); }, "", 3, 1, 2},
    {"CheckAndResetMepFlag, latched", [](SolvaneUsb& usb) { usb.CheckAndResetMepFlag(&out); },
     "mep_latched = true", 5, 4, 6},
    {"CheckSystemReady", [](SolvaneUsb& usb) { usb.CheckSystemReady(&out); }, "", 3, 1, 2},
    {"CheckForcedBlackUpdate", [](SolvaneUsb& usb) { usb.CheckForcedBlackUpdate(&out); }, "", 3, 1,
     2},
    {"WakeCamera", [](SolvaneUsb& usb) { usb.WakeCamera(); }, "", 8, 5, 18},
    {"EnableCameraPower", [](SolvaneUsb& usb) { usb.EnableCameraPower(); }, "", 1, 1, 2},
    {"DisableCameraPower", [](SolvaneUsb& usb) { usb.DisableCameraPower(); }, "", 1, 1, 2},
    {"CheckCameraPower", [](SolvaneUsb& usb) { usb.CheckCameraPower(&out); }, "", 3, 1, 2},
    {"EnableAccessoriesPower", [](SolvaneUsb& usb) { usb.EnableAccessoriesPower(); }, "", 1, 1, 2},
    {"DisableAccessoriesPower", [](SolvaneUsb& usb) { usb.DisableAccessoriesPower(); }, "", 1, 1,
     2},
    {"CheckAccessoriesPower", [](SolvaneUsb& usb) { usb.CheckAccessoriesPower(&out); }, "", 3, 1,
     2},
    {"CloseDevice", [](SolvaneUsb& usb) { usb.CloseDevice(); }, "", 1, 0, 0},
    {"ResetComPort", [](SolvaneUsb& usb) { usb.ResetComPort(); }, "", 5, 0, 0},
};

std::ostream& operator<<(std::ostream& stream, const Cost& cost) {
    return stream << cost.operation;
}

class VendorCallsTest : public OnTheRig, public testing::WithParamInterface<Cost> {};

TEST_P(VendorCallsTest, AreAsMany) {
    const Cost& cost = GetParam();
    Load(std::string(kUsbCamera) + "[camera]\n" + cost.camera + "\n");
    SolvaneUsb usb(logger);
    ASSERT_EQ(usb.CheckAvailable(), 0);
    TakeJournal();
    const std::uint32_t callsBefore = rig_calls(nullptr);
    const std::uint64_t timeBefore = rig_time();

    cost.run(usb);

    EXPECT_EQ(rig_calls(nullptr) - callsBefore, cost.vendorCalls);
    EXPECT_EQ((rig_time() - timeBefore) / 1'000'000, cost.milliseconds);
    const Journal journal = TakeJournal();
    EXPECT_EQ(std::count_if(journal.begin(), journal.end(),
                            [](const std::string& entry) { return entry.starts_with("Sleep("); }),
              cost.sleeps);
}

/// Finding, opening and configuring: two list calls, open, nine calls of initialisation, then a
/// read, a write and a read.
TEST_F(VendorCallsTest, AreNineteenForConfiguring) {
    SolvaneUsb usb(logger);
    ASSERT_EQ(usb.CheckAvailable(), 0);
    EXPECT_EQ(rig_calls(nullptr), 2u + 1u + 9u + 3u + 1u + 3u);
    EXPECT_EQ(rig_time() / 1'000'000, 56u);
}

std::string NameOf(const testing::TestParamInfo<Cost>& cost) {
    std::string name = cost.param.operation;
    std::erase_if(name, [](char c) { return !std::isalnum(c); });
    return name;
}

INSTANTIATE_TEST_SUITE_P(EachOperation, VendorCallsTest, testing::ValuesIn(kCosts), NameOf);

} // namespace
