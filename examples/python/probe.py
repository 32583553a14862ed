"""Finds the hardware and prints the state of every line that can be read.

It asks and switches nothing, but finding the hardware sets trigger and clear-MEP to rest, and on a
mainboard switches both powers on and dark off.
"""

import sys

import solvane


def main() -> None:
    # The first call looks for the hardware and configures it; later calls use what it found. It raises
    # solvane.Error when there is none.
    solvane.check_available()
    print("available: yes")

    try:
        solvane.check_power_control_available()
        print("power control: yes")
    except solvane.Error:  # "no" is no failure here
        print("power control: no")

    # Asking for the MEP flag would clear it, so a probe leaves it alone.
    print("ready:", "yes" if solvane.check_system_ready() else "no")
    print("dark:", "on" if solvane.check_forced_black_update() else "off")
    print("camera power:", "on" if solvane.check_camera_power() else "off")
    print("accessories power:", "on" if solvane.check_accessories_power() else "off")


try:
    main()
except solvane.Error as error:
    sys.exit(str(error))  # the function, the status and what it means; the exit code is 1
