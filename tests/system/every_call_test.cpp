/// Every call that a trigger makes of the vendors' DLLs fails once, in the real DLL.

#include "library_fixture.h"

namespace {

using namespace test;

class EveryCall : public OnTheRig, public testing::WithParamInterface<const char*> {};

TEST_P(EveryCall, OfATriggerMayFail) {
    constexpr std::uint32_t kStatuses[] = {0x1EE, 0xFFFF'FFFF};
    Load(GetParam());
    ASSERT_EQ(library.CheckAvailable(), 0);
    const std::uint32_t before = rig_calls("*");
    ASSERT_EQ(library.TriggerCapture(), 0);
    const std::uint32_t calls = rig_calls("*") - before;
    ASSERT_GT(calls, 0u);
    int tried = 0;
    for (const std::uint32_t status : kStatuses) {
        for (std::uint32_t call = 1; call <= calls; ++call) {
            SCOPED_TRACE(testing::Message() << "call " << call << ", status " << status);
            Load(GetParam());
            ASSERT_EQ(library.RecheckStatus(), 0);
            const rig_fault fault{"*", rig_calls("*") + call, 1, RIG_FAULT_STATUS, status, 0};
            ASSERT_EQ(rig_add_fault(&fault), 0);
            const int answer = library.TriggerCapture();
            EXPECT_TRUE(answer == 0 || answer == -2 || answer == -3 || answer == -5) << answer;
            rig_clear_faults();
            // A write to a parallel port that is lost cannot be noticed.
            EXPECT_TRUE(answer == -2 || rig_level(RIG_TRIGGER) == 0 || GetParam() == kLptCamera);
            EXPECT_EQ(library.RecheckStatus(), 0);
            EXPECT_EQ(rig_level(RIG_TRIGGER), 0) << "a new configuration brings it to rest";
            EXPECT_EQ(rig_wbem_interfaces(), 0);
            ++tried;
        }
    }
    std::printf("%d of %u failures\n", tried, 2 * calls);
}

std::string NameOfKind(const testing::TestParamInfo<const char*>& kind) {
    const char* const names[] = {"FT2232H", "Eapi", "SuperIo", "Lpt"};
    return names[kind.index];
}

INSTANTIATE_TEST_SUITE_P(OnEveryKind, EveryCall,
                         testing::Values(kUsbCamera, kEapiCamera, kSuperIoCamera, kLptCamera),
                         NameOfKind);

} // namespace
