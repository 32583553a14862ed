"""The Windows Installer package for technicians: the program, the library and the rig, `solvane` on the PATH,
and all of it gone again when it is uninstalled."""

import os
import re
import struct
import uuid
from xml.sax.saxutils import quoteattr

from release import DESCRIPTION, OWNER, run, write

# What tells Windows that two versions are the same product. Never changed.
UPGRADE_CODE = uuid.UUID("e3bd6ca4-61f2-4a31-9f07-0d54b3c1a9ee")

SUMMARY = bytes.fromhex("e0859ff2f94f6810ab9108002b27b3d9")  # which its stream begins with
PACKAGE_CODE, CREATED, SAVED = 9, 12, 13


def guid(*of):
    return "{%s}" % str(uuid.uuid5(UPGRADE_CODE, "/".join(of))).upper()


def identifier(path):
    return "i" + re.sub(r"\W", "_", path)


class Tree:
    """Directories and the files in them, each file a component of its own."""

    def __init__(self, names):
        self.names, self.components = names, []

    def directory(self, path):
        inner = {}
        text = ""
        for name in self.names:
            rest = os.path.relpath(name, path or ".")
            if rest.startswith(".."):
                continue
            if "/" in rest:
                inner[rest.split("/")[0]] = None
            else:
                text += self.file(name)
        for name in inner:
            below = os.path.join(path, name)
            text += (f"<Directory Id={quoteattr(identifier(below))} Name={quoteattr(name)}>"
                     f"{self.directory(below)}</Directory>\n")
        return text

    def file(self, name):
        component = "c_" + identifier(name)
        self.components.append(component)
        return (f"<Component Id={quoteattr(component)} Guid={quoteattr(guid('component', name))} Win64='yes'>"
                f"<File Id={quoteattr(identifier(name))} Name={quoteattr(os.path.basename(name))}"
                f" Source={quoteattr(name)} KeyPath='yes'/></Component>\n")


def msi(release):
    names = [name for name in release.files() if not name.endswith(".debug")
             and re.match(r"bin/|docs/|rig/(scenarios/|[^/]+$)|CHANGELOG\.md$", name)]
    # Windows compares three numbers only: all with the same three replace each other.
    major, minor, patch, _ = map(int, release.version.split("."))
    following = f"{major}.{minor}.{patch + 1}"
    stage = release.stage("msi", {name: release.path(name) for name in names})
    tree = Tree(names)
    directories = tree.directory("")
    references = "".join(f"<ComponentRef Id={quoteattr(each)}/>" for each in tree.components)
    write(f"{stage}/solvane.wxs", f"""<?xml version="1.0" encoding="utf-8"?>
<Wix xmlns="http://schemas.microsoft.com/wix/2006/wi">
<Product Id="{guid('product', release.version)}" Name="Solvane" Version="{release.version}" Language="1033"
  Manufacturer="{OWNER}" UpgradeCode="{{{str(UPGRADE_CODE).upper()}}}">
<Package InstallerVersion="500" Compressed="yes" InstallScope="perMachine" Description="{DESCRIPTION}"/>
<Upgrade Id="{{{str(UPGRADE_CODE).upper()}}}">
<UpgradeVersion Property="OLDER" Minimum="0.0.0" Maximum="{following}" OnlyDetect="no"/>
<UpgradeVersion Property="NEWER" Minimum="{following}" OnlyDetect="yes"/>
</Upgrade>
<InstallExecuteSequence><RemoveExistingProducts After="InstallValidate"/></InstallExecuteSequence>
<Condition Message="A newer version of Solvane is installed.">Installed OR NOT NEWER</Condition>
<Media Id="1" Cabinet="solvane.cab" EmbedCab="yes" CompressionLevel="high"/>
<Directory Id="TARGETDIR" Name="SourceDir"><Directory Id="ProgramFiles64Folder">
<Directory Id="INSTALLDIR" Name="Solvane">
{directories}</Directory></Directory></Directory>
<Feature Id="all" Level="1">{references}</Feature>
</Product></Wix>
""")
    path = release.package("-x64.msi")
    run("wixl", "-a", "x64", "-o", path, "solvane.wxs", cwd=stage)
    add_to_path(path, "c_" + identifier("bin/solvane.exe"))
    make_reproducible(path, guid("package", release.version, str(release.time)), release.time)
    yield path


def add_to_path(path, component):
    """wixl does not know <Environment>. `=-*` sets the machine's variable and takes it back; `[~];` puts the
    directory after what is there. Not the rig's: each host of the machine would find its DLLs."""
    table = ("CREATE TABLE `Environment` (`Environment` CHAR(72) NOT NULL, `Name` CHAR(255) NOT NULL LOCALIZABLE, "
             "`Value` CHAR(255) LOCALIZABLE, `Component_` CHAR(72) NOT NULL PRIMARY KEY `Environment`)")
    row = ("INSERT INTO `Environment` (`Environment`, `Name`, `Value`, `Component_`) "
           f"VALUES ('Path', '=-*PATH', '[~];[{identifier('bin')}]', '{component}')")
    steps = [f"INSERT INTO `InstallExecuteSequence` (`Action`, `Sequence`) VALUES ('{action}', {number})"
             for action, number in (("RemoveEnvironmentStrings", 3300), ("WriteEnvironmentStrings", 5200))]
    run("msibuild", path, *(word for query in (table, row, *steps) for word in ("-q", query)))


def make_reproducible(path, package_code, time):
    """Gives the summary, the only stream with times and a random name, those of the release."""
    with open(path, "rb") as file:
        content = bytearray(file.read())
    start = content.index(SUMMARY) - 28  # a set's header
    section = start + struct.unpack_from("<I", content, start + 44)[0]
    count = struct.unpack_from("<I", content, section + 4)[0]
    values = {}
    for number in range(count):
        name, offset = struct.unpack_from("<II", content, section + 8 + 8 * number)
        values[name] = section + offset + 4  # after its type
    filetime = struct.pack("<Q", (time + 11644473600) * 10**7)
    content[values[CREATED]:values[CREATED] + 8] = filetime
    content[values[SAVED]:values[SAVED] + 8] = filetime
    code = values[PACKAGE_CODE] + 4  # after its length
    if not re.fullmatch(rb"\{[0-9A-F-]{36}\}", content[code:code + 38]):
        raise SystemExit(f"{path}: no package code where one is expected")
    content[code:code + 38] = package_code.encode()
    with open(path, "wb") as file:
        file.write(content)
