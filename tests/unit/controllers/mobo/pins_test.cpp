#include "pins.h"

#include <gtest/gtest.h>

namespace {

using namespace SLV::Internal;

/// The wiring of the boards in the field: nothing here may move.
TEST(Pins, AreWiredAsInTheField) {
    const struct {
        const char* name;
        unsigned direction; // 0 = output
        const char* high;
        const char* low;
    } field[] = {{"Trigger_Pin", 0, "TRG-", "trg-"},    {"Ready_Pin", 1, "RDY-", "rdy-"},
                 {"Mep_Pin", 1, "MEP-", "mep-"},        {"Clear_Mep_Pin", 0, "CLR-", "clr-"},
                 {"ForceDark_Pin", 0, "DRK-", "drk-"},  {"PowerDown3_Pin", 0, "APW-", "apw-"},
                 {"PowerDown2_Pin", 0, "CPW-", "cpw-"}, {"PowerDown2Status_Pin", 1, "PWS", "pws"}};
    ASSERT_EQ(kPins.size(), 8u);
    for (std::size_t i = 0; i < kPins.size(); ++i) {
        EXPECT_EQ(kPins[i].id, i);
        EXPECT_EQ(kPins[i].name, field[i].name);
        EXPECT_EQ(kPins[i].direction, field[i].direction) << field[i].name;
        EXPECT_EQ(kPins[i].high, field[i].high);
        EXPECT_EQ(kPins[i].low, field[i].low);
    }
}

} // namespace
