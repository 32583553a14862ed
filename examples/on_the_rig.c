/*
 * A host's own test on the rig, which asks what the camera has seen. The exit code is 0 if
 * everything holds.
 */

#include <stdio.h>

#include <solvane/rig.h>
#include <solvane/solvane.h>

static int failures = 0;

static void check(int holds, const char* what) {
    printf("%s  %s\n", holds ? "holds" : "FAILS", what);
    failures += !holds;
}

int main(void) {
    check(Solvane_TriggerCapture() == SOLVANE_OK, "a camera that is ready is triggered");
    check(rig_captures() == 1 && rig_level(RIG_TRIGGER) == 0, "it takes one picture");

    rig_force(RIG_READY, 0);
    check(Solvane_TriggerCapture() == SOLVANE_E_NOT_READY, "one that is not ready is left alone");
    check(rig_captures() == 1, "it takes no picture");
    return failures;
}
