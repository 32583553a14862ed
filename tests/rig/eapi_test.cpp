#include "bench_rig.h"
#include "eapi.h"

namespace test {
namespace {

// Statuses from the published EAPI standard.
constexpr EApiStatus_t kNotInitialised = 0xFFFF'FFFF;
constexpr EApiStatus_t kInitialisedAlready = 0xFFFF'FFFE;
constexpr EApiStatus_t kWrongParameter = 0xFFFF'FEFF;
constexpr EApiStatus_t kWrongDirection = 0xFFFF'FEFC;
constexpr EApiStatus_t kWrongMask = 0xFFFF'FEFB;
constexpr EApiStatus_t kUnsupported = 0xFFFF'FCFF;
constexpr EApiStatus_t kNoBoard = 0xFFFF'FBFF;

class Eapi : public BenchRig {
  protected:
    Eapi() { Start("[eapi]\n"); }

    static void Start(const std::string& toml) {
        Load(toml);
        EXPECT_EQ(EApiLibInitialize(), 0U);
    }

    /// Makes a pin an output and sets its level.
    static void Drive(EApiId_t id, std::uint32_t level) {
        EXPECT_EQ(EApiGPIOSetDirection(id, 1, EAPI_GPIO_OUTPUT), 0U);
        EXPECT_EQ(EApiGPIOSetLevel(id, 1, level), 0U);
    }

    static std::uint32_t Level(EApiId_t id) {
        std::uint32_t level = kUntouched;
        EXPECT_EQ(EApiGPIOGetLevel(id, 1, &level), 0U);
        return level;
    }
};

TEST_F(Eapi, DrivesEachLineFromItsOwnPin) {
    const struct {
        EApiId_t id;
        rig_line line;
        std::uint32_t activeLevel;
    } wires[] = {{0, RIG_TRIGGER, 1},
                 {3, RIG_CLEAR_MEP, 0},
                 {4, RIG_DARK, 1},
                 {5, RIG_ACCESSORIES_POWER, 0},
                 {6, RIG_CAMERA_POWER, 0}};
    for (const auto& changed : wires) {
        for (const auto& wire : wires) {
            Drive(wire.id, 1 - wire.activeLevel);
        }
        Drive(changed.id, changed.activeLevel);
        for (const auto& wire : wires) {
            EXPECT_EQ(rig_level(wire.line), wire.id == changed.id ? 1 : 0)
                << rig_line_name(wire.line);
        }
    }
}

TEST_F(Eapi, ReadsEachInput) {
    EXPECT_EQ(Level(1), 1U);
    rig_force(RIG_READY, 0);
    EXPECT_EQ(Level(1), 0U);
    EXPECT_EQ(Level(2), 1U);
    rig_force(RIG_MEP, 1);
    EXPECT_EQ(Level(2), 0U) << "a latched flag is low";
    EXPECT_EQ(Level(7), 0U);
    Drive(6, 1);
    EXPECT_EQ(Level(7), 1U) << "camera power off";
}

TEST_F(Eapi, PinsAreInputsUntilTheirDirectionIsSet) {
    EXPECT_EQ(EApiGPIOSetLevel(4, 1, 1), kWrongDirection);
    EXPECT_EQ(rig_level(RIG_DARK), 0);
    Drive(4, 1);
    EXPECT_EQ(rig_level(RIG_DARK), 1);
    EXPECT_EQ(EApiGPIOSetDirection(4, 1, EAPI_GPIO_INPUT), 0U);
    EXPECT_EQ(rig_level(RIG_DARK), 0) << "an input lets go of its line";
}

TEST_F(Eapi, BecomingOutputsChangesNoLine) {
    rig_journal_clear();
    for (EApiId_t id = 0; id < 8; ++id) {
        EXPECT_EQ(EApiGPIOSetDirection(id, 1, EAPI_GPIO_OUTPUT), 0U);
    }
    EXPECT_TRUE(Take(RIG_EDGE).empty());
}

TEST_F(Eapi, NothingButTheVersionWorksBeforeItIsInitialised) {
    Load("[eapi]\n");
    std::uint32_t number = kUntouched;
    EXPECT_EQ(EApiGPIOGetCount(&number), kNotInitialised);
    EXPECT_EQ(EApiGPIOSetDirection(0, 1, 0), kNotInitialised);
    EXPECT_EQ(EApiGPIOGetLevel(0, 1, &number), kNotInitialised);
    EXPECT_EQ(EApiGPIOSetLevel(0, 1, 0), kNotInitialised);
    EXPECT_EQ(EApiLibUnInitialize(), kNotInitialised);
    EXPECT_EQ(number, kUntouched);
    std::uint8_t parts[3] = {};
    std::uint16_t build = 0;
    EXPECT_EQ(EApiGetEAPIVersion(&parts[0], &parts[1], &parts[2], &build), 0U);
    EXPECT_EQ(parts[0], 1);
    EXPECT_EQ(parts[1], 2);
    EXPECT_EQ(parts[2], 3);
    EXPECT_EQ(build, 4);
}

TEST_F(Eapi, IsInitialisedOnceAndUninitialisedOnce) {
    EXPECT_EQ(EApiLibInitialize(), kInitialisedAlready);
    EXPECT_EQ(EApiLibUnInitialize(), 0U);
    EXPECT_EQ(EApiLibUnInitialize(), kNotInitialised);
    EXPECT_EQ(EApiLibInitialize(), 0U);
}

TEST_F(Eapi, PinsKeepTheirLevelsWhenTheLibraryGoes) {
    Drive(4, 1);
    EXPECT_EQ(EApiLibUnInitialize(), 0U);
    EXPECT_EQ(rig_level(RIG_DARK), 1);
}

TEST_F(Eapi, WithoutABoardThereIsNothingToInitialise) {
    Load("");
    EXPECT_EQ(EApiLibInitialize(), kNoBoard);
    EXPECT_EQ(EApiLibUnInitialize(), kNotInitialised);
}

TEST_F(Eapi, HasAsManyPinsAsTheScenarioSays) {
    for (const std::uint32_t gpios : {0U, 7U, 8U, 32U}) {
        Start("[eapi]\ngpios = " + std::to_string(gpios) + "\n");
        std::uint32_t count = kUntouched;
        EXPECT_EQ(EApiGPIOGetCount(&count), 0U);
        EXPECT_EQ(count, gpios);
        EXPECT_EQ(EApiGPIOSetDirection(gpios, 1, 0), kUnsupported);
        if (gpios > 0) {
            EXPECT_EQ(EApiGPIOSetDirection(gpios - 1, 1, 0), 0U);
        }
    }
    EXPECT_EQ(Level(30), 1U) << "a pin without a wire is pulled up";
    Drive(31, 0);
    EXPECT_EQ(Level(31), 0U);
}

TEST_F(Eapi, RefusesWhatMakesNoSense) {
    std::uint32_t level = kUntouched;
    EXPECT_EQ(EApiGPIOGetCount(nullptr), kWrongParameter);
    EXPECT_EQ(EApiGPIOGetLevel(0, 1, nullptr), kWrongParameter);
    EXPECT_EQ(EApiGPIOGetLevel(0, 0, &level), kWrongParameter);
    EXPECT_EQ(EApiGPIOGetLevel(0, 2, &level), kWrongMask);
    EXPECT_EQ(EApiGPIOGetLevel(0xFFFF'FFFF, 1, &level), kUnsupported);
    EXPECT_EQ(level, kUntouched);
    EXPECT_EQ(EApiGPIOSetDirection(0, 1, 2), kWrongDirection);
    Drive(0, 0);
    EXPECT_EQ(EApiGPIOSetLevel(0, 1, 2), kWrongParameter);
    EXPECT_EQ(EApiGPIOSetLevel(0, 3, 1), kWrongMask);
    EXPECT_EQ(rig_level(RIG_TRIGGER), 0);
    EXPECT_EQ(EApiGetEAPIVersion(nullptr, nullptr, nullptr, nullptr), kWrongParameter);
}

TEST_F(Eapi, JournalsItsCallsWithHexadecimalStatuses) {
    rig_journal_clear();
    std::uint32_t number = 0;
    EApiGPIOGetCount(&number);
    EApiGPIOSetDirection(4, 1, 0);
    EApiGPIOSetLevel(4, 1, 1);
    EApiGPIOGetLevel(4, 1, &number);
    EApiLibInitialize();
    EXPECT_EQ(Take(RIG_CALL),
              (Lines{"EApiGPIOGetCount() -> 0x0, 8", "EApiGPIOSetDirection(4, 1, 0) -> 0x0",
                     "EApiGPIOSetLevel(4, 1, 1) -> 0x0", "EApiGPIOGetLevel(4, 1) -> 0x0, 1",
                     "EApiLibInitialize() -> 0xfffffffe"}));
}

TEST_F(Eapi, FaultsStandInPlaceOfItsCalls) {
    AddFault("EApiGPIOGetCount", RIG_FAULT_COUNT, 0, 7);
    AddFault("EApiGPIOGetLevel", RIG_FAULT_COUNT, 0, 2);
    AddFault("EApiGPIOSetLevel", RIG_FAULT_STATUS, 0xFFFF'FAFE, 0, 1);
    std::uint32_t number = 0;
    EXPECT_EQ(EApiGPIOGetCount(&number), 0U);
    EXPECT_EQ(number, 7U);
    EXPECT_EQ(Level(0), 2U);
    EXPECT_EQ(EApiGPIOSetDirection(0, 1, 0), 0U);
    EXPECT_EQ(EApiGPIOSetLevel(0, 1, 1), 0xFFFF'FAFEU);
    EXPECT_EQ(rig_level(RIG_TRIGGER), 0);
}

} // namespace
} // namespace test
