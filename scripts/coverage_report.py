"""Reports what gcovr measured, line by line, against the list of what is left out of it."""

import argparse
import json
import os
import re
import subprocess
import sys

parser = argparse.ArgumentParser(description=__doc__)
parser.add_argument("measured", help="gcovr's JSON")
parser.add_argument("--exclusions", help="fail unless everything else is executed")
parser.add_argument("--lines-only", action="store_true", help="say nothing of branches")
arguments = parser.parse_args()


def read_exclusions(path):
    """{(file, "line" or "branch", text of the line): how many}, and the files left out whole."""
    exclusions, reasons, files = {}, {}, set()
    entry = None
    with open(path) as file:
        for number, line in enumerate(file, 1):
            match = re.fullmatch(r"(\S+): (?:file|(\d+) (line|branch)(?:es|s)?: (.*))\n", line)
            if line.startswith("#") or not line.strip():
                entry = None
            elif line.startswith(" ") and entry:
                reasons[entry] += line.strip()
            elif match:
                entry = (match[1], match[3], match[4])
                reasons[entry] = ""
                if match[3]:
                    exclusions[entry] = int(match[2])
                else:
                    files.add(match[1])
            else:
                sys.exit(f"{path}:{number}: neither an exclusion nor its reason")
    for entry, reason in reasons.items():
        if not reason:
            sys.exit(f"{path}: no reason for {entry}")
    return exclusions, files


class Tally:
    """Executed of all, by kind."""

    def __init__(self):
        self.executed = {"line": 0, "branch": 0}
        self.all = {"line": 0, "branch": 0}

    def add(self, kind, executed):
        self.all[kind] += 1
        self.executed[kind] += executed

    def text(self, kind):
        executed, of_all = self.executed[kind], self.all[kind]
        share = 100 * executed / of_all if of_all else 100
        if executed < of_all:
            share = min(share, 99.9)  # never 100.0 by rounding
        return f"{share:5.1f} %{executed:6}/{of_all:<5}"


with open(arguments.measured) as measured:
    files = json.load(measured)["files"]
exclusions, files_left_out = {}, set()
if arguments.exclusions:
    exclusions, files_left_out = read_exclusions(arguments.exclusions)

# (file, kind, text of the line) -> [(line, whether executed, what is missing else)]
items = {}
for file in files:
    with open(file["file"]) as source:
        text = [""] + [line.strip() for line in source]
    for line in file["lines"]:
        if line.get("gcovr/noncode"):
            continue
        number = line["line_number"]
        key = (file["file"], "line", text[number])
        items.setdefault(key, []).append((number, line["count"] > 0, "never executed"))
        branches = [] if arguments.lines_only else line["branches"]
        for index, branch in enumerate(branches, 1):
            key = (file["file"], "branch", text[number])
            items.setdefault(key, []).append(
                (number, branch["count"] > 0, f"branch {index} of {len(branches)} never taken"))

left_out = sum(exclusions.values())

# What is excluded is excluded whole: one branch more or less than listed is a change to look at.
total, rooms, complaints = Tally(), {}, []
for (name, kind, text), found in items.items():
    missing = [item for item in found if not item[1]]
    excluded = exclusions.pop((name, kind, text), 0)
    if len(missing) == excluded:
        found = [item for item in found if item[1]]
    else:
        if excluded:
            complaints.append((name, missing[0][0] if missing else found[0][0],
                               f"{excluded} {kind} excluded, {len(missing)} not executed", text))
        complaints += [(name, number, what, text) for number, _, what in missing]
    for _, executed, _ in found:
        rooms.setdefault(os.path.dirname(name), Tally()).add(kind, executed)
        total.add(kind, executed)
complaints += [(name, 0, "excluded, but not there", text) for name, _, text in exclusions]

# A source file that no test program contains is not measured at all.
sources = subprocess.run(["git", "ls-files", "-co", "--exclude-standard", "src/*.cpp"], check=True,
                         capture_output=True, text=True).stdout.split()
unmeasured = set(sources) - {file["file"] for file in files}
complaints += [(name, 0, "not measured", "is it part of a test program?")
               for name in unmeasured ^ files_left_out]

print(f"{'room':24}{'lines':>17}{'' if arguments.lines_only else 'branches':>23}".rstrip())
for room, tally in sorted(rooms.items()) + [("all", total)]:
    branches = "" if arguments.lines_only else tally.text("branch")
    print(f"{room:24}{tally.text('line')}     {branches}".rstrip())
for name, number, what, text in sorted(complaints):
    print(f"{name}:{number}: {what}: {text}")
if arguments.exclusions:
    print(f"Not counted: {left_out} lines and branches of {arguments.exclusions}")
    sys.exit(f"{len(complaints)} lines and branches are not as they must be" if complaints else 0)
