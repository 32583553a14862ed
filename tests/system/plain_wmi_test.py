"""Without the rig's WMI the parallel port is not found, whatever the hardware is."""

import argparse
import os
import subprocess
import tempfile
import unittest


class PlainWmi(unittest.TestCase):
    def test_the_port_is_not_found_and_the_log_says_so(self):
        with tempfile.TemporaryDirectory() as folder:
            rig = os.path.join(folder, "rig.toml")
            with open(rig, "w") as file:
                file.write("[lpt]\n")
            run = subprocess.run([OPTIONS.wine, OPTIONS.host, "--log", "probe"],
                                 env=dict(os.environ, WINEPATH=OPTIONS.rig, SOLVANE_RIG=rig),
                                 capture_output=True, text=True, timeout=120)
        self.assertEqual(run.returncode, 1)
        self.assertEqual([line[15:] for line in run.stderr.splitlines()][:5], [
            "Controller candidate been created. Checking H/W availability...",
            "[LPT]: initializing...", "[LPT]: pEnumerator->Next() failed. hr = 0x1",
            "[LPT]: error -3", "... not available. Error -3"])
        self.assertIn("candidate 1        parallel port, not available (status -3)\n", run.stdout)


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    for option in ("wine", "host", "rig"):
        parser.add_argument("--" + option, required=True)
    OPTIONS, rest = parser.parse_known_args()
    unittest.main(argv=["plain_wmi_test", *rest])
