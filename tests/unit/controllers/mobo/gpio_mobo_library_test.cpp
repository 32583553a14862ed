#include "gpio_mobo_library.h"

#include <cstdio>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace SLV::Internal;
using testing::ElementsAre;
using testing::IsEmpty;

/// A chip with scripted registers; what is done to its ports is kept.
struct Chip {
    std::vector<std::string> accesses;
    std::map<unsigned, unsigned> registers{{0x20, 0xC4}, {0x21, 0x52}};
    unsigned index = 0;
    std::function<void()> onRead;
};

Chip chip;

void Write(std::uint16_t port, std::uint16_t value) {
    char text[32];
    std::snprintf(text, sizeof text, "%02X<-%02X", unsigned{port}, unsigned{value});
    chip.accesses.emplace_back(text);
    if (port == 0x2E) {
        chip.index = value;
    } else {
        chip.registers[chip.index] = value;
    }
}

std::uint16_t Read(std::uint16_t port) {
    char text[32];
    std::snprintf(text, sizeof text, "%02X?", unsigned{port});
    chip.accesses.emplace_back(text);
    if (chip.onRead) {
        chip.onRead();
    }
    return static_cast<std::uint16_t>(chip.registers[chip.index]);
}

class GpioMoboLibraryTest : public testing::Test {
  protected:
    GpioMoboLibraryTest() { chip = {}; }
    GpioMoboLibrary library;
};

TEST_F(GpioMoboLibraryTest, BeforeInitialisationNoPortIsTouched) {
    EXPECT_EQ(library.portStatus, 0xFFFE);
    library.writePort(0x2E, 1);
    EXPECT_EQ(library.readPort(0x2F), 0);
    library.GpioMoboShutdown();
    EXPECT_EQ(library.portStatus, 0xFFFE);
    EXPECT_THAT(chip.accesses, IsEmpty());
}

TEST_F(GpioMoboLibraryTest, InitialisationOpensAndIdentifiesTheChip) {
    EXPECT_EQ(library.GpioMoboInit(Write, Read), 0);
    EXPECT_EQ(library.portStatus, 0);
    EXPECT_THAT(chip.accesses, ElementsAre("2E<-87", "2E<-87", "2E<-20", "2F?", "2E<-21", "2F?"));
}

TEST_F(GpioMoboLibraryTest, ASecondInitialisationIsTheWrongStateAndChangesNothing) {
    library.GpioMoboInit(Write, Read);
    chip.accesses.clear();
    EXPECT_EQ(library.GpioMoboInit(nullptr, nullptr), -3);
    EXPECT_EQ(library.portStatus, 0);
    EXPECT_EQ(library.writePort, &Write);
    EXPECT_EQ(library.readPort, &Read);
    EXPECT_THAT(chip.accesses, IsEmpty());
}

TEST_F(GpioMoboLibraryTest, AnotherChipsFirstIdIsMinusFourAndTheSecondIsNotAskedFor) {
    // All sixteen bits count.
    for (const unsigned id : {0xFFu, 0x52u, 0x1C4u, 0xC4C4u}) {
        library = {};
        chip = {};
        chip.registers[0x20] = id;
        EXPECT_EQ(library.GpioMoboInit(Write, Read), -4);
        EXPECT_EQ(library.portStatus, 0xFFFC);
        EXPECT_EQ(chip.accesses.back(), "2F?");
        EXPECT_EQ(chip.accesses.size(), 4u);
        EXPECT_EQ(library.GpioMoboInit(Write, Read), -3) << "not shut down";
        EXPECT_EQ(library.portStatus, 0xFFFC);
    }
}

TEST_F(GpioMoboLibraryTest, AnotherChipsSecondIdIsMinusFive) {
    for (const unsigned id : {0xFFu, 0xC4u, 0x152u}) {
        library = {};
        chip = {};
        chip.registers[0x21] = id;
        EXPECT_EQ(library.GpioMoboInit(Write, Read), -5);
        EXPECT_EQ(library.portStatus, 0xFFFB);
        EXPECT_EQ(chip.accesses.size(), 6u);
    }
}

TEST_F(GpioMoboLibraryTest, APortThatFailsWhileIdentifyingIsReturnedAsItIs) {
    for (const int failing : {1, 2}) {
        library = {};
        chip = {};
        int reads = 0;
        chip.onRead = [&] {
            if (++reads == failing) {
                library.portStatus = 0x1234;
            }
        };
        EXPECT_EQ(library.GpioMoboInit(Write, Read), 0x1234);
        EXPECT_EQ(library.portStatus, 0x1234);
        EXPECT_EQ(reads, failing);
    }
}

TEST_F(GpioMoboLibraryTest, ShutdownClosesTheChipAndTakesThePortsAway) {
    library.GpioMoboInit(Write, Read);
    chip.accesses.clear();
    library.GpioMoboShutdown();
    EXPECT_THAT(chip.accesses, ElementsAre("2E<-AA"));
    EXPECT_EQ(library.portStatus, 0xFFFE);
    library.writePort(0x2E, 1);
    EXPECT_EQ(library.readPort(0x2F), 0);
    EXPECT_THAT(chip.accesses, ElementsAre("2E<-AA"));
    EXPECT_EQ(library.GpioMoboInit(Write, Read), 0) << "and it can be started again";
}

TEST_F(GpioMoboLibraryTest, AWrittenRegisterIsReadBack) {
    library.GpioMoboInit(Write, Read);
    chip.accesses.clear();
    ChipRegister data{0xED, 0};
    EXPECT_TRUE(library.WriteRegister(data, 0xFF));
    EXPECT_EQ(data.value, 0xFF);
    EXPECT_THAT(chip.accesses, ElementsAre("2E<-ED", "2F<-FF", "2E<-ED", "2F?"));
}

TEST_F(GpioMoboLibraryTest, WhatIsReadBackIsKeptNotWhatWasWritten) {
    library.GpioMoboInit(Write, Read);
    chip.onRead = [] { chip.registers[0xED] = 0x31; };
    ChipRegister data{0xED, 0};
    EXPECT_TRUE(library.WriteRegister(data, 0xFF));
    EXPECT_EQ(data.value, 0x31);
}

TEST_F(GpioMoboLibraryTest, AReadBackOfMoreThanAByteFailsAndIsNotKept) {
    for (const unsigned value : {0x100u, 0x1FFu, 0x8000u, 0xFFFFu}) {
        library = {};
        chip = {};
        library.GpioMoboInit(Write, Read);
        chip.onRead = [=] { chip.registers[0xED] = value; };
        ChipRegister data{0xED, 0x77};
        EXPECT_FALSE(library.WriteRegister(data, 0x12));
        EXPECT_EQ(data.value, 0x77);
    }
}

TEST_F(GpioMoboLibraryTest, AWriteThroughFailingPortsFails) {
    ChipRegister data{0xED, 0x77};
    library.GpioMoboInit(Write, Read);
    chip.accesses.clear();
    library.portStatus = 1;
    EXPECT_FALSE(library.WriteRegister(data, 0x12));
    EXPECT_THAT(chip.accesses, ElementsAre("2E<-ED", "2F<-12")) << "nothing is read back";
    library.portStatus = 0;
    chip.onRead = [&] { library.portStatus = 2; };
    EXPECT_FALSE(library.WriteRegister(data, 0x12));
    EXPECT_EQ(data.value, 0x77);
}

} // namespace
