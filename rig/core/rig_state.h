/// The rig of the process: one installation, everything that is wired to it, and one lock.
#pragma once

#include <cstdint>
#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "fault_plan.h"
#include "host_number.h"
#include "installation.h"
#include "scenario.h"
#include "session.h"
#include "timeline.h"
#include "trace.h"

namespace rig {

class Rig {
  public:
    /// Makes the rig that the environment describes at the first call.
    static Rig& Instance();

    /// Replaces the virtual hardware. False when the text is no scenario: nothing has changed then.
    bool LoadText(std::string_view toml);
    bool LoadFile(const std::filesystem::path& path);
    void LoadDefault();

    /// What was wrong with the last scenario.
    const std::string& Error() const { return error; }

    /// What the scenario is called: its file, or how else it came.
    const std::string& ScenarioName() const { return name; }

    /// Counts a vendor call and has the events happen that precede it; its fault, if one is
    /// planned. While the PC sleeps no call is made: it waits, and other threads have the rig.
    std::optional<Fault> BeginCall(std::string_view function);

    /// USB chips of the scenario, plugged in or not.
    std::size_t Chips() const { return chips; }

    /// Does something to it from outside: the journal tells of it, and a kept session knows it.
    void Do(const Action& action);

    /// The scenario that it began with, as text, and what happened since.
    const std::string& Text() const { return text; }
    const SessionRecorder& Recorder() const { return recorder; }

    // What actions do.
    void SetPlugged(unsigned chip, bool plugged);
    void Replace(const Scenario& scenario, std::string called);
    void OpenDriver();
    void Sleep(std::uint64_t duration);

    /// Lets go of what a host holds that has left.
    void Release(HostNumber left);

    /// A line of the host's own.
    void Note(std::string text);

    /// Lets time pass in a call that has locked the rig; other threads have it meanwhile. It takes
    /// longer when the PC falls asleep.
    void Wait(std::uint64_t nanoseconds);
    /// The same for somebody who is no host.
    void Pause(std::uint64_t nanoseconds);

    Timeline timeline;
    Trace trace{timeline};
    FaultPlan faults;
    std::optional<Installation> installation;
    HostNumber host = kThisProcess; ///< whose call is being answered

  private:
    friend class Access;

    Rig();
    void LoadFromEnvironment();
    void Load(const Scenario& scenario, std::string_view toml, std::string called);
    void Build(const Scenario& scenario, std::string called);
    bool Parse(std::string_view toml, std::string called);
    void Perform(const Action& action);
    void WaitAwake(std::uint64_t nanoseconds);
    void WaitWhileAsleep();
    void ComeToNextStep(std::uint64_t length);

    std::mutex mutex;
    std::string error;
    std::string parsedText; ///< the last text that was a scenario
    Scenario parsed;        ///< which is this; of an empty text at first
    std::string name;
    std::string text;
    std::size_t chips = 0;
    SessionRecorder recorder;
    std::optional<Rerun> rerun;
    std::vector<ScenarioEvent> eventsBeforeCalls;
    std::optional<std::uint64_t> resumesAt; ///< while the PC sleeps, ns
};

/// The rig, locked and brought up to now.
class Access {
  public:
    Access() : lock(rig.mutex) { rig.timeline.CatchUp(); }

    Rig* operator->() const { return &rig; }

  private:
    Rig& rig = Rig::Instance();
    std::unique_lock<std::mutex> lock;
};

} // namespace rig
