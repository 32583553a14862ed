#include "recording_file.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace rig::record {

std::filesystem::path Numbered(const std::filesystem::path& wanted, unsigned number) {
    if (number == 1) {
        return wanted;
    }
    std::filesystem::path name = wanted.stem();
    name += "-" + std::to_string(number);
    name += wanted.extension();
    return wanted.parent_path() / name;
}

RecordingFile::RecordingFile(const std::filesystem::path& wanted) : file(wanted) {
    if (const std::string reason = Prepare(); !reason.empty()) {
        throw std::runtime_error(reason);
    }
}

RecordingFile::~RecordingFile() {
    if (!isFinished) {
        UnmapAll();
        file.Cut(length);
    }
}

/// Maps another piece unless one is ready. Returns the reason if that fails.
std::string RecordingFile::Prepare() {
    const std::lock_guard lock(preparing);
    if (prepared == nullptr) {
        prepared = file.MapNext();
    }
    return prepared != nullptr ? "" : file.Reason();
}

/// Has the next piece mapped while the last one is still being filled, so that no call of a host
/// waits for the disk.
void RecordingFile::PrepareSoon() {
    constexpr std::size_t kEarly = MappedFile::kPiece / 2;
    if (!isAsked && pieces.size() == 1 && used > kEarly) {
        isAsked = true;
        DoSoon([](void* self) { static_cast<RecordingFile*>(self)->Prepare(); }, this);
    }
}

/// Sees to it that there is room for so many characters.
bool RecordingFile::MakeRoom(std::size_t size) {
    while (pieces.size() * MappedFile::kPiece - used < size) {
        Prepare();
        const std::lock_guard lock(preparing);
        if (prepared == nullptr) {
            return false;
        }
        pieces.push_back(std::exchange(prepared, nullptr));
        isAsked = false;
    }
    return true;
}

void RecordingFile::Append(std::string_view lines, const LastWords& lastWords) {
    if (isOver || lines.empty()) {
        return;
    }
    if (isFinished) {
        file.Cut(length);
        file.Append(lines);
        length += lines.size();
    } else if (MakeRoom(lines.size() + kLastWords)) {
        Copy(lines);
        PrepareSoon();
    } else {
        isOver = true;
        Copy(lastWords(file.Reason()).substr(0, kLastWords)); // for which there is always room
    }
}

void RecordingFile::Copy(std::string_view lines) {
    constexpr std::size_t kPiece = MappedFile::kPiece;
    for (std::size_t done = 1; done < lines.size();) {
        const std::size_t place = used + done;
        const std::size_t size = std::min(lines.size() - done, kPiece - place % kPiece);
        std::memcpy(pieces[place / kPiece] + place % kPiece, lines.data() + done, size);
        done += size;
    }
    std::atomic_ref(*(pieces.front() + used)).store(lines.front(), std::memory_order_release);
    length += lines.size();
    for (used += lines.size(); used >= kPiece; used -= kPiece) {
        MappedFile::Unmap(pieces.front());
        pieces.erase(pieces.begin());
    }
}

void RecordingFile::Finish(std::string_view lastLine) {
    if (!std::exchange(isFinished, true)) {
        UnmapAll();
    }
    file.Cut(length);
    if (!isOver) {
        file.Append(lastLine);
    }
}

void RecordingFile::UnmapAll() {
    // A thread that was ended while it mapped a piece leaves this locked.
    const std::unique_lock lock(preparing, std::try_to_lock);
    for (char* const piece : pieces) {
        MappedFile::Unmap(piece);
    }
    if (lock && prepared != nullptr) {
        MappedFile::Unmap(prepared);
    }
}

} // namespace rig::record
