#include "rig_line.h"

#include <map>

namespace transcript {

namespace {

const std::map<std::string, std::string> kHardware{
    {"nothing", ""},
    {"usb", "[[usb]]\nchip = \"FT2232H\"\n"},
    {"ft232r", "[[usb]]\nchip = \"FT232R\"\n"},
    {"ft2232d", "[[usb]]\nchip = \"FT2232D\"\n"},
    {"ft4232h", "[[usb]]\nchip = \"FT4232H\"\n"},
    {"ft232h", "[[usb]]\nchip = \"FT232H\"\n"},
    {"eapi", "[eapi]\n"},
    {"superio", "[superio]\n"},
    {"lpt", "[lpt]\n"},
};

std::string Trimmed(const std::string& text) {
    const std::size_t begin = text.find_first_not_of(' ');
    return begin == std::string::npos ? ""
                                      : text.substr(begin, text.find_last_not_of(' ') - begin + 1);
}

/// Splits at commas, except inside quotes.
std::vector<std::string> PartsOf(const std::string& text) {
    std::vector<std::string> parts(1);
    bool isInText = false;
    for (const char character : text) {
        isInText ^= character == '"';
        if (character == ',' && !isInText) {
            parts.emplace_back();
        } else {
            parts.back() += character;
        }
    }
    return parts;
}

std::string Written(const std::vector<Line>& lines) {
    std::string text;
    for (const Line& line : lines) {
        text += line.text + '\n' + Written(line.below);
    }
    return text;
}

} // namespace

std::string ScenarioOf(const Line& act) {
    if (act.text == "rig" && !act.below.empty()) {
        return Written(act.below);
    }
    if (!act.below.empty()) {
        throw Mistake(act.below.front().place, "a scenario stands below \"rig\" alone");
    }
    std::string scenario;
    std::map<std::string, std::string> tables; // other tables by name: camera, pulls, ...
    bool hasHardware = false;
    for (const std::string& part : PartsOf(act.text.substr(3))) {
        const std::size_t equals = part.find('=');
        const std::string key = Trimmed(part.substr(0, equals));
        if (equals == std::string::npos) {
            const auto found = kHardware.find(key);
            if (found == kHardware.end()) {
                throw Mistake(act.place, "no hardware: \"" + key + '"');
            }
            hasHardware = true;
            scenario += found->second;
            continue;
        }
        if (!hasHardware) {
            throw Mistake(act.place, "the hardware comes first");
        }
        const std::size_t dot = key.find('.');
        std::string& table =
            dot == std::string::npos ? scenario : tables["[" + key.substr(0, dot) + "]\n"];
        table += (dot == std::string::npos ? key : key.substr(dot + 1)) + part.substr(equals);
        table += '\n';
    }
    for (const auto& [name, keys] : tables) {
        scenario += name + keys;
    }
    return scenario;
}

} // namespace transcript
