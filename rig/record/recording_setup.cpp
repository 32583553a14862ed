#include "recording_setup.h"

#include <stdexcept>

#include "recording_lines.h"
#include "recording_text.h"
#include "recording_values.h"

namespace rig::record {

namespace {

constexpr std::string_view kComment =
    "# Programs that start here are recorded: their calls to the vendors' DLLs pass through\n"
    "# solvane_record.dll. `solvane-rig unplace` with this folder ends that.\n";
constexpr std::string_view kFile = "recording: ";
constexpr std::string_view kReal = "real: ";
constexpr std::string_view kPassed = "pass: ";

} // namespace

std::string TextOf(const RecordingSetup& setup) {
    std::string text(kComment);
    text.append(kFile).append(setup.file).append(1, '\n');
    for (const RealDll& dll : setup.dlls) {
        text.append(kReal).append(dll.name).append(1, ' ').append(dll.path).append(1, '\n');
    }
    for (const PassedExport& passed : setup.passed) {
        text.append(kPassed).append(passed.dll).append(1, ' ');
        text.append(std::to_string(passed.ordinal)).append(1, ' ').append(passed.name) += '\n';
    }
    AppendHead(text, setup.head);
    return text;
}

RecordingSetup ReadSetup(std::string_view text) {
    RecordingSetup setup;
    while (!text.empty() && !text.starts_with(kTitle)) {
        std::string line(text.substr(0, text.find('\n')));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        if (line.ends_with('\r')) { // an editor may have added it
            line.pop_back();
        }
        if (line.starts_with(kFile)) {
            setup.file = line.substr(kFile.size());
        } else if (line.starts_with(kReal)) {
            const auto [name, path] = WordAndRest(line.substr(kReal.size()));
            setup.dlls.push_back({name, path});
        } else if (line.starts_with(kPassed)) {
            const auto [dll, rest] = WordAndRest(line.substr(kPassed.size()));
            const auto [ordinal, name] = WordAndRest(rest);
            setup.passed.push_back(
                {dll, static_cast<unsigned>(NumberFrom(ordinal, 0xFFFF'FFFF)), name});
        } else if (!line.starts_with('#')) {
            throw std::runtime_error("it has a line that is not understood: " + line);
        }
    }
    if (setup.file.empty()) {
        throw std::runtime_error("it does not say where to record");
    }
    setup.head = ReadRecording(text).head;
    return setup;
}

} // namespace rig::record
