/// The text of a recording. docs/field-recordings.md describes it.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

#include "recording.h"

namespace rig::record {

/// Increase it whenever a reader of the last version would not understand the text.
inline constexpr unsigned kVersion = 1;

// Writing, piece by piece, in the order of the file. Each piece is whole lines and is appended to
// `text`. Any thread may write: a call's answer need not follow it.

void AppendHead(std::string& text, const Head& head);

/// A call begins. `handle` is the name of the handle in it, "?" if that is unknown.
void AppendQuestion(std::string& text, Microseconds time, std::uint64_t thread,
                    std::uint64_t number, const Call& call, std::string_view handle);

/// It has returned.
void AppendAnswer(std::string& text, Microseconds time, std::uint64_t thread, std::uint64_t number,
                  const Call& call, std::uint32_t lastError);

void AppendRemark(std::string& text, Microseconds time, std::string_view remark);

/// The last line of a recording that was not interrupted.
void AppendEnd(std::string& text, Microseconds time);

/// All of it, each answer after its question.
std::string TextOf(const Recording& recording);

/// The text is no recording, or it is damaged. The message begins with the line, "line 12: ".
struct RecordingError : std::runtime_error {
    using runtime_error::runtime_error;
};

/// Reads a recording. NUL characters are room that was reserved and never written.
Recording ReadRecording(std::string_view text);

} // namespace rig::record
