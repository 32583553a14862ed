// Takes one picture and makes sure of it, while the user interface stays alive. The exit code is 0
// if the MEP flag has confirmed it, 1 if the camera was not triggered, 2 if it was, or may have
// been, and nothing confirms it.

#include <chrono>
#include <functional>
#include <future>
#include <iostream>
#include <string>
#include <thread>

#include <solvane/solvane.hpp>

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using solvane::Status;

enum Outcome { kTaken = 0, kNotTriggered = 1, kUnconfirmed = 2 };

// What the camera of this installation needs; the library knows nothing of it.
constexpr auto kReady = 2000ms; // from one picture until it is ready again, at the longest
constexpr auto kMep = 1000ms;   // from the trigger until the MEP flag, at the longest
constexpr auto kPoll = 5ms;     // between two questions

// Asks until the answer is yes, or time is up. By the clock: a question can take some seconds.
bool WaitForYes(const std::function<bool()>& ask, Clock::duration limit) {
    const Clock::time_point begin = Clock::now();
    while (!ask()) {
        if (Clock::now() - begin >= limit) {
            return false;
        }
        std::this_thread::sleep_for(kPoll);
    }
    return true;
}

bool IsReady() {
    return WaitForYes([] { return solvane::CheckSystemReady(); }, kReady);
}

// Asking clears the flag, so the second answer is no, unless nothing can clear it.
bool FlagGoesDown() {
    return !(solvane::CheckAndResetMepFlag() && solvane::CheckAndResetMepFlag());
}

// Ports whose driver has died can read as a flag too, as one that stays.
bool FlagConfirms() {
    return WaitForYes([] { return solvane::CheckAndResetMepFlag(); }, kMep) && FlagGoesDown();
}

// What cannot be found out does not hold.
bool Holds(bool (*condition)()) {
    try {
        return condition();
    } catch (const solvane::Error&) {
        return false;
    }
}

Status StatusOf(void (*call)(solvane::Outcome)) {
    std::error_code error;
    call(error);
    return static_cast<Status>(error.value());
}

Outcome End(Outcome outcome, const std::string& what, void (*ask)(solvane::Outcome)) {
    std::cerr << what << "; the hardware answers with status " << static_cast<int>(StatusOf(ask))
              << '\n';
    return outcome;
}

Outcome TakeAPicture() {
    if (!Holds(IsReady)) {
        return End(kNotTriggered, "not ready", solvane::CheckAvailable);
    }
    if (!Holds(FlagGoesDown)) { // a flag that is up already would pass for this picture's
        return End(kNotTriggered, "the MEP flag cannot be taken down", solvane::CheckAvailable);
    }

    Status status = StatusOf(solvane::TriggerCapture);
    if (status == Status::NotReady || status == Status::NoHardware) {
        return End(kNotTriggered, "not ready any more", solvane::CheckAvailable);
    }
    if (status != Status::Ok) {
        // The trigger may have been given, and its line may still be high: put it to rest.
        status = StatusOf(solvane::RecheckStatus);
    }

    if (status != Status::Ok || !Holds(FlagConfirms)) {
        return End(kUnconfirmed, "triggered, but not confirmed", solvane::RecheckStatus);
    }
    std::cout << "taken\n";
    return kTaken;
}

} // namespace

int main() {
    // The camera's thread. Only one at a time may call the library; a program with more to do keeps
    // one thread and gives it its tasks.
    std::future<Outcome> picture = std::async(std::launch::async, TakeAPicture);
    int drawn = 0;
    do {
        // This thread is the user interface's; a real one runs its message loop here.
        ++drawn;
    } while (picture.wait_for(20ms) != std::future_status::ready);
    std::cerr << "drawn " << drawn << " times meanwhile\n";
    return picture.get();
}
