#include "check_output.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <sstream>

namespace host {

namespace {

Json TextOrNull(const std::string& text) {
    return text.empty() ? Json() : Json(text);
}

double OneDecimal(double milliseconds) {
    return std::round(milliseconds * 10) / 10;
}

Json Rounded(const Json& times) {
    if (times.is_number_float()) {
        return OneDecimal(times.get<double>());
    }
    Json rounded = times;
    if (times.is_structured()) {
        for (Json& each : rounded) {
            each = Rounded(each);
        }
    }
    return rounded;
}

bool IsWordPart(char letter) {
    return std::isalnum(static_cast<unsigned char>(letter)) != 0;
}

/// Whether a word, or a component of a path, may begin at this position.
bool MayBegin(const std::string& text, std::size_t at, bool isInPaths) {
    return isInPaths ? at > 0 && (text[at - 1] == '\\' || text[at - 1] == '/')
                     : at == 0 || !IsWordPart(text[at - 1]);
}

constexpr const char* kSomeUser = "(user)";
constexpr const char* kSomeMachine = "(machine)";

bool IsSame(char left, char right) {
    return std::tolower(static_cast<unsigned char>(left)) ==
           std::tolower(static_cast<unsigned char>(right));
}

std::string Padded(std::string text, std::size_t width) {
    text.resize(std::max(text.size(), width), ' ');
    return text;
}

constexpr std::size_t kTitleWidth = 15;
constexpr std::size_t kOutcomeWidth = 10;
constexpr std::size_t kTimeWidth = 9;
constexpr std::size_t kIndent = 4 + kTitleWidth + kOutcomeWidth + kTimeWidth + 2;

void AddList(std::string& text, const char* title, const Json& list) {
    if (!list.empty()) {
        text += std::string(title) + ":\n";
    }
    for (const Json& each : list) {
        text += "  - " + each.get<std::string>() + "\n";
    }
}

} // namespace

Json ToJson(const StepResult& step) {
    return {{"command", "check"},
            {"status", step.status},
            {"step", step.key},
            {"title", step.title},
            {"done", step.done},
            {"expected", step.expected},
            {"outcome", Describe(step.outcome)},
            {"seen", step.seen},
            {"advice", TextOrNull(step.advice)},
            {"duration_ms", OneDecimal(step.milliseconds)},
            {"facts", step.facts},
            {"times", Rounded(step.times)}};
}

Json ToJson(const CheckResult& result) {
    const Machine& machine = result.machine;
    const Cause& cause = result.cause;
    return {{"command", "check"},
            {"status", result.status},
            {"verdict", result.Verdict()},
            {"cause", TextOrNull(cause.id)},
            {"says", TextOrNull(cause.says)},
            {"likely", TextOrNull(cause.likely)},
            {"tell_apart", TextOrNull(cause.tellApart)},
            {"not_seen", result.notSeen},
            {"rig", machine.rig ? Json(*machine.rig) : Json()},
            {"system", machine.system},
            {"machine", machine.computer},
            {"user", machine.user},
            {"time", machine.time},
            {"anonymous", false}};
}

Anonymiser::Anonymiser(const Machine& machine, const std::vector<std::string>& log,
                       const std::vector<Json>& baseline) {
    const auto add = [&](const std::string& text, std::string inItsPlace, bool isInPaths) {
        if (!text.empty()) {
            secrets.push_back({text, std::move(inItsPlace), isInPaths});
        }
    };
    add(machine.user, kSomeUser, true);
    add(machine.computer, kSomeMachine, true);
    const auto addSerial = [&](const std::string& serial) {
        if (!serial.empty()) {
            add(serial, "(serial)" + serial.substr(serial.size() - 1), false);
        }
    };
    for (const UsbDevice& device : machine.usb) {
        addSerial(device.serial);
    }
    constexpr std::string_view kSerial = " SerialNumber=";
    for (const std::string& line : log) {
        if (const std::size_t at = line.find(kSerial); at != line.npos) {
            addSerial(line.substr(at + kSerial.size()));
        }
    }
    const auto textOf = [](const Json& object, const char* key) {
        const Json value = object.is_object() ? object.value(key, Json()) : Json();
        return value.is_string() ? value.get<std::string>() : "";
    };
    for (const Json& object : baseline) { // the baseline may come from another machine
        add(textOf(object, "user"), kSomeUser, true);
        add(textOf(object, "machine"), kSomeMachine, true);
        addSerial(textOf(object.value("facts", Json()), "serial"));
    }
}

std::string Anonymiser::operator()(const std::string& text) const {
    std::string result = text;
    for (const Secret& secret : secrets) {
        for (std::size_t at = 0; at + secret.text.size() <= result.size();) {
            const std::size_t end = at + secret.text.size();
            const bool isIt =
                std::equal(secret.text.begin(), secret.text.end(),
                           result.begin() + static_cast<std::ptrdiff_t>(at), IsSame) &&
                MayBegin(result, at, secret.isInPaths) &&
                (end == result.size() || !IsWordPart(result[end]));
            if (isIt) {
                result.replace(at, secret.text.size(), secret.inItsPlace);
                at += secret.inItsPlace.size();
            } else {
                ++at;
            }
        }
    }
    return result;
}

Json Anonymiser::operator()(const Json& object) const {
    if (object.is_string()) {
        return (*this)(object.get<std::string>());
    }
    Json result = object;
    if (object.is_structured()) {
        for (Json& each : result) {
            each = (*this)(each);
        }
    }
    if (object.is_object() && object.contains("anonymous")) {
        result["user"] = kSomeUser;
        result["machine"] = kSomeMachine;
        result["anonymous"] = true;
    }
    return result;
}

std::string Took(const Json& step) {
    const long milliseconds = std::lround(step["duration_ms"].get<double>());
    return milliseconds == 0 ? "" : std::to_string(milliseconds) + " ms";
}

std::string StepText(const Json& step, unsigned number) {
    std::string text = std::to_string(number);
    text = std::string(number < 10 ? " " : "") + text + "  ";
    text += Padded(step["title"], kTitleWidth) + Padded(step["outcome"], kOutcomeWidth);
    const std::string time = Took(step);
    text += std::string(kTimeWidth - std::min(kTimeWidth, time.size()), ' ') + time + "  ";
    std::string indent;
    const auto add = [&](const std::string& line) {
        text += indent + line + "\n";
        indent = std::string(kIndent, ' ');
    };
    for (const Json& seen : step["seen"]) {
        add(seen);
    }
    if (step["outcome"] == "FAIL") {
        add("done: " + step["done"].get<std::string>());
        add("expected: " + step["expected"].get<std::string>());
    }
    if (!step["advice"].is_null()) {
        add(step["advice"]);
    }
    return text;
}

std::string VerdictText(const Json& verdict) {
    std::string text = "\n" + verdict["verdict"].get<std::string>();
    if (!verdict["says"].is_null()) {
        text += ": " + verdict["says"].get<std::string>();
    }
    text += "\n";
    for (const auto& [key, label] :
         {std::pair{"likely", "likely"}, std::pair{"tell_apart", "tell apart"}}) {
        if (!verdict[key].is_null()) {
            text += "  " + Padded(label, 12) + verdict[key].get<std::string>() + "\n";
        }
    }
    AddList(text, "seen by no program, but by a meter", verdict["not_seen"]);
    if (verdict.contains("changed")) {
        AddList(text, "changed since the baseline", verdict["changed"]);
        if (verdict["changed"].empty()) {
            text += "nothing has changed since the baseline\n";
        }
    }
    return text;
}

std::vector<Json> ReadBaseline(std::string_view text) {
    std::vector<Json> objects;
    std::istringstream lines{std::string(text)};
    for (std::string line; std::getline(lines, line);) {
        const Json object = Json::parse(line, nullptr, false);
        if (!object.is_object() || object.value("command", Json()) != "check") {
            throw BaselineError("it is not what solvane check --json prints");
        }
        objects.push_back(object);
    }
    if (objects.empty() || !objects.back().contains("verdict")) {
        throw BaselineError("the check that it is of did not come to its end");
    }
    return objects;
}

namespace {

/// Whether two intervals [from, to] do not overlap.
bool AreApart(const Json& then, const Json& now) {
    const auto isInterval = [](const Json& value) {
        return value.is_array() && value.size() == 2 && value[0].is_number() &&
               value[1].is_number();
    };
    return isInterval(then) && isInterval(now) && (then[1] < now[0] || now[1] < then[0]);
}

std::string Words(const Json& value) {
    return value.is_string() ? value.get<std::string>()
           : value.is_null() ? "nothing"
                             : value.dump();
}

void AddChanges(const std::string& title, const Json& then, const Json& now,
                std::vector<std::string>& changes) {
    const auto tell = [&](const std::string& what, const Json& old, const Json& current) {
        changes.push_back(title + (what.empty() ? "" : ", " + what) + ": was " + Words(old) +
                          ", is " + Words(current));
    };
    const Json outcome = then.value("outcome", Json());
    if (outcome != now["outcome"]) {
        tell("", outcome, now["outcome"]);
    }
    const Json before = then.value("facts", Json::object()).flatten();
    const Json after = now["facts"].flatten();
    for (const auto& [name, value] : after.items()) {
        const Json old = before.value(name, Json());
        if (old != value) {
            tell(name.substr(std::min<std::size_t>(1, name.size())), old, value);
        }
    }
    for (const auto& [name, old] : before.items()) {
        if (!after.contains(name)) {
            tell(name.substr(std::min<std::size_t>(1, name.size())), old, Json());
        }
    }
    const Json times = then.value("times", Json::object());
    for (const auto& [name, value] : now["times"].items()) {
        if (times.contains(name) && AreApart(times[name], value)) {
            tell(name, times[name], value);
        }
    }
}

} // namespace

std::vector<std::string> Changes(const std::vector<Json>& baseline,
                                 const std::vector<Json>& steps) {
    std::vector<std::string> changes;
    for (const Json& step : steps) {
        const auto old = std::ranges::find_if(
            baseline, [&](const Json& each) { return each.value("step", Json()) == step["step"]; });
        if (old != baseline.end()) {
            AddChanges(step["title"], *old, step, changes);
        }
    }
    return changes;
}

} // namespace host
