"""Tests of the transcript player itself: every mistake in a transcript and every difference in the library
must fail, with file and line, and nothing may be skipped silently."""

import os
import subprocess
import sys
import tempfile
import unittest

PLAYER = sys.argv.pop()

FOREWORD = "# What it is about.\n\n"
START = "# A title.\nrig nothing\nSetLogger(null)\n"
CALL = "CheckAvailable -> -3\n"
GOOD = f"""{START}CheckAvailable -> -3
    native CoInitializeEx(null, 0)
    native CoInitializeSecurity(null, -1, null, null, 0, 3, null, 0, null)
    native CoCreateInstance(CLSID_WbemLocator, null, 1, IID_IWbemLocator)
    IClassFactory::CreateInstance(null, IWbemLocator) -> 0x00000000
    IWbemLocator::ConnectServer(root\\cimv2, null, null, null, 0x80, null, null) -> 0x00000000
    native CoSetProxyBlanket(proxy, 10, 0, null, 3, 3, null, 0)
    IClientSecurity::SetBlanket(10, 0, null, 3, 3, null, 0) -> 0x00000000
    IWbemServices::ExecQuery(WQL, SELECT * FROM Win32_ParallelPort, 0x20, null) -> 0x00000000
    IEnumWbemClassObject::Next(-1, 1) -> 0x00000001, 0
    native CoUninitialize()
    IsInpOutDriverOpen() -> 0
    EApiGetEAPIVersion() -> 0x0, 1.2.3.4
    EApiLibInitialize() -> 0xfffffbff
    EApiLibUnInitialize() -> 0xffffffff
    2 times
        FT_CreateDeviceInfoList() -> 0, 0
"""


def play(text, *options, total=1, more=()):
    """The exit code and output of a run on a directory with only this transcript."""
    with tempfile.TemporaryDirectory() as directory:
        for name, content in (("a.transcript", text), *more):
            with open(os.path.join(directory, name), "w", encoding="latin-1") as file:
                file.write(content)
        with open(os.path.join(directory, "TOTALS"), "w") as file:
            file.write(f"natively {total}\nin-wine 7\n")
        run = subprocess.run([PLAYER, directory, *options], capture_output=True, text=True,
                             errors="replace")
        return run.returncode, run.stdout + run.stderr


class Player(unittest.TestCase):
    def assertRed(self, text, reason, **arguments):
        code, output = play(text, **arguments)
        self.assertEqual(code, 1, output)
        self.assertIn(reason, output)

    def test_a_good_transcript_passes_quietly(self):
        self.assertEqual(play(FOREWORD + GOOD), (0, "1 cases played in 1 files, 0 faults\n"))

    def test_whatever_differs_is_red(self):
        for right, wrong in (("-> -3", "-> -2"), ("IsInpOutDriverOpen() -> 0", "IsInpOutDriverOpen() -> 1"),
                             ("    EApiLibInitialize() -> 0xfffffbff\n", ""),
                             ("2 times", "1 times"), ("2 times", "3 times"),
                             ("    native CoUninitialize()\n", ""),
                             ("native CoUninitialize", "native CoUninitialise"),
                             ("SetLogger(null)\n", ""),
                             ("        FT_Create", "        native Sleep(0)\n        FT_Create")):
            with self.subTest(wrong):
                self.assertIn(right, GOOD)
                self.assertRed(FOREWORD + GOOD.replace(right, wrong, 1), "a.transcript:3: A title.")

    def test_the_order_counts(self):
        lines = GOOD.splitlines(keepends=True)
        lines[14], lines[15] = lines[15], lines[14]
        self.assertRed(FOREWORD + "".join(lines), "+ happened")

    def test_the_difference_is_aligned_with_its_places(self):
        _, output = play(FOREWORD + GOOD.replace("EApiLibInitialize() -> 0xfffffbff", "FT_Open(1) -> 0"))
        self.assertIn("""\
a.transcript:3: A title.
  - expected, + happened
  ...
    a.transcript:16      native CoUninitialize()
    a.transcript:17      IsInpOutDriverOpen() -> 0
    a.transcript:18      EApiGetEAPIVersion() -> 0x0, 1.2.3.4
  - a.transcript:19      FT_Open(1) -> 0
  +                      EApiLibInitialize() -> 0xfffffbff
    a.transcript:20      EApiLibUnInitialize() -> 0xffffffff
    a.transcript:22      FT_CreateDeviceInfoList() -> 0, 0
    a.transcript:22      FT_CreateDeviceInfoList() -> 0, 0

1 cases played in 1 files, 1 faults
""", output)

    def test_an_answer_that_nobody_expects_is_red(self):
        chip = "# A title.\nrig usb\nSetLogger(null)\nCheckSystemReady -> 0\n"
        self.assertRed(FOREWORD + chip, "CheckSystemReady -> 0, 1")

    def test_questions_to_the_rig_are_answered_by_the_rig(self):
        for wrong in ("captures 1", "level dark 1", "level ready 0"):
            with self.subTest(wrong):
                code, output = play(FOREWORD + GOOD + wrong + "\n")
                self.assertEqual(code, 1)
                self.assertIn("- a.transcript:23  " + wrong, output)

    def test_mistakes_in_a_case(self):
        for act, reason in (
                ("CheckAvailabel -> 0", "nothing that can be done: CheckAvailabel -> 0"),
                ("CheckAvailable(null) -> -3", "no such argument"),
                ("CheckSystemReady(nul) -> -3", "no such argument"),
                ("CheckSystemReady(null)x -> -3", "CheckSystemReady(null) -> -3"),
                ("rig usbb", 'no hardware: "usbb"'),
                ("rig usb, serial = 5", "serial"),
                ("rig asleep = true", "the hardware comes first"),
                ("rig usb\n    [camera]", 'below "rig" alone'),
                ("fault FT_Opn status=4", "the rig refuses"),
                ("fault FT_Open", "the rig refuses"),
                ("fault FT_Open status=x", "no number: x"),
                ("fault FT_Open state=4", "no part of a fault: state=4"),
                ("unplug 3", "the rig refuses"),
                ("force trigger 1", "the rig refuses"),
                ("force redy 1", "no line of the camera: redy"),
                ("level redy 1", "no line of the camera: redy"),
                ("wait a bit", "nothing that can be done"),
                ("show edge", "nothing that can be done"),
                ("natively", "nothing that can be done"),
                ("0 times\n    captures 0", "nothing is repeated"),
                ("3 times", "nothing is repeated"),
                ("wait 1\n    edge dark 1", 'edges are shown after "show edges"'),
                ("wait 1\n    logg \"a\"", 'nothing that can happen: logg "a"'),
                ("wait 1\n    log a", "nothing that can happen: log a"),
                ("wait 1\n    a phrase that nobody defined", "nothing that can happen"),
                ("wait 1\n    FT_Open(1) -> 0\n        FT_Close(?) -> 0", "indented below what has nothing"),
                ("wait 1\n  FT_Open(1) -> 0", "indent with four blanks"),
                ("wait 1\n\tFT_Open(1) -> 0", "a tab"),
                ("wait 1 ", "blanks at the end"),
                ("unload\nunload", "nothing that can be done: unload"),
                ("unload\nCheckAvailable -> 0", "the library is unloaded"),
                ("include b", "include stands before the first case"),
                ("define b\n    wait 1", "define stands before the first case")):
            with self.subTest(act):
                code, output = play(FOREWORD + GOOD + act + "\n")
                self.assertEqual(code, 1, output)
                self.assertIn(reason, output)
                self.assertRegex(output, r"a.transcript:2[34567]")

    def test_files_without_a_proper_case(self):
        for text, reason in (("", "a.transcript:1: no case"),
                             (FOREWORD, "a.transcript:1: no case"),
                             (GOOD, "a.transcript:2: a transcript begins with a comment"),
                             (FOREWORD + CALL, "a.transcript:3: a case begins with its title"),
                             (FOREWORD + GOOD + "\n# Another title.\n", "a title without a case"),
                             (FOREWORD + GOOD + GOOD, "the title of a.transcript:3 again"),
                             (FOREWORD + "# A title.\n" + CALL, "says first which rig"),
                             (FOREWORD + "# A title.\nrig usb\nwait 1\n", "a case that calls nothing")):
            with self.subTest(reason):
                self.assertRed(text, reason, total=0)

    def test_definitions(self):
        for definitions, use, reason in (
                ("define it\n    wait 1\n", "", "a.transcript:3: defined and never used"),
                ("define it\n", "it", "a definition of nothing"),
                ("define it <n>\n    wait 1\n", "it 1", "<n> is not used"),
                ("define <n>\n    wait <n>\n", "1", "begins with a word of its own"),
                ("define it\n    wait 1\ndefine it\n    wait 1\n", "it", "defined already at a.transcript:3"),
                ("define a <n>\n    wait <n>\ndefine a b\n    wait 1\n", "a b", "may mean the definition at"),
                ("define it\n    it\n", "it", "a definition that uses itself"),
                ("define it\n    wait 1\n", "it\n    FT_Open(1) -> 0", "indented below the use"),
                ("define it <n>\n    wait <n>\n", "it 1 2", "nothing that can be done: it 1 2"),
                ("include b\n", "", "a.transcript:3: there is no b")):
            with self.subTest(reason):
                self.assertRed(FOREWORD + definitions + GOOD + use + "\n", reason)

    def test_included_files_define_and_nothing_else(self):
        text = FOREWORD + "include b\n" + GOOD + "it 1\n"
        b = "# For several files.\ndefine it <n>\n    wait <n>\n"
        self.assertEqual(play(text, more=[("b", b)])[0], 0)
        self.assertRed(text, "b:4: neither a definition nor an include", more=[("b", b + "wait 1\n")])

    def test_the_number_of_cases_is_asserted(self):
        self.assertRed(FOREWORD + GOOD, "TOTALS expects 2 cases, there are 1", total=2)
        self.assertRed(FOREWORD + GOOD, "TOTALS expects 0 cases, there are 1", total=0)

    def test_a_part_of_a_run_has_no_total(self):
        self.assertEqual(play(FOREWORD + GOOD, "a.transcript:5", total=2)[0], 0)
        code, output = play(FOREWORD + GOOD, "a.transcript:1")
        self.assertEqual(code, 1)
        self.assertIn("a.transcript:1: no case", output)
        self.assertEqual(play(FOREWORD + GOOD, "b.transcript")[0], 1)

    def test_what_is_printed_is_a_transcript(self):
        code, printed = play(FOREWORD + GOOD.replace("    IsInp", "    FT_Open(7) -> 0\n    IsInp"), "--print")
        self.assertEqual(code, 0)
        self.assertIn("IsInpOutDriverOpen() -> 0\n", printed)
        self.assertNotIn("FT_Open", printed)
        self.assertEqual(play(FOREWORD + printed)[0], 0)

    def test_a_range_is_exact_where_time_is_virtual(self):
        for times, code in (("2 times, in real time 0 to 1", 0), ("1 times, in real time 0 to 2", 1)):
            with self.subTest(times):
                self.assertEqual(play(FOREWORD + GOOD.replace("2 times", times))[0], code)

    def test_the_first_difference_may_be_enough(self):
        wrong = GOOD.replace("-> -3", "-> -2")
        code, output = play(FOREWORD + wrong + wrong.replace("A title", "Another"), "--first", total=2)
        self.assertEqual(code, 1)
        self.assertIn("1 cases played in 1 files, 1 faults", output)


unittest.main()
