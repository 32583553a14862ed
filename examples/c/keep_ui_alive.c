/* Triggers one capture while the user interface goes on: calls sleep, so they have a thread of
 * their own. */

#include <stdio.h>

#include <windows.h>

#include <solvane/solvane.h>

/* The camera's thread makes every call of the library. A program with more to do keeps it, and
 * gives it its tasks. */
static DWORD WINAPI camera(void* status) {
    *(int16_t*)status = Solvane_TriggerCapture();
    return 0;
}

int main(void) {
    int16_t status = SOLVANE_E_UNDETERMINED;
    int drawn = 0;
    HANDLE thread = CreateThread(NULL, 0, camera, &status, 0, NULL);
    if (thread == NULL) {
        fprintf(stderr, "no thread: error %lu\n", GetLastError());
        return 1;
    }

    /* This thread is the user interface's. It waits for the camera and for messages, and never in
     * the library. */
    while (MsgWaitForMultipleObjects(1, &thread, FALSE, 20, QS_ALLINPUT) != WAIT_OBJECT_0) {
        MSG message;
        while (PeekMessage(&message, NULL, 0, 0, PM_REMOVE)) {
            TranslateMessage(&message);
            DispatchMessage(&message);
        }
        drawn++;
    }
    CloseHandle(thread); /* it has ended, so its status is there to be read */

    fprintf(stderr, "drawn %d times meanwhile\n", drawn);
    if (status != SOLVANE_OK) {
        fprintf(stderr, "Solvane_TriggerCapture: status %d\n", status);
        return 1;
    }
    printf("triggered\n");
    return 0;
}
