/// Ports that fail in mid-access. No InpOut reports that today, but every access is checked for it,
/// and each check has its message.

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "inpout.h"
#include "solvane_kontron.h"

namespace {

using namespace SLV::Internal;
using testing::ElementsAre;

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

std::uint32_t INPOUT_CALL IsInpOutDriverOpen() {
    return 1;
}

namespace {

class FailingPorts : public testing::Test {
  protected:
    FailingPorts() {
        logger.Install(nullptr, [](void*, const char* line) {
            const std::string text(line);
            lines.push_back(text.substr(std::min(text.size(), sizeof "[HH:MM:SS.mmm]")));
        });
        Reset();
    }
    ~FailingPorts() override {
        failingAccess = 0;
        s_gpioMobo = {};
    }

    void Reset(int access = 0, std::uint16_t status = 0) {
        s_gpioMobo = {};
        lines.clear();
        accesses = 0;
        failingAccess = access;
        failure = status;
    }

    Logger logger;
};

TEST_F(FailingPorts, EachAccessOfConfigureHasItsMessage) {
    // Accesses: 2 keys, 2 x 2 ids, 2 keys, 2 of the logical device, 2 of the banks, 4 x 2
    // registers, 4 of the directions, 4 of clear MEP, 4 of the trigger.
    const std::string init = "[KTRN]: Failed to initialize GPIO MOBO library. Error code: -7";
    const std::string mode = "[KTRN]: Failed to enter extended function mode. Error code: -7";
    const std::string device = "[KTRN]: Failed to select logical device 7. Error code: -7";
    const std::string banks =
        "[KTRN]: Failed to read information about active GPIO banks. Error code: -7";
    const std::string directions = "[KTRN]: failed to configure pins directions.";
    std::vector<std::vector<std::string>> expected;
    const auto add = [&](int count, const std::vector<std::string>& texts) {
        expected.insert(expected.end(), static_cast<std::size_t>(count), texts);
    };
    add(6, {init});
    add(2, {mode});
    add(2, {device});
    add(2, {banks});
    add(8 + 4, {directions});
    add(4, {"[KTRN]: SetPin() failed to write to I/O register.",
            "[KTRN]: failed to initially set Clear MEP pin."});
    add(4, {"[KTRN]: ClearPin() failed to write to I/O register.",
            "[KTRN]: failed to initially clear Trigger pin."});
    ASSERT_EQ(expected.size(), 32u);

    for (int access = 1; access <= 32; ++access) {
        SolvaneKontron kontron(logger);
        Reset(access, 0xFFF9); // -7
        EXPECT_EQ(kontron.Configure(), -3) << access;
        EXPECT_EQ(lines, expected[static_cast<std::size_t>(access - 1)]) << access;
        failingAccess = 0;
        EXPECT_EQ(kontron.Configure(), 0) << "the next attempt starts the ports afresh";
    }
    SolvaneKontron kontron(logger);
    Reset(33, 0xFFF9);
    EXPECT_EQ(kontron.Configure(), 0);
}

TEST_F(FailingPorts, AReadThroughFailingPortsIsSilentAndChangesNothing) {
    SolvaneKontron kontron(logger);
    ASSERT_EQ(kontron.Configure(), 0);
    for (const int access : {1, 2}) {
        s_gpioMobo.portStatus = 0;
        lines.clear();
        accesses = 0;
        failingAccess = access;
        failure = 1;
        std::uint32_t value = 77;
        EXPECT_FALSE(kontron.GetPinValue(Ready_Pin, value));
        EXPECT_EQ(value, 77u);
        EXPECT_TRUE(lines.empty());
    }
}

TEST_F(FailingPorts, AWriteThroughFailingPortsHasItsMessageAndAPicture) {
    SolvaneKontron kontron(logger);
    ASSERT_EQ(kontron.Configure(), 0);
    lines.clear();
    s_gpioMobo.portStatus = 1;
    EXPECT_FALSE(kontron.SetPinValue(Trigger_Pin, 1));
    EXPECT_FALSE(kontron.SetPinValue(Trigger_Pin, 0));
    EXPECT_THAT(lines, ElementsAre("[KTRN]: SetPin() failed to write to I/O register.",
                                   "[KTRN]: >>> trg-rdy-mep-CLR-drk-apw-cpw-pws",
                                   "[KTRN]: ClearPin() failed to write to I/O register.",
                                   "[KTRN]: >>> trg-rdy-mep-CLR-drk-apw-cpw-pws"));
}

} // namespace
