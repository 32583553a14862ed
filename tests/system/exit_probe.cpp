/// Ends its process in one of the ways that a host should not, or in the one that it may; prints
/// the lines that the log function gets.

#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <utility>

#include <windows.h>

#include "loaded_library.h"

namespace {

test::LoadedLibrary* library = nullptr; // Windows unloads it, when the process ends
HANDLE isInside = nullptr;
std::function<void()> inside; ///< called in the first line with this text
const char* text = "";

void SOLVANE_CALL OnLine(void*, const char* line) {
    const bool isIt = inside != nullptr && std::strstr(line, text) != nullptr;
    std::printf("%s\n", line);
    std::fflush(stdout);
    if (isIt) {
        const std::function<void()> once = std::exchange(inside, nullptr);
        once();
    }
}

/// The log function never returns from the thread's next line about an invalid timer handle.
void StickInLog() {
    text = "got invalid timer handler";
    inside = [] {
        SetEvent(isInside);
        Sleep(INFINITE);
    };
    library->StopTimer(0);
}

void StartThread(LPTHREAD_START_ROUTINE run) {
    CreateThread(nullptr, 0, run, nullptr, 0, nullptr);
    WaitForSingleObject(isInside, INFINITE);
}

/// A thread is ended in the middle of a line.
int EndWhileAThreadLogs() {
    StartThread([](void*) -> DWORD {
        StickInLog();
        return 0;
    });
    return 0;
}

/// The same from inside the function of a timer, whose driver goes on.
int EndWhileATimerLogs() {
    StartThread([](void*) -> DWORD {
        SolvaneTimerHandle timer = 0;
        if (library->CreateTimer(&timer, 0) != 0) {
            std::exit(3);
        }
        return static_cast<DWORD>(library->RunTimer(
            timer, 2'000, [](std::uint64_t, const SolvaneTimerEvent*) { StickInLog(); }));
    });
    return 0;
}

LONG WINAPI PrintFault(EXCEPTION_POINTERS* pointers) {
    std::printf("fault 0x%lx\n", pointers->ExceptionRecord->ExceptionCode);
    std::fflush(stdout);
    ExitProcess(4);
}

/// The log function returns into code that was unloaded.
int UnloadInALine() {
    AddVectoredExceptionHandler(1, PrintFault); // without the code the stack cannot be unwound
    inside = [] { FreeLibrary(library->Module()); };
    text = "write bits";
    library->TriggerCapture();
    return 0;
}

/// The first call of the process waits for itself.
int CallInTheFirstLine() {
    library->SetLogger(nullptr, OnLine);
    inside = [] {
        SetEvent(isInside);
        library->CheckAvailable();
    };
    const auto call = [](void*) -> DWORD { return static_cast<DWORD>(library->CheckAvailable()); };
    const HANDLE thread = CreateThread(nullptr, 0, call, nullptr, 0, nullptr);
    WaitForSingleObject(isInside, INFINITE);
    constexpr DWORD kLongEnough = 300; // a call that does not wait takes a fraction of that
    return WaitForSingleObject(thread, kLongEnough) == WAIT_TIMEOUT ? 0 : 5;
}

} // namespace

int main(int count, char** arguments) {
    isInside = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    library = new test::LoadedLibrary;
    const std::string end = count > 1 ? arguments[1] : "";
    if (end == "call in the first line") {
        return CallInTheFirstLine();
    }
    library->SetLogger(nullptr, OnLine);
    if (library->CheckAvailable() != SOLVANE_OK) {
        return 2;
    }
    return end == "a thread logs"      ? EndWhileAThreadLogs()
           : end == "a timer logs"     ? EndWhileATimerLogs()
           : end == "unload in a line" ? UnloadInALine()
                                       : 0;
}
