/* Prints "system ready" and each of its changes: watch_ready [seconds, 10 by default] */

#include <stdio.h>
#include <stdlib.h>

#include <windows.h>

#include <solvane/solvane.h>

int main(int argc, char** argv) {
    const double seconds = argc > 1 ? atof(argv[1]) : 10;
    const ULONGLONG begin = GetTickCount64();
    int16_t before = -1; /* neither yes nor no: the first answer is a change */

    while ((double)(GetTickCount64() - begin) < seconds * 1000) {
        int16_t ready = 0;
        const int16_t status = Solvane_CheckSystemReady(&ready);
        if (status != SOLVANE_OK) {
            fprintf(stderr, "Solvane_CheckSystemReady: status %d\n", status);
            return 1;
        }
        if (ready != before) {
            printf("%s\n", ready ? "ready" : "not ready");
            fflush(stdout); /* visible at once, also in a pipe */
            before = ready;
        }
        Sleep(20); /* the question takes about 2 ms */
    }
    return 0;
}
