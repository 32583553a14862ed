#include "recording_result.h"

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

#include "file_content.h"
#include "mapped_file.h"
#include "recording_file.h"
#include "recording_text.h"
#include "this_program.h"

namespace rig {

namespace {

std::string Counted(std::size_t calls) {
    return std::to_string(calls) + (calls == 1 ? " call" : " calls");
}

/// How the recording ended, if not with the host.
std::string EndOf(const record::Recording& recording) {
    if (recording.isEnded) {
        return "";
    }
    const auto& calls = recording.calls;
    const auto open =
        std::find_if(calls.rbegin(), calls.rend(), [](const auto& call) { return !call.returned; });
    if (!recording.remarks.empty() &&
        recording.remarks.back().text.ends_with(record::kRecordingEnds)) {
        return "; " + recording.remarks.back().text;
    }
    return open == calls.rend() ? "; the host was ended"
                                : "; the host was ended in call " + std::to_string(open->number) +
                                      ", " + QuestionOf(*open);
}

} // namespace

std::size_t PrintRecordings(const std::filesystem::path& first, std::ostream& out) {
    std::size_t calls = 0;
    for (unsigned number = 1;; ++number) {
        const std::filesystem::path file = record::Numbered(first, number);
        const std::optional<std::string> text = host::ContentOf(file);
        if (!text) {
            return calls;
        }
        const std::size_t end = text->find_last_not_of('\0') + 1; // npos + 1 is 0
        std::error_code inUse;
        if (end != text->size()) {
            std::filesystem::resize_file(file, end, inUse);
        }
        try {
            const record::Recording recording =
                record::ReadRecording(std::string_view(*text).substr(0, end));
            calls += recording.calls.size();
            out << Utf8(file) << ": " << Counted(recording.calls.size()) << EndOf(recording)
                << ".\n";
        } catch (const record::RecordingError& damage) {
            out << Utf8(file) << ": " << damage.what() << ".\n";
        }
    }
}

} // namespace rig
