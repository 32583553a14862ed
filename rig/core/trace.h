/// The records of what happened: the journal and the waveform.
#pragma once

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

#include "journal.h"
#include "timeline.h"
#include "waveform.h"

namespace rig {

class Trace {
  public:
    explicit Trace(const Timeline& time) : timeline(time) {}

    /// Empties the journal for a new scenario. A waveform that is being written continues.
    void Restart(const Levels& levels);

    void Call(std::string text, HostNumber host) { Add(RIG_CALL, std::move(text), host); }
    /// Some events leave a mark in the waveform as well.
    void Event(std::string text);
    void Note(std::string text) { Add(RIG_NOTE, std::move(text)); }
    void Edge(rig_line line, bool level);

    /// False when the file cannot be opened; no waveform is written then.
    bool StartWaveform(const std::filesystem::path& path, const Levels& levels);
    void EndWaveform();

    Journal journal;

  private:
    void Add(rig_entry_kind kind, std::string text, HostNumber host = kThisProcess);

    const Timeline& timeline;
    std::ofstream waveformFile;
    std::optional<Waveform> waveform;
};

} // namespace rig
