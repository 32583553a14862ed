"""Every binding has the 24 functions of solvane.h with the same names, types and meanings, and those of
rig.h.

The header is read as text, and so are the bindings of C++ and C#, whose compilers check the rest. The
bindings of Python and Node.js are run with a fake library that only records declarations and calls.
"""

import argparse
import ctypes
import json
import os
import re
import subprocess
import sys
import tempfile
import types
import unittest

CPP = "cpp/solvane/solvane.hpp"
CSHARP = "csharp/Solvane.cs"
PYTHON = "python/solvane.py"
NODE = "node/solvane.js"
CPP_RIG = "cpp/solvane/rig.hpp"
PYTHON_RIG = "python/solvane_rig.py"
NODE_RIG = "node/solvane_rig.js"
# Functions of rig.h for which a binding has something better: its own enumeration, the journal as JSON.
NOT_IN = {CPP_RIG: {"rig_journal_size"},
          PYTHON_RIG: {"rig_line_name", "rig_journal_size", "rig_journal_entry"},
          NODE_RIG: {"rig_line_name", "rig_journal_size", "rig_journal_entry"}}

# Common names for types, to which the types of all languages are converted.
C_TYPES = {"int16_t": "i16", "uint16_t": "u16", "uint32_t": "u32", "uint64_t": "u64",
           "SolvaneTimerHandle": "u64", "SolvaneLogCallback": "log", "SolvaneTimerCallback": "timer",
           "SolvaneTimerEvent": "event", "void": "void", "char": "char", "int": "i32", "unsigned": "u32",
           "size_t": "size", "rig_line": "i32", "rig_fault": "fault", "rig_entry": "entry"}
CSHARP_TYPES = {"void": "void", "short": "i16", "ushort": "u16", "uint": "u32", "ulong": "u64",
                "out short": "i16*", "out ulong": "u64*", "IntPtr": "pointer", "LogCallback": "log",
                "TimerCallback": "timer", "[In] ref SolvaneTimerEvent": "event*"}


def without_comments(text):
    return re.sub(r"/\*.*?\*/|//[^\n]*", "", text, flags=re.S)


def c_type(text):
    """'const char* line' -> 'char*', with or without the name of a parameter."""
    words = re.findall(r"\w+|\*", text)
    stars = "*" * words.count("*")
    kind = next(word for word in words if word in C_TYPES)
    # In Node.js a callback is a pointer to a prototype; in C its type is a pointer already.
    return C_TYPES[kind] + (stars if kind not in ("SolvaneLogCallback", "SolvaneTimerCallback")
                            else "")


def c_parameters(text):
    return [] if text.strip() in ("", "void") else [c_type(each) for each in text.split(",")]


class Interface:
    """What a binding declares: {function: [result, parameters ...]}, and its callbacks likewise."""

    def __init__(self):
        self.functions = {}
        self.callbacks = {}
        self.fields = []
        self.statuses = {}


def read_header(text):
    told = Interface()
    for name, value in re.findall(r"#define SOLVANE_(OK|E_\w+) \(?(-?\d+)\)?", text):
        told.statuses[name.removeprefix("E_")] = int(value)
    text = without_comments(text)
    for result, name, parameters in re.findall(
            r"SOLVANE_API (\w+) SOLVANE_CALL (\w+)\(([^)]*)\);", text):
        told.functions[name] = [c_type(result), *c_parameters(parameters)]
    for result, name, parameters in re.findall(
            r"typedef (\w+)\(SOLVANE_CALL\* (\w+)\)\(([^)]*)\);", text):
        told.callbacks[C_TYPES[name]] = [c_type(result), *c_parameters(parameters)]
    fields = re.search(r"struct SolvaneTimerEvent \{(.*?)\}", text, re.S)[1]
    told.fields = [(name, c_type(kind)) for kind, name in re.findall(r"(\w+) (\w+);", fields)]
    return told


def read_csharp(text):
    told = Interface()
    text = without_comments(text)
    for name, value in re.findall(r"public const short (\w+) = (-?\d+);", text):
        told.statuses[re.sub(r"(?<=[a-z])(?=[A-Z])", "_", name).upper()] = int(value)

    def signature(result, parameters):
        each = [" ".join(one.split()[:-1]) for one in parameters.split(",") if one.strip()]
        return [CSHARP_TYPES[result], *(CSHARP_TYPES[one] for one in each)]

    how = r'\[DllImport\(Library, CallingConvention = CallingConvention\.StdCall, ' \
          r"ExactSpelling = true\)\]"
    for result, name, parameters in re.findall(
            how + r"\s+public static extern (\w+) (\w+)\(([^)]*)\);", text):
        told.functions[name] = signature(result, parameters)
    for result, name, parameters in re.findall(
            r"\[UnmanagedFunctionPointer\(CallingConvention\.StdCall\)\]\s+"
            r"public delegate (\w+) (\w+)\(([^)]*)\);", text):
        told.callbacks[CSHARP_TYPES[name]] = signature(result, parameters)
    fields = re.search(r"\[StructLayout\(LayoutKind\.Sequential\)\]\s+public struct SolvaneTimerEvent\s+"
                       r"\{(.*?)\}", text, re.S)[1]
    told.fields = [(name, CSHARP_TYPES[kind])
                   for kind, name in re.findall(r"public (\w+) (\w+);", fields)]
    return told


class Recorder:
    """A fake library whose functions return 0 and record their calls."""

    class Function:
        def __init__(self, name, calls):
            self.name, self.calls = name, calls

        def __call__(self, *_):
            self.calls.append(self.name)
            return 0

    def __init__(self):
        self.calls = []
        self.functions = {}

    def __getattr__(self, name):
        if not name.startswith(("Solvane_", "rig_")):
            raise AttributeError(name)
        return self.functions.setdefault(name, self.Function(name, self.calls))


def load_python(text):
    """The Python binding, loaded with a Recorder in place of the DLL."""
    module = types.ModuleType("solvane")
    module.__file__ = os.path.join(OPTIONS.bindings, PYTHON)
    before = {name: getattr(ctypes, name, None) for name in ("WinDLL", "WINFUNCTYPE")}
    ctypes.WinDLL = lambda *_, **__: Recorder()
    ctypes.WINFUNCTYPE = ctypes.CFUNCTYPE
    try:
        exec(compile(text, module.__file__, "exec"), module.__dict__)
    finally:
        for name, value in before.items():
            if value is None:
                delattr(ctypes, name)
            else:
                setattr(ctypes, name, value)
    return module


def read_python(text):
    told = Interface()
    module = load_python(text)
    kinds = {None: "void", ctypes.c_int16: "i16", ctypes.c_uint16: "u16", ctypes.c_uint32: "u32",
             ctypes.c_uint64: "u64", ctypes.c_void_p: "void*", ctypes.c_char_p: "char*",
             ctypes.POINTER(ctypes.c_int16): "i16*", ctypes.POINTER(ctypes.c_uint64): "u64*",
             ctypes.POINTER(module.TimerEvent): "event*", module.LogCallback: "log",
             module.TimerCallback: "timer"}
    for name, function in module.library.functions.items():
        if hasattr(function, "argtypes"):
            told.functions[name] = [kinds[function.restype],
                                    *(kinds[each] for each in function.argtypes)]
    for callback in (module.LogCallback, module.TimerCallback):
        told.callbacks[kinds[callback]] = [kinds[callback._restype_],
                                           *(kinds[each] for each in callback._argtypes_)]
    told.fields = [(name, kinds[kind]) for name, kind in module.TimerEvent._fields_]
    told.statuses = {name.removeprefix("E_"): value for name, value in vars(module).items()
                     if name == "OK" or name.startswith("E_")}
    return told


# Replaces koffi: records the declarations, and which function each export calls.
FAKE_KOFFI = """
const told = { functions: [], protos: [], struct: null, calls: {}, lines: null };
let called = null;
const koffi = {
  load: () => ({ func: (name, result, parameters) => {
    told.functions.push([name, result, parameters]);
    return () => { called = name; return 0; };
  } }),
  struct: (name, fields) => { told.struct = Object.entries(fields); },
  proto: (text) => { told.protos.push(text); },
};
const Module = require('module');
const load = Module._load;
Module._load = (name, ...rest) => name === 'koffi' ? koffi : load(name, ...rest);
const solvane = require(process.argv[1]);
for (const [name, value] of Object.entries(solvane)) {
  if (typeof value === 'function' && /^[a-z]/.test(name) && name !== 'setLogger') {
    called = null;
    try {
      value();
    } catch {
      // There is no such function: its name stays out.
    }
    told.calls[name] = called;
  }
}
told.statuses = solvane.Status;
told.lines = solvane.Line;
console.log(JSON.stringify(told));
"""


def run_node(text):
    with tempfile.NamedTemporaryFile("w", suffix=".js") as file:
        file.write(text)
        file.flush()
        run = subprocess.run([OPTIONS.node, "-e", FAKE_KOFFI, file.name], capture_output=True,
                             text=True)
    if run.returncode != 0:
        raise AssertionError(run.stderr)
    return json.loads(run.stdout)


def read_node(text):
    told = Interface()
    node = run_node(text)
    for name, result, parameters in node["functions"]:
        told.functions[name] = [c_type(result), *map(c_type, parameters)]
    for proto in node["protos"]:
        result, name, parameters = re.fullmatch(r"(\w+) (\w+)\((.*)\)", proto).groups()
        told.callbacks[C_TYPES[name]] = [c_type(result), *c_parameters(parameters)]
    told.fields = [(name, c_type(kind)) for name, kind in node["struct"]]
    told.statuses = node["statuses"]
    return told


READERS = {CSHARP: read_csharp, PYTHON: read_python, NODE: read_node}


def read_file(name):
    with open(os.path.join(OPTIONS.bindings, name)) as file:
        return file.read()


def camel(name):
    """'Solvane_EnforceFTDI' -> 'enforceFTDI'"""
    name = name.removeprefix("Solvane_")
    return name[0].lower() + name[1:]


def snake(name):
    """'Solvane_EnforceFTDI' -> 'enforce_ftdi'"""
    return re.sub(r"(?<=[a-z])(?=[A-Z])", "_", name.removeprefix("Solvane_")).lower()


class Signatures(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        with open(OPTIONS.header) as file:
            self.header = read_header(file.read())
        # Without the logger and the timers, which are classes in the bindings.
        self.plain = sorted(name for name in self.header.functions
                            if name != "Solvane_SetLogger" and not name.endswith("Timer"))

    def differences(self, binding, text):
        """The first part in which a binding differs from the header, or None."""
        def seen(parts):  # C# uses the same type for all pointers that it does not dereference
            return {name: ["pointer" if binding == CSHARP and each in ("void*", "char*") else each
                           for each in signature] for name, signature in parts.items()}
        told = READERS[binding](text)
        for part in ("functions", "callbacks"):
            expected = seen(getattr(self.header, part))
            if getattr(told, part) != expected:
                return {name: (getattr(told, part).get(name), expected.get(name))
                        for name in {*expected, *getattr(told, part)}
                        if getattr(told, part).get(name) != expected.get(name)}
        for part in ("fields", "statuses"):
            if getattr(told, part) != getattr(self.header, part):
                return {part: (getattr(told, part), getattr(self.header, part))}
        return None

    def test_the_header_is_read(self):
        self.assertEqual(len(self.header.functions), 24)
        self.assertEqual(len(self.plain), 19)
        self.assertEqual(self.header.functions["Solvane_SetLogger"], ["void", "void*", "log"])
        self.assertEqual(self.header.functions["Solvane_CheckSystemReady"], ["i16", "i16*"])
        self.assertEqual(self.header.functions["Solvane_CreateTimer"], ["i16", "u64*", "u64"])
        self.assertEqual(self.header.functions["Solvane_RunTimer"], ["i16", "u64", "u32", "timer"])
        self.assertEqual(self.header.callbacks, {"log": ["void", "void*", "char*"],
                                                 "timer": ["void", "u64", "event*"]})
        self.assertEqual(self.header.fields,
                         [("status", "i16"), ("initialStatusOk", "u16"), ("data0", "u16"),
                          ("data1", "u16"), ("data2", "u16"), ("data3", "u16")])
        self.assertEqual(self.header.statuses, {"OK": 0, "UNDETERMINED": -1, "WRITE": -2,
                                                "NO_HARDWARE": -3, "INVALID": -4, "NOT_READY": -5})

    def test_the_bindings_are_as_the_header(self):
        for binding in READERS:
            with self.subTest(binding):
                self.assertIsNone(self.differences(binding, read_file(binding)))

    WRONG = {  # a result, a parameter, a count of parameters, a name, a callback, a field, a status
        CSHARP: [("extern void Solvane_EnforceFTDI", "extern short Solvane_EnforceFTDI"),
                 ("ulong timer, uint timerParameter", "ulong timer, ulong timerParameter"),
                 ("Solvane_CheckCameraPower(out short on);", "Solvane_CheckCameraPower();"),
                 ("extern short Solvane_WakeCamera", "extern short Solvane_AwakeCamera"),
                 ("LogCallback(IntPtr context, IntPtr line)", "LogCallback(IntPtr line)"),
                 ("public ushort data3", "public uint data3"),
                 ("short NotReady = -5", "short NotReady = -6")],
        PYTHON: [('"Solvane_EnforceFTDI": (None,)', '"Solvane_EnforceFTDI": _COMMAND'),
                 ("c_uint64, c_uint32, TimerCallback", "c_uint64, c_uint64, TimerCallback"),
                 ('"Solvane_CheckCameraPower": _QUESTION', '"Solvane_CheckCameraPower": _COMMAND'),
                 ('"Solvane_WakeCamera": _COMMAND', '"Solvane_AwakeCamera": _COMMAND'),
                 ("WINFUNCTYPE(None, c_void_p, c_char_p)", "WINFUNCTYPE(None, c_char_p)"),
                 ('("data3", c_uint16)', '("data3", c_uint32)'),
                 ("E_NOT_READY = -5", "E_NOT_READY = -6")],
        NODE: [("Solvane_EnforceFTDI: ['void'", "Solvane_EnforceFTDI: ['int16_t'"),
               ("['uint64_t', 'uint32_t', ", "['uint64_t', 'uint64_t', "),
               ("Solvane_CheckCameraPower: QUESTION", "Solvane_CheckCameraPower: COMMAND"),
               ("Solvane_WakeCamera: COMMAND", "Solvane_AwakeCamera: COMMAND"),
               ("LogCallback(void *context, ", "LogCallback("),
               ("data3: 'uint16_t'", "data3: 'uint32_t'"),
               ("NOT_READY: -5", "NOT_READY: -6")],
    }

    def test_a_wrong_binding_is_found(self):
        for binding, changes in self.WRONG.items():
            text = read_file(binding)
            for right, wrong in changes:
                with self.subTest(binding, wrong=wrong):
                    self.assertEqual(text.count(right), 1)
                    self.assertIsNotNone(self.differences(binding, text.replace(right, wrong)))

    def test_cpp_declares_nothing_of_its_own_and_calls_everything(self):
        text = without_comments(read_file(CPP))
        self.assertIn("#include <solvane/solvane.h>", text)
        self.assertNotIn("SOLVANE_API", text)
        self.assertEqual(set(re.findall(r"Solvane_\w+", text)), set(self.header.functions))
        # Each function calls its namesake, and passes on the status.
        bodies = re.findall(r"^inline (?:void|bool) (\w+)\((.*?)\) \{(.*?)\}$", text, re.M | re.S)
        forms = {}
        for name, parameters, body in bodies:
            for called in set(re.findall(r"Solvane_\w+", body)):
                self.assertEqual(called, f"Solvane_{name}")
                forms[called] = parameters
        self.assertEqual(sorted(forms), self.plain)
        for name, parameters in forms.items():
            expected = "" if name == "Solvane_EnforceFTDI" else "Outcome outcome = {}"
            self.assertEqual(parameters, expected, name)

    def test_csharp_methods_call_what_their_names_say(self):
        camera = read_file(CSHARP).split("public static class SolvaneCamera")[1].split("internal static")[0]
        methods = re.findall(r"public static (?:void|bool) (\w+)\(\)\s+\{(.*?)\n        \}", camera,
                             re.S)
        self.assertEqual(sorted(f"Solvane_{name}" for name, _ in methods), self.plain)
        for name, body in methods:
            self.assertEqual(set(re.findall(r"Solvane_\w+", body)), {f"Solvane_{name}"})

    def test_python_functions_call_what_their_names_say(self):
        module = load_python(read_file(PYTHON))
        for name in self.plain:
            module.library.calls.clear()
            getattr(module, snake(name))()
            self.assertEqual(module.library.calls, [name])

    def rig_header(self):
        """The functions, the fields of rig_fault and the lines of rig.h."""
        with open(OPTIONS.rig_header) as file:
            text = without_comments(file.read())
        functions = {name: [c_type(result), *c_parameters(parameters)] for result, name, parameters in re.findall(
            r"SOLVANE_RIG_API ([\w\* ]+?) ?(rig_\w+)\(([^)]*)\);", text)}
        fields = re.search(r"struct rig_fault \{(.*?)\}", text, re.S)[1]
        lines = re.search(r"enum rig_line \{(.*?)\}", text, re.S)[1]
        names = [name.removeprefix("RIG_") for name in re.findall(r"RIG_\w+", lines)]
        return (functions,
                [(name, c_type(kind)) for kind, name in re.findall(r"([\w\* ]+?) ?(\w+);", fields)],
                {name: number for number, name in enumerate(names[:-1])})

    def test_the_bindings_of_the_rig_are_as_its_header(self):
        functions, fields, lines = self.rig_header()
        self.assertEqual((len(functions), len(fields), len(lines)), (21, 6, 7))
        self.assertEqual(functions["rig_command"], ["i32", "char*", "i32", "char**"])
        for binding in (PYTHON_RIG, NODE_RIG):
            with self.subTest(binding):
                told, told_fields, told_lines = self.read_rig(binding)
                self.assertEqual(told, {name: signature for name, signature in functions.items()
                                        if name not in NOT_IN[binding]})
                self.assertEqual((told_fields, told_lines), (fields, lines))
        text = without_comments(read_file(CPP_RIG))
        self.assertEqual(set(re.findall(r"\brig_\w+(?=\()", text)), set(functions) - NOT_IN[CPP_RIG])

    @staticmethod
    def read_rig(binding):
        if binding == NODE_RIG:
            node = run_node(read_file(binding))
            return ({name: [c_type(result), *map(c_type, parameters)]
                     for name, result, parameters in node["functions"]},
                    [(name, c_type(kind)) for name, kind in node["struct"]], node["lines"])
        module = load_python(read_file(binding))
        kinds = {None: "void", ctypes.c_int: "i32", ctypes.c_uint32: "u32", ctypes.c_uint64: "u64",
                 ctypes.c_char_p: "char*", ctypes.POINTER(ctypes.c_char_p): "char**",
                 ctypes.POINTER(module.Fault): "fault*"}
        return ({name: [kinds[function.restype], *(kinds[each] for each in function.argtypes)]
                 for name, function in module.library.functions.items()},
                [(name, kinds[kind]) for name, kind in module.Fault._fields_],
                {line.name: int(line) for line in module.Line})

    def test_python_says_that_it_is_for_windows(self):
        for module in ("solvane", "solvane_rig"):
            run = subprocess.run([sys.executable, "-c", f"import {module}"], text=True, capture_output=True,
                                 cwd=os.path.join(OPTIONS.bindings, "python"))
            self.assertEqual(run.returncode, 1)
            self.assertIn(f"ImportError: {module}.py is for 64-bit Python on Windows", run.stderr)

    def test_node_functions_call_what_their_names_say(self):
        self.assertEqual(run_node(read_file(NODE))["calls"],
                         {camel(name): name for name in self.plain})


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    for option in ("header", "rig-header", "bindings", "node"):
        parser.add_argument("--" + option, required=True)
    OPTIONS, rest = parser.parse_known_args()
    unittest.main(argv=["signatures_test", *rest])
