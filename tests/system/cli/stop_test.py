"""solvane is stopped: by Ctrl-C, by a console that is closed, by a session that ends.

    stop_test.py <arguments of cli_test.py> <stop_helper.exe>
"""

import os
import re
import shutil
import signal
import subprocess
import sys
import time
import unittest
from pathlib import Path

import cli_test
from cli_test import CHIP, KINDS, CliTest, Outcome

STOPPED = 130
MOMENTS = int(os.environ.get("SOLVANE_STOP_MOMENTS", 8))  # of each kind of hardware

# A short exposure, so that each trigger clears the flag of the one before.
QUICK = "[camera]\nexposure_ms = 1\n"
MANY = ("trigger", "-n", "100000", "--wait-ready", "1000")

# The chip leaves for good in the first question, whose recovery waits 3 s for it.
LOST = ("[[usb]]\nchip = 'FT2232H'\nreset_port_ms = -1\n"
        "[[fault]]\nfunction = 'FT_Write'\ncall = 4\nstatus = 4\n")
# And here in the write of a trigger that raises its line.
LOST_AT_TRIGGER = LOST.replace("call = 4", "call = 6")
END_OF_RECOVERY = "RestoreAvailability() failed"
HAS_WINDOWS = os.environ.get("SOLVANE_TEST_WINDOWS") == "1"


class StopCase(CliTest):
    def wait_for(self, text, file="out", count=1):
        deadline = time.monotonic() + 60
        while self.read(file).count(text) < count:
            self.assertLess(time.monotonic(), deadline, f"no {text} came")
            time.sleep(0.005)

    def read(self, file):
        path = self.directory / file
        return path.read_text("utf-8") if path.exists() else ""

    def stopped(self, *arguments, tell, **options):
        """The outcome of a run that `tell` asks to stop."""
        with self.start_host(*arguments, **options) as running:
            try:
                tell(running)
                code = running.wait(timeout=60)
            except BaseException:
                running.kill()
                raise
        return Outcome(code, self.directory)

    def expect_rest(self, outcome):
        """Each pulse has both of its edges."""
        for line in "trigger", "clear_mep":
            levels = outcome.levels(line)
            self.assertEqual(levels, [1, 0] * (len(levels) // 2), line)
        self.assertEqual(outcome.code, STOPPED)


class CtrlC(StopCase):
    def test_at_any_moment_leaves_trigger_and_clear_mep_at_rest(self):
        for kind, hardware in KINDS.items():
            for moment in range(MOMENTS):
                with self.subTest(kind=kind, moment=moment):
                    def tell(running, moment=moment):
                        self.wait_for("3 of 100000")
                        time.sleep(0.0021 * moment)  # a trigger takes about 13 to 25 ms
                        running.send_signal(signal.SIGINT)

                    outcome = self.stopped(*MANY, tell=tell, scenario=QUICK + hardware)
                    self.expect_rest(outcome)
                    self.assertEqual(outcome.err, "")
                    # The trigger that was in progress is reported, too.
                    self.assertEqual(outcome.out.count("\ntriggered") + 1,
                                     len(outcome.rises("trigger")))

    def test_lets_a_recovery_end_and_begins_nothing_more(self):
        def tell(running):
            self.wait_for("Waiting for device", "err")
            running.send_signal(signal.SIGINT)

        outcome = self.stopped("probe", "--log", tell=tell, scenario=LOST)
        self.assertEqual((outcome.code, outcome.out), (STOPPED, ""))
        self.assertEqual(outcome.err.count(END_OF_RECOVERY), 1, "one question")
        self.assertEqual(outcome.err.count("Controller candidate"), len(KINDS), "one selection")

    def test_what_was_in_progress_is_told_with_its_status(self):
        def tell(running):
            self.wait_for("Waiting for device", "err")
            running.send_signal(signal.SIGINT)

        outcome = self.stopped("trigger", "-n", "5", "--log", tell=tell, scenario=LOST_AT_TRIGGER)
        self.assertEqual(outcome.code, STOPPED)
        self.assertRegex(outcome.out, r"^trigger +1 of 5 .*failed after.*\n$")

    def test_twice_ends_at_once_and_tells_of_the_lines(self):
        def tell(running):
            self.wait_for("Waiting for device", "err")
            running.send_signal(signal.SIGINT)
            time.sleep(0.3)
            self.assertIsNone(running.poll())
            running.send_signal(signal.SIGINT)

        for arguments, lines in ((("trigger", "--log"), "The trigger line may be high"),
                                 (("ready", "--log"), "may not be at rest yet")):
            outcome = self.stopped(*arguments, tell=tell, scenario=LOST)
            self.assertEqual(outcome.code, STOPPED)
            self.assertNotIn(END_OF_RECOVERY, outcome.err)
            self.assertRegex(outcome.err, "solvane: ended at once. .*" + lines)

    def test_ends_what_only_waits(self):
        for arguments, shown in ((("watch",), "yes"), (("watch", "--json", "--interval", "100000"),
                                                       "status"),
                                 (("trigger", "-n", "2", "--interval", "100000"), "1 of 2")):
            def tell(running, shown=shown):
                self.wait_for(shown)
                running.send_signal(signal.SIGINT)

            # Each would wait for 100 s, or print for ever.
            outcome = self.stopped(*arguments, tell=tell)
            self.assertEqual((outcome.code, outcome.err), (STOPPED, ""), arguments)

    def test_before_the_hardware_was_found(self):
        for moment in range(MOMENTS):
            def tell(running, moment=moment):
                time.sleep(0.03 * moment)
                running.send_signal(signal.SIGINT)

            outcome = self.stopped("trigger", "-n", "1000", "--wait-ready", "1000", tell=tell)
            levels = outcome.levels("trigger")
            self.assertEqual(levels, [1, 0] * (len(levels) // 2))


class StoppedByWindows(StopCase):
    """Closed consoles and ended sessions, simulated by stop_helper."""

    def tell_by(self, how, begun, *arguments, scenario):
        """The outcome of a command that is stopped when `begun` shows, and who ended it."""
        program = self.directory / f"stopped-{os.getpid()}.exe"
        shutil.copy(cli_test.BIN / "solvane.exe", program)

        def tell(_):
            self.wait_for(*begun)
            with open(self.directory / "helper", "wb") as file:
                subprocess.run([cli_test.WINE, HELPER, program.name, how], stdout=file,
                               stdin=subprocess.DEVNULL, timeout=90, check=True)

        outcome = self.stopped(*arguments, "--library", f"Z:{cli_test.BIN}/Solvane.dll",
                               tell=tell, program=program, scenario=scenario)
        return outcome, self.read("helper").strip()

    def expect_to_finish(self, how):
        outcome, _ = self.tell_by(how, ("5 of 100000",), *MANY, scenario=QUICK + CHIP)
        self.expect_rest(outcome)
        # Windows waits for the answer, some seconds at least.
        outcome, helper = self.tell_by(how, ("Waiting for device", "err"), "ready", "--log",
                                       scenario=LOST)
        self.assertEqual((outcome.code, helper), (STOPPED, "ended"))
        self.assertIn(END_OF_RECOVERY, outcome.err)

    @unittest.skipIf(HAS_WINDOWS, "consoles are tested without windows")
    def test_console_events(self):
        for how in "close", "logoff", "shutdown":
            with self.subTest(how):
                self.expect_to_finish(how)

    @unittest.skipUnless(HAS_WINDOWS, "needs a Wine that has windows: SOLVANE_TEST_WINDOWS=1")
    def test_end_of_the_session(self):
        self.expect_to_finish("session")


if __name__ == "__main__":
    cli_test.WINE, cli_test.BIN, cli_test.RIG, cli_test.SCENARIOS, HELPER = (
        Path(argument).resolve() for argument in sys.argv[1:6])
    unittest.main(argv=sys.argv[:1] + sys.argv[6:])
