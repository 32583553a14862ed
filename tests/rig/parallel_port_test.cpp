#include "bench_rig.h"
#include "inpout.h"

namespace test {
namespace {

class ParallelPortTest : public BenchRig {
  protected:
    ParallelPortTest() { Load("[lpt]\n"); }

    static constexpr std::uint16_t kData = 0x378;
    static constexpr std::uint16_t kStatus = 0x379;
    static constexpr std::uint16_t kControl = 0x37A;
};

TEST_F(ParallelPortTest, StartsWithTheLinesAsTheyAre) {
    EXPECT_TRUE(Take(RIG_EDGE).empty());
    EXPECT_EQ(Inp32(kData), 0x00); // not dark, no trigger, both powers on
    EXPECT_EQ(Inp32(kControl), 0x00);
    EXPECT_EQ(Inp32(kStatus), 0x60); // ready, no flag
    Load("[lpt]\n[pulls]\ndark = 1\ncamera_power = 0\n");
    EXPECT_TRUE(Take(RIG_EDGE).empty());
    EXPECT_EQ(Inp32(kData), 0x41);
}

TEST_F(ParallelPortTest, DrivesEachLineFromItsOwnBit) {
    const struct {
        std::uint16_t port;
        unsigned mask;
        rig_line line;
        bool activeLevel;
    } wires[] = {{kData, 0x01, RIG_DARK, true},
                 {kData, 0x02, RIG_TRIGGER, true},
                 {kData, 0x20, RIG_ACCESSORIES_POWER, false},
                 {kData, 0x40, RIG_CAMERA_POWER, false},
                 {kControl, 0x01, RIG_CLEAR_MEP, true}};
    for (const unsigned value : {0x00U, 0xFFU}) {
        for (const auto& changed : wires) {
            for (const std::uint16_t port : {kData, kControl}) {
                Out32(port, static_cast<std::uint16_t>(port == changed.port ? value ^ changed.mask
                                                                            : value));
            }
            for (const auto& wire : wires) {
                const bool isChanged = &wire == &changed;
                const bool bit = ((isChanged ? ~value : value) & wire.mask) != 0;
                EXPECT_EQ(rig_level(wire.line), bit == wire.activeLevel)
                    << rig_line_name(wire.line);
            }
        }
    }
}

TEST_F(ParallelPortTest, StatusFollowsTheCamera) {
    rig_force(RIG_READY, 0);
    EXPECT_EQ(Inp32(kStatus), 0x40);
    rig_force(RIG_MEP, 1);
    EXPECT_EQ(Inp32(kStatus), 0x00);
}

TEST_F(ParallelPortTest, StatusFollowsTheTwoLoopbacks) {
    Out32(kControl, 0x08);
    EXPECT_EQ(Inp32(kStatus), 0xE0);
    Out32(kControl, 0x04);
    EXPECT_EQ(Inp32(kStatus), 0x70);
    Out32(kControl, 0x0C);
    EXPECT_EQ(Inp32(kStatus), 0xF0);
}

TEST_F(ParallelPortTest, EachLoopbackCanBeCut) {
    Load("[lpt]\npresence_wire = false\n");
    Out32(kControl, 0x0C);
    EXPECT_EQ(Inp32(kStatus), 0x70);
    Load("[lpt]\npower_wire = false\n");
    Out32(kControl, 0x0C);
    EXPECT_EQ(Inp32(kStatus), 0xE0);
}

TEST_F(ParallelPortTest, DataAndControlReadBackAndStatusCannotBeWritten) {
    Out32(kData, 0xFF);
    EXPECT_EQ(Inp32(kData), 0xFF);
    Out32(kControl, 0xF3);
    EXPECT_EQ(Inp32(kControl), 0xF3);
    Out32(kStatus, 0x00);
    EXPECT_EQ(Inp32(kStatus) & 0x20, 0x00) << "camera power was switched off";
}

TEST_F(ParallelPortTest, HasThreePortsFromItsBaseOn) {
    for (const unsigned base : {0x278U, 0x3BCU, 0xFFFFU}) {
        Load("[lpt]\nbase = " + std::to_string(base) + "\n");
        const auto port = [&](unsigned offset) {
            return static_cast<std::uint16_t>(base + offset);
        };
        Out32(port(0), 0x10);
        EXPECT_EQ(Inp32(port(0)), 0x10);
        EXPECT_EQ(Inp32(port(1)), 0x60);
        EXPECT_EQ(Inp32(port(2)), 0x00);
        EXPECT_EQ(Inp32(port(3)), 0xFF);
        EXPECT_EQ(Inp32(port(0xFFFF)), 0xFF);
    }
}

TEST_F(ParallelPortTest, StandsBesideASuperIoChip) {
    Load("[lpt]\n[superio]\n");
    Out32(0x2E, 0x87);
    Out32(0x2E, 0x87);
    Out32(0x2E, 0x20);
    EXPECT_EQ(Inp32(0x2F), 0xC4);
    EXPECT_EQ(Inp32(kStatus), 0x60);
}

} // namespace
} // namespace test
