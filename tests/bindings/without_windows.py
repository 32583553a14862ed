"""Runs a Python program that uses solvane.py where ctypes has nothing of Windows:
without_windows.py <program> [arguments]. SOLVANE_DLL names the library that it gets."""

import ctypes
import runpy
import sys

ctypes.WinDLL = ctypes.CDLL
ctypes.WINFUNCTYPE = ctypes.CFUNCTYPE
del sys.argv[0]
runpy.run_path(sys.argv[0], run_name="__main__")
