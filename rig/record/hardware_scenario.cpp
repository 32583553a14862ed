#include "hardware_scenario.h"

#include <algorithm>
#include <cstdio>
#include <limits>

#include "call_parts.h"
#include "scenario.h"
#include "waveform.h"

namespace rig::record {

namespace {

constexpr Microseconds kMicrosecondsPerMillisecond = 1000;

/// A text as a TOML string. Scenarios are ASCII.
std::string Quoted(std::string_view text) {
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            quoted += '\\';
        }
        quoted += c >= ' ' && c <= '~' ? c : '?';
    }
    return quoted + '"';
}

std::string Hexadecimal(std::uint32_t number) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%X", number);
    return text;
}

std::string Row(std::string_view key, std::string_view value) {
    return std::string(key) + " = " + std::string(value) + '\n';
}

std::string Table(std::string_view name, const std::string& rows) {
    return rows.empty() ? "" : '[' + std::string(name) + "]\n" + rows + '\n';
}

/// The first time that anything is known of a line.
const LineChange* First(const RecordedLines& lines, rig_line line) {
    const auto found = std::ranges::find_if(lines.changes, [&](const LineChange& change) {
        return change.line == line && change.level.has_value();
    });
    return found != lines.changes.end() ? &*found : nullptr;
}

/// How long exposures took, if the host's looks show that it was not the default.
std::string Exposure(const RecordedLines& lines) {
    Microseconds longerThan = 0;
    Microseconds atMost = std::numeric_limits<Microseconds>::max();
    for (const LineEvent& event : lines.events) {
        Microseconds last = 0;
        for (const InputSample& sample : lines.samples) {
            if (event.text != "capture" || sample.line != RIG_READY || sample.call <= event.call) {
                continue;
            }
            if (sample.level) {
                atMost = std::min(atMost, last != 0 ? sample.time - event.time : atMost);
                break;
            }
            last = sample.time;
            longerThan = std::max(longerThan, last - event.time);
        }
    }
    const Microseconds usual =
        CameraBehaviour{}.exposure / kNanosecondsPerMillisecond * kMicrosecondsPerMillisecond;
    const Microseconds milliseconds = atMost / kMicrosecondsPerMillisecond;
    const bool isUsual = usual > longerThan && usual <= atMost;
    return isUsual || atMost <= longerThan || milliseconds > 86'400'000
               ? ""
               : Row("exposure_ms", std::to_string(milliseconds));
}

std::string Camera(const RecordedLines& lines) {
    std::string rows;
    const LineChange* const ready = First(lines, RIG_READY);
    const LineChange* const mep = First(lines, RIG_MEP);
    if (ready != nullptr && !*ready->level) {
        rows += Row("ready", "false");
    }
    if (mep != nullptr && *mep->level) {
        rows += Row("mep_latched", "true");
    }
    return Table("camera", rows + Exposure(lines));
}

/// The levels that lines were read to have before anybody drove them.
std::string Pulls(const RecordedLines& lines) {
    std::string rows;
    const Levels usual = CameraSetup{}.pulls;
    for (std::size_t i = 0; i < usual.size(); ++i) {
        const auto line = static_cast<rig_line>(i);
        const LineChange* const first = First(lines, line);
        if (line != RIG_READY && line != RIG_MEP && first != nullptr && first->isRead &&
            *first->level != usual[i]) {
            rows += Row(LineName(line), *first->level ? "1" : "0");
        }
    }
    return Table("pulls", rows);
}

/// The name of a chip in scenarios; empty if there is none of its type.
const char* NameOfType(std::uint32_t type) {
    switch (type) {
    case 0: // never listed
    case FT_DEVICE_2232H:
        return "FT2232H";
    case 4:
        return "FT2232D";
    case 5:
        return "FT232R";
    case 7:
        return "FT4232H";
    case 8:
        return "FT232H";
    default:
        return "";
    }
}

std::string Usb(const RecordedChip& chip) {
    const std::string type = NameOfType(chip.type);
    std::string rows = type.empty() ? "# a chip of type " + std::to_string(chip.type) + '\n' : "";
    rows += Row("chip", Quoted(type.empty() ? "FT232R" : type));
    if (!chip.serial.empty()) {
        rows += Row("serial", Quoted(chip.serial));
    }
    if (type == "FT2232H" && chip.letters.size() == 2 && chip.letters != UsbChipSetup{}.letters) {
        rows += Row("letters", Quoted(chip.letters));
    }
    if (!chip.description.empty()) {
        rows += Row("description", Quoted(chip.description));
    }
    return "[[usb]]\n" + rows + (chip.isOpenElsewhere ? Row("open_elsewhere", "true") : "") + '\n';
}

std::string SuperIo(const RecordedSuperIo& found) {
    const SuperIoSetup usual;
    const unsigned id = unsigned{found.firstId.value_or(usual.id >> 8)} << 8 |
                        found.secondId.value_or(usual.id & 0xFF);
    const std::uint8_t banks = found.activeBanks.value_or(usual.activeBanks);
    return "[superio]\n" + Row("id", Hexadecimal(id)) +
           (banks != usual.activeBanks ? Row("active_banks", Hexadecimal(banks)) : "") + '\n';
}

/// What WMI answers for a property, as a text and its type.
std::string Property(std::string_view key, std::string_view typeKey, const Value& value) {
    const bool isNumber = std::holds_alternative<std::uint64_t>(value);
    const std::string text = isNumber ? std::to_string(Number(value)) : std::string(BytesOf(value));
    return Row(key, Quoted(text)) + (isNumber         ? Row(typeKey, "\"number\"")
                                     : IsThere(value) ? ""
                                                      : Row(typeKey, "\"null\""));
}

std::string Ports(const std::vector<ReportedPort>& ports) {
    std::string text;
    for (const ReportedPort& port : ports) {
        text += "[[parallel_port]]\n" + Property("device_id", "device_id_type", port.deviceId);
        for (const Value& start : port.startingAddresses) {
            text += "[[parallel_port.range]]\n" + Property("start", "type", start);
        }
        text += '\n';
    }
    return text;
}

} // namespace

std::string HardwareScenario(const Recording& recording, const RecordedHardware& hardware,
                             const RecordedLines& lines) {
    std::string text;
    // Keys without a table come first.
    if (recording.head.ports.empty() && !recording.head.system.empty()) {
        text += "parallel_port = []\n\n";
    }
    text += Camera(lines) + Pulls(lines);
    for (const RecordedChip& chip : hardware.chips) {
        text += Usb(chip);
    }
    if (hardware.gpios) {
        text += Table("eapi", Row("gpios", std::to_string(*hardware.gpios)));
    }
    if (hardware.superIo) {
        text += SuperIo(*hardware.superIo);
    }
    if (hardware.parallelPort) {
        text += Table("lpt", Row("base", Hexadecimal(*hardware.parallelPort)));
    }
    const bool isUsual = hardware.superIo || hardware.parallelPort;
    if (hardware.isDriverOpen != isUsual) {
        text += Table("inpout", Row("driver_open", hardware.isDriverOpen ? "true" : "false"));
    }
    return text + Ports(recording.head.ports);
}

} // namespace rig::record
