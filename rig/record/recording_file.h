/// The file of a recording, line by line.
#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "mapped_file.h"

namespace rig::record {

/// The end of the last line of a recording for which there was no more room.
inline constexpr std::string_view kRecordingEnds = "the recording ends here";

/// Whole lines reach the file without a system call, and none is ever seen in part: a line's first
/// character is written last. Not for several threads at once.
class RecordingFile {
  public:
    /// Throws std::runtime_error with the reason if there can be no recording.
    explicit RecordingFile(const std::filesystem::path& wanted);
    ~RecordingFile();
    RecordingFile(const RecordingFile&) = delete;
    RecordingFile& operator=(const RecordingFile&) = delete;

    /// Adds whole lines. If there is no room for them, adds what `lastWords` says of the reason
    /// instead, at most `kLastWords` characters of it, and nothing from then on.
    using LastWords = std::function<std::string(const std::string& reason)>;
    void Append(std::string_view lines, const LastWords& lastWords);
    static constexpr std::size_t kLastWords = 400;

    /// Cuts off the room that is not used, and adds a last line, which makes way for lines that are
    /// added later. Those cost system calls. Other threads must have ended, whatever they were
    /// doing then.
    void Finish(std::string_view lastLine);

    const std::filesystem::path& Path() const { return file.Path(); }

  private:
    bool MakeRoom(std::size_t size);
    std::string Prepare();
    void PrepareSoon();
    void Copy(std::string_view lines);
    void UnmapAll();

    MappedFile file;
    std::vector<char*> pieces; ///< where writing goes on, and behind it those that are empty
    std::size_t used = 0;      ///< of the first piece
    std::uint64_t length = 0;
    bool isOver = false; ///< the disk is full
    bool isFinished = false;

    std::mutex preparing; ///< guards `file` and what is below
    char* prepared = nullptr;
    bool isAsked = false;
};

} // namespace rig::record
