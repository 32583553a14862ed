"""Writes the library's log of how it finds the hardware to a file: log_to_file [solvane.log]"""

import sys

import solvane

path = sys.argv[1] if len(sys.argv) > 1 else "solvane.log"
lines = 0


def on_line(line: str) -> None:
    # Called in the middle of operations, so it returns quickly, and it calls nothing of Solvane's.
    global lines
    file.write(line + "\n")
    lines += 1


failure = None
try:
    with open(path, "w", encoding="utf-8") as file:
        # Set before the first call, because earlier lines are lost, and removed before the file closes.
        with solvane.logger(on_line):
            try:
                solvane.check_available()
            except solvane.Error as error:
                failure = str(error)
except OSError as error:
    sys.exit(str(error))
print(f"{lines} lines logged")
sys.exit(failure)  # None is success
