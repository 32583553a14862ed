/// Writes the recorded session as a scenario.
#include "command_table.h"
#include "utf8.h"

namespace rig {

namespace {

/// Nobody would read a longer scenario.
constexpr std::size_t kMaxScenarioSize = 1'048'576;

/// The code point of a UTF-8 character.
char32_t Decoded(std::string_view character) {
    const auto first = static_cast<unsigned char>(character[0]);
    if (character.size() == 1) {
        return first;
    }
    char32_t number = first & (0xFFU >> (character.size() + 1));
    for (const char c : character.substr(1)) {
        number = number << 6 | (static_cast<unsigned char>(c) & 0x3FU);
    }
    return number;
}

std::string Escaped(char32_t character) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string escaped = "\\U";
    for (int shift = 28; shift >= 0; shift -= 4) {
        escaped += kDigits[character >> shift & 0xF];
    }
    return escaped;
}

/// A text escaped for a TOML string. Scenarios are ASCII, so all other characters are escaped.
std::string Inside(std::string_view text, bool escapesLineBreaks) {
    const std::string valid = ValidUtf8(text);
    std::string inside;
    for (std::size_t begin = 0, end = 0; begin < valid.size(); begin = end) {
        end = begin + 1;
        while (end < valid.size() && (static_cast<unsigned char>(valid[end]) & 0xC0U) == 0x80U) {
            ++end;
        }
        const char32_t c = Decoded(std::string_view(valid).substr(begin, end - begin));
        if (c == '"' || c == '\\') {
            inside += {'\\', valid[begin]};
        } else if ((c >= ' ' && c <= '~') || (c == '\n' && !escapesLineBreaks)) {
            inside += valid[begin];
        } else {
            inside += Escaped(c);
        }
    }
    return inside;
}

/// "[12000, 500, [300, 1000000, 1000000],": each number is the time since the one before it.
std::string CallTimesText(const std::vector<Session::CallTimes>& calls) {
    constexpr std::size_t kCallsInALine = 10;
    std::string text;
    std::uint64_t last = 0;
    std::size_t index = 0;
    for (const Session::CallTimes& times : calls) {
        text += index++ % kCallsInALine == 0 ? "\n    " : " ";
        std::string list;
        for (const std::uint64_t time : times) {
            list += (list.empty() ? "" : ", ") + std::to_string(time - last);
            last = time;
        }
        text += (times.size() == 1 ? list : "[" + list + "]") + ",";
    }
    return "[" + text + (text.empty() ? "]" : "\n]");
}

std::string EventText(const Session::Event& event, const std::vector<Session::CallTimes>& calls) {
    Moment moment = event.moment;
    if (moment.step == calls[moment.call].size()) { // that step never came
        moment = {moment.call + 1, 0};
    }
    std::string text = "\n[[session.event]]\ncall = " + std::to_string(moment.call) + "\n";
    if (moment.step != 0) {
        text += "step = " + std::to_string(moment.step) + "\n";
    }
    text += "at_ns = " + std::to_string(event.at) + "\n";
    text += "action = \"" + Inside(event.action.text, true) + "\"\n";
    if (event.action.scenario) {
        text += "text = \"\"\"\n" + Inside(*event.action.scenario, false) + "\"\"\"\n";
    }
    return text;
}

} // namespace

Report Keep(Arguments arguments, const IsUnwanted&) {
    arguments.Word(); // the file's name; the caller writes the file
    arguments.RefuseOthers();
    const Access rig;
    const Session& session = rig->Recorder().Recorded();
    std::string text = rig->Text();
    if (!text.empty() && text.back() != '\n') {
        text += '\n';
    }
    text += "[session] # when the rig began and each call came, in ns since the one before\n"
            "calls_ns = " +
            CallTimesText(session.calls) + "\n";
    for (const Session::Event& event : session.events) {
        text += EventText(event, session.calls);
    }
    if (!rig->Recorder().IsWhole() || text.size() > kMaxScenarioSize) {
        const std::string why = "the session has become too long to be kept";
        return {.exitCode = 1, .text = why, .json = Json().Add("error", why)};
    }
    return {.text = text, .json = Json().Add("scenario", text)};
}

} // namespace rig
