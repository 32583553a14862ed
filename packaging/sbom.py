"""The bill of materials, as CycloneDX: each binary, and what others' code is in it. It is read from what the
build did: the linker's maps say which object files and members of archives a binary is made of, ninja which
headers they were compiled from, and dpkg which source package these come from."""

import json
import os
import re
import subprocess
import uuid

from release import DESCRIPTION, OWNER, SBOM, run, sha256, write

# Source packages of Debian: a name that their users know, and their licence, as Debian's copyright files have it.
# What is not in here may not be linked in.
LICENCES = {
    "gcc-mingw-w64": ("GCC run-time libraries", {"expression": "GPL-3.0-or-later WITH GCC-exception-3.1"}),
    "mingw-w64": ("mingw-w64 run-time libraries and headers",
                  {"license": {"name": "ZPL-2.1 and others, see /usr/share/doc/mingw-w64-x86-64-dev/copyright"}}),
    "cli11": ("CLI11", {"license": {"id": "BSD-3-Clause"}}),
    "tomlplusplus": ("toml++", {"license": {"id": "MIT"}}),
    "boost1.74": ("Boost", {"license": {"id": "BSL-1.0"}}),
    "nlohmann-json3": ("JSON for Modern C++", {"license": {"id": "MIT"}}),
}


def linked_files(map_file):
    """The object files and archive members of a binary, as `directory/archive(member)`."""
    with open(map_file) as file:
        text = file.read()
    loaded = set(re.findall(r"^LOAD (.+\.(?:o|obj))$", text, re.M))
    members = set(re.findall(r"^(\S.*\([^()]+\))\s*$", text.split("Memory Configuration")[0], re.M))
    return loaded | {re.sub(r"\s+\S+ \(\S+\)$", "", member) for member in members}


def headers_by_object(build):
    """Each object file of the build tree, and the headers that it was compiled from."""
    found, current = {}, None
    for line in run("ninja", "-C", build, "-t", "deps").splitlines():
        if line.startswith("    "):
            found[current].add(line.strip())
        elif ": #deps" in line:
            current = line.split(": #deps")[0]
            found[current] = set()
    return found


def sources_of(build, map_file, headers):
    """The files outside of the project that a binary is made of."""
    outside = set()
    for linked in linked_files(map_file):
        archive, _, member = linked.partition("(")
        path = os.path.join(build, archive)
        if not os.path.realpath(path).startswith(os.path.realpath(build) + os.sep):
            outside.add(path)
            continue
        directory, name = os.path.dirname(archive), member.rstrip(")")
        for compiled, its_headers in headers.items():
            if compiled == archive or member and compiled.startswith(directory + "/CMakeFiles/") \
                    and os.path.basename(compiled) == name:
                outside |= {os.path.join(build, header) for header in its_headers}
    return {os.path.realpath(path) for path in outside}


def packages_of(paths):
    """The source package of each file that Debian has installed, as (name, version)."""
    found = subprocess.run(["dpkg", "-S", *sorted(paths)], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                           text=True).stdout
    owner = {path: package.split(",")[0] for package, path in
             (line.rsplit(": ", 1) for line in found.splitlines() if not line.startswith("diversion"))}
    versions = {}
    for line in run("dpkg-query", "-W", "-f", "${binary:Package} ${source:Package} ${source:Version}\n",
                    *sorted(set(owner.values()))).splitlines():
        binary, source, version = line.split()
        versions[binary] = versions[binary.split(":")[0]] = (source, version)
    return {path: versions[package] for path, package in owner.items()}


def sbom(release):
    headers = headers_by_object(release.build)
    maps = {name: os.path.join(release.build, "maps", os.path.basename(name) + ".map") for name in release.files()
            if re.match(r"(bin|rig)/[^/]+\.(dll|exe|sys)$", name)}
    materials = {name: sources_of(release.build, path, headers) for name, path in maps.items()}
    # A build tree may be anywhere, and has generated sources.
    own = tuple(os.path.realpath(path) + os.sep for path in (release.source, release.build))
    everything = {path for paths in materials.values() for path in paths if not path.startswith(own)}
    packages = packages_of(everything)
    unknown = sorted(everything - set(packages)) + sorted(
        {source for source, _ in packages.values() if source not in LICENCES})
    if unknown:
        raise SystemExit("linked in, but not in packaging/sbom.py: " + ", ".join(unknown))

    components, dependencies = [], []
    used = {}
    for name, paths in sorted(materials.items()):
        parts = sorted({packages[path] for path in paths if path in packages})
        for part in parts:
            used.setdefault(part, set()).update(os.path.basename(path) for path in paths
                                                if path.endswith((".a", ".o")) and packages.get(path) == part)
        components.append({"type": "file", "bom-ref": name, "name": name, "version": release.version,
                           "hashes": [{"alg": "SHA-256", "content": sha256(release.path(name))}]})
        dependencies.append({"ref": name, "dependsOn": [reference(*part) for part in parts]})
    for (source, version), archives in sorted(used.items()):
        title, licence = LICENCES[source]
        components.append({"type": "library", "bom-ref": reference(source, version), "name": title,
                           "version": version, "licenses": [licence], "purl": reference(source, version),
                           "properties": [{"name": "solvane:linked", "value": name} for name in sorted(archives)]})
        dependencies.append({"ref": reference(source, version)})
    product = f"solvane@{release.version}"
    document = {
        "$schema": "http://cyclonedx.org/schema/bom-1.6.schema.json",
        "bomFormat": "CycloneDX", "specVersion": "1.6", "version": 1,
        "metadata": {
            "timestamp": release.when().strftime("%Y-%m-%dT%H:%M:%SZ"),
            "component": {"type": "library", "bom-ref": product, "name": "Solvane", "version": release.version,
                          "description": DESCRIPTION, "licenses": [{"license": {"name": OWNER}}]}},
        "components": components,
        "dependencies": [{"ref": product, "dependsOn": sorted(materials)}, *dependencies],
    }
    document["serialNumber"] = f"urn:uuid:{uuid.uuid5(uuid.NAMESPACE_URL, json.dumps(document))}"
    text = json.dumps(document, indent=2) + "\n"
    write(release.path(SBOM), text)
    write(release.package(".cdx.json"), text)
    yield release.package(".cdx.json")


def reference(source, version):
    return f"pkg:deb/debian/{source}@{version.replace('+', '%2B')}?arch=source"
