/// The rig's C interface.
#include <solvane/rig.h>

#include <string>

#include "environment.h"
#include "rig_state.h"

using rig::Access;

namespace {

/// No exception leaves the interface: memory that ran out is a failure like any other.
template <class Work, class Result>
Result Guarded(Result failure, Work work) {
    try {
        return work();
    } catch (...) {
        return failure;
    }
}

/// Who forces lines.
constexpr const void* kProgram = nullptr;

bool IsLine(rig_line line) {
    return line >= RIG_TRIGGER && line < RIG_LINE_COUNT;
}

int Plug(unsigned chip, bool plugged) {
    return Guarded(-1, [&] { return Access()->SetPlugged(chip, plugged) ? 0 : -1; });
}

/// A text that stays valid until the next call with the same question.
template <class Question>
const char* Told(Question question) {
    thread_local std::string text;
    return Guarded("", [&] {
        text = question(Access());
        return text.c_str();
    });
}

} // namespace

int rig_load(const char* toml) {
    return Guarded(-1, [&] {
        Access access;
        if (toml == nullptr) {
            access->LoadDefault();
            return 0;
        }
        return access->LoadText(toml) ? 0 : -1;
    });
}

int rig_load_file(const char* path) {
    return Guarded(-1, [&] {
        return Access()->LoadFile(rig::PathFromUtf8(path != nullptr ? path : "")) ? 0 : -1;
    });
}

const char* rig_error(void) {
    return Told([](const Access& rig) { return rig->Error(); });
}

const char* rig_scenario(void) {
    return Told([](const Access& rig) { return rig->ScenarioName(); });
}

const char* rig_line_name(rig_line line) {
    return IsLine(line) ? rig::LineName(line) : "";
}

int rig_level(rig_line line) {
    return Guarded(0, [&] { return IsLine(line) && Access()->installation->Level(line) ? 1 : 0; });
}

int rig_force(rig_line line, int level) {
    if (line != RIG_READY && line != RIG_MEP) {
        return -1;
    }
    return Guarded(-1, [&] {
        Access access;
        if (level < 0) {
            access->installation->Release(line, kProgram);
        } else {
            access->installation->Drive(line, level != 0, kProgram);
        }
        return 0;
    });
}

uint32_t rig_captures(void) {
    return Guarded(uint32_t{0}, [] { return Access()->installation->Captures(); });
}

int rig_unplug(unsigned chip) {
    return Plug(chip, false);
}

int rig_plug(unsigned chip) {
    return Plug(chip, true);
}

int rig_add_fault(const rig_fault* fault) {
    if (fault == nullptr || fault->function == nullptr) {
        return -1;
    }
    return Guarded(-1, [&] {
        const bool isAdded = Access()->faults.Add(
            {fault->function, fault->call, fault->times, fault->kind, fault->status, fault->count});
        return isAdded ? 0 : -1;
    });
}

void rig_clear_faults(void) {
    Guarded(0, [] {
        Access()->faults.Clear();
        return 0;
    });
}

uint32_t rig_calls(const char* function) {
    return Guarded(uint32_t{0}, [&] {
        return Access()->faults.Calls(function != nullptr ? function : rig::kAnyFunction);
    });
}

size_t rig_journal_size(void) {
    return Guarded(size_t{0}, [] { return Access()->trace.journal.Size(); });
}

int rig_journal_entry(size_t index, rig_entry* entry) {
    thread_local std::string text;
    return Guarded(-1, [&] {
        Access access;
        if (entry == nullptr || index >= access->trace.journal.Size()) {
            return -1;
        }
        const rig::Journal::Entry& found = access->trace.journal[index];
        text = found.text;
        *entry = {found.time, found.kind, text.c_str()};
        return 0;
    });
}

void rig_journal_clear(void) {
    Guarded(0, [] {
        Access()->trace.journal.Clear();
        return 0;
    });
}

void rig_note(const char* text) {
    Guarded(0, [&] {
        Access()->trace.Note(text != nullptr ? text : "");
        return 0;
    });
}

uint64_t rig_time(void) {
    return Guarded(uint64_t{0}, [] { return Access()->timeline.Now(); });
}

int rig_write_vcd(const char* path) {
    return Guarded(-1, [&] {
        Access access;
        if (path == nullptr) {
            access->trace.EndWaveform();
            return 0;
        }
        const bool isOpen =
            access->trace.StartWaveform(rig::PathFromUtf8(path), access->installation->AllLevels());
        return isOpen ? 0 : -1;
    });
}
