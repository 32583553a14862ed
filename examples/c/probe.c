/* Finds the hardware and prints the state of every line that can be read.
 *
 * It asks and switches nothing, but finding the hardware sets trigger and clear-MEP to rest, and on
 * a mainboard switches both powers on and dark off. */

#include <stdio.h>

#include <solvane/solvane.h>

/* Every question has this type. SOLVANE_CALL belongs to it, as to everything in solvane.h. */
typedef int16_t(SOLVANE_CALL* Question)(int16_t* answer);

/* Prints one answer; returns 0, or 1 when there is none. */
static int ask(const char* label, Question question, const char* yes, const char* no) {
    int16_t answer = 0;
    const int16_t status = question(&answer);
    if (status != SOLVANE_OK) { /* then nothing was written to answer */
        fprintf(stderr, "%s: status %d\n", label, status);
        return 1;
    }
    printf("%s: %s\n", label, answer ? yes : no);
    return 0;
}

int main(void) {
    /* The first call looks for the hardware and configures it; later calls use what it found. */
    const int16_t status = Solvane_CheckAvailable();
    if (status != SOLVANE_OK) {
        fprintf(stderr, "Solvane_CheckAvailable: status %d\n", status);
        return 1;
    }
    printf("available: yes\n");
    printf("power control: %s\n",
           Solvane_CheckPowerControlAvailable() == SOLVANE_OK ? "yes" : "no");

    /* Asking for the MEP flag would clear it, so a probe leaves it alone. */
    if (ask("ready", Solvane_CheckSystemReady, "yes", "no") != 0 ||
        ask("dark", Solvane_CheckForcedBlackUpdate, "on", "off") != 0 ||
        ask("camera power", Solvane_CheckCameraPower, "on", "off") != 0 ||
        ask("accessories power", Solvane_CheckAccessoriesPower, "on", "off") != 0) {
        return 1;
    }
    return 0;
}
