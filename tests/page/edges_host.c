/* A host on a bench that toggles the trigger 10,000 times a second, for so many seconds as it is
 * told: 100 edges a write, 100 writes a second. Prints how many edges there were and how long they
 * took. */
#include <stdio.h>
#include <stdlib.h>
#include <windows.h>

/* FTD2XX.dll; the handles are pointers. */
DWORD WINAPI FT_OpenEx(const void* text, DWORD flags, void** handle);
DWORD WINAPI FT_SetBitMode(void* handle, UCHAR mask, UCHAR mode);
DWORD WINAPI FT_Write(void* handle, const void* bytes, DWORD size, DWORD* written);

enum { BY_SERIAL_NUMBER = 1, MPSSE = 2, EDGES = 100, COMMAND = 3 };

int main(int count, char** words) {
    const int writes = 100 * (count > 1 ? atoi(words[1]) : 1);
    UCHAR commands[EDGES * COMMAND];
    for (int i = 0; i < EDGES; ++i) {
        /* The high byte: the trigger is its bit 0, clear-MEP is released, both powers are on. */
        commands[i * COMMAND] = 0x82;
        commands[i * COMMAND + 1] = i % 2 == 0 ? 0x41 : 0x40;
        commands[i * COMMAND + 2] = 0x4F;
    }
    void* handle = NULL;
    if (FT_OpenEx("SLV1B", BY_SERIAL_NUMBER, &handle) != 0 ||
        FT_SetBitMode(handle, 0, MPSSE) != 0) {
        return 1;
    }
    const ULONGLONG start = GetTickCount64();
    for (int i = 0; i < writes; ++i) {
        DWORD written = 0;
        if (FT_Write(handle, commands, sizeof commands, &written) != 0 ||
            written != sizeof commands) {
            return 1;
        }
        while (GetTickCount64() - start < (ULONGLONG)(i + 1) * 10) {
            Sleep(1);
        }
    }
    printf("%d edges in %llu ms\n", writes * EDGES, GetTickCount64() - start);
    return 0;
}
