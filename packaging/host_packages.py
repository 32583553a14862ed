"""Packages for programs that use the library: NuGet, npm and a wheel. They hold Solvane.dll and one binding,
nothing of the rig, and nothing of a vendor's."""

import base64
import glob
import hashlib
import json
import os
import re
import zipfile

from release import DESCRIPTION, OWNER, run, write


def readme(release, kind, language):
    """A package's own first page: how it is installed, and how the binding is used. Its links would lead nowhere,
    and what is said of the rig is for the archive, which has it."""
    def section(document, heading):
        with open(release.path(document), encoding="utf-8") as file:
            return re.search(rf"(?ms)^## {heading}\n.*?(?=^## |\Z)", file.read())[0].rstrip() + "\n\n"

    binding = f"bindings/{language}/README.md"
    text = f"""# Solvane {release.version}

{DESCRIPTION}, on 64-bit Windows. All documents, the examples and virtual
hardware for tests are in `solvane-{release.version}-win64.zip`.

{section("docs/packages.md", kind)}The vendors' `FTD2XX.dll`, `inpoutx64.dll` and `EAPI_Library.dll` are not in the package. All of them
must be found when `Solvane.dll` is loaded, beside the program or in a folder of `PATH`, whichever hardware is fitted.

{section(binding, "Use")}{section(binding, "Threads")}""".rstrip() + "\n"
    text = re.sub(r"\[([^]]*)\]\([^)]*\)", r"\1", text).replace(".js'", "'").replace("'./solvane'", "'solvane'")
    return re.sub(r"(?m)^\| `Rig`.*\n", "", text)


def managed_assembly(release):
    """The C# binding as an assembly, which is signed like the DLLs of the release."""
    sources = [release.path(name) for name in release.bindings("csharp", ".cs")]
    info = os.path.join(os.path.dirname(release.managed), "Version.cs")
    write(info, "".join(f'[assembly: System.Reflection.{attribute}("{value}")]\n' for attribute, value in (
        ("AssemblyVersion", release.version), ("AssemblyFileVersion", release.version),
        ("AssemblyInformationalVersion", release.version), ("AssemblyTitle", "Solvane.Managed"),
        ("AssemblyDescription", DESCRIPTION))))
    run("mcs", "-target:library", "-platform:x64", "-optimize", "-deterministic", "-warn:4", "-warnaserror",
        f"-doc:{release.managed.removesuffix('dll')}xml", f"-out:{release.managed}",
        *sources, info)


def nuget(release):
    """Made by NuGet itself, and repacked: its zip has the time of day and the system's version in it."""
    contents = {"runtimes/win-x64/native/Solvane.dll": release.path("bin/Solvane.dll"),
                "lib/netstandard2.0/Solvane.Managed.dll": release.managed,
                "lib/netstandard2.0/Solvane.Managed.xml": release.managed.removesuffix("dll") + "xml"}
    stage = release.stage("nuget", contents)
    write(f"{stage}/README.md", readme(release, "NuGet", "csharp"))
    files = "".join(f'<file src="{name}" target="{os.path.dirname(name)}"/>' for name in [*contents, "README.md"])
    write(f"{stage}/Solvane.nuspec", f"""<?xml version="1.0" encoding="utf-8"?>
<package xmlns="http://schemas.microsoft.com/packaging/2013/05/nuspec.xsd">
  <metadata>
    <id>Solvane</id>
    <version>{release.version}</version>
    <authors>{OWNER}</authors>
    <requireLicenseAcceptance>false</requireLicenseAcceptance>
    <description>{DESCRIPTION}</description>
  </metadata>
  <files>{files}</files>
</package>
""")
    run("nuget", "pack", "Solvane.nuspec", "-NoPackageAnalysis", cwd=stage)
    [made] = glob.glob(f"{stage}/*.nupkg")
    with zipfile.ZipFile(made) as file:
        entries = {entry.filename: file.read(entry) for entry in file.infolist()}
    [properties] = [name for name in entries if name.endswith(".psmdcp")]
    entries[properties] = re.sub(rb"(?<=<lastModifiedBy>).*?(?=</lastModifiedBy>)", b"NuGet", entries[properties])
    path = os.path.join(release.output, os.path.basename(made))  # NuGet looks for this name
    release.zip(path, entries)
    yield path


def npm_version(version):
    """npm knows three numbers: the last of them is the third * 1000 + the fourth."""
    major, minor, patch, tweak = map(int, version.split("."))
    if tweak >= 1000:
        raise SystemExit(f"{version}: npm's version has no place for a fourth number above 999")
    return f"{major}.{minor}.{patch * 1000 + tweak}"


def npm(release):
    names = release.bindings("node", ".js", ".d.ts")
    contents = {os.path.basename(name): release.path(name) for name in names}
    stage = release.stage("npm", {**contents, "Solvane.dll": release.path("bin/Solvane.dll")})
    with open(os.path.join(release.source, "tests/system/node/package.json")) as file:
        koffi = json.load(file)["dependencies"]["koffi"]  # the version that is tested
    write(f"{stage}/README.md", readme(release, "npm", "node"))
    write(f"{stage}/package.json", json.dumps({
        "name": "solvane",
        "version": npm_version(release.version),
        "description": f"{DESCRIPTION}: Solvane.dll {release.version}",
        "license": OWNER,
        "main": "solvane.js", "types": "solvane.d.ts",
        "engines": {"node": ">=18"},
        "files": ["*.js", "*.d.ts", "*.dll"],
        "os": ["win32"], "cpu": ["x64"],
        "dependencies": {"koffi": f"^{koffi}"},
    }, indent=2) + "\n")
    # npm gives all files one time, and the archive none.
    run("npm", "pack", "--ignore-scripts", "--pack-destination", release.work, cwd=stage)
    path = release.package(".tgz")
    os.replace(os.path.join(release.work, f"solvane-{npm_version(release.version)}.tgz"), path)
    yield path


def wheel(release):
    """The module as a package, beside whose own file it finds the DLL. Not by setuptools, which takes a
    DLL that no Python compiler made for data, and the wheel for one of every system."""
    version = release.version
    info = f"solvane-{version}.dist-info"
    contents = {"solvane/Solvane.dll": release.path("bin/Solvane.dll"), "solvane/py.typed": b""}
    for name in release.bindings("python", ".py", ".pyi"):
        module = os.path.basename(name)
        contents["solvane/__init__" + os.path.splitext(module)[1] if module.startswith("solvane.")
                 else f"solvane/{module}"] = release.path(name)
    contents[f"{info}/METADATA"] = (
        f"Metadata-Version: 2.1\nName: solvane\nVersion: {version}\nSummary: {DESCRIPTION}\n"
        f"Author: {OWNER}\nRequires-Python: >=3.8\nDescription-Content-Type: text/markdown\n\n"
        f"{readme(release, 'Python', 'python')}").encode()
    contents[f"{info}/WHEEL"] = (b"Wheel-Version: 1.0\nGenerator: solvane\nRoot-Is-Purelib: false\n"
                                 b"Tag: py3-none-win_amd64\n")
    record = ""
    for name, content in contents.items():
        if not isinstance(content, bytes):
            with open(content, "rb") as file:
                content = file.read()
        digest = base64.urlsafe_b64encode(hashlib.sha256(content).digest()).rstrip(b"=").decode()
        record += f"{name},sha256={digest},{len(content)}\n"
    contents[f"{info}/RECORD"] = f"{record}{info}/RECORD,,\n".encode()
    path = release.package("-py3-none-win_amd64.whl")
    release.zip(path, contents)
    yield path
