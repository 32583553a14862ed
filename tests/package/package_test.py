"""The release archive, unpacked into an empty directory: its content, and several kinds of hosts,
built from it alone by its README's commands and run on its rig."""

import argparse
import os
import re
import stat
import struct
import subprocess
import sys
import tempfile
import unittest
import zipfile
import zlib

import document

# WINEPATH is where Windows looks for DLLs.
RUN = 'WINEPATH="$PWD/rig;$PWD/bin" wine '

BINARIES = [
    "bin/Solvane.dll", "bin/solvane.exe",
    "rig/EAPI_Library.dll", "rig/FTD2XX.dll", "rig/SolvaneDevice.sys", "rig/inpoutx64.dll",
    "rig/rig_wbem.dll", "rig/solvane-rig.exe", "rig/solvane_record.dll",
    "rig/solvane_rig.dll"]
SHIPPED = BINARIES + [
    "SHA256SUMS", "include/solvane/solvane.h", "lib/Solvane.lib", "lib/solvane.def",
    "lib/cmake/Solvane/SolvaneConfig.cmake", "lib/cmake/Solvane/SolvaneConfigVersion.cmake",
    "lib/pkgconfig/solvane.pc", "rig/README.md", "rig/include/solvane/rig.h",
    "rig/lib/solvane_rig.lib", "rig/scenarios/usb.toml", "examples/CMakeLists.txt", "examples/c/timer.c",
    "README.md", "CHANGELOG.md", "solvane.cdx.json", "docs/architecture.md", "docs/hardware.md", "docs/timers.md",
    "docs/waveforms.md", "docs/images/usb.svg"]
FUNCTIONS = 24


def run(*command, **options):
    return subprocess.run(command, check=True, capture_output=True, text=True, **options).stdout


def unpack(archive, directory):
    with zipfile.ZipFile(archive) as file:
        file.extractall(directory)


def files_below(root):
    return sorted(os.path.relpath(os.path.join(directory, name), root)
                  for directory, _, names in os.walk(root) for name in names)


def documented_functions(header):
    with open(header) as file:
        return sorted(re.findall(r"SOLVANE_API \w+ SOLVANE_CALL (Solvane_\w+)\(", file.read()))


class Archive(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.folder.cleanup)
        cls.archives = [os.path.join(OPTIONS.packages, f"solvane-{OPTIONS.version}-win64{end}.zip")
                        for end in ("", "-symbols")]
        # A directory without anything of the project above or beside it.
        cls.pristine = os.path.join(cls.folder.name, "pristine")
        unpack(cls.archives[0], cls.pristine)
        cls.symbols = os.path.join(cls.folder.name, "symbols")
        unpack(cls.archives[1], cls.symbols)
        cls.top = os.path.basename(cls.archives[0])[:-len(".zip")]
        cls.root = os.path.join(cls.pristine, cls.top)

    def shipped(self, name):
        return os.path.join(self.root, name)

    def read(self, name):
        with open(self.shipped(name)) as file:
            return file.read()

    # ---- What is in it

    def test_it_has_one_directory_with_everything(self):
        self.assertEqual(os.listdir(self.pristine), [self.top])
        self.assertEqual(os.listdir(self.symbols), [self.top])
        self.assertEqual([name for name in SHIPPED if not os.path.exists(self.shipped(name))], [])
        self.assertEqual([name for name in files_below(self.root)
                          if name.startswith(("bin/", "rig/")) and
                          name.endswith((".dll", ".exe", ".sys", ".debug"))], sorted(BINARIES))

    def test_the_sums_are_those_of_all_files(self):
        checked = run("sha256sum", "--check", "--strict", "SHA256SUMS", cwd=self.root)
        self.assertEqual(sorted(line.removesuffix(": OK") for line in checked.splitlines()),
                         [name for name in files_below(self.root) if name != "SHA256SUMS"])

    def test_nothing_depends_on_when_where_and_by_whom_it_was_packed(self):
        again = os.path.join(self.folder.name, "again")
        run(sys.executable, "-B", os.path.join(OPTIONS.source, "packaging/packages.py"), "--build", OPTIONS.build,
            "--output", again, umask=0o077,
            env=dict(os.environ, SOURCE_DATE_EPOCH="1700000000", TZ="Asia/Tokyo"))
        self.assertEqual(len(os.listdir(again)), 7)
        for name in os.listdir(again):
            with open(os.path.join(OPTIONS.packages, name), "rb") as one, \
                    open(os.path.join(again, name), "rb") as other:
                self.assertTrue(one.read() == other.read(), f"{name} differs")
        for first in self.archives:
            with zipfile.ZipFile(first) as file:
                entries = file.infolist()
            self.assertEqual({entry.extra for entry in entries}, {b""})
            self.assertEqual({entry.date_time for entry in entries}, {(2023, 11, 14, 22, 13, 20)})
            for entry in entries:
                mode = stat.S_IMODE(entry.external_attr >> 16)
                self.assertIn(mode, (0o644, 0o755), entry.filename)

    def test_no_path_of_the_build_machine_is_in_any_file(self):
        paths = [path.encode(code) for path in (OPTIONS.build, OPTIONS.source)
                 for code in ("utf-8", "utf-16-le")]
        paths.append(re.sub(r"\W", "_", OPTIONS.build).encode())  # as part of a symbol
        for root in (self.pristine, self.symbols):
            for name in files_below(root):
                with open(os.path.join(root, name), "rb") as file:
                    content = file.read()
                self.assertFalse([path for path in paths if path in content], name)

    def test_the_versions_are_equal_everywhere(self):
        version = OPTIONS.version
        self.assertEqual(re.search(r"^Version: (.*)$", self.read("lib/pkgconfig/solvane.pc"),
                                   re.M)[1], version)
        config = self.read("lib/cmake/Solvane/SolvaneConfigVersion.cmake")
        self.assertEqual(re.search(r'set\(PACKAGE_VERSION "(.*)"\)', config)[1], version)
        header = self.read("include/solvane/solvane.h")
        self.assertEqual(re.search(r'#define SOLVANE_VERSION "(.*)"', header)[1], version)
        self.assertTrue(self.read("README.md").startswith(f"# Solvane {version}\n"))
        self.assertIn(f"## {version}\n", self.read("CHANGELOG.md"))
        with open(self.shipped("bin/Solvane.dll"), "rb") as file:
            library = file.read()
        for key in ("FileVersion", "ProductVersion"):
            # A key of the resource, padding, and its value.
            found = re.search(key.encode("utf-16-le") + rb"(?:\0\0)+((?:[^\0]\0)+)", library)
            self.assertEqual(found[1].decode("utf-16-le"), version)
        signature = library.index(struct.pack("<II", 0xFEEF04BD, 0x00010000))
        major_minor, patch_tweak = struct.unpack_from("<II", library, signature + 8)
        numbers = [word for pair in (major_minor, patch_tweak)
                   for word in (pair >> 16, pair & 0xFFFF)]
        self.assertEqual(".".join(map(str, numbers)), version)
        outcome = self.in_wine(f"{RUN} bin/solvane.exe --version", self.root)
        self.assertIn(version, outcome.stdout.split())

    def test_links_of_documents_lead_to_files_of_the_archive(self):
        links = 0
        for name in files_below(self.root):
            if name.endswith(".md"):
                path = os.path.join(self.root, name)
                for link in re.findall(r"(?:\]\(|src(?:set)?=\")([^)\"#:\s]+)", document.Document(path).prose):
                    links += 1
                    self.assertTrue(os.path.exists(os.path.join(os.path.dirname(path), link)),
                                    f"{name}: no {link}")
        self.assertGreaterEqual(links, 5)

    # ---- The binaries

    def test_the_exports_and_the_import_library_are_the_functions_of_the_header(self):
        functions = documented_functions(self.shipped("include/solvane/solvane.h"))
        self.assertEqual(len(functions), FUNCTIONS)
        headers = run(OPTIONS.objdump, "-p", self.shipped("bin/Solvane.dll"))
        exports = headers.split("[Ordinal/Name Pointer] Table")[1].split("\n\n")[0]
        self.assertEqual(sorted(re.findall(r"^\s+\[\s*\d+\] (.+)$", exports, re.M)), functions)

        symbols = re.findall(r"^[0-9a-f]+ (\w) (\w+)$",
                             run(OPTIONS.nm, self.shipped("lib/Solvane.lib")), re.M)
        for kind, prefix in (("T", ""), ("I", "__imp_")):
            self.assertEqual(sorted(name for found, name in symbols
                                    if found == kind and name.startswith(prefix + "Solvane_")),
                             [prefix + name for name in functions])
        listed = self.read("lib/solvane.def").split("EXPORTS")[1].split()
        self.assertEqual(sorted(listed), functions)

    def test_the_binaries_are_stripped_and_name_their_symbols(self):
        for name in BINARIES:
            with self.subTest(name):
                sections = run(OPTIONS.objdump, "-h", self.shipped(name))
                self.assertNotIn(".debug_", sections)
                self.assertIn(".gnu_debuglink", sections)
                with open(self.shipped(name), "rb") as file:
                    binary = file.read()
                link = os.path.basename(name) + ".debug"
                with open(os.path.join(self.symbols, self.top, name + ".debug"), "rb") as file:
                    symbols = file.read()
                padded = link.encode().ljust((len(link) // 4 + 1) * 4, b"\0")
                self.assertIn(padded + struct.pack("<I", zlib.crc32(symbols)), binary)
        self.assertEqual(files_below(os.path.join(self.symbols, self.top)),
                         sorted(name + ".debug" for name in BINARIES))

    def test_the_symbols_tell_file_and_line_of_a_function(self):
        headers = run(OPTIONS.objdump, "-p", self.shipped("bin/Solvane.dll"))
        names = sorted(documented_functions(self.shipped("include/solvane/solvane.h")))
        base = int(re.search(r"ImageBase\s+([0-9a-f]+)", headers)[1], 16)
        table = headers.split("Export Address Table -- Ordinal Base")[1]
        offsets = re.findall(r"\+base\[\s*\d+\] ([0-9a-f]+) Export RVA", table)
        # A def file's names are sorted, and so are their ordinals.
        address = base + int(offsets[names.index("Solvane_TriggerCapture")], 16)
        symbol = run(OPTIONS.addr2line, "-f", "-e",
                     os.path.join(self.symbols, self.top, "bin/Solvane.dll.debug"), hex(address))
        function, place = symbol.splitlines()
        self.assertEqual(function, "Solvane_TriggerCapture")
        self.assertRegex(place, r"^/solvane/src/api/exports\.cpp:\d+")

    # ---- The hosts

    def in_wine(self, command, directory, **environment):
        """Runs a shell command in which `wine` is the one of the build tree's prefix."""
        command = re.sub(r"\bwine ", f"'{OPTIONS.wine}' ", command)
        return subprocess.run(["bash", "-c", command], cwd=directory, text=True, timeout=200,
                              stdin=subprocess.DEVNULL, capture_output=True,
                              env=dict(os.environ, **environment))

    def test_the_readme_has_a_host_of_each_kind(self):
        self.assertEqual(len(self.hosts()), 5)

    def hosts(self):
        """The blocks of each host in the README, whose commands are at most three."""
        readme = document.Document(self.shipped("README.md"))
        return [block for block in readme.blocks
                if block.language == "sh" and block.section == "Build a host"]

    def capture_with(self, of_its_kind):
        [host] = [host for host in self.hosts() if of_its_kind in host.text]
        commands = host.text
        self.assertLessEqual(len(commands.splitlines()), 3)
        with tempfile.TemporaryDirectory() as folder:
            unpack(self.archives[0], folder)
            journal = os.path.join(folder, "journal")
            outcome = self.in_wine("set -e\n" + commands, os.path.join(folder, self.top),
                                SOLVANE_RIG_JOURNAL=journal)
            self.assertEqual(outcome.returncode, 0, outcome.stdout + outcome.stderr)
            # Without a latched flag a picture cannot be confirmed.
            scenario = os.path.join(folder, "no_flag.toml")
            with open(scenario, "w") as file:
                file.write("[camera]\nmep = 'never'\n[[usb]]\nchip = 'FT2232H'\n")
            unconfirmed = self.in_wine(commands.splitlines()[-1],
                                       os.path.join(folder, self.top), SOLVANE_RIG=scenario)
            self.assertEqual(unconfirmed.returncode, 0 if "on_the_rig" in commands else 1,
                             unconfirmed.stderr)
            with open(journal) as file:
                lines = [line.split(None, 1)[1].strip() for line in file]
        self.assertEqual([line for line in lines if re.match(r"event +capture", line)],
                         ["event capture 1"])
        self.assertEqual([line for line in lines if re.match(r"edge +trigger", line)],
                         ["edge  trigger 1", "edge  trigger 0"])
        if host.shown:
            self.assertTrue(outcome.stdout.endswith(host.shown.text + "\n"), outcome.stdout)
        return outcome.stdout

    def test_a_c_host_of_mingw(self):
        self.assertTrue(self.capture_with("gcc -Iinclude examples").endswith("captured\n"))

    def test_a_c_host_of_clang_and_lld_for_the_msvc_target(self):
        self.capture_with("clang-14")

    def test_a_test_of_a_host_on_the_rig(self):
        self.assertIn("holds", self.capture_with("on_the_rig.c"))

    def test_a_cpp_host_by_find_package(self):
        self.assertTrue(self.capture_with("cmake").endswith("captured\n"))

    def test_a_c_host_by_pkg_config(self):
        self.assertTrue(self.capture_with("pkg-config").endswith("captured\n"))


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    for option in ("build", "source", "packages", "version", "wine", "objdump", "nm", "addr2line"):
        parser.add_argument("--" + option, required=True)
    OPTIONS, rest = parser.parse_known_args()
    unittest.main(argv=["package_test", *rest])
