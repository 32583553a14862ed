#include "kernel_stand_in.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <set>
#include <utility>

#include <solvane/rig.h>

namespace host::kernel {

Script script;

namespace {

/// A call that fails sets this; a call that succeeds may change it too, as the real one may.
thread_local DWORD lastError = 0;
constexpr DWORD kErrorOfSuccess = 1234;
constexpr DWORD kInvalidHandle = 6;

std::set<HANDLE> openHandles;
std::uintptr_t nextHandle = 0x10;
int allocatedTexts = 0;

template <typename... Arguments>
void Note(const char* format, Arguments... arguments) {
    char text[256];
    std::snprintf(text, sizeof text, format, arguments...);
    rig_note(text);
}

HANDLE Open() {
    const auto handle = reinterpret_cast<HANDLE>(nextHandle++);
    openHandles.insert(handle);
    return handle;
}

std::string HexBytes(const void* bytes, DWORD size) {
    std::string text;
    for (DWORD i = 0; i < size; ++i) {
        char digits[4];
        std::snprintf(digits, sizeof digits, i == 0 ? "%02x" : " %02x",
                      static_cast<const unsigned char*>(bytes)[i]);
        text += digits;
    }
    return text;
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

} // namespace

void Reset() {
    script = {};
    openHandles.clear();
    allocatedTexts = 0;
}

std::size_t OpenHandles() {
    return openHandles.size();
}
int AllocatedTexts() {
    return allocatedTexts;
}

} // namespace host::kernel

using namespace host::kernel;

HANDLE CreateFileW(const wchar_t* name, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                   DWORD disposition, DWORD flags, HANDLE pattern) {
    Note("CreateFileW(%ls, 0x%x, %u, %s, %u, 0x%x, %s)", name, access, share,
         security == nullptr ? "null" : "?", disposition, flags, pattern == nullptr ? "null" : "?");
    if (script.createFileError != 0) {
        lastError = script.createFileError;
        return INVALID_HANDLE_VALUE;
    }
    return Open();
}

BOOL DeviceIoControl(HANDLE device, DWORD code, void* input, DWORD inputSize, void* output,
                     DWORD outputSize, DWORD* returned, OVERLAPPED* overlapped) {
    Note("DeviceIoControl(0x%x, [%s], %s %u, %s)", code, HexBytes(input, inputSize).c_str(),
         output == nullptr ? "null" : "out", outputSize,
         overlapped == nullptr ? "at once" : "overlapped");
    const auto* const bytes = static_cast<const unsigned char*>(output);
    const bool isClear =
        std::all_of(bytes, bytes + outputSize, [](unsigned char byte) { return byte == 0; });
    if (openHandles.count(device) == 0 || returned == nullptr || *returned != 0 || !isClear) {
        rig_note("... with a closed handle, no count or a buffer that is not clear");
        lastError = kInvalidHandle;
        return 0;
    }
    if (const auto happens = std::exchange(script.onRequest, nullptr)) {
        happens();
    }
    const Answer answer = TakeFirst(script.answers, Answer{});
    const std::size_t size = std::min<std::size_t>(answer.output.size(), outputSize);
    if (size != 0) {
        std::memcpy(output, answer.output.data(), size);
    }
    *returned = static_cast<DWORD>(size);
    lastError = answer.error != 0 ? answer.error : kErrorOfSuccess;
    return answer.error == 0 ? 1 : 0;
}

HANDLE CreateEventW(SECURITY_ATTRIBUTES* security, BOOL manualReset, BOOL signalled,
                    const wchar_t* name) {
    Note("CreateEventW(%s, %d, %d, %s)", security == nullptr ? "null" : "?", manualReset, signalled,
         name == nullptr ? "null" : "?");
    if (script.createEventError != 0) {
        lastError = script.createEventError;
        return nullptr;
    }
    return Open();
}

DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds) {
    Note("WaitForSingleObject(%s, %s)", openHandles.count(handle) != 0 ? "open" : "closed",
         milliseconds == INFINITE ? "INFINITE" : "?");
    if (script.onWait) {
        script.onWait();
    }
    lastError = kInvalidHandle; // of a wait that fails
    return TakeFirst(script.waitResults, WAIT_OBJECT_0);
}

BOOL CloseHandle(HANDLE handle) {
    const bool wasOpen = openHandles.erase(handle) != 0;
    Note("CloseHandle(%s)", wasOpen ? "open" : "closed");
    lastError = kErrorOfSuccess;
    return wasOpen ? 1 : 0;
}

DWORD GetLastError(void) {
    return lastError;
}

DWORD FormatMessageW(DWORD flags, const void* source, DWORD message, DWORD language,
                     wchar_t* buffer, DWORD size, void* arguments) {
    Note("FormatMessageW(0x%x, %s, %u, 0x%x, %u, %s)", flags, source == nullptr ? "null" : "?",
         message, language, size, arguments == nullptr ? "null" : "?");
    if (!script.hasSystemText) {
        return 0;
    }
    const std::size_t length = script.systemText.size();
    if (!script.handsTextOver) {
        return static_cast<DWORD>(length);
    }
    auto* const text = new wchar_t[length + 1];
    std::copy_n(script.systemText.c_str(), length + 1, text);
    ++allocatedTexts;
    std::memcpy(buffer, &text, sizeof text); // the caller's pointer, as the flags ask for
    return static_cast<DWORD>(length);
}

void* LocalFree(void* memory) {
    if (memory != nullptr) {
        delete[] static_cast<wchar_t*>(memory);
        --allocatedTexts;
    }
    return nullptr;
}

int wcstombs_s(std::size_t* converted, char* narrow, std::size_t size, const wchar_t* wide,
               std::size_t count) {
    narrow[0] = '\0';
    if (!script.textConverts || count != _TRUNCATE) {
        return 42; // EILSEQ of that library
    }
    std::size_t bytes = 0;
    for (; *wide != L'\0'; ++wide) {
        if (bytes + script.bytesPerCharacter >= size) {
            return 80; // STRUNCATE
        }
        std::fill_n(narrow + bytes, script.bytesPerCharacter, static_cast<char>(*wide));
        bytes += script.bytesPerCharacter;
        narrow[bytes] = '\0';
    }
    *converted = bytes + 1;
    return 0;
}
