#include "recording_command.h"

#include <algorithm>
#include <fstream>
#include <stdexcept>

#include "file_content.h"
#include "recorded_journal.h"
#include "recorded_scenario.h"
#include "recorded_wave.h"
#include "replay.h"
#include "this_program.h"
#include "tool.h"

namespace rig {

namespace {

int ShowJournal(const record::Recording& recording, std::ostream& out) {
    for (const Journal::Entry& entry : JournalOf(recording, LinesOf(recording))) {
        out << LineOf(entry) << '\n';
    }
    return kSuccess;
}

int MakeScenario(const record::Recording& recording, const std::string& file, std::ostream& out) {
    SetVariable("SOLVANE_RIG", std::nullopt); // this program itself has the hardware
    const record::RecordedScenario scenario = ScenarioOf(recording);
    if (file.empty()) {
        out << scenario.text;
        return kSuccess;
    }
    std::ofstream stream(PathOf(file), std::ios::binary);
    if (!(stream << scenario.text << std::flush)) {
        throw std::runtime_error(file + ": cannot be written");
    }
    out << "The scenario is in " << file << ". On it, " << scenario.calls - scenario.others.size()
        << " of " << scenario.calls << " calls are answered as recorded.\n";
    return kSuccess;
}

} // namespace

std::optional<int> CommandOnRecording(const std::vector<std::string>& words, bool hasOptions,
                                      std::ostream& out, std::ostream& err) {
    const bool isScenario = !words.empty() && words[0] == "scenario";
    const bool isJournal = !words.empty() && words[0] == "journal";
    if ((!isScenario && !isJournal) || words.size() < 2 || words[1].starts_with("-")) {
        return std::nullopt;
    }
    const std::string& file = words[1];
    const std::optional<std::string> text = host::ContentOf(PathOf(file));
    const bool hasOutput = words.size() == 4 && words[2] == "-o";
    if (!text || !wave::IsOfCalls(*text)) {
        if (isScenario && words.size() == 2) {
            return std::nullopt; // the hardware of a bench becomes that of the file
        }
        err << "solvane-rig: " << file << (text ? " is no recording" : " cannot be read") << "; "
            << (isJournal ? "the journal of a bench is shown by: journal [--bench NAME]"
                          : "-o is for the scenario of a recording")
            << '\n';
        return kUsageError;
    }
    if (hasOptions || !(words.size() == 2 || (isScenario && hasOutput))) {
        err << "solvane-rig: " << file << " is a recording; usage: "
            << (isScenario ? "scenario FILE [-o FILE]" : "journal FILE") << '\n';
        return kUsageError;
    }
    const record::Recording recording = RecordingIn(file, err);
    return isJournal ? ShowJournal(recording, out)
                     : MakeScenario(recording, hasOutput ? words[3] : "", out);
}

} // namespace rig
