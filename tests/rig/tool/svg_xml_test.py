"""The pictures, read by an XML parser: what they show, and that nothing lies outside of them.

    svg_xml_test.py <solvane-rig> [unittest options]
"""

import random
import re
import subprocess
import sys
import unittest
import xml.etree.ElementTree

SVG = "{http://www.w3.org/2000/svg}"
SIGNS = b"<>&\"'/;!-[]{}()=%$#@\\`~|:.," + bytes(range(1, 9)) + b"\x0e\x1b\x7f\x80\xc3\xed\xff" + \
    "µ✓\ufffe".encode() + b"aZ09"
CAPTURE = b"#0 0w0 1w1 0w2 0w3 0w4 1w5 #66400 1w0 0w1 #76460 0w0 #91400 1w2 1w1 #150000 1w3" \
    b" #150004 0w3 0w2 #200000"
CAPTURE_NAMES = [b"trigger", b"ready", b"mep", b"clear_mep", b"dark", b"camera_power"]


def recording(values, names=(b"a", b"b"), scope=b"camera"):
    """A recording in µs; line i has the short name wi."""
    text = b"$timescale 1 us $end\n$scope module " + scope + b" $end\n"
    for i, name in enumerate(names):
        text += b"$var wire 1 w%d " % i + name + b" $end\n"
    return text + b"$upscope $end\n$enddefinitions $end\n" + values

EVENTFUL = b"""$timescale 1 us $end
$var wire 1 ! a $end
$var wire 1 " b $end
$var event 1 ( capture $end
$var event 1 ) ignored $end
$var event 1 * unplug $end
$var event 1 . fault $end
$enddefinitions $end
#0 0! 0"
#10000 1! 1(
#13500 1* 0! 1.
#14000 1.
#20000 1! 1)
#30000 0!
#40000
"""


class Drawing:
    def __init__(self, svg):
        self.text = svg
        self.root = xml.etree.ElementTree.fromstring(svg)
        self.width, self.height = int(self.root.get("width")), int(self.root.get("height"))

    def of(self, kind, style):
        return [each for each in self.root.iter(SVG + kind) if each.get("class") == style]

    def texts(self, style):
        return [each.text for each in self.of("text", style)]

    def paths(self, style):
        """The corners of each path."""
        return [list(points(each)) for each in self.of("path", style)]

    def words(self):
        return self.root.find(SVG + "title").text, self.root.find(SVG + "desc").text


def points(element):
    """The corners of a rectangle, the start of a text, or the ends of a path's segments."""
    if element.get("x") is not None:
        x, y = int(element.get("x")), int(element.get("y"))
        yield x, y
        yield x + int(element.get("width", 0)), y + int(element.get("height", 0))
    at = (0, 0)
    for kind, one, two in re.findall(r"([MHV])(\d+)(?: (\d+))?", element.get("d", "")):
        at = {"M": (int(one), int(two or 0)), "H": (int(one), at[1]), "V": (at[0], int(one))}[kind]
        yield at


class Pictures(unittest.TestCase):
    def draw(self, vcd):
        run = subprocess.run([PROGRAM, "wave", "/dev/stdin", "--svg", "-"], input=vcd,
                             capture_output=True, timeout=60)
        self.assertEqual((run.returncode, run.stderr), (0, b""))
        drawing = Drawing(run.stdout.decode())
        self.assertEqual(drawing.root.tag, SVG + "svg")
        self.assertEqual(drawing.root.get("viewBox"), f"0 0 {drawing.width} {drawing.height}")
        for element in drawing.root.iter():
            self.assertIn(element.tag[len(SVG):],
                          ("svg", "title", "desc", "style", "rect", "path", "text"))
            for x, y in points(element):
                self.assertTrue(0 <= x <= drawing.width and 0 <= y <= drawing.height,
                                (element.attrib, x, y))
        return drawing

    def test_a_capture(self):
        svg = self.draw(recording(CAPTURE, CAPTURE_NAMES))
        self.assertEqual(svg.texts("name"), ["trigger", "ready", "mep", "clear_mep"])
        self.assertEqual(svg.texts("note"), ["Unchanged: dark 0, camera_power 1"])
        self.assertEqual(svg.texts("time"), ["ms", "0", "66.4", "76.5", "91.4", "150", "200"])
        self.assertEqual(svg.texts("width"), ["10.1 ms", "25 ms", "58.6 ms", "4 µs"])
        title, description = svg.words()
        self.assertEqual(title, "Waveform of trigger, ready, mep, clear_mep")
        self.assertEqual(description, "Times in ms. trigger: low, high at 66.4, low at 76.5. ready: "
                         "high, low at 66.4, high at 91.4. mep: low, high at 91.4, low at 150. "
                         "clear_mep: low, high at 150, low at 150. Unchanged: dark 0, "
                         "camera_power 1.")
        self.assertIn("prefers-color-scheme:dark", svg.text)
        for outside in ("<script", "href", "url(", "@import", "@font-face"):
            self.assertNotIn(outside, svg.text)

    def test_events_and_what_went_wrong_through_all_lines(self):
        svg = self.draw(EVENTFUL)
        self.assertEqual(svg.texts("event"), ["capture"])
        self.assertEqual(svg.texts("disturbance"), ["unplug, fault x2", "ignored"])
        (_, top), (_, bottom) = svg.paths("mark")[0]
        hits = svg.paths("hit")[0]
        trigger = svg.paths("line")[0]
        self.assertEqual([x for x, _ in hits[::2]], [trigger[3][0], trigger[5][0]],
                         "where the plug cuts the pulse, and where the ignored one begins")
        self.assertGreater(hits[1][1], max(y for line in svg.paths("line") for _, y in line))
        self.assertLess(bottom, min(y for line in svg.paths("line") for _, y in line))
        self.assertLess(top, bottom)
        self.assertIn("Events: capture at 10, unplug, fault x2 at 13.5, ignored at 20. Unchanged",
                      svg.words()[1])
        still = self.draw(EVENTFUL.replace(b"1!", b"0!"))
        self.assertEqual(still.texts("note"), [
            "Nothing changes from 0 to 40 ms.",
            "Events: capture at 10, unplug, fault x2 at 13.5, ignored at 20", "Unchanged: a 0, b 0"])
        names = [b"e%d" % i for i in range(40)]
        many = b"".join(b"$var event 1 x%d " % i + b"long_event_name_" + name + b" $end\n"
                        for i, name in enumerate(names))
        svg = self.draw(recording(b"#0 0w0 #5 " + b" ".join(b"1x%d" % i for i in range(40)) +
                                  b" #9").replace(b"$upscope", many + b"$upscope"))
        self.assertLessEqual(max(map(len, svg.texts("note"))), 100)

    def test_a_pulse_is_one_stroke_with_four_corners(self):
        svg = self.draw(recording(CAPTURE, CAPTURE_NAMES))
        self.assertEqual([path.get("d").count("M") for path in svg.of("path", "line")], [1] * 4)
        trigger, ready, mep, _ = svg.paths("line")
        (left, low), (rise, at), (_, high), (fall, _), (_, after), (right, _) = trigger
        self.assertTrue(left < rise < fall < right)
        self.assertTrue(high < low == at == after)
        self.assertLess(ready[0][1], ready[2][1], "at rest it is high")
        self.assertEqual(ready[1][0], rise)
        self.assertEqual(ready[3][0], mep[1][0], "the flag rises where ready does")
        self.assertGreater(ready[0][1], low, "each has a row of its own")

    def test_axis_is_in_proportion_and_cut_where_nothing_happens_for_long(self):
        # 1 s, and 20, 20, 20, 40 ms
        svg = self.draw(recording(b"#0 0w0 0w1 #1000000 1w0 #1020000 0w0 #1040000 1w0 #1060000 0w0"
                                  b" #1100000"))
        (cut,), x = svg.paths("cut"), [x for x, _ in svg.paths("line")[0]][::2]
        long, *pulses, longer = [end - begin for begin, end in zip(x, x[1:] + [svg.width - 16])]
        for pulse in pulses:
            self.assertAlmostEqual(pulse, pulses[0], delta=8)
        self.assertAlmostEqual(longer, 2 * pulses[0], delta=8)
        self.assertAlmostEqual(long, 2 * pulses[0], delta=8, msg="as long as a cut interval looks")
        self.assertTrue(x[0] < cut[0][0] < x[1])
        # 10, 10, 30 ms, and four times 1 µs, which is too short to count as the usual width
        svg = self.draw(recording(b"#0 0w0 #1 1w0 #2 0w0 #3 1w0 #4 0w0 #10004 1w0 #20004 0w0"
                                  b" #50004"))
        self.assertEqual(svg.paths("cut"), [])

    def test_all_levels(self):
        svg = self.draw(recording(b"#0 xw0 0w1 #1 1w0 zw1 #2 xw0 1w1 #3 0w0 zw1 #4 zw0 0w1"
                                  b" #5 0w0 xw1 #6 zw0 0w1 #7"))
        self.assertEqual(len(svg.of("rect", "unknown")), 3)
        self.assertEqual(len(svg.of("rect", "high")), 2)
        strokes = {style: [path.get("d").count("M") for path in svg.of("path", style)]
                   for style in ("line", "floating")}
        self.assertEqual(strokes, {"line": [3, 4], "floating": [2, 2]})

    def test_nothing_changes(self):
        for values, sentence, steady in (
                (b"#0 1w0 #50000", "Nothing changes from 0 to 50 ms.", "Unchanged: a 1, b x"),
                (b"#5000 1w0 0w1", "Nothing changes at 5 ms.", "Unchanged: a 1, b 0"),
                (b"", "Nothing changes at 0 ms.", "Unchanged: a x, b x")):
            svg = self.draw(recording(values))
            self.assertEqual(svg.texts("note"), [sentence, steady])
            self.assertEqual(svg.words(), ("Waveform", f"{sentence} {steady}."))

    def test_a_change_at_the_end(self):
        svg = self.draw(recording(b"#0 0w0 1w1 #5000 1w0"))
        self.assertEqual(svg.texts("time"), ["ms", "0", "5"])
        self.assertEqual(len(svg.paths("line")[0]), 4)

    def test_long_names_are_cut_and_many_wrap(self):
        svg = self.draw(recording(b"#0 0w0 #5 1w0 #9", [b"m" + 100 * b"n"]))
        self.assertEqual(svg.texts("name"), [".." + 18 * "n"])
        svg = self.draw(recording(b"#0 1w7 #5", [b"steady%d" % i for i in range(40)]))
        rows = svg.texts("note")[1:]
        self.assertGreater(len(rows), 2)
        self.assertLessEqual(max(map(len, rows)), 100)
        self.assertEqual("".join(rows), "Unchanged: " + ", ".join(
            f"steady{i} {'1' if i == 7 else 'x'}" for i in range(40)))

    def test_hundreds_of_pulses_are_all_drawn_once(self):
        svg = self.draw(recording(b"#0 0w0\n" + b"".join(
            b"#%d 1w0 #%d 0w0\n" % (1000 * i + 500, 1000 * i + 700) for i in range(400)), [b"a"]))
        self.assertEqual(svg.texts("width"), ["200 µs"] * 400)
        self.assertLess(svg.width, 1024)
        heights = [line[0][1] for line in svg.paths("line")]
        self.assertEqual(heights, sorted(set(heights)), "blocks lie below each other")

    def test_a_name_of_any_signs(self):
        random.seed(1)
        for _ in range(20):
            names = [bytes(random.choices(SIGNS, k=random.randint(1, 40))) + b"%d" % i
                     for i in range(6)]
            names = [b"n" + name if name == b"$end" else name for name in names]
            self.draw(recording(b"#0 0w0 1w1 xw2 #5 1w0 #7 0w1 zw2 #9", names, names[0]))

    def test_names_are_read_as_they_were_written(self):
        svg = self.draw(recording(b"#0 0w0 1w1 #5 1w0 0w1 #9", [b"<b>&amp;\"c'", b"]]>--"]))
        self.assertEqual(svg.texts("name"), ["<b>&amp;\"c'", "]]>--"])
        title, description = svg.words()
        self.assertEqual(title, "Waveform of <b>&amp;\"c', ]]>--")
        self.assertIn("]]>--: high, low at 0.005", description)

    def test_any_times_and_levels(self):
        random.seed(2)
        for changes in (0, 1, 2, 30, 800):
            for longest in (0, 1, 3, 10**9, 10**15):
                time, values = 0, b""
                for _ in range(changes):
                    time += random.randint(0, longest)
                    values += b"#%d %cw%d\n" % (time, random.choice(b"01xz"), random.randrange(4))
                self.draw(recording(values, [b"a", b"b", b"c", b"d"]))


if __name__ == "__main__":
    PROGRAM = sys.argv[1]
    unittest.main(argv=["svg_xml_test", *sys.argv[2:]])
