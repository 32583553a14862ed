"""Processes that end with an open chip, while a thread logs, or by a host's mistake."""

import argparse
import os
import re
import subprocess
import tempfile
import unittest


class Exit(unittest.TestCase):
    def end(self, how, status=0):
        """The lines that the log function got, and the last vendor call."""
        with tempfile.TemporaryDirectory() as folder:
            journal = os.path.join(folder, "journal.txt")
            run = subprocess.run(
                [OPTIONS.wine, OPTIONS.probe, how], text=True, stdin=subprocess.DEVNULL,
                capture_output=True, timeout=60,
                env=dict(os.environ, WINEPATH=f"{OPTIONS.rig};{OPTIONS.bin}",
                         SOLVANE_RIG_JOURNAL="Z:" + journal))
            calls = []
            if os.path.exists(journal):
                with open(journal) as file:
                    calls = [line for line in file if " call " in line]
        self.assertEqual(run.returncode, status, run.stdout + run.stderr)
        return run.stdout.splitlines(), calls[-1] if calls else ""

    def assert_closed(self, line, call):
        self.assertRegex(call, re.escape("FT_Close(SLV1B) -> 0"))
        self.assertRegex(line, r"^\[\d\d:\d\d:\d\d\.\d\d\d\] Closing device\.\.\.$")


class WithoutDriver(Exit):
    def test_an_open_chip_is_closed(self):
        lines, call = self.end("an open chip")
        self.assert_closed(lines[-1], call)

    def test_a_thread_that_is_ended_while_it_logs_does_not_block_the_exit(self):
        lines, call = self.end("a thread logs")
        self.assert_closed(lines[-1], call)

    def test_unloading_in_a_line_closes_the_chip_and_is_a_fault(self):
        lines, call = self.end("unload in a line", status=4)
        self.assertIn("FT_Close(SLV1B) -> 0", call)
        self.assertTrue(lines[-2].endswith("Closing device..."), lines)
        self.assertEqual(lines[-1], "fault 0xc0000005")

    def test_the_first_call_waits_for_itself_when_its_log_makes_another(self):
        lines, call = self.end("call in the first line")
        self.assertEqual((len(lines), call), (1, ""))


class WithDriver(Exit):
    def test_a_timer_whose_thread_is_ended_while_it_logs_does_not_block_the_exit(self):
        lines, call = self.end("a timer logs")
        self.assert_closed(lines[-1], call)


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    for option in ("--wine", "--probe", "--bin", "--rig"):
        parser.add_argument(option, required=True)
    OPTIONS, rest = parser.parse_known_args()
    unittest.main(argv=["exit_test.py", *rest])
