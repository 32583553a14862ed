"""Hosts on a system with a D2XX library in System32, put there by a driver: how to run them on the rig,
and that a host which misses the rig is noticed."""

import argparse
import os
import pathlib
import shutil
import subprocess
import tempfile
import time
import unittest

RIG_DLLS = ["solvane_rig.dll", "FTD2XX.dll", "inpoutx64.dll", "EAPI_Library.dll"]
RECORD = "solvane-rig-placed.txt"
ASIDE = ".set-aside-by-solvane-rig"
UNFINISHED = ".unfinished-by-solvane-rig"
ENDED = 125

MARK = "Error in getting the number of devices. Error: 4711"


class Place(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        subprocess.run([OPTIONS.wine, "cmd", "/c", "exit"], check=True, timeout=300,
                       stdin=subprocess.DEVNULL)
        cls.system32 = pathlib.Path(os.environ["WINEPREFIX"], "drive_c/windows/system32")
        shutil.copy(OPTIONS.marked, cls.system32 / "FTD2XX.dll")

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="solvane place ü ")
        self.addCleanup(folder.cleanup)
        self.host = pathlib.Path(folder.name, "a host's, Größe 3")
        self.host.mkdir()
        for name in ("Solvane.dll", "solvane.exe"):
            shutil.copy(os.path.join(OPTIONS.bin, name), self.host)
        self.before = self.in_host()
        self.mark = pathlib.Path(folder.name, "mark")

    def in_host(self):
        return {path.name: path.read_bytes() for path in self.host.iterdir()}

    def environment(self, **variables):
        return dict({name: value for name, value in os.environ.items() if name != "WINEPATH"},
                    MARKED_FTD2XX=f"Z:{self.mark}", LC_ALL="C.UTF-8", **variables)

    def wine(self, *command, **variables):
        """The exit code, standard output and standard error of a program."""
        run = subprocess.run([OPTIONS.wine, *command], env=self.environment(**variables), text=True,
                             stdin=subprocess.DEVNULL, capture_output=True, timeout=120)
        return run.returncode, run.stdout, run.stderr

    def tool(self, *arguments, **variables):
        return self.wine(os.path.join(OPTIONS.rig, "solvane-rig.exe"), *arguments, **variables)

    def ready(self, **variables):
        return self.wine(self.host / "solvane.exe", "--log", "ready", **variables)

    def guarded(self, *arguments, **variables):
        return self.tool("guard", self.host / "solvane.exe", *arguments, **variables)

    # ---- The search path

    def test_the_search_path_comes_after_system32(self):
        code, _, log = self.ready(WINEPATH=OPTIONS.rig)
        self.assertEqual(code, 1)
        self.assertIn(MARK, log)
        self.assertTrue(self.mark.exists())

    def test_a_guarded_host_is_ended_before_a_vendors_code_runs(self):
        for command in ([self.host / "solvane.exe", "--log", "ready"],
                        ["cmd", "/c", "solvane.exe", "--log", "ready"]):
            with self.subTest(command):
                run = subprocess.run(
                    [OPTIONS.wine, os.path.join(OPTIONS.rig, "solvane-rig.exe"), "guard", *command],
                    env=self.environment(WINEPATH=OPTIONS.rig), cwd=self.host, text=True,
                    stdin=subprocess.DEVNULL, capture_output=True, timeout=120)
                self.assertEqual((run.returncode, run.stdout), (ENDED, ""))
                self.assertRegex(
                    run.stderr, r"^solvane-rig: the host would have used C:\\windows\\system32\\"
                                r"FTD2XX\.dll, which is not this rig's, and was ended before\. ")
                self.assertNotIn("Controller candidate", run.stderr)
                self.assertFalse(self.mark.exists())
        # The marked library does leave its mark.
        self.ready(WINEPATH=OPTIONS.rig)
        self.assertTrue(self.mark.exists())

    # ---- The host's folder

    def test_a_host_finds_what_is_placed_before_system32(self):
        code, output, failures = self.tool("place", self.host)
        self.assertEqual((code, failures), (0, ""))
        self.assertEqual(output.splitlines(), [f"{RECORD} tells what is placed here."] +
                         [f"{name} is placed." for name in RIG_DLLS])
        placed = self.in_host()
        for name in RIG_DLLS:
            with open(os.path.join(OPTIONS.rig, name), "rb") as file:
                self.assertTrue(placed[name] == file.read(), name)
        subprocess.run(["sha256sum", "--check", "--strict", RECORD], cwd=self.host, check=True,
                       capture_output=True)
        for run in (self.ready(), self.guarded("--log", "ready")):
            self.assertEqual(run[:2], (0, "ready  yes\n"))
            self.assertNotIn(MARK, run[2])
        self.assertFalse(self.mark.exists())

        self.assertEqual(self.tool("place", self.host)[0], 0)
        self.assertEqual(self.in_host(), placed)
        code, output, failures = self.tool("unplace", self.host)
        self.assertEqual((code, failures), (0, ""))
        self.assertEqual(output.splitlines(), [f"{name} is removed." for name in [*RIG_DLLS, RECORD]])
        self.assertEqual(self.in_host(), self.before)
        self.assertEqual(self.tool("unplace", self.host)[0], 0)

    def test_a_vendors_dll_is_set_aside_and_comes_back_as_it_was(self):
        shutil.copy(OPTIONS.marked, self.host / "ftd2xx.dll")
        before = self.in_host()
        code, output, failures = self.tool("place", self.host)
        self.assertEqual((code, output), (1, ""))
        self.assertIn(" has its own ftd2xx.dll. Nothing was changed. With --set-aside ", failures)
        self.assertEqual(self.in_host(), before)

        self.assertEqual(self.tool("place", self.host, "--set-aside")[0], 0)
        self.assertEqual(self.ready()[:2], (0, "ready  yes\n"))
        self.assertFalse(self.mark.exists())
        self.assertEqual(self.tool("unplace", self.host)[0], 0)
        self.assertEqual(self.in_host(), before)

    def test_what_a_crash_has_left_is_undone(self):
        shutil.copy(OPTIONS.marked, self.host / "ftd2xx.dll")
        before = self.in_host()
        self.assertEqual(self.tool("place", self.host, "--set-aside")[0], 0)
        placed = self.in_host()
        record = {RECORD: placed[RECORD]}
        copies = {name + UNFINISHED: placed[name] for name in RIG_DLLS}
        aside = {name: content for name, content in placed.items() if name.endswith(ASIDE)}
        without_vendor = {name: content for name, content in before.items()
                          if name != "ftd2xx.dll"}
        crashes = {
            "a beginning of the record": {**before, RECORD + UNFINISHED: placed[RECORD][:100]},
            "the record": {**before, **record},
            "a part of a copy": {**before, **record, "FTD2XX.dll" + UNFINISHED: b"MZ"},
            "all copies": {**before, **record, **copies},
            "one placed": {**before, **record, **copies, "solvane_rig.dll": placed["solvane_rig.dll"]},
            "the vendor's set aside": {**without_vendor, **record, **copies, **aside},
            "all placed": placed,
            "one removed": {name: content for name, content in placed.items()
                            if name != "FTD2XX.dll"},
            "the vendor's back": {**before, **record},
        }
        for crash, files in crashes.items():
            for path in self.host.iterdir():
                path.unlink()
            for name, content in files.items():
                (self.host / name).write_bytes(content)
            with self.subTest(crash):
                code, output, failures = self.tool("unplace", self.host)
                self.assertEqual((code, failures), (0, ""), output)
                self.assertEqual(sorted(self.in_host()), sorted(before))
                self.assertTrue(self.in_host() == before)

    def test_what_a_running_host_uses_stays_until_it_has_ended(self):
        self.assertEqual(self.tool("place", self.host)[0], 0)
        placed = self.in_host()
        with subprocess.Popen([OPTIONS.wine, self.host / "solvane.exe", "watch", "--duration", "60"],
                              env=self.environment(), stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, text=True) as running:
            self.assertIn("ready", running.stdout.readline())
            code, output, failures = self.tool("unplace", self.host)
            self.assertEqual(code, 1, output)
            self.assertIn("FTD2XX.dll cannot be removed: a program has it open", failures)
            self.assertEqual(self.in_host(), placed)
            self.wine("taskkill", "/f", "/im", "solvane.exe")
            running.wait(timeout=60)
        deadline = time.monotonic() + 120
        while self.tool("unplace", self.host)[0] != 0:
            self.assertLess(time.monotonic(), deadline)
        self.assertEqual(self.in_host(), self.before)

    def test_no_folder_of_windows_gets_the_rig(self):
        for folder in (r"C:\windows\system32", r"C:\WINDOWS", r"C:\windows\system32\drivers"):
            with self.subTest(folder):
                code, output, failures = self.tool("place", folder, "--set-aside")
                self.assertEqual((code, output), (1, ""))
                self.assertIn(" is a folder of Windows, ", failures)
        self.assertFalse((self.system32 / RECORD).exists())
        self.assertIn(" is the rig's own folder.", self.tool("place", OPTIONS.rig)[2])

    # ---- A guarded host notices nothing

    def test_arguments_output_and_exit_code_are_the_hosts(self):
        self.assertEqual(self.tool("place", self.host)[0], 0)
        for arguments in (["ready"], ["--help"], ["ready", "--json"], ["fly"], ["trigger", "-n", "x"],
                          ["--library", "C:\\no \"such\"\\", "ready"], ["--library", "ü\\\\", "ready"],
                          ["a \\\"b\\\" c\\"], [""]):
            with self.subTest(arguments):
                self.assertEqual(self.guarded(*arguments),
                                 self.wine(self.host / "solvane.exe", *arguments))
        self.assertEqual(self.tool("guard", "cmd", "/c", "exit 7")[0], 7)

    def test_a_host_that_cannot_be_started_is_reported(self):
        code, output, failures = self.tool("guard", self.host / "none.exe")
        self.assertEqual((code, output), (ENDED, ""))
        self.assertIn("none.exe cannot be started: there is no such program.", failures)


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    for option in ("wine", "bin", "rig", "marked"):
        parser.add_argument("--" + option, required=True)
    OPTIONS, rest = parser.parse_known_args()
    unittest.main(argv=["place_test", *rest])
