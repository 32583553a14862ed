#include "rig_state.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <system_error>
#include <utility>

#include "elsewhere.h"
#include "environment.h"
#include "front.h"
#include "rig_clock.h"

namespace rig {

Rig& Rig::Instance() {
    // Never destroyed: static objects of the host may still use the hardware when they go.
    static Rig& rig = *new Rig;

    // The waveform ends with the process, and so does what the camera is doing. A thread that the
    // system has ended in mid-call keeps the lock for ever, so nobody waits for it here.
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

    if (BenchInEnvironment()) { // which has the hardware, and writes what happens
        Load({}, "none");
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
        Load({}, "none: " + error);
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
        Load(ParseScenario(toml, [&](std::string_view call) { return faults.Knows(call); }),
             std::move(called));
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
    std::ostringstream text;
    text << file.rdbuf();
    const bool isGood = Parse(text.str(), Utf8FromPath(path));
    if (!isGood) {
        error = Utf8FromPath(path) + ": " + error;
    }
    return isGood;
}

void Rig::LoadDefault() {
    error.clear();
    Load(DefaultScenario(), "default");
}

void Rig::Load(const Scenario& scenario, std::string called) {
    name = std::move(called);
    timeline.Restart();
    faults.Restart();
    installation.emplace(scenario.camera, timeline, trace);
    trace.Restart(installation->AllLevels());
    for (const Front& front : Fronts()) {
        front.build(scenario, {*installation, timeline, trace});
    }
    for (const Fault& fault : scenario.faults) {
        faults.Add(fault);
    }
    eventsBeforeCalls.clear();
    for (const ScenarioEvent& event : scenario.events) {
        if (event.before.empty()) {
            timeline.After(event.at, [this, event] { Perform(event); });
        } else {
            eventsBeforeCalls.push_back(event);
        }
    }
}

const Fault* Rig::BeginCall(std::string_view function) {
    faults.CountCall(function);
    for (const ScenarioEvent& event : eventsBeforeCalls) {
        const bool isMeant = event.before == function || event.before == kAnyFunction;
        if (isMeant && faults.Calls(event.before) == event.call) {
            Perform(event);
        }
    }
    const Fault* fault = faults.Find(function);
    if (fault != nullptr) {
        trace.Event(std::string("fault ").append(function));
    }
    return fault;
}

bool Rig::SetPlugged(unsigned chip, bool plugged) {
    return std::any_of(Fronts().begin(), Fronts().end(),
                       [&](const Front& front) { return front.setPlugged(chip, plugged); });
}

void Rig::Release(HostNumber left) {
    for (const Front& front : Fronts()) {
        front.release(left);
    }
}

void Rig::Perform(const ScenarioEvent& event) {
    using Action = ScenarioEvent::Action;
    switch (event.action) {
    case Action::Unplug:
        SetPlugged(event.chip, false);
        break;
    case Action::Plug:
        SetPlugged(event.chip, true);
        break;
    case Action::Ready:
        trace.Event("ready");
        installation->BecomeReady();
        break;
    case Action::NotReady:
        trace.Event("not-ready");
        installation->BecomeBusy();
        break;
    case Action::LatchMep:
        trace.Event("latch-mep");
        installation->LatchMep();
        break;
    }
}

void Rig::Wait(std::uint64_t nanoseconds) {
    const HostNumber waiting = host;
    mutex.unlock();
    clock::Wait(nanoseconds);
    mutex.lock();
    host = waiting;
    timeline.CatchUp();
}

} // namespace rig
