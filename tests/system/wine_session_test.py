"""scripts/wine, with stand-ins for Wine: of several programs that start at the same time, one creates the prefix
and starts the session, before any other begins. Whoever started Wine's services as well would lend them its output.
Wine makes one prefix in all, and the others are copies."""

import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

WINE = pathlib.Path(__file__).resolve().parents[2] / "scripts" / "wine"

STAND_INS = {
    "wine": """#!/bin/sh
echo "begin $*" >>"$CALLS"
case $1 in
wineboot)
    mkdir -p "$WINEPREFIX"
    echo half >"$WINEPREFIX/system.reg"
    sleep 0.3
    [ ! -e "$BROKEN" ] || exit 1
    echo whole >"$WINEPREFIX/system.reg"
    ;;
cmd) sleep 0.3 ;;
esac
echo "end $*" >>"$CALLS"
""",
    # -k0 asks whether a session runs, -p starts one, -k ends it, -w waits for the end.
    "wineserver": """#!/bin/sh
case $1 in
-k0) [ -e "$SESSION" ] ;;
-p*) echo "session $1" >>"$CALLS"; touch "$SESSION" ;;
-k) rm -f "$SESSION" ;;
esac
""",
}
VERSION = r"reg add HKCU\Software\Wine /v Version /d win10 /f"
CREATED = ["begin wineboot --init", "end wineboot --init", "begin " + VERSION, "end " + VERSION]
STARTED = ["session -p10", "begin cmd /c exit", "end cmd /c exit"]


class WineSession(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        for name, text in STAND_INS.items():
            (self.folder / name).write_text(text)
            (self.folder / name).chmod(0o755)
        # The prefix that is copied is in build/ beside scripts/.
        (self.folder / "scripts").mkdir()
        self.wine = shutil.copy(WINE, self.folder / "scripts")
        self.environment = dict(
            os.environ, PATH=f"{self.folder}:{os.environ['PATH']}", WINEPREFIX=str(self.folder / "prefix"),
            CALLS=str(self.folder / "calls"), SESSION=str(self.folder / "session"),
            BROKEN=str(self.folder / "broken"))
        self.environment.pop("SOLVANE_WINE_LINGER", None)

    def run_at_once(self, *names):
        """Runs programs at the same time; what happened, in order."""
        calls = self.folder / "calls"
        calls.unlink(missing_ok=True)
        programs = [subprocess.Popen([self.wine, name], env=self.environment) for name in names]
        self.assertEqual([program.wait(60) for program in programs], [0] * len(names))
        return calls.read_text().splitlines()

    def assert_both_ran(self, lines):
        self.assertEqual(sorted(lines), ["begin a.exe", "begin b.exe", "end a.exe", "end b.exe"])

    def test_programs_wait_for_the_session(self):
        happened = self.run_at_once("a.exe", "b.exe")
        before = CREATED + STARTED
        self.assertEqual(happened[:len(before)], before)
        self.assert_both_ran(happened[len(before):])

        self.assert_both_ran(self.run_at_once("a.exe", "b.exe"))

        (self.folder / "session").unlink()
        happened = self.run_at_once("a.exe", "b.exe")
        self.assertEqual(happened[:len(STARTED)], STARTED)
        self.assert_both_ran(happened[len(STARTED):])

    def test_the_session_does_not_hold_the_next_program(self):
        """Wine's server outlives the program that started it, and may not keep what that program had locked."""
        server = self.folder / "wineserver"
        server.write_text(STAND_INS["wineserver"].replace("touch", "sleep 100 & touch"))
        self.run_at_once("a.exe")
        (self.folder / "session").unlink()
        subprocess.run([self.wine, "b.exe"], env=self.environment, check=True, timeout=60)

    def test_two_prefixes_that_are_needed_at_once_are_copies_of_one(self):
        programs = [subprocess.Popen([self.wine, "a.exe"], env=dict(self.environment, WINEPREFIX=str(prefix)))
                    for prefix in (self.folder / "one", self.folder / "other")]
        self.assertEqual([program.wait(60) for program in programs], [0, 0])
        calls = (self.folder / "calls").read_text().splitlines()
        self.assertEqual(calls[:len(CREATED)], CREATED)
        self.assertEqual(calls.count("begin wineboot --init"), 1)
        for prefix in "one", "other":
            self.assertEqual((self.folder / prefix / "system.reg").read_text(), "whole\n")

    def test_a_prefix_that_was_not_finished_is_made_again(self):
        (self.folder / "broken").touch()
        self.assertNotEqual(subprocess.run([self.wine, "a.exe"], env=self.environment).returncode, 0)
        (self.folder / "broken").unlink()
        self.assertIn("end wineboot --init", self.run_at_once("a.exe"))
        self.assertEqual((self.folder / "prefix" / "system.reg").read_text(), "whole\n")


if __name__ == "__main__":
    unittest.main()
