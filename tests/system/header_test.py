"""The public headers compile alone, cleanly, as C89, C99, C++98 and C++20."""

import argparse
import subprocess
import unittest

STRICT = ["-Wall", "-Wextra", "-Wpedantic", "-pedantic-errors", "-Wconversion", "-Wshadow",
          "-Wstrict-prototypes", "-Werror", "-fsyntax-only"]


class Headers(unittest.TestCase):
    def compile(self, command, language, standard, header, *extra):
        flags = [flag for flag in STRICT if language == "c" or flag != "-Wstrict-prototypes"]
        program = f"#include <{header}>\n#include <{header}>\n{extra[0] if extra else ''}\n"
        run = subprocess.run(
            [command, *flags, f"-std={standard}", "-x", language, "-I", OPTIONS.include, "-I",
             OPTIONS.rig_include, "-"], input=program, capture_output=True, text=True)
        return run.returncode, run.stderr

    def test_every_standard(self):
        use_c = "int use(void); int use(void) { return Solvane_CheckAvailable() == SOLVANE_OK; }"
        for header, use in (("solvane/solvane.h", use_c),
                            ("solvane/rig.h", "int use(void); int use(void) "
                                              "{ return rig_load(0); }")):
            for c in (OPTIONS.cc, "gcc"):
                for standard in ("c89", "c99", "c11"):
                    with self.subTest(header=header, compiler=c, standard=standard):
                        self.assertEqual(self.compile(c, "c", standard, header, use), (0, ""))
            for cxx in (OPTIONS.cxx, "g++"):
                for standard in ("c++98", "c++11", "c++20"):
                    with self.subTest(header=header, compiler=cxx, standard=standard):
                        self.assertEqual(self.compile(cxx, "c++", standard, header, use), (0, ""))

    def test_a_wrong_use_does_not_compile(self):
        wrong = "int use(void); int use(void) { return Solvane_CheckSystemReady(1.5); }"
        self.assertNotEqual(self.compile(OPTIONS.cc, "c", "c89", "solvane/solvane.h", wrong)[0], 0)


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    for option in ("include", "rig-include", "cc", "cxx"):
        parser.add_argument("--" + option, required=True)
    OPTIONS, rest = parser.parse_known_args()
    unittest.main(argv=["header_test", *rest])
