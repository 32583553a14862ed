"""The wiring in docs/hardware.md, in its tables and in its drawings, is that of the code's tables."""

import re
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "scripts"))
import wiring

DOC = (wiring.ROOT / "docs/hardware.md").read_text()


def rows(heading):
    """The cells of the tables' rows below a heading, up to the next one of its level."""
    level = heading.split()[0]
    part = DOC.split(heading + "\n", 1)[1]
    part = re.split(rf"(?m)^{level} ", part, maxsplit=1)[0]
    return [[cell.strip() for cell in line.strip("|").split("|")]
            for line in part.splitlines() if line.startswith("|")]


def cells(wire):
    """What the document's tables say of a wire, but for the words round the line's name."""
    return wire.pin, wire.bit, "output" if wire.is_output else "input", wire.line, wire.level


def lines_of(kind):
    return sorted(cells(wire) for wire in wiring.KINDS[kind][1])


def line(words):
    return words.split(",")[0]


def of_parallel_port():
    found = []
    for register, mask, pin, words, level, _ in rows("## Parallel port"):
        if mask.startswith("0x"):
            probe = re.sub("loopback", "probe", words)
            found.append((f"pin {pin}", f"{register} {mask}",
                          "input" if register == "status" else "output", probe,
                          "" if probe.endswith("probe") else level))
    return sorted(found)


def of_mainboard(column):
    """The power lines' levels stand in a table of their own, a column a kind."""
    on = next(row[column] for row in rows("## Mainboard pins") if row[0] == "power on")
    return sorted((f"pin {number}", name.strip("`"), direction, line(words),
                   f"{on} = on" if level == "see below" else level)
                  for number, name, direction, words, level, *_ in
                  (row for row in rows("## Mainboard pins") if len(row) == 7 and row[0].isdigit()))


def of_ft2232h():
    return sorted((pin, mask, direction, line(words), level)
                  for pin, mask, direction, words, level, _ in
                  (row for row in rows("## FT2232H") if row[1].startswith("0x")))


def tokens():
    return re.findall(r'Pin\{\w+, "(\w+)", EAPI_GPIO_\w+, "(\w+?)-?", "', wiring.PINS)


checks = {
    "parallel port": (lines_of("parallel_port"), 11, of_parallel_port()),
    "Embedded API": (lines_of("eapi"), 8, of_mainboard(1)),
    "Super I/O": (lines_of("superio"), 8, of_mainboard(2)),
    "FT2232H": (lines_of("ft2232h"), 10, of_ft2232h()),
    "pins in the log": (tokens(), 8, [(row[1].strip("`"), row[6])
                                      for row in rows("## Mainboard pins")
                                      if len(row) == 7 and row[0].isdigit()]),
}
failed = False
for name, (code, count, document) in checks.items():
    if len(code) != count or code != document:
        failed = True
        print(f"{name}: the code has {len(code)}:\n  {code}\nthe document:\n  {document}")
for path, svg in wiring.drawings().items():
    if not path.exists() or path.read_text() != svg:
        failed = True
        print(f"{path.name} is out of date: run scripts/wiring.py, and look at what it changes.")
    if f"](wiring/{path.name})" not in DOC:
        failed = True
        print(f"docs/hardware.md does not show {path.name}.")
if {*wiring.DRAWINGS.iterdir()} != wiring.drawings().keys():
    failed = True
    print("docs/wiring has a file that scripts/wiring.py does not draw.")
sys.exit(failed)
