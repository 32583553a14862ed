"""The rig, virtual hardware for tests of hosts in Python, through ctypes; one file, nothing to install.

    import solvane, solvane_rig
    rig = solvane_rig.Rig("[[usb]]\\nchip = 'FT2232H'\\n")
    start = rig.mark()
    solvane.trigger_capture()
    rig.expect_pulse(solvane_rig.Line.TRIGGER, 9, 13, since=start)
    assert rig.captures() == 1

Each method does the same as its namesake in solvane/rig.h (captures is rig_captures), and what rig.h
says about levels, times and threads holds here too: any thread may call anything, and other Python
threads run meanwhile. What rig.h answers with -1 is raised as RigError. The hardware is in this process,
or with SOLVANE_RIG=bench that of all hosts on a bench.

solvane_rig.dll is looked for by Windows' usual search, where one that is loaded already comes first, and
in the folder of this file. The environment variable SOLVANE_RIG_DLL names another file.
"""

import contextlib
import ctypes
import enum
import json
import os
import sys
from ctypes import POINTER, byref, c_char_p, c_int, c_uint, c_uint32, c_uint64
from typing import Any, Dict, List, NamedTuple, Optional, Union

if not hasattr(ctypes, "WinDLL") or sys.maxsize < 2**32:
    raise ImportError("solvane_rig.py is for 64-bit Python on Windows")


class RigError(Exception):
    """Raised when the rig refuses something; the text says why."""


class Line(enum.IntEnum):
    """The lines of the camera. A level of 1 means active, whatever polarity a chip's pin has."""

    TRIGGER = 0
    READY = 1
    MEP = 2
    CLEAR_MEP = 3
    DARK = 4
    CAMERA_POWER = 5
    ACCESSORIES_POWER = 6


class EntryKind(enum.IntEnum):
    """What an entry of the journal tells of."""

    CALL = 0
    EDGE = 1
    EVENT = 2
    NOTE = 3


class Entry(NamedTuple):
    """An entry of the journal: 61174400, EntryKind.EDGE, "trigger 1"."""

    time_ns: int
    kind: EntryKind
    text: str


class Reply(NamedTuple):
    """The exit code of a command, and its answer: text, or what its JSON says."""

    exit_code: int
    answer: Any


# ---- The C interface, as far as it is used: the journal is read as JSON --------------------------


class Fault(ctypes.Structure):
    """Calls that fail."""

    _fields_ = [("function", c_char_p), ("call", c_uint32), ("times", c_uint32), ("kind", c_uint32),
                ("status", c_uint32), ("count", c_uint32)]


FAULT_STATUS, FAULT_COUNT, FAULT_SILENT = 1, 2, 4

_SIGNATURES = {  # the result, then the parameters
    "rig_load": (c_int, c_char_p),
    "rig_load_file": (c_int, c_char_p),
    "rig_error": (c_char_p,),
    "rig_scenario": (c_char_p,),
    "rig_level": (c_int, c_int),
    "rig_force": (c_int, c_int, c_int),
    "rig_captures": (c_uint32,),
    "rig_unplug": (c_int, c_uint),
    "rig_plug": (c_int, c_uint),
    "rig_wbem_interfaces": (c_int,),
    "rig_add_fault": (c_int, POINTER(Fault)),
    "rig_clear_faults": (None,),
    "rig_calls": (c_uint32, c_char_p),
    "rig_journal_clear": (None,),
    "rig_note": (None, c_char_p),
    "rig_command": (c_int, c_char_p, c_int, POINTER(c_char_p)),
    "rig_time": (c_uint64,),
    "rig_write_vcd": (c_int, c_char_p),
}


def _load() -> ctypes.CDLL:
    given = os.environ.get("SOLVANE_RIG_DLL")
    beside = os.path.join(os.path.dirname(os.path.abspath(__file__)), "solvane_rig.dll")
    try:
        library = ctypes.WinDLL(given or "solvane_rig.dll", winmode=0)  # 0 is Windows' usual search
    except OSError:
        if given or not os.path.exists(beside):
            raise
        library = ctypes.WinDLL(beside)
    for name, (result, *parameters) in _SIGNATURES.items():
        function = getattr(library, name)
        function.restype = result
        function.argtypes = parameters
    return library


library = _load()


def _text(name: str) -> str:
    text: bytes = getattr(library, name)()
    return text.decode(errors="replace")


def _path(path: Union[str, "os.PathLike[str]"]) -> bytes:
    return os.fspath(path).encode()


def _name(line: Line) -> str:
    return Line(line).name.lower()


def _not_forced(line: Line) -> str:
    return f"{_name(line)} cannot be forced: ready and mep can"


def _check(result: int, refusal: str) -> None:
    if result != 0:
        raise RigError(refusal)


# ---- The rig ------------------------------------------------------------------------------------


class Rig:
    """The rig of this process, or the bench that SOLVANE_RIG names. All objects are the same rig."""

    def __init__(self, scenario: Optional[str] = None) -> None:
        """Leaves the rig as it is, or loads the text of a scenario."""
        if scenario is not None:
            self.load(scenario)

    # The scenario.

    def load(self, scenario: Optional[str] = None) -> None:
        """Replaces the hardware by that of a scenario's text; None is one FT2232H and one camera."""
        _check(library.rig_load(None if scenario is None else scenario.encode()), self.error())

    def load_file(self, path: Union[str, "os.PathLike[str]"]) -> None:
        """The same from a file."""
        _check(library.rig_load_file(_path(path)), self.error())

    def error(self) -> str:
        """What was wrong with the last scenario; empty after a good one."""
        return _text("rig_error")

    def scenario(self) -> str:
        """The name of the scenario's file, or "default", "given as text" or "none"."""
        return _text("rig_scenario")

    # The lines and the plug.

    def level(self, line: Line) -> int:
        """The level of a line now."""
        level: int = library.rig_level(line)
        return level

    def force(self, line: Line, level: int) -> contextlib.ExitStack:
        """Holds READY or MEP at a level, until release(); in a `with`, until its end."""
        _check(library.rig_force(line, level), _not_forced(line))
        held = contextlib.ExitStack()
        held.callback(self.release, line)
        return held

    def release(self, line: Line) -> None:
        """Ends what force() began."""
        _check(library.rig_force(line, -1), _not_forced(line))

    def captures(self) -> int:
        """How many captures the camera has made."""
        captures: int = library.rig_captures()
        return captures

    def unplug(self, chip: int = 0) -> None:
        """Pulls the plug of a USB chip, counted from 0 in the order of the scenario."""
        _check(library.rig_unplug(chip), f"there is no chip {chip}")

    def plug(self, chip: int = 0) -> None:
        """Puts the plug back."""
        _check(library.rig_plug(chip), f"there is no chip {chip}")

    def wbem_interfaces(self) -> int:
        """How many references to interfaces of the rig's WMI the host holds."""
        interfaces: int = library.rig_wbem_interfaces()
        return interfaces

    # Faults.

    def add_fault(self, function: str, *, status: Optional[int] = None, count: Optional[int] = None,
                  silent: bool = False, call: Optional[int] = None, times: int = 1) -> None:
        """Has calls of a vendor function ("*": of any) fail: they return `status`, move or report
        `count`, or do nothing silently.

        It begins with the next call, or with `call`, counted from 1 since the scenario began. `times`
        calls in a row fail; 0: every one from then on.
        """
        kind = (FAULT_STATUS if status is not None else 0) | (FAULT_COUNT if count is not None else 0) | \
            (FAULT_SILENT if silent else 0)
        fault = Fault(function.encode(), self.calls(function) + 1 if call is None else call, times, kind,
                      status or 0, count or 0)
        _check(library.rig_add_fault(byref(fault)),
               f"no fault of {function}: it needs a vendor function, a call from 1 on, and a status, a "
               "count, both, or silence")

    def clear_faults(self) -> None:
        """Lifts every fault, those of the scenario too."""
        library.rig_clear_faults()

    def calls(self, function: str = "*") -> int:
        """How often a vendor function was called since the scenario began, or any."""
        calls: int = library.rig_calls(function.encode())
        return calls

    # The journal.

    def journal(self, since: int = 0) -> List[Entry]:
        """What happened, from the entry on that mark() returned."""
        return [Entry(round(each["time_ms"] * 1e6), EntryKind[each["kind"].upper()], each["text"])
                for each in self._ask(f"journal --since {since}")["entries"]]

    def clear_journal(self) -> None:
        """Forgets the entries."""
        library.rig_journal_clear()

    def mark(self) -> int:
        """The number of the next entry: for journal(), wait_edge() and expect_pulse()."""
        following: int = self._ask(f"journal --since {2**64 - 1}")["next"]
        return following

    def note(self, text: str) -> None:
        """Writes a line of the host's own into the journal."""
        library.rig_note(text.encode())

    # Commands.

    def command(self, words: str, *, json_answer: bool = False) -> Reply:
        """Does a command of solvane-rig: "set exposure_ms 80", "levels", "help"."""
        answer = c_char_p()
        exit_code: int = library.rig_command(words.encode(), json_answer, byref(answer))
        text = (answer.value or b"").decode(errors="replace")
        return Reply(exit_code, json.loads(text) if json_answer and text else text)

    def wait_edge(self, line: Line, level: int, *, within_ms: float = 5000,
                  since: Optional[int] = None) -> Dict[str, Any]:
        """Waits for the next such edge, or that since a mark(); raises RigError when none comes."""
        return self._wait(f'wait-edge "{_name(line)} {level}"', within_ms, since)

    def expect_pulse(self, line: Line, from_ms: float, to_ms: float, *, within_ms: float = 5000,
                     since: Optional[int] = None) -> Dict[str, Any]:
        """Waits for the next pulse, or that since a mark(); raises RigError for another width."""
        return self._wait(f"expect-pulse {_name(line)} {from_ms}..{to_ms}", within_ms, since)

    def _wait(self, words: str, within_ms: float, since: Optional[int]) -> Dict[str, Any]:
        return self._ask(f"{words} --within {within_ms}" + ("" if since is None else f" --since {since}"))

    def _ask(self, words: str) -> Dict[str, Any]:
        """The answer to a command that must succeed."""
        exit_code, answer = self.command(words, json_answer=True)
        if exit_code != 0:
            raise RigError(answer["error"] if answer else "the rig has no answer")
        told: Dict[str, Any] = answer
        return told

    # Time and waveform.

    def time_ns(self) -> int:
        """The rig's time now: nanoseconds since the scenario was loaded."""
        time: int = library.rig_time()
        return time

    def write_vcd(self, path: Union[None, str, "os.PathLike[str]"]) -> contextlib.ExitStack:
        """Writes the lines to a VCD file, until write_vcd(None); in a `with`, until its end."""
        _check(library.rig_write_vcd(None if path is None else _path(path)), f"{path} cannot be written")
        writing = contextlib.ExitStack()
        if path is not None:
            writing.callback(self.write_vcd, None)
        return writing
