#include "recorder.h"

#include <algorithm>

#include "recording_text.h"

namespace rig::record {

Recorder::Recorder(RecordingFile& recordingFile, Head head, Process thisProcess)
    : file(recordingFile), isAnonymous(head.isAnonymous), process(thisProcess) {
    if (isAnonymous) {
        for (LibraryFile& library : head.libraries) {
            library.path = WithoutUserName(library.path);
        }
    }
    AppendHead(text, head);
    Write();
}

std::uint64_t Recorder::Begin(Call& call) {
    const std::lock_guard lock(access);
    if (isAnonymous) {
        serials.HideInInputs(call);
    }
    const std::uint64_t number = ++calls;
    text.clear(); // the last line may not have been finished
    AppendQuestion(text, process.now(), process.thread(), number, call, HandleIn(call));
    Write();
    return number;
}

void Recorder::End(std::uint64_t number, Call& call, std::uint32_t lastError) {
    const std::lock_guard lock(access);
    const Microseconds now = process.now();
    if (isAnonymous) {
        serials.HideInOutputs(call);
    }
    text.clear();
    AppendAnswer(text, now, process.thread(), number, call, lastError);
    Write();
    names.Learn(call);
}

void Recorder::Remark(std::string_view remark) {
    const std::lock_guard lock(access);
    text.clear();
    AppendRemark(text, process.now(), isAnonymous ? WithoutUserName(remark) : remark);
    Write();
}

void Recorder::Finish() {
    // A thread that the system has ended may have this locked for ever.
    const std::unique_lock lock(access, std::try_to_lock);
    if (lock) {
        isFinished = true;
        Write();
    }
}

const std::string& Recorder::HandleIn(const Call& call) const {
    static const std::string kNone;
    const auto& parameters = call.function.parameters;
    const bool hasHandle = !parameters.empty() && parameters.front().in == Show::Handle;
    return hasHandle ? names.NameOf(Number(call.inputs.front())) : kNone;
}

void Recorder::Write() {
    file.Append(text, [this](const std::string& reason) {
        std::string last;
        AppendRemark(last, process.now(), reason + ", " + std::string(kRecordingEnds));
        return last;
    });
    text.clear();
    if (isFinished) {
        AppendEnd(text, process.now());
        file.Finish(text);
        text.clear();
    }
}

} // namespace rig::record
