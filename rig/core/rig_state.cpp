#include "rig_state.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <limits>
#include <sstream>
#include <system_error>
#include <utility>

#include "environment.h"
#include "remote_rig.h"
#include "rig_clock.h"
#include "stand_in.h"

namespace rig {

Rig& Rig::Instance() {
    // Never destroyed: destructors of the host's static objects may still use the hardware.
    static Rig& rig = *new Rig;

    // Completes the waveform when the process ends. Must not wait for the lock: a thread that the
    // system ended within a call never releases it.
    static const struct Ending {
        ~Ending() {
            const std::unique_lock lock(rig.mutex, std::try_to_lock);
            if (lock) {
                rig.timeline.CatchUp();
                rig.trace.EndWaveform();
            }
        }
    } ending;
    return rig;
}

Rig::Rig() {
    for (const VendorFunction& function : VendorFunctions()) {
        faults.Declare(function.name);
    }
    LoadFromEnvironment();
}

void Rig::LoadFromEnvironment() {
    const auto complain = [](const std::string& message) {
        std::fprintf(stderr, "solvane_rig: %s\n", message.c_str());
    };
    const auto complainUnopened = [&](const std::filesystem::path& path) {
        complain(Utf8FromPath(path) + ": cannot be written");
    };

    if (BenchInEnvironment()) { // the bench has the hardware, and writes the files
        Load({}, "", "none");
        return;
    }
    const std::filesystem::path journal = PathFromEnvironment("SOLVANE_RIG_JOURNAL");
    if (!journal.empty() && !trace.journal.CopyTo(journal)) {
        complainUnopened(journal);
    }
    const std::filesystem::path scenario = PathFromEnvironment("SOLVANE_RIG");
    if (scenario.empty()) {
        LoadDefault();
    } else if (!LoadFile(scenario)) {
        complain(error + "; there is no hardware");
        Load({}, "", "none: " + error);
    }
    const std::filesystem::path waveform = PathFromEnvironment("SOLVANE_RIG_VCD");
    if (!waveform.empty() && !trace.StartWaveform(waveform, installation->AllLevels())) {
        complainUnopened(waveform);
    }
}

bool Rig::LoadText(std::string_view toml) {
    return Parse(toml, "given as text");
}

bool Rig::Parse(std::string_view toml, std::string called) {
    error.clear();
    try {
        if (toml != parsedText) { // tests load the same text again and again
            parsed = ParseScenario(toml);
            parsedText = toml;
        }
        Load(parsed, toml, std::move(called));
    } catch (const ScenarioError& mistake) {
        error = mistake.what();
    }
    return error.empty();
}

bool Rig::LoadFile(const std::filesystem::path& path) {
    std::error_code ignored;
    std::ifstream file(path, std::ios::binary);
    // Some systems open a directory as if it were an empty file.
    if (!file || std::filesystem::is_directory(path, ignored)) {
        error = Utf8FromPath(path) + ": cannot be read";
        return false;
    }
    std::ostringstream content;
    content << file.rdbuf();
    const bool isGood = Parse(content.str(), Utf8FromPath(path));
    if (!isGood) {
        error = Utf8FromPath(path) + ": " + error;
    }
    return isGood;
}

void Rig::LoadDefault() {
    Parse(kDefaultScenario, "default");
}

void Rig::Load(const Scenario& scenario, std::string_view toml, std::string called) {
    text = toml.substr(0, scenario.textBeforeSession);
    recorder.Restart();
    rerun.reset();
    timeline.Restart();
    resumesAt.reset();
    faults.Restart();
    installation.emplace(scenario.camera, timeline, trace);
    trace.Restart(installation->AllLevels());
    Build(scenario, std::move(called));
    if (scenario.session) {
        rerun.emplace(*scenario.session, timeline, [this](const Action& action) { Do(action); });
    }
}

void Rig::Replace(const Scenario& scenario, std::string called) {
    const Levels before = installation->AllLevels();
    timeline.Clear();
    faults.Clear();
    installation.emplace(scenario.camera, timeline, trace);
    const Levels after = installation->AllLevels();
    for (std::size_t i = 0; i < after.size(); ++i) {
        if (before[i] != after[i]) {
            trace.Edge(static_cast<rig_line>(i), after[i]);
        }
    }
    Build(scenario, std::move(called));
    if (rerun) {
        rerun->Schedule();
    }
}

/// Builds the hardware of a scenario. Faults and events planned for its first calls apply to the
/// next calls, however many were counted before.
void Rig::Build(const Scenario& scenario, std::string called) {
    name = std::move(called);
    chips = scenario.usb.size();
    for (const StandIn& standIn : StandIns()) {
        standIn.build(scenario, {*installation, timeline, trace});
    }
    const auto later = [this](std::uint32_t call, std::string_view function) {
        constexpr std::uint32_t most = std::numeric_limits<std::uint32_t>::max();
        return call + std::min(faults.Calls(function), most - call);
    };
    for (Fault fault : scenario.faults) {
        fault.call = later(fault.call, fault.function);
        faults.Add(std::move(fault));
    }
    eventsBeforeCalls.clear();
    for (ScenarioEvent event : scenario.events) {
        if (event.before.empty()) {
            timeline.After(event.at, [this, event] { Perform(event.action); });
        } else {
            event.call = later(event.call, event.before);
            eventsBeforeCalls.push_back(std::move(event));
        }
    }
}

std::optional<Fault> Rig::BeginCall(std::string_view function) {
    if (rerun) {
        rerun->BeginCall(function);
    }
    recorder.BeginCall(timeline.Now());
    faults.CountCall(function);
    const auto happensNow = [&](const ScenarioEvent& event) {
        const bool isMeant = event.before == function || event.before == kAnyFunction;
        return isMeant && faults.Calls(event.before) == event.call;
    };
    // A copy: an action may replace the hardware and clear eventsBeforeCalls.
    std::vector<ScenarioEvent> events;
    std::ranges::copy_if(eventsBeforeCalls, std::back_inserter(events), happensNow);
    for (const ScenarioEvent& event : events) {
        Perform(event.action);
    }
    const Fault* planned = faults.Occur(function);
    // A copy: the plan may change while the call waits.
    const std::optional<Fault> fault = planned != nullptr ? std::optional(*planned) : std::nullopt;
    WaitWhileAsleep();
    if (fault) {
        trace.Event(std::string("fault ").append(function));
    }
    return fault;
}

void Rig::OpenDriver() {
    for (const StandIn& standIn : StandIns()) {
        standIn.openDriver();
    }
}

void Rig::Sleep(std::uint64_t duration) {
    if (resumesAt) {
        return;
    }
    const auto setAsleep = [](bool asleep) {
        for (const StandIn& standIn : StandIns()) {
            standIn.setAsleep(asleep);
        }
    };
    setAsleep(true);
    resumesAt = timeline.Now() + duration;
    timeline.After(duration, [this, setAsleep] {
        resumesAt.reset();
        trace.Event("resume");
        setAsleep(false);
    });
}

void Rig::WaitWhileAsleep() {
    while (resumesAt) {
        WaitAwake(*resumesAt - std::min(*resumesAt, timeline.Now()));
    }
}

void Rig::Release(HostNumber left) {
    for (const StandIn& standIn : StandIns()) {
        standIn.release(left);
    }
}

void Rig::SetPlugged(unsigned chip, bool plugged) {
    for (const StandIn& standIn : StandIns()) {
        standIn.setPlugged(chip, plugged);
    }
}

void Rig::Do(const Action& action) {
    recorder.Add(action, timeline.Now());
    Perform(action);
}

void Rig::Perform(const Action& action) {
    if (action.isJournaled) {
        trace.Event(action.text);
    }
    action.work(*this);
}

void Rig::Wait(std::uint64_t nanoseconds) {
    WaitAwake(nanoseconds);
    WaitWhileAsleep();
}

void Rig::WaitAwake(std::uint64_t nanoseconds) {
    const HostNumber waiting = host;
    Pause(nanoseconds);
    host = waiting;
    ComeToNextStep(nanoseconds);
}

void Rig::AddCall(std::string call, HostNumber caller) {
    if (const auto guest = guests.find(caller); guest != guests.end()) {
        ++guest->second.calls;
    }
    trace.Call(std::move(call), caller);
}

void Rig::Note(std::string line) {
    ComeToNextStep(0);
    trace.Note(std::move(line));
}

void Rig::ComeToNextStep(std::uint64_t length) {
    if (rerun) {
        rerun->ComeToStep(recorder.Next().step, length);
    }
    recorder.NextStep(timeline.Now());
}

void Rig::Pause(std::uint64_t nanoseconds) {
    mutex.unlock();
    clock::Wait(nanoseconds);
    mutex.lock();
    timeline.CatchUp();
}

} // namespace rig
