"""Registers the rig's WMI class in place of Wine's own, and restores Wine's own. At the end the rig's is
installed for other tests."""

import argparse
import os
import subprocess
import unittest

KEY = r"HKLM\Software\Classes\CLSID\{4590F811-1D3A-11D0-891F-00AA004B2E24}\InprocServer32"


class WmiInstall(unittest.TestCase):
    def wine(self, *command):
        return subprocess.run([OPTIONS.wine, *command], text=True, stdin=subprocess.DEVNULL,
                              env=dict(os.environ, WINEPREFIX=OPTIONS.prefix),
                              capture_output=True, timeout=120)

    def tool(self, *arguments):
        run = self.wine(OPTIONS.tool, *arguments)
        return run.returncode, run.stdout, run.stderr

    def server(self):
        values = {}
        for line in self.wine("reg", "query", KEY).stdout.splitlines():
            words = line.split(None, 2)
            if len(words) == 3 and words[1].startswith("REG_"):
                values[words[0]] = words[2]
        return values

    def test_install_and_remove(self):
        absent = (0, "The WMI class is not installed.\n", "")
        present = (0, "The WMI class is installed.\n", "")
        self.assertEqual(self.tool("remove", "--wmi"), absent)
        wines_own = self.server()
        self.assertIn("wbemprox", wines_own["(Default)"])
        self.assertEqual(self.tool("status", "--wmi"),
                         (1, "", "solvane-rig: the WMI class is not installed\n"))
        for _ in range(2):
            self.assertEqual(self.tool("install", "--wmi"), present)
            rigs_own = self.server()
            self.assertEqual(rigs_own["(Default)"].lower().replace("\\", "/"),
                             "z:" + os.path.dirname(OPTIONS.tool).lower() + "/rig_wbem.dll")
            self.assertEqual(rigs_own["ThreadingModel"], "Both")
        self.assertEqual(self.tool("status", "--wmi"), present)
        for _ in range(2):
            self.assertEqual(self.tool("remove", "--wmi"), absent)
            self.assertEqual(self.server(), wines_own)
        self.assertEqual(self.tool("install", "--wmi"), present)

    def test_status_lists_everything(self):
        status, output, failures = self.tool("status")
        self.assertEqual(status, 1)
        self.assertIn("solvane-rig: the driver is not installed\n", failures)
        self.assertIn("FTD2XX.dll", output)


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    for option in ("wine", "tool", "prefix"):
        parser.add_argument("--" + option, required=True)
    OPTIONS, rest = parser.parse_known_args()
    unittest.main(argv=["wmi_install_test", *rest])
