#include "stage.h"

#include <algorithm>
#include <charconv>

#include <solvane/rig.h>

#include "journal.h"
#include "rig_line.h"

namespace transcript {

namespace {

/// Value of an answer that the library has not written.
constexpr std::int16_t kUntouched = 0x5A5A;

template <typename Number>
bool ReadNumber(const std::string& text, Number& number) {
    const bool isHex = text.starts_with("0x");
    const char* const end = text.data() + text.size();
    const auto result =
        std::from_chars(text.data() + (isHex ? 2 : 0), end, number, isHex ? 16 : 10);
    return result.ec == std::errc() && result.ptr == end && !text.empty();
}

unsigned NumberOf(const Line& act, const std::string& text) {
    unsigned number = 0;
    if (!ReadNumber(text, number)) {
        throw Mistake(act.place, "no number: " + text);
    }
    return number;
}

rig_line LineOf(const Line& act, const std::string& name) {
    for (int line = 0; line < RIG_LINE_COUNT; ++line) {
        if (name == rig_line_name(static_cast<rig_line>(line))) {
            return static_cast<rig_line>(line);
        }
    }
    throw Mistake(act.place, "no line of the camera: " + name);
}

void Require(const Line& act, bool succeeded) {
    if (!succeeded) {
        throw Mistake(act.place, "the rig refuses: " + act.text);
    }
}

} // namespace

bool IsForNativeRuns(const Case& played) {
    return !played.acts.empty() && played.acts.front().text == "natively";
}

void Stage::PlayUntilUnload() {
    Loaded().SetLogger(nullptr, LogToJournal);
    for (; next < played.acts.size(); ++next) {
        if (played.acts[next].text == "unload") {
            return;
        }
        Play(played.acts[next]);
    }
    rig_journal_clear(); // an unload after the last act is not part of the case
}

void Stage::PlayRest() {
    isUnloaded = true;
    if (next < played.acts.size()) {
        hasCalled = true;
        Add(played.acts[next], "unload");
        for (++next; next < played.acts.size(); ++next) {
            Play(played.acts[next]);
        }
    }
    if (!hasCalled) {
        throw Mistake(played.place, "a case that calls nothing");
    }
    for (const std::string& left : LeftBehind()) {
        happened.push_back("left behind: " + left);
    }
}

std::string Stage::Print() const {
    std::string text = "# " + played.title + '\n';
    for (const std::string& line : happened) {
        text += line + '\n';
    }
    return text + '\n';
}

/// Adds an act with its actual result, and what followed from it.
void Stage::Add(const Line& act, const std::string& what) {
    expected.push_back({act.use.Text(), act.text});
    happened.push_back(what);
    const std::vector<std::string> journal = TakeJournal(showsEdges);
    for (ExpectedLine& line : Expected(act.below, journal, showsEdges)) {
        expected.push_back(std::move(line));
    }
    happened.insert(happened.end(), journal.begin(), journal.end());
}

void Stage::Play(const Line& act) {
    Times times;
    if (ReadTimes(act, times)) {
        for (int i = 0; i < times.most; ++i) {
            for (const Line& repeated : act.below) {
                Play(repeated);
            }
        }
        return;
    }
    const std::vector<std::string> words = WordsOf(act.text);
    if (words.front() == "rig") {
        Load(act);
        return;
    }
    if (Arrange(act, words)) {
        Add(act, act.text);
        return;
    }
    if (Ask(act, words)) {
        return;
    }
    const std::string called = words.front();
    const std::size_t bracket = called.find('(');
    Call(act, called.substr(0, bracket), bracket != std::string::npos);
}

/// Calls a function of the library.
void Stage::Call(const Line& act, const std::string& name, bool hasArgument) {
    const std::string argument = hasArgument ? act.text.substr(name.size(), 6) : "";
    const test::LibraryFunctions& library = Loaded();
    std::int16_t answer = kUntouched;
    std::int16_t* const out = hasArgument ? nullptr : &answer;
    std::string what = name + argument;
    bool isKnown = false;
    const auto begin = [&](bool isQuestion) {
        if (isUnloaded || !hasRig) {
            throw Mistake(act.place, isUnloaded ? "the library is unloaded"
                                                : "a case says first which rig it plays on");
        }
        if (hasArgument && (!isQuestion || argument != "(null)")) {
            throw Mistake(act.place, "no such argument: " + act.text);
        }
        isKnown = true;
        hasCalled = true;
    };
#define SOLVANE_COMMAND(function, ...)                                                             \
    if (name == #function) {                                                                       \
        begin(false);                                                                              \
        what += " -> " + std::to_string(library.function());                                       \
    }
#define SOLVANE_QUESTION(function, ...)                                                            \
    if (name == #function) {                                                                       \
        begin(true);                                                                               \
        what += " -> " + std::to_string(library.function(out));                                    \
    }
#define SOLVANE_ORDER(function, ...)                                                               \
    if (name == #function) {                                                                       \
        begin(false);                                                                              \
        library.function();                                                                        \
    }
    SOLVANE_OPERATIONS(SOLVANE_COMMAND, SOLVANE_QUESTION, SOLVANE_ORDER)
#undef SOLVANE_COMMAND
#undef SOLVANE_QUESTION
#undef SOLVANE_ORDER
    if (!isKnown) {
        throw Mistake(act.place, "nothing that can be done: " + act.text);
    }
    if (answer != kUntouched) {
        what += ", " + std::to_string(answer);
    }
    Add(act, what);
}

void Stage::Load(const Line& act) {
    TakeJournal(false);
    const std::string scenario = ScenarioOf(act);
    if (rig_load(scenario.c_str()) != 0) {
        throw Mistake(act.place, rig_error());
    }
    hasRig = true;
    expected.push_back({act.use.Text(), act.text});
    happened.push_back(act.text);
}

/// Handles "fault FT_Write status=4 call=2 times=3"; calls are counted from now.
void Stage::AddFault(const Line& act) {
    const std::vector<std::string> words = WordsOf(act.text);
    const std::string function = words.size() > 1 ? words[1] : "";
    rig_fault fault{function.c_str(), 1, 1, 0, 0, 0};
    for (std::size_t i = 2; i < words.size(); ++i) {
        const std::size_t equals = std::min(words[i].find('='), words[i].size());
        const std::string key = words[i].substr(0, equals);
        const std::string value = words[i].substr(std::min(equals + 1, words[i].size()));
        if (key == "call") {
            fault.call = NumberOf(act, value);
        } else if (key == "times") {
            fault.times = value == "all" ? 0 : std::max(1U, NumberOf(act, value));
        } else if (key == "status") {
            fault.status = NumberOf(act, value);
            fault.kind |= RIG_FAULT_STATUS;
        } else if (key == "count") {
            fault.count = NumberOf(act, value);
            fault.kind |= RIG_FAULT_COUNT;
        } else if (words[i] == "silent") {
            fault.kind |= RIG_FAULT_SILENT;
        } else {
            throw Mistake(act.place, "no part of a fault: " + words[i]);
        }
    }
    Require(act, fault.call != 0);
    fault.call += rig_calls(fault.function);
    Require(act, rig_add_fault(&fault) == 0);
}

/// Handles acts that change the rig, or how the case is played.
bool Stage::Arrange(const Line& act, const std::vector<std::string>& words) {
    const std::string& verb = words.front();
    const auto is = [&](const char* known, std::size_t count) {
        return verb == known && words.size() == count;
    };
    if (act.text == "natively" && &act == &played.acts.front()) {
    } else if (act.text == "show edges") {
        showsEdges = true;
    } else if (verb == "fault") {
        AddFault(act);
    } else if (act.text == "lift faults") {
        rig_clear_faults();
    } else if (is("plug", 2)) {
        Require(act, rig_plug(NumberOf(act, words[1])) == 0);
    } else if (is("unplug", 2)) {
        Require(act, rig_unplug(NumberOf(act, words[1])) == 0);
    } else if (is("force", 3)) {
        const auto level = static_cast<int>(NumberOf(act, words[2]));
        Require(act, level <= 1 && rig_force(LineOf(act, words[1]), level) == 0);
    } else if (is("release", 2)) {
        Require(act, rig_force(LineOf(act, words[1]), -1) == 0);
    } else if (is("wait", 2)) {
        Wait(NumberOf(act, words[1]));
    } else if (act.text == "SetLogger(journal)" && !isUnloaded) {
        Loaded().SetLogger(nullptr, LogToJournal);
    } else if (act.text == "SetLogger(null)" && !isUnloaded) {
        Loaded().SetLogger(nullptr, nullptr);
    } else {
        return false;
    }
    return true;
}

/// Handles acts that ask for the state of the rig: captures, levels.
bool Stage::Ask(const Line& act, const std::vector<std::string>& words) {
    if (words.front() == "captures" && words.size() == 2) {
        NumberOf(act, words[1]);
        Add(act, "captures " + std::to_string(rig_captures()));
    } else if (words.front() == "level" && words.size() == 3) {
        NumberOf(act, words[2]);
        Add(act, "level " + words[1] + ' ' + std::to_string(rig_level(LineOf(act, words[1]))));
    } else {
        return false;
    }
    return true;
}

} // namespace transcript
