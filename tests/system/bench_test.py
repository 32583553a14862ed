"""Hosts on a bench: processes of their own, which come, go and die while others look on."""

import argparse
import json
import os
import shutil
import signal
import subprocess
import tempfile
import time
import unittest
import urllib.error
import urllib.request
from pathlib import Path

DONE, FAILED, USAGE, NOT_STARTED = 0, 1, 2, 125


class Bench(unittest.TestCase):
    """A bench of a name of its own for every test."""

    scenario = ()

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="solvane bench ü ")
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.name = f"test-{os.getpid()}-{self.id().rsplit('.')[-1]}"[:60]
        self.bench = self.start(OPTIONS.tool, "bench", "--name", self.name, *self.scenario)
        self.assertIn(f'The bench "{self.name}" runs.', self.bench.stdout.readline())
        self.addCleanup(self.end)

    def end(self):
        if self.bench.poll() is None:
            self.command("stop")
        self.bench.communicate(timeout=60)

    def start(self, program, *arguments, **variables):
        environment = dict(os.environ, LC_ALL="C.UTF-8", **variables)
        return subprocess.Popen([OPTIONS.wine, program, *arguments], env=environment, text=True,
                                stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                stderr=subprocess.PIPE)

    def run_to_end(self, program, *arguments, **variables):
        process = self.start(program, *arguments, **variables)
        out, err = process.communicate(timeout=120)
        return process.returncode, out, err

    def command(self, *words):
        return self.run_to_end(OPTIONS.tool, words[0], "--bench", self.name, *words[1:])

    def answer(self, *words):
        code, out, err = self.command(*words, "--json")
        self.assertIn(code, (DONE, FAILED), err)
        return json.loads(out)

    def host(self, *arguments, bench=None):
        """solvane.exe on the bench."""
        return self.run_to_end(OPTIONS.host, *arguments, SOLVANE_RIG=f"bench:{bench or self.name}")

    def journal(self):
        return [entry["text"] for entry in self.answer("journal")["entries"]]

    def wait_until(self, is_so, what):
        end = time.monotonic() + 60
        while not is_so():
            self.assertLess(time.monotonic(), end, what)
            time.sleep(0.05)


class Hosts(Bench):
    def test_one_after_the_other_see_one_camera(self):
        self.assertEqual(self.host("trigger")[0], DONE)
        self.assertEqual(self.host("trigger")[0], DONE)
        self.assertEqual(self.answer("captures"), {"captures": 2})
        events = [line for line in self.journal() if line.startswith("host ")]
        self.assertEqual([line.split(":")[0] for line in events],
                         ["host 1 joins", "host 1 leaves", "host 2 joins", "host 2 leaves"])
        calls = [entry for entry in self.answer("journal")["entries"] if entry["kind"] == "call"]
        hosts = [entry["host"] for entry in calls]
        self.assertEqual((hosts, {*hosts}), (sorted(hosts), {1, 2}))
        lines = [line for line in self.command("journal")[1].splitlines() if " call  " in line]
        self.assertEqual([" call  host 2: " in line for line in lines], [host == 2 for host in hosts])

    def test_a_channel_that_another_host_has_open_does_not_open(self):
        first = self.start(OPTIONS.host, "hold", "dark", "--for", "30", SOLVANE_RIG=f"bench:{self.name}")
        try:
            self.wait_until(lambda: self.answer("levels")["dark"] == 1, "dark is held")
            code, _, err = self.host("ready")
            self.assertEqual(code, FAILED, err)
            self.assertEqual(self.answer("levels")["dark"], 1)
        finally:
            # The Linux process of a Windows program: it dies without a word to anybody.
            victim = subprocess.run(["pgrep", "-f", "solvane.exe hold dark --for 30"], text=True,
                                    stdout=subprocess.PIPE, check=False).stdout.split()
            for process in victim:
                os.kill(int(process), signal.SIGKILL)
            first.communicate(timeout=60)
        self.wait_until(lambda: "host 1 leaves" in self.journal(), "the host left")
        self.assertEqual(self.answer("levels")["dark"], 1, "a chip keeps its levels")
        self.assertEqual(self.host("ready")[0], DONE)

    def test_the_camera_gets_busy_while_a_host_runs(self):
        watch = self.start(OPTIONS.host, "watch", SOLVANE_RIG=f"bench:{self.name}")
        try:
            self.assertRegex(watch.stdout.readline(), "ready")
            self.assertRegex(watch.stdout.readline(), " ms +yes ")
            self.assertEqual(self.command("ready", "off")[0], DONE)
            self.assertRegex(watch.stdout.readline(), " ms +no ")
        finally:
            watch.terminate()
            watch.communicate(timeout=60)

    def test_a_host_without_its_bench_is_told_why(self):
        code, _, err = self.host("ready", bench="nobody")
        self.assertEqual(code, FAILED)
        self.assertIn('there is no bench "nobody": `solvane-rig bench --name nobody` starts it', err)
        self.assertIn("there is no hardware", err)
        _, out, _ = self.run_to_end(OPTIONS.tool, "status")
        self.assertIn('there is no bench "nobody"', out)
        self.assertIn(f'Bench "{self.name}"', out)
        _, _, err = self.host("ready", bench="a b")
        self.assertIn('"a b" is no name for a bench', err)

    def test_a_name_is_taken_once(self):
        journal = self.folder / "journal.txt"
        journal.write_text("of the bench that runs")
        for name in (self.name, self.name.upper()):
            code, _, err = self.run_to_end(OPTIONS.tool, "bench", "--name", name,
                                           SOLVANE_RIG_JOURNAL=str(journal))
            self.assertEqual((code, err), (FAILED, f'solvane-rig: a bench "{name}" runs already: end '
                                           "it by `solvane-rig stop`, or give this one another name "
                                           "by --name\n"))
        self.assertEqual(journal.read_text(), "of the bench that runs")

    def test_an_unusable_name_is_told_what_makes_one(self):
        for name in ("a b", "ä", "a" * 61, ""):
            code, _, err = self.run_to_end(OPTIONS.tool, "bench", "--name", name)
            self.assertEqual((code, err), (FAILED, f'solvane-rig: "{name}" is no name for a bench: at '
                                           "most 60 letters from A to Z, digits, full stops, hyphens "
                                           "and underscores make one\n"))


class Commands(Bench):
    def test_waits_end_with_what_they_wait_for(self):
        wait = self.start(OPTIONS.tool, "expect-pulse", "--bench", self.name, "trigger", "5..60",
                          "--within", "60000")
        self.wait_until(lambda: wait.poll() is not None or self.host("trigger")[0] != DONE,
                        "a pulse was seen")
        out, err = wait.communicate(timeout=60)
        self.assertEqual(wait.returncode, DONE, out + err)
        self.assertEqual(self.command("wait-edge", "ready 0", "--within", "50")[0], FAILED)

    def test_words_that_are_none_are_told_what_there_is(self):
        code, _, err = self.command("fault", "FT_Wrte", "status=4")
        self.assertEqual(code, USAGE)
        self.assertIn("FT_Write", err)
        code, _, err = self.command("unplugg")
        self.assertEqual(code, USAGE)
        self.assertIn("'unplugg' is no command; there are ", err)
        self.assertIn("unplug", err)

    def test_json_is_one_object_on_the_output_whatever_happens(self):
        kept = self.folder / "kept.toml"
        for words, exit_code, answer in (
                (("levels",), DONE, {"trigger": 0}),
                (("unplug", "7"), USAGE, {"error": "there is no chip 7; there is 0"}),
                (("stop", "now"), USAGE, {"error": "usage: stop"}),
                (("help",), DONE, {}), (("help", "levels"), DONE, {}), (("help", "stop"), DONE, {}),
                (("scenario", self.folder / "none.toml"), FAILED,
                 {"error": f"{self.folder}/none.toml: cannot be read"}),
                (("keep", kept), DONE, {"done": "keep", "file": str(kept)}),
                (("vcd", self.folder / "lines.vcd"), DONE, {"done": "vcd"})):
            code, out, err = self.command(*words, "--json")
            self.assertEqual((code, err), (exit_code, ""), out)
            self.assertLessEqual(answer.items(), json.loads(out).items())
        self.assertIn("calls_ns = [", kept.read_text())
        self.assertTrue((self.folder / "lines.vcd").read_text().startswith("$version"))
        code, out, err = self.run_to_end(OPTIONS.tool, "levels", "--bench=nobody", "--json")
        self.assertEqual((code, err), (FAILED, ""))
        self.assertIn('there is no bench "nobody"', json.loads(out)["error"])

    def test_each_command_tells_how_it_is_used(self):
        usage = 'wait-edge "LINE 0|1" [--within MS] [--since N]\n'
        options = "\n\nEach command has --bench NAME and --json.\n"
        for words in (("wait-edge", "--help"), ("help", "wait-edge")):
            code, out, err = self.command(*words)
            self.assertEqual((code, err, out.startswith(usage), out.endswith(options), out.count("\n")),
                             (DONE, "", True, True, 4))
        code, _, err = self.run_to_end(OPTIONS.tool, "levels", "--bench")
        self.assertEqual((code, err.splitlines()[0]), (USAGE, "--bench needs a name"))

    def test_a_session_is_kept_and_runs_again(self):
        self.assertEqual(self.host("trigger")[0], DONE)
        self.assertEqual(self.command("unplug", "0")[0], DONE)
        self.assertEqual(self.host("ready")[0], FAILED)
        kept = self.folder / "größer kept.toml"
        code, out, err = self.command("keep", kept)
        self.assertEqual(code, DONE, out + err)
        self.assertIn("unplug 0", kept.read_text())
        scenario = self.folder / "port.toml"
        scenario.write_text("[superio]\n")
        self.assertEqual(self.command("scenario", scenario)[0], DONE)
        self.assertEqual(self.host("ready")[0], DONE)

    def test_the_journal_is_followed_until_the_bench_ends(self):
        self.assertEqual(self.command("note", "before")[0], DONE)
        follow = self.start(OPTIONS.tool, "journal", "--bench", self.name, "--follow", "--since", "1")
        self.assertEqual(self.command("note", "a", "word")[0], DONE)
        self.assertIn("note  a word", follow.stdout.readline())
        self.command("stop")
        follow.communicate(timeout=60)
        self.assertEqual(self.bench.wait(timeout=60), DONE)


class Run(unittest.TestCase):
    run_to_end = Bench.run_to_end
    start = Bench.start

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="solvane run ü ")
        self.addCleanup(folder.cleanup)
        self.place = Path(folder.name, "a host's, Größe 3")
        self.place.mkdir()
        for name in ("Solvane.dll", "solvane.exe"):
            shutil.copy(Path(OPTIONS.host).parent / name, self.place)
        self.before = sorted(path.name for path in self.place.iterdir())

    def test_places_runs_and_takes_away(self):
        for words, code in ((("trigger",), DONE), (("nothing",), USAGE)):
            done, out, err = self.run_to_end(OPTIONS.tool, "run", "--", self.place / "solvane.exe",
                                             *words, WINEPATH="")
            self.assertEqual(done, code, out + err)
            self.assertEqual(sorted(path.name for path in self.place.iterdir()), self.before)

    def test_a_scenario_can_be_named(self):
        scenario = self.place / "none.toml"
        scenario.write_text("")
        code, _, err = self.run_to_end(OPTIONS.tool, "run", scenario, "--",
                                       self.place / "solvane.exe", "ready", WINEPATH="")
        self.assertEqual(code, FAILED, err)

    def test_what_cannot_be_started_is_told(self):
        for host, reason in ((self.place / "nobody.exe", "there is no such program"),
                             (self.bits_32(), "is a 32-bit program")):
            code, _, err = self.run_to_end(OPTIONS.tool, "run", "--", host, WINEPATH="")
            self.assertEqual(code, NOT_STARTED, err)
            self.assertIn(reason, err)
        self.assertEqual(self.run_to_end(OPTIONS.tool, "run")[0], USAGE)

    def bits_32(self):
        """A program whose header says that it is for another processor."""
        content = bytearray(Path(OPTIONS.host).read_bytes())
        header = int.from_bytes(content[0x3C:0x40], "little")
        content[header + 4:header + 6] = (0x14C).to_bytes(2, "little")
        content[header + 24:header + 26] = (0x10B).to_bytes(2, "little")  # PE32
        path = self.place / "old.exe"
        path.write_bytes(content)
        self.before.append("old.exe")
        return path


class Panel(Bench):
    """`solvane-rig panel`; tests/panel/ has what its server answers."""

    def panel(self, *arguments, **variables):
        process = self.start(OPTIONS.tool, "panel", "--no-browser", *arguments, **variables)
        self.addCleanup(process.communicate)
        self.addCleanup(process.kill)
        address = process.stdout.readline().strip()
        self.assertRegex(address, r"^http://127\.0\.0\.1:\d+/[0-9a-f]{32}/$", "one line")
        return process, address

    def get(self, address):
        with urllib.request.urlopen(address, timeout=60) as answer:
            return answer.read().decode()

    def post(self, address, command):
        with urllib.request.urlopen(address + "command", command.encode(), timeout=60) as answer:
            return json.load(answer)

    def events(self, address):
        """The kinds of events of a stream, as they come."""
        with urllib.request.urlopen(address + "events", timeout=60) as stream:
            for line in stream:
                if line.startswith(b"event: "):
                    yield line.split()[1].decode()

    def wait_for(self, events, kind):
        self.assertIn(kind, iter(lambda: next(events), None))

    def test_takes_up_a_bench_that_comes_back(self):
        _, address = self.panel("--bench", self.name)
        self.assertIn("<html", self.get(address))
        self.assertEqual(self.post(address, "unplug 0"), {"exit": 0, "text": "unplug 0"})
        self.assertEqual(self.answer("state")["chips"][0]["plugged"], False)
        events = self.events(address)
        self.wait_for(events, "journal")
        self.end()
        self.wait_for(events, "ended")
        with self.assertRaises(urllib.error.HTTPError) as refused:
            self.get(address + "state")
        self.assertEqual(refused.exception.code, 503)
        self.assertIn(f'here is no bench "{self.name}"', refused.exception.read().decode())
        self.bench = self.start(OPTIONS.tool, "bench", "--name", self.name)
        self.wait_for(events, "began")
        self.wait_for(events, "state")
        self.assertEqual(json.loads(self.get(address + "state"))["chips"][0]["plugged"], True)

    def test_runs_a_host_and_stays(self):
        for name in ("Solvane.dll", "solvane.exe"):
            shutil.copy(Path(OPTIONS.host).parent / name, self.folder)
        name = self.name[:50] + "-panel"
        panel, address = self.panel("--name", name, "--", self.folder / "solvane.exe", "trigger",
                                    "-n", "2", "--wait-ready", "5000", WINEPATH="")
        self.assertIn("triggered 1 of 2", panel.stdout.readline())
        events = self.events(address)
        self.wait_for(events, "journal")
        self.assertIn("the host has ended with exit code 0; the panel stays until `solvane-rig stop`",
                      panel.stderr.readline())
        state = json.loads(self.get(address + "state"))
        self.assertEqual((state["bench"], state["captures"], state["hosts"]), (name, 2, []))
        self.assertIn("FT_Write(SLV1B, ", self.get(address + "journal.txt"))
        self.assertIn("<svg", self.get(address + "lines.svg"))
        kept = self.folder / "lines.vcd"
        kept.write_text(self.get(address + "lines.vcd"))
        self.assertEqual(self.post(address, "stop"), {"exit": 0, "text": "stop"})
        self.wait_for(events, "ended")
        self.assertEqual(panel.wait(60), DONE)

        _, address = self.panel("--file", kept)
        state = json.loads(self.get(address + "state"))
        self.assertEqual((state["mode"], state["lines"]["ready"]), ("file", 1))
        journal = self.get(address + "journal.txt")
        self.assertEqual(journal.count("edge  trigger 1"), 2)
        self.assertEqual(journal.count("event capture"), 2)
        with self.assertRaises(urllib.error.HTTPError) as refused:
            self.post(address, "unplug 0")
        self.assertEqual(refused.exception.code, 409)

    def test_what_cannot_be_shown_is_told(self):
        for arguments, code, reason in (
                (("--bench", "nobody"), FAILED, 'there is no bench "nobody"'),
                (("--name", self.name), FAILED, f'a bench "{self.name}" runs already'),
                (("--file", self.folder / "none.vcd"), FAILED, "cannot be read"),
                (("--bench", self.name, "--", OPTIONS.host), USAGE, "a bench of the panel's own"),
                (("--name", "new", "--", "nobody.exe"), FAILED, "there is no such program")):
            done, out, err = self.run_to_end(OPTIONS.tool, "panel", "--no-browser", *arguments)
            self.assertEqual((done, out), (code, ""), err)
            self.assertIn(reason, err)


class Crowd(Bench):
    def test_nobody_hangs_whatever_others_send(self):
        probe = self.run_to_end(OPTIONS.probe, self.name)
        self.assertEqual(probe[0], DONE, probe)
        self.assertEqual(probe[1].splitlines(),
                         ["the pipe's access rule is D:P(A;;GA;;;the user)",
                          "100 of 100 connections were answered",
                          "500 of 500 messages of noise were answered beside as many streams of it",
                          "others are answered beside one that stalls in mid-message"])
        self.assertEqual(self.host("trigger")[0], DONE)

    def test_a_bench_ends_well_in_the_middle_of_calls(self):
        hosts = self.start(OPTIONS.probe, self.name, "calls")
        self.wait_until(lambda: self.answer("calls")["calls"].get("*", 0) > 100, "the hosts call")
        self.assertEqual(self.command("stop"), (DONE, "stop\n", ""))
        out, err = self.bench.communicate(timeout=60)
        self.assertEqual((self.bench.returncode, err), (DONE, ""), out[-500:])
        self.assertEqual(hosts.communicate(timeout=60), ("8 hosts called until the bench ended\n", ""))


if __name__ == "__main__":
    PARSER = argparse.ArgumentParser()
    for option in ("wine", "tool", "host", "probe"):
        PARSER.add_argument("--" + option, required=True)
    OPTIONS, REST = PARSER.parse_known_args()
    unittest.main(argv=[__file__, *REST])
