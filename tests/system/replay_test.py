"""Every shipped scenario is the real hardware of a host that is recorded: it meets the same again in
a replay, and the model answers as the hardware did."""

import argparse
import os
import re
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

DONE, FAILED = 0, 1
SCENARIOS = 10
# Failures of vendor calls in the middle of a capture, which the model does not have.
FAILURES = {
    "FT_Write": "[[usb]]\nchip = 'FT2232H'\n[[fault]]\nfunction = 'FT_Write'\ncall = 6\nstatus = 4\n",
    "FT_GetQueueStatus": "[[usb]]\nchip = 'FT2232H'\n[[fault]]\nfunction = 'FT_GetQueueStatus'\ncall = 5\ntimes = 0\ncount = 0\n",
    "EApiGPIOSetLevel": "[eapi]\n[[fault]]\nfunction = 'EApiGPIOSetLevel'\ncall = 6\nstatus = 0xfffffafe\n",
}


class Replay(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="solvane replay ")
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        for file in (OPTIONS.host, OPTIONS.library):
            shutil.copy(file, self.folder)
        self.host = str(self.folder / Path(OPTIONS.host).name)

    def tool(self, *arguments, **variables):
        done = subprocess.run([OPTIONS.wine, OPTIONS.tool, *arguments], text=True, timeout=120,
                              env=dict(os.environ, **variables), stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, check=False)
        return done.returncode, done.stdout, done.stderr

    @staticmethod
    def untimed(text):
        return re.sub(r"\d+\.\d+ ms", "... ms", text)

    def meet_again(self, scenario):
        """Records a host on the scenario, checks that it meets the same in a replay, and compares."""
        recording = str(self.folder / (scenario.stem + ".rec"))
        host = ("--", self.host, "trigger")
        code, out, _ = self.tool("record", "-o", recording, *host, SOLVANE_RIG=f"Z:{scenario}")
        replayed, again, err = self.tool("replay", recording, *host)
        self.assertEqual(replayed, DONE, again + err)
        self.assertRegex(again, r"Replay: all \d+ calls were as recorded\.\n$")
        self.assertTrue(self.untimed(again).startswith(self.untimed(out)), out + again)
        self.assertEqual(f"The host's exit code was {code}." in again, code != DONE)
        return self.tool("compare", recording)

    def test_failures(self):
        for function, scenario in FAILURES.items():
            with self.subTest(function):
                file = self.folder / f"{function}.toml"
                file.write_text(scenario)
                code, differences, err = self.meet_again(file)
                self.assertEqual(code, FAILED, differences + err)
                self.assertIn(f" {function}(", differences)

    def test_shipped_scenarios(self):
        scenarios = sorted(Path(OPTIONS.scenarios).glob("*.toml"))
        for scenario in scenarios:
            with self.subTest(scenario.stem):
                code, differences, err = self.meet_again(scenario)
                self.assertEqual(code, DONE, differences + err)
        self.assertEqual(len(scenarios), SCENARIOS)
        # Another host is another.
        code, out, _ = self.tool("replay", "--fast", str(self.folder / "usb.rec"), "--", self.host,
                                 "ready")
        self.assertEqual(code, FAILED)
        self.assertRegex(out, r"Replay: call \d+ differs: the recording has FT_Write\(.*, the host asked")


parser = argparse.ArgumentParser()
for option in ("wine", "tool", "host", "library", "scenarios"):
    parser.add_argument("--" + option, required=True)
OPTIONS, rest = parser.parse_known_args()
if __name__ == "__main__":
    unittest.main(argv=[__file__, *rest], verbosity=2)
