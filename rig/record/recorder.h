/// Writes the calls of a process down as they happen.
#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>

#include "anonymity.h"
#include "handle_names.h"
#include "recording.h"
#include "recording_file.h"

namespace rig::record {

/// For several threads at once. A call that is begun and does not end, because it hangs or ends the
/// process, is in the file as begun, and all before it are complete.
class Recorder {
  public:
    /// What the recorder wants to know of its process.
    struct Process {
        Microseconds (*now)();
        std::uint64_t (*thread)(); ///< the calling thread's number
    };

    /// `head` is the file's beginning. The file must live as long as the recorder.
    Recorder(RecordingFile& recordingFile, Head recordingHead, Process thisProcess);

    // Both are to be called from the thread that makes the call. If the recording is to be
    // anonymous, serial numbers in `call` are replaced.

    /// A call is about to go out. Returns its number, for End().
    std::uint64_t Begin(Call& call);

    /// It has returned.
    void End(std::uint64_t number, Call& call, std::uint32_t lastError);

    void Remark(std::string_view remark);

    /// The process ends, and no thread but this one runs any more. Later calls are still recorded.
    void Finish();

  private:
    const std::string& HandleIn(const Call& call) const;
    void Write();

    RecordingFile& file;
    const bool isAnonymous;
    const Process process;

    std::mutex access; ///< guards what is below
    std::string text;  ///< to be added to the file; keeps its memory
    std::uint64_t calls = 0;
    HandleNames names;
    SerialNumbers serials;
    bool isFinished = false;
};

} // namespace rig::record
