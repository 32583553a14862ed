"""Triggers one capture, if the system is ready for it."""

import sys

import solvane

try:
    # One call does it all: it finds the hardware, asks whether the system is ready, clears a latched
    # MEP flag, gives the pulse, and returns when the trigger line is low again.
    solvane.trigger_capture()
    print("triggered")  # whether a picture was taken, the MEP flag tells
except solvane.Error as error:
    if error.status == solvane.E_NOT_READY:
        sys.exit("not ready: try again later")  # and no line was touched
    sys.exit(str(error))
