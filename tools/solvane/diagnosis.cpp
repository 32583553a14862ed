#include "diagnosis.h"

#include <algorithm>

#include <solvane/solvane.h>

#include "symptoms.h"

namespace host {

namespace {

using Lines = std::vector<std::string>;

/// The first line that contains the words; null if there is none.
const std::string* FindLine(const Lines& lines, std::string_view words) {
    const auto found = std::find_if(lines.begin(), lines.end(), [&](const std::string& line) {
        return line.find(words) != line.npos;
    });
    return found != lines.end() ? &*found : nullptr;
}

/// The text after the words in a line, up to the first blank, closing parenthesis or dot.
std::string Detail(std::string_view line, std::string_view words) {
    const std::string_view rest = line.substr(line.find(words) + words.size());
    return std::string(rest.substr(0, rest.find_first_of(" ).")));
}

/// Sets what was found: a sentence whose "%" stands for the detail.
void Find(Diagnosis& diagnosis, std::string_view sentence, const std::string& detail = "") {
    diagnosis.page = PageOf(sentence);
    diagnosis.found = sentence;
    if (const std::size_t at = diagnosis.found.find('%'); at != std::string::npos) {
        diagnosis.found.replace(at, 1, detail);
    }
}

/// Explains by the first symptom found in the log; false if there is none.
bool ExplainedBy(std::span<const Symptom> symptoms, const Lines& lines, const Facts& facts,
                 Diagnosis& diagnosis) {
    for (const Symptom& symptom : symptoms) {
        const std::string* line = FindLine(lines, symptom.words);
        const bool hasOther = std::ranges::any_of(
            lines, [&](const std::string& each) { return each.ends_with(symptom.alsoEnding); });
        if (line != nullptr && hasOther) {
            const bool hasNoRange =
                symptom.words == kPortWithoutRange.words && facts.port && !facts.port->address;
            const Symptom& meant = hasNoRange ? kPortWithoutRange : symptom;
            Find(diagnosis, meant.found, Detail(*line, meant.words));
            diagnosis.advice = meant.advice == kOpenInpout
                                   ? AdviceOnInpout(facts.inpout, facts.memoryIntegrity)
                                   : std::string(meant.advice);
            return true;
        }
    }
    return false;
}

void ExplainRefusal(const KindSymptoms& kind, const Candidate& candidate, const Facts& facts,
                    Diagnosis& diagnosis) {
    if (!ExplainedBy(kind.whenRefused, candidate.lines, facts, diagnosis)) {
        Find(diagnosis, "It did not answer (status %).", std::to_string(diagnosis.status));
        diagnosis.advice = "See the log (--log).";
    }
}

constexpr std::string_view kDevices = "Total FTDI devices available:  ";

/// The library takes the first FT2232H, and cannot know whether the camera is connected to it.
void DoubtChip(const Lines& lines, Diagnosis& diagnosis) {
    // An unconnected pin reads 1; with a camera connected, some lines at rest read 0.
    const bool isBare =
        FindLine(lines, ">>> read bits:  High Byte (BC)CLR-MEP-RDY-APW-CPW-DRK-TRG-") &&
        FindLine(lines, ">>> read bits:  Low Byte (BD): APW-CPW-DRK-");
    const std::string* line = FindLine(lines, kDevices);
    const std::string devices = line != nullptr ? Detail(*line, kDevices) : "";
    const bool mayBeSeveral = devices.size() > 1 || devices > "3"; // each FT2232H counts as two
    if (isBare) {
        Find(diagnosis, "It answers, but all of its pins read 1: no camera is wired to it.");
        diagnosis.isIll = true;
    } else if (mayBeSeveral) {
        Find(diagnosis, "It answers, and lines are wired to it.");
    }
    if (mayBeSeveral) {
        diagnosis.advice = "There are " + devices +
                           " FTDI devices, two to an FT2232H, and only the first FT2232H is used: "
                           "leave the one plugged in that the camera hangs on.";
    } else if (isBare) {
        diagnosis.advice = "See that the camera's cable is plugged in.";
    }
}

void ExplainService(const KindSymptoms& kind, const Candidate& candidate, const Facts& facts,
                    Diagnosis& diagnosis) {
    Find(diagnosis, "It answers, and serves the camera.");
    if (!facts.unreadLine.empty()) {
        Find(diagnosis, "It answers, but its line \"%\" could not be read.", facts.unreadLine);
        diagnosis.advice = kind.whenUnread;
        diagnosis.isIll = true;
    } else if (!ExplainedBy(kind.whenServing, candidate.lines, facts, diagnosis) &&
               kind.kind == kFt2232h) {
        DoubtChip(candidate.lines, diagnosis);
    }
}

/// Which device was tried; empty if unknown.
std::string Tried(std::string_view kind, const Lines& lines, const Facts& facts) {
    constexpr std::string_view kOpening = "Open device #";
    if (kind == kParallelPort && facts.port) {
        return facts.port->Description();
    }
    const std::string* opened = FindLine(lines, kOpening);
    const std::string* total = FindLine(lines, kDevices);
    if (kind == kFt2232h && opened != nullptr && total != nullptr) {
        return "number " + Detail(*opened, kOpening) + ", counted from 0, of " +
               Detail(*total, kDevices) + " FTDI devices, the first FT2232H's channel B";
    }
    return "";
}

Diagnosis Explain(const KindSymptoms& kind, const Candidate& candidate, const Facts& facts) {
    Diagnosis diagnosis;
    diagnosis.kind = kind.kind;
    diagnosis.asked = true;
    diagnosis.serves = facts.serving == kind.kind;
    diagnosis.tried = Tried(kind.kind, candidate.lines, facts);
    if (diagnosis.serves) {
        ExplainService(kind, candidate, facts, diagnosis);
    } else {
        diagnosis.status = candidate.status.value_or(SOLVANE_E_NO_HARDWARE);
        ExplainRefusal(kind, candidate, facts, diagnosis);
    }
    return diagnosis;
}

Diagnosis NotAsked(const KindSymptoms& kind) {
    Diagnosis diagnosis;
    diagnosis.kind = kind.kind;
    Find(diagnosis, "It was not looked for, because a kind before it answered.");
    return diagnosis;
}

} // namespace

std::string PageOf(std::string_view sentence) {
    std::string page = "docs/doctor.md#";
    for (const char c : sentence) { // as the documents' headings get their anchors
        const auto lower = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
        if (c == '%') {
            page += 'n';
        } else if (c == ' ') {
            page += '-';
        } else if (c == '-' || (lower >= 'a' && lower <= 'z') || (c >= '0' && c <= '9')) {
            page += lower;
        }
    }
    return page;
}

std::vector<Diagnosis> Diagnose(const LibraryLog& log, const Facts& facts) {
    std::vector<Diagnosis> diagnoses;
    for (const KindSymptoms& kind : Symptoms()) {
        // The last candidate of each kind: the library may have looked several times.
        const auto& candidates = log.Candidates();
        const auto found =
            std::find_if(candidates.rbegin(), candidates.rend(),
                         [&](const Candidate& candidate) { return candidate.kind == kind.kind; });
        diagnoses.push_back(found != candidates.rend() ? Explain(kind, *found, facts)
                                                       : NotAsked(kind));
    }
    return diagnoses;
}

} // namespace host
