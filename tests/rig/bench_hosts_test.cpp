/// Several hosts on one bench, one after the other and at once.
#include <optional>
#include <thread>

#include "bench_rig.h"
#include "direct_bench.h"
#include "eapi.h"
#include "eapi_status.h"
#include "rig_state.h"

namespace test {
namespace {

using namespace rig::bench;
using rig::Reply;

constexpr std::uint64_t kKeys[] = {11, 22};

/// The host as which this thread calls the vendor functions.
thread_local HostSide* current = nullptr;

class BenchHosts : public BenchRig {
  protected:
    BenchHosts() {
        for (std::size_t i = 0; i < std::size(sides); ++i) {
            Arrive(i);
        }
        rig::answerer = [](rig::Call& call) { current->Answer(call); };
        As(0);
    }
    ~BenchHosts() override { rig::answerer = answerer; }

    void Arrive(std::size_t host) {
        Introduction who;
        who.key = kKeys[host];
        who.process = 100 + host;
        who.program = "host.exe";
        sides[host].emplace(
            [this]() -> std::unique_ptr<Connection> {
                if (isAway) {
                    throw NoBench("there is no bench");
                }
                return std::make_unique<DirectConnection>(PerformNothing);
            },
            who, [this](const std::string& reason) { complaints.push_back(reason); });
    }

    void As(std::size_t host) { current = &*sides[host]; }

    /// What the bench sees when a host's process ends, normally or not.
    void Leave(std::size_t host) {
        sides[host].reset();
        Arrive(host);
    }

    /// The bench ends and closes all connections.
    void End() {
        for (std::optional<HostSide>& side : sides) {
            side->Leave();
        }
        isAway = true;
    }

    std::optional<HostSide> sides[2];
    bool isAway = false;
    Lines complaints;

  private:
    const rig::Answerer answerer = rig::answerer;
};

TEST_F(BenchHosts, SeeOneCamera) {
    Drive(OpenPins(), kRest | kTrigger | kDark);
    As(1);
    EXPECT_EQ(rig_captures(), 1U);
    EXPECT_EQ(rig_level(RIG_DARK), 1);
}

TEST_F(BenchHosts, SeeWhatAnotherOneHasOpenAsD2xxShowsIt) {
    FT_HANDLE handle = Open(1);
    EXPECT_EQ(Devices()[1].ftHandle, handle);
    As(1);
    const std::vector<FT_DEVICE_LIST_INFO_NODE> nodes = Devices();
    ASSERT_EQ(nodes.size(), 2U);
    EXPECT_STREQ(nodes[0].SerialNumber, "SLV1A");
    EXPECT_EQ(nodes[1].Flags, 1U);
    EXPECT_EQ(nodes[1].Type, 3U);
    EXPECT_EQ(nodes[1].ID, 0U);
    EXPECT_EQ(nodes[1].LocId, 0U);
    EXPECT_STREQ(nodes[1].SerialNumber, "");
    EXPECT_STREQ(nodes[1].Description, "");
    EXPECT_EQ(nodes[1].ftHandle, nullptr);
    FT_HANDLE second = nullptr;
    EXPECT_EQ(FT_Open(1, &second), kDeviceNotOpened);
    EXPECT_EQ(FT_Open(0, &second), FT_OK);
}

TEST_F(BenchHosts, HaveNoUseOfAnothersHandle) {
    FT_HANDLE handle = OpenPins();
    As(1);
    std::uint32_t count = 0;
    EXPECT_EQ(FT_GetQueueStatus(handle, &count), kInvalidHandle);
    EXPECT_EQ(FT_Close(handle), kInvalidHandle);
    As(0);
    EXPECT_EQ(FT_GetQueueStatus(handle, &count), FT_OK);
    EXPECT_EQ(FT_Close(handle), FT_OK);
}

TEST_F(BenchHosts, HaveListsOfTheirOwn) {
    std::uint32_t count = 0;
    ASSERT_EQ(FT_CreateDeviceInfoList(&count), FT_OK);
    rig_unplug(0);
    As(1);
    EXPECT_TRUE(Devices().empty());
    As(0);
    FT_DEVICE_LIST_INFO_NODE nodes[2];
    count = 2;
    ASSERT_EQ(FT_GetDeviceInfoList(nodes, &count), FT_OK);
    EXPECT_EQ(count, 2U);
}

TEST_F(BenchHosts, LetGoOfTheirHandlesWhenTheyLeave) {
    Drive(OpenPins(), kRest | kTrigger);
    Leave(0);
    As(1);
    EXPECT_EQ(rig_level(RIG_TRIGGER), 1) << "what a chip drives outlives its host";
    FT_HANDLE handle = nullptr;
    EXPECT_EQ(FT_Open(1, &handle), FT_OK);
}

TEST_F(BenchHosts, StartTheEmbeddedApiEachForItself) {
    Load("[eapi]\n");
    ASSERT_EQ(EApiLibInitialize(), EAPI_STATUS_SUCCESS);
    EXPECT_EQ(EApiLibInitialize(), EAPI_STATUS_INITIALIZED);
    EApiGPIOSetDirection(0, 1, EAPI_GPIO_OUTPUT);
    EApiGPIOSetLevel(0, 1, 1);
    As(1);
    std::uint32_t level = 0;
    EXPECT_EQ(EApiGPIOGetLevel(0, 1, &level), rig::eapi::kNotInitialised);
    ASSERT_EQ(EApiLibInitialize(), EAPI_STATUS_SUCCESS);
    EXPECT_EQ(EApiGPIOGetLevel(0, 1, &level), EAPI_STATUS_SUCCESS);
    EXPECT_EQ(level, 1U);
    Leave(1);
    EXPECT_EQ(EApiGPIOGetLevel(0, 1, &level), rig::eapi::kNotInitialised);
    As(0);
    EXPECT_EQ(EApiGPIOGetLevel(0, 1, &level), EAPI_STATUS_SUCCESS);
}

TEST_F(BenchHosts, AreInTheJournal) {
    TakeAll();
    Devices();
    Leave(0);
    As(1);
    Devices();
    const Lines events = Take(RIG_EVENT);
    ASSERT_EQ(events.size(), 3U);
    EXPECT_TRUE(events[0].ends_with(" joins: host.exe (process 100)")) << events[0];
    EXPECT_TRUE(events[1].ends_with(" leaves")) << events[1];
    EXPECT_TRUE(events[2].ends_with(" joins: host.exe (process 101)")) << events[2];
    const auto numberOf = [](const std::string& event) {
        return event.substr(0, event.rfind(" joins"));
    };
    EXPECT_EQ(numberOf(events[0]) + " leaves", events[1]);
    EXPECT_NE(numberOf(events[0]), numberOf(events[2]));
}

TEST_F(BenchHosts, AreToldApartByTheirCalls) {
    TakeAll();
    FT_HANDLE handle = nullptr;
    FT_Open(0, &handle);
    As(1);
    FT_Open(0, &handle);
    const rig::Access rig;
    const rig::Journal& journal = rig->trace.journal;
    std::vector<std::uint32_t> hosts;
    std::string lastLine;
    for (std::size_t i = 0; i < journal.Size(); ++i) {
        if (journal[i].kind == RIG_CALL) {
            hosts.push_back(journal[i].host);
            lastLine = LineOf(journal[i]);
        }
    }
    ASSERT_EQ(hosts.size(), 2U);
    EXPECT_EQ(hosts[1], hosts[0] + 1);
    const std::string call = " call  host " + std::to_string(hosts[1]) + ": FT_Open(0) -> 3";
    EXPECT_TRUE(lastLine.ends_with(call)) << lastLine;
}

TEST_F(BenchHosts, SeeNoHardwareWithoutABench) {
    rig_load(""); // a process whose environment names a bench has no hardware of its own
    isAway = true;
    EXPECT_TRUE(Devices().empty());
    FT_HANDLE handle = nullptr;
    EXPECT_EQ(FT_Open(0, &handle), kDeviceNotFound);
    EXPECT_EQ(complaints, Lines{"there is no bench"}) << "once";
    const auto ask = [](rig::RigFunction function) {
        return current->Answer(rig::RigQuestion{function, {}, "[lpt]\n"});
    };
    EXPECT_EQ(ask(rig::RigFunction::Load).number, -1);
    EXPECT_EQ(ask(rig::RigFunction::Error).text, "there is no bench");
    EXPECT_EQ(ask(rig::RigFunction::Scenario).text, "none: there is no bench");
    EXPECT_EQ(ask(rig::RigFunction::Captures).number, 0);
}

TEST_F(BenchHosts, WaitWithoutStoppingTheOthers) {
    // A waiting read must still return to its own host after another host has made calls.
    FT_HANDLE handle = OpenPins();
    FT_SetTimeouts(handle, 5000, 0);
    FT_STATUS status = kUntouched;
    std::thread reader([&] {
        current = &*sides[0];
        std::uint8_t byte = 0;
        std::uint32_t count = 0;
        status = FT_Read(handle, &byte, 1, &count);
    });
    As(1);
    while (rig_calls("FT_Read") == 0) {
        std::this_thread::yield();
    }
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(Devices().size(), 2U);
    }
    reader.join();
    EXPECT_EQ(status, FT_OK);
}

TEST_F(BenchHosts, GiveCommandsToTheBench) {
    const Reply done = current->Answer(Command{{"set", "exposure_ms", "80"}, true});
    EXPECT_EQ(done.exitCode, 0);
    isAway = true;
    As(1);
    const Reply lost = current->Answer(Command{{"levels"}, false});
    EXPECT_EQ(lost.exitCode, 1);
    EXPECT_EQ(lost.text, "there is no bench");
}

TEST_F(BenchHosts, LoseTheirDevicesWithTheBench) {
    FT_HANDLE handle = OpenPins();
    End();
    std::uint32_t count = 0;
    EXPECT_EQ(FT_GetQueueStatus(handle, &count), kIoError);
    EXPECT_EQ(FT_Close(handle), kIoError);
    isAway = false;
    EXPECT_EQ(Devices().size(), 2U) << "a bench that is back is joined by the next call";
    EXPECT_EQ(complaints.size(), 1U);
    End();
    Devices();
    EXPECT_EQ(complaints.size(), 2U) << "a reason that comes again is told again";
}

} // namespace
} // namespace test
