"""Solvane.dll for Python on 64-bit Windows, through ctypes; one file, nothing to install.

    import solvane
    if solvane.check_system_ready():
        solvane.trigger_capture()

Each function does the same as its namesake in solvane.h (trigger_capture is Solvane_TriggerCapture),
and what solvane.h says about lines, times and threads holds here too. In short:

- A status other than 0 is raised as solvane.Error; questions return True or False.
- One thread at a time, except for timers. The interpreter's lock does not ensure this, because ctypes
  lets other Python threads run during a call.
- An exception in a timer's callback ends the run, and Timer.run raises it again. In a log callback it
  is printed by ctypes and goes no further.

Solvane.dll is loaded from the folder of this file, or else by Windows' usual search, which includes
PATH. The environment variable SOLVANE_DLL names another file.
"""

import atexit
import contextlib
import ctypes
import os
import sys
import threading
import weakref
from ctypes import POINTER, c_char_p, c_int16, c_uint16, c_uint32, c_uint64, c_void_p
from typing import Any, Callable, Iterator, List, Optional

if not hasattr(ctypes, "WinDLL") or sys.maxsize < 2**32:
    raise ImportError("solvane.py is for 64-bit Python on Windows")

# ---- Statuses -----------------------------------------------------------------------------------

OK = 0
E_UNDETERMINED = -1
E_WRITE = -2
E_NO_HARDWARE = -3
E_INVALID = -4
E_NOT_READY = -5

_MEANINGS = {
    E_UNDETERMINED: "the state asked for could not be determined, or a timer failed",
    E_WRITE: "a line could not be written, or the serial channel not be reset",
    E_NO_HARDWARE: "the hardware was not found, or could not be opened and configured",
    E_INVALID: "a null pointer, or a timer that is not there or not running",
    E_NOT_READY: "the system is not ready",
}


class Error(Exception):
    """Raised for a status other than 0; `function` is the function that returned it."""

    def __init__(self, function: str, status: int) -> None:
        meaning = _MEANINGS.get(status, "a status that this module does not know")
        super().__init__(f"{function}: status {status}: {meaning}")
        self.function = function
        self.status = status


# ---- The C interface, as it is ------------------------------------------------------------------


class TimerEvent(ctypes.Structure):
    """One event of a timer. Valid during the call only: copy what you keep."""

    _fields_ = [("status", c_int16), ("initialStatusOk", c_uint16), ("data0", c_uint16),
                ("data1", c_uint16), ("data2", c_uint16), ("data3", c_uint16)]


LogCallback: Any = ctypes.WINFUNCTYPE(None, c_void_p, c_char_p)
TimerCallback: Any = ctypes.WINFUNCTYPE(None, c_uint64, POINTER(TimerEvent))

_COMMAND = (c_int16,)
_QUESTION = (c_int16, POINTER(c_int16))
_SIGNATURES = {  # the result, then the parameters
    "Solvane_SetLogger": (None, c_void_p, LogCallback),
    "Solvane_CheckAvailable": _COMMAND,
    "Solvane_CheckPowerControlAvailable": _COMMAND,
    "Solvane_RecheckStatus": _COMMAND,
    "Solvane_EnforceFTDI": (None,),
    "Solvane_TriggerCapture": _COMMAND,
    "Solvane_CheckSystemReady": _QUESTION,
    "Solvane_CheckAndResetMepFlag": _QUESTION,
    "Solvane_WakeCamera": _COMMAND,
    "Solvane_EnableForcedBlackUpdate": _COMMAND,
    "Solvane_DisableForcedBlackUpdate": _COMMAND,
    "Solvane_CheckForcedBlackUpdate": _QUESTION,
    "Solvane_EnableCameraPower": _COMMAND,
    "Solvane_DisableCameraPower": _COMMAND,
    "Solvane_CheckCameraPower": _QUESTION,
    "Solvane_EnableAccessoriesPower": _COMMAND,
    "Solvane_DisableAccessoriesPower": _COMMAND,
    "Solvane_CheckAccessoriesPower": _QUESTION,
    "Solvane_CloseDevice": _COMMAND,
    "Solvane_ResetComPort": _COMMAND,
    "Solvane_CreateTimer": (c_int16, POINTER(c_uint64), c_uint64),
    "Solvane_RunTimer": (c_int16, c_uint64, c_uint32, TimerCallback),
    "Solvane_StopTimer": (c_int16, c_uint64),
    "Solvane_DisposeTimer": (c_int16, c_uint64),
}


def _load() -> ctypes.CDLL:
    path = os.environ.get("SOLVANE_DLL")
    if path is None:
        path = os.path.join(os.path.dirname(os.path.abspath(__file__)), "Solvane.dll")
        if not os.path.exists(path):
            path = "Solvane.dll"
    # The vendors' DLLs are beside Solvane.dll or on PATH, where Python by default does not look: 8 is
    # LOAD_WITH_ALTERED_SEARCH_PATH, which needs a full path; 0 is Windows' usual search.
    library = ctypes.WinDLL(path, winmode=8 if os.path.isabs(path) else 0)
    for name, (result, *parameters) in _SIGNATURES.items():
        function = getattr(library, name)
        function.restype = result
        function.argtypes = parameters
    return library


library = _load()


def _command(name: str, *arguments: Any) -> None:
    status: int = getattr(library, name)(*arguments)
    if status != OK:
        raise Error(name, status)


def _question(name: str) -> bool:
    answer = c_int16()
    _command(name, ctypes.byref(answer))
    return answer.value != 0


# ---- Logging ------------------------------------------------------------------------------------

_log_callback: Any = None  # kept alive for as long as the library may call it


def set_logger(function: Optional[Callable[[str], object]]) -> None:
    """Passes each log line, a str, to `function`; None ends that.

    Call it before the first other call, to see how the hardware was chosen, and never while another
    call or a timer is in progress. Rule 7 of solvane.h says what `function` may call in the library.
    """
    global _log_callback
    if function is None:
        callback = LogCallback()
    else:
        # Windows' own, which the preferred one is not in Python's UTF-8 mode.
        encoding = "mbcs" if os.name == "nt" else "utf-8"
        log = function
        callback = LogCallback(lambda _, line: log(line.decode(encoding, "replace")))
    library.Solvane_SetLogger(None, callback)
    _log_callback = callback


@contextlib.contextmanager
def logger(function: Callable[[str], object]) -> Iterator[None]:
    """Logs inside a block only: with solvane.logger(print): ..."""
    set_logger(function)
    try:
        yield
    finally:
        set_logger(None)


@atexit.register
def _end() -> None:
    # A driver's event, and the library's last line when it is unloaded, would find no interpreter. Runs of
    # daemon threads have not ended by now; those of other threads Python has waited for.
    for timer in list(_timers):
        timer._stop_at_exit()
    if _log_callback:
        set_logger(None)


# ---- Finding the hardware -----------------------------------------------------------------------


def check_available() -> None:
    """Finds and configures the hardware; raises Error when there is none."""
    _command("Solvane_CheckAvailable")


def check_power_control_available() -> None:
    """Checks that camera and accessories power can be switched; raises Error when they cannot."""
    _command("Solvane_CheckPowerControlAvailable")


def recheck_status() -> None:
    """Looks for the hardware again, from the first kind."""
    _command("Solvane_RecheckStatus")


def enforce_ftdi() -> None:
    """Chooses the FT2232H, whether it is there or not."""
    library.Solvane_EnforceFTDI()


# ---- Capture ------------------------------------------------------------------------------------


def trigger_capture() -> None:
    """Triggers one capture; E_NOT_READY when the system is not ready."""
    _command("Solvane_TriggerCapture")


def check_system_ready() -> bool:
    """Whether the system is ready for a trigger."""
    return _question("Solvane_CheckSystemReady")


def check_and_reset_mep_flag() -> bool:
    """Whether the MEP flag was latched. Clears it if it was."""
    return _question("Solvane_CheckAndResetMepFlag")


def wake_camera() -> None:
    """Wakes the camera with a short pulse on the dark line."""
    _command("Solvane_WakeCamera")


# ---- Forced black update (dark) -----------------------------------------------------------------


def enable_forced_black_update() -> None:
    """Forces the picture dark."""
    _command("Solvane_EnableForcedBlackUpdate")


def disable_forced_black_update() -> None:
    """Stops forcing the picture dark."""
    _command("Solvane_DisableForcedBlackUpdate")


def check_forced_black_update() -> bool:
    """Whether the picture is forced dark."""
    return _question("Solvane_CheckForcedBlackUpdate")


# ---- Power --------------------------------------------------------------------------------------


def enable_camera_power() -> None:
    """Switches camera power on."""
    _command("Solvane_EnableCameraPower")


def disable_camera_power() -> None:
    """Switches camera power off."""
    _command("Solvane_DisableCameraPower")


def check_camera_power() -> bool:
    """Whether camera power is on. A line that cannot be read: see rule 6 of solvane.h."""
    return _question("Solvane_CheckCameraPower")


def enable_accessories_power() -> None:
    """Switches accessories power on."""
    _command("Solvane_EnableAccessoriesPower")


def disable_accessories_power() -> None:
    """Switches accessories power off."""
    _command("Solvane_DisableAccessoriesPower")


def check_accessories_power() -> bool:
    """Whether accessories power is on. Also True when the line cannot be read."""
    return _question("Solvane_CheckAccessoriesPower")


# ---- The device itself --------------------------------------------------------------------------


def close_device() -> None:
    """Closes the hardware, so that another program may use it. The next operation opens it again."""
    _command("Solvane_CloseDevice")


def reset_com_port() -> None:
    """Resets the serial channel of the FT2232H."""
    _command("Solvane_ResetComPort")


# ---- Timers -------------------------------------------------------------------------------------


_timers: "weakref.WeakSet[Timer]" = weakref.WeakSet()


class Timer:
    """A timer of the kernel driver.

        with solvane.Timer() as timer:
            timer.run(20000, on_event)

    run() blocks its thread and calls the function on it; stop() may be called from any thread. The
    library loses a stop that comes just before a run has begun. This class remembers it, and ends the
    run at the next event without delivering that event.
    """

    def __init__(self) -> None:
        self._handle = 0
        self._state = threading.Condition(threading.RLock())  # guards the attributes below
        self._thread: Optional[int] = None  # of the run in progress
        self._stopped = False
        handle = c_uint64()
        _command("Solvane_CreateTimer", ctypes.byref(handle), 0)
        self._handle = handle.value
        _timers.add(self)

    def run(self, parameter: int, function: Callable[[TimerEvent], object]) -> None:
        """Calls function(event) for each TimerEvent, until stop() or an exception out of it."""
        thrown: List[BaseException] = []

        def on_event(_: int, event: Any) -> None:
            try:
                if self._stopped:
                    library.Solvane_StopTimer(self._handle)  # the first stop came too early and was lost
                else:
                    function(event.contents)
            except BaseException as exception:  # including Ctrl+C: run() raises it again
                thrown.append(exception)
                self.stop()

        callback = TimerCallback(on_event)  # this frame keeps it alive during the run
        with self._state:
            if self._thread is not None or self._handle == 0:
                raise Error("Solvane_RunTimer", E_INVALID)
            if self._stopped:
                self._stopped = False
                return
            self._thread = threading.get_ident()
        try:
            status: int = library.Solvane_RunTimer(self._handle, parameter, callback)
        finally:
            with self._state:
                self._thread = None
                self._stopped = False
                self._state.notify_all()
        if thrown:
            raise thrown[0]
        if status != OK:
            raise Error("Solvane_RunTimer", status)

    def stop(self) -> None:
        """Ends the run in progress; if there is none, the next run ends at once. Does not wait."""
        with self._state:
            self._stopped = True
            if self._thread is not None:
                library.Solvane_StopTimer(self._handle)

    def close(self) -> None:
        """Stops a run on another thread, waits for its end, and disposes of the timer."""
        with self._state:
            if self._thread == threading.get_ident():
                raise RuntimeError("a timer cannot be closed by its own function: stop it")
            while self._thread is not None:
                self.stop()
                self._state.wait()
            if self._handle != 0:
                library.Solvane_DisposeTimer(self._handle)
                self._handle = 0

    def _stop_at_exit(self) -> None:
        with self._state:
            if self._thread not in (None, threading.get_ident()):
                self.stop()
                self._state.wait(1)  # for the driver's next event, but not for ever

    def __enter__(self) -> "Timer":
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def __del__(self) -> None:
        if self._handle != 0:  # no run in progress: a run holds a reference
            library.Solvane_DisposeTimer(self._handle)
