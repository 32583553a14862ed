/// What no transcript can show: ports that fail in mid-access (InpOut does not report that, but
/// every access is checked for it), a controller that is configured again or asked for pins before.

#include "solvane_kontron.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "inpout.h"

namespace {

using namespace SLV::Internal;
using testing::ElementsAre;
using testing::IsEmpty;

const std::string kWrongState = "[KTRN]: GPIO MOBO has a wrong state. Reinitialize the library...";

std::vector<std::string> lines;
int accesses = 0;
int failingAccess = 0; ///< 0: none
std::uint16_t failure = 0;
std::uint16_t currentIndex = 0;

void CountAccess() {
    if (++accesses == failingAccess) {
        s_gpioMobo.portStatus = failure;
    }
}

} // namespace

void INPOUT_CALL Out32(std::uint16_t port, std::uint16_t value) {
    if (port == 0x2E) {
        currentIndex = value;
    }
    CountAccess();
}

std::uint16_t INPOUT_CALL Inp32(std::uint16_t) {
    CountAccess();
    switch (currentIndex) {
    case 0x20:
        return 0xC4;
    case 0x21:
        return 0x52;
    case 0x30:
        return 0xFF;
    default:
        return 0x08; // clear MEP high, trigger low
    }
}

/// Checks all 32 bits of the answer.
std::uint32_t INPOUT_CALL IsInpOutDriverOpen() {
    return 0x8000'0000;
}

namespace {

class SolvaneKontronTest : public testing::Test {
  protected:
    SolvaneKontronTest() {
        logger.Install(nullptr, [](void*, const char* line) {
            const std::string text(line);
            lines.push_back(text.substr(std::min(text.size(), sizeof "[HH:MM:SS.mmm]")));
        });
        s_gpioMobo = {};
        FailAt(0);
    }
    ~SolvaneKontronTest() override {
        FailAt(0);
        s_gpioMobo = {};
    }

    /// The ports fail at the n-th access from now, with a status that nothing else has (-7).
    static void FailAt(int access) {
        lines.clear();
        accesses = 0;
        failingAccess = access;
        failure = static_cast<std::uint16_t>(-7);
    }

    Logger logger;
};

TEST_F(SolvaneKontronTest, EachFailingAccessOfConfigureHasItsMessageAndTheNextAttemptSucceeds) {
    // Accesses: 2 keys, 2 x 2 ids, 2 keys, 2 of the logical device, 2 of the banks, 4 x 2
    // registers, 4 of the directions, 4 of clear MEP, 4 of the trigger.
    std::vector<std::vector<std::string>> expected;
    const auto add = [&](int count, const std::vector<std::string>& texts) {
        expected.insert(expected.end(), static_cast<std::size_t>(count), texts);
    };
    add(6, {"[KTRN]: Failed to initialize GPIO MOBO library. Error code: -7"});
    add(2, {"[KTRN]: Failed to enter extended function mode. Error code: -7"});
    add(2, {"[KTRN]: Failed to select logical device 7. Error code: -7"});
    add(2, {"[KTRN]: Failed to read information about active GPIO banks. Error code: -7"});
    add(8 + 4, {"[KTRN]: failed to configure pins directions."});
    add(4, {"[KTRN]: SetPin() failed to write to I/O register.",
            "[KTRN]: failed to initially set Clear MEP pin."});
    add(4, {"[KTRN]: ClearPin() failed to write to I/O register.",
            "[KTRN]: failed to initially clear Trigger pin."});
    ASSERT_EQ(expected.size(), 32u);

    for (int access = 1; access <= 32; ++access) {
        SolvaneKontron kontron(logger);
        FailAt(access);
        EXPECT_EQ(kontron.Configure(), -3) << access;
        EXPECT_EQ(lines, expected[static_cast<std::size_t>(access - 1)]) << access;
        FailAt(0);
        EXPECT_EQ(kontron.Configure(), 0) << access;
        EXPECT_THAT(lines, ElementsAre(kWrongState, "[KTRN]: initialization succeeded!",
                                       "[KTRN]: State: trg-rdy-mep-CLR-drk-apw-cpw-pws"));
        EXPECT_EQ(accesses, 1 + 32) << "the chip is left and asked afresh";
    }
}

TEST_F(SolvaneKontronTest, AReadThroughFailingPortsIsSilentAndChangesNothing) {
    SolvaneKontron kontron(logger);
    ASSERT_EQ(kontron.Configure(), 0);
    for (const int access : {1, 2}) {
        s_gpioMobo.portStatus = 0;
        FailAt(access);
        std::uint32_t value = 77;
        EXPECT_FALSE(kontron.GetPinValue(Ready_Pin, value));
        EXPECT_EQ(value, 77u);
        EXPECT_THAT(lines, IsEmpty());
    }
}

TEST_F(SolvaneKontronTest, AWriteThroughFailingPortsReadsNothingBackAndIsLoggedWithTheLevels) {
    SolvaneKontron kontron(logger);
    ASSERT_EQ(kontron.Configure(), 0);
    FailAt(1);
    EXPECT_FALSE(kontron.SetPinValue(Trigger_Pin, 1));
    EXPECT_FALSE(kontron.SetPinValue(Trigger_Pin, 0));
    EXPECT_EQ(accesses, 2 * 2);
    EXPECT_THAT(lines, ElementsAre("[KTRN]: SetPin() failed to write to I/O register.",
                                   "[KTRN]: >>> trg-rdy-mep-CLR-drk-apw-cpw-pws",
                                   "[KTRN]: ClearPin() failed to write to I/O register.",
                                   "[KTRN]: >>> trg-rdy-mep-CLR-drk-apw-cpw-pws"));
}

TEST_F(SolvaneKontronTest, WithoutABankNothingIsReadOrDriven) {
    SolvaneKontron kontron(logger);
    std::uint32_t value = 77;
    EXPECT_FALSE(kontron.GetPinValue(Ready_Pin, value));
    EXPECT_FALSE(kontron.SetPinValue(Trigger_Pin, 1));
    EXPECT_EQ(value, 77u);
    EXPECT_EQ(accesses, 0);
    EXPECT_THAT(lines, ElementsAre("[KTRN]: GPIO device is NOT ready.",
                                   "[KTRN]: GPIO device is NOT ready."));
    EXPECT_EQ(kontron.DescribeState().View(), "GPIO device is NULL!");
}

TEST_F(SolvaneKontronTest, AWrongLevelIsRefusedAndNoLevelsAreLogged) {
    SolvaneKontron kontron(logger);
    ASSERT_EQ(kontron.Configure(), 0);
    FailAt(0);
    EXPECT_FALSE(kontron.SetPinValue(Trigger_Pin, 2));
    EXPECT_FALSE(kontron.SetPinValue(Trigger_Pin, 0xFFFF'FFFF));
    EXPECT_EQ(accesses, 0);
    EXPECT_THAT(lines, ElementsAre("[KTRN]: SetPinValue() recieved wrong value 2",
                                   "[KTRN]: SetPinValue() recieved wrong value 4294967295"));
}

TEST_F(SolvaneKontronTest, PortsCannotBeReachedWithoutAController) {
    for (int use = 0; use < 2; ++use) {
        FailAt(0);
        EXPECT_EQ(s_gpioMobo.portStatus, 0xFFFE);
        s_gpioMobo.writePort(0x2E, 1);
        EXPECT_EQ(s_gpioMobo.readPort(0x2F), 0);
        EXPECT_EQ(accesses, 0);
        SolvaneKontron kontron(logger);
        EXPECT_EQ(kontron.Configure(), 0);
        EXPECT_EQ(s_gpioMobo.portStatus, 0);
        EXPECT_EQ(s_gpioMobo.GpioMoboInit(nullptr, nullptr), -3);
        EXPECT_EQ(s_gpioMobo.writePort, &Out32) << "a second use changes nothing";
        EXPECT_EQ(s_gpioMobo.readPort, &Inp32);
    }
}

} // namespace
