"""solvane check and solvane hold as programs: their output, their effect on the lines, their files.

The verdicts of check are tested natively, in tests/tools. The arguments are those of cli_test.py.
"""

import hashlib
import os
import re
import select
import shutil
import signal
import struct
import sys
import time
import tty
import unittest
from pathlib import Path

import cli_test
from cli_test import CHIP, DONE, FAILED, KINDS, NO_LIBRARY, STOPPED, USAGE, CliTest, Outcome

ALL = ("check", "--yes", "--power", "--captures", "2")
# An exposure long enough for the polls of a busy machine.
NO_FLAG = "[camera]\nexposure_ms = 500\n[wiring]\nmep = 'broken'\n"


class Check(CliTest):
    def test_each_kind_has_its_verdict(self):
        for kind, scenario in KINDS.items():
            outcome = self.run_host(*ALL, "--json", scenario=scenario)
            *steps, last = outcome.objects()
            self.assertEqual((outcome.code, outcome.err), (DONE, ""), kind)
            self.assertEqual(last["verdict"], "PASS" if kind == "FT2232H" else "INCOMPLETE PASS")
            self.assertEqual(len(steps), 16)
            self.assertEqual(last["rig"], self.rig())
            self.assertEqual(len(outcome.rises("trigger")), 3)
            for line, rest in ("dark", 0), ("camera_power", 1), ("accessories_power", 1):
                self.assertEqual(outcome.levels(line)[-1], rest, f"{kind}, {line}")

    def test_without_yes_and_without_a_console_nothing_is_done(self):
        outcome = self.run_host("check")
        self.assertEqual(outcome.code, DONE)
        self.assertIn("\nINCOMPLETE PASS\n", outcome.out)
        self.assertIn("Nobody could be asked: --yes allows it.", outcome.out)
        for line in "trigger", "dark", "camera_power", "accessories_power":
            self.assertEqual(outcome.levels(line), [], line)

    def test_power_is_switched_only_when_it_is_allowed(self):
        outcome = self.run_host("check", "--yes", "--captures", "1")
        self.assertEqual(outcome.code, DONE)
        self.assertIn("Switching power was not allowed: --power does.", outcome.out)
        self.assertEqual(outcome.levels("camera_power") + outcome.levels("accessories_power"), [])

    def test_a_fault_fails_with_its_cause_in_report_and_baseline(self):
        healthy = self.run_host(*ALL, "--json").out
        baseline = self.directory / "accepted.json"
        baseline.write_text(healthy, "utf-8")
        page = self.directory / "check.html"
        outcome = self.run_host(*ALL, "--report", f"Z:{page}", "--baseline", f"Z:{baseline}",
                                scenario=CHIP + NO_FLAG)
        self.assertEqual((outcome.code, outcome.err), (FAILED, ""))
        self.assertIn("\nINCOMPLETE FAIL: The camera answers the trigger, but its MEP flag never "
                      "comes up.\n", outcome.out)
        self.assertIn("changed since the baseline:\n", outcome.out)
        self.assertIn("  - a capture: was ok, is FAIL\n", outcome.out)
        text = page.read_text("utf-8")
        self.assertIn("MEP flag never comes up", text)
        self.assertIn("Controller candidate been created", text, "the log is in it")
        self.assertIn("SHA-256", text)

        unchanged = self.run_host(*ALL, "--baseline", f"Z:{baseline}")
        changed = [line for line in unchanged.out.splitlines() if ": was " in line]
        # What a machine takes for something is its own.
        self.assertEqual([line for line in changed
                          if not re.search("_ms|scenario|timing", line)], [])

    def test_what_cannot_be_used_is_told_before_the_camera_works(self):
        nonsense = self.directory / "nonsense.json"
        nonsense.write_text("{}")
        for arguments in (("--baseline", f"Z:{nonsense}"), ("--baseline", "Z:/no/such.json"),
                          ("--report", "Z:/no/such/page.html"), ("--captures", "0")):
            outcome = self.run_host(*ALL, *arguments)
            self.assertEqual((outcome.code, outcome.out), (USAGE, ""), arguments)
            self.assertEqual(outcome.levels("trigger"), [])

    def test_anonymous(self):
        outcome = self.run_host(*ALL, "--json", "--anonymous",
                                scenario="[[usb]]\nchip = 'FT2232H'\nserial = 'QX7'\n")
        self.assertEqual(outcome.code, DONE)
        self.assertNotIn("QX7", outcome.out)
        last = outcome.objects()[-1]
        self.assertEqual((last["user"], last["machine"], last["anonymous"]),
                         ("(user)", "(machine)", True))

    def test_a_baseline_may_be_of_the_other_sort(self):
        scenario = "[[usb]]\nchip = 'FT2232H'\nserial = 'QX7'\n"
        baseline = self.directory / "accepted.json"
        for then, now in ((), ("--anonymous",)), (("--anonymous",), ()):
            baseline.write_text(self.run_host("check", "--json", *then, scenario=scenario).out)
            outcome = self.run_host("check", "--baseline", f"Z:{baseline}", *now, scenario=scenario)
            self.assertEqual("QX7" in outcome.out, not now)
            self.assertNotIn("serial: was", outcome.out)
        baseline.write_text(self.run_host("check", "--json", scenario=CHIP).out)
        outcome = self.run_host("check", "--baseline", f"Z:{baseline}", "--anonymous",
                                scenario=scenario)
        self.assertIn("chip or port, serial: was (serial)B, is (serial)B\n", outcome.out)

    def test_the_dlls_are_those_that_are_loaded(self):
        vendor = self.run_host("check", "--json").objects()[1]["facts"]
        for dll in "FTD2XX.dll", "inpoutx64.dll", "EAPI_Library.dll":
            file = cli_test.RIG / dll
            self.assertEqual(vendor[dll]["path"].replace("\\", "/"), f"Z:{file}")
            self.assertEqual(vendor[dll]["sha256"], sha256(file))
            self.assertNotIn("others", vendor[dll])

    def test_other_files_of_a_dlls_name_are_told(self):
        library, program, path = (self.directory / name for name in ("library", "program", "path"))
        for folder, files in ((library, [cli_test.BIN / "Solvane.dll"]),
                              (program, [cli_test.BIN / "solvane.exe", *cli_test.RIG.glob("*.dll")]),
                              (path, [cli_test.RIG / "inpoutx64.dll"])):
            folder.mkdir()
            for file in files:
                shutil.copy(file, folder)
        whole = (cli_test.RIG / "FTD2XX.dll").read_bytes()
        headers = struct.unpack_from("<I", whole, 0x3C)[0]
        for_32_bits = bytearray(whole)
        struct.pack_into("<H", for_32_bits, headers + 4, 0x014C)
        (library / "FTD2XX.dll").write_bytes(for_32_bits)  # Windows looks there first
        (path / "FTD2XX.dll").write_bytes(whole + b"another")
        arguments = ("check", "--library", f"Z:{library}/Solvane.dll")
        options = {"program": program / "solvane.exe", "rig": False,
                   "more_environment": {"WINEPATH": f"Z:{path};Z:{program}"}}

        step = self.run_host(*arguments, "--json", **options).objects()[1]
        windows = {folder: f"Z:{folder}".replace("/", "\\") for folder in (library, program, path)}
        self.assertEqual((step["step"], step["outcome"]), ("vendor_dlls", "note"))
        self.assertEqual(step["facts"]["FTD2XX.dll"], {
            "path": windows[program] + "\\FTD2XX.dll", "version": "",
            "sha256": sha256(program / "FTD2XX.dll"),
            "others": [f"passed over, though Windows looks there first: {windows[library]}"
                       f"\\FTD2XX.dll, 32-bit, SHA-256 {sha256(library / 'FTD2XX.dll')}",
                       f"hidden by the one that is loaded: {windows[path]}\\FTD2XX.dll, 64-bit, "
                       f"SHA-256 {sha256(path / 'FTD2XX.dll')}"]})
        self.assertEqual(step["facts"]["inpoutx64.dll"]["others"],
                         [f"the same again: {windows[path]}\\inpoutx64.dll, 64-bit, "
                          f"SHA-256 {sha256(path / 'inpoutx64.dll')}"])
        self.assertNotIn("others", step["facts"]["EAPI_Library.dll"])

        (program / "FTD2XX.dll").unlink()  # the next one behind is taken
        step = self.run_host(*arguments, "--json", **options).objects()[1]
        self.assertEqual(step["facts"]["FTD2XX.dll"]["path"], windows[path] + "\\FTD2XX.dll")
        (path / "FTD2XX.dll").unlink()
        outcome = self.run_host(*arguments, **options)
        self.assertEqual((outcome.code, outcome.err),
                         (NO_LIBRARY, "solvane: Solvane.dll needs FTD2XX.dll, which is not a 64-bit "
                          f"DLL: {windows[library]}\\FTD2XX.dll.\n"))

    def wait_for(self, text):
        deadline = time.monotonic() + 60
        while text not in (self.directory / "out").read_text("utf-8"):
            self.assertLess(time.monotonic(), deadline, f"no {text} came")
            time.sleep(0.005)

    def test_ctrl_c_puts_back_what_was_switched(self):
        for seen in "ready  ", "dark  ", "camera power  ":  # then the next step is in progress
            with self.start_host(*ALL) as running:
                self.wait_for(seen)
                running.send_signal(signal.SIGINT)
                code = running.wait(timeout=60)
            outcome = Outcome(code, self.directory)
            self.assertEqual(outcome.code, STOPPED)
            for line, rest in (("trigger", 0), ("dark", 0), ("camera_power", 1),
                               ("accessories_power", 1)):
                self.assertEqual((outcome.levels(line) or [rest])[-1], rest, f"{seen}: {line}")

    def test_a_person_is_asked_on_a_console(self):
        controller, terminal = os.openpty()
        tty.setraw(terminal)  # Wine's console has its own line editing
        raw = shown = ""
        answered = 0
        running = self.start_host("check", "--captures", "1", console=terminal)
        self.addCleanup(running.wait)
        self.addCleanup(running.kill)
        deadline = time.monotonic() + 100
        while select.select([controller], [], [], 0.3)[0] or running.poll() is None:
            self.assertLess(time.monotonic(), deadline, shown)
            if select.select([controller], [], [], 0)[0]:
                raw += os.read(controller, 4096).decode("utf-8", "replace")
            shown = re.sub(r"\x1b\[[?0-9;]*[A-Za-z]", "", raw.replace("\x1b[1C", " "))
            if shown.count("[y/n]") > answered:
                answered += 1
                # Power is not to be switched.
                os.write(controller, b"n\r" if "power" in shown[-80:] else b"y\r")
        os.close(controller)
        os.close(terminal)
        for file in "out", "err":  # all output went to the console
            (self.directory / file).write_text(shown)
        outcome = Outcome(running.returncode, self.directory)
        self.assertEqual((outcome.code, answered), (DONE, 7))
        self.assertIn("INCOMPLETE PASS", shown)
        self.assertIn("It was not allowed.", shown)
        self.assertEqual(outcome.levels("camera_power"), [])
        self.assertEqual(len(outcome.rises("trigger")), 2)


def sha256(file):
    return hashlib.sha256(file.read_bytes()).hexdigest()


class Hold(CliTest):
    LINES = {"dark": ("dark", 1), "camera-power": ("camera_power", 0),
             "accessories-power": ("accessories_power", 0)}

    def test_holds_each_line_and_puts_it_back(self):
        for kind, scenario in KINDS.items():
            for name, (line, held) in self.LINES.items():
                outcome = self.run_host("hold", name, "--for", "1", scenario=scenario)
                self.assertEqual((outcome.code, outcome.err), (DONE, ""), f"{kind}: {outcome.out}")
                self.assertEqual(outcome.levels(line), [held, 1 - held], f"{kind}, {line}")
                begin, end = [when for when, edge, _ in outcome.edges if edge == line]
                self.assertGreaterEqual(end - begin, 990)

    def test_ctrl_c_puts_it_back(self):
        with self.start_host("hold", "dark", "--for", "100") as running:
            journal = self.directory / "journal.txt"
            deadline = time.monotonic() + 60
            while not journal.exists() or "dark 1" not in journal.read_text("utf-8"):
                self.assertLess(time.monotonic(), deadline)
                time.sleep(0.01)
            running.send_signal(signal.SIGINT)
            code = running.wait(timeout=60)
        outcome = Outcome(code, self.directory)
        self.assertEqual((outcome.code, outcome.levels("dark")), (STOPPED, [1, 0]))

    def test_a_line_that_cannot_be_read_first_is_put_to_rest(self):
        unread = "[[fault]]\nfunction = 'EApiGPIOGetLevel'\nstatus = 0xfffffffb\ncall = 1\ntimes = 1\n"
        outcome = self.run_host("hold", "camera-power", "--for", "1",
                                scenario=KINDS["Embedded API"] + unread)
        self.assertEqual((outcome.code, outcome.err), (DONE, ""))
        self.assertEqual(outcome.levels("camera_power"), [0, 1])
        self.assertEqual(outcome.values()["camera-power now"], "on")

    def test_what_has_only_a_pulse_cannot_be_held(self):
        for line in "trigger", "clear-mep", "ready":
            self.assertEqual(self.run_host("hold", line, "--for", "1").code, USAGE)

    def test_without_hardware(self):
        outcome = self.run_host("hold", "dark", "--for", "1", scenario="no_hardware.toml")
        self.assertEqual(outcome.code, FAILED)
        self.assertIn("hold failed with status -3", outcome.err)


if __name__ == "__main__":
    cli_test.WINE, cli_test.BIN, cli_test.RIG, cli_test.SCENARIOS = (
        Path(argument).resolve() for argument in sys.argv[1:5])
    unittest.main(argv=sys.argv[:1] + sys.argv[5:])
