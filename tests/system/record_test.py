"""`solvane-rig record` in Wine. The rig's own DLLs, and one with odd exports, are the real ones here."""

import argparse
import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest

DONE, NOTHING = 0, 125
ASIDE = ".set-aside-by-solvane-rig"
# Calls of `solvane trigger`, from the first call of the library to its end, by scenario.
CALLS = {"usb": 32, "lpt": 25, "eapi": 21, "superio": 63}


def on_windows(path):
    return "Z:" + str(path).replace("/", "\\")


class Recording:
    """The lines of a recording, as a person reads them: what is left of the tab."""

    def __init__(self, path):
        self.content = path.read_bytes()
        self.text = self.content.decode()
        self.head, self.lines = [part.splitlines() for part in self.text.split("\n\n", 1)]
        self.questions = {}
        self.answers = {}
        for line in self.lines:
            if line[0] in "<>":
                number, text = line.split("\t")[0].split(" ", 4)[3:]
                (self.questions if line[0] == ">" else self.answers)[int(number)] = text

    def calls(self):
        """Calls as the rig's journal has them."""
        return [question + self.answers[number][question.index("("):]
                for number, question in self.questions.items()]

    def remarks(self):
        return [line.split(" ", 2)[2] for line in self.lines if line.startswith("!")]


class Record(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="solvane record ü ")
        self.addCleanup(folder.cleanup)
        self.top = pathlib.Path(folder.name)
        self.host = self.top / "a host's, Größe 3"
        self.host.mkdir()
        shutil.copy(OPTIONS.probe, self.host / "probe.exe")
        self.file = self.top / "field.rec"

    def with_library(self):
        for name in ("Solvane.dll", "solvane.exe"):
            shutil.copy(os.path.join(OPTIONS.bin, name), self.host)

    def files(self):
        return {path.name: path.read_bytes() for path in self.host.iterdir()}

    def wine(self, *command, limit=None, **variables):
        """The exit code, standard output and standard error of a program."""
        environment = dict(os.environ, LC_ALL="C.UTF-8", WINEPATH=OPTIONS.rig, **variables)
        shell = [] if limit is None else \
            ["sh", "-c", f"trap '' XFSZ; ulimit -f {limit}; exec \"$@\"", "sh"]
        run = subprocess.run([*shell, OPTIONS.wine, *command], env=environment, text=True,
                             stdin=subprocess.DEVNULL, capture_output=True, timeout=120)
        return run.returncode, run.stdout, run.stderr

    def tool(self, *arguments, **variables):
        return self.wine(os.path.join(OPTIONS.rig, "solvane-rig.exe"), *arguments, **variables)

    def record(self, *arguments, options=(), **variables):
        return self.tool("record", "-o", self.file, *options, "--", *arguments, **variables)

    def odd_record(self, *arguments):
        return self.record(self.host / "probe.exe", *arguments,
                           options=("--real", pathlib.Path(OPTIONS.odd).parent))

    # ---- What is recorded

    def test_has_every_call_that_the_hardware_answered(self):
        self.with_library()
        before = self.files()
        counts = {}
        for scenario in CALLS:
            with self.subTest(scenario):
                self.file.unlink(missing_ok=True)
                journal = self.top / "journal"
                code, out, err = self.record(
                    self.host / "solvane.exe", "trigger",
                    SOLVANE_RIG=os.path.join(OPTIONS.scenarios, scenario + ".toml"),
                    SOLVANE_RIG_JOURNAL=str(journal))
                self.assertEqual(code, DONE, err)
                self.assertRegex(out, "^triggered 1 of 1 ")
                said = [line.split(" call  ")[1] for line in journal.read_text().splitlines()
                        if " call  " in line and "::" not in line]
                recording = Recording(self.file)
                self.assertEqual(recording.calls(), said)
                self.assertEqual(recording.remarks(), ["end"])
                self.assertNotIn(b"\0", recording.content)
                counts[scenario] = len(said)
                self.assertRegex(err, rf"field\.rec: {len(said)} calls\.\n$")
                ports = [line for line in recording.head if line.startswith("wmi-port: ")]
                self.assertEqual(ports, ['wmi-port: "LPT1" "888"'] if scenario == "lpt" else [])
        self.assertEqual(counts, CALLS)
        self.assertEqual(self.files(), before)

    def test_begins_with_what_the_machine_is(self):
        code, _, err = self.odd_record("odd")
        self.assertEqual(code, DONE, err)
        head = Recording(self.file).head
        odd = pathlib.Path(OPTIONS.odd)
        digest = subprocess.run(["sha256sum", odd], capture_output=True, text=True, check=True)
        self.assertEqual(head[:2], ["solvane recording 1", "program: probe.exe"])
        self.assertRegex(head[2], r"^system: Windows 10\.0\.\d+, Wine \d")
        self.assertIn(f"library: inpoutx64.dll - sha256={digest.stdout.split()[0]} "
                      f"path={on_windows(odd.resolve())}", head)
        self.assertEqual(head[-1], "anonymous: no")

    def test_leaves_out_serial_numbers_and_names_of_users(self):
        self.with_library()
        home = self.top / "home" / "jane"
        shutil.copytree(OPTIONS.rig, home, ignore=lambda _, names: [
            name for name in names if not name.endswith(".dll")])
        code, _, err = self.record(self.host / "solvane.exe", "trigger",
                                   options=("--anonymous", "--real", home))
        self.assertEqual(code, DONE, err)
        recording = Recording(self.file)
        self.assertIn("anonymous: yes", recording.head)
        self.assertIn("FT_ResetDevice(SN1B) -> 0", recording.calls())
        for secret in ("SLV1", "jane", "SLV1".encode().hex()):
            self.assertNotIn(secret, recording.text)

    # ---- How calls pass

    def test_every_export_does_what_it_does_without_the_recorder(self):
        shutil.copy(OPTIONS.odd, self.host)
        before = self.files()
        answers = []
        for value in (0x55, 0x56):
            answers += ["4894372666", "1857.000", "69.875", "2.5 4.0 10.0", "54321", "42", "1",
                        *3 * ["4711 17"], "99", str(value), f"{0x379 ^ value:x} {0x379}", "0 0"]
        plain = self.wine(self.host / "probe.exe", "odd")
        self.assertEqual((plain[0], plain[1].splitlines()), (DONE, answers))
        code, out, err = self.record(self.host / "probe.exe", "odd")
        self.assertEqual((code, out), plain[:2], err)
        self.assertIn("inpoutx64.dll exports data, odd_table,", err)
        self.assertEqual(self.files(), before, "what made way is back")
        recording = Recording(self.file)
        self.assertEqual(recording.calls(),
                         ["IsInpOutDriverOpen() -> 99", "Out32(0x378, 0x55)", "Inp32(0x379) -> 0x32c",
                          "IsInpOutDriverOpen() -> 99", "Out32(0x378, 0x56)", "Inp32(0x379) -> 0x32f"])
        # Their last errors are the host's before, what was written, and the port.
        self.assertEqual([int(line.split("\t")[1].split()[1]) for line in recording.lines
                          if line.startswith("<")], [99, 0x55, 0x379, 99, 0x56, 0x379])
        passed = [remark for remark in recording.remarks() if "first time" in remark]
        self.assertEqual([remark.split(" is called")[0] for remark in passed],
                         [f"inpoutx64.dll {name}" for name in
                          ("eight_numbers", "eight_doubles", "mixed", "big", "sum_of", "ordinal 40",
                           "ticks", "last_error", "also_last_error")])
        path = next(line for line in recording.head if "inpoutx64.dll" in line)
        self.assertTrue(path.endswith("\\inpoutx64.dll"), path)

    def test_pointers_that_lead_nowhere_end_nobody(self):
        code, out, err = self.record(self.host / "probe.exe", "bad", options=("--real", OPTIONS.rig))
        self.assertEqual((code, out.split()), (DONE, 6 * ["ffffffff"]), err)
        self.assertEqual(Recording(self.file).calls(),
                         6 * ["EApiGPIOGetLevel(0, 1) -> 0xffffffff"])

    def test_what_a_vendors_dll_calls_itself_is_no_call_of_the_host(self):
        self.assertEqual(self.odd_record("calls")[:2], (DONE, "done\n"))
        self.assertEqual(Recording(self.file).calls(),
                         ["Inp32(0xca11) -> 0xca11", "Inp32(0x378) -> 0x378"])

    def test_ends_with_the_host_although_a_program_of_windows_goes_on(self):
        told = self.top / "told"
        with told.open("w") as out:  # the program holds a pipe open
            tool = os.path.join(OPTIONS.rig, "solvane-rig.exe")
            ended = subprocess.run(
                [OPTIONS.wine, tool, "record", "-o", self.file, "--real",
                 pathlib.Path(OPTIONS.odd).parent, "--", self.host / "probe.exe", "leave"],
                stdin=subprocess.DEVNULL, stdout=out, stderr=out, timeout=60)
        text = told.read_text()
        self.assertEqual(ended.returncode, DONE, text)
        self.assertIn("field.rec: 1 call.\n", text)
        code, out, err = self.wine("taskkill", "/f", "/im", "ping.exe")
        self.assertEqual(code, DONE, out + err)

    def test_threads_call_at_the_same_time(self):
        self.assertEqual(self.odd_record("threads", "500")[:2], (DONE, "done\n"))
        recording = Recording(self.file)
        self.assertEqual(len(recording.calls()), 2000)
        threads = {line.split(" ")[2] for line in recording.lines if line.startswith(">")}
        self.assertEqual(len(threads), 4)

    def test_a_host_that_loads_a_dll_again_is_still_recorded(self):
        self.assertEqual(self.odd_record("again")[:2], (DONE, "done\n"))
        self.assertEqual(Recording(self.file).calls(), ["Inp32(0x378) -> 0x378"] * 3)

    def test_costs_little(self):
        code, out, err = self.record(self.host / "probe.exe", "measure", on_windows(OPTIONS.rig),
                                     SOLVANE_RIG=os.path.join(OPTIONS.scenarios, "usb.toml"))
        self.assertEqual(code, DONE, out + err)
        times = {name: (float(plain), float(passed)) for name, plain, passed in
                 (line.split() for line in out.splitlines())}
        port = (times["ten-reads"][1] - times["ten-reads"][0]) / 10
        chip = (times["ten-queues"][1] - times["ten-queues"][0]) / 10
        print(f"a call costs {port:.2f} us more on a port, {chip:.2f} us more on a chip; "
              f"a pulse takes {times['pulse'][1]:.2f} us instead of {times['pulse'][0]:.2f} us")
        # An operation on an FT2232H that reads its lines makes three calls and waits 2 ms for the chip.
        self.assertLess(3 * chip, 0.01 * 2000)

    # ---- How it ends

    def test_shows_the_call_in_which_the_host_ended(self):
        code, _, err = self.odd_record("die")
        self.assertEqual(code, 7)
        self.assertIn("field.rec: 3 calls; the host was ended in call 3, Inp32(0xdead).\n", err)
        recording = Recording(self.file)
        self.assertEqual(list(recording.questions), [1, 2, 3])
        self.assertEqual(list(recording.answers), [1, 2])
        self.assertNotIn(b"\0", recording.content)

    def test_a_full_disk_ends_the_recording_and_not_the_host(self):
        self.assertEqual(self.place()[0], DONE)
        code, out, _ = self.wine(self.host / "probe.exe", "often", "20000", limit=3000)
        self.assertEqual((code, out), (DONE, "done\n"))
        code, _, err = self.tool("unplace", self.host)
        self.assertEqual(code, DONE, err)
        recording = Recording(self.file)
        # Wine has no name for the limit's error.
        self.assertRegex(recording.remarks()[-1],
                         "^(the disk is full|Windows error 31), the recording ends here$")
        self.assertGreater(len(recording.answers), 1000)
        self.assertLess(len(recording.answers), 20000)

    def place(self):
        return self.tool("record", "-o", self.file, "--place", self.host,
                         "--real", pathlib.Path(OPTIONS.odd).parent)

    def test_whatever_starts_in_a_folder_is_recorded_in_a_file_of_its_own(self):
        before = self.files()
        code, out, err = self.place()
        self.assertEqual((code, err.count("\n")), (DONE, 1), err)  # that of the data
        self.assertIn("solvane_record.dll is placed.\n", out)
        self.assertIn("# Programs that start in this folder are recorded",
                      (self.host / "solvane-rig-placed.txt").read_text())
        for _ in range(2):
            self.assertEqual(self.wine(self.host / "probe.exe", "often", "5")[0], DONE)
        self.assertIn("has DLLs of the rig already", self.place()[2])
        code, out, err = self.tool("unplace", self.host)
        self.assertEqual(code, DONE, err)
        self.assertEqual(self.files(), before)
        for name in ("field.rec", "field-2.rec"):
            self.assertEqual(len(Recording(self.top / name).calls()), 5)
            self.assertIn(f"{name}: 5 calls.\n", out)

    def test_a_vendors_dll_that_is_gone_or_is_the_recorder_itself_is_complained_of(self):
        self.assertEqual(self.place()[0], DONE)
        setup = self.host / "solvane-record.txt"
        before = setup.read_text()
        for number, (path, reason) in enumerate((
                (self.top / "gone.dll", "cannot be loaded: Windows error 126"),
                (self.host / "inpoutx64.dll", "is the one that records, and no vendor's")), 1):
            setup.write_text(re.sub(r"(?m)^(real: inpoutx64\.dll ).*$",
                                    lambda line: line[1] + on_windows(path), before))
            code, out, err = self.wine(self.host / "probe.exe", "often", "3")
            self.assertEqual((code, out), (DONE, "done\n"))
            self.assertEqual(err.count(reason), 1, err)
            name = self.top / ("field.rec" if number == 1 else f"field-{number}.rec")
            self.assertIn(reason, Recording(name).remarks()[0])
        setup.write_text(before)
        self.assertEqual(self.tool("unplace", self.host)[0], DONE)

    def test_in_which_nothing_was_recorded_says_why(self):
        other = self.top / "other"
        other.mkdir()
        shutil.copy(OPTIONS.odd, other)
        real = ("--real", OPTIONS.rig)
        for arguments, reason in (
                (("load", on_windows(other / "inpoutx64.dll")),
                 r"the host loaded Z:\\.*\\other\\inpoutx64\.dll, and not what was placed in Z:\\"),
                ((), "the host loaded none of the vendors' DLLs"),
                (("load", "inpoutx64.dll"), "the host loaded none of the vendors' DLLs|"
                                            "called none of their functions")):
            with self.subTest(arguments):
                code, _, err = self.record(self.host / "probe.exe", *arguments, options=real)
                self.assertEqual(code, NOTHING, err)
                self.assertRegex(err, "solvane-rig: nothing was recorded: (" + reason + ")")
                self.assertFalse(self.file.exists())

    def test_refuses_what_cannot_be(self):
        self.assertEqual(self.place()[0], DONE)
        placed = self.top / "placed"
        shutil.copytree(self.host, placed)
        self.assertEqual(self.tool("unplace", self.host)[0], DONE)
        before = self.files()
        probe = self.host / "probe.exe"
        code, _, err = self.record(probe, "odd", options=("--real", placed))
        self.assertEqual(code, NOTHING)
        self.assertIn("is the one that records, and no vendor's", err)
        code, _, err = self.tool("record", "-o", self.top / "none" / "a.rec", "--", probe)
        self.assertIn("cannot be written", err)
        for name in ("field-2.rec", "field.rec"):
            (self.top / name).write_text("mine")
            code, _, err = self.record(probe, "odd")
            self.assertEqual(code, NOTHING)
            self.assertIn(f"{name} exists already", err)
            self.assertEqual((self.top / name).read_text(), "mine")
        self.assertEqual(self.files(), before)
        self.assertEqual(self.tool("record", "-o", self.top / "b.rec")[0], 2)


if __name__ == "__main__":
    PARSER = argparse.ArgumentParser()
    for option in ("wine", "bin", "rig", "scenarios", "probe", "odd"):
        PARSER.add_argument("--" + option, required=True)
    OPTIONS, REST = PARSER.parse_known_args()
    unittest.main(argv=[__file__, *REST])
