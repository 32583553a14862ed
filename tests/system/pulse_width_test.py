"""The width of the trigger pulse, measured independently: sigrok-cli reads the waveform."""

import argparse
import json
import os
import re
import statistics
import subprocess
import tempfile
import unittest

TOLERANCE_MS = 1.5
SHORTEST_MS = 10.0
UNITS_MS = {"s": 1000.0, "ms": 1.0, "μs": 1e-3, "µs": 1e-3, "us": 1e-3, "ns": 1e-6}


def widths_ms(vcd, signal):
    """Every time between two edges of a signal, in ms, as sigrok's timing decoder prints them."""
    output = subprocess.run(
        ["sigrok-cli", "-i", vcd, "-I", "vcd", "-P", f"timing:data={signal}", "-A", "timing=time"],
        check=True, capture_output=True, text=True).stdout
    found = re.findall(r":\s*([0-9.]+)\s*(s|ms|[μµu]s|ns)\b", output)
    return [float(number) * UNITS_MS[unit] for number, unit in found]


class PulseWidth(unittest.TestCase):
    def measure(self, scenario, settle_ms):
        with tempfile.TemporaryDirectory() as folder:
            vcd = os.path.join(folder, "pulse.vcd")
            rig = os.path.join(folder, "rig.toml")
            with open(rig, "w") as file:
                file.write(scenario)
            environment = dict(os.environ, WINEPATH=f"{OPTIONS.rig};{OPTIONS.bin}",
                               SOLVANE_RIG=rig, SOLVANE_RIG_VCD=vcd)
            run = subprocess.run([OPTIONS.wine, OPTIONS.probe, str(settle_ms)], env=environment,
                                 capture_output=True, text=True, timeout=120)
            self.assertEqual(run.returncode, 0, run.stderr)
            probe = json.loads(run.stdout)
            # The times between the edges alternate: high, low, high, ... beginning with the first
            # pulse, because the decoder starts at the first edge.
            between = widths_ms(vcd, "trigger")
        highs = between[0::2]
        print(f"trigger high for {min(highs):.3f} to {max(highs):.3f} ms; "
              f"bare sleeps took up to {probe['longest_bare_ms']:.3f} ms")
        self.assertEqual(len(highs), probe["triggers"])
        self.assertGreaterEqual(min(highs), SHORTEST_MS)
        # A single sleep may be long on a busy machine; the library must not lengthen it.
        self.assertLessEqual(statistics.median(highs), probe["longest_bare_ms"] + TOLERANCE_MS)

    def test_on_an_ft2232h_the_pulse_is_ten_milliseconds_after_two_that_a_write_settles(self):
        self.measure("[[usb]]\nchip = 'FT2232H'\n", 2)

    def test_on_the_embedded_api_the_pulse_is_ten_milliseconds(self):
        self.measure("[eapi]\n", 0)

    def test_on_a_parallel_port_the_pulse_is_ten_milliseconds(self):
        self.measure("[lpt]\n", 0)

    def test_on_a_super_io_chip_the_pulse_is_ten_milliseconds(self):
        self.measure("[superio]\n", 0)


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    for option in ("wine", "probe", "bin", "rig"):
        parser.add_argument("--" + option, required=True)
    OPTIONS, rest = parser.parse_known_args()
    unittest.main(argv=["pulse_width_test", *rest])
