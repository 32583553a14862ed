#include "fuzzed_driver.h"

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <optional>
#include <set>
#include <string>
#include <utility>

#include <windows.h>

#include "answer_plan.h"
#include "driver_protocol.h"
#include "fuzz_check.h"

namespace fuzz::driver {

namespace {

using namespace Trel::SolvaneDriverLib;

constexpr BOOL kSuccess = 1;
constexpr DWORD kAccessDenied = 5;
constexpr std::size_t kLongestText = 300;

struct Kernel {
    explicit Kernel(Input& bytes) : input(bytes), plan(bytes) {}

    Input& input;
    AnswerPlan plan;
    DWORD lastError = 0;

    std::set<HANDLE> handles;
    HANDLE device = nullptr;
    HANDLE event = nullptr;
    std::uintptr_t nextHandle = 0x10;
    std::set<wchar_t*> texts;

    std::set<std::uint64_t> timers;
    std::uint64_t lastTimer = 0;
    bool wasGpioReady = false;

    void* pendingReply = nullptr; ///< buffer of a wait request that completes later
    Event lastEvent;
    unsigned events = 0;
    void (*duringWait)() = nullptr;
};

std::optional<Kernel> kernel;

HANDLE Open() {
    const auto handle = reinterpret_cast<HANDLE>(kernel->nextHandle++);
    kernel->handles.insert(handle);
    return handle;
}

BOOL Fail(DWORD error) {
    kernel->lastError = error;
    return FALSE;
}

DWORD OddError() {
    const DWORD error = kernel->input.DoubleWord();
    return error != ERROR_IO_PENDING ? error : kAccessDenied;
}

BOOL Create(const void* input, DWORD inputSize, void* output, DWORD outputSize, DWORD& returned) {
    std::uint32_t parameter = 0;
    Check(inputSize == sizeof parameter && outputSize == sizeof(TimerCreateReply),
          "a creation has its sizes");
    std::memcpy(&parameter, input, sizeof parameter);
    TimerCreateReply reply{};
    switch (kernel->plan.Next()) {
    case Manner::Fails:
        return Fail(kAccessDenied);
    case Manner::Silent: // success without a byte of output
        break;
    case Manner::Odd: {
        const std::string bytes = kernel->input.Bytes(sizeof reply);
        std::memcpy(&reply, bytes.data(), bytes.size());
        returned = kernel->input.DoubleWord();
        if (kernel->input.Byte() % 4 == 3) { // output despite the error
            std::memcpy(output, &reply, sizeof reply);
            return Fail(OddError());
        }
        break;
    }
    case Manner::Healthy:
        reply.timerId = 0x1000 + kernel->timers.size();
        returned = sizeof reply;
        break;
    }
    std::memcpy(output, &reply, sizeof reply);
    kernel->lastTimer = reply.timerId;
    kernel->wasGpioReady = reply.initialStatus == 0;
    if (reply.timerId != 0) {
        kernel->timers.insert(reply.timerId);
    }
    return kSuccess;
}

std::uint64_t TimerIn(const void* input, DWORD inputSize) {
    std::uint64_t id = 0;
    Check(inputSize == sizeof id, "a timer is named by its id");
    std::memcpy(&id, input, sizeof id);
    return id;
}

BOOL Delete(const void* input, DWORD inputSize, const void* output, DWORD outputSize) {
    const std::uint64_t id = TimerIn(input, inputSize);
    Check(output == nullptr && outputSize == 0, "a deletion has no answer");
    Check(kernel->timers.contains(id), "a timer of the driver's is deleted");
    switch (kernel->plan.Next()) {
    case Manner::Fails:
        return Fail(kAccessDenied);
    case Manner::Odd:
        return Fail(OddError());
    default:
        kernel->timers.erase(id);
        return kSuccess;
    }
}

void Complete() {
    TimerWaitReply reply{};
    reply.status = kernel->lastEvent.status;
    std::copy(kernel->lastEvent.data.begin(), kernel->lastEvent.data.end(), reply.data);
    std::memcpy(std::exchange(kernel->pendingReply, nullptr), &reply, sizeof reply);
}

BOOL Wait(const void* input, DWORD inputSize, void* output, DWORD outputSize,
          const OVERLAPPED* overlapped) {
    Check(TimerIn(input, inputSize) == kernel->lastTimer, "the present timer is waited for");
    Check(outputSize == sizeof(TimerWaitReply), "a wait has its size");
    Check(overlapped->hEvent == kernel->event && overlapped->Offset == 0 &&
              overlapped->OffsetHigh == 0,
          "a wait signals the loop's event");
    kernel->lastEvent = {};
    kernel->pendingReply = nullptr;
    switch (kernel->plan.Next()) {
    case Manner::Fails:
        return Fail(kAccessDenied);
    case Manner::Silent:
        return kSuccess;
    case Manner::Odd:
        if (kernel->input.Byte() % 4 == 3) {
            return Fail(OddError());
        }
        kernel->lastEvent.status = static_cast<std::int16_t>(kernel->input.Word());
        for (std::uint16_t& word : kernel->lastEvent.data) {
            word = kernel->input.Word();
        }
        break;
    case Manner::Healthy:
        break;
    }
    kernel->pendingReply = output;
    if (kernel->input.Byte() % 2 != 0) { // completes at once
        Complete();
        return kSuccess;
    }
    return Fail(ERROR_IO_PENDING);
}

/// A system message of arbitrary characters, possibly with a zero in the middle.
std::wstring SystemSentence() {
    std::wstring sentence = L"A sentence.\r\n";
    if (kernel->input.Byte() % 2 != 0) {
        sentence.clear();
        const unsigned length = kernel->input.Byte() % kLongestText;
        for (unsigned i = 0; i < length; ++i) {
            sentence += static_cast<wchar_t>(kernel->input.Word());
        }
    }
    return sentence;
}

} // namespace

void Begin(Input& input) {
    kernel.emplace(input);
}

void Heal() {
    kernel->plan.Heal();
}

const Event& LastEvent() {
    return kernel->lastEvent;
}
bool WasGpioReady() {
    return kernel->wasGpioReady;
}
unsigned Events() {
    return kernel->events;
}
void DuringNextWait(void (*action)()) {
    kernel->duringWait = action;
}
std::size_t OpenHandles() {
    return kernel->handles.size();
}
std::size_t AllocatedTexts() {
    return kernel->texts.size();
}
bool HasTimer(std::uint64_t id) {
    return kernel->timers.contains(id);
}
std::uint64_t LastTimer() {
    return kernel->lastTimer;
}

} // namespace fuzz::driver

using namespace fuzz;
using namespace fuzz::driver;

HANDLE CreateFileW(const wchar_t* name, DWORD access, DWORD share, SECURITY_ATTRIBUTES*,
                   DWORD disposition, DWORD flags, HANDLE) {
    Check(std::wcscmp(name, L"\\\\.\\SolvaneDevice") == 0 && access == 0xC0000000 && share == 0 &&
              disposition == OPEN_EXISTING && flags == FILE_FLAG_OVERLAPPED,
          "the device is opened in its way");
    switch (kernel->plan.Next()) {
    case Manner::Fails:
        kernel->lastError = kAccessDenied;
        return INVALID_HANDLE_VALUE;
    case Manner::Odd:
        kernel->lastError = kernel->input.DoubleWord();
        return INVALID_HANDLE_VALUE;
    default:
        kernel->device = Open();
        return kernel->device;
    }
}

BOOL DeviceIoControl(HANDLE device, DWORD code, void* input, DWORD inputSize, void* output,
                     DWORD outputSize, DWORD* returned, OVERLAPPED* overlapped) {
    Check(kernel->handles.contains(device) && device == kernel->device, "the device is open");
    Check(returned != nullptr && *returned == 0, "the count comes zeroed");
    const auto* const bytes = static_cast<const unsigned char*>(output);
    Check(std::all_of(bytes, bytes + outputSize, [](unsigned char byte) { return byte == 0; }),
          "the room for an answer comes zeroed");
    switch (code) {
    case IOCTL_SOLVANE_TIMER_CREATE:
        Check(overlapped == nullptr, "a creation is waited for");
        return Create(input, inputSize, output, outputSize, *returned);
    case IOCTL_SOLVANE_TIMER_DELETE:
        Check(overlapped == nullptr, "a deletion is waited for");
        return Delete(input, inputSize, output, outputSize);
    case IOCTL_SOLVANE_TIMER_WAIT:
        Check(overlapped != nullptr, "a wait is overlapped");
        return Wait(input, inputSize, output, outputSize, overlapped);
    default:
        Check(false, "a request is one of three");
        return FALSE;
    }
}

HANDLE CreateEventW(SECURITY_ATTRIBUTES*, BOOL manualReset, BOOL signalled, const wchar_t* name) {
    Check(manualReset == FALSE && signalled == FALSE && name == nullptr, "the event is plain");
    const Manner manner = kernel->plan.Next();
    if (manner == Manner::Fails || manner == Manner::Odd) {
        kernel->lastError = kAccessDenied;
        return nullptr;
    }
    kernel->event = Open();
    return kernel->event;
}

DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds) {
    Check(handle == kernel->event && kernel->handles.contains(handle) && milliseconds == INFINITE,
          "the loop's event is waited for");
    if (auto* const action = std::exchange(kernel->duringWait, nullptr)) {
        action();
    }
    const Manner manner = kernel->plan.Next();
    if (manner == Manner::Fails || manner == Manner::Odd) {
        constexpr DWORD kResults[] = {0xFFFFFFFF, 0x80, 0x102};
        kernel->lastError = kernel->input.DoubleWord();
        return kResults[kernel->input.Byte() % std::size(kResults)];
    }
    if (kernel->pendingReply != nullptr) {
        Complete();
    }
    ++kernel->events;
    return WAIT_OBJECT_0;
}

BOOL CloseHandle(HANDLE handle) {
    Check(kernel->handles.erase(handle) != 0, "an open handle is closed");
    return kSuccess;
}

DWORD GetLastError(void) {
    return kernel->lastError;
}

DWORD FormatMessageW(DWORD flags, const void* source, DWORD message, DWORD, wchar_t* buffer,
                     DWORD size, void*) {
    Check(flags == 0x1300 && source == nullptr && size == 0, "a sentence is asked for in its way");
    Check(message == kernel->lastError, "of the error that happened");
    switch (kernel->plan.Next()) {
    case Manner::Fails:
        return 0;
    case Manner::Silent: // returns a length, but no text
        return 7;
    default:
        break;
    }
    const std::wstring sentence = SystemSentence();
    auto* const text = new wchar_t[sentence.size() + 1];
    std::copy_n(sentence.c_str(), sentence.size() + 1, text);
    kernel->texts.insert(text);
    std::memcpy(buffer, &text, sizeof text); // FORMAT_MESSAGE_ALLOCATE_BUFFER: returns a pointer
    return static_cast<DWORD>(sentence.size());
}

void* LocalFree(void* memory) {
    if (memory != nullptr) {
        Check(kernel->texts.erase(static_cast<wchar_t*>(memory)) != 0, "a text is freed once");
        delete[] static_cast<wchar_t*>(memory);
    }
    return nullptr;
}

int wcstombs_s(std::size_t* converted, char* narrow, std::size_t size, const wchar_t* wide,
               std::size_t count) {
    Check(count == _TRUNCATE && size >= std::wcslen(wide) * 2 + 2, "a text has its room");
    if (kernel->plan.Next() == Manner::Fails) {
        narrow[0] = '\0';
        return 42; // EILSEQ of the Windows C library
    }
    // Two bytes for each character, as many as fit.
    std::size_t i = 0;
    for (; *wide != L'\0' && i + 2 < size; ++wide) {
        const auto character = static_cast<unsigned>(*wide);
        if (character >= 0x80) {
            narrow[i++] = static_cast<char>(0x80 | (character >> 7 & 0x7F));
        }
        narrow[i++] = static_cast<char>(character >= 0x80 ? character | 0x80 : character);
    }
    narrow[i] = '\0';
    *converted = i + 1;
    return 0;
}
