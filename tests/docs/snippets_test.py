"""Every code snippet in the documentation is part of a tested file or compiles, and the rig accepts
every scenario.

    snippets_test.py --build <build tree> [unittest options]

A snippet that is not a whole program is compiled with the includes and the enclosing function that a
reader would add.
"""

import argparse
import glob
import os
import re
import subprocess
import tempfile
import unittest

import document

# Files that tests build or run.
TESTED = ("examples/**/*.[ch]*", "rig/**/*.[ci]*", "tests/**/*.cpp")

STRICT = ["-Wall", "-Wextra", "-Werror", "-fsyntax-only", "-Iinclude"]
COMPILERS = {
    "c": ["x86_64-w64-mingw32-gcc", "-std=c99", *STRICT],
    "cpp": ["x86_64-w64-mingw32-g++", "-std=c++17", "-Ibindings/cpp", *STRICT],
    "csharp": ["mcs", "-warnaserror", "-target:library", "-out:piece.dll",
               "bindings/csharp/Solvane.cs", "bindings/csharp/SolvaneRig.cs"],
    "python": ["python3", "-m", "py_compile"],
    "js": ["node", "--check"],
}
ENDINGS = {"c": ".c", "cpp": ".cpp", "csharp": ".cs", "python": ".py", "js": ".js"}

SURROUNDINGS = {
    "c": "#include <solvane/solvane.h>\nextern struct my_log* my_log;\n"
         "extern void SOLVANE_CALL on_line(void*, const char*);\n"
         "void piece(void);\nvoid piece(void) {\n%s\n}\n",
    "cpp": "#include <iostream>\n#include <string_view>\n#include <solvane/solvane.hpp>\n"
           "void piece();\nvoid piece() {\n%s\n}\n",
    "csharp": "using System;\nusing System.Threading;\nusing Solvane;\n"
              "class Piece {\nvoid Run() {\n%s\n}\n}\n",
    "python": "import solvane\n%s\n",
    "js": "const solvane = require('./solvane');\n%s\n",
}
# The compilers of these languages do not check names.
BINDINGS = {"python": "bindings/python/solvane.py", "js": "bindings/node/solvane.js"}


def read(path):
    with open(path, encoding="utf-8") as file:
        return file.read()


def without_indentation(text):
    return "\n".join(line.strip() for line in text.splitlines())


def is_whole(block):
    """Whether a snippet has its own includes."""
    return "#include" in block.text


class Snippets(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.blocks = [block for page in document.read_all() for block in page.blocks]
        tested = sorted({path for pattern in TESTED for path in glob.glob(pattern, recursive=True)})
        cls.tested = "\n\n".join(without_indentation(read(path)) for path in tested)

    def of(self, *languages):
        found = [block for block in self.blocks if block.language in languages]
        self.assertNotEqual(found, [])
        return found

    def is_part_of_a_tested_file(self, block):
        return f"\n{without_indentation(block.text)}\n" in self.tested

    def compile(self, block, folder):
        path = os.path.join(folder, "piece" + ENDINGS[block.language])
        surroundings = "%s" if is_whole(block) else SURROUNDINGS[block.language]
        with open(path, "w", encoding="utf-8") as file:
            file.write(surroundings % block.text)
        command = [word.replace("piece.dll", os.path.join(folder, "piece.dll"))
                   for word in COMPILERS[block.language]]
        run = subprocess.run([*command, path], capture_output=True, text=True)
        self.assertEqual(run.returncode, 0, run.stdout + run.stderr)

    def test_pieces_of_programs_compile_or_are_tested(self):
        for block in self.of(*COMPILERS):
            if not self.is_part_of_a_tested_file(block):
                with self.subTest(str(block)), tempfile.TemporaryDirectory() as folder:
                    self.compile(block, folder)

    def test_names_of_the_bindings_are_there(self):
        for block in self.of(*BINDINGS):
            names = re.findall(r"\bsolvane\.(\w+)", block.text)
            binding = read(BINDINGS[block.language])
            with self.subTest(str(block)):
                self.assertNotEqual(names, [])
                self.assertEqual([name for name in names if not re.search(
                    rf"(?m)^(def|class|  )\s*{name}\b|^(?:exports\.)?{name} =", binding)], [])

    def test_the_rig_takes_the_scenarios(self):
        for block in self.of("toml"):
            with self.subTest(str(block)), \
                    tempfile.NamedTemporaryFile("w", suffix=".toml") as scenario:
                scenario.write(block.text)
                scenario.flush()
                run = subprocess.run(
                    ["scripts/wine", f"{OPTIONS.build}/bin/solvane.exe", "probe"],
                    capture_output=True, text=True, timeout=120,
                    env=dict(os.environ, WINEPATH=f"{OPTIONS.build}/rig",
                             SOLVANE_RIG=scenario.name))
                self.assertNotIn("solvane_rig", run.stderr)
                self.assertIn("candidate 4", run.stdout)


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    parser.add_argument("--build", required=True)
    OPTIONS, rest = parser.parse_known_args()
    os.chdir(os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__)))))
    unittest.main(argv=["snippets_test", *rest])
