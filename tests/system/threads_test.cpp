/// Threads that come and go quickly, which not every run-time library for Windows survives.
#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "detached_thread.h"

namespace {

using namespace std::chrono_literals;

constexpr std::size_t kBeginners = 4;
constexpr std::size_t kThreads = 2'000; ///< of each

TEST(Threads, EachDetachedOneDoesItsWorkOnce) {
    // A late thread may outlive a test that fails.
    static std::array<std::atomic<int>, kBeginners * kThreads> done;
    {
        std::vector<std::jthread> beginners;
        for (std::size_t i = 0; i < kBeginners; ++i) {
            beginners.emplace_back([i] {
                for (std::size_t j = 0; j < kThreads; ++j) {
                    rig::StartDetached([which = i * kThreads + j] { ++done[which]; });
                }
            });
        }
    }
    const auto isOnce = [](const std::atomic<int>& times) { return times == 1; };
    const auto end = std::chrono::steady_clock::now() + 30s;
    while (!std::ranges::all_of(done, isOnce) && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(10ms);
    }
    EXPECT_EQ(std::ranges::count_if(done, isOnce), kBeginners * kThreads);
}

} // namespace
