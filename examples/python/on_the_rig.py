"""A host's own test on the rig, which asks what the camera has seen."""

import sys
import unittest

import solvane
from solvane_rig import Line, Rig


class Host(unittest.TestCase):
    def setUp(self) -> None:
        self.rig = Rig("[[usb]]\nchip = 'FT2232H'\n")

    def test_a_camera_that_is_ready_is_triggered(self) -> None:
        start = self.rig.mark()
        solvane.trigger_capture()
        self.rig.expect_pulse(Line.TRIGGER, 9, 1000, since=start)  # raises RigError for any other
        self.assertEqual((self.rig.captures(), self.rig.level(Line.TRIGGER)), (1, 0))

    def test_one_that_is_not_ready_is_left_alone(self) -> None:
        with self.rig.force(Line.READY, 0):
            with self.assertRaises(solvane.Error) as raised:
                solvane.trigger_capture()
        self.assertEqual(raised.exception.status, solvane.E_NOT_READY)
        self.assertEqual(self.rig.captures(), 0)

    def tearDown(self) -> None:
        solvane.close_device()  # the next test has another chip


unittest.main(argv=sys.argv[:1], verbosity=2)
