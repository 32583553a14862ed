/// The rig's C interface: each function asks the hardware, wherever it is.
#include <solvane/rig.h>

#include <optional>
#include <string>

#include "environment.h"
#include "installation.h"
#include "remote_rig.h"

namespace {

using Function = rig::RigFunction;

/// Never throws: the callers are C functions. Running out of memory is a failure like any other.
rig::RigAnswer Ask(std::int64_t failure, const rig::RigQuestion& question) {
    try {
        const rig::RemoteRig* const remote = rig::FindRemoteRig();
        return remote != nullptr ? remote->ask(question) : rig::AnswerLocally(question);
    } catch (...) {
        return {failure, 0, {}};
    }
}

template <class... Numbers>
rig::RigQuestion About(Function function, Numbers... numbers) {
    return {function, {static_cast<std::uint64_t>(numbers)...}, std::nullopt};
}

/// A question with a text, which may be null. Returns nullopt when there is no memory for it.
std::optional<rig::RigQuestion> WithText(Function function, const char* text) {
    try {
        rig::RigQuestion question{function, {}, std::nullopt};
        if (text != nullptr) {
            question.text = text;
        }
        return question;
    } catch (...) {
        return std::nullopt;
    }
}

std::int64_t AskWithText(std::int64_t failure, Function function, const char* text) {
    const std::optional<rig::RigQuestion> question = WithText(function, text);
    return question ? Ask(failure, *question).number : failure;
}

/// The text stays valid until the next call with the same `function`.
template <Function function>
const char* AskForText() {
    thread_local std::string text;
    text = Ask(0, About(function)).text;
    return text.c_str();
}

bool IsLine(rig_line line) {
    return line >= RIG_TRIGGER && line < RIG_LINE_COUNT;
}

int SetPlugged(unsigned chip, bool plugged) {
    return static_cast<int>(Ask(-1, About(Function::SetPlugged, chip, plugged)).number);
}

} // namespace

int rig_load(const char* toml) {
    return static_cast<int>(AskWithText(-1, Function::Load, toml));
}

int rig_load_file(const char* path) {
    return static_cast<int>(AskWithText(-1, Function::LoadFile, path != nullptr ? path : ""));
}

const char* rig_error(void) {
    return AskForText<Function::Error>();
}

const char* rig_scenario(void) {
    return AskForText<Function::Scenario>();
}

const char* rig_line_name(rig_line line) {
    return IsLine(line) ? rig::LineName(line) : "";
}

int rig_level(rig_line line) {
    return IsLine(line) ? static_cast<int>(Ask(0, About(Function::Level, line)).number) : 0;
}

int rig_force(rig_line line, int level) {
    if (line != RIG_READY && line != RIG_MEP) {
        return -1;
    }
    return static_cast<int>(Ask(-1, About(Function::Force, line, level)).number);
}

uint32_t rig_captures(void) {
    return static_cast<uint32_t>(Ask(0, About(Function::Captures)).number);
}

int rig_unplug(unsigned chip) {
    return SetPlugged(chip, false);
}

int rig_plug(unsigned chip) {
    return SetPlugged(chip, true);
}

int rig_add_fault(const rig_fault* fault) {
    if (fault == nullptr || fault->function == nullptr) {
        return -1;
    }
    std::optional<rig::RigQuestion> question = WithText(Function::AddFault, fault->function);
    if (!question) {
        return -1;
    }
    question->numbers = {fault->call, fault->times, fault->kind, fault->status, fault->count};
    return static_cast<int>(Ask(-1, *question).number);
}

void rig_clear_faults(void) {
    Ask(0, About(Function::ClearFaults));
}

uint32_t rig_calls(const char* function) {
    return static_cast<uint32_t>(AskWithText(0, Function::Calls, function));
}

size_t rig_journal_size(void) {
    return static_cast<size_t>(Ask(0, About(Function::JournalSize)).number);
}

int rig_journal_entry(size_t index, rig_entry* entry) {
    thread_local std::string text;
    if (entry == nullptr) {
        return -1;
    }
    rig::RigAnswer found = Ask(-1, About(Function::JournalEntry, index));
    if (found.number < 0) {
        return -1;
    }
    text = std::move(found.text);
    *entry = {found.time, static_cast<rig_entry_kind>(found.number), text.c_str()};
    return 0;
}

void rig_journal_clear(void) {
    Ask(0, About(Function::JournalClear));
}

void rig_note(const char* text) {
    AskWithText(0, Function::Note, text);
}

uint64_t rig_time(void) {
    return Ask(0, About(Function::Time)).time;
}

int rig_write_vcd(const char* path) {
    return static_cast<int>(AskWithText(-1, Function::WriteVcd, path));
}
