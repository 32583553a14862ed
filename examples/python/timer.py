"""Runs a timer of the driver's until ten events have come, and prints how each trigger went."""

import sys

import solvane

PARAMETER = 20000  # the rig's driver takes it for microseconds

events = 0


def on_event(event: solvane.TimerEvent) -> None:
    global events
    events += 1
    print(f"event {events}: status {event.status}")
    if events == 10:
        timer.stop()  # the run ends when this function returns


try:
    with solvane.logger(lambda line: print(line, file=sys.stderr)):
        with solvane.Timer() as timer:  # raises when the driver is not installed; the log says why
            timer.run(PARAMETER, on_event)  # blocks until the stop
except solvane.Error as error:
    sys.exit(str(error))
