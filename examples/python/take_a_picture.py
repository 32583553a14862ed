"""Takes one picture and makes sure of it, while the user interface stays alive.

The exit code is 0 if the MEP flag has confirmed it, 1 if the camera was not triggered, 2 if it was, or may
have been, and nothing confirms it.
"""

import concurrent.futures
import sys
import time
from typing import Callable

import solvane

TAKEN, NOT_TRIGGERED, UNCONFIRMED = 0, 1, 2

# What the camera of this installation needs; the library knows nothing of it.
READY_S = 2.0  # from one picture until it is ready again, at the longest
MEP_S = 1.0  # from the trigger until the MEP flag, at the longest
POLL_S = 0.005  # between two questions


def wait_for_yes(ask: Callable[[], bool], seconds: float) -> bool:
    """Asks until the answer is yes, or time is up. By the clock: a question can take some seconds."""
    begin = time.monotonic()
    while not ask():
        if time.monotonic() - begin >= seconds:
            return False
        time.sleep(POLL_S)
    return True


def is_ready() -> bool:
    return wait_for_yes(solvane.check_system_ready, READY_S)


def flag_goes_down() -> bool:
    """Asking clears the flag, so the second answer is no, unless nothing can clear it."""
    return not (solvane.check_and_reset_mep_flag() and solvane.check_and_reset_mep_flag())


def flag_confirms() -> bool:
    # Ports whose driver has died can read as a flag too, as one that stays.
    return wait_for_yes(solvane.check_and_reset_mep_flag, MEP_S) and flag_goes_down()


def holds(condition: Callable[[], bool]) -> bool:
    """What cannot be found out does not hold."""
    try:
        return condition()
    except solvane.Error:
        return False


def status_of(call: Callable[[], None]) -> int:
    try:
        call()
    except solvane.Error as error:
        return error.status
    return solvane.OK


def end(outcome: int, what: str, ask: Callable[[], None]) -> int:
    print(f"{what}; the hardware answers with status {status_of(ask)}", file=sys.stderr)
    return outcome


def take_a_picture() -> int:
    if not holds(is_ready):
        return end(NOT_TRIGGERED, "not ready", solvane.check_available)
    if not holds(flag_goes_down):  # a flag that is up already would pass for this picture's
        return end(NOT_TRIGGERED, "the MEP flag cannot be taken down", solvane.check_available)

    status = status_of(solvane.trigger_capture)
    if status in (solvane.E_NOT_READY, solvane.E_NO_HARDWARE):
        return end(NOT_TRIGGERED, "not ready any more", solvane.check_available)
    if status != solvane.OK:
        # The trigger may have been given, and its line may still be high: put it to rest.
        status = status_of(solvane.recheck_status)

    if status != solvane.OK or not holds(flag_confirms):
        return end(UNCONFIRMED, "triggered, but not confirmed", solvane.recheck_status)
    print("taken")
    return TAKEN


def main() -> int:
    drawn = 0
    # The camera's thread makes every call of solvane, one after the other.
    with concurrent.futures.ThreadPoolExecutor(max_workers=1) as camera:
        picture = camera.submit(take_a_picture)
        while not picture.done():
            # This thread is the user interface's; a real one runs its event loop here.
            drawn += 1
            concurrent.futures.wait([picture], timeout=0.02)
    print(f"drawn {drawn} times meanwhile", file=sys.stderr)
    return picture.result()


sys.exit(main())
