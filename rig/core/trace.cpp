#include "trace.h"

#include "rig_clock.h"

namespace rig {

void Trace::Restart(const Levels& levels) {
    journal.Clear();
    journal.MarkStart();
    if (waveform) {
        for (std::size_t i = 0; i < levels.size(); ++i) {
            waveform->Set(static_cast<rig_line>(i), levels[i], timeline.AbsoluteNow());
        }
    }
}

void Trace::Event(std::string text) {
    if (waveform) {
        waveform->Mark(text, timeline.AbsoluteNow());
    }
    Add(RIG_EVENT, std::move(text));
}

void Trace::Edge(rig_line line, bool level) {
    Add(RIG_EDGE, std::string(LineName(line)) + (level ? " 1" : " 0"));
    if (waveform) {
        waveform->Set(line, level, timeline.AbsoluteNow());
    }
}

bool Trace::StartWaveform(const std::filesystem::path& path, const Levels& levels) {
    EndWaveform();
    waveformFile.clear();
    waveformFile.open(path, std::ios::binary);
    if (waveformFile.is_open()) {
        waveform.emplace(waveformFile, levels, timeline.AbsoluteNow());
    }
    return waveform.has_value();
}

void Trace::EndWaveform() {
    if (waveform) {
        waveform->MoveTo(clock::Now());
        waveform.reset();
    }
    waveformFile.close();
}

void Trace::Add(rig_entry_kind kind, std::string text, HostNumber host) {
    journal.Add({timeline.Now(), kind, std::move(text), host});
}

} // namespace rig
