"""A process that ends while one of its threads logs: it ends, and the hardware is closed."""

import argparse
import os
import re
import subprocess
import tempfile
import unittest


class Exit(unittest.TestCase):
    def test_a_thread_that_is_ended_while_it_logs_holds_nobody_up(self):
        with tempfile.TemporaryDirectory() as folder:
            journal = os.path.join(folder, "journal.txt")
            run = subprocess.run(
                [OPTIONS.wine, OPTIONS.probe], text=True, stdin=subprocess.DEVNULL,
                capture_output=True, timeout=60,
                env=dict(os.environ, WINEPATH=f"{OPTIONS.rig};{OPTIONS.bin}",
                         SOLVANE_RIG_JOURNAL="Z:" + journal))
            with open(journal) as file:
                last_call = [line for line in file if " call " in line][-1]
        self.assertEqual(run.returncode, 0, run.stdout + run.stderr)
        self.assertRegex(last_call, re.escape("FT_Close(SLV1B) -> 0"))
        self.assertRegex(run.stdout.splitlines()[-1],
                         r"^\[\d\d:\d\d:\d\d\.\d\d\d\] Closing device\.\.\.$")


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    for option in ("--wine", "--probe", "--bin", "--rig"):
        parser.add_argument(option, required=True)
    OPTIONS, rest = parser.parse_known_args()
    unittest.main(argv=["exit_test.py", *rest])
