#include "recording_text.h"

#include <algorithm>
#include <string>

#include "recording_lines.h"
#include "recording_values.h"

namespace rig::record {

namespace {

/// A text of somebody else's as part of a line.
std::string OnOneLine(std::string_view text) {
    std::string line(text);
    std::replace_if(
        line.begin(), line.end(), [](char c) { return c >= 0 && c < ' '; }, ' ');
    return line;
}

void AppendTime(std::string& text, Microseconds time) {
    AppendNumber(text, time / 1000);
    const std::string fraction = std::to_string(1000 + time % 1000);
    text.append(1, '.').append(fraction, 1);
}

void AppendStart(std::string& text, char kind, Microseconds time) {
    text.append(1, kind).append(1, ' ');
    AppendTime(text, time);
    text += ' ';
}

void AppendStart(std::string& text, char kind, Microseconds time, std::uint64_t thread,
                 std::uint64_t number) {
    AppendStart(text, kind, time);
    AppendNumber(text, thread);
    text += ' ';
    AppendNumber(text, number);
    text += ' ';
}

} // namespace

void AppendHead(std::string& text, const Head& head) {
    text.append(kTitle).append(std::to_string(kVersion)).append(1, '\n');
    text.append(kProgram).append(OnOneLine(head.program)).append(1, '\n');
    text.append(kSystem).append(OnOneLine(head.system)).append(1, '\n');
    for (const LibraryFile& library : head.libraries) {
        text.append(kLibrary).append(library.name).append(1, ' ').append(library.version);
        text.append(kSha256).append(library.sha256);
        text.append(kPath).append(OnOneLine(library.path)).append(1, '\n');
    }
    for (const ReportedPort& port : head.ports) {
        text += kWmiPort;
        AppendValue(text, port.deviceId);
        AppendValues(text, port.startingAddresses);
        text += '\n';
    }
    text.append(kAnonymous).append(head.isAnonymous ? "yes\n" : "no\n").append(1, '\n');
}

void AppendQuestion(std::string& text, Microseconds time, std::uint64_t thread,
                    std::uint64_t number, const Call& call, std::string_view handle) {
    AppendStart(text, kQuestion, time, thread, number);
    text += QuestionOf(call, handle);
    char separator = '\t';
    for (const Value& input : call.inputs) {
        text += separator;
        AppendValue(text, input);
        separator = ' ';
    }
    text += '\n';
}

void AppendAnswer(std::string& text, Microseconds time, std::uint64_t thread, std::uint64_t number,
                  const Call& call, std::uint32_t lastError) {
    AppendStart(text, kAnswer, time, thread, number);
    text.append(AnswerOf(call)).append(1, '\t');
    AppendNumber(text, call.status);
    text += ' ';
    AppendNumber(text, lastError);
    AppendValues(text, call.outputs);
    text += '\n';
}

void AppendRemark(std::string& text, Microseconds time, std::string_view remark) {
    AppendStart(text, kRemark, time);
    text.append(OnOneLine(remark)).append(1, '\n');
}

void AppendEnd(std::string& text, Microseconds time) {
    AppendRemark(text, time, kEnd);
}

std::string QuestionOf(const Call& call, std::string_view handle) {
    const std::string_view name = handle.empty() ? "?" : handle;
    return OnOneLine(TextOfQuestion(call, [&](std::uint64_t) { return std::string(name); }));
}

std::string AnswerOf(const Call& call) {
    return OnOneLine(call.function.name + TextOfAnswer(call));
}

std::string TextOf(const Recording& recording) {
    std::string text;
    AppendHead(text, recording.head);
    Microseconds last = 0;
    for (const RecordedCall& one : recording.calls) {
        AppendQuestion(text, one.begun, one.thread, one.number, one.call, one.handle);
        last = std::max({last, one.begun, one.returned.value_or(0)});
        if (one.returned) {
            AppendAnswer(text, *one.returned, one.thread, one.number, one.call, one.lastError);
        }
    }
    for (const Remark& remark : recording.remarks) {
        AppendRemark(text, remark.time, remark.text);
        last = std::max(last, remark.time);
    }
    if (recording.isEnded) {
        AppendEnd(text, last);
    }
    return text;
}

} // namespace rig::record
