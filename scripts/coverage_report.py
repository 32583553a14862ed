"""Compares gcovr's measurement with the list of exclusions, and reports each line that differs.

    coverage_report.py <gcovr's JSON> <list of exclusions>

Fails unless everything that is not excluded was executed.
"""

import collections
import json
import os
import re
import subprocess
import sys

measured, excluding = sys.argv[1:]
with open(measured) as file:
    files = json.load(file)["files"]

# Gives {(file, "line" or "branch", text of the line): count}, and the files that are excluded whole.
ENTRY = re.compile(r"(\S+): (?:file|(\d+) (line|branch)(?:es|s)?: (.*))\n(?: +\S.*\n)+")
with open(excluding) as file:
    listed = re.sub(r"(?m)^(#.*)?\n", "", file.read())
if ENTRY.sub("", listed):
    sys.exit(f"{excluding}: neither an exclusion nor its reason:\n{ENTRY.sub('', listed)}")
exclusions = {(entry[1], entry[3], entry[4]): int(entry[2] or 0) for entry in ENTRY.finditer(listed)}
files_left_out = {name for name, kind, _ in exclusions if not kind}
exclusions = {entry: count for entry, count in exclusions.items() if count}
left_out = sum(exclusions.values())

# (file, kind, text of the line) -> [(line, whether executed, what is missing if not)]
items = collections.defaultdict(list)
for file in files:
    with open(file["file"]) as source:
        text = [""] + [line.strip() for line in source]
    for line in file["lines"]:
        number = line["line_number"]
        if line.get("gcovr/noncode"):
            continue
        items[file["file"], "line", text[number]].append(
            (number, line["count"] > 0, "never executed"))
        for index, branch in enumerate(line["branches"], 1):
            items[file["file"], "branch", text[number]].append(
                (number, branch["count"] > 0,
                 f"branch {index} of {len(line['branches'])} never taken"))

# The counts must match exactly: one branch more or less than listed must be reviewed.
executed, of_all, complaints = collections.Counter(), collections.Counter(), []
for (name, kind, text), found in items.items():
    missing = [item for item in found if not item[1]]
    excluded = exclusions.pop((name, kind, text), 0)
    if len(missing) == excluded:
        found = [item for item in found if item[1]]
    else:
        if excluded:
            complaints.append((name, found[0][0],
                               f"{excluded} {kind} excluded, {len(missing)} not executed", text))
        complaints += [(name, number, what, text) for number, _, what in missing]
    for room in os.path.dirname(name), "all":
        of_all[room, kind] += len(found)
        executed[room, kind] += sum(item[1] for item in found)
complaints += [(name, 0, "excluded, but not there", text) for name, _, text in exclusions]

# gcovr does not report source files that are in no test program.
sources = subprocess.run(["git", "ls-files", "-co", "--exclude-standard", "src/*.cpp"], check=True,
                         capture_output=True, text=True).stdout.split()
complaints += [(name, 0, "not measured", "is it part of a test program?")
               for name in (set(sources) - {file["file"] for file in files}) ^ files_left_out]

print(f"{'room':24}{'lines':>12}{'branches':>16}")
for room in sorted({room for room, _ in of_all} - {"all"}) + ["all"]:
    shares = (f"{executed[room, kind]:6} of {of_all[room, kind]:<6}" for kind in ("line", "branch"))
    print(f"{room:24}{'  '.join(shares)}".rstrip())
for name, number, what, text in sorted(complaints):
    print(f"{name}:{number}: {what}: {text}")
print(f"Not counted: {left_out} lines and branches of {excluding}")
sys.exit(f"{len(complaints)} lines and branches are not as they must be" if complaints else 0)
