/// Timers through the real DLL, against the rig's kernel driver. A second handle scripts the
/// driver.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <functional>
#include <thread>

#include "library_fixture.h"
#include "solvane_device.h"
#include "stack_use.h"

namespace {

using namespace test;
using testing::ElementsAre;

constexpr std::uint32_t kTwoMilliseconds = 2'000;

/// Receives the events of a run; `userContext` points at it.
using Receiver = std::function<void(const SolvaneTimerEvent&)>;

void SOLVANE_CALL Receive(std::uint64_t userContext, const SolvaneTimerEvent* event) {
    (*reinterpret_cast<const Receiver*>(static_cast<std::uintptr_t>(userContext)))(*event);
}

std::uint64_t ContextOf(const Receiver& receiver) {
    return reinterpret_cast<std::uintptr_t>(&receiver);
}

/// The driver as another program sees it.
class Device {
  public:
    Device()
        : handle(CreateFileA("\\\\.\\SolvaneDevice", GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                             OPEN_EXISTING, 0, nullptr)) {
        EXPECT_NE(handle, INVALID_HANDLE_VALUE) << "error " << GetLastError();
    }
    ~Device() { CloseHandle(handle); }
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;

    /// 0, or the error of the request.
    DWORD Request(DWORD code, const void* input, DWORD inputSize, void* output = nullptr,
                  DWORD outputSize = 0) {
        DWORD returned = 0;
        return DeviceIoControl(handle, code, const_cast<void*>(input), inputSize, output,
                               outputSize, &returned, nullptr)
                   ? 0
                   : GetLastError();
    }

    void Script(const solvane_device_script& script) {
        EXPECT_EQ(Request(SOLVANE_DEVICE_SCRIPT, &script, sizeof script), 0u);
    }

  private:
    HANDLE handle;
};

class Timer : public OnTheRig {
  protected:
    Timer() {
        Listen();
        Device().Script({});
    }
    ~Timer() override { Device().Script({}); }

    /// Creates a timer, runs it with the receiver, disposes of it; the status of the run.
    std::int16_t
    RunOnce(std::uint32_t parameter,
            const std::function<void(SolvaneTimerHandle, const SolvaneTimerEvent&)>& onEvent) {
        SolvaneTimerHandle timer = 0;
        const Receiver receiver = [&](const SolvaneTimerEvent& event) { onEvent(timer, event); };
        EXPECT_EQ(library.CreateTimer(&timer, ContextOf(receiver)), 0);
        const std::int16_t status = library.RunTimer(timer, parameter, Receive);
        EXPECT_EQ(library.DisposeTimer(timer), 0);
        return status;
    }
};

TEST_F(Timer, TwoHundredEventsComeInOrderAndOnTime) {
    constexpr int kEvents = 200;
    const auto run = [this] {
        std::vector<SolvaneTimerEvent> events;
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(RunOnce(kTwoMilliseconds,
                          [&](SolvaneTimerHandle timer, const SolvaneTimerEvent& event) {
                              events.push_back(event);
                              if (events.size() == kEvents) {
                                  EXPECT_EQ(library.StopTimer(timer), 0);
                              }
                          }),
                  0);
        const std::chrono::duration<double, std::milli> time =
            std::chrono::steady_clock::now() - start;
        EXPECT_EQ(events.size(), std::size_t{kEvents});
        int number = 0;
        for (const SolvaneTimerEvent& event : events) {
            EXPECT_EQ(event.status, 0);
            EXPECT_EQ(event.initialStatusOk, 1);
            EXPECT_EQ(event.data0, ++number);
        }
        EXPECT_GE(time.count(), 0.98 * 2 * kEvents);
        return time.count();
    };
    // The driver keeps its own clock, so delays do not add up. Those of a busy machine at the end
    // of a run are not in every run.
    double shortest = run();
    for (int others = 20; others > 0 && shortest > 1.25 * 2 * kEvents; --others) {
        shortest = std::min(shortest, run());
    }
    EXPECT_LE(shortest, 1.25 * 2 * kEvents);
}

TEST_F(Timer, AStopFromAnotherThreadEndsTheRunAtTheNextEvent) {
    SolvaneTimerHandle timer = 0;
    std::atomic<int> events{0};
    const Receiver receiver = [&](const SolvaneTimerEvent&) { ++events; };
    ASSERT_EQ(library.CreateTimer(&timer, ContextOf(receiver)), 0);
    std::int16_t status = -99;
    std::thread runner([&] { status = library.RunTimer(timer, kTwoMilliseconds, Receive); });
    while (events < 5) {
        Sleep(1);
    }
    EXPECT_EQ(library.StopTimer(timer), 0);
    runner.join();
    EXPECT_EQ(status, 0);
    EXPECT_EQ(library.DisposeTimer(timer), 0);
}

TEST_F(Timer, TwoTimersRunOnTwoThreads) {
    library.SetLogger(nullptr, nullptr);
    std::atomic<int> total{0};
    const auto run = [&] {
        int events = 0;
        EXPECT_EQ(RunOnce(kTwoMilliseconds,
                          [&](SolvaneTimerHandle timer, const SolvaneTimerEvent& event) {
                              EXPECT_EQ(event.data0, ++events) << "each counts its own";
                              if (events == 50) {
                                  library.StopTimer(timer);
                              }
                          }),
                  0);
        total += events;
    };
    std::thread other(run);
    run();
    other.join();
    EXPECT_EQ(total, 100);
}

TEST_F(Timer, ScriptedStatusesAreTranslatedAndWordsPassed) {
    solvane_device_script script{};
    script.initial_status = 3;
    script.event_count = 4;
    const std::int16_t statuses[] = {-7, -6, -3, 5};
    for (int i = 0; i < 4; ++i) {
        script.events[i].status = statuses[i];
        script.events[i].data[0] = static_cast<std::uint16_t>(100 + i);
        script.events[i].data[3] = 0xFFFF;
    }
    Device().Script(script);
    std::vector<int> received;
    EXPECT_EQ(RunOnce(kTwoMilliseconds,
                      [&](SolvaneTimerHandle timer, const SolvaneTimerEvent& event) {
                          EXPECT_EQ(event.initialStatusOk, 0);
                          EXPECT_EQ(event.data0, 100 + received.size());
                          EXPECT_EQ(event.data3, 0xFFFF);
                          received.push_back(event.status);
                          if (received.size() == 4) {
                              library.StopTimer(timer);
                          }
                      }),
              0);
    EXPECT_THAT(received, ElementsAre(-5, -2, 0, -1));
    EXPECT_THAT(TakeTexts(), ElementsAre("Error. Unknown GPIO trigger status: 5",
                                         "Error. Solvane_StopTimer() timer was not started. "));
}

TEST_F(Timer, ADriverThatRefusesTheTimerFailsTheRun) {
    solvane_device_script script{};
    script.failing_code = SOLVANE_DEVICE_CREATE;
    script.failure = static_cast<std::int32_t>(0xC000009A); // STATUS_INSUFFICIENT_RESOURCES
    Device().Script(script);
    EXPECT_EQ(RunOnce(kTwoMilliseconds, [](SolvaneTimerHandle, const SolvaneTimerEvent&) {}), -1);
    const std::string line = TakeTexts().front();
    EXPECT_THAT(line, testing::StartsWith("Error. Solvane_RunTimer() failed with exception: "
                                          "DeviceIoControl failed to create timer: "));
    EXPECT_THAT(line, testing::EndsWith("\r\n (0x000005aa)")); // ERROR_NO_SYSTEM_RESOURCES
}

TEST_F(Timer, AWaitThatFailsEndsTheRunAndTheTimerRunsAgain) {
    SolvaneTimerHandle timer = 0;
    int events = 0;
    const Receiver receiver = [&](const SolvaneTimerEvent&) {
        ++events;
        solvane_device_script script{};
        script.failing_code = SOLVANE_DEVICE_WAIT;
        script.failure = static_cast<std::int32_t>(0xC0000001); // STATUS_UNSUCCESSFUL
        if (events == 1) {
            Device().Script(script);
        } else {
            library.StopTimer(timer);
        }
    };
    ASSERT_EQ(library.CreateTimer(&timer, ContextOf(receiver)), 0);
    EXPECT_EQ(library.RunTimer(timer, kTwoMilliseconds, Receive), -1);
    EXPECT_EQ(events, 1);
    EXPECT_EQ(library.RunTimer(timer, kTwoMilliseconds, Receive), 0);
    EXPECT_EQ(events, 2);
    EXPECT_EQ(library.DisposeTimer(timer), 0);
}

TEST_F(Timer, AThousandCyclesGrowNoHandles) {
    library.SetLogger(nullptr, nullptr);
    const auto cycle = [&] {
        EXPECT_EQ(RunOnce(100, [&](SolvaneTimerHandle timer,
                                   const SolvaneTimerEvent&) { library.StopTimer(timer); }),
                  0);
    };
    for (int i = 0; i < 100; ++i) {
        cycle();
    }
    DWORD settled = 0;
    GetProcessHandleCount(GetCurrentProcess(), &settled);
    for (int i = 0; i < 900; ++i) {
        cycle();
    }
    DWORD now = 0;
    GetProcessHandleCount(GetCurrentProcess(), &now);
    EXPECT_LE(now, settled);
}

/// No function of the lines is in progress, so all of them may be called, and the run goes on.
class EveryFunction : public Timer, public testing::WithParamInterface<bool> {
  protected:
    EveryFunction() {
#define SOLVANE_COMMAND(name, ...) calls.push_back([this] { return library.name(); });
#define SOLVANE_QUESTION(name, ...) calls.push_back([this] { return library.name(&answer); });
#define SOLVANE_ORDER(name, ...) calls.push_back([this] { return library.name(), 0; });
        SOLVANE_OPERATIONS(SOLVANE_COMMAND, SOLVANE_QUESTION, SOLVANE_ORDER)
#undef SOLVANE_COMMAND
#undef SOLVANE_QUESTION
#undef SOLVANE_ORDER
        calls.push_back([this] { return library.CreateTimer(&another, 0); });
        calls.push_back([this] { return library.StopTimer(another) == -4 ? 0 : 1; });
        calls.push_back([this] { return library.DisposeTimer(another); });
        calls.push_back([this] { // a whole run of another timer
            return RunOnce(100, [this](SolvaneTimerHandle timer, const SolvaneTimerEvent&) {
                EXPECT_EQ(library.StopTimer(timer), 0);
            });
        });
        calls.push_back([this] { return library.SetLogger(nullptr, nullptr), 0; });
    }
    ~EveryFunction() override {
        library.SetLogger(nullptr, nullptr);
    }

    void ListenOnce(std::function<void()> what) {
        inLine = std::move(what);
        library.SetLogger(&inLine, [](void* context, const char*) {
            auto& call = *static_cast<std::function<void()>*>(context);
            if (const auto once = std::exchange(call, nullptr)) {
                once();
            }
        });
    }

    std::vector<std::function<int()>> calls;
    std::function<void()> inLine;
    std::int16_t answer = 0;
    SolvaneTimerHandle another = 0;
};

TEST_P(EveryFunction, MayBeCalledFromInsideARun) {
    ASSERT_EQ(calls.size(), 24u);
    for (std::size_t i = 0; i < calls.size(); ++i) {
        SCOPED_TRACE(i);
        solvane_device_script script{};
        script.event_count = 1;
        script.events[0].status = 99; // unknown: logs a line
        Device().Script(script);
        int status = -77;
        const auto call = [&] { status = calls[i](); };
        ListenOnce(GetParam() ? std::function<void()>(call) : nullptr);
        int events = 0;
        EXPECT_EQ(RunOnce(kTwoMilliseconds,
                          [&](SolvaneTimerHandle timer, const SolvaneTimerEvent& event) {
                              EXPECT_EQ(event.status, events == 0 ? -1 : 0);
                              if (++events == 1 && !GetParam()) {
                                  call();
                              } else if (events == 2) {
                                  library.StopTimer(timer);
                              }
                          }),
                  0);
        EXPECT_EQ(status, 0);
        EXPECT_EQ(events, 2);
    }
}

INSTANTIATE_TEST_SUITE_P(Timer, EveryFunction, testing::Bool(), [](const auto& test) {
    return test.param ? "FromItsLog" : "FromItsFunction";
});

TEST_F(Timer, ASmallStackIsEnoughForARun) {
    solvane_device_script script{};
    script.event_count = 1;
    script.events[0].status = 99; // unknown: logs a line
    Device().Script(script);
    const std::size_t bytes = StackUseOf([&] {
        EXPECT_EQ(
            RunOnce(kTwoMilliseconds, [&](SolvaneTimerHandle timer,
                                          const SolvaneTimerEvent&) { library.StopTimer(timer); }),
            0);
    });
    std::printf("%zu bytes of stack\n", bytes);
    EXPECT_LE(bytes, kMostOfARun);
}

/// The driver alone.
TEST_F(Timer, TheDriverRefusesWhatItDoesNotUnderstand) {
    Device device;
    const std::uint32_t period = kTwoMilliseconds;
    const std::uint32_t zero = 0;
    const std::uint64_t unknownId = 1'000'000'000;
    solvane_timer_created created{};
    solvane_timer_event event{};
    EXPECT_EQ(device.Request(SOLVANE_DEVICE_CREATE, &period, 3, &created, sizeof created),
              DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_EQ(device.Request(SOLVANE_DEVICE_CREATE, &zero, 4, &created, sizeof created),
              DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_EQ(device.Request(SOLVANE_DEVICE_CREATE, &period, 4, &created, 15),
              DWORD{ERROR_INSUFFICIENT_BUFFER});
    EXPECT_EQ(device.Request(SOLVANE_DEVICE_DELETE, &unknownId, 8), DWORD{ERROR_NOT_FOUND});
    EXPECT_EQ(device.Request(SOLVANE_DEVICE_WAIT, &unknownId, 8, &event, sizeof event),
              DWORD{ERROR_NOT_FOUND});
    EXPECT_EQ(device.Request(SOLVANE_DEVICE_CODE(0x905u), &unknownId, 8),
              DWORD{ERROR_INVALID_FUNCTION});
}

TEST_F(Timer, DeletingATimerEndsItsPendingWait) {
    const HANDLE device = CreateFileA("\\\\.\\SolvaneDevice", GENERIC_READ | GENERIC_WRITE, 0,
                                      nullptr, OPEN_EXISTING, FILE_FLAG_OVERLAPPED, nullptr);
    ASSERT_NE(device, INVALID_HANDLE_VALUE);
    OVERLAPPED wait{};
    OVERLAPPED other{};
    wait.hEvent = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    other.hEvent = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    const auto request = [&](DWORD code, const void* input, DWORD size, void* output, DWORD room,
                             OVERLAPPED& overlapped) {
        DWORD returned = 0;
        DeviceIoControl(device, code, const_cast<void*>(input), size, output, room, nullptr,
                        &overlapped);
        return GetOverlappedResult(device, &overlapped, &returned, TRUE) ? 0 : GetLastError();
    };
    const std::uint32_t anHour = 3'600'000'000;
    solvane_timer_created created{};
    ASSERT_EQ(request(SOLVANE_DEVICE_CREATE, &anHour, 4, &created, sizeof created, other), 0u);

    solvane_timer_event event{};
    solvane_timer_event unused{};
    EXPECT_FALSE(DeviceIoControl(device, SOLVANE_DEVICE_WAIT, &created.id, 8, &event, sizeof event,
                                 nullptr, &wait));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_IO_PENDING});
    EXPECT_EQ(request(SOLVANE_DEVICE_WAIT, &created.id, 8, &unused, sizeof unused, other),
              DWORD{ERROR_BUSY})
        << "one wait a timer";
    EXPECT_EQ(request(SOLVANE_DEVICE_DELETE, &created.id, 8, nullptr, 0, other), 0u);
    DWORD returned = 0;
    EXPECT_FALSE(GetOverlappedResult(device, &wait, &returned, TRUE));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_OPERATION_ABORTED});
    CloseHandle(wait.hEvent);
    CloseHandle(other.hEvent);
    CloseHandle(device);
}

TEST_F(Timer, TheDriverNeverUsesAnIdAgain) {
    Device device;
    const std::uint32_t period = kTwoMilliseconds;
    std::uint64_t last = 0;
    for (int i = 0; i < 20; ++i) {
        solvane_timer_created created{};
        ASSERT_EQ(device.Request(SOLVANE_DEVICE_CREATE, &period, 4, &created, sizeof created), 0u);
        EXPECT_GT(created.id, last);
        last = created.id;
        if (i % 2 == 0) {
            EXPECT_EQ(device.Request(SOLVANE_DEVICE_DELETE, &created.id, 8), 0u);
            EXPECT_EQ(device.Request(SOLVANE_DEVICE_DELETE, &created.id, 8),
                      DWORD{ERROR_NOT_FOUND});
        } // the others are deleted with the handle
    }
}

} // namespace
