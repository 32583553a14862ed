#include "proof_operations.h"

#define SOLVANE_NO_IMPORT
#include <gtest/gtest.h>
#include <solvane/rig.h>
#include <solvane/solvane.h>

#include "d2xx.h"
#include "host_platform.h"

namespace proof {

std::int16_t CallExport(const Operation& operation, std::int16_t* out) {
    switch (operation.op) {
#define SOLVANE_COMMAND(name, ...)                                                                 \
    case Op::name:                                                                                 \
        return Solvane_##name();
#define SOLVANE_QUESTION(name, ...)                                                                \
    case Op::name:                                                                                 \
        return Solvane_##name(out);
#define SOLVANE_ORDER(name, ...)                                                                   \
    case Op::name:                                                                                 \
        Solvane_##name();                                                                          \
        return 0;
        SOLVANE_OPERATIONS(SOLVANE_COMMAND, SOLVANE_QUESTION, SOLVANE_ORDER)
    }
    return 0;
}

void LeaveOutputsActive() {
    FT_HANDLE channel = nullptr;
    std::uint32_t written = 0;
    std::uint8_t active[] = {0x82, 0x0B, 0x4F};
    FT_Open(1, &channel);
    FT_SetBitMode(channel, 0, FT_BITMODE_MPSSE);
    FT_Write(channel, active, sizeof active, &written);
    FT_Close(channel);
    ASSERT_EQ(rig_level(RIG_TRIGGER), 1);
    host::Advance(1'000'000'000);
}

} // namespace proof
