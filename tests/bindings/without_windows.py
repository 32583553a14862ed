"""Runs a Python program that uses solvane.py on a system whose ctypes lacks the Windows parts:
without_windows.py <program> [arguments]. SOLVANE_DLL names the library to load, and SOLVANE_RIG_DLL the
one of the rig, by whose virtual time the program then lives."""

import ctypes
import os
import runpy
import sys
import threading  # which keeps the real time
import time

ctypes.WinDLL = lambda path, **_: ctypes.CDLL(path)
ctypes.WINFUNCTYPE = ctypes.CFUNCTYPE
if "SOLVANE_RIG_DLL" in os.environ:
    library = ctypes.CDLL(os.environ["SOLVANE_RIG_DLL"])
    library.StartNativeLibrary()
    library.rig_time.restype = ctypes.c_uint64
    time.monotonic = lambda: library.rig_time() / 1e9
    really_sleep = time.sleep

    def sleep(seconds):
        really_sleep(seconds / 20)  # so that other threads have time
        library.Sleep(ctypes.c_uint32(round(seconds * 1000)))

    time.sleep = sleep
del sys.argv[0]
runpy.run_path(sys.argv[0], run_name="__main__")
