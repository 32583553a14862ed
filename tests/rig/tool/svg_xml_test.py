"""Pictures of recordings that nobody would make are well-formed XML, and nothing lies outside them.

    svg_xml_test.py <solvane-rig> [unittest options]
"""

import os
import random
import re
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree

SVG = "{http://www.w3.org/2000/svg}"
SIGNS = b"<>&\"'/;!-[]{}()=%$#@\\`~|:.," + bytes(range(1, 9)) + b"\x0e\x1b\x7f\x80\xc3\xed\xff" + \
    "µ✓\ufffe".encode() + b"aZ09"


def header(names, scope=b"camera"):
    text = b"$timescale 1 us $end\n$scope module " + scope + b" $end\n"
    for i, name in enumerate(names):
        text += b"$var wire 1 w%d " % i + name + b" $end\n"
    return text + b"$upscope $end\n$enddefinitions $end\n"


class Pictures(unittest.TestCase):
    def draw(self, vcd):
        with tempfile.TemporaryDirectory() as directory:
            recording, picture = (os.path.join(directory, name) for name in ("a.vcd", "a.svg"))
            with open(recording, "wb") as file:
                file.write(vcd)
            run = subprocess.run([PROGRAM, "wave", recording, "--svg", picture],
                                 capture_output=True, text=True, timeout=60)
            self.assertEqual((run.returncode, run.stderr), (0, ""))
            svg = xml.etree.ElementTree.parse(picture).getroot()
        self.assertEqual(svg.tag, SVG + "svg")
        width, height = int(svg.get("width")), int(svg.get("height"))
        self.assertEqual(svg.get("viewBox"), f"0 0 {width} {height}")
        for element in svg.iter():
            self.assertIn(element.tag[len(SVG):],
                          ("svg", "title", "desc", "style", "rect", "path", "text"))
            for x, y in self.points(element):
                self.assertTrue(0 <= x <= width and 0 <= y <= height, (element.attrib, x, y))
        return svg

    @staticmethod
    def points(element):
        """Corners of a rectangle, the start of a text, the absolute ends of a path's strokes."""
        if element.get("x") is not None:
            x, y = int(element.get("x")), int(element.get("y"))
            yield x, y
            yield x + int(element.get("width", 0)), y + int(element.get("height", 0))
        at = (0, 0)
        for kind, one, two in re.findall(r"([MHV])(\d+)(?: (\d+))?", element.get("d", "")):
            at = {"M": (int(one), int(two or 0)), "H": (int(one), at[1]),
                  "V": (at[0], int(one))}[kind]
            yield at

    @staticmethod
    def texts(svg, style):
        return [text.text for text in svg.iter(SVG + "text") if text.get("class") == style]

    def test_a_name_of_any_signs(self):
        random.seed(1)
        for _ in range(20):
            names = [bytes(random.choices(SIGNS, k=random.randint(1, 40))) + b"%d" % i
                     for i in range(6)]
            names = [b"n" + name if name == b"$end" else name for name in names]
            self.draw(header(names, scope=names[0]) + b"#0 0w0 1w1 xw2 #5 1w0 #7 0w1 zw2 #9")

    def test_names_are_read_as_they_were_written(self):
        svg = self.draw(header([b"<b>&amp;\"c'", b"]]>--"]) + b"#0 0w0 1w1 #5 1w0 0w1 #9")
        self.assertEqual(self.texts(svg, "name"), ["<b>&amp;\"c'", "]]>--"])
        self.assertEqual(svg.find(SVG + "title").text, "Waveform of <b>&amp;\"c', ]]>--")
        self.assertIn("]]>--: high, low at 0.005", svg.find(SVG + "desc").text)

    def test_any_times_and_levels(self):
        random.seed(2)
        for changes in (0, 1, 2, 30, 800):
            for longest in (0, 1, 3, 10**9, 10**15):
                time, values = 0, b""
                for _ in range(changes):
                    time += random.randint(0, longest)
                    values += b"#%d %cw%d\n" % (time, random.choice(b"01xz"), random.randrange(4))
                self.draw(header([b"a", b"b", b"c", b"d"]) + values)

    def test_hundreds_of_pulses_are_all_drawn(self):
        pulses = b"".join(b"#%d 1w0 #%d 0w0\n" % (1000 * i + 500, 1000 * i + 700)
                          for i in range(400))
        svg = self.draw(header([b"a"]) + b"#0 0w0\n" + pulses)
        self.assertEqual(self.texts(svg, "width"), ["200 µs"] * 400)


if __name__ == "__main__":
    PROGRAM = sys.argv[1]
    unittest.main(argv=["svg_xml_test", *sys.argv[2:]])
