/// The tutorial's fifth kind of hardware: one file, and one line in the candidate list.

#define SOLVANE_NO_IMPORT
#include <solvane/solvane.h>

#include <vector>

#include "fresh_process.h"
#include "library_state.h"
#include "on_the_rig.h"
#include "solvane_eapi.h"
#include "solvane_kontron.h"
#include "solvane_latch.h"
#include "solvane_lpt.h"
#include "solvane_usb.h"

namespace {

using testing::ElementsAre;

struct FakeCard final : LatchCard {
    bool IsThere() override { return isThere; }
    void Write(std::uint8_t bits) override { written.push_back(bits); }
    std::uint8_t Read() override { return inputs; }

    bool isThere = true;
    std::uint8_t inputs = 0x03; ///< ready, no flag
    std::vector<unsigned> written;
};

FakeCard card;

} // namespace

LatchCard& s_latchCard = card;

std::vector<SLV::Internal::ControllerFactory> SLV::Internal::MakeCandidates() {
    return {MakeController<SolvaneLpt>, MakeController<SolvaneKontron>, MakeController<SolvaneEApi>,
            MakeController<SolvaneLatch>, // the new line
            MakeController<SolvaneUsb>};
}

namespace {

class FifthKind : public test::OnTheRig {};

TEST_F(FifthKind, IsFoundInItsPlaceAndServesTheHost) {
    test::InFreshProcess([] {
        EXPECT_EQ(Solvane_TriggerCapture(), 0);
        EXPECT_THAT(card.written, ElementsAre(0x01, 0x00));
        EXPECT_EQ(rig_calls("FT_Open"), 0u) << "the kind behind it was not asked";
        std::int16_t answer = -1;
        EXPECT_EQ(Solvane_EnableCameraPower(), 0);
        EXPECT_EQ(Solvane_CheckCameraPower(&answer), 0);
        EXPECT_EQ(answer, 1);
        EXPECT_EQ(Solvane_CheckSystemReady(nullptr), -4);
        EXPECT_EQ(Solvane_CheckPowerControlAvailable(), 0);
        EXPECT_EQ(Solvane_CloseDevice(), 0);
    });
}

TEST_F(FifthKind, ClearsALatchedFlagAndWakes) {
    test::InFreshProcess([] {
        card.inputs = 0x01;
        std::int16_t flag = -1;
        EXPECT_EQ(Solvane_CheckAndResetMepFlag(&flag), 0);
        EXPECT_EQ(flag, 1);
        EXPECT_EQ(Solvane_WakeCamera(), 0);
        EXPECT_THAT(card.written, ElementsAre(0x04, 0x00, 0x02, 0x00));
        card.inputs = 0x02;
        EXPECT_EQ(Solvane_TriggerCapture(), -5);
    });
}

TEST_F(FifthKind, ThatIsNotThereLeavesTheHostToTheNext) {
    test::InFreshProcess([] {
        card.isThere = false;
        EXPECT_EQ(Solvane_TriggerCapture(), 0);
        EXPECT_EQ(rig_captures(), 1u) << "on the FT2232H";
    });
}

} // namespace
