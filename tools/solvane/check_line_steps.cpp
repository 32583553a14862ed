/// The steps that switch lines and read them back.

#include <algorithm>

#include "check_steps.h"

namespace host {

namespace {

using namespace std::chrono_literals;

constexpr auto kPoll = 5ms;
constexpr auto kReadyAgain = 2s; // longest wait after a picture until the camera is ready again
constexpr auto kStarting = 10s;  // longest wait after power on until the camera is ready
constexpr auto kPowerShows = 1s; // longest wait after a switch of the power until ready follows
constexpr auto kUnaskedPicture = 100ms; // from an edge until ready or the flag shows a picture
constexpr auto kExposure = 2s;          // longest wait after the trigger for the flag

const char* OnOff(const std::optional<bool>& answer) {
    return !answer ? "?" : *answer ? "on" : "off";
}

const char* YesNo(const std::optional<bool>& answer) {
    return !answer ? "?" : *answer ? "yes" : "no";
}

/// Why reading back a latch or a remembered level does not prove the level on the line.
std::string WhyBlind(ReadBack back, const std::string& kind) {
    return back == ReadBack::latch
               ? "The " + kind + " reads back its own output, whatever hangs on it."
               : "The " + kind + " does not read the line back: the answer is the last command.";
}

} // namespace

struct Run::Switch {
    const char* name;
    decltype(Functions::EnableCameraPower) Functions::*on;
    decltype(Functions::EnableCameraPower) Functions::*off;
    std::size_t question; ///< in kQuestions
    bool rest;            ///< level at rest
};

namespace {

constexpr std::size_t kDark = 1;
constexpr std::size_t kCameraPower = 2;
constexpr std::size_t kAccessories = 3;

/// Restores the level that was found, also after the program was asked to stop.
void PutBack(const Functions& library, decltype(Functions::EnableCameraPower) Functions::*on,
             decltype(Functions::EnableCameraPower) Functions::*off, const Switched& line) {
    if (line.wasTried && line.found) {
        (library.*(*line.found ? on : off)).EvenIfStopped();
    }
}

} // namespace

Run::~Run() {
    using F = Functions;
    PutBack(host.library, &F::EnableForcedBlackUpdate, &F::DisableForcedBlackUpdate, seen.dark);
    PutBack(host.library, &F::EnableCameraPower, &F::DisableCameraPower, seen.cameraPower);
    PutBack(host.library, &F::EnableAccessoriesPower, &F::DisableAccessoriesPower,
            seen.accessoriesPower);
}

std::optional<bool> Run::Answered(const AskLine& ask) {
    const Answer answer = Ask(ask, host.log);
    seen.isLost = seen.isLost || !answer.value;
    return answer.value;
}

std::optional<bool> Run::AskReady() {
    const std::optional<bool> ready = Answered(host.library.CheckSystemReady);
    seen.readySeenYes = seen.readySeenYes || ready == true;
    seen.readySeenNo = seen.readySeenNo || ready == false;
    return ready;
}

std::optional<bool> Run::AskFlag() {
    return Answered(host.library.CheckAndResetMepFlag);
}

bool Run::Done(int status) {
    seen.isLost = seen.isLost || status != SOLVANE_OK;
    return status == SOLVANE_OK;
}

Flag Run::TakeFlagDown() {
    const std::optional<bool> first = AskFlag();
    if (!first) {
        return Flag::unknown;
    }
    if (!*first) {
        return Flag::down;
    }
    const std::optional<bool> second = AskFlag();
    return !second ? Flag::unknown : *second ? Flag::stuck : Flag::cleared;
}

std::optional<bool> Run::WaitForReady(bool wanted, std::chrono::milliseconds most) {
    const Moment deadline = SteadyNow() + most;
    std::optional<bool> ready = AskReady();
    while (ready && *ready != wanted && SteadyNow() < deadline) {
        SleepUntil(SteadyNow() + kPoll);
        ready = AskReady();
    }
    return ready;
}

bool Run::SeesPicture() {
    if (seen.flagAtRest == Flag::stuck) {
        return false; // a stuck flag says nothing about pictures
    }
    Moment deadline = SteadyNow() + kUnaskedPicture;
    const Moment last = SteadyNow() + kExposure;
    bool flag = false;
    while (!flag && !seen.isLost && SteadyNow() < deadline) {
        if (AskReady() == false) { // an exposure may be going on: let it end
            deadline = std::min(last, SteadyNow() + kUnaskedPicture);
        }
        flag = AskFlag().value_or(false);
        SleepUntil(SteadyNow() + kPoll);
    }
    if (flag && AskFlag().value_or(false)) { // reading would have cleared a picture's flag
        seen.flagFollows = true;
        return false;
    }
    return flag;
}

/// Reads every line but this one.
Answers Run::Others(const Switch& line) {
    Answers answers;
    for (std::size_t i = kDark; i < kQuestions.size(); ++i) {
        if (i != line.question) {
            answers[i] = {SOLVANE_OK, Answered(host.library.*kQuestions[i].ask)};
        }
    }
    return answers;
}

void Run::SwitchBothWays(const Switch& line, Switched& switched, StepResult& step) {
    switched.wasTried = true;
    const Answers before = Others(line);
    for (const bool level : {!line.rest, line.rest}) {
        if (!Done((host.library.*(level ? line.on : line.off))())) {
            step.seen.push_back(std::string(OnOff(level)) + ": refused");
            return;
        }
        std::optional<bool>& read = level ? switched.whenOn : switched.whenOff;
        read = Answered(host.library.*kQuestions[line.question].ask);
        const Answers others = Others(line);
        for (std::size_t i = kDark; i < kQuestions.size(); ++i) {
            const std::string name = kQuestions[i].label;
            if (others[i] != before[i] && level != line.rest &&
                std::ranges::find(switched.moved, name) == switched.moved.end()) {
                switched.moved.push_back(name);
            }
        }
        step.seen.push_back(std::string(OnOff(level)) + ": read back " + OnOff(read));
        if (line.question == kCameraPower) {
            std::optional<bool>& ready = level ? seen.readyWithPower : seen.readyWithoutPower;
            const Moment begin = SteadyNow();
            if (level) {
                ready = WaitForReady(true, kStarting);
                const double ms = Since(begin);
                // An inverted line reads ready right after power on, too, so ask again later.
                if (ready == true) {
                    step.times["ready_after_power_ms"] = ms;
                    SleepUntil(SteadyNow() + kPowerShows);
                    ready = AskReady();
                }
            } else {
                ready = WaitForReady(!seen.readyAtRest.value_or(true), kPowerShows);
            }
            step.seen.back() += std::string(", ready ") + YesNo(ready);
        }
        switched.tookPicture = SeesPicture() || switched.tookPicture;
    }
}

void Run::ReportSwitched(const Switch& line, ReadBack back, const Switched& switched,
                         StepResult& step) {
    step.facts["read_back_on"] =
        switched.whenOn ? nlohmann::ordered_json(*switched.whenOn) : nullptr;
    step.facts["read_back_off"] =
        switched.whenOff ? nlohmann::ordered_json(*switched.whenOff) : nullptr;
    if (switched.tookPicture) {
        step.seen.emplace_back("the camera took a picture");
    }
    for (const std::string& moved : switched.moved) {
        step.seen.push_back(moved + " moved, too");
    }
    const bool follows = switched.whenOn == true && switched.whenOff == false;
    const bool remembers = back == ReadBack::memory;
    if (seen.flagFollows) {
        step.seen.emplace_back("the flag went up with it, and stayed");
    }
    if (switched.tookPicture || seen.flagFollows || !switched.moved.empty() || seen.isLost ||
        (!follows && !remembers)) {
        step.Fail();
    } else if (back != ReadBack::wire) {
        step.LeaveUntested(WhyBlind(back, seen.kind) + " Measure it: solvane hold " + line.name +
                           " --for 10.");
    }
}

void Run::Rest(StepResult& step) {
    const KindOfWires& wires = WiresOf(seen.kind);
    const bool areSet = wires.configuresSwitches;
    std::string text;
    std::string blind;
    for (std::size_t i = kDark; i < kQuestions.size(); ++i) {
        const Question& question = kQuestions[i];
        const std::optional<bool> answer = Answered(host.library.*question.ask);
        text += std::string(question.label) + " " + OnOff(answer) + ", ";
        step.facts[question.key] = answer ? nlohmann::ordered_json(*answer) : nullptr;
        Switched& line = i == kDark          ? seen.dark
                         : i == kCameraPower ? seen.cameraPower
                                             : seen.accessoriesPower;
        line.found = answer;
        const bool isRest = answer == (i != kDark);
        const ReadBack back = i == kDark          ? wires.darkBack
                              : i == kCameraPower ? wires.cameraPowerBack
                                                  : wires.accessoriesPowerBack;
        if (back != ReadBack::wire) {
            blind += std::string(blind.empty() ? "" : ", ") + std::string(question.label);
        }
        if (!isRest && areSet) {
            step.Fail("Finding the hardware sets this line, and it reads otherwise.");
        } else if (!isRest && step.outcome == Outcome::ok) {
            step.outcome = Outcome::note;
            step.advice = "A line is not at rest, perhaps as the last host left it.";
        }
    }
    seen.flagAtRest = TakeFlagDown();
    constexpr const char* kWords[] = {"?", "down", "up, cleared by asking", "up, and stays"};
    step.seen.push_back(text + "flag " + kWords[static_cast<std::size_t>(seen.flagAtRest)]);
    step.facts["flag_stuck"] = seen.flagAtRest == Flag::stuck;
    if (seen.isLost || seen.flagAtRest == Flag::stuck) {
        step.Fail();
    } else if (step.outcome == Outcome::ok && !blind.empty()) {
        step.LeaveUntested("Of these, the " + seen.kind +
                           " knows what it was set to, and not "
                           "what the lines have: " +
                           blind + ".");
    }
}

void Run::Ready(StepResult& step) {
    const Moment begin = SteadyNow();
    seen.readyAtRest = WaitForReady(true, kReadyAgain);
    step.times["waited_ms"] = Since(begin);
    // Nothing was triggered since the flag was cleared, so setting the lines to rest took a
    // picture.
    const Flag flag = seen.flagAtRest == Flag::stuck ? Flag::down : TakeFlagDown();
    if (flag == Flag::cleared || flag == Flag::stuck) {
        seen.pictureAtOpening = true;
        step.seen.emplace_back("the camera took a picture");
        step.Fail();
        return;
    }
    step.seen.emplace_back(YesNo(seen.readyAtRest));
    if (!seen.readyAtRest) {
        step.Fail();
    } else if (!*seen.readyAtRest) {
        step.outcome = Outcome::note;
        step.advice = "It may be asleep or without power: the next steps try.";
    }
}

void Run::Wake(StepResult& step) {
    const AskLine& ask = host.library.CheckForcedBlackUpdate;
    const std::optional<bool> before = Answered(ask);
    const Moment begin = SteadyNow();
    const bool isDone = Done(host.library.WakeCamera());
    step.times["call_ms"] = Since(begin);
    const std::optional<bool> after = Answered(ask);
    const std::optional<bool> ready = WaitForReady(true, kReadyAgain);
    const bool woke = seen.readyAtRest == false && ready == true;
    step.seen.push_back(std::string("dark ") + OnOff(after) + ", ready " + YesNo(ready) +
                        (woke ? ": it was asleep" : ""));
    if (!isDone || before != after || seen.isLost) {
        step.Fail();
    } else if (ready == false) {
        step.outcome = Outcome::note;
        step.advice = "It may be without power: the next step tries.";
    } else if (!woke) {
        step.outcome = Outcome::note;
        step.advice = "It was awake before: that it wakes, only a camera that sleeps can show.";
    }
}

void Run::Dark(StepResult& step) {
    const Switch line{"dark", &Functions::EnableForcedBlackUpdate,
                      &Functions::DisableForcedBlackUpdate, kDark, false};
    SwitchBothWays(line, seen.dark, step);
    ReportSwitched(line, WiresOf(seen.kind).darkBack, seen.dark, step);
}

void Run::CameraPower(StepResult& step) {
    const Switch line{"camera-power", &Functions::EnableCameraPower, &Functions::DisableCameraPower,
                      kCameraPower, true};
    const ReadBack back = WiresOf(seen.kind).cameraPowerBack;
    SwitchBothWays(line, seen.cameraPower, step);
    ReportSwitched(line, back, seen.cameraPower, step);
    step.facts["ready_without_power"] = seen.readyWithoutPower == true;
    if (step.outcome == Outcome::failed) {
        return;
    }
    if (seen.readyWithPower == true && seen.readyWithoutPower == false) {
        step.outcome = Outcome::ok; // ready follows the power, even if nothing reads it back
        step.advice = "";
    } else if (seen.readyWithoutPower == true || seen.readyWithPower != true) {
        step.Fail();
    }
}

void Run::AccessoriesPower(StepResult& step) {
    const Switch line{"accessories-power", &Functions::EnableAccessoriesPower,
                      &Functions::DisableAccessoriesPower, kAccessories, true};
    SwitchBothWays(line, seen.accessoriesPower, step);
    ReportSwitched(line, WiresOf(seen.kind).accessoriesPowerBack, seen.accessoriesPower, step);
}

void Run::ReadyFollows(StepResult& step) {
    step.seen.push_back(std::string("seen there: ") + YesNo(seen.readySeenYes) +
                        ", seen away: " + YesNo(seen.readySeenNo));
    if (!seen.readySeenYes) {
        step.Fail();
    } else if (!seen.readySeenNo) {
        step.LeaveUntested(
            "It was there whenever it was asked for. An exposure that is over when a "
            "trigger returns cannot be seen, and neither can a line that is stuck: "
            "--power tells them apart.");
    }
}

void Run::Opening(StepResult& step) {
    if (seen.kind != "FT2232H") {
        step.outcome = Outcome::note;
        step.seen.emplace_back("this kind is not opened again");
        return;
    }
    WaitForReady(true, kReadyAgain);
    TakeFlagDown();
    host.library.CloseDevice();
    if (!Done(host.library.CheckAvailable())) {
        step.Fail();
        return;
    }
    const bool tookPicture = SeesPicture();
    seen.pictureAtOpening = seen.pictureAtOpening || tookPicture;
    step.seen.emplace_back(tookPicture ? "the camera took a picture" : "no picture");
    if (tookPicture || seen.isLost) {
        step.Fail();
    }
}

} // namespace host
