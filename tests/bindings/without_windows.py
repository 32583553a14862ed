"""Runs a Python program that uses solvane.py on a system whose ctypes lacks the Windows parts:
without_windows.py <program> [arguments]. SOLVANE_DLL names the library to load."""

import ctypes
import runpy
import sys

ctypes.WinDLL = ctypes.CDLL
ctypes.WINFUNCTYPE = ctypes.CFUNCTYPE
del sys.argv[0]
runpy.run_path(sys.argv[0], run_name="__main__")
