/* Triggers one capture, if the system is ready for it. */

#include <stdio.h>

#include <solvane/solvane.h>

int main(void) {
    /* One call does it all: it finds the hardware, asks whether the system is ready, clears a
     * latched MEP flag, gives the pulse, and returns when the trigger line is low again. */
    const int16_t status = Solvane_TriggerCapture();
    if (status == SOLVANE_E_NOT_READY) {
        fprintf(stderr, "not ready: try again later\n"); /* and no line was touched */
        return 1;
    }
    if (status != SOLVANE_OK) {
        fprintf(stderr, "Solvane_TriggerCapture: status %d\n", status);
        return 1;
    }
    printf("triggered\n"); /* the MEP flag tells whether a picture was taken */
    return 0;
}
