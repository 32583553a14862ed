#include <atomic>
#include <thread>

#include "bench_rig.h"

namespace test {
namespace {

using Threads = BenchRig;

TEST_F(Threads, AnyThreadMayCallAnything) {
    constexpr int kRounds = 300;
    std::vector<std::thread> threads;
    for (int channel = 0; channel < 2; ++channel) {
        threads.emplace_back([channel] {
            for (int i = 0; i < kRounds; ++i) {
                FT_HANDLE handle = Open(channel);
                FT_SetTimeouts(handle, 2, 0);
                FT_SetBitMode(handle, 0, FT_BITMODE_MPSSE);
                Write(handle, {0x82, static_cast<std::uint8_t>(i), 0xff, 0x83});
                std::uint8_t byte = 0;
                std::uint32_t count = 0;
                FT_Read(handle, &byte, 1, &count);
                FT_Close(handle);
            }
        });
    }
    threads.emplace_back([] {
        for (int i = 0; i < kRounds; ++i) {
            rig_unplug(0);
            rig_force(RIG_READY, i % 2);
            host::Advance(100'000);
            rig_plug(0);
            if (i % 50 == 0) {
                rig_load(kOneChip.c_str());
            }
        }
    });
    threads.emplace_back([] {
        rig_entry entry{};
        for (int i = 0; i < kRounds; ++i) {
            rig_note("note");
            if (rig_journal_entry(0, &entry) == 0) {
                EXPECT_NE(entry.text, nullptr);
            }
            rig_level(RIG_TRIGGER);
            rig_captures();
            rig_error();
            Devices();
        }
    });
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(rig_load(kOneChip.c_str()), 0);
    EXPECT_EQ(HighByte(OpenPins()), 0xf0);
}

TEST_F(Threads, AWaitingReadLetsOthersIn) {
    FT_HANDLE pins = OpenPins();
    // The read below takes 100 million slices of the virtual clock unless the plug is pulled.
    FT_SetTimeouts(pins, 100'000'000, 0);
    std::atomic<bool> isDone = false;
    std::thread other([&] {
        while (rig_calls("FT_Read") == 0) {
            std::this_thread::yield();
        }
        rig_unplug(0);
        isDone = true;
    });
    std::uint8_t byte = 0;
    std::uint32_t count = 0;
    EXPECT_EQ(FT_Read(pins, &byte, 1, &count), kIoError);
    other.join();
    EXPECT_TRUE(isDone);
}

} // namespace
} // namespace test
