#!/usr/bin/python3 -B
"""Draws the wiring of each kind of hardware for docs/hardware.md, from the tables in src/controllers,
into docs/wiring. tests/style/hardware_doc.py fails when a drawing is out of date.

    scripts/wiring.py    draws all
"""

import re
import sys
from collections import namedtuple
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
DRAWINGS = ROOT / "docs/wiring"

# A pin, its bit or number for programs, whether it is an output, the camera's line on it and the
# meaning of that line's level. For a wire that reads back an output, `of` is the output's pin.
Wire = namedtuple("Wire", "pin bit is_output line level of", defaults=(None,))

CONTROLLERS = ROOT / "src/controllers"
USB = (CONTROLLERS / "usb/bit_port.h").read_text()
LPT = (CONTROLLERS / "lpt/lpt_port.h").read_text()
PINS = (CONTROLLERS / "mobo/pins.h").read_text()
MAINBOARD = (CONTROLLERS / "mobo/solvane_mobo.cpp").read_text()
SUPER_IO = (CONTROLLERS / "mobo/solvane_kontron.cpp").read_text()

# By the names of bits: the line, and the meaning of its level.
NAMED = {
    "Trigger": ("trigger", "pulse to 1"),
    "Dark": ("dark", "1 = dark"),
    "CameraPowerOff": ("camera power", "0 = on"),
    "AccessoriesPowerOff": ("accessories power", "0 = on"),
    "Ready": ("ready", "1 = ready"),
    "NoMepFlag": ("MEP flag", "0 = latched"),
    "ClearMep": ("clear MEP", "pulse to 1"),
    "ClearMepRest": ("clear MEP", "pulse to 0"),
}
LOOPBACKS = {"PresenceLoopback": "PresenceProbe", "PowerLoopback": "PowerProbe"}
PROBES = {"PresenceProbe": "presence probe", "PowerProbe": "power-interface probe"}
ORDER = [line for line, _ in dict.fromkeys(NAMED.values())]


def in_order(wires):
    """The wires sorted by line, each followed by the wires that read it back."""
    first = [wire for wire in wires if wire.of is None]
    first.sort(key=lambda wire: ORDER.index(wire.line) if wire.line in ORDER else len(ORDER))
    return [each for wire in first
            for each in (wire, *(back for back in wires if back.of == wire.pin))]


def ft2232h():
    found = {}
    for namespace, bus in ("high", "BCBUS"), ("low", "BDBUS"):
        body = re.search(rf"namespace {namespace} \{{(.*?)\}} // namespace", USB, re.S)[1]
        for name, mask in re.findall(r"k(\w+) = (0x\w\w);", body):
            found[namespace, name] = f"{bus}{int(mask, 16).bit_length() - 1}", mask
    outputs = re.findall(r"k(\w+)", re.search(r"kOutputs =(.*?);", USB, re.S)[1])
    wires = []
    for (namespace, name), (pin, mask) in found.items():
        of = found["high", name][0] if namespace == "low" else None
        wires.append(Wire(pin, mask, of is None and name in outputs, *NAMED[name], of))
    return in_order(wires)


def parallel_port():
    found = {name: (register.lower(), mask, pin) for name, register, mask, pin in
             re.findall(r"Bit k(\w+)\{Register::(\w+), (0x\w+), (\d+)\}", LPT)}
    wires = []
    for name, (register, mask, pin) in found.items():
        of = f"pin {found[LOOPBACKS[name]][2]}" if name in LOOPBACKS else None
        line, level = NAMED.get(name) or (PROBES[LOOPBACKS.get(name, name)], "")
        wires.append(Wire(f"pin {pin}", f"{register} {mask}", register != "status", line, level, of))
    return in_order(wires)


def mainboard(back_end):
    """`back_end` is the source with the levels of the power lines, which differ between the two kinds."""
    def level(function, pin, source=MAINBOARD):
        body = re.search(rf"^\w[\w:]* [\w:]*{function}\([^\n]* \{{\n(.*?)^\}}", source, re.S | re.M)[1]
        return {"High": 1, "Low": 0}[re.search(rf"{pin}level(High|Low)", body)[1]]

    power = level("EnableCameraPower", r"PowerDown2_Pin, ", back_end)
    read = level("CheckCameraPower", r"PowerDown2Status_Pin, ", back_end)
    is_on = "!" not in re.search(r"CheckCameraPower.*?\}\n", back_end, re.S)[0]
    meaning = {
        "Trigger_Pin": ("trigger", f"pulse to {level('PulseTrigger', 'Trigger_Pin, ')}"),
        "Ready_Pin": ("ready", f"{level('CheckSystemReady', 'Ready_Pin, ')} = ready"),
        "Mep_Pin": ("MEP flag", f"{level('CheckAndResetMepFlag', 'Mep_Pin, ')} = latched"),
        "Clear_Mep_Pin": ("clear MEP", f"pulse to {level('PulseClearMep', 'Clear_Mep_Pin, ')}"),
        "ForceDark_Pin": ("dark", f"{level('EnableForcedBlackUpdate', 'ForceDark_Pin, ')} = dark"),
        "PowerDown2_Pin": ("camera power", f"{power} = on"),
        "PowerDown3_Pin": ("accessories power",
                           f"{level('EnableAccessoriesPower', 'SwitchAccessories.', back_end)} = on"),
        "PowerDown2Status_Pin": ("camera power", f"{read if is_on else 1 - read} = on"),
    }
    order = re.search(r"enum PinId[^{]*\{(.*?)\}", PINS, re.S)[1]
    numbers = {name: i for i, name in enumerate(re.findall(r"(\w+_Pin)\b,? *///", order))}
    backs = {"PowerDown2Status_Pin": f"pin {numbers['PowerDown2_Pin']}"}
    return in_order([Wire(f"pin {numbers[name]}", text, direction == "OUTPUT", *meaning[name],
                          backs.get(name)) for name, text, direction in
                     re.findall(r'Pin\{(\w+), "(\w+)", EAPI_GPIO_(\w+),', PINS)])


KINDS = {
    "parallel_port": ("Parallel port", parallel_port()),
    "superio": ("Super I/O, GPIO bank 3", mainboard(SUPER_IO)),
    "eapi": ("Embedded API", mainboard(MAINBOARD)),
    "ft2232h": ("FT2232H, channel B", ft2232h()),
}

# ---- Drawn -------------------------------------------------------------------------------------

WIDTH, MARGIN, BOX, TOP, ROW, BACK, FOOT = 820, 16, 236, 34, 38, 30, 44
LEFT, RIGHT = MARGIN + BOX, WIDTH - MARGIN - BOX + 40
JOINT = RIGHT - 30  # where a read-back wire branches off the line
STYLE = """<style>
text{font:13px system-ui,"Segoe UI",Roboto,"DejaVu Sans",sans-serif;fill:#1f2328}
.paper{fill:#fff;stroke:#d1d9e0}
.box{fill:#f6f8fa;stroke:#8c959f}
.title{font-weight:600}
.bit,.note{fill:#59636e}
.bit{font-size:12px}
.level{font-size:12px;text-anchor:middle}
.pin{text-anchor:end;font-weight:600}
path{fill:none;stroke-width:2;stroke-linejoin:round}
.out{stroke:#0969da}.in{stroke:#1a7f37}.back{stroke:#8250df;stroke-dasharray:5 3}
.tip.out,.tip.in,.tip.back{stroke:none}.tip.out,.dot{fill:#0969da}.tip.in{fill:#1a7f37}.tip.back{fill:#8250df}
@media (prefers-color-scheme:dark){
text{fill:#f0f6fc}
.paper{fill:#0d1117;stroke:#3d444d}
.box{fill:#151b23;stroke:#656c76}
.bit,.note{fill:#9198a1}
.out{stroke:#4493f8}.in{stroke:#3fb950}.back{stroke:#ab7df8}
.tip.out,.dot{fill:#4493f8}.tip.in{fill:#3fb950}.tip.back{fill:#ab7df8}
}
</style>"""


def text(style, x, y, words):
    escaped = words.replace("&", "&amp;").replace("<", "&lt;")
    return f'<text class="{style}" x="{x}" y="{y + 4}">{escaped}</text>'


def stroke(style, path):
    return f'<path class="{style}" d="{path}"/>'


def tip(style, x, y):
    """An arrowhead at x, y that points to the right for an output, else to the left."""
    back = -9 if style == "out" else 9
    return f'<path class="tip {style}" d="M{x} {y}l{back} -5v10z"/>'


def box(x, y, width, height):
    return f'<rect class="box" x="{x}" y="{y}" width="{width}" height="{height}" rx="6"/>'


def in_words(wires):
    parts = []
    for wire in wires:
        if wire.of:
            parts.append(f"{wire.of} is read back at {wire.pin}")
        else:
            direction = "drives" if wire.is_output else "reads"
            parts.append(f"{wire.pin} {direction} {wire.line}{', ' * bool(wire.level)}{wire.level}")
    return "; ".join(parts) + "."


def draw(title, wires):
    rows = {}
    y = TOP
    for wire in wires:
        y += BACK if wire.of else ROW
        rows[wire.pin] = y
    lines_end = max(rows[wire.pin] for wire in wires if wire.level)
    bottom = y + ROW // 2
    height = bottom + FOOT
    svg = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {height}" '
           f'width="{WIDTH}" height="{height}" role="img">',
           f"<title>Wiring: {title}</title>", f"<desc>{in_words(wires)}</desc>", STYLE,
           f'<rect class="paper" x="0.5" y="0.5" width="{WIDTH - 1}" height="{height - 1}" rx="6"/>',
           box(MARGIN, MARGIN, BOX, bottom - MARGIN),
           text("title", MARGIN + 14, MARGIN + 22, title),
           box(RIGHT, MARGIN, WIDTH - MARGIN - RIGHT, lines_end + ROW // 2 - MARGIN),
           text("title", RIGHT + 16, MARGIN + 22, "Camera")]
    for wire in wires:
        y = rows[wire.pin]
        middle = (LEFT + RIGHT) // 2
        svg += [text("bit", MARGIN + 14, y, wire.bit), text("pin", LEFT - 14, y, wire.pin)]
        if wire.of:
            joint = JOINT if wire.level else middle + 100
            words = f"read back, {wire.level}" if wire.level else "comes back"
            svg += [stroke("back", f"M{joint} {rows[wire.of]}V{y}H{LEFT + 9}"),
                    tip("back", LEFT, y), text("level", middle, y - 9, words)]
            if wire.level:
                svg.append(f'<circle class="dot" cx="{joint}" cy="{rows[wire.of]}" r="4"/>')
            else:
                svg.append(text("note", joint + 14, (y + rows[wire.of]) // 2,
                                f"a wire in the plug: {wire.of} to {wire.pin}"))
        elif not wire.level:
            svg += [stroke("out", f"M{LEFT} {y}H{middle + 100}"),
                    text("level", middle, y - 9, wire.line)]
        else:
            style = "out" if wire.is_output else "in"
            begin, end = (LEFT, RIGHT - 9) if wire.is_output else (LEFT + 9, RIGHT)
            svg += [stroke(style, f"M{begin} {y}H{end}"),
                    tip(style, RIGHT if wire.is_output else LEFT, y),
                    text("level", middle, y - 9, wire.level), text("line", RIGHT + 16, y, wire.line)]
    x = MARGIN + 14
    for style, words, width in (("out", "driven by the library", 196), ("in", "read by the library", 180),
                                ("back", "read back", 110)):
        if style == "back" and not any(wire.of for wire in wires):
            continue
        y = height - FOOT // 2
        svg += [stroke(style, f"M{x} {y}h26"), text("note", x + 34, y, words)]
        x += width
    return "\n".join(svg) + "\n</svg>\n"


def drawings():
    return {DRAWINGS / f"{name}.svg": draw(*kind) for name, kind in KINDS.items()}


if __name__ == "__main__":
    DRAWINGS.mkdir(exist_ok=True)
    for path, svg in drawings().items():
        path.write_text(svg)
    sys.exit(0)
