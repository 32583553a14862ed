#include <algorithm>
#include <charconv>
#include <map>
#include <string>
#include <utility>

#include "call_parts.h"
#include "recording_lines.h"
#include "recording_text.h"
#include "recording_values.h"

namespace rig::record {

namespace {

/// A reason to refuse the text; the line is added later.
[[noreturn]] void Refuse(const std::string& reason) {
    throw std::runtime_error(reason);
}

/// Splits at the first `separator`; the second part is empty if there is none.
std::pair<std::string_view, std::string_view> SplitAt(std::string_view text,
                                                      std::string_view separator) {
    const std::size_t end = text.find(separator);
    return {text.substr(0, end),
            end == text.npos ? std::string_view() : text.substr(end + separator.size())};
}

/// "12.345"
Microseconds TimeFrom(std::string_view word) {
    constexpr std::uint64_t kMost = 1'000'000'000'000; // ms, 31 years: sums cannot overflow
    const auto [milliseconds, fraction] = SplitAt(word, ".");
    if (fraction.size() != 3) {
        Refuse("'" + std::string(word) + "' is no time in ms with three decimals");
    }
    return 1000 * NumberFrom(milliseconds, kMost) + NumberFrom(fraction);
}

const VendorFunction& FunctionNamed(std::string_view name) {
    static const std::map<std::string_view, const VendorFunction*> kFunctions = [] {
        std::map<std::string_view, const VendorFunction*> functions;
        for (const VendorFunction& function : VendorFunctions()) {
            functions.emplace(function.name, &function);
        }
        return functions;
    }();
    const auto found = kFunctions.find(name);
    if (found == kFunctions.end()) {
        Refuse("'" + std::string(name) + "' is no vendor function that is recorded");
    }
    return *found->second;
}

/// Whether a host can pass the value for the parameter.
bool CanGoIn(const Parameter& parameter, const Value& value) {
    const bool isNumber = std::holds_alternative<std::uint64_t>(value);
    const bool isText = std::holds_alternative<std::string>(value);
    switch (parameter.passing) {
    case Passing::Number:
    case Passing::Either:
        return isNumber;
    case Passing::Bytes:
    case Passing::Text:
        return isText || !IsThere(value);
    case Passing::TextOrNumber:
        return isText || isNumber || !IsThere(value);
    case Passing::Own:
        return isText;
    default:
        return isNumber || !IsThere(value);
    }
}

bool CanComeOut(const Parameter& parameter, const Value& value) {
    const bool isText = std::holds_alternative<std::string>(value);
    const bool isTexts = std::holds_alternative<Texts>(value);
    return parameter.out == Show::Property ? isText || !IsThere(value)
           : parameter.out == Show::Text   ? !isTexts
                                           : true;
}

/// Whether FT_ListDevices gives the value with these flags: what else is given goes where a host
/// has no room for it.
bool CanBeListed(std::size_t parameter, std::uint32_t flags, const Value& value) {
    const bool isLocation = ListedBy(flags) == usb::kByLocation;
    const bool isNumber = std::holds_alternative<std::uint64_t>(value);
    const bool isText = std::holds_alternative<std::string>(value);
    if (!IsThere(value)) {
        return true;
    }
    if ((flags & usb::kListNumberOnly) != 0) {
        return parameter == 0 && isNumber;
    }
    if ((flags & usb::kListByIndex) != 0) {
        return parameter == 1 && (isLocation ? isNumber : isText);
    }
    return (flags & usb::kListAll) != 0 && (parameter == 1 ? isNumber
                                            : isLocation   ? isText
                                                           : !isNumber && !isText);
}

std::vector<Value> ValuesFrom(ValueReader& reader, const VendorFunction& function,
                              bool (*canBe)(const Parameter&, const Value&)) {
    std::vector<Value> values;
    while (!reader.IsEmpty()) {
        const std::size_t index = values.size();
        values.push_back(reader.Next());
        if (index >= function.parameters.size() ||
            !canBe(function.parameters[index], values.back())) {
            Refuse(std::string(function.name) + " has no such parameter " +
                   std::to_string(index + 1));
        }
    }
    return values;
}

/// Reads a recording line by line.
class RecordingReader {
  public:
    explicit RecordingReader(std::string_view all) : rest(all) {}

    Recording Read() try {
        ReadHead();
        while (NextLine()) {
            if (!isCut) {
                ReadLine();
            } else {
                recording.cutLines.push_back(number);
            }
        }
        return std::move(recording);
    } catch (const RecordingError&) {
        throw;
    } catch (const std::runtime_error& reason) {
        throw RecordingError("line " + std::to_string(number) + ": " + reason.what());
    }

  private:
    /// Goes to the next line; false at the end. A line that ends with the text or with a NUL is
    /// cut, and so is one whose beginning is a NUL, since that is written last.
    bool NextLine() {
        const bool isAfterRoom = rest.starts_with('\0');
        rest.remove_prefix(std::min(rest.find_first_not_of('\0'), rest.size()));
        if (rest.empty()) {
            return false;
        }
        ++number;
        const std::size_t end = rest.find_first_of(std::string_view("\n\0", 2));
        line = rest.substr(0, end);
        isCut = end == rest.npos || rest[end] != '\n' || (isAfterRoom && !IsBegun());
        rest.remove_prefix(std::min(end, rest.size() - 1) + 1);
        if (line.ends_with('\r')) { // of an editor
            line.remove_suffix(1);
        }
        return true;
    }

    bool IsBegun() const {
        return line.size() > 1 && line[1] == ' ' &&
               (line.front() == kQuestion || line.front() == kAnswer || line.front() == kRemark);
    }

    void NextLineOfHead() {
        if (!NextLine() || isCut) {
            number = std::max<std::size_t>(number, 1);
            Refuse("the recording ends in its head");
        }
    }

    std::string_view ValueOf(std::string_view key) {
        NextLineOfHead();
        if (!line.starts_with(key)) {
            Refuse("'" + std::string(key.substr(0, key.size() - 1)) + "' is missing");
        }
        return line.substr(key.size());
    }

    void ReadHead() {
        if (!rest.starts_with(kTitle)) {
            number = 1;
            Refuse("this is no recording");
        }
        const std::string_view version = ValueOf(kTitle);
        if (version != std::to_string(kVersion)) {
            Refuse("a recording of version '" + std::string(version) +
                   "', which this release does not know");
        }
        Head& head = recording.head;
        head.program = ValueOf(kProgram);
        head.system = ValueOf(kSystem);
        for (NextLineOfHead(); line.starts_with(kLibrary); NextLineOfHead()) {
            head.libraries.push_back(LibraryFrom(line.substr(kLibrary.size())));
        }
        for (; line.starts_with(kWmiPort); NextLineOfHead()) {
            head.ports.push_back(PortFrom(line.substr(kWmiPort.size())));
        }
        if (!line.starts_with(kAnonymous)) {
            Refuse("'anonymous:' is missing");
        }
        const std::string_view answer = line.substr(kAnonymous.size());
        head.isAnonymous = answer == "yes";
        if (!head.isAnonymous && answer != "no") {
            Refuse("'anonymous:' is yes or no");
        }
        NextLineOfHead();
        if (!line.empty()) {
            Refuse("an empty line ends the head");
        }
    }

    static LibraryFile LibraryFrom(std::string_view text) {
        const auto [file, path] = SplitAt(text, kPath);
        const auto [nameAndVersion, sha256] = SplitAt(file, kSha256);
        const auto [name, version] = SplitAt(nameAndVersion, " ");
        if (path.empty() || sha256.empty() || version.empty()) {
            Refuse("a library has a name, a version, sha256= and path=");
        }
        return {std::string(name), std::string(version), std::string(sha256), std::string(path)};
    }

    static ReportedPort PortFrom(std::string_view text) {
        ValueReader reader(text);
        ReportedPort port{reader.Next(), {}};
        while (!reader.IsEmpty()) {
            port.startingAddresses.push_back(reader.Next());
        }
        return port;
    }

    void ReadLine() {
        const auto [kind, content] = SplitAt(line, " ");
        const auto [time, more] = SplitAt(content, " ");
        if (kind.size() != 1) {
            Refuse("a line begins with '>', '<' or '!'");
        }
        if (recording.isEnded) {
            Refuse("more follows after the end");
        }
        switch (kind.front()) {
        case kQuestion:
            return ReadQuestion(TimeFrom(time), more);
        case kAnswer:
            return ReadAnswer(TimeFrom(time), more);
        case kRemark:
            return ReadRemark(TimeFrom(time), more);
        default:
            Refuse("a line begins with '>', '<' or '!'");
        }
    }

    void ReadRemark(Microseconds time, std::string_view text) {
        if (text == kEnd) {
            recording.isEnded = true;
        } else {
            recording.remarks.push_back({time, std::string(text)});
        }
    }

    void ReadQuestion(Microseconds time, std::string_view text) {
        const auto [thread, afterThread] = SplitAt(text, " ");
        const auto [callNumber, afterNumber] = SplitAt(afterThread, " ");
        const auto [shown, exact] = SplitAt(afterNumber, "\t");
        const VendorFunction& function = FunctionNamed(SplitAt(shown, "(").first);
        ValueReader reader(exact);
        RecordedCall one{NumberFrom(callNumber),
                         NumberFrom(thread),
                         time,
                         Call{function, ValuesFrom(reader, function, CanGoIn), {}},
                         {}};
        if (one.call.inputs.size() != function.parameters.size()) {
            Refuse(std::string(function.name) + " has " +
                   std::to_string(function.parameters.size()) + " parameters");
        }
        one.handle = HandleIn(shown, one.call);
        if (QuestionOf(one) != shown) {
            RefuseText(QuestionOf(one));
        }
        if (!indexes.emplace(one.number, recording.calls.size()).second) {
            Refuse("call " + std::to_string(one.number) + " has begun before");
        }
        recording.calls.push_back(std::move(one));
    }

    void ReadAnswer(Microseconds time, std::string_view text) {
        const auto [thread, afterThread] = SplitAt(text, " ");
        const auto [callNumber, afterNumber] = SplitAt(afterThread, " ");
        const auto [shown, exact] = SplitAt(afterNumber, "\t");
        const auto index = indexes.find(NumberFrom(callNumber));
        if (index == indexes.end()) {
            Refuse("call " + std::string(callNumber) + " has not begun");
        }
        RecordedCall& one = recording.calls[index->second];
        if (one.thread != NumberFrom(thread) || one.returned) {
            Refuse("call " + std::string(callNumber) +
                   (one.returned ? " has returned before" : " is another thread's"));
        }
        ValueReader reader(exact);
        one.call.status = reader.NextStatus();
        one.lastError = reader.NextStatus();
        one.call.outputs = ValuesFrom(reader, one.call.function, CanComeOut);
        if (!one.call.outputs.empty() && one.call.outputs.size() != one.call.inputs.size()) {
            Refuse("an answer has all parameters or none");
        }
        if (one.call.function.id == Function::FT_ListDevices) {
            RefuseUnasked(one.call);
        }
        if (time < one.begun) {
            Refuse("call " + std::string(callNumber) + " returned before it began");
        }
        if (AnswerOf(one.call) != shown) {
            RefuseText(AnswerOf(one.call));
        }
        one.returned = time;
    }

    static void RefuseUnasked(const Call& call) {
        for (std::size_t i = 0; i < 2; ++i) {
            if (!CanBeListed(i, Word(call.inputs.back()), Output(call, i))) {
                Refuse("FT_ListDevices does not give parameter " + std::to_string(i + 1) +
                       " with these flags");
            }
        }
    }

    [[noreturn]] static void RefuseText(const std::string& expected) {
        Refuse("the text and the values after the tab differ; by the values it is '" + expected +
               "'");
    }

    /// The handle's name: what stands in the text between that which the values tell.
    static std::string HandleIn(std::string_view shown, const Call& call) {
        const auto& parameters = call.function.parameters;
        if (parameters.empty() || parameters.front().in != Show::Handle) {
            return {};
        }
        const std::string unnamed = QuestionOf(call, "?");
        return shown.size() < unnamed.size()
                   ? ""
                   : std::string(
                         shown.substr(unnamed.find('?'), shown.size() + 1 - unnamed.size()));
    }

    std::string_view rest;
    std::string_view line;
    std::size_t number = 0;
    bool isCut = false;
    Recording recording;
    std::map<std::uint64_t, std::size_t> indexes; ///< of calls, by their numbers
};

} // namespace

Recording ReadRecording(std::string_view text) {
    return RecordingReader(text).Read();
}

} // namespace rig::record
