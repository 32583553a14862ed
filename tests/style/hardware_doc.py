"""docs/hardware.md has the wiring of the code's own tables."""

import re
import sys


def rows(text, heading):
    """The cells of the tables' rows below a heading, up to the next one of its level."""
    level = heading.split()[0]
    part = text.split(heading + "\n", 1)[1]
    part = re.split(rf"(?m)^{level} ", part, maxsplit=1)[0]
    return [[cell.strip() for cell in line.strip("|").split("|")]
            for line in part.splitlines() if line.startswith("|")]


def read(path):
    with open(path) as file:
        return file.read()


def mainboard_pins():
    code = re.findall(r'Pin\{(\w+), "(\w+)", EAPI_GPIO_(\w+), "(\w+?)-?", "', PINS)
    order = re.search(r"enum PinId[^{]*\{(.*?)\}", PINS, re.S)[1]
    numbers = {name: str(i) for i, name in enumerate(re.findall(r"(\w+_Pin)\b,? *///", order))}
    return [[numbers[name], f"`{text}`", direction.lower(), token]
            for name, text, direction, token in code]


def parallel_port_bits():
    return sorted([register.lower(), mask, pin] for register, mask, pin in
                  re.findall(r"Bit k\w+\{Register::(\w+), (0x\w+), (\d+)\}", LPT))


def ft2232h_bits():
    found = []
    for namespace, bus in ("high", "BCBUS"), ("low", "BDBUS"):
        body = re.search(rf"namespace {namespace} \{{(.*?)\}} // namespace", USB, re.S)[1]
        for mask in re.findall(r"k\w+ = (0x\w\w);", body):
            found.append([f"{bus}{int(mask, 16).bit_length() - 1}", mask])
    return sorted(found)


PINS = read("src/controllers/mobo/pins.h")
LPT = read("src/controllers/lpt/lpt_port.h")
USB = read("src/controllers/usb/bit_port.h")
DOC = read("docs/hardware.md")

checks = {
    "mainboard pins": (mainboard_pins(), 8,
                       [[r[0], r[1], r[2], r[6]] for r in rows(DOC, "## Mainboard pins")
                        if len(r) == 7 and r[0].isdigit()]),
    "parallel port": (parallel_port_bits(), 11,
                      sorted([r[0], r[1], r[2]] for r in rows(DOC, "## Parallel port")
                             if r[1].startswith("0x"))),
    "FT2232H": (ft2232h_bits(), 10,
                sorted([r[0], r[1]] for r in rows(DOC, "## FT2232H") if r[1].startswith("0x"))),
}
failed = False
for name, (code, count, document) in checks.items():
    if len(code) != count or code != document:
        failed = True
        print(f"{name}: the code has {len(code)}:\n  {code}\nthe document:\n  {document}")
sys.exit(failed)
