"""Runs solvane.exe in Wine, with the real Solvane.dll on virtual hardware.

    cli_test.py <scripts/wine> <directory of solvane.exe> <directory of the rig> <rig/scenarios> \
        [unittest options]

Every run is a process of its own with hardware of its own, so a test looks at what one command
printed, at its exit code, and at what it did to the lines, from the rig's journal.
"""

import json
import os
import re
import select
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

DONE, FAILED, USAGE, NO_LIBRARY, LOST, STOPPED = 0, 1, 2, 3, 4, 130

CHIP = "[[usb]]\nchip = 'FT2232H'\n"

# The library writes three times while it configures the chip; a command's own writes follow.
FIRST_WRITE_OF_COMMAND = 4

EDGE = re.compile(r"^ *([0-9.]+) edge +(\w+) ([01])$")


def write_fault(call):
    return CHIP + f"[[fault]]\nfunction = 'FT_Write'\ncall = {call}\nstatus = 4\n"


class Outcome:
    """The output of one run, and the rig's journal."""

    def __init__(self, code, directory):
        self.code = code
        self.out = (directory / "out").read_text("utf-8")
        self.err = (directory / "err").read_text("utf-8")
        journal = directory / "journal.txt"
        text = journal.read_text("utf-8") if journal.exists() else ""
        self.edges = [(float(found[1]), found[2], int(found[3]))
                      for found in map(EDGE.match, text.splitlines()) if found]

    def told(self):
        """All of it, for a test that failed: a run that Wine ended has the code 1 and says nothing."""
        return f"code {self.code}, out {self.out!r}, err {self.err!r}, {len(self.edges)} edges"

    def objects(self):
        return [json.loads(line) for line in self.out.splitlines()]

    def levels(self, line):
        """The levels that a line took, one after the other."""
        return [level for _, name, level in self.edges if name == line]

    def rises(self, line):
        return [time for time, name, level in self.edges if name == line and level == 1]

    def values(self):
        """The aligned lines: label to text. The heading is none of them."""
        return dict(re.split(r"  +", line, maxsplit=1) for line in self.out.splitlines()
                    if "  " in line)


class CliTest(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory(prefix="solvane-cli-")
        self.addCleanup(directory.cleanup)
        self.directory = Path(directory.name)

    def run_host(self, *arguments, **options):
        """Runs a command to its end; the options are those of start_host.

        Wine kills a program that is not gone a second after its end, which a busy machine may need, and some
        that it has hardly started: their exit code is not the program's, and they run again. The program
        itself never fails without a word.
        """
        outcome = self.run_once(*arguments, **options)
        is_silent = outcome.code == FAILED and not outcome.out and not outcome.err
        was_killed = outcome.code == -signal.SIGKILL or is_silent
        return self.run_once(*arguments, **options) if was_killed else outcome

    def run_once(self, *arguments, **options):
        with self.start_host(*arguments, **options) as running:
            try:
                code = running.wait(timeout=120)
            except subprocess.TimeoutExpired:
                running.kill()
                raise
        return Outcome(code, self.directory)

    def start_host(self, *arguments, scenario=CHIP, program=None, rig=True,
                   current=None, merged=False, console=None, out=None, err=None,
                   more_environment=None):
        """`scenario` is the text of one, or the name of a file among the rig's scenarios.

        `out` and `err` are other files or pipes for standard output and standard error.

        `merged` sends standard error where standard output goes, so that their order shows;
        `console` is a terminal, which takes the place of both.
        """
        if scenario.endswith(".toml"):
            scenario = (SCENARIOS / scenario).read_text()
        file = self.directory / "scenario.toml"
        journal = self.directory / "journal.txt"
        file.write_text(scenario)
        journal.unlink(missing_ok=True)

        environment = dict(os.environ, SOLVANE_RIG=f"Z:{file}", SOLVANE_RIG_JOURNAL=f"Z:{journal}")
        environment.pop("SOLVANE_RIG_VCD", None)
        environment.pop("WINEPATH", None)
        environment.setdefault("LC_ALL", "C.UTF-8")
        if rig:
            environment["WINEPATH"] = f"Z:{RIG}"
        environment.update(more_environment or {})
        if console is not None:
            return subprocess.Popen([WINE, program or BIN / "solvane.exe", *arguments],
                                    env=environment, cwd=current, stdin=console, stdout=console,
                                    stderr=console)
        # Files, not pipes: the first run starts Wine's services, which would keep a pipe open.
        with open(self.directory / "out", "wb") as kept, \
                open(self.directory / "err", "wb") as kept_err, \
                open(os.devnull if out is None else out, "wb", closefd=not isinstance(out, int)) as other:
            out = kept if out is None else other
            err = kept_err if err is None else err
            return subprocess.Popen([WINE, program or BIN / "solvane.exe", *arguments],
                                    env=environment, cwd=current, stdin=subprocess.DEVNULL,
                                    stdout=out, stderr=out if merged else err)

    def shown_on_console(self, *arguments, **options):
        """What a command writes on a terminal, character after character."""
        controller, terminal = os.openpty()
        shown = b""
        with self.start_host(*arguments, console=terminal, **options) as running:
            deadline = time.monotonic() + 60
            while select.select([controller], [], [], 0.2)[0] or running.poll() is None:
                self.assertLess(time.monotonic(), deadline, shown)
                if select.select([controller], [], [], 0)[0]:
                    shown += os.read(controller, 4096)
        os.close(controller)
        os.close(terminal)
        text = shown.decode("utf-8", "replace").replace("\x1b[1C", " ")  # a blank to Wine's console
        return re.sub(r"\x1b\[[?0-9;]*[A-Za-z]", "", text)

    def rig(self):
        """The notice that the hardware is virtual."""
        return f"the virtual rig, scenario Z:{self.directory}/scenario.toml"

    def answer(self, *arguments, **options):
        """The one object that a successful command prints with --json."""
        outcome = self.run_host(*arguments, "--json", **options)
        self.assertEqual((outcome.code, outcome.err), (DONE, ""))
        objects = outcome.objects()
        self.assertEqual(len(objects), 1, outcome.out)
        return objects[0]

    def expect_status(self, status, meaning, *arguments, scenario):
        """Both forms of a command that the library refuses."""
        people = self.run_host(*arguments, scenario=scenario)
        self.assertEqual(people.code, FAILED)
        self.assertEqual("solvane doctor tells why." in people.err, status == -3, people.told())
        self.assertIn(f"{arguments[0]} failed with status {status}: {meaning}.", people.err)

        programs = self.run_host(*arguments, "--json", scenario=scenario)
        self.assertEqual((programs.code, programs.err), (FAILED, ""))
        last = programs.objects()[-1]
        self.assertEqual((last["command"], last["status"], last["meaning"]),
                         (arguments[0], status, meaning))
        return people


NO_HARDWARE = "the hardware was not found, or could not be opened and configured"

# The kinds of hardware in the order in which they are looked for, and a scenario of each.
KINDS = {"parallel port": "[lpt]\n", "Super I/O": "[superio]\n", "Embedded API": "[eapi]\n",
         "FT2232H": CHIP}


def candidates(answering):
    """The output of probe if only this kind of hardware answers."""
    found = []
    for kind in KINDS:
        found.append({"number": len(found) + 1, "kind": kind,
                      "status": 0 if kind == answering else -3})
        if kind == answering:
            break
    return found


def candidate_lines(answering):
    return {f"candidate {each['number']}":
            each["kind"] + (", answered" if each["status"] == 0
                            else ", not available (status -3)")
            for each in candidates(answering)}


class Probe(CliTest):
    def test_tells_everything_of_a_working_camera(self):
        for kind, scenario in KINDS.items():
            outcome = self.run_host("probe", scenario=scenario)
            self.assertEqual((outcome.code, outcome.err), (DONE, ""))
            self.assertEqual(outcome.values(), {
                **candidate_lines(kind), "controller": kind, "available": "yes",
                "power control": "yes", "ready": "yes", "dark": "off", "camera power": "on",
                "accessories power": "on"})
            self.assertEqual(outcome.out.splitlines()[0], self.rig())
            columns = {line.index(line.split("  ")[-1].strip())
                       for line in outcome.out.splitlines()[1:]}
            self.assertEqual(len(columns), 1, "not aligned:\n" + outcome.out)

    def test_tells_the_same_in_json(self):
        for kind, scenario in KINDS.items():
            self.assertEqual(self.answer("probe", scenario=scenario), {
                "command": "probe", "status": 0, "rig": self.rig(), "candidates": candidates(kind),
                "controller": kind, "available": True, "power_control": True, "ready": True,
                "dark": False, "camera_power": True, "accessories_power": True})

    def test_reads_each_line_by_itself(self):
        lines = {"ready": "", "dark": "[pulls]\ndark = 1\n",
                 "camera_power": "[pulls]\ncamera_power = 0\n",
                 "accessories_power": "[pulls]\naccessories_power = 0\n"}
        normal = self.answer("probe")
        for name, pulls in lines.items():
            scenario = pulls + CHIP if pulls else "not_ready.toml"
            found = self.answer("probe", scenario=scenario)
            different = {key for key in normal if normal[key] != found[key]}
            # A camera without power is not ready either.
            expected = {name, "ready"} if name == "camera_power" else {name}
            self.assertEqual(different, expected)

    def test_leaves_the_flag_alone(self):
        outcome = self.run_host("probe", scenario="mep_latched.toml")
        self.assertEqual(outcome.code, DONE)
        self.assertEqual(outcome.levels("clear_mep"), [])

    def test_without_hardware(self):
        people = self.expect_status(-3, NO_HARDWARE, "probe", scenario="no_hardware.toml")
        values = people.values()
        for label, text in candidate_lines(None).items():
            self.assertEqual(values[label], text)
        self.assertEqual(people.values()["controller"], "none")
        self.assertEqual(people.values()["camera power"], "unknown")

        found = self.run_host("probe", "--json", scenario="no_hardware.toml").objects()[0]
        self.assertEqual(found["candidates"], candidates(None))
        for key in "controller", "ready", "dark", "camera_power", "accessories_power":
            self.assertIsNone(found[key], key)
        self.assertIs(found["available"], False)
        self.assertIs(found["power_control"], False)


class EveryKind(CliTest):
    # A command, its output, and the edges of its line.
    OPERATIONS = [
        (("ready",), "ready  yes\n", "ready", []),
        (("mep",), "flag  no\n", "mep", []),
        (("wake",), "wake  done\n", "dark", [1, 0]),
        (("dark", "on"), "dark  on\n", "dark", [1]),
        (("camera-power", "off"), "camera-power  off\n", "camera_power", [0]),
        (("accessories-power", "off"), "accessories-power  off\n", "accessories_power", [0]),
        (("accessories-power", "state"), "accessories-power  on\n", "accessories_power", []),
    ]

    def test_every_operation_is_the_same_on_every_kind(self):
        for kind, scenario in KINDS.items():
            for arguments, text, line, edges in self.OPERATIONS:
                with self.subTest(kind=kind, arguments=arguments):
                    outcome = self.run_host(*arguments, scenario=scenario)
                    self.assertEqual((outcome.code, outcome.out, outcome.err), (DONE, text, ""))
                    self.assertEqual(outcome.levels(line), edges)
            outcome = self.run_host("trigger", scenario=scenario)
            self.assertEqual((outcome.code, outcome.levels("trigger")), (DONE, [1, 0]))


class Trigger(CliTest):
    def test_one(self):
        outcome = self.run_host("trigger")
        self.assertEqual((outcome.code, outcome.err), (DONE, ""))
        self.assertRegex(outcome.out, r"^triggered 1 of 1  at 0\.0 ms, took [1-9]\d+\.\d ms\n$")
        self.assertEqual(outcome.levels("trigger"), [1, 0])

    def test_several_keep_their_interval(self):
        outcome = self.run_host("trigger", "-n", "3", "--interval", "150", "--json")
        self.assertEqual((outcome.code, outcome.err), (DONE, ""))
        triggers = outcome.objects()
        self.assertEqual([(each["status"], each["trigger"], each["of"]) for each in triggers],
                         [(0, 1, 3), (0, 2, 3), (0, 3, 3)])
        self.assertEqual(triggers[0]["start_ms"], 0)
        for before, after in zip(triggers, triggers[1:]):
            self.assertGreaterEqual(after["start_ms"] - before["start_ms"], 149.9)
            self.assertGreater(after["duration_ms"], 10)
        rises = outcome.rises("trigger")
        self.assertEqual(len(rises), 3)
        # The first clears no flag, the later ones do, so the edges themselves keep it roughly.
        for before, after in zip(rises, rises[1:]):
            self.assertGreater(after - before, 130)

    def test_waits_for_ready(self):
        scenario = "[camera]\nexposure_ms = 300\n" + CHIP
        waiting = self.run_host("trigger", "-n", "2", "--wait-ready", "5000", scenario=scenario)
        self.assertEqual((waiting.code, waiting.err), (DONE, ""))
        first, second = waiting.rises("trigger")
        self.assertGreater(second - first, 300)

        hasty = self.run_host("trigger", "-n", "2", scenario=scenario)
        self.assertEqual(hasty.code, FAILED)
        self.assertEqual(len(hasty.rises("trigger")), 1)
        self.assertRegex(hasty.out, r"\ntrigger   2 of 2  at [0-9.]+ ms, failed after [0-9.]+ ms\n$")
        self.assertIn("status -5", hasty.err)

    def test_gives_up_waiting(self):
        outcome = self.run_host("trigger", "--wait-ready", "200", "--json",
                                scenario="not_ready.toml")
        self.assertEqual(outcome.code, FAILED)
        self.assertGreaterEqual(outcome.objects()[0]["start_ms"], 200)

    def test_keeps_going_after_a_loss(self):
        # The chip leaves in the midst of the second trigger and comes back.
        scenario = CHIP + ("[[event]]\nat_ms = 1000\naction = 'unplug'\n"
                           "[[event]]\nat_ms = 2500\naction = 'plug'\n")
        outcome = self.run_host("trigger", "-n", "5", "--interval", "500", "--wait-ready", "8000",
                                "--keep-going", "--json", scenario=scenario)
        statuses = [each["status"] for each in outcome.objects()]
        self.assertEqual((outcome.code, statuses), (DONE, [0] * 5))

        hasty = self.run_host("trigger", "-n", "8", "--interval", "500", "--keep-going", "--json",
                              scenario=scenario)
        statuses = [each["status"] for each in hasty.objects()]
        self.assertEqual((hasty.code, len(statuses), statuses[0], statuses[-1]), (FAILED, 8, 0, 0))
        self.assertGreater(len(set(statuses)), 1)

        stopping = self.run_host("trigger", "-n", "8", "--interval", "500", "--wait-ready", "8000",
                                 "--json", scenario=scenario)
        self.assertEqual(stopping.code, FAILED)
        self.assertLess(len(stopping.objects()), 8)

    # A reason for "not ready", and the program's hint.
    HINTS = [("[camera]\nready = false\n" + CHIP, "--wait-ready"),
             ("[camera]\nasleep = true\n" + CHIP, "solvane wake"),
             ("[pulls]\ncamera_power = 0\n" + CHIP, "solvane camera-power on"),
             ("[camera]\nready = false\n[pulls]\ndark = 1\n" + CHIP, "solvane dark off"),
             ("[eapi]\n[[fault]]\nfunction = 'EApiGPIOGetLevel'\ntimes = 0\nstatus = 1\n",
              "could not be read")]

    def test_a_refusal_has_a_hint(self):
        for scenario, hint in self.HINTS:
            with self.subTest(hint):
                people = self.run_host("trigger", scenario=scenario)
                self.assertEqual(people.code, FAILED)
                self.assertIn("status -5", people.err)
                self.assertIn(hint, people.err)
                [result] = self.run_host("trigger", "--json", scenario=scenario).objects()
                self.assertEqual([other for _, other in self.HINTS if other in result["advice"]],
                                 [hint] if hint != "--wait-ready" and hint != "solvane wake"
                                 else ["--wait-ready", "solvane wake"])

    def test_stops_at_the_first_that_fails(self):
        self.expect_status(-5, "the system is not ready, or its ready line cannot be read",
                           "trigger", "-n", "3", scenario="not_ready.toml")
        outcome = self.run_host("trigger", "-n", "3", "--json", scenario="not_ready.toml")
        self.assertEqual(len(outcome.objects()), 1)
        self.assertEqual(outcome.levels("trigger"), [])

    def test_lost_write(self):
        # Ready and flag are asked for, the line goes high, and then does not go low.
        outcome = self.expect_status(
            -2, "a line could not be written; the trigger may have been given, and its line may "
            "have stayed high until the next command sets it to rest", "trigger",
            scenario=write_fault(FIRST_WRITE_OF_COMMAND + 3))
        self.assertEqual(outcome.levels("trigger")[:1], [1])

    def test_without_hardware(self):
        self.expect_status(-3, NO_HARDWARE, "trigger", scenario="no_hardware.toml")


class OnAConsole(CliTest):
    SLOW = "[camera]\nexposure_ms = 1600\n" + CHIP
    TWO = ("trigger", "-n", "2", "--wait-ready", "10000")

    def test_a_command_that_takes_its_time_gives_a_sign_of_life(self):
        shown = self.shown_on_console(*self.TWO, scenario=self.SLOW)
        before, sign, after = shown.rpartition("trigger is at work, 1 s\r")
        self.assertIn("triggered 1 of 2", before)
        self.assertTrue(sign, shown)
        self.assertRegex(after, r"^ +\r[^a-z]*triggered 2 of 2 ", "it is gone before the next line")

    def test_a_quick_command_gives_none_nor_does_a_log_or_json(self):
        for arguments in (("ready",), ("--log", *self.TWO), ("--json", *self.TWO)):
            shown = self.shown_on_console(*arguments, scenario=self.SLOW)
            self.assertRegex(shown, "ready|2 of 2|\"of\":2")
            self.assertNotIn("at work", shown)


class UnreadLines(CliTest):
    """The library answers even for a line that it cannot read; the program must not believe that."""

    def fault(self, function, call, effect):
        return f"[[fault]]\nfunction = '{function}'\ncall = {call}\ntimes = 0\n{effect}\n"

    def scenarios(self):
        return {"no byte ever comes": CHIP + self.fault("FT_Read", 1, "count = 0"),
                "no read succeeds": CHIP + self.fault("FT_Read", 3, "status = 4"),
                "it left": CHIP + "[[event]]\nbefore = 'FT_Read'\ncall = 3\naction = 'unplug'\n",
                "no level": "[eapi]\n" + self.fault("EApiGPIOGetLevel", 1, "status = 1")}

    ASKED = {"ready": "ready", "dark": "dark", "camera_power": "camera power"}

    def test_probe_says_so(self):
        for name, scenario in self.scenarios().items():
            with self.subTest(name):
                outcome = self.run_host("probe", scenario=scenario)
                self.assertEqual(outcome.code, FAILED)
                self.assertEqual(outcome.values()["ready"], "could not be read")
                for label in self.ASKED.values():
                    self.assertIn(outcome.values()[label], ("could not be read", "unknown"))
                [result] = self.run_host("probe", "--json", scenario=scenario).objects()
                self.assertEqual([result[key] for key in self.ASKED], [None] * len(self.ASKED))

    def test_a_question_says_so(self):
        scenario = self.scenarios()["no byte ever comes"]
        for arguments, label, key in ((("ready",), "ready", "ready"), (("mep",), "flag", "flag"),
                                      (("dark",), "dark", "on"),
                                      (("camera-power", "state"), "camera-power", "on")):
            outcome = self.run_host(*arguments, scenario=scenario)
            self.assertEqual((outcome.code, outcome.values()),
                             (FAILED, {label: "could not be read"}))
            [result] = self.run_host(*arguments, "--json", scenario=scenario).objects()
            self.assertEqual((result["status"], result[key]), (0, None))

    def test_a_read_that_a_recovery_repeats_is_no_loss(self):
        # Configuring reads twice; the third is the question's.
        scenario = CHIP + "[[fault]]\nfunction = 'FT_Read'\ncall = 3\nstatus = 4\n"
        self.assertEqual(self.answer("ready", scenario=scenario)["ready"], True)


class Switches(CliTest):
    LINES = {"dark": ("dark", 0), "camera-power": ("camera_power", 1),
             "accessories-power": ("accessories_power", 1)}

    def test_switch(self):
        for command, (line, pull) in self.LINES.items():
            for setting, level in ("on", 1), ("off", 0):
                with self.subTest(command=command, setting=setting):
                    scenario = f"[pulls]\n{line} = {1 - level}\n" + CHIP
                    outcome = self.run_host(command, setting, scenario=scenario)
                    self.assertEqual((outcome.code, outcome.err), (DONE, ""))
                    self.assertEqual(outcome.out, f"{command}  {setting}\n")
                    self.assertEqual(outcome.levels(line), [level])
                    self.assertEqual(self.answer(command, setting, scenario=scenario),
                                     {"command": command, "status": 0, "on": level == 1})

    def test_without_a_setting_it_asks(self):
        for command in self.LINES:
            self.assertEqual(self.answer(command), self.answer(command, "state"))

    def test_state(self):
        for command, (line, _) in self.LINES.items():
            for level, word in enumerate(("off", "on")):
                with self.subTest(command=command, level=level):
                    scenario = f"[pulls]\n{line} = {level}\n" + CHIP
                    outcome = self.run_host(command, "state", scenario=scenario)
                    self.assertEqual((outcome.code, outcome.out), (DONE, f"{command}  {word}\n"))
                    self.assertEqual(outcome.levels(line), [])
                    self.assertEqual(self.answer(command, "state", scenario=scenario),
                                     {"command": command, "status": 0, "on": level == 1})

    def test_lost_write(self):
        fault = write_fault(FIRST_WRITE_OF_COMMAND)
        # These writes are the ones that clear a pin, which the library does not repeat.
        for command, setting, line in (("dark", "off", "dark"),
                                       ("camera-power", "on", "camera power"),
                                       ("accessories-power", "on", "accessories power")):
            self.expect_status(-2, f"the {line} line could not be written", command, setting,
                               scenario=fault)

    def test_without_hardware(self):
        for command in self.LINES:
            self.expect_status(-3, NO_HARDWARE, command, "state", scenario="no_hardware.toml")


class OtherCommands(CliTest):
    def test_wake(self):
        outcome = self.run_host("wake")
        self.assertEqual((outcome.code, outcome.out, outcome.err), (DONE, "wake  done\n", ""))
        self.assertEqual(outcome.levels("dark"), [1, 0])
        self.assertEqual(self.answer("wake"), {"command": "wake", "status": 0})

    def test_wake_with_a_lost_write(self):
        # The line is read, inverted, read again, and then does not go back.
        self.expect_status(-2, "the dark line could not be inverted and put back", "wake",
                           scenario=write_fault(FIRST_WRITE_OF_COMMAND + 3))

    def test_ready(self):
        for scenario, ready, word in (CHIP, True, "yes"), ("not_ready.toml", False, "no"):
            outcome = self.run_host("ready", scenario=scenario)
            self.assertEqual((outcome.code, outcome.out), (DONE, f"ready  {word}\n"))
            self.assertEqual(self.answer("ready", scenario=scenario),
                             {"command": "ready", "status": 0, "ready": ready})

    def test_mep_reads_and_clears(self):
        outcome = self.run_host("mep", scenario="mep_latched.toml")
        self.assertEqual((outcome.code, outcome.out), (DONE, "flag  yes\n"))
        self.assertEqual(outcome.levels("mep"), [0])
        self.assertEqual(self.answer("mep", scenario="mep_latched.toml")["flag"], True)

    def test_mep_without_a_flag(self):
        outcome = self.run_host("mep")
        self.assertEqual((outcome.code, outcome.out), (DONE, "flag  no\n"))
        self.assertEqual(outcome.levels("clear_mep"), [])
        self.assertEqual(self.answer("mep"), {"command": "mep", "status": 0, "flag": False})

    def count_candidates(self, command):
        return self.run_host(command, "--log").err.count("Controller candidate been created")

    def test_recheck(self):
        self.assertEqual(self.count_candidates("recheck"), 2 * len(KINDS))
        self.assertEqual(self.run_host("recheck").out, "controller  FT2232H\n")
        self.assertEqual(self.answer("recheck"),
                         {"command": "recheck", "status": 0, "controller": "FT2232H"})
        self.expect_status(-3, NO_HARDWARE, "recheck", scenario="no_hardware.toml")

    def test_enforce_ftdi(self):
        self.assertEqual(self.count_candidates("enforce-ftdi"), len(KINDS) + 1)
        self.assertEqual(self.run_host("enforce-ftdi").out, "available  yes\n")
        self.assertEqual(self.answer("enforce-ftdi"),
                         {"command": "enforce-ftdi", "status": 0, "available": True})
        outcome = self.expect_status(-3, NO_HARDWARE, "enforce-ftdi", scenario="no_hardware.toml")
        self.assertEqual(outcome.out, "available  no\n")

    def test_close(self):
        # Unloading the library closes the hardware as well, but only after the command.
        outcome = self.run_host("close", "--log", merged=True)
        self.assertEqual(outcome.code, DONE)
        self.assertRegex(outcome.out, r"Closing device\.\.\.\nclose  done\n$")
        self.assertEqual(self.answer("close"), {"command": "close", "status": 0})

    def test_reset_com(self):
        self.assertEqual(self.run_host("reset-com").out, "reset-com  done\n")
        self.assertEqual(self.answer("reset-com"), {"command": "reset-com", "status": 0})
        # The first reset is that of the camera lines' own channel.
        self.expect_status(-2, "a step of the serial-channel reset failed", "reset-com",
                           scenario=CHIP + "[[fault]]\nfunction = 'FT_ResetDevice'\n"
                           "call = 2\nstatus = 4\n")
        self.expect_status(-3, "there is no serial channel to reset", "reset-com",
                           scenario="no_hardware.toml")


HAS_DRIVER = os.environ.get("SOLVANE_TEST_DRIVER") == "1"


@unittest.skipIf(HAS_DRIVER, "the timer driver is present")
class TimerWithoutDriver(CliTest):
    def test_tells_that_there_is_none(self):
        self.expect_status(-1, "the timer driver could not be opened, or failed; --log tells why",
                           "timer", "--parameter", "1000", scenario=CHIP)

    def test_log_tells_why(self):
        outcome = self.run_host("timer", "--parameter", "1000", "--log")
        self.assertEqual((outcome.code, outcome.out), (FAILED, ""))
        self.assertIn("Error. Solvane_CreateTimer() failed with exception: Error in CreateFile: ",
                      outcome.err)

    def test_leaves_the_lines_alone(self):
        outcome = self.run_host("timer", "--parameter", "1000", "--log")
        self.assertEqual(outcome.edges, [])
        self.assertNotIn("Controller candidate", outcome.err)


@unittest.skipUnless(HAS_DRIVER, "needs the timer driver: SOLVANE_TEST_DRIVER=1")
class TimerWithDriver(CliTest):
    PERIOD = ("timer", "--parameter", "20000")
    LARGEST_CONTEXT = 2**64 - 1

    def test_stops_itself_after_count_events(self):
        outcome = self.run_host(*self.PERIOD, "--count", "5")
        self.assertEqual((outcome.code, outcome.err), (DONE, ""))
        lines = outcome.out.splitlines()
        self.assertEqual(len(lines), 5, outcome.out)
        for number, line in enumerate(lines, 1):
            self.assertRegex(line, rf"^event {number}  status -?\d+: [^;]+; "
                             r"initial status (not )?ok; data( \d+){4}; \d+\.\d ms since the last$")

    def test_check_runs_it_only_when_that_is_allowed(self):
        outcome = self.run_host("check", "--json", "--timer", "20000")
        timer, verdict = outcome.objects()[-2:]
        self.assertEqual((outcome.code, timer["step"], timer["outcome"]), (DONE, "timer", "ok"))
        self.assertEqual(len(timer["seen"]), 1 + 3, "its state and three events")
        self.assertEqual(verdict["verdict"], "INCOMPLETE PASS")
        timer = self.run_host("check", "--json").objects()[-2]
        self.assertEqual(timer["outcome"], "not tested")
        self.assertIn("--timer", timer["advice"])

    def test_check_does_not_wait_for_ever(self):
        an_hour = str(3600 * 10**6)
        begin = time.monotonic()
        outcome = self.run_host("check", "--timer", an_hour, "--timer-limit", "1", "--report",
                                f"Z:{self.directory}/check.html")
        self.assertEqual((outcome.code, outcome.err), (FAILED, ""))
        self.assertLess(time.monotonic() - begin, 60)
        self.assertIn("0 of 3 events came within 1 s", outcome.out)
        self.assertIn("INCOMPLETE FAIL: The step \"timer driver\" failed.", outcome.out)
        self.assertIn("0 of 3 events", (self.directory / "check.html").read_text("utf-8"))

        with self.start_host("check", "--timer", an_hour, "--timer-limit", "1000",
                             "--json") as running:
            self.wait_for_events(15)  # the steps before
            time.sleep(0.5)
            running.send_signal(signal.SIGINT)
            self.assertEqual(running.wait(timeout=60), STOPPED)

    def test_tells_the_same_in_json(self):
        outcome = self.run_host(*self.PERIOD, "--count", "5", "--context",
                                str(self.LARGEST_CONTEXT), "--json")
        self.assertEqual((outcome.code, outcome.err), (DONE, ""))
        events = outcome.objects()
        self.assertEqual([event["event"] for event in events], [1, 2, 3, 4, 5])
        for event in events:
            keys = {"command", "status", "event", "initial_status_ok", "data", "since_last_ms",
                    "context"}
            self.assertEqual(set(event), keys | ({"meaning"} if event["status"] != 0 else set()))
            self.assertEqual((event["command"], event["context"]), ("timer", self.LARGEST_CONTEXT))
            self.assertIn(event["initial_status_ok"], (True, False))
            self.assertEqual(len(event["data"]), 4)
            self.assertTrue(all(0 <= word <= 0xFFFF for word in event["data"]), event["data"])
            self.assertGreaterEqual(event["since_last_ms"], 0)

    def test_ctrl_c_ends_the_run(self):
        with self.start_host(*self.PERIOD, "--json", "--log") as running:
            try:
                self.wait_for_events(3)
                running.send_signal(signal.SIGINT)  # which Wine hands on as a Ctrl-C
                code = running.wait(timeout=60)
            except BaseException:
                running.kill()
                raise
        outcome = Outcome(code, self.directory)
        self.assertEqual(outcome.code, STOPPED)
        # Only a program that ends by itself disposes of its timer, which then runs no more.
        self.assertIn("Solvane_StopTimer() timer was not started", outcome.err)
        numbers = [event["event"] for event in outcome.objects()]
        self.assertEqual(numbers, list(range(1, len(numbers) + 1)))

    def test_a_lost_answer_ends_the_run(self):
        outcome = self.run_host(*self.PERIOD, "--log", out="/dev/full")
        self.assertEqual(outcome.code, LOST)
        self.assertIn("Solvane_StopTimer() timer was not started", outcome.err)

    def wait_for_events(self, count):
        deadline = time.monotonic() + 120
        while (self.directory / "out").read_text("utf-8").count("\n") < count:
            self.assertLess(time.monotonic(), deadline, "no events came")
            time.sleep(0.02)


class Log(CliTest):
    LINE = r"\[\d\d:\d\d:\d\d\.\d{3}\] "

    def test_goes_to_standard_error(self):
        outcome = self.run_host("ready", "--log")
        self.assertEqual((outcome.code, outcome.out), (DONE, "ready  yes\n"))
        lines = outcome.err.splitlines()
        self.assertRegex(lines[0], "^" + self.LINE + "Controller candidate been created")
        # Unloading the library logs too, and is still heard.
        self.assertRegex(lines[-1], self.LINE + r"\.*Closing device\.\.\.$")

    def test_may_stand_before_the_command(self):
        outcome = self.run_host("--log", "--json", "ready")
        self.assertEqual(outcome.objects(), [{"command": "ready", "status": 0, "ready": True}])
        self.assertRegex(outcome.err, self.LINE)


    def test_a_reader_that_blocks_does_not_lengthen_a_pulse(self):
        """Selecting text blocks a program that writes to a console, as a full pipe does."""
        reader, writer = os.pipe()
        os.set_blocking(writer, False)
        filled = 0
        try:
            while True:
                filled += os.write(writer, bytes(4096))
        except BlockingIOError:
            os.set_blocking(writer, True)
        with self.start_host("--log", "trigger", err=writer) as running:
            os.close(writer)
            deadline = time.monotonic() + 60
            journal = self.directory / "journal.txt"
            while not (journal.exists() and "edge  trigger 0" in journal.read_text()):
                if time.monotonic() > deadline:
                    running.kill()
                    self.fail("the trigger waits for the log's reader")
                time.sleep(0.05)
            with open(reader, "rb") as pipe:
                log = pipe.read()[filled:].decode()
            self.assertEqual(running.wait(timeout=60), 0)
        self.assertEqual(log.count("TRG-"), 1)
        self.assertRegex(log.splitlines()[-1], r"Closing device\.\.\.$")


class CommandLine(CliTest):
    def test_wrong_usage(self):
        for arguments, complaint in (
                ([], "required"),
                (["nonsense"], "nonsense"),
                (["--nonsense", "probe"], "--nonsense"),
                (["probe", "nonsense"], "nonsense"),
                (["wake", "ready"], "ready"),
                (["dark", "bright"], "bright"),
                (["trigger", "-n", "0"], "-n"),
                (["trigger", "-n", "many"], "-n"),
                (["trigger", "-n"], "-n"),
                (["trigger", "--interval", "-5"], "--interval"),
                (["trigger", "--wait-ready", "1e99"], "--wait-ready"),
                (["timer"], "--parameter"),
                (["timer", "--parameter", "soon"], "--parameter"),
                (["timer", "--parameter", "-1"], "--parameter"),
                (["timer", "--parameter", str(2**32)], "--parameter"),
                (["timer", "--parameter", "1", "--count", "0"], "--count"),
                (["timer", "--parameter", "1", "--context", "-1"], "--context"),
                (["timer", "--parameter", "1", "--context", str(2**64)], "--context"),
                (["probe", "--library"], "--library"),
                (["probe", "--library", ""], "--library"),
                (["power", "--help"], "power"),
                (["--help", "power"], "power")):
            with self.subTest(arguments=arguments):
                outcome = self.run_host(*arguments)
                self.assertEqual((outcome.code, outcome.out), (USAGE, ""))
                self.assertIn(complaint, outcome.err)
                self.assertEqual(outcome.edges, [])

                programs = self.run_host("--json", *arguments)
                self.assertEqual((programs.code, programs.err), (USAGE, outcome.err))
                [result] = programs.objects()
                self.assertEqual(set(result), {"command", "error"})
                self.assertIn(complaint, result["error"])

    def test_wrong_usage_in_json_names_the_command_that_was_understood(self):
        for arguments, command in ((["trigger", "-n", "0"], "trigger"), (["nonsense"], None), ([], None)):
            [result] = self.run_host("--json", *arguments).objects()
            self.assertEqual(result["command"], command)

    def test_help(self):
        outcome = self.run_host("--help", rig=False)
        self.assertEqual((outcome.code, outcome.err), (DONE, ""))
        for command in ("probe", "doctor", "watch", "trigger", "wake", "dark", "camera-power", "accessories-power",
                        "ready", "mep", "recheck", "enforce-ftdi", "close", "reset-com", "timer"):
            self.assertRegex(outcome.out, rf"(?m)^  {command} ")
            part = self.run_host(command, "--help", rig=False)
            self.assertEqual(part.code, DONE)
            self.assertIn(f"solvane {command}", part.out)

    def test_version(self):
        outcome = self.run_host("--version", rig=False)
        self.assertEqual((outcome.code, outcome.err), (DONE, ""))
        self.assertRegex(outcome.out, r"^solvane \d+(\.\d+){3}\n$")


class LostAnswers(CliTest):
    SENTENCE = "the answer could not be written.\n"

    def test_on_a_full_disk(self):
        for arguments in (["--json", "probe"], ["probe"], ["doctor"], ["trigger"], ["ready"],
                          ["watch"], ["watch", "--json"], ["--help"], ["trigger", "--help"],
                          ["--json", "nonsense"]):
            with self.subTest(arguments=arguments):
                outcome = self.run_host(*arguments, out="/dev/full")
                self.assertEqual(outcome.code, LOST)
                self.assertIn("solvane: " + self.SENTENCE, outcome.err)

    def test_with_a_closed_output(self):
        for program, arguments in ((BIN / "solvane.exe", "probe --json"),
                                   (RIG / "solvane-rig.exe", f"wave Z:{RECORDING}")):
            run = subprocess.run(["sh", "-c", f"{WINE} {program} {arguments} >&-"], timeout=60,
                                 stdin=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True,
                                 env=dict(os.environ, WINEPATH=f"Z:{RIG}"))
            self.assertEqual(run.returncode, LOST)
            self.assertIn("could not be written.", run.stderr)

    def test_of_the_rigs_tool(self):
        for arguments in (["wave", f"Z:{RECORDING}"], ["--help"], ["status"]):
            outcome = self.run_host(*arguments, program=RIG / "solvane-rig.exe", out="/dev/full")
            self.assertEqual(outcome.code, LOST)
            self.assertIn("solvane-rig: the output could not be written.\n", outcome.err)

    def test_watch_ends_when_nobody_reads_any_more(self):
        for arguments in ((), ("--json",)):
            reader, writer = os.pipe()
            with self.start_host("watch", *arguments, out=writer) as running:
                try:
                    os.close(writer)
                    with open(reader, "rb") as pipe:
                        self.assertTrue(pipe.readline())
                    self.assertEqual(running.wait(timeout=60), LOST)
                except BaseException:
                    running.kill()
                    raise
            self.assertIn(self.SENTENCE, (self.directory / "err").read_text())


class LibraryFile(CliTest):
    VENDOR_LIBRARIES = ("EAPI_Library.dll", "FTD2XX.dll", "inpoutx64.dll")
    VENDOR_LIBRARIES_MISSING = (
        " ".join(f"Solvane.dll needs {dll}, which was not found." for dll in VENDOR_LIBRARIES) +
        " Put them beside solvane.exe or into a directory of PATH.")

    def expect_no_library(self, sentence, *arguments, **options):
        outcome = self.run_host("wake", *arguments, **options)
        self.assertEqual((outcome.code, outcome.out), (NO_LIBRARY, ""))
        self.assertEqual(outcome.err, f"solvane: {sentence}\n")
        return outcome

    def windows(self, path):
        return "Z:" + str(path).replace("/", "\\")

    def place(self, directory, *files):
        directory.mkdir(exist_ok=True)
        for file in files:
            shutil.copy(file, directory)
        return directory

    def test_vendor_libraries_missing(self):
        self.expect_no_library(self.VENDOR_LIBRARIES_MISSING, rig=False)
        outcome = self.run_host("wake", "--json", rig=False)
        self.assertEqual(outcome.code, NO_LIBRARY)
        self.assertEqual(outcome.objects(),
                         [{"command": "wake", "error": self.VENDOR_LIBRARIES_MISSING}])

    def test_one_vendor_library_missing(self):
        for missing in self.VENDOR_LIBRARIES:
            place = self.place(self.directory / missing, BIN / "solvane.exe", BIN / "Solvane.dll",
                               *(dll for dll in RIG.glob("*.dll") if dll.name != missing))
            self.expect_no_library(f"Solvane.dll needs {missing}, which was not found. Put it "
                                   "beside solvane.exe or into a directory of PATH.",
                                   program=place / "solvane.exe", rig=False)

    def test_vendor_library_beside_the_program(self):
        place = self.place(self.directory / "beside", BIN / "solvane.exe", BIN / "Solvane.dll",
                           *RIG.glob("*.dll"))
        outcome = self.run_host("ready", program=place / "solvane.exe", rig=False)
        self.assertEqual((outcome.out, outcome.err), ("ready  yes\n", ""))

    def test_vendor_library_beside_the_program_alone(self):
        program = self.place(self.directory / "program", BIN / "solvane.exe", *RIG.glob("*.dll"))
        library = self.place(self.directory / "library", BIN / "Solvane.dll")
        outcome = self.run_host("ready", "--library", f"Z:{library}/Solvane.dll",
                                program=program / "solvane.exe", rig=False)
        self.assertEqual((outcome.out, outcome.err), ("ready  yes\n", ""))

    def test_vendor_library_in_the_current_directory_is_not_taken(self):
        self.expect_no_library(self.VENDOR_LIBRARIES_MISSING, current=RIG, rig=False)

    def test_vendor_library_does_not_fit(self):
        place = self.place(self.directory / "misfit", BIN / "solvane.exe", BIN / "Solvane.dll",
                           *RIG.glob("*.dll"))
        (place / "FTD2XX.dll").write_text("not a DLL")
        self.expect_no_library("Solvane.dll needs FTD2XX.dll, which is not a 64-bit DLL: " +
                               self.windows(place / "FTD2XX.dll") + ".",
                               program=place / "solvane.exe", rig=False)

    def test_library_missing(self):
        place = self.place(self.directory / "Kamera Süd λ", BIN / "solvane.exe")
        self.expect_no_library(self.windows(place / "Solvane.dll") + " was not found.",
                               program=place / "solvane.exe")

    def test_library_elsewhere(self):
        place = self.place(self.directory / "Kamera Süd λ", BIN / "Solvane.dll")
        outcome = self.run_host("ready", "--library", self.windows(place / "Solvane.dll"))
        self.assertEqual((outcome.out, outcome.err), ("ready  yes\n", ""))

    def test_library_is_a_directory(self):
        self.expect_no_library(self.windows(self.directory) + " is a directory, not a DLL.",
                               "--library", self.windows(self.directory))

    def test_library_is_a_text_file(self):
        file = self.directory / "notes.txt"
        file.write_text("MZ, but no program\n" * 100)
        self.expect_no_library(self.windows(file) + " is not a 64-bit DLL.",
                               "--library", self.windows(file))

    def test_library_is_for_another_processor(self):
        image = bytearray((BIN / "Solvane.dll").read_bytes())
        headers = struct.unpack_from("<I", image, 0x3C)[0]
        arm64 = 0xAA64
        struct.pack_into("<H", image, headers + 4, arm64)
        file = self.directory / "Solvane.dll"
        file.write_bytes(image)
        self.expect_no_library(self.windows(file) + " is not a 64-bit DLL.",
                               "--library", self.windows(file))

    def test_library_is_cut_off(self):
        image = (BIN / "Solvane.dll").read_bytes()
        file = self.directory / "Solvane.dll"
        for size in 0, 1, 100, 400, 1024, len(image) // 2:
            with self.subTest(size=size):
                file.write_bytes(image[:size])
                outcome = self.run_host("wake", "--library", self.windows(file))
                self.assertEqual(outcome.code, NO_LIBRARY)
                self.assertIn("Solvane.dll", outcome.err)

    def test_library_is_another_one(self):
        file = self.windows(RIG / "solvane_rig.dll")
        self.expect_no_library("The library has no function Solvane_SetLogger: it is another DLL, "
                               "or another version than this program needs.", "--library", file)


if __name__ == "__main__":
    WINE, BIN, RIG, SCENARIOS = (Path(argument).resolve() for argument in sys.argv[1:5])
    RECORDING = SCENARIOS.parent.parent / "docs/recordings/usb.vcd"
    unittest.main(argv=sys.argv[:1] + sys.argv[5:])
