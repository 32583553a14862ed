/* Triggers one capture. The exit code is 0 if it was taken. */

#include <stdio.h>

#include <solvane/solvane.h>

int main(void) {
    int16_t status = Solvane_CheckAvailable();
    if (status == SOLVANE_OK) {
        status = Solvane_TriggerCapture();
    }
    if (status != SOLVANE_OK) {
        fprintf(stderr, "Solvane answered with status %d\n", status);
        return 1;
    }
    puts("captured");
    return 0;
}
