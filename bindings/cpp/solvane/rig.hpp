/// rig.hpp - the rig for tests of hosts in C++17: solvane/rig.h with exceptions and enumerations.
///
/// Needs solvane/rig.h on the include path and the import library of solvane_rig.dll; with CMake,
/// the target Solvane::Rig. What rig.h says about levels, times and threads holds here too: any
/// thread may call anything. What rig.h answers with -1 is thrown as solvane::RigError.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <solvane/rig.h>

namespace solvane {

/// The rig has refused something; what() says why.
class RigError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// The lines of the camera. A level of true means active, whatever polarity a chip's pin has.
enum class Line {
    Trigger = RIG_TRIGGER,
    Ready = RIG_READY,
    Mep = RIG_MEP,
    ClearMep = RIG_CLEAR_MEP,
    Dark = RIG_DARK,
    CameraPower = RIG_CAMERA_POWER,
    AccessoriesPower = RIG_ACCESSORIES_POWER
};

/// What an entry of the journal tells of.
enum class EntryKind { Call = RIG_CALL, Edge = RIG_EDGE, Event = RIG_EVENT, Note = RIG_NOTE };

/// Calls that fail: they return `status`, move or report `count`, or do nothing silently.
struct Fault {
    std::string function = "*";               ///< a vendor function, or any
    std::optional<std::uint32_t> status = {}; ///< at least one of these three
    std::optional<std::uint32_t> count = {};
    bool silent = false;
    std::optional<std::uint32_t> call = {}; ///< the first, counted from 1; else the next
    std::uint32_t times = 1;                ///< how many in a row; 0: every one from then on
};

/// The rig of this process, or the bench that SOLVANE_RIG names. All objects are the same rig.
class Rig {
  public:
    struct Entry {
        std::chrono::nanoseconds time; ///< since the scenario was loaded
        EntryKind kind;
        std::string text; ///< "trigger 1"
    };

    struct Reply {
        int exitCode;
        std::string answer;
    };

    /// Leaves the rig as it is.
    Rig() = default;
    /// Loads the text of a scenario.
    explicit Rig(const std::string& scenario) { Load(scenario); }

    // ---- The scenario

    /// Replaces the hardware by one FT2232H and one camera.
    void Load() { CheckLoaded(rig_load(nullptr)); }
    /// Replaces the hardware by that of a scenario's text.
    void Load(const std::string& scenario) { CheckLoaded(rig_load(scenario.c_str())); }
    /// The same from a file, whose name is in UTF-8.
    void LoadFile(const std::string& path) { CheckLoaded(rig_load_file(path.c_str())); }
    /// What was wrong with the last scenario; empty after a good one.
    std::string Error() const { return rig_error(); }
    /// The name of the scenario's file, or "default", "given as text" or "none".
    std::string Scenario() const { return rig_scenario(); }

    // ---- The lines and the plug

    bool Level(Line line) const { return rig_level(Native(line)) != 0; }
    /// Holds Ready or Mep at a level, until Release().
    void Force(Line line, bool level) { Hold(line, level ? 1 : 0); }
    void Release(Line line) { Hold(line, -1); }
    /// How many captures the camera has made.
    std::uint32_t Captures() const { return rig_captures(); }
    /// Pulls the plug of a USB chip, counted from 0 in the order of the scenario.
    void Unplug(unsigned chip = 0) { Check(rig_unplug(chip) == 0, NoChip(chip)); }
    /// Puts the plug back.
    void Plug(unsigned chip = 0) { Check(rig_plug(chip) == 0, NoChip(chip)); }
    /// How many references to interfaces of the rig's WMI the host holds.
    int WbemInterfaces() const { return rig_wbem_interfaces(); }

    // ---- Faults

    void AddFault(const Fault& fault) {
        const unsigned kind = (fault.status ? unsigned{RIG_FAULT_STATUS} : 0U) |
                              (fault.count ? unsigned{RIG_FAULT_COUNT} : 0U) |
                              (fault.silent ? unsigned{RIG_FAULT_SILENT} : 0U);
        const rig_fault native{fault.function.c_str(),
                               fault.call ? *fault.call : Calls(fault.function) + 1,
                               fault.times,
                               kind,
                               fault.status.value_or(0),
                               fault.count.value_or(0)};
        Check(rig_add_fault(&native) == 0, "no fault of " + fault.function +
                                               ": it needs a vendor function, a call from 1 on, "
                                               "and a status, a count, both, or silence");
    }
    /// Lifts every fault, those of the scenario too.
    void ClearFaults() { rig_clear_faults(); }
    /// How often a vendor function was called since the scenario began, or any.
    std::uint32_t Calls(const std::string& function = "*") const {
        return rig_calls(function.c_str());
    }

    // ---- The journal

    /// What happened. On a bench this asks once for each entry.
    std::vector<Entry> Journal() const {
        std::vector<Entry> entries;
        rig_entry entry{};
        for (std::size_t i = 0; rig_journal_entry(i, &entry) == 0; ++i) {
            entries.push_back({std::chrono::nanoseconds(entry.time),
                               static_cast<EntryKind>(entry.kind), entry.text});
        }
        return entries;
    }
    void ClearJournal() { rig_journal_clear(); }
    /// The number of the next entry, for WaitEdge() and ExpectPulse().
    std::uint64_t Mark() const {
        const Reply reply = Command("journal --since " + std::to_string(UINT64_MAX), true);
        const std::string key = "\"next\":";
        const std::size_t found = reply.answer.find(key);
        Check(found != std::string::npos, reply.answer);
        return std::stoull(reply.answer.substr(found + key.size()));
    }
    /// Writes a line of the host's own into the journal.
    void Note(const std::string& text) { rig_note(text.c_str()); }

    // ---- Commands

    /// Does a command of solvane-rig: "set exposure_ms 80", "levels", "help".
    Reply Command(const std::string& words, bool json = false) const {
        const char* answer = "";
        const int exitCode = rig_command(words.c_str(), json ? 1 : 0, &answer);
        return {exitCode, answer};
    }

    /// Waits for the next such edge, or for that since a Mark(); throws when none comes.
    std::string WaitEdge(Line line, bool level,
                         std::chrono::microseconds within = std::chrono::seconds(5),
                         std::optional<std::uint64_t> since = {}) {
        return Wait("wait-edge \"" + Name(line) + (level ? " 1\"" : " 0\""), within, since);
    }

    /// Waits for the next pulse, or for that since a Mark(); throws for one of another width.
    std::string ExpectPulse(Line line, std::chrono::microseconds from, std::chrono::microseconds to,
                            std::chrono::microseconds within = std::chrono::seconds(5),
                            std::optional<std::uint64_t> since = {}) {
        return Wait("expect-pulse " + Name(line) + " " + Text(from) + ".." + Text(to), within,
                    since);
    }

    // ---- Time and waveform

    /// The rig's time now, since the scenario was loaded.
    std::chrono::nanoseconds Time() const { return std::chrono::nanoseconds(rig_time()); }

    /// Writes the lines to a VCD file, whose name is in UTF-8, until EndVcd().
    void WriteVcd(const std::string& path) {
        Check(rig_write_vcd(path.c_str()) == 0, path + " cannot be written");
    }
    void EndVcd() { rig_write_vcd(nullptr); }

  private:
    static rig_line Native(Line line) { return static_cast<rig_line>(line); }
    static std::string Name(Line line) { return rig_line_name(Native(line)); }
    static std::string NoChip(unsigned chip) { return "there is no chip " + std::to_string(chip); }

    static void Check(bool isDone, const std::string& refusal) {
        if (!isDone) {
            throw RigError(refusal);
        }
    }

    static void CheckLoaded(int result) {
        if (result != 0) {
            throw RigError(rig_error());
        }
    }

    static void Hold(Line line, int level) {
        Check(rig_force(Native(line), level) == 0,
              Name(line) + " cannot be forced: ready and mep can");
    }

    /// Milliseconds: "9.5".
    static std::string Text(std::chrono::microseconds duration) {
        std::string digits = std::to_string(1000 + duration.count() % 1000).substr(1);
        digits.erase(digits.find_last_not_of('0') + 1);
        return std::to_string(duration.count() / 1000) + (digits.empty() ? "" : "." + digits);
    }

    std::string Wait(const std::string& words, std::chrono::microseconds within,
                     std::optional<std::uint64_t> since) {
        const Reply reply = Command(words + " --within " + Text(within) +
                                    (since ? " --since " + std::to_string(*since) : ""));
        Check(reply.exitCode == 0, reply.answer);
        return reply.answer;
    }
};

} // namespace solvane
