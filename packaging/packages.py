"""Makes all packages of a build tree (docs/packages.md).

    packages.py --build <build tree> --output <directory> [--only <package> ...]
                [--sign <file.pfx> [--timestamp <URL>]]

The same commit gives the same bytes. SOURCE_DATE_EPOCH is the time of all files, by default the commit's;
SOLVANE_SIGN_PASSWORD is the password of the certificate.
"""

import argparse
import concurrent.futures
import os
import subprocess
import tempfile
import time

from host_packages import managed_assembly, npm, nuget, wheel
from msi import msi
from release import Release, Signature, archive, sha256
from sbom import sbom


MAKERS = {"archive": archive, "npm": npm, "nuget": nuget, "wheel": wheel, "msi": msi}


class Progress:
    """A line for each step, with what it took."""

    def __init__(self, steps):
        self.steps, self.done, self.start = steps, 0, time.monotonic()

    def show(self, what):
        self.done += 1
        print(f"[{self.done}/{self.steps}] {time.monotonic() - self.start:4.0f} s  {what}", flush=True)


def make(options, work):
    source = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
    when = os.environ.get("SOURCE_DATE_EPOCH") or subprocess.run(
        ["git", "-C", source, "log", "-1", "--format=%ct"], check=True, capture_output=True, text=True).stdout
    progress = Progress(len(options.only) + 2 + bool(options.sign))
    os.umask(0o022)
    release = Release(source, options.build, work, options.output, int(when))
    managed_assembly(release)
    progress.show(f"files of version {release.version}")

    signature = Signature(options.sign, options.timestamp) if options.sign else None
    if signature:
        signature.files(release)
        progress.show("signatures")
    made = list(sbom(release))
    progress.show("bill of materials")
    with concurrent.futures.ThreadPoolExecutor() as pool:
        running = {pool.submit(lambda name: list(MAKERS[name](release)), name): name for name in options.only}
        for each in concurrent.futures.as_completed(running):
            made += each.result()
            progress.show(running[each])
    if signature:
        for path in made:
            if path.endswith(".msi"):
                signature.sign(release, path)
    return made


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--build", required=True)
    parser.add_argument("--output", required=True)
    parser.add_argument("--only", nargs="+", choices=MAKERS, default=list(MAKERS))
    parser.add_argument("--sign")
    parser.add_argument("--timestamp")
    options = parser.parse_args()
    if options.sign and not os.path.isfile(options.sign):
        parser.error(f"there is no {options.sign}")
    options.build, options.output = os.path.abspath(options.build), os.path.abspath(options.output)
    os.makedirs(options.output, exist_ok=True)
    with tempfile.TemporaryDirectory() as work:
        made = make(options, work)
    for path in sorted(made):
        print(f"{sha256(path)}  {os.path.getsize(path) / 1e6:7.3f} MB  {os.path.relpath(path)}")


if __name__ == "__main__":
    main()
