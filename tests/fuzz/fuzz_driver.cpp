/// The timer service on a driver with arbitrary answers.

#define SOLVANE_NO_IMPORT
#include <solvane/solvane.h>

#include <cstring>

#include "fuzz_check.h"
#include "fuzzed_driver.h"
#include "watched_log.h"

namespace {

using namespace fuzz;

constexpr int kMostRuns = 12;

/// A run only ends when it is stopped, so the host stops each after at most this many events.
constexpr unsigned kMostEvents = 16;

struct Host {
    SolvaneTimerHandle timer = 0;
    std::uint64_t context = 0;
    unsigned stopAfter = 0; ///< events
    unsigned events = 0;
    bool stopsOutside = false; ///< stops between two events, as another thread would
} theHost;

/// The status that the host gets for the driver's status.
std::int16_t Translated(std::int16_t status) {
    constexpr struct {
        std::int16_t driver;
        std::int16_t host;
    } kTable[] = {{0, 0}, {-1, -3}, {-2, -2}, {-3, 0}, {-4, -3}, {-5, -3}, {-6, -2}, {-7, -5}};
    for (const auto& row : kTable) {
        if (row.driver == status) {
            return row.host;
        }
    }
    return -1;
}

void Stop() {
    Check(Solvane_StopTimer(theHost.timer) == SOLVANE_OK, "a timer that runs can be stopped");
}

void SOLVANE_CALL Receive(std::uint64_t context, const SolvaneTimerEvent* event) {
    const driver::Event& told = driver::LastEvent();
    Check(context == theHost.context, "the host's context comes back");
    Check(event->status == Translated(told.status), "a status is translated");
    Check(event->initialStatusOk == (driver::WasGpioReady() ? 1 : 0), "the first status is told");
    Check(event->data0 == told.data[0] && event->data1 == told.data[1] &&
              event->data2 == told.data[2] && event->data3 == told.data[3],
          "the words are handed on");
    Check(++theHost.events <= theHost.stopAfter, "nothing comes after a stop");
    if (theHost.events < theHost.stopAfter) {
        return;
    }
    if (theHost.stopsOutside) {
        driver::DuringNextWait(Stop);
    } else {
        Stop();
    }
}

void Run(Input& input) {
    theHost.events = 0;
    const std::uint8_t plan = input.Byte();
    theHost.stopAfter = 1 + plan % kMostEvents;
    theHost.stopsOutside = (plan & 0x80) != 0;
    const unsigned eventsBefore = driver::Events();
    const std::int16_t status = Solvane_RunTimer(theHost.timer, input.DoubleWord(), Receive);
    Check(status == SOLVANE_OK || status == SOLVANE_E_UNDETERMINED, "a run's status");
    driver::DuringNextWait(nullptr);

    const unsigned happened = driver::Events() - eventsBefore;
    if (status == SOLVANE_OK) {
        Check(theHost.events == theHost.stopAfter, "a run ends by a stop");
        Check(happened == theHost.events + (theHost.stopsOutside ? 1 : 0),
              "every event is delivered but that after the stop");
        Check(!driver::HasTimer(driver::LastTimer()), "a run deletes its timer");
    } else {
        Check(theHost.events <= happened && happened <= theHost.events + 1, "no event is made up");
    }
    Check(driver::OpenHandles() == 1, "a run closes its event");
    Check(driver::AllocatedTexts() == 0, "the system's texts are freed");
    Check(Solvane_StopTimer(theHost.timer) == SOLVANE_E_INVALID, "the run is over");
}

void CheckNullHandles() {
    Check(Solvane_RunTimer(0, 1, Receive) == SOLVANE_E_INVALID, "a null handle");
    Check(Solvane_RunTimer(theHost.timer, 1, nullptr) == SOLVANE_E_INVALID, "a null callback");
    Check(Solvane_StopTimer(0) == SOLVANE_E_INVALID, "a null handle");
    Check(Solvane_DisposeTimer(0) == SOLVANE_E_INVALID, "a null handle");
    Check(Solvane_CreateTimer(nullptr, 0) == SOLVANE_E_INVALID, "a null pointer");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    constexpr std::uint64_t kUntouched = 0x5A5A5A5A5A5A5A5A;
    Input input(bytes, size);
    WatchedLog log;
    driver::Begin(input);
    theHost = {};
    theHost.timer = kUntouched;
    theHost.context = input.DoubleWord();
    const std::int16_t created = Solvane_CreateTimer(&theHost.timer, theHost.context);
    if (created != SOLVANE_OK) {
        Check(created == SOLVANE_E_UNDETERMINED && theHost.timer == kUntouched &&
                  driver::OpenHandles() == 0,
              "a timer that cannot be made leaves nothing");
        return 0;
    }
    CheckNullHandles();
    for (int i = 0; i < kMostRuns && !input.IsEmpty(); ++i) {
        Run(input);
    }
    // If the driver refuses to delete a timer at its disposal, the library ends the process,
    // because that timer would go on triggering. So let the driver work from here on.
    driver::Heal();
    Run(input);
    Check(Solvane_DisposeTimer(theHost.timer) == SOLVANE_OK, "a timer can be disposed of");
    Check(!driver::HasTimer(driver::LastTimer()), "no timer is left");
    Check(driver::OpenHandles() == 0 && driver::AllocatedTexts() == 0, "nothing is left");
    return 0;
}
