"""Prints "system ready" and each of its changes: watch_ready [seconds, 10 by default]"""

import sys
import time

import solvane

seconds = float(sys.argv[1]) if len(sys.argv) > 1 else 10
end = time.monotonic() + seconds
before = None  # the first answer is a change

try:
    while time.monotonic() < end:
        ready = solvane.check_system_ready()
        if ready != before:
            print("ready" if ready else "not ready", flush=True)
            before = ready
        time.sleep(0.02)  # the question takes about 2 ms: leave the rest to others
except solvane.Error as error:
    sys.exit(str(error))
