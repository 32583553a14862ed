/// The recording of the process that has loaded this DLL.
#pragma once

#include <filesystem>
#include <mutex>
#include <set>
#include <string>

#include "recorder.h"
#include "recording_setup.h"

namespace rig::record {

/// Lasts until the process has ended: nothing that is in use can be unloaded.
class ThisRecording {
  public:
    /// Begins the recording with the first call. Changes the thread's last error, as all of this
    /// does.
    static ThisRecording& Instance();

    /// Null if it has not begun.
    static ThisRecording* Begun();

    ThisRecording(const ThisRecording&) = delete;
    ThisRecording& operator=(const ThisRecording&) = delete;

    const RecordingSetup& Setup() const { return setup; }

    /// Where this DLL is, and those that forward to it.
    const std::filesystem::path& Folder() const { return folder; }

    /// Null if there can be no recording: calls pass all the same.
    Recorder* recorder = nullptr;

    /// Tells the user and the recording what is wrong, once.
    void Complain(const std::string& what);

  private:
    ThisRecording();

    const std::filesystem::path folder;
    RecordingSetup setup;

    std::mutex access;
    std::set<std::string> complaints;
};

} // namespace rig::record
