/// A host that ends while another thread of its own is inside the log function and never comes
/// back: Windows ends that thread wherever it is, and then unloads the library, which closes the
/// hardware and logs once more. Prints what the log function is given on the thread that ends the
/// process.

#include <cstdio>
#include <cstring>

#include <solvane/solvane.h>
#include <windows.h>

namespace {

HANDLE isStuck = nullptr;

void SOLVANE_CALL OnLine(void*, const char* line) {
    if (std::strstr(line, "got invalid timer handler") != nullptr) {
        SetEvent(isStuck);
        Sleep(INFINITE);
    }
    std::printf("%s\n", line);
    std::fflush(stdout);
}

DWORD WINAPI LogForEver(void*) {
    return static_cast<DWORD>(Solvane_StopTimer(0)); // logs that there is no such timer
}

} // namespace

int main() {
    isStuck = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    Solvane_SetLogger(nullptr, OnLine);
    if (Solvane_CheckAvailable() != SOLVANE_OK) {
        return 2;
    }
    CreateThread(nullptr, 0, LogForEver, nullptr, 0, nullptr);
    WaitForSingleObject(isStuck, INFINITE);
    return 0;
}
