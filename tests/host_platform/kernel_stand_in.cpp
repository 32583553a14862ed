#include "kernel_stand_in.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <set>
#include <utility>

#include "host_platform.h"
#include "system_faults.h"

namespace host::kernel {

Script script;

namespace {

/// A call that succeeds changes the thread's error too, as on Windows.
constexpr DWORD kErrorOfSuccess = 1234;
constexpr DWORD kInvalidHandle = 6;

std::set<HANDLE> openHandles;
std::uintptr_t nextHandle = 0x10;
int misuses = 0;
std::map<wchar_t*, std::unique_ptr<wchar_t[]>> texts;
std::vector<CallRecord> trace;

/// The latest request that signals an event when it completes.
struct Request {
    bool isPending = false;
    bool isSignalled = false; ///< the event, until it was waited for
    bool isKnown = true;      ///< GetLastError() said so
    OVERLAPPED* overlapped = nullptr;
    unsigned char* output = nullptr;
    Answer answer;
};
std::map<HANDLE, Request> requests; ///< by their events
std::vector<Request> abandoned;

void Trace(const CallRecord& record) {
    if (script.keepsTrace) {
        trace.push_back(record);
    }
}

HANDLE Open() {
    const auto handle = reinterpret_cast<HANDLE>(nextHandle++);
    openHandles.insert(handle);
    return handle;
}

bool IsOpen(HANDLE handle) {
    const bool isOpen = openHandles.contains(handle);
    misuses += isOpen ? 0 : 1;
    return isOpen;
}

/// For the journal.
std::string HexBytes(const void* bytes, DWORD size) {
    std::string text;
    for (DWORD i = 0; i < size && IsRecording(); ++i) {
        char digits[4];
        std::snprintf(digits, sizeof digits, i == 0 ? "%02x" : " %02x",
                      static_cast<const unsigned char*>(bytes)[i]);
        text += digits;
    }
    return text;
}

const char* RequestName(DWORD code) {
    switch (code) {
    case 0x9C412400:
        return kCreateRequest;
    case 0x9C412404:
        return kDeleteRequest;
    case 0x9C412408:
        return kWaitRequest;
    default:
        return kUnknownRequest;
    }
}

std::uint64_t Number(const void* bytes, DWORD size) {
    std::uint64_t number = 0;
    std::memcpy(&number, bytes, std::min<std::size_t>(size, sizeof number));
    return number;
}

template <typename Value>
Value TakeFirst(std::deque<Value>& values, Value whenEmpty) {
    if (values.empty()) {
        return whenEmpty;
    }
    const Value first = values.front();
    values.pop_front();
    return first;
}

/// The driver's answer to a request.
Answer Ask(const SystemCall& call, const char* name, std::uint64_t input) {
    if (!call.DoesItsWork()) {
        return {};
    }
    Answer answer =
        script.answers.empty() ? script.driver(name, input) : TakeFirst(script.answers, Answer{});
    answer.output.resize(call.Count(static_cast<std::uint32_t>(answer.output.size())));
    return answer;
}

void EndlessWait() {
    if (script.onEndlessWait) {
        script.onEndlessWait();
    } else {
        ++misuses;
    }
}

DWORD& LastError() {
    return ThisThread().error;
}

void Complete(const Request& answered) {
    answered.overlapped->Internal = answered.answer.error == ERROR_IO_PENDING ? 0 : 1;
    if (!answered.answer.output.empty()) {
        std::memcpy(answered.output, answered.answer.output.data(), answered.answer.output.size());
    }
}

} // namespace

void ComeAfterEdge(const std::string& edge, std::uint64_t nanoseconds) {
    script.onWait = [edge, nanoseconds] {
        const std::uint64_t now = rig_time(); // what the camera does by then is in the journal, too
        rig_entry entry{};
        for (std::size_t i = rig_journal_size(); i-- > 0;) {
            if (rig_journal_entry(i, &entry) == 0 && entry.kind == RIG_EDGE && edge == entry.text) {
                Advance(std::max(now, entry.time + nanoseconds) - now);
                return;
            }
        }
    };
}

void Reset() {
    script = {};
    openHandles.clear();
    misuses = 0;
    texts.clear();
    trace.clear();
    requests.clear();
    abandoned.clear();
}

ThreadState& ThisThread() {
    thread_local ThreadState state;
    return state;
}

std::size_t OpenHandles() {
    return openHandles.size();
}
int Misuses() {
    return misuses;
}
int AbandonedRequests() {
    return static_cast<int>(abandoned.size());
}
void AnswerAbandoned() {
    for (const Request& left : abandoned) {
        if (left.isKnown) {
            Complete(left);
        }
    }
}
int AllocatedTexts() {
    return static_cast<int>(texts.size());
}
std::vector<CallRecord> TakeTrace() {
    return std::exchange(trace, {});
}

} // namespace host::kernel

using namespace host::kernel;
using host::Note;
using host::SystemCall;

HANDLE CreateFileW(const wchar_t* name, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                   DWORD disposition, DWORD flags, HANDLE pattern) {
    Note("CreateFileW(%ls, 0x%x, %u, %s, %u, 0x%x, %s)", name, access, share,
         security == nullptr ? "null" : "?", disposition, flags, pattern == nullptr ? "null" : "?");
    const SystemCall call("CreateFileW");
    const bool isDone = !call.Fails() && script.createFileError == 0;
    if (!isDone) {
        LastError() = call.Status(script.createFileError);
    }
    Trace({"CreateFileW", isDone, LastError()});
    return isDone ? Open() : INVALID_HANDLE_VALUE;
}

BOOL DeviceIoControl(HANDLE device, DWORD code, void* input, DWORD inputSize, void* output,
                     DWORD outputSize, DWORD* returned, OVERLAPPED* overlapped) {
    Note("DeviceIoControl(0x%x, [%s], %s %u, %s)", code, HexBytes(input, inputSize).c_str(),
         output == nullptr ? "null" : "out", outputSize,
         overlapped == nullptr ? "at once" : "overlapped");
    auto* const bytes = static_cast<unsigned char*>(output);
    const bool isClear =
        std::all_of(bytes, bytes + outputSize, [](unsigned char byte) { return byte == 0; });
    if (!IsOpen(device) || returned == nullptr || *returned != 0 || !isClear ||
        (overlapped != nullptr && !IsOpen(overlapped->hEvent))) {
        Note("... with a closed handle, no count or a buffer that is not clear");
        LastError() = kInvalidHandle;
        return 0;
    }
    if (const auto happens = std::exchange(script.onRequest, nullptr)) {
        happens();
    }
    const SystemCall call(RequestName(code));
    Answer answer = Ask(call, RequestName(code), Number(input, inputSize));
    answer.output.resize(std::min<std::size_t>(answer.output.size(), outputSize));
    const bool isDone = !call.Fails() && answer.error == 0;
    LastError() = isDone ? kErrorOfSuccess : call.Status(answer.error);
    const bool isPending = !isDone && overlapped != nullptr && LastError() == ERROR_IO_PENDING;
    Trace({RequestName(code), isDone || isPending, LastError(), Number(input, inputSize),
           answer.output});
    *returned = isPending ? 0 : static_cast<DWORD>(answer.output.size());
    if (overlapped != nullptr) {
        ThisThread().event = overlapped->hEvent;
        requests[overlapped->hEvent] = {isPending, isDone, true, overlapped, bytes, answer};
    }
    if (!isPending && !answer.output.empty()) {
        std::memcpy(output, answer.output.data(), answer.output.size());
    }
    return isDone ? 1 : 0;
}

HANDLE CreateEventW(SECURITY_ATTRIBUTES* security, BOOL manualReset, BOOL signalled,
                    const wchar_t* name) {
    Note("CreateEventW(%s, %d, %d, %s)", security == nullptr ? "null" : "?", manualReset, signalled,
         name == nullptr ? "null" : "?");
    const SystemCall call("CreateEventW");
    const bool isDone = !call.Fails() && script.createEventError == 0;
    if (!isDone) {
        LastError() = call.Status(script.createEventError);
    }
    Trace({"CreateEventW", isDone, LastError()});
    return isDone ? Open() : nullptr;
}

DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds) {
    const bool isOpen = IsOpen(handle);
    Note("WaitForSingleObject(%s, %s)", isOpen ? "open" : "closed",
         milliseconds == INFINITE ? "INFINITE" : "?");
    if (script.onWait) {
        script.onWait();
    }
    const SystemCall call("WaitForSingleObject");
    const DWORD result = call.Status(TakeFirst(script.waitResults, WAIT_OBJECT_0));
    LastError() = kInvalidHandle; // of a wait that fails
    Request& request = requests[handle];
    if (result == WAIT_OBJECT_0) {
        if (std::exchange(request.isPending, false)) {
            Complete(request);
        } else if (!std::exchange(request.isSignalled, false)) {
            EndlessWait();
        }
    }
    Trace({"WaitForSingleObject", result == WAIT_OBJECT_0, LastError(), 0, request.answer.output});
    return result;
}

BOOL CloseHandle(HANDLE handle) {
    const bool isOpen = IsOpen(handle);
    Note("CloseHandle(%s)", isOpen ? "open" : "closed");
    const SystemCall call("CloseHandle");
    if (call.DoesItsWork()) {
        openHandles.erase(handle);
    }
    if (const auto left = requests.extract(handle); !left.empty() && left.mapped().isPending) {
        abandoned.push_back(left.mapped());
    }
    LastError() = call.Status(kErrorOfSuccess);
    Trace({"CloseHandle", call.DoesItsWork(), LastError()});
    return isOpen && !call.Fails() ? 1 : 0;
}

DWORD GetLastError(void) {
    const DWORD error = SystemCall("GetLastError").Status(LastError());
    if (const auto latest = requests.find(ThisThread().event); latest != requests.end()) {
        latest->second.isKnown = latest->second.isKnown && error == LastError();
    }
    Trace({"GetLastError", true, error});
    return error;
}

DWORD FormatMessageW(DWORD flags, const void* source, DWORD message, DWORD language,
                     wchar_t* buffer, DWORD size, void* arguments) {
    Note("FormatMessageW(0x%x, %s, %u, 0x%x, %u, %s)", flags, source == nullptr ? "null" : "?",
         message, language, size, arguments == nullptr ? "null" : "?");
    const SystemCall call("FormatMessageW");
    if (call.Fails() || !script.hasSystemText) {
        Trace({"FormatMessageW", false, call.Status()});
        return 0;
    }
    const auto whole = static_cast<DWORD>(script.systemText.size());
    const std::size_t length = std::min(call.Count(whole), whole);
    const bool isHandedOver = call.DoesItsWork() && script.handsTextOver;
    Trace({"FormatMessageW", isHandedOver && length != 0, LastError()});
    if (isHandedOver) {
        auto text = std::make_unique<wchar_t[]>(length + 1);
        std::copy_n(script.systemText.c_str(), length, text.get());
        wchar_t* const handed = text.get();
        std::memcpy(buffer, &handed, sizeof handed); // the caller's pointer, as the flags ask for
        texts.emplace(handed, std::move(text));
    }
    return static_cast<DWORD>(length);
}

void* LocalFree(void* memory) {
    const SystemCall call("LocalFree");
    Trace({"LocalFree", !call.Fails(), LastError()});
    if (call.Fails()) {
        return memory;
    }
    if (memory != nullptr && texts.erase(static_cast<wchar_t*>(memory)) == 0) {
        ++misuses;
    }
    return nullptr;
}

int wcstombs_s(std::size_t* converted, char* narrow, std::size_t size, const wchar_t* wide,
               std::size_t count) {
    constexpr int kCannotConvert = 42; // EILSEQ of that library
    constexpr int kCutOff = 80;        // STRUNCATE
    const SystemCall call("wcstombs_s");
    Trace({"wcstombs_s", !call.Fails(), LastError()});
    narrow[0] = '\0';
    if (!script.textConverts || count != _TRUNCATE || call.Fails()) {
        return static_cast<int>(call.Status(kCannotConvert));
    }
    std::size_t bytes = 0;
    for (; *wide != L'\0'; ++wide) {
        if (bytes + script.bytesPerCharacter >= size) {
            return kCutOff;
        }
        std::fill_n(narrow + bytes, script.bytesPerCharacter, static_cast<char>(*wide));
        bytes += script.bytesPerCharacter;
        narrow[bytes] = '\0';
    }
    *converted = bytes + 1;
    return 0;
}
