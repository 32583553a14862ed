"""solvane doctor and solvane watch, on every kind of hardware and with everything that can be wrong.

The arguments are those of cli_test.py.
"""

import re
import sys
import unittest
from pathlib import Path

import cli_test
from cli_test import CHIP, DONE, FAILED, KINDS, NO_LIBRARY, CliTest


def fault(function, call, status):
    return f"[[fault]]\nfunction = '{function}'\ncall = {call}\ntimes = 0\n" \
        f"status = {status}\n"


FAILED_HERE = 0x80041001
JUST_NOW = "plugged = false\n[[event]]\nat_ms = 0\naction = 'plug'\n"


class Doctor(CliTest):
    def kinds(self, scenario, is_ill=False):
        outcome = self.run_host("doctor", "--json", scenario=scenario)
        report = outcome.objects()[0]
        self.assertEqual(report["rig"], self.rig())
        self.assertEqual(outcome.code,
                         FAILED if report["controller"] is None or is_ill else DONE)
        self.assertEqual([each["kind"] for each in report["kinds"]], list(KINDS))
        return report, {each["kind"]: each for each in report["kinds"]}

    def test_says_which_kind_serves_and_why_those_before_do_not(self):
        names = list(KINDS)
        for serving, (kind, scenario) in enumerate(KINDS.items()):
            report, kinds = self.kinds(scenario)
            self.assertEqual((report["status"], report["controller"]), (0, kind))
            for number, name in enumerate(names):
                each = kinds[name]
                self.assertEqual(each["asked"], number <= serving)
                if number < serving:
                    self.assertEqual(each["status"], -3)
                    self.assertTrue(each["advice"])
                elif number == serving:
                    self.assertEqual(each["status"], 0)
                    self.assertEqual(each["found"], "It answers, and serves the camera.")
                    self.assertIsNone(each["advice"])
                else:
                    self.assertIsNone(each["status"])
                    self.assertIn("not looked for", each["found"])

    # For each kind: a fault, the status, a word of the finding, and one of the advice.
    ILLNESSES = {
        "parallel port": [
            ("", -3, "Windows knows no parallel port", "Device Manager"),
            ("[lpt]\n[inpout]\ndriver_open = false\n", -2, "driver (InpOut) is not open",
             "solvane probe once as an administrator"),
            ("[lpt]\npresence_wire = false\n", -3, "presence loopback", "pin 17 to pin 11"),
            ("[lpt]\n[[parallel_port]]\n", -3, "no I/O range", "resources"),
            ("[lpt]\n[[parallel_port]]\n[[parallel_port.range]]\nstart = '65536'\n", -3,
             "no I/O range", "resources"),
            ("[lpt]\n" + fault("IWbemLocator::ConnectServer", 1, FAILED_HERE), -3,
             "Windows could not be asked", "Windows Management Instrumentation"),
            ("[lpt]\n" + fault("IWbemServices::ExecQuery", 2, FAILED_HERE), -3,
             "the port's I/O range", "Windows Management Instrumentation"),
            ("[lpt]\n" + fault("IWbemClassObject::Get", 1, FAILED_HERE), -3, "no name", "USB"),
            ("[lpt]\n" + fault("IWbemClassObject::Get", 2, FAILED_HERE), -3, "no address", "USB"),
        ],
        "Super I/O": [
            ("", -3, "driver (InpOut) is not open", "administrator"),
            ("[superio]\nid = 0xFFFF\n", -3, "first identification byte is not C4", "another"),
            ("[superio]\nid = 0xC453\n", -3, "second identification byte is not 52", "another"),
            ("[superio]\nactive_banks = 0xF7\n", -3, "bank 3 is switched off", "set-up"),
            ("[superio]\n" + fault("Inp32", 3, 0x1FF), -3, "no byte", "0x2E"),
            ("[superio]\n" + fault("Inp32", 8, 0x1FF), -3, "cannot be set up", "0x2E"),
            ("[superio]\n" + fault("Inp32", 9, 0x00), -3, "clear-MEP pin does not rise", "0x2E"),
            ("[superio]\n" + fault("Inp32", 10, 0x01), -3, "trigger pin does not fall", "0x2E"),
            ("[superio]\n" + fault("Inp32", 11, 0x1FF), -2, "could not be written", "0x2E"),
        ],
        "Embedded API": [
            ("", -3, "does not start (status 0xfffffbff)", "driver"),
            ("[eapi]\ngpios = 7\n", -3, "The board offers 7 GPIO pins, and eight are needed.",
             "another board"),
            ("[eapi]\n" + fault("EApiGPIOGetCount", 1, 0xFFFFF0FF), -3, "(status 0xfffff0ff)",
             "driver"),
            ("[eapi]\n" + fault("EApiGPIOSetDirection", 4, 1), -3,
             "direction of its pin Clear_Mep_Pin.", "set-up"),
            ("[eapi]\n" + fault("EApiGPIOSetLevel", 2, 0xFFFFFAFE), -2,
             "could not be driven (status 0xfffffafe)", "driver"),
        ],
        "FT2232H": [
            ("", -3, "No FTDI chip is connected.", "Plug"),
            ("[[usb]]\nchip = 'FT232R'\n", -3, "none of them is an FT2232H", "Plug"),
            (CHIP + "letters = 'CD'\n", -3, "serial number ends in B", "FT_PROG"),
            (CHIP + "named_after_ms = 60000\n" + JUST_NOW, -3, "no serial number yet",
             "some seconds"),
            (CHIP + "opens_after_ms = 60000\n" + JUST_NOW, -3, "plugged in just now",
             "some seconds"),
            # Of the camera's chip another program has one channel or both.
            (CHIP + "open_elsewhere = true\n", -3, "open in another program", "Close"),
            (CHIP + "open_elsewhere = true\ncamera = false\n" + CHIP + "letters = 'AC'\n", -3,
             "open in another program", "Close"),
            (CHIP + fault("FT_Open", 1, 3), -3, "open in another program", "Close"),
            (CHIP + fault("FT_Open", 1, 4), -3, "cannot be opened (D2XX status 4)", "Unplug"),
            (CHIP + fault("FT_SetBitMode", 1, 4), -3, "does not take its settings", "Unplug"),
            (CHIP + fault("FT_CreateDeviceInfoList", 1, 18), -3, "(D2XX status 18)", "Install"),
        ],
    }

    def test_names_each_fault_and_gives_advice(self):
        document = Path(__file__).parents[3] / "docs/doctor.md"
        headings = re.findall(r"(?m)^### (.*)", document.read_text())
        pages = {"docs/doctor.md#" + re.sub(r"[^\w\- ]", "", heading).lower().replace(" ", "-")
                 for heading in headings}
        for kind, illnesses in self.ILLNESSES.items():
            for scenario, status, found, advice in illnesses:
                with self.subTest(kind=kind, scenario=scenario):
                    each = self.kinds(scenario)[1][kind]
                    self.assertEqual((each["asked"], each["status"]), (True, status))
                    self.assertIn(found, each["found"])
                    self.assertIn(advice, each["advice"])
                    self.assertIn(each["page"], pages)

    def test_tells_people_the_same_with_advice_only_when_nothing_serves(self):
        outcome = self.run_host("doctor", scenario="no_hardware.toml")
        self.assertEqual(outcome.code, FAILED)
        lines = outcome.out.splitlines()
        self.assertEqual(lines[0], self.rig())
        self.assertEqual(lines[1], "controller     none")
        self.assertEqual(lines[2], "parallel port  Windows knows no parallel port.")
        self.assertIn("Device Manager", lines[3])
        self.assertEqual(lines[4].strip(), "More: docs/doctor.md#windows-knows-no-parallel-port")
        self.assertIn("FT2232H        No FTDI chip is connected.", lines)
        # doctor itself has not failed.
        self.assertEqual(outcome.err, "solvane: no hardware serves the camera: "
                         "the library's status is -3.\n")

        outcome = self.run_host("doctor")
        self.assertEqual((outcome.code, outcome.err), (DONE, ""))
        # The heading, the controller, one line for each kind, what of the last was tried, and two lines
        # about the timer driver, which is optional.
        self.assertEqual(len(outcome.out.splitlines()), 2 + len(KINDS) + 1 + 2)
        self.assertIn("timer driver   SolvaneDevice is not installed.\n", outcome.out)

    def test_a_missing_power_interface_is_told_of_the_parallel_port(self):
        scenario = "[lpt]\npower_wire = false\n"
        outcome = self.run_host("doctor", scenario=scenario)
        self.assertEqual(outcome.code, DONE)
        port = outcome.out[outcome.out.index("\nparallel port"):outcome.out.index("\nSuper I/O")]
        self.assertIn("The power interface is not wired", port)
        _, kinds = self.kinds(scenario)
        self.assertIn("The power interface is not wired", kinds["parallel port"]["advice"])

    # Hardware that serves with a fault, and words of the finding and of the advice.
    ILL_SERVANTS = {
        "no byte ever comes": ("FT2232H", CHIP + "[[fault]]\nfunction = 'FT_Read'\ntimes = 0\n"
                               "count = 0\n", "could not be read", "Unplug"),
        "it dies at its third read": ("FT2232H", CHIP + "[[event]]\nbefore = 'FT_Read'\ncall = 3\n"
                                      "action = 'unplug'\n", "could not be read", "Unplug"),
        "no level": ("Embedded API", "[eapi]\n" + fault("EApiGPIOGetLevel", 1, 1),
                     "could not be read", "driver"),
        "the other chip": ("FT2232H", CHIP + "camera = false\n" + CHIP + "camera = true\n",
                           "no camera is wired to it", "only the first FT2232H is used"),
        "no camera": ("FT2232H", CHIP + "camera = false\n", "no camera is wired to it", "cable"),
    }

    def test_does_not_call_healthy_what_is_not(self):
        for name, (kind, scenario, found, advice) in self.ILL_SERVANTS.items():
            with self.subTest(name):
                report, kinds = self.kinds(scenario, is_ill=True)
                self.assertEqual((report["status"], report["controller"]), (0, kind))
                self.assertIn(found, kinds[kind]["found"])
                self.assertIn(advice, kinds[kind]["advice"])
                people = self.run_host("doctor", scenario=scenario)
                self.assertEqual(people.code, FAILED)
                self.assertNotIn("serves the camera", people.out)
                self.assertIn(kinds[kind]["advice"], people.out)

    def test_several_chips_of_which_the_first_is_the_cameras(self):
        _, kinds = self.kinds(CHIP + CHIP)
        self.assertEqual(kinds["FT2232H"]["found"], "It answers, and lines are wired to it.")
        self.assertIn("only the first FT2232H is used", kinds["FT2232H"]["advice"])
        # Another kind of chip beside it does not matter.
        _, kinds = self.kinds(CHIP + "[[usb]]\nchip = 'FT232R'\n")
        self.assertEqual(kinds["FT2232H"]["found"], "It answers, and serves the camera.")

    RANGE = "[[parallel_port.range]]\nstart = '0x378'\n"

    def test_which_hardware_was_tried(self):
        for scenario, kind, tried in (
                ("[lpt]\n", "parallel port", "LPT1 at 0x378"),
                ("[lpt]\npresence_wire = false\n[[parallel_port]]\ndevice_id = 'LPT3'\n"
                 + self.RANGE + "[[parallel_port]]\n", "parallel port",
                 "LPT3 at 0x378, the first of 2 parallel ports; the others are never used"),
                ("[lpt]\n[[parallel_port]]\n", "parallel port", "LPT1, without an I/O range"),
                ("", "parallel port", None), ("", "FT2232H", None), ("", "Super I/O", None),
                ("[[usb]]\nchip = 'FT232R'\n" + CHIP, "FT2232H", "number 2, counted from 0, of 3 "
                 "FTDI devices, the first FT2232H's channel B")):
            with self.subTest(tried):
                self.assertEqual(self.kinds(scenario)[1][kind]["tried"], tried)
        outcome = self.run_host("doctor", scenario="[lpt]\npresence_wire = false\n")
        self.assertIn("Tried: LPT1 at 0x378.\n", outcome.out)

    def test_a_scenario_that_cannot_be_used_is_told(self):
        outcome = self.run_host("doctor", scenario="nonsense")
        self.assertRegex(outcome.out, r"^the virtual rig, scenario none: .*scenario\.toml.*line 1")

    def test_missing_vendor_libraries_are_named_without_a_box(self):
        outcome = self.run_host("doctor", rig=False)
        self.assertEqual(outcome.code, NO_LIBRARY)
        for dll in "EAPI_Library.dll", "FTD2XX.dll", "inpoutx64.dll":
            self.assertIn(f"Solvane.dll needs {dll}, which was not found.", outcome.err)


    def test_a_kind_that_answers_only_the_second_time_is_the_controller(self):
        scenario = CHIP + "[[fault]]\nfunction = 'FT_Open'\nstatus = 4\n"
        outcome = self.run_host("doctor", scenario=scenario)
        self.assertEqual(outcome.code, DONE)
        self.assertIn("controller     FT2232H\n", outcome.out)
        self.assertIn("FT2232H        It answers, and serves the camera.\n", outcome.out)


class Watch(CliTest):
    BUSY_LATER = CHIP + "[[event]]\nat_ms = {}\naction = 'not-ready'\n"

    def test_once(self):
        for scenario in KINDS.values():
            outcome = self.run_host("watch", "--once", scenario=scenario)
            self.assertEqual((outcome.code, outcome.err), (DONE, ""))
            titles, row = outcome.out.splitlines()
            self.assertEqual(re.split("  +", titles),
                             ["since start", "ready", "dark", "camera power", "accessories power"])
            self.assertEqual(re.split("  +", row)[1:], ["yes", "off", "on", "on"])

    def test_once_in_json(self):
        found = self.answer("watch", "--once")
        self.assertGreaterEqual(found.pop("since_start_ms"), 0)
        self.assertEqual(found, {"command": "watch", "status": 0, "ready": True, "dark": False,
                                 "camera_power": True, "accessories_power": True, "changed": []})

    def test_a_change_is_a_row_with_a_star(self):
        outcome = self.run_host("watch", "--duration", "2", "--interval", "20",
                                scenario=self.BUSY_LATER.format(1000))
        self.assertEqual(outcome.code, DONE)
        _, before, after = outcome.out.splitlines()
        self.assertEqual(re.split("  +", before)[1:], ["yes", "off", "on", "on"])
        self.assertEqual(re.split("  +", after)[1:], ["no *", "off", "on", "on"])

    def test_a_change_in_json_names_its_key(self):
        outcome = self.run_host("watch", "--duration", "2", "--json",
                                scenario=self.BUSY_LATER.format(1000))
        first, second = outcome.objects()
        self.assertEqual((first["ready"], first["changed"]), (True, []))
        self.assertEqual((second["ready"], second["changed"]), (False, ["ready"]))
        self.assertGreater(second["since_start_ms"], first["since_start_ms"])

    def test_the_duration_is_kept(self):
        outcome = self.run_host("watch", "--duration", "1")
        self.assertEqual((outcome.code, len(outcome.out.splitlines())), (DONE, 2))

    def test_a_chip_that_leaves_is_shown_with_its_status(self):
        scenario = CHIP + "[[event]]\nat_ms = 1000\naction = 'unplug'\n"
        outcome = self.run_host("watch", "--duration", "3", "--json", scenario=scenario)
        last = outcome.objects()[-1]
        self.assertEqual((outcome.code, last["status"], last["ready"]), (FAILED, -3, None))

    def test_the_row_of_a_loss_does_not_say_no(self):
        scenario = CHIP + "[[event]]\nat_ms = 1000\naction = 'unplug'\n"
        outcome = self.run_host("watch", "--duration", "3", scenario=scenario)
        titles, before, lost, *_ = outcome.out.splitlines()
        self.assertNotRegex(lost, r"\b(no|off)\b")
        # Each cell stands below its title.
        begins = [match.start() for match in re.finditer(r"\S+( \S+)*", titles)]
        for row in before, lost:
            self.assertEqual([match.start() for match in re.finditer(r"\S+( \S+)*", row)], begins)

        [first, *_, last] = self.run_host("watch", "--duration", "3", "--json",
                                          scenario=scenario).objects()
        self.assertEqual((first["ready"], last["ready"]), (True, None))

    def test_a_lost_read_is_told_and_fails(self):
        scenario = "[eapi]\n" + fault("EApiGPIOGetLevel", 1, 1)
        outcome = self.run_host("watch", "--once", scenario=scenario)
        self.assertEqual(outcome.code, FAILED)
        self.assertEqual(re.split("  +", outcome.out.splitlines()[1])[1:], ["?", "?", "?", "on"])
        [result] = self.run_host("watch", "--once", "--json", scenario=scenario).objects()
        self.assertEqual((result["status"], result["ready"], result["accessories_power"]),
                         (0, None, True))

    def test_leaves_the_flag_alone(self):
        outcome = self.run_host("watch", "--once", scenario="mep_latched.toml")
        self.assertEqual(outcome.levels("clear_mep"), [])

    def test_without_hardware(self):
        outcome = self.run_host("watch", "--once", scenario="no_hardware.toml")
        self.assertEqual(outcome.code, FAILED)
        self.assertIn("? (-3)", outcome.out)
        self.assertIn("watch failed with status -3", outcome.err)


if __name__ == "__main__":
    cli_test.WINE, cli_test.BIN, cli_test.RIG, cli_test.SCENARIOS = (
        Path(argument).resolve() for argument in sys.argv[1:5])
    unittest.main(argv=sys.argv[:1] + sys.argv[5:])
