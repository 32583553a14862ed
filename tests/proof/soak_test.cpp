/// Random calls of the exports on every kind of hardware while random things go wrong: 20,000 of
/// them, a million with SOLVANE_LONG=1. At every checkpoint the heap holds as many blocks as at the
/// first, no handle is open, and the lines come to rest.

#include <cstdlib>
#include <iostream>
#include <new>
#include <random>

#include "bit_port.h"
#include "gpio_mobo_library.h"
#include "host_platform.h"
#include "library_state.h"
#include "on_the_rig.h"
#include "postcondition.h"
#include "proof_kinds.h"
#include "usb_invariants.h"

#define SOLVANE_NO_IMPORT
#include <solvane/solvane.h>

namespace {

long blocksInUse = 0;

} // namespace

void* operator new(std::size_t size) {
    if (void* const memory = std::malloc(size != 0 ? size : 1)) {
        ++blocksInUse;
        return memory;
    }
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    blocksInUse -= memory != nullptr ? 1 : 0;
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    operator delete(memory);
}

namespace {

using namespace proof;
using namespace test;
using SLV::Internal::GetLibraryState;
using SLV::Internal::SelectController;

constexpr std::uint64_t kMillisecond = 1'000'000;
constexpr unsigned kSeed = 6;
constexpr int kCallsToCheckpoint = 250;

/// So that lines are formatted.
void SOLVANE_CALL IgnoreLine(void*, const char*) {}

class SoakTest : public OnTheRig {
  protected:
    SoakTest() {
        host::Record(false);
        Load("");
        Solvane_SetLogger(nullptr, IgnoreLine);
        GetLibraryState();
    }
    ~SoakTest() override {
        GetLibraryState().controller.reset();
        Solvane_SetLogger(nullptr, nullptr);
    }

    unsigned Random(std::size_t below) { return static_cast<unsigned>(random() % below); }

    void Start(const Kind& kind) {
        Load(std::string(kind.scenario) + "[camera]\nready_after_power_ms = 50\n");
        SelectController(GetLibraryState());
        isHealed = isWhole = true;
    }

    /// One of those that the library calls.
    const VendorFunction& AnyThatFails(const Kind& kind) {
        std::vector<const VendorFunction*> functions;
        for (const VendorFunction& function : kind.functions) {
            if (!function.failureModes.empty()) {
                functions.push_back(&function);
            }
        }
        return *functions[Random(functions.size())];
    }

    /// Plans a random fault, or lifts all faults.
    void Disturb(const Kind& kind) {
        host::Advance(Random(40) * kMillisecond);
        if (Random(4) == 0) {
            const VendorFunction& function = AnyThatFails(kind);
            const FailureMode& mode = function.failureModes[Random(function.failureModes.size())];
            const unsigned soon = Random(Random(2) == 0 ? 6 : 60);
            const rig_fault fault{function.name, rig_calls(function.name) + 1 + soon,
                                  Random(4),     mode.kind,
                                  mode.status,   mode.count};
            ASSERT_EQ(rig_add_fault(&fault), 0);
            isHealed = isWhole = false;
        }
        if (Random(20) == 0) {
            rig_unplug(0);
            isHealed = isWhole = false;
        }
        if (Random(6) == 0) {
            Heal();
            isHealed = true;
        }
    }

    static void Heal() {
        rig_clear_faults();
        rig_plug(0);
        rig_journal_clear();
    }

    /// On other hardware the FT2232H is chosen rarely: that takes the hardware away.
    const Operation& Any(const Kind& kind) {
        const Operation& operation = kOperations[Random(kOperations.size())];
        const bool isTooMuch =
            operation.op == Op::EnforceFTDI && !kind.behaviour.isUsb && Random(8) != 0;
        return isTooMuch ? kOperations[static_cast<std::size_t>(Op::RecheckStatus)] : operation;
    }

    void Call(const Kind& kind) {
        const Operation& operation = Any(kind);
        std::int16_t answer = kUntouched;
        const std::uint64_t before = rig_time();
        const bool isClosed = kind.behaviour.isUsb && SLV::Internal::s_ft_handle == nullptr;
        const bool selects = operation.op == Op::RecheckStatus || operation.op == Op::EnforceFTDI;
        const Postcondition postcondition(kind, operation, isClosed || selects);
        const std::int16_t status = CallExport(operation, &answer);
        isWhole = operation.op == Op::RecheckStatus ? isHealed && status == 0
                  : selects                         ? isWhole && kind.behaviour.isUsb
                                                    : isWhole;
        if (isWhole) { // without a fault every postcondition holds
            ++checked;
            const bool isRefused = status == SOLVANE_E_NOT_READY;
            ASSERT_TRUE(status == 0 || isRefused) << kind.name << ", " << operation.name;
            ASSERT_EQ(isRefused ? Violation::None : postcondition.Check(answer), Violation::None)
                << kind.name << ", " << operation.name;
        }
        longest = std::max(longest, rig_time() - before);
        const bool isRest = kind.configuringMayAnswerWrite && status == SOLVANE_E_WRITE;
        ASSERT_TRUE(operation.MayAnswer(status) || isRest)
            << kind.name << ", " << operation.name << ": " << status;
        ASSERT_EQ(host::RaisedTimerPeriods(), 0) << kind.name << ", " << operation.name;
        failures += status != 0 ? 1 : 0;
    }

    /// Without faults the hardware serves, and nothing has leaked.
    static void Check(const Kind& kind) {
        Heal();
        rig_unplug(0); // a channel that was not closed is free again
        rig_plug(0);
        ASSERT_EQ(Solvane_RecheckStatus(), 0) << kind.name;
        EXPECT_EQ(rig_level(RIG_TRIGGER), 0) << kind.name;
        EXPECT_TRUE(!kind.restsClearMep || rig_level(RIG_CLEAR_MEP) == 0) << kind.name;
        Solvane_EnableCameraPower();
        host::Advance(1000 * kMillisecond);
        const std::uint32_t captures = rig_captures();
        EXPECT_EQ(Solvane_TriggerCapture(), 0) << kind.name;
        EXPECT_EQ(rig_captures(), captures + 1) << kind.name;
        GetLibraryState().controller.reset();
        EXPECT_EQ(SLV::Internal::s_ft_handle, nullptr) << kind.name;
        EXPECT_NE(SLV::Internal::s_gpioMobo.portStatus, SLV::Internal::GpioMoboLibrary::kReady);
        EXPECT_EQ(OpenChannels(), 0u) << kind.name;
        EXPECT_EQ(rig_wbem_interfaces(), 0) << kind.name;
    }

    /// Blocks that are in use when there is no hardware and the log is empty.
    static long Blocks() {
        Load("");
        Solvane_SetLogger(nullptr, IgnoreLine);
        return blocksInUse;
    }

    std::mt19937 random{kSeed};
    std::uint64_t longest = 0;
    std::size_t failures = 0;
    std::size_t checked = 0;
    bool isHealed = true; ///< the hardware has no fault
    bool isWhole = true;  ///< nor has the controller met one
};

TEST_F(SoakTest, LeavesNothingBehind) {
    const int all = std::getenv("SOLVANE_LONG") != nullptr ? 1'000'000 : 20'000;
    long blocks = 0;
    int checkpoints = 0;
    for (int calls = 0; calls < all;) {
        const Kind& kind = Kinds()[static_cast<std::size_t>(checkpoints) % Kinds().size()];
        Start(kind);
        for (int i = 0; i < kCallsToCheckpoint; ++i, ++calls) {
            ASSERT_NO_FATAL_FAILURE(Disturb(kind));
            ASSERT_NO_FATAL_FAILURE(Call(kind));
        }
        ASSERT_NO_FATAL_FAILURE(Check(kind));
        const long now = Blocks();
        if (++checkpoints <= static_cast<int>(Kinds().size())) {
            blocks = now; // every kind has been used once
        }
        ASSERT_EQ(now, blocks) << kind.name << ", checkpoint " << checkpoints;
    }
    EXPECT_TRUE(checked == 1'964 || all > 20'000) << checked;
    std::cout << all << " calls, seed " << kSeed << ": " << failures << " failed as documented, "
              << checked << " met no fault, " << checkpoints << " checkpoints with " << blocks
              << " blocks in use, longest call " << longest / kMillisecond << " ms\n";
}

} // namespace
