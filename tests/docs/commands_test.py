"""Executes every command in the documentation, and compares its output with the output shown.

    commands_test.py --build <build tree> [unittest options]

A fenced block named `sh` or `bat` contains commands, and the `text` block after it their output; a
line of three dots there stands for any lines. All commands of a document run in one shell, which starts
in the project's root. For a command in running text the test only checks that it exists.
"""

import argparse
import concurrent.futures
import glob
import os
import re
import select
import shlex
import shutil
import signal
import subprocess
import tempfile
import unittest

import document
import shown_output

# Commands of sh blocks that are not executed here, and why. They are checked like those in running
# text.
NOT_EXECUTED = {
    "scripts/test": "this test is a part of it",
    "cmake --preset windows-x64": "configures the tree that is being tested",
    "cmake --build --preset windows-x64": "builds the tree that is being tested",
    "gtkwave build/lines.vcd": "needs a screen",
    "python3 packaging/packages.py --build build/windows-x64 --output build/some --only wheel":
        "tests/package makes all packages",
}
# Documents and sections whose commands another test executes.
EXECUTED_ELSEWHERE = {
    ("docs/waveforms.md", None): "scripts/waveforms does it, and compares the lines as well",
}
# Blocks without a name are figures, by document and first word.
FIGURES = {
    ("docs/architecture.md", "include/solvane/solvane.h"): "the rooms",
    ("docs/architecture.md", "api"): "which room sees which",
    ("docs/log.md", "[10:25:29.554]"): "a line of the log",
    ("tests/transcripts/README.md", "#"): "a case, as the files have them",
    ("tests/transcripts/README.md", "define"): "a definition, likewise",
}
SNIPPETS = {"c", "cpp", "csharp", "js", "python", "toml"}  # snippets_test.py

# Attempts for output that depends on time: on a busy machine a poll may miss a short state.
ATTEMPTS = 3
SECONDS = 120

# The directory in which the documentation assumes Solvane on Windows.
ON_WINDOWS = "C:\\solvane"

# Commands that set up, configure and build are replaced: the tree is built already, and must not
# change while other tests use it. Hosts that are built in a directory of their own are, and npm's koffi is
# the one that is there.
STAND_INS = {
    "cmake": 'case "$*" in\n"--preset windows-x64" | "--build --preset windows-x64 "*) exit ;;\n'
             f'*build/installed*) exec {shutil.which("cmake")} "$@" ;;\nesac\n',
    "npm": 'if [ "$*" = "install --prefix build/node-host --os=win32 --cpu=x64 --ignore-scripts koffi@3" ] &&\n'
           "grep -q '\"version\": \"3\\.' build/npm/node/node_modules/koffi/package.json; then\n"
           "mkdir build/node-host/node_modules && cd build/npm/node/node_modules &&\n"
           "exec cp -r koffi @koromix ../../../node-host/node_modules\nfi\n",
    "apt-get": "", "sudo": "",
}
REFUSE = 'echo "${0##*/} $*: not while the documentation is tested; scripts/setup first" >&2\nexit 1\n'

PROGRAMS = {"solvane": "bin/solvane.exe", "solvane-rig": "rig/solvane-rig.exe"}


def is_executed_elsewhere(block):
    return any((block.document, section) in EXECUTED_ELSEWHERE
               for section in (block.section, None))


def commands_of(text):
    """The lines of a shell block, joined where a backslash continues them."""
    return [line.strip() for line in text.replace("\\\n", "").splitlines() if line.strip()]


def environment(stand_ins):
    plain = {name: value for name, value in os.environ.items()
             if not name.startswith(("SOLVANE_", "WINE"))}
    return dict(plain, LC_ALL="C.UTF-8", PATH=f"{stand_ins}:{os.environ['PATH']}")


class ShellEnded(Exception):
    pass


class Shell:
    """A bash that executes the commands of a document."""

    def __init__(self, folder, variables):
        self.script = os.path.join(folder, "script")
        self.output = os.path.join(folder, "output")
        self.bash = subprocess.Popen(["bash"], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                     text=True, env=variables, start_new_session=True)

    def run(self, text):
        """The status of the first command that failed, or 0, and what was printed."""
        with open(self.script, "w") as file:
            file.write(text + "\n")
        self.bash.stdin.write(f"status=0; trap 'status=$?' ERR\n"
                              f". '{self.script}' </dev/null >'{self.output}' 2>&1\n"
                              "echo $status\n")
        self.bash.stdin.flush()
        status = ""
        if select.select([self.bash.stdout], [], [], SECONDS)[0]:
            status = self.bash.stdout.readline().strip()
        with open(self.output, encoding="utf-8", errors="replace") as file:
            printed = file.read().replace("\r", "")
        if not status:
            os.killpg(self.bash.pid, signal.SIGKILL)  # kills the hanging program as well
            raise ShellEnded(f"the shell has ended, or this took {SECONDS} s:\n{printed}")
        return status, printed

    def end(self):
        self.bash.communicate()


def run_block(shell, block, folder):
    """What is wrong with a block; empty if it does what the document says."""
    if block.language == "bat":
        script = os.path.join(folder, "commands.bat")
        with open(script, "w") as file:
            file.write("@echo off\n" + block.text.replace(ON_WINDOWS, "Z:" + os.getcwd()) + "\n")
        text = f"scripts/wine cmd /c 'Z:{script}'"
    else:
        text = "\n".join(line for line in block.text.splitlines()
                         if line.strip() not in NOT_EXECUTED)
    for _ in range(ATTEMPTS if block.shown else 1):
        status, printed = shell.run(text)
        if status != "0":
            return f"{block}: status {status}:\n{printed}"
        wrong = shown_output.difference(block.shown.text, printed) if block.shown else ""
        if not wrong:
            return ""
    return f"{block}:\n{wrong}"


def run_document(page, variables):
    """What is wrong with the commands of a document."""
    complaints = []
    with tempfile.TemporaryDirectory() as folder:
        shell = Shell(folder, variables)
        try:
            for block in page.blocks:
                if block.language in ("sh", "bat") and not is_executed_elsewhere(block):
                    complaints.append(run_block(shell, block, folder))
        except ShellEnded as failure:
            complaints.append(f"{block}: {failure}")
        finally:
            shell.end()
    return [wrong for wrong in complaints if wrong]


# ---- Checks of a command without executing it


def script_complaint(words):
    if not os.access(words[0], os.X_OK):
        return "there is no such script"
    with open(words[0]) as file:
        code = "".join(line for line in file if not line.startswith("#"))
    for word in words[1:]:
        if not word.isdigit() and not re.search(rf"(?<![\w-]){re.escape(word)}(?![\w-])", code):
            return f"the script does not know {word}"
    return ""


def presets(kind):
    listing = subprocess.run(["cmake", "--list-presets=all"], check=True, capture_output=True,
                             text=True).stdout
    return re.findall(r'^  "([^"]+)"', listing.split(f"Available {kind} presets:")[1]
                      .split("Available")[0], re.M)


def cmake_complaint(words):
    kind = "build" if "--build" in words else "configure"
    preset = words[words.index("--preset") + 1]
    return "" if preset in presets(kind) else f"no {kind} preset {preset}"


def test_names():
    """The names of all tests, or prefixes of them, from the CMake files and sources."""
    names = []
    for path in glob.glob("tests/**/CMakeLists.txt", recursive=True):
        with open(path) as file:
            text = file.read()
        names += re.findall(r"(?:add_test\(NAME |program_test\()([\w.]+)", text)
        sources = ""
        for source in glob.glob(os.path.join(os.path.dirname(path), "*.cpp")):
            with open(source) as file:
                sources += file.read()
        cases = re.findall(r"^TEST(?:_[FP])?\((\w+),\s*(\w+)\)", sources, re.M)
        names += [f"{prefix}{suite}.{name}" for suite, name in cases
                  for prefix in set(re.findall(r'TEST_PREFIX "([^"]+)"', text))]
    return names


def ctest_complaint(words):
    preset = words[words.index("--preset") + 1]
    if preset not in presets("test"):
        return f"no test preset {preset}"
    if "-R" in words:
        wanted = words[words.index("-R") + 1]
        if not any(re.search(wanted, name) for name in test_names()):
            return f"no test is called {wanted}"
    return ""


def program_complaint(words):
    """For the project's own programs: whether their help lists the command and its options."""
    commands = [word for word in words[1:2] if not word.startswith("-")]
    program = os.path.join(OPTIONS.build, PROGRAMS[words[0]])
    run = subprocess.run(["scripts/wine", program, *commands, "--help"], capture_output=True,
                         text=True, timeout=SECONDS)
    if run.returncode != 0:
        return run.stderr
    for word in words[1:]:
        if word.startswith("-") and not re.search(rf"(?<![\w-]){word}(?![\w-])", run.stdout):
            return f"its help does not know {word}"
    return ""


COMPLAINTS = {"cmake": cmake_complaint, "ctest": ctest_complaint, "solvane": program_complaint,
              "solvane-rig": program_complaint}


def without_variables(command):
    return re.sub(r"^([A-Z_]+=\S* )+", "", command)


def is_command(code):
    words = without_variables(code).split()
    return bool(words) and (words[0].startswith("scripts/") and not words[0].endswith("/") or
                            words[0] in COMPLAINTS and len(words) > 1)


def complaint(command):
    """Why a command cannot work, as far as this can be checked without executing it."""
    words = shlex.split(without_variables(command))
    if words[0].startswith("scripts/"):
        return script_complaint(words)
    return COMPLAINTS[words[0]](words) if words[0] in COMPLAINTS else ""


class Documentation(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.documents = document.read_all()
        cls.blocks = [block for page in cls.documents for block in page.blocks]

    def test_the_commands_print_what_is_shown(self):
        with tempfile.TemporaryDirectory() as folder, \
                concurrent.futures.ThreadPoolExecutor() as pool:
            for name, text in STAND_INS.items():
                path = os.path.join(folder, name)
                with open(path, "w") as file:
                    file.write("#!/bin/sh\n" + text + REFUSE)
                os.chmod(path, 0o755)
            variables = environment(folder)
            wrong = sum(pool.map(lambda page: run_document(page, variables), self.documents), [])
        if wrong:
            self.fail("\n" + "\n".join(wrong))

    def test_every_block_is_of_a_kind_that_is_checked(self):
        shown = [block.shown for block in self.blocks]
        for block in self.blocks:
            with self.subTest(str(block)):
                if block.language == "text":
                    self.assertTrue(any(block is each for each in shown),
                                    "text that no command prints")
                elif block.language == "":
                    self.assertIn((block.document, block.text.split()[0]), FIGURES)
                else:
                    self.assertIn(block.language, {"sh", "bat"} | SNIPPETS)

    def test_commands_that_are_not_executed_could_be(self):
        inline = [(page.path, code) for page in self.documents
                  for code in page.inline_code() if is_command(code)]
        self.assertGreater(len(inline), 20)
        known = {}
        for path, command in inline + [("not executed", command) for command in NOT_EXECUTED]:
            if command not in known:
                known[command] = complaint(command)
            with self.subTest(path, command=command):
                self.assertEqual(known[command], "")

    def test_every_row_of_the_tables_is_needed(self):
        commands = {command for block in self.blocks if block.language == "sh"
                    for command in commands_of(block.text)}
        self.assertEqual([row for row in NOT_EXECUTED if row not in commands], [])
        sections = {(block.document, section) for block in self.blocks
                    if block.language == "sh" for section in (block.section, None)}
        self.assertEqual([row for row in EXECUTED_ELSEWHERE if row not in sections], [])
        figures = {(block.document, block.text.split()[0]) for block in self.blocks
                   if block.language == ""}
        self.assertEqual([row for row in FIGURES if row not in figures], [])


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    parser.add_argument("--build", required=True)
    OPTIONS, rest = parser.parse_known_args()
    os.chdir(os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__)))))
    unittest.main(argv=["commands_test", *rest])
