"""The C# binding in .NET for Windows, in Wine: the examples as in every language (examples_test.py), the rig's
functions, the recipe for a picture, a user interface that stays alive, timers, ends of processes, and names.
"""

import argparse
import glob
import os
import re
import subprocess
import tempfile
import unittest

import examples_test

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(os.path.dirname(HERE))
RUNTIME = os.path.join(ROOT, "tests/system/dotnet/runtimeconfig.json")


def windows(path):
    return "Z:" + os.path.abspath(path)


def dotnet_command(dotnet, program):
    """What runs a C# program in Wine."""
    return [os.path.join(dotnet, "dotnet.exe"), "exec", "--runtimeconfig", windows(RUNTIME), windows(program)]


class OnDotNet(examples_test.Rig):
    def command(self, program):
        return dotnet_command(OPTIONS.dotnet, os.path.join(OPTIONS.programs, "csharp",
                                                           os.path.basename(program) + ".exe"))


class Example:
    @classmethod
    def setUpClass(cls):
        cls.host = OnDotNet("csharp")


class Lines(Example, examples_test.Lines):
    pass


class WithoutDriver(Example, examples_test.WithoutDriver):
    pass


class Timer(Example, examples_test.Timer):
    pass


class Rules(Example, examples_test.Rules):
    pass


class Case(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="solvane c# ü ")
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def start(self, command, **variables):
        environment = dict(os.environ, LC_ALL="C.UTF-8", WINEPATH=f"{OPTIONS.rig};{OPTIONS.bin}", **variables)
        return subprocess.Popen([OPTIONS.wine, *command], env=environment, stdin=subprocess.DEVNULL, text=True,
                                errors="replace", stdout=subprocess.PIPE, stderr=subprocess.PIPE)

    def run_program(self, name, *arguments, **variables):
        """Exit code, lines of output, standard error."""
        program = os.path.join(OPTIONS.programs, "csharp", f"{name}.exe")
        process = self.start([*dotnet_command(OPTIONS.dotnet, program), *arguments], **variables)
        out, err = process.communicate(timeout=120)
        return process.returncode, out.splitlines(), err

    def run_cases(self, name, *arguments, **variables):
        """All cases of a test in C#: its methods without parameters, each of which its Main names."""
        with open(os.path.join(HERE, "csharp", f"{name}.cs")) as file:
            text = file.read()
        cases = re.search(r"Expect\.Run\((.*?)\);", text, re.S)[1].replace(",", " ").split()
        self.assertEqual(sorted(cases), sorted(re.findall(r"^    static void (\w+)\(\)", text, re.M)))
        code, passed, err = self.run_program(name, *arguments, **variables)
        self.assertEqual((code, passed), (0, cases), err)
        return cases


class Rig(Case):
    CASES = 20

    def test_in_the_process_of_the_host(self):
        self.assertEqual(len(self.run_cases("rig_test", windows(self.folder))), self.CASES)

    def test_on_a_bench(self):
        name = f"csharp-{os.getpid()}"
        tool = os.path.join(OPTIONS.rig, "solvane-rig.exe")
        bench = self.start([tool, "bench", "--name", name, "--quiet"])
        try:
            self.assertIn("runs", bench.stdout.readline())
            self.run_cases("rig_test", windows(self.folder), SOLVANE_RIG=f"bench:{name}")
        finally:
            self.start([tool, "stop", "--bench", name]).communicate(timeout=60)
            bench.communicate(timeout=60)


class Recipe(Case):
    def test_take_a_picture(self):
        self.assertEqual(len(self.run_cases("take_a_picture_test")), 9)

    def test_keep_ui_alive(self):
        scenario = os.path.join(self.folder, "slow.toml")
        with open(scenario, "w") as file:
            file.write("[camera]\nexposure_ms = 1000\n[[usb]]\nchip = 'FT2232H'\n")
        code, lines, err = self.run_program("keep_ui_alive", SOLVANE_RIG=windows(scenario))
        self.assertEqual((code, lines[:1]), (0, ["taken"]), err)
        # 50 times a second while nothing else happens; 0 if it had waited for the picture.
        self.assertGreater(int(re.fullmatch(r"drawn meanwhile: (\d+)", lines[1])[1]), 5)
        self.assertIn("... succeeded!", err)

    def test_keep_ui_alive_without_hardware(self):
        scenario = os.path.join(self.folder, "none.toml")
        with open(scenario, "w"):
            pass
        code, lines, err = self.run_program("keep_ui_alive", SOLVANE_RIG=windows(scenario))
        self.assertEqual((code, lines), (1, []))
        self.assertIn("Solvane_CheckSystemReady: status -3", err)


class Stops(Case):
    """They need the driver."""

    def test_a_stop_that_the_library_loses_is_repeated(self):
        self.assertEqual(self.run_program("timer_rules", "lost-in-the-driver"), (0, [
            "stops of the C interface that were lost: 10",
            "runs of SolvaneTimer that went on after a stop: 0"], ""))

    def test_a_disposal_waits_for_the_run_of_another_thread(self):
        self.assertEqual(self.run_program("timer_rules", "other-thread"),
                         (0, ["disposed of from another thread: the run has ended"], ""))


class Exits(Case):
    """A process that ends inside a call keeps its exit code and leaves a driver that works; its log function
    throws all the time. They need the driver."""

    def ends(self, how, code, lines, complaint=""):
        seen = self.run_program("exit_rules", how, WINEDLLOVERRIDES="mscoree,mshtml,winedbg.exe=")
        self.assertEqual(seen[:2], (code, lines), seen[2])
        if complaint:
            self.assertIn(complaint, seen[2])
        else:
            self.assertEqual(seen[2], "")

    def test_main_returns_during_a_run(self):
        self.ends("main-returns", 7, ["begun"])

    def test_exit_beside_a_run(self):
        self.ends("exit-beside", 7, ["begun"])

    def test_exit_in_the_function_of_a_timer(self):
        self.ends("exit-inside", 7, [])

    def test_exit_in_the_log_function(self):
        self.ends("exit-in-log", 7, [])

    def test_a_timer_that_nobody_disposes_of(self):
        self.ends("collected", 7, ["failed", "begun", "lines about the disposal: 1"])
        self.ends("not-collected", 7, ["failed", "begun"])

    def test_an_exception_that_nobody_catches(self):
        # As any other: .NET prints it, and ends the process with 0xE0434352, of which Wine passes on a byte.
        self.ends("unhandled", 0x52, [], "System.FormatException: out of event 1")

    @classmethod
    def tearDownClass(cls):
        environment = dict(os.environ, WINEPATH=f"{OPTIONS.rig};{OPTIONS.bin}")
        subprocess.run([OPTIONS.wine, os.path.join(OPTIONS.bin, "solvane.exe"), "timer", "--parameter", "2000",
                        "--count", "3"], env=environment, check=True, stdout=subprocess.DEVNULL, timeout=60)


class Mono(unittest.TestCase):
    """Natively, on a stand-in for the library (stand_in.c) that writes down each call and can lose a stop.

    Like .NET Framework, and unlike .NET, Mono finalizes everything when a process ends.
    """

    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.folder = folder.name
        library = os.path.join(cls.folder, "libsolvane.so")
        includes = [f"-I{os.path.join(ROOT, path)}" for path in ("include", "rig/include", "tests/support")]
        subprocess.run([OPTIONS.cc, "-std=c11", "-D_DEFAULT_SOURCE", "-shared", "-fPIC", *includes,
                        os.path.join(HERE, "stand_in.c"), "-o", library], check=True)
        for source in ("timer_rules.cs", "csharp/exit_rules.cs"):
            program = os.path.join(cls.folder, os.path.basename(source)[:-3] + ".exe")
            subprocess.run(["mcs", f"-out:{program}", os.path.join(HERE, source),
                            os.path.join(ROOT, "bindings/csharp/Solvane.cs")], check=True)
            with open(program + ".config", "w") as file:
                file.write(f'<configuration><dllmap dll="Solvane.dll" target="{library}"/></configuration>')

    def calls(self, program, *arguments, code=0, lost=0):
        """What the program printed, and its calls of the library."""
        journal = os.path.join(self.folder, "journal")
        if os.path.exists(journal):
            os.remove(journal)
        environment = dict(os.environ, STAND_IN="ready", STAND_IN_JOURNAL=journal, STAND_IN_LOST=str(lost))
        run = subprocess.run(["mono", os.path.join(self.folder, f"{program}.exe"), *arguments], text=True,
                             env=environment, stdin=subprocess.DEVNULL, capture_output=True, timeout=60)
        self.assertEqual((run.returncode, run.stderr), (code, ""))
        with open(journal) as file:
            return run.stdout.splitlines(), file.read().replace("Solvane_", "").splitlines()

    def test_a_timer_is_disposed_of_once(self):
        self.assertEqual(self.calls("timer_rules")[1].count("DisposeTimer"), 1)

    def test_a_lost_stop_is_repeated_at_the_next_event(self):
        seen, calls = self.calls("timer_rules", "lost", lost=1)
        self.assertEqual(seen, ["lost stop: 1 events"])
        self.assertEqual(calls, ["CreateTimer", "RunTimer", "StopTimer", "StopTimer", "DisposeTimer"])

    def test_a_disposal_waits_for_the_run_of_another_thread(self):
        _, calls = self.calls("timer_rules", "other-thread")
        self.assertEqual(calls[-1], "DisposeTimer")

    def test_a_process_that_ends_disposes_of_nothing(self):
        for how in ("main-returns", "exit-beside", "exit-inside"):
            with self.subTest(how):
                self.assertEqual(self.calls("exit_rules", how, code=7)[1],
                                 ["SetLogger", "CreateTimer", "RunTimer", "SetLogger null"])
        failed = ["SetLogger", "CreateTimer", "RunTimer", "StopTimer"]
        self.assertEqual(self.calls("exit_rules", "not-collected", code=7)[1], [*failed, "SetLogger null"])
        self.assertEqual(self.calls("exit_rules", "collected", code=7)[1],
                         [*failed, "DisposeTimer", "SetLogger null"])


class Names(unittest.TestCase):
    def test_no_type_has_the_name_of_one_of_the_frameworks(self):
        types = set()
        for path in glob.glob(os.path.join(ROOT, "bindings/csharp/*.cs")):
            with open(path) as file:
                types |= set(re.findall(r"^    public (?:static |sealed )?(?:class|struct|enum) (\w+)", file.read(),
                                        re.M))
        self.assertLessEqual({"SolvaneCamera", "Rig", "RigLine"}, types)
        libraries = glob.glob(os.path.join(OPTIONS.dotnet, "shared/Microsoft.NETCore.App/*/System*.dll"))
        self.assertGreater(len(libraries), 100)
        names = set()
        for path in libraries:
            with open(path, "rb") as file:
                names.update(re.findall(rb"\0([A-Z][A-Za-z]{2,40})(?=\0)", file.read()))
        self.assertLessEqual({b"Timer", b"Console"}, names)
        self.assertEqual({name for name in types if name.encode() in names}, set())

    def test_every_function_of_the_rig_is_there(self):
        def names(path, pattern):
            with open(os.path.join(ROOT, path)) as file:
                return re.findall(pattern, file.read(), re.M)
        functions = names("rig/include/solvane/rig.h", r"^SOLVANE_RIG_API .*?(rig_\w+)\(")
        self.assertEqual(len(functions), 21)
        self.assertEqual(names("bindings/csharp/SolvaneRig.cs", r"static extern \w+ (rig_\w+)\("), functions)


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    for option in ("wine", "dotnet", "bin", "rig", "programs", "cc"):
        parser.add_argument("--" + option, required=True)
    OPTIONS, rest = parser.parse_known_args()
    examples_test.OPTIONS = argparse.Namespace(language="csharp", modules="", **vars(OPTIONS))
    unittest.main(argv=["csharp_test", *rest])
