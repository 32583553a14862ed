/// The rig of the process: the installation, everything wired to it, and the lock for all of it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
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
    /// The first call builds the rig that the environment describes.
    static Rig& Instance();

    /// Replaces the virtual hardware. False when the text is no scenario: nothing has changed then.
    bool LoadText(std::string_view toml);
    bool LoadFile(const std::filesystem::path& path);
    void LoadDefault();

    /// What was wrong with the last scenario.
    const std::string& Error() const { return error; }

    /// The scenario's file, or where else it came from.
    const std::string& ScenarioName() const { return name; }

    /// Counts a vendor call, performs the events planned before it and returns its fault, if any.
    /// While the PC sleeps this waits, with the rig unlocked for other threads.
    std::optional<Fault> BeginCall(std::string_view function);

    /// The number of USB chips in the scenario, plugged in or not.
    std::size_t Chips() const { return chips; }

    /// Performs an action from outside: it goes into the journal and into the recorded session.
    void Do(const Action& action);

    /// The text of the scenario that was loaded, and the recording of what happened since.
    const std::string& Text() const { return text; }
    const SessionRecorder& Recorder() const { return recorder; }

    // For actions.
    void SetPlugged(unsigned chip, bool plugged);
    void Replace(const Scenario& scenario, std::string called);
    void OpenDriver();
    void Sleep(std::uint64_t duration);

    /// Frees what a host held that has ended.
    void Release(HostNumber left);

    /// Writes a call of a host into the journal, and counts it as the host's.
    void AddCall(std::string text, HostNumber caller);

    /// Writes a line of the host's into the journal.
    void Note(std::string text);

    /// Lets time pass inside a call, with the rig unlocked for other threads. Takes longer if the
    /// PC goes to sleep.
    void Wait(std::uint64_t nanoseconds);
    /// The same outside a vendor call: not a step of the session, and not prolonged by sleep.
    void Pause(std::uint64_t nanoseconds);

    Timeline timeline;
    Trace trace{timeline};
    FaultPlan faults;
    std::optional<Installation> installation;
    HostNumber host = kThisProcess; ///< the caller of the call being answered

    /// A program in another process that uses this hardware.
    struct Guest {
        std::string program;
        std::uint64_t process;
        std::uint64_t calls = 0;
    };
    std::map<HostNumber, Guest> guests;

    bool IsAsleep() const { return resumesAt.has_value(); }

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
    Scenario parsed;        ///< the result of parsing parsedText
    std::string name;
    std::string text;
    std::size_t chips = 0;
    SessionRecorder recorder;
    std::optional<Rerun> rerun;
    std::vector<ScenarioEvent> eventsBeforeCalls;
    std::optional<std::uint64_t> resumesAt; ///< while the PC sleeps, ns
};

/// Locks the rig and performs what has become due.
class Access {
  public:
    Access() : lock(rig.mutex) { rig.timeline.CatchUp(); }

    Rig* operator->() const { return &rig; }

  private:
    Rig& rig = Rig::Instance();
    std::unique_lock<std::mutex> lock;
};

} // namespace rig
